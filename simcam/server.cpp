#include "server.h"

#include "text.h"
#include "values.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace simcam {

namespace {

// Packets that are read from one socket before the others have their turn.
constexpr int kMaxBurst = 64;

// Any port that is free.
constexpr uint16_t kAnyPort = 0;

sockaddr_in toSocketAddress(uint32_t address, uint16_t port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(address);
    to.sin_port = htons(port);
    return to;
}

Descriptor openSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    Descriptor descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
    if (descriptor.get() < 0)
        throw std::runtime_error(std::string("signals cannot be received: ") + strerror(errno));
    return descriptor;
}

Descriptor openSocket(uint32_t address, uint16_t port, bool shared, const std::string &purpose) {
    Descriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int yes = 1;
    const sockaddr_in at = toSocketAddress(address, port);
    if (descriptor.get() >= 0 &&
        (!shared ||
         setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0) &&
        bind(descriptor.get(), reinterpret_cast<const sockaddr *>(&at), sizeof at) == 0)
        return descriptor;

    const std::string where = dotted(address) + " port " + std::to_string(port);
    if (errno == EADDRINUSE)
        throw std::runtime_error(purpose + ": " + where +
                                 " is taken by another camera or program. Choose another address.");
    if (errno == EADDRNOTAVAIL)
        throw std::runtime_error(purpose + ": no network interface of this host has the address " +
                                 dotted(address) + ". Choose one that has, or add it to one.");
    throw std::runtime_error(purpose + ": " + where + ": " + strerror(errno));
}

// Sockets at the cameras' addresses, none where a camera needs none.
template <typename IsNeeded>
std::vector<Descriptor> openSockets(const std::vector<Camera> &cameras, uint16_t port,
                                    const IsNeeded &isNeeded) {
    std::vector<Descriptor> sockets;
    sockets.reserve(cameras.size());
    for (const Camera &camera : cameras)
        sockets.push_back(isNeeded(camera) ? openSocket(camera.identity().address, port, false,
                                                        "camera " + camera.identity().serial +
                                                            " cannot be served")
                                           : Descriptor(-1));
    return sockets;
}

} // namespace

Server::Server(std::vector<Camera> &cameras, bool isWatched)
    : cameras_(cameras),
      isWatched_(isWatched),
      signals_(openSignals()),
      broadcasts_(openSocket(INADDR_BROADCAST, kPort, true, "broadcasts cannot be heard")),
      sockets_(openSockets(cameras, kPort, [](const Camera &) { return true; })),
      otherPorts_(openSockets(cameras, kAnyPort, [](const Camera &camera) {
          return !camera.faults().wrong.isNone();
      })) {
    for (size_t i = 0; i < cameras.size(); ++i)
        closeIfLeaving(i);
}

int Server::run() {
    std::vector<pollfd> polled;
    for (;;) {
        sendDue();
        polled = {{signals_.get(), POLLIN, 0}, {broadcasts_.get(), POLLIN, 0}};
        for (const Descriptor &socket : sockets_)
            polled.push_back({socket.get(), POLLIN, 0}); // a closed one is passed over
        if (poll(polled.data(), polled.size(), untilNextDue()) < 0 && errno != EINTR)
            throw std::runtime_error(std::string("waiting for packets: ") + strerror(errno));
        if (polled[0].revents) {
            signalfd_siginfo signal{};
            if (read(signals_.get(), &signal, sizeof signal) == sizeof signal)
                return static_cast<int>(signal.ssi_signo);
        }
        if (polled[1].revents)
            readFrom(broadcasts_, 0, cameras_.size(), Delivery::Broadcast);
        for (size_t i = 0; i < sockets_.size(); ++i) {
            if (polled[i + 2].revents)
                readFrom(sockets_[i], i, i + 1, Delivery::Unicast);
        }
    }
}

void Server::readFrom(const Descriptor &socket, size_t first, size_t last, Delivery delivery) {
    uint8_t packet[65536];
    for (int i = 0; i < kMaxBurst; ++i) {
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t size = recvfrom(socket.get(), packet, sizeof packet, 0,
                                      reinterpret_cast<sockaddr *>(&from), &length);
        if (size < 0)
            return;
        const Endpoint sender{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)};
        for (size_t camera = first; camera < last; ++camera)
            receive(camera, packet, static_cast<size_t>(size), sender, delivery);
    }
}

void Server::receive(size_t camera, const uint8_t *packet, size_t size, const Endpoint &sender,
                     Delivery delivery) {
    if (cameras_[camera].isGone())
        return; // nobody is there
    const auto now = Clock::now();
    Outcome outcome = cameras_[camera].receive(packet, size, sender, delivery, now);
    if (outcome.forcedTo && !move(camera, *outcome.forcedTo)) {
        outcome.kind = Outcome::Kind::Dropped;
        outcome.answer.reset();
    }
    if (isWatched_) {
        std::printf(
            "%s\n",
            watcher_.line(cameras_[camera], packet, size, sender, delivery, outcome, now).c_str());
        std::fflush(stdout);
    }
    if (outcome.kind == Outcome::Kind::Done && delivery == Delivery::Unicast)
        outbox_.endPending(camera, sender);
    if (outcome.answer)
        outbox_.add(camera, sender, dispatch(*outcome.answer, outcome.befallen), now);
    sendDue();
    if (cameras_[camera].isSilent())
        outbox_.endPending(camera);
    closeIfLeaving(camera);
}

bool Server::move(size_t camera, const Place &place) {
    Camera &moving = cameras_[camera];
    try {
        if (place.address != moving.identity().address) {
            const std::string purpose = "camera " + moving.identity().serial + " stays at " +
                                        dotted(moving.identity().address);
            Descriptor socket = openSocket(place.address, kPort, false, purpose);
            if (otherPorts_[camera].get() >= 0)
                otherPorts_[camera] = openSocket(place.address, kAnyPort, false, purpose);
            sockets_[camera] = std::move(socket);
        }
    } catch (const std::runtime_error &why) {
        std::fprintf(stderr, "kxinfo-simcam: %s\n", printable(why.what()).c_str());
        return false;
    }
    moving.moveTo(place);
    return true;
}

void Server::sendDue() {
    const auto now = Clock::now();
    while (const auto packet = outbox_.take(now)) {
        send(*packet);
        closeIfLeaving(packet->camera);
    }
}

// A packet that cannot be sent is lost, as on any network.
void Server::send(const Outbox::Packet &packet) {
    if (isLeaving(packet.camera)) {
        // Whoever answers the camera's last words at once must learn that nobody listens: the
        // socket takes packets from itself alone before it is closed.
        const sockaddr_in self = toSocketAddress(cameras_[packet.camera].identity().address, kPort);
        static_cast<void>(connect(sockets_[packet.camera].get(),
                                  reinterpret_cast<const sockaddr *>(&self), sizeof self));
    }
    const auto &sockets = packet.what.isFromOtherPort ? otherPorts_ : sockets_;
    const Bytes &bytes = packet.what.packet;
    const sockaddr_in address = toSocketAddress(packet.to.address, packet.to.port);
    sendto(sockets[packet.camera].get(), bytes.data(), bytes.size(), 0,
           reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

bool Server::isLeaving(size_t camera) const {
    return cameras_[camera].isGone() && outbox_.isDoneFor(camera);
}

void Server::closeIfLeaving(size_t camera) {
    if (!isLeaving(camera))
        return;
    sockets_[camera].close();
    otherPorts_[camera].close();
}

int Server::untilNextDue() const {
    const auto due = outbox_.nextDue();
    if (!due)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

} // namespace simcam
