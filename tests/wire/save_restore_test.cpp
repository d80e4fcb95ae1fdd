// kxinfo save and kxinfo restore: what was saved comes back, to the last bit.

#include "watched_camera.h"
#include "wire.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SaveRestore : public Wire {
protected:
    static std::string fileIn(const WatchedCamera &camera) {
        return camera.folder().path() + "/camera.json";
    }

    static std::vector<std::string> namesIn(const TemporaryFolder &folder) {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    static Result saved(const std::string &file, int settings, int entries) {
        return {0,
                "Camera S1234 (C1936)\n" + std::to_string(settings) + " settings and " +
                    std::to_string(entries) + " entries of the lookup table saved to " + file +
                    "\n" +
                    (settings == 25 ? "Left out, since it cannot be set at present: "
                                      "balanceWhitePeriod\n"
                                    : ""),
                ""};
    }

    static Result restored(const std::string &lines, const std::string &err = "") {
        return {err.empty() ? 0 : 3, "Camera S1234 (C1936)\n" + lines, err};
    }

    static constexpr char nothing[] = "Nothing to restore: the camera is set as the file says.\n";

    // What 'kxinfo save' writes of a fresh camera, with a change.
    template <class Change>
    static std::string changed(const WatchedCamera &camera, Change change) {
        const std::string file = fileIn(camera);
        EXPECT_EQ(0, kxinfo({"save", "S1234", file}).status);
        ordered_json document = ordered_json::parse(readFile(file));
        change(document);
        std::ofstream(file) << document;
        return file;
    }

    static ordered_json &settingOf(ordered_json &document, const std::string &name) {
        for (ordered_json &setting : document["settings"])
            if (setting["name"] == name)
                return setting;
        throw std::runtime_error("no setting " + name);
    }

    // Everything that kxinfo can change, changed.
    static void changeEverything(const WatchedCamera &camera) {
        const std::string curve = camera.folder().file("curve", "0,15\n7,3\n15,0\n");
        for (const std::vector<std::string> &command : std::vector<std::vector<std::string>>{
                 {"set", "S1234", "Width=640", "Height=480", "OffsetX=128", "OffsetY=64",
                  "ReverseX=on", "ReverseY=on", "AcquisitionFrameRate=12.5", "ExposureTime=4000.25",
                  "Gain=9", "BalanceRatio[Red]=1", "BalanceRatio[Blue]=2", "balanceWhitePeriod=77",
                  "gammaCorrection=2.5"},
                 {"auto", "S1234", "on", "--target", "0.25", "--gain", "3..6", "--exposure",
                  "200..20000"},
                 {"lut", "S1234", "load", curve},
                 {"lut", "S1234", "gamma"}}) {
            const Result result = kxinfo(command);
            EXPECT_EQ(0, result.status) << result;
        }
    }
};

constexpr char SaveRestore::nothing[];

