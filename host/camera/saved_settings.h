/**
 * The settings of a camera as a file holds them: what 'kxinfo save' writes and 'kxinfo restore'
 * reads. docs/json.md describes the file.
 */
#ifndef KXINFO_HOST_CAMERA_SAVED_SETTINGS_H
#define KXINFO_HOST_CAMERA_SAVED_SETTINGS_H

#include <string>
#include <vector>

#include "modes.h"

namespace kxinfo {

/** A setting that is saved. */
struct SavedSetting {
    const char *name;    ///< as users name it
    const char *feature; ///< the feature's name
    Reach reach;
    const char *unit; ///< of numbers; null: none. "dB" of a float: the camera has it as a factor
};

/**
 * All of them, in the order in which they are saved and restored: the automatic functions before
 * what these may change while their limits are being set.
 */
const std::vector<SavedSetting> &savedSettings();

/**
 * A setting's value as the camera itself has it. One exception, from a file that was edited: a whole
 * number without "raw" is in the setting's unit, since only the camera knows whether it is a float.
 */
struct SavedValue {
    const SavedSetting *setting; ///< one of savedSettings()
    RawValue raw;
};

/** The entries of one table. */
struct SavedTable {
    std::string channel; ///< colour; empty: one table for all
    std::vector<int> entries;
};

struct SavedCamera {
    std::string manufacturer;
    std::string model;
    std::string serial;
    std::vector<SavedValue> settings;
    std::vector<SavedTable> tables;
};

/** The camera's own number for one in the setting's unit; infinite when it is beyond all floats. */
double rawOf(const SavedSetting &setting, float value);

/** The camera's own value for people: in the setting's unit, and with it. */
std::string textOf(const SavedSetting &setting, const RawValue &raw);

/** The file's text. */
std::string asFile(const SavedCamera &camera);

/** What a file should be, as a sentence for the user. */
extern const char *const kExpectedFile;

/**
 * What a file holds, whatever somebody has put into it: checked whole, each setting and each table
 * there at most once, the settings in the order of savedSettings().
 *
 * \param name  of the file, for messages
 * \throws CommandError (kWrongUsage); its text is short, however long the file's texts are
 */
SavedCamera fromFile(const std::string &text, const std::string &name);

} // namespace kxinfo

#endif
