// Returns a number that means nothing.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    return 7;
}
