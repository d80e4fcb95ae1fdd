/** Programs that are run side by side, and what they say. */
#ifndef KXINFO_HOST_CHILD_PROCESSES_H
#define KXINFO_HOST_CHILD_PROCESSES_H

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace kxinfo {

/** How a child process ended, and what it had written until then. */
struct ChildEnd {
    enum class How {
        Exited,     ///< by itself
        Signalled,  ///< by a signal that did not come from us
        Overdue,    ///< by us: it ran too long
        Flooding,   ///< by us: it wrote too much
        NotStarted, ///< it never ran
    } how;
    int number;      ///< Exited: its status; Signalled: the signal; NotStarted: why, as in errno
    std::string out; ///< standard output
    std::string err; ///< standard error
};

/** What children may use. */
struct ChildLimits {
    std::chrono::milliseconds time; ///< of each one, from its start
    size_t output;                  ///< bytes that each may write to either stream
    size_t sideBySide;              ///< how many run at once
};

/**
 * Runs programs to their ends, at most a certain number at once, and collects what they write.
 * Standard input is empty. They end with this process, whatever ends it.
 *
 * What a child leaves running does not hold up the result: a child's output ends with the child.
 *
 * \param commands     file of a program, then its arguments
 * \param environment  of all of them, as NAME=VALUE
 * \return one result for each command, in the same order
 */
std::vector<ChildEnd> runChildren(const std::vector<std::vector<std::string>> &commands,
                                  const std::vector<std::string> &environment,
                                  const ChildLimits &limits);

} // namespace kxinfo

#endif
