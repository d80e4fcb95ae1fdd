/** JSON as kxinfo writes it, and held against a JSON Schema. */
#ifndef KXINFO_CLI_JSON_H
#define KXINFO_CLI_JSON_H

#include <string>

#include <nlohmann/json.hpp>

namespace kxinfo {

/** Members keep their order. */
using Json = nlohmann::ordered_json;

/**
 * A number with the fewest digits from which it is read back: of one that single precision holds
 * exactly, as cameras send them, those of a float (0.1, not 0.10000000149011612). What JSON has no
 * number for is the text "NaN", "Infinity" or "-Infinity".
 */
Json jsonNumber(double value);

/** The document as text with a line end. Text that is not UTF-8 has U+FFFD where it is not. */
std::string jsonText(const Json &document);

/**
 * Where a document is first otherwise than a schema (draft 7) says, and what is expected there, as
 * a sentence: 'settings[3].unit is "m"; expected is one of "px", "us".' Empty when it holds.
 *
 * \pre the schema refers to its own definitions alone
 */
std::string violation(const nlohmann::json &document, const nlohmann::json &schema);

} // namespace kxinfo

#endif
