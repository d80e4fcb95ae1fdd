// Publishes settings from a future in which there are more of them.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    const float value = 1;
    KxSc__InitStaticKeys();
    KxSc__SetParamVal(99, KX_SC_NO_INDEX, &value, &value, &value, &value);
    fake::publishAll();
    KxSc__SetParamVal(7, KX_SC_NO_INDEX, &value, nullptr, nullptr, nullptr);
    KxSc__SetParamVal(99, KX_SC_NO_INDEX, &value, &value, &value, &value);
    KxSc__SetParamVal(KxScParamGain, 0, &value, &value, &value, &value); // an indexed family
    KxSc__SetParamVal(-1, KX_SC_NO_INDEX, nullptr, nullptr, nullptr, nullptr);
    KxSc__ProcExport();
    return 0;
}
