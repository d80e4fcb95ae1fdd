// Publishes numbers and texts that are hard to show.

#include <cmath>
#include <limits>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    using Float = std::numeric_limits<float>;
    using Int = std::numeric_limits<int32_t>;
    KxSc__InitStaticKeys();
    fake::publishAll();
    fake::publishInt(KxScParamWidth, Int::min(), Int::min(), Int::max(), -1);
    fake::publishFloat(KxScParamGain, -Float::infinity(), Float::quiet_NaN(), Float::infinity(),
                       -0.0f);
    fake::publishFloat(KxScParamExposure, 16777216.0f, Float::denorm_min(), Float::max(), 0.1f);
    fake::publishFloat(KxScParamFps, 100000, 1e-5f, 999999936.0f, 1e9f);
    fake::publishFloat(KxScParamGamma, 1 / 3.0f, -1, 123456.789f, 9.99999e-6f);
    fake::publishOutLine("Schütz", "\"Schütz\", \"\", \"a\\b\", \"caf\xE9\", \"broken");
    KxSc__ProcExport();
    return 0;
}
