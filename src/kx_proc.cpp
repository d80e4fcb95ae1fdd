// One call of Vendor__Proc() is one probe: find the cameras, list them or pick the configured one,
// run the session on it, shut the camera framework down. Nothing but the log settings survives the
// call.

#define KX_LOG_TAG "CIPROC"

#include "kxinfo-dalsa/kx_proc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

#include "gevapi.h"

#include "kx_version.h"
#include "kxinfo-dalsa/kx_log.h"
#include "kxinfo-dalsa/kx_sc.h"
#include "kxinfo-dalsa/kx_td_proc.h"

int32_t gKxLogLevel = 0;
int32_t gKxLogMode = 0;

namespace {

constexpr int kMaxCameras = 8;

constexpr int kExitDone = 0;
constexpr int kExitNoCamera = 1;

void _t_set_log(int logMode, int logLevel) {
    static int _s_syslOpened = 0;

    gKxLogMode = logMode;
    if ((logMode & KX_LOG_MODE_SYSLOG) && !_s_syslOpened) {
        openlog("kxinfo-dalsa", LOG_PID | LOG_ODELAY, LOG_DAEMON);
        _s_syslOpened = 1;
    }
    gKxLogLevel = logLevel;
}

bool _t_is_dalsa(const GEV_CAMERA_INFO &camera) {
    return strcasestr(camera.manufacturer, "Dalsa");
}

void _t_list(const GEV_CAMERA_INFO *cameras, int count) {
    KX_LOG_I("Printing all Dalsa devices information found:\n");
    for (int i = 0; i < count; ++i) {
        if (!_t_is_dalsa(cameras[i]))
            continue;
        // Numbered by its place among all cameras, not among the Dalsa ones.
        KX_LOG_I("  == %u. Dalsa Device Information ==\n", static_cast<unsigned>(i));
        KX_LOG_I("  ===================================\n");
        KX_LOG_I("  \tDeviceSerial     : %s\n", cameras[i].serial);
        KX_LOG_I("  \tDeviceInterface  : %s\n", "GigE");
        KX_LOG_I("  \tDeviceModel      : %s\n", cameras[i].model);
    }
}

// The first camera, of whatever maker, whose serial begins with the configured one; null when none
// does. Logs for the operation given.
GEV_CAMERA_INFO *_t_select(GEV_CAMERA_INFO *cameras, int count, const char *serial,
                           const char *operation) {
    for (int i = 0; i < count; ++i) {
        const int result = strncmp(cameras[i].serial, serial, strlen(serial));
        KX_LOG_D_AS(operation, "Check configured Serial \"%s\" with \"%s\" (result %i)\n", serial,
                    cameras[i].serial, result);
        if (result == 0)
            return &cameras[i];
    }
    return nullptr;
}

// Opens the camera, runs the scenario on it and closes it. The camera is closed before the object
// that wraps it goes. Logs for the operation given.
int _t_run_session(GEV_CAMERA_INFO *camera, const char *serial, const char *operation) {
    GEV_CAMERA_HANDLE handle = nullptr;
    const GEV_STATUS status = GevOpenCamera(camera, GevControlMode, &handle);
    if (!handle || status != GEVLIB_OK) {
        KX_LOG_W_AS(operation, "Can't connect to device with SerialID \"%s\"\n", serial);
        if (handle)
            GevCloseCamera(&handle);
        return kExitNoCamera;
    }

    auto cam = std::make_unique<KxTd::CExCam>(handle);
    cam->info = camera;
    KxSc__InitStaticKeys();
    const int result = KxTd__Proc(cam.get());
    if (result == 0)
        KxSc__ProcExport();
    GevCloseCamera(&handle);
    cam.reset();
    KX_LOG_D_AS(operation, "device is disconnected\n");
    return result;
}

int _t_probe(GEV_CAMERA_INFO *cameras, int count, const char *serial, const char *operation) {
    int dalsaCount = 0;
    for (int i = 0; i < count; ++i) {
        KX_LOG_D_AS(operation, "%u. Vendor \"%s\", Model \"%s\", Serial \"%s\"\n",
                    static_cast<unsigned>(i), cameras[i].manufacturer, cameras[i].model,
                    cameras[i].serial);
        if (_t_is_dalsa(cameras[i]))
            ++dalsaCount;
    }
    if (dalsaCount == 0) {
        KX_LOG_I("no any Dalsa devices found\n");
        return kExitNoCamera;
    }

    if (!serial) {
        _t_list(cameras, count);
        return kExitDone;
    }

    GEV_CAMERA_INFO *camera = _t_select(cameras, count, serial, operation);
    if (!camera) {
        KX_LOG_I("Configured device with SerialID \"%s\" is not found\n", serial);
        return kExitNoCamera;
    }
    return _t_run_session(camera, serial, operation);
}

int _t_kxtd_check_loop(const char *serial) {
    KX_LOG_D("init Dalsa staff\n");

    GEV_CAMERA_INFO cameras[kMaxCameras] = {};
    int count = 0;
    GevGetCameraList(cameras, kMaxCameras, &count);
    const int exitCode = _t_probe(cameras, std::min(count, kMaxCameras), serial, __func__);

    GevApiUninitialize();
    _CloseSocketAPI();
    KX_LOG_D("Loop completed (exitCode = %i)\n", exitCode);
    return exitCode;
}

// What the dynamic loader looks for in a file that is run as a program.
__attribute__((section(".interp"), used)) const char kInterpreter[] = KX_INTERPRETER;

} // namespace

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    _t_set_log(logMode, logLevel);
    return _t_kxtd_check_loop(serial);
}

// The system enters here without the stack alignment that a called function expects.
#if defined(__x86_64__) || defined(__i386__)
__attribute__((force_align_arg_pointer))
#endif
void LibEntry() {
    puts("Version: " KX_VERSION_STRING);
    // Nothing flushes on _exit(), and a pipe or a file is not flushed at a line's end.
    fflush(stdout);
    _exit(0);
}
