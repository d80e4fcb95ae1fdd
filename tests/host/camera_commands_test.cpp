// The commands on a camera on a platform in memory, which plays the open one: it tells why it cannot
// open a camera, and ends its waits when asked to.

#include <dlfcn.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera_commands.h"
#include "kxgige.h"
#include "scripted.h"

namespace {

const char *cause = "";
const volatile std::sig_atomic_t *stop = nullptr;
bool interruptedWhenWaitsMayEnd = false;

} // namespace

// kxinfo-camera.so finds these here.
const char *KxGigeCause() {
    return cause;
}

void KxGigeStopWhen(const volatile std::sig_atomic_t *flag) {
    scripted::record(scripted::call("KxGigeStopWhen", flag ? "asked" : "never"));
    stop = flag;
    if (flag && interruptedWhenWaitsMayEnd)
        (void)raise(SIGTERM);
}

namespace {

using namespace kxinfo;
using scripted::call;
using scripted::Fault;
using scripted::Op;
using scripted::write;
using testing::ElementsAre;

struct Said {
    int status;
    std::string out;
    std::string err;
};

bool operator==(const Said &a, const Said &b) {
    return a.status == b.status && a.out == b.out && a.err == b.err;
}

std::ostream &operator<<(std::ostream &stream, const Said &said) {
    return stream << said.status << "\n" << said.out << "---\n" << said.err;
}

class CameraCommands : public testing::Test {
protected:
    CameraCommands() {
        scripted::reset();
        cause = "";
        stop = nullptr;
        interruptedWhenWaitsMayEnd = false;
        scripted::framework().sees({{"Dalsa", "C1936", "S1234"}});
        scripted::camera().integer("Width", 1936).range(16, 1936, 16);
        scripted::camera().integer("Height", 1216).range(4, 1216, 4);
    }

    static Said run(const CameraCommand &command) {
        static void *const library = dlopen(KXINFO_CAMERA, RTLD_LAZY);
        if (!library)
            throw std::runtime_error(dlerror());
        const auto entry = reinterpret_cast<RunCameraCommand>(dlsym(library, kRunCameraCommand));
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = entry(command);
        (void)fflush(stdout);
        const std::string out = testing::internal::GetCapturedStdout();
        return {status, out, testing::internal::GetCapturedStderr()};
    }

    static Said get(const std::vector<std::string> &properties) {
        GetRequest request;
        request.serial = "S1234";
        request.properties = properties;
        return run(request);
    }

    static Said set(const std::vector<std::pair<std::string, std::string>> &assignments) {
        SetRequest request;
        request.serial = "S1234";
        request.assignments = assignments;
        return run(request);
    }

    // What becomes of a wait for the camera in which the user presses Ctrl-C.
    static void interruptedWait() {
        (void)raise(SIGINT);
        if (stop && *stop)
            scripted::raise(Fault::Runtime);
    }

