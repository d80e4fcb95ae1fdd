/**
 * The settings of a camera that are saved, restored and compared, and the files that hold them.
 * docs/json.md describes these, docs/schema/settings.schema.json has their form.
 */
#ifndef KXINFO_CAMERA_SAVED_CAMERA_H
#define KXINFO_CAMERA_SAVED_CAMERA_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "camera/lookup_table.h"

namespace kxinfo {

/** How the table is named among what could not be read. */
constexpr const char *kLookupTable = "the lookup table";

struct SavedValue {
    const Feature *feature; ///< one of savedFeatures(), or of a line
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
    /** In the order of savedFeatures(), each at most once; then what was made of the lines. */
    std::vector<SavedValue> settings = {};
    std::vector<SavedTable> tables = {};
    /** Name and value of features, as they are set one after the other: see readLines(). */
    std::vector<std::pair<std::string, std::string>> lines = {};
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

/** Lines "NAME: A -> B" for what differs; what cannot be compared is among what \p a could not read. */
std::string differences(SavedCamera &a, const SavedCamera &b);

/** The text of a file, a JSON document. */
std::string settingsText(const SavedCamera &camera);

/**
 * What a file holds, whatever somebody has put into it: checked whole, each setting and each table
 * there at most once. Texts come cleaned.
 *
 * \param name  of the file, for messages
 * \throws Error (kWrongUsage) with the place and what is expected there
 */
SavedCamera settingsFrom(const std::string &text, const std::string &name);

/**
 * What a file of the text form of programs over GenApi holds; none: it is of another form.
 *
 * \throws Error (kWrongUsage) without the file's name
 */
std::optional<SavedCamera> genApiFrom(const std::string &text);

/** Such a file's text. \pre the settings are those of the table */
std::string genApiText(const SavedCamera &camera);

constexpr const char *kNoTable = "a GenApi file has no place for it";

/**
 * Reads lines of what is not saved otherwise and can be read and written: actions, selectors and
 * what belongs to one camera in its network are none.
 *
 * \param switching  with every choice of its selectors; otherwise nothing is written to the camera
 * \return how many they are, apart from the selectors in between
 */
size_t readLines(const Camera &camera, Switches &switches, bool switching, SavedCamera &saved);

/** Makes settings of the lines, if any. \param camera  null: of those that savedFeatures() has */
void placeLines(SavedCamera &saved, const Camera *camera);

/** As differences(), of lines: of what is selected, what both have with the same choices. */
std::string lineDifferences(SavedCamera &a, const SavedCamera &b);

/** Whether a word that may name a camera or a file names a file. */
bool isFile(const std::string &word);

/** The file of that name, "-" for standard input. \throws Error (kWrongUsage) */
SavedCamera readSettings(const std::string &name);

} // namespace kxinfo

#endif
