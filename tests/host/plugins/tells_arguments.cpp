// Tells on standard error what it is called with.

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    if (serial)
        fprintf(stderr, "serial \"%s\" mode %d level %d\n", serial, logMode, logLevel);
    else
        fprintf(stderr, "no serial, mode %d level %d\n", logMode, logLevel);
    KxSc__InitStaticKeys();
    fake::publishAll();
    KxSc__ProcExport();
    return 0;
}
