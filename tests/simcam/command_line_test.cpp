#include "camera_test.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST(Ready, IsSaidInOneLineWithAllCameras) {
    EXPECT_EQ("kxinfo-simcam: ready, 1 camera: S1@127.0.0.2",
              Simcam({"--camera", "S1@127.0.0.2"}).readyLine());
    EXPECT_EQ("kxinfo-simcam: ready, 2 cameras: S5678@127.1.0.3 S1@127.0.0.2",
              Simcam({"--camera", "S5678@127.1.0.3", "--camera=S1@127.0.0.2"}).readyLine());
}

TEST(Stopping, SaysHowManyCommandsEachCameraHasHad) {
    for (const int signal : {SIGTERM, SIGINT}) {
        Simcam cameras({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
        converse(R"(
            42 01 0080 0004 0001 00000938 = 0000 0081 0004 0001 00000BB8
            read 0938 = 00000BB8
            read 1FFFC = 8003
            write 0A00 2 = 0000
            write FFFC 1 = 8003
            42 01 0086 0008 0002 000000E8 41000000 = 0000 0087 0004 0002 00000004
            42 01 1234 0000 0003 = 8001 1235 0000 0003
            B3: 42 01 0084 0008 0004 000000D8 0004 = 800E 0085 0000 0004
            B3: 43 01 0080 0004 0004 00010110 = nothing # but the DISCOVERY that shows it
        )");
        cameras.signal(signal);

        const Process::End end = cameras.wait();
        EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=3 writereg=2 readmem=0 writemem=1 other=1 "
                  "refused=3 repeated=0\n"
                  "kxinfo-simcam: S2 discovery=1 readreg=0 writereg=0 readmem=1 writemem=0 other=0 "
                  "refused=1 repeated=0\n",
                  end.output);
        EXPECT_EQ("", end.errors);
        EXPECT_EQ(0, end.status);
    }
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
    auto files() const {
        return std::distance(std::filesystem::directory_iterator(folder.path()), {});
    }
    std::string onSignal() {
        std::filesystem::remove(path("S3")); // the last to be written
        second.signal(SIGUSR1);
        const auto start = std::chrono::steady_clock::now();
        while (!std::filesystem::exists(path("S3"))) {
            if (std::chrono::steady_clock::now() - start > std::chrono::seconds(60))
                return "no snapshot";
            asking.read(0x938); // lets a little time go by
        }
        return readFile(path("S2"));
    }
};

// All registers, a line for each.
std::string freshCamera() {
    std::string lines =
        R"(AcquisitionFrameCount = 1; AcquisitionFrameRate = 30; AcquisitionMode = Continuous;
BalanceRatioSelector = Green; BalanceRatio[Blue] = 2; BalanceRatio[Green] = 1;
BalanceRatio[Red] = 1.5; BalanceWhiteAuto = Off; BlackLevel = 0; DeviceID = "S2";
DeviceManufacturerInfo = "virtual camera"; DeviceModelName = "C1936";
DeviceScanType = Areascan; DeviceSerialNumber = "S2"; DeviceTemperatureSelector = MainBoard;
DeviceTemperature[Internal] = 41.5; DeviceTemperature[MainBoard] = 36.25; DeviceUserID = "";
DeviceVendorName = "Dalsa"; DeviceVersion = "1.0"; ExposureAuto = Off; ExposureMode = Timed;
ExposureTime = 10000; GainAuto = Off; GainSelector = DigitalAll; Gain[DigitalAll] = 1;
Gain[SensorAll] = 2; GevCCP = OpenAccess; GevCurrentDefaultGateway = 0;
GevCurrentIPAddress = 2130706435; GevCurrentSubnetMask = 4278190080;
GevHeartbeatTimeout = 3000; GevSCDA = 0; GevSCPD = 0; GevSCPHostPort = 0;
GevSCPSPacketSize = 1500; GevStreamChannelCount = 1; GevTimestampTickFrequency = 1000000000;
GevTimestampValue = 0; Height = 1216; HeightMax = 1216; LUTIndex = 0; LUTSelector = Red;
OffsetX = 0; OffsetY = 0; PixelFormat = Mono8; ReverseX = 0; ReverseY = 0; SensorHeight = 1216;
SensorWidth = 1936; TriggerMode = Off; TriggerSelector = FrameStart; TriggerSource = Software;
Width = 1936; WidthMax = 1936; autoBrightnessMode = Off;
autoBrightnessSequence = Gain_Exposure_Iris; autoBrightnessTarget = 128;
balanceWhitePeriod = 60; exposureAutoMaxValue = 30000; exposureAutoMinValue = 100;
gainAutoMaxValue[DigitalAll] = 2; gainAutoMaxValue[SensorAll] = 4;
gainAutoMinValue[DigitalAll] = 1; gainAutoMinValue[SensorAll] = 1.25;
gainAutoSource = DigitalAll; gammaCorrection = 0.45; lutMode = Off; lutSize = Bpp8;
lutType = UserDefined;)";
    for (size_t at = 0; (at = lines.find(';', at)) != std::string::npos; ++at)
        lines.replace(at, at + 1 < lines.size() ? 2 : 1, "\n");
    return lines;
}

TEST_F(Snapshot, ShowsAFreshCameraWhole) {
    EXPECT_EQ(freshCamera(), onSignal());
}

