// Opening and closing cameras, and who controls them.

#include "support.h"

namespace {

using namespace std::chrono_literals;
using GenApi_3_0::CNodeMapRef;
using GenApi_3_0::IInteger;
using testing::ElementsAre;
using testing::Lt;
using testing::StartsWith;

// A camera at 127.0.0.2 with one feature, "Width".
class Session : public testing::Test {
protected:
    Session() { camera.describe(descriptionOf(intReg("Width", "0x1000"))); }
    ~Session() override { GevApiUninitialize(); }

    GEV_STATUS open(GevAccessMode mode = GevControlMode) {
        return GevOpenCamera(&info, mode, &handle);
    }

    CNodeMapRef *map() const { return static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(handle)); }
    IInteger &width() const { return dynamic_cast<IInteger &>(*map()->_GetNode("Width")); }

    ScriptedCamera camera{"127.0.0.2"};
    GEV_CAMERA_INFO info = recordOf("127.0.0.2");
    GEV_CAMERA_HANDLE handle = &info; // anything but null
};

TEST_F(Session, TakesControl) {
    ASSERT_EQ(GEVLIB_OK, open());

    EXPECT_NE(nullptr, handle);
    EXPECT_EQ(2u, camera.controlPrivilege());
    EXPECT_EQ(static_cast<uint32_t>(GevControlMode), info.mode);
}

TEST_F(Session, KeepsOthersOutInExclusiveMode) {
    ASSERT_EQ(GEVLIB_OK, open(GevExclusiveMode));

    EXPECT_EQ(1u, camera.controlPrivilege() & 1u);
    EXPECT_EQ(static_cast<uint32_t>(GevExclusiveMode), info.mode);
    width().SetValue(5);
    EXPECT_EQ(5u, camera.get(0x1000));
}

TEST_F(Session, LeavesControlToOthersInMonitorMode) {
    camera.set(0x1000, 640);

    ASSERT_EQ(GEVLIB_OK, open(GevMonitorMode));

    EXPECT_EQ(0u, camera.controlPrivilege());
    EXPECT_EQ(GenApi_3_0::RO, width().GetAccessMode());
    EXPECT_EQ(640, width().GetValue());
    EXPECT_EQ("Cannot write 'Width': it is read only",
              raisedBy<GenICam_3_0::AccessException>([&] { width().SetValue(1); }));
}

TEST_F(Session, MonitorsACameraThatAnotherProgramControlsAndWritesNothing) {
    camera.giveControlTo(2, "127.9.9.9", 1);

    ASSERT_EQ(GEVLIB_OK, open(GevMonitorMode));

    EXPECT_EQ(0, width().GetValue());
    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));
    EXPECT_EQ(2u, camera.controlPrivilege());
    for (const Received &each : camera.received())
        EXPECT_FALSE(each.isWrite()) << each;
}

TEST_F(Session, TellsWhoControlsAMonitoredCamera) {
    int isControlled = -1;
    uint32_t address = 1;
    uint16_t port = 1;
    camera.set(peer::kCapability, 0x08000003);
    camera.giveControlTo(0, "192.168.0.5", 40123); // who had it
    ASSERT_EQ(GEVLIB_OK, open(GevMonitorMode));

    EXPECT_EQ(GEVLIB_OK, KxGigeGetController(handle, &isControlled, &address, &port));
    EXPECT_EQ(0, isControlled);
    EXPECT_EQ(0u, address);
    camera.giveControlTo(2, "192.168.0.5", 40123);
    EXPECT_EQ(GEVLIB_OK, KxGigeGetController(handle, &isControlled, &address, &port));

    EXPECT_EQ(1, isControlled);
    EXPECT_EQ(0xc0a80005u, address);
    EXPECT_EQ(40123, port);
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, KxGigeGetController(handle, nullptr, &address, &port));
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE,
              KxGigeGetController(&info, &isControlled, &address, &port));
}

