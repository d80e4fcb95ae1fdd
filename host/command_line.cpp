// Each command is a function that declares its options and returns what makes the request of them
// once they have been read.

#include "command_line.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "kx_proc.h"

namespace kxinfo {

namespace {

using Words = std::vector<std::string>;

constexpr const char *kDescription =
    "kxinfo lists Dalsa GigE Vision cameras, shows which settings of a camera a user may change, "
    "with their current values and permitted ranges, and changes them.";

constexpr const char *kFooter = R"(Examples:
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
  3  the camera or the plug-in failed, or not all could be done; the message says what)";

constexpr const char *kListFooter =
    R"(Without --json the list is made of the plug-in's own lines of level info.

Example:
  kxinfo list --json)";

constexpr const char *kProbeFooter =
    R"(Without --json the table follows the log lines, if any, after an empty line. With --json
standard output holds the JSON document and nothing else; '--log stdout' then goes to standard
error.

With --all every camera is probed in a process of its own, side by side: one that fails does not
hide the others. The exit status is the highest of theirs. The plug-in sees eight cameras at most:
when it sees as many, kxinfo says that more may be there.

Example:
  kxinfo probe S1234567 --log stdout --level debug)";

constexpr const char *kGetFooter =
    R"(Properties are named as the camera's features are, in capitals or not. Gain, the balance ratios
and the limits of automatic gain are in decibels. The limits of the automatic functions can only be
read while these are on: they are switched on for a moment, and back.

Example:
  kxinfo get S1234567 Gain ExposureTime)";

constexpr const char *kSetFooter =
    R"(The settings are made in the order given, each in its present range. When one cannot be made,
those before it are put back.

Example:
  kxinfo set S1234567 Width=640 OffsetX=128 Gain=6 ReverseX=true)";

constexpr const char *kGammaFooter =
    R"(Setting gamma switches the lookup table to the gamma curve; 'kxinfo lut SERIAL off' switches it
off again.

Example:
  kxinfo gamma S1234567 0.45)";

constexpr const char *kLutFooter =
    R"(Actions:
  show       tells what the lookup table does
  off        switches it off
  user       switches it to the user's table
  gamma      switches it to the gamma curve
  load FILE  writes the user's table, and switches to it

A file holds one value a line, or lines of index,value; empty lines, and what follows a '#', are
left out. It is checked whole before the first value is written.

Example:
  kxinfo lut S1234567 load curve.csv --channel red)";

constexpr const char *kAutoFooter =
    R"('on' lets the camera set exposure time and gain by itself, within the limits given; 'off' ends
that.

Example:
  kxinfo auto S1234567 on --target 0.5 --gain 0..12 --exposure 100..20000)";

constexpr const char *kSaveFooter =
    R"(The file is JSON, for 'kxinfo restore'. Reading the user's lookup table takes as long as writing
it; --no-table leaves it out.

Example:
  kxinfo save S1234567 camera.json)";

constexpr const char *kRestoreFooter =
    R"(What differs from the file is set, and told in one line each; what cannot be set is told with
the reason, and the exit status is 3 then.

Example:
  kxinfo restore S1234567 camera.json)";

// Makes the request when all options have been read. Throws UsageError.
using Finish = std::function<Request()>;

// "a, b or c".
std::string alternatives(const Words &names) {
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : &name == &names.back() ? " or " : ", ") + name;
    return text;
}

