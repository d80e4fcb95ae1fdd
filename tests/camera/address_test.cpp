// kxinfo address: how a camera gets its address, and giving it another.

#include <map>
#include <memory>

#include <nlohmann/json.hpp>

#include "device.h"
#include "wire.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string kMac = "02:00:7f:00:00:02";

class Address : public Wire {
protected:
    static Result address(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "address");
        return kxinfo(arguments);
    }

    static json document(const std::string &camera) {
        const std::string text = address({camera, "--json"}).out;
        EXPECT_EQ("", violations(text, "address.schema.json"));
        return json::parse(text);
    }

    static json reach(const char *state, const json &at, const json &mask, const json &gateway) {
        return {{"state", state}, {"address", at}, {"mask", mask}, {"gateway", gateway}};
    }
};

TEST_F(Address, IsShownWithTheWaysToItWhoeverControlsTheCameraAndNothingIsWritten) {
    Simcam camera({"--camera", "S1@127.0.0.2"});
    Client other;
    const Result shown{0,
                       "Camera S1\n\n"
                       "Way         State   Address    Mask       Gateway\n"
                       "current     in use  127.0.0.2  255.0.0.0  -\n"
                       "persistent  on      127.0.0.2  255.0.0.0  -\n"
                       "dhcp        off     -          -          -\n"
                       "link-local  on      -          -          -\n",
                       ""};
    EXPECT_EQ(shown, address({"S1"}));
    ASSERT_EQ("0000", other.write(0xA00, 2));
    EXPECT_EQ(shown, address({"S1"}));
    EXPECT_EQ((json{{"current", reach("in use", "127.0.0.2", "255.0.0.0", nullptr)},
                    {"persistent", reach("on", "127.0.0.2", "255.0.0.0", nullptr)},
                    {"dhcp", reach("off", nullptr, nullptr, nullptr)},
                    {"link-local", reach("on", nullptr, nullptr, nullptr)}}),
              document("S1")["ways"]);

    // What keeps others out altogether has told what it says to everybody.
    ASSERT_EQ("0000", other.write(0xA00, 1));
    const Result kept = address({"S1"});
    EXPECT_EQ(3, kept.status);
    EXPECT_THAT(kept.out, HasSubstr("persistent  on      -          -"));
    EXPECT_THAT(kept.err, HasSubstr("another program controls it"));
    EXPECT_THAT(document("S1")["problem"], HasSubstr("another program controls it"));
    EXPECT_THAT(camera.stop().output, testing::ContainsRegex("writereg=2 .*writemem=0 "));
}

TEST_F(Address, IsSetForTheNextStartValuesFirstAndTheWayLast) {
    Simcam camera({"--watch", "--camera", "S1@127.0.0.2"});
    Client other;
    for (const auto &[at, value] : {std::pair(0xA00U, 2U), {0x14U, 6U}, {0xA00U, 0U}})
        ASSERT_EQ("0000", other.write(at, value));
    EXPECT_THAT(address({"S1"}).out, HasSubstr("persistent  off     127.0.0.2  255.0.0.0  -\n"
                                               "dhcp        on "));

    const Result set =
        address({"S1", "--set", "127.1.2.3/16", "--gateway", "127.1.0.9", "--even-if-lost"});

    EXPECT_EQ("kxinfo: camera S1 (" + kMac + ") does so when it restarts: switch it off and on.\n",
              set.err);
    EXPECT_EQ(0, set.status);
    EXPECT_THAT(set.out, HasSubstr("current     in use  127.0.0.2  255.0.0.0    -\n"
                                   "persistent  on      127.1.2.3  255.255.0.0  127.1.0.9\n"
                                   "dhcp        on "));
    std::vector<std::string> writes;
    for (const std::string &line : linesOf(camera.stop().output))
        if (const size_t at = line.find("WRITEREG 0x0000"); at != line.npos)
            if (line.find("0x00000A00") == line.npos)
                writes.push_back(line.substr(at + 9));
    EXPECT_THAT(writes,
                testing::ElementsAre("0x00000014=0x00000006 -> ok", "0x0000064C=0x7F010203 -> ok",
                                     "0x0000065C=0xFFFF0000 -> ok", "0x0000066C=0x7F010009 -> ok",
                                     "0x00000014=0x00000007 -> ok"));
}