TEST_F(Session, IsRefusedAtOnceWhileAnotherProgramControlsTheCamera) {
    camera.giveControlTo(2, "127.9.9.9", 40123);
    const Stopwatch stopwatch;

    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, open());

    EXPECT_THAT(stopwatch.elapsed(), Lt(kStall));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(0u, info.mode);
    EXPECT_EQ(2u, camera.controlPrivilege());
    EXPECT_STREQ("another program controls it", KxGigeCause());
    // Its description is not fetched in vain.
    EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(peer::kCapability)));
    camera.set(peer::kCapability, 0x08000003); // it tells
    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, open());
    EXPECT_STREQ("another program controls it (127.9.9.9, port 40123)", KxGigeCause());
}

TEST_F(Session, IsRefusedWhileThisProgramControlsTheCameraAlready) {
    ASSERT_EQ(GEVLIB_OK, open());
    GEV_CAMERA_HANDLE second = nullptr;

    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, GevOpenCamera(&info, GevControlMode, &second));

    EXPECT_EQ(nullptr, second);
    width().SetValue(7);
    EXPECT_EQ(7u, camera.get(0x1000));
}

TEST_F(Session, IsRefusedByACameraThatDoesNotGiveControlThoughItIsFree) {
    const Device::Behaviour refusals[] = {
        [](const Received &command, const Good &good) { // in words only
            return Replies{{command.isWrite() ? answerTo(command, {0, 0, 0, 1}) : good()}};
        },
        [](const Received &command, const Good &good) {
            return Replies{{command.isWrite() ? refusalOf(command, peer::AccessDenied) : good()}};
        },
        [this](const Received &command, const Good &good) { // another program is faster
            if (command.isWrite())
                camera.giveControlTo(2, "127.9.9.9", 1);
            return Replies{{good()}};
        },
    };
    for (const Device::Behaviour &refusal : refusals) {
        camera.behave(refusal);
        handle = &info;

        EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, open());

        EXPECT_EQ(nullptr, handle);
    }
    EXPECT_EQ(2u, camera.controlPrivilege()); // the other program's
}

TEST_F(Session, GivesControlBackBeforeClosingReturns) {
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(GEVLIB_OK, open());
        map();
        camera.forget();

        EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));

        EXPECT_EQ(0u, camera.controlPrivilege());
        EXPECT_EQ(nullptr, handle);
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(testing::Pair(peer::WriteRegister, peer::kControlPrivilege)));
    }
}

TEST_F(Session, HoldsTwoCamerasAtOnce) {
    ScriptedCamera other("127.0.0.3");
    other.describe(descriptionOf(intReg("Width", "0x1000")));
    GEV_CAMERA_INFO otherInfo = recordOf("127.0.0.3");
    GEV_CAMERA_HANDLE otherHandle = nullptr;
    ASSERT_EQ(GEVLIB_OK, open());
    ASSERT_EQ(GEVLIB_OK, GevOpenCamera(&otherInfo, GevControlMode, &otherHandle));
    auto *otherMap = static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(otherHandle));

    width().SetValue(1);
    dynamic_cast<IInteger &>(*otherMap->_GetNode("Width")).SetValue(2);

    EXPECT_EQ(1u, camera.get(0x1000));
    EXPECT_EQ(2u, other.get(0x1000));
    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));
    EXPECT_EQ(2u, other.controlPrivilege());
}

TEST_F(Session, EndsWithTheFrameworkWhichStartsAfresh) {
    ASSERT_EQ(GEVLIB_OK, open());

    EXPECT_EQ(GEVLIB_OK, GevApiUninitialize());
    EXPECT_EQ(0, _CloseSocketAPI());

    EXPECT_EQ(0u, camera.controlPrivilege());
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, GevCloseCamera(&handle));
    EXPECT_EQ(GEVLIB_OK, open());
    EXPECT_EQ(2u, camera.controlPrivilege());
}

