#include "camera_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

// The camera's registers as a snapshot shows them, after it was started with these values.
std::string startedWith(std::vector<std::string> options) {
    const TemporaryFolder folder;
    options.insert(options.end(), {"--camera", "S1@127.0.0.2", "--snapshot", folder.path()});
    const Process::End end = Simcam(options).stop();
    EXPECT_EQ(0, end.status) << end.errors;
    return "\n" + readFile(folder.path() + "/S1.txt");
}

TEST(Set, GivesAFeatureOfEachKindItsStartingValue) {
    EXPECT_THAT(
        startedWith({"--set", "Width=640", "--set", "BlackLevel=12.5", "--set", "ReverseX=true",
                     "--set", "ReverseY=1", "--set", "ExposureAuto=Continuous", "--set",
                     "DeviceUserID=left door: 1=1", "--set", "OffsetX=0x40"}),
        AllOf(HasSubstr("\nWidth = 640\n"), HasSubstr("\nBlackLevel = 12.5\n"),
              HasSubstr("\nReverseX = 1\n"), HasSubstr("\nReverseY = 1\n"),
              HasSubstr("\nExposureAuto = Continuous\n"),
              HasSubstr("\nDeviceUserID = \"left door: 1=1\"\n"), HasSubstr("\nOffsetX = 64\n")));
}

TEST(Set, ReachesRegistersThatClientsOnlyRead) {
    EXPECT_THAT(startedWith({"--set", "DeviceTemperature=-3.5"}),
                HasSubstr("\nDeviceTemperature[MainBoard] = -3.5\n"));
}

TEST(Set, BehindASelectorMeansWhatIsSelectedAtThatMoment) {
    EXPECT_THAT(
        startedWith({"--set", "BalanceRatio=3", "--set", "BalanceRatioSelector=Red", "--set",
                     "BalanceRatio=2.5", "--set", "LUTSelector=Blue", "--set", "LUTIndex=17",
                     "--set", "LUTValue=99"}),
        AllOf(HasSubstr("\nBalanceRatio[Green] = 3\n"), HasSubstr("\nBalanceRatio[Red] = 2.5\n"),
              HasSubstr("\nBalanceRatio[Blue] = 2\n"), HasSubstr("\nBalanceRatioSelector = Red\n"),
              HasSubstr("\nLUTValue[Blue][17] = 99\n")));
}

TEST(Set, HoldsForAllCamerasOrForOneInTheOrderGiven) {
    served("--set S2:Width=320 --set Height=400 "
           "--set GevHeartbeatTimeout=60000",
           R"(
        read 10110 = 00000790
        read 10114 = 00000190
        B3: read 10110 = 00000140
        B3: read 10114 = 00000190
        read 0938 = 0000EA60 # what clients may write of the standard's registers
    )");
    EXPECT_THAT(startedWith({"--set", "S1:Width=320", "--set", "Width=640"}),
                HasSubstr("\nWidth = 640\n"));
}

class SetByAnyDescription : public testing::Test {
protected:
    const TemporaryFolder folder;

    std::vector<std::string> arguments(const std::string &nodes,
                                       const std::vector<std::string> &settings) const {
        std::vector<std::string> all{"--description", folder.file("m.xml", model(nodes)),
                                     "--camera", "S1@127.0.0.2"};
        for (const std::string &setting : settings)
            all.insert(all.end(), {"--set", setting});
        return all;
    }
    std::string refusal(const std::string &nodes, const std::string &setting) const {
        const Process::End end = runSimcam(arguments(nodes, {setting}));
        EXPECT_EQ(2, end.status);
        EXPECT_EQ("", end.output);
        const std::string begin = "kxinfo-simcam: --set " + setting + " (camera S1): ";
        EXPECT_EQ(begin, end.errors.substr(0, begin.size()));
        return end.errors.substr(std::min(begin.size(), end.errors.size()));
    }
};

const std::string kHelp = "\nTry 'kxinfo-simcam --help'.\n";

TEST_F(SetByAnyDescription, FollowsValuesThroughNodesCopiesAndIndexes) {
    const Simcam camera(arguments(
        R"(
        Float Outer pValue=Inner pValueCopy=Copy
        Integer Inner pValue=InnerReg
        IntReg InnerReg Address=0x10000
        FloatReg Copy Address=0x10004
        IntReg Which Address=0x10008
        Integer Indexed pIndex=Which pValueIndexed@1=One pValueDefault=Other
        IntReg One Address=0x1000C Endianess=LittleEndian
        IntReg Other Address=0x10010 Sign=Signed
        Boolean Own pValue=OwnReg OnValue=7 OffValue=5
        IntReg OwnReg Address=0x10014
        Boolean Off pValue=OffReg OffValue=9
        IntReg OffReg Address=0x10018
        Integer High pValue=HighReg
        MaskedIntReg HighReg Address=0x10030 LSB=3 MSB=0 Initial=3
        MaskedIntReg Low Address=0x10030 Bit=31 Initial=1
    )",
        {"Outer=2", "Indexed=-5", "Which=1", "Indexed=7", "Own=true", "Off=false", "High=0xA"}));
    converse(R"(
        read 10000 = 00000002
        read 10004 = 40000000
        read 1000C = 07000000
        read 10010 = FFFFFFFB
        read 10014 = 00000007
        read 10018 = 00000009
        read 10030 = A0000001 # the bits beside a field stay as they are
    )");
}

