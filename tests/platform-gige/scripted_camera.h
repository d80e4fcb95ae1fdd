/** A camera that a test scripts: a GVCP peer with registers, on an address of the loopback. */
#ifndef KXINFO_TESTS_SCRIPTED_CAMERA_H
#define KXINFO_TESTS_SCRIPTED_CAMERA_H

#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

/** GVCP commands and status codes that tests name. */
namespace peer {

enum Command : uint16_t {
    Discovery = 0x0002,
    ReadRegister = 0x0080,
    WriteRegister = 0x0082,
    ReadMemory = 0x0084,
    WriteMemory = 0x0086,
};

enum Status : uint16_t {
    Success = 0x0000,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    AccessDenied = 0x8006,
    Busy = 0x8007,
};

constexpr uint32_t kCapability = 0x0934;
constexpr uint32_t kControlPrivilege = 0x0a00;

} // namespace peer

/** One command that a camera received: which, and the first address it named. */
struct Access {
    peer::Command command;
    uint32_t address;

    bool operator==(const Access &other) const {
        return command == other.command && address == other.address;
    }
};

/** For messages of failed tests. */
std::ostream &operator<<(std::ostream &out, const Access &access);

/**
 * Answers GVCP commands from its own thread between construction and destruction. Everything here
 * may be called at any time. The camera is on the wire from the constructor's return on.
 *
 * Registers and memory are one space of 1 MiB, big endian, zero where nothing was set.
 */
class ScriptedCamera {
public:
    struct Identity {
        std::string manufacturer = "Scripted";
        std::string model = "Model";
        std::string version = "1.0";
        std::string serial = "S1";
        std::string username = "";
    };

    /** \param address  an IPv4 address that this machine can bind, such as 127.0.0.2 */
    explicit ScriptedCamera(const std::string &address);
    ScriptedCamera(const std::string &address, const Identity &identity);
    ~ScriptedCamera();
    ScriptedCamera(const ScriptedCamera &) = delete;
    ScriptedCamera &operator=(const ScriptedCamera &) = delete;

    /** Serves \p xml as the camera's GenICam description. */
    void describe(const std::string &xml);

    void setRegister(uint32_t address, uint32_t value);
    uint32_t getRegister(uint32_t address) const;
    void setMemory(uint32_t address, const void *data, size_t size);
    std::string memory(uint32_t address, size_t size) const;

    /** From now on answers reads or writes that touch \p address with \p status. */
    void refuseReading(uint32_t address, peer::Status status);
    void refuseWriting(uint32_t address, peer::Status status);
    /** From 0x1000 on memory commands show and take each register's bytes in reverse order. */
    void showMemoryLittleEndian();
    /** From now on does not know \p command. */
    void refuseCommand(peer::Command command);

    /** From now on answers nothing (or everything again). */
    void setSilent(bool silent);
    /** Stops answering when \p address is accessed. */
    void fallSilentAt(uint32_t address);
    /** Takes control for a program that is not there, so that others are refused. */
    void controlByAnotherProgram();
    /** The same at the moment when control is asked for next. */
    void letAnotherProgramBeFaster();
    /** Takes control from whoever has it, as when the heartbeat was missed. */
    void dropControl();
    /** Acknowledges control requests without granting them. */
    void pretendToGrantControl();
    uint32_t controlPrivilege() const;

    /** Answers each discovery with \p answer, whatever it holds (its request id is patched in). */
    void answerDiscoveryWith(std::vector<uint8_t> answer);
    /** Answers each discovery this many times, each time with another MAC address. */
    void floodDiscovery(int times);
    /** The discovery answer that the identity makes. */
    std::vector<uint8_t> discoveryAnswer() const;

    /** Commands received since the last clear, reads of the control privilege (the heartbeat) and
     *  discovery left out. */
    std::vector<Access> accesses() const;
    void clearAccesses();
    /** Everything received since construction, silence included. */
    unsigned received() const;

private:
    struct Peer {
        in_addr_t address = 0;
        in_port_t port = 0;
    };

    void serve();
    void answer(int socket);
    std::vector<uint8_t> handle(const uint8_t *packet, size_t size, const sockaddr_in &from);
    peer::Status write(uint32_t address, const uint8_t *data, size_t size, const sockaddr_in &from);
    peer::Status read(uint32_t address, uint8_t *data, size_t size) const;

    mutable std::mutex mutex_;
    in_addr_t address_;
    std::vector<uint8_t> memory_;
    std::map<uint32_t, peer::Status> refusedReads_;
    std::map<uint32_t, peer::Status> refusedWrites_;
    std::vector<Access> accesses_;
    std::vector<uint8_t> discoveryAnswer_;
    int discoveryRepeats_ = 1;
    unsigned received_ = 0;
    uint16_t refusedCommand_ = 0;
    bool silent_ = false;
    bool littleEndian_ = false;
    bool pretends_ = false;
    bool otherIsFaster_ = false;
    uint32_t silentAt_ = UINT32_MAX;
    uint32_t privilege_ = 0;
    Peer controller_;

    int unicast_ = -1;
    int broadcast_ = -1;
    int stop_[2] = {-1, -1};
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

#endif