TEST_F(Session, GivesUpOnACameraThatDoesNotAnswer) {
    camera.beSilent();
    const Stopwatch stopwatch;

    EXPECT_EQ(GEVLIB_ERROR_TIME_OUT, open());

    EXPECT_EQ(nullptr, handle);
    EXPECT_THAT(stopwatch.elapsed(), Lt(1500ms + kStall));
}

TEST_F(Session, FindsItsOwnWayToTheCameraWithoutAHostAddress) {
    info.hostIpAddr = 0;

    EXPECT_EQ(GEVLIB_OK, open());
}

TEST_F(Session, IsRefusedWhenThereIsNoDescriptionOrNone) {
    for (const char *xml : {"<garbage", "no description at all", "<Other/>", "", "no URL"}) {
        camera.describe(xml);
        if (xml == std::string("no URL"))
            camera.setUrls("");
        handle = &info;
        testing::internal::CaptureStderr();

        EXPECT_EQ(GEVLIB_ERROR_NO_DESCRIPTION, open()) << xml;

        EXPECT_EQ(nullptr, handle);
        EXPECT_THAT(KxGigeCause(), StartsWith("its description cannot be used")) << xml;
        EXPECT_EQ(0u, camera.controlPrivilege());
        EXPECT_EQ("", testing::internal::GetCapturedStderr());
    }
}

TEST_F(Session, SaysNothingOnItsOwn) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();

    open();
    width().SetValue(3);
    GevCloseCamera(&handle);

    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(Session, WantsItsArguments) {
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevOpenCamera(&info, GevControlMode, nullptr));
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevOpenCamera(nullptr, GevControlMode, &handle));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, open(static_cast<GevAccessMode>(7)));
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevCloseCamera(nullptr));
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, GevCloseCamera(&handle));
    handle = &info;
    EXPECT_EQ(nullptr, GevGetFeatureNodeMap(handle));
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, GevCloseCamera(&handle));
    EXPECT_EQ(nullptr, handle);
}

TEST_F(Session, RaisesARuntimeErrorWhenControlIsLost) {
    ASSERT_EQ(GEVLIB_OK, open());
    camera.dropControl();

    EXPECT_EQ(
        "Cannot write the camera's register 0x1000 for 'Width': control of it is lost: it has not "
        "heard from this program in time",
        raisedBy<GenICam_3_0::RuntimeException>([&] { width().SetValue(1); }));
}

TEST_F(Session, StopsAccessingACameraWhoseHeartbeatFoundControlGone) {
    camera.set(peer::kHeartbeatTimeout, 300);
    ASSERT_EQ(GEVLIB_OK, open());
    IInteger &feature = width();
    camera.dropControl();

    std::string error;
    EXPECT_TRUE(happens([&] {
        error = raisedBy<GenICam_3_0::RuntimeException>([&] { feature.GetValue(); });
        return error != "no exception";
    }));

    EXPECT_EQ(
        "Cannot use the camera: control of it is lost: it has not heard from this program in time",
        error);
}

TEST_F(Session, RaisesARuntimeErrorWhenAnotherProgramTookControl) {
    ASSERT_EQ(GEVLIB_OK, open());
    camera.giveControlTo(2, "127.9.9.9", 1);

    EXPECT_EQ("Cannot write the camera's register 0x1000 for 'Width': access denied (0x8006)",
              raisedBy<GenICam_3_0::RuntimeException>([&] { width().SetValue(1); }));

    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));
    EXPECT_EQ(2u, camera.controlPrivilege()); // the other program's
}

// Without a scripted camera, whose socket for broadcasts hears everything sent to this machine.
TEST(Nobody, CanBeOpened) {
    GEV_CAMERA_INFO info = recordOf("127.0.0.2");
    GEV_CAMERA_HANDLE handle = &info;
    const Stopwatch stopwatch;
    testing::internal::CaptureStderr();

    EXPECT_EQ(GEVLIB_ERROR_NO_CAMERA, GevOpenCamera(&info, GevControlMode, &handle));

    EXPECT_EQ(nullptr, handle);
    EXPECT_THAT(stopwatch.elapsed(), Lt(kStall));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

} // namespace
