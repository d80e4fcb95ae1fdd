#include "list.h"

#include <algorithm>

#include "messages.h"

namespace kxinfo {

int list(const Plugin &plugin, const ListRequest &request) {
    const Outcome outcome = plugin.run(nullptr, request.log.mode | KX_LOG_MODE_STDOUT,
                                       std::max<int>(request.log.level, KX_LOG_LEVEL_INFO));
    if (outcome.exception || outcome.code < 0 || outcome.code > 1)
        return tellFailure(outcome);
    if (outcome.code == 1)
        tell(kNoDalsaCamera);
    return outcome.code;
}

} // namespace kxinfo
