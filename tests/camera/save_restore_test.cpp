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

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class SaveRestore : public Wire {
protected:
    static std::string fileIn(const WatchedCamera &camera) {
        return camera.folder().path() + "/camera.json";
    }

    static std::vector<std::string> namesIn(const std::string &folder) {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    static Result restored(const std::string &lines, const std::string &err = "") {
        return {err.empty() ? 0 : 3, "Camera S1234 (C1936)\n" + lines, err};
    }

    // What 'kxinfo save' writes of a fresh camera, with a change.
    template <class Change>
    static std::string changed(const WatchedCamera &camera, Change change) {
        const std::string file = fileIn(camera);
        EXPECT_EQ(0, kxinfo({"save", "S1234", file, "--switch"}).status);
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
                  "Gain=9", "BalanceRatio[Red]=1", "BalanceRatio[Blue]=2", "balanceWhitePeriod=77"},
                 {"gamma", "S1234", "2.5"},
                 {"auto", "S1234", "on", "--target", "0.25", "--gain", "3..6", "--exposure",
                  "200..20000"},
                 {"lut", "S1234", "load", curve},
                 {"lut", "S1234", "gamma"}}) {
            const Result result = kxinfo(command);
            EXPECT_EQ(0, result.status) << result;
        }
    }

    // Until the camera's table has come so far.
    static void waitFor(const WatchedCamera &camera, const std::string &line) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (camera.snapshot().find(line) == std::string::npos)
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    }

    static constexpr char kNothing[] = "Nothing to restore: the camera is set as the file says.\n";
};

constexpr char SaveRestore::kNothing[];

TEST_F(SaveRestore, BringsEverySettingBackInWhateverStateTheCameraWas) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}, {reg::kLutValues + 4, 7}});
    // A gain that no number of decibels stands for exactly.
    EXPECT_EQ(0, kxinfo({"set", "S1234", "Gain=7.123"}).status);
    const std::string file = fileIn(camera);
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();

        EXPECT_EQ((Result{0,
                          "Camera S1234 (C1936)\n26 settings and 48 entries of the lookup table "
                          "saved to " +
                              file + "\n",
                          ""}),
                  kxinfo({"save", "S1234", file, "--switch"}));
        EXPECT_EQ(before, camera.snapshot()) << "saving changes nothing";

        changeEverything(camera);
        EXPECT_GE(changes(before, camera.snapshot()).size(), 24u);
        const Result result = kxinfo({"restore", "S1234", file});

        EXPECT_EQ(0, result.status) << result;
        EXPECT_EQ("", result.err);
        EXPECT_EQ(before, camera.snapshot());
        EXPECT_EQ(restored(kNothing), kxinfo({"restore", "S1234", file}));
        EXPECT_EQ(before, camera.snapshot());
    }
    EXPECT_EQ("", violations(readFile(file), "settings.schema.json"));
}

TEST_F(SaveRestore, WritesNothingWhenTheCameraIsSetAsTheFileSays) {
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        WatchedCamera camera({smallTables()});
        camera.write(state.writes);
        EXPECT_EQ(0, kxinfo({"save", "S1234", fileIn(camera)}).status);
        EXPECT_EQ(restored(kNothing), kxinfo({"restore", "S1234", fileIn(camera)}));

        // Who writes a state takes control and gives it back, and so does restore.
        const int ofState = state.writes.empty() ? 0 : static_cast<int>(state.writes.size()) + 2;
        EXPECT_EQ(ofState + 2, camera.stopAndCount()["writereg"]);
    }
}

TEST_F(SaveRestore, TellsWhatItRestoresAndBeforehandWhatItWould) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}});
    const std::string file = changed(camera, [](auto &) {});
    changeEverything(camera);
    (void)camera.changes();

    const Result dry = kxinfo({"restore", "S1234", file, "--dry-run"});
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ(0, dry.status);
    EXPECT_EQ("", dry.err);
    auto foretold = linesOf(dry.out);
    EXPECT_EQ("What becomes of these shows when they are written: the lookup table, "
              "exposureAutoMaxValue, gainAutoMaxValue, ExposureTime, Gain, BalanceRatio[Red], "
              "BalanceRatio[Blue], lutSize, Width, Height",
              foretold.back());
    foretold.pop_back();
    const Result result = kxinfo({"restore", "S1234", file});
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
              result);
    for (const std::string &line : foretold)
        EXPECT_THAT(linesOf(result.out), testing::Contains(line));
    EXPECT_GE(foretold.size(), 15u);
}

