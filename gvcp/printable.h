/** What a camera says, in messages for people. */
#ifndef KXINFO_GVCP_PRINTABLE_H
#define KXINFO_GVCP_PRINTABLE_H

#include <string>
#include <string_view>

namespace gvcp {

/** \p text with a '?' for each byte that is not of printable ASCII: it may act on a terminal. */
std::string printable(std::string_view text);

/**
 * \p text in quotes, with a '?' for each byte that is not of printable ASCII, and "..." for what is
 * beyond the first 60: it may be anything, and anybody's terminal may show it.
 */
std::string quoted(std::string_view text);

} // namespace gvcp

#endif
