/** JSON as kxinfo writes it. */
#ifndef KXINFO_HOST_JSON_H
#define KXINFO_HOST_JSON_H

#include <cmath>
#include <string>

#include <nlohmann/json.hpp>

#include "table.h"

namespace kxinfo {

/**
 * Members keep their order. Numbers are float, as the plug-in and its camera class deliver them: a
 * double would show digits that the camera never sent (0.1 as 0.10000000149011612).
 */
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, int64_t,
                                  uint64_t, float>;

/** A number; what JSON has no number for is the text "NaN", "Infinity" or "-Infinity". */
inline Json jsonNumber(float value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    return value;
}

/** The document as text with a line end. Text that is not UTF-8 has U+FFFD where it is not. */
inline std::string jsonText(const Json &document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kxinfo

#endif
