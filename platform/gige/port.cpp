#include "port.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "description.h"

// Some cameras show their registers to memory commands in little-endian order and describe them as
// big endian: their makers thought of register commands, which have one byte order on the wire. It
// shows when both are asked for the same register, once, and its number reads differently from
// behind. Until then registers are written by register commands, which are right on every camera.
// Registers that are declared little endian, and texts, are what memory commands show.

namespace gige {
namespace {

struct PortState {
    gvcp::Channel &channel;
    RegisterCache cache;
    RegisterAccess access = RegisterAccess::Undecided;
    int undecided = 0; // comparisons that told nothing
    bool cacheOff = false;
};

} // namespace
} // namespace gige

struct KxgigePort {
    ArvDevice parent;
    gige::PortState *state;
};

struct KxgigePortClass {
    ArvDeviceClass parent;
};

namespace {

using gige::PortState;
using gige::RegisterAccess;

constexpr guint32 kRegisterSize = 4;
// Registers that cannot be read by register commands, or change in between; then a camera is taken
// to be as nearly all are.
constexpr int kMostComparisons = 16;

// NOLINTNEXTLINE: the names that G_DEFINE_TYPE asks for
G_DEFINE_TYPE(KxgigePort, kxgige_port, arv_device_get_type())

PortState &stateOf(gpointer device) {
    return *static_cast<KxgigePort *>(device)->state;
}

int codeOf(const gvcp::Error &error) {
    switch (error.cause()) {
    case gvcp::Cause::Silent:
        return ARV_DEVICE_ERROR_TIMEOUT;
    case gvcp::Cause::ControlLost:
        return ARV_DEVICE_ERROR_NOT_CONTROLLER;
    default:
        return ARV_DEVICE_ERROR_PROTOCOL_ERROR;
    }
}

// Does what \p access does; its exception becomes Aravis' error.
template <class Do>
gboolean carryOut(GError **error, Do access) {
    try {
        access();
        return TRUE;
    } catch (const gvcp::Error &problem) {
        g_set_error_literal(error, ARV_DEVICE_ERROR, codeOf(problem), problem.what());
    } catch (const std::exception &problem) {
        g_set_error_literal(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_UNKNOWN, problem.what());
    }
    return FALSE;
}

bool isRegister(guint64 address, guint64 size) {
    return size == kRegisterSize && address % kRegisterSize == 0;
}

uint32_t addressOf(guint64 address, guint64 size) {
    if (size > gige::kLongestRegister)
        throw gvcp::Error(gvcp::Cause::Refused, "the register is longer than any is");
    if (address > UINT32_MAX || size > UINT32_MAX - address)
        throw gvcp::Error(gvcp::Cause::Refused, "the address is beyond the camera's 32 bits");
    return static_cast<uint32_t>(address);
}

// What both commands say of one register decides how it, and every other, is accessed.
void compare(PortState &port, uint32_t address, uint8_t *bytes) {
    if (bytes[0] == bytes[3] && bytes[1] == bytes[2])
        return; // it reads the same from both ends, as zero does: nothing to be told
    uint8_t number[kRegisterSize];
    try {
        gvcp::put32(number, port.channel.readRegisters({address})[0]);
    } catch (const gvcp::Error &error) {
        if (error.cause() != gvcp::Cause::Refused)
            throw;
        if (++port.undecided == kMostComparisons)
            port.access = RegisterAccess::Memory;
        return;
    }
    const bool same = std::equal(number, number + kRegisterSize, bytes);
    const bool swapped = std::equal(number, number + kRegisterSize,
                                    std::make_reverse_iterator(bytes + kRegisterSize));
    if (same != swapped)
        port.access = same ? RegisterAccess::Memory : RegisterAccess::BigEndianByCommand;
    else if (++port.undecided == kMostComparisons)
        port.access = RegisterAccess::Memory;
    std::copy_n(number, kRegisterSize, bytes);
}

// Of a register whose place is computed nothing is known: most are big endian.
bool mayBeBigEndian(const PortState &port, uint32_t address, uint32_t size) {
    return isRegister(address, size) && port.cache.isBigEndian(address, size).value_or(true);
}

void fetch(PortState &port, uint32_t address, uint32_t size, uint8_t *bytes) {
    const bool byCommand = port.access == RegisterAccess::AllByCommand
                               ? isRegister(address, size)
                               : port.access == RegisterAccess::BigEndianByCommand &&
                                     mayBeBigEndian(port, address, size);
    if (byCommand) {
        gvcp::put32(bytes, port.channel.readRegisters({address})[0]);
        return;
    }
    port.channel.read(address, bytes, size);
    if (port.access == RegisterAccess::Undecided && isRegister(address, size) &&
        port.cache.isBigEndian(address, size).value_or(false))
        compare(port, address, bytes);
}

gboolean readMemory(ArvDevice *device, guint64 address, guint32 size, void *buffer,
                    GError **error) {
    PortState &port = stateOf(device);
    auto *bytes = static_cast<uint8_t *>(buffer);
    return carryOut(error, [&] {
        const uint8_t *known = port.cacheOff ? nullptr : port.cache.find(address, size);
        if (known) {
            port.channel.requireUse();
            std::copy_n(known, size, bytes);
            return;
        }
        fetch(port, addressOf(address, size), size, bytes);
        port.cache.read(address, size, bytes);
    });
}

gboolean writeMemory(ArvDevice *device, guint64 address, guint32 size, void *buffer,
                     GError **error) {
    PortState &port = stateOf(device);
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    return carryOut(error, [&] {
        const uint32_t at = addressOf(address, size);
        port.cache.written(address, size, bytes, false); // whatever comes of it
        const bool byCommand =
            port.access == RegisterAccess::AllByCommand
                ? isRegister(address, size)
                : port.access != RegisterAccess::Memory && mayBeBigEndian(port, at, size);
        if (byCommand)
            port.channel.writeRegister(at, gvcp::get32(bytes));
        else
            port.channel.write(at, bytes, size);
        port.cache.written(address, size, bytes, true);
    });
}

gboolean readRegister(ArvDevice *device, guint64 address, guint32 *value, GError **error) {
    return carryOut(error, [&] {
        *value = stateOf(device).channel.readRegisters({addressOf(address, kRegisterSize)})[0];
    });
}

gboolean writeRegister(ArvDevice *device, guint64 address, guint32 value, GError **error) {
    return carryOut(error, [&] {
        stateOf(device).channel.writeRegister(addressOf(address, kRegisterSize), value);
    });
}

void finalize(GObject *object) {
    delete static_cast<KxgigePort *>(static_cast<gpointer>(object))->state;
    G_OBJECT_CLASS(kxgige_port_parent_class)->finalize(object);
}

void kxgige_port_init(KxgigePort *port) {
    port->state = nullptr;
}

void kxgige_port_class_init(KxgigePortClass *classes) {
    G_OBJECT_CLASS(classes)->finalize = finalize;
    ArvDeviceClass *device = ARV_DEVICE_CLASS(classes);
    device->read_register = readRegister;
    device->write_register = writeRegister;
    device->read_memory = readMemory;
    device->write_memory = writeMemory;
}

} // namespace

namespace gige {

ObjectPtr<ArvDevice> newPort(gvcp::Channel &channel, bool inControl) {
    auto state = std::make_unique<PortState>(PortState{channel, RegisterCache(inControl)});
    auto *port = static_cast<KxgigePort *>(g_object_new(kxgige_port_get_type(), nullptr));
    port->state = state.release();
    return ObjectPtr<ArvDevice>(&port->parent);
}

RegisterCache &cacheOf(ArvDevice *port) {
    return stateOf(port).cache;
}

void setRegisterAccess(ArvDevice *port, RegisterAccess access) {
    stateOf(port).access = access;
}

CacheOff::CacheOff(ArvDevice *port, bool on)
    : off_(on && !stateOf(port).cacheOff ? port : nullptr) {
    if (off_)
        stateOf(off_).cacheOff = true;
}

CacheOff::~CacheOff() {
    if (off_)
        stateOf(off_).cacheOff = false;
}

} // namespace gige
