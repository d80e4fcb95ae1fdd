// kxinfo gamma: shows gamma, or sets it and switches the lookup table to it.

#include "watched_camera.h"
#include "wire.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Gamma : public Wire {
protected:
    static Result done(const std::string &text) {
        return {0, "Camera S1234 (C1936)\nGamma: " + text + "\n", ""};
    }
};

TEST_F(Gamma, IsShownAndNothingChangedInWhateverState) {
    WatchedCamera camera({smallTables()});
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        const bool on = before.find("lutMode = Active\n") != before.npos &&
                        before.find("lutType = GammaCorrection\n") != before.npos;

        const bool hasRange = before.find("lutType = GammaCorrection\n") != before.npos;
        EXPECT_EQ(done(std::string(on ? "0.45" : "disabled") +
                       (hasRange ? " (a number, 0.25 to 4)" : "")),
                  kxinfo({"gamma", "S1234"}));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Gamma, IsSetAndSwitchedOnFromWhateverTheTableDoes) {
    WatchedCamera camera;
    EXPECT_EQ(done("disabled -> 0.6"), kxinfo({"gamma", "S1234", "0.6"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("gammaCorrection: 0.45 -> 0.6", "lutMode: Off -> Active",
                            "lutType: UserDefined -> GammaCorrection"));

    EXPECT_EQ(done("0.6 -> 4"), kxinfo({"gamma", "S1234", "4"}));
    EXPECT_THAT(camera.changes(), ElementsAre("gammaCorrection: 0.6 -> 4"));

    camera.write({{reg::kLutType, 0}});
    EXPECT_EQ(done("disabled -> 4"), kxinfo({"gamma", "S1234", "4"}));
    EXPECT_THAT(camera.changes(), ElementsAre("lutType: UserDefined -> GammaCorrection"));

    camera.write({{reg::kLutMode, 0}});
    EXPECT_EQ(done("disabled -> 0.25"), kxinfo({"gamma", "S1234", "0.25"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("gammaCorrection: 4 -> 0.25", "lutMode: Off -> Active"));
    EXPECT_EQ(done("0.25"), kxinfo({"gamma", "S1234", "0.25"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Gamma, IsRefusedOutsideItsRangeAndNothingChangedInWhateverState) {
    WatchedCamera camera({smallTables()});
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        for (const std::string value : {"0.2", "4.03", "nan", "bright"}) {
            const Result result = kxinfo({"gamma", "S1234", value});
            EXPECT_EQ(2, result.status);
            EXPECT_THAT(result.err, testing::StartsWith(
                                        "kxinfo: gammaCorrection=" + value +
                                        " is not possible; expected is a number, 0.25 to 4.\n"));
        }
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Gamma, IsMissedOnACameraWithoutIt) {
    {
        WatchedCamera camera({without("gammaCorrection")});
        EXPECT_EQ(
            (Result{3, "", "kxinfo: this camera has no gamma: the camera has no such feature.\n"}),
            kxinfo({"gamma", "S1234"}));
        EXPECT_THAT(camera.changes(), IsEmpty());
    }
}

TEST_F(Gamma, IsShownButNotSetWhereWhatTheTableDoesCannotBeRead) {
    WatchedCamera camera({without("lutType"), alwaysAvailable("TableIsGamma")});
    EXPECT_EQ((Result{0, "Camera S1234 (C1936)\nGamma: 0.45 (a number, 0.25 to 4)\n", ""}),
              kxinfo({"gamma", "S1234"}));
    EXPECT_EQ((Result{3, "",
                      "kxinfo: lutType cannot be set: the camera has no such feature.\n"
                      "kxinfo: what had been set is put back: lutMode, gammaCorrection.\n"}),
              kxinfo({"gamma", "S1234", "1"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Gamma, IsRefusedByTheCameraWhichStaysAsItWas) {
    WatchedCamera camera({refusesWrites("gammaCorrection")});
    const std::string before = camera.snapshot();

    EXPECT_EQ((Result{3, "",
                      "kxinfo: camera S1234 refuses: Cannot write the camera's register 0x904 for "
                      "'gammaCorrection': the register cannot be written (0x8004).\n"
                      "kxinfo: what had been set is put back: lutType, lutMode.\n"}),
              kxinfo({"gamma", "S1234", "1"}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Gamma, IsNotSetWhenTheCameraFallsSilent) {
    const Result result = whenSilentHalfway({"gamma", "S1234", "1"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
}

} // namespace
