#ifndef KXINFO_SIMCAM_OPTIONS_H
#define KXINFO_SIMCAM_OPTIONS_H

#include "camera.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simcam {

/** A starting value: --set FEATURE=VALUE. */
struct Setting {
    std::string option; // as typed, for messages
    std::string feature;
    std::string value;
};

struct CameraOptions {
    Identity identity;
    std::string description; // a file; empty for the built-in model
    Quirks quirks;
    Faults faults;
    std::vector<Setting> settings; // in the order given
};

struct Options {
    std::vector<CameraOptions> cameras;
    FirstUrl firstUrl = FirstUrl::Zipped;
    std::optional<std::string> snapshotFolder;
    uint64_t seed = 1;
    bool isWatched = false;
};

/** What is wrong with a command line, as one sentence for the person who typed it. */
struct WrongUsage {
    std::string sentence;
};

/**
 * Reads the command line. Prints what --help and --version ask for and returns nothing then.
 * Throws WrongUsage.
 */
std::optional<Options> parseOptions(int argc, char **argv);

} // namespace simcam

#endif
