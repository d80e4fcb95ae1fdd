/** The camera settings that kxinfo knows, and their values as a plug-in published them. */
#ifndef KXINFO_HOST_SETTINGS_H
#define KXINFO_HOST_SETTINGS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "kx_sc.h"

namespace kxinfo {

/** What the pointers of a setting's publication point to. */
enum class ValueType {
    Float,   ///< float
    Integer, ///< int32_t
    Text     ///< NUL-terminated text; the minimum is the list of choices
};

/** One row of the table of known settings. */
struct Setting {
    KxScParamId id;
    const char *name;  ///< the identifier, as in kx_sc.h
    const char *title; ///< for people
    ValueType type;
    const char *unit; ///< null: a plain number, or a text
};

/** The row of a setting; null when \p id is not known. */
const Setting *findSetting(KxScParamId id);

/** All known settings. */
const std::vector<Setting> &knownSettings();

/** A value, or std::monostate where the setting has none. */
using Value = std::variant<std::monostate, float, int32_t, std::string>;

/** A setting with the values published for it. */
struct PublishedSetting {
    const Setting *setting;
    Value current;
    Value minimum;
    Value maximum;
    Value increment;
    std::vector<std::string> choices; ///< of a text: what may be chosen
};

/**
 * Copies the values of one publication, of the types that \p setting says.
 *
 * \param cur,min,max,inc  as KxSc__SetParamVal() is given them; each may be null
 */
PublishedSetting copyPublication(const Setting &setting, const void *cur, const void *min,
                                 const void *max, const void *inc);

} // namespace kxinfo

#endif
