#include "list.h"

#include <algorithm>
#include <cstdio>

#include "json.h"
#include "listing.h"
#include "messages.h"
#include "standard_output.h"

namespace kxinfo {

namespace {

// The list is made of messages of this level.
int levelOf(const ListRequest &request) {
    return std::max<int>(request.log.level, KX_LOG_LEVEL_INFO);
}

int listAsLines(const Plugin &plugin, const ListRequest &request) {
    const Outcome outcome =
        plugin.run(nullptr, request.log.mode | KX_LOG_MODE_STDOUT, levelOf(request));
    if (outcome.exception || outcome.code < 0 || outcome.code > 1)
        return tellFailure(outcome);
    if (outcome.code == 1)
        tell(kNoDalsaCamera);
    return outcome.code;
}

int listAsJson(const Plugin &plugin, const ListRequest &request) {
    const CollectedRun run = runCollected(plugin, nullptr, request.log.mode, levelOf(request));
    if (request.log.mode & KX_LOG_MODE_STDOUT)
        (void)fwrite(run.log.data(), 1, run.log.size(), stderr);
    const Listing listing = readListing(run, kHintOfLog);
    if (listing.status != kDone && listing.status != kNoCamera)
        return listing.status;

    Json cameras = Json::array();
    for (const ListedCamera &camera : listing.cameras)
        cameras.push_back({{"number", camera.number},
                           {"serial", camera.serial},
                           {"interface", camera.interface},
                           {"model", camera.model}});
    writeOut(jsonText({{"version", 1}, {"cameras", cameras}}));
    return listing.status;
}

} // namespace

int list(const Plugin &plugin, const ListRequest &request) {
    return request.json ? listAsJson(plugin, request) : listAsLines(plugin, request);
}

} // namespace kxinfo
