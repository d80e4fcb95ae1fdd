// kxinfo lut: shows, switches, loads or saves the lookup table. A file is read and checked as far as
// it can be before the camera is opened, and against the camera's table before the first entry is
// written. When loading fails, the entries that were written get their old values.

#include <algorithm>

#include "camera/command.h"
#include "camera/lookup_table.h"
#include "cli/files.h"

namespace kxinfo {

namespace {

struct Request {
    CameraArgument camera;
    std::string action = "show";
    std::string file;
    std::string channel; ///< empty: all
};

const Words kActions = {"show", "off", "user", "gamma", "load", "save"};

// The colours that are meant: all, or one.
Words chosenOf(const LookupTable &camera, const std::string &colour) {
    if (colour.empty())
        return camera.channels();
    for (const std::string &channel : camera.channels())
        if (sameWord(channel, colour))
            return {channel};
    throw Error(kWrongUsage, "this camera has no lookup table for ", colour,
                " alone. Leave out --channel to mean that of all colours.");
}

std::string stateText(const Camera &camera) {
    static const char *const kTexts[] = {
        "off", "the user's table", "the gamma curve",
        "something that is neither the user's table nor the gamma curve"};
    const TableState state = tableStateOf(camera);
    if (state == TableState::Unknown)
        throw Error(kFailed, "what the lookup table does cannot be read: the camera lacks "
                             "\"lutMode\" or \"lutType\".");
    return kTexts[static_cast<size_t>(state)];
}

void tellChange(const Camera &camera, const std::string &before, const std::string &after) {
    writeOut(camera.heading() + changeText("Lookup table", before, after));
}

int show(const Camera &camera) {
    const std::string state = stateText(camera);
    tellChange(camera, state, state);
    for (const char *name : {"lutMode", "lutType", "lutSize"})
        writeOut(lineOf(camera, name));
    return kDone;
}

int change(const Camera &camera, Switches &switches, TableState state) {
    const std::string before = stateText(camera);
    assign(camera, switches, settingsFor(camera, state));
    const std::string after = stateText(camera);
    switches.keepChanges();
    tellChange(camera, before, after);
    return kDone;
}

int load(const Camera &camera, Switches &switches, const Request &request, const TableFile &file) {
    const std::string before = stateText(camera);
    LookupTable table(camera, switches);
    if (file.whole && file.entries.size() != table.size())
        throw Error(kWrongUsage, "\"", request.file, "\" holds ", file.entries.size(),
                    " values, but the camera's table has ", table.size(),
                    " entries. Lines of index,value may set some of them.");
    for (const TableEntry &entry : file.entries)
        if (const std::string why = table.problemOf(entry); !why.empty())
            throw wrongLine(request.file, entry.line, why, ".");
    const Words chosen = chosenOf(table, request.channel);
    std::string after;
    try {
        table.write(chosen, file.entries);
        assign(camera, switches, settingsFor(camera, TableState::User));
        after = stateText(camera);
        switches.keepChanges();
    } catch (...) {
        return table.giveUp();
    }
    const std::string colours = joined(chosen, ", ");
    tellChange(
        camera, before,
        say(after, ", ", file.entries.size(), " entries", colours.empty() ? "" : " of ", colours));
    return kDone;
}

int save(const Camera &camera, Switches &switches, const Request &request, NewFile &file) {
    LookupTable table(camera, switches);
    const auto tables = table.read(chosenOf(table, request.channel));
    for (const SavedTable &other : tables)
        if (other.entries != tables.front().entries)
            throw Error(kWrongUsage, "the tables of the colours differ, and a file holds one: name "
                                     "it with --channel red, green or blue.");
    std::string text;
    for (const int entry : tables.front().entries)
        text += std::to_string(entry) + "\n";
    stopWaitingWhen(nullptr);
    if (const std::string left = switches.putBack(); !left.empty())
        throw Error(kFailed, left, " Nothing is saved.");
    file.write(text); // whose reader may take its time
    if (!file.isStandardOutput())
        writeOut(camera.heading() + std::to_string(table.size()) +
                 " entries of the lookup table saved to " + cleaned(request.file) + "\n");
    return kDone;
}

int lut(const Request &request) {
    const std::string &action = request.action;
    const bool loads = action == "load";
    const bool saves = action == "save";
    const bool usesFile = loads || saves;
    if (usesFile == request.file.empty() || (!usesFile && !request.channel.empty()))
        throw Error(kWrongUsage, "'kxinfo lut ", action, "' takes ",
                    usesFile ? "a file" : "neither a file nor --channel",
                    ". Run 'kxinfo lut --help' for what is expected.");
    TableFile table;
    std::optional<NewFile> newFile;
    if (loads)
        table = readTable(readFile(request.file, kExpectedTable), request.file);
    if (saves)
        newFile.emplace(request.file);
    return onCamera(request.camera, action == "show" ? Purpose::Look : Purpose::Change,
                    [&](Camera &camera, Switches &switches) {
                        if (action == "show")
                            return show(camera);
                        if (loads)
                            return load(camera, switches, request, table);
                        if (saves)
                            return save(camera, switches, request, *newFile);
                        return change(camera, switches,
                                      action == "off"    ? TableState::Off
                                      : action == "user" ? TableState::User
                                                         : TableState::Gamma);
                    });
}

} // namespace

Run declareLut(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    command.add_option("ACTION", request->action, "What to do; show unless told otherwise")
        ->type_name(":{" + joined(kActions, ",", ",") + "}");
    addOption(command, "FILE", request->file, "With load and save; - is standard input or output");
    addOption(command, "--channel", request->channel, "With a file: only this colour's table",
              "COLOUR")
        ->transform(oneOf({"red", "green", "blue"}, "--channel is"));
    command.footer(
        R"(Actions:
  show       tells what the lookup table does; so does none
  off        switches it off
  user       switches it to the user's table
  gamma      switches it to the gamma curve
  load FILE  writes the user's table, and switches to it
  save FILE  writes the user's table to a file

A file holds one value a line, or lines of index,value; empty lines, and what follows a '#', are
left out. It is checked whole before the first value is written.

Example:
  kxinfo lut S1234567 load curve.csv --channel red)");
    return [request] {
        // A word that is an action is no camera's name.
        const std::string first = lowered(request->camera.value_or(""));
        if (std::find(kActions.begin(), kActions.end(), first) != kActions.end()) {
            if (request->action != kActions.front())
                request->file = request->action;
            request->action = first;
            request->camera.reset();
        }
        oneOf(kActions, "'kxinfo lut' does not know the action")(request->action);
        return lut(*request);
    };
}

} // namespace kxinfo
