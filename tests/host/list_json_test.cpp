// kxinfo list --json.

#include <gtest/gtest.h>

#include "program.h"

namespace {

const std::string kTwoCameras = R"({
  "version": 1,
  "cameras": [
    {
      "number": 0,
      "serial": "S1",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 2,
      "serial": "S2",
      "interface": "GigE",
      "model": "Nano"
    }
  ]
}
)";

const std::string kNoCamera = R"({
  "version": 1,
  "cameras": []
}
)";

Result list(const std::string &name, const std::vector<std::string> &options = {}) {
    std::vector<std::string> arguments{"list", "--json", "--plugin", plugin(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kxinfo(arguments);
}

TEST(ListJson, HoldsTheDalsaCamerasWithTheirNumbers) {
    EXPECT_EQ(list("tells_search"), (Result{0, kTwoCameras, "searched for: everything\n"}));
}

TEST(ListJson, IsTheSameWhateverTheLogIsSetTo) {
    EXPECT_EQ(list("tells_search", {"--log", "none", "--level", "debug"}),
              (Result{0, kTwoCameras, "searched for: everything\n"}));
    EXPECT_EQ(list("tells_search", {"--log", "syslog", "--level", "error"}),
              (Result{0, kTwoCameras, "searched for: everything\n"}));
}

TEST(ListJson, HasTheLogOnStandardError) {
    EXPECT_EQ(list("tells_search", {"--log", "stdout", "--level", "debug"}),
              (Result{0, kTwoCameras,
                      "searched for: everything\n"
                      "[CIPROC:d]: 0. Vendor \"Dalsa\", Model \"Nano\", Serial \"S1\"\n"
                      "[CIPROC:d]: 1. Vendor \"Other\", Model \"Nano\", Serial \"X1\"\n"
                      "[CIPROC:d]: 2. Vendor \"Dalsa\", Model \"Nano\", Serial \"S2\"\n"
                      "Printing all Dalsa devices information found:\n"
                      "  == 0. Dalsa Device Information ==\n"
                      "  ===================================\n"
                      "  \tDeviceSerial     : S1\n"
                      "  \tDeviceInterface  : GigE\n"
                      "  \tDeviceModel      : Nano\n"
                      "  == 2. Dalsa Device Information ==\n"
                      "  ===================================\n"
                      "  \tDeviceSerial     : S2\n"
                      "  \tDeviceInterface  : GigE\n"
                      "  \tDeviceModel      : Nano\n"}));
}

TEST(ListJson, TakesSerialNumbersAsTheyAreAndReplacesWhatIsNotUtf8) {
    EXPECT_EQ(list("odd_serials"), (Result{0,
                                           R"({
  "version": 1,
  "cameras": [
    {
      "number": 0,
      "serial": "--json",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 1,
      "serial": " S\t\"1\\",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 2,
      "serial": "caf)"
                                           "\uFFFD"
                                           R"(",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 4,
      "serial": "X1",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 5,
      "serial": "S20",
      "interface": "GigE",
      "model": "Nano"
    },
    {
      "number": 6,
      "serial": "S2",
      "interface": "GigE",
      "model": "Nano"
    }
  ]
}
)",
                                           ""}));
}

TEST(ListJson, HasAnEmptyListWhenThereIsNoCamera) {
    EXPECT_EQ(
        list("no_camera"),
        (Result{
            1, kNoCamera,
            "kxinfo: no Dalsa camera answered. Check that the camera has power, is on this "
            "computer's network, and that no firewall keeps its answer away; then try again.\n"}));
}

TEST(ListJson, HasAnEmptyListWhenAnUnexpectedNumberIsTakenForNoCamera) {
    EXPECT_EQ(
        list("returns_seven"),
        (Result{1, kNoCamera,
                "kxinfo: the plug-in returned 7, expected was 0, 1 or a negative number; taken as: "
                "no camera. Check that --plugin names a plug-in that fits this kxinfo.\n"}));
}

TEST(ListJson, LeavesStandardOutputEmptyWhenThePluginFails) {
    EXPECT_EQ(list("throws_exception"),
              (Result{3, "",
                      "kxinfo: the plug-in failed with an exception: the camera's description is "
                      "damaged. Add '--log stdout --level debug' to see how far it came.\n"}));
    EXPECT_EQ(list("throws_exception", {"--log", "stdout", "--level", "debug"}),
              (Result{3, "",
                      "[CIPROC:d]: about to throw\n"
                      "kxinfo: the plug-in failed with an exception: the camera's description is "
                      "damaged. Add '--log stdout --level debug' to see how far it came.\n"}));
}

TEST(ListJson, RefusesAListThatItCannotRead) {
    EXPECT_EQ(list("nulls"),
              (Result{3, "",
                      "kxinfo: the plug-in found cameras, but its list is not in the form that "
                      "kxinfo reads. Check that --plugin names a plug-in that fits this "
                      "kxinfo.\n"}));
}

} // namespace
