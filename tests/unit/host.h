/**
 * The host's side, in the test program: the parameter service, the system log and standard output.
 * It remembers what it was given; its calls appear in the platform's trace, in order with the rest.
 */
#ifndef KXINFO_TESTS_HOST_H
#define KXINFO_TESTS_HOST_H

#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <optional>
#include <string>
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

/** The number that stood behind the 128 characters of the output line's name. */
int32_t outLineNumber();

/** One call of openlog(). */
struct Opening {
    std::string ident;
    int option;
    int facility;
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
/** Equal in all but when standard output received its bytes. */
bool operator==(const Logged &a, const Logged &b);
std::ostream &operator<<(std::ostream &out, const Logged &logged);

/** Runs the function with standard output and the system log caught. */
Logged caught(const std::function<void()> &function);

/** One message as it appears in both sinks. */
struct Line {
    std::string out;
    SystemLine system;
};

/** The messages of one source file. Texts hold their line end. */
struct Module {
    const char *tag;
    Line error(const std::string &place, const std::string &text) const;
    Line warning(const std::string &operation, const std::string &text) const;
    Line debug(const std::string &operation, const std::string &text) const;
};
constexpr Module frame{"CIPROC"};
constexpr Module features{"KX_TD_EXCAM"};
constexpr Module scenario{"KX_TD_PROC"};
Line info(const std::string &text);

/** These messages and no others. */
Logged lines(const std::vector<Line> &all);

/** Forgets everything. */
void reset();

/** Calls of malloc(), calloc() and realloc() since the start of the process, except those of the
 * host's own functions; -1 where they cannot be counted (sanitizers). */
long allocations();

/** Blocks allocated and not yet freed; -1 where they cannot be counted. */
long liveBlocks();

} // namespace host

#endif
