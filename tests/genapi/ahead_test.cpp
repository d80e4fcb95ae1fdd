// Registers that are read before anybody asks, as all will be.

#include <gmock/gmock.h>

#include <algorithm>

#include "genapi/bounds.h"
#include "genapi/errors.h"
#include "support.h"

namespace {

using std::string;
using testing::ElementsAre;

// Registers side by side from an address on, R0, R1, ...
string registers(size_t count, size_t from = 0, const char *order = "big") {
    string all;
    for (size_t i = 0; i < count; ++i)
        all += "IntReg R" + std::to_string(from / 4 + i) + " @" + std::to_string(from + 4 * i) +
               ":: unsigned " + order + " ";
    return all;
}

struct Ahead : Camera {
    explicit Ahead(const string &elements, genapi::Use use = genapi::Use::Control)
        : Camera(elements, use) {
        memory.readsApart = true;
    }

    /** What reading ahead asks the camera for. */
    string readAhead() {
        map.readAhead();
        return memory.accesses();
    }
    /** What the camera is asked for when these are read. */
    string readingOf(const string &names) {
        gets(names);
        return memory.accesses();
    }
};

TEST(Ahead, ReadsOnceWhatMayBeKeptWhereverItLiesInBothByteOrders) {
    Ahead camera(registers(2) + "IntReg Far @1000:: unsigned big " + registers(2, 8, "little") +
                 "IntReg NoCache @100 unsigned big IntReg Write @104:WO: unsigned big "
                 "IntReg Polled @108::WriteThrough PollingTime=9 unsigned big "
                 "IntReg Conditioned pIsAvailable=R0 @112:: unsigned big "
                 "IntReg Short @116+2:: unsigned big");
    camera.memory.put32(0, 1);
    camera.memory.put(4, {1, 2, 3, 4});
    camera.memory.put(8, {1, 2, 3, 4});

    EXPECT_EQ("a0,4,1000 l8,12", camera.readAhead());
    EXPECT_THAT(camera.gets("R0 R1 R2 R3 Far"), ElementsAre(1, 0x01020304, 0x04030201, 0, 0));
    EXPECT_EQ("", camera.memory.accesses());
    EXPECT_EQ("", camera.readAhead()) << "as all is there";
    EXPECT_EQ("r100 r112", camera.readingOf("NoCache Conditioned"));

    EXPECT_EQ("", camera.set("R1", 7));
    EXPECT_EQ("w4", camera.memory.accesses());
    EXPECT_EQ("", camera.readingOf("R0 R1 Far")) << "a write forgets what it does to others alone";
}

TEST(Ahead, TakesAsManyAtOnceAsAnAccessDoesAndSoManyInAll) {
    constexpr size_t kAtOnce = genapi::kMostTogether / 4;
    for (const size_t count : {genapi::kMostAhead, genapi::kMostAhead + 1}) {
        Ahead camera(registers(count));
        const string accesses = camera.readAhead();
        EXPECT_EQ(genapi::kMostAhead / kAtOnce,
                  1 + static_cast<size_t>(std::count(accesses.begin(), accesses.end(), ' ')));
        EXPECT_EQ(static_cast<ptrdiff_t>(genapi::kMostAhead - genapi::kMostAhead / kAtOnce),
                  std::count(accesses.begin(), accesses.end(), ','));
        const string last = std::to_string(4 * (count - 1));
        EXPECT_EQ(count == genapi::kMostAhead ? "" : "r" + last,
                  camera.readingOf("R" + std::to_string(count - 1)));
    }
}

TEST(Ahead, FindsWhatTheCameraDoesNotHaveByHalves) {
    Ahead camera(registers(8));
    camera.memory.missing = {12};

    EXPECT_EQ("a0,4,8,12,16,20,24,28 a0,4,8,12 a0,4 a8,12 a8 a12 a16,20,24,28", camera.readAhead());
    EXPECT_EQ("r12", camera.readingOf("R0 R1 R2 R3 R4 R5 R6 R7"));
}

TEST(Ahead, GivesUpAfterSoManyRefusals) {
    // To find n that are missing among n or n + 1 takes 2n - 1 refusals or one more; and one of two
    // takes two.
    for (const size_t present : {size_t{0}, size_t{1}}) {
        constexpr size_t kMissing = (genapi::kMostRefusals - 2) / 2;
        const size_t count = kMissing + present;
        Ahead camera(registers(count) + registers(2, 1000, "little"));
        for (size_t i = 0; i < kMissing; ++i)
            camera.memory.missing.insert(4 * i);
        camera.memory.missing.insert(1000);
        camera.map.readAhead();
        camera.memory.accesses();
        EXPECT_EQ(present == 0 ? "" : "r1004", camera.readingOf("R251")) << present;
    }
}

TEST(Ahead, KeepsNothingWhereAnotherProgramControlsTheCamera) {
    Ahead camera(registers(3), genapi::Use::Monitor);
    EXPECT_EQ("", camera.readAhead());
    EXPECT_EQ("r0 r0", camera.readingOf("R0 R0"));
}

TEST(Ahead, IsNoMatterToAPortThatCannot) {
    Ahead camera(registers(300));
    camera.memory.readsApart = false;
    EXPECT_EQ("", camera.readAhead());
    EXPECT_EQ("r0", camera.readingOf("R0"));
}

TEST(Ahead, LetsThePortsExceptionsPass) {
    Ahead camera(registers(3));
    camera.memory.before = [](char, uint64_t) {
        KXGENAPI_RAISE(TimeoutException, "%s", "no answer");
    };
    EXPECT_EQ("Timeout", raised([&] { camera.map.readAhead(); }));
    camera.memory.before = nullptr;
    camera.memory.accesses();
    EXPECT_EQ("r0", camera.readingOf("R0"));
}

} // namespace
