// kxinfo probe --all: networks of several cameras, each probed in a process of its own.

#include "wire.h"

#include <csignal>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kHint = "Add '--log stdout --level debug' to see how far it came.";

class ProbeAll : public Wire {
protected:
    static std::string addressOf(int number) { return "127.0.0.1" + std::to_string(number); }

    static std::string serialOf(int number) { return "S" + std::to_string(number); }

    // What serves cameras S0 up to below S[count], but for one.
    static std::vector<std::string> cameras(int count, int except = -1) {
        std::vector<std::string> arguments;
        for (int i = 0; i < count; ++i)
            if (i != except)
                arguments.insert(arguments.end(), {"--camera", serialOf(i) + "@" + addressOf(i)});
        return arguments;
    }

    static Result probeAll(const std::string &name, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"probe", "--all", "--plugin", plugin(name)});
        return kxinfo(options);
    }

    static std::string message(const std::string &serial, const std::string &text) {
        return "kxinfo: camera " + serial + ": " + text + "\n";
    }
};

TEST_F(ProbeAll, ShowsAllNineCamerasAsProbesOfEachAloneDo) {
    const Simcam simcam(cameras(9));
    ASSERT_EQ(0, kxinfoHost({"S0"}).status) << "the first probe leaves its traces";
    std::string tables;
    json expected = {{"version", 2}, {"cameras", json::array()}};
    for (int i = 0; i < 9; ++i) {
        tables += (i ? "\n" : "") + kxinfoHost({serialOf(i)}).out;
        const json alone = json::parse(kxinfoHost({serialOf(i), "--json"}).out);
        ASSERT_EQ(15u, alone["parameters"].size());
        expected["cameras"].push_back({{"serial", serialOf(i)},
                                       {"status", 0},
                                       {"messages", json::array()},
                                       {"parameters", alone["parameters"]}});
    }

    EXPECT_EQ((Result{0, tables, ""}), kxinfo({"probe", "--all"}));
    const Result result = kxinfo({"probe", "--all", "--json"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(expected, json::parse(result.out));
    EXPECT_EQ("", violations(result.out, "probe.schema.json"));
}

TEST_F(ProbeAll, TellsWhatIsWrongWithEachCamera) {
    const Simcam simcam(cameras(9));
    const auto shown = [](const std::string &serial) {
        return kxinfoHost({serial, "--plugin", plugin("one_of_each"), "--log", "stdout"});
    };
    const auto messageOf = [&shown](const std::string &serial) {
        const std::string err = shown(serial).err;
        return err.substr(8, err.size() - 9);
    };
    const std::string crashed = "the probe crashed, by signal 9 (Killed). " + kHint;
    const std::string silent = "the probe ended without a result, and did not say why. " + kHint;
    const std::string flooded = "kxinfo wrote more than 16 MiB, and was ended.";

    const Result result = probeAll("one_of_each", {"--log", "stdout"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ(shown("S0").out + "\n" + shown("S1").out + "\nprobing S2\n\n" + shown("S3").out +
                  "\n" + shown("S4").out + "\nprobing S5\n\n" + shown("S6").out + "\n" +
                  shown("S7").out + "\n",
              result.out.substr(0, result.out.find("probing S8")));
    EXPECT_EQ(message("S2", crashed) + message("S3", messageOf("S3")) +
                  message("S4", messageOf("S4")) + message("S5", silent) +
                  message("S6", messageOf("S6")) + message("S8", flooded),
              result.err);

    const Result withJson = probeAll("one_of_each", {"--json", "--log", "stdout"});
    EXPECT_EQ(3, withJson.status);
    EXPECT_THAT(withJson.err, StartsWith("S0: probing S0\nS1: probing S1\n"));
    const json found = json::parse(withJson.out)["cameras"];
    const int statuses[] = {0, 0, 3, 1, 3, 3, 0, 0, 3};
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(statuses[i], found[i]["status"]) << i;
        EXPECT_EQ(statuses[i] != 0, found[i]["parameters"].is_null()) << i;
    }
    EXPECT_EQ(json({crashed}), found[2]["messages"]);
    EXPECT_EQ(json({silent}), found[5]["messages"]);
}

TEST_F(ProbeAll, CompletesTheOthersWhenACameraFallsSilentInTheMiddle) {
    int commands = 0;
    json whole;
    {
        Simcam camera({"--camera", "S3@" + addressOf(3)});
        whole = json::parse(kxinfoHost({"S3", "--json"}).out)["parameters"];
        commands = commandsIn(camera.stop().output);
    }
    const Simcam others(cameras(5, 3));
    const Simcam silent(
        {"--silent-after", std::to_string(commands * 3 / 4), "--camera", "S3@" + addressOf(3)});

    const Result result = kxinfo({"probe", "--all", "--json"});

    EXPECT_EQ(0, result.status);
    const json found = json::parse(result.out)["cameras"];
    ASSERT_EQ(5u, found.size());
    for (size_t i = 0; i < 5; ++i)
        if (i != 3) {
            EXPECT_EQ(json::array(), found[i]["messages"]);
            EXPECT_EQ(whole, found[i]["parameters"]);
        }
    EXPECT_EQ(whole[0], found[3]["parameters"][0]);
    EXPECT_TRUE(found[3]["parameters"][14].contains("problem"));
    ASSERT_EQ(1u, found[3]["messages"].size());
    EXPECT_THAT(found[3]["messages"][0].get<std::string>(),
                HasSubstr("KxScParamOutLines. An error"));
}

TEST_F(ProbeAll, TellsWhichCameraIsControlledByAnotherProgram) {
    const Simcam free({"--camera", "S1@127.0.0.3"});
    const Simcam taken({"--camera", "S0@127.0.0.2"});
    Client other;
    ASSERT_EQ("0000", other.write(0x0A00, 2));
    ASSERT_EQ("0000", other.write(0x0938, 60000)); // ms without a heartbeat

    const std::string table = kxinfo({"probe", "S1"}).out;
    const Result result = kxinfo({"probe", "--all"});

    EXPECT_EQ(1, result.status);
    EXPECT_EQ(table, result.out);
    EXPECT_THAT(result.err,
                testing::MatchesRegex("kxinfo: camera S0: " + controlledByAnother("S0")));
}

TEST_F(ProbeAll, SaysThatThereIsNoDalsaCamera) {
    const Simcam foreign({"--vendor", "Other", "--camera", "X1@127.0.0.2"});
    const std::string sentence = kxinfo({"get"}).err;
    ASSERT_THAT(sentence, StartsWith("kxinfo: no Dalsa camera answered, but"));

    EXPECT_EQ((Result{1, "", sentence}), kxinfo({"probe", "--all"}));
    EXPECT_EQ((Result{1, "{\n  \"version\": 2,\n  \"cameras\": []\n}\n", sentence}),
              kxinfo({"probe", "--all", "--json"}));
}

TEST_F(ProbeAll, TakesNoCameraForAnother) {
    const Simcam simcam({"--camera", "S10@127.0.0.2", "--camera", "S1@127.0.0.3"});
    const std::string two = kxinfoHost({"S10"}).out + "\n" + kxinfoHost({"S1"}).out;
    const Simcam twin({"--camera", "S1@127.0.0.4", "--set", "Width=640"});

    const Result result = kxinfo({"probe", "--all"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ(two + "\n", result.out.substr(0, two.size() + 1));
    EXPECT_THAT(result.out.substr(two.size()),
                HasSubstr("\nWidth                            640 "));
    // Another plug-in may open another camera.
    const std::string inFront = "the plug-in opens another camera whose serial number begins so.";
    EXPECT_EQ((Result{1, "",
                      message("S10", "no camera has a serial number that begins with \"S10\". Run "
                                     "'kxinfo list' to see the cameras that answer.") +
                          "kxinfo: cameras S1 and S1: " + inFront + "\n"}),
              probeAll("two_cameras"));
}

TEST_F(ProbeAll, TakesASerialNumberForNoOption) {
    const Simcam simcam({"--camera", "--json@127.0.0.2", "--camera", "-h@127.0.0.3"});
    const Result result = probeAll("tells_arguments");

    EXPECT_EQ(0, result.status);
    EXPECT_EQ(message("--json", "serial \"--json\" mode 1 level 4") +
                  message("-h", "serial \"-h\" mode 1 level 4"),
              result.err);
}

TEST_F(ProbeAll, EndsItsChildrenWhenItIsStopped) {
    const Simcam simcam({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3", "--delay", "50"});
    Client other;
    Process probe(KXINFO_PROGRAM, {"probe", "--all"});
    while (other.read(0x0A00) != "00000002") {
    }

    probe.signal(SIGTERM);
    const Process::End end = probe.wait();

    EXPECT_EQ("00000000", other.read(0x0A00));
    EXPECT_EQ(-1, end.status);
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: cameras S1 and S2: stopped, as asked for. What a probe has switched on the "
              "camera for the moment may have stayed.\n",
              end.errors);
}

TEST_F(ProbeAll, TakesNoSerialNumber) {
    EXPECT_EQ((Result{2, "",
                      "kxinfo: CAMERA excludes --all. Run 'kxinfo probe --help' for what is "
                      "expected.\n"}),
              kxinfo({"probe", "S1", "--all"}));
}

} // namespace
