// Descriptions that are none, that are damaged, or that ask for what they must not have.

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hostile.h"

namespace {

using testing::HasSubstr;

class DescriptionUrl : public Hostile {};

TEST_F(DescriptionUrl, IsRefusedWithALengthBeyondAllMemory) {
    camera.setUrls("Local:camera.xml;1000000;7fffffffffffffff");

    expectRefusal(HasSubstr("its length is 9223372036854775807 bytes; expected 1 to 16777216"));
}

TEST_F(DescriptionUrl, IsRefusedWithALengthOfTwoGigabytes) {
    camera.setUrls("Local:camera.xml;1000000;80000000");

    expectRefusal(HasSubstr("its length is 2147483648 bytes; expected 1 to 16777216"));
}

TEST_F(DescriptionUrl, IsRefusedWithAByteMoreThanADescriptionMayHave) {
    camera.setUrls("Local:camera.xml;1000000;1000001");

    expectRefusal(HasSubstr("its length is 16777217 bytes; expected 1 to 16777216"));
}

TEST_F(DescriptionUrl, OpensNoPipeOfThisComputer) {
    const ScratchFolder folder;
    const std::string pipe = folder.path() + "/pipe.xml";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, pipe.c_str(), IN_OPEN), 0);
    camera.setUrls("File:" + pipe, "File:///" + pipe);

    expectRefusal(HasSubstr("it names a file, and files are never opened for a camera"));

    char event[sizeof(inotify_event)];
    EXPECT_LT(read(watch, event, sizeof event), 0) << "it was opened";
    close(watch);
}

TEST_F(DescriptionUrl, ReadsNoEndlessFile) {
    camera.setUrls("File:/dev/zero");

    expectRefusal(HasSubstr("it names a file, and files are never opened for a camera"));
}

TEST_F(DescriptionUrl, IsRefusedOnTheNetwork) {
    camera.setUrls("http://127.0.0.2/camera.xml");

    expectRefusal(HasSubstr(
        "it names a place on the network, and such places are never opened for a camera"));
}

TEST_F(DescriptionUrl, IsToldWithBothReasonsWhenBothAreBad) {
    camera.setUrls("http://127.0.0.2/camera.xml", "File:camera.xml");

    expectRefusal(HasSubstr(
        "first URL: it names a place on the network, and such places are never opened for a "
        "camera; second URL: it names a file, and files are never opened for a camera"));
}

TEST_F(DescriptionUrl, IsTheSecondWhenTheFirstIsBad) {
    const std::string undisturbed = probed();
    camera.setUrls("File:camera.xml", urlFor(Archive(builtInDescription()).bytes().size()));

    EXPECT_EQ(undisturbed, probed());
}

// What an archive says of sizes, though its content and its check sum are right.
struct WrongSize {
    const char *name;
    void (*say)(Archive &archive);
};

void PrintTo(const WrongSize &size, std::ostream *stream) {
    *stream << size.name;
}

class ArchivedSize : public Hostile, public testing::WithParamInterface<WrongSize> {};

TEST_P(ArchivedSize, IsNotBelieved) {
    const std::string undisturbed = probed();
    Archive archive(builtInDescription());
    GetParam().say(archive);
    camera.describe(archive.bytes());

    EXPECT_EQ(undisturbed, probed());
}

const WrongSize kWrongSizes[] = {
    {"PackedBeyondItsEnd", [](Archive &archive) { archive.packedSize = 0x7fffffff; }},
    {"AByteTooSmall", [](Archive &archive) { --archive.size; }},
    {"AByteTooLarge", [](Archive &archive) { ++archive.size; }},
    {"TwoGigabytes", [](Archive &archive) { archive.size = 0x80000000; }},
};

INSTANTIATE_TEST_SUITE_P(Of, ArchivedSize, testing::ValuesIn(kWrongSizes),
                         testing::PrintToStringParamName());

// A way to damage an archive, and what is said of it.
struct Damage {
    const char *name;
    void (*harm)(Archive &archive);
    const char *clause;
};

void PrintTo(const Damage &damage, std::ostream *stream) {
    *stream << damage.name;
}

class DamagedArchive : public Hostile, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedArchive, IsRefused) {
    Archive archive(builtInDescription());
    GetParam().harm(archive);
    camera.describe(archive.bytes());

