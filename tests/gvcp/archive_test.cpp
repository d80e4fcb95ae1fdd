// Archives of descriptions, sound and hostile.

#include <gmock/gmock.h>

#include "gvcp/description.h"
#include "problem.h"
#include "zip_file.h"

namespace {

using gvcp::unzip;
using testing::StartsWith;

const std::string kContent = "<RegisterDescription/>";

std::string refused(const std::string &archive) {
    return refusalOf([&archive] { unzip(archive); });
}

PackedFile withMethod(uint16_t method) {
    PackedFile file = stored("camera.xml", kContent);
    file.method = method;
    return file;
}

std::vector<PackedFile> manyFiles(size_t count) {
    return std::vector<PackedFile>(count, stored("camera.xml", kContent));
}

// An archive of one file named "a", and where its parts are.
const std::string kArchive = archiveOf({stored("a", kContent)});
const size_t kDirectory = kLocalHeaderSize + 1 + kContent.size();
const size_t kEnd = kDirectory + kDirectoryEntrySize + 1;

TEST(Archive, IsToldByItsFirstBytes) {
    EXPECT_TRUE(gvcp::isArchive(kArchive));
    EXPECT_FALSE(gvcp::isArchive(kContent));
    EXPECT_FALSE(gvcp::isArchive("PK\3"));
}

TEST(Archive, GivesTheContentOfItsFile) {
    EXPECT_EQ(kContent, unzip(archiveOf({stored("camera.xml", kContent)})));
    EXPECT_EQ("", unzip(archiveOf({stored("camera.xml", "")})));
}

TEST(Archive, GivesTheFirstFileOfXmlWhateverStandsBefore) {
    EXPECT_EQ("2", unzip(archiveOf(
                       {stored("readme.txt", "1"), stored("A.XML", "2"), stored("b.xml", "3")})));
    EXPECT_EQ("2", unzip(archiveOf({stored("folder.xml/", ""), stored("camera.xml", "2")})));
    EXPECT_EQ("1", unzip(archiveOf({stored("first", "1"), stored("second", "2")})));
}

TEST(Archive, MayBeFilledUpWithZeros) {
    EXPECT_EQ(kContent, unzip(kArchive + std::string(3, '\0')));
}

TEST(Archive, MayHaveACommentOfAnyLength) {
    EXPECT_EQ(kContent,
              unzip(patched(kArchive, kEnd + 20, little(0xffff, 2)) + std::string(0xffff, 'c')));
}

TEST(Archive, TellsWhereItsDirectoryBegins) {
    EXPECT_EQ(kDirectory, gvcp::directoryOffset(kArchive));
}

TEST(Archive, MayInflateToTheBound) {
    const std::string content(gvcp::kLargestDescription, ' ');
    // Compared by hand: of two texts of 64 MiB nobody wants to see the difference.
    EXPECT_TRUE(content == unzip(archiveOf({stored("camera.xml", content)})));
}

TEST(Archive, IsGivenUpWhenItInflatesBeyondTheBound) {
    const char *why = "the archive inflates to more than 16777216 bytes";
    EXPECT_EQ(why,
              refused(archiveOf({deflatedMany("camera.xml", gvcp::kLargestDescription + 1, 0)})));
    EXPECT_EQ(why, refused(archiveOf({deflatedMany("camera.xml", uint64_t{2} << 30, 0)})));
}

TEST(Archive, IsNotBelievedItsSizes) {
    PackedFile file = deflatedMany("camera.xml", 1000, 0);
    file.size = 0x7fffffff;
    EXPECT_THAT(refused(archiveOf({file})), StartsWith("the archive cannot be read: "));
    file.size = 1;
    EXPECT_THAT(refused(archiveOf({file})), StartsWith("the archive cannot be read: "));
    const std::string tooLong = patched(kArchive, kDirectory + 20, little(0x7fffffff, 4));
    EXPECT_THAT(refused(tooLong), StartsWith("the archive cannot be read: "));
}

TEST(Archive, HasToHaveTheContentOfItsCheckSum) {
    EXPECT_EQ("the archive cannot be read: CRC error",
              refused(patched(kArchive, kLocalHeaderSize + 3, "X")));
}

TEST(Archive, HasToBeInflatable) {
    PackedFile file = stored("camera.xml", "\xff\xff\xff\xff");
    file.method = 8;
    EXPECT_THAT(refused(archiveOf({file})), StartsWith("the archive cannot be read: Zlib error"));
}

TEST(Archive, IsReadOnlyStoredOrDeflated) {
    for (const unsigned method : {1u, 6u, 9u, 12u, 14u, 93u, 95u, 98u, 0xffffu})
        EXPECT_EQ("the archive is compressed by method " + std::to_string(method) +
                      ", expected 0 (stored) or 8 (deflate)",
                  refused(archiveOf({withMethod(static_cast<uint16_t>(method))})));
}

TEST(Archive, IsNotReadEncrypted) {
    PackedFile file = stored("camera.xml", kContent);
    file.flags = 1;
    EXPECT_EQ("the archive is encrypted", refused(archiveOf({file})));
}

TEST(Archive, HoldsAFile) {
    EXPECT_EQ("the archive holds no file", refused(archiveOf({stored("folder/", "")})));
    EXPECT_EQ("the archive holds no file", refused(archiveOf({stored("", "")})));
}

TEST(Archive, HoldsFewFiles) {
    EXPECT_EQ(kContent, unzip(archiveOf(manyFiles(64))));
    EXPECT_EQ("the archive says that it holds 65 files, expected at most 64",
              refused(archiveOf(manyFiles(65))));
    EXPECT_EQ("the archive says that it holds 65535 files, expected at most 64",
              refused(patched(kArchive, kEnd + 10, "\xff\xff")));
    EXPECT_THAT(refused(patched(kArchive, kEnd + 8, little(64, 2) + little(64, 2))),
                StartsWith("the archive cannot be read: "));
}

TEST(Archive, HasAnEnd) {
    EXPECT_EQ("the archive has no end record: it ends early, or is damaged",
              refused(kArchive.substr(0, kArchive.size() - 1)));
}

TEST(Archive, MayLookAsIfItHadAnotherEnd) {
    const std::string content = "PK\5\6 and more of what compressed bytes may look like";
    EXPECT_EQ(content, unzip(archiveOf({stored("camera.xml", content)})));
}

TEST(Archive, HasItsDirectoryInside) {
    const char *why = "the archive says that its directory lies where it cannot be";
    EXPECT_EQ(why, refused(patched(kArchive, kEnd + 16, little(0xfffffff0, 4))));
    EXPECT_EQ(why, refused(patched(kArchive, kEnd + 12, little(0xfffffff0, 4))));
    EXPECT_THAT(refused(patched(kArchive, kEnd + 16, little(0, 4))),
                StartsWith("the archive cannot be read: "));
}

TEST(Archive, HasItsFilesInside) {
    EXPECT_THAT(refused(patched(kArchive, kDirectory + 42, little(0xfffffff0, 4))),
                StartsWith("the archive cannot be read: "));
    EXPECT_THAT(refused(patched(kArchive, kDirectory + 28, little(0xffff, 2))),
                StartsWith("the archive cannot be read: "));
}

} // namespace
