// The children are forked from a process in which the camera framework may have threads: until a
// child becomes the other program it makes system calls only.
//
// A child's end is seen through its process descriptor, not through its outputs' ends: those stay
// open as long as anything that the child started holds them.

#include "child_processes.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace kxinfo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCannotExecute = 127; // as shells have it

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    void reset(int number) {
        close();
        number_ = number;
    }
    void close() {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }
    int get() const { return number_; }

private:
    int number_ = -1;
};

// The C library's own function for it cannot be called from C++ everywhere.
int processDescriptorOf(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

int millisecondsTo(Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

// Pointers for execve(); the texts must outlive them.
std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// The reading end of what a child writes.
class Output {
public:
    // Makes the pipe; the end for the child comes back. False, and errno, when that fails.
    bool open(Descriptor &forChild) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0)
            return false;
        end_.reset(ends[0]);
        forChild.reset(ends[1]);
        return fcntl(end_.get(), F_SETFL, O_NONBLOCK) == 0;
    }

    // Takes some of what is there; false when there is nothing more for now.
    bool read() {
        std::array<char, 65536> part;
        const ssize_t got = ::read(end_.get(), part.data(), part.size());
        if (got > 0)
            text_.append(part.data(), static_cast<size_t>(got));
        else if (got == 0)
            end_.close(); // poll() leaves it out
        return got > 0;
    }

    int descriptor() const { return end_.get(); }
    size_t size() const { return text_.size(); }
    std::string take() { return std::move(text_); }

private:
    Descriptor end_;
    std::string text_;
};

class Child {
public:
    explicit Child(const ChildLimits &limits) : limits_(limits) {}
    ~Child() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            (void)waitpid(pid_, nullptr, 0);
        }
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    // 0, or why that cannot be done, as in errno.
    int start(const std::vector<std::string> &command,
              const std::vector<std::string> &environment) {
        Descriptor out;
        Descriptor err;
        const Descriptor in(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (in.get() < 0 || !out_.open(out) || !err_.open(err))
            return errno;
        const auto arguments = pointersTo(command);
        const auto variables = pointersTo(environment);
        const pid_t parent = getpid();
        pid_ = fork();
        if (pid_ == 0)
            become(arguments.data(), variables.data(), {in.get(), out.get(), err.get()}, parent);
        if (pid_ < 0)
            return errno;
        deadline_ = Clock::now() + limits_.time;
        process_.reset(processDescriptorOf(pid_));
        return process_.get() < 0 ? errno : 0;
    }

    std::array<int, 3> descriptors() const {
        return {process_.get(), out_.descriptor(), err_.descriptor()};
    }

    // When it has to be attended to at the latest.
    std::optional<Clock::time_point> deadline() const {
        return isBeingEnded() ? std::nullopt : std::optional(deadline_);
    }

    // Takes what it has written, and ends it when it exceeds a limit.
    void attend() {
        out_.read();
        err_.read();
        if (isBeingEnded())
            return;
        if (tooMuch())
            end(ChildEnd::How::Flooding);
        else if (Clock::now() >= deadline_)
            end(ChildEnd::How::Overdue);
    }

    // To be called when its process descriptor says that it has ended.
    ChildEnd finish() {
        int status = 0;
        (void)waitpid(std::exchange(pid_, -1), &status, 0);
        while (!tooMuch() && (out_.read() || err_.read())) {
        }
        if (isBeingEnded())
            return {how_, 0, out_.take(), err_.take()};
        if (WIFSIGNALED(status))
            return {ChildEnd::How::Signalled, WTERMSIG(status), out_.take(), err_.take()};
        return {ChildEnd::How::Exited, WEXITSTATUS(status), out_.take(), err_.take()};
    }

private:
    // In the child.
    [[noreturn]] static void become(char *const *arguments, char *const *variables,
                                    const std::array<int, 3> &streams, pid_t parent) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) // it was faster
            _exit(kCannotExecute);
        for (int stream = 0; stream < 3; ++stream)
            if (dup2(streams[static_cast<size_t>(stream)], stream) < 0)
                _exit(kCannotExecute);
        execve(arguments[0], arguments, variables);
        _exit(kCannotExecute);
    }

    bool isBeingEnded() const { return how_ != ChildEnd::How::Exited; }
    bool tooMuch() const { return std::max(out_.size(), err_.size()) > limits_.output; }

    void end(ChildEnd::How how) {
        how_ = how;
        kill(pid_, SIGKILL);
    }

    ChildLimits limits_;
    ChildEnd::How how_ = ChildEnd::How::Exited;
    Clock::time_point deadline_;
    pid_t pid_ = -1;
    Descriptor process_;
    Output out_;
    Output err_;
};

} // namespace

std::vector<ChildEnd> runChildren(const std::vector<std::vector<std::string>> &commands,
                                  const std::vector<std::string> &environment,
                                  const ChildLimits &limits) {
    struct Running {
        size_t place;
        std::unique_ptr<Child> child;
    };
    std::vector<ChildEnd> ends(commands.size());
    std::vector<Running> running;
    for (size_t next = 0; next < commands.size() || !running.empty();) {
        while (next < commands.size() && running.size() < limits.sideBySide) {
            auto child = std::make_unique<Child>(limits);
            if (const int error = child->start(commands[next], environment))
                ends[next] = {ChildEnd::How::NotStarted, error, {}, {}};
            else
                running.push_back({next, std::move(child)});
            ++next;
        }

        std::vector<pollfd> waits;
        int wait = -1; // milliseconds, as for poll()
        for (const Running &each : running) {
            for (const int descriptor : each.child->descriptors())
                waits.push_back({descriptor, POLLIN, 0});
            if (const auto deadline = each.child->deadline()) {
                const int left = millisecondsTo(*deadline);
                wait = wait < 0 ? left : std::min(wait, left);
            }
        }
        if (waits.empty())
            continue;
        (void)poll(waits.data(), waits.size(), wait);

        std::vector<Running> still;
        for (size_t i = 0; i < running.size(); ++i) {
            if (waits[i * 3].revents) {
                ends[running[i].place] = running[i].child->finish();
            } else {
                running[i].child->attend();
                still.push_back(std::move(running[i]));
            }
        }
        running = std::move(still);
    }
    return ends;
}

} // namespace kxinfo
