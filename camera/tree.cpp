// kxinfo tree: every feature as the camera's own description has it, by category.

#include <exception>
#include <map>
#include <memory>
#include <set>

#include "camera/command.h"
#include "camera/values.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

// Values of selectors that one feature is read with: those of a table take minutes.
constexpr size_t kMostSelections = 64;
// Selectors of one feature; cameras have two.
constexpr size_t kMostSelectors = 8;
// Categories one within the other; cameras have three.
constexpr size_t kDeepestCategory = 32;
constexpr const char *kRoot = "Root"; // the category with all others in it

struct Request {
    CameraArgument camera;
    Words names; ///< at most one
    bool json = false;
    bool switches = false;
};

struct Selection {
    Words choices; ///< of the selectors, in their order
    Reading reading;
};

struct Entry {
    Words categories; ///< where it stands, from the outermost
    const Feature *feature;
    Reading reading = {};
    Words selectors = {};
    std::vector<Selection> selections = {};
};

// Adds a feature, or all in a category; what is in several categories counts in the first.
void addEntries(const Camera &camera, const std::string &name, const Words &categories,
                std::set<std::string> &seen, std::vector<Entry> &entries) {
    if (!seen.insert(name).second)
        return;
    const Node node = camera.node(name);
    if (!node.isCategory())
        return entries.push_back({categories, &ownFeature(name)});
    if (categories.size() == kDeepestCategory)
        throw Error(kFailed, "the camera's description has more than " +
                                 std::to_string(kDeepestCategory) +
                                 " categories one within the other.");
    Words inside = categories;
    inside.push_back(name);
    for (const std::string &feature : node.features())
        addEntries(camera, feature, inside, seen, entries);
}

std::vector<Entry> entriesOf(const Camera &camera, const std::string &name) {
    std::vector<Entry> entries;
    std::set<std::string> seen;
    addEntries(camera, name, {}, seen, entries);
    return entries;
}

// What a selector may be set to now.
std::vector<Value> choicesOf(const std::string &selector, const Node &node) {
    if (!node.isReadable())
        throw Error(kFailed, selector + ", which selects it, cannot be read at present.");
    if (node.access() == GenApi_3_0::RO)
        return {node.read()};
    if (node.kind() == Kind::Boolean)
        return {false, true};
    const Words entries = node.entries();
    std::vector<Value> choices(entries.begin(), entries.end());
    if (const Limits limits = node.limits(); node.integer() && limits.min <= limits.max) {
        // Without a sign the distance of any two has room.
        const auto at = [](const Value &value) { return uint64_t(std::get<int64_t>(value)); };
        const uint64_t step = uint64_t(std::max<int64_t>(1, std::get<int64_t>(limits.inc)));
        const uint64_t last = (at(limits.max) - at(limits.min)) / step;
        for (uint64_t i = 0; i <= std::min<uint64_t>(last, kMostSelections); ++i)
            choices.emplace_back(int64_t(at(limits.min) + i * step));
    }
    if (choices.empty() || choices.size() > kMostSelections)
        throw Error(kFailed,
                    selector + ", which selects it, has " +
                        (choices.empty() ? "no" : "more than " + std::to_string(kMostSelections)) +
                        " values.");
    return choices;
}

// Reads a feature with all choices of its selectors, of which some are made.
void select(const Camera &camera, Switches &switches, Entry &entry, const Words &chosen) {
    stopIfAsked();
    if (entry.selectors.size() > kMostSelectors || entry.selections.size() == kMostSelections)
        throw Error(kFailed, "more than " + std::to_string(kMostSelectors) + " selectors, or " +
                                 std::to_string(kMostSelections) +
                                 " of their choices, are not walked.");
    if (chosen.size() == entry.selectors.size())
        return entry.selections.push_back({chosen, readFeature(camera, *entry.feature, nullptr)});
    const Feature &selector = ownFeature(entry.selectors[chosen.size()]);
    const Node node = camera.node(selector.name);
    const std::vector<Value> choices = choicesOf(selector.name, node);
    const Value before = node.read();
    std::exception_ptr end;
    try {
        for (const Value &choice : choices) {
            switches.select(selector, choice);
            Words more = chosen;
            more.push_back(valueText(selector, choice));
            select(camera, switches, entry, more);
        }
    } catch (...) {
        end = std::current_exception();
        if (stopSignal())
            waitInSpiteOfAll();
    }
    switches.select(selector, before); // with each choice of those above it may have another
    if (end)
        std::rethrow_exception(end);
}