TEST_F(SaveRestore, BringsEverySettingBackInWhateverStateTheCameraWas) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}, {reg::kLutValues + 4, 7}});
    // A gain that no number of decibels stands for exactly.
    EXPECT_EQ(0, kxinfo({"set", "S1234", "Gain=7.123"}).status);
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        const std::string file = fileIn(camera);

        EXPECT_EQ(saved(file, 26, 48), kxinfo({"save", "S1234", file}));
        EXPECT_EQ(before, camera.snapshot()) << "saving changes nothing";

        changeEverything(camera);
        EXPECT_GE(changes(before, camera.snapshot()).size(), 24u);
        const Result result = kxinfo({"restore", "S1234", file});

        EXPECT_EQ(0, result.status) << result;
        EXPECT_EQ("", result.err);
        EXPECT_EQ(before, camera.snapshot());
        EXPECT_EQ(restored(nothing), kxinfo({"restore", "S1234", file}));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(SaveRestore, BringsAWholeTableOfFullSizeBack) {
    WatchedCamera camera;
    camera.write({{reg::kLutMode, 1},
                  {reg::kLutSize, 2},
                  {reg::kLutValues, 4095},
                  {reg::kLutValues + 4 * 4095, 1},
                  {reg::kLutValues + 2 * reg::kBytesOfTable + 4 * 4095, 2}});
    const std::string before = camera.snapshot();
    const std::string file = fileIn(camera);

    EXPECT_EQ(saved(file, 25, 3 * 4096), kxinfo({"save", "S1234", file}));
    camera.write({{reg::kLutValues, 0}, {reg::kLutValues + 4 * 4095, 0}});
    EXPECT_EQ(restored("lookup table: 2 entries\n"), kxinfo({"restore", "S1234", file}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(SaveRestore, TellsWhatItRestores) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}});
    const std::string file = fileIn(camera);
    ASSERT_EQ(saved(file, 26, 48), kxinfo({"save", "S1234", file}));
    changeEverything(camera);

    EXPECT_EQ(restored("autoBrightnessTarget: 64 -> 128\n"
                       "autoBrightnessSequence: Exposure_Gain_Iris -> Gain_Exposure_Iris\n"
                       "exposureAutoMinValue: 200 us -> 100 us\n"
                       "exposureAutoMaxValue: 20000 us -> 30000 us\n"
                       "gainAutoMinValue: 2.76605 dB -> 1.9382 dB\n"
                       "gainAutoMaxValue: 6.0206 dB -> 12.0412 dB\n"
                       "gainAutoSource: SensorAll -> DigitalAll\n"
                       "ExposureAuto: Continuous -> Off\n"
                       "GainAuto: Continuous -> Off\n"
                       "autoBrightnessMode: Active -> Off\n"
                       "OffsetX: 128 px -> 0 px\n"
                       "OffsetY: 64 px -> 0 px\n"
                       "ReverseX: true -> false\n"
                       "ReverseY: true -> false\n"
                       "AcquisitionFrameRate: 12.5 1/s -> 30 1/s\n"
                       "ExposureTime: 4000.25 us -> 10000 us\n"
                       "Gain: 9 dB -> 6.0206 dB\n"
                       "BalanceRatio[Red]: 1 dB -> 3.52183 dB\n"
                       "BalanceRatio[Blue]: 2 dB -> 6.0206 dB\n"
                       "balanceWhitePeriod: 77 -> 60\n"
                       "gammaCorrection: 2.5 -> 0.45\n"
                       "lutSize: Bpp12 -> Bpp8\n"
                       "lutType: GammaCorrection -> UserDefined\n"
                       "lutMode: Active -> Off\n"
                       "Width: 640 px -> 1936 px\n"
                       "Height: 480 px -> 1216 px\n"
                       "lookup table: 6 entries\n"),
              kxinfo({"restore", "S1234", file}));
}

