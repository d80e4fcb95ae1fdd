/** The cameras that the plug-in lists, taken from its log lines. */
#ifndef KXINFO_HOST_LISTING_H
#define KXINFO_HOST_LISTING_H

#include <string>
#include <vector>

#include "collected_run.h"

namespace kxinfo {

struct ListedCamera {
    unsigned number; ///< its place among all cameras that the plug-in sees, from 0
    std::string serial;
    std::string interface;
    std::string model;
};

/**
 * The Dalsa cameras, in the order of the plug-in's list. A text that a camera tells with a line end
 * in it counts up to there.
 *
 * \param log  lines of level info or more of a run without a serial number
 */
std::vector<ListedCamera> listedCameras(const std::string &log);

/**
 * The serial numbers of all cameras that the plug-in sees, those of other makers included: the one
 * at place N is that of camera number N. Empty when the log does not tell.
 *
 * \param log  lines of level debug
 */
std::vector<std::string> seenSerials(const std::string &log);

/** What the plug-in's listing came to. */
struct Listing {
    int status; ///< an ExitStatus; what is wrong has been told unless it is kDone
    std::vector<ListedCamera> cameras; ///< none unless the status is kDone
};

/**
 * Tells what is wrong with a run that was to list the cameras, or takes the list from its log.
 *
 * \param hint  how the user learns more when the plug-in fails, as a sentence
 */
Listing readListing(const CollectedRun &run, const std::string &hint);

} // namespace kxinfo

#endif
