// Lets an exception out, as a camera framework may while it fetches a node map.

#include <stdexcept>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int logMode, int) {
    if (logMode & KX_LOG_MODE_STDOUT)
        printf("[CIPROC:d]: about to throw\n");
    KxSc__InitStaticKeys();
    fake::publishAll();
    throw std::runtime_error("the camera's description is damaged");
}
