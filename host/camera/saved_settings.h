/**
 * The settings of a camera as a file holds them: what 'kxinfo save' writes and 'kxinfo restore'
 * reads. docs/json.md describes the file.
 */
#ifndef KXINFO_HOST_CAMERA_SAVED_SETTINGS_H
#define KXINFO_HOST_CAMERA_SAVED_SETTINGS_H

#include <optional>
#include <string>
#include <vector>

#include "modes.h"

namespace kxinfo {

/** A setting that is saved. */
struct SavedSetting {
    const char *name;    ///< as users name it
    const char *feature; ///< the feature's name
    Reach reach;
    const char *unit; ///< null: none
};

/**
 * All of them, in the order in which they are restored: the automatic functions before what these
 * may change while their limits are being set.
 */
const std::vector<SavedSetting> &savedSettings();

/** A setting's value as the camera itself has it; of a float without "raw" maybe a whole number. */
struct SavedValue {
    const SavedSetting *setting;
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

/** The camera's own number for a value in the camera class's unit. */
double rawOf(const SavedSetting &setting, float value);

/** The value for people, in the camera class's units and with its unit. */
std::string textOf(const SavedSetting &setting, const RawValue &raw);

/** The file's text. */
std::string asFile(const SavedCamera &camera);

/**
 * What a file holds, checked whole.
 *
 * \param name  of the file, for messages
 * \throws CommandError (kWrongUsage)
 */
SavedCamera fromFile(const std::string &text, const std::string &name);

} // namespace kxinfo

#endif
