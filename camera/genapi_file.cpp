// The text form in which programs over GenApi keep features: lines NAME, a tab, VALUE, that are to be
// set in their order. What selects stands in lines in front or, newer, in braces. Lines in front are
// written, since readers of either form take them; what is read in braces becomes such lines.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "camera/saved_camera.h"
#include "camera/values.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

// Cameras have a thousand features, some of them once for each choice of a selector.
constexpr size_t kMostLines = 32768;
constexpr size_t kLongestLine = 4096;
constexpr size_t kMostSelectors = 8;
constexpr const char *kForm =
    "NAME, a tab and the value, with {SELECTOR=ENTRY} in front of NAME or behind it, at most 8";

constexpr std::string_view kDevice = "# Device = ";
constexpr std::string_view kSerial = " -- Serial number = "; // in our own files alone

using State = std::map<std::string, std::string>; // what features were set to

// "VENDOR::MODEL -- DESCRIPTION -- ..."
CameraName deviceIn(const std::string &text) {
    const size_t vendor = std::min(text.find("::"), text.size());
    const size_t model = std::min(vendor + 2, text.size());
    const size_t serial = text.rfind(kSerial);
    return {text.substr(0, vendor), text.substr(model, text.find(" -- ", model) - model),
            serial == text.npos ? "" : text.substr(serial + kSerial.size()), ""};
}

// Whether it is to go from camera to camera: no action, no selector, not what belongs to one camera in
// its network or to who controls it, and not an entry of the lookup table.
bool travels(const std::string &name, const Node &node) {
    return node.kind() != Kind::Command && node.kind() != Kind::Register && !node.isCategory() &&
           node.selected().empty() && name.rfind("Gev", 0) != 0 && name != "DeviceUserID" &&
           name != "TLParamsLocked" && name != "LUTValue";
}

// The row of the table that a feature is in that state; null: none. Where its selectors were not set,
// it is the only row of its node.
const Feature *rowFor(const std::string &name, const State &state) {
    for (const Feature *row : savedFeatures()) {
        const auto fits = [&](const Need &need) {
            const auto on = state.find(need.node);
            return !need.selects ||
                   (on == state.end() ? row->name == name : on->second == need.entry);
        };
        if (row->node == name && std::all_of(row->needs.begin(), row->needs.end(), fits))
            return row;
    }
    return nullptr;
}

// One that is no selector.
struct OtherLine {
    State choices;      // what selectors were on, as far as that is known
    std::string latest; // of them
    std::string text;
    bool isSetting; // of savedFeatures()
};

// Those of each name, in their order.
std::map<std::string, std::vector<OtherLine>> otherLines(const SavedCamera &saved) {
    std::map<std::string, std::vector<OtherLine>> others;
    State state, choices;
    std::string latest;
    for (const auto &[name, text] : saved.lines) {
        state[name] = text;
        if (name.find("Selector") != name.npos)
            choices[name] = latest = text;
        else
            others[name].push_back({choices, latest, text, rowFor(name, state) != nullptr});
    }
    return others;
}

std::string textOf(const Value &value) {
    if (const auto *text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *number = std::get_if<double>(&value))
        return std::isfinite(*number) ? Json(*number).dump() : nameOfNonNumber(*number);
    return std::to_string(std::holds_alternative<bool>(value) ? std::get<bool>(value)
                                                              : std::get<int64_t>(value));
}

// The camera's own value. Other programs round numbers, so it is none to the last bit.
SavedValue valueFrom(const Feature &feature, const std::string &text) {
    SavedValue saved{&feature, text, false, text};
    const Json value = Json::parse(text, nullptr, false);
    if (feature.kind == Kind::Boolean && (text == "true" || text == "1"))
        saved.value = true;
    else if (feature.kind == Kind::Boolean && (text == "false" || text == "0"))
        saved.value = false;
    else if (value.is_number_integer() && feature.kind != Kind::Float &&
             std::fabs(value.get<double>()) < 0x1p63)
        saved.value = value.get<int64_t>();
    else if (value.is_number())
        saved.value = value.get<double>();
    if (value.is_number() && feature.unit == Unit::Decibels)
        saved.typed += " x";
    return saved;
}

