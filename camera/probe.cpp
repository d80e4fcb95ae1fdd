// kxinfo probe: has kxinfo-host run a plug-in, in a process of its own for each camera: the plug-in
// serves one at a time, and what a camera or a plug-in does to that process reaches no other.
//
// The plug-in publishes a value also for what a camera lacks. So afterwards kxinfo looks at the camera
// itself, and says which values are none.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <system_error>

#include "camera/command.h"
#include "camera/find.h"
#include "camera/fleet.h"
#include "camera/values.h"
#include "cli/host_options.h"
#include "cli/json.h"
#include "gvcp/environment.h"

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

constexpr size_t kMostOutput = size_t{16} << 20;
// A probe takes a second or two; a camera that falls silent again and again makes it longer.
constexpr ChildLimits kOfEach = {std::chrono::seconds(60), kMostOutput, 8};
constexpr ChildLimits kOfOne = {std::nullopt, kMostOutput, 1};

// Whether a plug-in built for this platform finds a camera by its whole serial number first.
#if __has_include("kxgige.h")
constexpr bool kFindsWholeSerials = true;
#else
constexpr bool kFindsWholeSerials = false;
#endif

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
    throw Error(kWrongUsage, "the program that runs plug-ins is not where kxinfo looks for it: " +
                                 joined(looked) + ". Install it with kxinfo.");
}

/** What the probe of one camera came to. */
struct Result {
    std::string serial;
    const gvcp::Found *found;  ///< null: nobody knows which camera it was
    int status = kFailed;      ///< an ExitStatus
    Words messages = {};       ///< lines of standard error, without "kxinfo: "
    std::string log = {};      ///< with JSON: the lines of a log for standard output
    std::string table = {};    ///< without JSON: standard output, a log included
    Json parameters = nullptr; ///< with JSON: those of the document of one camera
};

// Says of which parameters the values are not the camera's; nothing when it cannot be looked at.
void lookAtCamera(Result &result) {
    try {
        stopWaitingWhen(stopOnSignals());
        const Camera camera(*result.found, Purpose::Look);
        for (const auto &[parameter, features, problem] : hostParameters(camera)) {
            if (problem.empty())
                continue;
            result.messages.push_back(parameter + ": " + problem + ".");
            for (Json &published : result.parameters)
                if (published.value("name", "") == parameter && !published.contains("problem"))
                    published["problem"] = problem;
        }
    } catch (...) { // whatever it was, the probe itself has gone well
    }
}

// Takes apart what stands on standard error.
void sortLines(const std::string &err, bool withLog, Result &result) {
    const std::string mark = "kxinfo: ";
    std::istringstream lines(err);
    for (std::string line; std::getline(lines, line);) {
        // A log line without an end has the next message behind it.
        const size_t at = line.find(mark);
        if (withLog && at != 0)
            result.log += line.substr(0, at) + "\n";
        if (at == 0 || (withLog && at != line.npos))
            result.messages.push_back(line.substr(at + mark.size()));
        else if (!withLog)
            result.messages.push_back(line);
    }
}

// The parameters in the document of one camera; null when it is none.
Json parametersIn(const std::string &text) {
    const Json document = Json::parse(text, nullptr, false);
    return document.is_object() ? document.value("parameters", Json()) : Json();
}

// Reads what kxinfo-host left, of which \p collect says what was collected, and looks at the camera.
void complete(Result &result, const ChildEnd &end, const HostOptions &options, Collect collect) {
    sortLines(end.err, options.json && options.showsLog(), result);
    const std::string failure = failureOf(end, kOfEach);
    result.status = failure.empty() ? end.number : kFailed;
    if (!failure.empty())
        result.messages.push_back(
            "the probe " + failure +
            (end.how == ChildEnd::How::NotStarted ? "" : std::string(" ") + kHintOfLog));
    if (!options.json)
        result.table = end.out;
    else if (result.status == kDone)
        result.parameters = parametersIn(end.out);

    const bool shown = options.json ? !result.parameters.is_null()
                                    : collect == Collect::Nothing ||
                                          end.out.find(headingOf(result.serial)) != end.out.npos;
    const bool lost = result.status == kDone && !shown;
    if (lost)
        result.status = kFailed;
    if (result.messages.empty() && (lost || (collect == Collect::Both && result.status != kDone)))
        result.messages.push_back("the probe ended without a result, and did not say why. " +
                                  std::string(kHintOfLog));
    if (result.status == kDone && result.found)
        lookAtCamera(result);
}

// Has the open platform ask this camera alone.
void askAlone(const gvcp::Found &camera) {
    (void)setenv("KXGIGE_ADDRESSES", gvcp::dotted(camera.identity.address).c_str(), 1);
    (void)unsetenv("KXGIGE_INTERFACES");
}

