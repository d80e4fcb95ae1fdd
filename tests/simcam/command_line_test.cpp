#include "camera_test.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(Ready, IsSaidInOneLineWithAllCameras) {
    EXPECT_EQ("kxinfo-simcam: ready, 1 camera: S1@127.0.0.2",
              Simcam({"--camera", "S1@127.0.0.2"}).readyLine());
    EXPECT_EQ("kxinfo-simcam: ready, 2 cameras: S5678@127.1.0.3 S1@127.0.0.2",
              Simcam({"--camera", "S5678@127.1.0.3", "--camera=S1@127.0.0.2"}).readyLine());
}

TEST(Stopping, SaysHowManyCommandsEachCameraHasHad) {
    Simcam camera({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
    Client first, second("127.0.0.3");
    first.ask("42 01 0002 0000 0001");
    first.read(0x938);
    first.read(0x938);
    first.read(0x1FFFC);
    first.write(0xA00, 2);
    first.write(0xFFFC, 1);
    first.memory(0, 0x10);
    first.ask("42 01 0086 0008 0002 000000E8 41000000");
    first.ask("42 01 1234 0000 0003");
    second.memory(0, 0x10);
    EXPECT_TRUE(second.isIgnored("43 01 0080 0004 0004 00010110"));

    const Process::End end = camera.stop();

    EXPECT_EQ("kxinfo-simcam: S1 discovery=1 readreg=3 writereg=2 readmem=1 writemem=1 other=1 "
              "refused=3 repeated=0\n"
              "kxinfo-simcam: S2 discovery=1 readreg=0 writereg=0 readmem=1 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              end.output);
    EXPECT_EQ("", end.errors);
    EXPECT_EQ(0, end.status);
}

TEST(Stopping, HappensOnAnInterruptToo) {
    Simcam camera({"--camera", "S1@127.0.0.2"});
    camera.signal(SIGINT);

    const Process::End end = camera.wait();

    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              end.output);
    EXPECT_EQ(0, end.status);
}

TEST(SilentAfter, CamerasDieOneByOneOnceTheyHaveAnsweredThatOften) {
    const Simcam camera(
        {"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3", "--silent-after", "3"});
    Client dying, living("127.0.0.3"), asking;
    EXPECT_EQ("0000", dying.write(0xA00, 2));
    EXPECT_EQ("0000", dying.write(0x10110, 0x640));
    EXPECT_EQ("00000640", dying.read(0x10110));

    dying.send("42 01 0082 0008 0007 00010110 00000320");
    asking.broadcast("42 01 0002 0000 0001");

    // The broadcast came after the write, so its one answer shows that both were dead letters.
    EXPECT_EQ("127.0.0.3:3956", asking.receive().from);
    EXPECT_EQ("00000790", living.read(0x10110));
}

TEST(SilentAfter, LeavesTheRegistersOfTheDeadAsTheyWere) {
    const TemporaryFolder folder;
    Simcam camera({"--camera", "S1@127.0.0.2", "--silent-after=2", "--snapshot", folder.path()});
    Client client;
    EXPECT_EQ("0000", client.write(0xA00, 2));
    EXPECT_EQ("0000", client.write(0x10110, 0x640));
    client.send("42 01 0082 0008 0007 00010110 00000320");

    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=0 writereg=2 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              camera.stop().output);
    EXPECT_THAT(readFile(folder.path() + "/S1.txt"), HasSubstr("\nWidth = 1600\n"));
}

class Snapshot : public Camera {
protected:
    const TemporaryFolder folder;
    Simcam second{
        {"--camera", "S2@127.0.0.3", "--camera", "S3@127.0.0.4", "--snapshot", folder.path()}};
    Client asking{"127.0.0.3"};

    std::string path(const std::string &serial) const {
        return folder.path() + "/" + serial + ".txt";
    }
    std::string onSignal() {
        std::filesystem::remove(path("S3")); // the last to be written
        second.signal(SIGUSR1);
        const auto start = std::chrono::steady_clock::now();
        while (!std::filesystem::exists(path("S3"))) {
            if (std::chrono::steady_clock::now() - start > std::chrono::seconds(10))
                return "no snapshot";
            asking.read(0x938); // lets a little time go by
        }
        return readFile(path("S2"));
    }
};

TEST_F(Snapshot, ShowsAFreshCameraWhole) {
    EXPECT_EQ(R"(AcquisitionFrameCount = 1
AcquisitionFrameRate = 30
AcquisitionMode = Continuous
BalanceRatioSelector = Green
BalanceRatio[Blue] = 2
BalanceRatio[Green] = 1
BalanceRatio[Red] = 1.5
BalanceWhiteAuto = Off
BlackLevel = 0
DeviceID = "S2"
DeviceManufacturerInfo = "virtual camera"
DeviceModelName = "C1936"
DeviceScanType = Areascan
DeviceSerialNumber = "S2"
DeviceTemperatureSelector = MainBoard
DeviceTemperature[Internal] = 41.5
DeviceTemperature[MainBoard] = 36.25
DeviceUserID = ""
DeviceVendorName = "Dalsa"
DeviceVersion = "1.0"
ExposureAuto = Off
ExposureMode = Timed
ExposureTime = 10000
GainAuto = Off
GainSelector = DigitalAll
Gain[DigitalAll] = 1
Gain[SensorAll] = 2
GevCCP = OpenAccess
GevCurrentDefaultGateway = 0
GevCurrentIPAddress = 2130706435
GevCurrentSubnetMask = 4278190080
GevHeartbeatTimeout = 3000
GevSCDA = 0
GevSCPD = 0
GevSCPHostPort = 0
GevSCPSPacketSize = 1500
GevStreamChannelCount = 1
GevTimestampTickFrequency = 1000000000
GevTimestampValue = 0
Height = 1216
HeightMax = 1216
LUTIndex = 0
LUTSelector = Red
OffsetX = 0
OffsetY = 0
PixelFormat = Mono8
ReverseX = 0
ReverseY = 0
SensorHeight = 1216
SensorWidth = 1936
TriggerMode = Off
TriggerSelector = FrameStart
TriggerSource = Software
Width = 1936
WidthMax = 1936
autoBrightnessMode = Off
autoBrightnessSequence = Gain_Exposure_Iris
autoBrightnessTarget = 128
balanceWhitePeriod = 60
exposureAutoMaxValue = 30000
exposureAutoMinValue = 100
gainAutoMaxValue[DigitalAll] = 2
gainAutoMaxValue[SensorAll] = 4
gainAutoMinValue[DigitalAll] = 1
gainAutoMinValue[SensorAll] = 1.25
gainAutoSource = DigitalAll
gammaCorrection = 0.45
lutMode = Off
lutSize = Bpp8
lutType = UserDefined
)",
              onSignal());
}

