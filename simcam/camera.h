#pragma once

#include "description.h"
#include "memory.h"
#include "protocol.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace simcam {

using Clock = std::chrono::steady_clock;

/// A client's address and port, in host byte order.
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const Endpoint &other) const {
        return address == other.address && port == other.port;
    }
    bool operator<(const Endpoint &other) const {
        return address != other.address ? address < other.address : port < other.port;
    }
};

/// What sets one camera apart from another of its model.
struct Identity {
    std::string serial;
    std::uint32_t address = 0; // IPv4, host byte order
    std::string vendor;
    std::string model;
};

/// Which form of the description the first URL names; the second URL names the other.
enum class FirstUrl { Zipped, Plain };

/// How a command came: broadcasts are answered only where the standard asks for it.
enum class Delivery { Unicast, Broadcast };

/// Commands that a camera has answered or, where no acknowledge was asked for, carried out.
struct Counts {
    std::uint64_t discovery = 0;
    std::uint64_t readreg = 0;
    std::uint64_t writereg = 0;
    std::uint64_t readmem = 0;
    std::uint64_t writemem = 0;
    std::uint64_t other = 0;
    std::uint64_t refused = 0;  // of these, how many ended with an error status
    std::uint64_t repeated = 0; // of these, how many were retransmissions answered from memory
};

/**
 * One camera: its registers, who controls it and what it answers. It knows no sockets: the server
 * hands in what arrives and sends what comes back.
 */
class Camera {
public:
    Camera(Identity identity, std::shared_ptr<const Description> description, FirstUrl firstUrl,
           Clock::time_point now);

    const Identity &identity() const { return identity_; }
    const Counts &counts() const { return counts_; }

    /// From the nth answered command on the camera is dead: it neither carries out nor answers.
    void silenceAfter(std::uint64_t commands) { silentAfter_ = commands; }

    /**
     * The one way in. Returns the packet to send back to the sender, from the camera's own address
     * and port; nothing when there is no answer to this packet.
     */
    std::optional<Bytes> receive(const std::uint8_t *packet, std::size_t size,
                                 const Endpoint &sender, Delivery delivery, Clock::time_point now);

    /// All registers of the description as users see them: one "Name = value" a line, sorted.
    /// Write-only registers and entries of long tables (more than 16 cells) that are zero are left
    /// out.
    std::string snapshot(Clock::time_point now);

private:
    struct Reply {
        Status status = Status::Success;
        Bytes payload;
    };
    struct Request {
        std::uint16_t command;
        const std::uint8_t *payload;
        std::size_t size;
        Endpoint sender;
    };
    struct Answered {
        Bytes command;
        Bytes answer;
        Clock::time_point when;
    };

    void mapBootstrap();
    void mapFile(std::uint32_t address, const Bytes &file);
    void mapRegisters();

    std::optional<Reply> carryOut(const Request &request, Delivery delivery);
    Reply discover() const;
    std::optional<Reply> forceIp(const Request &request) const;
    Reply readRegisters(const Request &request) const;
    Reply writeRegisters(const Request &request);
    Reply readMemory(const Request &request) const;
    Reply writeMemory(const Request &request);

    Status mayRead(std::uint32_t address, std::uint32_t size, const Endpoint &sender) const;
    Status write(std::uint32_t address, const std::uint8_t *bytes, std::uint32_t size,
                 const Endpoint &sender);
    Status writeControlPrivilege(std::uint32_t value, const Endpoint &sender);
    void writeTimestampControl(std::uint32_t value);

    void expireControl();
    void releaseControl();
    void count(std::uint16_t command, Status status);

    Identity identity_;
    std::shared_ptr<const Description> description_;
    Memory memory_;
    Counts counts_;
    std::optional<std::uint64_t> silentAfter_;

    Clock::time_point now_; // of the packet being handled
    Clock::time_point timestampStart_;

    std::optional<Endpoint> controller_;
    Clock::time_point lastHeartbeat_;

    std::map<Endpoint, Answered> lastWrites_; // by sender, to answer a retransmission
};

} // namespace simcam
