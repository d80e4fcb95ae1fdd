// How a camera's description is loaded, without a cache.

#include <gmock/gmock.h>

#include <fstream>
#include <string>

#include "camera_memory.h"
#include "gvcp/description.h"
#include "problem.h"
#include "zip_file.h"

namespace {

using gvcp::Cause;
using gvcp::Error;
using gvcp::loadDescription;
using testing::HasSubstr;

constexpr uint32_t kElsewhere = 0x4000000;

class Description : public testing::Test {
protected:
    std::string load() { return loadDescription(camera, {}, nullptr); }

    std::string refused() {
        return refusalOf([this] { load(); });
    }

    Cause cause() {
        try {
            load();
        } catch (const Error &error) {
            return error.cause();
        }
        throw std::logic_error("nothing was refused");
    }

    // What the second URL leads to.
    void describeToo(const std::string &bytes) {
        camera.put(kElsewhere, bytes);
        camera.setUrl(gvcp::kSecondUrl, CameraMemory::local(kElsewhere, bytes.size()));
    }

    CameraMemory camera;
};

TEST_F(Description, IsTheTextThatTheFirstUrlNames) {
    camera.describe("<a/>");
    describeToo("<b/>");

    EXPECT_EQ("<a/>", load());
    EXPECT_EQ(2u, camera.commands());
}

TEST_F(Description, IsToldByItsContentAndNotByItsName) {
    camera.put(0x1000, "<a/>");
    camera.setUrl(gvcp::kFirstUrl, "Local:camera.zip;1000;4");

    EXPECT_EQ("<a/>", load());
}

TEST_F(Description, LosesWhatFillsUpTheCamerasMemory) {
    camera.describe(std::string("<a/>\r\n\0\n\0", 9));
    EXPECT_EQ("<a/>\r\n", load()) << "the line end is its own";

    camera.describe(archiveOf({stored("camera.xml", std::string("<a/>\n\0", 6))}) +
                    std::string(2, '\0'));
    EXPECT_EQ("<a/>\n", load());
}

TEST_F(Description, IsTheSecondUrlsWhenTheFirstIsOfNoUse) {
    describeToo("<b/>");

    for (const char *url : {"", "File:/dev/zero", "http://192.168.0.1/a.xml", "Local:a.xml;0;0",
                            "Local:a.xml;0;80000000", "Local:a.xml;0;7fffffffffffffff",
                            "Local:a.xml;f0000000;10"}) { // which the camera refuses
        camera.setUrl(gvcp::kFirstUrl, url);
        EXPECT_EQ("<b/>", load()) << url;
    }
    for (const std::string &bytes :
         {std::string("PK\3\4"), std::string("<a>"), std::string(9, '\0'),
          archiveOf({deflatedMany("camera.xml", 80 << 20, 0)})}) {
        camera.describe(bytes);
        EXPECT_EQ("<b/>", load()) << bytes;
    }
}

TEST_F(Description, SaysWhatIsWrongWithBothUrls) {
    camera.setUrl(gvcp::kFirstUrl, "File:/dev/zero");
    describeToo("<b>");

    EXPECT_EQ(
        "first URL: 'File:/dev/zero' does not lie in its own memory, and nothing else is ever "
        "opened; expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers; second URL: "
        "the document, line 1, column 4: it ends within an element; expected its end tag",
        refused());
}

TEST_F(Description, SaysOnceWhatIsWrongWithBothUrls) {
    EXPECT_EQ("both URLs: it is empty", refused());

    camera.setUrl(gvcp::kFirstUrl, "Local:a.xml;0;0");
    camera.setUrl(gvcp::kSecondUrl, "Local:b.xml;0;0");
    EXPECT_EQ("both URLs: its length is 0 bytes; expected 1 to 16777216", refused());
}

TEST_F(Description, IsNotReadAgainFromTheSameUrl) {
    camera.describe("<a>");
    camera.setUrl(gvcp::kSecondUrl, CameraMemory::local(CameraMemory::kDescription, 3));

    EXPECT_THAT(refused(), HasSubstr("both URLs: the document, line 1, column 4"));
    EXPECT_EQ(4u,
              camera.commands()); // two for the URLs, and whether it comes in the same way again
}

TEST_F(Description, IsRefusedByTheCameraWhenBothAre) {
    camera.setUrl(gvcp::kFirstUrl, "Local:a.xml;f0000000;10");
    camera.setUrl(gvcp::kSecondUrl, "Local:b.xml;f0000000;20");

    EXPECT_EQ(Cause::Refused, cause());
}

TEST_F(Description, IsNotLookedForElsewhereWhenTheCameraFallsSilent) {
    camera.describe("<a/>");
    describeToo("<b/>");

    for (const Cause silence : {Cause::Silent, Cause::Unreachable, Cause::ControlLost,
                                Cause::Controlled, Cause::Stopped}) {
        camera.fail(CameraMemory::kDescription, Error(silence, "as the test wants"));
        EXPECT_EQ(silence, cause());
        EXPECT_EQ(2u, camera.commands());
    }
}

TEST_F(Description, IsReadAgainWhenItWasDamagedOnTheWay) {
    const std::string text = "<a>" + std::string(1000, 'x') + "</a>";
    for (const std::string &bytes : {text, archiveOf({stored("camera.xml", text)})}) {
        camera.describe(bytes);
        camera.damageNextRead();

        EXPECT_EQ(text, load());
    }
}

TEST_F(Description, TakesLittleMemoryForTheLargest) {
    if (KXINFO_SANITIZED)
        GTEST_SKIP() << "a sanitizer takes memory of its own";
    const auto field = [](const char *name) {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;) {
            size_t kibibytes = 0;
            if (word == name && status >> kibibytes)
                return kibibytes >> 10;
        }
        throw std::runtime_error("no such field");
    };
    constexpr size_t kRest = 2 * (kLocalHeaderSize + kDirectoryEntrySize + kEndRecordSize);
    camera.describe(archiveOf({stored(
        "camera.xml", "<a>" + std::string(gvcp::kLargestDescription - kRest, 'x') + "</a>")}));
    const size_t before = field("VmRSS:");
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak is what there is now

    EXPECT_EQ(gvcp::kLargestDescription - kRest + 7, load().size());

    EXPECT_LE(field("VmHWM:") - before, 150u);
}

} // namespace
