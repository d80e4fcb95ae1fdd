#pragma once

#include "protocol.h"

#include <string>

namespace simcam {

/// A zip archive that holds one file. Throws std::runtime_error.
Bytes zip(const std::string &fileName, const Bytes &content);

/// The first file in a zip archive. Throws std::runtime_error, also for a file that is larger.
Bytes unzip(const Bytes &archive, std::size_t maxSize);

bool isZip(const Bytes &file);

} // namespace simcam
