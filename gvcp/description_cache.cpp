#include "gvcp/description_cache.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <tuple>
#include <utility>

#include "gvcp/archive.h"
#include "gvcp/checksum.h"
#include "gvcp/descriptor.h"
#include "gvcp/error.h"
#include "gvcp/memory.h"

// A file is a head, which says what it is of, the check sum of the content, and the content. The
// head is made anew for each question and compared whole, so nothing has to be parsed. A file
// is written under another name and then given its own, so that readers see it whole or not at all;
// should it lose its content afterwards, with the computer's power, the check sum tells.
//
// Every step goes from an open folder to what lies in it, and looks at what it has opened: whatever
// others do to the path meanwhile, nothing of theirs is read or written.

namespace gvcp {
namespace {

constexpr char kFormat[] = "kxinfo-dalsa description 1\n";
constexpr char kFileEnd[] = ".description";
constexpr char kUnfinishedEnd[] = ".new";
constexpr size_t kHexDigits = 16;
constexpr size_t kSumSize = kHexDigits + 1; // and a line's end

// A block of so many bytes takes one command at any address: commands begin and end at multiples
// of 4.
constexpr size_t kProof = kLargestBlock - 4;
constexpr size_t kLargestDirectory = 2 * kLargestBlock - 4;

struct Block {
    size_t offset;
    size_t size;
};

size_t between(size_t least, size_t most) {
    std::random_device random;
    return std::uniform_int_distribution<size_t>(least, most)(random);
}

// What of \p content the camera is asked for before it is believed to have all of it. Nothing:
// such a description is not kept.
std::vector<Block> proofsOfText(std::string_view content) {
    static_assert(DescriptionCache::kNeverKeptText >= 3 * kProof);
    if (content.size() <= DescriptionCache::kNeverKeptText)
        return {};
    const size_t last = content.size() - kProof;
    return {{0, kProof}, {last, kProof}, {between(kProof, last - kProof), kProof}};
}

std::vector<Block> proofsOf(std::string_view content) {
    if (!isArchive(content))
        return proofsOfText(content);
    try {
        const size_t directory = directoryOffset(content);
        const size_t size = content.size() - directory;
        if (size > kLargestDirectory)
            return {};
        return {{directory, size}, {0, std::min(content.size(), kProof)}};
    } catch (const Error &) {
        return {};
    }
}

bool cameraHas(Memory &camera, const LocalUrl &url, std::string_view content) {
    const std::vector<Block> proofs = proofsOf(content);
    const auto equals = [&](const Block &block) {
        std::string there(block.size, '\0');
        camera.read(static_cast<uint32_t>(url.address + block.offset),
                    reinterpret_cast<uint8_t *>(there.data()), there.size());
        return there == content.substr(block.offset, block.size);
    };
    return !proofs.empty() && std::all_of(proofs.begin(), proofs.end(), equals);
}

std::string hex(uint64_t number) {
    char text[kHexDigits + 1];
    snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
    return text;
}

// Each text with its length before it, so that no two cameras have the same head.
std::string headOf(const DescriptionKey &key, const LocalUrl &url) {
    std::string head = kFormat;
    for (const std::string &text : {key.maker, key.model, key.version, url.text})
        head += std::to_string(text.size()) + ':' + text + '\n';
    return head;
}

std::string fileName(const std::string &head) {
    return hex(checkSum(head)) + kFileEnd;
}

bool takeHex(std::string_view &name) {
    if (name.size() < kHexDigits || name.find_first_not_of("0123456789abcdef") < kHexDigits)
        return false;
    name.remove_prefix(kHexDigits);
    return true;
}

// Whether a file of that name is one of the cache's, finished or left behind unfinished.
bool isCacheName(std::string_view name) {
    if (!takeHex(name))
        return false;
    if (name == kFileEnd)
        return true;
    if (name.empty() || name.front() != '.')
        return false;
    name.remove_prefix(1);
    return takeHex(name) && name == kUnfinishedEnd;
}

bool isOnlyOurs(const Descriptor &file, mode_t type) {
    struct stat status;
    return fstat(file.get(), &status) == 0 && (status.st_mode & S_IFMT) == type &&
           status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

enum class Missing { IsLeft, IsMade };

Descriptor openFolder(const CachePlace &place, Missing missing) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    constexpr mode_t kMode = S_IRWXU;
    // Whether something could be made shows when it is opened.
    if (missing == Missing::IsMade && place.makeBase)
        (void)mkdir(place.base.c_str(), kMode);
    Descriptor folder(open(place.base.c_str(), kFlags));
    for (const std::string &name : place.below) {
        if (!folder)
            break;
        if (missing == Missing::IsMade)
            (void)mkdirat(folder.get(), name.c_str(), kMode);
        Descriptor next(openat(folder.get(), name.c_str(), kFlags | O_NOFOLLOW));
        if (!next || !isOnlyOurs(next, S_IFDIR))
            return Descriptor();
        folder = std::move(next);
    }
    return place.below.empty() ? Descriptor() : std::move(folder);
}

bool readWhole(const Descriptor &file, std::string &to) {
    for (size_t done = 0; done < to.size();) {
        const ssize_t size = read(file.get(), &to[done], to.size() - done);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return false;
        done += static_cast<size_t>(size);
    }
    return true;
}

bool writeWhole(const Descriptor &file, std::string_view from) {
    while (!from.empty()) {
        const ssize_t size = write(file.get(), from.data(), from.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return false;
        from.remove_prefix(static_cast<size_t>(size));
    }
    return true;
}

std::optional<std::string> readKept(const Descriptor &folder, const std::string &head,
                                    size_t size) {
    // Not to wait for whoever writes, should it be a pipe.
    const Descriptor file(openat(folder.get(), fileName(head).c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (!file || !isOnlyOurs(file, S_IFREG) || fstat(file.get(), &status) != 0 ||
        static_cast<uint64_t>(status.st_size) != head.size() + kSumSize + size)
        return std::nullopt;
    std::string before(head.size() + kSumSize, '\0');
    std::string content(size, '\0');
    if (!readWhole(file, before) || !readWhole(file, content) ||
        before != head + hex(checkSum(content)) + '\n')
        return std::nullopt;
    return content;
}

struct KeptFile {
    timespec written;
    uint64_t size;
    std::string name;
};

bool isOlder(const KeptFile &a, const KeptFile &b) {
    return std::tie(a.written.tv_sec, a.written.tv_nsec, a.name) <
           std::tie(b.written.tv_sec, b.written.tv_nsec, b.name);
}

std::vector<KeptFile> filesIn(const Descriptor &folder) {
    struct Close {
        void operator()(DIR *list) const { closedir(list); }
    };
    const int again = openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (again < 0)
        return {};
    const std::unique_ptr<DIR, Close> list(fdopendir(again));
    if (!list) {
        close(again);
        return {};
    }
    std::vector<KeptFile> files;
    while (const dirent *entry = readdir(list.get())) {
        struct stat status;
        if (isCacheName(entry->d_name) &&
            fstatat(folder.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode))
            files.push_back({status.st_mtim, static_cast<uint64_t>(status.st_size), entry->d_name});
    }
    return files;
}

// Deletes the oldest files until one more of \p size bytes is within the bounds. The one that it
// replaces does not count.
void makeRoom(const Descriptor &folder, const std::string &replaced, uint64_t size,
              const CacheBounds &bounds) {
    std::vector<KeptFile> files = filesIn(folder);
    files.erase(std::remove_if(files.begin(), files.end(),
                               [&](const KeptFile &file) { return file.name == replaced; }),
                files.end());
    std::sort(files.begin(), files.end(), isOlder);
    uint64_t total = size;
    for (const KeptFile &file : files)
        total += file.size;
    size_t count = files.size() + 1;
    for (const KeptFile &file : files) {
        if (total <= bounds.bytes && count <= bounds.files)
            break;
        unlinkat(folder.get(), file.name.c_str(), 0);
        total -= file.size;
        --count;
    }
}

// A file above the process' limit would not fail, but end the process by a signal.
bool mayWrite(uint64_t size) {
    rlimit limit;
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
           (limit.rlim_cur == RLIM_INFINITY || size <= limit.rlim_cur);
}

} // namespace

DescriptionCache::DescriptionCache(CachePlace place, CacheBounds bounds)
    : place_(std::move(place)), bounds_(bounds) {}

std::optional<std::string> DescriptionCache::find(Memory &camera, const DescriptionKey &key,
                                                  const LocalUrl &url) const {
    const Descriptor folder = openFolder(place_, Missing::IsLeft);
    if (!folder)
        return std::nullopt;
    std::optional<std::string> content = readKept(folder, headOf(key, url), url.size);
    if (content && !cameraHas(camera, url, *content))
        content.reset();
    return content;
}

void DescriptionCache::keep(const DescriptionKey &key, const LocalUrl &url,
                            std::string_view content) const {
    const std::string head = headOf(key, url);
    const uint64_t size = head.size() + kSumSize + content.size();
    if (proofsOf(content).empty() || size > bounds_.bytes || bounds_.files == 0 || !mayWrite(size))
        return;
    const Descriptor folder = openFolder(place_, Missing::IsMade);
    if (!folder)
        return;
    const std::string name = fileName(head);
    makeRoom(folder, name, size, bounds_);

    const std::string unfinished =
        hex(checkSum(head)) + '.' + hex(between(0, SIZE_MAX)) + kUnfinishedEnd;
    const Descriptor file(openat(folder.get(), unfinished.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
    if (!file)
        return;
    if (!writeWhole(file, head + hex(checkSum(content)) + '\n') || !writeWhole(file, content) ||
        renameat(folder.get(), unfinished.c_str(), folder.get(), name.c_str()) != 0)
        unlinkat(folder.get(), unfinished.c_str(), 0);
}

} // namespace gvcp
