// Has the open camera platform: it finds a camera by its whole serial number before those that only
// begin so, and tells why it cannot open one, S7.

#include "fake_plugin.h"

namespace {
const char *cause = "";
}

extern "C" KX_API const char *KxGigeCause() {
    return cause;
}

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const fake::Camera cameras[] = {{"Dalsa", "S10"}, {"Dalsa", "S1"}, {"Dalsa", "S1"}};
    fake::see(cameras, logMode, logLevel);
    if (!serial)
        return fake::list(cameras, logMode, logLevel);
    if (strcmp(serial, "S7") != 0)
        return fake::probe();
    cause = "another program controls it (192.168.0.5, port 40123)";
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_WARNING))
        printf("[CIPROC:w]: Can't connect to device with SerialID \"%s\"\n", serial);
    return 1;
}
