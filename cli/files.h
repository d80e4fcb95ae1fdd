/** Files that the user names, for commands to read and to write. "-" is a standard stream. */
#ifndef KXINFO_CLI_FILES_H
#define KXINFO_CLI_FILES_H

#include <string>

#include "gvcp/descriptor.h"

namespace kxinfo {

/**
 * What a regular file, a pipe or standard input ("-") holds, without the byte order mark that some
 * editors put first. Devices are refused, since they may have no end or wait for ever.
 *
 * \param expected  what it should hold, as a sentence for the user when it is empty or too long
 * \throws Error (kWrongUsage)
 */
std::string readFile(const std::string &name, const std::string &expected);

/**
 * A file to be written, whole or not at all, and so that nobody else decides where.
 *
 * A regular file is written under another name in its folder and takes its own name when all is on
 * the disk; until then what had the name stays as it was. The permissions of a regular file of the
 * user's own are kept, without special bits; any other file's count for nothing. Standard output
 * ("-" or /dev/stdout), a device, and a pipe of the user's or root's are written to. A symbolic
 * link is followed to one of these alone, and not if it is somebody else's.
 */
class NewFile {
public:
    /**
     * Makes sure that the file can be written, as far as that shows before. Waits for the reader of
     * a pipe.
     *
     * \throws Error (kFailed)
     */
    explicit NewFile(std::string name);

    /** Writes all of it. Called once. \throws Error (kFailed) */
    void write(const std::string &text);

    /** Whether standard output is this file too, so that nothing else should be written there. */
    bool isStandardOutput() const { return isStandardOutput_; }

private:
    void writeThrough(int file, const std::string &text) const;
    void toDisk(int file) const;
    [[noreturn]] void fail(int error) const;
    [[noreturn]] void fail(const std::string &why) const;

    std::string name_;        ///< as the user gave it
    gvcp::Descriptor target_; ///< what is written to as it is; none: a regular file is made, in ...
    gvcp::Descriptor folder_; ///< ... this folder, ...
    std::string last_;        ///< ... under this name
    int keptMode_ = -1;       ///< of the file that is replaced; -1: that of new files
    bool isStandardOutput_ = false;
};

} // namespace kxinfo

#endif
