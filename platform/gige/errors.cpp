#include "errors.h"

#include <arv.h>

#include <cstring>

#include "gvcp/error.h"

namespace gige {
namespace {

enum class Meaning {
    Timeout,     // the camera does not answer
    Runtime,     // the camera answers with an error status, or is gone
    Description, // the description lacks or cannot evaluate something
    Access,      // the node cannot be read or written
    Range,       // the value does not fit
    Argument,    // the value is none
};

Meaning meaningOfDeviceError(int code) {
    switch (code) {
    case ARV_DEVICE_ERROR_TIMEOUT:
        return Meaning::Timeout;
    case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
    case ARV_DEVICE_ERROR_WRONG_FEATURE:
    case ARV_DEVICE_ERROR_GENICAM_NOT_FOUND:
        return Meaning::Description;
    default: // the camera's own error statuses, a failed transfer, control lost
        return Meaning::Runtime;
    }
}

Meaning meaningOfNodeError(int code) {
    switch (code) {
    case ARV_GC_ERROR_OUT_OF_RANGE:
        return Meaning::Range;
    case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
    case ARV_GC_ERROR_INVALID_SYNTAX:
        return Meaning::Argument;
    case ARV_GC_ERROR_READ_ONLY:
    case ARV_GC_ERROR_SET_FROM_STRING_UNDEFINED:
    case ARV_GC_ERROR_GET_AS_STRING_UNDEFINED:
        return Meaning::Access;
    case ARV_GC_ERROR_NO_DEVICE_SET:
        return Meaning::Runtime;
    default: // something in the description is missing, or refers to nothing
        return Meaning::Description;
    }
}

Meaning meaningOf(const GError &error) {
    if (error.domain == ARV_DEVICE_ERROR)
        return meaningOfDeviceError(error.code);
    if (error.domain == ARV_GC_ERROR)
        return meaningOfNodeError(error.code);
    if (error.domain == G_IO_ERROR)
        return error.code == G_IO_ERROR_TIMED_OUT ? Meaning::Timeout : Meaning::Runtime;
    // What is left comes from formulas (the evaluator has a domain of its own, without a name).
    return Meaning::Description;
}

GEV_STATUS statusOf(gvcp::Cause cause) {
    switch (cause) {
    case gvcp::Cause::Controlled:
        return GEVLIB_ERROR_ACCESS_DENIED;
    case gvcp::Cause::Silent:
        return GEVLIB_ERROR_TIME_OUT;
    case gvcp::Cause::Unreachable:
        return GEVLIB_ERROR_NO_CAMERA;
    case gvcp::Cause::Description:
        return GEVLIB_ERROR_NO_DESCRIPTION;
    case gvcp::Cause::Refused:
    case gvcp::Cause::ControlLost:
    case gvcp::Cause::Stopped:
        break;
    }
    return GEVLIB_ERROR_GENERIC;
}

} // namespace

void raise(const GError &error, const char *node, const char *action) {
    // Aravis names all nodes on the way to the one that failed.
    const char *text = error.message;
    for (const char *end; *text == '[' && (end = strstr(text, "] ")) != nullptr;)
        text = end + strlen("] ");
    switch (meaningOf(error)) {
    case Meaning::Timeout:
        throw KXGIGE_EXCEPTION(TimeoutException, "Cannot %s '%s' of the camera: %s", action, node,
                               text);
    case Meaning::Runtime:
        throw KXGIGE_EXCEPTION(RuntimeException, "Cannot %s '%s' of the camera: %s", action, node,
                               text);
    case Meaning::Access:
        throw KXGIGE_EXCEPTION(AccessException, "Cannot %s '%s': %s", action, node, text);
    case Meaning::Range:
        throw KXGIGE_EXCEPTION(OutOfRangeException, "Cannot %s '%s': %s", action, node, text);
    case Meaning::Argument:
        throw KXGIGE_EXCEPTION(InvalidArgumentException, "Cannot %s '%s': %s", action, node, text);
    case Meaning::Description:
        break;
    }
    throw KXGIGE_EXCEPTION(PropertyException, "Cannot %s '%s': the camera's description fails (%s)",
                           action, node, text);
}

GEV_STATUS statusOf(const std::exception &exception) {
    if (const auto *error = dynamic_cast<const gvcp::Error *>(&exception))
        return statusOf(error->cause());
    if (dynamic_cast<const GenICam_3_0::TimeoutException *>(&exception))
        return GEVLIB_ERROR_TIME_OUT;
    if (dynamic_cast<const GenICam_3_0::AccessException *>(&exception))
        return GEVLIB_ERROR_NOT_SUPPORTED;
    return GEVLIB_ERROR_GENERIC;
}

} // namespace gige
