#include "open_platform.h"

// The framework has no such header.
#if __has_include("kxgige.h")
#include "kxgige.h"
#pragma weak KxGigeCause
#pragma weak KxGigeStopWhen
#define KXINFO_OPEN_PLATFORM
#endif

namespace kxinfo {

#ifdef KXINFO_OPEN_PLATFORM

namespace {

struct Reason {
    std::string cause; ///< a clause
    const char *remedy;
};

Reason reasonFor(GEV_STATUS status) {
    switch (status) {
    case GEVLIB_ERROR_ACCESS_DENIED:
        return {"another program controls it",
                "End that program, or wait some seconds if it crashed, and try again."};
    case GEVLIB_ERROR_TIME_OUT:
        return {"it does not answer", "Check its power and cable, and that no firewall keeps its "
                                      "answers away; then try again."};
    case GEVLIB_ERROR_NO_CAMERA:
        return {
            "it cannot be reached from this computer",
            "Check that it is switched on and has started, and that a network interface here has "
            "an address of its network; then try again."};
    case GEVLIB_ERROR_NO_DESCRIPTION:
        return {"its description cannot be used",
                "Try again, since a packet may have been lost; if it stays so, the camera needs "
                "other firmware."};
    default:
        return {"the camera platform answers " + std::to_string(status),
                "Run 'kxinfo list' to see whether the camera still answers, and try again."};
    }
}

} // namespace

std::string cannotBeOpened(const std::string &camera, GEV_STATUS status) {
    Reason reason = reasonFor(status);
    if (const char *cause = KxGigeCause ? KxGigeCause() : ""; *cause)
        reason.cause = cause;
    return camera + " cannot be opened: " + reason.cause + ". " + reason.remedy;
}

void stopWaitingWhen(const volatile std::sig_atomic_t *flag) {
    if (KxGigeStopWhen)
        KxGigeStopWhen(flag);
}

#else

// The framework's statuses are its own.
std::string cannotBeOpened(const std::string &camera, GEV_STATUS status) {
    return camera + " cannot be opened (status " + std::to_string(status) +
           "). Probably another program controls it: end that program, or wait some seconds if it "
           "crashed, and try again.";
}

void stopWaitingWhen(const volatile std::sig_atomic_t *) {}

#endif

} // namespace kxinfo
