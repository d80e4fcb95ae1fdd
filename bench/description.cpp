// Loads a description and reads its Width once, by the evaluator that is named, over a camera that
// is memory alone. One process does it once, so that nothing is warm and memory is all its own.
//
//   bench-description own|checked|aravis DESCRIPTION.xml
//
// 'checked' is 'own' with what comes before it when a camera gives the description: the check that
// it is a well-formed document. Says how many microseconds it took, from the text in memory to the
// value; how many KB the peak of the process's resident memory (VmHWM) has grown; and how many KB
// of its heap are in use afterwards. The text itself counts as memory of each.

#include <arv.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <stdexcept>
#include <string>

#include "genapi/nodemap.h"
#include "gvcp/description.h"

namespace {

using Clock = std::chrono::steady_clock;

// In every register of four bytes. Bit 16 says that there is a Width.
constexpr int64_t kWidth = 0x10790;

void fill(uint64_t address, uint8_t *bytes, size_t size) {
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(kWidth >> 8 * (3 - (address + i) % 4));
}

class OwnMemory : public genapi::Port {
    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder) override {
        fill(address, bytes, size);
    }
    void write(uint64_t, const uint8_t *, size_t, genapi::ByteOrder) override {}
    void requireKept() override {}
};

struct AravisMemory {
    ArvDevice parent;
};
struct AravisMemoryClass {
    ArvDeviceClass parent;
};

// NOLINTNEXTLINE: the names that G_DEFINE_TYPE asks for
G_DEFINE_TYPE(AravisMemory, aravis_memory, arv_device_get_type())

void aravis_memory_init(AravisMemory *) {}

void aravis_memory_class_init(AravisMemoryClass *classes) {
    ARV_DEVICE_CLASS(classes)->read_memory = [](ArvDevice *, guint64 address, guint32 size,
                                                void *buffer, GError **) -> gboolean {
        fill(address, static_cast<uint8_t *>(buffer), size);
        return TRUE;
    };
}

// What is loaded stays until the process ends: giving it back is nobody's cost here.
int64_t byOwn(std::string document) {
    auto *map = new genapi::NodeMap(std::move(document), *new OwnMemory);
    auto *width = dynamic_cast<GenApi_3_0::IInteger *>(map->GetNode("Width"));
    return width ? width->GetValue() : 0;
}

int64_t byAravis(const std::string &document) {
    auto *device = g_object_new(aravis_memory_get_type(), nullptr);
    ArvGc *map = arv_gc_new(ARV_DEVICE(device), document.data(), document.size());
    ArvGcNode *width = map ? arv_gc_get_node(map, "Width") : nullptr;
    GError *error = nullptr;
    return ARV_IS_GC_INTEGER(width) ? arv_gc_integer_get_value(ARV_GC_INTEGER(width), &error) : 0;
}

std::string contentOf(const char *path) {
    std::string content(std::filesystem::file_size(path), '\0');
    std::ifstream file(path);
    if (!file.read(content.data(), static_cast<std::streamsize>(content.size())))
        throw std::runtime_error(std::string("cannot read ") + path);
    return content;
}

// getrusage() would not do: its peak may be that of the program that started this one.
long peakKilobytes() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        long kilobytes = 0;
        if (std::sscanf(line.c_str(), "VmHWM: %ld", &kilobytes) == 1)
            return kilobytes;
    }
    throw std::runtime_error("the system does not tell the peak of memory");
}

size_t heapBytes() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void run(const std::string &evaluator, const char *path) {
    const long peakBefore = peakKilobytes();
    const size_t heapBefore = heapBytes();
    std::string document = contentOf(path);
    const auto start = Clock::now();
    int64_t width = 0;
    if (evaluator == "aravis") {
        width = byAravis(document);
    } else {
        if (evaluator == "checked")
            gvcp::checkDocument(document);
        width = byOwn(std::move(document));
    }
    const std::chrono::duration<double, std::micro> took = Clock::now() - start;
    const size_t heap = heapBytes() - heapBefore;
    if (width != kWidth)
        throw std::runtime_error("Width reads as " + std::to_string(width));
    std::printf("%.0f %ld %zu\n", took.count(), peakKilobytes() - peakBefore, heap / 1024);
}

} // namespace

int main(int argc, char **argv) {
    const std::string evaluator = argc == 3 ? argv[1] : "";
    if (evaluator != "own" && evaluator != "checked" && evaluator != "aravis") {
        std::fprintf(stderr, "usage: bench-description own|checked|aravis DESCRIPTION.xml\n");
        return 2;
    }
    try {
        run(evaluator, argv[2]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench-description: %s\n", error.what());
        return 1;
    }
    return 0;
}
