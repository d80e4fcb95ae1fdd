/** What can go wrong on the way to a camera. */
#ifndef KXINFO_GVCP_ERROR_H
#define KXINFO_GVCP_ERROR_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace gvcp {

/** Which kind of thing went wrong. What exactly stands in the error's text. */
enum class Cause {
    Silent,      /**< the camera does not answer in time, or keeps putting its answer off */
    Unreachable, /**< this computer has no way to that address, or nobody listens there */
    Refused,     /**< the camera answered with an error status */
    Controlled,  /**< another program controls the camera */
    ControlLost, /**< control of the camera is lost: given to another program, or expired */
    Description, /**< the camera's description cannot be had or used */
    Stopped,     /**< the caller's stop flag ended the waiting */
};

/** Raised by everything in gvcp. what() is for people: a clause without capital and full stop. */
class Error : public std::runtime_error {
public:
    /** \param status  the camera's, where it refused; the protocol's numbers, see packets.h */
    Error(Cause cause, const std::string &text, uint16_t status = 0)
        : std::runtime_error(text), cause_(cause), status_(status) {}

    Cause cause() const { return cause_; }
    uint16_t status() const { return status_; }

private:
    Cause cause_;
    uint16_t status_;
};

} // namespace gvcp

#endif
