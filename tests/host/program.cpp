#include "program.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <stdexcept>

namespace {

int memoryFile() {
    const int file = memfd_create("collected", MFD_CLOEXEC);
    if (file < 0)
        throw std::runtime_error("no file in memory");
    return file;
}

std::string contentsOf(int file) {
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("cannot read what was collected");
    close(file);
    return text;
}

// In the child: makes the stream what the test wants, or ends the child.
void connect(int number, const Stream &stream, int collected) {
    int from = collected;
    switch (stream.kind) {
    case Stream::Kind::Collected:
        break;
    case Stream::Kind::Closed:
        close(number);
        return;
    case Stream::Kind::File:
        from = open(stream.file.c_str(), O_WRONLY | O_CLOEXEC);
        break;
    case Stream::Kind::BrokenPipe: {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0)
            _exit(126);
        close(ends[0]);
        from = ends[1];
        break;
    }
    }
    if (dup2(from, number) < 0)
        _exit(126);
}

} // namespace

bool operator==(const Result &a, const Result &b) {
    return a.status == b.status && a.out == b.out && a.err == b.err;
}

std::ostream &operator<<(std::ostream &stream, const Result &result) {
    return stream << "status " << result.status << "\n--- standard output\n"
                  << result.out << "--- standard error\n"
                  << result.err << "---\n";
}

Result run(const std::vector<std::string> &command, const Stream &out, const Stream &err,
           const std::string &folder) {
    std::vector<char *> arguments;
    for (const auto &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);

    const int outFile = memoryFile();
    const int errFile = memoryFile();
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("no child process");
    if (child == 0) {
        connect(STDOUT_FILENO, out, outFile);
        connect(STDERR_FILENO, err, errFile);
        if (!folder.empty() && chdir(folder.c_str()) < 0)
            _exit(126);
        setenv("KXGIGE_CACHE", "off", 0); // what tests see must not depend on earlier ones
        alarm(60);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child)
        throw std::runtime_error("the child process is lost");
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentsOf(outFile),
            contentsOf(errFile)};
}

Result kxinfo(std::vector<std::string> arguments, const Stream &out, const Stream &err) {
    arguments.insert(arguments.begin(), KXINFO_PROGRAM);
    return run(arguments, out, err);
}

Result kxinfoHost(std::vector<std::string> arguments, const Stream &out, const Stream &err) {
    arguments.insert(arguments.begin(), KXINFO_HOST);
    return run(arguments, out, err);
}

std::string plugin(const std::string &name) {
    return KXINFO_PLUGINS "/" + name + ".so";
}

ScratchFolder::ScratchFolder() {
    std::string name = std::filesystem::temp_directory_path() / "kxinfo-test-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    path_ = name;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
