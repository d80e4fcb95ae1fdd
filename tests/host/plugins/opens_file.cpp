// Opens the file that the serial number names, and keeps it open while it logs.

#include <fcntl.h>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int, int) {
    if (open(serial, O_WRONLY | O_CREAT, 0600) < 0)
        return -1;
    printf("[CIPROC:d]: this belongs on standard output\n");
    KxSc__InitStaticKeys();
    fake::publishAll();
    KxSc__ProcExport();
    return 0;
}
