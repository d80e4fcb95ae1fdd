#include "cli/host_options.h"

namespace kxinfo {

Words HostOptions::command(const std::string &program) const {
    Words words = {program};
    if (json)
        words.emplace_back("--json");
    if (sink != "none")
        words.insert(words.end(), {"--log", sink});
    if (!level.empty())
        words.insert(words.end(), {"--level", level});
    if (plugin)
        words.insert(words.end(), {"--plugin", *plugin});
    if (serial)
        words.insert(words.end(), {"--", *serial});
    return words;
}

void HostOptions::check(bool all) const {
    if (!serial && !all && json)
        throw Error(kWrongUsage, "--json shows the settings of a camera: give its serial number, "
                                 "or \"\" for the first camera. 'kxinfo list --json' lists them.");
    if ((serial || all) && !level.empty() && sink == "none")
        throw Error(kWrongUsage, "--level says how much is logged, and needs --log to say where. "
                                 "Add '--log stdout', for example.");
}

void addHostOptions(CLI::App &command, HostOptions &options, const char *camera) {
    addOption(command, camera, options.serial,
              "How the camera's serial number begins; \"\" fits the first camera. Without, the "
              "plug-in lists the cameras");
    command.add_flag("--json", options.json, "Write a JSON document, alone on standard output");
    addOption(command, "--log", options.sink,
              "Where the plug-in's log goes: none (unless told otherwise), stdout, syslog or both",
              "SINK")
        ->transform(oneOf({"none", "stdout", "syslog", "both"}, "--log is"));
    addOption(command, "--level", options.level,
              "How much is logged: error, warning, info (unless told otherwise) or debug", "LEVEL")
        ->transform(oneOf({"error", "warning", "info", "debug"}, "--level is"));
    addOption(command, "--plugin", options.plugin,
              "Library file of the plug-in, in place of the one that kxinfo comes with", "FILE");
}

} // namespace kxinfo
