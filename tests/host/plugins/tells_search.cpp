// Tells on standard error which camera the open platform would search for.

#include <cstdlib>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    const char *wanted = getenv("KXGIGE_SERIAL");
    fprintf(stderr, "searched for: %s\n", wanted ? wanted : "everything");
    return -1;
}
