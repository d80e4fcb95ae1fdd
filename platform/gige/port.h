/**
 * The way from a node map to its camera: a device, as Aravis' nodes want one, that stands in front
 * of Aravis' own and sees every access.
 */
#ifndef KXINFO_GIGE_PORT_H
#define KXINFO_GIGE_PORT_H

#include <arv.h>

#include "owners.h"

namespace gige {

/** How a camera wants its 4-byte registers accessed. */
enum class RegisterAccess {
    Memory,         /**< as any other memory, until it says that it cannot be written so */
    RegisterWrites, /**< read as memory, written by register commands */
    Registers,      /**< by register commands: descriptions older than schema 1.1 mean these */
};

/**
 * A port to an opened camera, which it keeps open. Once the camera has not answered in time, or has
 * taken control away, every further access fails at once with the error of then and sends nothing.
 */
ObjectPtr<ArvDevice> newPort(ArvGvDevice *camera);

/** Before the first access; Memory unless set. */
void setRegisterAccess(ArvDevice *port, RegisterAccess access);

} // namespace gige

#endif
