// Finds two cameras: S1234567, which can be opened, and S7654321, which another program controls.

#include <cstring>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const bool info = fake::logs(logMode, logLevel, KX_LOG_LEVEL_INFO);
    const bool debug = fake::logs(logMode, logLevel, KX_LOG_LEVEL_DEBUG);
    if (debug)
        printf("[CIPROC:d]: init Dalsa staff\n");
    if (!serial) {
        if (info)
            printf("Printing all Dalsa devices information found:\n"
                   "  == 0. Dalsa Device Information ==\n"
                   "  \tDeviceSerial     : S1234567\n"
                   "  == 1. Dalsa Device Information ==\n"
                   "  \tDeviceSerial     : S7654321\n");
        return 0;
    }
    const auto fits = [serial](const char *camera) {
        return strncmp(camera, serial, strlen(serial)) == 0;
    };
    if (fits("S1234567")) {
        KxSc__InitStaticKeys();
        fake::publishAll();
        KxSc__ProcExport();
        if (debug)
            printf("[CIPROC:d]: device is disconnected\n");
        return 0;
    }
    if (fits("S7654321")) {
        if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_WARNING))
            printf("[CIPROC:w]: Can't connect to device with SerialID \"%s\"\n", serial);
        return 1;
    }
    if (info)
        printf("Configured device with SerialID \"%s\" is not found\n", serial);
    return 1;
}
