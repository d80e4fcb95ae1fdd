// Nodes over a camera on the wire, and what its errors become.

#include <cmath>

#include "support.h"

namespace {

using namespace GenApi_3_0;
using namespace GenICam_3_0;

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

TEST_F(Nodes, AreReadAndWrittenInTheCamerasMemory) {
    open(kReg + floatReg("F", "0x1010") +
         named("Boolean", "B", pValue("Flag") + "<OnValue>2</OnValue><OffValue>1</OffValue>") +
         intReg("Flag", "0x1014") +
         named("Enumeration", "E",
               "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
               "<EnumEntry Name=\"B\"><Value>7</Value></EnumEntry>" +
                   pValue("Choice")) +
         intReg("Choice", "0x1018") + named("StringReg", "S", atAddress("0x1020", "", "RW", "16")));

    integer("Reg").SetValue(0x01020304);
    floating("F").SetValue(-2);
    boolean("B").SetValue(true);
    enumeration("E").FromString("B");
    as<IValue>("S").FromString("text");

    EXPECT_EQ(0x01020304u, camera.get(0x1000));
    EXPECT_EQ(0xC0000000u, camera.get(0x1010));
    EXPECT_EQ(2u, camera.get(0x1014));
    EXPECT_EQ(7u, camera.get(0x1018));
    EXPECT_EQ(0x74657874u, camera.get(0x1020));
    EXPECT_EQ(0x01020304, integer("Reg").GetValue(false, true));
    EXPECT_EQ(-2, floating("F").GetValue(false, true));
    EXPECT_TRUE(boolean("B").GetValue(false, true));
    EXPECT_EQ("B", std::string(enumeration("E").ToString(false, true)));
    EXPECT_EQ("text", std::string(as<IValue>("S").ToString(false, true)));
}

TEST_F(Nodes, RaiseARuntimeErrorWhenTheCameraRefuses) {
    open(kReg + intReg("Other", "0x1004"));
    camera.behave([](const Received &command, const Good &good) {
        return Replies{{command.reads(0x1000)    ? refusalOf(command, peer::InvalidAddress)
                        : command.writes(0x1004) ? refusalOf(command, peer::WriteProtect)
                                                 : good()}};
    });

    EXPECT_EQ(
        "Cannot read the camera's register 0x1000 for 'Reg': it has no such register (0x8003)",
        raisedBy<RuntimeException>([&] { integer("Reg").GetValue(); }));
    EXPECT_EQ(
        "Cannot write the camera's register 0x1004 for 'Other': the register cannot be written "
        "(0x8004)",
        raisedBy<RuntimeException>([&] { integer("Other").SetValue(1); }));
}

TEST_F(Nodes, RaiseARuntimeErrorWhenTheAccessModeCannotBeRead) {
    open(kReg + intReg("Gate", "0x1004") +
         named("Integer", "I", "<pIsAvailable>Gate</pIsAvailable>" + pValue("Reg")));
    camera.refuse([](const Received &command) { return command.reads(0x1004); },
                  peer::InvalidAddress);

    EXPECT_THROW(node("I")->GetAccessMode(), RuntimeException);
    EXPECT_THROW(integer("I").GetValue(), RuntimeException);
}

TEST_F(Nodes, HaveRegistersOf64KiB) {
    open("<StringReg Name=\"Longest\">" + atAddress("0x1000", "", "RW", "65536") + "</StringReg>");

    EXPECT_EQ("", std::string(as<IValue>("Longest").ToString()));
}

TEST_F(Nodes, BeyondTheCameras32BitsAreRefusedWithoutACommand) {
    open(intReg("Far", "0xFFFFFFFE") + intReg("Farther", "0x7FFFFFFFFFFFFFFC"));

    for (const char *name : {"Far", "Farther"})
        EXPECT_THAT(raisedBy<RuntimeException>([&] { integer(name).GetValue(); }),
                    testing::HasSubstr("the address is beyond the camera's 32 bits"));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

} // namespace
