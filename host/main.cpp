// kxinfo: loads the plug-in as any host would, runs it once, and shows what it published.
//
// The plug-in tells why it probed no camera in its log alone. So when no log is to appear on
// standard output, a probe has the plug-in log there all the same, collects the lines in memory,
// and takes the reason from them.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>

#include "command_line.h"
#include "parameter_service.h"
#include "plugin.h"
#include "report.h"
#include "standard_output.h"

namespace kxinfo {

namespace {

void tell(const std::string &sentences) {
    (void)fprintf(stderr, "kxinfo: %s\n", sentences.c_str());
}

struct ProbeRun {
    Outcome outcome;
    std::string log; ///< what was collected; empty when the user sees the log
    bool logShown;
};

ProbeRun runProbe(const Plugin &plugin, const ProbeRequest &request) {
    const char *serial = request.serial.c_str();
    if (request.log.mode & KX_LOG_MODE_STDOUT) {
        const auto redirection =
            request.json ? std::make_unique<StandardOutputTo>(STDERR_FILENO) : nullptr;
        return {plugin.run(serial, request.log.mode, request.log.level), {}, true};
    }
    // The level counts for both sinks: the system log must not get more than was asked for.
    const int level = request.log.mode ? request.log.level : KX_LOG_LEVEL_INFO;
    const MemoryFile log;
    Outcome outcome;
    {
        const StandardOutputTo memory(log.descriptor());
        outcome = plugin.run(serial, request.log.mode | KX_LOG_MODE_STDOUT, level);
    }
    return {outcome, log.text(), false};
}

std::string cameraWith(const std::string &serial) {
    return serial.empty() ? "the first camera"
                          : "the camera whose serial number begins with \"" + serial + "\"";
}

const char *const kNoDalsaCamera =
    "no Dalsa camera answered. Check that the camera has power, is on this computer's network, and "
    "that no firewall keeps its answer away; then try again.";

// Why the plug-in opened no camera, from the lines it writes then.
std::string whyNoCamera(const ProbeRun &run, const std::string &serial) {
    const auto logged = [&run](const char *text) {
        return run.log.find(text) != std::string::npos;
    };
    if (logged("no any Dalsa devices found\n"))
        return kNoDalsaCamera;
    if (logged("Configured device with SerialID "))
        return "no camera has a serial number that begins with \"" + serial +
               "\". Run 'kxinfo list' to see the cameras that answer.";
    if (logged("[CIPROC:w]: Can't connect to device with SerialID "))
        return cameraWith(serial) +
               " cannot be opened. Probably another program controls it: end that program, or wait "
               "some seconds if it crashed, and try again.";
    return "no camera was probed: no Dalsa camera answered, none has a serial number that begins "
           "with \"" +
           serial + "\", or it could not be opened. Run 'kxinfo list' to see the cameras; " +
           (run.logShown ? "the log says the reason at level info."
                         : "add '--log stdout --level info' for the reason.");
}

// What is wrong with a call that did not return 0 or 1.
int tellFailure(const Outcome &outcome) {
    const std::string hint = ". Add '--log stdout --level debug' to see how far it came.";
    if (outcome.exception) {
        tell("the plug-in failed with an exception: " + *outcome.exception + hint);
        return kFailed;
    }
    const std::string code = std::to_string(outcome.code);
    if (outcome.code < 0) {
        tell("the plug-in failed: it returned " + code + hint);
        return kFailed;
    }
    tell("the plug-in returned " + code +
         ", expected was 0, 1 or a negative number; taken as: no camera. Check that --plugin names "
         "a plug-in that fits this kxinfo.");
    return kNoCamera;
}

std::string joined(const std::string &list, const std::string &item) {
    return list.empty() ? item : list + ", " + item;
}

// An error of the camera cuts a probe short, but does not make it fail: what is missing tells.
void tellIncompleteness(const Publication &publication) {
    std::string ignored;
    for (const KxScParamId id : publication.ignored)
        ignored = joined(ignored, std::to_string(id));
    if (!ignored.empty())
        tell("the plug-in published settings that kxinfo does not know, which are left out: "
             "identifier " +
             ignored + ".");

    const auto &exported = *publication.exported;
    std::string missing;
    for (const Setting &setting : knownSettings())
        if (std::none_of(exported.begin(), exported.end(),
                         [&](const PublishedSetting &p) { return p.setting == &setting; }))
            missing = joined(missing, setting.name);
    if (!missing.empty())
        tell("the plug-in published " + std::to_string(exported.size()) + " of " +
             std::to_string(knownSettings().size()) + " settings; missing: " + missing +
             ". An error of the camera may have cut the probe short: add '--log stdout --level "
             "debug' to see it.");
}

int list(const Plugin &plugin, const ListRequest &request) {
    const Outcome outcome = plugin.run(nullptr, request.log.mode | KX_LOG_MODE_STDOUT,
                                       std::max<int>(request.log.level, KX_LOG_LEVEL_INFO));
    if (outcome.exception || outcome.code < 0 || outcome.code > 1)
        return tellFailure(outcome);
    if (outcome.code == 1)
        tell(kNoDalsaCamera);
    return outcome.code;
}

int probe(const Plugin &plugin, const ProbeRequest &request) {
    const ProbeRun run = runProbe(plugin, request);
    const Publication publication = takePublication();

    if (!run.outcome.exception && run.outcome.code == 1) {
        tell(whyNoCamera(run, request.serial));
        return kNoCamera;
    }
    if (run.outcome.exception || run.outcome.code != 0)
        return tellFailure(run.outcome);
    if (publication.outOfMemory)
        throw std::bad_alloc();
    if (!publication.exported) {
        tell("the plug-in reported success, but exported no settings; there is nothing to show. "
             "Check that --plugin names a plug-in that fits this kxinfo.");
        return kFailed;
    }

    tellIncompleteness(publication);
    if (request.json) {
        writeOut(asJson(request.serial, *publication.exported));
        return kDone;
    }
    if (run.logShown)
        writeOut("\n");
    writeOut(asTable(request.serial, *publication.exported));
    return kDone;
}

struct Serve {
    int operator()(const ListRequest &request) const {
        return list(Plugin::load(request.plugin), request);
    }
    int operator()(const ProbeRequest &request) const {
        return probe(Plugin::load(request.plugin), request);
    }
    int operator()(const CameraCommand &command) const { return loadCameraCommands()(command); }
};

int serve(const Request &request) {
    try {
        return std::visit(Serve{}, request);
    } catch (const PluginError &error) {
        tell(error.what());
        return kWrongUsage;
    }
}

struct Answer {
    int operator()(const Request &request) const { return serve(request); }
    int operator()(const Information &information) const {
        writeOut(information.text);
        return kDone;
    }
    int operator()(const UsageError &error) const {
        tell(error.text);
        return kWrongUsage;
    }
};

int run(int argc, char **argv) {
    prepareStandardStreams();
    const int status = std::visit(Answer{}, readCommandLine(argc, argv));
    if (!finishStandardOutput()) {
        tell("standard output did not take all that was written to it. Check that its disk is not "
             "full and that its reader still reads.");
        return kFailed;
    }
    return status;
}

} // namespace

} // namespace kxinfo

int main(int argc, char **argv) {
    try {
        return kxinfo::run(argc, argv);
    } catch (const std::bad_alloc &) {
        (void)fprintf(stderr, "kxinfo: there is not enough memory. End other programs, or allow "
                              "this one more, and try again.\n");
    } catch (const std::exception &error) {
        (void)fprintf(stderr, "kxinfo: this computer does not let kxinfo do its work: %s.\n",
                      error.what());
    } catch (...) {
        (void)fprintf(stderr, "kxinfo: something went wrong that kxinfo has no words for.\n");
    }
    return kxinfo::kFailed;
}
