// kxinfo diff: compares the settings of two cameras or files. No camera is written to unless --switch
// says so.

#include <memory>

#include "camera/command.h"
#include "camera/saved_camera.h"

namespace kxinfo {

Run declareDiff(CLI::App &command) {
    struct Request {
        Words names;
        bool switching = false;
    };
    const auto request = std::make_shared<Request>();
    addOption(command, "CAMERA|FILE", request->names,
              "Two cameras or files of settings; - is standard input")
        ->expected(2)
        ->required();
    addSwitch(command, request->switching);
    command.footer(
        R"(What is the name of a file counts as one. The status is 0 when nothing differs, 1 when something does,
2 also when there is no such camera, and 3 when a camera failed.

Example:
  kxinfo diff S1234567 camera.json)");
    return [request]() -> int {
        std::vector<SavedCamera> sides(2);
        try {
            for (const bool files : {true, false})
                for (size_t i = 0; i < sides.size(); ++i) {
                    const std::string &name = request->names[i];
                    if (isFile(name) != files)
                        continue;
                    const auto read = [&](Camera &camera, Switches &switches) {
                        sides[i] =
                            readSaved(camera, request->switching ? &switches : nullptr, true);
                        if (!sides[1 - i].lines.empty())
                            readLines(camera, switches, request->switching, sides[i]);
                        return kDone;
                    };
                    const Purpose purpose = request->switching ? Purpose::Change : Purpose::Look;
                    if (files)
                        sides[i] = readSettings(name);
                    else if (const int status = onCamera(name, purpose, read))
                        return status;
                }
        } catch (const Error &error) {
            throw Error(error.status() == kNoCamera ? kWrongUsage : error.status(), error.what());
        }
        SavedCamera &a = sides[0], &b = sides[1];
        const std::string lines = differences(a, b);
        writeOut(lines);
        a.unread.insert(a.unread.end(), b.unread.begin(), b.unread.end());
        tellUnread(a, "not compared, since ",
                   request->switching ? "" : "it cannot be read without --switch");
        return lines.empty() ? 0 : 1;
    };
}

} // namespace kxinfo
