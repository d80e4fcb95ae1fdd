/**
 * The way from a node map to its camera: a device, as Aravis' nodes want one, over a channel of our
 * own. Every access passes here: the register cache and the camera's byte order are looked after in
 * this one place.
 */
#ifndef KXINFO_GIGE_PORT_H
#define KXINFO_GIGE_PORT_H

#include <arv.h>

#include "gvcp/channel.h"
#include "owners.h"
#include "register_cache.h"

namespace gige {

/** How a camera wants its 4-byte registers accessed. */
enum class RegisterAccess {
    Undecided,          /**< as memory, unless that turns out to have another byte order */
    Memory,             /**< as any other memory */
    BigEndianByCommand, /**< those declared big endian by register commands: memory shows them else */
    AllByCommand,       /**< by register commands, as old descriptions mean it */
};

/** A port over \p channel, which must outlive it. */
ObjectPtr<ArvDevice> newPort(gvcp::Channel &channel, bool inControl);

RegisterCache &cacheOf(ArvDevice *port);

/** Before the first access; Undecided unless set. */
void setRegisterAccess(ArvDevice *port, RegisterAccess access);

/** While it lives, and \p on, reads reach the camera even where the cache has the value. */
class CacheOff {
public:
    CacheOff(ArvDevice *port, bool on);
    ~CacheOff();
    CacheOff(const CacheOff &) = delete;
    CacheOff &operator=(const CacheOff &) = delete;

private:
    ArvDevice *off_; // null: nothing to put back
};

} // namespace gige

#endif
