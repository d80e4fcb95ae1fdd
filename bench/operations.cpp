// Each operation of the camera class on the scripted platform, with logging off, and a message that
// no sink wants. The platform's own work (it records every access) is part of the time.

#define KX_LOG_TAG "BENCH"

#include <benchmark/benchmark.h>

#include "plug_in.h"

namespace {

// Records of accesses must not pile up: the platform forgets them now and then.
constexpr int kForgetEvery = 1024;

// Where the operations deliver.
int number, intMin, intMax, intInc;
float real, min, max, inc;

template <typename Operation>
void run(benchmark::State &state, CExCam &cam, Operation operation) {
    int left = kForgetEvery;
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(cam));
        if (--left == 0) {
            state.PauseTiming();
            forget();
            left = kForgetEvery;
            state.ResumeTiming();
        }
    }
    forget();
}

template <typename Operation>
void add(const char *name, Operation operation) {
    benchmark::RegisterBenchmark(name, [operation](benchmark::State &state) {
        scripted::reset();
        describeWholeCamera(scripted::camera());
        scripted::camera().enumeration("autoBrightnessSequence", "Exposure_Gain_Iris",
                                       {"Exposure_Gain_Iris"});
        CExCam cam(scripted::framework().handle());
        run(state, cam, operation);
    });
}

// The first range read of an object asks the camera, so each takes a new object.
template <typename Operation>
void addFirst(const char *name, Operation operation) {
    add(name, [operation](CExCam &) {
        CExCam fresh(scripted::framework().handle());
        return operation(fresh);
    });
}

void suppressedMessage(benchmark::State &state) {
    gKxLogLevel = 3;
    gKxLogMode = KX_LOG_MODE_STDOUT | KX_LOG_MODE_SYSLOG;
    int value = 0;
    for (auto _ : state) {
        KX_LOG_D("  cur Width val is %i\n", value);
        benchmark::DoNotOptimize(++value);
        benchmark::ClobberMemory();
    }
    gKxLogLevel = 0;
    gKxLogMode = 0;
}

void wholeProbe(benchmark::State &state) {
    scripted::reset();
    scripted::framework().sees({{"Teledyne DALSA", "Nano", "S1234"}});
    describeWholeCamera(scripted::camera());
    for (auto _ : state) {
        if (Vendor__Proc("S12", 0, 0) != 0)
            state.SkipWithError("the probe failed");
        state.PauseTiming();
        forget();
        state.ResumeTiming();
    }
}

void addAll() {
    add("ExPropertyGetInt",
        [](CExCam &cam) { return cam.ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &number); });
    add("ExPropertyGetInt, brightness target", [](CExCam &cam) {
        return cam.ExPropertyGetInt(AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, &number);
    });
    add("ExPropertySetInt",
        [](CExCam &cam) { return cam.ExPropertySetInt(WIDTH_PROPERTY_TYPE, 1920); });
    addFirst("ExPropertyGetIntRange, first", [](CExCam &cam) {
        return cam.ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &intMin, &intMax, &intInc);
    });
    add("ExPropertyGetIntRange, known", [](CExCam &cam) {
        return cam.ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &intMin, &intMax, &intInc);
    });
    add("ExPropertyGetFloat",
        [](CExCam &cam) { return cam.ExPropertyGetFloat(EXPOSURE_TIME_PROPERTY_TYPE, &real); });
    add("ExPropertyGetFloat, gain",
        [](CExCam &cam) { return cam.ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &real); });
    add("ExPropertyGetFloat, gain limit",
        [](CExCam &cam) { return cam.ExPropertyGetFloat(AUTO_GAIN_MIN_PROPERTY_TYPE, &real); });
    add("ExPropertySetFloat, gain",
        [](CExCam &cam) { return cam.ExPropertySetFloat(GAIN_PROPERTY_TYPE, 6.0f); });
    addFirst("ExPropertyGetFloatRange, first", [](CExCam &cam) {
        return cam.ExPropertyGetFloatRange(EXPOSURE_TIME_PROPERTY_TYPE, &min, &max, &inc);
    });
    add("ExPropertyGetFloatRange, known", [](CExCam &cam) {
        return cam.ExPropertyGetFloatRange(EXPOSURE_TIME_PROPERTY_TYPE, &min, &max, &inc);
    });
    add("ExPropertySetEna",
        [](CExCam &cam) { return cam.ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true); });
    add("ExPropertySetEnumFromStr",
        [](CExCam &cam) { return cam.ExPropertySetEnumFromStr("lutSize", "Bpp12"); });
    add("ExPropertySetEnaAutoPush", [](CExCam &cam) {
        return cam.ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, true);
    });
    add("ExPropertySetAutoOff",
        [](CExCam &cam) { return cam.ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE); });
    add("ExPropertySetAutoCont",
        [](CExCam &cam) { return cam.ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE); });
    add("ExSetAutoExpoEna", [](CExCam &cam) { return cam.ExSetAutoExpoEna(true); });
    add("ExSetAutoExpoVal", [](CExCam &cam) { return cam.ExSetAutoExpoVal(0.5f); });
    add("ExPropertySetAutoRangeGain, refused",
        [](CExCam &cam) { return cam.ExPropertySetAutoRangeGain(12.0f, 6.0f); });
    add("ExPropertySetAutoRangeExpo, refused",
        [](CExCam &cam) { return cam.ExPropertySetAutoRangeExpo(900.0f, 100.0f); });
    add("ExPropertyGetLUTMode", [](CExCam &cam) { return cam.ExPropertyGetLUTMode(); });
    add("ExPropertySetLUTMode",
        [](CExCam &cam) { return cam.ExPropertySetLUTMode(TD_LG_USER_LUT); });
    addFirst("ExPropertyGetGammaRange, first",
             [](CExCam &cam) { return cam.ExPropertyGetGammaRange(&min, &max, &inc); });
    add("ExPropertyGetGammaRange, known",
        [](CExCam &cam) { return cam.ExPropertyGetGammaRange(&min, &max, &inc); });
    add("ExPropertyGetGamma", [](CExCam &cam) { return cam.ExPropertyGetGamma(&real); });
    add("ExPropertySetGamma", [](CExCam &cam) { return cam.ExPropertySetGamma(1.0f); });
    add("ExPropertySetLUTChannel", [](CExCam &cam) { return cam.ExPropertySetLUTChannel(1, 3); });
    add("ExPropertySetLUTValue", [](CExCam &cam) { return cam.ExPropertySetLUTValue(17, 255); });
    benchmark::RegisterBenchmark("message that no sink wants", suppressedMessage);
    benchmark::RegisterBenchmark("whole probe", wholeProbe);
}

} // namespace

int main(int argc, char **argv) {
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
