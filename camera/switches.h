/**
 * What a command finds on a camera and has to leave there.
 *
 * Some features can only be reached while others are switched: selectors, the automatic functions,
 * the kind of lookup table. These are switched for as long as a command needs it and put back at
 * its end. What a command changes for good is put back too, unless the command came to its end.
 */
#ifndef KXINFO_CAMERA_SWITCHES_H
#define KXINFO_CAMERA_SWITCHES_H

#include <optional>
#include <string>
#include <vector>

#include "camera/camera.h"

namespace kxinfo {

class Switches {
public:
    explicit Switches(const Camera &camera) : camera_(camera) {}

    /** From here on the automatic functions are off while what they set is reached: it can be set then. */
    void stopAutomation() { automationStops_ = true; }

    /**
     * Switches what the feature needs and the camera has, and remembers what it was. Automatic
     * functions that have been switched on for another feature are put back first: while they are
     * on, a camera may not let exposure time and gain be set. What cannot be reached because the
     * camera lacks a mode is not told here: the feature itself will not be available.
     */
    void reach(const Feature &feature);

    /** Remembers a feature's value, so that it is put back. No harm when it cannot be read. */
    void remember(const Feature &feature);

    /**
     * The value that the feature has, or will have when all is put back; none: the camera lacks it.
     *
     * \param cache  ignored: as the camera has it now, unless it is switched
     */
    Value read(const Feature &feature, Cache cache = Cache::Used);

    /** Sets a selector, or a mode, for the moment; nothing happens when it cannot be read. */
    void select(const Feature &feature, const Value &value);

    /**
     * Sets selectors to each of their choices in turn, for the moment.
     *
     * \param all   otherwise what they are on is the one choice, and nothing is written
     * \param work  is told what each of them is on
     * \throws Error (kFailed) when there are more choices than are read, or, once the others have been
     *         worked on, when a selector has none
     */
    void eachChoice(const Words &selectors, bool all,
                    const std::function<void(const std::vector<Need> &needs)> &work);

    /** Remembers a feature and writes it for good. */
    void write(const Feature &feature, const Value &value);

    /** What has been written for good stays. \throws Error when the user has asked to stop */
    void keepChanges();

    /** Features that are to stay changed, separated by commas. */
    std::string changes() const;

    /** Tells what has been switched for the moment, if anything. */
    void tellSwitched() const;

    /**
     * Puts everything back, the latest first, and goes on when one cannot be.
     *
     * \return what could not be put back and why, as a sentence; empty when all is as before
     */
    std::string putBack();

private:
    struct Remembered {
        const Feature *feature;
        Value before;
        std::optional<Value> after; ///< what it is meant to stay
        bool switched = false;      ///< at the moment, to reach another feature
        bool touched = false;       ///< something else than reach() may have changed it

        const Value &settled() const { return after ? *after : before; }
    };

    Remembered *find(const Feature &feature);
    void settle(const Feature &feature, const Value &value) const;
    void keep(const Feature &feature);
    void keepWhatAutomationMoves();
    void putBackWhatAutomationMoved();
    void leaveAutomation();
    bool isAutomatic(const Feature &automation);
    void switchFor(const Feature &feature);
    void switchToManual();
    const Camera &camera_;
    std::vector<Remembered> remembered_;
    Words switched_; // at any time, for the moment
    bool automationStops_ = false;
};

} // namespace kxinfo

#endif
