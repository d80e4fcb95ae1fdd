/** A file descriptor that closes itself. */
#ifndef KXINFO_GVCP_DESCRIPTOR_H
#define KXINFO_GVCP_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace gvcp {

class Descriptor {
public:
    /** \param fd  taken over; negative for none */
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() {
        if (fd_ >= 0)
            close(fd_);
    }

    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_;
};

} // namespace gvcp

#endif
