#include "camera/command.h"

#include "camera/find.h"

namespace kxinfo {

void addCamera(CLI::App &command, CameraArgument &camera) {
    command
        .add_option("CAMERA", camera,
                    "Serial number of the camera or how it begins, its address, MAC address or "
                    "user name; none: the only one there is")
        ->type_name("");
}

void addSwitch(CLI::App &command, bool &switching) {
    command.add_flag("--switch", switching,
                     "Switch the camera for a moment, and back, to read what cannot be read "
                     "otherwise; the lookup table, for example");
}

std::string requireFile(const std::string &command, CameraArgument &camera,
                        std::optional<std::string> &file) {
    if (!file)
        file.swap(camera);
    if (!file)
        throw Error(kWrongUsage, "'kxinfo " + command + "' needs FILE. Run 'kxinfo " + command +
                                     " --help' for what is expected.");
    return *file;
}

int onCamera(const CameraArgument &name, Purpose purpose,
             const std::function<int(Camera &camera, Switches &switches)> &work) {
    stopWaitingWhen(stopOnSignals());
    std::optional<Camera> opened;
    try {
        opened.emplace(chosenCamera(name), purpose);
    } catch (...) {
        waitInSpiteOfAll();
        stopIfAsked();
        throw;
    }
    Camera &camera = *opened;
    Switches switches(camera);
    int status = kDone;
    try {
        stopIfAsked(); // while the camera was looked for
        status = work(camera, switches);
    } catch (...) {
        status = tellWhy(camera, std::current_exception());
    }
    waitInSpiteOfAll();
    const std::string changes = switches.changes();
    if (stopSignal() && !changes.empty())
        tell("putting back " + changes + "; once more (Ctrl-C) ends at once.");
    const std::string left = switches.putBack();
    if (!left.empty()) {
        tell(left);
        return kFailed;
    }
    if (!changes.empty())
        tell("what had been set is put back: " + changes + ".");
    return status;
}

} // namespace kxinfo