TEST_F(SaveRestore, BringsBackWhatAutomaticFunctionsLock) {
    WatchedCamera camera(
        {smallTables(), lockedBy("ExposureTime", "ExposureAuto"), lockedBy("Gain", "GainAuto")});
    const std::string before = camera.snapshot();
    const std::string file = fileIn(camera);
    ASSERT_EQ(saved(file, 25, 48), kxinfo({"save", "S1234", file}));
    EXPECT_EQ(before, camera.snapshot());
    ASSERT_EQ(0, kxinfo({"set", "S1234", "ExposureTime=5000", "Gain=3"}).status);
    ASSERT_EQ(0, kxinfo({"auto", "S1234", "on"}).status);

    EXPECT_EQ(restored("autoBrightnessSequence: Exposure_Gain_Iris -> Gain_Exposure_Iris\n"
                       "ExposureAuto: Continuous -> Off\n"
                       "GainAuto: Continuous -> Off\n"
                       "autoBrightnessMode: Active -> Off\n"
                       "ExposureTime: 5000 us -> 10000 us\n"
                       "Gain: 3 dB -> 6.0206 dB\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(SaveRestore, SavesExposureTimeAndGainOfACameraWithoutABrightnessMode) {
    WatchedCamera camera({smallTables(), without("autoBrightnessMode"),
                          alwaysAvailable("BrightnessIsAutomatic"),
                          lockedBy("ExposureTime", "ExposureAuto"), lockedBy("Gain", "GainAuto")});
    const std::string before = camera.snapshot();
    const std::string file = fileIn(camera);
    ASSERT_EQ(0, kxinfo({"save", "S1234", file, "--no-table"}).status);
    EXPECT_EQ(before, camera.snapshot());
    ASSERT_EQ(0, kxinfo({"set", "S1234", "ExposureTime=5000", "Gain=3"}).status);

    EXPECT_EQ(restored("ExposureTime: 5000 us -> 10000 us\n"
                       "Gain: 3 dB -> 6.0206 dB\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(SaveRestore, LeavesTheTableOutWhenAsked) {
    WatchedCamera camera({smallTables()});
    const std::string file = fileIn(camera);
    EXPECT_EQ(saved(file, 25, 0), kxinfo({"save", "S1234", file, "--no-table"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ(ordered_json::array(), ordered_json::parse(readFile(file))["lookupTables"]);

    camera.write({{reg::kLutValues, 9}, {reg::kWidth, 640}});
    EXPECT_EQ(restored("Width: 640 px -> 1936 px\n"), kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(), ElementsAre("Width: 640 -> 1936"));
}

TEST_F(SaveRestore, WritesAFileAsTheSchemaSays) {
    const WatchedCamera camera({smallTables()});
    const std::string file = fileIn(camera);
    ASSERT_EQ(0, kxinfo({"save", "S1234", file}).status);
    const std::string text = readFile(file);
    EXPECT_EQ("", violations(text, "settings.schema.json"));

    const ordered_json whole = ordered_json::parse(text);
    const auto with = [&whole](const std::string &path, const ordered_json &value) {
        ordered_json changed = whole;
        changed[ordered_json::json_pointer(path)] = value;
        return violations(changed.dump(), "settings.schema.json");
    };
    ASSERT_EQ("Gain", whole["settings"][18]["name"]);
    EXPECT_EQ("", with("/settings/18/value", "-Infinity"));
    EXPECT_EQ("", with("/settings/18/value", 3));
    EXPECT_EQ("", with("/comment", "mine"));
    EXPECT_NE("", with("/version", 2));
    EXPECT_NE("", with("/settings/18/name", "Gaim"));
    EXPECT_NE("", with("/settings/18/value", nullptr));
    EXPECT_NE("", with("/settings/18/value", "much"));
    EXPECT_NE("", with("/settings/18/raw", "2"));
    EXPECT_NE("", with("/settings/18/raww", 2));
    EXPECT_NE("", with("/lookupTables/0/channel", "red"));
    EXPECT_NE("", with("/lookupTables/0/entries/0", 0.5));
}

TEST_F(SaveRestore, TakesAnEditedValueAndNothingElseOfTheFile) {
    WatchedCamera camera({smallTables()});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = 12;
        settingOf(document, "ExposureTime")["value"] = 5000.5;
        settingOf(document, "Width")["value"] = 640;
        settingOf(document, "ReverseX")["value"] = true;
        settingOf(document, "ExposureAuto")["value"] = "Continuous";
    });

    EXPECT_EQ(restored("ExposureAuto: Off -> Continuous\n"
                       "Width: 1936 px -> 640 px\n"
                       "ReverseX: false -> true\n"
                       "ExposureTime: 10000 us -> 5000.5 us\n"
                       "Gain: 6.0206 dB -> 12 dB\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "ExposureTime: 10000 -> 5000.5",
                            "Gain[SensorAll]: 2 -> 3.981072", "ReverseX: 0 -> 1",
                            "Width: 1936 -> 640"));
}

TEST_F(SaveRestore, TakesAFileWithoutRawAndWithSomeSettingsOnly) {
    WatchedCamera camera;
    const std::string file = camera.folder().file("mine.json", R"({
        "version": 1,
        "camera": {"manufacturer": "Dalsa", "model": "C1936", "serial": "any"},
        "settings": [{"name": "Gain", "value": 12}, {"name": "ExposureTime", "value": 5000}]})");

    EXPECT_EQ(restored("ExposureTime: 10000 us -> 5000 us\nGain: 6.0206 dB -> 12 dB\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureTime: 10000 -> 5000", "Gain[SensorAll]: 2 -> 3.981072"));
}

TEST_F(SaveRestore, RestoresWhatTheCameraTakesAndTellsWhyNotTheRest) {
    WatchedCamera camera({smallTables(), refusesWrites("ReverseY")});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = 40;
        settingOf(document, "Width")["value"] = 99;
        settingOf(document, "Height")["value"] = 480;
        settingOf(document, "ReverseX")["value"] = "yes";
        settingOf(document, "ReverseY")["value"] = false;
        settingOf(document, "ExposureAuto")["value"] = "Once";
        document["lookupTables"][1]["entries"].push_back(1);
        document["lookupTables"][2]["entries"][15] = 16;
        document["lookupTables"][0]["entries"][3] = 5;
    });

    const Result result = kxinfo({"restore", "S1234", file});

    EXPECT_EQ(
        restored(
            "Height: 1216 px -> 480 px\nlookup table: 1 entries\n",
            "kxinfo: ExposureAuto stays Off: Cannot write 'ExposureAuto': 'Once' is none of its "
            "entries (Off, Continuous).\n"
            "kxinfo: Width stays 1936 px: 'Width': 99 is not a multiple of 16 above the minimum "
            "16.\n"
            "kxinfo: ReverseX stays false: the camera has it as another kind of value than yes.\n"
            "kxinfo: ReverseY stays true: Cannot write the camera's register 0x904 for 'ReverseY': "
            "the register cannot be written (0x8004).\n"
            "kxinfo: Gain stays 6.0206 dB: 'Gain': 100 is outside 1 to 8.\n"
            "kxinfo: the lookup table of Green stays as it is: the file holds 17 entries, but the "
            "camera's table has 16.\n"
            "kxinfo: the lookup table of Blue stays as it is: the entry 16 is outside 0 to 15.\n"),
        result);
    EXPECT_THAT(camera.changes(),
                ElementsAre("Height: 1216 -> 480", "LUTValue[Red][3]: (none) -> 5"));
}

TEST_F(SaveRestore, RestoresTheEntriesThatTheCameraTakes) {
    std::string file;
    const TemporaryFolder folder;
    {
        const WatchedCamera whole({smallTables()});
        file = folder.file("camera.json", readFile(changed(whole, [](ordered_json &document) {
                               for (ordered_json &table : document["lookupTables"])
                                   table["entries"][2] = 7;
                           })));
    }
    // Of the blue table only the first eight entries are there.
    WatchedCamera camera({smallTables(), {"<Cells>12288</Cells>", "<Cells>8200</Cells>"}});

    EXPECT_EQ(restored("lookup table: 3 entries\n",
                       "kxinfo: the lookup table of Blue stays as it is from entry 8 on: Cannot "
                       "read the camera's register 0x28020 for 'LUTValue': "
                       "it has no such register (0x8003).\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("LUTValue[Blue][2]: (none) -> 7", "LUTValue[Green][2]: (none) -> 7",
                            "LUTValue[Red][2]: (none) -> 7"));
}

TEST_F(SaveRestore, RestoresOntoAnotherModelWhatThatTakes) {
    const TemporaryFolder folder;
    std::string file;
    {
        const WatchedCamera camera({smallTables()});
        file = folder.file("camera.json", readFile(changed(camera, [](ordered_json &document) {
                               settingOf(document, "Gain")["value"] = 12;
                           })));
    }
    WatchedCamera camera({without("ReverseY"), without("LUTValue")}, {"--model", "Other"});

    EXPECT_EQ((Result{3, "Camera S1234 (Other)\nGain: 6.0206 dB -> 12 dB\n",
                      "kxinfo: \"" + file +
                          "\" was saved from a camera of another model, C1936; what this one does "
                          "not take is left as it is.\n"
                          "kxinfo: ReverseY is left out: the camera has no such feature, or has it "
                          "as another kind.\n"
                          "kxinfo: the lookup table is left out: this camera has none whose "
                          "entries can be written.\n"}),
              kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(), ElementsAre("Gain[SensorAll]: 2 -> 3.981072"));
}

TEST_F(SaveRestore, RefusesAFileThatIsNoneOfItsOwn) {
    const TemporaryFolder folder;
    const std::string camera = R"("camera": {"manufacturer": "D", "model": "C", "serial": "S"})";
    const auto with = [&](const std::string &settings) {
        return R"({"version": 1, )" + camera + R"(, "settings": [)" + settings + "]}";
    };
    const auto tables = [&](const std::string &content) {
        return R"({"version": 1, )" + camera + R"(, "settings": [], "lookupTables": [)" + content +
               "]}";
    };
    const auto beyond = [](const std::string &place, const std::string &number) {
        return "holds a number beyond those of cameras in " + place + ": " + number + ".";
    };
    const struct {
        std::string content;
        std::string why;
    } cases[] = {
        {"", "is empty."},
        {"Width=640\n", "is no JSON document."},
        {R"({"version": 1, "camera": {"manufac)", "is no JSON document."},
        {"[]", "has no \"version\" in the document."},
        {"{}", "has no \"version\" in the document."},
        {R"({"version": 2})", "is of version 2, this kxinfo reads version 1."},
        {R"({"version": "1"})", "is of version \"1\", this kxinfo reads version 1."},
        {R"({"version": {"a": 1}})", "is of version an object, this kxinfo reads version 1."},
        {R"({"version": ")" + std::string(1000, 'x') + "\"}",
         "is of version \"" + std::string(39, 'x') + "..., this kxinfo reads version 1."},
        {R"({"version": 1e999})", "holds a number beyond all that JSON readers take."},
        {R"({"version": 1})", "has no \"camera\" in the document."},
        {R"({"version": 1, "camera": {"manufacturer": 7}})", "has no text in \"camera\"."},
        {R"({"version": 1, "camera": {"manufacturer": ")" + std::string(1000, 'x') + "\"}}",
         "has a text of 1000 bytes in \"camera\", no camera has one of more than 256."},
        {R"({"version": 1, )" + camera + "}", "has no \"settings\" in the document."},
        {R"({"version": 1, )" + camera + R"(, "settings": {}})", "has no list in \"settings\"."},
        {with("7"), "has no \"name\" in a setting."},
        {with(R"({"name": 7})"), "has no text in a setting's \"name\"."},
        {with(R"({"name": "Gaim", "value": 6})"),
         "holds a setting \"Gaim\" that kxinfo does not know."},
        {with("{\"name\": \"\u00e9" + std::string(100, 'x') + "\", \"value\": 6}"),
         "holds a setting \"\u00e9" + std::string(38, 'x') + "...\" that kxinfo does not know."},
        {with(R"({"name": "Gain", "value": 6}, {"name": "Width", "value": 640},
                 {"name": "Gain", "value": 6})"),
         "holds the setting \"Gain\" twice."},
        {with(R"({"name": "Gain"})"), "has no \"value\" in the setting \"Gain\"."},
        {with(R"({"name": "Gain", "value": null})"),
         "holds neither a number nor a text, true or false as \"value\" of the setting \"Gain\"."},
        {with(R"({"name": "Gain", "value": 6, "raw": "2"})"),
         "holds no number as \"raw\" of the setting \"Gain\"."},
        {with(R"({"name": "Gain", "value": "6", "raw": 2})"),
         "holds no number as \"value\" of the setting \"Gain\"."},
        {R"({"version": 1, )" + camera + R"(, "settings": [], "lookupTables": {}})",
         "has no list in \"lookupTables\"."},
        {R"({"version": 1, )" + camera + R"(, "settings": [], "lookupTables": [{}]})",
         "has no \"channel\" in a lookup table."},
        {with(R"({"name": "Width", "value": 18446744073709551615})"),
         beyond("the setting \"Width\"", "18446744073709551615")},
        {with(R"({"name": "ExposureTime", "value": 1e39})"),
         beyond("the setting \"ExposureTime\"", "1e+39")},
        {with(R"({"name": "ExposureTime", "value": -1e39, "raw": 5})"),
         beyond("the setting \"ExposureTime\"", "-1e+39")},
        {with(R"({"name": "Gain", "value": 1000.0})"), // as a factor
         beyond("the setting \"Gain\"", "1000.0")},
        {tables(R"({"channel": null, "entries": [1, 2.5]})"),
         "holds an entry of a lookup table that is none: 2.5."},
        {tables(R"({"channel": null, "entries": [[1]]})"),
         "holds an entry of a lookup table that is none: a list."},
        {tables(R"({"channel": null, "entries": [1e300]})"),
         "holds an entry of a lookup table that is none: 1e+300."},
        {tables(R"({"channel": null, "entries": [9999999999]})"),
         beyond("a lookup table's \"entries\"", "9999999999")},
        {tables(R"({"channel": null, "entries": [-9999999999]})"),
         beyond("a lookup table's \"entries\"", "-9999999999")},
        {tables(R"({"channel": null, "entries": [18446744073709551615]})"),
         beyond("a lookup table's \"entries\"", "18446744073709551615")},
        {tables(R"({"channel": "Red", "entries": [1]}, {"channel": "Red", "entries": [2]})"),
         "holds the lookup table \"Red\" twice."},
        {tables(R"({"channel": null, "entries": [1]}, {"channel": null, "entries": [1]})"),
         "holds the lookup table of all colours twice."},
    };
    for (const auto &wrong : cases) {
        const std::string file = folder.file("camera.json", wrong.content);
        EXPECT_EQ((Result{2, "",
                          "kxinfo: \"" + file + "\" " + wrong.why +
                              " Expected is a file that 'kxinfo save' wrote.\n"}),
                  kxinfo({"restore", "S1234", file}));
    }
}

