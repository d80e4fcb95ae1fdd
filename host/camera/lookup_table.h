/** The user's lookup table, entry by entry. */
#ifndef KXINFO_HOST_CAMERA_LOOKUP_TABLE_H
#define KXINFO_HOST_CAMERA_LOOKUP_TABLE_H

#include <functional>
#include <string>
#include <vector>

#include "modes.h"
#include "session.h"

namespace kxinfo {

/** Shows on a terminal how far a long piece of work has come; elsewhere nothing. */
class Progress {
public:
    /** \param what  what is counted, "entries read" for example */
    Progress(std::string what, size_t total);
    ~Progress();

    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /** One more is done. */
    void step();

private:
    std::string what_;
    size_t total_;
    size_t done_ = 0;
    bool shown_;
};

/** An entry, and what it held before. */
struct WrittenEntry {
    int channel;
    int index;
    int before;
};

class LookupTable {
public:
    /** Whether the camera has a table whose entries can be written. */
    static bool isOn(const Session &session);

    /**
     * Switches to the user's table of 12 bits with \p modes, which must outlive it. Pixels do not go
     * through the table meanwhile, unless it is this one already and no entry of it is written.
     *
     * \throws CommandError (kFailed) when the camera has none, or one that is no table from 0 on
     */
    LookupTable(const Session &session, Modes &modes);

    /** Indexes go from 0 to size() - 1, entries from lowest() to highest(). */
    int size() const { return size_; }
    int lowest() const { return lowest_; }
    int highest() const { return highest_; }

    /** Names of the colours that have a table of their own; empty: one table for all. */
    const std::vector<std::string> &channels() const { return channels_; }

    /** How many tables there are: one for all colours, or one for each. */
    int tables() const;

    /** Selects a table, 0 to tables() - 1. */
    void select(int table);

    /** \throws CommandError (kFailed) when the entry is beyond what an int holds */
    int read(int index);

    /**
     * Writes an entry unless it holds the value already; keeps what it held for undo().
     *
     * \return whether it was another value
     */
    bool write(int index, int value);

    /**
     * Writes back what write() has changed, and goes on when an entry cannot be.
     *
     * \return what has been put back, or not and why, as a sentence; empty when nothing was written
     */
    std::string undo();

private:
    // Half a table must not be seen.
    void switchOff();

    const Session &session_;
    Modes &modes_;
    KxTd::CExCam camera_;
    // Found once: there are thousands of entries. The camera class would write the index a second
    // time.
    GenApi_3_0::IInteger *index_;
    GenApi_3_0::IInteger *value_;
    std::vector<std::string> channels_;
    std::vector<WrittenEntry> written_;
    int size_ = 0;
    int lowest_ = 0;
    int highest_ = 0;
    int selected_ = 0;
};

} // namespace kxinfo

#endif
