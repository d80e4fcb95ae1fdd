#include "gevapi.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "GenApi/GenApi.h"
#include "errors.h"
#include "gvcp/discovery.h"
#include "gvcp/packets.h"
#include "kxgige.h"
#include "session.h"

// The C interface over discovery and sessions. A handle is the address of its session, and counts
// only while the session is in the table of open ones. No exception leaves: each becomes a status.

namespace {

using gige::Session;
using namespace GenApi_3_0;

using Sessions = std::map<GEV_CAMERA_HANDLE, std::unique_ptr<Session>>;

// Never destroyed: at the end of the process a session must not start sending.
Sessions &openSessions() {
    static auto *sessions = new Sessions;
    return *sessions;
}

Session *sessionOf(GEV_CAMERA_HANDLE handle) {
    const auto found = openSessions().find(handle);
    return found == openSessions().end() ? nullptr : found->second.get();
}

// Why the last search or opening failed.
std::string &cause() {
    static auto *text = new std::string;
    return *text;
}

template <class Call>
GEV_STATUS guarded(Call call) {
    try {
        return call();
    } catch (const std::exception &exception) {
        return gige::statusOf(exception);
    } catch (...) {
        return GEVLIB_ERROR_GENERIC;
    }
}

// The same, and what it says is kept for KxGigeCause().
template <class Call>
GEV_STATUS explained(Call call) {
    cause().clear();
    return guarded([&] {
        try {
            return call();
        } catch (const std::exception &exception) {
            cause() = exception.what();
            throw;
        }
    });
}

// Hosts put these into their logs.
template <size_t Room>
void copyText(const std::string &from, char (&to)[Room]) {
    to[gvcp::printable(from).copy(to, Room - 1)] = '\0';
}

GEV_CAMERA_INFO recordOf(const gvcp::Found &found) {
    const gvcp::Identity &identity = found.identity;
    GEV_CAMERA_INFO info{};
    info.ipAddr = identity.address;
    info.ipMask = identity.mask;
    info.ipGateway = identity.gateway;
    info.macHigh = identity.macHigh;
    info.macLow = identity.macLow;
    info.hostIpAddr = found.host;
    info.hostIfIndex = found.interface;
    info.capabilities = identity.deviceMode;
    copyText(identity.manufacturer, info.manufacturer);
    copyText(identity.model, info.model);
    copyText(identity.serial, info.serial);
    copyText(identity.version, info.version);
    copyText(identity.userName, info.username);
    return info;
}

// The low bytes of an integer, in the machine's byte order.
bool copyInteger(int64_t from, void *to, size_t size) {
    const size_t used = std::min(size, sizeof from);
    const char *bytes = reinterpret_cast<const char *>(&from);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    bytes += sizeof from - used;
#endif
    memcpy(to, bytes, used);
    return true;
}

bool copyFloat(double from, void *to, size_t size) {
    const auto narrow = static_cast<float>(from);
    if (size == sizeof narrow)
        memcpy(to, &narrow, sizeof narrow);
    else if (size == sizeof from)
        memcpy(to, &from, sizeof from);
    else
        return false;
    return true;
}

bool copyText(const gcstring &from, void *to, size_t size) {
    if (from.length() >= size)
        return false;
    memcpy(to, from.c_str(), from.length() + 1);
    return true;
}

GEV_STATUS getValue(INode *node, int *type, size_t size, void *value) {
    int found = 0;
    bool fits = false;
    if (auto *integer = dynamic_cast<IInteger *>(node)) {
        found = GevIntegerFeature;
        fits = copyInteger(integer->GetValue(), value, size);
    } else if (auto *enumeration = dynamic_cast<IEnumeration *>(node)) {
        found = GevEnumerationFeature;
        fits = copyInteger(enumeration->GetIntValue(), value, size);
    } else if (auto *floating = dynamic_cast<IFloat *>(node)) {
        found = GevFloatFeature;
        fits = copyFloat(floating->GetValue(), value, size);
    } else if (auto *boolean = dynamic_cast<IBoolean *>(node)) {
        found = GevBooleanFeature;
        fits = copyInteger(boolean->GetValue(), value, size);
    } else if (auto *text = dynamic_cast<IValue *>(node)) {
        found = GevStringFeature;
        fits = copyText(text->ToString(), value, size);
    } else {
        return GEVLIB_ERROR_NOT_SUPPORTED;
    }
    if (!fits)
        return GEVLIB_ERROR_ARG_INVALID;
    if (type)
        *type = found;
    return GEVLIB_OK;
}

GEV_STATUS openCamera(GEV_CAMERA_INFO *device, GevAccessMode mode, genapi::Use use,
                      GEV_CAMERA_HANDLE *handle) {
    if (!handle)
        return GEVLIB_ERROR_NULL_PTR;
    *handle = nullptr;
    if (!device)
        return GEVLIB_ERROR_NULL_PTR;
    if (mode != GevMonitorMode && mode != GevControlMode && mode != GevExclusiveMode)
        return GEVLIB_ERROR_ARG_INVALID;
    return explained([&] {
        auto session = std::make_unique<Session>(*device, mode, use);
        GEV_CAMERA_HANDLE opened = session.get();
        openSessions()[opened] = std::move(session);
        device->mode = mode;
        *handle = opened;
        return GEVLIB_OK;
    });
}

} // namespace