TEST_F(SaveRestore, RefusesAFileThatNestsDeeplyWhereverItDoes) {
    const TemporaryFolder folder;
    const std::string camera = R"("camera": {"manufacturer": "D", "model": "C", "serial": "S"})";
    const auto nested = [](int depth, const std::string &open, const std::string &close) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += open;
        text += "1";
        for (int i = 0; i < depth; ++i)
            text += close;
        return text;
    };
    const auto setting = [&](const std::string &members) {
        return R"({"version": 1, )" + camera + R"(, "settings": [{"name": "Gain", )" + members +
               "}]}";
    };
    const std::string tooDeep = "nests lists or objects more than 16 deep.";
    const std::string lists = nested(300000, "[", "]");
    const struct {
        std::string content;
        std::string why;
    } cases[] = {
        {lists, tooDeep},
        {lists.substr(0, 300000), tooDeep},
        {"{\"version\": " + lists + "}", tooDeep},
        {"{\"version\": " + nested(300000, "{\"a\": ", "}") + "}", tooDeep},
        {setting("\"value\": " + lists), tooDeep},
        {setting("\"value\": " + lists + ", \"raw\": 2"), tooDeep},
        {setting("\"value\": 6, \"raw\": " + lists + ", \"unit\": 2"), tooDeep},
        {R"({"version": 1, )" + camera +
             R"(, "settings": [], "lookupTables": [{"channel": null, "entries": )" + lists + "}]}",
         tooDeep},
        {nested(17, "[", "]"), tooDeep},
        {nested(16, "[", "]"), "has no \"version\" in the document."},
    };
    for (const auto &wrong : cases) {
        const std::string file = folder.file("camera.json", wrong.content);
        EXPECT_EQ((Result{2, "",
                          "kxinfo: \"" + file + "\" " + wrong.why +
                              " Expected is a file that 'kxinfo save' wrote.\n"}),
                  kxinfo({"restore", "S1234", file}));
    }
}

