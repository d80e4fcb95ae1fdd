/** Numbers and tables as people read them. */
#ifndef KXINFO_HOST_TABLE_H
#define KXINFO_HOST_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace kxinfo {

/** What stands in a cell that has no value. */
constexpr const char *kNone = "-";

/** "NaN", "Infinity" or "-Infinity". */
const char *nameOfNonNumber(float value);

/**
 * Six significant digits, and all that stand before the decimal point unless they run long. A
 * person needs no more, and the noise of single precision (6.0206003 dB) stays out of sight.
 */
std::string numberText(float value);

/** "one of A, B, C"; kNone when there is nothing to choose. */
std::string choicesText(const std::vector<std::string> &choices);

/** A row of a table. */
struct Row {
    /** As many as the table has columns, or fewer: the last one then fills the rest of the line. */
    std::vector<std::string> cells;
};

/**
 * The rows as lines with aligned columns, two blanks apart. The first column and every last cell
 * are aligned left, the others right. The last cell of a row counts for no column's width.
 */
std::string tableText(const std::vector<Row> &rows);

} // namespace kxinfo

#endif
