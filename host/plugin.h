/** Libraries that are loaded into this process: a plug-in, and the commands on a camera. */
#ifndef KXINFO_HOST_PLUGIN_H
#define KXINFO_HOST_PLUGIN_H

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "camera_commands.h"
#include "kx_proc.h"

namespace kxinfo {

/** Why a plug-in cannot be used, as sentences for the user. */
class PluginError : public std::runtime_error {
public:
    explicit PluginError(const std::string &sentences, std::vector<std::string> list = {})
        : std::runtime_error(sentences), list_(std::move(list)) {}

    /** What stands in lines below the sentences. */
    const std::vector<std::string> &list() const { return list_; }

private:
    std::vector<std::string> list_;
};

/** How a call of the plug-in ended. */
struct Outcome {
    int code = 0;                         ///< what it returned
    std::optional<std::string> exception; ///< what it threw instead: its message
};

class Plugin {
public:
    /**
     * Loads a plug-in, for the life of the process: the camera framework that comes with it may
     * have threads, which must not lose their code.
     *
     * \param file  its library; none: the one that kxinfo comes with, looked for beside this
     *              program
     * \throws PluginError
     */
    static Plugin load(const std::optional<std::string> &file);

    /** Calls its Vendor__Proc(). Lets no exception of the plug-in out. */
    Outcome run(const char *serial, int logMode, int logLevel) const;

    /**
     * Whether its camera platform is the open one, which finds a camera by its whole serial number
     * (KXGIGE_SERIAL) before any other.
     */
    bool findsWholeSerials() const { return cause_ != nullptr; }

    /**
     * Why its camera platform has found or opened no camera in the latest run: a clause; empty when
     * there is no reason, or the platform tells none.
     */
    std::string cause() const { return cause_ ? cause_() : ""; }

private:
    using Entry = decltype(&Vendor__Proc);
    using Cause = const char *(*)();

    Plugin(Entry entry, Cause tellsCause) : entry_(entry), cause_(tellsCause) {}

    Entry entry_;
    Cause cause_; ///< the open platform's KxGigeCause(); null: it is another platform
};

/**
 * Loads the commands on one camera, for the life of the process, from beside the plug-in that
 * kxinfo comes with.
 *
 * \throws PluginError
 */
RunCameraCommand loadCameraCommands();

} // namespace kxinfo

#endif
