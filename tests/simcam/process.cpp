#include "process.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kPatienceMs = 250'000;

void closePipe(int &fd) {
    if (fd >= 0)
        close(fd);
    fd = -1;
}

} // namespace

Process::Process(const std::string &program, const std::vector<std::string> &arguments) {
    int out[2];
    int err[2];
    if (pipe(out) != 0 || pipe(err) != 0)
        throw std::runtime_error("no pipes");
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    pid_ = fork();
    if (pid_ == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        for (const int fd : {out[0], out[1], err[0], err[1]})
            close(fd);
        execvp(program.c_str(), argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    out_ = out[0];
    err_ = err[0];
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    closePipe(out_);
    closePipe(err_);
}

bool Process::readMore() {
    pollfd pipes[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
    if ((out_ < 0 && err_ < 0) || poll(pipes, 2, kPatienceMs) <= 0)
        return false;
    const auto drain = [](int &fd, std::string &to) {
        char buffer[4096];
        const ssize_t size = read(fd, buffer, sizeof buffer);
        if (size > 0)
            to.append(buffer, static_cast<size_t>(size));
        else
            closePipe(fd);
    };
    if (pipes[0].revents)
        drain(out_, output_);
    if (pipes[1].revents)
        drain(err_, errors_);
    return true;
}

std::string Process::nextLine() {
    while (output_.find('\n') == std::string::npos) {
        if (out_ < 0 || !readMore())
            return "";
    }
    const size_t end = output_.find('\n');
    const std::string line = output_.substr(0, end);
    output_.erase(0, end + 1);
    return line;
}

void Process::signal(int number) const {
    kill(pid_, number);
}

Process::End Process::wait() {
    while (readMore()) {
    }
    if (out_ >= 0 || err_ >= 0) // it goes on and on
        kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output_, errors_};
}

Simcam::Simcam(const std::vector<std::string> &arguments) : Process(SIMCAM, arguments) {
    readyLine_ = nextLine();
    if (readyLine_.find("kxinfo-simcam: ready") != 0)
        ADD_FAILURE() << "kxinfo-simcam is not ready: " << readyLine_ << "\n" << wait().errors;
}

Process::End Simcam::stop() {
    signal(SIGTERM);
    return wait();
}

Process::End runSimcam(const std::vector<std::string> &arguments) {
    return Process(SIMCAM, arguments).wait();
}

TemporaryFolder::TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "kxinfo-test-XXXXXX").string();
    if (!mkdtemp(path.data()))
        throw std::runtime_error("no temporary folder");
    path_ = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::file(const std::string &name, const std::string &content) const {
    const std::string path = path_ + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}
