// Which camera a command opens, and what it says when it opens none. All commands on one camera
// choose it alike; 'lut show' stands for them.

#include "watched_camera.h"
#include "wire.h"

namespace {

class CameraChoice : public Wire {
protected:
    static Result chosenBy(const std::string &serial) { return kxinfo({"lut", serial, "show"}); }

    static Result opened(const std::string &serial) {
        return {0, "Camera " + serial + " (C1936)\nLookup table: off\n", ""};
    }

    static Result none(const std::string &why) { return {1, "", "kxinfo: " + why + "\n"}; }
};

TEST_F(CameraChoice, TakesTheOnlyOneWhoseSerialNumberBeginsSo) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});

    EXPECT_EQ(opened("S1234"), chosenBy("S12"));
    EXPECT_EQ(opened("S5678"), chosenBy("S5678"));
}

TEST_F(CameraChoice, TakesTheOnlyCameraForNoSerialNumber) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});

    EXPECT_EQ(opened("S1234"), chosenBy(""));
}

TEST_F(CameraChoice, TakesTheWholeSerialNumberThoughAnotherBeginsWithIt) {
    const Simcam cameras({"--camera", "S10@127.0.0.2", "--camera", "S1@127.0.0.3"});

    EXPECT_EQ(opened("S1"), chosenBy("S1"));
    EXPECT_EQ(opened("S10"), chosenBy("S10"));
}

TEST_F(CameraChoice, NamesThoseThatFitWhenThereAreSeveral) {
    const Simcam cameras(
        {"--camera", "S10@127.0.0.2", "--camera", "S11@127.0.0.3", "--camera", "T1@127.0.0.4"});

    EXPECT_EQ(none("several cameras have a serial number that begins with \"S1\": S10, S11. Give "
                   "the whole number of one of them."),
              chosenBy("S1"));
    EXPECT_EQ(none("several cameras answered: S10, S11, T1. Give the serial number of one of "
                   "them."),
              chosenBy(""));
}

TEST_F(CameraChoice, NamesThoseThatAreThereWhenNoneFits) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});

    EXPECT_EQ(none("no Dalsa camera has a serial number that begins with \"S12345\"; found: S1234, "
                   "S5678."),
              chosenBy("S12345"));
}

TEST_F(CameraChoice, LeavesCamerasOfOtherMakersAlone) {
    const Simcam cameras({"--vendor", "Other", "--camera", "S1@127.0.0.2", "--vendor",
                          "TELEDYNE DALSA", "--camera", "S12@127.0.0.3"});

    EXPECT_EQ(opened("S12"), chosenBy(""));
    EXPECT_EQ(opened("S12"), chosenBy("S1"));
}

TEST_F(CameraChoice, SaysThatNoDalsaCameraAnswers) {
    const Result nobody = none("no Dalsa camera answered. Check that the camera has power, is on "
                               "this computer's network, and that no firewall keeps its answer "
                               "away; then try again.");
    EXPECT_EQ(nobody, chosenBy("S1234"));
    const Simcam camera({"--vendor", "Other", "--camera", "S1234@127.0.0.2"});
    EXPECT_EQ(nobody, chosenBy("S1234"));
}

TEST_F(CameraChoice, SaysThatAnotherProgramControlsTheCamera) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});
    Client other;
    other.write(0xA00, 2); // control privilege, kept for the heartbeat's three seconds

    const Result result = chosenBy("S1234");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(
        result.err,
        testing::MatchesRegex(
            "kxinfo: camera S1234 cannot be opened: another program controls it"
            " \\(127\\.0\\.0\\.1, port [0-9]+\\)"
            "\\. End that program, or wait some seconds if it crashed, and try again\\.\n"));
}

TEST_F(CameraChoice, OpensNoneForWhatIsWrongWithoutIt) {
    const TemporaryFolder folder;
    const std::string none = folder.path() + "/none";
    const struct {
        std::vector<std::string> command;
        std::string why;
    } cases[] = {
        {{"get", "S1", "Gane"},
         "there is no property \"Gane\"; did you mean Gain? 'kxinfo get SERIAL' shows all of "
         "them."},
        {{"set", "S1", "Gain=6", "BalanceRatio=1"},
         "\"BalanceRatio\" names several properties; write BalanceRatio[Red] or "
         "BalanceRatio[Blue]."},
        {{"set", "S1", "Gain"},
         "\"Gain\" is no setting; expected is PROPERTY=VALUE, for example Gain=6. Run 'kxinfo get "
         "SERIAL' to see properties and ranges."},
        {{"auto", "S1", "on", "--target", "1.5"},
         "--target is 1.5; expected is 0 (black) to 1 (white)."},
        {{"auto", "S1", "on", "--target", "nan"},
         "--target is \"nan\"; expected is a number, for example 0.5."},
        {{"auto", "S1", "on", "--gain", "3"},
         "--gain is \"3\"; expected is MIN..MAX, for example 100..20000."},
        {{"auto", "S1", "off", "--gain", "0..3"},
         "--target, --gain and --exposure belong to 'auto SERIAL on'. To change a limit alone, use "
         "'kxinfo set'."},
        {{"lut", "S1", "load", none},
         "\"" + none + "\" cannot be read: No such file or directory."},
        {{"lut", "S1", "load"},
         "'lut SERIAL load' needs the file with the table's values. Run 'kxinfo lut --help' for "
         "its form."},
        {{"lut", "S1", "off", none},
         "'lut SERIAL off' takes no file; 'lut SERIAL load FILE' does."},
        {{"restore", "S1", none}, "\"" + none + "\" cannot be read: No such file or directory."},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ((Result{2, "", "kxinfo: " + wrong.why + "\n"}), kxinfo(wrong.command));
}

TEST_F(CameraChoice, SaysThatACamerasDescriptionCannotBeUsed) {
    const TemporaryFolder folder;
    const std::string none = folder.file("model.xml", "<RegisterDescription/>");
    const Simcam camera({"--description", none, "--camera", "S1234@127.0.0.2"});

    EXPECT_EQ((Result{1, "",
                      "kxinfo: camera S1234 cannot be opened: its description cannot be used "
                      "(<RegisterDescription> has no ModelName). Try again, since a packet may "
                      "have been lost; if it stays so, the camera needs other firmware.\n"}),
              chosenBy("S1234"));
}

} // namespace
