// Programs that run side by side, and what is made of their ends.

#include "child_processes.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "camera_result.h"
#include "kx_proc.h"

namespace {

using namespace std::chrono_literals;
using kxinfo::CameraResult;
using kxinfo::ChildEnd;
using kxinfo::ChildLimits;
using How = kxinfo::ChildEnd::How;

constexpr ChildLimits kGenerous = {30s, 10'000'000, 8};

std::vector<ChildEnd> runScripts(const std::vector<std::string> &scripts,
                                 const ChildLimits &limits = kGenerous) {
    std::vector<std::vector<std::string>> commands;
    for (const std::string &script : scripts)
        commands.push_back({"/bin/sh", "-c", script});
    return kxinfo::runChildren(commands, {"PATH=/usr/bin:/bin", "COLOUR=red"}, limits);
}

void expectEnd(const ChildEnd &end, How how, int number, const std::string &out,
               const std::string &err) {
    EXPECT_EQ(end.how, how);
    EXPECT_EQ(end.number, number);
    EXPECT_EQ(end.out, out);
    EXPECT_EQ(end.err, err);
}

TEST(ChildProcesses, TellStatusAndBothStreamsOfEachInTheOrderOfTheCommands) {
    const auto ends = runScripts({"echo one; echo first >&2; exit 3", "echo two"});

    ASSERT_EQ(ends.size(), 2u);
    expectEnd(ends[0], How::Exited, 3, "one\n", "first\n");
    expectEnd(ends[1], How::Exited, 0, "two\n", "");
}

TEST(ChildProcesses, MayWriteMoreThanAPipeHolds) {
    const auto ends = runScripts({"head -c 1000000 /dev/zero; head -c 500000 /dev/zero >&2"});

    EXPECT_EQ(ends[0].out.size(), 1'000'000u);
    EXPECT_EQ(ends[0].err.size(), 500'000u);
}

TEST(ChildProcesses, HaveTheEnvironmentGivenAndNothingToRead) {
    expectEnd(runScripts({"echo $COLOUR $HOME; cat"})[0], How::Exited, 0, "red\n", "");
}

TEST(ChildProcesses, RunSideBySideAsManyAsAllowed) {
    std::string folder = std::filesystem::temp_directory_path() / "kxinfo-test-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    ASSERT_EQ(0, system(("mkfifo " + folder + "/there " + folder + "/back").c_str()));
    // Each waits for the other.
    const std::vector<std::string> scripts{"cd " + folder + "; echo hello > there; cat back",
                                           "cd " + folder + "; cat there; echo bye > back"};

    const auto together = runScripts(scripts);
    expectEnd(together[0], How::Exited, 0, "bye\n", "");
    expectEnd(together[1], How::Exited, 0, "hello\n", "");

    const auto apart = runScripts(scripts, {300ms, 1000, 1});
    EXPECT_EQ(apart[0].how, How::Overdue);
    EXPECT_EQ(apart[1].how, How::Overdue);
    std::filesystem::remove_all(folder);
}

TEST(ChildProcesses, AreEndedWhenTheyRunTooLongAndHideNoOther) {
    const auto ends =
        runScripts({"echo before; exec sleep 60", "echo well", "exec >&- 2>&-; exec sleep 60"},
                   {500ms, 1000, 8});

    expectEnd(ends[0], How::Overdue, 0, "before\n", "");
    expectEnd(ends[1], How::Exited, 0, "well\n", "");
    expectEnd(ends[2], How::Overdue, 0, "", "");
}

TEST(ChildProcesses, AreEndedWhenTheyWriteTooMuch) {
    const auto ends = runScripts({"exec yes", "exec yes >&2", "echo well"}, {30s, 100'000, 8});

    EXPECT_EQ(ends[0].how, How::Flooding);
    EXPECT_EQ(ends[1].how, How::Flooding);
    expectEnd(ends[2], How::Exited, 0, "well\n", "");
}

TEST(ChildProcesses, TellTheSignalThatEndedThem) {
    expectEnd(runScripts({"echo before; kill -TERM $$"})[0], How::Signalled, SIGTERM, "before\n",
              "");
}

TEST(ChildProcesses, EndWithStatus127WhenTheProgramCannotBeRun) {
    expectEnd(kxinfo::runChildren({{"/nowhere/kxinfo"}}, {}, kGenerous)[0], How::Exited, 127, "",
              "");
}

TEST(ChildProcesses, AreNotWaitedForByWhatTheyLeaveRunning) {
    const auto ends = runScripts({"sleep 60 & echo $!"});

    EXPECT_EQ(ends[0].how, How::Exited);
    const int left = std::stoi(ends[0].out);
    ASSERT_GT(left, 1);
    EXPECT_EQ(0, kill(left, SIGKILL)) << "it was waited for";
}

TEST(ChildProcesses, EndWithTheProcessThatStartedThem) {
    // A pipe whose writing end the child holds: it closes when the child is gone.
    int life[2];
    ASSERT_EQ(0, pipe(life));
    const pid_t starter = fork();
    ASSERT_GE(starter, 0);
    if (starter == 0) {
        (void)runScripts({"echo ready >&" + std::to_string(life[1]) + "; exec sleep 60"},
                         {60s, 1000, 1});
        _exit(0);
    }
    close(life[1]);
    char ready[6];
    ASSERT_EQ(6, read(life[0], ready, sizeof ready));

    kill(starter, SIGKILL);
    waitpid(starter, nullptr, 0);

    pollfd wait{life[0], POLLIN, 0};
    EXPECT_EQ(1, poll(&wait, 1, 10'000)) << "the child lives on";
    close(life[0]);
}

CameraResult resultOf(const ChildEnd &end, bool json = false, int logMode = 0) {
    kxinfo::ProbeRequest request;
    request.json = json;
    request.log.mode = logMode;
    return kxinfo::readResult("S1", end, request, {60s, 16 * 1024 * 1024, 8});
}

using Lines = std::vector<std::string>;

const std::string kHint = "Add '--log stdout --level debug' to see how far it came.";

TEST(CameraResult, TellsThatAProbeHungAndKeepsItsLog) {
    const CameraResult result = resultOf({How::Overdue, 0, "log\n", "kxinfo: a word\n"});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.table, "log\n");
    EXPECT_EQ(result.messages,
              (Lines{"a word", "the probe had not ended after 60 s, and was ended. " + kHint}));
}

TEST(CameraResult, TellsThatAProbeFlooded) {
    EXPECT_EQ(resultOf({How::Flooding, 0, "", ""}).messages,
              (Lines{"the probe wrote more than 16 MiB, and was ended. " + kHint}));
}

TEST(CameraResult, TellsWhyAProbeWasNotStarted) {
    const CameraResult result = resultOf({How::NotStarted, EAGAIN, "", ""});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.messages, (Lines{"the probe could not be started: Resource temporarily "
                                      "unavailable. End other programs, and try again."}));
}

TEST(CameraResult, TellsAStatusThatIsNoneOfKxinfos) {
    const CameraResult result = resultOf({How::Exited, 127, "", "symbol lookup error\n"});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.messages,
              (Lines{"symbol lookup error",
                     "the probe ended with status 127, expected was 0 to 3. " + kHint}));
}

TEST(CameraResult, TellsThatAFailedProbeSaidNothing) {
    const CameraResult result = resultOf({How::Exited, 1, "", ""});

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.messages,
              (Lines{"the probe ended without a result, and did not say why. " + kHint}));
}

TEST(CameraResult, IsAFailureWithoutATable) {
    EXPECT_EQ(resultOf({How::Exited, 0, "something else\n", ""}).status, 3);
}

TEST(CameraResult, IsAFailureWithoutWholeJson) {
    for (const char *text :
         {"", "{", "[]", "{\"version\": 1}", "{\"parameters\": 1}", "{\"parameters\": []} x"}) {
        const CameraResult result = resultOf({How::Exited, 0, text, ""}, true);
        EXPECT_EQ(result.status, 3) << text;
        EXPECT_TRUE(result.parameters.is_null()) << text;
    }
    EXPECT_EQ(resultOf({How::Exited, 0, "{\"parameters\": []}", ""}, true).status, 0);
}

TEST(CameraResult, TellsMessagesFromTheLogAlsoBehindALineWithoutAnEnd) {
    const CameraResult result =
        resultOf({How::Exited, 3, "", "[A:d]: one\n[A:d]: two kxinfo: it failed\nkxinfo: more\n"},
                 true, KX_LOG_MODE_STDOUT);

    EXPECT_EQ(result.log, "[A:d]: one\n[A:d]: two \n");
    EXPECT_EQ(result.messages, (Lines{"it failed", "more"}));
}

} // namespace
