#include "cli/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>
#include <utility>

#include "cli/process.h"
#include "cli/text.h"

namespace kxinfo {

using gvcp::Descriptor;

namespace {

// Three tables of 16 bits, one entry a line with its index, take 2 MiB; a file of settings less.
constexpr size_t kLargestFile = 16 << 20;

constexpr const char *kByteOrderMark = "\xEF\xBB\xBF";

std::string errorText(int error) {
    return std::generic_category().message(error);
}

const char *nameOfType(mode_t mode) {
    return S_ISDIR(mode)    ? "a folder"
           : S_ISFIFO(mode) ? "a pipe"
           : S_ISSOCK(mode) ? "a socket"
                            : "a device";
}

// Somebody else's pipe or link has been put there for a purpose that is not the user's.
bool isTrusted(const struct stat &file) {
    return file.st_uid == geteuid() || file.st_uid == 0;
}

bool isSame(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

std::string readFile(const std::string &name, const std::string &expected) {
    const bool standard = name == "-";
    const std::string quoted = standard ? "standard input" : '"' + name + '"';
    const auto refuse = [&](const std::string &why) {
        throw Error(kWrongUsage, quoted, " cannot be read: ", why);
    };
    // Neither opening nor reading waits: a device might for ever.
    const Descriptor opened(
        standard ? -1 : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    const int file = standard ? STDIN_FILENO : opened.get();
    struct stat about = {};
    if (file < 0 || fstat(file, &about) < 0)
        refuse(errorText(errno) + ".");
    if (!standard && !S_ISREG(about.st_mode) && !S_ISFIFO(about.st_mode))
        refuse(std::string("it is ") + nameOfType(about.st_mode) +
               "; expected is a regular file, a pipe, or - for standard input.");
    std::string text;
    while (text.size() <= kLargestFile) {
        pollfd ready = {file, POLLIN, 0};
        if (S_ISFIFO(about.st_mode)) // a named pipe has ended until somebody writes to it
            (void)poll(&ready, 1, -1);
        char part[1 << 16];
        const ssize_t got = read(file, part, sizeof part);
        if (got < 0 && errno != EINTR && !(errno == EAGAIN && S_ISFIFO(about.st_mode)))
            refuse(errorText(errno) + ".");
        if (got == 0)
            break;
        if (got > 0)
            text.append(part, static_cast<size_t>(got));
    }
    if (text.size() <= kLargestFile && text.rfind(kByteOrderMark, 0) == 0)
        text.erase(0, strlen(kByteOrderMark));
    if (text.empty() || text.size() > kLargestFile)
        throw Error(kWrongUsage, quoted, text.empty() ? " is empty. " : " is longer than 16 MiB. ",
                    expected);
    return text;
}

NewFile::NewFile(std::string name) : name_(std::move(name)) {
    struct stat leads = {};
    struct stat out = {};
    const bool exists = stat(name_.c_str(), &leads) == 0;
    isStandardOutput_ =
        name_ == "-" || (exists && fstat(STDOUT_FILENO, &out) == 0 && isSame(leads, out));
    if (isStandardOutput_)
        return;
    const size_t slash = name_.rfind('/');
    last_ = slash == name_.npos ? name_ : name_.substr(slash + 1);
    const std::string folder = slash == name_.npos ? "." : name_.substr(0, slash + 1);
    folder_ = Descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (name_.empty() || !folder_)
        fail(name_.empty() ? ENOENT : errno);
    struct stat present = {};
    if (fstatat(folder_.get(), last_.c_str(), &present, AT_SYMLINK_NOFOLLOW) < 0) {
        if (last_.empty() || errno != ENOENT)
            fail(last_.empty() ? EISDIR : errno);
    } else if (S_ISREG(present.st_mode)) {
        if (present.st_uid == geteuid())
            keptMode_ = static_cast<int>(present.st_mode & 0777U);
    } else if (S_ISLNK(present.st_mode) &&
               (!isTrusted(present) || !exists || S_ISREG(leads.st_mode))) {
        fail("it is a symbolic link" + std::string(isTrusted(present) ? "" : " of another user") +
             ". Name the file itself, or remove the link.");
    } else if (!(S_ISCHR(leads.st_mode) || (S_ISFIFO(leads.st_mode) && isTrusted(leads)))) {
        fail(std::string("it is ") + nameOfType(leads.st_mode) +
             (S_ISFIFO(leads.st_mode) ? " of another user." : ".") + " Give another name.");
    } else {
        target_ = Descriptor(open(name_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        if (!target_)
            fail(errno);
        struct stat now = {};
        if (fstat(target_.get(), &now) < 0 || !isSame(now, leads))
            fail("another file has taken its place meanwhile.");
        return;
    }
    if (faccessat(folder_.get(), ".", W_OK | X_OK, AT_EACCESS) < 0)
        fail(errno);
}

void NewFile::write(const std::string &text) {
    if (isStandardOutput_)
        return writeOut(text);
    if (target_)
        return writeThrough(target_.get(), text);
    // Made under the name that it ends with or under none: what fails in between is removed.
    const std::string temporary = ".kxinfo-" + std::to_string(std::random_device()());
    const Descriptor file(openat(folder_.get(), temporary.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 keptMode_ < 0 ? 0666 : 0600));
    if (!file)
        fail(errno);
    if (keptMode_ >= 0) // some file systems have no modes to keep
        (void)fchmod(file.get(), static_cast<mode_t>(keptMode_));
    try {
        writeThrough(file.get(), text);
        if (renameat(folder_.get(), temporary.c_str(), folder_.get(), last_.c_str()) < 0)
            fail(errno);
    } catch (...) {
        (void)unlinkat(folder_.get(), temporary.c_str(), 0);
        throw;
    }
    toDisk(folder_.get());
}

void NewFile::writeThrough(int file, const std::string &text) const {
    for (size_t done = 0; done < text.size();) {
        const ssize_t put = ::write(file, text.data() + done, text.size() - done);
        if (put < 0 && errno != EINTR)
            fail(errno);
        if (put > 0)
            done += static_cast<size_t>(put);
    }
    toDisk(file);
}

void NewFile::toDisk(int file) const {
    if (fsync(file) < 0 && errno != EINVAL && errno != EROFS) // pipes, devices, some folders
        fail(errno);
}

void NewFile::fail(int error) const {
    fail(errorText(error) + ".");
}

void NewFile::fail(const std::string &why) const {
    throw Error(kFailed, '"', name_, "\" cannot be written: ", why);
}

} // namespace kxinfo
