// Sees cameras whose serial numbers look like something else, or like each other's; probes any, and
// tells on standard error which.

#include "fake_plugin.h"

int Vendor__Proc(const char *serial, int logMode, int logLevel) {
    const fake::Camera cameras[] = {
        {"Dalsa", "--json"}, {"Dalsa", " S\t\"1\\"}, {"Dalsa", "caf\xE9"}, {"Other", "X10"},
        {"Dalsa", "X1"},     {"Dalsa", "S20"},       {"Dalsa", "S2"}};
    fake::see(cameras, logMode, logLevel);
    if (!serial)
        return fake::list(cameras, logMode, logLevel);
    fprintf(stderr, "<%s>\n", serial);
    return -1;
}