TEST_F(SaveRestore, LeavesOutWhatItCannotReadAndSaysWhy) {
    const std::string place = "<Address>0x00010124</Address>\n    <Length>4</Length>\n    ";
    WatchedCamera camera({smallTables(), {place + "<AccessMode>RW", place + "<AccessMode>WO"}});
    const std::string file = fileIn(camera);
    const Result result = kxinfo({"save", "S1234", file});
    EXPECT_EQ("Camera S1234 (C1936)\n11 settings and 0 entries of the lookup table saved to " +
                  file + "\n",
              result.out);
    EXPECT_EQ(
        "kxinfo: left out, since it needs autoBrightnessMode on Active, which is on Off: "
        "autoBrightnessTarget, autoBrightnessSequence, exposureAutoMinValue, exposureAutoMaxValue, "
        "gainAutoMinValue, gainAutoMaxValue, gainAutoSource, ExposureAuto, GainAuto.\n"
        "kxinfo: left out, since it can only be written: ReverseX.\n"
        "kxinfo: left out, since it needs GainSelector on SensorAll, which is on DigitalAll: "
        "Gain.\n"
        "kxinfo: left out, since it needs BalanceRatioSelector on Red, which is on Green: "
        "BalanceRatio[Red].\n"
        "kxinfo: left out, since it needs BalanceRatioSelector on Blue, which is on Green: "
        "BalanceRatio[Blue].\n"
        "kxinfo: left out, since it is not available at present: balanceWhitePeriod.\n"
        "kxinfo: left out, since it needs lutType on GammaCorrection, which is on UserDefined: "
        "gammaCorrection.\n"
        "kxinfo: left out, since its entries are read by writing their index: the lookup table.\n"
        "kxinfo: with --switch kxinfo switches the camera for a moment, and reads such settings "
        "too.\n",
        result.err);
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(camera.changes(), IsEmpty());
    camera.write({{reg::kLutValues, 9}, {reg::kWidth, 640}});
    (void)camera.changes();
    EXPECT_EQ(restored("Width: 640 px -> 1936 px\n"), kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(), ElementsAre("Width: 640 -> 1936"));
}

TEST_F(SaveRestore, BringsBackWhatAutomaticFunctionsLock) {
    for (const bool hasMode : {true, false}) {
        std::vector<Replacement> parts = {smallTables(), lockedBy("ExposureTime", "ExposureAuto"),
                                          lockedBy("Gain", "GainAuto")};
        if (!hasMode) {
            parts.push_back(without("autoBrightnessMode"));
            parts.push_back(alwaysAvailable("BrightnessIsAutomatic"));
        }
        WatchedCamera camera(parts);
        const std::string before = camera.snapshot();
        const std::string file = changed(camera, [](auto &) {});
        EXPECT_EQ(before, camera.snapshot());
        ASSERT_EQ(0, kxinfo({"set", "S1234", "ExposureTime=5000", "Gain=3"}).status);
        ASSERT_EQ(0, kxinfo({"auto", "S1234", "on"}).status);

        const Result result = kxinfo({"restore", "S1234", file});
        EXPECT_EQ(0, result.status) << result;
        EXPECT_THAT(result.out, HasSubstr("ExposureTime: 5000 us -> 10000 us\n"
                                          "Gain: 3 dB -> 6.0206 dB\n"));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(SaveRestore, TakesWhatSomebodyHasEditedInWhateverOrderItStands) {
    WatchedCamera camera({smallTables()});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = 12;
        settingOf(document, "ExposureTime")["value"] = 5.5;
        settingOf(document, "ExposureTime")["unit"] = "ms";
        settingOf(document, "Width")["value"] = 640;
        settingOf(document, "ReverseX")["value"] = true;
        settingOf(document, "ExposureAuto")["value"] = "Continuous";
        std::reverse(document["settings"].begin(), document["settings"].end());
    });

    EXPECT_EQ(restored("ExposureAuto: Off -> Continuous\n"
                       "Width: 1936 px -> 640 px\n"
                       "ReverseX: false -> true\n"
                       "ExposureTime: 10000 us -> 5500 us\n"
                       "Gain: 6.0206 dB -> 12 dB\n"),
              kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "ExposureTime: 10000 -> 5500",
                            "Gain[SensorAll]: 2 -> 3.9810717", "ReverseX: 0 -> 1",
                            "Width: 1936 -> 640"));
}

