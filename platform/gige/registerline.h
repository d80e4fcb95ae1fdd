/** Reading one bootstrap register of a camera without opening it. */
#ifndef KXINFO_GIGE_REGISTERLINE_H
#define KXINFO_GIGE_REGISTERLINE_H

#include <cstdint>

namespace gige {

/** What came of asking a camera for a register. */
struct Reading {
    enum Outcome {
        Answered, /**< \ref value is the register's */
        Refused,  /**< the camera answered with an error status */
        Silent,   /**< no answer in time */
        Nobody,   /**< the address does not exist, or nothing listens there */
    };

    Outcome outcome;
    uint32_t value = 0;
};

/**
 * Asks up to three times, half a second each.
 *
 * \param host    this machine's IPv4 address to ask from; 0 lets the kernel choose
 * \param camera  the camera's IPv4 address; both in the machine's byte order
 */
Reading readRegister(uint32_t host, uint32_t camera, uint32_t address);

} // namespace gige

#endif