// The camera that is meant, or the first of several. The open platform is told to search for it, and
// what is no beginning of its serial number becomes this.
std::optional<gvcp::Found> choose(HostOptions &options) {
    std::string &name = *options.serial;
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
        if (!name.empty())
            (void)unsetenv("KXGIGE_SERIAL"); // kxinfo-host sets it
        const auto answered = gvcp::discover(gvcp::searchFromEnvironment());
        for (const gvcp::Found &camera : answered) {
            if (!isDalsa(camera.identity) || camera.identity.serial.rfind(name, 0) != 0)
                continue;
            if (!name.empty())
                tell(std::string(error.what()) + " The first by address is probed.");
            askAlone(camera);
            return camera;
        }
        const std::string why = noDalsaCamera(answered);
        if (why != kNoDalsaCamera && !why.empty()) // which the plug-in's host says otherwise
            tell(why);
        return std::nullopt; // the plug-in may see it otherwise
    }
}

int probeOne(HostOptions options) {
    const auto found = options.serial ? choose(options) : std::nullopt;
    const Collect collect = options.json ? Collect::Output : Collect::Nothing;
    const ChildEnd end = runChildren({options.command(hostProgram())}, collect, kOfOne).front();
    if (stopSignal())
        return kFailed;
    if (end.how == ChildEnd::How::Signalled && end.number == SIGPIPE)
        dieOf(SIGPIPE); // the reader of standard output has gone away
    Result result{options.serial.value_or(""), found ? &*found : nullptr};
    complete(result, end, options, collect);
    if (!result.parameters.is_null())
        writeOut(jsonText(
            {{"version", 1}, {"serial", *options.serial}, {"parameters", result.parameters}}));
    for (const std::string &message : result.messages)
        tell(message);
    return result.status;
}

// The camera that the plug-in would open instead of this one: it takes the first, of whatever
// maker, whose serial number begins with the given one, unless its platform shows it no others.
const gvcp::Found *cameraInFrontOf(const gvcp::Found &camera,
                                   const std::vector<gvcp::Found> &cameras, bool wholeSerials) {
    const std::string &serial = camera.identity.serial;
    const auto *first = std::find_if(cameras.data(), &camera, [&](const gvcp::Found &other) {
        return wholeSerials && !serial.empty() ? other.identity.serial == serial
                                               : other.identity.serial.rfind(serial, 0) == 0;
    });
    return first == &camera ? nullptr : first;
}

std::vector<Result> probeEach(const std::vector<gvcp::Found> &cameras, HostOptions options) {
    std::vector<Result> results;
    std::vector<size_t> probed; // of the results
    std::vector<Words> commands;
    for (const gvcp::Found &camera : cameras) {
        if (!isDalsa(camera.identity))
            continue;
        const std::string &serial = camera.identity.serial;
        results.push_back({serial, &camera, kNoCamera});
        if (const auto *inFront =
                cameraInFrontOf(camera, cameras, kFindsWholeSerials && !options.plugin)) {
            results.back().messages = {
                "the plug-in opens the first camera whose serial number begins with \"" + serial +
                "\", and that is another one, \"" + inFront->identity.serial +
                "\". On the open platform, 'kxinfo probe " + gvcp::dotted(camera.identity.address) +
                "' probes this one."};
            continue;
        }
        probed.push_back(results.size() - 1);
        options.serial = serial;
        commands.push_back(options.command(hostProgram()));
    }
    const auto ends = runChildren(commands, Collect::Both, kOfEach);
    for (size_t i = 0; i < ends.size() && !stopSignal(); ++i)
        complete(results[probed[i]], ends[i], options, Collect::Both);
    return results;
}

void showTables(const std::vector<Result> &results) {
    const char *gap = "";
    for (const Result &result : results) {
        if (!result.table.empty()) {
            writeOut(gap + result.table + (result.table.back() == '\n' ? "" : "\n"));
            gap = "\n";
        }
        for (const std::string &message : result.messages)
            tell("camera \"" + result.serial + "\": " + message);
    }
}

void showJson(const std::vector<Result> &results) {
    Json cameras = Json::array();
    for (const Result &result : results) {
        cameras.push_back({{"serial", result.serial},
                           {"status", result.status},
                           {"messages", result.messages},
                           {"parameters", result.parameters}});
        std::istringstream lines(result.log);
        for (std::string line; std::getline(lines, line);)
            (void)fprintf(stderr, "%s: %s\n", cleaned(result.serial).c_str(),
                          cleaned(line).c_str());
    }
    writeOut(jsonText({{"version", 2}, {"cameras", cameras}}));
}

int probeAll(const HostOptions &options) {
    const std::vector<gvcp::Found> cameras = gvcp::discover(gvcp::searchFromEnvironment());
    (void)unsetenv("KXGIGE_SERIAL"); // kxinfo-host sets it
    const auto results = probeEach(cameras, options);
    stopIfAsked();
    if (options.json)
        showJson(results);
    else
        showTables(results);
    if (results.empty())
        throw Error(kNoCamera, noDalsaCamera(cameras));
    int status = kDone;
    for (const Result &result : results)
        status = std::max(status, result.status);
    return status;
}

} // namespace

Run declareProbe(CLI::App &command) {
    struct Options {
        HostOptions host;
        bool all = false;
    };
    const auto options = std::make_shared<Options>();
    addHostOptions(command, options->host, "CAMERA");
    command.add_flag("--all", options->all, "Probe every Dalsa camera, side by side");
    command.footer(kFooter);
    return [options] {
        options->host.check(options->all);
        return options->all ? probeAll(options->host) : probeOne(options->host);
    };
}

} // namespace kxinfo
