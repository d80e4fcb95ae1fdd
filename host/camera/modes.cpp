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

// Automatic control, the latest switched first.
struct AutomationMode {
    const char *feature;
    Reach reach;
};
constexpr AutomationMode kAutomation[] = {{"gainAutoSource", Reach::AutoGain},
                                          {"GainAuto", Reach::Brightness},
                                          {"ExposureAuto", Reach::Brightness},
                                          {"autoBrightnessMode", Reach::Direct}};

// What automatic control moves, and by which of its functions.
struct MovedByAutomation {
    const char *feature;
    Reach reach;
    const char *automation;
};
constexpr MovedByAutomation kMovedByAutomation[] = {{"ExposureTime", Reach::Direct, "ExposureAuto"},
                                                    {"Gain", Reach::SensorGain, "GainAuto"}};

bool isAutomation(const std::string &feature) {
    return std::any_of(std::begin(kAutomation), std::end(kAutomation),
                       [&](const AutomationMode &mode) { return feature == mode.feature; });
}

bool needsAutomation(Reach reach) {
    return reach == Reach::Brightness || reach == Reach::AutoExposure || reach == Reach::AutoGain ||
           reach == Reach::SensorAutoGain;
}

// A value is the same whether automatic control must be off to set it or not.
Reach withoutManual(Reach reach) {
    if (reach == Reach::Manual)
        return Reach::Direct;
    return reach == Reach::ManualSensorGain ? Reach::SensorGain : reach;
}

} // namespace

// BalanceRatio of red and of blue, for example, is one feature reached in two ways.
Modes::Remembered *Modes::find(const std::string &feature, Reach reach) {
    const auto found = std::find_if(remembered_.begin(), remembered_.end(), [&](const auto &r) {
        return r.feature == feature && withoutManual(r.reach) == withoutManual(reach);
    });
    return found == remembered_.end() ? nullptr : &*found;
}

// A mode is remembered after those that it needs itself, so that putting back the latest first
// finds them switched.
void Modes::keep(const char *feature, Reach reach) {
    if (!find(feature, reach) && isReadable(nodeMap_, feature))
        remembered_.push_back({feature, reach, readRaw(nodeMap_, feature), {}});
}

void Modes::remember(const char *feature, Reach reach) {
    this->reach(reach);
    keep(feature, reach);
    if (Remembered *remembered = find(feature, reach))
        remembered->touched = true;
}

// Whether the camera sets exposure time, or gain, by itself when all is put back.
bool Modes::isAutomatic(const char *automation) {
    const auto is = [this](const char *feature, Reach reach, const char *entry) {
        const Remembered *remembered = find(feature, reach);
        if (remembered)
            return remembered->settled() == RawValue(entry);
        return isReadable(nodeMap_, feature) && readRaw(nodeMap_, feature) == RawValue(entry);
    };
    const bool hasMode = kindOf(nodeMap_, "autoBrightnessMode") == Kind::Enumeration;
    return is(automation, Reach::Brightness, "Continuous") &&
           (!hasMode || is("autoBrightnessMode", Reach::Direct, "Active"));
}

// Automatic control works as soon as it is on, if only for a moment and for another feature's sake.
void Modes::keepWhatAutomationMoves() {
    for (const MovedByAutomation &moved : kMovedByAutomation) {
        if (isAutomatic(moved.automation) || kindOf(nodeMap_, moved.feature) == Kind::Missing)
            continue;
        switchFor(moved.reach);
        keep(moved.feature, moved.reach);
    }
}

void Modes::putBackWhatAutomationMoved() {
    for (const MovedByAutomation &moved : kMovedByAutomation) {
        const Remembered *remembered = find(moved.feature, moved.reach);
        if (!remembered || isAutomatic(moved.automation))
            continue;
        const RawValue settled = remembered->settled();
        switchFor(moved.reach);
        if (readRaw(nodeMap_, moved.feature, Cache::Ignored) != settled)
            writeRaw(nodeMap_, moved.feature, settled);
    }
}

void Modes::leaveAutomation() {
    bool left = false;
    for (const AutomationMode &mode : kAutomation) {
        const Remembered *remembered = find(mode.feature, mode.reach);
        if (!remembered || !remembered->switched)
            continue;
        const RawValue settled = remembered->settled();
        switchFor(mode.reach);
        if (readRaw(nodeMap_, mode.feature, Cache::Ignored) != settled)
            writeRaw(nodeMap_, mode.feature, settled);
        find(mode.feature, mode.reach)->switched = false;
        left = true;
    }
    if (left)
        putBackWhatAutomationMoved();
}

