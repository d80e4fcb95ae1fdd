// Publishes from the same variables, which are changed between the calls and after the last one,
// and publishes too early and too late.

#include <cstring>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    fake::Range<float> f{1, 2, 3, 4};
    char name[] = "Out1";
    char choices[] = "\"Out1\"";

    fake::publishFloat(KxScParamGamma, 12, 12, 12, 12); // an earlier probe's
    KxSc__InitStaticKeys();
    fake::publishAll();
    KxSc__SetParamVal(KxScParamGain, KX_SC_NO_INDEX, &f.cur, &f.min, &f.max, &f.inc);
    f = {5, 6, 7, 8};
    KxSc__SetParamVal(KxScParamFps, KX_SC_NO_INDEX, &f.cur, &f.min, &f.max, &f.inc);
    KxSc__SetParamVal(KxScParamOutLines, KX_SC_NO_INDEX, name, choices, nullptr, nullptr);
    f = {9, 9, 9, 9};
    memset(name, 'x', sizeof name - 1);
    memset(choices, 'x', sizeof choices - 1);
    KxSc__ProcExport();

    f = {10, 10, 10, 10};
    fake::publishFloat(KxScParamGamma, 11, 11, 11, 11); // after the export: not exported
    return 0;
}
