/**
 * Standard output, shared with the plug-in: its log lines and kxinfo's own text go through the
 * same C stream, so that they come out in the order in which they were written.
 */
#ifndef KXINFO_HOST_STANDARD_OUTPUT_H
#define KXINFO_HOST_STANDARD_OUTPUT_H

#include <string>
#include <string_view>

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

/** Hands on what was written to standard output; false if any of it did not arrive. */
bool finishStandardOutput();

/** Sends standard output elsewhere as long as the object lives. */
class StandardOutputTo {
public:
    /** \param descriptor  where to; still the caller's. \throws std::system_error */
    explicit StandardOutputTo(int descriptor);
    ~StandardOutputTo();

    StandardOutputTo(const StandardOutputTo &) = delete;
    StandardOutputTo &operator=(const StandardOutputTo &) = delete;

private:
    int saved_;
};

/** A file in memory. */
class MemoryFile {
public:
    /** \throws std::system_error */
    MemoryFile();
    ~MemoryFile();

    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    int descriptor() const { return descriptor_; }
    std::string text() const;

private:
    int descriptor_;
};

} // namespace kxinfo

#endif
