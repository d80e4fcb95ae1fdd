// A host that keeps its camera open for as long as a test wants: held_host PLUGIN SERIAL.
//
// The plug-in asks it to prepare its keys when the camera is open and nothing has been read yet. It
// says "open" then and waits to be told to go on, by SIGUSR1. At its end it has printed the numbers
// of what was published, in order, and "exported" if it was; its status is the plug-in's result.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>

#include "kxinfo-dalsa/kx_proc.h"
#include "kxinfo-dalsa/kx_sc.h"

namespace {

constexpr int kCannotRun = 2;
constexpr time_t kPatienceSeconds = 60;

sigset_t goOn() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    return set;
}

} // namespace

extern "C" {

KX_API void KxSc__InitStaticKeys() {
    std::puts("open");
    std::fflush(stdout);
    const sigset_t wanted = goOn();
    const timespec patience{kPatienceSeconds, 0};
    if (sigtimedwait(&wanted, nullptr, &patience) != SIGUSR1) {
        std::fprintf(stderr, "held_host: nobody sent SIGUSR1 within a minute\n");
        std::_Exit(kCannotRun);
    }
}

KX_API void KxSc__SetParamVal(KxScParamId id, uint32_t, const void *, const void *, const void *,
                              const void *) {
    std::printf("%d ", static_cast<int>(id));
}

KX_API void KxSc__ProcExport() {
    std::puts("exported");
}
}

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: held_host PLUGIN SERIAL\n");
        return kCannotRun;
    }
    // Before the platform starts a thread, so that none of them takes the signal.
    const sigset_t held = goOn();
    sigprocmask(SIG_BLOCK, &held, nullptr);

    void *plugin = dlopen(argv[1], RTLD_LAZY);
    if (!plugin) {
        std::fprintf(stderr, "held_host: %s\n", dlerror());
        return kCannotRun;
    }
    const auto probe = reinterpret_cast<decltype(&Vendor__Proc)>(dlsym(plugin, "Vendor__Proc"));
    if (!probe) {
        std::fprintf(stderr, "held_host: %s\n", dlerror());
        return kCannotRun;
    }
    return probe(argv[2], 0, 0);
}