TEST_F(Snapshot, ShowsWhatWasWrittenAndNothingElseChanged) {
    std::string expected = onSignal();
    const auto changes = [&](const std::string &from, const std::string &to) {
        expected.replace(expected.find(from), from.size(), to);
    };
    asking.write(0xA00, 2);
    asking.write(0x10300, 0);          // GainSelector: SensorAll
    asking.write(0x10304, 0x40600000); // Gain: 3.5
    asking.write(0x10120, 0x01080009); // PixelFormat: BayerRG8
    asking.write(0x20000 + 2 * 16384 + 17 * 4, 4000);
    asking.write(0x10500, 77); // lutMode: no such entry

    changes("GevCCP = OpenAccess", "GevCCP = ControlAccess");
    changes("GainSelector = DigitalAll", "GainSelector = SensorAll");
    changes("Gain[SensorAll] = 2", "Gain[SensorAll] = 3.5");
    changes("PixelFormat = Mono8", "PixelFormat = BayerRG8");
    changes("LUTSelector = Red\n", "LUTSelector = Red\nLUTValue[Blue][17] = 4000\n");
    changes("lutMode = Off", "lutMode = 77");
    EXPECT_EQ(expected, onSignal());
}

TEST_F(Snapshot, IsWrittenAtTheEndToo) {
    asking.write(0xA00, 2);
    asking.write(0x10110, 0x640);
    EXPECT_EQ(0, second.stop().status);

    EXPECT_THAT(readFile(path("S2")), HasSubstr("\nWidth = 1600\n"));
    EXPECT_THAT(readFile(path("S3")),
                AllOf(HasSubstr("\nWidth = 1936\n"), HasSubstr("\nDeviceID = \"S3\"\n")));
    EXPECT_FALSE(std::filesystem::exists(path("S2") + ".tmp"));
}

