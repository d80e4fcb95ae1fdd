// These tests run the plug-in's own file on the scripted platform, and on no other.

#include "plug_in.h"

#include <dlfcn.h>
#include <link.h>

namespace {

std::vector<std::string> loadedLibraries(const std::string &name) {
    struct Search {
        std::string name;
        std::vector<std::string> found;
    } search{name, {}};
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *data) {
            auto &wanted = *static_cast<Search *>(data);
            if (std::string(info->dlpi_name).find(wanted.name) != std::string::npos)
                wanted.found.emplace_back(info->dlpi_name);
            return 0;
        },
        &search);
    return search.found;
}

std::string fileOf(void *function) {
    Dl_info info;
    return dladdr(function, &info) ? info.dli_fname : "";
}

TEST(TestProgram, RunsThePlugInsFileOnTheScriptedPlatformAlone) {
    const std::vector<std::string> platforms = loadedLibraries("libGevApi.so.2");
    ASSERT_EQ(1u, platforms.size());
    EXPECT_EQ(platforms[0], fileOf(reinterpret_cast<void *>(&scripted::reset)));
    EXPECT_EQ(platforms[0], fileOf(reinterpret_cast<void *>(&GevGetCameraList)));

    const std::vector<std::string> plugIns = loadedLibraries("libkxinfo-dalsa.so");
    ASSERT_EQ(1u, plugIns.size());
    EXPECT_EQ(plugIns[0], fileOf(dlsym(RTLD_DEFAULT, "Vendor__Proc")));
}

} // namespace
