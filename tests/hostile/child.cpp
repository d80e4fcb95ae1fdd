#include "child.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ostream>
#include <stdexcept>

extern char **environ;

namespace {

constexpr unsigned kMostSeconds = 10;

int memoryFile() {
    const int file = memfd_create("said", MFD_CLOEXEC);
    if (file < 0)
        throw std::runtime_error("no file in memory");
    return file;
}

std::string contentsOf(int file) {
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("what the child has said cannot be read");
    return text;
}

std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const Ending &ending) {
    return stream << "status " << ending.status << " after " << ending.took.count() << " ms, "
                  << ending.memory << " KiB\n--- standard output\n"
                  << ending.out << "--- standard error\n"
                  << ending.err << "---\n";
}

// Several threads start children at a time, so all is made ready before the fork.
Child::Child(const std::vector<std::string> &arguments, const Environment &more)
    : start_(std::chrono::steady_clock::now()), out_(memoryFile()), err_(memoryFile()) {
    Environment variables = more;
    variables.insert({{"XDG_CACHE_HOME", cache_.path()}, {"KXGIGE_CACHE", ""}});
    std::vector<std::string> environment;
    for (char **inherited = environ; *inherited; ++inherited) {
        const std::string entry = *inherited;
        if (variables.count(entry.substr(0, entry.find('='))) == 0)
            environment.push_back(entry);
    }
    for (const auto &[name, value] : variables)
        environment.push_back(name + "=" + value);
    std::vector<std::string> command = arguments;
    command.insert(command.begin(), KXINFO_PROGRAM);
    const std::vector<char *> argv = pointersTo(command);
    const std::vector<char *> envp = pointersTo(environment);

    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("no child process");
    if (pid_ == 0) {
        dup2(out_, STDOUT_FILENO);
        dup2(err_, STDERR_FILENO);
        alarm(kMostSeconds);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
}

Child::~Child() {
    if (pid_ > 0) {
        kill();
        waitpid(pid_, nullptr, 0);
    }
    close(out_);
    close(err_);
}

void Child::kill() const {
    ::kill(pid_, SIGKILL);
}

Ending Child::wait() {
    int status = 0;
    rusage used{};
    if (wait4(pid_, &status, 0, &used) != pid_)
        throw std::runtime_error("the child process is lost");
    pid_ = -1;
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start_);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentsOf(out_),
            contentsOf(err_), took, used.ru_maxrss};
}
