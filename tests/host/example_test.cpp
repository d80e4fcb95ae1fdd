// The minimal host of the host guide: compiled by the command that the guide shows, then run.

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "program.h"

namespace {

namespace fs = std::filesystem;

std::string contentsOf(const std::string &file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// The guide's line that calls the compiler.
std::string compilerCommand() {
    std::istringstream guide(contentsOf(KXINFO_SOURCES "/docs/host-guide.md"));
    for (std::string line; std::getline(guide, line);)
        if (line.rfind("$ cc ", 0) == 0)
            return line.substr(2);
    return {};
}

// A folder that shows the guide's paths, with the host compiled in it.
class MinimalHost : public testing::Test {
protected:
    void SetUp() override {
        for (const char *name : {"include", "docs"})
            fs::create_directory_symlink(std::string(KXINFO_SOURCES "/") + name,
                                         folder_.path() + "/" + name);
        ASSERT_NE(compilerCommand(), "");
        ASSERT_EQ(run({"/bin/sh", "-c", compilerCommand()}, {}, {}, folder_.path()),
                  (Result{0, "", ""}));
    }

    Result minimalHost(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), folder_.path() + "/minimal_host");
        return run(arguments);
    }

private:
    ScratchFolder folder_;
};

TEST_F(MinimalHost, PrintsTheSettings) {
    const Result result = minimalHost({plugin("two_cameras"), "S12"});

    EXPECT_EQ(result, (Result{0, R"(3: current 8, minimum 0, maximum 1920, increment 4
4: current 4, minimum 0, maximum 1200, increment 2
5: current 1920, minimum 16, maximum 1936, increment 16
6: current 1200, minimum 2, maximum 1216, increment 2
0: current 29.97, minimum 0.1, maximum 120, increment 0.1
2: current 0, minimum -, maximum -, increment -
18: current 6.5, minimum 0, maximum 24.0824, increment 0.5
19: current 10000, minimum 20.5, maximum 1.67772e+07, increment 0.5
1: current 0.45, minimum 0.1, maximum 4, increment 0.1
11: current 0.501961, minimum 0, maximum 1, increment 0.00392157
13: current 0, minimum 0, maximum 18, increment 0.5
14: current 12, minimum 0, maximum 18, increment 0.5
16: current 100, minimum 20, maximum 1e+06, increment 1
17: current 33333.3, minimum 20, maximum 1e+06, increment 1
21: current None, minimum "None", "Out1", "Out2", maximum -, increment -
)",
                              ""}));
}

TEST_F(MinimalHost, PrintsNothingThatIsNotExported) {
    EXPECT_EQ(minimalHost({plugin("never_exports"), "S12"}), (Result{0, "", ""}));
}

TEST_F(MinimalHost, EndsWithStatusOneWhenThereIsNoCamera) {
    EXPECT_EQ(minimalHost({plugin("no_camera")}), (Result{1, "no any Dalsa devices found\n", ""}));
}

TEST_F(MinimalHost, SaysHowItIsUsed) {
    EXPECT_EQ(minimalHost({}), (Result{2, "", "usage: minimal_host PLUGIN [SERIAL]\n"}));
}

TEST_F(MinimalHost, SaysWhenTheLibraryIsNoPlugin) {
    EXPECT_EQ(
        minimalHost({plugin("no_entry")}),
        (Result{2, "",
                "minimal_host: " + plugin("no_entry") + ": undefined symbol: Vendor__Proc\n"}));
}

} // namespace
