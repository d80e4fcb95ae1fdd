// One probe of a scripted camera, for valgrind to count instructions of (Vendor__Proc), and with
// what the plug-in itself asks of the heap: calls whose return address lies in its file.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <link.h>
#include <new>

#include "plug_in.h"

namespace {

struct Range {
    uintptr_t begin = 0;
    uintptr_t end = 0;
} plugIn;

long allocations = 0;

int findPlugIn(dl_phdr_info *info, size_t, void *) {
    if (!std::strstr(info->dlpi_name, "libkxinfo-dalsa.so"))
        return 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto &part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X))
            plugIn = {info->dlpi_addr + part.p_vaddr,
                      info->dlpi_addr + part.p_vaddr + part.p_memsz};
    }
    return 1;
}

void count(const void *caller) {
    const auto address = reinterpret_cast<uintptr_t>(caller);
    if (address >= plugIn.begin && address < plugIn.end)
        ++allocations;
}

} // namespace

// In front of the C library's and the C++ runtime's.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

KX_API void *malloc(size_t size) {
    count(__builtin_return_address(0));
    return __libc_malloc(size);
}
KX_API void *calloc(size_t number, size_t size) {
    count(__builtin_return_address(0));
    return __libc_calloc(number, size);
}
KX_API void *realloc(void *block, size_t size) {
    count(__builtin_return_address(0));
    return __libc_realloc(block, size);
}
}

KX_API void *operator new(size_t size) {
    count(__builtin_return_address(0));
    if (void *block = __libc_malloc(size))
        return block;
    throw std::bad_alloc();
}
KX_API void *operator new[](size_t size) {
    count(__builtin_return_address(0));
    if (void *block = __libc_malloc(size))
        return block;
    throw std::bad_alloc();
}
KX_API void operator delete(void *block) noexcept {
    std::free(block);
}
KX_API void operator delete(void *block, size_t) noexcept {
    std::free(block);
}
KX_API void operator delete[](void *block) noexcept {
    std::free(block);
}
KX_API void operator delete[](void *block, size_t) noexcept {
    std::free(block);
}

int main() {
    dl_iterate_phdr(findPlugIn, nullptr);
    if (!plugIn.end) {
        std::fprintf(stderr, "bench-probe-once: the plug-in is not loaded\n");
        return 1;
    }
    scripted::framework().sees({{"Teledyne DALSA", "Nano", "S1234"}});
    describeWholeCamera(scripted::camera());
    const long before = allocations;
    const int result = Vendor__Proc("S12", 0, 0);
    std::printf("%ld\n", allocations - before);
    if (result != 0)
        std::fprintf(stderr, "bench-probe-once: the probe returned %d\n", result);
    return result;
}
