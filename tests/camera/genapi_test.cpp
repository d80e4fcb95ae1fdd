// kxinfo save --format genapi, and restore and diff of such files.

#include "watched_camera.h"
#include "wire.h"

#include <fstream>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kNotCompared =
    "kxinfo: not compared, since a GenApi file has no place for it: the lookup table.\n";
const std::string kNothing = "Camera S1234 (C1936)\n"
                             "Nothing to restore: the camera is set as the file says.\n";

// Made by hand.
std::string given(const std::string &name) {
    return GENAPI_FILES "/" + name;
}

class GenApi : public Wire {
protected:
    static std::string saved(const WatchedCamera &camera, const std::string &name,
                             const std::vector<std::string> &options) {
        const std::string file = camera.folder().path() + "/" + name;
        std::vector<std::string> command{"save", "S1234", file};
        command.insert(command.end(), options.begin(), options.end());
        const Result result = kxinfo(command);
        EXPECT_EQ(0, result.status) << result;
        return file;
    }
};

TEST_F(GenApi, BringsEveryFeatureBackInWhateverStateTheCameraWas) {
    WatchedCamera camera({smallTables()});
    EXPECT_EQ(0, kxinfo({"set", "S1234", "Gain=7.123"}).status);
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        const std::string file = saved(camera, "all", {"--format", "genapi", "--switch"});
        EXPECT_EQ(before, camera.snapshot()) << "saving changes nothing";

        camera.write({{reg::kWidth, 640}, {reg::kBalanceWhiteAuto, 2}});
        for (const std::vector<std::string> &command : std::vector<std::vector<std::string>>{
                 {"auto", "S1234", "on", "--target", "0.25", "--gain", "3..6"},
                 {"gamma", "S1234", "2.5"},
                 {"set", "S1234", "PixelFormat=Mono10", "BlackLevel=9", "Gain=9",
                  "BalanceRatio[Red]=1", "TriggerMode=On"}})
            EXPECT_EQ(0, kxinfo(command).status);
        EXPECT_GE(changes(before, camera.snapshot()).size(), 12u);
        const Result result = kxinfo({"restore", "S1234", file});
        EXPECT_EQ(0, result.status) << result;
        EXPECT_THAT(result.out, AllOf(HasSubstr("PixelFormat: Mono10 -> Mono8\n"),
                                      HasSubstr("TriggerMode[FrameStart]: On -> Off\n")));
        EXPECT_EQ(before, camera.snapshot());
        EXPECT_EQ((Result{0, kNothing, ""}), kxinfo({"restore", "S1234", file}));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(GenApi, IsWrittenWithoutWritingToTheCameraUnlessToldTo) {
    WatchedCamera camera({smallTables()});
    const Result result = kxinfo({"save", "S1234", "-", "--format", "GenApi"});
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("# Device = Dalsa::C1936 -- GigE Vision camera -- Serial number = "
                                "S1234\nautoBrightnessMode\tOff\nWidth\t1936\n"),
                      HasSubstr("\nReverseX\t0\n"), HasSubstr("\nExposureTime\t10000.0\n"),
                      HasSubstr("\nGainSelector\tDigitalAll\nGain\t1.0\nBlackLevel\t0.0\n"
                                "BalanceRatioSelector\tGreen\nBalanceRatio\t1.0\n")));
    for (const char *other : {"Gev", "DeviceUserID", "TLParamsLocked", "LUTValue", "WidthMax",
                              "TriggerSoftware", "DeviceReset", "SensorAll"})
        EXPECT_THAT(result.out, Not(HasSubstr(other)));
    EXPECT_THAT(result.err, HasSubstr("kxinfo: left out, since a GenApi file has no place for it; "
                                      "see 'kxinfo lut save': the lookup table.\n"));
    EXPECT_EQ(2, kxinfo({"save", "S1234", "-", "--format", "xml"}).status);

    const std::string all = camera.folder().path() + "/all";
    EXPECT_EQ(0, kxinfo({"save", "--all", all, "--format", "genapi"}).status);
    EXPECT_EQ(result.out, readFile(all + "/S1234.txt"));
}

