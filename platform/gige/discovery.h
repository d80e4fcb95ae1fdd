/** Finding GigE Vision cameras. */
#ifndef KXINFO_GIGE_DISCOVERY_H
#define KXINFO_GIGE_DISCOVERY_H

#include <chrono>
#include <string>
#include <vector>

#include "gevapi.h"

namespace gige {

/** How long to wait for answers, and where to ask. */
struct DiscoveryOptions {
    /** Cameras may answer up to a second late. */
    std::chrono::milliseconds window{1000};
    /** Names or IPv4 addresses of this machine's network interfaces; empty: all that are up. */
    std::vector<std::string> interfaces;
};

/**
 * The options that the environment asks for: KXGIGE_DISCOVERY_MS (window, 1 to 1000) and
 * KXGIGE_INTERFACES (separated by commas). What cannot be understood is reported in one line on
 * standard error and left at its default.
 */
DiscoveryOptions discoveryOptions();

/**
 * Asks every chosen interface once and collects answers until the window closes, however many
 * come.
 *
 * \return the cameras, each once, by IPv4 address
 * \throw std::system_error when the machine's interfaces cannot be listed or none can be asked
 */
std::vector<GEV_CAMERA_INFO> discover(const DiscoveryOptions &options);

} // namespace gige

#endif