// Refuses what is none of the names, in a sentence that begins with what is wrong with it. The help
// lists the names in braces, where the completion finds them.
CLI::Validator oneOf(const Words &names, const std::string &wrong) {
    std::string list;
    for (const std::string &name : names)
        list += (list.empty() ? "{" : ",") + name;
    return CLI::Validator(
        [=](const std::string &given) -> std::string {
            if (std::find(names.begin(), names.end(), given) == names.end())
                throw UsageError{wrong + " \"" + given + "\"; expected is " + alternatives(names) +
                                 "."};
            return {};
        },
        list + "}");
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

// Adds --log and --level to a command.
std::function<LogOptions()> addLogOptions(CLI::App &command, bool levelNeedsLog) {
    const auto log = std::make_shared<std::string>("none");
    const auto level = std::make_shared<std::string>();
    CLI::Option *logOption =
        command
            .add_option("--log", *log,
                        "Where the plug-in's log goes: none (unless told otherwise), stdout, "
                        "syslog or both")
            ->type_name("SINK")
            ->check(oneOf({"none", "stdout", "syslog", "both"}, "--log is"));
    CLI::Option *levelOption =
        command
            .add_option("--level", *level,
                        "How much is logged: error, warning, info (unless told otherwise) or "
                        "debug")
            ->type_name("LEVEL")
            ->check(oneOf({"error", "warning", "info", "debug"}, "--level is"));
    return [=] {
        const bool levelGiven = levelOption->count() > 0;
        if (levelNeedsLog && levelGiven && logOption->count() == 0)
            throw UsageError{"--level says how much is logged, and needs --log to say where. Add "
                             "'--log stdout', for example."};
        LogOptions options;
        options.mode = logModeOf(*log);
        if (levelGiven || options.mode != 0)
            options.level = logLevelOf(*level);
        return options;
    };
}

void addPluginOption(CLI::App &command, std::optional<std::string> &plugin) {
    command
        .add_option("--plugin", plugin,
                    "Library file of the plug-in, in place of the one that kxinfo comes with")
        ->type_name("FILE");
}

Finish addList(CLI::App &command) {
    const auto request = std::make_shared<ListRequest>();
    command.add_flag("--json", request->json, "Write a JSON document in place of the lines");
    const auto log = addLogOptions(command, false);
    addPluginOption(command, request->plugin);
    command.footer(kListFooter);
    return [=] {
        request->log = log();
        return *request;
    };
}

Finish addProbe(CLI::App &command) {
    const auto request = std::make_shared<ProbeRequest>();
    CLI::Option *serial = command
                              .add_option("SERIAL", request->serial,
                                          "Serial number of the camera, or how it begins: the "
                                          "first that fits is opened; \"\" fits all")
                              ->type_name("");
    command.add_flag("--all", request->all, "Probe every Dalsa camera");
    command.add_flag("--json", request->json, "Write a JSON document in place of the table");
    const auto log = addLogOptions(command, true);
    addPluginOption(command, request->plugin);
    command.footer(kProbeFooter);
    return [=] {
        if (request->all && serial->count() > 0)
            throw UsageError{"--all probes every camera, and takes no serial number. Leave out "
                             "one of them."};
        if (!request->all && serial->count() == 0)
            throw CLI::RequiredError("SERIAL");
        request->log = log();
        return *request;
    };
}

// Adds the camera's serial number, which comes first.
template <class CommandRequest>
void addSerial(CLI::App &command, CommandRequest &request) {
    command
        .add_option("SERIAL", request.serial,
                    "Serial number of the camera, or how it begins if no other begins so; \"\" "
                    "fits the only camera")
        ->required()
        ->type_name("");
}

Finish addGet(CLI::App &command) {
    const auto request = std::make_shared<GetRequest>();
    addSerial(command, *request);
    command.add_option("PROPERTY", request->properties, "Names of properties; none: all")
        ->type_name("");
    command.add_flag("--json", request->json, "Write a JSON document in place of the table");
    const auto log = addLogOptions(command, true);
    command.footer(kGetFooter);
    return [=] {
        request->log = log();
        return CameraCommand(*request);
    };
}

Finish addSet(CLI::App &command) {
    const auto request = std::make_shared<SetRequest>();
    const auto assignments = std::make_shared<Words>();
    addSerial(command, *request);
    command.add_option("PROPERTY=VALUE", *assignments, "What to set")->required()->type_name("");
    const auto log = addLogOptions(command, true);
    command.footer(kSetFooter);
    return [=] {
        for (const std::string &assignment : *assignments) {
            const size_t sign = assignment.find('=');
            if (sign == assignment.npos || sign == 0 || sign + 1 == assignment.size())
                throw UsageError{"\"" + assignment +
                                 "\" is no setting; expected is PROPERTY=VALUE, for example "
                                 "Gain=6. Run 'kxinfo get SERIAL' to see properties and ranges."};
            request->assignments.emplace_back(assignment.substr(0, sign),
                                              assignment.substr(sign + 1));
        }
        request->log = log();
        return CameraCommand(*request);
    };
}

Finish addGamma(CLI::App &command) {
    const auto request = std::make_shared<GammaRequest>();
    addSerial(command, *request);
    command.add_option("VALUE", request->value, "Gamma to set; without it, gamma is shown")
        ->type_name("");
    const auto log = addLogOptions(command, true);
    command.footer(kGammaFooter);
    return [=] {
        request->log = log();
        return CameraCommand(*request);
    };
}

Finish addLut(CLI::App &command) {
    const auto request = std::make_shared<LutRequest>();
    const auto action = std::make_shared<std::string>();
    addSerial(command, *request);
    command.add_option("ACTION", *action, "show, off, user, gamma or load")
        ->required()
        ->type_name("")
        ->check(oneOf({"show", "off", "user", "gamma", "load"}, "'lut' does not know the action"));
    CLI::Option *file =
        command.add_option("FILE", request->file, "With 'load': values of the table")
            ->type_name("");
    CLI::Option *channel =
        command
            .add_option("--channel", request->channel,
                        "With 'load': only this colour's table: red, green or blue")
            ->type_name("COLOUR")
            ->check(oneOf({"red", "green", "blue"}, "--channel is"));
    const auto log = addLogOptions(command, true);
    command.footer(kLutFooter);
    return [=] {
        using Action = LutRequest::Action;
        const std::map<std::string, Action> actions = {{"show", Action::Show},
                                                       {"off", Action::Off},
                                                       {"user", Action::User},
                                                       {"gamma", Action::Gamma},
                                                       {"load", Action::Load}};
        request->action = actions.at(*action);
        const bool load = request->action == Action::Load;
        if (load && file->count() == 0)
            throw UsageError{"'lut SERIAL load' needs the file with the table's values. Run "
                             "'kxinfo lut --help' for its form."};
        if (!load && file->count() + channel->count() > 0)
            throw UsageError{"'lut SERIAL " + *action + "' takes no " +
                             (file->count() ? "file" : "--channel") +
                             "; 'lut SERIAL load FILE' does."};
        request->log = log();
        return CameraCommand(*request);
    };
}

// "100..20000" as its two ends.
std::optional<RangeText> rangeOf(const CLI::Option &option, const std::string &text) {
    if (option.count() == 0)
        return std::nullopt;
    const size_t dots = text.find("..");
    // Of "0...5" nobody knows whether it is up to 5 or to .5.
    if (dots == text.npos || dots == 0 || dots + 2 == text.size() || text[dots + 2] == '.')
        throw UsageError{option.get_name() + " is \"" + text +
                         "\"; expected is MIN..MAX, for example 100..20000."};
    return RangeText{text.substr(0, dots), text.substr(dots + 2)};
}

Finish addAuto(CLI::App &command) {
    const auto request = std::make_shared<AutoRequest>();
    const auto state = std::make_shared<std::string>();
    const auto gain = std::make_shared<std::string>();
    const auto exposure = std::make_shared<std::string>();
    addSerial(command, *request);
    command.add_option("STATE", *state, "on or off")
        ->required()
        ->type_name("")
        ->check(oneOf({"on", "off"}, "'auto' does not know the state"));
    CLI::Option *targetOption =
        command.add_option("--target", request->target, "Brightness to reach, 0 to 1")
            ->type_name("X");
    CLI::Option *gainOption =
        command.add_option("--gain", *gain, "Limits of automatic gain, in dB")
            ->type_name("MIN..MAX");
    CLI::Option *exposureOption =
        command
            .add_option("--exposure", *exposure,
                        "Limits of automatic exposure time, in the camera's unit (us)")
            ->type_name("MIN..MAX");
    const auto log = addLogOptions(command, true);
    command.footer(kAutoFooter);
    return [=] {
        request->on = *state == "on";
        request->gain = rangeOf(*gainOption, *gain);
        request->exposure = rangeOf(*exposureOption, *exposure);
        if (!request->on && targetOption->count() + gainOption->count() + exposureOption->count())
            throw UsageError{"--target, --gain and --exposure belong to 'auto SERIAL on'. To "
                             "change a limit alone, use 'kxinfo set'."};
        request->log = log();
        return CameraCommand(*request);
    };
}

Finish addSave(CLI::App &command) {
    const auto request = std::make_shared<SaveRequest>();
    addSerial(command, *request);
    command.add_option("FILE", request->file, "File to write; one that exists is replaced")
        ->required()
        ->type_name("");
    CLI::Option *noTable =
        command.add_flag("--no-table", "Leave out the entries of the user's lookup table");
    const auto log = addLogOptions(command, true);
    command.footer(kSaveFooter);
    return [=] {
        request->table = noTable->count() == 0;
        request->log = log();
        return CameraCommand(*request);
    };
}

Finish addRestore(CLI::App &command) {
    const auto request = std::make_shared<RestoreRequest>();
    addSerial(command, *request);
    command.add_option("FILE", request->file, "File that 'kxinfo save' wrote")
        ->required()
        ->type_name("");
    const auto log = addLogOptions(command, true);
    command.footer(kRestoreFooter);
    return [=] {
        request->log = log();
        return CameraCommand(*request);
    };
}

struct Command {
    const char *name;
    const char *description;
    Finish (*add)(CLI::App &command);
};

constexpr Command kCommands[] = {
    {"list", "Lists the Dalsa cameras that answer", addList},
    {"probe", "Opens a camera and shows its settings", addProbe},
    {"get", "Shows properties of a camera: value, range, step, unit, kind and access", addGet},
    {"set", "Sets properties of a camera", addSet},
    {"gamma", "Shows gamma, or sets it", addGamma},
    {"lut", "Shows, switches or loads the lookup table", addLut},
    {"auto", "Switches automatic exposure and gain on or off", addAuto},
    {"save", "Writes the settings of a camera to a file", addSave},
    {"restore", "Sets a camera to what a file holds", addRestore},
};

std::string namesOfCommands() {
    Words names;
    for (const Command &command : kCommands)
        names.push_back("'" + std::string(command.name) + "'");
    return alternatives(names);
}

// What is missing when a required argument is.
std::string needOf(const std::string &command, const std::string &error) {
    if (error.find("SERIAL") != error.npos)
        return command == "probe" ? "the camera's serial number, or how it begins (\"\" for the "
                                    "first camera found)"
                                  : "the camera's serial number, or how it begins (\"\" for the "
                                    "only camera)";
    if (error.find("PROPERTY=VALUE") != error.npos)
        return "what to set, for example Gain=6";
    if (error.find("ACTION") != error.npos)
        return "what to do: show, off, user, gamma or load";
    if (error.find("STATE") != error.npos)
        return "'on' or 'off'";
    return "a file";
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
        const std::string option = what.substr(0, what.find(':'));
        if (is(CLI::ExitCodes::ExtrasError))
            what = name + " does not take \"" + command.remaining().front() + "\"";
        else if (is(CLI::ExitCodes::RequiredError))
            what = name + " needs " + needOf(command.get_name(), what);
        else if (is(CLI::ExitCodes::ArgumentMismatch)) // the text begins with the option's name
            what =
                option + (what.find("missing") != what.npos ? " needs a value" : " is given twice");
        return {what + ". Run 'kxinfo " + command.get_name() + " --help' for what is expected."};
    }
    const auto rest = app.remaining();
    const std::string expected = "expected is " + namesOfCommands();
    if (rest.empty())
        return {"a command is missing; " + expected + "." + seeHelp};
    const bool option = !rest.front().empty() && rest.front().front() == '-';
    return {(option ? "unknown option \"" : "unknown command \"") + rest.front() + "\"; " +
            expected + (option ? ", then its options." : ".") + seeHelp};
}

} // namespace

std::variant<Request, Information, UsageError> readCommandLine(int argc, char **argv) {
    CLI::App app{kDescription, "kxinfo"};
    app.set_version_flag("--version", "kxinfo " KXINFO_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");

    std::map<const CLI::App *, Finish> finishes;
    for (const Command &command : kCommands) {
        CLI::App *added = app.add_subcommand(command.name, command.description);
        added->group("Commands");
        finishes[added] = command.add(*added);
    }

    try {
        app.parse(argc, argv);
        return finishes.at(app.get_subcommands().front())();
    } catch (const UsageError &error) {
        return error;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() != 0)
            return explain(app, error);
        std::ostringstream text;
        (void)app.exit(error, text, text);
        return Information{text.str()};
    }
}

} // namespace kxinfo
