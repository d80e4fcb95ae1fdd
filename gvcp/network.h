/** This computer's side of the network. */
#ifndef KXINFO_GVCP_NETWORK_H
#define KXINFO_GVCP_NETWORK_H

#include <netinet/in.h>
#include <signal.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gvcp {

/** An IPv4 address of a network interface that is up; numbers in host byte order. */
struct Interface {
    std::string name;
    uint32_t index;
    uint32_t address;
    uint32_t mask;
};

/**
 * All of them, an interface with several addresses several times.
 *
 * \throw std::system_error when they cannot be listed
 */
std::vector<Interface> interfacesUp();

/**
 * Why a camera cannot be reached, as far as addresses tell: "its address 169.254.3.4 is in no
 * network of this computer (eth0 has 192.168.0.2/24)". Empty when it is in one.
 */
std::string whyOutside(uint32_t camera);

/** The address that this computer sends from to a camera; 0: it has no way there. Sends nothing. */
uint32_t hostTowards(uint32_t camera);

/** "192.168.0.2", and back. */
std::string dotted(uint32_t address);
std::optional<uint32_t> addressFrom(const std::string &text);

sockaddr_in socketAddress(uint32_t address, uint16_t port);

/**
 * While \p flag is not null and what it points to is not 0, whatever waits for a camera ends with
 * an Error of Cause::Stopped. Holds for the process; the flag must live until it is replaced.
 */
void stopWhen(const volatile sig_atomic_t *flag);

/** Whether that flag is set at present. */
bool stopAsked();

} // namespace gvcp

#endif
