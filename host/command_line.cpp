#include "command_line.h"

#include <sstream>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "kx_proc.h"

namespace kxinfo {

namespace {

constexpr const char *kDescription =
    "kxinfo lists DALSA GigE Vision cameras, and shows which settings of a camera a user may "
    "change, with their current values and permitted ranges.";

constexpr const char *kFooter = R"(Examples:
  kxinfo list                     lists the cameras that answer
  kxinfo probe S1234567           shows the settings of the camera with this serial number
  kxinfo probe ""                 shows the settings of the first camera found
  kxinfo probe "" --json          the same as a JSON document
  kxinfo probe "" --log stdout --level debug
                                  the same below the plug-in's log

Run 'kxinfo list --help' or 'kxinfo probe --help' for the options of a command.

Exit status:
  0  done
  1  no camera was found, none with that serial number, or it cannot be opened
  2  wrong usage, or the plug-in cannot be loaded
  3  the probe failed, or its result could not be written)";

constexpr const char *kProbeFooter =
    R"(Without --json the table follows the log lines, if any, after an empty line. With --json
standard output holds the JSON document and nothing else; '--log stdout' then goes to standard
error.)";

constexpr const char *kListFooter = "The list is made of the plug-in's own lines of level info.";

// The texts of --log and --level as the user writes them.
struct Words {
    std::string log = "none";
    std::string level;
    std::string plugin;
};

void addCommonOptions(CLI::App &command, Words &words) {
    command
        .add_option("--log", words.log,
                    "Where the plug-in's log goes: none (unless told otherwise), stdout, syslog "
                    "or both")
        ->type_name("SINK")
        ->check(CLI::IsMember(std::vector<std::string>{"none", "stdout", "syslog", "both"}));
    command
        .add_option("--level", words.level,
                    "How much is logged: error, warning, info (unless told otherwise) or debug")
        ->type_name("LEVEL")
        ->check(CLI::IsMember(std::vector<std::string>{"error", "warning", "info", "debug"}));
    command
        .add_option("--plugin", words.plugin,
                    "Library file of the plug-in, in place of the one that kxinfo comes with")
        ->type_name("FILE");
}

int logModeOf(const std::string &log) {
    const bool toStdout = log == "stdout" || log == "both";
    const bool toSyslog = log == "syslog" || log == "both";
    return (toStdout ? KX_LOG_MODE_STDOUT : 0) | (toSyslog ? KX_LOG_MODE_SYSLOG : 0);
}

int logLevelOf(const std::string &level) {
    if (level == "error")
        return KX_LOG_LEVEL_ERROR;
    if (level == "warning")
        return KX_LOG_LEVEL_WARNING;
    if (level == "debug")
        return KX_LOG_LEVEL_DEBUG;
    return KX_LOG_LEVEL_INFO;
}

UsageError explain(const CLI::App &app, const CLI::ParseError &error) {
    const std::string seeHelp = " Run 'kxinfo --help' for the commands and examples.";
    const auto chosen = app.get_subcommands();
    if (!chosen.empty()) {
        const CLI::App &command = *chosen.front();
        const std::string name = "'" + command.get_name() + "'";
        const auto is = [&error](CLI::ExitCodes code) {
            return error.get_exit_code() == static_cast<int>(code);
        };
        std::string what = error.what();
        if (is(CLI::ExitCodes::ExtrasError))
            what = name + " does not take \"" + command.remaining().front() + "\"";
        else if (is(CLI::ExitCodes::RequiredError))
            what = name + " needs the camera's serial number, or how it begins (\"\" for the first "
                          "camera found)";
        return {what + ". Run 'kxinfo " + command.get_name() + " --help' for what is expected."};
    }
    const auto rest = app.remaining();
    if (rest.empty())
        return {"a command is missing; expected is 'list' or 'probe'." + seeHelp};
    const bool option = !rest.front().empty() && rest.front().front() == '-';
    return {(option ? "unknown option \"" : "unknown command \"") + rest.front() +
            "\"; expected is 'list' or 'probe'" + (option ? ", then its options." : ".") + seeHelp};
}

} // namespace

std::variant<Request, Information, UsageError> readCommandLine(int argc, char **argv) {
    Request request{};
    Words words;

    CLI::App app{kDescription, "kxinfo"};
    app.set_version_flag("--version", "kxinfo " KXINFO_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Subcommands", "Commands");

    CLI::App *list = app.add_subcommand("list", "Lists the Dalsa cameras that answer");
    addCommonOptions(*list, words);
    list->footer(kListFooter);

    CLI::App *probe = app.add_subcommand("probe", "Opens one camera and shows its settings");
    probe
        ->add_option("SERIAL", request.serial,
                     "Serial number of the camera, or how it begins: the first that fits is "
                     "opened; \"\" fits all")
        ->required()
        ->type_name("");
    probe->add_flag("--json", request.json, "Write a JSON document in place of the table");
    addCommonOptions(*probe, words);
    probe->footer(kProbeFooter);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() != 0)
            return explain(app, error);
        std::ostringstream text;
        (void)app.exit(error, text, text);
        return Information{text.str()};
    }

    request.command = list->parsed() ? Request::Command::List : Request::Command::Probe;
    request.logMode = logModeOf(words.log);
    const CLI::App &command = list->parsed() ? *list : *probe;
    const bool levelGiven = command.count("--level") > 0;
    if (probe->parsed() && levelGiven && probe->count("--log") == 0)
        return UsageError{"--level says how much is logged, and needs --log to say where. Add "
                          "'--log stdout', for example."};
    if (levelGiven || request.logMode != 0)
        request.logLevel = logLevelOf(words.level);
    if (command.count("--plugin") > 0)
        request.plugin = words.plugin;
    return request;
}

} // namespace kxinfo
