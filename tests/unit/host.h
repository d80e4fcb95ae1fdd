/**
 * The host's side, in the test program: the parameter service, the system log and standard output.
 * It remembers what it was given; its calls appear in the platform's trace, in order with the rest.
 */
#ifndef KXINFO_TESTS_HOST_H
#define KXINFO_TESTS_HOST_H

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <syslog.h>
#include <variant>
#include <vector>

#include "kxinfo-dalsa/kx_sc.h"

#include "scripted.h"

namespace host {

/** \name The parameter service's calls, as events */
///@{
inline scripted::Event initStaticKeys() {
    return scripted::call("KxSc__InitStaticKeys");
}
scripted::Event setParamVal(KxScParamId id);
inline scripted::Event procExport() {
    return scripted::call("KxSc__ProcExport");
}
///@}

/** A value as the setting's type has it; nothing where the pointer was null. */
using Value = std::optional<std::variant<int32_t, float, std::string>>;

/** One published setting, copied during the call. */
struct Publication {
    KxScParamId id;
    Value cur, min, max, inc;
    uint32_t index = KX_SC_NO_INDEX;
};
bool operator==(const Publication &a, const Publication &b);
std::ostream &operator<<(std::ostream &out, const Publication &publication);

/** All that was published, in order. */
const std::vector<Publication> &published();

/** Where the current value of the output line stood. */
const void *outLine();

/** One call of openlog(). */
struct Opening {
    std::string ident;
    int option;
    int facility;
    int32_t logMode; /**< as it was by then, and so the level */
    int32_t logLevel;
    std::size_t eventsBefore; /**< how much had happened by then */
};
const std::vector<Opening> &openings();

/** One line of the system log. */
struct SystemLine {
    int priority;
    std::string text;
    std::size_t outBefore = 0; /**< bytes that standard output had received by then */
};

/** What came out of some call: both sinks. */
struct Logged {
    std::string out;
    std::vector<SystemLine> system;
};
/** Runs the function with standard output and the system log caught. */
Logged caught(const std::function<void()> &function);

/**
 * What tells a message from others whatever its words: level and operation or place of its prefix,
 * then the numbers, the words with a digit and the quoted texts in it. Of
 * "[d|ExPropertySetInt] ### set property 2 (Width) to 640 ###\n" that is "d|ExPropertySetInt 2 640".
 * The words themselves are held to the transcripts, and nowhere else.
 */
std::string keyOf(std::string_view message);

/** A line in the system log, as an event: the trace holds keys. */
scripted::Event logged(int priority, std::string_view key);
inline scripted::Event debug(std::string_view key) {
    return logged(LOG_DEBUG, "d|" + std::string(key));
}
inline scripted::Event warning(std::string_view key) {
    return logged(LOG_WARNING, "w|" + std::string(key));
}

/**
 * All that happened since it was last asked for, in one line, and forgets it: `Gain?` a value read,
 * `lutMode??` a text read, `Gain=2` a value written, `lutMode:=Off` a text written, `Gain.min`,
 * `Gain.max` and `Gain.inc` read, `[d|ProcOnce 7]` a line of the system log by its key, `f(2)` a
 * function called. An access with flags unlike the plug-in's usual ones, or a line with a priority
 * unlike its level's, says so. everything() has the lookups of nodes (`@Gain`) and entries too.
 */
std::string happened();
std::string everything();

/** Forgets everything. */
void reset();

/** Calls of malloc(), calloc() and realloc() since the start of the process, except those of the
 * host's own functions; -1 where they cannot be counted (sanitizers, valgrind). */
long allocations();

/** Blocks allocated and not yet freed; -1 where they cannot be counted. */
long liveBlocks();

} // namespace host

#endif
