// Programs that run side by side.

#include "camera/child_processes.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using kxinfo::ChildEnd;
using kxinfo::ChildLimits;
using kxinfo::Collect;

constexpr ChildLimits kGenerous = {30s, 10'000'000, 8};

std::vector<ChildEnd> runScripts(const std::vector<std::string> &scripts,
                                 const ChildLimits &limits = kGenerous) {
    std::vector<std::vector<std::string>> commands;
    for (const std::string &script : scripts)
        commands.push_back({"/bin/sh", "-c", script});
    return kxinfo::runChildren(commands, Collect::Both, limits);
}

const std::string kOverdue = "had not ended after 0 s, and was ended.";
const std::string kFlooding = "wrote more than 0 MiB, and was ended.";

void expectEnd(const ChildEnd &end, int status, const std::string &failure, const std::string &out,
               const std::string &err) {
    EXPECT_EQ(end.status, status);
    EXPECT_EQ(end.failure, failure);
    EXPECT_EQ(end.out, out);
    EXPECT_EQ(end.err, err);
}

TEST(ChildProcesses, TellStatusAndBothStreamsOfEachInTheOrderOfTheCommands) {
    const auto ends = runScripts({"echo one; echo first >&2; exit 3", "echo two"});

    ASSERT_EQ(ends.size(), 2u);
    expectEnd(ends[0], 3, "", "one\n", "first\n");
    expectEnd(ends[1], 0, "", "two\n", "");
}

TEST(ChildProcesses, AreHeardOfThoughWhoStartedTheProcessIgnoresChildren) {
    signal(SIGCHLD, SIG_IGN);
    expectEnd(runScripts({"exit 3"})[0], 3, "", "", "");
}

TEST(ChildProcesses, MayWriteMoreThanAPipeHolds) {
    const auto ends = runScripts({"head -c 1000000 /dev/zero; head -c 500000 /dev/zero >&2"});

    EXPECT_EQ(ends[0].out.size(), 1'000'000u);
    EXPECT_EQ(ends[0].err.size(), 500'000u);
}

TEST(ChildProcesses, HaveNothingToRead) {
    expectEnd(runScripts({"echo before; cat"})[0], 0, "", "before\n", "");
}

TEST(ChildProcesses, RunSideBySideAsManyAsAllowed) {
    std::string folder = std::filesystem::temp_directory_path() / "kxinfo-test-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    ASSERT_EQ(0, system(("mkfifo " + folder + "/there " + folder + "/back").c_str()));
    // Each waits for the other.
    const std::vector<std::string> scripts{"cd " + folder + "; echo hello > there; cat back",
                                           "cd " + folder + "; cat there; echo bye > back"};

    const auto together = runScripts(scripts);
    expectEnd(together[0], 0, "", "bye\n", "");
    expectEnd(together[1], 0, "", "hello\n", "");

    const auto apart = runScripts(scripts, {300ms, 1000, 1});
    EXPECT_EQ(apart[0].failure, kOverdue);
    EXPECT_EQ(apart[1].failure, kOverdue);
    std::filesystem::remove_all(folder);
}

TEST(ChildProcesses, AreEndedWhenTheyRunTooLongAndHideNoOther) {
    const auto ends =
        runScripts({"echo before; exec sleep 60", "echo well", "exec >&- 2>&-; exec sleep 60"},
                   {500ms, 1000, 8});

    expectEnd(ends[0], -SIGKILL, kOverdue, "before\n", "");
    expectEnd(ends[1], 0, "", "well\n", "");
    expectEnd(ends[2], -SIGKILL, kOverdue, "", "");
}

TEST(ChildProcesses, AreEndedWhenTheyWriteTooMuch) {
    const auto ends = runScripts({"exec yes", "exec yes >&2", "echo well"}, {30s, 100'000, 8});

    EXPECT_EQ(ends[0].failure, kFlooding);
    EXPECT_EQ(ends[1].failure, kFlooding);
    expectEnd(ends[2], 0, "", "well\n", "");
}

TEST(ChildProcesses, TellTheSignalThatEndedThem) {
    expectEnd(runScripts({"echo before; kill -TERM $$"})[0], -SIGTERM,
              "crashed, by signal 15 (Terminated).", "before\n", "");
}

TEST(ChildProcesses, EndWithStatus127WhenTheProgramCannotBeRun) {
    expectEnd(kxinfo::runChildren({{"/nowhere/kxinfo"}}, Collect::Both, kGenerous)[0], 127,
              "ended with status 127, expected was 0 to 3.", "", "");
}

TEST(ChildProcesses, AreNotWaitedForByWhatTheyLeaveRunning) {
    const auto ends = runScripts({"sleep 60 & echo $!"});

    EXPECT_EQ(ends[0].status, 0);
    const int left = std::stoi(ends[0].out);
    ASSERT_GT(left, 1);
    EXPECT_EQ(0, kill(left, SIGKILL)) << "it was waited for";
}

// A process that runs a script, with traps set before, and that then gets a signal.
class Starter {
public:
    Starter(const std::string &before, const std::string &script) {
        if (pipe(life_) != 0)
            throw std::runtime_error("no pipe");
        pid_ = fork();
        if (pid_ == 0) {
            (void)runScripts(
                {before + "\nfd=" + std::to_string(life_[1]) + "; echo ready >&$fd; " + script},
                {60s, 1000, 1});
            _exit(42);
        }
        close(life_[1]);
        char ready[6];
        EXPECT_EQ(6, read(life_[0], ready, sizeof ready));
    }
    ~Starter() { close(life_[0]); }

    // The status that it ends with.
    int signal(int number) const {
        int status = 0;
        kill(pid_, number);
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    // What the script says until it is gone.
    std::string lastWords() const {
        std::string words;
        char part[64];
        pollfd wait{life_[0], POLLIN, 0};
        while (poll(&wait, 1, 10'000) == 1) {
            const ssize_t got = read(life_[0], part, sizeof part);
            if (got <= 0)
                return words;
            words.append(part, static_cast<size_t>(got));
        }
        return words + "(it lives on)";
    }

private:
    int life_[2];
    pid_t pid_;
};

TEST(ChildProcesses, AreAskedToEndWhenTheProcessThatStartedThemDies) {
    const Starter starter("", "exec sleep 60");
    EXPECT_EQ(-SIGKILL, starter.signal(SIGKILL));
    EXPECT_EQ("", starter.lastWords());
}

TEST(ChildProcesses, AreAskedToEndWhenTheProcessIsAndHaveTimeForIt) {
    const Starter starter("trap 'kill -KILL $!; echo bye >&$fd; exit' TERM\nsleep 60 &", "wait");
    EXPECT_EQ(42, starter.signal(SIGINT));
    EXPECT_EQ("bye\n", starter.lastWords());
}

TEST(ChildProcesses, AreKilledWhenTheyDoNotEnd) {
    const Starter starter("trap '' TERM", "exec sleep 60");
    EXPECT_EQ(42, starter.signal(SIGTERM));
    EXPECT_EQ("", starter.lastWords());
}

} // namespace