TEST_F(Snapshot, ShowsControlThatHasTimedOutAsOpen) {
    asking.write(0xA00, 2);
    asking.write(0x938, 500);
    const auto start = std::chrono::steady_clock::now();
    Client other("127.0.0.3");
    while (other.read(0xA00) != "00000000")
        ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));

    second.stop();
    EXPECT_THAT(readFile(path("S2")), HasSubstr("\nGevCCP = OpenAccess\n"));
}

TEST_F(Snapshot, IsNotWrittenUnlessAskedFor) {
    camera.signal(SIGUSR1);
    EXPECT_EQ("00000790", client.read(kWidth));

    EXPECT_EQ(0, camera.stop().status);
    EXPECT_FALSE(std::filesystem::exists(path("S1")));
}

TEST(Address, ServesOneCamera) {
    const Simcam first({"--camera", "S1@127.0.0.2"});

    const Process::End end = runSimcam({"--camera", "S2@127.0.0.2"});

    EXPECT_EQ("kxinfo-simcam: camera S2 cannot be served: 127.0.0.2 port 3956 is taken by another "
              "camera or program. Choose another address.\n",
              end.errors);
    EXPECT_EQ("", end.output);
    EXPECT_EQ(1, end.status);
}

TEST(Address, IsOneOfThisHosts) {
    const Process::End end = runSimcam({"--camera", "S2@192.0.2.1"});

    EXPECT_EQ("kxinfo-simcam: camera S2 cannot be served: no network interface of this host has "
              "the address 192.0.2.1. Choose one that has, or add it to one.\n",
              end.errors);
    EXPECT_EQ(1, end.status);
}

TEST(Options, VendorModelAndDescriptionHoldForTheCamerasThatFollow) {
    const TemporaryFolder folder;
    const std::string model = folder.file("m.xml", "<RegisterDescription/>");
    const Simcam camera({"--camera", "S1@127.0.0.2", "--vendor", "V2", "--camera", "S2@127.0.0.3",
                         "--model", "M3", "--vendor", "V3", "--description", model, "--camera",
                         "S3@127.0.0.4"});
    const auto names = [](const char *address) {
        Client client(address);
        return std::string(client.memory(0x48, 32).c_str()) + "/" +
               client.memory(0x68, 32).c_str() + "/" + client.read(0x10110);
    };

    EXPECT_EQ("Dalsa/C1936/00000790", names("127.0.0.2"));
    EXPECT_EQ("V2/C1936/00000790", names("127.0.0.3"));
    EXPECT_EQ("V3/M3/8003", names("127.0.0.4"));
}

TEST(Options, NamesMayFillTheirRegistersToTheLastByteButOne) {
    const std::string name(31, 'n');
    const Simcam camera(
        {"--vendor", name, "--model", name, "--camera", "123456789012345@127.0.0.2"});
    Client client;

    EXPECT_EQ(name + '\0', client.memory(0x48, 32));
    EXPECT_EQ(name + '\0', client.memory(0x68, 32));
    EXPECT_EQ(std::string("123456789012345") + '\0', client.memory(0xD8, 16));
}

