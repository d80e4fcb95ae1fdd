/** A plug-in, loaded into this process. */
#ifndef KXINFO_HOST_PLUGIN_H
#define KXINFO_HOST_PLUGIN_H

#include <optional>
#include <string>

#include "kx_proc.h"

namespace kxinfo {

class Plugin {
public:
    /**
     * Loads a plug-in, for the life of the process: the camera framework that comes with it may
     * have threads, which must not lose their code. From here on a run ends by itself and closes its
     * camera when signals ask the process to stop (see cli/process.h); where the platform cannot do
     * that, they end the process as ever.
     *
     * \param file  its library; none: the one beside this program
     * \throws Error (kWrongUsage)
     */
    explicit Plugin(const std::optional<std::string> &file);

    /**
     * Calls its Vendor__Proc().
     *
     * \return 0, or 1 when it has opened no camera
     * \throws Error for any other result, an exception of the plug-in, and when it was to stop
     */
    int run(const char *serial, int logMode, int logLevel) const;

    /**
     * Why its camera platform has found or opened no camera in the latest run: a clause; empty when
     * there is no reason, or the platform tells none.
     */
    std::string cause() const { return cause_ ? cause_() : ""; }

private:
    decltype(&Vendor__Proc) entry_;
    const char *(*cause_)(); // of the open platform (kxgige.h); null: it is another one
};

} // namespace kxinfo

#endif
