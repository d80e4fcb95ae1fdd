#include "camera/saved_camera.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "camera/values.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

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

// Of a feature that is selected, what both sides have with the same choices of what both selected.
std::string difference(const std::string &name, const std::vector<OtherLine> &a,
                       const std::vector<OtherLine> &b, std::vector<SavedCamera::Unread> &unread) {
    const auto number = [](const std::string &text) { return Json::parse(text, nullptr, false); };
    std::string lines;
    const bool isSelected = a.size() > 1 || b.size() > 1;
    for (const OtherLine &own : a) {
        if (own.isSetting)
            continue;
        const auto isOtherwise = [&](const OtherLine &line) {
            return std::any_of(own.choices.begin(), own.choices.end(), [&](const auto &choice) {
                const auto there = line.choices.find(choice.first);
                return there != line.choices.end() && there->second != choice.second;
            });
        };
        const auto other = std::find_if(b.begin(), b.end(), [&](const OtherLine &line) {
            return !line.isSetting && !(isSelected && isOtherwise(line));
        });
        const std::string full = isSelected ? say(name, '[', own.latest, ']') : name;
        if (other == b.end() && !b.empty())
            unread.push_back({full, "it is there with other choices of selectors", true});
        else if (other != b.end() && own.text != other->text &&
                 !(number(own.text) == number(other->text)))
            lines += changeText(full, own.text, other->text);
    }
    return lines;
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
        tell(what + reason + ": " + joined(names[reason], ", ") + ".");
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
    auto others = otherLines(b);
    for (const auto &[name, ofA] : otherLines(a))
        lines += difference(name, ofA, others[name], a.unread);
    return lines;
}

} // namespace kxinfo