// Neither a JSON document nor anything else.
bool isGenApi(const std::string &text) {
    const size_t begin = std::min(text.find_first_not_of(" \r\n"), text.size());
    const std::string line = text.substr(begin, text.find('\n', begin) - begin);
    const auto first = static_cast<unsigned char>(line[line[0] == '{']);
    return line[0] == '#' || (std::isalpha(first) && line.find('\t') != line.npos);
}

} // namespace

std::optional<SavedCamera> genApiFrom(const std::string &file) {
    if (!isGenApi(file))
        return {};
    SavedCamera saved;
    saved.unread.push_back({kLookupTable, kNoTable, true});
    std::istringstream lines(file);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const auto expect = [&](bool holds, const std::string &what) {
            if (!holds)
                throw Error(kWrongUsage, "is wrong in line ", number, ": expected is ", what,
                            ". Correct that line, or leave it out.");
        };
        const auto word = [&](std::string text) {
            text.erase(0, text.find_first_not_of(' '));
            expect(!text.empty() && text == cleaned(text) &&
                       text.find_first_of("{}=,\t ") == text.npos,
                   kForm);
            return text;
        };
        expect(number <= kMostLines, say("at most ", kMostLines, " lines"));
        expect(line.size() <= kLongestLine, say("a line of at most ", kLongestLine, " bytes"));
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.rfind(kDevice, 0) == 0)
            saved.name = deviceIn(cleaned(line.substr(kDevice.size())));
        if (line[0] == '#' || line.find_first_not_of(" \t") == line.npos)
            continue;
        const size_t tab = line.find('\t');
        expect(tab != line.npos, kForm);
        size_t selectors = 0;
        std::string name = line.substr(0, tab);
        const size_t open = std::min(name.find('{'), name.size());
        const size_t close = std::min(name.find('}', open), name.size());
        expect((open < name.size()) == (close < name.size()), kForm);
        std::istringstream choices(name.substr(open, close - open));
        choices.ignore();
        name.erase(open, close + 1 - open);
        for (std::string choice; std::getline(choices, choice, ',');) {
            const size_t sign = choice.find('=');
            expect(sign != choice.npos && ++selectors <= kMostSelectors, kForm);
            saved.lines.emplace_back(word(choice.substr(0, sign)), word(choice.substr(sign + 1)));
        }
        saved.lines.emplace_back(word(name), cleaned(line.substr(tab + 1)));
    }
    placeLines(saved, nullptr);
    return saved;
}

void placeLines(SavedCamera &saved, const Camera *camera) {
    if (saved.lines.empty())
        return;
    auto selectors = camera ? camera->selectors() : std::map<std::string, Words>();
    std::map<size_t, SavedValue> placed; // in the order in which they are restored
    std::map<const Feature *, size_t> places;
    State state;
    for (const auto &[name, text] : saved.lines) {
        state[name] = text;
        const Feature *feature = rowFor(name, state);
        if (!feature && !(camera && travels(name, camera->node(name))))
            continue;
        std::vector<Need> needs;
        for (const std::string &selector : selectors[name])
            if (state.count(selector))
                needs.push_back({selector, state[selector], true});
        if (!feature)
            feature = &ownFeature(name, needs);
        const size_t behind = savedFeatures().size() + 1 + places.size();
        const size_t place = feature->saved ? static_cast<size_t>(feature->saved)
                                            : places.emplace(feature, behind).first->second;
        placed[place] = valueFrom(*feature, text);
    }
    saved.settings.clear();
    for (const auto &[place, value] : placed)
        saved.settings.push_back(value);
}

