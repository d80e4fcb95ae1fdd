/** Runs a program as a child and tells all that it said. */
#ifndef KXINFO_TESTS_HOST_PROGRAM_H
#define KXINFO_TESTS_HOST_PROGRAM_H

#include <iosfwd>
#include <string>
#include <vector>

/** What a program did. Compared whole. */
struct Result {
    int status; ///< exit status; minus the signal that ended it
    std::string out;
    std::string err;
};

bool operator==(const Result &a, const Result &b);
std::ostream &operator<<(std::ostream &stream, const Result &result);

/** Where a standard stream of the child goes, when it is not collected. */
struct Stream {
    enum class Kind { Collected, Closed, File, BrokenPipe } kind = Kind::Collected;
    std::string file;

    static Stream closed() { return {Kind::Closed, {}}; }
    static Stream to(std::string name) { return {Kind::File, std::move(name)}; }
    /** A pipe that nobody reads any more. */
    static Stream brokenPipe() { return {Kind::BrokenPipe, {}}; }
};

/**
 * Runs a program to its end, at most a minute long: SIGALRM ends it then.
 *
 * \param command  file of the program, then its arguments
 * \param folder   working folder; empty: this process's own
 */
Result run(const std::vector<std::string> &command, const Stream &out = {}, const Stream &err = {},
           const std::string &folder = {});

/** Runs the kxinfo just built. */
Result kxinfo(std::vector<std::string> arguments, const Stream &out = {}, const Stream &err = {});

/** Runs the reference host just built. */
Result kxinfoHost(std::vector<std::string> arguments, const Stream &out = {},
                  const Stream &err = {});

/** The library file of a plug-in of these tests (see plugins/). */
std::string plugin(const std::string &name);

/** A folder of its own that is deleted with the object. */
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();

    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    const std::string &path() const { return path_; }

private:
    std::string path_;
};

#endif
