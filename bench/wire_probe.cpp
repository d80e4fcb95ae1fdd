// Probes the first camera on the open platform, and tells how long finding it took and how long
// everything else from opening to closing it, in microseconds. What happens between is what
// Vendor__Proc() does with a camera that it has found.

#include <chrono>
#include <cstdio>

#include "kxinfo-dalsa/kx_sc.h"
#include "kxinfo-dalsa/kx_td_excam.h"
#include "kxinfo-dalsa/kx_td_proc.h"

namespace {

using Clock = std::chrono::steady_clock;

long long microseconds(Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

int probe(GEV_CAMERA_INFO &camera) {
    GEV_CAMERA_HANDLE handle = nullptr;
    if (GevOpenCamera(&camera, GevControlMode, &handle) != GEVLIB_OK || !handle)
        return 1;
    int result = 0;
    {
        KxTd::CExCam cam(handle);
        cam.info = &camera;
        KxSc__InitStaticKeys();
        result = KxTd__Proc(&cam);
        if (result == 0)
            KxSc__ProcExport();
        GevCloseCamera(&handle);
    }
    return result;
}

} // namespace

int main() {
    const auto start = Clock::now();
    GEV_CAMERA_INFO camera{};
    int count = 0;
    GevGetCameraList(&camera, 1, &count);
    const auto found = Clock::now();
    if (count != 1) {
        std::fprintf(stderr, "bench-wire-probe: no camera found\n");
        return 1;
    }
    const int result = probe(camera);
    const auto closed = Clock::now();
    GevApiUninitialize();
    _CloseSocketAPI();
    std::printf("%lld %lld\n", microseconds(found - start), microseconds(closed - found));
    return result;
}
