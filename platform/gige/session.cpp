#include "session.h"

#include "gvcp/description.h"

namespace gige {
namespace {

gvcp::Access accessOf(GevAccessMode mode) {
    switch (mode) {
    case GevControlMode:
        return gvcp::Access::Control;
    case GevExclusiveMode:
        return gvcp::Access::Exclusive;
    case GevMonitorMode:
        break;
    }
    return gvcp::Access::Monitor;
}

gvcp::Error unusable(const std::string &reason) {
    return gvcp::Error(gvcp::Cause::Description, "its description cannot be used (" + reason + ")");
}

std::string descriptionOf(gvcp::Channel &channel, const GEV_CAMERA_INFO &device) {
    const auto place = gvcp::cachePlace();
    const std::optional<gvcp::DescriptionCache> cache =
        place ? std::optional<gvcp::DescriptionCache>(*place) : std::nullopt;
    try {
        return gvcp::loadDescription(channel, {device.manufacturer, device.model, device.version},
                                     cache ? &*cache : nullptr);
    } catch (const gvcp::Error &error) {
        if (error.cause() != gvcp::Cause::Description && error.cause() != gvcp::Cause::Refused)
            throw;
        throw unusable(error.what());
    }
}

} // namespace

// A record that a broadcast made has the network interface that it came through.
Session::Session(const GEV_CAMERA_INFO &device, GevAccessMode mode)
    : channel_({device.ipAddr, device.hostIpAddr, device.hostIfIndex != 0}, accessOf(mode)),
      port_(newPort(channel_, mode != GevMonitorMode)),
      nodeMap_(
          NodeMap::make(port_.get(), descriptionOf(channel_, device), mode != GevMonitorMode)) {
    if (!nodeMap_)
        throw unusable("it is no GenICam description");
    channel_.openingEnds();
}

} // namespace gige