TEST_F(SaveRestore, TellsWhyAFileCannotBeRead) {
    const TemporaryFolder folder;
    const auto expectUnreadable = [](const std::string &file, const std::string &why) {
        EXPECT_EQ((Result{2, "", "kxinfo: \"" + file + "\" " + why + "\n"}),
                  kxinfo({"restore", "S1234", file}));
    };
    expectUnreadable(folder.path(), "cannot be read: Is a directory.");
    expectUnreadable(folder.path() + "/none", "cannot be read: No such file or directory.");
    // Not even root may read this one.
    expectUnreadable("/proc/sys/net/ipv4/route/flush", "cannot be read: Permission denied.");
    expectUnreadable("/proc/self/mem", "cannot be read: Input/output error.");
    expectUnreadable("/dev/null", "is empty. Expected is a file that 'kxinfo save' wrote.");
    expectUnreadable("/dev/zero",
                     "is longer than 16 MiB. Expected is a file that 'kxinfo save' wrote.");
}

TEST_F(SaveRestore, ShowsNamesWithoutWhatWouldSteerATerminal) {
    EXPECT_EQ(
        (Result{2, "",
                "kxinfo: \"/none/\\x1b[2J\\n\\t\\x7f\\xc2\\x9b\\xff\\xe0\\x80\\x9b\\xed\\xa0\\x80 "
                "\u00e9\u20ac\U0001f4f7\\xf0\\x9f\\x93\" cannot be read: No such file or "
                "directory.\n"}),
        kxinfo({"restore", "S1234",
                "/none/\x1b[2J\n\t\x7f\xc2\x9b\xff\xe0\x80\x9b\xed\xa0\x80 "
                "\u00e9\u20ac\U0001f4f7\xf0\x9f\x93"}));

    const TemporaryFolder folder;
    const std::string file = folder.file("camera.json", R"({"version": 1,
        "camera": {"manufacturer": "D", "model": "C", "serial": "S"},
        "settings": [{"name": "\u001b[2J\n\u009b", "value": 6}]})");
    EXPECT_EQ((Result{2, "",
                      "kxinfo: \"" + file +
                          "\" holds a setting \"\\x1b[2J\\n\\xc2\\x9b\" that kxinfo does not know. "
                          "Expected is a file that 'kxinfo save' wrote.\n"}),
              kxinfo({"restore", "S1234", file}));
}

