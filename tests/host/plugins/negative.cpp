// Fails after it has published and even exported.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int logMode, int logLevel) {
    KxSc__InitStaticKeys();
    fake::publishAll();
    KxSc__ProcExport();
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_ERROR))
        printf("[KX_TD_PROC:e]: Device check configuration error, finish loop\n");
    return -2;
}
