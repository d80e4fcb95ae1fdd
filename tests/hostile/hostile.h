/** What the tests with hostile devices have in common. */
#ifndef KXINFO_TESTS_HOSTILE_HOSTILE_H
#define KXINFO_TESTS_HOSTILE_HOSTILE_H

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "device.h"
#include "program.h"
#include "timing.h"
#include "zip_file.h"

/** The model's width. */
constexpr uint32_t kWidth = 0x10110;

/** The description in simcam/. */
const std::string &builtInDescription();

/** An archive of a description. */
std::string archived(const std::string &description);

/**
 * A camera of Dalsa, with the registers and the description of the model in simcam/, right by
 * itself and misled by the test.
 */
class Camera : public Device {
public:
    explicit Camera(const std::string &at, const std::string &serial = "S1234",
                    uint32_t claimedAddress = 0);

    const std::string address;
};

/** How kxinfo ended. */
struct Ending : Result {
    std::chrono::milliseconds took;
};

std::ostream &operator<<(std::ostream &stream, const Ending &ending);

/**
 * Runs kxinfo with nothing in its cache of descriptions.
 *
 * \param address  of the only camera that it asks; empty: it asks all
 */
Ending runKxinfo(const std::vector<std::string> &arguments, const std::string &address = {});

/** Expects that kxinfo ended by itself, and took no more time and memory than it may. */
void expectOrderly(const Ending &ending);

/** Expects that kxinfo cannot use the camera, says why, ends as it should and leaves it free. */
void expectRefusal(const Camera &camera, const testing::Matcher<std::string> &why);

/**
 * Does \p work for all numbers from \p first to \p last, several at a time, each with a camera of
 * its own.
 */
void sideBySide(int first, int last, const std::function<void(int number, Camera &camera)> &work);

/** A way to mislead kxinfo, and what it says of that. */
struct Deceit {
    const char *name;
    std::function<void(Camera &camera)> mislead;
    std::string why;
};

/** Expects a refusal of each. */
void expectRefusals(const std::vector<Deceit> &deceits);

/** Camera S1234 at 127.0.0.2, and kxinfo. */
class Hostile : public testing::Test {
protected:
    /** Runs kxinfo and expects that it ends as it should, and leaves the camera free. */
    Ending kxinfo(const std::vector<std::string> &arguments);

    /** The same with its JSON on standard output, for a whole probe. */
    std::string probed();

    Camera camera{"127.0.0.2"};
};

#endif
