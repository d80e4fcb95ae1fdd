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

// Unlike kxinfo's other documents, with double: "raw" is to come back to the last bit.
using FileJson = nlohmann::ordered_json;

constexpr int kVersion = 1;
// Copying goes down by recursion, and a member added to an object copies the others. Our own files
// nest 4 deep.
constexpr int kDeepest = 16;
// No camera has a longer one.
constexpr size_t kLongestText = 256;

bool inDecibels(const SavedSetting &setting) {
    return setting.unit && std::strcmp(setting.unit, "dB") == 0;
}

// Infinite beyond all floats, where the language leaves it open.
float nearestFloat(double number) {
    using Float = std::numeric_limits<float>;
    if (number > static_cast<double>(Float::max()))
        return Float::infinity();
    if (number < static_cast<double>(Float::lowest()))
        return -Float::infinity();
    return static_cast<float>(number);
}

// As the camera class shows it.
float shown(const SavedSetting &setting, double raw) {
    const float value = nearestFloat(raw);
    return inDecibels(setting) ? 20.0f * log10f(value) : value;
}

// With the fewest digits from which the same float is read back.
FileJson shortNumber(float value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    char text[64];
    const auto end = std::to_chars(std::begin(text), std::end(text), value);
    double number = 0;
    (void)std::from_chars(text, end.ptr, number);
    return number;
}

FileJson asJson(const SavedValue &saved) {
    const SavedSetting &setting = *saved.setting;
    FileJson json = {{"name", setting.name}};
    if (const auto *floating = std::get_if<double>(&saved.raw)) {
        json["value"] = shortNumber(shown(setting, *floating));
        json["unit"] = setting.unit ? FileJson(setting.unit) : FileJson(nullptr);
        if (std::isfinite(*floating)) // JSON has no other numbers
            json["raw"] = *floating;
    } else if (const auto *integer = std::get_if<int64_t>(&saved.raw)) {
        json["value"] = *integer;
        json["unit"] =
            setting.unit && !inDecibels(setting) ? FileJson(setting.unit) : FileJson(nullptr);
    } else if (const auto *boolean = std::get_if<bool>(&saved.raw)) {
        json["value"] = *boolean;
    } else {
        json["value"] = std::get<std::string>(saved.raw);
    }
    return json;
}

// A part of a file, for a complaint. What is made of parts may be of any size and depth.
std::string brief(const FileJson &json) {
    if (json.is_structured())
        return json.is_array() ? "a list" : "an object";
    return shortened(json.dump(-1, ' ', true, FileJson::error_handler_t::replace));
}

// Reads one file; every complaint names it.
class Reader {
public:
    explicit Reader(const std::string &name) : name_(name) {}

    [[noreturn]] void complain(const std::string &what) const {
        throw CommandError{kWrongUsage, "\"" + name_ + "\" " + what + " " + kExpectedFile};
    }

    FileJson parsed(const std::string &text) const {
        try {
            return FileJson::parse(text, [this](int depth, FileJson::parse_event_t, FileJson &) {
                if (depth > kDeepest)
                    complain("nests lists or objects more than " + std::to_string(kDeepest) +
                             " deep.");
                return true;
            });
        } catch (const FileJson::out_of_range &) {
            complain("holds a number beyond all that JSON readers take.");
        } catch (const FileJson::exception &) {
            complain("is no JSON document.");
        }
    }

    const FileJson &member(const FileJson &object, const char *name,
                           const std::string &place) const {
        if (!object.is_object() || !object.contains(name))
            complain("has no \"" + std::string(name) + "\" in " + place + ".");
        return object.at(name);
    }

    std::string text(const FileJson &json, const std::string &place) const {
        if (!json.is_string())
            complain("has no text in " + place + ".");
        auto text = json.get<std::string>();
        if (text.size() > kLongestText)
            complain("has a text of " + std::to_string(text.size()) + " bytes in " + place +
                     ", no camera has one of more than " + std::to_string(kLongestText) + ".");
        return text;
    }

    const FileJson &list(const FileJson &json, const std::string &place) const {
        if (!json.is_array())
            complain("has no list in " + place + ".");
        return json;
    }

