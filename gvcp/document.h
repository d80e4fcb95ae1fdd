/** Whether a text is one whole XML document. */
#ifndef KXINFO_GVCP_DOCUMENT_H
#define KXINFO_GVCP_DOCUMENT_H

#include <cstddef>
#include <string_view>

namespace gvcp {

/** Elements within each other. Descriptions have six or seven; parsers may recurse for each. */
constexpr size_t kDeepestElement = 64;
/** Elements in all. Descriptions of 5 MB have some 100,000; a parser takes memory for each. */
constexpr size_t kMostElements = 500'000;
/** Attributes of one element. Descriptions have some 15, at their root. */
constexpr size_t kMostAttributes = 64;
/** Bytes of one name. Those of features have up to 60; parsers have bounds of their own. */
constexpr size_t kLongestName = 1024;

/** \p text without the NULs at its end, and blanks behind one: cameras fill up their memory so. */
std::string_view withoutPadding(std::string_view text);

/**
 * Checks that \p text is one well-formed document of XML 1.0, within the bounds above. It has to be
 * in UTF-8, with or without a byte order mark, or to declare that it is in US-ASCII, ISO-8859-1 or
 * Windows-1252. A document type declaration is refused, as no description needs one, and so are
 * names with colons that are none of a prefix and a name. What has passed here, a parser can be
 * trusted with.
 *
 * \pre at most kLargestDescription bytes
 * \throw Error  Cause::Description: what is wrong, at which line and column (in characters, both
 *               from 1), and what was expected
 */
void checkDocument(std::string_view text);

} // namespace gvcp

#endif
