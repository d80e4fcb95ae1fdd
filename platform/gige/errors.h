/** What errors mean: Aravis' as GenICam exceptions, and all as this platform's status codes. */
#ifndef KXINFO_GIGE_ERRORS_H
#define KXINFO_GIGE_ERRORS_H

#include <glib.h>

#include <exception>

#include "Base/GCException.h"
#include "gevapi.h"

namespace gige {

/**
 * Raises the GenICam exception that \p error stands for.
 *
 * \param node    name of the node that was accessed
 * \param action  what was done with it: "read", "write", …
 */
[[noreturn]] void raise(const GError &error, const char *node, const char *action);

/** The status code that an exception of the node map, or a gvcp::Error, stands for. */
GEV_STATUS statusOf(const std::exception &exception);

} // namespace gige

/** Makes an exception of GenICam class \p type for a node, naming this place in the source. */
#define KXGIGE_EXCEPTION(type, ...)                                                                \
    GenICam_3_0::ExceptionReporter<GenICam_3_0::type>(__FILE__, __LINE__, #type).Report(__VA_ARGS__)

#endif
