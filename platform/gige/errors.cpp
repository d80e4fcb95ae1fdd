#include "errors.h"

#include "Base/GCException.h"

namespace gige {
namespace {

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

void raise(const gvcp::Error &error, const std::string &what) {
    using namespace GenICam_3_0;
    if (error.cause() == gvcp::Cause::Silent)
        throw ExceptionReporter<TimeoutException>(__FILE__, __LINE__, "TimeoutException")
            .Report("%s: %s", what.c_str(), error.what());
    throw ExceptionReporter<RuntimeException>(__FILE__, __LINE__, "RuntimeException")
        .Report("%s: %s", what.c_str(), error.what());
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
