/*
 * A minimal host for the plug-in: lists the cameras, or opens one and prints its settings.
 *
 *   minimal_host PLUGIN            lists the cameras
 *   minimal_host PLUGIN SERIAL     prints the settings of the camera whose serial number begins so
 *
 * docs/host-guide.md says how to compile it, and what a host must and may do.
 */
#include <dlfcn.h>
#include <stdio.h>

#include "kx_proc.h"
#include "kx_sc.h"

/* What is published waits here, as text, until it is exported. */
static struct {
    KxScParamId id;
    char cur[256], min[256], max[256], inc[256];
} settings[64];
static size_t count;

/* The pointers of one publication are valid during the call only: the value is copied, as text. */
static void copy(char text[256], KxScParamId id, const void *value) {
    if (!value) {
        snprintf(text, 256, "-");
        return;
    }
    switch (id) {
    case KxScParamRotate:
    case KxScParamOffsetX:
    case KxScParamOffsetY:
    case KxScParamWidth:
    case KxScParamHeight:
        snprintf(text, 256, "%d", (int)*(const int32_t *)value);
        break;
    case KxScParamOutLines:
        snprintf(text, 256, "%s", (const char *)value);
        break;
    default:
        snprintf(text, 256, "%g", (double)*(const float *)value);
    }
}

/* The plug-in calls these three; it finds them in this program. */

void KxSc__InitStaticKeys(void) {
    count = 0;
}

void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                       const void *max, const void *inc) {
    if (index != KX_SC_NO_INDEX || count == sizeof settings / sizeof *settings)
        return;
    settings[count].id = id;
    copy(settings[count].cur, id, cur);
    copy(settings[count].min, id, min);
    copy(settings[count].max, id, max);
    copy(settings[count].inc, id, inc);
    ++count;
}

void KxSc__ProcExport(void) {
    for (size_t i = 0; i < count; ++i)
        printf("%d: current %s, minimum %s, maximum %s, increment %s\n", (int)settings[i].id,
               settings[i].cur, settings[i].min, settings[i].max, settings[i].inc);
}

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: minimal_host PLUGIN [SERIAL]\n");
        return 2;
    }

    void *library = dlopen(argv[1], RTLD_LAZY);
    if (!library) {
        fprintf(stderr, "minimal_host: %s\n", dlerror());
        return 2;
    }
    int (*proc)(const char *, int, int);
    *(void **)&proc = dlsym(library, "Vendor__Proc");
    if (!proc) {
        fprintf(stderr, "minimal_host: %s\n", dlerror());
        return 2;
    }

    /* The list is written at level info. */
    return proc(argc == 3 ? argv[2] : NULL, KX_LOG_MODE_STDOUT, KX_LOG_LEVEL_INFO) == 0 ? 0 : 1;
}
