// kxinfo probe: has kxinfo-host run a plug-in, in a process of its own: what a camera or a plug-in does
// to that reaches no other.
//
// The plug-in publishes a value also for what a camera lacks. So afterwards kxinfo looks at the camera
// itself, and says which values are none.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include "camera/child_processes.h"
#include "camera/command.h"
#include "camera/find.h"
#include "camera/fleet.h"
#include "cli/host_options.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

namespace fs = std::filesystem;

// Where the plug-in's folder is, seen from the folder of this program: in the build tree, and
// installed.
constexpr const char *kPlaces[] = {
    "../lib/",
    "../lib/kxinfo/",
#ifdef KXINFO_ARCHITECTURE
    "../lib/" KXINFO_ARCHITECTURE "/kxinfo/",
#endif
};

// A probe takes a second or two; a camera that falls silent again and again makes it longer.
constexpr ChildLimits kLimits = {std::chrono::seconds(60), size_t{16} << 20, 1,
                                 std::chrono::seconds(2)};

// Whether a plug-in built for this platform opens the camera of an address, whatever its serial number.
#if __has_include("kxgige.h")
constexpr bool kOpensAddresses = true;
#else
constexpr bool kOpensAddresses = false;
#endif

const std::string kNoResult =
    std::string("the probe ended without a result, and did not say why. ") + kHintOfLog;

constexpr const char *kFooter =
    R"(Without CAMERA the plug-in lists the cameras, in log lines of level info. Without --json the table
follows the log lines, if any, after an empty line. With --json standard output holds the JSON
document and nothing else; '--log stdout' then goes to standard error.

With --all every camera is probed in a process of its own, side by side: one that fails does not
hide the others. The exit status is the highest of theirs.

Example:
  kxinfo probe S1234567 --log stdout --level debug)";

std::string hostProgram() {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    Words looked;
    for (const char *place : kPlaces) {
        std::string file = (folder / place / "kxinfo-host").lexically_normal();
        std::error_code ignored;
        if (fs::exists(file, ignored))
            return file;
        looked.push_back(std::move(file));
    }
    throw Error(kWrongUsage,
                "the program that runs plug-ins is not where kxinfo looks for it: ", joined(looked),
                ". Install it with kxinfo.");
}

// Tells of which parameters the values are not the camera's, and says so in the document; nothing
// when the camera cannot be looked at.
void lookAtCamera(const gvcp::Found &found, Json &document) {
    try {
        stopWaitingWhen(stopOnSignals());
        const Camera camera(found, Purpose::Look);
        for (const auto &[parameter, features, problem] : hostParameters(camera)) {
            if (problem.empty())
                continue;
            tell(say(parameter, ": ", problem, "."));
            for (Json &published : document["parameters"])
                if (published.value("name", "") == parameter && !published.contains("problem"))
                    published["problem"] = problem;
        }
    } catch (...) { // whatever it was, the probe itself has gone well
    }
}

// Has the open platform ask this camera alone.
void askAlone(const gvcp::Found &camera) {
    (void)setenv("KXGIGE_ADDRESSES", gvcp::dotted(camera.identity.address).c_str(), 1);
    (void)unsetenv("KXGIGE_INTERFACES");
}

// The camera that is meant, or the first of several. The open platform is told to search for it, and
// what is no beginning of its serial number becomes this.
std::optional<gvcp::Found> choose(std::string &name) {
    try {
        gvcp::Found found = chosenCamera(name);
        const std::string &serial = found.identity.serial;
        if (serial.compare(0, name.size(), name) != 0) {
            name = serial; // which another camera may have, too
            askAlone(found);
        }
        (void)setenv("KXGIGE_SERIAL", serial.c_str(), 1);
        return found;
    } catch (const Error &error) {
        if (gvcp::addressFrom(name))
            throw;
        if (!name.empty())
            (void)unsetenv("KXGIGE_SERIAL"); // kxinfo-host sets it
        const auto answered = gvcp::discover(gvcp::searchFromEnvironment());
        for (const gvcp::Found &camera : answered) {
            if (!isDalsa(camera.identity) || camera.identity.serial.rfind(name, 0) != 0)
                continue;
            if (!name.empty())
                tell(error.what(), " The first by address is probed.");
            askAlone(camera);
            return camera;
        }
        if (const std::string why = noDalsaCamera(answered); !answered.empty() && !why.empty())
            tell(why);
        return std::nullopt; // the plug-in may see it otherwise
    }
}

