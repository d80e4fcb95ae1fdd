// Descriptions in a folder: what is used of it, and what never is.

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "camera_memory.h"
#include "gvcp/description.h"
#include "zip_file.h"

namespace {

namespace fs = std::filesystem;

using gvcp::CacheBounds;
using gvcp::cachePlace;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr size_t kSize = 100'000;
constexpr size_t kMegabyte = 1'000'000;

// Bytes that are the same each time, as text of an element.
std::string textOf(size_t size, unsigned seed = 1) {
    std::minstd_rand random(seed);
    std::string text = "<a>";
    while (text.size() < size - 4)
        text += static_cast<char>('a' + random() % 26);
    return text + "</a>";
}

std::string archiveOfText(size_t size, unsigned seed = 1) {
    return archiveOf({stored("camera.xml", textOf(size, seed))});
}

std::string contentOf(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path &file, const std::string &content) {
    std::ofstream(file, std::ios::binary) << content;
}

mode_t modeOf(const fs::path &path) {
    struct stat status {};
    EXPECT_EQ(0, lstat(path.c_str(), &status)) << path;
    return status.st_mode & 07777;
}

class DescriptionCache : public testing::Test {
protected:
    DescriptionCache() {
        std::string name = fs::temp_directory_path() / "kxinfo-cache-XXXXXX";
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no folder for the test");
        base = name;
        folder = base / "kxinfo-dalsa" / "descriptions";
    }

    ~DescriptionCache() override { fs::remove_all(base); }

    gvcp::DescriptionCache cache(CacheBounds bounds = {}) const {
        return gvcp::DescriptionCache({base, false, {"kxinfo-dalsa", "descriptions"}}, bounds);
    }

    // The description, and how many commands it took.
    std::string load(const gvcp::DescriptionCache &from) {
        camera.commands();
        const std::string text = loadDescription(camera, key, &from);
        commands = camera.commands();
        return text;
    }

    std::string load() { return load(cache()); }

    std::vector<fs::path> files() const {
        std::vector<fs::path> found;
        if (fs::exists(folder))
            found.assign(fs::directory_iterator(folder), {});
        std::sort(found.begin(), found.end());
        return found;
    }

    // Has an archive kept, and tells where.
    fs::path keepOne() {
        camera.describe(archiveOfText(2000));
        load();
        EXPECT_EQ(1u, files().size());
        return files().at(0);
    }

    // A folder for it that is private, as it has to be.
    void makeFolder() const {
        fs::create_directories(folder);
        for (const fs::path &made : {folder, base / "kxinfo-dalsa"})
            fs::permissions(made, fs::perms::owner_all);
    }

    // What reading anything but the URL from the camera takes, with the URL.
    static size_t wholeIn(size_t size) {
        return 1 + (size + gvcp::kLargestBlock - 1) / gvcp::kLargestBlock;
    }

    // Loads the description of a camera, which is of that size, twice.
    void expectNotUsed() {
        camera.describe(textOf(kSize));
        EXPECT_EQ(textOf(kSize), load());
        EXPECT_EQ(textOf(kSize), load());
        EXPECT_EQ(wholeIn(kSize), commands);
    }

