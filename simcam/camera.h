#ifndef KXINFO_SIMCAM_CAMERA_H
#define KXINFO_SIMCAM_CAMERA_H

#include "description.h"
#include "faults.h"
#include "memory.h"
#include "protocol.h"
#include "senders.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace simcam {

/** What sets one camera apart from another of its model. */
struct Identity {
    std::string serial;
    uint32_t address = 0; // IPv4, host byte order
    std::string vendor;
    std::string model;
};

/** Which form of the description the first URL names; the second URL names the other. */
enum class FirstUrl { Zipped, Plain };

/** What a camera does otherwise than most. */
struct Quirks {
    /**
     * Whether READMEM and WRITEMEM have the words of its description's registers in little-endian
     * byte order. READREG and WRITEREG have their numbers all the same.
     */
    bool isLittleEndian = false;

    uint32_t missing = 0; // bits of its capability register that are off

    std::optional<std::string> firstUrl; // in place of those that name its description
    std::optional<std::string> secondUrl;
};

/** How a command came: broadcasts are answered only where the standard asks for it. */
enum class Delivery { Unicast, Broadcast };

/** Commands that a camera has answered or, where no acknowledge was asked for, carried out. */
struct Counts {
    uint64_t discovery = 0;
    uint64_t readreg = 0;
    uint64_t writereg = 0;
    uint64_t readmem = 0;
    uint64_t writemem = 0;
    uint64_t other = 0;
    uint64_t refused = 0;  // of these, how many ended with an error status
    uint64_t repeated = 0; // of these, how many were retransmissions answered from memory
    uint64_t dropped = 0;  // beside these, how many were lost on purpose
    uint64_t nacked = 0;   // of these, how many were refused on purpose
    uint64_t delayed = 0;  // of these, how many were answered late on purpose
    uint64_t pending = 0;  // ... had a PENDING_ACK first, or nothing but that
    uint64_t cut = 0;      // ... got only a part of their answer
    uint64_t doubled = 0;  // ... got it twice
    uint64_t wrong = 0;    // ... got wrong ones before it

    /** How many commands the camera has answered or carried out. */
    uint64_t answered() const {
        return discovery + readreg + writereg + readmem + writemem + other;
    }
};

/** How a camera is reached; numbers in host byte order, gateway 0: none. */
struct Place {
    uint32_t address = 0;
    uint32_t mask = 0;
    uint32_t gateway = 0;
};

/** What became of a packet that arrived at a camera. */
struct Outcome {
    enum class Kind {
        Ignored, // it is no command, or not for this camera
        Silent,  // the camera is dead
        Dropped, // as though it had been lost on its way
        Done     // answered or, where no acknowledge is asked for, carried out or refused
    };
    Kind kind = Kind::Ignored;
    Status status = Status::Success; // these are of what was done
    bool isRepeated = false;         // a retransmission, answered from memory
    std::optional<Bytes> answer;     // goes back to the sender, from the camera's address and port
    AnswerFaults befallen;           // on its way there
    std::optional<Place> forcedTo;   // a good FORCEIP: moveTo() once it can be reached there
};

/**
 * One camera: its registers, who controls it and what it answers. It knows no sockets: the server
 * hands in what arrives and sends what comes back.
 */
class Camera {
public:
    Camera(Identity identity, std::shared_ptr<const Description> description, FirstUrl firstUrl,
           Clock::time_point now, const Quirks &quirks = {});

    const Identity &identity() const { return identity_; }
    const Counts &counts() const { return counts_; }

    const Faults &faults() const { return plan_.faults(); }

    /**
     * From here on the camera misbehaves like this. What is left to chance follows from the seed
     * and the serial number.
     */
    void misbehave(const Faults &faults, uint64_t seed);

    /**
     * Gives a feature a value, as setFeature() does. Throws WrongValue. The standard's registers
     * take one where clients may write them, but for the control privilege.
     */
    void set(const std::string &feature, const std::string &value);

    /** The one way in. */
    Outcome receive(const uint8_t *packet, size_t size, const Endpoint &sender, Delivery delivery,
                    Clock::time_point now);

    /** From here on the camera has another address. Its MAC address stays. */
    void moveTo(const Place &place);

    /** Whether the camera has died and left the network: nobody must listen at its address. */
    bool isGone() const;

    /** Whether the camera is dead: it says nothing any more. */
    bool isSilent() const;

    const Description &description() const { return *description_; }

    /**
     * Turns a block of bytes from what READMEM and WRITEMEM have into what READREG and WRITEREG
     * have of the same words, or back.
     */
    void turnWords(uint32_t address, Bytes &block) const;

    /**
     * All registers of the description as users see them: one "Name = value" a line, sorted.
     * Write-only registers and entries of long tables (more than 16 cells) that are zero are left
     * out.
     */
    std::string snapshot(Clock::time_point now);

private:
    struct Reply {
        Status status = Status::Success;
        Bytes payload;
    };
    struct Request {
        uint16_t command;
        const uint8_t *payload;
        size_t size;
        Endpoint sender;
    };

    void mapBootstrap(const Quirks &quirks);
    void mapFile(uint32_t address, const Bytes &file);
    void mapRegisters(const Quirks &quirks);
    void unmap(uint32_t address, uint32_t size);

    std::optional<Reply> carryOut(const Request &request, Delivery delivery);
    bool can(uint32_t capability) const;
    static Reply nack(const Request &request);
    Reply discover() const;
    std::optional<Reply> forceIp(const Request &request);
    Reply readRegisters(const Request &request) const;
    Reply writeRegisters(const Request &request);
    Reply readMemory(const Request &request) const;
    Reply writeMemory(const Request &request);

    Status mayRead(uint32_t address, uint32_t size, const Endpoint &sender) const;
    Status write(uint32_t address, const uint8_t *bytes, uint32_t size, const Endpoint &sender);
    Status writeControlPrivilege(uint32_t value, const Endpoint &sender);
    void writeTimestampControl(uint32_t value);

    void expireControl();
    void releaseControl();
    void count(uint16_t command, Status status);
    void count(const AnswerFaults &befallen);

    Identity identity_;
    std::shared_ptr<const Description> description_;
    Memory memory_;
    Counts counts_;
    FaultPlan plan_;
    std::set<uint32_t> kept_;      // registers of the description that are the camera's own
    std::vector<uint32_t> turned_; // words that READMEM has in little-endian order, sorted

    Clock::time_point now_;         // of the packet being handled
    std::optional<Place> forcedTo_; // by it
    Clock::time_point timestampStart_;

    std::optional<Endpoint> controller_;
    Clock::time_point lastHeartbeat_;

    LastPackets lastWrites_; // to answer a retransmission
};

} // namespace simcam

#endif
