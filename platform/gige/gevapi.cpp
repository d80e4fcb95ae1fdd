#include "gevapi.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "GenApi/GenApi.h"
#include "discovery.h"
#include "errors.h"
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

} // namespace

GEV_STATUS GevGetCameraList(GEV_CAMERA_INFO *cameras, int maxCameras, int *numCameras) {
    if (!numCameras)
        return GEVLIB_ERROR_NULL_PTR;
    *numCameras = 0;
    if (!cameras)
        return GEVLIB_ERROR_NULL_PTR;
    if (maxCameras < 1)
        return GEVLIB_ERROR_ARG_INVALID;
    return guarded([&] {
        const auto found = gige::discover(gige::discoveryOptions());
        const size_t count = std::min(found.size(), static_cast<size_t>(maxCameras));
        std::copy_n(found.begin(), count, cameras);
        *numCameras = static_cast<int>(count);
        return GEVLIB_OK;
    });
}

GEV_STATUS GevOpenCamera(GEV_CAMERA_INFO *device, GevAccessMode mode, GEV_CAMERA_HANDLE *handle) {
    if (!handle)
        return GEVLIB_ERROR_NULL_PTR;
    *handle = nullptr;
    if (!device)
        return GEVLIB_ERROR_NULL_PTR;
    if (mode != GevMonitorMode && mode != GevControlMode && mode != GevExclusiveMode)
        return GEVLIB_ERROR_ARG_INVALID;
    return guarded([&]() -> GEV_STATUS {
        std::unique_ptr<Session> session;
        if (const GEV_STATUS status = Session::open(*device, mode, session); status != GEVLIB_OK)
            return status;
        GEV_CAMERA_HANDLE opened = session.get();
        openSessions()[opened] = std::move(session);
        device->mode = mode;
        *handle = opened;
        return GEVLIB_OK;
    });
}

GEV_STATUS GevCloseCamera(GEV_CAMERA_HANDLE *handle) {
    if (!handle)
        return GEVLIB_ERROR_NULL_PTR;
    const bool known = openSessions().erase(*handle) == 1;
    *handle = nullptr;
    return known ? GEVLIB_OK : GEVLIB_ERROR_INVALID_HANDLE;
}

void *GevGetFeatureNodeMap(GEV_CAMERA_HANDLE handle) {
    CNodeMapRef *reference = nullptr;
    guarded([&] {
        Session *session = sessionOf(handle);
        gige::NodeMap *map = session ? session->nodeMap() : nullptr;
        reference = map ? &map->reference() : nullptr;
        return GEVLIB_OK;
    });
    return reference;
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
        gige::NodeMap *map = session->nodeMap();
        INode *node = map ? map->GetNode(feature) : nullptr;
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
