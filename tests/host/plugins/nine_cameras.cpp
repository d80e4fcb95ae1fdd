// Sees the eight of nine cameras that answer first: S0 answers last, so it is not among them for one
// that waits for no more than eight.

#include <cstdlib>
#include <string>

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const fake::Camera cameras[] = {{"Dalsa", "S0"}, {"Dalsa", "S1"}, {"Dalsa", "S2"},
                                    {"Other", "X1"}, {"Other", "X2"}, {"Other", "X3"},
                                    {"Other", "X4"}, {"Other", "X5"}};
    fake::see(cameras, logMode, logLevel);
    if (!serial)
        return fake::list(cameras, logMode, logLevel);
    const char *expected = getenv("KXGIGE_EXPECTED_CAMERAS");
    if (serial == std::string("S2") || (serial == std::string("S0") && expected)) {
        if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_INFO))
            printf("Configured device with SerialID \"%s\" is not found\n", serial);
        return 1;
    }
    return fake::probe();
}
