// Descriptions that are none, that are damaged, or that ask for what they must not have.

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hostile.h"

namespace {

using testing::HasSubstr;

std::string replaced(std::string text, const std::string &part, const std::string &by) {
    const size_t place = text.find(part);
    EXPECT_NE(text.npos, place) << part;
    return text.replace(place, part.size(), by);
}

TEST(Urls, AreRefusedWithTheReason) {
    const auto urls = [](const char *first, const char *second = "") {
        return [=](Camera &misled) { misled.setUrls(first, second); };
    };
    const std::string elsewhere =
        "does not lie in its own memory, and nothing else is ever opened; "
        "expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers";
    expectRefusals({
        {"a length beyond all memory", urls("Local:camera.xml;1000000;7fffffffffffffff"),
         "its length is 9223372036854775807 bytes; expected 1 to 16777216"},
        {"two gigabytes", urls("Local:camera.xml;1000000;80000000"),
         "its length is 2147483648 bytes; expected 1 to 16777216"},
        {"a byte more than a description may have", urls("Local:camera.xml;1000000;1000001"),
         "its length is 16777217 bytes; expected 1 to 16777216"},
        {"an endless file", urls("File:/dev/zero"), "'File:/dev/zero' " + elsewhere},
        {"a place on the network", urls("http://127.0.0.2/camera.xml"),
         "'http://127.0.0.2/camera.xml' " + elsewhere},
        {"two that are bad", urls("http://127.0.0.2/camera.xml", "File:camera.xml"),
         "first URL: 'http://127.0.0.2/camera.xml' " + elsewhere +
             "; second URL: 'File:camera.xml' " + elsewhere},
    });
}

class DescriptionUrl : public Hostile {};

TEST_F(DescriptionUrl, OpensNoPipeOfThisComputer) {
    const ScratchFolder folder;
    const std::string pipe = folder.path() + "/pipe.xml";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, pipe.c_str(), IN_OPEN), 0);
    camera.setUrls("File:" + pipe, "File:///" + pipe);

    expectRefusal(camera,
                  HasSubstr("does not lie in its own memory, and nothing else is ever opened"));

    char event[sizeof(inotify_event)];
    EXPECT_LT(read(watch, event, sizeof event), 0) << "it was opened";
    close(watch);
}

TEST_F(DescriptionUrl, IsTheSecondWhenTheFirstIsBad) {
    const std::string undisturbed = probed();
    camera.setUrls("File:camera.xml", Device::urlFor(archived(builtInDescription()).size()));

    EXPECT_EQ(undisturbed, probed());
}

class Archive : public Hostile {};

// The content and its check sum are right.
TEST_F(Archive, IsNotBelievedItsSizes) {
    const std::string undisturbed = probed();
    const std::pair<const char *, std::function<void(PackedFile &)>> sizes[] = {
        {"packed beyond its end", [](PackedFile &file) { file.packedSize = 0x7fffffff; }},
        {"a byte too small", [](PackedFile &file) { --file.size; }},
        {"a byte too large", [](PackedFile &file) { ++file.size; }},
        {"two gigabytes", [](PackedFile &file) { file.size = 0x80000000; }},
    };
    for (const auto &[name, say] : sizes) {
        SCOPED_TRACE(name);
        PackedFile file = deflated("camera.xml", builtInDescription());
        say(file);
        camera.describe(archiveOf({file}));

        EXPECT_EQ(undisturbed, probed());
    }
}

TEST(Archives, AreRefusedWhenTheyAreDamaged) {
    const auto file = [](auto harm) {
        return [=](Camera &misled) {
            PackedFile packed = deflated("camera.xml", builtInDescription());
            harm(packed);
            misled.describe(archiveOf({packed}));
        };
    };
    // Other bytes from there on, counted from the end.
    const auto bytes = [](size_t fromEnd, uint32_t value, size_t size) {
        return [=](Camera &misled) {
            const std::string archive = archived(builtInDescription());
            misled.describe(patched(archive, archive.size() - fromEnd, little(value, size)));
        };
    };
    constexpr size_t kEnd = kEndRecordSize;
    constexpr size_t kEntry = kEnd + kDirectoryEntrySize + sizeof "camera.xml" - 1;
    const char *unreadable = "the archive cannot be read: ";
    const char *tooLarge = "the archive inflates to more than 16777216 bytes";
    expectRefusals({
        {"directory beyond its end", bytes(kEnd - 16, 0x10000000, 4),
         "the archive says that its directory lies where it cannot be"},
        {"more files than it has", bytes(kEnd - 8, 0x00020002, 4), unreadable},
        {"many files", bytes(kEnd - 8, 0xffffffff, 4),
         "the archive says that it holds 65535 files, expected at most 64"},
        {"file where none is", bytes(kEntry - 42, 100, 4), unreadable},
        {"file beyond its end", bytes(kEntry - 42, 0x7fffffff, 4), unreadable},
        {"name beyond its end", bytes(kEntry - 28, 0xffff, 2), unreadable},
        {"packed size too small", file([](PackedFile &packed) {
             packed.packedSize = static_cast<uint32_t>(packed.data.size() / 2);
         }),
         unreadable},
        {"garbage inside", file([](PackedFile &packed) {
             packed.data.replace(packed.data.size() / 2, 64, 64, '\xff');
         }),
         unreadable},
        {"wrong check sum", file([](PackedFile &packed) { ++packed.checkSum; }), unreadable},
        {"far too much inside", // in few commands
         file([](PackedFile &packed) {
             packed = deflatedMany("a.xml", 300 << 20, 0);
             packed.size = 0x80000000;
         }),
         tooLarge},
        {"a mebibyte too much inside",
         file([](PackedFile &packed) { packed = deflatedMany("a.xml", 65 << 20, ' '); }), tooLarge},
        {"half of it missing",
         [](Camera &misled) {
             const std::string archive = archived(builtInDescription());
             misled.describe(archive.substr(0, archive.size() / 2));
         },
         "the archive has no end record: it ends early, or is damaged"},
    });
}

