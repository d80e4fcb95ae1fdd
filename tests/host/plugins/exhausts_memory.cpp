// Publishes a text when there is no memory to copy it to.

#include <sys/resource.h>

#include <string>

#include "fake_plugin.h"

int Vendor__Proc(const char *, int, int) {
    const std::string text(64 << 20, 'x');
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    rlimit nothingMore = before;
    nothingMore.rlim_cur = 1;

    KxSc__InitStaticKeys();
    fake::publishAll();
    setrlimit(RLIMIT_AS, &nothingMore);
    fake::publishOutLine(text.c_str(), "\"None\"");
    setrlimit(RLIMIT_AS, &before);
    KxSc__ProcExport();
    return 0;
}