    expectRefusal(HasSubstr(GetParam().clause));
}

const Damage kDamages[] = {
    {"DirectoryBeyondItsEnd", [](Archive &archive) { archive.directory = 0x10000000; },
     "the archive says that its directory lies where it cannot be"},
    {"MoreFilesThanItHas", [](Archive &archive) { archive.files = 2; },
     "the archive cannot be read: "},
    {"ManyFiles", [](Archive &archive) { archive.files = 65535; },
     "the archive says that it holds 65535 files, expected at most 64"},
    {"FileWhereNoneIs", [](Archive &archive) { archive.localHeader = 100; },
     "the archive cannot be read: "},
    {"FileBeyondItsEnd", [](Archive &archive) { archive.localHeader = 0x7fffffff; },
     "the archive cannot be read: "},
    {"PackedSizeTooSmall", [](Archive &archive) { archive.packedSize /= 2; },
     "the archive cannot be read: "},
    {"NameBeyondItsEnd", [](Archive &archive) { archive.nameLength = 65535; },
     "the archive cannot be read: "},
    {"GarbageInside",
     [](Archive &archive) { archive.data.replace(archive.data.size() / 2, 64, 64, '\xff'); },
     "the archive cannot be read: "},
    {"WrongCheckSum", [](Archive &archive) { ++archive.checkSum; }, "the archive cannot be read: "},
    {"TwoGigabytesInside",
     [](Archive &archive) {
         archive.data = deflatedMebibytes(2048, '\0');
         archive.packedSize = static_cast<uint32_t>(archive.data.size());
         archive.size = 0x80000000;
     },
     "the archive inflates to more than 16777216 bytes"},
    {"AMebibyteTooMuchInside",
     [](Archive &archive) {
         archive.data = deflatedMebibytes(65, ' ');
         archive.packedSize = static_cast<uint32_t>(archive.data.size());
         archive.size = 65 << 20;
     },
     "the archive inflates to more than 16777216 bytes"},
};

INSTANTIATE_TEST_SUITE_P(With, DamagedArchive, testing::ValuesIn(kDamages),
                         testing::PrintToStringParamName());

// The built-in description with harm in the nodes that Width needs: a part of it, and what stands there
// instead.
struct HarmfulNodes {
    const char *name;
    std::string part;
    std::string by;
    const char *clause = ""; // of the refusal
};

void PrintTo(const HarmfulNodes &nodes, std::ostream *stream) {
    *stream << nodes.name;
}

Bytes harmed(const HarmfulNodes &nodes) {
    std::string text = builtInDescription();
    const size_t place = text.find(nodes.part);
    EXPECT_NE(text.npos, place) << nodes.part;
    text.replace(place, nodes.part.size(), nodes.by);
    return Archive(text).bytes();
}

constexpr const char *kPlaceOfWidth = "<Address>0x00010110</Address>\n    <Length>4</Length>";
constexpr const char *kValueOfWidth = "<pValue>WidthReg</pValue>";
constexpr const char *kLimitOfWidth =
    "<pVariable Name=\"OTHER\">OffsetXReg</pVariable>\n    <Formula>WHOLE - OTHER</Formula>";

std::string lengthOfWidth(const std::string &length) {
    return "<Address>0x00010110</Address><Length>" + length + "</Length>";
}

class RefusedNodes : public Hostile, public testing::WithParamInterface<HarmfulNodes> {};

TEST_P(RefusedNodes, AreNamed) {
    camera.describe(harmed(GetParam()));

    expectRefusal(HasSubstr(GetParam().clause));
}

// Width's value is `count` references away.
std::string farAway(int count) {
    std::string nodes = "<pValue>N1</pValue></Integer>";
    for (int i = 1; i < count; ++i)
        nodes += "<Integer Name=\"N" + std::to_string(i) + "\"><pValue>N" + std::to_string(i + 1) +
                 "</pValue></Integer>";
    return nodes + "<Integer Name=\"N" + std::to_string(count) + "\"><pValue>WidthReg</pValue>";
}