TEST_F(SaveRestore, RestoresWhatTheCameraTakesAndTellsWhyNotTheRest) {
    WatchedCamera camera({smallTables(), refusesWrites("ReverseY"), without("ReverseX")});
    const std::string file = changed(camera, [](ordered_json &document) {
        settingOf(document, "Gain")["value"] = 40;
        settingOf(document, "Width")["value"] = 99;
        settingOf(document, "Height")["value"] = 480;
        settingOf(document, "ReverseY")["value"] = false;
        settingOf(document, "ExposureAuto")["value"] = "Once";
        document["settings"].push_back({{"name", "ReverseX"}, {"value", true}});
        document["lookupTables"][1]["entries"].push_back(1);
        document["lookupTables"][2]["entries"][15] = 16;
        document["lookupTables"][0]["entries"][3] = 5;
    });

    EXPECT_EQ(
        restored(
            "Height: 1216 px -> 480 px\nlookup table: 1 entries\n",
            "kxinfo: ExposureAuto is not restored: ExposureAuto=Once is not possible; expected is "
            "one of "
            "Off, Continuous.\n"
            "kxinfo: Width is not restored: Width=99 px is not possible: its step is 16; the "
            "nearest "
            "are 96 and 112.\n"
            "kxinfo: ReverseX is not restored: the camera has no such feature.\n"
            "kxinfo: ReverseY is not restored: Cannot write the camera's register 0x904 for "
            "'ReverseY': "
            "the register cannot be written (0x8004).\n"
            "kxinfo: Gain is not restored: Gain=40 dB is not possible; expected is a number, 0 to "
            "18.0618 dB.\n"
            "kxinfo: the lookup table of Green stays as it is: the file holds 17 entries, but the "
            "camera's table has 16.\n"
            "kxinfo: the lookup table of Blue stays as it is: value 16 is outside 0 to 15.\n"),
        kxinfo({"restore", "S1234", file}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("Height: 1216 -> 480", "LUTValue[Red][3]: (none) -> 5"));
}

TEST_F(SaveRestore, RefusesLimitsThatAreUpsideDown) {
    WatchedCamera camera({smallTables()});
    const std::string file = camera.folder().file("camera.json", R"({"version": 1,
        "camera": {"manufacturer": "Dalsa", "model": "C1936", "serial": "S1234"},
        "settings": [{"name": "Height", "value": 480},
                     {"name": "exposureAutoMinValue", "value": 20000},
                     {"name": "exposureAutoMaxValue", "value": 1000}]})");
    const Result result = kxinfo({"restore", "S1234", file});
    EXPECT_EQ(2, result.status) << result;
    EXPECT_THAT(result.err, StartsWith("kxinfo: exposureAutoMinValue would be 20000 us, above "
                                       "exposureAutoMaxValue, 1000 us. "));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(SaveRestore, ForetellsWhatTheCameraWouldTakeAndWouldRefuse) {
    WatchedCamera camera({smallTables()});
    const auto foretold = [&](const std::string &settings) {
        return kxinfo({"restore", "S1234", camera.folder().file("camera.json", R"({"version": 1,
            "camera": {"manufacturer": "Dalsa", "model": "C1936", "serial": "S1234"},
            "settings": [)" + settings + "]}"),
                       "--dry-run"});
    };
    const std::string open = "What becomes of these shows when they are written: ";

    EXPECT_EQ(restored(kNothing), foretold(R"({"name": "Width", "value": 1936})"));
    EXPECT_EQ(restored(open + "Gain, gammaCorrection\n"), foretold(R"(
        {"name": "Gain", "value": 6}, {"name": "gammaCorrection", "value": 1})"));
    EXPECT_EQ(
        restored("ReverseX: false -> true\nExposureTime: 10000 us -> 5000 us\n",
                 "kxinfo: Width is not restored: Width=99999 is not possible; expected is a whole "
                 "number, 16 to 1936 px.\n"),
        foretold(R"({"name": "Width", "value": 99999}, {"name": "ReverseX", "value": "yes"},
        {"name": "ExposureTime", "value": "5ms"})"));
    EXPECT_EQ(restored("Width: 1936 px -> 640 px\nOffsetX: 0 px -> 256 px\n" + open + "OffsetX\n"),
              foretold(R"({"name": "Width", "value": 640}, {"name": "OffsetX", "value": 256})"));
    const std::string limits = R"({"name": "exposureAutoMinValue", "value": 20000},
        {"name": "exposureAutoMaxValue", "value": 1000})";
    EXPECT_EQ(2, foretold(limits).status);
    camera.write({{reg::kAutoBrightnessMode, 1}, {reg::kExposureAuto, 1}});
    EXPECT_EQ(2, foretold(limits).status) << "where they can be read, too";
    (void)camera.changes();
}

TEST_F(SaveRestore, TellsOfAFileThatIsAnotherCameras) {
    const WatchedCamera camera({smallTables(), without("LUTValue")});
    const std::string file = changed(camera, [](ordered_json &document) {
        document["camera"]["serial"] = "S\u202e9";
        document["lookupTables"] = {{{"channel", nullptr}, {"entries", {1}}}};
    });
    const std::string noTable = "kxinfo: the lookup table is left out: this camera has no lookup "
                                "table whose entries can be written (\"LUTIndex\" and "
                                "\"LUTValue\").\n";
    EXPECT_EQ(restored("", "kxinfo: \"" + file + "\" was saved from another camera, S\\u202e9.\n" +
                               noTable),
              kxinfo({"restore", "S1234", file}));
    const std::string text = readFile(file);
    std::ofstream(file) << replaced(text, {"\"C1936\"", "\"C99\""});
    EXPECT_EQ(restored("", "kxinfo: \"" + file +
                               "\" was saved from a camera of another model, C99; what this one "
                               "does not take is left as it is.\n" +
                               noTable),
              kxinfo({"restore", "S1234", file}));
}

TEST_F(SaveRestore, TakesAnEmptyNameForNoFile) {
    for (const char *command : {"save", "restore"})
        EXPECT_THAT(kxinfo({command, "S1234", ""}).err, testing::StartsWith("kxinfo: \"\" cannot"));
}

TEST_F(SaveRestore, SavesEveryCameraToAFolderThoughOneFails) {
    const Simcam cameras(
        {"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3", "--camera", "S.3@127.0.0.4"});
    const TemporaryFolder folder;
    const std::string all = folder.path() + "/all";
    fs::create_directories(all + "/S1.json");
    const Result result = kxinfo({"save", "--all", all});
    EXPECT_EQ(3, result.status);
    EXPECT_THAT(result.err, HasSubstr("kxinfo: camera S1: \"" + all +
                                      "/S1.json\" cannot be written: it is a folder."));
    EXPECT_THAT(namesIn(all), ElementsAre("S1.json", "S2.json", "S_3.json"));
    EXPECT_EQ("S2", ordered_json::parse(readFile(all + "/S2.json"))["camera"]["serial"]);
    EXPECT_EQ(2, kxinfo({"save", "--all", all, "S2"}).status);
}

TEST_F(SaveRestore, FindsOutThatAFileIsOfNoUseBeforeACameraIsLookedFor) {
    // There is none.
    EXPECT_EQ((Result{3, "",
                      "kxinfo: \"/none/camera.json\" cannot be written: No such file or "
                      "directory.\n"}),
              kxinfo({"save", "S1234", "/none/camera.json"}));
    const TemporaryFolder folder;
    const std::string file = folder.file("camera.json", "mine");
    EXPECT_EQ(1, kxinfo({"save", "S1234", file}).status);
    EXPECT_EQ("mine", readFile(file));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("camera.json"));
    EXPECT_EQ(
        (Result{2, "", "kxinfo: \"/none\\x1b[2J\" cannot be read: No such file or directory.\n"}),
        kxinfo({"restore", "S1234", "/none\x1b[2J"}));
}

