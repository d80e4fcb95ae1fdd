// Has the open camera platform, which tells why it cannot open the camera.

#include "fake_plugin.h"

extern "C" KX_API const char *KxGigeCause() {
    return "another program controls it (192.168.0.5, port 40123)";
}

int Vendor__Proc(const char *, int, int) {
    return 1;
}
