/** What the tests with hostile devices have in common. */
#ifndef KXINFO_TESTS_HOSTILE_HOSTILE_H
#define KXINFO_TESTS_HOSTILE_HOSTILE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "archive.h"
#include "child.h"
#include "device.h"

/** KiB that kxinfo may take at its peak; not looked at under sanitizers, which take their own. */
constexpr long kMostMemory = 200 * 1024;

/** Camera S1234 at 127.0.0.2, and kxinfo. */
class Hostile : public testing::Test {
protected:
    /** Runs kxinfo and expects that it ends as it should, and leaves the camera free. */
    Ending kxinfo(const std::vector<std::string> &arguments);

    /** The same with its JSON on standard output, for a whole probe. */
    std::string probed();

    /** Expects that kxinfo cannot use the camera, and says why. */
    void expectRefusal(const testing::Matcher<std::string> &why,
                       std::chrono::seconds within = std::chrono::seconds(10));

    Device camera{"127.0.0.2"};
};

/** Expects that a process ended by itself, and took no more memory than it may. */
void expectOrderly(const Ending &ending);

/**
 * Does \p work for all numbers from \p first to \p last, eight at a time, each with a camera of its
 * own that kxinfo finds in the given environment.
 */
void sideBySide(int first, int last,
                const std::function<void(int number, Device &camera, const Environment &)> &work);

#endif
