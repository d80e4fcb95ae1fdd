#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "words.h"

namespace kxinfo {

namespace {

namespace fs = std::filesystem;

constexpr size_t kLongestFile = 16 << 20;

std::string errorText(int error) {
    return std::generic_category().message(error);
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int number() const { return number_; }

private:
    int number_;
};

// Where symbolic links lead to, if only the last of them names nothing yet.
fs::path followed(fs::path file) {
    std::error_code error;
    while (fs::is_symlink(file, error))
        file = file.parent_path() / fs::read_symlink(file);
    return file;
}

mode_t modeOfNewFiles() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

bool areTheSame(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

std::string readFile(const std::string &name, const std::string &expected) {
    const std::string quoted = '"' + name + '"';
    const auto fail = [&quoted](int error) {
        throw CommandError{kWrongUsage, quoted + " cannot be read: " + errorText(error) + "."};
    };
    const Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0)
        fail(errno);
    std::string text;
    while (text.size() <= kLongestFile) {
        char part[1 << 16];
        const ssize_t got = read(file.number(), part, sizeof part);
        if (got < 0 && errno != EINTR)
            fail(errno);
        if (got == 0)
            break;
        if (got > 0)
            text.append(part, static_cast<size_t>(got));
    }
    if (text.size() > kLongestFile)
        throw CommandError{kWrongUsage, quoted + " is longer than 16 MiB. " + expected};
    if (text.empty())
        throw CommandError{kWrongUsage, quoted + " is empty. " + expected};
    return text;
}

NewFile::NewFile(std::string name) : name_(std::move(name)) {
    struct stat present = {};
    const bool exists = stat(name_.c_str(), &present) == 0;
    if (!exists && (errno != ENOENT || name_.empty()))
        fail(errno);
    struct stat out = {};
    isStandardOutput_ = exists && fstat(STDOUT_FILENO, &out) == 0 && areTheSame(present, out);
    const fs::path target = followed(name_);
    // A stream of this process may be a file that has no name any more.
    struct stat named = {};
    if (exists && !(S_ISREG(present.st_mode) && stat(target.c_str(), &named) == 0 &&
                    areTheSame(present, named))) {
        descriptor_ = open(name_.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC);
        if (descriptor_ < 0)
            fail(errno);
        return;
    }
    target_ = target;
    std::string temporary = target.parent_path() / ".kxinfo-XXXXXX";
    descriptor_ = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor_ < 0)
        fail(errno);
    temporary_ = std::move(temporary);
    // Some file systems have no modes to keep.
    (void)fchmod(descriptor_, exists ? present.st_mode & 07777U : modeOfNewFiles());
}

NewFile::~NewFile() {
    if (descriptor_ >= 0)
        close(descriptor_);
    if (!temporary_.empty())
        (void)unlink(temporary_.c_str());
}

void NewFile::write(const std::string &text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t put = ::write(descriptor_, text.data() + done, text.size() - done);
        if (put < 0 && errno != EINTR)
            fail(errno);
        if (put > 0)
            done += static_cast<size_t>(put);
    }
    if (!temporary_.empty() && fsync(descriptor_) < 0)
        fail(errno);
    const int closed = close(descriptor_);
    descriptor_ = -1;
    if (closed < 0)
        fail(errno);
    if (temporary_.empty())
        return;
    if (rename(temporary_.c_str(), target_.c_str()) < 0)
        fail(errno);
    temporary_.clear();
}

void NewFile::fail(int error) {
    throw CommandError{kFailed, "\"" + name_ + "\" cannot be written: " + errorText(error) + "."};
}

} // namespace kxinfo
