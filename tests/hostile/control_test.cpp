// Control of a camera: what others hold, and what a killed process leaves.

#include <arpa/inet.h>

#include <cstdlib>
#include <thread>

#include "GenApi/GenApi.h"
#include "gevapi.h"
#include "hostile.h"
#include "kxgige.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::Lt;

// A camera that another program controls, but not exclusively; the platform in this process.
class Controlled : public testing::Test {
protected:
    Controlled() {
        setenv("XDG_CACHE_HOME", cache_.path().c_str(), 1);
        camera.controlFrom("127.9.9.9", 40123);
        info.ipAddr = ntohl(inet_addr("127.0.0.2"));
        info.hostIpAddr = INADDR_LOOPBACK;
    }
    ~Controlled() override { GevApiUninitialize(); }

    int writes() const {
        int count = 0;
        for (const Command &command : camera.received())
            count += command.code == kWriteRegister || command.code == kWriteMemory;
        return count;
    }

    Device camera{"127.0.0.2"};
    GEV_CAMERA_INFO info{};
    GEV_CAMERA_HANDLE handle = nullptr;

private:
    ScratchFolder cache_;
};

TEST_F(Controlled, CameraIsReadByAMonitorThatNeverWrites) {
    ASSERT_EQ(GEVLIB_OK, GevOpenCamera(&info, GevMonitorMode, &handle)) << KxGigeCause();
    int32_t width = 0;
    EXPECT_EQ(GEVLIB_OK, GevGetFeatureValue(handle, "Width", nullptr, sizeof width, &width));
    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));

    EXPECT_EQ(1936, width);
    EXPECT_EQ(0, writes());
    EXPECT_TRUE(camera.isControlled());
}

TEST_F(Controlled, CameraIsNotOpenedForControlAndNamesWhoHasIt) {
    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, GevOpenCamera(&info, GevControlMode, &handle));

    EXPECT_STREQ("another program controls it (127.9.9.9, port 40123)", KxGigeCause());
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(0, writes());
    EXPECT_TRUE(camera.isControlled());
}

class Killed : public testing::Test {};

TEST_F(Killed, HostLeavesTheCameraFreeOnceItsOwnHeartbeatTimeoutHasPassed) {
    constexpr uint32_t kTimeout = 700;
    Device camera("127.0.0.2");
    camera.set(reg::kHeartbeatTimeout, kTimeout);
    std::mutex mutex;
    Child *child = nullptr;
    std::optional<Clock::time_point> killed;
    std::optional<sockaddr_in> host;
    camera.onCommand([&](const Command &command, const Device::Answer &answer) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (command.reads(reg::kWidth) && !killed) {
            child->kill();
            killed = Clock::now();
            host = command.from;
        }
        return killed ? std::vector<Bytes>{} : std::vector<Bytes>{answer()};
    });
    std::unique_lock<std::mutex> lock(mutex);
    Child probing({"probe", "S1234"});
    child = &probing;
    lock.unlock();

    EXPECT_EQ(-SIGKILL, probing.wait().status);

    ASSERT_TRUE(killed);
    EXPECT_TRUE(camera.isControlled());
    const size_t before = camera.received().size();
    while (camera.isControlled() && Clock::now() < *killed + 2s)
        std::this_thread::sleep_for(5ms);
    EXPECT_THAT(Clock::now() - *killed, Lt(std::chrono::milliseconds(kTimeout) + 100ms));
    EXPECT_EQ(before, camera.received().size());
    EXPECT_EQ(kTimeout, camera.get(reg::kHeartbeatTimeout));
    for (const Command &command : camera.received())
        EXPECT_FALSE(command.writes(reg::kHeartbeatTimeout));
    camera.onCommand({});
}

} // namespace
