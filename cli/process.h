/**
 * What a process shares with those around it: its standard streams, and the signals that stop it.
 *
 * Standard output is shared with the plug-in: its log lines and kxinfo's own text go through the
 * same C stream, so that they come out in the order in which they were written.
 */
#ifndef KXINFO_CLI_PROCESS_H
#define KXINFO_CLI_PROCESS_H

#include <csignal>
#include <string>
#include <string_view>

#include "gvcp/descriptor.h"

namespace kxinfo {

/**
 * Makes the standard streams fit for a plug-in. Called once, first thing in main().
 *
 * A stream that was closed by the caller of the program is occupied, unwritable as it was, lest a
 * camera's connection takes its number and receives our text. Lines are handed on as they are
 * written, so that none is lost when the plug-in crashes. A reader that goes away ends the output
 * and not the process, which may have a camera open.
 */
void prepareStandardStreams();

/** Writes a text to standard output. Whether it arrived is told by finishStandardOutput(). */
void writeOut(std::string_view text);

/** Whether some of it did not arrive since its reader has gone away. */
bool brokenPipe();

/** Hands on what was written to standard output; false if any did not arrive. Dies of a broken pipe. */
bool finishStandardOutput();

/** Sends standard output elsewhere as long as the object lives. */
class StandardOutputTo {
public:
    /** \param descriptor  where to; still the caller's. \throws std::system_error */
    explicit StandardOutputTo(int descriptor);
    ~StandardOutputTo();

private:
    gvcp::Descriptor saved_;
};

/** A file in memory. */
class MemoryFile {
public:
    /** \throws std::system_error */
    MemoryFile();

    int descriptor() const { return file_.get(); }
    size_t size() const;
    std::string text() const;

private:
    gvcp::Descriptor file_;
};

/**
 * From here on SIGINT, SIGTERM and SIGHUP, where nobody ignores them as nohup does, only set the
 * flag that comes back; a second one ends the process at once. The flag holds the signal's number.
 */
const volatile std::sig_atomic_t *stopOnSignals();

/** The signal that has asked the process to stop; 0: none. */
int stopSignal();

/** Ends the process as the signal would have, so that a shell's loop ends too. */
[[noreturn]] void dieOf(int signal);

} // namespace kxinfo

#endif
