// A number stands in the file twice: as "value" in the camera class's units, for people, and as
// "raw", exactly as the camera holds it, since decibels cannot be turned back without a rest. Who
// edits "value" means it: where the two do not belong together, "value" counts.

#include "saved_settings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include <nlohmann/json.hpp>

#include "properties.h"
#include "table.h"
#include "words.h"

namespace kxinfo {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;

bool inDecibels(const SavedSetting &setting) {
    return setting.unit && std::strcmp(setting.unit, "dB") == 0;
}

// As the camera class shows it.
float shown(const SavedSetting &setting, double raw) {
    const auto value = static_cast<float>(raw);
    return inDecibels(setting) ? 20.0f * log10f(value) : value;
}

// With the fewest digits from which the same float is read back.
Json shortNumber(float value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    char text[64];
    const auto end = std::to_chars(std::begin(text), std::end(text), value);
    double number = 0;
    (void)std::from_chars(text, end.ptr, number);
    return number;
}

Json asJson(const SavedValue &saved) {
    const SavedSetting &setting = *saved.setting;
    Json json = {{"name", setting.name}};
    if (const auto *floating = std::get_if<double>(&saved.raw)) {
        json["value"] = shortNumber(shown(setting, *floating));
        json["unit"] = setting.unit ? Json(setting.unit) : Json(nullptr);
        json["raw"] = *floating;
    } else if (const auto *integer = std::get_if<int64_t>(&saved.raw)) {
        json["value"] = *integer;
        json["unit"] = setting.unit && !inDecibels(setting) ? Json(setting.unit) : Json(nullptr);
    } else if (const auto *boolean = std::get_if<bool>(&saved.raw)) {
        json["value"] = *boolean;
    } else {
        json["value"] = std::get<std::string>(saved.raw);
    }
    return json;
}

// Reads one file; every complaint names it.
class Reader {
public:
    explicit Reader(const std::string &name) : name_(name) {}

    [[noreturn]] void complain(const std::string &what) const {
        throw CommandError{kWrongUsage, "\"" + name_ + "\" " + what +
                                            " Expected is a file that 'kxinfo save' wrote."};
    }

    const Json &member(const Json &object, const char *name, const std::string &place) const {
        if (!object.is_object() || !object.contains(name))
            complain("has no \"" + std::string(name) + "\" in " + place + ".");
        return object.at(name);
    }

    std::string text(const Json &json, const std::string &place) const {
        if (!json.is_string())
            complain("has no text in " + place + ".");
        return json.get<std::string>();
    }

    const Json &list(const Json &json, const std::string &place) const {
        if (!json.is_array())
            complain("has no list in " + place + ".");
        return json;
    }

    SavedValue setting(const Json &json) const {
        const std::string name = text(member(json, "name", "a setting"), "a setting's \"name\"");
        const auto &all = savedSettings();
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const SavedSetting &s) { return name == s.name; });
        if (found == all.end())
            complain("holds a setting \"" + name + "\" that kxinfo does not know.");
        return {&*found, rawValue(*found, json)};
    }

    SavedTable table(const Json &json) const {
        SavedTable table;
        const Json &channel = member(json, "channel", "a lookup table");
        if (!channel.is_null())
            table.channel = text(channel, "a lookup table's \"channel\"");
        for (const Json &entry :
             list(member(json, "entries", "a lookup table"), "a lookup table's \"entries\"")) {
            if (!entry.is_number_integer() || entry < std::numeric_limits<int>::min() ||
                entry > std::numeric_limits<int>::max())
                complain("holds an entry of a lookup table that is none: " + entry.dump() + ".");
            table.entries.push_back(entry.get<int>());
        }
        return table;
    }

private:
    RawValue rawValue(const SavedSetting &setting, const Json &json) const {
        const std::string place = "the setting \"" + std::string(setting.name) + "\"";
        const Json &value = member(json, "value", place);
        if (value.is_boolean())
            return value.get<bool>();
        if (json.contains("raw"))
            return number(setting, value, json.at("raw"), place);
        if (value.is_number_integer())
            return value.get<int64_t>();
        if (value.is_number())
            return rawOf(setting, value.get<float>());
        if (!value.is_string())
            complain("holds neither a number nor a text, true or false as \"value\" of " + place +
                     ".");
        return value.get<std::string>();
    }

    double number(const SavedSetting &setting, const Json &value, const Json &raw,
                  const std::string &place) const {
        if (!raw.is_number())
            complain("holds no number as \"raw\" of " + place + ".");
        const auto exact = raw.get<double>();
        if (shortNumber(shown(setting, exact)) == value)
            return exact;
        if (!value.is_number())
            complain("holds no number as \"value\" of " + place + ".");
        return rawOf(setting, value.get<float>());
    }

    const std::string &name_;
};

} // namespace

