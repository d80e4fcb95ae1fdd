// kxinfo diff: compares the settings of two cameras or files. No camera is written to unless --switch
// says so.

#include <memory>

#include "camera/command.h"
#include "camera/saved_camera.h"

namespace kxinfo {

namespace {

enum Status { kSame, kDifferent };

// Returns the status of a camera that failed. A file that it is compared with is understood by it.
int readCamera(const std::string &name, bool switching, SavedCamera &saved, SavedCamera &other) {
    return onCamera(name, switching ? Purpose::Change : Purpose::Look,
                    [&](Camera &camera, Switches &switches) {
                        saved = readSaved(camera, switching ? &switches : nullptr, true);
                        if (other.lines.empty())
                            return kDone;
                        readLines(camera, switches, switching, saved);
                        for (SavedCamera *each : {&saved, &other})
                            placeLines(*each, &camera);
                        return kDone;
                    });
}

} // namespace

Run declareDiff(CLI::App &command) {
    struct Request {
        Words sides;
        bool switching = false;
    };
    const auto request = std::make_shared<Request>();
    command
        .add_option("CAMERA|FILE", request->sides,
                    "Two cameras or files of settings; - is standard input")
        ->type_name("")
        ->expected(2)
        ->required();
    addSwitch(command, request->switching);
    command.footer(
        R"(What is the name of a file counts as one. The status is 0 when nothing differs, 1 when something does,
2 also when there is no such camera, and 3 when a camera failed.

Example:
  kxinfo diff S1234567 camera.json)");
    return [request]() -> int {
        SavedCamera a, b;
        try {
            SavedCamera *const both[] = {&a, &b};
            for (const bool files : {true, false})
                for (const size_t i : {0, 1}) {
                    const std::string &name = request->sides[i];
                    if (isFile(name) != files)
                        continue;
                    const int status =
                        files ? (*both[i] = readSettings(name), kDone)
                              : readCamera(name, request->switching, *both[i], *both[1 - i]);
                    if (status != kDone)
                        return status;
                }
        } catch (const Error &error) {
            throw Error(error.status() == kNoCamera ? kWrongUsage : error.status(), error.what());
        }
        const std::string lines = differences(a, b);
        writeOut(lines);
        a.unread.insert(a.unread.end(), b.unread.begin(), b.unread.end());
        tellUnread(a, "not compared, since ",
                   request->switching ? "" : "it cannot be read without --switch");
        return lines.empty() ? kSame : kDifferent;
    };
}

} // namespace kxinfo
