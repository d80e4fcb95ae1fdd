/** What errors mean: the channel's as GenICam exceptions, and all as this platform's status codes. */
#ifndef KXINFO_GIGE_ERRORS_H
#define KXINFO_GIGE_ERRORS_H

#include <exception>
#include <string>

#include "gevapi.h"
#include "gvcp/error.h"

namespace gige {

/**
 * Raises the GenICam exception that \p error stands for: TimeoutException when the camera does not
 * answer, RuntimeException otherwise.
 *
 * \param what  could not be done, such as "Cannot use the camera"
 */
[[noreturn]] void raise(const gvcp::Error &error, const std::string &what);

/** The status code that an exception of the node map, or a gvcp::Error, stands for. */
GEV_STATUS statusOf(const std::exception &exception);

} // namespace gige

#endif