    const size_t kWholeArchive = wholeIn(archiveOfText(2000).size());
    CameraMemory camera;
    gvcp::DescriptionKey key{"maker", "model", "version"};
    size_t commands = 0;
    fs::path base;
    fs::path folder;
};

TEST_F(DescriptionCache, SparesReadingATextOrAnArchiveAgain) {
    for (const auto &[content, again] :
         {std::pair(textOf(kMegabyte), 4u), {archiveOfText(kMegabyte), 3u}}) {
        camera.describe(content);

        EXPECT_EQ(textOf(kMegabyte), load());
        EXPECT_EQ(wholeIn(content.size()), commands);
        EXPECT_EQ(textOf(kMegabyte), load());
        EXPECT_EQ(again, commands);
    }
}

TEST_F(DescriptionCache, TakesAsFewCommandsAtAnyAddress) {
    for (const uint32_t address : {0x10001u, 0x10002u, 0x10003u}) {
        camera.describe(textOf(kSize + address % 4), address);
        load();
        load();
        EXPECT_EQ(4u, commands);
        camera.describe(archiveOfText(kSize + address % 4), address);
        load();
        load();
        EXPECT_EQ(3u, commands);
    }
}

TEST_F(DescriptionCache, KeepsArchivesWhoseDirectoryTakesTwoCommands) {
    const size_t longest = 2 * 536 - 4 - kDirectoryEntrySize - kEndRecordSize;
    camera.describe(archiveOf({stored(std::string(longest, 'n'), "<a/>")}));
    load();
    load();
    EXPECT_EQ(4u, commands);
    EXPECT_EQ(1u, files().size());

    camera.describe(archiveOf({stored(std::string(longest + 1, 'n'), "<b/>")}));
    EXPECT_EQ("<b/>", load());
    EXPECT_EQ(1u, files().size());
}

TEST_F(DescriptionCache, KeepsNoTextThatIsQuicklyRead) {
    camera.describe(textOf(64 << 10));
    load();
    EXPECT_THAT(files(), IsEmpty());

    camera.describe(textOf((64 << 10) + 1));
    load();
    EXPECT_EQ(1u, files().size());
}

TEST_F(DescriptionCache, HoldsWhatTheCameraHasForItsUserAlone) {
    const std::string archive = archiveOfText(1000);
    camera.describe(archive);

    load();

    ASSERT_EQ(1u, files().size());
    const std::string content = contentOf(files()[0]);
    EXPECT_THAT(content, StartsWith("kxinfo-dalsa description 1\n5:maker\n5:model\n7:version\n"));
    EXPECT_EQ(archive, content.substr(content.size() - archive.size()));
    EXPECT_EQ(0700u, modeOf(base / "kxinfo-dalsa"));
    EXPECT_EQ(0700u, modeOf(folder));
    EXPECT_EQ(0600u, modeOf(files()[0]));
}

TEST_F(DescriptionCache, IsOfACameraAVersionAndAUrl) {
    camera.describe(textOf(kSize));
    load();

    for (std::string gvcp::DescriptionKey::*text :
         {&gvcp::DescriptionKey::maker, &gvcp::DescriptionKey::model,
          &gvcp::DescriptionKey::version}) {
        const std::string same = std::exchange(key.*text, "other");
        load();
        EXPECT_EQ(wholeIn(kSize), commands);
        key.*text = same;
    }
    camera.setUrl(gvcp::kFirstUrl,
                  CameraMemory::local(CameraMemory::kDescription, kSize) + "?SchemaVersion=1.1.0");
    load();
    EXPECT_EQ(wholeIn(kSize), commands);
    EXPECT_EQ(5u, files().size());
}

TEST_F(DescriptionCache, TellsCamerasApartThatShareTheirLetters) {
    key = {"a\n1:b", "c", ""};
    camera.describe(textOf(kSize));
    load();

    key = {"a", "b\n1:c", ""};
    load();
    EXPECT_EQ(wholeIn(kSize), commands);
}

TEST_F(DescriptionCache, IsNotUsedForAnArchiveThatHasChangedIfOnlyInItsMiddle) {
    camera.describe(archiveOfText(kSize));
    load();
    std::string middle = textOf(kSize);
    middle[kSize / 2] ^= 1;
    for (const std::string &text : {middle, textOf(kSize, 2)}) {
        camera.describe(archiveOf({stored("camera.xml", text)}));

        EXPECT_EQ(text, load());
        EXPECT_EQ(text, load());
        EXPECT_EQ(3u, commands);
    }
}

TEST_F(DescriptionCache, IsNotUsedForATextThatHasChangedAtAnEnd) {
    std::string content = textOf(kSize - 1) + '\n';
    camera.describe(content);
    load();
    for (const size_t at : {size_t{3}, size_t{531}, kSize - 532, kSize - 6, kSize - 1}) {
        content[at] = at == kSize - 1 ? ' ' : content[at] == 'a' ? 'b' : 'a';
        camera.describe(content);
        EXPECT_TRUE(content == load()) << at;
        EXPECT_LT(wholeIn(kSize), commands) << at; // what is here was asked for, and then all
    }
}

TEST_F(DescriptionCache, LooksAtAnotherPlaceOfATextEachTime) {
    camera.describe(textOf(kSize));
    load();
    // Half of the text is another one, and so is half of the places.
    std::string text = textOf(kSize);
    std::fill_n(text.begin() + kSize / 4, kSize / 2, 'x');
    camera.describe(text);

    int tries = 0;
    while (load() != text)
        ASSERT_LT(++tries, 100);
}

TEST_F(DescriptionCache, IsNotUsedDamaged) {
    const fs::path file = keepOne();
    const std::string sound = contentOf(file);
    for (size_t at = 0; at < sound.size(); at += at < 120 ? 1 : 397) {
        std::string damaged = sound;
        damaged[at] ^= 1;
        write(file, damaged);
        EXPECT_EQ(textOf(2000), load());
        EXPECT_EQ(kWholeArchive, commands) << at;
    }
    for (const size_t size : {size_t{0}, size_t{26}, sound.size() - 1}) {
        write(file, sound.substr(0, size));
        EXPECT_EQ(textOf(2000), load());
    }
    write(file, sound + "x");
    EXPECT_EQ(textOf(2000), load());
    EXPECT_EQ(sound, contentOf(file));
}

TEST_F(DescriptionCache, IsBoundedInFiles) {
    const CacheBounds bounds{uint64_t{1} << 30, 3};
    for (const char *version : {"1", "2", "3", "4"}) {
        key.version = version;
        camera.describe(archiveOfText(2000));
        load(cache(bounds));
        for (const fs::path &file : files()) // so that ages differ on any file system
            fs::last_write_time(file, fs::last_write_time(file) - std::chrono::seconds(1));
    }
    EXPECT_EQ(3u, files().size());

    load(cache(bounds));
    EXPECT_EQ(3u, commands);
    key.version = "1"; // the oldest is gone
    load(cache(bounds));
    EXPECT_EQ(kWholeArchive, commands);
}

TEST_F(DescriptionCache, IsBoundedInBytes) {
    for (const unsigned version : {1u, 2u, 3u, 4u, 5u}) {
        key.version = std::to_string(version);
        camera.describe(textOf(kSize));
        load(cache({3 * kSize - 1, 100}));
    }
    EXPECT_EQ(2u, files().size());

    camera.describe(textOf(3 * kSize));
    EXPECT_EQ(textOf(3 * kSize), load(cache({3 * kSize - 1, 100})));
    EXPECT_EQ(2u, files().size());
}

TEST_F(DescriptionCache, ReplacesADescriptionInItsPlace) {
    const CacheBounds bounds{uint64_t{1} << 30, 2};
    key.version = "other";
    camera.describe(archiveOfText(2000));
    load(cache(bounds));
    key.version = "version";
    for (const unsigned seed : {1u, 2u}) {
        camera.describe(archiveOfText(2000, seed));
        load(cache(bounds));
    }

    load(cache(bounds));
    EXPECT_EQ(3u, commands);
    EXPECT_EQ(2u, files().size()); // the other is still there
}

TEST_F(DescriptionCache, DeletesOnlyItsOwnFiles) {
    makeFolder();
    const std::vector<std::string> foreign = {"0123456789abcdef",
                                              "0123456789abcdef.description.bak",
                                              "0123456789ABCDEF.description",
                                              "0123456789abcde.description",
                                              "0123456789abcdef.0123456789abcdef.new",
                                              "letter.txt"};
    for (const std::string &name : foreign)
        write(folder / name, "mine");
    write(folder / "0123456789abcdef.description", "");
    write(folder / "0123456789abcdef.new", "");
    fs::create_directory(folder / "1123456789abcdef.description");

    camera.describe(archiveOfText(2000));
    load(cache({uint64_t{1} << 30, 1}));

    for (const std::string &name : foreign)
        EXPECT_EQ("mine", contentOf(folder / name)) << name;
    EXPECT_EQ(foreign.size() + 2, files().size()); // with the folder and the new file
}

TEST_F(DescriptionCache, DoesNotGoThroughALinkToAFolder) {
    fs::create_directory(base / "elsewhere");
    fs::permissions(base / "elsewhere", fs::perms::owner_all);
    fs::create_directory_symlink(base / "elsewhere", base / "kxinfo-dalsa");
    expectNotUsed();
    EXPECT_TRUE(fs::is_empty(base / "elsewhere"));

    fs::remove(base / "kxinfo-dalsa");
    fs::create_directory(base / "kxinfo-dalsa");
    fs::permissions(base / "kxinfo-dalsa", fs::perms::owner_all);
    fs::create_directory_symlink(base / "elsewhere", folder);
    expectNotUsed();
    EXPECT_TRUE(fs::is_empty(base / "elsewhere"));
}

TEST_F(DescriptionCache, DoesNotFollowALinkToAFile) {
    const fs::path file = keepOne();
    fs::rename(file, base / "elsewhere");
    fs::create_symlink(base / "elsewhere", file);
    const std::string sound = contentOf(base / "elsewhere");

    EXPECT_EQ(textOf(2000), load());
    EXPECT_EQ(kWholeArchive, commands);
    EXPECT_FALSE(fs::is_symlink(file)); // replaced, and what it led to is as it was
    EXPECT_EQ(sound, contentOf(base / "elsewhere"));
}

TEST_F(DescriptionCache, DoesNotWaitForAPipe) {
    const fs::path file = keepOne();
    fs::remove(file);
    ASSERT_EQ(0, mkfifo(file.c_str(), 0600));

    EXPECT_EQ(textOf(2000), load());
}

TEST_F(DescriptionCache, IsNotUsedWhenOthersCanWriteToIt) {
    for (const fs::path &writable : {folder, base / "kxinfo-dalsa"}) {
        for (const fs::perms perms : {fs::perms::group_write, fs::perms::others_write}) {
            fs::create_directories(folder);
            fs::permissions(writable, perms, fs::perm_options::add);
            expectNotUsed();
            EXPECT_THAT(files(), IsEmpty());
            fs::remove_all(base / "kxinfo-dalsa");
        }
    }
}

TEST_F(DescriptionCache, DoesNotReadAFileThatOthersCanWriteTo) {
    const fs::path file = keepOne();
    fs::permissions(file, fs::perms::group_write, fs::perm_options::add);

    load();
    EXPECT_EQ(kWholeArchive, commands);
    EXPECT_EQ(0600u, modeOf(file)); // replaced
}

TEST_F(DescriptionCache, IsNotUsedWhenOthersOwnIt) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder away";
    constexpr uid_t kNobody = 65534;
    for (const fs::path &theirs : {folder, base / "kxinfo-dalsa"}) {
        makeFolder();
        ASSERT_EQ(0, chown(theirs.c_str(), kNobody, kNobody));
        expectNotUsed();
        EXPECT_THAT(files(), IsEmpty());
        fs::remove_all(base / "kxinfo-dalsa");
    }
    ASSERT_EQ(0, chown(keepOne().c_str(), kNobody, kNobody));
    load();
    EXPECT_EQ(kWholeArchive, commands);
}

