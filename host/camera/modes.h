/**
 * What a command finds on a camera and has to leave there.
 *
 * Some features can only be reached while others are switched: selectors, the automatic functions,
 * the kind of lookup table. These are switched for as long as a command needs it and put back at
 * its end, also what the camera class leaves switched after reading. What a command changes for
 * good is put back too, unless the command came to its end.
 */
#ifndef KXINFO_HOST_CAMERA_MODES_H
#define KXINFO_HOST_CAMERA_MODES_H

#include <optional>
#include <string>
#include <vector>

#include "nodes.h"

namespace kxinfo {

/** What a feature needs before it can be read and written. */
enum class Reach {
    Direct,
    SensorGain,       ///< "GainSelector" on "SensorAll"
    Manual,           ///< "autoBrightnessMode" on "Off"
    ManualSensorGain, ///< and "GainSelector" on "SensorAll"
    RedBalance,       ///< "BalanceRatioSelector" on "Red"
    BlueBalance,      ///< "BalanceRatioSelector" on "Blue"
    Brightness,       ///< "autoBrightnessMode" on "Active"
    AutoExposure,     ///< and "ExposureAuto" on "Continuous"
    AutoGain,         ///< or "GainAuto" on "Continuous"
    SensorAutoGain,   ///< and "gainAutoSource" on "SensorAll"
    GammaTable,       ///< "lutType" on "GammaCorrection"
    UserTable,        ///< "lutType" on "UserDefined"
    WholeUserTable    ///< and "lutSize" on "Bpp12"
};

class Modes {
public:
    explicit Modes(const GenApi_3_0::CNodeMapRef &nodeMap) : nodeMap_(nodeMap) {}

    /**
     * Switches what is needed and the camera has, and remembers what it was. Automatic functions
     * that have been switched on for another feature are put back first: while they are on, a
     * camera may not let exposure time and gain be set. What cannot be reached because the camera
     * lacks a mode is not told here: the feature itself will be missing.
     */
    void reach(Reach reach);

    /** Remembers a feature's value, so that it is put back. No harm when it cannot be read. */
    void remember(const char *feature, Reach reach);

    /** The value that the feature has, or will have when all is put back. */
    RawValue read(const char *feature, Reach reach);

    /** The same, but of a feature that is not switched at the moment as the camera has it now. */
    RawValue readAnew(const char *feature, Reach reach);

    /** Remembers a feature and writes it. */
    void write(const char *feature, Reach reach, const RawValue &value);

    /** What the feature is now is meant to stay; it has been remembered before. */
    void changed(const char *feature, Reach reach);

    /** The command has come to its end: what is meant to stay stays. */
    void keepChanges();

    /** Features that are meant to stay changed, separated by commas. */
    std::string changes() const;

    /**
     * Puts everything back, the latest first, and goes on when one cannot be.
     *
     * \return what could not be put back and why, as a sentence; empty when all is as before
     */
    std::string putBack();

private:
    struct Remembered {
        std::string feature;
        Reach reach;
        RawValue before;
        std::optional<RawValue> after; ///< what it is meant to stay
        bool switched = false;         ///< at the moment, to reach another feature
        bool touched = false;          ///< something else than reach() may have changed it

        const RawValue &settled() const { return after ? *after : before; }
    };

    /** What could not be put back. */
    struct Failures {
        size_t count = 0;
        std::string features; ///< and their values, separated by commas
        std::string reason;   ///< of the first
    };

    Failures putBackOnce();
    Remembered *find(const std::string &feature, Reach reach);
    void keep(const char *feature, Reach reach);
    void keepWhatAutomationMoves();
    void putBackWhatAutomationMoved();
    void leaveAutomation();
    bool isAutomatic(const char *automation);
    void switchFor(Reach reach);
    void select(const char *feature, Reach reach, const char *entry);

    const GenApi_3_0::CNodeMapRef &nodeMap_;
    std::vector<Remembered> remembered_;
};

} // namespace kxinfo

#endif
