// kxinfo-host: loads a plug-in as any host would, runs it, and shows what it published.
//
// The plug-in tells its reasons in its log alone. So unless the user sees that, it logs to standard
// output all the same; the lines are collected in memory, and reasons are taken from them.

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <type_traits>

#include "cli/host_options.h"
#include "kx_proc.h"
#include "parameters.h"

namespace kxinfo {

namespace {

constexpr const char *kNoDalsaLine = "no any Dalsa devices found\n";

namespace fs = std::filesystem;

// A plug-in, loaded for the life of the process: the camera framework that comes with it may have
// threads, which must not lose their code.
struct Plugin {
    decltype(&Vendor__Proc) entry;
    const char *(
        *cause)(); // why no camera was found or opened; null: another platform than the open
};

std::string ownFile() {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::string file = folder / "libkxinfo-dalsa.so";
    if (std::error_code ignored; !fs::exists(file, ignored))
        throw Error(kWrongUsage, "the plug-in is not where kxinfo looks for it, at ", file,
                    ". Install it there, or name its file with --plugin.");
    return file;
}

// From here on a run ends by itself and closes its camera when signals ask the process to stop (see
// cli/process.h); where the platform cannot do that, they end the process as ever.
Plugin load(const HostOptions &options) {
    std::string path = options.plugin ? *options.plugin : ownFile();
    if (path.find('/') == path.npos)
        path = "./" + path; // otherwise the loader searches its own folders
    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        throw Error(kWrongUsage, "the plug-in cannot be loaded: ", dlerror(),
                    ". Expected is a plug-in's shared library, built for this computer, and the "
                    "libraries that it needs.");
    // Also looked for in the libraries that the plug-in needs.
    const auto find = [library](auto &function, const char *name) {
        function =
            reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
    };
    Plugin plugin{};
    void (*stopWhen)(const volatile std::sig_atomic_t *);
    find(plugin.entry, "Vendor__Proc");
    find(plugin.cause, "KxGigeCause");
    find(stopWhen, "KxGigeStopWhen");
    if (!plugin.entry)
        throw Error(kWrongUsage, "\"", path,
                    "\" is a library, but no plug-in: it has no function Vendor__Proc. Name a "
                    "plug-in's library file with --plugin, or leave --plugin out to use the one "
                    "that kxinfo comes with.");
    if (stopWhen)
        stopWhen(stopOnSignals());
    return plugin;
}

// \return whether it has opened a camera, or listed some
// \throws Error when it fails, and when it was to stop
bool call(const Plugin &plugin, const char *serial, int logMode, int logLevel) {
    int code = 0;
    std::string failure;
    try {
        code = plugin.entry(serial, logMode, logLevel);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &e) {
        failure = std::string(" with an exception: ") + e.what();
    } catch (...) {
        failure = " with an exception: an exception without a message";
    }
    if (stopSignal())
        throw Error(kFailed, "stopped, as asked for. What a probe has switched on the camera for "
                             "the moment may have stayed.");
    if (code < 0 || code > 1)
        failure = ": it returned " + std::to_string(code);
    if (!failure.empty())
        throw Error(kFailed, "the plug-in failed", failure, ". ", kHintOfLog);
    return code == 0;
}

int sinksOf(const HostOptions &options) {
    const bool syslog = options.sink == "syslog" || options.sink == "both";
    return (options.showsLog() ? KX_LOG_MODE_STDOUT : 0) | (syslog ? KX_LOG_MODE_SYSLOG : 0);
}

int levelOf(const HostOptions &options) {
    return options.level == "error"     ? KX_LOG_LEVEL_ERROR
           : options.level == "warning" ? KX_LOG_LEVEL_WARNING
           : options.level == "debug"   ? KX_LOG_LEVEL_DEBUG
                                        : KX_LOG_LEVEL_INFO; // also unless told otherwise
}

struct ProbeRun {
    bool done;
    std::string log;   ///< what was collected; empty when the user sees it
    std::string cause; ///< why its platform has opened no camera: a clause; empty: it tells none
};

ProbeRun runProbe(const Plugin &plugin, const HostOptions &options) {
    const MemoryFile log;
    std::optional<StandardOutputTo> elsewhere;
    if (!options.showsLog())
        elsewhere.emplace(log.descriptor());
    else if (options.json)
        elsewhere.emplace(STDERR_FILENO);
    // The level counts for both sinks: the system log must not get more than was asked for.
    const int sinks = sinksOf(options);
    const int level = sinks ? levelOf(options) : KX_LOG_LEVEL_DEBUG;
    const bool done = call(plugin, options.serial->c_str(), sinks | KX_LOG_MODE_STDOUT, level);
    elsewhere.reset(); // hands on what is left of the log
    return {done, log.text(), plugin.cause ? plugin.cause() : ""};
}

// Why the plug-in opened no camera.
std::string whyNoCamera(const ProbeRun &run, const HostOptions &options) {
    const std::string &serial = *options.serial;
    const auto logged = [&run](const char *text) { return run.log.find(text) != run.log.npos; };
    if (logged(kNoDalsaLine))
        return kNoDalsaCamera;
    if (logged("Configured device with SerialID "))
        return "no camera has a serial number that begins with \"" + serial +
               "\". Run 'kxinfo list' to see the cameras that answer.";
    if (!run.cause.empty() || logged("[CIPROC:w]: Can't connect to device with SerialID "))
        return (serial.empty() ? "the first camera"
                               : "the camera whose serial number begins with \"" + serial + "\"") +
               " cannot be opened" +
               (run.cause.empty() ? ". Probably another program controls it: end that program, or "
                                    "wait some seconds if it crashed, and try again."
                                  : ": " + run.cause + ". Once that is mended, try again.");
    return "no camera was probed: no Dalsa camera answered, none has a serial number that begins "
           "with \"" +
           serial +
           "\", or it could not be opened. Run 'kxinfo list' to see the cameras; the log says the "
           "reason at level info.";
}

// The error of the camera that, by the log, has ended an activity of the plug-in; empty: none.
std::string errorIn(const std::string &log, const std::string &activity) {
    const std::string mark = " Origin " + activity + " - ";
    const size_t at = log.find(mark);
    if (at == log.npos)
        return {};
    const std::string line = log.substr(at, log.find('\n', at) - at);
    const size_t library = line.find(": ", mark.size()); // its name stands in front
    const size_t begin = library == line.npos ? mark.size() : library + 2;
    // Some of these lines have no end, and the log's next one follows.
    std::string error = line.substr(begin, line.find("[KX_TD_PROC:d]: ", begin) - begin);
    error.erase(error.find_last_not_of(" .") + 1);
    return cleaned(error);
}

// Tells what is not as it should be; what has not been published is put at the end, with why.
void complete(std::vector<Published> &published, const std::string &log) {
    const std::string error = errorIn(log, "check config");
    const std::string ended = "n error of the camera ended the probe: " + error;
    const std::string gammaError = errorIn(log, "check gamma config");
    const size_t count = published.size();
    Words missing;
    for (const Parameter &parameter : kParameters) {
        auto it = std::find_if(published.begin(), published.end(),
                               [&](const Published &p) { return p.parameter == &parameter; });
        if (it == published.end()) {
            missing.emplace_back(parameter.name);
            it = published.insert(it, unpublished(parameter));
            it->json["problem"] = error.empty() ? "the plug-in did not publish it" : "a" + ended;
        }
        if (parameter.id == KxScParamGamma && !gammaError.empty())
            it->json["problem"] = "gamma could not be read: " + gammaError;
    }
    if (!missing.empty())
        tell("the plug-in published ", count, " of ", kParameters.size(),
             " settings; missing: ", joined(missing, ", "),
             (error.empty() ? ". An error of the camera may have cut the probe short: add '--log "
                              "stdout --level debug' to see it."
                            : ". A" + ended + "."));
    if (!gammaError.empty())
        tell("KxScParamGamma: gamma could not be read: ", gammaError, ".");
}

int probe(const Plugin &plugin, const HostOptions &options) {
    // The open platform's search ends as soon as the camera with exactly this serial number has
    // answered; when there is none, it finds all as ever.
    if (!options.serial->empty())
        (void)setenv("KXGIGE_SERIAL", options.serial->c_str(), 0);
    ProbeRun run = runProbe(plugin, options);
    // One of another maker may have the serial number too and have answered first: then all are
    // asked.
    if (getenv("KXGIGE_SERIAL") && run.log.find(kNoDalsaLine) != run.log.npos) {
        (void)unsetenv("KXGIGE_SERIAL");
        run = runProbe(plugin, options);
    }
    const Publication publication = takePublication();

    if (!run.done)
        throw Error(kNoCamera, whyNoCamera(run, options));
    if (!publication.exported)
        throw Error(kFailed,
                    "the plug-in reported success, but exported no settings; there is nothing to "
                    "show. Check that --plugin names a plug-in that fits this kxinfo.");

    Words ignored;
    for (const KxScParamId id : publication.ignored)
        ignored.push_back(std::to_string(id));
    if (!ignored.empty())
        tell("the plug-in published settings that kxinfo does not know, which are left out: "
             "identifier ",
             joined(ignored, ", "), ".");
    std::vector<Published> all = *publication.exported;
    complete(all, run.log);
    if (options.json)
        writeOut(asJson(*options.serial, all));
    else
        writeOut((options.showsLog() ? "\n" : "") +
                 asTable(*options.serial, *publication.exported));
    return kDone;
}

// The plug-in's list is made of its log lines of level info.
int list(const Plugin &plugin, const HostOptions &options) {
    if (!call(plugin, nullptr, sinksOf(options) | KX_LOG_MODE_STDOUT,
              std::max<int>(levelOf(options), KX_LOG_LEVEL_INFO)))
        throw Error(kNoCamera, kNoDalsaCamera);
    return kDone;
}

Run declareHost(CLI::App &command) {
    const auto options = std::make_shared<HostOptions>();
    addHostOptions(command, *options, "SERIAL");
    return [options] {
        options->check();
        const Plugin plugin = load(*options);
        return options->serial ? probe(plugin, *options) : list(plugin, *options);
    };
}

const Program kProgram = {"kxinfo-host",
                          "kxinfo-host runs the plug-in as a host does, and shows the settings "
                          "that it publishes. 'kxinfo probe' runs it.",
                          "Example:\n  kxinfo-host S1234567 --log stdout --level debug\n\n"
                          "Exit status: as of kxinfo, which see.",
                          {{"", "", declareHost}}};

} // namespace

} // namespace kxinfo

int main(int argc, char **argv) {
    return kxinfo::runProgram(kxinfo::kProgram, argc, argv);
}
