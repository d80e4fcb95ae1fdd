// What each kind of node does, and the exception that each misuse raises.

#include <cmath>

#include "support.h"

namespace {

using namespace GenApi_3_0;
using namespace GenICam_3_0;
using testing::ElementsAre;
using testing::IsEmpty;

class Nodes : public OpenedCamera {};

std::string named(const char *element, const char *name, const std::string &content) {
    return std::string("<") + element + " Name=\"" + name + "\">" + content + "</" + element +
           ">\n";
}

std::string pValue(const char *name) {
    return std::string("<pValue>") + name + "</pValue>";
}

std::string floatReg(const char *name, const char *address, const std::string &more = "") {
    return named("FloatReg", name, atAddress(address, more) + "<Endianess>BigEndian</Endianess>");
}

const std::string kReg = intReg("Reg", "0x1000");

// ---- kinds

TEST_F(Nodes, AreOfTheKindOfTheirElement) {
    open(kReg + named("Integer", "I", pValue("Reg")) +
         named("MaskedIntReg", "M", atAddress("0x1000") + "<LSB>31</LSB><MSB>16</MSB>") +
         named("IntSwissKnife", "IK", "<Formula>1</Formula>") +
         named("IntConverter", "IC",
               "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>" + pValue("Reg")) +
         named("Float", "F", "<Value>1</Value>") + floatReg("FR", "0x1010") +
         named("SwissKnife", "FK", "<Formula>1</Formula>") +
         named("Converter", "FC",
               "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>" + pValue("Reg")) +
         named("Boolean", "B", pValue("Reg")) +
         named("Enumeration", "E",
               "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>" + pValue("Reg")) +
         named("String", "S", "<Value>text</Value>") +
         named("StringReg", "SR", atAddress("0x1020", "", "RW", "16")) +
         named("Command", "C", pValue("Reg") + "<CommandValue>1</CommandValue>"));

    const auto kinds = [this](const char *name) {
        INode *it = node(name);
        std::string found;
        found += dynamic_cast<IInteger *>(it) ? "integer " : "";
        found += dynamic_cast<IFloat *>(it) ? "float " : "";
        found += dynamic_cast<IBoolean *>(it) ? "boolean " : "";
        found += dynamic_cast<IEnumeration *>(it) ? "enumeration " : "";
        found += dynamic_cast<IValue *>(it) ? "value" : "";
        return found;
    };
    for (const char *name : {"I", "Reg", "M", "IK", "IC"})
        EXPECT_EQ("integer value", kinds(name)) << name;
    for (const char *name : {"F", "FR", "FK", "FC"})
        EXPECT_EQ("float value", kinds(name)) << name;
    EXPECT_EQ("boolean value", kinds("B"));
    EXPECT_EQ("enumeration value", kinds("E"));
    EXPECT_EQ("value", kinds("S"));
    EXPECT_EQ("value", kinds("SR"));
    EXPECT_EQ("", kinds("C"));
    EXPECT_EQ("", kinds("Root"));
}

TEST_F(Nodes, AreOneObjectPerName) {
    open(kReg);

    EXPECT_EQ(node("Reg"), node("Reg"));
    EXPECT_EQ("Reg", std::string(node("Reg")->GetName()));
    EXPECT_EQ("Std::Root", std::string(node("Root")->GetName(true)));
}

TEST_F(Nodes, AreThoseOfTheDescriptionAlone) {
    open(kReg);

    EXPECT_EQ(nullptr, node("Width"));
    EXPECT_EQ(nullptr, node(""));
    EXPECT_EQ(nullptr, node("TLParamsLocked")); // Aravis adds it to descriptions of its own
    EXPECT_EQ(nullptr, node("GevSCPSPacketSize"));
}

// ---- integers

TEST_F(Nodes, IntegersAreReadAndWritten) {
    open(kReg + named("Integer", "I", pValue("Reg") + "<Min>0</Min><Max>100</Max><Inc>4</Inc>"));
    camera.setRegister(0x1000, 40);

    EXPECT_EQ(40, integer("I").GetValue());
    EXPECT_EQ("40", std::string(integer("I").ToString()));
    integer("I").SetValue(44);
    EXPECT_EQ(44u, camera.getRegister(0x1000));
    integer("I").FromString("0x30");
    EXPECT_EQ(48u, camera.getRegister(0x1000));
    EXPECT_EQ(0, integer("I").GetMin());
    EXPECT_EQ(100, integer("I").GetMax());
    EXPECT_EQ(4, integer("I").GetInc());
}

TEST_F(Nodes, IntegersOutsideTheirRangeAreOutOfRange) {
    open(kReg + named("Integer", "I", pValue("Reg") + "<Min>8</Min><Max>100</Max><Inc>4</Inc>"));

    EXPECT_EQ("Cannot write 'I': 4 is outside 8 to 100",
              raisedBy<OutOfRangeException>([&] { integer("I").SetValue(4); }));
    EXPECT_EQ("Cannot write 'I': 101 is outside 8 to 100",
              raisedBy<OutOfRangeException>([&] { integer("I").SetValue(101); }));
    EXPECT_EQ("Cannot write 'I': 10 is not a multiple of 4 above the minimum 8",
              raisedBy<OutOfRangeException>([&] { integer("I").SetValue(10); }));
    EXPECT_EQ("Cannot write 'I': 10 is not a multiple of 4 above the minimum 8",
              raisedBy<OutOfRangeException>([&] { integer("I").FromString("10"); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
    integer("I").SetValue(8);
    integer("I").SetValue(100);
    EXPECT_EQ(100u, camera.getRegister(0x1000));
}

TEST_F(Nodes, IntegersAreWrittenUncheckedWithoutVerification) {
    open(kReg + named("Integer", "I", pValue("Reg") + "<Min>8</Min><Max>100</Max><Inc>4</Inc>"));

    integer("I").SetValue(3, false);

    EXPECT_EQ(3u, camera.getRegister(0x1000));
}

TEST_F(Nodes, IntegerRangesComeFromOtherNodesOrTheRegister) {
    open(kReg + intReg("Top", "0x1004") +
         named("Integer", "I", pValue("Reg") + "<Min>0</Min><pMax>Top</pMax>") +
         named("Integer", "J", pValue("Short")) +
         named("IntReg", "Short",
               atAddress("0x1008", "", "RW", "2") +
                   "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>") +
         named("IntSwissKnife", "K", "<Formula>7</Formula>"));
    camera.setRegister(0x1004, 77);
    camera.setRegister(0x1008, 0xfffe0000);

    EXPECT_EQ(77, integer("I").GetMax());
    EXPECT_EQ(1, integer("I").GetInc());
    EXPECT_EQ(-2, integer("J").GetValue());
    EXPECT_EQ(-32768, integer("J").GetMin());
    EXPECT_EQ(32767, integer("J").GetMax());
    EXPECT_EQ(7, integer("K").GetValue());
    EXPECT_EQ(INT64_MIN, integer("K").GetMin());
    EXPECT_EQ(INT64_MAX, integer("K").GetMax());
    EXPECT_EQ(1, integer("K").GetInc());
}

TEST_F(Nodes, IntegersDoNotComeOutOfTextsThatAreNone) {
    open(kReg);

    for (const char *text : {"", " ", "12x", "x", "1.5", "0x", "--1", "0x1g",
                             "99999999999999999999", "9223372036854775808", "1 "})
        EXPECT_EQ("Cannot write 'Reg': '" + std::string(text) +
                      "' is no whole number (expected one such as 640 or 0x280)",
                  raisedBy<InvalidArgumentException>([&] { integer("Reg").FromString(text); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(Nodes, NegativeIntegersAreWritten) {
    open(named("IntReg", "S",
               atAddress("0x1000") + "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>"));

    integer("S").SetValue(-1);
    EXPECT_EQ(0xffffffffu, camera.getRegister(0x1000));
    integer("S").FromString("-3");
    EXPECT_EQ(0xfffffffdu, camera.getRegister(0x1000));
}

TEST_F(Nodes, PartsOfARegisterLeaveEachOtherAlone) {
    const auto part = [](const char *name, const char *lsb, const char *msb) {
        return named("MaskedIntReg", name,
                     atAddress("0x1000") + "<LSB>" + lsb + "</LSB><MSB>" + msb +
                         "</MSB><Endianess>BigEndian</Endianess>");
    };
    open(part("Low", "31", "16") + part("High", "15", "0"));
    camera.setRegister(0x1000, 0x00020001);
    EXPECT_EQ(1, integer("Low").GetValue());
    EXPECT_EQ(2, integer("High").GetValue());

    integer("Low").SetValue(7);
    integer("High").SetValue(9);

    EXPECT_EQ(0x00090007u, camera.getRegister(0x1000));
    EXPECT_EQ(7, integer("Low").GetValue());
    EXPECT_EQ(9, integer("High").GetValue());
    EXPECT_EQ("Cannot write 'Low': 65536 is outside 0 to 65535",
              raisedBy<OutOfRangeException>([&] { integer("Low").SetValue(65536); }));
}

// ---- floats

TEST_F(Nodes, FloatsAreReadAndWritten) {
    open(floatReg("FR", "0x1000") +
         named("Float", "F", pValue("FR") + "<Min>0.5</Min><Max>10</Max><Inc>0.5</Inc>"));
    camera.setRegister(0x1000, 0x40200000); // 2.5

    EXPECT_EQ(2.5, floating("F").GetValue());
    EXPECT_EQ("2.5", std::string(floating("F").ToString()));
    floating("F").SetValue(1.5);
    EXPECT_EQ(0x3fc00000u, camera.getRegister(0x1000));
    floating("F").FromString("2e0");
    EXPECT_EQ(0x40000000u, camera.getRegister(0x1000));
    EXPECT_EQ(0.5, floating("F").GetMin());
    EXPECT_EQ(10, floating("F").GetMax());
    EXPECT_TRUE(floating("F").HasInc());
    EXPECT_EQ(0.5, floating("F").GetInc());
}

TEST_F(Nodes, FloatsMayHaveNoIncrement) {
    open(floatReg("FR", "0x1000") + named("Float", "F", pValue("FR")));

    for (const char *name : {"FR", "F"}) {
        EXPECT_FALSE(floating(name).HasInc());
        EXPECT_EQ(0, floating(name).GetInc());
        floating(name).SetValue(0.123);
        EXPECT_FLOAT_EQ(0.123f, static_cast<float>(floating(name).GetValue(false, true)));
    }
}

TEST_F(Nodes, FloatRangesComeFromOtherNodes) {
    open(floatReg("FR", "0x1000") + kReg + named("Integer", "One", "<Value>1</Value>") +
         named("Float", "F", pValue("FR") + "<pMin>One</pMin><pMax>Top</pMax>") +
         floatReg("Top", "0x1010") + named("Float", "FI", pValue("I")) +
         named("Integer", "I", pValue("Reg2") + "<Min>1</Min><Max>9</Max><Inc>2</Inc>") +
         intReg("Reg2", "0x1020"));
    camera.setRegister(0x1010, 0x41200000);

    EXPECT_EQ(1, floating("F").GetMin());
    EXPECT_EQ(10, floating("F").GetMax());
    EXPECT_EQ(1, floating("FI").GetMin());
    EXPECT_EQ(9, floating("FI").GetMax());
    EXPECT_EQ(2, floating("FI").GetInc());
}

TEST_F(Nodes, FloatsOutsideTheirRangeAreOutOfRange) {
    open(floatReg("FR", "0x1000") +
         named("Float", "F", pValue("FR") + "<Min>0.5</Min><Max>10</Max><Inc>0.1</Inc>"));

    EXPECT_EQ("Cannot write 'F': 0.25 is outside 0.5 to 10",
              raisedBy<OutOfRangeException>([&] { floating("F").SetValue(0.25); }));
    EXPECT_EQ("Cannot write 'F': 10.5 is outside 0.5 to 10",
              raisedBy<OutOfRangeException>([&] { floating("F").SetValue(10.5); }));
    EXPECT_EQ("Cannot write 'F': nan is outside 0.5 to 10",
              raisedBy<OutOfRangeException>([&] { floating("F").SetValue(NAN); }));
    EXPECT_EQ("Cannot write 'F': 0.65 is not a multiple of 0.1 above the minimum 0.5",
              raisedBy<OutOfRangeException>([&] { floating("F").SetValue(0.65); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
    floating("F").SetValue(0.65, false);
    EXPECT_EQ(0x3f266666u, camera.getRegister(0x1000));
}

TEST_F(Nodes, FloatIncrementsForgiveWhatA32BitFloatCannotHold) {
    open(floatReg("FR", "0x1000") +
         named("Float", "F", pValue("FR") + "<Min>0</Min><Max>100000</Max><Inc>0.1</Inc>"));

    floating("F").SetValue(static_cast<double>(0.7f));
    floating("F").SetValue(static_cast<double>(33333.3f));

    EXPECT_EQ("Cannot write 'F': 33333.34 is not a multiple of 0.1 above the minimum 0",
              raisedBy<OutOfRangeException>([&] { floating("F").SetValue(33333.34); }));
}

TEST_F(Nodes, FloatsDoNotComeOutOfTextsThatAreNone) {
    open(floatReg("FR", "0x1000"));

    for (const char *text : {"", "x", "1.5x", "1,5", "1.5 ", "--1", "1e"})
        EXPECT_EQ("Cannot write 'FR': '" + std::string(text) +
                      "' is no number (expected one such as 2.5 or 1e3)",
                  raisedBy<InvalidArgumentException>([&] { floating("FR").FromString(text); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(Nodes, ConvertersConvertBothWays) {
    open(kReg +
         named("Converter", "C",
               "<FormulaTo>FROM*10</FormulaTo><FormulaFrom>TO/10</FormulaFrom>" + pValue("Reg")));
    camera.setRegister(0x1000, 25);

    EXPECT_EQ(2.5, floating("C").GetValue());
    floating("C").SetValue(7.5);

    EXPECT_EQ(75u, camera.getRegister(0x1000));
}

// ---- booleans, enumerations, texts

TEST_F(Nodes, BooleansFollowTheirOnAndOffValues) {
    open(kReg +
         named("Boolean", "B", pValue("Reg") + "<OnValue>5</OnValue><OffValue>3</OffValue>"));
    camera.setRegister(0x1000, 5);

    EXPECT_TRUE(boolean("B").GetValue());
    EXPECT_EQ("1", std::string(boolean("B").ToString()));
    boolean("B").SetValue(false);
    EXPECT_EQ(3u, camera.getRegister(0x1000));
    EXPECT_FALSE(boolean("B").GetValue());
    boolean("B").FromString("true");
    EXPECT_EQ(5u, camera.getRegister(0x1000));
    EXPECT_EQ("Cannot write 'B': 'on' is neither of 0, 1, false and true",
              raisedBy<InvalidArgumentException>([&] { boolean("B").FromString("on"); }));
}

const std::string kMode =
    kReg + intReg("CanThree", "0x1004", "<Cachable>NoCache</Cachable>") +
    named("Enumeration", "Mode",
          "<EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
          "<EnumEntry Name=\"Once\"><Value>2</Value></EnumEntry>"
          "<EnumEntry Name=\"Three\"><pIsAvailable>CanThree</pIsAvailable><Value>3</Value>"
          "</EnumEntry>" +
              pValue("Reg"));

TEST_F(Nodes, EnumerationsAreReadAndWrittenByEntryName) {
    open(kMode);
    camera.setRegister(0x1000, 2);

    EXPECT_EQ("Once", std::string(enumeration("Mode").ToString()));
    EXPECT_EQ(2, enumeration("Mode").GetIntValue());
    EXPECT_EQ("Once", std::string(enumeration("Mode").GetCurrentEntry()->GetSymbolic()));
    enumeration("Mode").FromString("Off");
    EXPECT_EQ(0u, camera.getRegister(0x1000));
    enumeration("Mode").SetIntValue(2);
    EXPECT_EQ(2u, camera.getRegister(0x1000));
    StringList_t names{"left over"};
    enumeration("Mode").GetSymbolics(names);
    EXPECT_THAT(names, ElementsAre(gcstring("Off"), gcstring("Once"), gcstring("Three")));
}

TEST_F(Nodes, EnumerationEntriesAreReachedByName) {
    open(kMode);

    IEnumEntry *entry = enumeration("Mode").GetEntryByName("Once");

    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(entry, enumeration("Mode").GetEntryByName("Once"));
    EXPECT_EQ(2, entry->GetValue());
    EXPECT_EQ("Once", std::string(entry->GetSymbolic()));
    EXPECT_EQ("Once", std::string(entry->ToString()));
    EXPECT_EQ(RO, entry->GetAccessMode());
    EXPECT_EQ(nullptr, enumeration("Mode").GetEntryByName("once"));
    EXPECT_EQ(nullptr, enumeration("Mode").GetEntryByName(""));
}

TEST_F(Nodes, EnumerationsHaveNoEntryForAnUnknownText) {
    open(kMode);

    EXPECT_EQ("Cannot write 'Mode': 'Twice' is none of its entries (Off, Once, Three)",
              raisedBy<InvalidArgumentException>([&] { enumeration("Mode").FromString("Twice"); }));
    EXPECT_EQ("Cannot write 'Mode': 1 is the value of none of its entries",
              raisedBy<InvalidArgumentException>([&] { enumeration("Mode").SetIntValue(1); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(Nodes, EnumerationEntriesMayBeUnavailable) {
    open(kMode);
    camera.setRegister(0x1000, 2);

    EXPECT_EQ(NA, enumeration("Mode").GetEntryByName("Three")->GetAccessMode());
    EXPECT_EQ("Cannot write 'Mode': its entry 'Three' is not available at present",
              raisedBy<AccessException>([&] { enumeration("Mode").FromString("Three"); }));
    EXPECT_EQ(2u, camera.getRegister(0x1000));
    camera.setRegister(0x1004, 1);
    enumeration("Mode").FromString("Three");
    EXPECT_EQ(3u, camera.getRegister(0x1000));
}

TEST_F(Nodes, EnumerationsMayHaveAValueWithoutAnEntry) {
    open(kMode);
    camera.setRegister(0x1000, 9);

    EXPECT_EQ(9, enumeration("Mode").GetIntValue());
    EXPECT_EQ(nullptr, enumeration("Mode").GetCurrentEntry());
    EXPECT_EQ("Cannot read 'Mode': the camera's value 9 is that of none of its entries",
              raisedBy<RuntimeException>([&] { enumeration("Mode").ToString(); }));
}

TEST_F(Nodes, TextsAreReadAndWritten) {
    open(named("StringReg", "Text", atAddress("0x1000", "", "RW", "8")));
    camera.setMemory(0x1000, "eightchr", 8);

    EXPECT_EQ("eightchr", std::string(as<IValue>("Text").ToString()));
    as<IValue>("Text").FromString("short");
    EXPECT_EQ(std::string("short\0", 6), camera.memory(0x1000, 6));
    EXPECT_EQ("short", std::string(as<IValue>("Text").ToString()));
    EXPECT_EQ("Cannot write 'Text': 9 characters, expected at most 8",
              raisedBy<OutOfRangeException>([&] { as<IValue>("Text").FromString("ninechars"); }));
}

// ---- access modes

struct AccessCase {
    const char *name;
    EAccessMode mode;
};

const std::string kAccessModes =
    intReg("Off", "0x1100") + intReg("On", "0x1104") + intReg("Value", "0x1108") +
    intReg("ROReg", "0x110c", "", "RO") + intReg("WOReg", "0x1110", "", "WO") +
    named("Integer", "Free", pValue("Value")) +
    named("Integer", "NotImplemented", "<pIsImplemented>Off</pIsImplemented>" + pValue("Value")) +
    named("Integer", "Implemented", "<pIsImplemented>On</pIsImplemented>" + pValue("Value")) +
    named("Integer", "NotAvailable", "<pIsAvailable>Off</pIsAvailable>" + pValue("Value")) +
    named("Integer", "Available", "<pIsAvailable>On</pIsAvailable>" + pValue("Value")) +
    named("Integer", "Locked", "<pIsLocked>On</pIsLocked>" + pValue("Value")) +
    named("Integer", "Unlocked", "<pIsLocked>Off</pIsLocked>" + pValue("Value")) +
    named("Integer", "LockedWriteOnly", "<pIsLocked>On</pIsLocked>" + pValue("WOReg")) +
    named("Integer", "ImposedReadOnly",
          "<ImposedAccessMode>RO</ImposedAccessMode>" + pValue("Value")) +
    named("Integer", "ReadOnly", pValue("ROReg")) + named("Integer", "WriteOnly", pValue("WOReg")) +
    named("Float", "OverNotAvailable", pValue("NotAvailable")) +
    named("Float", "OverNotImplemented", pValue("NotImplemented")) +
    named("Float", "OverLocked", pValue("Locked")) +
    named("Float", "OverWriteOnly", pValue("WOReg")) +
    named("Boolean", "BooleanNotAvailable", "<pIsAvailable>Off</pIsAvailable>" + pValue("Value")) +
    named("Boolean", "BooleanReadOnly", pValue("ROReg")) +
    named("Enumeration", "EnumerationWriteOnly",
          "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>" + pValue("WOReg")) +
    named("Enumeration", "EnumerationReadOnly",
          "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>" + pValue("ROReg")) +
    named("IntSwissKnife", "Formula",
          "<pVariable Name=\"X\">Value</pVariable><Formula>X+1</Formula>");

const AccessCase kAccessCases[] = {
    {"Free", RW},
    {"NotImplemented", NI},
    {"Implemented", RW},
    {"NotAvailable", NA},
    {"Available", RW},
    {"Locked", RO},
    {"Unlocked", RW},
    {"LockedWriteOnly", NA},
    {"ImposedReadOnly", RO},
    {"ReadOnly", RO},
    {"WriteOnly", WO},
    {"OverNotAvailable", NA},
    {"OverNotImplemented", NI},
    {"OverLocked", RO},
    {"OverWriteOnly", WO},
    {"BooleanNotAvailable", NA},
    {"BooleanReadOnly", RO},
    {"EnumerationWriteOnly", WO},
    {"EnumerationReadOnly", RO},
    {"Formula", RO},
};

TEST_F(Nodes, HaveTheAccessModeOfTheirDescriptionAndTheirSource) {
    open(kAccessModes);
    camera.setRegister(0x1104, 1);

    for (const AccessCase &expected : kAccessCases)
        EXPECT_EQ(expected.mode, node(expected.name)->GetAccessMode()) << expected.name;
}

TEST_F(Nodes, CannotBeReadUnlessTheirAccessModeAllowsIt) {
    open(kAccessModes);
    camera.setRegister(0x1104, 1);

    for (const AccessCase &expected : kAccessCases) {
        const bool readable = expected.mode == RO || expected.mode == RW;
        const auto read = [&] { dynamic_cast<IValue &>(*node(expected.name)).ToString(); };
        if (readable) {
            EXPECT_NO_THROW(read()) << expected.name;
        } else {
            EXPECT_THROW(read(), AccessException) << expected.name;
        }
    }
    EXPECT_EQ("Cannot read 'NotImplemented': it is not implemented",
              raisedBy<AccessException>([&] { integer("NotImplemented").GetValue(); }));
    EXPECT_EQ("Cannot read 'OverNotAvailable': it is not available",
              raisedBy<AccessException>([&] { floating("OverNotAvailable").GetValue(); }));
    EXPECT_EQ("Cannot read 'WriteOnly': it is write only",
              raisedBy<AccessException>([&] { integer("WriteOnly").GetValue(); }));
    EXPECT_EQ("Cannot read 'LockedWriteOnly': it is write only",
              raisedBy<AccessException>([&] { integer("LockedWriteOnly").GetValue(); }));
}

TEST_F(Nodes, CannotBeWrittenUnlessTheirAccessModeAllowsIt) {
    open(kAccessModes);
    camera.setRegister(0x1104, 1);

    for (const AccessCase &expected : kAccessCases) {
        const bool writable = expected.mode == WO || expected.mode == RW;
        for (const bool verify : {true, false}) {
            const auto write = [&] {
                INode *it = node(expected.name);
                if (auto *entries = dynamic_cast<IEnumeration *>(it))
                    entries->FromString("A", verify);
                else
                    dynamic_cast<IValue &>(*it).FromString("1", verify);
            };
            if (writable) {
                EXPECT_NO_THROW(write()) << expected.name;
            } else {
                EXPECT_THROW(write(), AccessException) << expected.name;
            }
        }
    }
    EXPECT_EQ("Cannot write 'Locked': it is read only",
              raisedBy<AccessException>([&] { integer("Locked").SetValue(1); }));
    EXPECT_EQ("Cannot write 'NotImplemented': it is not implemented",
              raisedBy<AccessException>([&] { integer("NotImplemented").SetValue(1); }));
}

TEST_F(Nodes, ChangeTheirAccessModeWithTheCamera) {
    open(intReg("Gate", "0x1000", "<Cachable>NoCache</Cachable>") + intReg("Value", "0x1004") +
         named("Integer", "I", "<pIsAvailable>Gate</pIsAvailable>" + pValue("Value")));

    EXPECT_FALSE(IsAvailable(node("I")));
    camera.setRegister(0x1000, 1);
    EXPECT_TRUE(IsAvailable(node("I")));
    EXPECT_TRUE(IsWritable(node("I")));
}

// ---- errors of the camera

TEST_F(Nodes, RaiseARuntimeErrorWhenTheCameraRefuses) {
    open(kReg + intReg("Other", "0x1004"));
    camera.refuseReading(0x1000, peer::InvalidAddress);
    camera.refuseWriting(0x1004, peer::WriteProtect);

    EXPECT_EQ("Cannot read 'Reg' of the camera: it has no such register (0x8003)",
              raisedBy<RuntimeException>([&] { integer("Reg").GetValue(); }));
    EXPECT_EQ("Cannot write 'Other' of the camera: the register cannot be written (0x8004)",
              raisedBy<RuntimeException>([&] { integer("Other").SetValue(1); }));
}

TEST_F(Nodes, RaiseARuntimeErrorWhenTheAccessModeCannotBeRead) {
    open(kReg + intReg("Gate", "0x1004") +
         named("Integer", "I", "<pIsAvailable>Gate</pIsAvailable>" + pValue("Reg")));
    camera.refuseReading(0x1004, peer::InvalidAddress);

    EXPECT_THROW(node("I")->GetAccessMode(), RuntimeException);
    EXPECT_THROW(integer("I").GetValue(), RuntimeException);
}

// ---- errors of the description

TEST_F(Nodes, RaiseAPropertyErrorWhenTheDescriptionIsWrong) {
    const struct {
        std::string node;
        std::string defect;
    } cases[] = {
        {named("Integer", "X", pValue("Nowhere")),
         "<pValue> of 'X' refers to 'Nowhere', which is no node"},
        {named("Integer", "X", ""), "<Integer> 'X' has no <Value> or <pValue>"},
        {named("Integer", "X", pValue("Reg") + "<pMax>Nowhere</pMax>"),
         "<pMax> of 'X' refers to 'Nowhere', which is no node"},
        {named("Integer", "X", pValue("Reg") + "<pIsAvailable>Nowhere</pIsAvailable>"),
         "<pIsAvailable> of 'X' refers to 'Nowhere', which is no node"},
        {named("Integer", "X", pValue("Y")) + named("Integer", "Y", pValue("X")),
         "the value of 'X' depends on itself"},
        {named("Float", "X", pValue("Nowhere")),
         "<pValue> of 'X' refers to 'Nowhere', which is no node"},
        {named("SwissKnife", "X", ""), "<SwissKnife> 'X' has no <Formula>"},
        {named("SwissKnife", "X", "<Formula>1+*(</Formula>"),
         "X: formula '1+*(': Parsing error (parentheses mismatch)"},
        {named("IntSwissKnife", "X", "<Formula>1+Y</Formula>"),
         "X: formula '1+Y': Parsing error (unknown variable)"},
        {named("SwissKnife", "X", "<pVariable Name=\"V\">Nowhere</pVariable><Formula>V</Formula>"),
         "<pVariable> of 'X' refers to 'Nowhere', which is no node"},
        {named("Converter", "X", "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"),
         "<Converter> 'X' has no <pValue>"},
        {named("Boolean", "X", ""), "<Boolean> 'X' has no <Value> or <pValue>"},
        {named("Enumeration", "X", "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"),
         "<Enumeration> 'X' has no <Value> or <pValue>"},
        {named("IntReg", "X", "<Length>4</Length><pPort>Device</pPort>"),
         "<IntReg> 'X' has no <Address>"},
        {named("IntReg", "X", "<Address>0</Address><pPort>Device</pPort>"),
         "<IntReg> 'X' has no <Length>"},
        {named("IntReg", "X", "<Address>0</Address><Length>4</Length>"),
         "<IntReg> 'X' has no <pPort>"},
    };
    for (const auto &each : cases) {
        open(kReg + each.node);
        const std::string expected =
            "Cannot use 'X': the camera's description is wrong (" + each.defect + ")";
        EXPECT_EQ(expected, raisedBy<PropertyException>([&] { as<IValue>("X").ToString(); }));
        EXPECT_EQ(expected,
                  raisedBy<PropertyException>([&] { as<IValue>("X").FromString("1", false); }));
        EXPECT_THAT(camera.accesses(), IsEmpty());
        GevCloseCamera(&handle);
    }
}

TEST_F(Nodes, RaiseAPropertyErrorWhenAFormulaDividesByZero) {
    open(
        kReg +
        named("SwissKnife", "F", "<pVariable Name=\"X\">Reg</pVariable><Formula>8/X</Formula>") +
        named("IntSwissKnife", "I", "<pVariable Name=\"X\">Reg</pVariable><Formula>8%X</Formula>") +
        named("Converter", "C",
              "<pVariable Name=\"X\">Reg</pVariable><FormulaTo>FROM/X</FormulaTo>"
              "<FormulaFrom>TO/X</FormulaFrom>" +
                  pValue("Target")) +
        named("Float", "Over", pValue("F")) + intReg("Target", "0x1010"));
    camera.setRegister(0x1010, 77);

    EXPECT_EQ("Cannot read 'F': formula '8/X': Parsing error (division by zero)",
              raisedBy<PropertyException>([&] { floating("F").GetValue(); }));
    EXPECT_EQ("Cannot read 'I': formula '8%X': Parsing error (division by zero)",
              raisedBy<PropertyException>([&] { integer("I").GetValue(); }));
    EXPECT_EQ("Cannot read 'Over': formula '8/X': Parsing error (division by zero)",
              raisedBy<PropertyException>([&] { floating("Over").GetValue(); }));
    EXPECT_EQ("Cannot read 'C': the camera's description fails (Parsing error (division by zero))",
              raisedBy<PropertyException>([&] { floating("C").GetValue(); }));
    EXPECT_EQ("Cannot write 'C': formula 'FROM/X': Parsing error (division by zero)",
              raisedBy<PropertyException>([&] { floating("C").SetValue(5, false); }));
    EXPECT_EQ(77u, camera.getRegister(0x1010));

    integer("Reg").SetValue(16);
    EXPECT_EQ(0.5, floating("F").GetValue());
    EXPECT_EQ(8, integer("I").GetValue());
    integer("Reg").SetValue(8);
    EXPECT_EQ(0, integer("I").GetValue()); // a 0 that is right
}

TEST_F(Nodes, HaveRegistersOf64KiBAndOfNoMore) {
    const auto text = [](const std::string &name, const std::string &length) {
        return "<StringReg Name=\"" + name + "\">" + atAddress("0x1000", "", "RW", length) +
               "</StringReg>";
    };
    open(text("Longest", "65536") + text("Longer", "65537") + text("Negative", "-1") +
         text("Empty", "0"));

    EXPECT_EQ("", std::string(as<IValue>("Longest").ToString()));
    for (const std::string name : {"Longer", "Negative", "Empty"})
        EXPECT_THAT(raisedBy<PropertyException>([&] { as<IValue>(name.c_str()).ToString(); }),
                    testing::HasSubstr("the length of '" + name + "' is "));
}

// The last of so many registers that make one stale is looked for, of one more none is.
TEST_F(Nodes, AreReadEachTimeWhenTooManyOthersMakeThemStale) {
    for (const int sources : {255, 256}) {
        std::string nodes;
        std::string formula = "0";
        std::string variables;
        for (int i = 0; i < sources - 1; ++i) {
            const std::string name = "R" + std::to_string(i);
            nodes += intReg(name, std::to_string(0x2000 + 4 * i));
            variables += "<pVariable Name=\"" + name + "\">" + name + "</pVariable>";
        }
        open(nodes + "<IntSwissKnife Name=\"All\">" + variables + "<Formula>" + formula +
             "</Formula></IntSwissKnife>" +
             intReg("Stale", "0x1000", "<pInvalidator>All</pInvalidator>"));
        integer("Stale").GetValue();
        camera.clearAccesses();

        integer("Stale").GetValue();

        EXPECT_EQ(sources == 255 ? 0u : 1u, camera.accesses().size()) << sources;
        GevApiUninitialize();
    }
}

TEST_F(Nodes, MayBoundEachOther) {
    open(intReg("WidthReg", "0x1000") + intReg("OffsetReg", "0x1004") +
         named("Integer", "Width", pValue("WidthReg") + "<Min>1</Min><pMax>WidthMax</pMax>") +
         named("Integer", "Offset", pValue("OffsetReg") + "<Min>0</Min><pMax>OffsetMax</pMax>") +
         named("IntSwissKnife", "WidthMax",
               "<pVariable Name=\"O\">Offset</pVariable><Formula>1000-O</Formula>") +
         named("IntSwissKnife", "OffsetMax",
               "<pVariable Name=\"W\">Width</pVariable><Formula>1000-W</Formula>"));
    camera.setRegister(0x1000, 600);

    EXPECT_EQ(400, integer("Offset").GetMax());
    integer("Offset").SetValue(300);
    EXPECT_EQ(700, integer("Width").GetMax());
}

TEST_F(Nodes, RaiseAnAccessErrorWithoutANodeMap) {
    const CNodeMapRef none;

    EXPECT_EQ("Feature not present (reference not valid)",
              raisedBy<AccessException>([&] { none._GetNode("Width"); }));
}

} // namespace
