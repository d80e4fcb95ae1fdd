// Ends its log without a line end, as one of the real plug-in's messages does.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int logMode, int) {
    KxSc__InitStaticKeys();
    fake::publishAll();
    KxSc__ProcExport();
    if (logMode & KX_LOG_MODE_STDOUT)
        printf("[KX_TD_PROC:d]: no line end");
    return 0;
}