TEST(Options, HelpAndVersionGoToStandardOutput) {
    const Process::End help = runSimcam({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_EQ("", help.errors);
    for (const char *option : {"--camera",
                               "--vendor",
                               "--model",
                               "--description",
                               "--zip",
                               "--plain",
                               "--set",
                               "--drop",
                               "--nack",
                               "--delay",
                               "--pending",
                               "--cut",
                               "--double",
                               "--wrong",
                               "--silent-after",
                               "--die-after",
                               "--refuse-control",
                               "--seed",
                               "--watch",
                               "--snapshot",
                               "--version"})
        EXPECT_THAT(help.output, HasSubstr(option));

    const Process::End version = runSimcam({"--version"});
    EXPECT_EQ(0, version.status);
    EXPECT_THAT(version.output, testing::MatchesRegex("kxinfo-simcam [0-9.]+\n"));
}

struct Wrong {
    const char *name;
    std::vector<std::string> arguments;
    std::string sentence;

    friend void PrintTo(const Wrong &wrong, std::ostream *to) { *to << wrong.name; }
};

class WrongUsage : public testing::TestWithParam<Wrong> {};

TEST_P(WrongUsage, IsExplainedInOneSentence) {
    const Process::End end = runSimcam(GetParam().arguments);

    EXPECT_EQ("kxinfo-simcam: " + GetParam().sentence + "\nTry 'kxinfo-simcam --help'.\n",
              end.errors);
    EXPECT_EQ("", end.output);
    EXPECT_EQ(2, end.status);
}

const char *const kGood = "S1@127.0.0.2";
const std::string kSerialRule =
    "', expected 1 to 15 letters, digits, '-', '_' or '.' (not '.' at the start).";
const std::string kAddressRule = "', expected the IPv4 address of one host, for example 127.0.0.2.";
const std::string kCountRule = "a number of commands, for example 100 or S1:100.";
const std::string kShareRule =
    "a percentage, a number of commands, each N-th as 1/N or the N-th as @N, for example 5%, 3, "
    "1/3, @17 or S1:5%.";
const std::string kDelayRule =
    "milliseconds up to an hour and, if not all answers are meant, a share of them, for example "
    "50, 50,5% or S1:50,3.";
const std::string kPendingRule =
    "milliseconds up to 65535, or forever, and, if not all answers are meant, a share of them, "
    "for example 300, 300,5%, forever,1 or S1:300,@3.";
const std::string kCapabilityRule =
    "concatenation, writemem, primary-application or user-defined-name, or several of them, for "
    "example writemem,concatenation or S1:writemem.";
const std::string kSettingRule = "FEATURE=VALUE, for example Gain=4.0 or S1:ReverseX=true.";

const Wrong kWrong[] = {
    {"NoCamera", {}, "no camera to serve, give at least one: --camera SERIAL@ADDRESS."},
    {"CameraWithoutAddress",
     {"--camera", "S1"},
     "--camera is 'S1', expected SERIAL@ADDRESS, for example S1234@127.0.0.2."},
    {"NoSerial",
     {"--camera", "@127.0.0.2"},
     "--camera @127.0.0.2: the serial number is '" + kSerialRule},
    {"LongSerial",
     {"--camera", "1234567890123456@127.0.0.2"},
     "--camera 1234567890123456@127.0.0.2: the serial number is '1234567890123456" + kSerialRule},
    {"SerialThatIsNoFileName",
     {"--camera", "a/b@127.0.0.2"},
     "--camera a/b@127.0.0.2: the serial number is 'a/b" + kSerialRule},
    {"SerialThatHides",
     {"--camera", "..@127.0.0.2"},
     "--camera ..@127.0.0.2: the serial number is '.." + kSerialRule},
    {"HostName",
     {"--camera", "S1@localhost"},
     "--camera S1@localhost: the address is 'localhost" + kAddressRule},
    {"ShortAddress",
     {"--camera", "S1@127.2"},
     "--camera S1@127.2: the address is '127.2" + kAddressRule},
    {"IPv6", {"--camera", "S1@::1"}, "--camera S1@::1: the address is '::1" + kAddressRule},
    {"AnyAddress",
     {"--camera", "S1@0.0.0.0"},
     "--camera S1@0.0.0.0: the address is '0.0.0.0" + kAddressRule},
    {"BroadcastAddress",
     {"--camera", "S1@255.255.255.255"},
     "--camera S1@255.255.255.255: the address is '255.255.255.255" + kAddressRule},
    {"AddressTwice",
     {"--camera", kGood, "--camera", "S2@127.0.0.2"},
     "--camera S2: camera S1 has this address already, give each camera one of its own."},
    {"SerialTwice",
     {"--camera", kGood, "--camera", "S1@127.0.0.3"},
     "--camera S1: another camera has this serial number, give each one of its own."},
    {"LongVendor",
     {"--vendor", "12345678901234567890123456789012", "--camera", kGood},
     "--vendor is '12345678901234567890123456789012' (32 bytes), expected 1 to 31: a camera's "
     "register holds no more."},
    {"EmptyModel",
     {"--model", "", "--camera", kGood},
     "--model is '' (0 bytes), expected 1 to 31: a camera's register holds no more."},
    {"SilentAfterNoNumber",
     {"--camera", kGood, "--silent-after", "-1"},
     "--silent-after is '-1', expected " + kCountRule},
    {"DieAfterNoNumber",
     {"--camera", kGood, "--die-after", "S1:1%"},
     "--die-after is 'S1:1%', expected " + kCountRule},
    {"DropNoShare",
     {"--camera", kGood, "--drop", "often"},
     "--drop is 'often', expected " + kShareRule},
    {"DropMoreThanAll",
     {"--camera", kGood, "--drop", "100.1%"},
     "--drop is '100.1%', expected " + kShareRule},
    {"DropLessThanNothing",
     {"--camera", kGood, "--drop=-1%"},
     "--drop is '-1%', expected " + kShareRule},
    {"DropPointless",
     {"--camera", kGood, "--drop", "1.%"},
     "--drop is '1.%', expected " + kShareRule},
    {"DropWithoutSerial",
     {"--camera", kGood, "--drop", ":5%"},
     "--drop is ':5%', expected " + kShareRule},
    {"DropEachZeroth",
     {"--camera", kGood, "--drop", "1/0"},
     "--drop is '1/0', expected " + kShareRule},
    {"DropTwoThirds",
     {"--camera", kGood, "--drop", "2/3"},
     "--drop is '2/3', expected " + kShareRule},
    {"DropTheZeroth",
     {"--camera", kGood, "--drop", "@0"},
     "--drop is '@0', expected " + kShareRule},
    {"DropAtNoPlace",
     {"--camera", kGood, "--drop", "@5%"},
     "--drop is '@5%', expected " + kShareRule},
    {"NackNoShare",
     {"--camera", kGood, "--nack", "S1:"},
     "--nack is 'S1:', expected " + kShareRule},
    {"NackHugeNumber",
     {"--camera", kGood, "--nack", "1234567890123456789"},
     "--nack is '1234567890123456789', expected " + kShareRule},
    {"DelayNoTime",
     {"--camera", kGood, "--delay", "5%"},
     "--delay is '5%', expected " + kDelayRule},
    {"DelayNoShare",
     {"--camera", kGood, "--delay", "5,"},
     "--delay is '5,', expected " + kDelayRule},
    {"DelayTooLong",
     {"--camera", kGood, "--delay", "3600001"},
     "--delay is '3600001', expected " + kDelayRule},
    {"PendingNoTime",
     {"--camera", kGood, "--pending", "ever"},
     "--pending is 'ever', expected " + kPendingRule},
    {"PendingTooLong",
     {"--camera", kGood, "--pending", "65536"},
     "--pending is '65536', expected " + kPendingRule},
    {"PendingNoShare",
     {"--camera", kGood, "--pending", "forever,"},
     "--pending is 'forever,', expected " + kPendingRule},
    {"CutNoShare", {"--camera", kGood, "--cut", "7s"}, "--cut is '7s', expected " + kShareRule},
    {"DoubleNoShare",
     {"--camera", kGood, "--double", "x"},
     "--double is 'x', expected " + kShareRule},
    {"WrongNoShare", {"--camera", kGood, "--wrong", "%"}, "--wrong is '%', expected " + kShareRule},
    {"CutWhatIsNeverSent",
     {"--camera", kGood, "--pending", "forever", "--cut", "1"},
     "--pending forever: camera S1 never answers, so --cut has no answer to befall, give --pending "
     "a share, for example forever,1."},
    {"FaultOfAnUnknownCamera",
     {"--camera", kGood, "--camera", "S2@127.0.0.3", "--drop", "S9:1"},
     "--drop is 'S9:1', but there is no camera S9, expected S1 or S2."},
    {"FaultTwiceForAll",
     {"--camera", kGood, "--drop", "1", "--drop", "2%"},
     "--drop is given twice for all cameras, give it once."},
    {"FaultTwiceForOne",
     {"--camera", kGood, "--delay", "S1:1", "--delay", "S1:2"},
     "--delay is given twice for camera S1, give it once."},
    {"RefuseControlOfAnUnknownCamera",
     {"--camera", kGood, "--refuse-control", "S9"},
     "--refuse-control is 'S9', but there is no camera S9, expected S1."},
    {"LongUrl",
     {"--first-url", std::string(512, 'x'), "--camera", kGood},
     "--first-url has 512 bytes, expected at most 511: a camera's register holds no more."},
    {"LongSecondUrl",
     {"--second-url", std::string(512, 'x'), "--camera", kGood},
     "--second-url has 512 bytes, expected at most 511: a camera's register holds no more."},
    {"UrlOfNoCamera",
     {"--camera", kGood, "--second-url", "x"},
     "--second-url holds for the cameras that follow it, and none does, give it before --camera."},
    {"LittleEndianOfAnUnknownCamera",
     {"--camera", kGood, "--little-endian", "S9"},
     "--little-endian is 'S9', but there is no camera S9, expected S1."},
    {"UnknownCapability",
     {"--camera", kGood, "--no-capability", "writemem,flight"},
     "--no-capability is 'writemem,flight', expected " + kCapabilityRule},
    {"NoNameOfACapability",
     {"--camera", kGood, "--no-capability", "writemem,"},
     "--no-capability is 'writemem,', expected " + kCapabilityRule},
    {"SeedNoNumber",
     {"--camera", kGood, "--seed", "abc"},
     "--seed is 'abc', expected a number of up to 18 digits, for example 7."},
    {"SetWithoutValue",
     {"--camera", kGood, "--set", "Gain"},
     "--set is 'Gain', expected " + kSettingRule},
    {"SetWithoutFeature",
     {"--camera", kGood, "--set", "S1:=1"},
     "--set is 'S1:=1', expected " + kSettingRule},
    {"SetOfAnUnknownCamera",
     {"--camera", kGood, "--set", "S9:Gain=1"},
     "--set is 'S9:Gain=1', but there is no camera S9, expected S1."},
    {"SnapshotNowhere",
     {"--camera", kGood, "--snapshot", "/nowhere"},
     "--snapshot is '/nowhere', expected a folder that exists."},
    {"ZipAndPlain",
     {"--camera", kGood, "--zip", "--plain"},
     "--zip and --plain exclude each other: one description comes first."},
    {"UnknownOption", {"--camera", kGood, "--port", "1"}, "there is no argument '--port'."},
    {"OptionWithoutValue", {"--camera"}, "--camera: 1 required SERIAL@ADDRESS missing"},
};

INSTANTIATE_TEST_SUITE_P(Simcam, WrongUsage, testing::ValuesIn(kWrong),
                         [](const auto &wrong) { return wrong.param.name; });

} // namespace
