// Feeds kept inputs to a fuzz target, for builds without a fuzzer: arguments are files, or folders
// of them. A broken invariant ends the process; that so many inputs ran is said at the end.

#include "input.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path &path) {
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(path))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char **argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path &path : filesOf(argv[i])) {
            std::ifstream file(path, std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
            if (!file) {
                std::fprintf(stderr, "run-inputs: cannot read '%s'\n", path.c_str());
                return 2;
            }
            std::fprintf(stderr, "%s, %zu bytes\n", path.c_str(), bytes.size());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            ++count;
        }
    }
    std::printf("%zu inputs passed\n", count);
    if (count == 0) {
        std::fprintf(stderr, "run-inputs: no inputs; expected files or folders of them\n");
        return 2;
    }
    return 0;
}
