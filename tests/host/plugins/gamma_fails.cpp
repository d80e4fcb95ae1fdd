// Publishes all settings, gamma in spite of an error of the camera.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int logMode, int logLevel) {
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_DEBUG))
        printf(
            "[KX_TD_PROC:d]:  Origin check gamma config - GenApi: Timeout Exception no answer\n");
    return fake::probe();
}
