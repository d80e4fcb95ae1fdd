#pragma once

#include "camera.h"

#include <csignal>
#include <string>
#include <vector>

namespace simcam {

/// A file descriptor that is closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor();
    Descriptor(Descriptor &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor &operator=(Descriptor &&) = delete;

    int get() const { return fd_; }

private:
    int fd_;
};

/// "127.0.0.2" for an address in host byte order.
std::string dotted(std::uint32_t address);

/**
 * The sockets of some cameras: one for each camera at its own address, one for all that hears
 * broadcasts. Several servers on one host share the broadcasts; an address serves one camera.
 */
class Server {
public:
    /// Opens the sockets and takes SIGTERM, SIGINT and SIGUSR1 over from here on. The cameras
    /// outlive the server. Throws std::runtime_error with a sentence that says what is in the way.
    explicit Server(std::vector<Camera> &cameras);

    /// Serves until SIGTERM or SIGINT, or until SIGUSR1. Returns the signal's number.
    int run();

private:
    /// Reads what has arrived at a socket and hands it to the cameras [first, last).
    void receive(const Descriptor &socket, std::size_t first, std::size_t last, Delivery delivery);
    void send(std::size_t camera, const Bytes &answer, const Endpoint &to) const;

    std::vector<Camera> &cameras_;
    Descriptor signals_;
    Descriptor broadcasts_;
    std::vector<Descriptor> sockets_; // as cameras_
};

} // namespace simcam
