#include "client.h"
#include "process.h"

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

TEST(Set, HoldsForAllCamerasOrForOne) {
    const Simcam camera({"--set", "S2:Width=320", "--set", "Height=400", "--camera", "S1@127.0.0.2",
                         "--camera", "S2@127.0.0.3"});
    Client first, second("127.0.0.3");

    EXPECT_EQ("00000790", first.read(0x10110));
    EXPECT_EQ("00000190", first.read(0x10114));
    EXPECT_EQ("00000140", second.read(0x10110));
    EXPECT_EQ("00000190", second.read(0x10114));
}

TEST(Set, InTheOrderGivenForAllAndForOne) {
    EXPECT_THAT(startedWith({"--set", "S1:Width=320", "--set", "Width=640"}),
                HasSubstr("\nWidth = 640\n"));
}

TEST(Set, GivesTheStandardsRegistersWhatClientsMayWrite) {
    const Simcam camera({"--camera", "S1@127.0.0.2", "--set", "GevHeartbeatTimeout=60000", "--set",
                         "GevSCPSPacketSize=1000"});
    Client client;

    EXPECT_EQ("0000EA60", client.read(0x938));
    EXPECT_EQ("000003E8", client.read(0xD04));
}

class SetByAnyDescription : public testing::Test {
protected:
    const TemporaryFolder folder;

    std::vector<std::string> arguments(const std::string &nodes,
                                       const std::vector<std::string> &settings) const {
        std::vector<std::string> all{
            "--description",
            folder.file("m.xml", "<RegisterDescription>" + nodes + "</RegisterDescription>"),
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

TEST_F(SetByAnyDescription, LeavesTheBitsBesideAFieldAsTheyAre) {
    const Simcam camera(arguments(R"(
        <Integer Name="High"><pValue>HighReg</pValue></Integer>
        <MaskedIntReg Name="HighReg"><Extension><Initial>3</Initial></Extension>
          <Address>0x10030</Address><Length>4</Length><LSB>3</LSB><MSB>0</MSB>
          <Endianess>BigEndian</Endianess></MaskedIntReg>
        <MaskedIntReg Name="Low"><Extension><Initial>1</Initial></Extension>
          <Address>0x10030</Address><Length>4</Length><Bit>31</Bit>
          <Endianess>BigEndian</Endianess></MaskedIntReg>)",
                                  {"High=0xA"}));
    Client client;

    EXPECT_EQ("A0000001", client.read(0x10030));
}

TEST_F(SetByAnyDescription, FollowsValuesThroughNodesCopiesAndIndexes) {
    const Simcam camera(arguments(R"(
        <Float Name="Outer"><pValue>Inner</pValue><pValueCopy>Copy</pValueCopy></Float>
        <Integer Name="Inner"><pValue>InnerReg</pValue></Integer>
        <IntReg Name="InnerReg"><Address>0x10000</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg>
        <FloatReg Name="Copy"><Address>0x10004</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></FloatReg>
        <IntReg Name="Which"><Address>0x10008</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg>
        <Integer Name="Indexed"><pIndex>Which</pIndex>
          <pValueIndexed Index="1">One</pValueIndexed><pValueDefault>Other</pValueDefault></Integer>
        <IntReg Name="One"><Address>0x1000C</Address><Length>4</Length>
          <Endianess>LittleEndian</Endianess></IntReg>
        <IntReg Name="Other"><Address>0x10010</Address><Length>4</Length><Sign>Signed</Sign>
          <Endianess>BigEndian</Endianess></IntReg>)",
                                  {"Outer=2", "Indexed=-5", "Which=1", "Indexed=7"}));
    Client client;

    EXPECT_EQ("00000002", client.read(0x10000));
    EXPECT_EQ("40000000", client.read(0x10004));
    EXPECT_EQ("07000000", client.read(0x1000C));
    EXPECT_EQ("FFFFFFFB", client.read(0x10010));
}

TEST_F(SetByAnyDescription, TakesABooleansOwnNumbers) {
    const Simcam camera(arguments(R"(
        <Boolean Name="B"><pValue>R</pValue><OnValue>7</OnValue><OffValue>5</OffValue></Boolean>
        <IntReg Name="R"><Address>0x10000</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg>
        <Boolean Name="C"><pValue>S</pValue><OffValue>9</OffValue></Boolean>
        <IntReg Name="S"><Address>0x10004</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg>)",
                                  {"B=true", "C=false"}));
    Client client;

    EXPECT_EQ("00000007", client.read(0x10000));
    EXPECT_EQ("00000009", client.read(0x10004));
}

