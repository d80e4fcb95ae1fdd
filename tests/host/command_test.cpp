// The command line of kxinfo-host, the listing, the loading of the plug-in, and standard output.

#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

#include "program.h"

namespace {

namespace fs = std::filesystem;

const std::string kListing = "Printing all Dalsa devices information found:\n"
                             "  == 0. Dalsa Device Information ==\n"
                             "  \tDeviceSerial     : S1234567\n"
                             "  == 1. Dalsa Device Information ==\n"
                             "  \tDeviceSerial     : S7654321\n";

const std::string kOutputLost =
    "kxinfo: standard output did not take all that was written to it. Check that its disk is not "
    "full and that its reader still reads.\n";

Result list(const std::string &name, const std::vector<std::string> &options = {}) {
    std::vector<std::string> arguments{"--plugin", plugin(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kxinfoHost(arguments);
}

TEST(List, ShowsThePluginsLinesOfLevelInfoWhateverTheLogIsSetTo) {
    const Result listing{0, kListing, ""};
    EXPECT_EQ(list("two_cameras"), listing);
    EXPECT_EQ(list("two_cameras", {"--log", "syslog", "--level", "error"}), listing);
}

TEST(List, ShowsMoreOfTheLogWhenAskedFor) {
    const std::string withDebug = "[CIPROC:d]: init Dalsa staff\n" + kListing;
    EXPECT_EQ(list("two_cameras", {"--level", "debug"}), (Result{0, withDebug, ""}));
    EXPECT_EQ(list("two_cameras", {"--log", "stdout", "--level", "debug"}),
              (Result{0, withDebug, ""}));
}

TEST(List, CallsThePluginWithoutASerialNumber) {
    EXPECT_EQ(list("tells_arguments").err, "no serial, mode 1 level 3\n");
    EXPECT_EQ(list("tells_arguments", {"--log", "stdout", "--level", "error"}).err,
              "no serial, mode 1 level 3\n");
    EXPECT_EQ(list("tells_arguments", {"--log", "syslog"}).err, "no serial, mode 3 level 3\n");
    EXPECT_EQ(list("tells_arguments", {"--log", "both", "--level", "debug"}).err,
              "no serial, mode 3 level 4\n");
    EXPECT_EQ(list("tells_arguments", {"--level", "debug"}).err, "no serial, mode 1 level 4\n");
}

TEST(List, EndsWithThePluginsStatusWhenThereIsNoCamera) {
    EXPECT_EQ(
        list("no_camera"),
        (Result{
            1, "no any Dalsa devices found\n",
            "kxinfo: no Dalsa camera answered. Check that the camera has power, is on this "
            "computer's network, and that no firewall keeps its answer away; then try again.\n"}));
}

TEST(List, FailsWhenThePluginThrows) {
    EXPECT_EQ(list("throws_exception"),
              (Result{3, "[CIPROC:d]: about to throw\n",
                      "kxinfo: the plug-in failed with an exception: the camera's description is "
                      "damaged. Add '--log stdout --level debug' to see how far it came.\n"}));
}

TEST(CommandLine, TellsTheVersion) {
    EXPECT_EQ(kxinfoHost({"--version"}), (Result{0, "kxinfo-host " KXINFO_VERSION "\n", ""}));
}

TEST(CommandLine, HelpsWithItsOptions) {
    const Result help = kxinfoHost({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char *option : {"SERIAL", "--json", "--log SINK", "--level LEVEL", "--plugin FILE"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
}

TEST(CommandLine, IsRefusedWithASentence) {
    const struct {
        std::vector<std::string> arguments;
        std::string says;
    } rows[] = {
        {{"S1", "--frob"},
         "'kxinfo-host' does not take \"--frob\". Run 'kxinfo-host --help' for what is expected."},
        {{"S1", "S2"},
         "'kxinfo-host' does not take \"S2\". Run 'kxinfo-host --help' for what is expected."},
        {{"--log", "file"}, "--log is \"file\"; expected is none, stdout, syslog or both."},
        {{"S1", "--log", "stdout", "--level", "loud"},
         "--level is \"loud\"; expected is error, warning, info or debug."},
        {{"S1", "--level", "debug"},
         "--level says how much is logged, and needs --log to say where. Add '--log stdout', for "
         "example."},
        {{"--json"},
         "--json shows the settings of a camera: give its serial number, or \"\" for the first "
         "camera. 'kxinfo list --json' lists them."},
    };
    for (const auto &row : rows)
        EXPECT_EQ(kxinfoHost(row.arguments), (Result{2, "", "kxinfo: " + row.says + "\n"}));
}

TEST(LoadingThePlugin, FailsForAFileThatIsNoLibrary) {
    const std::string file = KXINFO_SOURCES "/tests/host/CMakeLists.txt";
    for (const auto &[name, why] :
         {std::pair(file, file + ": invalid ELF header"),
          std::pair(std::string("nowhere.so"),
                    std::string("./nowhere.so: cannot open shared object file: No such file or "
                                "directory"))})
        EXPECT_EQ(kxinfoHost({"--plugin", name}),
                  (Result{2, "",
                          "kxinfo: the plug-in cannot be loaded: " + why +
                              ". Expected is a plug-in's shared library, built for this computer, "
                              "and the libraries that it needs.\n"}));
}

TEST(LoadingThePlugin, FailsForALibraryThatIsNoPlugin) {
    EXPECT_EQ(list("no_entry"),
              (Result{2, "",
                      "kxinfo: \"" + plugin("no_entry") +
                          "\" is a library, but no plug-in: it has no function Vendor__Proc. Name "
                          "a plug-in's library file with --plugin, or leave --plugin out to use "
                          "the one that kxinfo comes with.\n"}));
}

TEST(LoadingThePlugin, TakesANameWithoutAFolderForAFileOfTheWorkingFolder) {
    EXPECT_EQ(run({KXINFO_HOST, "--plugin", "two_cameras.so"}, {}, {}, KXINFO_PLUGINS),
              (Result{0, kListing, ""}));
}

// A copy of the program in a folder of its own.
class PlaceOfThePlugin : public testing::Test {
protected:
    void SetUp() override { fs::copy_file(KXINFO_HOST, root_ + "/kxinfo-host"); }

    ScratchFolder folder_;
    std::string root_ = fs::canonical(folder_.path());
};

TEST_F(PlaceOfThePlugin, IsBesideTheProgramAlsoBehindALinkToIt) {
    fs::copy_file(plugin("two_cameras"), root_ + "/libkxinfo-dalsa.so");
    fs::create_directory(root_ + "/links");
    fs::create_symlink(root_ + "/kxinfo-host", root_ + "/links/host");
    EXPECT_EQ(run({root_ + "/links/host"}), (Result{0, kListing, ""}));
}

TEST_F(PlaceOfThePlugin, IsToldWhenThereIsNoPlugin) {
    EXPECT_EQ(run({root_ + "/kxinfo-host"}),
              (Result{2, "",
                      "kxinfo: the plug-in is not where kxinfo looks for it, at " + root_ +
                          "/libkxinfo-dalsa.so. Install it there, or name its file with "
                          "--plugin.\n"}));
}

TEST(StandardOutput, ThatIsFullMakesTheCommandFail) {
    const std::vector<std::vector<std::string>> commands = {
        {"S1", "--plugin", plugin("two_cameras")},
        {"S1", "--json", "--plugin", plugin("two_cameras")},
        {"--plugin", plugin("two_cameras")},
        {"--help"}};
    for (const auto &command : commands)
        EXPECT_EQ(kxinfoHost(command, Stream::to("/dev/full")), (Result{3, "", kOutputLost}));
}

TEST(StandardOutput, ThatIsClosedMakesTheCommandFail) {
    EXPECT_EQ(kxinfoHost({"S1", "--plugin", plugin("two_cameras")}, Stream::closed()),
              (Result{3, "", kOutputLost}));
}

TEST(StandardOutput, WhoseReaderIsGoneEndsTheCommandQuietlyAfterThePluginHasFinished) {
    EXPECT_EQ(kxinfoHost({"--plugin", plugin("two_cameras")}, Stream::brokenPipe()),
              (Result{-SIGPIPE, "", ""}));
    EXPECT_EQ(kxinfoHost({"S1", "--plugin", plugin("tells_arguments"), "--log", "stdout"},
                         Stream::brokenPipe()),
              (Result{-SIGPIPE, "", "serial \"S1\" mode 1 level 3\n"}));
}

TEST(StandardOutput, ThatIsClosedIsNotMistakenForAFileThatThePluginOpens) {
    // A file opened first in a process whose standard output is closed would get its number.
    const ScratchFolder folder;
    const std::string file = folder.path() + "/opened";
    EXPECT_EQ(
        kxinfoHost({file, "--log", "stdout", "--plugin", plugin("opens_file")}, Stream::closed()),
        (Result{3, "", kOutputLost}));
    EXPECT_EQ(fs::file_size(file), 0u);
}

} // namespace