std::string lineDifferences(SavedCamera &a, const SavedCamera &b) {
    const auto number = [](const std::string &text) { return Json::parse(text, nullptr, false); };
    std::string lines;
    auto others = otherLines(b);
    for (const auto &[name, ofA] : otherLines(a)) {
        const std::vector<OtherLine> &ofB = others[name];
        const bool isSelected = ofA.size() > 1 || ofB.size() > 1;
        for (const OtherLine &own : ofA) {
            if (own.isSetting)
                continue;
            const auto isOtherwise = [&](const OtherLine &line) {
                return std::any_of(own.choices.begin(), own.choices.end(), [&](const auto &choice) {
                    const auto there = line.choices.find(choice.first);
                    return there != line.choices.end() && there->second != choice.second;
                });
            };
            const auto other = std::find_if(ofB.begin(), ofB.end(), [&](const OtherLine &line) {
                return !line.isSetting && !(isSelected && isOtherwise(line));
            });
            const std::string full = isSelected ? say(name, '[', own.latest, ']') : name;
            if (other == ofB.end() && !ofB.empty())
                a.unread.push_back({full, "it is there with other choices of selectors", true});
            else if (other != ofB.end() && own.text != other->text &&
                     !(number(own.text) == number(other->text)))
                lines += changeText(full, own.text, other->text);
        }
    }
    return lines;
}

size_t readLines(const Camera &camera, Switches &switches, bool switching, SavedCamera &saved) {
    auto selectors = camera.selectors();
    size_t count = 0;
    State state;
    const auto add = [&](const std::string &name, const std::vector<Need> &needs) {
        State here;
        for (const Need &need : needs)
            here[need.node] = need.entry;
        const Node node = camera.node(name);
        if (rowFor(name, here) || node.access() != GenApi_3_0::RW)
            return;
        const std::string text = textOf(node.read());
        if (text != cleaned(text) || name.size() + text.size() >= kLongestLine)
            throw Error(kFailed, "its text does not fit in a line");
        for (const auto &[selector, entry] : here)
            if (camera.node(selector).access() == GenApi_3_0::RW &&
                std::exchange(state[selector], entry) != entry)
                saved.lines.emplace_back(selector, entry);
        saved.lines.emplace_back(name, text);
        ++count;
    };
    Words selecting;
    for (const Leaf &leaf : camera.leaves(kRoot)) {
        const Node node = camera.node(leaf.name);
        bool matters = true; // it can be set at present, as far as that is known
        const std::string why = whyNotDone([&] {
            matters = node.access() == GenApi_3_0::RW;
            if (matters && !node.selected().empty())
                selecting.push_back(leaf.name);
            if (travels(leaf.name, node))
                switches.eachChoice(selectors[leaf.name], switching,
                                    [&](const auto &needs) { add(leaf.name, needs); });
        });
        if (!why.empty() && matters)
            saved.unread.push_back({leaf.name, why, true});
    }
    // In the end selectors are to be as they were.
    for (const std::string &selector : selecting) {
        const std::string why = whyNotDone([&] {
            saved.lines.emplace_back(selector, textOf(switches.read(ownFeature(selector))));
        });
        if (!why.empty())
            saved.unread.push_back({selector, why, true});
    }
    return count;
}

std::string genApiText(const SavedCamera &saved) {
    std::string text = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n"
                       "# GenApi persistence file (version 3.1.0)\n" +
                       std::string(kDevice) + saved.name.manufacturer + "::" + saved.name.model +
                       " -- GigE Vision camera" + std::string(kSerial) + saved.name.serial + '\n';
    State state;
    const auto set = [&](const std::string &name, const std::string &value) {
        text += name + '\t' + value + '\n';
        state[name] = value;
    };
    std::set<std::string> known;
    for (const SavedValue &value : saved.settings)
        known.insert(value.feature->node);
    for (const auto &[name, value] : saved.lines)
        known.insert(name);
    for (const SavedValue &value : saved.settings) {
        for (const Need &need : value.feature->needs)
            if (known.count(need.node) && state[need.node] != need.entry)
                set(need.node, need.entry);
        set(value.feature->node, textOf(value.value));
    }
    for (const auto &[name, value] : saved.lines)
        set(name, value);
    return text;
}

} // namespace kxinfo
