#ifndef KXINFO_TESTS_SIMCAM_PROCESS_H
#define KXINFO_TESTS_SIMCAM_PROCESS_H

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program that a test has started. It is killed at the latest with this object.
class Process {
public:
    Process(const std::string &program, const std::vector<std::string> &arguments);
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    /// The next line of standard output without its end, or "" when none has come within a
    /// minute or the output has ended.
    std::string nextLine();

    void signal(int number) const;

    /// What the process did until it ended by itself: it has a minute for it.
    struct End {
        int status = -1; // of exit(), -1 when a signal or the test ended it
        std::string output;
        std::string errors;
    };
    End wait();

private:
    bool readMore(); // false: both outputs have ended or nothing has come for a minute

    pid_t pid_ = -1;
    int out_ = -1;
    int err_ = -1;
    std::string output_;
    std::string errors_;
};

/// kxinfo-simcam, ready to be asked. An outcome other than being ready is a failure of the test.
class Simcam : public Process {
public:
    explicit Simcam(const std::vector<std::string> &arguments);

    const std::string &readyLine() const { return readyLine_; }

    /// Tells it to stop; what it has said since it was ready.
    End stop();

private:
    std::string readyLine_;
};

/// The program run to its end, for command lines that do not serve.
Process::End runSimcam(const std::vector<std::string> &arguments);

/// A folder for one test's files, removed with it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return path_; }

    /// Makes a file in the folder; returns its path.
    std::string file(const std::string &name, const std::string &content) const;

private:
    std::string path_;
};

std::string readFile(const std::string &path);

#endif