TEST_F(Address, IsAsItWasWhenSettingItFailsHalfWay) {
    const std::map<uint32_t, uint32_t> before{
        {0x64c, 0x7f000004}, {0x65c, 0xff000000}, {0x66c, 0}, {0x14, 6}};
    for (const bool lies : {false, true}) {
        for (const auto &row : before) {
            const uint32_t refused = row.first;
            Device camera("127.0.0.2", Device::Identity{});
            camera.set(0x10, 7);
            for (const auto &[at, value] : before)
                camera.set(at, value);
            camera.behave([=](const Received &command, const Good &good) {
                if (!command.writes(refused))
                    return Replies{{good()}};
                return Replies{{lies ? answerTo(command, {0, 0, 0, 1})
                                     : refusalOf(command, peer::WriteProtect)}};
            });

            const Result result =
                address({"S1", "--set", "127.0.0.8/16", "--gateway", "127.0.0.9"});

            EXPECT_EQ(3, result.status);
            EXPECT_THAT(result.err, HasSubstr(lies ? "it says that it takes this, and does not"
                                                   : "the register cannot be written (0x8004)"));
            EXPECT_THAT(result.err, Not(HasSubstr("put back")));
            for (const auto &[at, value] : before)
                EXPECT_EQ(value, camera.get(at)) << std::hex << at << " when " << refused;
            EXPECT_FALSE(camera.isControlled());
        }
    }
}

TEST_F(Address, IsToldWhenWhatWasSetCannotBePutBack) {
    Device camera("127.0.0.2", Device::Identity{});
    camera.set(0x10, 7);
    bool silent = false;
    camera.behave([=](const Received &command, const Good &good) mutable {
        silent = silent || command.writes(0x66c);
        return silent ? Replies() : Replies{{good()}};
    });

    const Result result = address({"S1", "--set", "127.0.0.8/8", "--gateway", "127.0.0.9"});

    EXPECT_EQ(3, result.status);
    EXPECT_THAT(result.err, HasSubstr("what had been set cannot be put back"));
    EXPECT_THAT(result.err, HasSubstr("it does not answer"));
}

