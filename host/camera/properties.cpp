#include "properties.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <numeric>

#include "words.h"

namespace kxinfo {

namespace {

std::string lowered(const std::string &text) {
    std::string lower = text;
    for (char &c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

// Letters that have to be put in, taken out or changed to make one text of the other.
size_t distanceOf(const std::string &a, const std::string &b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0u);
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// The names that were probably meant: at most three, the nearest first.
std::string nearestNames(const std::string &name) {
    struct Candidate {
        size_t distance;
        const char *name;
    };
    const std::string wanted = lowered(name);
    std::vector<Candidate> candidates;
    for (const Property &property : allProperties()) {
        const std::string lower = lowered(property.name);
        const bool longEnough = wanted.size() >= 3;
        size_t distance = distanceOf(wanted, lower);
        // Also of its beginning: whoever writes "gamme" means gammaCorrection.
        if (longEnough)
            distance = std::min(distance, 1 + distanceOf(wanted, lower.substr(0, wanted.size())));
        const bool part = longEnough && lower.find(wanted) != lower.npos;
        if (distance <= std::max<size_t>(2, wanted.size() / 3))
            candidates.push_back({distance, property.name});
        else if (part)
            candidates.push_back({wanted.size(), property.name});
    }
    std::stable_sort(
        candidates.begin(), candidates.end(),
        [](const Candidate &a, const Candidate &b) { return a.distance < b.distance; });
    candidates.resize(std::min<size_t>(candidates.size(), 3));
    std::string names;
    for (size_t i = 0; i < candidates.size(); ++i)
        names += (i == 0                       ? ""
                  : i + 1 == candidates.size() ? " or "
                                               : ", ") +
                 std::string(candidates[i].name);
    return names;
}

} // namespace

bool Property::inDecibels() const {
    return unit && std::string(unit) == "dB";
}

const std::vector<Property> &allProperties() {
    using namespace KxTd;
    static const std::vector<Property> properties = {
        {WIDTH_MAX_PROPERTY_TYPE, "WidthMax", "WidthMax", "px", Reach::Direct},
        {HEIGHT_MAX_PROPERTY_TYPE, "HeightMax", "HeightMax", "px", Reach::Direct},
        {WIDTH_PROPERTY_TYPE, "Width", "Width", "px", Reach::Direct},
        {HEIGHT_PROPERTY_TYPE, "Height", "Height", "px", Reach::Direct},
        {OFFSET_X_PROPERTY_TYPE, "OffsetX", "OffsetX", "px", Reach::Direct},
        {OFFSET_Y_PROPERTY_TYPE, "OffsetY", "OffsetY", "px", Reach::Direct},
        {GAIN_PROPERTY_TYPE, "Gain", "Gain", "dB", Reach::SensorGain},
        {EXPOSURE_TIME_PROPERTY_TYPE, "ExposureTime", "ExposureTime", "us", Reach::Direct},
        {GAMMA_PROPERTY_TYPE, "gammaCorrection", "gammaCorrection", nullptr, Reach::GammaTable},
        {FRAME_RATE_PROPERTY_TYPE, "AcquisitionFrameRate", "AcquisitionFrameRate", "1/s",
         Reach::Direct},
        {AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, "autoBrightnessTarget", "autoBrightnessTarget",
         nullptr, Reach::Brightness},
        {AUTO_EXPOSURE_MIN_PROPERTY_TYPE, "exposureAutoMinValue", "exposureAutoMinValue", "us",
         Reach::AutoExposure},
        {AUTO_EXPOSURE_MAX_PROPERTY_TYPE, "exposureAutoMaxValue", "exposureAutoMaxValue", "us",
         Reach::AutoExposure},
        {AUTO_GAIN_MIN_PROPERTY_TYPE, "gainAutoMinValue", "gainAutoMinValue", "dB",
         Reach::SensorAutoGain},
        {AUTO_GAIN_MAX_PROPERTY_TYPE, "gainAutoMaxValue", "gainAutoMaxValue", "dB",
         Reach::SensorAutoGain},
        {EXPOSURE_AUTO_PROPERTY_TYPE, "ExposureAuto", "ExposureAuto", nullptr, Reach::Brightness},
        {GAIN_AUTO_PROPERTY_TYPE, "GainAuto", "GainAuto", nullptr, Reach::Brightness},
        {REVERSE_X_PROPERTY_TYPE, "ReverseX", "ReverseX", nullptr, Reach::Direct},
        {REVERSE_Y_PROPERTY_TYPE, "ReverseY", "ReverseY", nullptr, Reach::Direct},
        {BALANCE_WHITE_PERIOD_PROPERTY_TYPE, "balanceWhitePeriod", "balanceWhitePeriod", nullptr,
         Reach::Direct},
        {BALANCE_RATIO_RED_PROPERTY_TYPE, "BalanceRatio[Red]", "BalanceRatio", "dB",
         Reach::RedBalance},
        {BALANCE_RATIO_BLUE_PROPERTY_TYPE, "BalanceRatio[Blue]", "BalanceRatio", "dB",
         Reach::BlueBalance},
    };
    return properties;
}

std::vector<const Property *> propertiesNamed(const std::string &name) {
    std::vector<const Property *> found;
    for (const Property &property : allProperties())
        if (strcasecmp(property.name, name.c_str()) == 0 ||
            strcasecmp(property.feature, name.c_str()) == 0)
            found.push_back(&property);
    if (!found.empty())
        return found;
    const std::string nearest = nearestNames(name);
    throw CommandError{kWrongUsage, "there is no property \"" + name + "\"" +
                                        (nearest.empty() ? "" : "; did you mean " + nearest + "?") +
                                        (nearest.empty() ? ". " : " ") +
                                        "'kxinfo get SERIAL' shows all of them."};
}

const Property &propertyNamed(const std::string &name) {
    const auto found = propertiesNamed(name);
    if (found.size() == 1)
        return *found.front();
    std::string names;
    for (const Property *property : found)
        names += (names.empty() ? "" : " or ") + std::string(property->name);
    throw CommandError{kWrongUsage,
                       "\"" + name + "\" names several properties; write " + names + "."};
}

} // namespace kxinfo
