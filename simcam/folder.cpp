#include "folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <stdexcept>

namespace simcam {

Folder::Folder(const std::string &path)
    : path_(path), descriptor_(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

void Folder::put(const std::string &name, const std::string &content) const {
    const int folder = descriptor_.get();
    const auto size = static_cast<ssize_t>(content.size());
    const std::string unfinished = "." + name + "." + std::to_string(std::random_device{}());
    errno = ENOSPC; // unless another reason is told
    const Descriptor file(openat(folder, unfinished.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (file.get() >= 0 && write(file.get(), content.data(), content.size()) == size &&
        fsync(file.get()) == 0 && renameat(folder, unfinished.c_str(), folder, name.c_str()) == 0)
        return;
    const int error = errno;
    if (file.get() >= 0)
        unlinkat(folder, unfinished.c_str(), 0);
    throw std::runtime_error("'" + path_ + "/" + name + "' cannot be written: " + strerror(error));
}

} // namespace simcam