TEST_F(GenApi, IsTheSameAsAJsonFileOfTheCamera) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}});
    EXPECT_EQ(0, kxinfo({"set", "S1234", "Gain=7.123", "ExposureTime=123.4"}).status);
    for (const char *how : {"--switch", "--no-table"}) {
        const std::string json = saved(camera, "json", {how});
        const std::string genapi = saved(camera, "genapi", {how, "--format", "genapi"});
        EXPECT_EQ((Result{0, "", kNotCompared}), kxinfo({"diff", json, genapi}));
        EXPECT_EQ((Result{0, "", kNotCompared}), kxinfo({"diff", genapi, json}));
    }
}

TEST_F(GenApi, ComparesFeaturesOfTheCamerasOwn) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}});
    const std::string before = saved(camera, "before", {"--format", "genapi", "--switch"});
    const std::string own =
        camera.folder().file("own", "Width\t640\nPixelFormat\tMono10\nBlackLevel\t9\n"
                                    "BalanceRatioSelector\tGreen\nBalanceRatio\t2\n");
    ASSERT_EQ(0, kxinfo({"restore", "S1234", own}).status);
    const std::string after = saved(camera, "after", {"--format", "genapi", "--switch"});
    (void)camera.changes();
    const std::string differ = "Width: 1936 px -> 640 px\n"
                               "BalanceRatio[Green]: 1.0 -> 2.0\n"
                               "BlackLevel: 0.0 -> 9.0\n"
                               "PixelFormat: Mono8 -> Mono10\n";
    EXPECT_EQ((Result{1, differ, kNotCompared}), kxinfo({"diff", before, after}));
    EXPECT_EQ((Result{1, differ, kNotCompared}), kxinfo({"diff", before, "S1234", "--switch"}));
    EXPECT_EQ((Result{0, "", kNotCompared}), kxinfo({"diff", "S1234", after, "--switch"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(GenApi, ComparesWhatSelectorsChooseAndTellsWhatHasOtherChoices) {
    const TemporaryFolder folder;
    const std::string first = "ASelector\t0\nBSelector\t0\nF\t1\nBSelector\t1\nF\t2\n";
    const std::string a = folder.file("a", first),
                      same = folder.file("same", "CSelector\tX\n" + first);
    const std::string b =
        folder.file("b", "ASelector\t0\nBSelector\t0\nF\t5\nBSelector\t1\nF\t2.0\n");
    const std::string other = folder.file("other", "ASelector\t1\nBSelector\t1\nF\t3\n");

    EXPECT_EQ((Result{0, "", kNotCompared}), kxinfo({"diff", a, same}));
    EXPECT_EQ((Result{1, "F[0]: 1 -> 5\n", kNotCompared}), kxinfo({"diff", a, b}));
    EXPECT_EQ(
        (Result{0, "",
                kNotCompared + "kxinfo: not compared, since it is there with other choices of "
                               "selectors: F[0], F[1].\n"}),
        kxinfo({"diff", a, other}));
}

TEST_F(GenApi, BringsBackWhatABooleanSelects) {
    const std::string reg =
        "<Address>0x30000</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian"
        "</Endianess></IntReg>";
    const std::string first = "<Category Name=\"lutControl\">";
    WatchedCamera camera(
        {smallTables(),
         {first,
          "<Boolean Name=\"Far\"><pValue>FarReg</pValue><pSelected>Focus</pSelected>"
          "</Boolean><IntReg Name=\"FarReg\">" +
              reg +
              "<IntReg Name=\"Focus\"><Extension><Initial>0</Initial><Initial>0</Initial>"
              "</Extension>" +
              replaced(reg, {"<Address>0x30000</Address>",
                             "<Address>0x30004</Address><pIndex Offset=\"4\">FarReg</pIndex>"}) +
              "<Category Name=\"Own\"><pFeature>Far</pFeature><pFeature>Focus</pFeature>"
              "</Category>" +
              first},
         {"<pFeature>lutControl</pFeature>",
          "<pFeature>Own</pFeature><pFeature>lutControl</pFeature>"}});
    camera.write({{0x30000, 0}, {0x30004, 10}, {0x30008, 20}});
    const std::string file = saved(camera, "file", {"--format", "genapi", "--switch"});
    camera.write({{0x30004, 50}, {0x30008, 60}});
    (void)camera.changes();

    EXPECT_EQ(
        (Result{0, "Camera S1234 (C1936)\nFocus[false]: 50 -> 10\nFocus[true]: 60 -> 20\n", ""}),
        kxinfo({"restore", "S1234", file}));
    camera.write({{0x30004, 10}, {0x30008, 20}});
    (void)camera.changes();
    EXPECT_EQ((Result{0, kNothing, ""}), kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(GenApi, TakesSelectorsInLinesInFrontOrInBraces) {
    for (const char *name : {"lines-in-front.txt", "braces.txt"}) {
        WatchedCamera camera({smallTables()});
        const Result result = kxinfo({"restore", "S1234", given(name)});
        EXPECT_EQ(0, result.status) << result;
        EXPECT_EQ("", result.err);
        EXPECT_THAT(camera.changes(),
                    testing::UnorderedElementsAre(
                        "BalanceRatio[Green]: 1 -> 1.25", "BalanceRatio[Red]: 1.5 -> 2",
                        "BlackLevel: 0 -> 7", "Gain[DigitalAll]: 1 -> 1.5",
                        "Gain[SensorAll]: 2 -> 4", "PixelFormat: Mono8 -> Mono10",
                        "ReverseX: 0 -> 1", "Width: 1936 -> 640"));
        EXPECT_EQ((Result{0, kNothing, ""}), kxinfo({"restore", "S1234", given(name)}));
    }
    EXPECT_EQ((Result{0, "", kNotCompared}),
              kxinfo({"diff", given("lines-in-front.txt"), given("braces.txt")}));
}

TEST_F(GenApi, RestoresWhatTheCameraTakesOfAnotherModelAndTellsWhyNotTheRest) {
    WatchedCamera camera({smallTables()});
    const std::string file = given("another-model.txt");
    EXPECT_EQ(
        (Result{3,
                "Camera S1234 (C1936)\n"
                "Height: 1216 px -> 480 px\n"
                "Gain: 6.0206 dB -> 8.8372 dB\n",
                "kxinfo: \"" + file +
                    "\" was saved from a camera of another model, Other 3; what this one "
                    "does not take is left as it is.\n"
                    "kxinfo: PayloadSize is not restored: PayloadSize cannot be set: it can "
                    "only be read.\n"
                    "kxinfo: PixelFormat is not restored: PixelFormat=YUV422 is not possible; "
                    "expected is one of Mono8, Mono10, Mono12, BayerRG8, BayerRG10, BayerRG12.\n"
                    "kxinfo: ExposureTimeAbs is not restored: the camera has no such feature.\n"}),
        kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("Gain[SensorAll]: 2 -> 2.76605", "Height: 1216 -> 480"))
        << "what belongs to the other camera in its network is no setting of this one";
}

TEST_F(GenApi, TellsOfAFileOfAnotherCameraOfTheModel) {
    WatchedCamera camera({smallTables()});
    const std::string file =
        camera.folder().file("other", "# Device = Dalsa::C1936 -- x -- Serial number = S\u202e9\n");
    EXPECT_EQ((Result{0, kNothing,
                      "kxinfo: \"" + file + "\" was saved from another camera, S\\u202e9.\n"}),
              kxinfo({"restore", "S1234", file}));
}

TEST_F(GenApi, LeavesATextOutThatNoLineCanHold) {
    const std::string name = "DeviceUserID";
    WatchedCamera camera({smallTables(), {name, "DeviceLabel", true}});
    const auto label = [&](const std::string &text) {
        EXPECT_EQ(0, kxinfo({"set", "S1234", "DeviceLabel=" + text}).status);
        return kxinfo({"save", "S1234", "-", "--format", "genapi"});
    };
    EXPECT_THAT(label("left = {1}").out, HasSubstr("\nDeviceLabel\tleft = {1}\n"));
    for (const char *text : {"a\tb", "a\nGain\t1", "a\u202eb"}) {
        const Result result = label(text);
        EXPECT_THAT(result.out, Not(HasSubstr("DeviceLabel")));
        EXPECT_THAT(result.err, HasSubstr("kxinfo: left out, since its text does not fit in a "
                                          "line: DeviceLabel.\n"));
    }
}

} // namespace
