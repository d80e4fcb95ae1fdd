// A program that is no host: it links with the library and uses the camera class, KxTd::CExCam, and
// the camera platform directly. Prints some features of one camera.
//
//   camera_class SERIAL     of the first camera whose serial number begins so
//
// CMakeLists.txt and Makefile beside this file build it.

#include <cstdio>
#include <cstring>

#include "kxinfo-dalsa/kx_td_excam.h"

namespace {

using namespace KxTd;

// The camera is open while this runs. An error of the camera arrives as an exception.
void print(CExCam &cam) {
    int width = 0, min = 0, max = 0, inc = 0;
    if (cam.ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &width) == 0 &&
        cam.ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &min, &max, &inc) == 0)
        printf("width: %d px, %d to %d in steps of %d\n", width, min, max, inc);

    float gain = 0, lowest = 0, highest = 0;
    if (cam.ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &gain) == 0 &&
        cam.ExPropertyGetFloatRange(GAIN_PROPERTY_TYPE, &lowest, &highest, nullptr) == 0)
        printf("gain: %.1f dB, %.1f to %.1f\n", static_cast<double>(gain),
               static_cast<double>(lowest), static_cast<double>(highest));
}

int openAndPrint(GEV_CAMERA_INFO &camera) {
    GEV_CAMERA_HANDLE handle = nullptr;
    if (GevOpenCamera(&camera, GevControlMode, &handle) != GEVLIB_OK) {
        fprintf(stderr, "camera_class: %s cannot be opened\n", camera.serial);
        return 1;
    }
    int status = 0;
    try {
        CExCam cam(handle);
        cam.info = &camera;
        printf("camera: %s %s, serial number %s\n", camera.manufacturer, camera.model,
               camera.serial);
        print(cam);
    } catch (const GenICam_3_0::GenericException &e) { // need not be a std::exception
        fprintf(stderr, "camera_class: %s\n", e.GetDescription());
        status = 1;
    }
    GevCloseCamera(&handle);
    return status;
}

int run(const char *serial) {
    GEV_CAMERA_INFO cameras[8] = {};
    int count = 0;
    GevGetCameraList(cameras, 8, &count);
    for (int i = 0; i < count; ++i)
        if (strncmp(cameras[i].serial, serial, strlen(serial)) == 0)
            return openAndPrint(cameras[i]);
    fprintf(stderr, "camera_class: no camera has a serial number that begins with \"%s\"\n",
            serial);
    return 1;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: camera_class SERIAL\n");
        return 2;
    }
    const int status = run(argv[1]);
    GevApiUninitialize();
    _CloseSocketAPI();
    return status;
}
