#include "camera.h"
#include "folder.h"
#include "options.h"
#include "server.h"
#include "settings.h"
#include "text.h"
#include "values.h"

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>

namespace {

using namespace simcam;

void set(Camera &camera, const Setting &setting) {
    try {
        camera.set(setting.feature, setting.value);
    } catch (const WrongValue &wrong) {
        throw WrongUsage{"--set " + setting.option + " (camera " + camera.identity().serial +
                         "): " + wrong.what()};
    }
}

std::vector<Camera> makeCameras(const Options &options) {
    std::map<std::string, std::shared_ptr<const Description>> descriptions;
    std::vector<Camera> cameras;
    for (const CameraOptions &camera : options.cameras) {
        auto &description = descriptions[camera.description];
        if (!description)
            description = camera.description.empty() ? Description::builtIn()
                                                     : Description::load(camera.description);
        cameras.emplace_back(camera.identity, description, options.firstUrl, Clock::now(),
                             camera.quirks);
        cameras.back().misbehave(camera.faults, options.seed);
        for (const Setting &setting : camera.settings)
            set(cameras.back(), setting);
    }
    return cameras;
}

void sayReady(const std::vector<Camera> &cameras) {
    std::printf("kxinfo-simcam: ready, %zu camera%s:", cameras.size(),
                cameras.size() == 1 ? "" : "s");
    for (const Camera &camera : cameras)
        std::printf(" %s@%s", camera.identity().serial.c_str(),
                    dotted(camera.identity().address).c_str());
    std::printf("\n");
    std::fflush(stdout);
}

void sayCounts(const std::vector<Camera> &cameras) {
    for (const Camera &camera : cameras) {
        const Counts &counts = camera.counts();
        std::printf("kxinfo-simcam: %s discovery=%" PRIu64 " readreg=%" PRIu64 " writereg=%" PRIu64
                    " readmem=%" PRIu64 " writemem=%" PRIu64 " other=%" PRIu64 " refused=%" PRIu64
                    " repeated=%" PRIu64,
                    camera.identity().serial.c_str(), counts.discovery, counts.readreg,
                    counts.writereg, counts.readmem, counts.writemem, counts.other, counts.refused,
                    counts.repeated);
        if (camera.faults().befallCommands())
            std::printf(" dropped=%" PRIu64 " nacked=%" PRIu64 " delayed=%" PRIu64, counts.dropped,
                        counts.nacked, counts.delayed);
        if (camera.faults().befallPackets())
            std::printf(" pending=%" PRIu64 " cut=%" PRIu64 " doubled=%" PRIu64 " wrong=%" PRIu64,
                        counts.pending, counts.cut, counts.doubled, counts.wrong);
        std::printf("\n");
    }
    std::fflush(stdout);
}

void writeSnapshots(std::vector<Camera> &cameras, const Folder &folder) {
    for (Camera &camera : cameras)
        folder.put(camera.identity().serial + ".txt", camera.snapshot(Clock::now()));
}

int serve(const Options &options) {
    std::optional<Folder> snapshots;
    if (options.snapshotFolder && !snapshots.emplace(*options.snapshotFolder).exists())
        throw WrongUsage{"--snapshot is '" + *options.snapshotFolder +
                         "', expected a folder that exists."};
    std::vector<Camera> cameras = makeCameras(options);
    Server server(cameras, options.isWatched);
    sayReady(cameras);
    for (;;) {
        const int signal = server.run();
        if (snapshots)
            writeSnapshots(cameras, *snapshots);
        if (signal != SIGUSR1)
            break;
    }
    sayCounts(cameras);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        const std::optional<Options> options = parseOptions(argc, argv);
        return options ? serve(*options) : 0;
    } catch (const WrongUsage &wrong) {
        std::fprintf(stderr, "kxinfo-simcam: %s\nTry 'kxinfo-simcam --help'.\n",
                     printable(wrong.sentence).c_str());
        return 2;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kxinfo-simcam: %s\n", printable(error.what()).c_str());
        return 1;
    }
}
