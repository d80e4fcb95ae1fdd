/** Work on several cameras at the same time: on threads, and in processes of their own. */
#ifndef KXINFO_CAMERA_CHILD_PROCESSES_H
#define KXINFO_CAMERA_CHILD_PROCESSES_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <string>
#include <system_error>
#include <vector>

#include "cli/text.h"

namespace kxinfo {

/**
 * Calls work(0) to work(count - 1), each once and at most so many at a time, and returns when all
 * have returned. They must not throw.
 */
template <class Work>
void sideBySide(size_t count, size_t most, const Work &work) {
    std::atomic<size_t> next{0};
    const auto takeTurns = [&] {
        for (size_t i = next++; i < count; i = next++)
            work(i);
    };
    std::vector<std::future<void>> helpers; // each is waited for by its destructor
    try {
        while (helpers.size() + 1 < std::min(count, most))
            helpers.push_back(std::async(std::launch::async, takeTurns));
    } catch (const std::system_error &) {
        // There are no more threads: fewer do it, too.
    }
    takeTurns();
}

/** How a child process ended, and what it had written until then. */
struct ChildEnd {
    int status = 0;      ///< as it exited; or the signal that ended it, negative
    std::string failure; ///< why that is no ExitStatus, as a clause; empty: it is
    std::string out;     ///< standard output
    std::string err;     ///< standard error
};

/** What children may use. */
struct ChildLimits {
    std::chrono::milliseconds time; ///< of each one, from its start
    size_t output;                  ///< bytes that each may write to either stream
    size_t sideBySide;              ///< how many run at once
    std::chrono::seconds toEnd{2};  ///< that is asked to end, and may have to put things back
};

/** The streams of children that are collected. Any other is this process's own. */
enum class Collect { Nothing, Output, Both };

/**
 * Runs programs to their ends, at most a certain number at once. Standard input is empty. They are
 * asked to end with this process, whatever ends it (SIGTERM). When signals ask this one to stop (see
 * cli/process.h), children are, too; after ChildLimits::toEnd they are killed.
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
