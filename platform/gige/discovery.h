/** Finding GigE Vision cameras. */
#ifndef KXINFO_GIGE_DISCOVERY_H
#define KXINFO_GIGE_DISCOVERY_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "gevapi.h"

namespace gige {

/** How long to wait for answers, for how many, and where to ask. */
struct DiscoveryOptions {
    /** Cameras may answer up to a second late. */
    std::chrono::milliseconds window{1000};
    /** Waiting ends early once so many cameras have answered; none: the whole window is waited. */
    std::optional<size_t> expected;
    /** Names or IPv4 addresses of this machine's network interfaces; empty: all that are up. */
    std::vector<std::string> interfaces;
};

/**
 * The options that the environment asks for: KXGIGE_DISCOVERY_MS (window, 1 to 1000),
 * KXGIGE_EXPECTED_CAMERAS (expected, 1 to 64) and KXGIGE_INTERFACES (separated by commas). What
 * cannot be understood is reported in one line on standard error and left at its default.
 */
DiscoveryOptions discoveryOptions();

/**
 * Asks every chosen interface once and collects answers until the window closes, however many
 * come. When the expected number of cameras has answered, it takes what answers are there already
 * and waits for no more.
 *
 * \return the cameras, each once, by IPv4 address
 * \throw std::system_error when the machine's interfaces cannot be listed or none can be asked
 */
std::vector<GEV_CAMERA_INFO> discover(const DiscoveryOptions &options);

} // namespace gige

#endif
