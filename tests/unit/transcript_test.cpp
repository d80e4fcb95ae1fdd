// Whole probes at level debug, compared byte for byte with the files in transcripts/: what a log
// tool gets to read. Those files are written by hand, from the messages and from the values
// scripted here; none is a recording. NAME.stdout.txt is all that came to standard output.
// NAME.syslog.txt is all that came to the system log, one message after the other, each behind its
// priority and a blank; a message brings its own line end or, as two kinds of camera errors, has
// none.

#include "plug_in.h"

#include <fstream>
#include <iterator>

namespace {

std::string contents(const std::string &name) {
    std::ifstream file(std::string(TRANSCRIPTS "/") + name, std::ios::binary);
    EXPECT_TRUE(file) << "no transcript " << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string systemLog(const Logged &logged) {
    std::string all;
    for (const host::SystemLine &line : logged.system)
        all += std::to_string(line.priority) + ' ' + line.text;
    return all;
}

class Transcript : public Probe {
protected:
    Transcript() { framework.sees({{"Teledyne DALSA", "Nano-M2020", "S1234"}}); }

    // Probes the camera whose serial number begins with S12.
    void expect(const std::string &name) {
        const Logged both = probe("S12");
        EXPECT_EQ(0, exitCode);
        EXPECT_EQ(contents(name + ".stdout.txt"), both.out);
        EXPECT_EQ(contents(name + ".syslog.txt"), systemLog(both));
    }

    void describeTable(const char *type, double gammaStep) {
        camera.enumeration("lutType", type, {"UserDefined", "GammaCorrection"});
        camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp12"});
        camera.floating("gammaCorrection", 0.45)
            .range(0.25, 4.0, gammaStep)
            .onlyWhile("lutType", "GammaCorrection");
    }
    void describeTableMode(const char *mode) {
        camera.enumeration("lutMode", mode, {"Off", "Active"});
    }
};

// The temperature is read once for each sink, and for the system log first.
TEST_F(Transcript, OfACameraWithEverything) {
    describeWholeCamera(camera);
    camera.floating("DeviceTemperature", 0).readings({41.25, 41.5});
    framework.featureValue("PixelFormat", 0x01080001);
    expect("whole_camera");
}

TEST_F(Transcript, OfACameraWithNothingButANodeMap) {
    expect("nothing_but_a_node_map");
}

TEST_F(Transcript, OfACameraWhoseLookupTableIsOff) {
    describeTable("UserDefined", 0.05);
    describeTableMode("Off");
    expect("table_off");
    EXPECT_EQ("Off", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(Transcript, OfACameraThatAppliesAUserTable) {
    describeTable("UserDefined", 0.25);
    describeTableMode("Active");
    expect("user_table");
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("UserDefined", camera.value("lutType"));
    EXPECT_EQ("Bpp12", camera.value("lutSize"));
}

TEST_F(Transcript, OfACameraThatAppliesItsGamma) {
    describeTable("GammaCorrection", 0.25);
    describeTableMode("Active");
    expect("gamma_on");
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(Transcript, OfACameraThatDoesNotTellWhatItsTableDoes) {
    describeTable("GammaCorrection", 0.25);
    expect("table_state_unknown");
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(Transcript, OfACameraThatShowsTheTemperatureOfAnotherSensor) {
    camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
    camera.floating("DeviceTemperature", 0)
        .selectedBy("DeviceTemperatureSelector", {{"Internal", 41.25}, {"Mainboard", 55.5}});
    expect("mainboard_temperature");
    EXPECT_EQ("Internal", camera.value("DeviceTemperatureSelector"));
}

TEST_F(Transcript, OfAForeignCameraThatIsFoundBeforeADalsaOne) {
    framework.sees(
        {{"Acme", "Eye-7", "S1299", "3.1", 0}, {"Teledyne DALSA", "Nano-M2020", "S1234"}});
    expect("foreign_camera");
}

TEST_F(Transcript, OfACameraWithoutANodeMap) {
    framework.nodeMap(NodeMap::None).featureValue("PixelFormat", 0x01080001);
    expect("no_node_map");
}

TEST_F(Transcript, OfACameraWithNoMapBehindItsReference) {
    framework.nodeMap(NodeMap::WithoutMap);
    expect("empty_node_map_reference");
}

// The two messages without a line end: the next one follows on the same line.

TEST_F(Transcript, OfACameraThatFailsToTellARange) {
    camera.floating("ExposureTime", 5000.0).raises(Op::GetMin, Fault::Property);
    expect("property_error");
}

TEST_F(Transcript, OfACameraThatDoesNotKnowTheGammaCurve) {
    camera.enumeration("lutType", "UserDefined", {"UserDefined"});
    camera.floating("gammaCorrection", 0.45);
    describeTableMode("Off");
    expect("gamma_curve_unknown");
    EXPECT_EQ("Off", camera.value("lutMode"));
    EXPECT_EQ("UserDefined", camera.value("lutType"));
}

} // namespace