TEST_F(SetByAnyDescription, SaysWhyAFeatureHasNoRegisterForIt) {
    const std::string reg = "<Address>0x10000</Address><Length>4</Length>";

    EXPECT_EQ("it cannot be set: the camera has no register R, its place or length is computed." +
                  kHelp,
              refusal("<Integer Name=\"F\"><pValue>R</pValue></Integer>"
                      "<IntReg Name=\"R\"><pAddress>X</pAddress><Length>4</Length></IntReg>",
                      "F=1"));
    EXPECT_EQ("it cannot be set: G is converted by a formula." + kHelp,
              refusal("<Float Name=\"F\"><pValue>G</pValue></Float>"
                      "<Converter Name=\"G\"><pValue>R</pValue></Converter>",
                      "F=1"));
    EXPECT_EQ("it cannot be set: the description goes round in circles at F." + kHelp,
              refusal("<Integer Name=\"F\"><pValue>F</pValue></Integer>", "F=1"));
    EXPECT_EQ("it cannot be set: the description goes round in circles at R." + kHelp,
              refusal("<IntReg Name=\"R\">" + reg + "<pIndex>R</pIndex></IntReg>", "R=1"));
    EXPECT_EQ("it cannot be set: S selects number 2, which the register R does not have." + kHelp,
              refusal("<IntReg Name=\"R\">" + reg + "<pIndex>S</pIndex></IntReg>" +
                          "<Integer Name=\"S\"><Value>2</Value></Integer>",
                      "R=1"));
    EXPECT_EQ("it cannot be set: R is a block of bytes." + kHelp,
              refusal("<Register Name=\"R\">" + reg + "</Register>", "R=1"));
    EXPECT_EQ("it cannot be set: its register R holds a text." + kHelp,
              refusal("<Integer Name=\"F\"><pValue>R</pValue></Integer><StringReg Name=\"R\">" +
                          reg + "</StringReg>",
                      "F=1"));
    EXPECT_EQ("it cannot be set: its register R holds a number." + kHelp,
              refusal("<String Name=\"F\"><pValue>R</pValue></String><IntReg Name=\"R\">" + reg +
                          "</IntReg>",
                      "F=1"));
    EXPECT_EQ("the description has no feature 'F'." + kHelp, refusal("", "F=1"));
}

TEST_F(SetByAnyDescription, RefusesWhatTheRegisterDoesNotHold) {
    const std::string place = "<Address>0x10000</Address><Length>4</Length>";
    const std::string reg = "<IntReg Name=\"R\">" + place + "</IntReg>";

    EXPECT_EQ("expected an integer that 32 bits hold, without a sign." + kHelp,
              refusal(reg, "R=-1"));
    EXPECT_EQ("expected an integer that 32 bits hold, without a sign." + kHelp,
              refusal(reg, "R=0x100000000"));
    EXPECT_EQ("expected a whole number: its register R holds no other." + kHelp,
              refusal("<Float Name=\"F\"><pValue>R</pValue></Float>" + reg, "F=1.5"));
    EXPECT_EQ("expected a number that 32 bits hold." + kHelp,
              refusal("<FloatReg Name=\"R\">" + place + "</FloatReg>", "R=1e39"));
    EXPECT_EQ("expected a number of at most 3." + kHelp,
              refusal("<Float Name=\"F\"><pValue>G</pValue></Float>"
                      "<Float Name=\"G\"><pValue>R</pValue><Max>3</Max></Float>" +
                          reg,
                      "F=4"));
}

struct Wrong {
    const char *name;
    std::string setting;
    std::string sentence;

    friend void PrintTo(const Wrong &wrong, std::ostream *to) { *to << wrong.name; }
};

class WrongSetting : public testing::TestWithParam<Wrong> {};

TEST_P(WrongSetting, IsExplainedInOneSentence) {
    const Process::End end = runSimcam({"--camera", "S1@127.0.0.2", "--set", GetParam().setting});

    EXPECT_EQ("kxinfo-simcam: --set " + GetParam().setting +
                  " (camera S1): " + GetParam().sentence + kHelp,
              end.errors);
    EXPECT_EQ("", end.output);
    EXPECT_EQ(2, end.status);
}

const Wrong kWrong[] = {
    {"UnknownFeature", "Exposuretime=3",
     "the description has no feature 'Exposuretime', did you mean ExposureTime, ExposureMode or "
     "ExposureAuto?"},
    {"UnknownEntry", "PixelFormat=RGB8",
     "expected Mono8, Mono10, Mono12, BayerRG8, BayerRG10 or BayerRG12."},
    {"EntryByNumber", "ExposureAuto=1", "expected Off or Continuous."},
    {"NoBoolean", "ReverseX=yes", "expected true, false, 1 or 0."},
    {"NoInteger", "AcquisitionFrameCount=many", "expected an integer from 1 to 65535."},
    {"FractionOfAnInteger", "Width=640.5", "expected an integer of at least 16."},
    {"NoFloat", "Gain=loud", "expected a number from 1.0 to 8.0."},
    {"NotFinite", "Gain=nan", "expected a number from 1.0 to 8.0."},
    {"Nothing", "Gain=", "expected a number from 1.0 to 8.0."},
    {"BelowTheMinimum", "Width=15", "expected an integer of at least 16."},
    {"AboveTheMaximum", "Gain=8.01", "expected a number from 1.0 to 8.0."},
    {"LongText", "DeviceUserID=12345678901234567", "expected at most 16 bytes."},
    {"Formula", "PayloadSize=1", "it cannot be set: PayloadSize is computed by a formula."},
    {"Command", "AcquisitionStart=1", "it cannot be set: AcquisitionStart is a command."},
    {"Category", "AnalogControl=1", "it cannot be set: AnalogControl is a category."},
    {"Constant", "TLParamsLocked=1",
     "it cannot be set: TLParamsLocked is a constant, which no register holds."},
    {"CamerasOwn", "DeviceVendorName=Other",
     "it cannot be set: the camera itself keeps its register DeviceVendorName."},
    {"ControlPrivilege", "GevCCP=ExclusiveAccess",
     "it cannot be set: the camera itself keeps its register GevCCPReg."},
};

INSTANTIATE_TEST_SUITE_P(Simcam, WrongSetting, testing::ValuesIn(kWrong),
                         [](const auto &wrong) { return wrong.param.name; });

} // namespace
