#include "hostile.h"

#include <atomic>
#include <thread>

void expectOrderly(const Ending &ending) {
    EXPECT_GE(ending.status, 0) << "a signal ended it\n" << ending;
    EXPECT_LT(ending.took, std::chrono::seconds(10)) << ending;
    if (!KXINFO_SANITIZED) {
        EXPECT_LT(ending.memory, kMostMemory) << ending;
    }
}

Ending Hostile::kxinfo(const std::vector<std::string> &arguments) {
    Ending ending = Child(arguments).wait();
    expectOrderly(ending);
    EXPECT_FALSE(camera.isControlled()) << ending;
    return ending;
}

std::string Hostile::probed() {
    const Ending ending = kxinfo({"probe", "S1234", "--json"});
    EXPECT_EQ(0, ending.status) << ending;
    return ending.out;
}

void Hostile::expectRefusal(const testing::Matcher<std::string> &why, std::chrono::seconds within) {
    const Ending ending = kxinfo({"get", "S1234", "Width"});
    EXPECT_GT(ending.status, 0) << ending;
    EXPECT_THAT(ending.err, why) << ending;
    EXPECT_LT(ending.took, within) << ending;
}

void sideBySide(int first, int last,
                const std::function<void(int number, Device &camera, const Environment &)> &work) {
    constexpr int kAtATime = 8;
    std::atomic<int> next{first};
    std::vector<std::thread> threads;
    for (int i = 0; i < kAtATime; ++i) {
        threads.emplace_back([&, address = "127.0.1." + std::to_string(1 + i)] {
            for (int number = next++; number <= last; number = next++) {
                SCOPED_TRACE(number);
                Device camera(address);
                work(number, camera, {{"KXGIGE_ADDRESSES", address}});
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}
