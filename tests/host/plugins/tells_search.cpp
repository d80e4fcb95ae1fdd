// Sees three cameras, one of another maker; tells on standard error which one the open platform would
// search for, and lets a probe fail.

#include <cstdlib>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const char *wanted = getenv("KXGIGE_SERIAL");
    fprintf(stderr, "searched for: %s\n", wanted ? wanted : "everything");
    const fake::Camera cameras[] = {{"Dalsa", "S1"}, {"Other", "X1"}, {"Dalsa", "S2"}};
    fake::see(cameras, logMode, logLevel);
    return serial ? -1 : fake::list(cameras, logMode, logLevel);
}
