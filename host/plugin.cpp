#include "plugin.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>
#include <vector>

namespace kxinfo {

namespace {

namespace fs = std::filesystem;

// Where the plug-in's folder is, seen from the folder of this program: in the build tree, and
// installed.
const char *const kPlaces[] = {
    "../lib/",
    "../lib/kxinfo/",
#ifdef KXINFO_ARCHITECTURE
    "../lib/" KXINFO_ARCHITECTURE "/kxinfo/",
    "../lib/" KXINFO_ARCHITECTURE "/",
#endif
};

// A library that kxinfo comes with.
std::string findOwn(const std::string &library, const std::string &complaint) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::vector<std::string> looked;
    for (const char *place : kPlaces) {
        std::string file = (folder / (place + library)).lexically_normal();
        std::error_code ignored;
        if (fs::exists(file, ignored))
            return file;
        looked.push_back(std::move(file));
    }
    throw PluginError(complaint + " kxinfo looked for:", looked);
}

std::string findOwnPlugin() {
    return findOwn("libkxinfo-dalsa.so", "the plug-in is not where kxinfo looks for it; name its "
                                         "file with --plugin.");
}

std::string checkedFile(const std::string &file) {
    std::error_code ignored;
    if (!fs::exists(file, ignored))
        throw PluginError("the plug-in \"" + file +
                          "\" does not exist. Name a plug-in's library file with --plugin, or "
                          "leave --plugin out to use the one that kxinfo comes with.");
    // The loader searches its own folders for a name without a slash.
    return file.find('/') == file.npos ? "./" + file : file;
}

} // namespace

Plugin Plugin::load(const std::optional<std::string> &file) {
    const std::string path = file ? checkedFile(*file) : findOwnPlugin();

    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        throw PluginError("the plug-in cannot be loaded: " + std::string(dlerror()) +
                          ". Expected is a plug-in's shared library, built for this computer, and "
                          "the libraries that it needs.");

    const auto entry = reinterpret_cast<Entry>(dlsym(library, "Vendor__Proc"));
    if (!entry)
        throw PluginError("\"" + path +
                          "\" is a library, but no plug-in: it has no function Vendor__Proc. Name "
                          "a plug-in's library file with --plugin, or leave --plugin out to use "
                          "the one that kxinfo comes with.");
    // Also looked for in the libraries that the plug-in needs.
    return {entry, reinterpret_cast<Cause>(dlsym(library, "KxGigeCause"))};
}

RunCameraCommand loadCameraCommands() {
    const std::string path =
        findOwn("kxinfo-camera.so", "the library with the commands on a camera is not where kxinfo "
                                    "looks for it. Install kxinfo and its plug-in together.");
    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        throw PluginError("the library with the commands on a camera cannot be loaded: " +
                          std::string(dlerror()) +
                          ". Expected beside it are the plug-in and the camera platform.");
    const auto run = reinterpret_cast<RunCameraCommand>(dlsym(library, kRunCameraCommand));
    if (!run)
        throw PluginError("\"" + path + "\" does not fit this kxinfo. Install both anew.");
    return run;
}

Outcome Plugin::run(const char *serial, int logMode, int logLevel) const {
    Outcome outcome;
    try {
        outcome.code = entry_(serial, logMode, logLevel);
    } catch (const std::exception &e) {
        outcome.exception = e.what();
    } catch (...) {
        outcome.exception = "an exception without a message";
    }
    return outcome;
}

} // namespace kxinfo