    static const Said stopped;
};

const Said CameraCommands::stopped = {3, "", "kxinfo: stopped, as asked for.\n"};

// Cause and remedy of each status.
TEST_F(CameraCommands, SayWhyTheCameraCannotBeOpenedAndWhatHelps) {
    const struct {
        GEV_STATUS status;
        std::string cause;
        std::string remedy;
    } cases[] = {
        {GEVLIB_ERROR_ACCESS_DENIED, "another program controls it",
         "End that program, or wait some seconds if it crashed, and try again."},
        {GEVLIB_ERROR_TIME_OUT, "it does not answer",
         "Check its power and cable, and that no firewall keeps its answers away; then try again."},
        {GEVLIB_ERROR_NO_CAMERA, "it cannot be reached from this computer",
         "Check that it is switched on and has started, and that a network interface here has an "
         "address of its network; then try again."},
        {GEVLIB_ERROR_NO_DESCRIPTION, "its description cannot be used",
         "Try again, since a packet may have been lost; if it stays so, the camera needs other "
         "firmware."},
        {GEVLIB_ERROR_GENERIC, "the camera platform answers -1",
         "Run 'kxinfo list' to see whether the camera still answers, and try again."},
    };
    for (const auto &failure : cases) {
        scripted::framework().opensWith(failure.status, false);
        const auto said = [&](const std::string &why) {
            return Said{1, "",
                        "kxinfo: camera S1234 cannot be opened: " + why + ". " + failure.remedy +
                            "\n"};
        };
        cause = "";
        EXPECT_EQ(said(failure.cause), get({"Width"}));
        cause = "the platform knows (eth0 has 192.168.0.2/24)";
        EXPECT_EQ(said(cause), get({"Width"}));
    }
}

TEST_F(CameraCommands, StopWhileTheCameraIsLookedFor) {
    interruptedWhenWaitsMayEnd = true;
    scripted::framework().sees({}); // since its wait is over

    EXPECT_EQ(stopped, get({"Width"}));
    EXPECT_EQ(nullptr, stop);
}

TEST_F(CameraCommands, StopWhileTheCameraIsOpened) {
    interruptedWhenWaitsMayEnd = true;
    scripted::framework().opensWith(GEVLIB_ERROR_TIME_OUT, false);

    EXPECT_EQ(stopped, get({"Width"}));
    EXPECT_EQ(nullptr, stop);
}

TEST_F(CameraCommands, StopInTheMiddleOfAWaitForTheCamera) {
    scripted::camera().feature("Width").raises(Op::GetValue, interruptedWait);

    EXPECT_EQ(stopped, get({"Width"}));
    EXPECT_EQ(nullptr, stop);
}

TEST_F(CameraCommands, PutBackWhatWasSetAndWaitForThatThoughTheyAreToStop) {
    scripted::camera().feature("Height").raises(Op::SetValue, interruptedWait);
    scripted::camera().feature("Width").raises(
        Op::SetValue,
        [] {
            if (stop)
                ADD_FAILURE() << "the wait for the value that is put back may end";
        },
        2);

    EXPECT_EQ((Said{3, "",
                    "kxinfo: stopped, as asked for.\n"
                    "kxinfo: what had been set is put back: Width.\n"}),
              set({{"Width", "640"}, {"Height", "400"}}));
    EXPECT_EQ("1936", scripted::camera().value("Width"));
    EXPECT_EQ("1216", scripted::camera().value("Height"));
    std::vector<scripted::Event> seen;
    for (const scripted::Event &event : scripted::trace())
        if (event.op == Op::SetValue || event.subject.view() == "KxGigeStopWhen")
            seen.push_back(event);
    EXPECT_THAT(seen, ElementsAre(call("KxGigeStopWhen", "asked"), write("Width", 640),
                                  write("Height", 400), call("KxGigeStopWhen", "never"),
                                  write("Width", 1936), call("KxGigeStopWhen", "never")));
}

TEST_F(CameraCommands, PutAnEntryBackThatMayHaveBeenWrittenWhenTheyWereStopped) {
    scripted::camera().integer("LUTIndex", 0).range(0, 1, 1);
    scripted::camera().integer("LUTValue", 7).range(0, 15, 1);
    scripted::camera().enumeration("lutMode", "Off", {"Off", "Active"});
    scripted::camera().enumeration("lutType", "UserDefined", {"UserDefined", "GammaCorrection"});
    // The camera has the value, but its answer does not come.
    scripted::camera().feature("LUTValue").raises(Op::SetValue, [] {
        const auto *nodeMap = static_cast<GenApi_3_0::CNodeMapRef *>(
            GevGetFeatureNodeMap(scripted::framework().handle()));
        dynamic_cast<GenApi_3_0::IInteger *>(nodeMap->_GetNode("LUTValue"))->SetValue(3);
        interruptedWait();
    });
    char name[] = "/tmp/kxinfo-table-XXXXXX";
    const int file = mkstemp(name);
    ASSERT_EQ(4, ::write(file, "3\n3\n", 4));
    (void)close(file);
    LutRequest request;
    request.serial = "S1234";
    request.action = LutRequest::Action::Load;
    request.file = name;

    EXPECT_EQ((Said{3, "",
                    "kxinfo: stopped, as asked for.\n"
                    "kxinfo: the entries written to the user's lookup table are put back.\n"}),
              run(request));
    (void)unlink(name);
    EXPECT_EQ("7", scripted::camera().value("LUTValue"));
}

TEST_F(CameraCommands, TakeASignalForOneOfThemAlone) {
    scripted::camera().feature("Width").raises(Op::GetValue, interruptedWait);
    ASSERT_EQ(stopped, get({"Width"}));

    EXPECT_EQ(0, get({"Width"}).status);
}

} // namespace
