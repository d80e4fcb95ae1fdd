// Feeds kept inputs to a fuzz target, for builds without a fuzzer: arguments are files, or folders
// of them. A broken invariant ends the process; that so many inputs ran is said at the end.

#include "input.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = std::filesystem;

int main(int argc, char **argv) {
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        const bool isFolder = fs::is_directory(argv[i]);
        const auto begin = isFolder ? fs::directory_iterator(argv[i]) : fs::directory_iterator();
        std::copy(begin, fs::directory_iterator(), std::back_inserter(files));
        if (!isFolder)
            files.emplace_back(argv[i]);
    }
    std::sort(files.begin(), files.end());
    for (const fs::path &path : files) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
        if (!file) {
            std::fprintf(stderr, "run-inputs: cannot read '%s'\n", path.c_str());
            return 2;
        }
        std::fprintf(stderr, "%s, %zu bytes\n", path.c_str(), bytes.size());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    const size_t count = files.size();
    std::printf("%zu inputs passed\n", count);
    if (count == 0) {
        std::fprintf(stderr, "run-inputs: no inputs; expected files or folders of them\n");
        return 2;
    }
    return 0;
}
