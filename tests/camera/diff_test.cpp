// kxinfo diff: in what cameras and files differ.

#include "watched_camera.h"
#include "wire.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class Diff : public Wire {
protected:
    static std::string file(const TemporaryFolder &folder, const std::string &name,
                            const std::string &settings, const std::string &tables = "") {
        return folder.file(name, R"({"version": 1, "camera": {"manufacturer": "Dalsa",
            "model": "C1936", "serial": "S1234"}, "settings": [)" +
                                     settings + R"(], "lookupTables": [)" + tables + "]}");
    }
};

TEST_F(Diff, TellsWhatDiffersBetweenFiles) {
    const TemporaryFolder folder;
    const std::string a = file(folder, "a", R"(
        {"name": "Gain", "value": 6, "unit": "dB"}, {"name": "Width", "value": 640},
        {"name": "ExposureTime", "value": 10000, "unit": "us", "raw": 10000},
        {"name": "lutMode", "value": "Off"}, {"name": "ReverseX", "value": true})",
                               R"({"channel": "Red", "entries": [1, 2, 3]},
        {"channel": "Green", "entries": [1]})");
    const std::string b = file(folder, "b", R"(
        {"name": "Gain", "value": 2, "unit": "x"}, {"name": "Width", "value": 640},
        {"name": "ExposureTime", "value": 10000.001, "unit": "us", "raw": 10000.001},
        {"name": "lutMode", "value": "Active"})",
                               R"({"channel": "Red", "entries": [1, 0, 0]},
        {"channel": "Blue", "entries": [1]})");

    EXPECT_EQ((Result{1,
                      "ReverseX: true -> -\n"
                      "ExposureTime: 10000.0 us -> 10000.001 us\n"
                      "Gain: 6 dB -> 6.0206 dB\n"
                      "lutMode: Off -> Active\n"
                      "lookup table of Red: 2 of 3 entries differ\n"
                      "lookup table of Green: 1 entries -> -\n"
                      "lookup table of Blue: - -> 1 entries\n",
                      ""}),
              kxinfo({"diff", a, b}));
    EXPECT_EQ((Result{0, "", ""}),
              run({"/bin/sh", "-c", "\"$0\" diff - \"$1\" < \"$1\"", KXINFO_PROGRAM, a}));
}

TEST_F(Diff, ComparesACameraWithAFileAndWithAnother) {
    WatchedCamera camera({smallTables()});
    const Simcam other({"--camera", "S99@127.0.0.3", "--set", "S99:Width=640"});
    const std::string saved = camera.folder().path() + "/saved";
    ASSERT_EQ(0, kxinfo({"save", "S1234", saved, "--switch"}).status);
    const std::string unreachable =
        "kxinfo: not compared, since it is not available at present: balanceWhitePeriod.\n";
    EXPECT_EQ((Result{0, "", unreachable}), kxinfo({"diff", "--switch", "S1234", saved}));
    camera.write({{reg::kWidth, 320}, {reg::kLutValues, 9}});
    (void)camera.changes();

    const Result looked = kxinfo({"diff", "S1234", saved});
    EXPECT_EQ(1, looked.status);
    EXPECT_EQ("Width: 320 px -> 1936 px\n", looked.out);
    const std::string unread =
        "kxinfo: not compared, since it cannot be read without --switch: autoBrightnessTarget, "
        "autoBrightnessSequence, exposureAutoMinValue, exposureAutoMaxValue, gainAutoMinValue, "
        "gainAutoMaxValue, gainAutoSource, ExposureAuto, GainAuto, Gain, BalanceRatio[Red], "
        "BalanceRatio[Blue], balanceWhitePeriod, gammaCorrection, the lookup table.\n";
    EXPECT_EQ(unread, looked.err);
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ((Result{1, "Width: 1936 px -> 320 px\nlookup table of Red: 1 of 16 entries differ\n",
                      unreachable}),
              kxinfo({"diff", saved, "S1234", "--switch"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ((Result{1, "Width: 320 px -> 640 px\n", unread}), kxinfo({"diff", "S1234", "S99"}));
    ASSERT_EQ(0, kxinfo({"save", "S1234", saved}).status);
    EXPECT_EQ((Result{0, "", unread}), kxinfo({"diff", "S1234", saved}))
        << "though the file holds nothing of these";
}

TEST_F(Diff, EndsWithAStatusThatSaysNothingOfDifferencesWhenItCannotCompare) {
    const TemporaryFolder folder;
    const std::string mine = file(folder, "mine", "");
    const Result none = kxinfo({"diff", mine, "S1234"});
    EXPECT_EQ(2, none.status);
    EXPECT_THAT(none.err, HasSubstr("no Dalsa camera answered"));
    EXPECT_EQ((Result{2, "", "kxinfo: \"./none\" cannot be read: No such file or directory.\n"}),
              kxinfo({"diff", mine, "./none"}));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: CAMERA|FILE: At least 2 required but received 1. Run 'kxinfo diff "
                      "--help' for what is "
                      "expected.\n"}),
              kxinfo({"diff", mine}));
    const Result silent = whenSilentHalfway({"diff", mine, "S1234"});
    EXPECT_EQ(3, silent.status);
}

} // namespace
