#ifndef KXINFO_SIMCAM_ARCHIVE_H
#define KXINFO_SIMCAM_ARCHIVE_H

#include "protocol.h"

#include <string>

namespace simcam {

/** A zip archive that holds one file. Throws std::runtime_error. */
Bytes zip(const std::string &fileName, const Bytes &content);

/** Files in a zip archive. A camera's holds one; some makers put a note or two beside it. */
constexpr int kMaxMembers = 16;

/** The first file in a zip archive. Throws std::runtime_error, also for a file that is larger. */
Bytes unzip(const Bytes &archive, size_t maxSize);

bool isZip(const Bytes &file);

} // namespace simcam

#endif
