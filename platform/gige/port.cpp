#include "port.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <vector>

#include "errors.h"
#include "gvcp/packets.h"

// Some cameras show their registers to memory commands in little-endian order and describe them as
// big endian: their makers thought of register commands, which have one byte order on the wire. It
// shows when both are asked for the same register, once, and its number reads differently from
// behind. Until then registers are written by register commands, which are right on every camera.
// Registers that are declared little endian, and texts, are what memory commands show.

namespace gige {
namespace {

using genapi::ByteOrder;

constexpr size_t kRegisterSize = 4;
// Registers that cannot be read by register commands, or change in between; then a camera is taken
// to be as nearly all are.
constexpr int kMostComparisons = 16;

bool isRegister(uint64_t address, size_t size) {
    return size == kRegisterSize && address % kRegisterSize == 0;
}

uint32_t addressOf(uint64_t address, size_t size) {
    if (address > UINT32_MAX || size - 1 > UINT32_MAX - address)
        throw gvcp::Error(gvcp::Cause::Refused, "the address is beyond the camera's 32 bits");
    return static_cast<uint32_t>(address);
}

bool byCommand(RegisterAccess access, RegisterAccess undecided, uint64_t address, size_t size,
               ByteOrder order) {
    if (!isRegister(address, size))
        return false;
    if (access == RegisterAccess::Undecided)
        access = undecided;
    return access == RegisterAccess::AllByCommand ||
           (access == RegisterAccess::BigEndianByCommand && order == ByteOrder::Big);
}

} // namespace

void Port::raise(const gvcp::Error &error, const char *action, uint64_t address) const {
    char text[160];
    std::snprintf(text, sizeof text, "Cannot %s the camera's register 0x%" PRIx64 " for '%.60s'",
                  action, address, nodeMap_ ? nodeMap_->asked() : "");
    gige::raise(error, text);
}

// Does what \p access does; its error becomes a GenICam exception.
template <class Do>
void Port::carryOut(const char *action, uint64_t address, Do access) {
    try {
        access();
    } catch (const gvcp::Error &error) {
        raise(error, action, address);
    }
}

void Port::read(uint64_t address, uint8_t *bytes, size_t size, ByteOrder order) {
    carryOut("read", address, [&] {
        const uint32_t at = addressOf(address, size);
        if (byCommand(access_, RegisterAccess::Memory, address, size, order)) {
            gvcp::put32(bytes, channel_.readRegisters({at})[0]);
            return;
        }
        channel_.read(at, bytes, size);
        if (access_ == RegisterAccess::Undecided && isRegister(address, size) &&
            order == ByteOrder::Big)
            compare(at, bytes);
    });
}

bool Port::readTogether(uint64_t address, uint8_t *bytes, size_t size, ByteOrder order) {
    // What lies between two registers, or is described and not there, a camera may refuse.
    if (refusesTogether_ || access_ == RegisterAccess::Undecided ||
        !isRegister(address, kRegisterSize))
        return false;
    try {
        const uint32_t at = addressOf(address, size);
        if (!byCommand(access_, access_, address, kRegisterSize, order)) {
            channel_.read(at, bytes, size);
            return true;
        }
        if (!channel_.readsSeveralRegisters())
            return false;
        std::vector<uint32_t> addresses;
        for (size_t offset = 0; offset < size; offset += kRegisterSize)
            addresses.push_back(at + static_cast<uint32_t>(offset));
        readNumbers(addresses, bytes);
        return true;
    } catch (const gvcp::Error &error) {
        refusesTogether_ = error.cause() == gvcp::Cause::Refused;
        if (!refusesTogether_)
            raise(error, "read", address);
        return false;
    }
}

bool Port::readApart(const std::vector<uint64_t> &addresses, uint8_t *bytes, ByteOrder order) {
    // By register commands, which are right on every camera for what is declared big endian.
    const bool sameInMemory = access_ == RegisterAccess::Memory;
    if (!channel_.readsSeveralRegisters() ||
        (order != ByteOrder::Big && !sameInMemory && access_ != RegisterAccess::AllByCommand))
        return false;
    try {
        std::vector<uint32_t> registers;
        for (const uint64_t address : addresses) {
            if (!isRegister(address, kRegisterSize))
                return false;
            registers.push_back(addressOf(address, kRegisterSize));
        }
        readNumbers(registers, bytes);
        return true;
    } catch (const gvcp::Error &error) {
        if (error.cause() != gvcp::Cause::Refused)
            raise(error, "read", addresses.front());
        return false;
    }
}

// By register commands.
void Port::readNumbers(const std::vector<uint32_t> &addresses, uint8_t *bytes) {
    for (const uint32_t number : channel_.readRegisters(addresses)) {
        gvcp::put32(bytes, number);
        bytes += kRegisterSize;
    }
}

void Port::write(uint64_t address, const uint8_t *bytes, size_t size, ByteOrder order) {
    carryOut("write", address, [&] {
        const uint32_t at = addressOf(address, size);
        if (byCommand(access_, RegisterAccess::BigEndianByCommand, address, size, order))
            channel_.writeRegister(at, gvcp::get32(bytes));
        else
            channel_.write(at, bytes, size);
    });
}

void Port::requireKept() {
    try {
        channel_.requireUse();
    } catch (const gvcp::Error &error) {
        gige::raise(error, "Cannot use the camera");
    }
}

std::chrono::milliseconds Port::now() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}

// What both commands say of one register decides how it, and every other, is accessed.
void Port::compare(uint32_t address, uint8_t *bytes) {
    if (bytes[0] == bytes[3] && bytes[1] == bytes[2])
        return; // it reads the same from both ends, as zero does: nothing to be told
    uint8_t number[kRegisterSize];
    try {
        gvcp::put32(number, channel_.readRegisters({address})[0]);
    } catch (const gvcp::Error &error) {
        if (error.cause() != gvcp::Cause::Refused)
            throw;
        if (++undecided_ == kMostComparisons)
            access_ = RegisterAccess::Memory;
        return;
    }
    const bool same = std::equal(number, number + kRegisterSize, bytes);
    const bool swapped = std::equal(number, number + kRegisterSize,
                                    std::make_reverse_iterator(bytes + kRegisterSize));
    if (same != swapped)
        access_ = same ? RegisterAccess::Memory : RegisterAccess::BigEndianByCommand;
    else if (++undecided_ == kMostComparisons)
        access_ = RegisterAccess::Memory;
    std::copy_n(number, kRegisterSize, bytes);
}

} // namespace gige
