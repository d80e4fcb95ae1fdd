#include "session.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "open_platform.h"
#include "words.h"

namespace kxinfo {

namespace {

constexpr int kMostCameras = 64;

// As the plug-in tells them: by the maker's name, whatever its capitals.
bool isDalsa(const GEV_CAMERA_INFO &camera) {
    return strcasestr(camera.manufacturer, "Dalsa") != nullptr;
}

std::vector<GEV_CAMERA_INFO> camerasThatAnswer() {
    std::vector<GEV_CAMERA_INFO> cameras(kMostCameras);
    int count = 0;
    (void)GevGetCameraList(cameras.data(), kMostCameras, &count);
    cameras.resize(static_cast<size_t>(std::clamp(count, 0, kMostCameras)));
    return cameras;
}

std::vector<GEV_CAMERA_INFO> dalsaCameras(const std::string &serial) {
    std::vector<GEV_CAMERA_INFO> cameras = camerasThatAnswer();
    // The open platform finds a camera with exactly this serial number alone, of whatever maker.
    if (cameras.size() == 1 && serial == cameras.front().serial && !isDalsa(cameras.front())) {
        (void)unsetenv("KXGIGE_SERIAL");
        cameras = camerasThatAnswer();
    }
    cameras.erase(std::remove_if(cameras.begin(), cameras.end(),
                                 [](const GEV_CAMERA_INFO &c) { return !isDalsa(c); }),
                  cameras.end());
    return cameras;
}

std::string serialsOf(const std::vector<GEV_CAMERA_INFO> &cameras) {
    std::string serials;
    for (const GEV_CAMERA_INFO &camera : cameras)
        serials += (serials.empty() ? "" : ", ") + std::string(camera.serial);
    return serials;
}

GEV_CAMERA_INFO chosen(const std::vector<GEV_CAMERA_INFO> &cameras, const std::string &serial) {
    if (cameras.empty())
        throw CommandError{kNoCamera, kNoDalsaCamera};
    std::vector<GEV_CAMERA_INFO> whole;
    std::vector<GEV_CAMERA_INFO> begun;
    for (const GEV_CAMERA_INFO &camera : cameras) {
        if (serial == camera.serial)
            whole.push_back(camera);
        if (strncmp(camera.serial, serial.c_str(), serial.size()) == 0)
            begun.push_back(camera);
    }
    const auto &fitting = whole.empty() ? begun : whole;
    if (fitting.empty())
        throw CommandError{kNoCamera, "no Dalsa camera has a serial number that begins with \"" +
                                          serial + "\"; found: " + serialsOf(cameras) + "."};
    if (serial.empty() && fitting.size() > 1)
        throw CommandError{kNoCamera, "several cameras answered: " + serialsOf(fitting) +
                                          ". Give the serial number of one of them."};
    if (fitting.size() > 1)
        throw CommandError{kNoCamera, "several cameras have a serial number that begins with \"" +
                                          serial + "\": " + serialsOf(fitting) +
                                          ". Give the whole number of one of them."};
    return fitting.front();
}

} // namespace

Session::Session(const std::string &serial) : info_(chosen(dalsaCameras(serial), serial)) {
    const std::string camera = "camera " + std::string(info_.serial);
    const GEV_STATUS status = GevOpenCamera(&info_, GevControlMode, &platform_.handle);
    if (status != GEVLIB_OK)
        throw CommandError{kNoCamera, cannotBeOpened(camera, status)};
    nodeMap_ = static_cast<GenApi_3_0::CNodeMapRef *>(GevGetFeatureNodeMap(platform_.handle));
    if (!nodeMap_)
        throw CommandError{kFailed, camera + " has no description of its features that can be "
                                             "read, so none can be shown or set."};
}

Session::Platform::~Platform() {
    if (handle)
        (void)GevCloseCamera(&handle);
    (void)GevApiUninitialize();
    (void)_CloseSocketAPI();
}

} // namespace kxinfo
