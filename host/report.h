/** The published settings as text: a table for people, a JSON document for programs. */
#ifndef KXINFO_HOST_REPORT_H
#define KXINFO_HOST_REPORT_H

#include <string>
#include <vector>

#include "settings.h"

namespace kxinfo {

/** The line above a table, which says which camera was asked for. */
std::string headingOf(const std::string &serial);

/**
 * A table with aligned columns, under its heading. Numbers are
 * rounded to six significant digits.
 *
 * \param serial  beginning of the serial number, as asked for; empty: the first camera
 */
std::string asTable(const std::string &serial, const std::vector<PublishedSetting> &settings);

/** The document described in docs/json.md, with a line end. Numbers are exact. */
std::string asJson(const std::string &serial, const std::vector<PublishedSetting> &settings);

} // namespace kxinfo

#endif
