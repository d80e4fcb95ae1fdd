/** The camera's lookup table: what it does; the user's table, entry by entry; its text files. */
#ifndef KXINFO_CAMERA_LOOKUP_TABLE_H
#define KXINFO_CAMERA_LOOKUP_TABLE_H

#include <string>
#include <vector>

#include "camera/switches.h"
#include "camera/values.h"

namespace kxinfo {

/** What the table does. */
enum class TableState { Off, User, Gamma, Other, Unknown };

/** Unknown when the camera lacks "lutMode" or "lutType", or does not let them be read. */
TableState tableStateOf(const Camera &camera);

/** What has to be set so that the table is off, the user's of 12 bits, or the gamma curve. */
std::vector<Assignment> settingsFor(const Camera &camera, TableState state);

struct TableEntry {
    int index;
    int value;
    int line; ///< of the file that it is from; 0: of none
};

/** All entries of one table. */
struct SavedTable {
    std::string channel; ///< colour; empty: one table for all
    std::vector<int> entries;
};

class LookupTable {
public:
    /** Whether the camera has a table whose entries can be written. */
    static bool isOn(const Camera &camera);

    /**
     * Switches to the user's table of 12 bits with \p switches, which must outlive it. Pixels do not
     * go through the table meanwhile, unless it is this one already and no entry of it is written.
     *
     * \throws Error (kFailed) when the camera has none, or one that is no table from 0 on
     */
    LookupTable(const Camera &camera, Switches &switches);

    /** The colours that have a table of their own; only "": there is one table for all. */
    const Words &channels() const { return channels_; }

    /** How many entries each table has. */
    size_t size() const { return size_; }

    /** Why this cannot be an entry, as a clause; empty: it can. */
    std::string problemOf(const TableEntry &entry) const;

    /** \throws Error (kFailed) when an entry is beyond what an int holds */
    std::vector<SavedTable> read(const Words &channels);

    /** Writes entries that have no problem to the table of each channel, where they differ. */
    void write(const Words &channels, const std::vector<TableEntry> &entries);

    /** How many entries have been written. */
    size_t written() const { return written_.size(); }

    /**
     * Called while an exception is handled: tells it, and puts back what has been written, as far as
     * that can be.
     *
     * \return the status to end the command with
     */
    int giveUp();

private:
    /** An entry, and what it held before. */
    struct Written {
        std::string channel;
        int index;
        int before;
    };

    // Half a table must not be seen.
    void switchOff();
    void select(const std::string &channel);
    int read(int index);

    const Camera &camera_;
    Switches &switches_;
    // Found once: there are thousands of entries.
    GenApi_3_0::IInteger *index_;
    GenApi_3_0::IInteger *value_;
    Words channels_;
    std::vector<Written> written_;
    size_t size_ = 0;
};

/** A table of 16 bits: no camera has finer steps. */
constexpr int kMostTableEntries = 65536;

struct TableFile {
    std::vector<TableEntry> entries; ///< each index once, 0 to kMostTableEntries - 1
    bool whole = true; ///< one value a line, for the whole table; otherwise index and value
};

/** What a table file should hold, as a sentence for the user. */
constexpr const char *kExpectedTable = "Expected is one value a line, or lines of index,value.";

/**
 * What a file holds: one value a line, or index and value, with a comma, a semicolon, a tab or
 * blanks in between; what follows a '#', and the heading "index,value", are left out.
 *
 * \param name  of the file, for messages
 * \throws Error (kWrongUsage) naming the line
 */
TableFile readTable(const std::string &text, const std::string &name);

/** What is said of a line of a file. */
template <class... Parts>
Error wrongLine(const std::string &file, int line, const Parts &...what) {
    return {kWrongUsage, file, ", line ", line, ": ", what...};
}

} // namespace kxinfo

#endif
