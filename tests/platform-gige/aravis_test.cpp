// The platform with a camera that is not ours: Aravis' fake GigE Vision camera.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "support.h"

extern char **environ;

namespace {

using GenApi_3_0::CNodeMapRef;
using GenApi_3_0::IEnumeration;
using GenApi_3_0::IFloat;
using GenApi_3_0::IInteger;
using GenApi_3_0::IValue;

class ForeignCamera : public testing::Test {
protected:
    ForeignCamera() {
        setenv("KXGIGE_DISCOVERY_MS", "100", 1);
        const char *arguments[] = {
            KXINFO_ARV_FAKE_CAMERA, "-i", "127.0.0.1", "-s", "FAKE7", nullptr};
        EXPECT_EQ(0, posix_spawn(&camera_, arguments[0], nullptr, nullptr,
                                 const_cast<char **>(arguments), environ));
    }

    ~ForeignCamera() override {
        GevApiUninitialize();
        kill(camera_, SIGKILL);
        waitpid(camera_, nullptr, 0);
    }

    // Until the camera is on the wire.
    void discover() {
        int count = 0;
        ASSERT_TRUE(happens([&] { return GevGetCameraList(&info, 1, &count) || count == 1; }));
        ASSERT_EQ(1, count);
    }

    template <class Interface>
    Interface &as(const char *name) {
        auto *map = static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(handle));
        return dynamic_cast<Interface &>(*map->_GetNode(name));
    }

    GEV_CAMERA_INFO info{};
    GEV_CAMERA_HANDLE handle = nullptr;

private:
    pid_t camera_ = 0;
};

TEST_F(ForeignCamera, IsFoundOpenedReadAndWritten) {
    discover();
    EXPECT_STREQ("Aravis", info.manufacturer);
    EXPECT_STREQ("FAKE7", info.serial);
    EXPECT_EQ(0x7f000001u, info.ipAddr);

    ASSERT_EQ(GEVLIB_OK, GevOpenCamera(&info, GevControlMode, &handle));

    EXPECT_EQ("Aravis", std::string(as<IValue>("DeviceVendorName").ToString()));
    EXPECT_EQ(512, as<IInteger>("Width").GetValue());
    EXPECT_EQ(1, as<IInteger>("Width").GetMin());
    EXPECT_EQ(2048, as<IInteger>("Width").GetMax());
    as<IInteger>("Width").SetValue(640);
    EXPECT_EQ(640, as<IInteger>("Width").GetValue(false, true));
    EXPECT_THROW(as<IInteger>("Width").SetValue(4096), GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("Mono8", std::string(as<IEnumeration>("PixelFormat").ToString()));
    as<IEnumeration>("PixelFormat").FromString("Mono16");
    EXPECT_EQ("Mono16", std::string(as<IEnumeration>("PixelFormat").ToString(false, true)));
    as<IFloat>("AcquisitionFrameRate").SetValue(10);
    EXPECT_DOUBLE_EQ(10, as<IFloat>("AcquisitionFrameRate").GetValue(false, true));
    int32_t width = 0;
    EXPECT_EQ(GEVLIB_OK, GevGetFeatureValue(handle, "Width", nullptr, sizeof width, &width));
    EXPECT_EQ(640, width);
}

TEST_F(ForeignCamera, IsControlledByOneAtATime) {
    discover();
    ASSERT_EQ(GEVLIB_OK, GevOpenCamera(&info, GevControlMode, &handle));
    GEV_CAMERA_HANDLE second = nullptr;
    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, GevOpenCamera(&info, GevControlMode, &second));

    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));

    EXPECT_EQ(GEVLIB_OK, GevOpenCamera(&info, GevControlMode, &second));
}

} // namespace