int probeOne(HostOptions options) {
    const auto found = options.serial ? choose(*options.serial) : std::nullopt;
    const Collect collect = options.json ? Collect::Output : Collect::Nothing;
    const ChildEnd end = runChildren({options.command(hostProgram())}, collect, kLimits).front();
    if (stopSignal())
        return kFailed;
    if (end.status == -SIGPIPE)
        dieOf(SIGPIPE); // the reader of standard output has gone away
    if (!end.failure.empty())
        throw Error(kFailed, "the probe ", end.failure, " ", kHintOfLog);
    if (end.status != kDone)
        return end.status;
    Json document = options.json ? Json::parse(end.out, nullptr, false) : Json();
    if (document.is_discarded())
        throw Error(kFailed, kNoResult);
    if (found)
        lookAtCamera(*found, document);
    if (options.json)
        writeOut(jsonText(document));
    return kDone;
}

void showTables(const std::vector<FleetResult> &results) {
    const char *gap = "";
    for (const FleetResult &result : results) {
        if (result.out.empty())
            continue;
        writeOut(gap + result.out + (result.out.back() == '\n' ? "" : "\n"));
        gap = "\n";
    }
    tellMessages(results);
}

void showJson(const std::vector<FleetResult> &results) {
    Json cameras = Json::array();
    for (const auto &[found, status, messages, log, out, document] : results) {
        const std::string serial = nameOf(found.identity).serial;
        for (const std::string &line : log)
            (void)fprintf(stderr, "%s: %s\n", serial.c_str(), cleaned(line).c_str());
        cameras.push_back(
            {{"serial", serial},
             {"status", status},
             {"messages", messages},
             {"parameters", document.is_null() ? document : document.at("parameters")}});
    }
    writeOut(jsonText({{"version", 2}, {"cameras", cameras}}));
}

int probeAll(HostOptions options) {
    Words before; // serial numbers
    // Elsewhere than on the open platform the plug-in takes the first whose serial number begins so:
    // no other camera is shown in the place of one.
    const auto arguments = [&](const gvcp::Found &camera) {
        const std::string &serial = before.emplace_back(camera.identity.serial);
        const bool isFirst = std::none_of(before.begin(), before.end() - 1, [&](const auto &other) {
            return other.rfind(serial, 0) == 0;
        });
        options.serial = gvcp::dotted(camera.identity.address);
        return isFirst || (kOpensAddresses && !options.plugin) ? options.command("probe") : Words();
    };
    auto results = onAllCameras(arguments, options.json && options.showsLog());
    for (FleetResult &result : results) {
        const bool hasHeading = result.out.find(kProbeHeading) != std::string::npos;
        if (result.status == kNoCamera && result.messages.empty()) {
            result.messages = {"the plug-in opens another camera whose serial number begins so."};
        } else if (result.status == kDone && !options.json && !hasHeading &&
                   !result.found.identity.serial.empty()) {
            result.status = kFailed;
            result.messages.push_back(kNoResult);
        }
    }
    if (options.json)
        showJson(results);
    else
        showTables(results);
    return statusOf(results);
}

} // namespace

Run declareProbe(CLI::App &command) {
    struct Options {
        HostOptions host;
        bool all = false;
    };
    const auto options = std::make_shared<Options>();
    addHostOptions(command, options->host, "CAMERA");
    command.add_flag("--all", options->all, "Probe every Dalsa camera, side by side")
        ->excludes(command.get_option("CAMERA"));
    command.footer(kFooter);
    return [options] {
        options->host.check(options->all);
        return options->all ? probeAll(options->host) : probeOne(options->host);
    };
}

} // namespace kxinfo