TEST_F(SetByAnyDescription, SaysWhyAFeatureHasNoRegisterForIt) {
    const std::string integer = "IntReg R Address=0x10000";
    struct Wrong {
        std::string setting, nodes, sentence;
    };
    const Wrong wrong[] = {
        {"F=1", "Integer F pValue=R\nIntReg R pAddress=X",
         "it cannot be set: the camera has no register R, its place or length is computed."},
        {"F=1", "Float F pValue=G\nConverter G pValue=R",
         "it cannot be set: G is converted by a formula."},
        {"R=1", integer + " pIndex=S\nInteger S Value=2",
         "it cannot be set: S selects number 2, which the register R does not have."},
        {"R=1", "Register R Address=0x10000", "it cannot be set: R is a block of bytes."},
        {"F=1", "Integer F pValue=R\nStringReg R Address=0x10000",
         "it cannot be set: its register R holds a text."},
        {"F=1", "String F pValue=R\n" + integer,
         "it cannot be set: its register R holds a number."},
        {"R=-1", integer, "expected an integer that 32 bits hold, without a sign."},
        {"R=0x100000000", integer, "expected an integer that 32 bits hold, without a sign."},
        {"F=1.5", "Float F pValue=R\n" + integer,
         "expected a whole number: its register R holds no other."},
        {"R=1e39", "FloatReg R Address=0x10000", "expected a number that 32 bits hold."},
        {"F=4", "Float F pValue=G\nFloat G pValue=R Max=3\n" + integer,
         "expected a number of at most 3."},
    };
    for (const Wrong &each : wrong)
        EXPECT_EQ(each.sentence + kHelp, refusal(each.nodes, each.setting));
}

// From both sides. Each feature has two copies in the next one: more ways than anybody can go.
TEST_F(SetByAnyDescription, GoesThrough256NodesAtMost) {
    const auto chain = [](int length, const std::string &address, const std::string &copy) {
        std::string nodes = "IntReg F0 Address=" + address;
        for (int i = 1; i < length; ++i) {
            const std::string holder = "=F" + std::to_string(i - 1);
            nodes += "\nInteger F" + std::to_string(i) + " pValue" + holder + copy +
                     (copy.empty() ? "" : holder);
        }
        return nodes;
    };
    const auto tooFar = [](const std::string &node) {
        return "it cannot be set: after 256 nodes, at " + node +
               ", not all registers are reached, expected a description that does not go round in "
               "circles." +
               kHelp;
    };
    EXPECT_EQ("it cannot be set: the camera itself keeps its register F0." + kHelp,
              refusal(chain(256, "0", ""), "F255=1"));
    EXPECT_EQ(tooFar("F0"), refusal(chain(257, "0", ""), "F256=1"));
    EXPECT_THAT(refusal(chain(50, "0x10000", " pValueCopy"), "F49=1"),
                HasSubstr("after 256 nodes"));
    EXPECT_EQ(tooFar("F"), refusal("Integer F pValue=F", "F=1"));
    EXPECT_EQ(tooFar("R"), refusal("IntReg R Address=0x10000 pIndex=R", "R=1"));
}

TEST(Set, RefusesWhatIsWrongInOneSentence) {
    const std::pair<std::string, std::string> wrong[] = {
        {"Exposuretime=3", "the description has no feature 'Exposuretime', did you mean "
                           "ExposureTime, ExposureMode or ExposureAuto?"},
        {"Nothing=3", "the description has no feature 'Nothing'."},
        {"PixelFormat=RGB8", "expected Mono8, Mono10, Mono12, BayerRG8, BayerRG10 or BayerRG12."},
        {"ExposureAuto=1", "expected Off or Continuous."},
        {"ReverseX=yes", "expected true, false, 1 or 0."},
        {"AcquisitionFrameCount=many", "expected an integer from 1 to 65535."},
        {"Width=640.5", "expected an integer of at least 16."},
        {"Gain=loud", "expected a number from 1.0 to 8.0."},
        {"Gain=nan", "expected a number from 1.0 to 8.0."},
        {"Gain=", "expected a number from 1.0 to 8.0."},
        {"Width=15", "expected an integer of at least 16."},
        {"Gain=8.01", "expected a number from 1.0 to 8.0."},
        {"DeviceUserID=12345678901234567", "expected at most 16 bytes."},
        {"PayloadSize=1", "it cannot be set: PayloadSize is computed by a formula."},
        {"AcquisitionStart=1", "it cannot be set: AcquisitionStart is a command."},
        {"AnalogControl=1", "it cannot be set: AnalogControl is a category."},
        {"TLParamsLocked=1",
         "it cannot be set: TLParamsLocked is a constant, which no register holds."},
        {"DeviceVendorName=Other",
         "it cannot be set: the camera itself keeps its register DeviceVendorName."},
        {"GevCCP=ExclusiveAccess",
         "it cannot be set: the camera itself keeps its register GevCCPReg."},
    };
    for (const auto &[text, sentence] : wrong) {
        const Process::End end = runSimcam({"--camera", "S1@127.0.0.2", "--set", text});
        EXPECT_EQ("kxinfo-simcam: --set " + text + " (camera S1): " + sentence + kHelp, end.errors);
        EXPECT_EQ(2, end.status);
    }
}

} // namespace
