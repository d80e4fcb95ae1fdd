// Files that the user names: written whole or not at all, and nobody else decides where.

#include "cli/files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/text.h"

namespace fs = std::filesystem;
using kxinfo::Error;
using kxinfo::NewFile;
using testing::UnorderedElementsAre;

namespace {

constexpr uid_t kStranger = 65534;

class Files : public testing::Test {
protected:
    Files() {
        std::string name = testing::TempDir() + "kxinfo-files-XXXXXX";
        folder_ = mkdtemp(name.data());
        (void)umask(022);
    }
    ~Files() override { fs::remove_all(folder_); }

    std::string at(const std::string &name) const { return folder_ + '/' + name; }

    std::string file(const std::string &name, const std::string &content = "old") const {
        std::ofstream(at(name)) << content;
        return at(name);
    }

    static std::string contentOf(const std::string &name) {
        std::ifstream file(name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static mode_t modeOf(const std::string &name) {
        struct stat about = {};
        EXPECT_EQ(0, lstat(name.c_str(), &about));
        return about.st_mode & 07777U;
    }

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto &entry : fs::directory_iterator(folder_))
            all.push_back(entry.path().filename());
        return all;
    }

    static void write(const std::string &name) { NewFile(name).write("new"); }

    // What ends the writing, behind the file's name.
    static std::string refusal(const std::string &name) {
        try {
            write(name);
        } catch (const Error &error) {
            EXPECT_EQ(kxinfo::kFailed, error.status());
            const std::string begin = '"' + name + "\" cannot be written: ";
            EXPECT_EQ(begin, std::string(error.what()).substr(0, begin.size()));
            return std::string(error.what()).substr(begin.size());
        }
        return "written";
    }

    static std::string refusalToRead(const std::string &name) {
        try {
            return "read: " + kxinfo::readFile(name, "Expected is more.").substr(0, 20);
        } catch (const Error &error) {
            EXPECT_EQ(kxinfo::kWrongUsage, error.status());
            return error.what();
        }
    }

    // The work of a test, with another file as standard input.
    template <class Work>
    static void withInput(const std::string &name, Work work) {
        const int saved = dup(STDIN_FILENO);
        const int file = open(name.c_str(), O_RDONLY);
        ASSERT_EQ(STDIN_FILENO, dup2(file, STDIN_FILENO));
        work();
        (void)dup2(saved, STDIN_FILENO);
        close(saved);
        close(file);
    }

    std::string folder_;
};

#define NEEDS_ROOT()                                                                               \
    if (geteuid() != 0)                                                                            \
    GTEST_SKIP() << "only root can make files of another user"

TEST_F(Files, AreNewWithTheUsersModeOrKeepTheirOwnWithoutSpecialBits) {
    write(at("new"));
    EXPECT_EQ("new", contentOf(at("new")));
    EXPECT_EQ(0644u, modeOf(at("new")));
    ASSERT_EQ(0, chmod(file("old").c_str(), 06751));
    write(at("old"));
    EXPECT_EQ("new", contentOf(at("old")));
    EXPECT_EQ(0751u, modeOf(at("old")));
    EXPECT_THAT(names(), UnorderedElementsAre("new", "old"));
}

TEST_F(Files, OfAStrangerLendTheirModeToNobody) {
    NEEDS_ROOT();
    ASSERT_EQ(0, chown(file("planted").c_str(), kStranger, kStranger));
    ASSERT_EQ(0, chmod(at("planted").c_str(), 06777));
    write(at("planted"));
    EXPECT_EQ("new", contentOf(at("planted")));
    EXPECT_EQ(0644u, modeOf(at("planted")));
}

TEST_F(Files, AreNotFoundThroughSymbolicLinks) {
    const std::string why = "it is a symbolic link. Name the file itself, or remove the link.";
    file("file");
    fs::create_symlink("file", at("link"));
    fs::create_symlink("nothing", at("dangling"));
    fs::create_symlink("circle", at("circle"));
    for (const char *name : {"link", "dangling", "circle"})
        EXPECT_EQ(why, refusal(at(name)));
    EXPECT_EQ("old", contentOf(at("file")));
    EXPECT_THAT(names(), UnorderedElementsAre("file", "link", "dangling", "circle"));
    fs::create_symlink("/dev/null", at("null"));
    EXPECT_EQ("written", refusal(at("null"))) << "as /dev/stdout is one";
}

TEST_F(Files, OfAStrangerAreNoPlaceToWriteTo) {
    NEEDS_ROOT();
    ASSERT_EQ(0, mkfifo(at("pipe").c_str(), 0666));
    ASSERT_EQ(0, chown(at("pipe").c_str(), kStranger, kStranger));
    EXPECT_EQ("it is a pipe of another user. Give another name.", refusal(at("pipe")));
    fs::create_symlink("/dev/null", at("link"));
    ASSERT_EQ(0, lchown(at("link").c_str(), kStranger, kStranger));
    EXPECT_EQ("it is a symbolic link of another user. Name the file itself, or remove the link.",
              refusal(at("link")));
}

TEST_F(Files, StayWhereTheyWereMeantWhenSomebodySwapsThings) {
    file("victim", "precious");
    fs::create_directory(at("folder"));
    NewFile mine(at("folder/file"));
    fs::create_symlink("../victim", at("folder/file"));
    fs::rename(at("folder"), at("moved"));
    fs::create_directory(at("elsewhere"));
    fs::create_directory_symlink("elsewhere", at("folder"));
    mine.write("new");

    EXPECT_EQ("precious", contentOf(at("victim")));
    EXPECT_TRUE(fs::is_empty(at("elsewhere")));
    EXPECT_FALSE(fs::is_symlink(at("moved/file")));
    EXPECT_EQ("new", contentOf(at("moved/file")));
}

TEST_F(Files, StayAsTheyWereWhenTheDiskIsFull) {
    file("file");
    NewFile mine(at("file"));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
    const rlimit small = {512, saved.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    EXPECT_THROW(mine.write(std::string(5000, 'x')), Error);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &saved));
    EXPECT_EQ("old", contentOf(at("file")));
    EXPECT_THAT(names(), UnorderedElementsAre("file"));
}

