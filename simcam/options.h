#pragma once

#include "camera.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simcam {

struct CameraOptions {
    Identity identity;
    std::string description; // a file; empty for the built-in model
};

struct Options {
    std::vector<CameraOptions> cameras;
    FirstUrl firstUrl = FirstUrl::Zipped;
    std::optional<std::uint64_t> silentAfter;
    std::string snapshotFolder; // empty: no snapshots
};

/// What is wrong with a command line, as one sentence for the person who typed it.
struct WrongUsage {
    std::string sentence;
};

/// Reads the command line. Prints what --help and --version ask for and returns nothing then.
/// Throws WrongUsage.
std::optional<Options> parseOptions(int argc, char **argv);

} // namespace simcam