// The built-in description with harm in the nodes that Width needs.
constexpr const char *kPlaceOfWidth = "<Address>0x00010110</Address>\n    <Length>4</Length>";

std::function<void(Camera &)> withNodes(const std::string &part, const std::string &by) {
    return [=](Camera &misled) {
        misled.describe(archived(replaced(builtInDescription(), part, by)));
    };
}

std::function<void(Camera &)> withLengthOfWidth(const std::string &length,
                                                const std::string &more = "") {
    return withNodes(kPlaceOfWidth,
                     more + "<Address>0x00010110</Address><Length>" + length + "</Length>");
}

// Width's value is `count` references away.
std::string farAway(int count) {
    std::string nodes = "<pValue>N1</pValue></Integer>";
    for (int i = 1; i < count; ++i)
        nodes += "<Integer Name=\"N" + std::to_string(i) + "\"><pValue>N" + std::to_string(i + 1) +
                 "</pValue></Integer>";
    return nodes + "<Integer Name=\"N" + std::to_string(count) + "\"><pValue>WidthReg</pValue>";
}

TEST(Nodes, ThatDoHarmAreNamed) {
    expectRefusals({
        {"register of a negative length", withLengthOfWidth("-9223372036854775808"),
         "'WidthReg' is a register of -9223372036854775808 bytes, expected 1 to 8"},
        {"register of all memory", withLengthOfWidth("9223372036854775807"),
         "'WidthReg' is a register of 9223372036854775807 bytes, expected 1 to 8"},
        {"sixty thousand in a row", withNodes("<pValue>WidthReg</pValue>", farAway(60'000)),
         "'Width' needs what is more than 100 references away"},
        {"circle through an offset",
         withLengthOfWidth("4", "<pIndex pOffset=\"Width\">OffsetXReg</pIndex>"),
         "'WidthReg': its references lead back to itself (WidthReg > Width > WidthReg)"},
    });
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

class OddNodes : public Hostile {};

TEST_F(OddNodes, ThatDoNoHarmAreEvaluated) {
    const std::string undisturbed = kxinfo({"get", "S1234", "Width"}).out;
    for (const auto &mislead :
         {withNodes("<Formula>WHOLE - OTHER</Formula>",
                    "<Formula>WHOLE - OTHER + (1 &lt;&lt; 63) % (0 - 1)</Formula>"),
          withNodes("<pVariable Name=\"OTHER\">OffsetXReg</pVariable>\n    "
                    "<Formula>WHOLE - OTHER</Formula>",
                    doubled(40))}) {
        mislead(camera);

        const Ending ending = kxinfo({"get", "S1234", "Width"});

        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_EQ(undisturbed, ending.out) << ending;
    }
}

std::string entitiesThatMultiply() {
    std::string entities = "<!ENTITY e0 \"dalsa\">";
    for (int i = 1; i < 30; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        entities += "<!ENTITY e" + std::to_string(i) + " \"" + before + before + "\">";
    }
    return "<!DOCTYPE r [" + entities + "]>\n<RegisterDescription>&e29;</RegisterDescription>";
}

TEST(Description, IsRefusedWithThePlaceWhereItIsNoDocument) {
    const auto archive = [](const std::string &text) {
        return [=](Camera &misled) { misled.describe(archived(text)); };
    };
    std::string nested;
    for (int i = 0; i < 3'000'000; ++i)
        nested += "<a>";
    expectRefusals({
        {"not well-formed",
         archive("<?xml version=\"1.0\"?>\n<RegisterDescription>\n  <Port Name=Device/>\n"
                 "</RegisterDescription>\n"),
         "the document, line 3, column 14: "},
        {"half of the text",
         [](Camera &misled) {
             misled.describe(builtInDescription().substr(0, builtInDescription().size() / 2));
         },
         "the document, line "},
        {"three million elements within each other", archive(nested),
         "the document, line 1, column "},
        {"entities that multiply", archive(entitiesThatMultiply()),
         "the document, line 1, column 13: "},
    });
}

} // namespace
