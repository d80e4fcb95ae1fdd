// Publishes, but does not export.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    KxSc__InitStaticKeys();
    fake::publishAll();
    return 0;
}
