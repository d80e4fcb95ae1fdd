// What a killed process leaves.

#include <csignal>
#include <fstream>
#include <optional>

#include "hostile.h"

namespace {

TEST(Killed, HostLeavesTheCameraFreeOnceItsOwnHeartbeatTimeoutHasPassed) {
    constexpr uint32_t kTimeout = 1200;
    Camera camera("127.0.0.2");
    camera.set(peer::kHeartbeatTimeout, kTimeout);
    const ScratchFolder folder;
    const std::string pidFile = folder.path() + "/pid";
    std::optional<Stopwatch> sinceKilled;
    camera.behave([&](const Received &command, const Good &good) {
        if (command.reads(kWidth) && !sinceKilled) {
            pid_t pid = 0;
            std::ifstream(pidFile) >> pid;
            EXPECT_GT(pid, 0);
            kill(pid, SIGKILL);
            sinceKilled.emplace();
        }
        return sinceKilled ? Replies() : Replies{{good()}};
    });

    EXPECT_EQ(
        -SIGKILL,
        run({"/bin/sh", "-c", "echo $$ > " + pidFile + "; exec " KXINFO_HOST " S1234"}).status);

    ASSERT_TRUE(sinceKilled);
    EXPECT_TRUE(camera.isControlled());
    const size_t before = camera.received().size();
    EXPECT_TRUE(happens([&] { return !camera.isControlled(); }));
    EXPECT_LT(sinceKilled->elapsed(), std::chrono::milliseconds(kTimeout) + kStall);
    EXPECT_EQ(before, camera.received().size());
    for (const Received &command : camera.received())
        EXPECT_FALSE(command.writes(peer::kHeartbeatTimeout));
    camera.behave(nullptr);
}

} // namespace
