#include "messages.h"

#include <cstdio>

#include "requests.h"

namespace kxinfo {

const char *const kNoDalsaCamera =
    "no Dalsa camera answered. Check that the camera has power, is on this computer's network, and "
    "that no firewall keeps its answer away; then try again.";

void tell(const std::string &sentences) {
    (void)fprintf(stderr, "kxinfo: %s\n", sentences.c_str());
}

int tellFailure(const Outcome &outcome, const std::string &hint) {
    if (outcome.exception) {
        tell("the plug-in failed with an exception: " + *outcome.exception + ". " + hint);
        return kFailed;
    }
    const std::string code = std::to_string(outcome.code);
    if (outcome.code < 0) {
        tell("the plug-in failed: it returned " + code + ". " + hint);
        return kFailed;
    }
    tell("the plug-in returned " + code +
         ", expected was 0, 1 or a negative number; taken as: no camera. Check that --plugin names "
         "a plug-in that fits this kxinfo.");
    return kNoCamera;
}

} // namespace kxinfo
