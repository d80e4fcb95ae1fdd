#include "camera/command.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "camera/find.h"
#include "camera/fleet.h"

namespace kxinfo {

namespace {

constexpr const char *kFooter =
    R"(CAMERA is a serial number or how it begins, an address, a MAC address or a user name. It may be left
out when there is one camera, or when KXINFO_CAMERA names one.

Examples:
  kxinfo list                     lists the cameras that answer
  kxinfo get ExposureTime         shows a feature of the only camera
  kxinfo set S1234567 Gain=6      sets it, in decibels
  kxinfo save S1234567 camera.json
                                  writes its settings to a file, for 'kxinfo restore'
  kxinfo probe S1234567           shows what a plug-in's host is told of it

'kxinfo help COMMAND' tells the options of a command and shows an example.

Exit status:
  0  done
  1  no camera was found, none or several are named so, or it cannot be opened
  2  wrong usage: an unknown feature, a value out of range, a file that cannot be read; no setting
     was changed
  3  the camera or the plug-in failed, or not all could be done; the message says what)";

// Nothing in it leads elsewhere, or is hidden.
std::string fileNameFor(const gvcp::Found &camera, std::set<std::string> &taken) {
    std::string name = camera.identity.serial;
    const auto isOther = [](unsigned char c) { return !std::isalnum(c) && c != '-' && c != '_'; };
    std::replace_if(name.begin(), name.end(), isOther, '_');
    if (name.empty() || taken.count(lowered(name)))
        name += "_" + gvcp::dotted(camera.identity.address);
    taken.insert(lowered(name));
    return name;
}

int showResults(const std::vector<FleetResult> &results) {
    return showFleet(results, {"Result"}, [](const FleetResult &result) {
        std::istringstream lines(result.out);
        Words said;
        for (std::string line; std::getline(lines, line);)
            if (!line.empty())
                said.push_back(line);
        if (said.empty())
            return said;
        said.erase(said.begin()); // the name of the camera
        return Words{said.empty() ? "done" : joined(said, ", ", ", ")};
    });
}

} // namespace

const Program kKxinfo = {
    "kxinfo",
    "kxinfo lists GigE Vision cameras, shows what Dalsa ones are and how they are set, and changes "
    "that.",
    kFooter,
    {
        {"list", "Lists the cameras that answer", declareList},
        {"doctor", "Tells why cameras are not found, cannot be opened or are slow", declareDoctor},
        {"get", "Shows features of a camera: value, range, step, unit, kind and access",
         declareGet},
        {"tree", "Shows every feature of a camera, by category", declareTree},
        {"xml", "Writes the description of a camera as the camera gives it", declareXml},
        {"watch", "Shows features as they change", declareWatch},
        {"set", "Sets features of a camera", declareSet},
        {"gamma", "Shows gamma, or sets it", declareGamma},
        {"lut", "Shows, switches, loads or saves the lookup table", declareLut},
        {"auto", "Shows automatic exposure and gain, switches them on or off", declareAuto},
        {"save", "Writes the settings of a camera to a file", declareSave},
        {"restore", "Sets a camera to what a file holds", declareRestore},
        {"diff", "Tells in what cameras or files differ", declareDiff},
        {"report", "Draws a camera, or two of them, on a page for browsers", declareReport},
        {"address", "Shows how a camera gets its address, sets that, or gives it one",
         declareAddress},
        {"probe", "Runs a plug-in as its host does, and shows what it publishes", declareProbe},
    }};

void addCamera(CLI::App &command, CameraArgument &camera) {
    addOption(command, "CAMERA", camera,
              "Serial number of the camera or how it begins, its address, MAC address or user "
              "name; none: the only one there is");
}

void addSwitch(CLI::App &command, bool &switching) {
    command.add_flag("--switch", switching,
                     "Switch the camera for a moment, and back, to read what cannot be read "
                     "otherwise; the lookup table, for example");
}

CLI::Option *addAll(CLI::App &command, bool &all) {
    return command.add_flag("--all", all, "Every Dalsa camera that answers, a line for each");
}

int changeAll(const Words &arguments) {
    return showResults(onAllCameras([&](const gvcp::Found &camera) {
        Words own = arguments;
        own[1] = gvcp::dotted(camera.identity.address);
        return own;
    }));
}

int allToFolder(const char *command, const std::string &folder, const char *ending,
                const Words &options) {
    if (mkdir(folder.c_str(), 0777) < 0 && errno != EEXIST)
        throw Error(kFailed, "the folder \"", folder,
                    "\" cannot be made: ", std::generic_category().message(errno), ".");
    std::set<std::string> taken;
    return showResults(onAllCameras([&](const gvcp::Found &camera) {
        Words arguments{command, gvcp::dotted(camera.identity.address),
                        folder + '/' + fileNameFor(camera, taken) + ending};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }));
}

std::string requireFile(const std::string &command, CameraArgument &camera,
                        std::optional<std::string> &file) {
    if (!file)
        file.swap(camera);
    if (!file)
        throw Error(kWrongUsage, "'kxinfo ", command, "' needs FILE. Run 'kxinfo ", command,
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
    stopWaitingWhen(nullptr);
    const std::string changes = switches.changes();
    if (stopSignal() && !changes.empty())
        tell("putting back ", changes, "; once more (Ctrl-C) ends at once.");
    const std::string left = switches.putBack();
    if (!left.empty()) {
        tell(left);
        return kFailed;
    }
    if (!changes.empty())
        tell("what had been set is put back: ", changes, ".");
    return status;
}

int onFeatures(CameraArgument camera, Words names, Purpose purpose,
               const std::function<int(Camera &, Switches &, const Words &)> &work) {
    const auto takeForFeature = [&] { names.insert(names.begin(), *std::exchange(camera, {})); };
    // A word that kxinfo knows as a feature is no camera's name.
    if (camera && featuresMeant({*camera}).front()->kind != Kind::Missing)
        takeForFeature();
    try {
        return onCamera(camera, purpose, [&](Camera &opened, Switches &switches) {
            return work(opened, switches, names);
        });
    } catch (const NoneFits &error) {
        if (camera.value_or("").empty())
            throw;
        const std::string noneFits = error.what();
        takeForFeature();
        try {
            camera = gvcp::dotted(chosenCamera(camera).identity.address);
        } catch (const Error &) {
            throw Error(kNoCamera, noneFits);
        }
        return onCamera(camera, purpose, [&](Camera &opened, Switches &switches) {
            const Node node = opened.node(names.front());
            if (node.kind() == Kind::Missing && !node.isCategory())
                throw Error(kNoCamera, noneFits, " Nor has camera ", opened.name().serial,
                            " such a feature.", nearestFeatures(names.front()));
            return work(opened, switches, names);
        });
    }
}

} // namespace kxinfo
