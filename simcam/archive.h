#pragma once

#include "protocol.h"

#include <string>

namespace simcam {

/// A zip archive that holds one file. Throws std::runtime_error.
Bytes zip(const std::string &fileName, const Bytes &content);

/// The first file in a zip archive. Throws std::runtime_error.
Bytes unzip(const Bytes &archive);

bool isZip(const Bytes &file);

} // namespace simcam