    SavedValue setting(const FileJson &json) const {
        const std::string name = text(member(json, "name", "a setting"), "a setting's \"name\"");
        const auto &all = savedSettings();
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const SavedSetting &s) { return name == s.name; });
        if (found == all.end())
            complain("holds a setting \"" + shortened(name) + "\" that kxinfo does not know.");
        return {&*found, rawValue(*found, json)};
    }

    SavedTable table(const FileJson &json) const {
        SavedTable table;
        const FileJson &channel = member(json, "channel", "a lookup table");
        if (!channel.is_null())
            table.channel = text(channel, "a lookup table's \"channel\"");
        const std::string place = "a lookup table's \"entries\"";
        for (const FileJson &element : list(member(json, "entries", "a lookup table"), place)) {
            if (!element.is_number_integer())
                complain("holds an entry of a lookup table that is none: " + brief(element) + ".");
            const int64_t entry = wholeNumber(element, place);
            if (entry < std::numeric_limits<int>::min() || entry > std::numeric_limits<int>::max())
                complainOfNumber(element, place);
            table.entries.push_back(static_cast<int>(entry));
        }
        return table;
    }

    void inOrder(std::vector<SavedValue> &values) const {
        std::sort(values.begin(), values.end(),
                  [](const SavedValue &a, const SavedValue &b) { return a.setting < b.setting; });
        const auto twice = std::adjacent_find(
            values.begin(), values.end(),
            [](const SavedValue &a, const SavedValue &b) { return a.setting == b.setting; });
        if (twice != values.end())
            complain("holds the setting \"" + std::string(twice->setting->name) + "\" twice.");
    }

    void add(SavedTable table, std::vector<SavedTable> &tables) const {
        for (const SavedTable &other : tables)
            if (other.channel == table.channel)
                complain("holds the lookup table " +
                         (table.channel.empty() ? "of all colours"
                                                : "\"" + shortened(table.channel) + "\"") +
                         " twice.");
        tables.push_back(std::move(table));
    }

private:
    RawValue rawValue(const SavedSetting &setting, const FileJson &json) const {
        const std::string place = "the setting \"" + std::string(setting.name) + "\"";
        const FileJson &value = member(json, "value", place);
        if (value.is_boolean())
            return value.get<bool>();
        if (json.contains("raw"))
            return number(setting, value, json.at("raw"), place);
        if (value.is_number_integer())
            return wholeNumber(value, place);
        if (value.is_number())
            return rawFrom(setting, value, place);
        if (!value.is_string())
            complain("holds neither a number nor a text, true or false as \"value\" of " + place +
                     ".");
        return text(value, place);
    }

    double number(const SavedSetting &setting, const FileJson &value, const FileJson &raw,
                  const std::string &place) const {
        if (!raw.is_number())
            complain("holds no number as \"raw\" of " + place + ".");
        const auto exact = raw.get<double>();
        if (shortNumber(shown(setting, exact)) == value)
            return exact;
        if (!value.is_number())
            complain("holds no number as \"value\" of " + place + ".");
        return rawFrom(setting, value, place);
    }

    double rawFrom(const SavedSetting &setting, const FileJson &value,
                   const std::string &place) const {
        const double raw = rawOf(setting, nearestFloat(value.get<double>()));
        if (!std::isfinite(raw))
            complainOfNumber(value, place);
        return raw;
    }

    int64_t wholeNumber(const FileJson &json, const std::string &place) const {
        if (json.is_number_unsigned() &&
            json.get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
            complainOfNumber(json, place);
        return json.get<int64_t>();
    }

    [[noreturn]] void complainOfNumber(const FileJson &number, const std::string &place) const {
        complain("holds a number beyond those of cameras in " + place + ": " + brief(number) + ".");
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

const char *const kExpectedFile = "Expected is a file that 'kxinfo save' wrote.";

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
    FileJson settings = FileJson::array();
    for (const SavedValue &value : camera.settings)
        settings.push_back(asJson(value));
    FileJson tables = FileJson::array();
    for (const SavedTable &table : camera.tables)
        tables.push_back(
            {{"channel", table.channel.empty() ? FileJson(nullptr) : FileJson(table.channel)},
             {"entries", table.entries}});
    const FileJson document = {{"version", kVersion},
                               {"camera",
                                {{"manufacturer", camera.manufacturer},
                                 {"model", camera.model},
                                 {"serial", camera.serial}}},
                               {"settings", settings},
                               {"lookupTables", tables}};
    return document.dump(1, ' ', false, FileJson::error_handler_t::replace) + '\n';
}

SavedCamera fromFile(const std::string &text, const std::string &name) {
    const Reader reader(name);
    const FileJson document = reader.parsed(text);
    const FileJson &version = reader.member(document, "version", "the document");
    if (version != kVersion)
        reader.complain("is of version " + brief(version) + ", this kxinfo reads version " +
                        std::to_string(kVersion) + ".");
    const FileJson &about = reader.member(document, "camera", "the document");
    SavedCamera camera;
    for (const auto &[member, to] :
         {std::pair("manufacturer", &camera.manufacturer), std::pair("model", &camera.model),
          std::pair("serial", &camera.serial)})
        *to = reader.text(reader.member(about, member, "\"camera\""), "\"camera\"");
    for (const FileJson &setting :
         reader.list(reader.member(document, "settings", "the document"), "\"settings\""))
        camera.settings.push_back(reader.setting(setting));
    reader.inOrder(camera.settings);
    if (document.contains("lookupTables"))
        for (const FileJson &table : reader.list(document.at("lookupTables"), "\"lookupTables\""))
            reader.add(reader.table(table), camera.tables);
    return camera;
}

} // namespace kxinfo
