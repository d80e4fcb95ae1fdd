// kxinfo probe of one camera: it runs kxinfo-host, and says what that cannot know.

#include "wire.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class Probe : public Wire {
protected:
    static std::vector<std::string> with(const std::string &name,
                                         std::vector<std::string> options) {
        options.insert(options.end(), {"--plugin", plugin(name)});
        options.insert(options.begin(), "probe");
        return options;
    }

    static std::string replaced(std::string text, const std::string &from, const std::string &to) {
        for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
            text.replace(at, from.size(), to);
        return text;
    }

    static std::string problemIn(const json &document, const std::string &name) {
        for (const auto &parameter : document["parameters"])
            if (parameter["name"] == name)
                return parameter.value("problem", "");
        return "no such parameter";
    }
};

TEST_F(Probe, ShowsWhatTheHostShows) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});
    for (const std::vector<std::string> &options :
         std::vector<std::vector<std::string>>{{},
                                               {""},
                                               {"S56"},
                                               {"S5678", "--log", "stdout"},
                                               {"S5678", "--json"},
                                               {"S9"},
                                               {"S5678", "--plugin", "/nowhere/plugin.so"}}) {
        std::vector<std::string> probe = options;
        probe.insert(probe.begin(), "probe");
        const Result host = kxinfoHost(options);
        ASSERT_NE(host.out + host.err, "");
        EXPECT_EQ(host, kxinfo(probe));
    }
}

TEST_F(Probe, FindsTheCameraByWhatElseNamesIt) {
    const Simcam cameras(
        {"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3", "--set", "S2:DeviceUserID=left"});
    const Result bySerial = kxinfo({"probe", "S2"});
    ASSERT_EQ(0, bySerial.status);

    EXPECT_EQ(bySerial, kxinfo({"probe", "127.0.0.3"}));
    const Simcam twin({"--camera", "S2@127.0.0.4", "--set", "Width=640"});
    for (int i = 0; i < 5; ++i) // whichever of the two answers first
        EXPECT_EQ(bySerial, kxinfo({"probe", "127.0.0.3"}));
    EXPECT_EQ(bySerial, kxinfo({"probe", "left"}));
}

TEST_F(Probe, TakesTheFirstOfSeveralWhoseSerialNumbersBeginSo) {
    const Simcam cameras({"--camera", "S10@127.0.0.2", "--camera", "S11@127.0.0.3"});
    EXPECT_THAT(kxinfo({"probe", "S1", "--log", "stdout", "--level", "debug"}).out,
                HasSubstr("Using device Model:C1936 Serial:S10\n"));
    const Simcam twin({"--camera", "S11@127.0.0.4"});
    EXPECT_THAT(kxinfo({"probe", "S11"}).err,
                testing::MatchesRegex("kxinfo: several cameras fit \"S11\": .*\\. The first by "
                                      "address is probed\\.\n"));
}

TEST_F(Probe, TakesTheFirstThatBeginsSoAlsoBeyondThoseThatAHostSees) {
    std::vector<std::string> arguments;
    for (int i = 10; i < 20; ++i)
        arguments.insert(arguments.end(), {"--camera", (i < 18 ? "S" : "A") + std::to_string(i) +
                                                           "@127.0.0." + std::to_string(i)});
    const Simcam cameras(arguments);
    EXPECT_THAT(kxinfo({"probe", "A1", "--log", "stdout", "--level", "debug"}).out,
                HasSubstr("Using device Model:C1936 Serial:A18\n"));
}

TEST_F(Probe, HasNothingInTheLogThatActsOnATerminal) {
    const Simcam camera({"--model", "C\x1b[2J\nkxinfo: \u202efake", "--vendor", "Dalsa\a",
                         "--camera", "S1@127.0.0.2"});
    const std::string log = kxinfo({"probe", "S1", "--log", "stdout", "--level", "debug"}).out;
    EXPECT_THAT(log, HasSubstr("Model            : C?[2J?kxinfo: ???fake\n"));
    EXPECT_THAT(log, HasSubstr("Vendor           : Dalsa?\n"));
}

