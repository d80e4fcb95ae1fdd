// The plug-in tells why it probed no camera in its log alone. So when no log is to appear on
// standard output, it logs there all the same; the lines are collected in memory, and the reason is
// taken from them.

#include "probe.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "collected_run.h"
#include "messages.h"
#include "parameter_service.h"
#include "report.h"
#include "standard_output.h"

namespace kxinfo {

namespace {

constexpr const char *kNoDalsaLine = "no any Dalsa devices found\n";

struct ProbeRun {
    Outcome outcome;
    std::string log; ///< what was collected; empty when the user sees the log
    bool logShown;
    std::string cause; ///< as of Plugin::cause()
};

ProbeRun runProbe(const Plugin &plugin, const ProbeRequest &request) {
    const char *serial = request.serial.c_str();
    if (request.log.mode & KX_LOG_MODE_STDOUT) {
        const auto redirection =
            request.json ? std::make_unique<StandardOutputTo>(STDERR_FILENO) : nullptr;
        const Outcome outcome = plugin.run(serial, request.log.mode, request.log.level);
        return {outcome, {}, true, plugin.cause()};
    }
    // The level counts for both sinks: the system log must not get more than was asked for.
    const int level = request.log.mode ? request.log.level : KX_LOG_LEVEL_INFO;
    CollectedRun run = runCollected(plugin, serial, request.log.mode, level);
    return {std::move(run.outcome), std::move(run.log), false, plugin.cause()};
}

std::string cameraWith(const std::string &serial) {
    return serial.empty() ? "the first camera"
                          : "the camera whose serial number begins with \"" + serial + "\"";
}

// Why the plug-in opened no camera, from the lines it writes then.
std::string whyNoCamera(const ProbeRun &run, const std::string &serial) {
    const auto logged = [&run](const char *text) {
        return run.log.find(text) != std::string::npos;
    };
    if (logged(kNoDalsaLine))
        return kNoDalsaCamera;
    if (logged("Configured device with SerialID "))
        return "no camera has a serial number that begins with \"" + serial +
               "\". Run 'kxinfo list' to see the cameras that answer.";
    if (logged("[CIPROC:w]: Can't connect to device with SerialID ") || !run.cause.empty())
        return cameraWith(serial) + " cannot be opened" +
               (run.cause.empty() ? ". Probably another program controls it: end that program, or "
                                    "wait some seconds if it crashed, and try again."
                                  : ": " + run.cause + ". Once that is mended, try again.");
    return "no camera was probed: no Dalsa camera answered, none has a serial number that begins "
           "with \"" +
           serial + "\", or it could not be opened. Run 'kxinfo list' to see the cameras; " +
           (run.logShown ? "the log says the reason at level info."
                         : "add '--log stdout --level info' for the reason.");
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

} // namespace

int probe(const Plugin &plugin, const ProbeRequest &request) {
    ProbeRun run = runProbe(plugin, request);
    // One of another maker may have the serial number too and have answered first: then all are
    // asked.
    if (getenv("KXGIGE_SERIAL") && run.log.find(kNoDalsaLine) != std::string::npos) {
        (void)unsetenv("KXGIGE_SERIAL");
        run = runProbe(plugin, request);
    }
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

} // namespace kxinfo
