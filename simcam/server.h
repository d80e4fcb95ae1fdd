#ifndef KXINFO_SIMCAM_SERVER_H
#define KXINFO_SIMCAM_SERVER_H

#include "camera.h"
#include "descriptor.h"
#include "outbox.h"
#include "watch.h"

#include <csignal>
#include <string>
#include <vector>

namespace simcam {

/**
 * The sockets of some cameras: one for each camera at its own address, one for all that hears
 * broadcasts. Several servers on one host share the broadcasts; an address serves one camera.
 */
class Server {
public:
    /**
     * Opens the sockets and takes SIGTERM, SIGINT and SIGUSR1 over from here on. The cameras
     * outlive the server. Whoever watches is told each packet in a line of standard output.
     * Throws std::runtime_error with a sentence that says what is in the way.
     */
    Server(std::vector<Camera> &cameras, bool isWatched);

    /** Serves until SIGTERM or SIGINT, or until SIGUSR1. Returns the signal's number. */
    int run();

private:
    /** Reads what has arrived at a socket and hands it to the cameras [first, last). */
    void readFrom(const Descriptor &socket, size_t first, size_t last, Delivery delivery);
    void receive(size_t camera, const uint8_t *packet, size_t size, const Endpoint &sender,
                 Delivery delivery);

    /**
     * Has a camera be reached at another address of this host. Where there is no such address, or
     * another camera has it, the camera stays, and that is said on standard error.
     */
    bool move(size_t camera, const Place &place);

    /** Sends the packets whose time has come. */
    void sendDue();
    void send(const Outbox::Packet &packet);

    /**
     * Whether a camera has died and has said all that it had begun to say. Its socket is closed
     * then, and hosts are told that nobody listens at its address.
     */
    bool isLeaving(size_t camera) const;
    void closeIfLeaving(size_t camera);

    /** Milliseconds until the next late packet is due, -1 if none waits. */
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

#endif
