/** One camera, opened in control mode for a command. */
#ifndef KXINFO_HOST_CAMERA_SESSION_H
#define KXINFO_HOST_CAMERA_SESSION_H

#include <string>
#include <vector>

#include "gevapi.h"
#include "kx_td_excam.h"

namespace kxinfo {

/** Finds, opens and, at the end of its life, closes a camera, and shuts the platform down. */
class Session {
public:
    /**
     * Opens the Dalsa camera with that serial number or, if none has it, the only one whose serial
     * number begins so.
     *
     * \throws CommandError (kNoCamera) when there is none, several fit, or it cannot be opened
     */
    explicit Session(const std::string &serial);

    /** The opened camera's record. */
    const GEV_CAMERA_INFO &info() const { return info_; }

    /** Its features; never null. */
    const GenApi_3_0::CNodeMapRef &nodeMap() const { return *nodeMap_; }

    /**
     * Its camera object. A fresh one reads ranges anew, which matters once something has been
     * written that they depend on.
     */
    KxTd::CExCam camera() const { return KxTd::CExCam(platform_.handle); }

private:
    // Closes and shuts down also when the constructor fails.
    struct Platform {
        GEV_CAMERA_HANDLE handle = nullptr;

        Platform() = default;
        ~Platform();
        Platform(const Platform &) = delete;
        Platform &operator=(const Platform &) = delete;
    };

    Platform platform_;
    GEV_CAMERA_INFO info_;
    GenApi_3_0::CNodeMapRef *nodeMap_ = nullptr;
};

} // namespace kxinfo

#endif
