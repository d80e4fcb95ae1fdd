// kxinfo: loads the plug-in as any host would, runs it, and shows what it published.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <variant>

#include "command_line.h"
#include "list.h"
#include "messages.h"
#include "plugin.h"
#include "probe.h"
#include "probe_all.h"
#include "standard_output.h"

namespace kxinfo {

namespace {

// The open camera platform's search ends as soon as the camera with exactly this serial number has
// answered, and finds that one alone; when there is none, it finds all as ever.
void searchFor(const std::string &serial) {
    if (!serial.empty())
        (void)setenv("KXGIGE_SERIAL", serial.c_str(), 1);
}

struct Serve {
    int operator()(const ListRequest &request) const {
        return list(Plugin::load(request.plugin), request);
    }
    int operator()(const ProbeRequest &request) const {
        const Plugin plugin = Plugin::load(request.plugin);
        searchFor(request.serial);
        return request.all ? probeAll(plugin, request) : probe(plugin, request);
    }
    int operator()(const CameraCommand &command) const {
        const RunCameraCommand run = loadCameraCommands();
        std::visit([](const auto &request) { searchFor(request.serial); }, command);
        return run(command);
    }
};

int serve(const Request &request) {
    try {
        return std::visit(Serve{}, request);
    } catch (const PluginError &error) {
        tell(error.what(), error.list());
        return kWrongUsage;
    }
}

struct Answer {
    int operator()(const Request &request) const { return serve(request); }
    int operator()(const Information &information) const {
        writeOut(information.text);
        return kDone;
    }
    int operator()(const UsageError &error) const {
        tell(error.text);
        return kWrongUsage;
    }
};

int run(int argc, char **argv) {
    prepareStandardStreams();
    const int status = std::visit(Answer{}, readCommandLine(argc, argv));
    if (!finishStandardOutput()) {
        tell("standard output did not take all that was written to it. Check that its disk is not "
             "full and that its reader still reads.");
        return kFailed;
    }
    return status;
}

} // namespace

} // namespace kxinfo

int main(int argc, char **argv) {
    try {
        return kxinfo::run(argc, argv);
    } catch (const std::bad_alloc &) {
        (void)fprintf(stderr, "kxinfo: there is not enough memory. End other programs, or allow "
                              "this one more, and try again.\n");
    } catch (const std::exception &error) {
        (void)fprintf(stderr, "kxinfo: this computer does not let kxinfo do its work: %s.\n",
                      error.what());
    } catch (...) {
        (void)fprintf(stderr, "kxinfo: something went wrong that kxinfo has no words for.\n");
    }
    return kxinfo::kFailed;
}