// Links of the test's own stand for /dev/stdout: root's kxinfo could replace that, were it wrong.
TEST_F(SaveRestore, WritesToStandardOutputAndReadsStandardInput) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kBalanceWhiteAuto, 2}}); // so that nothing is left out
    const std::string folder = camera.folder().path();
    const std::string file = fileIn(camera);
    ASSERT_EQ(0, kxinfo({"save", "S1234", file, "--switch"}).status);
    const std::string text = readFile(file);
    const std::string out = folder + "/stdout";
    fs::create_symlink("/proc/self/fd/1", out);
    const std::string sh = "/bin/sh";
    for (const std::string &name : {out, std::string("-")}) {
        EXPECT_EQ((Result{0, text, ""}), kxinfo({"save", "S1234", name, "--switch"}));
        EXPECT_EQ((Result{0, text, ""}),
                  run({sh, "-c", "\"$0\" save S1234 \"$1\" --switch | cat", KXINFO_PROGRAM, name}));
        EXPECT_EQ((Result{0, "", ""}), run({sh, "-c", "\"$0\" save S1234 \"$1\" --switch > \"$2\"",
                                            KXINFO_PROGRAM, name, folder + "/named"}));
        EXPECT_EQ(text, readFile(folder + "/named"));
        EXPECT_EQ((Result{-SIGPIPE, "", ""}),
                  kxinfo({"save", "S1234", name, "--switch"}, Stream::brokenPipe()));
    }
    EXPECT_EQ(restored(kNothing),
              run({sh, "-c", "cat \"$1\" | \"$0\" restore S1234 -", KXINFO_PROGRAM, file}));
}

