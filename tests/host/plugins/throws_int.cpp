// Lets something out that is no exception object.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    throw 42;
}
