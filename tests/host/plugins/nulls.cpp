// Publishes nothing but null pointers.

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    KxSc__InitStaticKeys();
    for (KxScParamId id = 0; id <= KxScParamOutLines; ++id)
        if (id <= KxScParamHeight || id == KxScParamAutoBrightTarget ||
            id == KxScParamAutoGainLower || id == KxScParamAutoGainUpper ||
            (id >= KxScParamAutoExpoLower && id <= KxScParamExposure) || id == KxScParamOutLines)
            KxSc__SetParamVal(id, KX_SC_NO_INDEX, nullptr, nullptr, nullptr, nullptr);
    KxSc__ProcExport();
    return 0;
}
