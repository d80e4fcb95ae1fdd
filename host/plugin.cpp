#include "plugin.h"

#include <dlfcn.h>

#include <exception>
#include <filesystem>
#include <system_error>
#include <type_traits>

#include "cli/host_options.h"

namespace kxinfo {

namespace {

namespace fs = std::filesystem;

std::string ownFile() {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::string file = folder / "libkxinfo-dalsa.so";
    if (std::error_code ignored; !fs::exists(file, ignored))
        throw Error(kWrongUsage, "the plug-in is not where kxinfo looks for it, at " + file +
                                     ". Install it there, or name its file with --plugin.");
    return file;
}

} // namespace

Plugin::Plugin(const std::optional<std::string> &file) {
    std::string path = file ? *file : ownFile();
    if (path.find('/') == path.npos)
        path = "./" + path; // otherwise the loader searches its own folders
    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        throw Error(kWrongUsage, "the plug-in cannot be loaded: " + std::string(dlerror()) +
                                     ". Expected is a plug-in's shared library, built for this "
                                     "computer, and the libraries that it needs.");
    // Also looked for in the libraries that the plug-in needs.
    const auto find = [library](auto &function, const char *name) {
        function =
            reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
    };
    void (*stopWhen)(const volatile std::sig_atomic_t *);
    find(entry_, "Vendor__Proc");
    find(cause_, "KxGigeCause");
    find(stopWhen, "KxGigeStopWhen");
    if (!entry_)
        throw Error(kWrongUsage,
                    "\"" + path +
                        "\" is a library, but no plug-in: it has no function "
                        "Vendor__Proc. Name a plug-in's library file with --plugin, or "
                        "leave --plugin out to use the one that kxinfo comes with.");
    if (stopWhen)
        stopWhen(stopOnSignals());
}

int Plugin::run(const char *serial, int logMode, int logLevel) const {
    int code = 0;
    std::string failure;
    try {
        code = entry_(serial, logMode, logLevel);
    } catch (const std::exception &e) {
        failure = std::string(" with an exception: ") + e.what();
    } catch (...) {
        failure = " with an exception: an exception without a message";
    }
    if (stopSignal())
        throw Error(kFailed, "stopped, as asked for. What a probe has switched on the camera for "
                             "the moment may have stayed.");
    if (code < 0)
        failure = ": it returned " + std::to_string(code);
    if (!failure.empty())
        throw Error(kFailed, "the plug-in failed" + failure + ". " + kHintOfLog);
    if (code > 1)
        throw Error(kNoCamera, "the plug-in returned " + std::to_string(code) +
                                   ", expected was 0, 1 or a negative number; taken as: no camera. "
                                   "Check that --plugin names a plug-in that fits this kxinfo.");
    return code;
}

} // namespace kxinfo