TEST_F(Files, TellBeforehandThatTheyCannotBeWritten) {
    EXPECT_EQ("it is a folder. Give another name.", refusal(folder_));
    EXPECT_EQ("Is a directory.", refusal(folder_ + "/"));
    EXPECT_EQ("No such file or directory.", refusal(at("none/file")));
    EXPECT_EQ("Not a directory.", refusal(file("file") + "/file"));
    EXPECT_EQ("No such file or directory.", refusal(""));
    EXPECT_EQ("File name too long.", refusal(at(std::string(300, 'x'))));
}

TEST_F(Files, TellBeforehandThatTheFolderIsNobodysToWriteTo) {
    NEEDS_ROOT();
    ASSERT_EQ(0, chmod(folder_.c_str(), 0755));
    ASSERT_EQ(0, seteuid(kStranger));
    EXPECT_EQ("Permission denied.", refusal(at("file")));
    ASSERT_EQ(0, seteuid(0));
}

TEST_F(Files, ThatArePipesAreWrittenTo) {
    ASSERT_EQ(0, mkfifo(at("pipe").c_str(), 0600));
    std::thread writer([&] { write(at("pipe")); });
    EXPECT_EQ("read: new", refusalToRead(at("pipe")));
    writer.join();
    EXPECT_TRUE(fs::is_fifo(at("pipe")));
}

TEST_F(Files, AreReadUpTo16MiB) {
    EXPECT_EQ("read: old", refusalToRead(file("file")));
    file("large", std::string(16 << 20, 'x'));
    EXPECT_EQ("read: xxxxxxxxxxxxxxxxxxxx", refusalToRead(at("large")));
    file("large", std::string((16 << 20) + 1, 'x'));
    EXPECT_EQ('"' + at("large") + "\" is longer than 16 MiB. Expected is more.",
              refusalToRead(at("large")));
    file("empty", "");
    EXPECT_EQ('"' + at("empty") + "\" is empty. Expected is more.", refusalToRead(at("empty")));
}

TEST_F(Files, AreReadWithoutAByteOrderMark) {
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ("read: a" + mark, refusalToRead(file("marked", mark + "a" + mark)));
    EXPECT_EQ('"' + at("marked") + "\" is empty. Expected is more.",
              refusalToRead(file("marked", mark)));
    withInput(at("marked"),
              [] { EXPECT_EQ("standard input is empty. Expected is more.", refusalToRead("-")); });
    file("large", mark + std::string((16 << 20) - 3, 'x'));
    EXPECT_EQ("read: xxxxxxxxxxxxxxxxxxxx", refusalToRead(at("large")));
    file("large", mark + std::string((16 << 20) - 2, 'x'));
    EXPECT_EQ('"' + at("large") + "\" is longer than 16 MiB. Expected is more.",
              refusalToRead(at("large")));
}

TEST_F(Files, AreReadFromAPipeHoweverLateItIsWrittenTo) {
    ASSERT_EQ(0, mkfifo(at("pipe").c_str(), 0600));
    std::thread writer([&] {
        std::ofstream pipe(at("pipe"));
        for (const char *part : {"one ", "two ", "three"})
            pipe << part << std::flush;
    });
    EXPECT_EQ("read: one two three", refusalToRead(at("pipe")));
    writer.join();
}

TEST_F(Files, AreReadFromStandardInput) {
    withInput(file("file"), [] { EXPECT_EQ("read: old", refusalToRead("-")); });
    withInput("/dev/zero", [] {
        EXPECT_EQ("standard input is longer than 16 MiB. Expected is more.", refusalToRead("-"));
    });
}

TEST_F(Files, ThatMayHaveNoEndAreNotRead) {
    const auto cannot = [](const std::string &name, const std::string &why) {
        EXPECT_EQ('"' + name + "\" cannot be read: " + why, refusalToRead(name));
    };
    const std::string expected = "; expected is a regular file, a pipe, or - for standard input.";
    cannot("/dev/zero", "it is a device" + expected);
    cannot("/dev/ptmx", "it is a device" + expected);
    cannot(folder_, "it is a folder" + expected);
    cannot(at("none"), "No such file or directory.");
    cannot("/proc/self/mem", "Input/output error.");
}

} // namespace
