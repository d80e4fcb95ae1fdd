// Networks with more than one camera, and cameras that cannot be had.

#include "wire.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class Network : public Wire {};

TEST_F(Network, ShowsEightOfNineCameras) {
    std::vector<std::string> arguments;
    std::string listing = "Printing all Dalsa devices information found:\n";
    for (int i = 0; i < 9; ++i) {
        const std::string serial = "S" + std::to_string(i) + "0";
        arguments.insert(arguments.end(), {"--camera", serial + "@127.0.0.1" + std::to_string(i)});
        if (i < 8)
            listing += listed(i, serial);
    }
    const Simcam cameras(arguments);

    EXPECT_EQ((Result{0, listing, ""}), kxinfo({"list"}));
    EXPECT_EQ(0, kxinfo({"probe", "S7"}).status);
    const Result ninth = probeWithLog("S8"); // how its number begins
    EXPECT_EQ(1, ninth.status);
    EXPECT_THAT(ninth.out, HasSubstr("Configured device with SerialID \"S8\" is not found\n"));
}

TEST_F(Network, NumbersADalsaCameraByItsPlaceBehindAForeignOne) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2", "--vendor", "DALSA",
                          "--camera", "S1@127.0.0.3"});

    EXPECT_EQ((Result{0, "Printing all Dalsa devices information found:\n" + listed(1, "S1"), ""}),
              kxinfo({"list"}));
}

TEST_F(Network, OpensAForeignCameraIfItsSerialFitsAndADalsaOneIsThere) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2", "--vendor", "DALSA",
                          "--camera", "S1@127.0.0.3"});

    const Result result = probeWithLog("X");

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: Vendor           : Other\n"));
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: DeviceSerialID   : X1\n"));
}

TEST_F(Network, FindsNoDalsaCameraAmongForeignOnes) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2"});

    const Result result = kxinfo({"probe", "X1", "--log", "stdout", "--level", "info"});

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("no any Dalsa devices found\n", result.out);
}

TEST_F(Network, CannotOpenACameraThatSomeoneElseControls) {
    const Simcam cameras({"--camera", "S1@127.0.0.2"});
    Client other;
    ASSERT_EQ("0000", other.write(0x0A00, 2));

    const Result refused = probeWithLog("S1");
    ASSERT_EQ("0000", other.write(0x0A00, 0));
    const Result afterwards = probeWithLog("S1");

    EXPECT_EQ(1, refused.status);
    EXPECT_EQ("[CIPROC:d]: init Dalsa staff\n"
              "[CIPROC:d]: 0. Vendor \"Dalsa\", Model \"C1936\", Serial \"S1\"\n"
              "[CIPROC:d]: Check configured Serial \"S1\" with \"S1\" (result 0)\n"
              "[CIPROC:w]: Can't connect to device with SerialID \"S1\"\n"
              "[CIPROC:d]: Loop completed (exitCode = 1)\n",
              refused.out);
    EXPECT_EQ(0, afterwards.status);
}

TEST_F(Network, EndsAProbeOfACameraThatGoesSilentWithWhatItHasPublished) {
    int commands = 0;
    {
        Simcam camera({"--camera", "S1@127.0.0.2"});
        ASSERT_EQ(0, kxinfo({"probe", "S1"}).status);
        commands = commandsIn(camera.stop().output);
    }
    const Simcam camera(
        {"--silent-after", std::to_string(commands * 3 / 4), "--camera", "S1@127.0.0.2"});

    const Result result = probeWithLog("S1");

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, HasSubstr(" - GenApi: Timeout Exception "));
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: Finished loop with: status=-6, rc=0\n"));
    EXPECT_THAT(result.out, HasSubstr("[CIPROC:d]: device is disconnected\n"));
    EXPECT_THAT(result.out, HasSubstr("Horizontal offset "));
    EXPECT_THAT(result.out, Not(HasSubstr("Output line ")));
    EXPECT_THAT(result.err, HasSubstr("KxScParamOutLines"));
}

} // namespace
