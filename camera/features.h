/**
 * The features that kxinfo knows by more than their name: the one place that says what each is.
 * Commands, completion, documents and files live from this table. Any other feature of a camera has
 * a name and what the camera says of it.
 */
#ifndef KXINFO_CAMERA_FEATURES_H
#define KXINFO_CAMERA_FEATURES_H

#include <string>
#include <vector>

#include "cli/text.h"

namespace kxinfo {

enum class Kind { Missing, Integer, Float, Boolean, Enumeration, Text, Command, Register };

/** "integer", "float", ...; "missing". */
const char *nameOf(Kind kind);

/** What a number counts. The camera holds decibels as a factor, and a level as 0 to 255. */
enum class Unit { None, Pixels, Microseconds, PerSecond, Decibels, Level };

/** "px", "us", "1/s", "dB"; null for a plain number. */
const char *nameOf(Unit unit);

/** An enumeration, or a number that selects, and what it has to be on. */
struct Need {
    std::string node, entry;
    bool selects; ///< elsewhere the feature has another value; otherwise it has none
};

struct Feature {
    std::string name; ///< as users name it: the node's, with a selector's entry where there is one
    Kind kind = Kind::Missing; ///< on the cameras that are known; Missing: it is none of the table
    Unit unit = Unit::None;
    int saved = 0;                   ///< when it is restored, counted from 1; 0: it is not saved
    std::vector<Need> needs = {};    ///< what has to be on, in the order in which it is switched
    const char *limitedBy = nullptr; ///< null, or the feature that its range depends on
    const char *upTo = nullptr;      ///< null, or the upper limit that it is the lower one to
    const char *setBy = nullptr;     ///< null, or the automatic function that sets it
    Words legacy = {};               ///< what cameras of before have in its place
    std::string node = name.substr(0, name.find('['));
};

/** The table, in the order in which 'kxinfo get' shows it. */
const std::vector<Feature> &allFeatures();

/** Those that are saved, in the order in which they are restored. */
const std::vector<const Feature *> &savedFeatures();

/** " Did you mean ...?" with the rows whose names are near, if any. */
std::string nearestFeatures(const std::string &name);

/** The row of that name, whatever its capitals. \pre there is one */
const Feature &featureNamed(const std::string &name);

/**
 * The features that a user means, each once, whatever the capitals: rows of the table, of which
 * several may share a node ("BalanceRatio"), or a feature of the camera's own with this very name.
 * What comes back lives as long as the process.
 */
std::vector<const Feature *> featuresMeant(const Words &names);

/**
 * A feature as a camera's description has it, whatever the table says. Lives as long as the process.
 *
 * \param needs  what its selectors have to be on, which is told with its name
 */
const Feature &ownFeature(const std::string &name, const std::vector<Need> &needs = {});

} // namespace kxinfo

#endif
