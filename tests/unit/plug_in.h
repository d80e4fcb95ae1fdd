/** Fixtures: the plug-in on a scripted camera, with a host that remembers. */
#ifndef KXINFO_TESTS_PLUG_IN_H
#define KXINFO_TESTS_PLUG_IN_H

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "kxinfo-dalsa/kx_log.h"
#include "kxinfo-dalsa/kx_proc.h"
#include "kxinfo-dalsa/kx_sc.h"
#include "kxinfo-dalsa/kx_td_excam.h"
#include "kxinfo-dalsa/kx_td_proc.h"

#include "host.h"
#include "scripted.h"

using GenApi_3_0::NA;
using GenApi_3_0::NI;
using GenApi_3_0::RO;
using GenApi_3_0::RW;
using GenApi_3_0::WO;
using namespace KxTd;
using host::debug;
using host::everything;
using host::happened;
using host::initStaticKeys;
using host::Logged;
using host::procExport;
using host::Publication;
using host::published;
using host::setParamVal;
using host::warning;
using scripted::apiUninitialize;
using scripted::call;
using scripted::calls;
using scripted::closeCamera;
using scripted::closeSocketApi;
using scripted::Event;
using scripted::Fault;
using scripted::forget;
using scripted::getCameraList;
using scripted::getFeatureNodeMap;
using scripted::getFeatureValue;
using scripted::lookup;
using scripted::NodeMap;
using scripted::Op;
using scripted::openCamera;
using scripted::read;
using scripted::readInc;
using scripted::readMax;
using scripted::readMin;
using scripted::readText;
using scripted::trace;
using scripted::write;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int kStandardOutput = KX_LOG_MODE_STDOUT;
constexpr int kSystemLog = KX_LOG_MODE_SYSLOG;
constexpr int kBothSinks = KX_LOG_MODE_STDOUT | KX_LOG_MODE_SYSLOG;

/** A freshly loaded framework and host; what is logged goes to the trace, through the system log. */
class PlugIn : public testing::Test {
protected:
    PlugIn() {
        scripted::reset();
        host::reset();
        gKxLogLevel = KX_LOG_LEVEL_DEBUG;
        gKxLogMode = kSystemLog;
    }

    // The plug-in uses a node as it is: what it may not do, the node says by raising.
    void TearDown() override { EXPECT_EQ(0u, camera.accessModeQueries()); }

    scripted::Camera &camera = scripted::camera();
    scripted::Framework &framework = scripted::framework();
};

/** The host calls Vendor__Proc(). */
class Probe : public PlugIn {
protected:
    Logged probe(const char *serial, int level = KX_LOG_LEVEL_DEBUG, int mode = kBothSinks) {
        return host::caught([&] { exitCode = Vendor__Proc(serial, mode, level); });
    }

    int exitCode = -99;
};

/** An opened camera, wrapped. */
class OpenedCamera : public PlugIn {
protected:
    OpenedCamera() {
        const auto fill = [](auto &field, const char *text) {
            (void)std::snprintf(field, sizeof field, "%s", text);
        };
        fill(info_.manufacturer, "Teledyne DALSA");
        fill(info_.model, "Nano-M2020");
        fill(info_.version, "1.02");
        fill(info_.serial, "S1234");
        info_.mode = 2;
    }

    /** The camera object, made at its first use; what happened until then is forgotten. */
    CExCam &cam() {
        if (!cam_) {
            cam_ = std::make_unique<CExCam>(framework.handle());
            cam_->info = &info_;
            forget();
        }
        return *cam_;
    }

    /** Another object on the same camera. */
    CExCam &wrappedAnew() {
        cam_.reset();
        return cam();
    }

    GEV_CAMERA_INFO info_{};

private:
    std::unique_ptr<CExCam> cam_;
};

/** Runs the body in a process in which the plug-in has just been loaded. */
#define IN_FRESH_PROCESS(body)                                                                     \
    do {                                                                                           \
        GTEST_FLAG_SET(death_test_style, "threadsafe");                                            \
        EXPECT_EXIT(                                                                               \
            {                                                                                      \
                body;                                                                              \
                std::fflush(stdout);                                                               \
                std::_Exit(HasFailure() ? 1 : 0);                                                  \
            },                                                                                     \
            testing::ExitedWithCode(0), "");                                                       \
    } while (0)

