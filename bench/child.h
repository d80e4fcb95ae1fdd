/** What the benchmarks on the wire share: programs that they start, and values that they collect. */
#ifndef KXINFO_BENCH_CHILD_H
#define KXINFO_BENCH_CHILD_H

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <nlohmann/json.hpp>

extern char **environ; // NOLINT: its name is the C library's

using Clock = std::chrono::steady_clock;

/** A program that runs; its standard output is read. */
class Child {
public:
    explicit Child(const std::vector<std::string> &arguments) : name_(arguments.front()) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("cannot make a pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::vector<char *> raw;
        for (const std::string &argument : arguments)
            raw.push_back(const_cast<char *>(argument.c_str()));
        raw.push_back(nullptr);
        start_ = Clock::now();
        const int problem = posix_spawnp(&pid_, raw[0], &actions, nullptr, raw.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        out_ = fdopen(ends[0], "r");
        if (problem != 0)
            throw std::runtime_error("cannot start " + name_);
    }
    ~Child() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        std::fclose(out_);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    std::string line() {
        std::string text;
        for (int c = std::getc(out_); c != EOF && c != '\n'; c = std::getc(out_))
            text += static_cast<char>(c);
        return text;
    }

    void stop() const { kill(pid_, SIGTERM); }

    /** Reads the output to its end; returns it. Throws when the program failed, unless it may. */
    std::string finish(bool mayFail = false) {
        std::string text;
        for (int c = std::getc(out_); c != EOF; c = std::getc(out_))
            text += static_cast<char>(c);
        int status = 0;
        rusage usage{};
        wait4(pid_, &status, 0, &usage);
        pid_ = -1;
        lasted_ = Clock::now() - start_;
        for (const timeval &each : {usage.ru_utime, usage.ru_stime})
            processor_ +=
                static_cast<double>(each.tv_sec) * 1000 + static_cast<double>(each.tv_usec) / 1000;
        if (status != 0 && !mayFail)
            throw std::runtime_error(name_ + " failed:\n" + text);
        return text;
    }

    double milliseconds() const {
        return std::chrono::duration<double, std::milli>(lasted_).count();
    }

    /** What it used of the processor. */
    double processorMilliseconds() const { return processor_; }

private:
    std::string name_;
    double processor_ = 0;
    pid_t pid_ = -1;
    std::FILE *out_ = nullptr;
    Clock::time_point start_;
    Clock::duration lasted_{};
};

/** Commands by kind, from the line that a virtual camera says when it ends. */
inline std::map<std::string, double> commandsIn(const std::string &closingLine) {
    std::map<std::string, double> counts;
    for (const char *kind : {"readreg", "writereg", "readmem", "writemem", "other"}) {
        const std::string key = std::string(" ") + kind + "=";
        const auto at = closingLine.find(key);
        if (at == std::string::npos)
            throw std::runtime_error("the camera counted no " + std::string(kind));
        counts[kind] = std::atof(closingLine.c_str() + at + key.size());
    }
    return counts;
}

/** Values of one kind of run, by name. */
struct Series {
    std::map<std::string, std::vector<double>> values;

    void add(const std::string &name, double value) { values[name].push_back(value); }

    /** What a camera says that it was asked, when it ends. */
    void addCommands(const std::string &closingLine) {
        double all = 0;
        for (const auto &[kind, count] : commandsIn(closingLine)) {
            add(kind, count);
            all += count;
        }
        add("commands", all);
    }

    nlohmann::json medians() const {
        nlohmann::json all;
        for (const auto &[name, each] : values) {
            std::vector<double> sorted = each;
            std::sort(sorted.begin(), sorted.end());
            const std::size_t middle = sorted.size() / 2;
            all[name] =
                sorted.size() % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
        }
        return all;
    }
};

#endif
