/** A description as large as those of real cameras. */
#ifndef KXINFO_BENCH_LARGE_DESCRIPTION_H
#define KXINFO_BENCH_LARGE_DESCRIPTION_H

#include <cstddef>
#include <string>

/**
 * At least \p bytes, and some 30 KB more at most: of every kind of node, condition and formula as
 * many as real descriptions have. Its `Width` is the register at 0x1000, 4 bytes, big endian.
 */
std::string largeDescription(size_t bytes);

#endif
