/** kxinfo as a child process: how it ended, and what it took. */
#ifndef KXINFO_TESTS_HOSTILE_CHILD_H
#define KXINFO_TESTS_HOSTILE_CHILD_H

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "program.h"

/** How a process ended. */
struct Ending {
    int status; ///< of exit(); minus the signal that ended it
    std::string out;
    std::string err;
    std::chrono::milliseconds took;
    long memory; ///< at its peak, in KiB
};

std::ostream &operator<<(std::ostream &stream, const Ending &ending);

using Environment = std::map<std::string, std::string>;

/**
 * A running kxinfo, with nothing in its cache of descriptions. After ten seconds it is ended by
 * SIGALRM.
 */
class Child {
public:
    /** \param more  of the environment, in front of what is said above */
    explicit Child(const std::vector<std::string> &arguments, const Environment &more = {});
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    void kill() const;
    Ending wait();

private:
    ScratchFolder cache_;
    std::chrono::steady_clock::time_point start_;
    int out_;
    int err_;
    pid_t pid_;
};

#endif