const HarmfulNodes kRefusedNodes[] = {
    {"RegisterOfANegativeLength", kPlaceOfWidth, lengthOfWidth("-9223372036854775808"),
     "'WidthReg' is a register of -9223372036854775808 bytes, expected 1 to 8"},
    {"RegisterOfAllMemory", kPlaceOfWidth, lengthOfWidth("9223372036854775807"),
     "'WidthReg' is a register of 9223372036854775807 bytes, expected 1 to 8"},
    {"SixtyThousandInARow", kValueOfWidth, farAway(60'000),
     "'Width' needs what is more than 100 references away"},
    {"CircleThroughAnOffset", kPlaceOfWidth,
     "<pIndex pOffset=\"Width\">OffsetXReg</pIndex>" + lengthOfWidth("4"),
     "'WidthReg': its references lead back to itself (WidthReg > Width > WidthReg)"},
};

INSTANTIATE_TEST_SUITE_P(With, RefusedNodes, testing::ValuesIn(kRefusedNodes),
                         testing::PrintToStringParamName());

class HarmlessNodes : public Hostile, public testing::WithParamInterface<HarmfulNodes> {};

TEST_P(HarmlessNodes, AreEvaluated) {
    const std::vector<std::string> getWidth = {"get", "S1234", "Width"};
    const std::string undisturbed = kxinfo(getWidth).out;
    camera.describe(harmed(GetParam()));

    const Ending ending = kxinfo(getWidth);

    EXPECT_EQ(0, ending.status) << ending;
    EXPECT_EQ(undisturbed, ending.out) << ending;
}

// What is subtracted from Width's maximum is OffsetX, 0, doubled so often.
std::string doubled(int times) {
    std::string nodes = "<pVariable Name=\"OTHER\">D1</pVariable><Formula>WHOLE - OTHER</Formula>";
    for (int i = 1; i <= times; ++i) {
        const std::string next = i == times ? "OffsetXReg" : "D" + std::to_string(i + 1);
        nodes += "</IntSwissKnife><IntSwissKnife Name=\"D" + std::to_string(i) +
                 "\"><pVariable Name=\"A\">" + next + "</pVariable><pVariable Name=\"B\">" + next +
                 "</pVariable><Formula>A + B</Formula>";
    }
    return nodes;
}

const HarmfulNodes kHarmlessNodes[] = {
    {"SmallestNumberDividedByMinusOne", "<Formula>WHOLE - OTHER</Formula>",
     "<Formula>WHOLE - OTHER + (1 &lt;&lt; 63) % (0 - 1)</Formula>"},
    {"FormulaDoubledFortyTimes", kLimitOfWidth, doubled(40)},
};

INSTANTIATE_TEST_SUITE_P(With, HarmlessNodes, testing::ValuesIn(kHarmlessNodes),
                         testing::PrintToStringParamName());

class Description : public Hostile {};

TEST_F(Description, IsRefusedAsAnArchiveThatEndsEarly) {
    const std::string archive = Archive(builtInDescription()).bytes();
    camera.describe(archive.substr(0, archive.size() / 2));

    expectRefusal(HasSubstr("the archive has no end record: it ends early, or is damaged"));
}

TEST_F(Description, IsRefusedWithThePlaceWhereItIsNotWellFormed) {
    camera.describe(
        Archive("<?xml version=\"1.0\"?>\n<RegisterDescription>\n  <Port Name=Device/>\n"
                "</RegisterDescription>\n")
            .bytes());

    expectRefusal(HasSubstr("the document, line 3, column 14: "));
}

TEST_F(Description, IsRefusedAsATextThatEndsEarly) {
    camera.describe(builtInDescription().substr(0, builtInDescription().size() / 2));

    expectRefusal(HasSubstr("the document, line "));
}

TEST_F(Description, IsRefusedWithThreeMillionElementsWithinEachOther) {
    std::string nested;
    for (int i = 0; i < 3'000'000; ++i)
        nested += "<a>";
    camera.describe(Archive(nested).bytes());

    expectRefusal(HasSubstr("the document, line 1, column "));
}

TEST_F(Description, IsRefusedWithEntitiesThatMultiply) {
    std::string entities = "<!ENTITY e0 \"dalsa\">";
    for (int i = 1; i < 30; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        entities += "<!ENTITY e" + std::to_string(i) + " \"" + before + before + "\">";
    }
    camera.describe(
        Archive("<!DOCTYPE r [" + entities + "]>\n<RegisterDescription>&e29;</RegisterDescription>")
            .bytes());

    expectRefusal(HasSubstr("the document, line 1, column 1: "));
}

} // namespace