TEST_F(Snapshot, ShowsWhatWasWrittenAndNothingElseChanged) {
    std::string expected = freshCamera();
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

TEST_F(Snapshot, IsWrittenAtTheEndTooAndNothingElseIs) {
    asking.write(0xA00, 2);
    asking.write(0x10110, 0x640);
    EXPECT_EQ(0, second.stop().status);

    EXPECT_THAT(readFile(path("S2")), HasSubstr("\nWidth = 1600\n"));
    EXPECT_THAT(readFile(path("S3")),
                AllOf(HasSubstr("\nWidth = 1936\n"), HasSubstr("\nDeviceID = \"S3\"\n")));
    EXPECT_EQ(2, files());
}

// Others may write to the folder, too.
TEST_F(Snapshot, ReplacesWhatWasPlantedAndWritesToNothingElse) {
    const TemporaryFolder elsewhere;
    const std::string precious = elsewhere.file("precious", "untouched");
    ASSERT_EQ(0, chmod(precious.c_str(), 06777));
    std::filesystem::create_symlink(precious, path("S2"));
    std::filesystem::create_symlink(precious, path("S2") + ".tmp");
    std::filesystem::create_hard_link(precious, path("S3"));
    EXPECT_EQ(0, second.stop().status);

    EXPECT_EQ("untouched", readFile(precious));
    for (const char *const serial : {"S2", "S3"}) {
        struct stat file {};
        ASSERT_EQ(0, lstat(path(serial).c_str(), &file));
        EXPECT_TRUE(S_ISREG(file.st_mode)) << serial;
        EXPECT_EQ(0u, file.st_mode & 07133) << serial << ": read by others at most";
        EXPECT_EQ(1u, file.st_nlink) << serial;
    }
    EXPECT_EQ(3, files());
}

TEST_F(Snapshot, GoesToTheFolderThatWasThereInTheBeginning) {
    const TemporaryFolder other;
    std::filesystem::rename(folder.path(), other.path() + "/moved");
    std::filesystem::create_directory_symlink(other.path(), folder.path());
    EXPECT_EQ(0, second.stop().status);

    EXPECT_THAT(readFile(other.path() + "/moved/S2.txt"), HasSubstr("\nWidth = 1936\n"));
    EXPECT_FALSE(std::filesystem::exists(other.path() + "/S2.txt"));
}

TEST_F(Snapshot, ThatCannotBeWrittenIsAnErrorAndLeavesNothing) {
    std::filesystem::create_directory(path("S2"));

    const Process::End end = second.stop();
    EXPECT_EQ("kxinfo-simcam: '" + path("S2") + "' cannot be written: Is a directory\n",
              end.errors);
    EXPECT_EQ(1, end.status);
    EXPECT_EQ(1, files());
}

TEST(SnapshotFolder, Exists) {
    const TemporaryFolder folder;
    for (const std::string &path : {std::string("/nowhere"), std::string(), folder.file("f", "")})
        EXPECT_EQ("kxinfo-simcam: --snapshot is '" + path +
                      "', expected a folder that exists.\nTry 'kxinfo-simcam --help'.\n",
                  runSimcam({"--camera", "S1@127.0.0.2", "--snapshot", path}).errors);
}

TEST_F(Snapshot, ShowsControlThatHasTimedOutAsOpen) {
    asking.write(0xA00, 2);
    asking.write(0x938, 500);
    const auto start = std::chrono::steady_clock::now();
    Client other("127.0.0.3");
    while (other.read(0xA00) != "00000000")
        ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));

    second.stop();
    EXPECT_THAT(readFile(path("S2")), HasSubstr("\nGevCCP = OpenAccess\n"));
}

TEST_F(Snapshot, IsNotWrittenUnlessAskedFor) {
    camera.signal(SIGUSR1);
    EXPECT_EQ("00000790", client.read(kWidth));

    EXPECT_EQ(0, camera.stop().status);
    EXPECT_FALSE(std::filesystem::exists(path("S1")));
}

TEST(Address, IsOneOfThisHostsAndServesOneCamera) {
    const Simcam first({"--camera", "S1@127.0.0.2"});
    const std::pair<std::string, std::string> wrong[] = {
        {"127.0.0.2", "127.0.0.2 port 3956 is taken by another camera or program. Choose another "
                      "address."},
        {"192.0.2.1", "no network interface of this host has the address 192.0.2.1. Choose one "
                      "that has, or add it to one."}};
    for (const auto &[address, sentence] : wrong) {
        const Process::End end = runSimcam({"--camera", "S2@" + address});
        EXPECT_EQ("kxinfo-simcam: camera S2 cannot be served: " + sentence + "\n", end.errors);
        EXPECT_EQ("", end.output);
        EXPECT_EQ(1, end.status);
    }
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

TEST(WrongUsage, IsToldOnStandardErrorWithAStatusOfItsOwn) {
    const Process::End end = runSimcam({"--camera", "S1@127.0.0.2", "--snap\x1B[2J\u202E"});

    EXPECT_EQ("kxinfo-simcam: there is no argument '--snap\\x1B[2J\\xE2\\x80\\xAE'.\n"
              "Try 'kxinfo-simcam --help'.\n",
              end.errors);
    EXPECT_EQ("", end.output);
    EXPECT_EQ(2, end.status);
}

} // namespace