TEST_F(Address, IsRefusedWhereItWouldCutTheCameraOffUnlessToldTwice) {
    const Simcam camera({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
    const struct {
        std::vector<std::string> arguments;
        const char *why;
        bool toldTwice; // helps
    } cases[] = {
        {{"10.1.2.3/24"}, "it is in no network of this computer's interface", true},
        {{"127.0.0.1/8"}, "this computer has it", true},
        {{"127.0.0.3/8"}, "camera S2 (02:00:7f:00:00:03) has it", true},
        {{"127.0.1.9/24"}, "it is in no network", true}, // from there, this computer is in none
        {{"127.0.0.9/8", "--gateway", "10.0.0.1"}, "its gateway 10.0.0.1 is no other host", true},
        {{"127.0.0.9/8", "--gateway", "127.0.0.9"}, "its gateway 127.0.0.9 is no other", true},
        {{"127.0.0.9/8", "--gateway", "127.0.0.x"}, "\"127.0.0.x\" is no gateway", false},
        {{"127.0.0.0/24"}, "is no address for a camera", false},
        {{"127.0.0.255/24"}, "is no address for a camera", false},
        {{"0.0.0.0/8"}, "is no address for a camera", false},
        {{"224.0.0.1/8"}, "is no address for a camera", false},
        {{"127.0.0.9"}, "is no address for a camera", false},
        {{"127.0.0.9/0"}, "is no address for a camera", false},
        {{"127.0.0.9/31"}, "is no address for a camera", false},
        {{"127.0.0.9/24x"}, "is no address for a camera", false},
    };
    for (const auto &[arguments, why, toldTwice] : cases) {
        for (const char *how : {"--set", "--force"}) {
            std::vector<std::string> command = arguments;
            command.insert(command.begin(), {"S1", how});
            const Result refused = address(command);
            EXPECT_EQ(2, refused.status) << arguments.front();
            EXPECT_EQ("", refused.out);
            EXPECT_THAT(refused.err, HasSubstr(why));
            EXPECT_EQ(toldTwice, refused.err.find("or add --even-if-lost.") != std::string::npos);
        }
        std::vector<std::string> twice = {"S1", "--even-if-lost", "--set"};
        twice.insert(twice.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(toldTwice ? 0 : 2, address(twice).status) << arguments.front();
    }
    EXPECT_EQ(2, address({"S1", "--gateway", "127.0.0.9"}).status);
    EXPECT_EQ(2, address({"S1", "--set", "127.0.0.9/8", "--force", "127.0.0.9/8"}).status);
}

TEST_F(Address, IsForcedUntilTheCameraRestarts) {
    const Simcam camera({"--camera", "S1@127.0.0.2"});

    const Result forced = address({kMac, "--force", "127.0.7.7/8", "--gateway", "127.0.7.1"});

    EXPECT_EQ((Result{0,
                      "Camera S1\n\n"
                      "Way         State   Address    Mask       Gateway\n"
                      "current     in use  127.0.7.7  255.0.0.0  127.0.7.1\n"
                      "persistent  on      127.0.0.2  255.0.0.0  -\n"
                      "dhcp        off     -          -          -\n"
                      "link-local  on      -          -          -\n",
                      "kxinfo: camera S1 (" + kMac +
                          ") has this address until it restarts; --set is for good.\n"}),
              forced);
    EXPECT_EQ(0, kxinfo({"get", "127.0.7.7", "Width"}).status);
}

TEST_F(Address, IsNotForcedOnACameraThatAnotherProgramControls) {
    Simcam camera({"--camera", "S1@127.0.0.2"});
    Client other;
    ASSERT_EQ("0000", other.write(0xA00, 2));
    const std::string by = "127.0.0.1, port " + std::to_string(other.port());

    for (const char *how : {"--set", "--force"}) {
        const Result refused = address({"S1", how, "127.0.7.7/8"});
        EXPECT_EQ(1, refused.status);
        EXPECT_THAT(refused.err, HasSubstr("another program controls it (" + by + "). End that"));
    }
    EXPECT_EQ("7F000002", other.read(0x24));
    EXPECT_THAT(camera.stop().output, HasSubstr("other=0 "));
}

TEST_F(Address, IsToldWhenTheCameraDoesNotComeBack) {
    Simcam camera({"--camera", "S1@127.0.0.2"}); // which cannot have the address
    setenv("KXGIGE_DISCOVERY_MS", "100", 1);

    const Result lost = address({"S1", "--force", "10.9.9.9/24", "--even-if-lost"});

    EXPECT_EQ(3, lost.status);
    EXPECT_EQ("", lost.out);
    EXPECT_THAT(lost.err, HasSubstr("has not come back at 10.9.9.9. 'kxinfo list' shows"));
    EXPECT_THAT(camera.stop().errors, HasSubstr("stays at 127.0.0.2"));
}

class AddressBehindACable : public Address {
protected:
    const std::unique_ptr<Simcam> camera_ = cameraBehindACable();
};

TEST_F(AddressBehindACable, IsShownAndForcedWhereTheCameraCannotBeReached) {
    const Result shown = address({"S1"});
    EXPECT_EQ(3, shown.status);
    EXPECT_THAT(shown.out, HasSubstr("current     in use  169.254.3.4  255.0.0.0  -\n"
                                     "persistent  on      -            -"));
    EXPECT_THAT(shown.err, HasSubstr("is in no network of this computer (eth0 has 192.168.0.2/24). "
                                     "With '--force ADDRESS' it gets"));
    EXPECT_EQ(1, address({"S1", "--set", "192.168.0.10/24"}).status);
    EXPECT_THAT(address({"S1", "--force", "127.0.0.9/8"}).err, HasSubstr("it is in no network"));

    const Result forced = address({"S1", "--force", "192.168.0.10/24"});

    EXPECT_EQ(0, forced.status) << forced.err;
    EXPECT_THAT(forced.out, HasSubstr("current     in use  192.168.0.10  255.255.255.0  -\n"
                                      "persistent  on      169.254.3.4   255.0.0.0      -\n"));
    EXPECT_EQ(0, kxinfo({"get", "S1", "Width"}).status);
}

} // namespace
