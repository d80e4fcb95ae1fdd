#include "camera/features.h"

#include <algorithm>
#include <map>

namespace kxinfo {

namespace {

constexpr Kind Int = Kind::Integer, Float = Kind::Float, Bool = Kind::Boolean,
               Enum = Kind::Enumeration;
constexpr Unit None = Unit::None, px = Unit::Pixels, us = Unit::Microseconds, dB = Unit::Decibels;

} // namespace

const char *nameOf(Kind kind) {
    constexpr const char *kNames[] = {"missing",     "integer", "float",   "boolean",
                                      "enumeration", "text",    "command", "register"};
    return kNames[static_cast<size_t>(kind)];
}

const char *nameOf(Unit unit) {
    constexpr const char *kNames[] = {nullptr, "px", "us", "1/s", "dB", nullptr};
    return kNames[static_cast<size_t>(unit)];
}

const std::vector<Feature> &allFeatures() {
    static const Need kActive = {"autoBrightnessMode", "Active", false};
    static const Need kExposureIsAuto = {"ExposureAuto", "Continuous", false};
    static const Need kGainIsAuto = {"GainAuto", "Continuous", false};
    static const Need kGainOfSensor = {"GainSelector", "SensorAll", true};
    static const Need kLimitsOfSensor = {"gainAutoSource", "SensorAll", true};
    static const Need kRed = {"BalanceRatioSelector", "Red", true};
    static const Need kBlue = {"BalanceRatioSelector", "Blue", true};
    static const Need kGammaCurve = {"lutType", "GammaCorrection", false};
    static const Need kUsersTable = {"lutType", "UserDefined", false};
    static const Need k12Bits = {"lutSize", "Bpp12", true};
    // The automatic functions are restored before what they may change while their limits are set.
    // clang-format off
    static const std::vector<Feature> table = {
        // name, kind, unit, saved, needs, limited by, up to, set by, legacy
        {"WidthMax", Int, px},
        {"HeightMax", Int, px},
        {"Width", Int, px, 11, {}, "OffsetX"},
        {"Height", Int, px, 12, {}, "OffsetY"},
        {"OffsetX", Int, px, 13, {}, "Width"},
        {"OffsetY", Int, px, 14, {}, "Height"},
        {"Gain", Float, dB, 19, {kGainOfSensor}, {}, {}, "GainAuto", {"GainRaw", "GainAbs"}},
        {"ExposureTime", Float, us, 18, {}, "AcquisitionFrameRate", {}, "ExposureAuto",
         {"ExposureTimeAbs", "ExposureTimeRaw"}},
        {"gammaCorrection", Float, None, 23, {kGammaCurve}, {}, {}, {}, {"Gamma"}},
        {"AcquisitionFrameRate", Float, Unit::PerSecond, 17, {}, "ExposureTime", {}, {},
         {"AcquisitionFrameRateAbs", "AcquisitionFrameRateRaw"}},
        {"autoBrightnessTarget", Int, Unit::Level, 1, {kActive}},
        {"exposureAutoMinValue", Float, us, 3, {kActive, kExposureIsAuto},
         "exposureAutoMaxValue", "exposureAutoMaxValue"},
        {"exposureAutoMaxValue", Float, us, 4, {kActive, kExposureIsAuto}, "exposureAutoMinValue"},
        {"gainAutoMinValue", Float, dB, 5, {kActive, kGainIsAuto, kLimitsOfSensor},
         "gainAutoMaxValue", "gainAutoMaxValue"},
        {"gainAutoMaxValue", Float, dB, 6, {kActive, kGainIsAuto, kLimitsOfSensor},
         "gainAutoMinValue"},
        {"ExposureAuto", Enum, None, 8, {kActive}},
        {"GainAuto", Enum, None, 9, {kActive}},
        {"ReverseX", Bool, None, 15},
        {"ReverseY", Bool, None, 16},
        {"balanceWhitePeriod", Int, None, 22},
        {"BalanceRatio[Red]", Float, dB, 20, {kRed}, {}, {}, {}, {"BalanceRatioAbs"}},
        {"BalanceRatio[Blue]", Float, dB, 21, {kBlue}, {}, {}, {}, {"BalanceRatioAbs"}},
        // Modes
        {"autoBrightnessMode", Enum, None, 10},
        {"autoBrightnessSequence", Enum, None, 2, {kActive}},
        {"gainAutoSource", Enum, None, 7, {kActive, kGainIsAuto}},
        {"GainSelector", Enum},
        {"BalanceRatioSelector", Enum},
        {"lutMode", Enum, None, 26},
        {"lutType", Enum, None, 25},
        {"lutSize", Enum, None, 24, {kUsersTable}},
        {"LUTSelector", Enum, None, 0, {kUsersTable}},
        {"LUTIndex", Int, None, 0, {kUsersTable}},
        {"LUTValue", Int, None, 0, {kUsersTable, k12Bits}},
    };
    // clang-format on
    return table;
}

const std::vector<const Feature *> &savedFeatures() {
    static const std::vector<const Feature *> saved = [] {
        std::vector<const Feature *> rows;
        for (const Feature &feature : allFeatures())
            if (feature.saved)
                rows.push_back(&feature);
        std::sort(rows.begin(), rows.end(),
                  [](const Feature *a, const Feature *b) { return a->saved < b->saved; });
        return rows;
    }();
    return saved;
}

std::string nearestFeatures(const std::string &name) {
    Words known;
    for (const Feature &feature : allFeatures())
        known.push_back(feature.name);
    return didYouMean(name, known);
}

const Feature &featureNamed(const std::string &name) {
    return *std::find_if(allFeatures().begin(), allFeatures().end(),
                         [&](const Feature &feature) { return sameWord(feature.name, name); });
}

std::vector<const Feature *> featuresMeant(const Words &names) {
    std::vector<const Feature *> meant;
    const auto add = [&](const Feature &feature) {
        if (std::find(meant.begin(), meant.end(), &feature) == meant.end())
            meant.push_back(&feature);
    };
    for (const std::string &name : names) {
        bool isKnown = false;
        for (const Feature &feature : allFeatures())
            if (sameWord(feature.name, name) || sameWord(feature.node, name)) {
                add(feature);
                isKnown = true;
            }
        if (!isKnown)
            add(ownFeature(name));
    }
    return meant;
}

const Feature &ownFeature(const std::string &name, const std::vector<Need> &needs) {
    static std::map<std::string, Feature> features;
    std::string selectors, entries;
    for (const Need &need : needs) {
        selectors += need.node + '=' + need.entry + ',';
        entries += (entries.empty() ? "[" : ",") + need.entry;
    }
    Feature &feature = features[selectors + name];
    if (feature.name.empty()) {
        feature.name = entries.empty() ? name : name + entries + ']';
        feature.needs = needs;
        feature.node = name;
    }
    return feature;
}

} // namespace kxinfo
