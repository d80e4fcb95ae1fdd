#include <syslog.h>

#include <csignal>
#include <exception>
#include <memory>
#include <optional>

#include "Base/GCException.h"
#include "camera_commands.h"
#include "command.h"
#include "kx_log.h"
#include "open_platform.h"
#include "standard_output.h"
#include "words.h"

namespace kxinfo {

namespace {

volatile std::sig_atomic_t stopAsked = 0;

const char *const kStopped = "stopped, as asked for.";

// Asked once, a command stops at the next safe place, and a wait for the camera is over; asked
// twice, the process ends at once. A signal that is ignored, as nohup does, stays so.
void stopCleanly() {
    stopAsked = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) { stopAsked = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction present = {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            (void)sigaction(signal, &action, nullptr);
    }
}

// While it lives, or until waitInSpiteOfAll(), a wait for the camera is over when the user asks to stop.
class WaitsEndWhenAsked {
public:
    WaitsEndWhenAsked() { stopWaitingWhen(&stopAsked); }
    ~WaitsEndWhenAsked() { waitInSpiteOfAll(); }
    WaitsEndWhenAsked(const WaitsEndWhenAsked &) = delete;
    WaitsEndWhenAsked &operator=(const WaitsEndWhenAsked &) = delete;
};

void startLogging(const LogOptions &log) {
    if (log.mode & KX_LOG_MODE_SYSLOG)
        openlog("kxinfo-dalsa", LOG_PID | LOG_ODELAY, LOG_DAEMON);
    gKxLogMode = log.mode;
    gKxLogLevel = log.level;
}

} // namespace

int tellWhy(const Session &session, const std::exception_ptr &why) {
    // Whatever it looks like: a wait that is over for that reason looks like the camera's failure.
    if (stopAsked) {
        tell(kStopped);
        return kFailed;
    }
    const std::string camera = "camera " + std::string(session.info().serial);
    try {
        std::rethrow_exception(why);
    } catch (const CommandError &error) {
        tell(error.text);
        return error.status;
    } catch (const GenICam_3_0::TimeoutException &) {
        tell(camera + " has stopped answering. Check its power and cable, and try again. (" +
             reasonInFlight() + ")");
    } catch (const GenICam_3_0::GenericException &) {
        tell(camera + " refuses: " + reasonInFlight() + ".");
    } catch (...) {
        tell("this computer does not let kxinfo do its work: " + reasonInFlight() + ".");
    }
    return kFailed;
}

int onCamera(const CameraRequest &request,
             const std::function<int(Session &session, Modes &modes)> &work) {
    const WaitsEndWhenAsked asked;
    std::optional<Session> opened;
    try {
        opened.emplace(request.serial);
    } catch (const CommandError &) {
        stopIfAsked();
        throw;
    }
    Session &session = *opened;
    Modes modes(session.nodeMap());
    int status = kDone;
    try {
        stopIfAsked(); // while the camera was looked for
        status = work(session, modes);
    } catch (...) {
        status = tellWhy(session, std::current_exception());
    }
    waitInSpiteOfAll();
    const std::string changes = modes.changes();
    const std::string left = modes.putBack();
    if (!left.empty()) {
        tell(left);
        return kFailed;
    }
    if (!changes.empty())
        tell("what had been set is put back: " + changes + ".");
    return status;
}

void stopIfAsked() {
    if (stopAsked)
        throw CommandError{kFailed, kStopped};
}

void waitInSpiteOfAll() {
    stopWaitingWhen(nullptr);
}

std::string cameraLine(const Session &session) {
    return "Camera " + std::string(session.info().serial) + " (" + session.info().model + ")\n";
}

} // namespace kxinfo

extern "C" KX_API int kxinfoRunCameraCommand(const kxinfo::CameraCommand &command) {
    using namespace kxinfo;
    stopCleanly();
    try {
        return std::visit(
            [](const auto &request) {
                startLogging(request.log);
                return run(request);
            },
            command);
    } catch (const CommandError &error) {
        tell(error.text);
        return error.status;
    } catch (const GenICam_3_0::GenericException &) { // who called knows no platform
        tell("the camera platform fails: " + reasonInFlight() + ".");
        return kFailed;
    }
}
