#include "cli/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace kxinfo {

namespace {

volatile std::sig_atomic_t asked = 0;

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
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no more is told as any other
}

void writeOut(std::string_view text) {
    (void)fwrite(text.data(), 1, text.size(), stdout);
}

bool brokenPipe() {
    pollfd reader{STDOUT_FILENO, POLLOUT, 0};
    return ferror(stdout) && poll(&reader, 1, 0) == 1 && (reader.revents & (POLLERR | POLLHUP));
}

bool finishStandardOutput() {
    (void)fflush(stdout);
    if (brokenPipe())
        dieOf(SIGPIPE);
    return !ferror(stdout);
}

StandardOutputTo::StandardOutputTo(int descriptor)
    : saved_(checked(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "standard output")) {
    (void)fflush(stdout);
    (void)checked(dup2(descriptor, STDOUT_FILENO), "standard output");
}

StandardOutputTo::~StandardOutputTo() {
    // What the other place does not take is dropped, and no fault of standard output.
    (void)fflush(stdout);
    clearerr(stdout);
    (void)dup2(saved_.get(), STDOUT_FILENO);
}

MemoryFile::MemoryFile()
    : file_(checked(memfd_create("kxinfo-output", MFD_CLOEXEC), "a file in memory")) {}

size_t MemoryFile::size() const {
    struct stat about = {};
    return fstat(file_.get(), &about) == 0 ? static_cast<size_t>(about.st_size) : 0;
}

std::string MemoryFile::text() const {
    std::string text(size(), '\0');
    const ssize_t got = pread(file_.get(), text.data(), text.size(), 0);
    text.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return text;
}

const volatile std::sig_atomic_t *stopOnSignals() {
    struct sigaction action = {};
    action.sa_handler = [](int signal) { asked = signal; };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction present = {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            (void)sigaction(signal, &action, nullptr);
    }
    return &asked;
}

int stopSignal() {
    return asked;
}

void dieOf(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t none{};
    (void)sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    (void)raise(signal);
    _exit(128 + signal);
}

} // namespace kxinfo
