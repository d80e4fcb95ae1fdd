// kxinfo save: what can be read is saved, and what is left out is told.

#include <algorithm>

#include "camera/command.h"
#include "camera/saved_camera.h"
#include "cli/files.h"

namespace kxinfo {

namespace {

struct Request {
    CameraArgument camera;
    std::optional<std::string> file;
    std::string folder;
    bool noTable = false;
    bool switching = false;
    std::string format = "json";
};

int save(const CameraArgument &name, const std::string &fileName, const Request &request) {
    NewFile file(fileName); // before the camera is asked for thousands of entries
    const Purpose purpose = request.switching ? Purpose::Change : Purpose::Look;
    return onCamera(name, purpose, [&](Camera &camera, Switches &switches) {
        const bool isJson = request.format == "json";
        size_t others = 0;
        SavedCamera saved =
            readSaved(camera, request.switching ? &switches : nullptr, isJson && !request.noTable);
        if (!isJson) {
            others = readLines(camera, switches, request.switching, saved);
            if (!request.noTable && LookupTable::isOn(camera))
                saved.unread.push_back(
                    {kLookupTable, kNoTable + std::string("; see 'kxinfo lut save'"), true});
        }
        stopIfAsked();
        stopWaitingWhen(nullptr);
        // A camera that is lost meanwhile looks like one that lacks the rest.
        if (const std::string left = switches.putBack(); !left.empty())
            throw Error(kFailed, left, " Nothing is saved.");
        file.write(isJson ? settingsText(saved) : genApiText(saved));
        size_t entries = 0;
        for (const SavedTable &table : saved.tables)
            entries += table.entries.size();
        if (!file.isStandardOutput())
            writeOut(camera.heading() + std::to_string(saved.settings.size() + others) +
                     " settings and " + std::to_string(entries) +
                     " entries of the lookup table saved to " + cleaned(fileName) + "\n");
        tellUnread(saved, "left out, since ");
        if (!request.switching &&
            std::any_of(saved.unread.begin(), saved.unread.end(),
                        [&](const auto &one) { return isJson || one.name != kLookupTable; }))
            tell("with --switch kxinfo switches the camera for a moment, and reads such settings "
                 "too.");
        return kDone;
    });
}

} // namespace

Run declareSave(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    addOption(command, "FILE", request->file, "File to write; - is standard output");
    addOption(command, "--all", request->folder,
              "Save every camera that answers to this folder, each to SERIAL.json or .txt",
              "FOLDER");
    command.add_flag("--no-table", request->noTable, "Leave the user's lookup table out");
    addSwitch(command, request->switching);
    addOption(command, "--format", request->format,
              "json, or genapi: the text file of programs over GenApi, with every feature that can "
              "be set and without the table",
              "FORM")
        ->transform(oneOf({"json", "genapi"}, "--format is"));
    command.footer(
        R"(Writes nothing to the camera unless --switch says so. The file appears whole or not at all.

Examples:
  kxinfo save S1234567 camera.json
  kxinfo save S1234567 camera.txt --format genapi)");
    return [request] {
        if (!request->folder.empty()) {
            if (request->camera)
                throw Error(kWrongUsage, "'kxinfo save' takes --all FOLDER or a file, not both.");
            Words options{"--format", request->format};
            if (request->noTable)
                options.emplace_back("--no-table");
            if (request->switching)
                options.emplace_back("--switch");
            return allToFolder("save", request->folder,
                               request->format == "json" ? ".json" : ".txt", options);
        }
        const std::string file = requireFile("save", request->camera, request->file);
        return save(request->camera, file, *request);
    };
}

} // namespace kxinfo
