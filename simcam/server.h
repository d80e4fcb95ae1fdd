#pragma once

#include "camera.h"
#include "outbox.h"
#include "watch.h"

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
    void close(); // get() is -1 from here on

private:
    int fd_;
};

/**
 * The sockets of some cameras: one for each camera at its own address, one for all that hears
 * broadcasts. Several servers on one host share the broadcasts; an address serves one camera.
 */
class Server {
public:
    /// Opens the sockets and takes SIGTERM, SIGINT and SIGUSR1 over from here on. The cameras
    /// outlive the server. Whoever watches is told each packet in a line of standard output.
    /// Throws std::runtime_error with a sentence that says what is in the way.
    Server(std::vector<Camera> &cameras, bool isWatched);

    /// Serves until SIGTERM or SIGINT, or until SIGUSR1. Returns the signal's number.
    int run();

private:
    /// Reads what has arrived at a socket and hands it to the cameras [first, last).
    void readFrom(const Descriptor &socket, std::size_t first, std::size_t last, Delivery delivery);
    void receive(std::size_t camera, const std::uint8_t *packet, std::size_t size,
                 const Endpoint &sender, Delivery delivery);

    /// Sends the packets whose time has come.
    void sendDue();
    void send(const Outbox::Packet &packet);

    /// Whether a camera has died and has said all that it had begun to say. Its socket is closed
    /// then, and hosts are told that nobody listens at its address.
    bool isLeaving(std::size_t camera) const;
    void closeIfLeaving(std::size_t camera);

    /// Milliseconds until the next late packet is due, -1 if none waits.
    int untilNextDue() const;

    std::vector<Camera> &cameras_;
    bool isWatched_;
    Watcher watcher_;
    Outbox outbox_;
    Descriptor signals_;
    Descriptor broadcasts_;
    std::vector<Descriptor> sockets_;    // as cameras_
    std::vector<Descriptor> otherPorts_; // as cameras_, closed where nothing is sent from there
};

} // namespace simcam
