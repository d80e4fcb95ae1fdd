/**
 * Logging: a level threshold and two sinks, set by the host with each call of Vendor__Proc().
 *
 * A message is formatted and written on the spot, on the caller's thread, once per chosen sink:
 *
 *   level    from    system log                       standard output
 *   error    1       [e|source file:line] message     [TAG:e]: message
 *   warning  2       [w|function] message             [TAG:w]: message
 *   info     3       message                          message
 *   debug    4       [d|function] message             [TAG:d]: message
 *
 * TAG is the source file's module tag: it defines KX_LOG_TAG before it includes this header.
 *
 * Each macro takes a printf format, which must be a string literal and holds its own line end, and
 * its arguments. The arguments are evaluated once per sink that the message goes to, and not at all
 * when it goes to none: what is only read to be printed costs nothing when nothing is printed. A
 * suppressed message costs one comparison. Nothing is allocated.
 */
#ifndef KXINFO_DALSA_KX_LOG_H
#define KXINFO_DALSA_KX_LOG_H

#include <algorithm>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <syslog.h>

#include "kx_api.h"
#include "kx_proc.h"

/** Messages up to this level are written, compared as signed numbers. 0 until Vendor__Proc() is
 * called. */
extern KX_API int32_t gKxLogLevel;

/** Sinks: a mask of KX_LOG_MODE_STDOUT and KX_LOG_MODE_SYSLOG. 0 until Vendor__Proc() is called. */
extern KX_API int32_t gKxLogMode;

#ifdef KX_LOG_TAG

/** An error of the calling source file. */
#define KX_LOG_E(...) KX_LOG_E_AT(__LINE__, __VA_ARGS__)

/** An error that log tools know by its line: \p line is written whatever line the call stands on.
 */
#define KX_LOG_E_AT(line, ...)                                                                     \
    KX_LOG_EMIT_(KX_LOG_LEVEL_ERROR, LOG_ERR, "[" KX_LOG_TAG ":e]: ",                              \
                 KX_LOG_PREFIX_("[e|%s:%u] ", __FILE__, static_cast<unsigned>(line)), __VA_ARGS__)

/** A warning of the calling function. */
#define KX_LOG_W(...) KX_LOG_W_AS(__func__, __VA_ARGS__)

/** A warning written for the operation \p operation, by a helper that works for it. */
#define KX_LOG_W_AS(operation, ...)                                                                \
    KX_LOG_EMIT_(KX_LOG_LEVEL_WARNING, LOG_WARNING,                                                \
                 "[" KX_LOG_TAG ":w]: ", KX_LOG_PREFIX_("[w|%s] ", operation), __VA_ARGS__)

/** An information; it carries no prefix. */
#define KX_LOG_I(...) KX_LOG_EMIT_(KX_LOG_LEVEL_INFO, LOG_INFO, "", 0, __VA_ARGS__)

/** A debug message of the calling function. */
#define KX_LOG_D(...) KX_LOG_D_AS(__func__, __VA_ARGS__)

/** A debug message written for the operation \p operation, by a helper that works for it. */
#define KX_LOG_D_AS(operation, ...)                                                                \
    KX_LOG_EMIT_(KX_LOG_LEVEL_DEBUG, LOG_DEBUG,                                                    \
                 "[" KX_LOG_TAG ":d]: ", KX_LOG_PREFIX_("[d|%s] ", operation), __VA_ARGS__)

// The system log's text is put together in one buffer of 1024 bytes, of which 1023 are offered: a
// longer message is cut there. Standard output has no limit.
#define KX_LOG_EMIT_(level, priority, outPrefix, sysPrefix, ...)                                   \
    do {                                                                                           \
        if (gKxLogLevel >= (level)) {                                                              \
            if (gKxLogMode & KX_LOG_MODE_SYSLOG) {                                                 \
                char kxLogText[1024];                                                              \
                const size_t kxLogLimit = sizeof kxLogText - 1;                                    \
                const size_t kxLogUsed = std::min(static_cast<size_t>(sysPrefix), kxLogLimit);     \
                snprintf(kxLogText + kxLogUsed, kxLogLimit - kxLogUsed, __VA_ARGS__);              \
                syslog((priority), "%s", kxLogText);                                               \
            }                                                                                      \
            if (gKxLogMode & KX_LOG_MODE_STDOUT)                                                   \
                fprintf(stdout, outPrefix __VA_ARGS__);                                            \
        }                                                                                          \
    } while (0)

#define KX_LOG_PREFIX_(...) snprintf(kxLogText, kxLogLimit, __VA_ARGS__)

#endif // KX_LOG_TAG

#endif
