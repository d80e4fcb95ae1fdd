#include "port.h"

#include <atomic>
#include <cstring>
#include <new>

// A camera that falls silent costs Aravis several seconds for each access: it sends each command
// six times, half a second apart. So the first timeout marks the camera lost, and every later
// access ends here. The same holds once the heartbeat, on Aravis' own thread, finds control gone.
//
// Writing memory is optional in GigE Vision, and Aravis does it without asking: a camera that
// says it cannot gets register writes from then on.

struct KxgigePort {
    ArvDevice parent;
    ArvDevice *camera;
    gulong controlLost;
    gige::RegisterAccess registerAccess;
    std::atomic<int> lost; // the ArvDeviceError it was lost with, or kPresent
};

struct KxgigePortClass {
    ArvDeviceClass parent;
};

namespace {

constexpr int kPresent = -1;
constexpr guint32 kRegisterSize = 4;

// NOLINTNEXTLINE: the names that G_DEFINE_TYPE asks for
G_DEFINE_TYPE(KxgigePort, kxgige_port, arv_device_get_type())

KxgigePort *self(gpointer device) {
    return static_cast<KxgigePort *>(device);
}

// Sends one command unless the camera is lost; \p send is Aravis' call without its last argument.
template <class Send>
gboolean access(KxgigePort *port, GError **error, Send send) {
    const int lost = port->lost;
    if (lost != kPresent) {
        g_set_error(error, ARV_DEVICE_ERROR, lost, "%s",
                    lost == ARV_DEVICE_ERROR_TIMEOUT ? "it stopped answering earlier"
                                                     : "control of the camera is lost");
        return FALSE;
    }
    GError *problem = nullptr;
    if (send(&problem))
        return TRUE;
    if (g_error_matches(problem, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TIMEOUT))
        port->lost = ARV_DEVICE_ERROR_TIMEOUT;
    g_propagate_error(error, problem);
    return FALSE;
}

bool isRegister(guint64 address, guint32 size) {
    return size == kRegisterSize && address % kRegisterSize == 0;
}

gboolean readRegister(ArvDevice *device, guint64 address, guint32 *value, GError **error) {
    KxgigePort *port = self(device);
    return access(port, error, [&](GError **problem) {
        return arv_device_read_register(port->camera, address, value, problem);
    });
}

gboolean writeRegister(ArvDevice *device, guint64 address, guint32 value, GError **error) {
    KxgigePort *port = self(device);
    return access(port, error, [&](GError **problem) {
        return arv_device_write_register(port->camera, address, value, problem);
    });
}

gboolean readMemory(ArvDevice *device, guint64 address, guint32 size, void *buffer,
                    GError **error) {
    KxgigePort *port = self(device);
    if (port->registerAccess == gige::RegisterAccess::Registers && isRegister(address, size)) {
        guint32 value = 0;
        if (!readRegister(device, address, &value, error))
            return FALSE;
        value = GUINT32_TO_BE(value);
        memcpy(buffer, &value, sizeof value);
        return TRUE;
    }
    return access(port, error, [&](GError **problem) {
        return arv_device_read_memory(port->camera, address, size, buffer, problem);
    });
}

gboolean writeMemory(ArvDevice *device, guint64 address, guint32 size, void *buffer,
                     GError **error) {
    KxgigePort *port = self(device);
    const auto write = [&](GError **problem) {
        return arv_device_write_memory(port->camera, address, size, buffer, problem);
    };
    if (!isRegister(address, size))
        return access(port, error, write);

    if (port->registerAccess == gige::RegisterAccess::Memory) {
        gige::Error problem;
        if (access(port, problem.out(), write))
            return TRUE;
        if (!problem.is(ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED)) {
            g_propagate_error(error, g_error_copy(&*problem));
            return FALSE;
        }
        port->registerAccess = gige::RegisterAccess::RegisterWrites;
    }
    guint32 value = 0;
    memcpy(&value, buffer, sizeof value);
    return writeRegister(device, address, GUINT32_FROM_BE(value), error);
}

void onControlLost(ArvDevice *, gpointer port) {
    int present = kPresent;
    self(port)->lost.compare_exchange_strong(present, ARV_DEVICE_ERROR_NOT_CONTROLLER);
}

void dispose(GObject *object) {
    KxgigePort *port = self(object);
    if (port->camera) {
        g_signal_handler_disconnect(port->camera, port->controlLost);
        g_clear_object(&port->camera);
    }
    G_OBJECT_CLASS(kxgige_port_parent_class)->dispose(object);
}

void kxgige_port_init(KxgigePort *port) {
    port->camera = nullptr;
    port->controlLost = 0;
    port->registerAccess = gige::RegisterAccess::Memory;
    new (&port->lost) std::atomic<int>(kPresent);
}

void kxgige_port_class_init(KxgigePortClass *classes) {
    G_OBJECT_CLASS(classes)->dispose = dispose;
    ArvDeviceClass *device = ARV_DEVICE_CLASS(classes);
    device->read_register = readRegister;
    device->write_register = writeRegister;
    device->read_memory = readMemory;
    device->write_memory = writeMemory;
}

} // namespace

namespace gige {

ObjectPtr<ArvDevice> newPort(ArvGvDevice *camera) {
    auto *port = self(g_object_new(kxgige_port_get_type(), nullptr));
    port->camera = ARV_DEVICE(g_object_ref(camera));
    port->controlLost = g_signal_connect(camera, "control-lost", G_CALLBACK(onControlLost), port);
    return ObjectPtr<ArvDevice>(&port->parent);
}

void setRegisterAccess(ArvDevice *port, RegisterAccess access) {
    self(port)->registerAccess = access;
}

} // namespace gige
