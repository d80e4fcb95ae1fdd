/** What the tests on the wire have in common: virtual cameras, kxinfo as a user runs it. */
#ifndef KXINFO_TESTS_WIRE_H
#define KXINFO_TESTS_WIRE_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client.h"
#include "process.h"
#include "program.h"

/** The lines of a text, without their ends. */
std::vector<std::string> linesOf(const std::string &text);

/** The lines in which two texts differ, as "name: before -> after", for lines "name = value". */
std::vector<std::string> changes(const std::string &before, const std::string &after);

/** How many commands a virtual camera's closing line counts. */
int commandsIn(const std::string &closingLine);

/**
 * Where a JSON document is not as a schema of docs/schema says, a line for each place; empty when
 * it holds.
 *
 * \param schema  its file's name, such as "list.schema.json"
 */
std::string violations(const std::string &document, const std::string &schema);

/** What camera S1234 of a kxinfo-simcam that was given that folder for snapshots holds now. */
std::string snapshotOf(const Simcam &camera, const TemporaryFolder &folder);

/**
 * A second network namespace with camera S1 at 169.254.3.4, and a cable from there to this one, whose
 * end here, eth0, has 192.168.0.2/24.
 *
 * \param options  of kxinfo-simcam, besides the camera
 */
std::unique_ptr<Simcam> cameraBehindACable(std::vector<std::string> options = {});

/** How long cameras are looked for in tests: they share a computer that may be busy. */
constexpr std::chrono::milliseconds kSearchWindow{1000};

/** kxinfo and virtual cameras in a network of their own. */
class Wire : public testing::Test {
protected:
    /** The virtual cameras answer at once. */
    static void SetUpTestSuite();

    /** The lines that the plug-in's listing has for one camera. */
    static std::string listed(int number, const std::string &serial);

    /**
     * What a probe says of a camera that another program of this computer controls, as an
     * expression. Where the platform tells why it cannot be opened, that stands there.
     */
    static std::string controlledByAnother(const std::string &serial);

    /** kxinfo-host with the log at level debug on standard output. */
    static Result probeWithLog(const std::string &serial);
};

#endif