const std::vector<SavedSetting> &savedSettings() {
    static const std::vector<SavedSetting> settings = {
        {"autoBrightnessTarget", "autoBrightnessTarget", Reach::Brightness, nullptr},
        {"autoBrightnessSequence", "autoBrightnessSequence", Reach::Brightness, nullptr},
        {"exposureAutoMinValue", "exposureAutoMinValue", Reach::AutoExposure, "us"},
        {"exposureAutoMaxValue", "exposureAutoMaxValue", Reach::AutoExposure, "us"},
        {"gainAutoMinValue", "gainAutoMinValue", Reach::SensorAutoGain, "dB"},
        {"gainAutoMaxValue", "gainAutoMaxValue", Reach::SensorAutoGain, "dB"},
        {"gainAutoSource", "gainAutoSource", Reach::AutoGain, nullptr},
        {"ExposureAuto", "ExposureAuto", Reach::Brightness, nullptr},
        {"GainAuto", "GainAuto", Reach::Brightness, nullptr},
        {"autoBrightnessMode", "autoBrightnessMode", Reach::Direct, nullptr},
        {"Width", "Width", Reach::Direct, "px"},
        {"Height", "Height", Reach::Direct, "px"},
        {"OffsetX", "OffsetX", Reach::Direct, "px"},
        {"OffsetY", "OffsetY", Reach::Direct, "px"},
        {"ReverseX", "ReverseX", Reach::Direct, nullptr},
        {"ReverseY", "ReverseY", Reach::Direct, nullptr},
        {"AcquisitionFrameRate", "AcquisitionFrameRate", Reach::Direct, "1/s"},
        {"ExposureTime", "ExposureTime", Reach::Manual, "us"},
        {"Gain", "Gain", Reach::ManualSensorGain, "dB"},
        {"BalanceRatio[Red]", "BalanceRatio", Reach::RedBalance, "dB"},
        {"BalanceRatio[Blue]", "BalanceRatio", Reach::BlueBalance, "dB"},
        {"balanceWhitePeriod", "balanceWhitePeriod", Reach::Direct, nullptr},
        {"gammaCorrection", "gammaCorrection", Reach::GammaTable, nullptr},
        {"lutSize", "lutSize", Reach::UserTable, nullptr},
        {"lutType", "lutType", Reach::Direct, nullptr},
        {"lutMode", "lutMode", Reach::Direct, nullptr},
    };
    return settings;
}

double rawOf(const SavedSetting &setting, float value) {
    return static_cast<double>(inDecibels(setting) ? powf(10.0f, value / 20.0f) : value);
}

std::string textOf(const SavedSetting &setting, const RawValue &raw) {
    const std::string unit = setting.unit ? " " + std::string(setting.unit) : "";
    if (const auto *floating = std::get_if<double>(&raw))
        return numberText(shown(setting, *floating)) + unit;
    if (const auto *integer = std::get_if<int64_t>(&raw))
        return std::to_string(*integer) + (inDecibels(setting) ? "" : unit);
    if (const auto *boolean = std::get_if<bool>(&raw))
        return *boolean ? "true" : "false";
    return std::get<std::string>(raw);
}

std::string asFile(const SavedCamera &camera) {
    Json settings = Json::array();
    for (const SavedValue &value : camera.settings)
        settings.push_back(asJson(value));
    Json tables = Json::array();
    for (const SavedTable &table : camera.tables)
        tables.push_back({{"channel", table.channel.empty() ? Json(nullptr) : Json(table.channel)},
                          {"entries", table.entries}});
    const Json document = {{"version", kVersion},
                           {"camera",
                            {{"manufacturer", camera.manufacturer},
                             {"model", camera.model},
                             {"serial", camera.serial}}},
                           {"settings", settings},
                           {"lookupTables", tables}};
    return document.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

SavedCamera fromFile(const std::string &text, const std::string &name) {
    const Reader reader(name);
    const Json document = Json::parse(text, nullptr, false);
    if (document.is_discarded())
        reader.complain("is no JSON document.");
    const Json &version = reader.member(document, "version", "the document");
    if (version != kVersion)
        reader.complain("is of version " + version.dump() + ", this kxinfo reads version " +
                        std::to_string(kVersion) + ".");
    const Json &about = reader.member(document, "camera", "the document");
    SavedCamera camera;
    for (const auto &[member, to] :
         {std::pair("manufacturer", &camera.manufacturer), std::pair("model", &camera.model),
          std::pair("serial", &camera.serial)})
        *to = reader.text(reader.member(about, member, "\"camera\""), "\"camera\"");
    for (const Json &setting :
         reader.list(reader.member(document, "settings", "the document"), "\"settings\""))
        camera.settings.push_back(reader.setting(setting));
    if (document.contains("lookupTables"))
        for (const Json &table : reader.list(document.at("lookupTables"), "\"lookupTables\""))
            camera.tables.push_back(reader.table(table));
    return camera;
}

} // namespace kxinfo
