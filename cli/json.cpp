#include "cli/json.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "cli/text.h"

namespace kxinfo {

Json jsonNumber(double value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()) ||
        static_cast<double>(static_cast<float>(value)) != value)
        return value;
    char text[64];
    const auto end = std::to_chars(std::begin(text), std::end(text), static_cast<float>(value));
    double number = 0;
    (void)std::from_chars(text, end.ptr, number);
    return number;
}

std::string jsonText(const Json &document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kxinfo
