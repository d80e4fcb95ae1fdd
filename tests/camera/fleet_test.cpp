// Commands on every camera at once.

#include <chrono>
#include <csignal>

#include <nlohmann/json.hpp>

#include "wire.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::SizeIs;

class Fleet : public Wire {};

class FleetOfTwo : public Fleet {
protected:
    const Simcam cameras{{"--camera", "S1@127.0.0.2", "--camera", "S3@127.0.0.4", "--vendor",
                          "Other", "--camera", "X1@127.0.0.5"}};
};

// The third is silent once it has been found and asked for.
class FleetOfThree : public FleetOfTwo {
protected:
    const Simcam silent{{"--silent-after", "2", "--camera", "S2@127.0.0.3"}};
    const std::string why =
        "kxinfo: camera S2 cannot be opened: it does not answer. 'kxinfo doctor' tells what "
        "helps.\n";
};

TEST_F(FleetOfThree, ShowsValuesSideBySideAndHidesNone) {
    EXPECT_EQ((Result{1,
                      "Serial    Address    Width  ReverseX\n"
                      "S1      127.0.0.2  1936 px  false\n"
                      "S2      127.0.0.3  failed\n"
                      "S3      127.0.0.4  1936 px  false\n",
                      why}),
              kxinfo({"get", "--all", "Width", "ReverseX"}));
}

TEST_F(FleetOfThree, WritesAnObjectForEach) {
    const Result result = kxinfo({"get", "--all", "--json", "Width"});

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", violations(result.out, "fleet.schema.json"));
    const json objects = json::parse(result.out)["cameras"];
    ASSERT_THAT(objects, SizeIs(3));
    EXPECT_EQ("", violations(objects[0]["document"].dump(), "get.schema.json"));
    EXPECT_EQ(1936, objects[2]["document"]["properties"][0]["value"]);
    EXPECT_EQ(nullptr, objects[1]["document"]);
    EXPECT_EQ(1, objects[1]["status"]);
    EXPECT_THAT(objects[1]["messages"][0].get<std::string>(), HasSubstr("it does not answer"));
}

TEST_F(FleetOfThree, ShowsWhatOneCameraLacksAndTellsOnceWhatAllSay) {
    const Result result = kxinfo({"get", "--all", "Width", "Gain"});

    EXPECT_EQ(3, result.status);
    EXPECT_THAT(result.out, HasSubstr("S3      127.0.0.4  1936 px  -\n"));
    EXPECT_THAT(result.err, HasSubstr("kxinfo: cameras S1 and S3: Gain has no value: it needs "));
}

TEST_F(FleetOfTwo, IsSetAndRestored) {
    const TemporaryFolder folder;
    EXPECT_EQ((Result{0,
                      "Serial    Address  Result\n"
                      "S1      127.0.0.2  Width: 1936 px -> 640 px, Gain: 6.0206 dB -> 6 dB\n"
                      "S3      127.0.0.4  Width: 1936 px -> 640 px, Gain: 6.0206 dB -> 6 dB\n",
                      ""}),
              kxinfo({"set", "--all", "Width=640", "Gain=6"}));
    EXPECT_EQ(0, kxinfo({"save", "--all", folder.path()}).status);
    EXPECT_EQ(0, kxinfo({"set", "S3", "Width=1920"}).status);
    const std::string file = folder.path() + "/S1.json";
    const std::string change = "S3      127.0.0.4  Width: 1920 px -> 640 px\n";
    EXPECT_THAT(kxinfo({"restore", "--all", "--dry-run", file}).out, HasSubstr(change));
    EXPECT_THAT(kxinfo({"restore", "--all", file}).out, HasSubstr(change));
    EXPECT_EQ("640\n", kxinfo({"get", "S3", "Width", "--value"}).out);
}

TEST_F(FleetOfTwo, IsExaminedOneByOne) {
    const Result result = kxinfo({"doctor", "--all"});

    EXPECT_EQ(0, result.status) << result;
    EXPECT_THAT(result.out, HasSubstr("  camera S1 (127.0.0.2, 02:00:7f:00:00:02): 18 of 33 "));
    EXPECT_THAT(result.out, HasSubstr("  camera S3 (127.0.0.4, 02:00:7f:00:00:04): 18 of 33 "));
}

TEST_F(FleetOfTwo, TakesNoCameraBeside) {
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{"set", "S1", "Width=640", "--all"},
                                               {"restore", "S1", "camera.json", "--all"},
                                               {"restore", "-", "--all"},
                                               {"doctor", "S1", "--all"},
                                               {"get", "--all"}})
        EXPECT_EQ(2, kxinfo(arguments).status) << arguments.front();
    EXPECT_EQ("1936\n", kxinfo({"get", "S1", "Width", "--value"}).out);
}

TEST_F(Fleet, PutsEveryCameraBackWhenItIsStoppedHoweverLongThatTakes) {
    const TemporaryFolder folder;
    const Simcam camera(
        {"--delay", "85", "--snapshot", folder.path(), "--camera", "S1234@127.0.0.2"});
    const std::string before = snapshotOf(camera, folder);
    Process set(KXINFO_PROGRAM, {"set", "--all", "OffsetX=16", "Width=640", "Height=400", "Gain=6",
                                 "ReverseX=true", "ReverseY=true"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (changes(before, snapshotOf(camera, folder)).size() < 5 &&
           std::chrono::steady_clock::now() < deadline) {
    }
    set.signal(SIGINT);
    const Process::End end = set.wait();

    EXPECT_EQ(-1, end.status);
    EXPECT_THAT(end.errors, HasSubstr("camera S1234: what had been set is put back: "));
    EXPECT_THAT(changes(before, snapshotOf(camera, folder)), testing::IsEmpty());
}

TEST_F(Fleet, MayHaveNobody) {
    EXPECT_EQ(1, kxinfo({"get", "--all", "Width"}).status);
}

// More than a search by the environment may ask for one by one.
TEST_F(Fleet, MayHaveHundredsOfCameras) {
    std::vector<std::string> arguments;
    for (int i = 0; i < 256; ++i) {
        const std::string place =
            "127.0." + std::to_string(1 + i / 128) + "." + std::to_string(1 + i % 128);
        arguments.insert(arguments.end(),
                         {"--camera", "S" + std::to_string(1000 + i) + "@" + place});
    }
    const Simcam cameras(arguments);

    const Result result = kxinfo({"get", "--all", "Width"});

    EXPECT_EQ(0, result.status) << result.err.substr(0, 200);
    EXPECT_THAT(linesOf(result.out), SizeIs(257));
    EXPECT_THAT(result.out, HasSubstr("S1255   127.0.2.128  1936 px\n"));
}

} // namespace
