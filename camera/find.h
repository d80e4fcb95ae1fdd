/** Which camera a user means. */
#ifndef KXINFO_CAMERA_FIND_H
#define KXINFO_CAMERA_FIND_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/text.h"
#include "gvcp/channel.h"
#include "gvcp/discovery.h"

namespace kxinfo {

/** The environment variable that names the camera where the command line does not. */
constexpr const char *kCameraVariable = "KXINFO_CAMERA";

/** No camera has the name that was given. */
struct NoneFits : Error {
    using Error::Error;
};

/** What helps when an address is in no network of this computer. */
constexpr const char *kGiveAddress = " Give the camera an address in a network of this computer, "
                                     "or this computer one in the camera's network.";

/** Why there is no Dalsa camera among those that answered; empty when there is. */
std::string noDalsaCamera(const std::vector<gvcp::Found> &answered);

/**
 * The camera that a user names: by its serial number, its address, its MAC address (a colon or a
 * dash between the bytes) or its user name; of a Dalsa camera also by how its serial number begins,
 * if no other Dalsa camera's begins so. Without a name, or with "", the one that KXINFO_CAMERA
 * names, or else the only Dalsa camera there is.
 *
 * An address is asked alone. An exact serial number or MAC address ends the search as soon as this
 * camera has answered; then there is only a moment for a second one with the same serial number.
 *
 * \throws Error (kNoCamera) when there is none or several fit; says what answered instead
 */
gvcp::Found chosenCamera(const std::optional<std::string> &name);

/** How a camera that has answered stands. */
struct State {
    std::string name = "unknown"; ///< as programs know it: free, controlled, silent, unreachable
    std::string text = "not asked";
    std::string problem = "too many others do not answer"; ///< empty: it can be worked on
    gvcp::Controller controller{}; ///< address 0: nobody, or the camera does not tell
};

/** Of each camera, in the same order. Takes some three seconds where they do not answer. */
std::vector<State> statesOf(const std::vector<gvcp::Found> &cameras);

/** A way to look at a camera that need not answer: it is waited for two seconds in all. */
std::unique_ptr<gvcp::Channel> channelTo(const gvcp::Found &camera);

/** What several cameras have that should be one camera's alone. */
struct Shared {
    bool isAddress; ///< or a serial number
    std::string seen, remedy;
};
std::vector<Shared> sharedBy(const std::vector<gvcp::Found> &cameras);

/** Whether the maker's name is one that the plug-in looks for. */
bool isDalsa(const gvcp::Identity &identity);

/** "02:00:7f:00:00:02" */
std::string macText(uint64_t mac);

} // namespace kxinfo

#endif