/** \name Published settings */
///@{
inline Publication integers(KxScParamId id, int32_t cur, int32_t min, int32_t max, int32_t inc) {
    return {id, cur, min, max, inc};
}
inline Publication floats(KxScParamId id, float cur, float min, float max, float inc) {
    return {id, cur, min, max, inc};
}
///@}

/** What happened, with the lines of that operation as `[* …]`. */
inline std::string happenedTo(const std::string &operation, std::string all = happened()) {
    const std::string prefix = "[d|" + operation;
    for (std::size_t at = 0; (at = all.find(prefix, at)) != all.npos;)
        all.replace(at, prefix.size(), "[*");
    return all;
}

/** The C library's own answer to the comparison of a camera's serial with the configured one, of
 * which only the sign is standard. */
inline std::string comparison(const char *serial, const char *configured) {
    int (*volatile compare)(const char *, const char *, size_t) = std::strncmp;
    return std::to_string(compare(serial, configured, std::strlen(configured)));
}

/** 20 log10 of a linear value. */
inline float decibels(float linear) {
    return 20.0f * std::log10(linear);
}

/** A camera with every feature that the plug-in knows, its table off and its automation off. */
inline void describeWholeCamera(scripted::Camera &camera) {
    camera.integer("WidthMax", 1936).access(RO);
    camera.integer("HeightMax", 1216).access(RO);
    camera.integer("Width", 1920).range(16, 1928, 16);
    camera.integer("Height", 1200).range(2, 1212, 2);
    camera.integer("OffsetX", 8).range(0, 16, 8);
    camera.integer("OffsetY", 4).range(0, 12, 4);
    camera.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"});
    camera.floating("Gain", 1.0)
        .range(1.0, 100.0)
        .selectedBy("GainSelector", {{"AnalogAll", 1.0}, {"SensorAll", 10.0}});
    camera.floating("ExposureTime", 5000.0).range(20.0, 1000000.0, 1.0);
    camera.floating("AcquisitionFrameRate", 29.97).range(1.0, 60.0);
    camera.enumeration("lutMode", "Off", {"Off", "Active"});
    camera.enumeration("lutType", "UserDefined", {"UserDefined", "GammaCorrection"});
    camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp12"});
    camera.floating("gammaCorrection", 0.5)
        .range(0.25, 4.0)
        .onlyWhile("lutType", "GammaCorrection");
    camera.enumeration("LUTSelector", "Green", {"Red", "Green", "Blue"});
    camera.integer("LUTIndex", 0).range(0, 4095);
    camera.integer("LUTValue", 0).range(0, 4095);
    camera.enumeration("autoBrightnessMode", "Off", {"Off", "Active"});
    camera.integer("autoBrightnessTarget", 128)
        .range(0, 255, 1)
        .onlyWhile("autoBrightnessMode", "Active");
    camera.enumeration("ExposureAuto", "Off", {"Off", "Once", "Continuous"});
    camera.enumeration("GainAuto", "Off", {"Off", "Once", "Continuous"});
    camera.enumeration("gainAutoSource", "AnalogAll", {"AnalogAll", "SensorAll"});
    camera.floating("exposureAutoMinValue", 100.0)
        .range(20.0, 1000.0, 2.0)
        .onlyWhile("autoBrightnessMode", "Active");
    camera.floating("exposureAutoMaxValue", 20000.0)
        .range(1000.0, 33000.0, 4.0)
        .onlyWhile("autoBrightnessMode", "Active");
    camera.floating("gainAutoMinValue", 1.0)
        .range(1.0, 8.0, 1.0)
        .onlyWhile("autoBrightnessMode", "Active");
    camera.floating("gainAutoMaxValue", 10.0)
        .range(1.0, 100.0, 1.0)
        .onlyWhile("autoBrightnessMode", "Active");
    camera.boolean("ReverseX", false).boolean("ReverseY", false);
    camera.integer("balanceWhitePeriod", 1);
    camera.enumeration("BalanceRatioSelector", "Green", {"Red", "Green", "Blue"});
    camera.floating("BalanceRatio", 1.0)
        .range(0.1, 100.0)
        .selectedBy("BalanceRatioSelector", {{"Red", 10.0}, {"Green", 1.0}, {"Blue", 100.0}});
    camera.enumeration("DeviceTemperatureSelector", "Internal", {"Internal", "Mainboard"});
    camera.floating("DeviceTemperature", 41.25).access(RO);
}

#endif