TEST_F(SaveRestore, KeepsTheOldFileWhenTheCameraFallsSilent) {
    const TemporaryFolder folder;
    const std::string file = folder.path() + "/camera.json";
    const Result result = whenSilentHalfway({"save", "S1234", file, "--switch"}, {smallTables()});
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
    EXPECT_EQ("S1234", ordered_json::parse(readFile(file))["camera"]["serial"])
        << "of the run before";
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("camera.json"));
}

TEST_F(SaveRestore, PutsBackWhatItHadRestoredWhenTheUserInterrupts) {
    WatchedCamera camera; // a table of full size takes long enough
    ordered_json document = {
        {"version", 1},
        {"camera", {{"manufacturer", "Dalsa"}, {"model", "C1936"}, {"serial", "S1234"}}},
        {"settings", {{{"name", "Width"}, {"value", 640}}}},
        {"lookupTables", {{{"channel", "Red"}, {"entries", std::vector<int>(4096, 5)}}}}};
    const std::string file = camera.folder().file("camera.json", document.dump());
    camera.write({{reg::kLutMode, 1}, {reg::kLutType, 1}, {reg::kLutValues + 4, 7}});
    const std::string before = camera.snapshot();

    Process kxinfo(KXINFO_PROGRAM, {"restore", "S1234", file});
    waitFor(camera, "LUTValue[Red][9] = 5\n");
    kxinfo.signal(SIGINT);
    const Process::End end = kxinfo.wait();

    EXPECT_EQ(-1, end.status) << "of the signal";
    EXPECT_EQ("", end.output);
    EXPECT_THAT(
        end.errors,
        HasSubstr("kxinfo: stopped, as asked for.\n"
                  "kxinfo: putting back the entries of the lookup table; once more (Ctrl-C) ends "
                  "at once.\n"
                  "kxinfo: the entries written to the user's lookup table are put back.\n"));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(SaveRestore, LeavesTheCameraAsItWasWhenTheUserInterruptsSaving) {
    WatchedCamera camera; // a table of full size takes long enough
    camera.write({{reg::kLutMode, 1}, {reg::kLutType, 1}});
    const std::string before = camera.snapshot();
    const auto names = namesIn(camera.folder().path());

    Process kxinfo(KXINFO_PROGRAM, {"save", "S1234", fileIn(camera), "--switch"});
    waitFor(camera, "LUTIndex = 1"); // or 10, or 1000: it goes by fast
    kxinfo.signal(SIGTERM);
    const Process::End end = kxinfo.wait();

    EXPECT_EQ(-1, end.status) << "of the signal";
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n", end.errors);
    EXPECT_EQ(before, camera.snapshot());
    EXPECT_EQ(names, namesIn(camera.folder().path()));
}

} // namespace
