// How many commands of the protocol a command of kxinfo takes between opening and closing a camera.

#include "watched_camera.h"
#include "wire.h"

namespace {

using Command = std::vector<std::string>;

class Commands : public Wire {
protected:
    // What the camera has answered, without what looks for cameras.
    static int total(std::map<std::string, int> counts) {
        return counts["readreg"] + counts["writereg"] + counts["readmem"] + counts["writemem"];
    }

    static std::map<std::string, int> countsOf(const Command &command) {
        WatchedCamera camera;
        (void)kxinfo(command);
        return camera.stopAndCount();
    }
};

TEST_F(Commands, AreNoMoreThanTheWorkNeeds) {
    const struct {
        Command command;
        int most; // beyond those that opening and closing take
    } cases[] = {
        {{"set", "S1234", "Gain=6"}, 8},
        {{"auto", "S1234", "on", "--target", "0.25", "--gain", "0..6", "--exposure", "200..20000"},
         45},
        {{"get", "S1234", "Width"}, 3},
        {{"get", "S1234"}, 12},
        {{"gamma", "S1234", "0.8"}, 10},
        {{"tree", "S1234"}, 50},
    };
    for (const auto &[command, most] : cases) {
        const bool looks = command.front() == "get" || command.front() == "tree";
        const Command opening = {looks ? "get" : "set", "S1234",
                                 looks ? "NoSuchFeature" : "NoSuchFeature=1"};
        (void)countsOf(opening); // the description is known from here on
        EXPECT_LE(total(countsOf(command)) - total(countsOf(opening)), most)
            << testing::PrintToString(command);
    }
}

TEST_F(Commands, WriteNothingWhereACameraIsOnlyLookedAt) {
    for (const Command &command : {Command{"get", "S1234"},
                                   {"list"},
                                   {"doctor"},
                                   {"address", "S1234"},
                                   {"gamma", "S1234"},
                                   {"lut", "S1234"},
                                   {"auto", "S1234"},
                                   {"save", "S1234", "/dev/null"},
                                   {"diff", "S1234", "S1234"},
                                   {"tree", "S1234"},
                                   {"tree", "S1234", "LUTValue", "--json"},
                                   {"xml", "S1234"},
                                   {"watch", "S1234", "Gain", "--count", "3", "--interval", "0.05"},
                                   {"watch", "S1234", "--metrics"}}) {
        auto counts = countsOf(command);
        EXPECT_EQ(0, counts["writereg"] + counts["writemem"]) << testing::PrintToString(command);
        EXPECT_EQ(0, counts["refused"]) << testing::PrintToString(command);
    }
}

} // namespace
