/**
 * The settings of a camera that are saved, restored and compared, and the files that hold them.
 * docs/json.md describes these, docs/schema/settings.schema.json has their form.
 */
#ifndef KXINFO_CAMERA_SAVED_CAMERA_H
#define KXINFO_CAMERA_SAVED_CAMERA_H

#include <string>
#include <vector>

#include "camera/lookup_table.h"

namespace kxinfo {

/** How the table is named among what could not be read. */
constexpr const char *kLookupTable = "the lookup table";

struct SavedValue {
    const Feature *feature; ///< one of savedFeatures()
    Value value;            ///< the camera's own; where it is not exact, as far as that is known
    bool isExact = true;    ///< to the last bit
    std::string typed;      ///< where it is from a file: what a user would type for it
};

struct SavedCamera {
    /** What could not be read. */
    struct Unread {
        std::string name; ///< of a feature, or "the lookup table"
        std::string why;  ///< as a clause
        bool failed;      ///< that is an error, not the camera's present state
    };

    CameraName name;
    std::vector<SavedValue> settings = {}; ///< in the order of savedFeatures(), each at most once
    std::vector<SavedTable> tables = {};
    std::vector<Unread> unread = {}; ///< of what the camera has
};

/**
 * Reads what is saved. What cannot be read does not end it.
 *
 * \param switches  null: nothing is switched, so that nothing is written to the camera, and the
 *                  table cannot be read
 * \param table     whether the lookup table is wanted too
 * \throws the platform's TimeoutException when the camera has fallen silent
 */
SavedCamera readSaved(const Camera &camera, Switches *switches, bool table);

/**
 * Tells what could not be read, one line for each reason: \p what, the reason, the names.
 *
 * \param state  the one reason to tell where it is the camera's present state; empty: each its own
 */
void tellUnread(const SavedCamera &camera, const std::string &what, const std::string &state = "");

/** Lines "NAME: A -> B" for what differs; what one of them could not read is left out. */
std::string differences(const SavedCamera &a, const SavedCamera &b);

/** The file's text. */
std::string settingsText(const SavedCamera &camera);

/**
 * What a file holds, whatever somebody has put into it: checked whole, each setting and each table
 * there at most once. Texts come cleaned.
 *
 * \param name  of the file, for messages
 * \throws Error (kWrongUsage) with the place and what is expected there
 */
SavedCamera settingsFrom(const std::string &text, const std::string &name);

/** Whether a word that may name a camera or a file names a file. */
bool isFile(const std::string &word);

/** The file of that name, "-" for standard input. \throws Error (kWrongUsage) */
SavedCamera readSettings(const std::string &name);

} // namespace kxinfo

#endif
