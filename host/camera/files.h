/** Files that the user names, for commands to read and to write. */
#ifndef KXINFO_HOST_CAMERA_FILES_H
#define KXINFO_HOST_CAMERA_FILES_H

#include <string>

namespace kxinfo {

/**
 * What a file holds, 16 MiB at most: no file for kxinfo is longer, but a device may have no end.
 *
 * \param expected  what it should hold, as a sentence for the user when it is empty or too long
 * \throws CommandError (kWrongUsage)
 */
std::string readFile(const std::string &name, const std::string &expected);

/**
 * A file to be written, whole or not at all.
 *
 * A regular file is written under another name in its folder and takes its own name, and the mode
 * of the file that had it, when all is on the disk; until then that one stays as it was. Symbolic
 * links stay, and what they name is written. What exists and is no regular file, such as a pipe or
 * /dev/stdout, is written to.
 */
class NewFile {
public:
    /**
     * Makes sure that the file can be written, as far as that shows before. Waits for the reader of
     * a pipe.
     *
     * \throws CommandError (kFailed)
     */
    explicit NewFile(std::string name);
    ~NewFile();

    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    /** Writes all of it. Called once. \throws CommandError (kFailed) */
    void write(const std::string &text);

    /** Whether standard output is this file too, so that nothing else should be written there. */
    bool isStandardOutput() const { return isStandardOutput_; }

private:
    [[noreturn]] void fail(int error);

    std::string name_;      ///< as the user gave it
    std::string target_;    ///< the regular file to replace
    std::string temporary_; ///< what is written in its place; empty: there is none, or no more
    int descriptor_ = -1;
    bool isStandardOutput_ = false;
};

} // namespace kxinfo

#endif