TEST_F(SaveRestore, RestoresInItsOwnOrderWhateverThatOfTheFile) {
    WatchedCamera camera({smallTables()});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = 12;
        settingOf(document, "Height")["value"] = 480;
        settingOf(document, "ExposureAuto")["value"] = "Continuous";
        auto &settings = document["settings"];
        std::reverse(settings.begin(), settings.end());
    });

    EXPECT_EQ(restored("ExposureAuto: Off -> Continuous\n"
                       "Height: 1216 px -> 480 px\n"
                       "Gain: 6.0206 dB -> 12 dB\n"),
              kxinfo({"restore", "S1234", file}));
}

TEST_F(SaveRestore, BringsAValueBackThatIsNoNumberInItsUnit) {
    WatchedCamera camera({smallTables()});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = "-Infinity";
        settingOf(document, "Gain")["raw"] = 0;
        settingOf(document, "BalanceRatio[Red]")["value"] = "NaN";
        settingOf(document, "BalanceRatio[Red]")["raw"] = -1;
        settingOf(document, "ExposureTime")["value"] = "Infinity";
        settingOf(document, "ExposureTime")["raw"] = 1e300;
    });

    const Result result = kxinfo({"restore", "S1234", file});

    EXPECT_EQ(
        restored(
            "",
            "kxinfo: ExposureTime stays 10000 us: 'ExposureTime': 1e+300 is outside 20 to 33333.\n"
            "kxinfo: Gain stays 6.0206 dB: 'Gain': 0 is outside 1 to 8.\n"
            "kxinfo: BalanceRatio[Red] stays 3.52183 dB: 'BalanceRatio': -1 is outside 1 to 4.\n"),
        result);
}

