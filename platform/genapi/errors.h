/** How this library raises GenICam exceptions. */
#ifndef KXINFO_GENAPI_ERRORS_H
#define KXINFO_GENAPI_ERRORS_H

#include "Base/GCException.h"

/**
 * Raises a GenICam exception of class \p type that names this place in the source. Names and texts
 * of a description are as long as it likes: formats cut them (`%.60s`).
 */
#define KXGENAPI_RAISE(type, ...)                                                                  \
    throw GenICam_3_0::ExceptionReporter<GenICam_3_0::type>(__FILE__, __LINE__, #type)             \
        .Report(__VA_ARGS__)

#endif