GEV_STATUS GevGetCameraList(GEV_CAMERA_INFO *cameras, int maxCameras, int *numCameras) {
    if (!numCameras)
        return GEVLIB_ERROR_NULL_PTR;
    *numCameras = 0;
    if (!cameras)
        return GEVLIB_ERROR_NULL_PTR;
    if (maxCameras < 1)
        return GEVLIB_ERROR_ARG_INVALID;
    return explained([&] {
        const auto found = gvcp::discover(gvcp::searchFromEnvironment());
        const size_t count = std::min(found.size(), static_cast<size_t>(maxCameras));
        std::transform(found.begin(), found.begin() + static_cast<ptrdiff_t>(count), cameras,
                       recordOf);
        *numCameras = static_cast<int>(count);
        return GEVLIB_OK;
    });
}

GEV_STATUS GevOpenCamera(GEV_CAMERA_INFO *device, GevAccessMode mode, GEV_CAMERA_HANDLE *handle) {
    return openCamera(device, mode,
                      mode == GevMonitorMode ? genapi::Use::Monitor : genapi::Use::Control, handle);
}

GEV_STATUS GevCloseCamera(GEV_CAMERA_HANDLE *handle) {
    if (!handle)
        return GEVLIB_ERROR_NULL_PTR;
    const bool known = openSessions().erase(*handle) == 1;
    *handle = nullptr;
    return known ? GEVLIB_OK : GEVLIB_ERROR_INVALID_HANDLE;
}

void *GevGetFeatureNodeMap(GEV_CAMERA_HANDLE handle) {
    Session *session = sessionOf(handle);
    return session ? &session->nodeMap().reference() : nullptr;
}

GEV_STATUS GevGetFeatureValue(GEV_CAMERA_HANDLE handle, const char *feature, int *type, int size,
                              void *value) {
    if (!feature || !value)
        return GEVLIB_ERROR_NULL_PTR;
    if (size < 1)
        return GEVLIB_ERROR_ARG_INVALID;
    return guarded([&]() -> GEV_STATUS {
        Session *session = sessionOf(handle);
        if (!session)
            return GEVLIB_ERROR_INVALID_HANDLE;
        INode *node = session->nodeMap().GetNode(feature);
        if (!node)
            return GEVLIB_ERROR_PARAMETER_NOT_FOUND;
        return getValue(node, type, static_cast<size_t>(size), value);
    });
}

GEV_STATUS GevApiUninitialize(void) {
    openSessions().clear();
    return GEVLIB_OK;
}

int _CloseSocketAPI(void) {
    return 0; // no socket outlives the call, or the session, that opened it
}

const char *KxGigeCause(void) {
    return cause().c_str();
}

GEV_STATUS KxGigeLookAt(GEV_CAMERA_INFO *device, GEV_CAMERA_HANDLE *handle) {
    return openCamera(device, GevMonitorMode, genapi::Use::Control, handle);
}

GEV_STATUS KxGigeReadAhead(GEV_CAMERA_HANDLE handle) {
    return guarded([&]() -> GEV_STATUS {
        Session *session = sessionOf(handle);
        if (!session)
            return GEVLIB_ERROR_INVALID_HANDLE;
        session->nodeMap().readAhead();
        return GEVLIB_OK;
    });
}

GEV_STATUS KxGigeGetController(GEV_CAMERA_HANDLE handle, int *isControlled, uint32_t *address,
                               uint16_t *port) {
    if (!isControlled || !address || !port)
        return GEVLIB_ERROR_NULL_PTR;
    return guarded([&]() -> GEV_STATUS {
        Session *session = sessionOf(handle);
        if (!session)
            return GEVLIB_ERROR_INVALID_HANDLE;
        const gvcp::Controller controller = session->channel().controller();
        *isControlled = controller.privilege != 0;
        *address = controller.privilege ? controller.address : 0;
        *port = controller.privilege ? controller.port : uint16_t{0};
        return GEVLIB_OK;
    });
}

void KxGigeStopWhen(const volatile sig_atomic_t *flag) {
    gvcp::stopWhen(flag);
}
