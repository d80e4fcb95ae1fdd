// Sees three cameras, one of another maker; tells on standard error how many are expected, and lets
// a probe fail.

#include <cstdlib>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const fake::Camera cameras[] = {{"Dalsa", "S1"}, {"Other", "X1"}, {"Dalsa", "S2"}};
    fake::see(cameras, logMode, logLevel);
    if (!serial)
        return fake::list(cameras, logMode, logLevel);
    const char *expected = getenv("KXGIGE_EXPECTED_CAMERAS");
    fprintf(stderr, "expected: %s\n", expected ? expected : "(unset)");
    return -1;
}
