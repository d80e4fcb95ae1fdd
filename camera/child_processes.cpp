// A child writes into files in memory, which a wait cannot block on and which what the child leaves
// running cannot hold open. Each child is watched by a thread that lives as long as it does.
//
// The children are forked from a process that has threads: until a child becomes the other program
// it makes system calls only.

#include "camera/child_processes.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "cli/process.h"
#include "gvcp/descriptor.h"

namespace kxinfo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCannotExecute = 127; // as shells have it

// How often a child is looked at: signals may ask this process to stop, and what a child writes
// beyond its limit takes memory until it is seen.
constexpr std::chrono::milliseconds kBetweenLooks{10};

// A stream that is -1 stays this process's own.
pid_t start(const Words &command, const int (&streams)[3]) {
    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    bool fit = getppid() == parent; // or it was faster
    for (int stream = 0; stream < 3; ++stream)
        fit = fit && (streams[stream] < 0 || dup2(streams[stream], stream) >= 0);
    if (fit)
        execv(arguments[0], arguments.data());
    _exit(kCannotExecute);
}

ChildEnd runChild(const Words &command, Collect collect, const ChildLimits &limits) {
    const MemoryFile out;
    const MemoryFile err;
    const gvcp::Descriptor in(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const pid_t pid =
        in ? start(command, {in.get(), collect == Collect::Nothing ? -1 : out.descriptor(),
                             collect == Collect::Both ? err.descriptor() : -1})
           : -1;
    if (pid < 0)
        throw std::system_error(errno, std::generic_category());

    auto deadline = Clock::now() + limits.time;
    std::string failure;
    const auto end = [&](const std::string &why, int signal) {
        if (failure.empty())
            failure = why + ", and was ended.";
        kill(pid, signal);
    };
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (stopSignal() && failure.empty()) {
            end("was asked to", SIGTERM);
            deadline = Clock::now() + limits.toEnd;
        } else if (std::max(out.size(), err.size()) > limits.output) {
            end(say("wrote more than ", limits.output >> 20, " MiB"), SIGKILL);
        } else if (Clock::now() >= deadline) {
            end(say("had not ended after ", limits.time.count() / 1000, " s"), SIGKILL);
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    const int number = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    if (failure.empty() && number < 0)
        // NOLINTNEXTLINE(concurrency-mt-unsafe)
        failure = say("crashed, by signal ", -number, " (", strsignal(-number), ").");
    else if (failure.empty() && number > kFailed)
        failure = say("ended with status ", number, ", expected was 0 to 3.");
    return {number, failure, out.text(), err.text()};
}

} // namespace

std::vector<ChildEnd> runChildren(const std::vector<Words> &commands, Collect collect,
                                  const ChildLimits &limits) {
    (void)stopOnSignals();
    std::signal(SIGCHLD, SIG_DFL); // who ignores it is not told how children end
    std::vector<ChildEnd> ends(commands.size(),
                               {-1, "was not run: stopped, as asked for.", "", ""});
    sideBySide(commands.size(), limits.sideBySide, [&](size_t i) {
        try {
            if (!stopSignal())
                ends[i] = runChild(commands[i], collect, limits);
        } catch (const std::exception &) { // memory, processes or descriptors have run out
            ends[i] = {-1, "could not be started. End other programs, and try again.", "", ""};
        }
    });
    return ends;
}

} // namespace kxinfo
