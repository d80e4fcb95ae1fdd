#include "modes.h"

#include <algorithm>
#include <utility>

#include "words.h"

namespace kxinfo {

namespace {

std::string textOf(const RawValue &value) {
    if (const auto *text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *integer = std::get_if<int64_t>(&value))
        return std::to_string(*integer);
    if (const auto *boolean = std::get_if<bool>(&value))
        return *boolean ? "true" : "false";
    return std::to_string(std::get<double>(value));
}

} // namespace

// Gain of the sensor and of the numbers, for example, are one feature reached in two ways.
Modes::Remembered *Modes::find(const std::string &feature, Reach reach) {
    const auto found = std::find_if(remembered_.begin(), remembered_.end(), [&](const auto &r) {
        return r.feature == feature && r.reach == reach;
    });
    return found == remembered_.end() ? nullptr : &*found;
}

// A mode is remembered after those that it needs itself, so that putting back the latest first
// finds them switched.
void Modes::remember(const char *feature, Reach reach) {
    this->reach(reach);
    if (!find(feature, reach) && isReadable(nodeMap_, feature))
        remembered_.push_back({feature, reach, readRaw(nodeMap_, feature), {}});
}

void Modes::select(const char *feature, Reach reach, const char *entry) {
    if (kindOf(nodeMap_, feature) != Kind::Enumeration)
        return;
    remember(feature, reach);
    if (isReadable(nodeMap_, feature) && readRaw(nodeMap_, feature) != RawValue(entry))
        writeRaw(nodeMap_, feature, entry);
}

void Modes::reach(Reach reach) {
    switch (reach) {
    case Reach::Direct:
        return;
    case Reach::SensorGain:
        return select("GainSelector", Reach::Direct, "SensorAll");
    case Reach::Manual:
        return select("autoBrightnessMode", Reach::Direct, "Off");
    case Reach::ManualSensorGain:
        this->reach(Reach::Manual);
        return this->reach(Reach::SensorGain);
    case Reach::RedBalance:
        return select("BalanceRatioSelector", Reach::Direct, "Red");
    case Reach::BlueBalance:
        return select("BalanceRatioSelector", Reach::Direct, "Blue");
    case Reach::Brightness:
        return select("autoBrightnessMode", Reach::Direct, "Active");
    case Reach::AutoExposure:
        return select("ExposureAuto", Reach::Brightness, "Continuous");
    case Reach::AutoGain:
        return select("GainAuto", Reach::Brightness, "Continuous");
    case Reach::SensorAutoGain:
        return select("gainAutoSource", Reach::AutoGain, "SensorAll");
    case Reach::GammaTable:
        return select("lutType", Reach::Direct, "GammaCorrection");
    case Reach::UserTable:
        return select("lutType", Reach::Direct, "UserDefined");
    case Reach::WholeUserTable:
        return select("lutSize", Reach::UserTable, "Bpp12");
    }
}

RawValue Modes::read(const char *feature, Reach reach) {
    this->reach(reach);
    if (const Remembered *remembered = find(feature, reach))
        return remembered->after.value_or(remembered->before);
    return readRaw(nodeMap_, feature);
}

void Modes::write(const char *feature, Reach reach, const RawValue &value) {
    remember(feature, reach);
    writeRaw(nodeMap_, feature, value);
    changed(feature, reach);
}

void Modes::changed(const char *feature, Reach reach) {
    if (Remembered *remembered = find(feature, reach))
        remembered->after = readRaw(nodeMap_, feature);
}

void Modes::keepChanges() {
    for (Remembered &remembered : remembered_)
        if (remembered.after)
            remembered.before = *std::exchange(remembered.after, std::nullopt);
}

std::string Modes::changes() const {
    std::string features;
    for (const Remembered &remembered : remembered_)
        if (remembered.after)
            features += (features.empty() ? "" : ", ") + remembered.feature;
    return features;
}

Modes::Failures Modes::putBackOnce() {
    Failures failures;
    for (size_t i = remembered_.size(); i-- > 0;) {
        const Remembered mode = remembered_[i]; // reaching may remember more
        try {
            reach(mode.reach);
            if (readRaw(nodeMap_, mode.feature.c_str()) != mode.before)
                writeRaw(nodeMap_, mode.feature.c_str(), mode.before);
        } catch (const std::exception &error) {
            failures.features +=
                (failures.count++ == 0 ? "" : ", ") + mode.feature + " to " + textOf(mode.before);
            if (failures.reason.empty())
                failures.reason = reasonOf(error);
        }
    }
    return failures;
}

// The range of a feature may depend on another that is put back after it, so what has failed is
// tried again as long as that helps: with all others, since reaching it may switch them once more.
std::string Modes::putBack() {
    Failures failures = putBackOnce();
    for (size_t before = remembered_.size() + 1; 0 < failures.count && failures.count < before;) {
        before = failures.count;
        failures = putBackOnce();
    }
    remembered_.clear();
    if (failures.count == 0)
        return "";
    return "this could not be put back: " + failures.features + " (" + failures.reason + ").";
}

} // namespace kxinfo