void Modes::select(const char *feature, Reach reach, const char *entry) {
    if (kindOf(nodeMap_, feature) != Kind::Enumeration || !isReadable(nodeMap_, feature))
        return;
    if (readRaw(nodeMap_, feature) == RawValue(entry))
        return keep(feature, reach);
    if (isAutomation(feature))
        keepWhatAutomationMoves();
    keep(feature, reach);
    find(feature, reach)->switched = true;
    writeRaw(nodeMap_, feature, entry);
}

void Modes::switchFor(Reach reach) {
    switch (reach) {
    case Reach::Direct:
        return;
    case Reach::SensorGain:
        return select("GainSelector", Reach::Direct, "SensorAll");
    case Reach::Manual:
        if (kindOf(nodeMap_, "autoBrightnessMode") == Kind::Enumeration)
            return select("autoBrightnessMode", Reach::Direct, "Off");
        select("ExposureAuto", Reach::Brightness, "Off");
        return select("GainAuto", Reach::Brightness, "Off");
    case Reach::ManualSensorGain:
        switchFor(Reach::Manual);
        return switchFor(Reach::SensorGain);
    case Reach::RedBalance:
        return select("BalanceRatioSelector", Reach::Direct, "Red");
    case Reach::BlueBalance:
        return select("BalanceRatioSelector", Reach::Direct, "Blue");
    case Reach::Brightness:
        return select("autoBrightnessMode", Reach::Direct, "Active");
    case Reach::AutoExposure:
        switchFor(Reach::Brightness);
        return select("ExposureAuto", Reach::Brightness, "Continuous");
    case Reach::AutoGain:
        switchFor(Reach::Brightness);
        return select("GainAuto", Reach::Brightness, "Continuous");
    case Reach::SensorAutoGain:
        switchFor(Reach::AutoGain);
        return select("gainAutoSource", Reach::AutoGain, "SensorAll");
    case Reach::GammaTable:
        return select("lutType", Reach::Direct, "GammaCorrection");
    case Reach::UserTable:
        return select("lutType", Reach::Direct, "UserDefined");
    case Reach::WholeUserTable:
        switchFor(Reach::UserTable);
        return select("lutSize", Reach::UserTable, "Bpp12");
    }
}

void Modes::reach(Reach reach) {
    const bool wantsManual = reach == Reach::Manual || reach == Reach::ManualSensorGain;
    const Remembered *mode = find("autoBrightnessMode", Reach::Direct);
    const bool isManual =
        mode && mode->switched && readRaw(nodeMap_, "autoBrightnessMode") == RawValue("Off");
    if (!needsAutomation(reach) && !(wantsManual && isManual))
        leaveAutomation();
    switchFor(reach);
}

RawValue Modes::read(const char *feature, Reach reach) {
    this->reach(reach);
    const Remembered *remembered = find(feature, reach);
    return remembered ? remembered->settled() : readRaw(nodeMap_, feature);
}

RawValue Modes::readAnew(const char *feature, Reach reach) {
    this->reach(reach);
    const Remembered *remembered = find(feature, reach);
    if (remembered && remembered->switched)
        return remembered->settled();
    return readRaw(nodeMap_, feature, Cache::Ignored);
}

void Modes::write(const char *feature, Reach reach, const RawValue &value) {
    remember(feature, reach);
    writeRaw(nodeMap_, feature, value);
    changed(feature, reach);
}

void Modes::changed(const char *feature, Reach reach) {
    if (Remembered *remembered = find(feature, reach)) {
        remembered->after = readRaw(nodeMap_, feature);
        remembered->switched = false;
    }
}

void Modes::keepChanges() {
    for (Remembered &remembered : remembered_) {
        if (!remembered.after)
            continue;
        remembered.before = *std::exchange(remembered.after, std::nullopt);
        remembered.touched = false;
    }
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
        if (!mode.switched && !mode.touched)
            continue;
        try {
            reach(mode.reach);
            // Not the value that was written last: whether it has arrived is unknown when the wait
            // for the camera's answer was cut short.
            if (readRaw(nodeMap_, mode.feature.c_str(), Cache::Ignored) != mode.before)
                writeRaw(nodeMap_, mode.feature.c_str(), mode.before);
        } catch (...) {
            failures.features +=
                (failures.count++ == 0 ? "" : ", ") + mode.feature + " to " + textOf(mode.before);
            if (failures.reason.empty())
                failures.reason = reasonInFlight();
        }
    }
    return failures;
}

// The range of a feature may depend on another that is put back after it, so what has failed is
// tried again as long as that helps: with all others, since reaching it may switch them once more.
std::string Modes::putBack() {
    for (Remembered &remembered : remembered_)
        remembered.after.reset();
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
