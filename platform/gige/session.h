/** One opened camera. */
#ifndef KXINFO_GIGE_SESSION_H
#define KXINFO_GIGE_SESSION_H

#include <memory>

#include "gevapi.h"
#include "nodemap.h"
#include "port.h"

namespace gige {

class Session {
public:
    /**
     * Opens the camera at the record's address, from the address that it was found from.
     *
     * \param session  receives the session when the status is GEVLIB_OK, null otherwise
     */
    static GEV_STATUS open(const GEV_CAMERA_INFO &device, GevAccessMode mode,
                           std::unique_ptr<Session> &session);

    /** Gives control back before it returns. Takes seconds when the camera is silent. */
    ~Session();

    /** Null when the camera has no description that can be used. Made at the first call. */
    NodeMap *nodeMap();

private:
    Session(ObjectPtr<ArvGvDevice> camera, GevAccessMode mode);

    GEV_STATUS settleControl();

    ObjectPtr<ArvGvDevice> camera_; // null: a camera without a description
    ObjectPtr<ArvDevice> port_;
    GevAccessMode mode_;
    bool mapMade_ = false;
    std::unique_ptr<NodeMap> nodeMap_;
};

} // namespace gige

#endif