TEST_F(DescriptionCache, IsMissedByNobodyWhereItCannotBe) {
    write(base / "kxinfo-dalsa", "a file where a folder should be");
    expectNotUsed();

    camera.describe(textOf(kSize));
    EXPECT_EQ(textOf(kSize), load(gvcp::DescriptionCache({"/nowhere/at/all", true, {"a"}})));
    EXPECT_EQ(textOf(kSize), load(gvcp::DescriptionCache({"/dev/null", true, {"a"}})));
    EXPECT_EQ(textOf(kSize), load(gvcp::DescriptionCache({"/", false, {""}})));
    EXPECT_EQ(textOf(kSize), load(gvcp::DescriptionCache({base, false, {}})));
}

TEST_F(DescriptionCache, LeavesNothingOfWhatCannotBeWrittenWhole) {
    const fs::path file = keepOne();
    fs::remove(file);
    fs::create_directory(file); // takes no other's place

    EXPECT_EQ(textOf(2000), load());
    EXPECT_THAT(files(), ElementsAre(file));
}

TEST_F(DescriptionCache, DoesNotRunIntoTheProcessLimitOfFiles) {
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    rlimit low = before;
    low.rlim_cur = 1000;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &low));
    expectNotUsed(); // the process would be gone otherwise
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(DescriptionCache, IsNotAskedInPlaceOfASilentCamera) {
    camera.describe(textOf(kSize));
    load();
    camera.fail(CameraMemory::kDescription, {gvcp::Cause::Silent, "as the test wants"});

    EXPECT_THROW(load(), gvcp::Error);
}

