// kxinfo tree: every feature as the camera's own description has it, by category.

#include "camera/command.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

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
    Words selectors;
    Reading reading;
    std::vector<Selection> selections = {};
};

// The values that a feature has with each choice of its selectors.
void addSelections(const Camera &camera, Switches &switches, Entry &entry) {
    const std::string why = whyNotDone([&] {
        switches.eachChoice(entry.selectors, true, [&](const auto &needs) {
            Selection &selection = entry.selections.emplace_back();
            for (const Need &need : needs)
                selection.choices.push_back(need.entry);
            selection.reading = readFeature(camera, *entry.reading.feature, nullptr);
            if (selection.reading.entries == entry.reading.entries)
                selection.reading.entries.clear();
        });
    });
    if (why.empty() || !entry.reading.problem.empty())
        return;
    entry.reading.problem = why;
    tell(entry.reading.feature->name, ": ", why, ".");
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
        toolTip = camera.node(entry.reading.feature->name).toolTip();
    }
    const bool alone = tree.size() == 1 && !toolTip.empty();
    return camera.heading() + "\n" + tableText(rows) + (alone ? "\n" + toolTip + "\n" : "");
}

std::string asJson(const Camera &camera, const std::vector<Entry> &tree) {
    Json features = Json::array();
    for (const Entry &entry : tree) {
        const Node node = camera.node(entry.reading.feature->name);
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
                        "the camera has neither a feature nor a category \"", shortened(name),
                        "\".", (names.empty() ? " Name another." : nearestFeatures(name)));
        if (node.isCategory())
            camera.readAhead();
        auto selectors = camera.selectors();
        std::vector<Entry> tree;
        for (const Leaf &leaf : camera.leaves(name)) {
            stopIfAsked();
            tree.push_back({leaf.categories, selectors[leaf.name],
                            readFeature(camera, ownFeature(leaf.name), nullptr)});
            if (request.switches && !tree.back().selectors.empty())
                addSelections(camera, switches, tree.back());
        }
        switches.tellSwitched();
        result = request.json ? asJson(camera, tree) : asTable(camera, tree);
        return kDone;
    };
    const int status = onFeatures(request.camera, request.names, purpose, work);
    writeOut(result);
    return status;
}

} // namespace

Run declareTree(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    addOption(command, "FEATURE", request->names,
              "Name of a feature, or of a category; none: everything")
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
