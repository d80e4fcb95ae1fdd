#include "snapshot.h"

#include "text.h"
#include "values.h"

#include <algorithm>

namespace simcam {

namespace {

constexpr uint32_t kLongTable = 16;

} // namespace

std::string describe(const std::vector<Register> &registers, const Memory &memory) {
    std::vector<std::string> lines;
    for (const Register &reg : registers) {
        if (reg.access == Memory::kWrite)
            continue;
        for (uint32_t cell = 0; cell < reg.cellCount; ++cell) {
            const Bytes bytes = memory.peek(reg.address + cell * reg.stride, reg.length);
            const bool isZero = std::all_of(bytes.begin(), bytes.end(), [](auto b) { return !b; });
            if (reg.cellCount > kLongTable && isZero)
                continue;
            lines.push_back(printable(cellName(reg, cell) + " = " + valueText(reg, bytes)) + "\n");
        }
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string &line : lines)
        text += line;
    return text;
}

} // namespace simcam
