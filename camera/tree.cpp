// kxinfo tree: every feature as the camera's own description has it, by category.

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
// Categories one within the other; cameras have three.
constexpr size_t kDeepestCategory = 32;
// The category with all others in it.
constexpr const char *kRoot = "Root";

struct Request {
    CameraArgument camera;
    Words names; ///< at most one
    bool json = false;
    bool switches = false;
};

struct Selection {
    Words entries; ///< of the selectors, in their order
    Reading reading;
};

/** Where a feature stands. */
struct Leaf {
    Words categories; ///< from the outermost
    std::string name;
};

// Adds a feature, or all in a category; a category may be in several others, and counts once.
void addLeaves(const Camera &camera, const std::string &name, const Words &categories,
               std::set<std::string> &seen, std::vector<Leaf> &leaves) {
    const Node node = camera.node(name);
    if (!node.isCategory())
        return leaves.push_back({categories, name});
    if (!seen.insert(name).second)
        return;
    if (categories.size() == kDeepestCategory)
        throw Error(kFailed, "its description has more than " + std::to_string(kDeepestCategory) +
                                 " categories one within the other.");
    Words inside = categories;
    inside.push_back(name);
    for (const std::string &feature : node.features())
        addLeaves(camera, feature, inside, seen, leaves);
}

std::vector<Leaf> leavesOf(const Camera &camera, const std::string &name) {
    std::vector<Leaf> leaves;
    std::set<std::string> seen;
    addLeaves(camera, name, {}, seen, leaves);
    return leaves;
}

struct Entry {
    Words categories;
    const Feature *feature;
    Reading reading;
    Words selectors = {};
    std::vector<Selection> selections = {};
};

class Tree {
public:
    Tree(const Camera &camera, Switches *switches) : camera_(camera), switches_(switches) {}

    /** A feature, or all in a category. */
    void add(const std::string &name) {
        for (const Leaf &leaf : leavesOf(camera_, name)) {
            stopIfAsked();
            const Feature &feature = ownFeature(leaf.name);
            entries_.push_back({leaf.categories, &feature, readFeature(camera_, feature, nullptr)});
        }
    }

    /** Whom each feature is selected by, and, where that is wanted, its values with each choice. */
    void addSelections() {
        std::map<std::string, Words> selectors;
        for (const Leaf &leaf : leavesOf(camera_, kRoot))
            for (const std::string &selected : camera_.node(leaf.name).selected())
                selectors[selected].push_back(leaf.name);
        for (Entry &entry : entries_) {
            entry.selectors = selectors[entry.feature->name];
            if (!switches_ || entry.selectors.empty())
                continue;
            const std::string why = whyNotDone([&] { select(entry, {}); });
            if (!why.empty() && entry.reading.problem.empty())
                entry.reading.problem = why;
        }
    }

    const std::vector<Entry> &entries() const { return entries_; }

private:
    // What a selector may be set to now.
    std::vector<Value> choicesOf(const std::string &selector) const {
        const Node node = camera_.node(selector);
        const Words entries = node.entries();
        std::vector<Value> choices(entries.begin(), entries.end());
        if (node.kind() != Kind::Integer)
            return choices;
        const Limits limits = node.limits();
        const auto at = [](const Value &value) { return std::get<int64_t>(value); };
        const int64_t step = std::max<int64_t>(1, at(limits.inc));
        const double count = (numberOf(limits.max) - numberOf(limits.min)) / double(step) + 1;
        if (!(count <= double{kMostSelections}))
            throw Error(kFailed, selector + " has " + numberText(count) + " values; at most " +
                                     std::to_string(kMostSelections) + " are read.");
        for (int64_t i = 0; i < static_cast<int64_t>(count); ++i)
            choices.emplace_back(at(limits.min) + i * step);
        return choices;
    }

    // Reads a feature with all choices of its selectors, of which so many are made.
    void select(Entry &entry, const Words &chosen) {
        stopIfAsked();
        if (entry.selections.size() >= kMostSelections)
            throw Error(kFailed, "only the first " + std::to_string(kMostSelections) +
                                     " choices of its selectors are read.");
        if (chosen.size() == entry.selectors.size()) {
            entry.selections.push_back({chosen, readFeature(camera_, *entry.feature, nullptr)});
            return;
        }
        const std::string &name = entry.selectors[chosen.size()];
        const Feature &selector = ownFeature(name);
        for (const Value &choice : choicesOf(name)) {
            if (camera_.node(name).access() == GenApi_3_0::RO &&
                camera_.node(name).read() != choice)
                continue;
            switches_->select(selector, choice);
            Words more = chosen;
            more.push_back(valueText(selector, choice));
            select(entry, more);
        }
    }

    const Camera &camera_;
    Switches *const switches_;
    std::vector<Entry> entries_;
};

std::string asTable(const Camera &camera, const Tree &tree) {
    std::vector<Row> rows{{columnsOfReadings()}};
    Words above;
    std::string toolTip;
    for (const Entry &entry : tree.entries()) {
        const Words &categories = entry.categories;
        // Of the path to it, what has not been shown.
        for (size_t depth = 0; depth < categories.size(); ++depth)
            if (depth >= above.size() || above[depth] != categories[depth])
                rows.push_back({{std::string(2 * depth, ' ') + categories[depth]}});
        above = categories;
        const std::string indent(2 * categories.size(), ' ');
        const auto add = [&](const Reading &reading, const std::string &choice) {
            Words cells = cellsOf(reading);
            cells.front() = indent + cells.front() + choice;
            rows.push_back({cells});
        };
        add(entry.reading, "");
        for (const Selection &selection : entry.selections)
            add(selection.reading, "[" + joined(selection.entries, ",", ",") + "]");
        toolTip = camera.node(entry.feature->name).toolTip();
    }
    const bool alone = tree.entries().size() == 1 && !toolTip.empty();
    return camera.heading() + "\n" + tableText(rows) + (alone ? "\n" + toolTip + "\n" : "");
}

std::string asJson(const Camera &camera, const Tree &tree) {
    Json features = Json::array();
    for (const Entry &entry : tree.entries()) {
        const Node node = camera.node(entry.feature->name);
        const std::string toolTip = node.toolTip();
        Json feature = {{"categories", entry.categories}};
        feature.update(asMembers(entry.reading));
        feature["visibility"] = node.visibility();
        feature["toolTip"] = toolTip.empty() ? Json() : Json(toolTip);
        feature["selectors"] = entry.selectors;
        Json selections = Json::array();
        for (const Selection &selection : entry.selections) {
            Json &members = selections.emplace_back(Json{{"entries", selection.entries}});
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
            throw Error(kWrongUsage, "the camera has neither a feature nor a category \"" +
                                         shortened(name) + "\"." + nearestFeatures(name));
        if (node.isCategory())
            camera.readAhead();
        Tree tree(camera, request.switches ? &switches : nullptr);
        tree.add(name);
        tree.addSelections();
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