TEST(DescriptionCachePlace, IsWhereTheEnvironmentSays) {
    const char *unset = nullptr;
    const std::string home = "/home/user / .cache / kxinfo-dalsa / descriptions";
    const struct {
        const char *cache, *xdg, *home;
        std::string place;
    } cases[] = {
        {unset, unset, "/home/user", home},
        {unset, "/var/cache/user", "/home/user",
         "/var/cache/user (made) / kxinfo-dalsa / descriptions"},
        {unset, "", "/home/user", home},
        {unset, "relative", "/home/user", home},
        {unset, unset, "", "nowhere"},
        {unset, unset, "relative", "nowhere"},
        {unset, unset, unset, "nowhere"},
        {"/srv/descriptions", unset, "/home/user", "/srv / descriptions"},
        {"/descriptions//", unset, "/home/user", "/ / descriptions"},
        {"/", unset, "/home/user", "/ / "},
        {"off", unset, "/home/user", "nowhere"},
        {"", unset, "/home/user", home},
        {"cache", unset, "/home/user",
         "KXGIGE_CACHE: 'cache' is neither 'off' nor an absolute path; descriptions are kept where "
         "they are without it\n" +
             home},
    };
    for (const auto &each : cases) {
        for (const auto &[name, value] : {std::pair("KXGIGE_CACHE", each.cache),
                                          {"XDG_CACHE_HOME", each.xdg},
                                          {"HOME", each.home}}) {
            if (value)
                setenv(name, value, 1);
            else
                unsetenv(name);
        }
        testing::internal::CaptureStderr();
        const auto found = cachePlace();
        std::string text = testing::internal::GetCapturedStderr();
        text += !found ? "nowhere" : found->base + (found->makeBase ? " (made)" : "");
        if (found) {
            for (const std::string &name : found->below)
                text += " / " + name;
        }
        EXPECT_EQ(each.place, text);
    }
}

} // namespace
