// Command lines, of the real programs where that matters.

#include "cli/program.h"

#include <algorithm>
#include <memory>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera/command.h"
#include "cli/host_options.h"

using kxinfo::Error;
using kxinfo::Words;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

kxinfo::Run declareHost(CLI::App &command) {
    const auto options = std::make_shared<kxinfo::HostOptions>();
    kxinfo::addHostOptions(command, *options, "SERIAL");
    return [options] { return kxinfo::kDone; };
}

const kxinfo::Program kHost = {"kxinfo-host", "", "", {{"", "", declareHost}}};

std::string given; // what the last run of "paint" was given

kxinfo::Run declarePaint(CLI::App &command) {
    struct Options {
        std::string wall, colour = "white";
        bool twice = false;
    };
    const auto options = std::make_shared<Options>();
    command.add_option("WALL", options->wall)->required();
    command.add_option("--colour", options->colour)
        ->transform(kxinfo::oneOf({"white", "red"}, "--colour is"));
    command.add_flag("--twice", options->twice);
    return [options] {
        given = options->wall + ' ' + options->colour + (options->twice ? " twice" : "");
        return kxinfo::kDone;
    };
}

const kxinfo::Program kPainter = {
    "painter", "Paints.", "Ends.", {{"paint", "Paints a wall", declarePaint}}};

std::string refusal(const Words &line, const kxinfo::Program &program = kPainter) {
    try {
        (void)kxinfo::readCommandLine(program, line);
    } catch (const Error &error) {
        EXPECT_EQ(kxinfo::kWrongUsage, error.status());
        return error.what();
    }
    return "taken";
}

std::string output(const Words &line, const kxinfo::Program &program = kPainter) {
    const kxinfo::MemoryFile file;
    {
        const kxinfo::StandardOutputTo there(file.descriptor());
        EXPECT_EQ(kxinfo::kDone, kxinfo::readCommandLine(program, line)());
    }
    return file.text();
}

TEST(CommandLine, TakesOptionsInFrontOfTheCommandToo) {
    for (const Words &line : {Words{"paint", "north", "--colour", "RED", "--twice"},
                              {"--twice", "--colour=red", "paint", "north"},
                              {"--twice", "paint", "--colour=Red", "north"}}) {
        EXPECT_EQ(kxinfo::kDone, kxinfo::readCommandLine(kPainter, line)());
        EXPECT_EQ("north red twice", given);
    }
}

TEST(CommandLine, ExplainsACommandInThreeWays) {
    const std::string help = output({"paint", "--help"});
    EXPECT_THAT(help, HasSubstr("--colour"));
    EXPECT_EQ(help, output({"help", "paint"}));
    EXPECT_EQ(help, output({"--help", "paint"}));
    EXPECT_THAT(output({"--help"}), HasSubstr("Paints a wall"));
    EXPECT_EQ(output({"--help"}), output({"help"}));
    EXPECT_EQ("painter " KXINFO_VERSION "\n", output({"--version"}));
    for (const kxinfo::Command &command : kxinfo::kKxinfo.commands)
        EXPECT_THAT(output({"help", command.name}, kxinfo::kKxinfo), HasSubstr("Example"));
}

TEST(CommandLine, SaysWhatIsWrongAndWhatWasProbablyMeant) {
    const std::string behind = " Run 'painter paint --help' for what is expected.";
    const std::string before = " Run 'painter --help' for the commands and examples.";
    const struct {
        Words line;
        std::string why;
    } cases[] = {
        {{}, "a command is missing." + before},
        {{"piant"}, "unknown command \"piant\". Did you mean paint?" + before},
        {{"help", "piant"}, "unknown command \"piant\". Did you mean paint?" + before},
        {{"piant", "--help"}, "unknown command \"piant\". Did you mean paint?" + before},
        {{"dig"}, "unknown command \"dig\"." + before},
        {{"--versoin"}, "unknown option \"--versoin\". Did you mean --version?" + before},
        {{"paint"}, "'painter paint' needs WALL." + behind},
        {{"paint", "north", "--color=red"},
         "'painter paint' does not take \"--color=red\". Did you mean --colour?" + behind},
        {{"paint", "north", "south"}, "'painter paint' does not take \"south\"." + behind},
        {{"paint", "north", "--colour"}, "--colour needs a value." + behind},
        {{"paint", "north", "--colour=red", "--colour=red"}, "--colour is given twice." + behind},
        {{"paint", "north", "--colour=blue"}, "--colour is \"blue\"; expected is white or red."},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ(wrong.why, refusal(wrong.line)) << testing::PrintToString(wrong.line);
}

// Whatever the line, of both programs: it is taken, or refused with a sentence.
TEST(CommandLine, HasAnAnswerWhateverItConsistsOf) {
    Words words = {"",
                   "-",
                   "--",
                   "---",
                   "=",
                   "-x",
                   "--help",
                   "help",
                   "--version",
                   "S1",
                   "127.0.0.2",
                   "Gain=6",
                   "on",
                   "load",
                   "0..6",
                   "..",
                   "a b",
                   "\xff",
                   "\u202e",
                   "1e999",
                   "{}",
                   "[]",
                   "%1%",
                   "''",
                   "--=",
                   "--log",
                   "--json=1",
                   "/none",
                   "-9223372036854775809",
                   std::string(5000, 'x')};
    for (const kxinfo::Program *program : {&kxinfo::kKxinfo, &kHost})
        for (const kxinfo::Command &command : program->commands) {
            CLI::App app;
            const kxinfo::Run run = command.declare(app);
            words.emplace_back(command.name);
            for (const CLI::Option *option : app.get_options())
                for (const std::string &name : option->get_lnames())
                    words.insert(words.end(), {"--" + name, "--" + name + "=1"});
        }
    std::mt19937 random(1);
    size_t taken = 0;
    constexpr int kLines = 6000;
    for (int i = 0; i < kLines; ++i) {
        const kxinfo::Program &program = i % 4 ? kxinfo::kKxinfo : kHost;
        Words line(random() % 7);
        for (std::string &word : line)
            word = words[random() % words.size()];
        if (i % 2 && !line.empty()) // lines that begin well come further
            line.front() = program.commands[random() % program.commands.size()].name;
        try {
            taken += kxinfo::readCommandLine(program, line) != nullptr;
        } catch (const Error &error) {
            const std::string what = error.what();
            EXPECT_EQ(kxinfo::kWrongUsage, error.status());
            EXPECT_TRUE(what.size() > 10 && what.size() < 1000 && what.back() == '.')
                << what << testing::PrintToString(line);
        }
    }
    EXPECT_GT(taken, 100u);
    EXPECT_LT(taken, kLines - 1000u);
}

} // namespace
