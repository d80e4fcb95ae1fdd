/**
 * Zip archives, as cameras keep their descriptions in. An archive comes from outside: no offset,
 * size or count in it is believed.
 */
#ifndef KXINFO_GVCP_ARCHIVE_H
#define KXINFO_GVCP_ARCHIVE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace gvcp {

/** Files that an archive may hold. A camera's holds one; a few more do no harm. */
constexpr size_t kMostFiles = 64;

/** Whether \p content begins as an archive does. */
bool isArchive(std::string_view content);

/**
 * Where the archive's directory begins. From there to the end it says of each file its name, its
 * sizes and the check sum of its content.
 *
 * \throw Error  Cause::Description: it has no end, or one that cannot be
 */
size_t directoryOffset(std::string_view archive);

/**
 * The content of the first file whose name ends with ".xml", in any capitals; when there is none,
 * of the first file. Its check sum has been compared.
 *
 * Takes at most twice the memory of what it returns.
 *
 * \throw Error  Cause::Description: it is damaged, holds no file or more than kMostFiles, or the
 *               file is encrypted, compressed by another method than deflate, or larger than
 *               kLargestDescription
 */
std::string unzip(std::string_view archive);

} // namespace gvcp

#endif
