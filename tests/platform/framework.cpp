// The framework's calls, as the script says. Each records itself first.

#include "scripted.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>

namespace scripted {

void resetCamera();
GenApi_3_0::INodeMap &nodeMapOf(Camera &camera);

struct Framework::State {
    std::vector<GEV_CAMERA_INFO> cameras;
    std::optional<int> count;
    GEV_STATUS listStatus = GEVLIB_OK;
    bool listFails = false;

    GEV_STATUS complaint = GEVLIB_OK;

    GEV_STATUS openStatus = GEVLIB_OK;
    bool openGivesHandle = true;
    bool open = false;
    // The table that the last list went to: it tells which of its records is opened.
    const GEV_CAMERA_INFO *table = nullptr;
    int tableSize = 0;
    const GEV_CAMERA_INFO *opened = nullptr;
    const GEV_CAMERA_HANDLE *handlePlace = nullptr;

    NodeMap nodeMap = NodeMap::Present;
    std::optional<Raising> nodeMapRaising;
    GenApi_3_0::CNodeMapRef withMap{&nodeMapOf(camera())};
    GenApi_3_0::CNodeMapRef withoutMap;

    struct Value {
        uint32_t value;
        GEV_STATUS status;
    };
    std::map<std::string, Value, std::less<>> values;
};

namespace {

template <std::size_t Size>
void put(char (&field)[Size], const std::string &text) {
    if (text.size() >= Size)
        throw std::logic_error("a camera record has no room for " + text);
    std::copy(text.begin(), text.end(), field);
}

// The call, with a word about what is wrong with how it was made.
void recordUnlessSound(Event made, bool sound, std::string_view wrong) {
    if (!sound)
        made.detail = std::string_view(std::string(made.detail.view()).append(", ").append(wrong));
    record(made);
}

} // namespace

Framework::Framework() : state_(std::make_unique<State>()) {}
Framework::~Framework() = default;

Framework &Framework::sees(std::initializer_list<Record> cameras) {
    state_->cameras.clear();
    for (const Record &each : cameras) {
        GEV_CAMERA_INFO info{};
        info.mode = each.mode;
        put(info.manufacturer, each.manufacturer);
        put(info.model, each.model);
        put(info.serial, each.serial);
        put(info.version, each.version);
        state_->cameras.push_back(info);
    }
    return *this;
}

Framework &Framework::counts(int cameras) {
    state_->count = cameras;
    return *this;
}

Framework &Framework::failsToList(GEV_STATUS status) {
    state_->listFails = true;
    state_->listStatus = status;
    return *this;
}

Framework &Framework::complains(GEV_STATUS status) {
    state_->complaint = status;
    return *this;
}

Framework &Framework::opensWith(GEV_STATUS status, bool withHandle) {
    state_->openStatus = status;
    state_->openGivesHandle = withHandle;
    return *this;
}

Framework &Framework::nodeMap(NodeMap kind) {
    state_->nodeMap = kind;
    return *this;
}

Framework &Framework::nodeMapRaises(Raising raising) {
    state_->nodeMapRaising = std::move(raising);
    return *this;
}

Framework &Framework::featureValue(std::string_view feature, uint32_t value, GEV_STATUS status) {
    state_->values[std::string(feature)] = {value, status};
    return *this;
}

GEV_CAMERA_HANDLE Framework::handle() const {
    return state_.get();
}

bool Framework::isOpen() const {
    return state_->open;
}

const GEV_CAMERA_INFO *Framework::opened() const {
    return state_->opened;
}

Framework &framework() {
    static Framework one;
    return one;
}

void reset() {
    resetCamera();
    forget();
    Framework &one = framework();
    one.state() = Framework::State();
}

} // namespace scripted

using scripted::framework;
using scripted::record;
using scripted::recordUnlessSound;

GEV_STATUS GevGetCameraList(GEV_CAMERA_INFO *cameras, int maxCameras, int *numCameras) {
    const auto *bytes = reinterpret_cast<const char *>(cameras);
    const auto size = sizeof *cameras * static_cast<std::size_t>(std::max(maxCameras, 0));
    recordUnlessSound(scripted::getCameraList(maxCameras),
                      *numCameras == 0 && std::count(bytes, bytes + size, '\0') ==
                                              static_cast<std::ptrdiff_t>(size),
                      "not cleared");
    auto &state = framework().state();
    state.table = cameras;
    state.tableSize = maxCameras;
    if (state.listFails)
        return state.listStatus;

    const int filled = std::min(static_cast<int>(state.cameras.size()), maxCameras);
    std::copy_n(state.cameras.begin(), std::max(filled, 0), cameras);
    *numCameras = state.count.value_or(filled);
    return state.complaint;
}

GEV_STATUS GevOpenCamera(GEV_CAMERA_INFO *device, GevAccessMode mode, GEV_CAMERA_HANDLE *handle) {
    auto &state = framework().state();
    int index = 0;
    while (index < state.tableSize && state.table + index != device)
        ++index;
    recordUnlessSound(scripted::openCamera(index < state.tableSize ? index : -1, mode), !*handle,
                      "handle not null");
    state.opened = device;
    state.handlePlace = handle;

    *handle = state.openGivesHandle ? framework().handle() : nullptr;
    state.open = state.openGivesHandle;
    return state.openStatus;
}

GEV_STATUS GevCloseCamera(GEV_CAMERA_HANDLE *handle) {
    recordUnlessSound(scripted::closeCamera(), handle == framework().state().handlePlace,
                      "another handle");
    if (!handle)
        return GEVLIB_ERROR_NULL_PTR;
    if (*handle != framework().handle())
        return GEVLIB_ERROR_INVALID_HANDLE;
    framework().state().open = false;
    *handle = nullptr;
    return framework().state().complaint;
}

void *GevGetFeatureNodeMap(GEV_CAMERA_HANDLE handle) {
    recordUnlessSound(scripted::getFeatureNodeMap(), handle == framework().handle(),
                      "another handle");
    auto &state = framework().state();
    if (state.nodeMapRaising)
        (*state.nodeMapRaising)();
    switch (state.nodeMap) {
    case scripted::NodeMap::Present:
        return &state.withMap;
    case scripted::NodeMap::WithoutMap:
        return &state.withoutMap;
    case scripted::NodeMap::None:
        return nullptr;
    }
    return nullptr;
}

GEV_STATUS GevGetFeatureValue(GEV_CAMERA_HANDLE handle, const char *feature, int *type, int size,
                              void *value) {
    recordUnlessSound(scripted::getFeatureValue(feature, size), type, "no type");
    if (handle != framework().handle())
        return GEVLIB_ERROR_INVALID_HANDLE;
    auto &state = framework().state();
    const auto found = state.values.find(std::string_view(feature));
    if (found == state.values.end())
        return GEVLIB_ERROR_PARAMETER_NOT_FOUND;
    if (type)
        *type = 0;
    std::memcpy(value, &found->second.value,
                std::min(sizeof found->second.value, static_cast<std::size_t>(std::max(size, 0))));
    return found->second.status;
}

GEV_STATUS GevApiUninitialize() {
    record(scripted::apiUninitialize());
    return framework().state().complaint;
}

int _CloseSocketAPI() {
    record(scripted::closeSocketApi());
    return framework().state().complaint;
}
