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

// A record's description becomes a node map, or there is no use in opening the camera.
std::unique_ptr<genapi::NodeMap> nodeMapOf(std::string document, Port &port, genapi::Use use) {
    try {
        return std::make_unique<genapi::NodeMap>(std::move(document), port, use);
    } catch (const GenICam_3_0::GenericException &exception) {
        throw unusable(exception.GetDescription());
    }
}

} // namespace

// A record that a broadcast made has the network interface that it came through.
Session::Session(const GEV_CAMERA_INFO &device, GevAccessMode mode, genapi::Use use)
    : channel_({device.ipAddr, device.hostIpAddr, device.hostIfIndex != 0}, accessOf(mode)),
      port_(channel_),
      nodeMap_(nodeMapOf(descriptionOf(channel_, device), port_, use)) {
    port_.setNodeMap(*nodeMap_);
    // Descriptions before schema 1.1 mean all registers of 4 bytes to be accessed by command.
    if (!nodeMap_->isForSchema(1, 1))
        port_.setRegisterAccess(RegisterAccess::AllByCommand);
    channel_.openingEnds();
}

} // namespace gige
