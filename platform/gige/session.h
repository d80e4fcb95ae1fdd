/** One opened camera. */
#ifndef KXINFO_GIGE_SESSION_H
#define KXINFO_GIGE_SESSION_H

#include <memory>

#include "genapi/nodemap.h"
#include "gevapi.h"
#include "gvcp/channel.h"
#include "port.h"

namespace gige {

class Session {
public:
    /**
     * Opens the camera at the record's address, from the address that it was found from, and loads
     * its description.
     *
     * \param use  in monitor mode Control means: access modes as for who controls the camera
     * \throw gvcp::Error  when there is nothing to work with; control is given back then
     */
    Session(const GEV_CAMERA_INFO &device, GevAccessMode mode, genapi::Use use);

    genapi::NodeMap &nodeMap() { return *nodeMap_; }
    gvcp::Channel &channel() { return channel_; }

private:
    // Nodes go before the port that they read through, and that before the channel, which gives
    // control back.
    gvcp::Channel channel_;
    Port port_;
    std::unique_ptr<genapi::NodeMap> nodeMap_;
};

} // namespace gige

#endif
