#include "session.h"

#include <arpa/inet.h>

#include "packets.h"
#include "registerline.h"

// Aravis' constructor of a camera loads the description, asks for control, and succeeds silently
// when control is refused; it takes many seconds to learn that a camera does not answer.
// So the control privilege is read first, by one command of our own: that tells a camera that is
// not there, and one that another program controls, at once; and afterwards it is read again,
// since only what the camera itself says makes sure that control is given.
//
// A camera without a description makes no Aravis camera. Its session holds nothing: there would be
// nothing to read or write through this interface.

namespace gige {
namespace {

ObjectPtr<GInetAddress> inetAddress(uint32_t address) {
    const uint32_t bytes = htonl(address);
    return ObjectPtr<GInetAddress>(g_inet_address_new_from_bytes(
        reinterpret_cast<const guint8 *>(&bytes), G_SOCKET_FAMILY_IPV4));
}

GEV_STATUS statusOf(const Reading &reading) {
    switch (reading.outcome) {
    case Reading::Answered:
        return GEVLIB_OK;
    case Reading::Refused:
        return GEVLIB_ERROR_ACCESS_DENIED; // so says a camera that is controlled exclusively
    case Reading::Silent:
        return GEVLIB_ERROR_TIME_OUT;
    case Reading::Nobody:
        break;
    }
    return GEVLIB_ERROR_NO_CAMERA;
}

// Whether the camera's present state lets it be opened.
GEV_STATUS admission(const Reading &privilege, GevAccessMode mode) {
    if (privilege.outcome != Reading::Answered)
        return statusOf(privilege);
    const uint32_t hindrance =
        mode == GevMonitorMode ? kExclusiveBit : (kExclusiveBit | kControlBit);
    return privilege.value & hindrance ? GEVLIB_ERROR_ACCESS_DENIED : GEVLIB_OK;
}

} // namespace

GEV_STATUS Session::open(const GEV_CAMERA_INFO &device, GevAccessMode mode,
                         std::unique_ptr<Session> &session) {
    session.reset();
    const auto privilege = [&device] {
        return readRegister(device.hostIpAddr, device.ipAddr, kControlPrivilege);
    };
    if (const GEV_STATUS status = admission(privilege(), mode); status != GEVLIB_OK)
        return status;

    Error error;
    ObjectPtr<ArvGvDevice> camera;
    {
        const QuietLog quiet;
        const auto host = inetAddress(device.hostIpAddr);
        const auto address = inetAddress(device.ipAddr);
        camera.reset(reinterpret_cast<ArvGvDevice *>(
            arv_gv_device_new(host.get(), address.get(), error.out())));
    }
    if (!camera) {
        if (!error.is(ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_GENICAM_NOT_FOUND))
            return GEVLIB_ERROR_GENERIC;
        // Either it has no description, or it fell silent meanwhile.
        if (const GEV_STATUS status = statusOf(privilege()); status != GEVLIB_OK)
            return status;
        session.reset(new Session(nullptr, mode));
        return GEVLIB_OK;
    }

    std::unique_ptr<Session> opened(new Session(std::move(camera), mode));
    const GEV_STATUS status = opened->settleControl();
    if (status == GEVLIB_OK)
        session = std::move(opened);
    return status;
}

Session::Session(ObjectPtr<ArvGvDevice> camera, GevAccessMode mode)
    : camera_(std::move(camera)), mode_(mode) {
    if (camera_)
        port_ = newPort(camera_.get());
}

// Aravis has asked for control, whatever the mode.
GEV_STATUS Session::settleControl() {
    Error error;
    if (mode_ == GevMonitorMode) {
        if (arv_gv_device_is_controller(camera_.get()))
            arv_gv_device_leave_control(camera_.get(), error.out());
        return error ? GEVLIB_ERROR_GENERIC : GEVLIB_OK;
    }

    if (!arv_gv_device_is_controller(camera_.get()))
        return GEVLIB_ERROR_ACCESS_DENIED;
    if (mode_ == GevExclusiveMode &&
        !arv_device_write_register(ARV_DEVICE(camera_.get()), kControlPrivilege,
                                   kControlBit | kExclusiveBit, error.out()))
        return GEVLIB_ERROR_ACCESS_DENIED;
    guint32 privilege = 0;
    if (!arv_device_read_register(ARV_DEVICE(camera_.get()), kControlPrivilege, &privilege,
                                  error.out()))
        return GEVLIB_ERROR_TIME_OUT;
    const uint32_t needed = mode_ == GevExclusiveMode ? kExclusiveBit : kControlBit;

    return privilege & needed ? GEVLIB_OK : GEVLIB_ERROR_ACCESS_DENIED;
}

// Nodes go before the port that they read through, and with the last reference to the camera
// Aravis gives control back.
Session::~Session() {
    nodeMap_.reset();
    port_.reset();
    camera_.reset();
}

NodeMap *Session::nodeMap() {
    if (mapMade_ || !camera_)
        return nodeMap_.get();
    mapMade_ = true;
    size_t size = 0;
    const char *xml = arv_device_get_genicam_xml(ARV_DEVICE(camera_.get()), &size);
    if (xml)
        nodeMap_ = NodeMap::make(port_.get(), xml, size, mode_ != GevMonitorMode);
    return nodeMap_.get();
}

} // namespace gige