TEST_F(Probe, SaysWhatTheCameraLacks) {
    const TemporaryFolder folder;
    std::string model = readFile(BUILT_IN_DESCRIPTION);
    const auto rename = [&model](const std::string &name, const std::string &other) {
        model = replaced(model, '"' + name + '"', '"' + other + '"');
        model = replaced(model, '>' + name + '<', '>' + other + '<');
    };
    rename("AcquisitionFrameRate", "AcquisitionFrameRateAbs");
    rename("gammaCorrection", "otherGamma");
    const std::string integer = "<Integer Name=\"autoBrightnessTarget\">";
    model.replace(model.find("</Integer>", model.find(integer)), 10, "</Float>");
    model = replaced(model, integer, "<Float Name=\"autoBrightnessTarget\">");
    const Simcam camera(
        {"--description", folder.file("model.xml", model), "--camera", "S1234@127.0.0.2"});
    const Simcam other({"--camera", "S1235@127.0.0.3"});
    const std::string lines =
        "kxinfo: KxScParamAutoBrightTarget: the camera has autoBrightnessTarget as another kind: "
        "float, expected is integer.\n"
        "kxinfo: KxScParamFps: the camera has no feature AcquisitionFrameRate; it has "
        "AcquisitionFrameRateAbs instead.\n"
        "kxinfo: KxScParamGamma: the camera has no feature gammaCorrection.\n";

    const std::string several =
        "kxinfo: several cameras fit \"S12\": S1234 (Dalsa C1936, 127.0.0.2) and S1235 (Dalsa "
        "C1936, "
        "127.0.0.3). Name one of them, for example by its address. The "
        "first by address is probed.\n";
    for (const std::string name : {"S1234", "S12", ""})
        EXPECT_EQ((Result{0, kxinfoHost({name}).out, (name == "S12" ? several : "") + lines}),
                  kxinfo({"probe", name}));
    const Result result = kxinfo({"probe", "S1234", "--json"});
    EXPECT_EQ(lines, result.err);
    EXPECT_EQ("", violations(result.out, "probe.schema.json"));
    const json document = json::parse(result.out);
    EXPECT_EQ("the camera has no feature gammaCorrection", problemIn(document, "KxScParamGamma"));
    EXPECT_EQ("", problemIn(document, "KxScParamGain"));
}

TEST_F(Probe, SaysWhatIsMissingWhenTheCameraFallsSilentMeanwhile) {
    int commands = 0;
    {
        Simcam camera({"--camera", "S1234@127.0.0.2"});
        ASSERT_EQ(0, kxinfoHost({"S1234"}).status);
        commands = commandsIn(camera.stop().output);
    }
    const Simcam camera(
        {"--camera", "S1234@127.0.0.2", "--silent-after", std::to_string(commands - 11)});

    const Result result = kxinfo({"probe", "S1234", "--json"});

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, HasSubstr(" of 15 settings; missing: "));
    EXPECT_THAT(result.err, HasSubstr("KxScParamOutLines. An error of the camera ended the probe: "
                                      "Timeout Exception "));
    EXPECT_EQ("", violations(result.out, "probe.schema.json"));
    EXPECT_THAT(problemIn(json::parse(result.out), "KxScParamOutLines"),
                StartsWith("an error of the camera ended the probe: Timeout Exception "));
}

TEST_F(Probe, FreesTheCameraAtOnceWhenItIsStopped) {
    const Simcam camera({"--camera", "S1234@127.0.0.2", "--delay", "50"});
    Client other;
    Process probe(KXINFO_PROGRAM, {"probe", "S1234", "--log", "stdout", "--level", "debug"});
    while (probe.nextLine().find("KxTdProc entry") == std::string::npos) {
    }
    const auto controllerOf = [&other] { return other.read(0x0A00); };
    ASSERT_EQ("00000002", controllerOf());

    probe.signal(SIGINT);
    const Process::End end = probe.wait();

    EXPECT_EQ("00000000", controllerOf());
    EXPECT_EQ(-1, end.status) << "it dies of the signal";
    EXPECT_THAT(end.errors, StartsWith("kxinfo: stopped, as asked for. "));
}

TEST_F(Probe, SaysThatThePluginCrashedAfterItsLog) {
    EXPECT_EQ((Result{3, "[CIPROC:d]: the last line before the crash\n",
                      "kxinfo: the probe crashed, by signal 9 (Killed). Add '--log stdout --level "
                      "debug' to see how far it came.\n"}),
              kxinfo(with("crashes", {"S1", "--log", "stdout"})));
}

