#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <tuple>
#include <utility>

#include "gvcp/description.h"
#include "gvcp/descriptor.h"
#include "gvcp/error.h"
#include "gvcp/packets.h"

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

// A block of so many bytes takes one command at any address: commands begin and end at multiples
// of 4.
constexpr size_t kProof = kLargestBlock - 4;
constexpr size_t kLargestDirectory = 2 * kLargestBlock - 4;

size_t between(size_t least, size_t most) {
    std::random_device random;
    return std::uniform_int_distribution<size_t>(least, most)(random);
}

// What of \p content is compared with the camera's before that is believed to have all of it.
// Nothing: such a description is not kept.
std::vector<std::string_view> proofsOf(std::string_view content) {
    static_assert(DescriptionCache::kNeverKeptText >= 3 * kProof);
    const size_t size = content.size();
    if (isArchive(content)) {
        try {
            const size_t directory = directoryOffset(content);
            if (size - directory <= kLargestDirectory)
                return {content.substr(directory), content.substr(0, kProof)};
        } catch (const Error &) {
            // Kept by a version of this program that took it.
        }
        return {};
    }
    if (size <= DescriptionCache::kNeverKeptText)
        return {};
    const size_t last = size - kProof;
    return {content.substr(0, kProof), content.substr(last),
            content.substr(between(kProof, last - kProof), kProof)};
}

bool cameraHas(Memory &camera, const LocalUrl &url, std::string_view content) {
    const std::vector<std::string_view> proofs = proofsOf(content);
    const auto equals = [&](std::string_view part) {
        std::string there(part.size(), '\0');
        camera.read(url.address + static_cast<uint32_t>(part.data() - content.data()),
                    reinterpret_cast<uint8_t *>(there.data()), there.size());
        return there == part;
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

// Also tells what somebody changed by mistake.
std::string sumOf(std::string_view bytes) {
    return hex(std::hash<std::string_view>()(bytes));
}

// Whether a file of that name is one of the cache's, finished or left behind unfinished.
bool isCacheName(std::string_view name) {
    const std::string_view end = name.substr(std::min(name.size(), kHexDigits));
    return (end == kFileEnd || end == kUnfinishedEnd) &&
           name.find_first_not_of("0123456789abcdef") == kHexDigits;
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
    // Whether something could be made or opened shows at the end: nothing lies in no folder.
    if (missing == Missing::IsMade && place.makeBase)
        (void)mkdir(place.base.c_str(), kMode);
    Descriptor folder(open(place.base.c_str(), kFlags));
    for (const std::string &name : place.below) {
        if (missing == Missing::IsMade)
            (void)mkdirat(folder.get(), name.c_str(), kMode);
        Descriptor next(openat(folder.get(), name.c_str(), kFlags | O_NOFOLLOW));
        if (!isOnlyOurs(next, S_IFDIR))
            return Descriptor();
        folder = std::move(next);
    }
    return place.below.empty() ? Descriptor() : std::move(folder);
}

// Deletes the oldest files until one more of \p size bytes is within the bounds. The one that it
// replaces does not count.
void makeRoom(const Descriptor &folder, const std::string &replaced, uint64_t size,
              const CacheBounds &bounds) {
    Descriptor again(openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, int (*)(DIR *)> list(fdopendir(again.get()), closedir);
    if (!list)
        return;
    again.release();
    std::map<std::tuple<time_t, long, std::string>, uint64_t> files; // by age
    while (const dirent *entry = readdir(list.get())) {
        struct stat status;
        if (!isCacheName(entry->d_name) || entry->d_name == replaced ||
            fstatat(folder.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(status.st_mode))
            continue;
        const auto bytes = static_cast<uint64_t>(status.st_size);
        files[{status.st_mtim.tv_sec, status.st_mtim.tv_nsec, entry->d_name}] = bytes;
        size += bytes;
    }
    while (!files.empty() && (size > bounds.bytes || files.size() + 1 > bounds.files)) {
        const auto oldest = files.begin();
        unlinkat(folder.get(), std::get<std::string>(oldest->first).c_str(), 0);
        size -= oldest->second;
        files.erase(oldest);
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
    const std::string head = headOf(key, url);
    const Descriptor folder = openFolder(place_, Missing::IsLeft);
    // Not to wait for whoever writes, should it be a pipe.
    const Descriptor file(openat(folder.get(), (sumOf(head) + kFileEnd).c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const size_t before = head.size() + kHexDigits + 1;
    std::string kept(before + url.size + 1, '\0'); // one byte more than it may have
    if (!isOnlyOurs(file, S_IFREG) ||
        read(file.get(), kept.data(), kept.size()) != static_cast<ssize_t>(kept.size() - 1))
        return std::nullopt;
    std::string content = kept.substr(before, url.size);
    if (kept.compare(0, before, head + sumOf(content) + '\n') != 0 ||
        !cameraHas(camera, url, content))
        return std::nullopt;
    return content;
}

void DescriptionCache::keep(const DescriptionKey &key, const LocalUrl &url,
                            std::string_view content) const {
    const std::string head = headOf(key, url);
    const std::string kept = head + sumOf(content) + '\n' + std::string(content);
    if (proofsOf(content).empty() || kept.size() > bounds_.bytes || !mayWrite(kept.size()))
        return;
    const Descriptor folder = openFolder(place_, Missing::IsMade);
    const std::string name = sumOf(head) + kFileEnd;
    makeRoom(folder, name, kept.size(), bounds_);

    const std::string unfinished = hex(between(0, SIZE_MAX)) + kUnfinishedEnd;
    const Descriptor file(openat(folder.get(), unfinished.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file && (write(file.get(), kept.data(), kept.size()) != static_cast<ssize_t>(kept.size()) ||
                 renameat(folder.get(), unfinished.c_str(), folder.get(), name.c_str()) != 0))
        unlinkat(folder.get(), unfinished.c_str(), 0);
}

} // namespace gvcp
