// The command line, the listing, the loading of the plug-in, and standard output.

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
    std::vector<std::string> arguments{"list", "--plugin", plugin(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kxinfo(arguments);
}

TEST(List, ShowsThePluginsLinesOfLevelInfo) {
    EXPECT_EQ(list("two_cameras"), (Result{0, kListing, ""}));
}

TEST(List, ShowsThemWhateverTheLogIsSetTo) {
    EXPECT_EQ(list("two_cameras", {"--log", "none"}), (Result{0, kListing, ""}));
    EXPECT_EQ(list("two_cameras", {"--log", "syslog", "--level", "error"}),
              (Result{0, kListing, ""}));
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
    EXPECT_EQ(kxinfo({"--version"}), (Result{0, "kxinfo " KXINFO_VERSION "\n", ""}));
}

TEST(CommandLine, HelpsWithExamplesAndExitStatuses) {
    const Result help = kxinfo({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_EQ(help.out.substr(0, help.out.find(',')), "kxinfo lists Dalsa GigE Vision cameras");
    EXPECT_EQ(help.out.substr(help.out.find("Examples:")),
              R"(Examples:
  kxinfo list                     lists the cameras that answer
  kxinfo probe S1234567           shows the settings of the camera with this serial number
  kxinfo probe --all              the same of every camera
  kxinfo probe "" --json          of the first camera found, as a JSON document
  kxinfo get S1234567 Gain        shows a property
  kxinfo set S1234567 Gain=6      sets it, in decibels
  kxinfo save S1234567 camera.json
                                  writes its settings to a file, for 'kxinfo restore'

'kxinfo COMMAND --help' tells the options of a command and shows an example.

Exit status:
  0  done
  1  no camera was found, none or several with such a serial number, or it cannot be opened
  2  wrong usage: an unknown property, a value out of range, a plug-in that cannot be loaded;
     no setting was changed
  3  the camera or the plug-in failed, or not all could be done; the message says what
)");
}

TEST(CommandLine, HelpsWithTheOptionsOfACommand) {
    for (const char *command : {"list", "probe"}) {
        const Result help = kxinfo({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        for (const char *option : {"--log SINK", "--level LEVEL", "--plugin FILE"})
            EXPECT_NE(help.out.find(option), std::string::npos) << option;
    }
}

const std::string kExpected = "expected is 'list', 'probe', 'get', 'set', 'gamma', 'lut', 'auto', "
                              "'save' or 'restore'";

struct WrongUsage {
    std::vector<std::string> arguments;
    std::string says;
};

class CommandLineRefuses : public testing::TestWithParam<WrongUsage> {};

TEST_P(CommandLineRefuses, WithASentence) {
    EXPECT_EQ(kxinfo(GetParam().arguments), (Result{2, "", "kxinfo: " + GetParam().says + "\n"}));
}

INSTANTIATE_TEST_SUITE_P(
    WrongUsage, CommandLineRefuses,
    testing::Values(
        WrongUsage{{},
                   "a command is missing; " + kExpected +
                       ". Run 'kxinfo --help' for "
                       "the commands and examples."},
        WrongUsage{{"open"},
                   "unknown command \"open\"; " + kExpected +
                       ". Run 'kxinfo --help' "
                       "for the commands and examples."},
        WrongUsage{{""},
                   "unknown command \"\"; " + kExpected +
                       ". Run 'kxinfo --help' for "
                       "the commands and examples."},
        WrongUsage{{"--json"},
                   "unknown option \"--json\"; " + kExpected +
                       ", then its options. "
                       "Run 'kxinfo --help' for the commands and examples."},
        WrongUsage{{"probe"},
                   "'probe' needs the camera's serial number, or how it begins (\"\" for the first "
                   "camera found). Run 'kxinfo probe --help' for what is expected."},
        WrongUsage{{"probe", "S1", "--frob"},
                   "'probe' does not take \"--frob\". Run 'kxinfo probe --help' for what is "
                   "expected."},
        WrongUsage{{"probe", "S1", "S2"},
                   "'probe' does not take \"S2\". Run 'kxinfo probe --help' for what is expected."},
        WrongUsage{{"list", "S1"},
                   "'list' does not take \"S1\". Run 'kxinfo list --help' for what is "
                   "expected."},
        WrongUsage{{"list", "--log", "file"},
                   "--log is \"file\"; expected is none, stdout, syslog or both."},
        WrongUsage{{"probe", "S1", "--log", "stdout", "--level", "loud"},
                   "--level is \"loud\"; expected is error, warning, info or debug."},
        WrongUsage{{"lut", "S1", "dance"},
                   "'lut' does not know the action \"dance\"; expected is show, off, user, gamma "
                   "or load."},
        WrongUsage{{"lut", "S1", "load", "curve", "--channel", "pink"},
                   "--channel is \"pink\"; expected is red, green or blue."},
        WrongUsage{{"lut", "S1", "load", "curve", "--channel"},
                   "--channel needs a value. Run 'kxinfo lut --help' for what is expected."},
        WrongUsage{{"auto", "S1", "on", "--target", "1", "--target", "0"},
                   "--target is given twice. Run 'kxinfo auto --help' for what is expected."},
        WrongUsage{{"auto", "S1", "maybe"},
                   "'auto' does not know the state \"maybe\"; expected is on or off."},
        WrongUsage{{"auto", "S1", "on", "--gain", "0...5"},
                   "--gain is \"0...5\"; expected is MIN..MAX, for example 100..20000."},
        WrongUsage{{"probe", "S1", "--level", "debug"},
                   "--level says how much is logged, and needs --log to say where. Add '--log "
                   "stdout', for example."}));

TEST(LoadingThePlugin, FailsForAFileThatDoesNotExist) {
    EXPECT_EQ(
        kxinfo({"list", "--plugin", "/nowhere/plugin.so"}),
        (Result{
            2, "",
            "kxinfo: the plug-in \"/nowhere/plugin.so\" does not exist. Name a plug-in's library "
            "file with --plugin, or leave --plugin out to use the one that kxinfo comes with.\n"}));
}

TEST(LoadingThePlugin, FailsForAFileThatIsNoLibrary) {
    const std::string file = KXINFO_SOURCES "/tests/host/CMakeLists.txt";
    EXPECT_EQ(kxinfo({"list", "--plugin", file}),
              (Result{2, "",
                      "kxinfo: the plug-in cannot be loaded: " + file +
                          ": invalid ELF header. Expected is a plug-in's shared library, built for "
                          "this computer, and the libraries that it needs.\n"}));
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
    EXPECT_EQ(run({KXINFO_PROGRAM, "list", "--plugin", "two_cameras.so"}, {}, {}, KXINFO_PLUGINS),
              (Result{0, kListing, ""}));
}

// A copy of the program in a folder tree of its own.
class PlaceOfThePlugin : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(root_ + "/bin");
        fs::copy_file(KXINFO_PROGRAM, program());
    }

    std::string program() const { return root_ + "/bin/kxinfo"; }

    void put(const std::string &name, const std::string &place) const {
        fs::create_directories(fs::path(root_ + "/" + place).parent_path());
        fs::copy_file(plugin(name), root_ + "/" + place);
    }

    ScratchFolder folder_;
    std::string root_ = fs::canonical(folder_.path());
};

TEST_F(PlaceOfThePlugin, IsTheLibraryFolderOfTheBuild) {
    put("two_cameras", "lib/libkxinfo-dalsa.so");
    EXPECT_EQ(run({program(), "list"}), (Result{0, kListing, ""}));
}

TEST_F(PlaceOfThePlugin, IsAFolderOfItsOwnWhenInstalled) {
    put("two_cameras", "lib/kxinfo/libkxinfo-dalsa.so");
    EXPECT_EQ(run({program(), "list"}), (Result{0, kListing, ""}));
}

TEST_F(PlaceOfThePlugin, IsFoundThroughALinkToTheProgram) {
    put("two_cameras", "lib/kxinfo/libkxinfo-dalsa.so");
    const std::string link = root_ + "/link";
    fs::create_symlink(program(), link);
    EXPECT_EQ(run({link, "list"}), (Result{0, kListing, ""}));
}

TEST_F(PlaceOfThePlugin, IsListedWhenThereIsNoPlugin) {
    const Result result = run({program(), "list"});

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    const std::string beginning = "kxinfo: the plug-in is not where kxinfo looks for it; name its "
                                  "file with --plugin. kxinfo looked for:\n  " +
                                  root_ + "/lib/libkxinfo-dalsa.so\n  " + root_ +
                                  "/lib/kxinfo/libkxinfo-dalsa.so\n";
    EXPECT_EQ(result.err.substr(0, beginning.size()), beginning);
}

TEST(StandardOutput, ThatIsFullMakesTheCommandFail) {
    const std::vector<std::vector<std::string>> commands = {
        {"probe", "S1", "--plugin", plugin("two_cameras")},
        {"probe", "S1", "--json", "--plugin", plugin("two_cameras")},
        {"list", "--plugin", plugin("two_cameras")},
        {"--help"},
        {"--version"}};
    for (const auto &command : commands)
        EXPECT_EQ(kxinfo(command, Stream::to("/dev/full")), (Result{3, "", kOutputLost}));
}

TEST(StandardOutput, ThatIsClosedMakesTheCommandFail) {
    EXPECT_EQ(kxinfo({"probe", "S1", "--plugin", plugin("two_cameras")}, Stream::closed()),
              (Result{3, "", kOutputLost}));
    EXPECT_EQ(kxinfo({"list", "--plugin", plugin("two_cameras")}, Stream::closed()),
              (Result{3, "", kOutputLost}));
}

TEST(StandardOutput, WhoseReaderIsGoneMakesTheCommandFailAfterThePluginHasFinished) {
    EXPECT_EQ(kxinfo({"list", "--plugin", plugin("two_cameras")}, Stream::brokenPipe()),
              (Result{3, "", kOutputLost}));
    EXPECT_EQ(kxinfo({"probe", "S1", "--plugin", plugin("two_cameras"), "--log", "stdout",
                      "--level", "debug"},
                     Stream::brokenPipe()),
              (Result{3, "", kOutputLost}));
}

TEST(StandardOutput, ThatIsClosedIsNotMistakenForAFileThatThePluginOpens) {
    // A file opened first in a process whose standard output is closed would get its number.
    const ScratchFolder folder;
    const std::string file = folder.path() + "/opened";
    EXPECT_EQ(kxinfo({"probe", file, "--log", "stdout", "--plugin", plugin("opens_file")},
                     Stream::closed()),
              (Result{3, "", kOutputLost}));
    EXPECT_EQ(fs::file_size(file), 0u);
}

} // namespace
