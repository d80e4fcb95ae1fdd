// Probes cameras of which each fails in another way: S0, S1 and S7 do not.

#include <csignal>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const std::string camera = serial;
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_INFO))
        printf("probing %s\n", serial);
    if (camera == "S2")
        raise(SIGKILL);
    if (camera == "S3") {
        if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_WARNING))
            printf("[CIPROC:w]: Can't connect to device with SerialID \"%s\"\n", serial);
        return 1;
    }
    if (camera == "S4")
        throw std::runtime_error("the camera's description is damaged");
    if (camera == "S5")
        _exit(0);
    if (camera == "S6") {
        KxSc__InitStaticKeys();
        fake::publishInt(KxScParamOffsetX, 8, 0, 1920, 4);
        KxSc__ProcExport();
        return 0;
    }
    const std::string flood(1 << 20, 'x');
    while (camera == "S8")
        puts(flood.c_str());
    return fake::probe();
}
