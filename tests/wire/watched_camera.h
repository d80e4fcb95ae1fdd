/** A virtual camera whose registers are looked at before and after a command of kxinfo. */
#ifndef KXINFO_TESTS_WATCHED_CAMERA_H
#define KXINFO_TESTS_WATCHED_CAMERA_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "process.h"
#include "program.h"

/** Addresses of the built-in model's registers, and what they may hold. */
namespace reg {
constexpr uint32_t kNobodyMayWrite = 0x904; ///< one of the standard's own
constexpr uint32_t kWidth = 0x10110;
constexpr uint32_t kHeight = 0x10114;
constexpr uint32_t kOffsetX = 0x10118;
constexpr uint32_t kGainSelector = 0x10300;
constexpr uint32_t kBalanceRatioSelector = 0x10310;
constexpr uint32_t kBalanceWhiteAuto = 0x10320;
constexpr uint32_t kAutoBrightnessMode = 0x10400;
constexpr uint32_t kExposureAuto = 0x1040C;
constexpr uint32_t kGainAuto = 0x10418;
constexpr uint32_t kGainAutoSource = 0x1041C;
constexpr uint32_t kLutMode = 0x10500;
constexpr uint32_t kLutType = 0x10504;
constexpr uint32_t kLutSize = 0x10508;
constexpr uint32_t kLutSelector = 0x10510;
constexpr uint32_t kLutIndex = 0x10514;
constexpr uint32_t kLutValues = 0x20000;
constexpr uint32_t kBytesOfTable = 0x4000;
} // namespace reg

/** What is written to a register, in the order of writing. */
using Writes = std::vector<std::pair<uint32_t, uint32_t>>;

/** A state that a camera may be in when a command starts, made from the one before it. */
struct StartingState {
    const char *name;
    Writes writes;
};

/** Fresh; with automatic control, the gamma curve or the user's table on; selectors elsewhere. */
const std::vector<StartingState> &startingStates();

/** A part of a description and what stands there instead. */
struct Replacement {
    std::string part;
    std::string by;
    bool isName = false; ///< it counts only where it is a whole name
};

/** A text with a part replaced in all its places; it fails the test when there is none. */
std::string replaced(std::string text, const Replacement &replacement);

/** The built-in description with parts replaced; each has to be there. */
std::string descriptionWith(const std::vector<Replacement> &replacements);

/** Makes tables of 16 entries of 0 to 15 (with 12 bits), which are read in no time. */
Replacement smallTables();

/** Makes a feature refuse to be written, though its description says that it may be. */
Replacement refusesWrites(const std::string &feature);

/** Makes what is available on a condition, a node of the description, available in any case. */
Replacement alwaysAvailable(const std::string &condition);

/** Locks a feature while an automatic function is on "Continuous", as cameras do. */
Replacement lockedBy(const std::string &feature, const std::string &automation);

/** Gives a node another name, wherever it stands: its users find that the camera lacks it. */
Replacement without(const std::string &node);

/** Camera S1234 at 127.0.0.2, of the built-in model but for what is replaced. */
class WatchedCamera {
public:
    explicit WatchedCamera(const std::vector<Replacement> &replacements = {},
                           const std::vector<std::string> &options = {});

    /** Its registers as lines "name = value". */
    std::string snapshot() const;

    /** What has changed since the latest call of this, or since the camera was made. */
    std::vector<std::string> changes();

    /** Writes registers as a client of its own, which takes control and gives it back. */
    void write(const Writes &writes);

    /** Tells it to stop. \return how many commands it has answered */
    int stop();

    /** Tells it to stop. \return its commands by kind: "readreg", "writereg", "readmem", ... */
    std::map<std::string, int> stopAndCount();

    const TemporaryFolder &folder() const { return folder_; }

private:
    static std::vector<std::string> arguments(const TemporaryFolder &folder,
                                              const std::vector<Replacement> &replacements,
                                              const std::vector<std::string> &options);

    TemporaryFolder folder_;
    Simcam camera_;
    std::string last_;
};

/**
 * What a command does when the camera falls silent in the middle of it: halfway between the
 * commands that opening the camera takes and all that it answers when it stays.
 *
 * \param state  written to the camera before
 */
Result whenSilentHalfway(const std::vector<std::string> &command,
                         const std::vector<Replacement> &replacements = {},
                         const Writes &state = {});

/** Standard error of a command whose camera fell silent; \p more is an expression for what follows. */
testing::Matcher<std::string> saysSilent(const std::string &more);

#endif
