/** Finding GigE Vision cameras. */
#ifndef KXINFO_GVCP_DISCOVERY_H
#define KXINFO_GVCP_DISCOVERY_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gvcp/descriptor.h"
#include "gvcp/network.h"
#include "gvcp/packets.h"

namespace gvcp {

/** Where to ask, and how long to wait for answers. */
struct Search {
    /** Cameras may answer a broadcast up to a second late. */
    std::chrono::milliseconds window{1000};
    /** Waiting ends early once so many cameras have answered. */
    std::optional<size_t> expected;
    /** Unless empty: waiting ends once a camera with exactly this serial number has answered. */
    std::string serial;
    /** The same with its MAC address, in the low 48 bits. */
    std::optional<uint64_t> mac;
    /** Where a broadcast is sent, each network interface once. */
    std::vector<Interface> interfaces;
    /** Cameras that are asked directly. If only these are asked, waiting ends with their answers. */
    std::vector<uint32_t> addresses;
    /** A sender counts once for each MAC address: cameras may have the same address. */
    bool sharedAddresses = false;
};

/**
 * The search that the environment asks for:
 *
 * KXGIGE_DISCOVERY_MS      how long to wait, 1 to 1000 milliseconds
 * KXGIGE_EXPECTED_CAMERAS  for how many cameras, 1 to 64
 * KXGIGE_SERIAL            for which camera
 * KXGIGE_INTERFACES        network interfaces to ask on, names or addresses separated by commas
 * KXGIGE_ADDRESSES         cameras to ask directly, at most 64 IPv4 addresses separated by commas
 *
 * Unless one of the last two says where to ask, all network interfaces that are up are asked. What
 * cannot be understood is reported in one line on standard error and left out, or at its default.
 * An address that this computer has no way to is reported as well.
 *
 * \throw std::system_error when this computer's network interfaces cannot be listed
 */
Search searchFromEnvironment();

/** A camera that answered. */
struct Found {
    Identity identity;
    uint32_t host = 0;      /**< the address of this computer that it was asked from */
    uint32_t interface = 0; /**< index of the network interface; 0: it was asked directly */
};

/**
 * Asks once and collects answers until the search ends, however many come. An answer counts only
 * when it comes from the address that it claims and from the protocol's port; each sender counts
 * once on each interface, and a camera that is found through several interfaces once.
 *
 * \return the cameras by IPv4 address; when one that was wanted ended the search, this one alone
 * \throw Error              Stopped
 * \throw std::system_error  nothing could be asked
 */
std::vector<Found> discover(Search search);

/**
 * Hears the answers to searches as they come to this computer, in front of what may drop them: the
 * kernel's filters and firewalls. That takes a privilege.
 */
class Arrivals {
public:
    Arrivals(); ///< from here on
    bool hears() const { return static_cast<bool>(socket_); }

    /** What has come so far, bounded, from the addresses that it claims; Found::host is not known. */
    std::vector<Found> take() const;

private:
    Descriptor socket_;
};

/** What leads to a camera; gateway 0: none. */
struct Reach {
    uint32_t address, mask, gateway;
};

/**
 * Gives a camera another address, which it keeps until it restarts, by a broadcast on the network
 * interface where it is: wherever its present address leads, and whoever else has that.
 *
 * \return the status that it answers; nothing when it does not in time, or is no longer waited for
 * \throws std::system_error  nothing could be sent
 */
std::optional<uint16_t> forceAddress(const Found &camera, const Reach &to);

} // namespace gvcp

#endif