// Whom each feature is selected by, and, where that is wanted, its values with each choice.
void addSelections(const Camera &camera, Switches *switches, std::vector<Entry> &tree) {
    std::map<std::string, Words> selectors;
    for (const Entry &entry : entriesOf(camera, kRoot)) {
        const std::string &name = entry.feature->name;
        for (const std::string &selected : camera.node(name).selected())
            if (Words &names = selectors[selected]; names.empty() || names.back() != name)
                names.push_back(name);
    }
    for (Entry &entry : tree) {
        entry.selectors = selectors[entry.feature->name];
        if (!switches || entry.selectors.empty())
            continue;
        const std::string why = whyNotDone([&] { select(camera, *switches, entry, {}); });
        if (why.empty() || !entry.reading.problem.empty())
            continue;
        entry.reading.problem = why;
        tell(entry.feature->name + ": " + why + ".");
    }
}

std::string asTable(const Camera &camera, const std::vector<Entry> &tree) {
    std::vector<Row> rows{{columnsOfReadings()}};
    Words above;
    std::string toolTip;
    for (const Entry &entry : tree) {
        const Words &categories = entry.categories;
        // Of the path to it, what has not been shown.
        for (size_t depth = 0; depth < categories.size(); ++depth)
            if (depth >= above.size() || above[depth] != categories[depth])
                rows.push_back({{std::string(2 * depth, ' ') + categories[depth]}});
        above = categories;
        const std::string indent(2 * categories.size(), ' ');
        const auto add = [&](const Reading &reading, const std::string &choice) {
            Words cells = cellsOf(reading);
            cells[0].insert(0, indent).append(choice);
            cells[1] = shortened(cells[1]); // registers may have 64 KiB
            rows.push_back({cells});
        };
        add(entry.reading, "");
        for (const Selection &selection : entry.selections)
            add(selection.reading, "[" + joined(selection.choices, ",", ",") + "]");
        toolTip = camera.node(entry.feature->name).toolTip();
    }
    const bool alone = tree.size() == 1 && !toolTip.empty();
    return camera.heading() + "\n" + tableText(rows) + (alone ? "\n" + toolTip + "\n" : "");
}

std::string asJson(const Camera &camera, const std::vector<Entry> &tree) {
    Json features = Json::array();
    for (const Entry &entry : tree) {
        const Node node = camera.node(entry.feature->name);
        const std::string toolTip = node.toolTip();
        Json feature = {{"categories", entry.categories}};
        feature.update(asMembers(entry.reading));
        feature["visibility"] = node.visibility();
        feature["toolTip"] = toolTip.empty() ? Json() : Json(toolTip);
        feature["selectors"] = entry.selectors;
        Json selections = Json::array();
        for (const Selection &selection : entry.selections) {
            Json &members = selections.emplace_back(Json{{"choices", selection.choices}});
            members.update(asMembers(selection.reading));
        }
        feature["selections"] = selections;
        features.push_back(std::move(feature));
    }
    return jsonText({{"version", 1}, {"camera", asMembers(camera.name())}, {"features", features}});
}

int tree(const Request &request) {
    std::string result;
    const Purpose purpose = request.switches ? Purpose::Change : Purpose::Look;
    const auto work = [&](Camera &camera, Switches &switches, const Words &names) {
        const std::string name = names.empty() ? kRoot : names.front();
        const Node node = camera.node(name);
        if (node.kind() == Kind::Missing && !node.isCategory())
            throw Error(names.empty() ? kFailed : kWrongUsage,
                        "the camera has neither a feature nor a category \"" + shortened(name) +
                            "\"." + (names.empty() ? " Name another." : nearestFeatures(name)));
        if (node.isCategory())
            camera.readAhead();
        std::vector<Entry> tree = entriesOf(camera, name);
        for (Entry &entry : tree) {
            stopIfAsked();
            entry.reading = readFeature(camera, *entry.feature, nullptr);
        }
        addSelections(camera, request.switches ? &switches : nullptr, tree);
        if (const std::string switched = switches.switched(); !switched.empty())
            tell("switched for a moment, and put back: " + switched + ".");
        result = request.json ? asJson(camera, tree) : asTable(camera, tree);
        return kDone;
    };
    const int status = onFeatures(request.camera, request.names, purpose, work);
    writeOut(result);
    return status;
}

} // namespace

Run declareTree(CLI::App &command) {
    const auto request = std::make_shared<Request>();
    addCamera(command, request->camera);
    command
        .add_option("FEATURE", request->names,
                    "Name of a feature, or of a category; none: everything")
        ->type_name("")
        ->expected(0, 1);
    command.add_flag("--json", request->json, "Write a JSON document in place of the table");
    command.add_flag("--switch", request->switches,
                     "Set selectors for a moment, and back, to show each value that they choose");
    command.footer(
        R"(Numbers are the camera's own: a gain may be a factor here and is in decibels in 'kxinfo get'.
Nothing is written to the camera without --switch.

Example:
  kxinfo tree S1234567 ImageFormatControl)");
    return [request] { return tree(*request); };
}

} // namespace kxinfo
