// Ends well after an error of the camera, with the settings that it had published before.

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    KxSc__InitStaticKeys();
    if (serial[0] != '\0') { // without a serial number, the error comes at once
        fake::publishInt(KxScParamOffsetX, 8, 0, 1920, 4);
        fake::publishInt(KxScParamOffsetY, 4, 0, 1200, 2);
    }
    if (fake::logs(logMode, logLevel, KX_LOG_LEVEL_DEBUG)) // the first line has no end
        printf("[KX_TD_PROC:d]:  Origin check config - GenApi: Property Exception it is asleep."
               "[KX_TD_PROC:d]: Finished loop with: status=0, rc=0\n");
    KxSc__ProcExport();
    return 0;
}
