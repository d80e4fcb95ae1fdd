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

// Lines of a lookup table, for as long as it lives.
struct TableFile {
    explicit TableFile(const std::string &text) {
        const int file = mkstemp(name);
        if (file < 0 ||
            ::write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the table cannot be written");
        (void)close(file);
    }
    ~TableFile() { (void)unlink(name); }
    TableFile(const TableFile &) = delete;
    TableFile &operator=(const TableFile &) = delete;

    char name[32] = "/tmp/kxinfo-table-XXXXXX";
};

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
    const TableFile file("3\n3\n");
    LutRequest request;
    request.serial = "S1234";
    request.action = LutRequest::Action::Load;
    request.file = file.name;

    EXPECT_EQ((Said{3, "",
                    "kxinfo: stopped, as asked for.\n"
                    "kxinfo: the entries written to the user's lookup table are put back.\n"}),
              run(request));
    EXPECT_EQ("7", scripted::camera().value("LUTValue"));
}

// On the camera maker's framework no error of the camera is a std::exception.
TEST_F(CameraCommands, PutBackWhatTheyCanWhateverItIsThatFails) {
    // When it is put back, and once more, since the others may have been in its way.
    for (int i = 0; i < 2; ++i)
        scripted::camera().feature("Height").raises(Op::SetValue, Fault::Number, 2);

    EXPECT_EQ((Said{3, "",
                    "kxinfo: Width=7 is not possible; expected is a whole number, 16 to 1936 px.\n"
                    "kxinfo: this could not be put back: Height to 1216 (an error without a "
                    "reason).\n"}),
              set({{"Width", "640"}, {"Height", "400"}, {"Width", "7"}}));
    EXPECT_EQ("1936", scripted::camera().value("Width"));
    EXPECT_EQ("400", scripted::camera().value("Height"));
}

TEST_F(CameraCommands, PutEntriesBackWhateverItIsThatFails) {
    scripted::camera().integer("LUTIndex", 0).range(0, 1, 1);
    scripted::camera().integer("LUTValue", 7).range(0, 15, 1);
    scripted::camera().enumeration("lutMode", "Off", {"Off", "Active"});
    scripted::camera().enumeration("lutType", "UserDefined", {"UserDefined", "GammaCorrection"});
    // The second entry can neither be written nor read again.
    scripted::camera().feature("LUTValue").raises(Op::SetValue, Fault::Number, 2);
    scripted::camera().feature("LUTValue").raises(Op::GetValue, Fault::Number, 3);
    const TableFile file("3\n5\n");
    LutRequest request;
    request.serial = "S1234";
    request.action = LutRequest::Action::Load;
    request.file = file.name;

    EXPECT_EQ((Said{3, "",
                    "kxinfo: this computer does not let kxinfo do its work: an error without a "
                    "reason.\n"
                    "kxinfo: 1 of 2 entries of the user's lookup table could not be put back (an "
                    "error without a reason).\n"}),
              run(request));
    EXPECT_EQ("7", scripted::camera().value("LUTValue"));
}

TEST_F(CameraCommands, TellWhyThePlatformHasNoNodeMap) {
    scripted::framework().nodeMapRaises(Fault::Runtime);

    EXPECT_EQ((Said{3, "", "kxinfo: the camera platform fails: the sensor is asleep.\n"}),
              get({"Width"}));
}

TEST_F(CameraCommands, NeedNoIncrementOfAFloat) {
    scripted::camera().raisesWithoutIncrement();
    scripted::camera().floating("Gain", 2).range(1.0, 8.0);
    scripted::camera().floating("ExposureTime", 100).range(20.0, 1000.0);
    scripted::camera().enumeration("lutMode", "Active", {"Off", "Active"});
    scripted::camera().enumeration("lutType", "GammaCorrection",
                                   {"UserDefined", "GammaCorrection"});
    scripted::camera().floating("gammaCorrection", 0.5).range(0.25, 4.0);

    EXPECT_EQ((Said{0,
                    "Camera S1234 (C1936)\n"
                    "\n"
                    "Property          Value  Minimum  Maximum  Step  Unit  Access  Kind\n"
                    "Gain             6.0206        0  18.0618     -    dB      RW  float\n"
                    "ExposureTime        100       20     1000     -    us      RW  float\n"
                    "gammaCorrection     0.5     0.25        4     -     -      RW  float\n",
                    ""}),
              get({"Gain", "ExposureTime", "gammaCorrection"}));
    EXPECT_EQ((Said{0,
                    "Camera S1234 (C1936)\n"
                    "Gain: 6.0206 dB -> 12 dB\n"
                    "ExposureTime: 100 us -> 33.3 us\n"
                    "gammaCorrection: 0.5 -> 2\n",
                    ""}),
              set({{"Gain", "12"}, {"ExposureTime", "33.3"}, {"gammaCorrection", "2"}}));
}

TEST_F(CameraCommands, SetAFloatBesideItsStepsAndTellTheNearest) {
    scripted::camera().floating("ExposureTime", 100).range(20.0, 100000.0, 30000.0);
    scripted::camera().floating("AcquisitionFrameRate", 30).range(1.0, 60.0, 1.0);
    scripted::camera().enumeration("lutMode", "Off", {"Off", "Active"});
    scripted::camera().enumeration("lutType", "UserDefined", {"UserDefined", "GammaCorrection"});
    scripted::camera().floating("gammaCorrection", 0.5).range(0.25, 4.0, 0.25);

    EXPECT_EQ((Said{0,
                    "Camera S1234 (C1936)\n"
                    "AcquisitionFrameRate: 30 1/s -> 33.3 1/s\n"
                    "ExposureTime: 100 us -> 95000 us\n"
                    "gammaCorrection: - -> 0.4\n"
                    "AcquisitionFrameRate: 33.3 1/s -> 34 1/s\n",
                    "kxinfo: AcquisitionFrameRate=33.3 is on no step: its step is 1; the nearest "
                    "are 33 and 34.\n"
                    "kxinfo: ExposureTime=95000 is on no step: its step is 30000; the nearest is "
                    "90020.\n"
                    "kxinfo: gammaCorrection=0.4 is on no step: its step is 0.25; the nearest are "
                    "0.25 and 0.5.\n"}),
              set({{"AcquisitionFrameRate", "33.3"},
                   {"ExposureTime", "95000"},
                   {"gammaCorrection", "0.4"},
                   {"AcquisitionFrameRate", "34"}}));
}

TEST_F(CameraCommands, ShowNoRangeOfWhatIsNotAvailable) {
    scripted::camera().floating("ExposureTime", 100).range(20.0, 1000.0).access(GenApi_3_0::NA);

    EXPECT_EQ((Said{3,
                    "Camera S1234 (C1936)\n"
                    "\n"
                    "Property      Value  Minimum  Maximum  Step  Unit  Access  Kind\n"
                    "ExposureTime      -        -        -     -    us      NA  float\n",
                    "kxinfo: ExposureTime has no value: it is not available at present.\n"}),
              get({"ExposureTime"}));
}

TEST_F(CameraCommands, TakeASignalForOneOfThemAlone) {
    scripted::camera().feature("Width").raises(Op::GetValue, interruptedWait);
    ASSERT_EQ(stopped, get({"Width"}));

    EXPECT_EQ(0, get({"Width"}).status);
}

} // namespace
