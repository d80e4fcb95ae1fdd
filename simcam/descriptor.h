#ifndef KXINFO_SIMCAM_DESCRIPTOR_H
#define KXINFO_SIMCAM_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace simcam {

/** A file descriptor that is closed with its owner. */
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }

    int get() const { return fd_; }

    /** get() is -1 from here on. */
    void close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
};

} // namespace simcam

#endif
