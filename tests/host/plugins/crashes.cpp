// Logs, then ends the process without warning.

#include <csignal>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    printf("[CIPROC:d]: the last line before the crash\n");
    raise(SIGKILL);
    return 0;
}
