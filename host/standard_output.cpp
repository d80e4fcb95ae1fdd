#include "standard_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>

namespace kxinfo {

namespace {

int checked(int result, const char *what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

} // namespace

void prepareStandardStreams() {
    // The lowest free number is taken: in this order, each open() fills the gap just found.
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0)
            (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    (void)setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::signal(SIGPIPE, SIG_IGN);
}

void writeOut(std::string_view text) {
    (void)fwrite(text.data(), 1, text.size(), stdout);
}

bool finishStandardOutput() {
    return fflush(stdout) == 0 && !ferror(stdout);
}

StandardOutputTo::StandardOutputTo(int descriptor)
    : saved_(checked(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "standard output")) {
    (void)fflush(stdout);
    if (dup2(descriptor, STDOUT_FILENO) < 0) {
        const int error = errno;
        close(saved_);
        throw std::system_error(error, std::generic_category(), "standard output");
    }
}

StandardOutputTo::~StandardOutputTo() {
    // What the other place does not take is dropped, and no fault of standard output.
    (void)fflush(stdout);
    clearerr(stdout);
    (void)dup2(saved_, STDOUT_FILENO);
    close(saved_);
}

MemoryFile::MemoryFile()
    : descriptor_(checked(memfd_create("kxinfo-log", MFD_CLOEXEC), "a file in memory")) {}

MemoryFile::~MemoryFile() {
    close(descriptor_);
}

std::string MemoryFile::text() const {
    std::string text;
    char part[4096];
    for (;;) {
        const ssize_t got = pread(descriptor_, part, sizeof part, static_cast<off_t>(text.size()));
        if (got <= 0)
            return text;
        text.append(part, static_cast<size_t>(got));
    }
}

} // namespace kxinfo
