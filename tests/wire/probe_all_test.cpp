// kxinfo probe --all: networks of several cameras, each probed in a process of its own.

#include "wire.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class ProbeAll : public Wire {
protected:
    static std::string addressOf(int number) { return "127.0.0.1" + std::to_string(number); }

    static const std::string moreMayExist;

    static std::string serialOf(int number) { return "S" + std::to_string(number); }

    // What serves cameras S0 up to below S[count], but for one.
    static std::vector<std::string> cameras(int count, int except = -1) {
        std::vector<std::string> arguments;
        for (int i = 0; i < count; ++i)
            if (i != except)
                arguments.insert(arguments.end(), {"--camera", serialOf(i) + "@" + addressOf(i)});
        return arguments;
    }
};

const std::string ProbeAll::moreMayExist =
    "kxinfo: the plug-in sees eight cameras at most, and it sees as many: more may be there, which "
    "'kxinfo probe SERIAL' may find by their whole serial numbers alone. To list them, disconnect "
    "some of these for the time, or set KXGIGE_INTERFACES to search one network at a time.\n";

TEST_F(ProbeAll, ShowsEveryCameraAsAProbeOfItAloneDoes) {
    const Simcam simcam(cameras(8));
    ASSERT_EQ(0, kxinfo({"probe", "S0"}).status) << "the first probe leaves its traces";
    std::string tables;
    for (int i = 0; i < 8; ++i)
        tables += (i ? "\n" : "") + kxinfo({"probe", serialOf(i)}).out;

    EXPECT_EQ((Result{0, tables, moreMayExist}), kxinfo({"probe", "--all"}));
}

TEST_F(ProbeAll, HasEveryCameraInItsJsonAsTheProbeOfItAloneHasIt) {
    const Simcam simcam(cameras(8));
    json expected = {{"version", 1}, {"moreMayExist", true}, {"cameras", json::array()}};
    for (int i = 0; i < 8; ++i) {
        const json alone = json::parse(kxinfo({"probe", serialOf(i), "--json"}).out);
        ASSERT_EQ(15u, alone["parameters"].size());
        expected["cameras"].push_back({{"serial", serialOf(i)},
                                       {"status", 0},
                                       {"messages", json::array()},
                                       {"parameters", alone["parameters"]}});
    }

    const Result result = kxinfo({"probe", "--all", "--json"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ(moreMayExist, result.err);
    EXPECT_EQ(expected, json::parse(result.out));
    EXPECT_EQ("", violations(result.out, "probe.schema.json"));
}

TEST_F(ProbeAll, CompletesTheOthersWhenACameraFallsSilentInTheMiddle) {
    int commands = 0;
    json whole;
    {
        Simcam camera({"--camera", "S3@" + addressOf(3)});
        whole = json::parse(kxinfo({"probe", "S3", "--json"}).out)["parameters"];
        commands = commandsIn(camera.stop().output);
    }
    const Simcam others(cameras(8, 3));
    const Simcam silent(
        {"--silent-after", std::to_string(commands * 3 / 4), "--camera", "S3@" + addressOf(3)});

    const Result result = kxinfo({"probe", "--all", "--json"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ(moreMayExist, result.err);
    EXPECT_EQ("", violations(result.out, "probe.schema.json"));
    const json found = json::parse(result.out)["cameras"];
    ASSERT_EQ(8u, found.size());
    for (size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(serialOf(static_cast<int>(i)), found[i]["serial"]);
        EXPECT_EQ(0, found[i]["status"]);
        if (i == 3)
            continue;
        EXPECT_EQ(json::array(), found[i]["messages"]);
        EXPECT_EQ(whole, found[i]["parameters"]);
    }
    const json &got = found[3]["parameters"];
    const size_t count = got.size();
    ASSERT_GT(count, 0u);
    ASSERT_LT(count, 15u);
    EXPECT_EQ(json(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(count)), got);
    ASSERT_EQ(1u, found[3]["messages"].size());
    EXPECT_THAT(found[3]["messages"][0].get<std::string>(),
                StartsWith("the plug-in published " + std::to_string(count) +
                           " of 15 settings; missing: "));
}

TEST_F(ProbeAll, TellsWhichCameraIsControlledByAnotherProgram) {
    const Simcam free({"--camera", "S1@127.0.0.3"});
    const Simcam taken({"--camera", "S0@127.0.0.2"});
    Client other;
    ASSERT_EQ("0000", other.write(0x0A00, 2));

    const std::string table = kxinfo({"probe", "S1"}).out;
    const Result result = kxinfo({"probe", "--all"});

    EXPECT_EQ(1, result.status);
    EXPECT_EQ(table, result.out);
    EXPECT_THAT(result.err,
                testing::MatchesRegex("kxinfo: camera \"S0\": " + controlledByAnother("S0")));
}

TEST_F(ProbeAll, SaysThatThereIsNoCamera) {
    const std::string sentence =
        "kxinfo: no Dalsa camera answered. Check that the camera has power, is on this computer's "
        "network, and that no firewall keeps its answer away; then try again.\n";

    EXPECT_EQ((Result{1, "", sentence}), kxinfo({"probe", "--all"}));
    EXPECT_EQ((Result{1, "{\n  \"version\": 1,\n  \"moreMayExist\": false,\n  \"cameras\": []\n}\n",
                      sentence}),
              kxinfo({"probe", "--all", "--json"}));
}

TEST_F(ProbeAll, ShowsACameraInFrontOfOneWhoseSerialNumberBeginsTheSame) {
    const Simcam simcam({"--camera", "S1@127.0.0.2", "--camera", "S10@127.0.0.3"});

    const std::string tables = kxinfo({"probe", "S1"}).out + "\n" + kxinfo({"probe", "S10"}).out;

    EXPECT_EQ((Result{0, tables, ""}), kxinfo({"probe", "--all"}));
}

TEST_F(ProbeAll, ShowsTheEightCamerasThatThePluginSeesOfNineAndSaysThatMoreMayBeThere) {
    const Simcam simcam(cameras(9));
    std::string tables;
    for (int i = 0; i < 8; ++i)
        tables += (i ? "\n" : "") + kxinfo({"probe", serialOf(i)}).out;

    EXPECT_EQ((Result{0, tables, moreMayExist}), kxinfo({"probe", "--all"}));
}

TEST_F(ProbeAll, CountsCamerasOfOtherMakersWhereItSaysThatMoreMayBeThere) {
    std::vector<std::string> arguments = {"--vendor", "Other"};
    for (const std::string &argument : cameras(8))
        arguments.push_back(argument);
    Simcam foreign(arguments);
    const Result none = kxinfo({"probe", "--all", "--json"});

    EXPECT_EQ(1, none.status);
    EXPECT_EQ("{\n  \"version\": 1,\n  \"moreMayExist\": true,\n  \"cameras\": []\n}\n", none.out);
    EXPECT_THAT(none.err, testing::EndsWith(moreMayExist));

    foreign.stop();
    const Simcam seven(cameras(7));
    const Result whole = kxinfo({"probe", "--all"});
    EXPECT_EQ(0, whole.status);
    EXPECT_EQ("", whole.err);
}

} // namespace
