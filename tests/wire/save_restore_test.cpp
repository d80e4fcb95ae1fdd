// kxinfo save and kxinfo restore: what was saved comes back, to the last bit.

#include "watched_camera.h"
#include "wire.h"

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

    EXPECT_EQ(restored("Gain: 6.0206 dB -> 12 dB\nExposureTime: 10000 us -> 5000 us\n"),
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

    EXPECT_EQ(restored("Height: 1216 px -> 480 px\nlookup table: 1 entries\n",
                       "kxinfo: ExposureAuto stays Off: Cannot write 'ExposureAuto': 'Once' is "
                       "none of its entries (Off, Continuous).\n"
                       "kxinfo: Width stays 1936 px: Cannot write 'Width': 99 is not a multiple of "
                       "16 above the minimum 16.\n"
                       "kxinfo: ReverseX stays false: the camera has it as another kind of value "
                       "than yes.\n"
                       "kxinfo: ReverseY stays true: Cannot write 'ReverseY': [ReverseY] "
                       "[ReverseYReg] GigEVision write_memory error (write-protect).\n"
                       "kxinfo: Gain stays 6.0206 dB: Cannot write 'Gain': 100 is outside 1 to "
                       "8.\n"
                       "kxinfo: the lookup table of Green stays as it is: the file holds 17 "
                       "entries, but the camera's table has 16.\n"
                       "kxinfo: the lookup table of Blue stays as it is: the entry 16 is outside 0 "
                       "to 15.\n"),
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
                       "read 'LUTValue': [LUTValue] [LUTValueReg] GigEVision read_memory error "
                       "(invalid-access).\n"),
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
    const struct {
        std::string content;
        std::string why;
    } cases[] = {
        {"", "is no JSON document."},
        {"Width=640\n", "is no JSON document."},
        {R"({"version": 1, "camera": {"manufac)", "is no JSON document."},
        {"[]", "has no \"version\" in the document."},
        {"{}", "has no \"version\" in the document."},
        {R"({"version": 2})", "is of version 2, this kxinfo reads version 1."},
        {R"({"version": "1"})", "is of version \"1\", this kxinfo reads version 1."},
        {R"({"version": 1})", "has no \"camera\" in the document."},
        {R"({"version": 1, "camera": {"manufacturer": 7}})", "has no text in \"camera\"."},
        {R"({"version": 1, )" + camera + "}", "has no \"settings\" in the document."},
        {R"({"version": 1, )" + camera + R"(, "settings": {}})", "has no list in \"settings\"."},
        {with("7"), "has no \"name\" in a setting."},
        {with(R"({"name": 7})"), "has no text in a setting's \"name\"."},
        {with(R"({"name": "Gaim", "value": 6})"),
         "holds a setting \"Gaim\" that kxinfo does not know."},
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
        {R"({"version": 1, )" + camera +
             R"(, "settings": [], "lookupTables": [{"channel": null, "entries": [1, 2.5]}]})",
         "holds an entry of a lookup table that is none: 2.5."},
        {R"({"version": 1, )" + camera +
             R"(, "settings": [], "lookupTables": [{"channel": null, "entries": [9999999999]}]})",
         "holds an entry of a lookup table that is none: 9999999999."},
    };
    for (const auto &wrong : cases) {
        const std::string file = folder.file("camera.json", wrong.content);
        EXPECT_EQ((Result{2, "",
                          "kxinfo: \"" + file + "\" " + wrong.why +
                              " Expected is a file that 'kxinfo save' wrote.\n"}),
                  kxinfo({"restore", "S1234", file}));
    }
    EXPECT_EQ(
        (Result{2, "",
                "kxinfo: \"" + folder.path() +
                    "\" is no JSON document. Expected is a file that 'kxinfo save' wrote.\n"}),
        kxinfo({"restore", "S1234", folder.path()}));
}

TEST_F(SaveRestore, LeavesAFileThatItCannotReplaceAsItWas) {
    WatchedCamera camera({smallTables()});
    // A folder of that name stands in the way of the rename.
    const std::string file = fileIn(camera);
    std::filesystem::create_directories(file + "/inside");

    EXPECT_EQ((Result{3, "", "kxinfo: \"" + file + "\" cannot be written: Is a directory.\n"}),
              kxinfo({"save", "S1234", file}));
    EXPECT_TRUE(std::filesystem::exists(file + "/inside"));
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
    EXPECT_THAT(camera.changes(), IsEmpty());

    const std::string nowhere = camera.folder().path() + "/none/camera.json";
    EXPECT_EQ(
        (Result{3, "",
                "kxinfo: \"" + nowhere + "\" cannot be written: No such file or directory.\n"}),
        kxinfo({"save", "S1234", nowhere}));

    const std::string kept = camera.folder().file("kept.json", "mine");
    std::filesystem::create_directory(kept + ".part"); // what is written first cannot be
    EXPECT_EQ((Result{3, "", "kxinfo: \"" + kept + "\" cannot be written: Is a directory.\n"}),
              kxinfo({"save", "S1234", kept}));
    EXPECT_EQ("mine", readFile(kept));
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
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
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
    EXPECT_FALSE(std::filesystem::exists(file));
}

} // namespace