TEST_F(SaveRestore, LeavesAFileThatItCannotReplaceAsItWas) {
    WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    const auto expectUnwritable = [&](const std::string &file, const std::string &why) {
        EXPECT_EQ((Result{3, "", "kxinfo: \"" + file + "\" cannot be written: " + why + ".\n"}),
                  kxinfo({"save", "S1234", file}));
        EXPECT_THAT(camera.changes(), IsEmpty());
    };
    expectUnwritable(folder.path(), "Is a directory");
    expectUnwritable(folder.path() + "/none/camera.json", "No such file or directory");
    expectUnwritable(folder.file("mine", "mine") + "/camera.json", "Not a directory");
    expectUnwritable("", "No such file or directory");
    std::filesystem::create_symlink("circle", folder.path() + "/circle");
    expectUnwritable(folder.path() + "/circle", "Too many levels of symbolic links");
    EXPECT_THAT(namesIn(folder), ElementsAre("circle", "mine"));
}

TEST_F(SaveRestore, FindsOutThatAFileCannotBeMadeBeforeACameraIsLookedFor) {
    // There is none.
    EXPECT_EQ((Result{3, "",
                      "kxinfo: \"/none/camera.json\" cannot be written: No such file or "
                      "directory.\n"}),
              kxinfo({"save", "S1234", "/none/camera.json"}));

    const TemporaryFolder folder;
    const std::string file = folder.file("camera.json", "mine");
    EXPECT_EQ(1, kxinfo({"save", "S1234", file}).status);
    EXPECT_EQ("mine", readFile(file));
    EXPECT_THAT(namesIn(folder), ElementsAre("camera.json"));
}

TEST_F(SaveRestore, LeavesTheOldFileWhenTheNewOneFindsNoRoom) {
    const WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    const std::string file = folder.file("camera.json", "mine");
    const std::string other = folder.file("camera.json.part", "mine too");

    EXPECT_EQ((Result{3, "", "kxinfo: \"" + file + "\" cannot be written: File too large.\n"}),
              run({"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$0\" save S1234 \"$1\"",
                   KXINFO_PROGRAM, file}));
    EXPECT_EQ("mine", readFile(file));
    EXPECT_EQ("mine too", readFile(other));
    EXPECT_THAT(namesIn(folder), ElementsAre("camera.json", "camera.json.part"));
}

TEST_F(SaveRestore, KeepsAFilesModeAndGivesANewOneTheUsersOwn) {
    namespace fs = std::filesystem;
    const WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    const std::string file = folder.path() + "/camera.json";
    const auto save = [&] {
        return run(
            {"/bin/sh", "-c", "umask 027; exec \"$0\" save S1234 \"$1\"", KXINFO_PROGRAM, file});
    };
    const auto mode = [&] { return static_cast<unsigned>(fs::status(file).permissions()); };

    EXPECT_EQ(saved(file, 25, 48), save());
    EXPECT_EQ(0640u, mode());
    fs::permissions(file, fs::perms(0604));
    EXPECT_EQ(saved(file, 25, 48), save());
    EXPECT_EQ(0604u, mode());
}

TEST_F(SaveRestore, WritesWhatASymbolicLinkNames) {
    namespace fs = std::filesystem;
    const WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    fs::create_directory(folder.path() + "/real");
    fs::create_symlink("real/file", folder.path() + "/link");
    fs::create_symlink("link", folder.path() + "/link to link");
    const std::string link = folder.path() + "/link to link";
    const std::string file = folder.path() + "/real/file";

    EXPECT_EQ(saved(link, 25, 48), kxinfo({"save", "S1234", link})) << "the link names nothing yet";
    const std::string text = readFile(file);
    EXPECT_EQ("", violations(text, "settings.schema.json"));
    std::ofstream(file) << "old";
    EXPECT_EQ(saved(link, 25, 48), kxinfo({"save", "S1234", link}));
    EXPECT_EQ(text, readFile(file));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::is_symlink(folder.path() + "/link"));
    EXPECT_FALSE(fs::is_symlink(file));
    EXPECT_THAT(namesIn(folder), ElementsAre("link", "link to link", "real"));
}

// Links of the test's own stand for /dev/stdout: root's kxinfo could replace that, were it wrong.
TEST_F(SaveRestore, WritesToStandardOutputAlone) {
    const WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    const std::string file = folder.path() + "/camera.json";
    ASSERT_EQ(saved(file, 25, 48), kxinfo({"save", "S1234", file}));
    const std::string text = readFile(file);
    const std::string out = folder.path() + "/stdout";
    std::filesystem::create_symlink("/proc/self/fd/1", out);

    EXPECT_EQ((Result{0, text, ""}), kxinfo({"save", "S1234", out})) << "a file without a name";
    EXPECT_EQ((Result{0, text, ""}),
              run({"/bin/sh", "-c", "\"$0\" save S1234 \"$1\" | cat", KXINFO_PROGRAM, out}));
    EXPECT_EQ((Result{0, "", ""}), run({"/bin/sh", "-c", "\"$0\" save S1234 \"$1\" > \"$2\"",
                                        KXINFO_PROGRAM, out, folder.path() + "/named"}));
    EXPECT_EQ(text, readFile(folder.path() + "/named"));
    EXPECT_EQ((Result{3, "", "kxinfo: \"" + out + "\" cannot be written: Broken pipe.\n"}),
              kxinfo({"save", "S1234", out}, Stream::brokenPipe()));
    EXPECT_TRUE(std::filesystem::is_symlink(out));
}

