// Ends well after an error of the camera, with the settings that it had published before.

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int, int) {
    KxSc__InitStaticKeys();
    if (serial[0] != '\0') { // without a serial number, the error comes at once
        fake::publishInt(KxScParamOffsetX, 8, 0, 1920, 4);
        fake::publishInt(KxScParamOffsetY, 4, 0, 1200, 2);
    }
    KxSc__ProcExport();
    return 0;
}
