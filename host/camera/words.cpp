#include "words.h"

#include <cstdio>

#include "Base/GCException.h"

namespace kxinfo {

void tell(const std::string &sentences) {
    (void)fprintf(stderr, "kxinfo: %s\n", sentences.c_str());
}

std::string reasonOf(const std::exception &error) {
    const auto *raised = dynamic_cast<const GenICam_3_0::GenericException *>(&error);
    return raised ? raised->GetDescription() : error.what();
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
