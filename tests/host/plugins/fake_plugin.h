/**
 * What the plug-ins of these tests share. Each of them is a library whose Vendor__Proc() plays one
 * part a plug-in may play; the tests run kxinfo-host with it. They log as the real one does: by level,
 * to standard output.
 */
#ifndef KXINFO_TESTS_HOST_FAKE_PLUGIN_H
#define KXINFO_TESTS_HOST_FAKE_PLUGIN_H

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "kx_proc.h"
#include "kx_sc.h"

namespace fake {

/** The values of a float or integer setting. */
template <typename T>
struct Range {
    T cur, min, max, inc;
};

template <typename T>
void publish(KxScParamId id, Range<T> v) {
    KxSc__SetParamVal(id, KX_SC_NO_INDEX, &v.cur, &v.min, &v.max, &v.inc);
}

inline void publishFloat(KxScParamId id, float cur, float min, float max, float inc) {
    publish<float>(id, {cur, min, max, inc});
}

inline void publishInt(KxScParamId id, int32_t cur, int32_t min, int32_t max, int32_t inc) {
    publish<int32_t>(id, {cur, min, max, inc});
}

inline void publishRotation() {
    const int32_t none = 0;
    KxSc__SetParamVal(KxScParamRotate, KX_SC_NO_INDEX, &none, nullptr, nullptr, nullptr);
}

inline void publishOutLine(const char *cur, const char *choices) {
    KxSc__SetParamVal(KxScParamOutLines, KX_SC_NO_INDEX, cur, choices, nullptr, nullptr);
}

/** All fifteen settings, in the plug-in's order. */
inline void publishAll() {
    publishInt(KxScParamOffsetX, 8, 0, 1920, 4);
    publishInt(KxScParamOffsetY, 4, 0, 1200, 2);
    publishInt(KxScParamWidth, 1920, 16, 1936, 16);
    publishInt(KxScParamHeight, 1200, 2, 1216, 2);
    publishFloat(KxScParamFps, 29.97f, 0.1f, 120, 0.1f);
    publishRotation();
    publishFloat(KxScParamGain, 6.5f, 0, 24.0824f, 0.5f);
    publishFloat(KxScParamExposure, 10000, 20.5f, 16777215, 0.5f);
    publishFloat(KxScParamGamma, 0.45f, 0.1f, 4, 0.1f);
    publishFloat(KxScParamAutoBrightTarget, 128 / 255.0f, 0, 1, 1 / 255.0f);
    publishFloat(KxScParamAutoGainLower, 0, 0, 18, 0.5f);
    publishFloat(KxScParamAutoGainUpper, 12, 0, 18, 0.5f);
    publishFloat(KxScParamAutoExpoLower, 100, 20, 1000000, 1);
    publishFloat(KxScParamAutoExpoUpper, 33333.332f, 20, 1000000, 1);
    publishOutLine("None", "\"None\", \"Out1\", \"Out2\"");
}

/** Whether a message of this level goes to standard output. */
inline bool logs(int logMode, int logLevel, int level) {
    return (logMode & KX_LOG_MODE_STDOUT) && logLevel >= level;
}

/** A whole probe that goes well. */
inline int probe() {
    KxSc__InitStaticKeys();
    publishAll();
    KxSc__ProcExport();
    return 0;
}

} // namespace fake

#endif