TEST_F(SaveRestore, WritesToAPipe) {
    const WatchedCamera camera({smallTables()});
    const TemporaryFolder folder;
    const std::string file = folder.path() + "/camera.json";
    ASSERT_EQ(saved(file, 25, 48), kxinfo({"save", "S1234", file}));
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));

    EXPECT_EQ((Result{0, readFile(file), ""}),
              run({"/bin/sh", "-c", "\"$0\" save S1234 \"$1\" > \"$2\" & cat \"$1\"; wait",
                   KXINFO_PROGRAM, pipe, folder.path() + "/lines"}));
    EXPECT_EQ(saved(pipe, 25, 48).out, readFile(folder.path() + "/lines"));
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(SaveRestore, KeepsTheOldFileWhenTheCameraFallsSilentDuringSaving) {
    const TemporaryFolder folder;
    const std::string file = folder.path() + "/camera.json";

    const Result result = whenSilentHalfway({"save", "S1234", file}, {smallTables()});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
    EXPECT_THAT(ordered_json::parse(readFile(file)).dump(), HasSubstr("lookupTables"))
        << "of the run before";
    EXPECT_THAT(namesIn(folder), ElementsAre("camera.json"));
}

TEST_F(SaveRestore, SaysThatTheCameraFallsSilentDuringRestoring) {
    const TemporaryFolder folder;
    std::string file;
    {
        const WatchedCamera camera({smallTables()});
        file = folder.file("camera.json", readFile(changed(camera, [](ordered_json &document) {
                               settingOf(document, "Gain")["value"] = 12;
                               document["lookupTables"][0]["entries"][1] = 5;
                           })));
    }

    const Result result = whenSilentHalfway({"restore", "S1234", file}, {smallTables()});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(
        result.err,
        saysSilent("kxinfo: 1 of 1 entries of the user's lookup table could not be put back .*\n"
                   "kxinfo: this could not be put back: .*\n"));
}

TEST_F(SaveRestore, PutsBackWhatItHadRestoredWhenTheUserInterrupts) {
    WatchedCamera camera; // a table of full size takes long enough
    const std::string file = camera.folder().file("camera.json", [] {
        ordered_json document = {
            {"version", 1},
            {"camera", {{"manufacturer", "Dalsa"}, {"model", "C1936"}, {"serial", "S1234"}}},
            {"settings", {{{"name", "Width"}, {"value", 640}}}},
            {"lookupTables", ordered_json::array()}};
        for (const char *channel : {"Red", "Green", "Blue"})
            document["lookupTables"].push_back(
                {{"channel", channel}, {"entries", std::vector<int>(4096, 5)}});
        return document.dump();
    }());
    camera.write({{reg::kLutMode, 1}, {reg::kLutType, 1}, {reg::kLutValues + 4, 7}});
    const std::string before = camera.snapshot();

    Process kxinfo(KXINFO_PROGRAM, {"restore", "S1234", file});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (camera.snapshot().find("LUTValue[Red][9] = 5\n") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
    }
    kxinfo.signal(SIGINT);
    const Process::End end = kxinfo.wait();

    EXPECT_EQ(3, end.status);
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n"
              "kxinfo: the entries written to the user's lookup table are put back.\n",
              end.errors);
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(SaveRestore, LeavesTheCameraAsItWasWhenTheUserInterruptsSaving) {
    WatchedCamera camera; // a table of full size takes long enough
    camera.write({{reg::kLutMode, 1}, {reg::kLutType, 1}});
    const std::string before = camera.snapshot();
    const std::string file = fileIn(camera);
    const auto names = namesIn(camera.folder());

    Process kxinfo(KXINFO_PROGRAM, {"save", "S1234", file});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (camera.snapshot().find("LUTIndex = 9") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
    }
    kxinfo.signal(SIGTERM);
    const Process::End end = kxinfo.wait();

    EXPECT_EQ(3, end.status);
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n", end.errors);
    EXPECT_EQ(before, camera.snapshot());
    EXPECT_EQ(names, namesIn(camera.folder()));
}

} // namespace
