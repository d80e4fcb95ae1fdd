#include "collected_run.h"

#include "standard_output.h"

namespace kxinfo {

CollectedRun runCollected(const Plugin &plugin, const char *serial, int logMode, int logLevel) {
    const MemoryFile log;
    Outcome outcome;
    {
        const StandardOutputTo memory(log.descriptor());
        outcome = plugin.run(serial, logMode | KX_LOG_MODE_STDOUT, logLevel);
    }
    return {outcome, log.text()};
}

} // namespace kxinfo
