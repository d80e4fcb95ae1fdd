#ifndef KXINFO_SIMCAM_WATCH_H
#define KXINFO_SIMCAM_WATCH_H

#include "camera.h"

#include <map>
#include <string>

namespace simcam {

/**
 * Says what comes to some cameras, one line, without its end, for each packet:
 *
 *   S1 127.0.0.1:40123 DISCOVERY broadcast -> ok
 *   S1 127.0.0.1:40123 READREG Width=1936 Height=1216 -> ok
 *   S1 127.0.0.1:40123 READMEM 0x00000200 512 bytes -> ok, delayed 50 ms
 *   S1 127.0.0.1:40123 WRITEREG 0x0001FFFC=0x00000001 -> INVALID_ADDRESS, repeated
 *
 * That is: serial number, sender, command, what it is about, "->", what became of it. A register
 * has the name and the value that snapshots show where one read or write is all of it, otherwise
 * its address.
 */
class Watcher {
public:
    /** Called for each packet, in their order; outcome is what the camera made of it. */
    std::string line(const Camera &camera, const uint8_t *packet, size_t size,
                     const Endpoint &sender, Delivery delivery, const Outcome &outcome,
                     Clock::time_point now);

private:
    std::map<std::string, LastPackets> last_; // to each camera, by serial number
};

} // namespace simcam

#endif
