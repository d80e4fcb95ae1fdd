#include "cli/program.h"

#include <algorithm>
#include <map>
#include <new>
#include <sstream>
#include <utility>

namespace kxinfo {

namespace {

bool isOption(const std::string &word) {
    return word.size() > 1 && word[0] == '-';
}

Words optionsOf(const CLI::App &command) {
    Words options;
    for (const CLI::Option *option : command.get_options())
        for (const std::string &name : option->get_lnames())
            options.push_back("--" + name);
    return options;
}

// What is wrong behind a command.
std::string wrongBehind(const Program &program, const CLI::App &command,
                        const CLI::ParseError &error) {
    const std::string full =
        program.name + (command.get_name() == program.name ? "" : " " + command.get_name());
    const std::string hint = " Run '" + full + " --help' for what is expected.";
    const Words rest = command.remaining();
    if (rest.empty()) {
        const std::string what = error.what();
        const std::string subject = what.substr(0, what.find(':'));
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError))
            return "'" + full + "' needs " + what.substr(0, what.find(" is required")) + "." + hint;
        if (isOption(subject) && what.find(" required ") != what.npos)
            return subject +
                   (what.find("missing") != what.npos ? " needs a value." : " is given twice.") +
                   hint;
        return what + "." + hint;
    }
    const std::string &word = rest.front();
    return "'" + full + "' does not take \"" + shortened(word) + "\"." +
           (isOption(word) ? didYouMean(word.substr(0, word.find('=')), optionsOf(command)) : "") +
           hint;
}

// What is wrong in front of a command, or with it.
std::string wrongInFront(const Program &program, const CLI::App &app, const Words &given) {
    const std::string hint =
        std::string(" Run '") + program.name + " --help' for the commands and examples.";
    if (given.empty())
        return "a command is missing." + hint;
    const Words front = app.remaining();
    const std::string word = front.empty() ? given.front() : front.front();
    if (isOption(word))
        return "unknown option \"" + shortened(word) + "\"." + didYouMean(word, optionsOf(app)) +
               hint;
    Words names = {"help"};
    for (const Command &command : program.commands)
        names.emplace_back(command.name);
    return "unknown command \"" + shortened(word) + "\"." + didYouMean(word, names) + hint;
}

int run(const Program &program, Words arguments) {
    try {
        return readCommandLine(program, std::move(arguments))();
    } catch (const Error &error) {
        tell(error.what());
        return error.status();
    } catch (const std::bad_alloc &) {
        tell("there is not enough memory. End other programs, or allow this one more, and try "
             "again.");
    } catch (const std::exception &error) {
        tell("this computer does not let kxinfo do its work: ", error.what(), ".");
    }
    return kFailed;
}

} // namespace

Run readCommandLine(const Program &program, Words arguments) {
    CLI::App app{program.description, program.name};
    app.set_version_flag("--version", std::string(program.name) + " " KXINFO_VERSION);
    app.footer(program.footer);
    std::map<const CLI::App *, Run> runs;
    const bool single = !*program.commands.front().name;
    if (single) {
        runs[&app] = program.commands.front().declare(app);
    } else {
        if (!arguments.empty() && arguments.front() == "help") {
            arguments.erase(arguments.begin());
            arguments.emplace_back("--help");
        }
        const auto name =
            std::find_if(arguments.begin(), arguments.end(), [&](const std::string &word) {
                return std::any_of(program.commands.begin(), program.commands.end(),
                                   [&](const Command &each) { return each.name == word; });
            });
        if (name != arguments.end() && isOption(arguments.front()) &&
            arguments.front() != "--version")
            std::rotate(arguments.begin(), name, name + 1);
        app.require_subcommand(1);
        app.get_formatter()->label("SUBCOMMAND", "COMMAND");
        for (const Command &command : program.commands) {
            CLI::App *added = app.add_subcommand(command.name, command.summary);
            added->group("Commands");
            runs[added] = command.declare(*added);
        }
    }
    const auto chosen = [&] { return single ? &app : app.get_subcommands().front(); };
    try {
        app.parse(Words(arguments.rbegin(), arguments.rend()));
        return runs.at(chosen());
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0 && app.remaining().empty()) { // --help or --version
            std::ostringstream text;
            (void)app.exit(error, text, text);
            return [text = text.str()] {
                writeOut(text);
                return kDone;
            };
        }
        if (single || (!app.get_subcommands().empty() && app.remaining().empty()))
            throw Error(kWrongUsage, wrongBehind(program, *chosen(), error));
        throw Error(kWrongUsage, wrongInFront(program, app, arguments));
    }
}

int runProgram(const Program &program, int argc, char **argv) {
    prepareStandardStreams();
    int status = run(program, Words(argv + std::min(argc, 1), argv + argc));
    if (!finishStandardOutput()) {
        tell("standard output did not take all that was written to it. Check that its disk is not "
             "full and that its reader still reads.");
        status = kFailed;
    }
    if (const int signal = stopSignal())
        dieOf(signal);
    return status;
}

CLI::Validator oneOf(const Words &names, const std::string &wrong) {
    return CLI::Validator(
        [=](std::string &given) -> std::string {
            const auto name = std::find_if(names.begin(), names.end(),
                                           [&](const auto &each) { return sameWord(each, given); });
            if (name == names.end())
                throw Error(kWrongUsage, wrong, " \"", shortened(given), "\"; expected is ",
                            joined(names), ".");
            given = *name;
            return {};
        },
        "{" + joined(names, ",", ",") + "}");
}

} // namespace kxinfo
