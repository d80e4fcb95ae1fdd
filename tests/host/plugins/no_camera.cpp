// Finds no camera at all.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int logMode, int logLevel) {
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_INFO))
        printf("no any Dalsa devices found\n");
    return 1;
}
