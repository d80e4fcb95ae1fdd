/** What a program's command line looks like, and what runs it to its exit status. */
#ifndef KXINFO_CLI_PROGRAM_H
#define KXINFO_CLI_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/process.h"
#include "cli/text.h"

namespace kxinfo {

/** Carries out what was asked for and returns the exit status. \throws Error */
using Run = std::function<int()>;

struct Command {
    const char *name;
    const char *summary; ///< a sentence without full stop
    /** Declares its arguments and options; what comes back is called once they have been read. */
    Run (*declare)(CLI::App &command);
};

struct Program {
    const char *name;
    const char *description;
    const char *footer;
    /** One without a name: the program is this command alone. */
    std::vector<Command> commands;
};

/**
 * What the arguments ask for. Options in front of the command count as if they stood behind it;
 * "help COMMAND" is "COMMAND --help".
 *
 * \throws Error (kWrongUsage) with what was probably meant
 */
Run readCommandLine(const Program &program, Words arguments);

/**
 * main(): reads the command line, runs what it asks for, tells on standard error what ends it. A
 * reader of standard output that has gone away ends the process quietly, as SIGPIPE would; what else
 * keeps output from arriving is told. Ends with the signal that asked to stop.
 */
int runProgram(const Program &program, int argc, char **argv);

/**
 * Declares an argument, or an option that help shows with a \p type; what is read \p to must outlive
 * the parsing.
 */
template <class To>
CLI::Option *addOption(CLI::App &command, const char *name, To &to, const char *what,
                       const char *type = "") {
    return command.add_option(name, to, what)->type_name(type);
}

/**
 * For CLI::Option::transform(): refuses what is none of the names, whatever its capitals, in a
 * sentence that begins as given; what is one becomes it.
 */
CLI::Validator oneOf(const Words &names, const std::string &wrong);

} // namespace kxinfo

#endif
