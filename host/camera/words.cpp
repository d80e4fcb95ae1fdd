#include "words.h"

#include <exception>

#include "Base/GCException.h"

namespace kxinfo {

std::string reasonInFlight() {
    try {
        throw;
    } catch (const CommandError &error) {
        return error.text.substr(0, error.text.find_last_not_of('.') + 1);
    } catch (const GenICam_3_0::GenericException &error) {
        return error.GetDescription();
    } catch (const std::exception &error) {
        return error.what();
    } catch (...) {
        return "an error without a reason";
    }
}

std::string shortened(const std::string &text) {
    size_t end = 40;
    if (text.size() <= end)
        return text;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80)
        --end; // inside a character
    return text.substr(0, end) + "...";
}

std::string meaningOf(int code) {
    switch (code) {
    case 0:
        return "done";
    case -1:
        return "the camera has no description of its features";
    case -2:
        return "the camera has no such feature, or has it as another kind";
    default:
        return "the camera class answers " + std::to_string(code);
    }
}

} // namespace kxinfo
