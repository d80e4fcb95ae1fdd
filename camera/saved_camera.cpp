// In a file of settings a number stands twice: as "value" in its unit, for people, and as "raw",
// exactly as the camera holds it, since decibels cannot be turned back without a rest. Who edits
// "value" or "unit" means it: "raw" counts while it belongs to them.

#include "camera/saved_camera.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "camera/values.h"
#include "cli/files.h"
#include "cli/json.h"

namespace kxinfo {

extern const char *const kSettingsSchema; // docs/schema/settings.schema.json

namespace {

using nlohmann::json; // finds a member in no time, unlike one that keeps their order

const char *const kExpectedFile = "Expected is a file that 'kxinfo save' wrote.";

// Our own files nest 4 deep and have 4 members in one place.
constexpr int kDeepest = 16;
constexpr size_t kMostMembers = 64;
// Three tables of 16 bits, and room for the settings.
constexpr size_t kMostValues = 1 << 18;
// A list or an object counts for as many: checking one takes that much longer.
constexpr size_t kValuesOfList = 256;
// Of what a parser says, with a part of the file in it.
constexpr size_t kLongestReason = 200;
// Numbers that differ by less are the same: there are files with the digits of single precision, and
// decibels computed with it, of which a factor was made.
constexpr double kSameNumber = 1e-7;
constexpr double kSameFactor = 1e-6;

// A complaint about the file; its name comes in front in the end.
template <class... Parts>
[[noreturn]] void complain(const Parts &...parts) {
    throw Error(kWrongUsage, parts...);
}

Json asJson(const SavedValue &saved) {
    const Feature &feature = *saved.feature;
    Json setting = {{"name", feature.name}, {"value", shownValue(feature, saved.value)}};
    const auto *number = std::get_if<double>(&saved.value);
    if (number || std::holds_alternative<int64_t>(saved.value)) {
        const char *unit = nameOf(unitOf(feature, number ? Kind::Float : Kind::Integer));
        setting["unit"] = unit ? Json(unit) : Json(nullptr);
    }
    if (number && std::isfinite(*number)) // JSON has no other numbers
        setting["raw"] = *number;
    return setting;
}

// Bounded while it is read: what comes after is of no great size.
json parsed(const std::string &text) {
    std::vector<std::set<std::string>> members; // of the objects that are open
    size_t values = 0;
    const auto look = [&](int depth, json::parse_event_t event, const json &part) {
        using Event = json::parse_event_t;
        if (depth > kDeepest)
            complain("nests lists or objects more than ", kDeepest, " deep.");
        if (event == Event::object_start)
            members.emplace_back();
        else if (event == Event::object_end)
            members.pop_back();
        else if (event == Event::key && !members.back().insert(part).second)
            complain("has a member \"", shortened(part), "\" twice in one place.");
        else if (event == Event::key && members.back().size() > kMostMembers)
            complain("has more than ", kMostMembers, " members in one place.");
        const bool isList = event == Event::array_start || event == Event::object_start;
        values += isList ? kValuesOfList : event == Event::value;
        if (values > kMostValues)
            complain("holds more than ", kMostValues, " values.");
        return true;
    };
    try {
        return json::parse(text, look);
    } catch (const json::exception &error) {
        complain("is no JSON document: ", shortened(error.what(), kLongestReason), ".");
    }
}

std::string cleanedText(const json &value) {
    return cleaned(value.get_ref<const std::string &>());
}

SavedValue settingIn(const json &entry) {
    const Feature &feature = featureNamed(entry.at("name"));
    const json &value = entry.at("value");
    SavedValue saved{&feature, {}, false, value.is_string() ? cleanedText(value) : value.dump()};
    if (value.is_boolean())
        saved.value = value.get<bool>();
    else if (value.is_string())
        saved.value = saved.typed;
    else if (value.is_number_integer() && std::fabs(value.get<double>()) < 0x1p63)
        saved.value = value.get<int64_t>();
    else
        saved.value = value.get<double>();
    // Without a unit a number is in the one that save writes.
    const bool hasNone = entry.contains("unit") && entry.at("unit").is_null();
    const std::string unit = hasNone ? "" : entry.value("unit", "");
    if (value.is_number() && !hasNone) {
        const double number = numberOf(saved.value);
        const auto own = ownNumber(feature, number, unit);
        if (!own)
            complain("has \"", shortened(unit), "\" as unit of ", feature.name, "; expected is ",
                     (unitsOf(feature).empty() ? "null" : joined(unitsOf(feature))), ".");
        if (*own != number || feature.unit == Unit::Decibels)
            saved.value = *own;
    }
    if (hasNone && value.is_number() && feature.unit == Unit::Decibels)
        saved.typed += " x"; // of a camera that has whole factors
    else if (!unit.empty())
        saved.typed += ' ' + unit; // "301/s" would be 301
    if (!entry.contains("raw"))
        return saved;
    const double raw = entry.at("raw"), own = numberOf(saved.value);
    const double same = feature.unit == Unit::Decibels ? kSameFactor : kSameNumber;
    if (value.is_number() ? std::fabs(raw - own) <= same * std::max(1.0, std::fabs(own))
                          : shownValue(feature, raw) == Json(cleanedText(value))) {
        saved.value = raw;
        saved.isExact = true;
    }
    return saved;
}

SavedCamera cameraIn(const json &document) {
    static const json schema = json::parse(kSettingsSchema);
    if (const std::string wrong = violation(document, schema); !wrong.empty())
        complain("is no file of settings: ", wrong);
    const json &about = document["camera"];
    SavedCamera camera{{cleanedText(about["manufacturer"]), cleanedText(about["model"]),
                        cleanedText(about["serial"]), ""}};
    std::set<std::string> seen;
    const auto checkOnce = [&](const std::string &what) {
        if (!seen.insert(what).second)
            complain("holds the ", what, " twice.");
    };
    for (const json &entry : document["settings"]) {
        const SavedValue &setting = camera.settings.emplace_back(settingIn(entry));
        checkOnce("setting \"" + setting.feature->name + "\"");
    }
    std::sort(camera.settings.begin(), camera.settings.end(),
              [](const auto &a, const auto &b) { return a.feature->saved < b.feature->saved; });
    for (const json &table : document.value("lookupTables", json::array())) {
        const json &name = table.at("channel");
        const std::string channel = name.is_null() ? "" : name.get<std::string>();
        camera.tables.push_back({channel, table.at("entries")});
        checkOnce("lookup table of " + (channel.empty() ? "all colours" : channel));
    }
    return camera;
}

// With all digits: for values that would look the same otherwise.
std::string wholeText(const SavedValue &saved) {
    const char *unit = nameOf(unitOf(*saved.feature, Kind::Float));
    return shownValue(*saved.feature, saved.value).dump() + (unit ? " " + std::string(unit) : "");
}

const SavedValue *find(const SavedCamera &camera, const Feature *feature) {
    for (const SavedValue &saved : camera.settings)
        if (saved.feature == feature)
            return &saved;
    return nullptr;
}

std::string difference(const Feature &feature, const SavedValue *a, const SavedValue *b) {
    const auto text = [](const SavedValue *saved) {
        return saved ? quantityText(*saved->feature, saved->value) : kNone;
    };
    if (a && b && numberOf(a->value) == numberOf(b->value))
        return ""; // a GenApi file does not say of which kind it is
    if (text(a) != text(b))
        return changeText(feature.name, text(a), text(b));
    if (a && a->isExact && b->isExact && a->value != b->value)
        return changeText(feature.name, wholeText(*a), wholeText(*b));
    return "";
}

std::string difference(const std::string &channel, const SavedCamera &a, const SavedCamera &b) {
    const std::string name = "lookup table" + (channel.empty() ? "" : " of " + channel);
    const auto entriesOf = [&](const SavedCamera &camera) {
        for (const SavedTable &table : camera.tables)
            if (table.channel == channel)
                return table.entries;
        return std::vector<int>();
    };
    const auto size = [](const std::vector<int> &entries) {
        return entries.empty() ? kNone : std::to_string(entries.size()) + " entries";
    };
    const std::vector<int> ofA = entriesOf(a);
    const std::vector<int> ofB = entriesOf(b);
    if (ofA.size() != ofB.size())
        return changeText(name, size(ofA), size(ofB));
    size_t count = 0;
    for (size_t i = 0; i < ofA.size(); ++i)
        count += ofA[i] != ofB[i];
    return count ? name + ": " + std::to_string(count) + " of " + size(ofA) + " differ\n" : "";
}

} // namespace

SavedCamera readSaved(const Camera &camera, Switches *switches, bool table) {
    SavedCamera saved{camera.name()};
    for (const Feature *feature : savedFeatures()) {
        stopIfAsked();
        const Reading reading = readFeature(camera, *feature, switches);
        if (hasValue(reading.value))
            saved.settings.push_back({feature, reading.value, true, ""});
        else if (reading.kind != Kind::Missing)
            saved.unread.push_back({feature->name, reading.problem, reading.failed});
    }
    if (!table || !LookupTable::isOn(camera))
        return saved;
    std::string why = "its entries are read by writing their index";
    if (switches)
        why = whyNotDone([&] {
            LookupTable lookupTable(camera, *switches);
            saved.tables = lookupTable.read(lookupTable.channels());
        });
    if (!why.empty())
        saved.unread.push_back({kLookupTable, why, switches != nullptr});
    return saved;
}

void tellUnread(const SavedCamera &camera, const std::string &what, const std::string &state) {
    Words reasons; // in the order in which they came
    std::map<std::string, Words> names;
    for (const SavedCamera::Unread &unread : camera.unread) {
        const std::string &why = unread.failed || state.empty() ? unread.why : state;
        if (names.count(why) == 0)
            reasons.push_back(why);
        if (Words &told = names[why];
            std::find(told.begin(), told.end(), unread.name) == told.end())
            told.push_back(unread.name);
    }
    for (const std::string &reason : reasons)
        tell(what, reason, ": ", joined(names[reason], ", "), ".");
}

std::string differences(SavedCamera &a, const SavedCamera &b) {
    std::set<std::string> unread;
    for (const SavedCamera *camera : {&std::as_const(a), &b})
        for (const SavedCamera::Unread &one : camera->unread)
            unread.insert(one.name);
    std::string lines;
    for (const Feature *feature : savedFeatures())
        if (unread.count(feature->name) == 0)
            lines += difference(*feature, find(a, feature), find(b, feature));
    for (const char *channel : {"", "Red", "Green", "Blue"})
        if (unread.count(kLookupTable) == 0)
            lines += difference(channel, a, b);
    return lines + lineDifferences(a, b);
}

std::string settingsText(const SavedCamera &camera) {
    Json settings = Json::array();
    for (const SavedValue &value : camera.settings)
        settings.push_back(asJson(value));
    Json tables = Json::array();
    for (const SavedTable &table : camera.tables)
        tables.push_back({{"channel", table.channel.empty() ? Json(nullptr) : Json(table.channel)},
                          {"entries", table.entries}});
    const Json document = {{"version", 1},
                           {"camera", asMembers(camera.name)},
                           {"settings", settings},
                           {"lookupTables", tables}};
    return document.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

SavedCamera settingsFrom(const std::string &text, const std::string &name) {
    try {
        const auto camera = genApiFrom(text);
        return camera ? *camera : cameraIn(parsed(text));
    } catch (const Error &complaint) {
        throw Error(kWrongUsage, '"', name, "\" ", complaint.what(), " ", kExpectedFile);
    }
}

bool isFile(const std::string &word) {
    struct stat about = {};
    return word == "-" || word.find('/') != word.npos || stat(word.c_str(), &about) == 0;
}

SavedCamera readSettings(const std::string &name) {
    return settingsFrom(readFile(name, kExpectedFile), name);
}

} // namespace kxinfo
