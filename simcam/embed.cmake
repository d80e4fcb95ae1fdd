# Turns the file INPUT into the C++ source OUTPUT that defines its bytes.

file(READ ${INPUT} _hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," _bytes "${_hex}")
string(REGEX REPLACE "(....,....,....,....,....,....,....,....,....,....,....,....,)" "    \\1\n"
       _bytes "${_bytes}")
file(WRITE ${OUTPUT} "#include <cstddef>

namespace simcam {

extern const unsigned char kBuiltInDescription[];
extern const std::size_t kBuiltInDescriptionSize;

const unsigned char kBuiltInDescription[] = {
${_bytes}
};
const std::size_t kBuiltInDescriptionSize = sizeof kBuiltInDescription;

} // namespace simcam
")