TEST_F(Probe, DiesQuietlyOfAReaderThatIsGone) {
    EXPECT_EQ((Result{-SIGPIPE, "", ""}),
              kxinfo(with("two_cameras", {"S1"}), Stream::brokenPipe()));
    EXPECT_EQ(3, kxinfo(with("two_cameras", {"S1"}), Stream::to("/dev/full")).status);
}

TEST_F(Probe, EndsWellFromWhateverFolderTheHostLiesIn) {
    const ScratchFolder folder;
    const std::string root = fs::canonical(folder.path());
    const std::string program = root + "/bin/kxinfo";
    fs::create_directories(root + "/bin");
    fs::create_directories(root + "/lib/kxinfo");
    fs::copy_file(KXINFO_PROGRAM, program);
    fs::copy(fs::path(KXINFO_PLUGIN).parent_path() / "platform", root + "/lib/kxinfo/platform",
             fs::copy_options::recursive);

    const Result without = run({program, "probe"});
    EXPECT_EQ(2, without.status);
    EXPECT_THAT(without.err,
                StartsWith("kxinfo: the program that runs plug-ins is not where kxinfo "
                           "looks for it: " +
                           root + "/lib/kxinfo-host"));

    fs::copy_file(KXINFO_HOST, root + "/lib/kxinfo/kxinfo-host");
    fs::copy_file(plugin("two_cameras"), root + "/lib/kxinfo/libkxinfo-dalsa.so");
    EXPECT_EQ(kxinfoHost({"--plugin", plugin("two_cameras")}), run({program, "probe"}));
}

TEST_F(Probe, FindsItsOwnPlatformThoughAnotherOfThatNameIsLookedForFirst) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});
    const TemporaryFolder folder;
    folder.file("libGevApi.so.2", "of another maker");
    const Result usual = kxinfo({"probe"});
    setenv("LD_LIBRARY_PATH", folder.path().c_str(), 1);
    EXPECT_EQ(usual, kxinfo({"probe"}));
    unsetenv("LD_LIBRARY_PATH");
    EXPECT_EQ("Printing all Dalsa devices information found:\n" + listed(0, "S1234"), usual.out);
}

TEST_F(Probe, HasJsonThatTheSchemaHoldsToItsForm) {
    const Simcam camera({"--camera", "S1@127.0.0.2"});
    const json whole = json::parse(kxinfo({"probe", "S1", "--json"}).out);
    const json all = json::parse(kxinfo({"probe", "--all", "--json"}).out);
    const auto with = [](json document, const std::string &path, const json &value) {
        document[json::json_pointer(path)] = value;
        return violations(document.dump(), "probe.schema.json");
    };
    EXPECT_EQ("", with(whole, "/parameters/6/current", "-Infinity"));
    EXPECT_EQ("", with(whole, "/parameters/6/problem", "why"));
    EXPECT_EQ("", with(whole, "/added", "later"));
    EXPECT_EQ("", with(all, "/cameras/0/messages/0", "a word"));

    EXPECT_NE("", with(whole, "/parameters/6/current", "infinite"));
    EXPECT_NE("", with(whole, "/parameters/6/type", "integer"));
    EXPECT_NE("", with(whole, "/parameters/6/problem", nullptr));
    EXPECT_NE("", with(whole, "/parameters/0/current", 0.5));
    EXPECT_NE("", with(whole, "/parameters/6/unit", "decibels"));
    EXPECT_NE("", with(whole, "/parameters/6/choices", json::array()));
    EXPECT_NE("", with(whole, "/parameters/14/choices", {1}));
    EXPECT_NE("", with(whole, "/parameters", nullptr));
    EXPECT_NE("", with(whole, "/cameras", json::array())) << "one camera, or all of them";
    EXPECT_NE("", with(whole, "/version", 2));
    EXPECT_NE("", with(all, "/cameras/0/status", 3)) << "a failure has no parameters";
    EXPECT_NE("", with(all, "/cameras/0/status", 4));
    EXPECT_NE("", with(all, "/cameras/0/messages", nullptr));
}

TEST_F(Probe, IsNoneOfTheCommandLinesThatOnceCrashed) {
    for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{
             {"--json", "list"}, {"--log", "stdout", "list"}, {"foo", "list"}}) {
        const Result result = kxinfo(arguments);
        EXPECT_GE(result.status, 1) << result;
        EXPECT_THAT(result.err, StartsWith("kxinfo: "));
    }
}

} // namespace
