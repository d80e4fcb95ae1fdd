#include "registerline.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>

#include "descriptor.h"
#include "packets.h"

// The socket is connected, so that the kernel drops packets of others and reports when nothing
// listens at the camera's address.

namespace gige {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTries = 3;
constexpr std::chrono::milliseconds kWait{500};

sockaddr_in socketAddress(uint32_t address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

} // namespace

Reading readRegister(uint32_t host, uint32_t camera, uint32_t address) {
    const Descriptor line(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in from = socketAddress(host, 0);
    const sockaddr_in to = socketAddress(camera, kControlPort);
    if (!line || bind(line.get(), reinterpret_cast<const sockaddr *>(&from), sizeof from) != 0 ||
        connect(line.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0)
        return {Reading::Nobody};

    for (uint16_t requestId = 1; requestId <= kTries; ++requestId) {
        const auto command = readRegisterCommand(address, requestId);
        if (send(line.get(), command.data(), command.size(), 0) < 0)
            return {Reading::Nobody};

        const auto deadline = Clock::now() + kWait;
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0)
                break;
            pollfd wait{line.get(), POLLIN, 0};
            if (poll(&wait, 1, static_cast<int>(left.count())) <= 0)
                continue;
            uint8_t packet[kMaxPacket];
            const ssize_t size = recv(line.get(), packet, sizeof packet, 0);
            if (size < 0 && errno != EAGAIN && errno != EINTR)
                return {Reading::Nobody};
            if (size <= 0)
                continue;
            if (const auto answer =
                    parseRegisterAnswer(packet, static_cast<size_t>(size), requestId))
                return answer->status ? Reading{Reading::Refused}
                                      : Reading{Reading::Answered, answer->value};
        }
    }
    return {Reading::Silent};
}

} // namespace gige
