/** Programs that are run side by side, and what they say. */
#ifndef KXINFO_CAMERA_CHILD_PROCESSES_H
#define KXINFO_CAMERA_CHILD_PROCESSES_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/text.h"

namespace kxinfo {

/** How a child process ended, and what it had written until then. */
struct ChildEnd {
    enum class How {
        Exited,     ///< by itself
        Signalled,  ///< by a signal that did not come from us
        Overdue,    ///< by us: it ran too long
        Flooding,   ///< by us: it wrote too much
        Stopped,    ///< by us, or never run, since this process is asked to stop
        NotStarted, ///< it never ran
    } how;
    int number;      ///< Exited: its status; Signalled: the signal; NotStarted: why, as in errno
    std::string out; ///< standard output
    std::string err; ///< standard error
};

/** What children may use. */
struct ChildLimits {
    std::optional<std::chrono::milliseconds> time; ///< of each one, from its start
    size_t output;                                 ///< bytes that each may write to either stream
    size_t sideBySide;                             ///< how many run at once
};

/** The streams of children that are collected. Any other is this process's own. */
enum class Collect { Nothing, Output, Both };

/**
 * Runs programs to their ends, at most a certain number at once. Standard input is empty. They are
 * asked to end with this process, whatever ends it (SIGTERM). When signals ask this one to stop (see
 * cli/process.h), children are, too; two seconds later they are killed.
 *
 * What a child leaves running does not hold up the result: a child's output ends with the child.
 *
 * \param commands  file of a program, then its arguments
 * \return one result for each command, in the same order
 */
std::vector<ChildEnd> runChildren(const std::vector<Words> &commands, Collect collect,
                                  const ChildLimits &limits);

} // namespace kxinfo

#endif
