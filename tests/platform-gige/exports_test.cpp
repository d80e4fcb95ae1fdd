// What the library shows to the programs that load it.

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> linesOf(const char *command) {
    std::vector<std::string> lines;
    FILE *pipe = popen(command, "r");
    char line[1024];
    while (pipe && fgets(line, sizeof line, pipe))
        lines.emplace_back(line, strcspn(line, "\n"));
    EXPECT_EQ(0, pipe ? pclose(pipe) : -1);
    return lines;
}

// Demangled names of what the library defines for others.
std::set<std::string> exports() {
    std::set<std::string> names;
    for (const std::string &line : linesOf(KXINFO_NM " -D -C --defined-only " KXINFO_GEVAPI_FILE))
        names.insert(line.substr(line.find(' ', line.find(' ') + 1) + 1)); // after address and type
    return names;
}

bool isOfTheInterface(const std::string &name) {
    return name.find("GenApi_3_0::") != std::string::npos ||
           name.find("GenICam_3_0::") != std::string::npos;
}

TEST(Exports, AreTheFunctionsOfTheFrameworkAndItsOwn) {
    std::set<std::string> functions;
    for (const std::string &name : exports()) {
        if (!isOfTheInterface(name))
            functions.insert(name);
    }
    EXPECT_THAT(functions,
                ElementsAre("GevApiUninitialize", "GevCloseCamera", "GevGetCameraList",
                            "GevGetFeatureNodeMap", "GevGetFeatureValue", "GevOpenCamera",
                            "KxGigeCause", "KxGigeGetController", "KxGigeLookAt", "KxGigeReadAhead",
                            "KxGigeStopWhen", "_CloseSocketAPI"));
}

TEST(Exports, IncludeTheTypesThatCrossTheLibrarysBorder) {
    const std::set<std::string> names = exports();
    for (const char *type :
         {"GenICam_3_0::GenericException", "GenICam_3_0::AccessException",
          "GenICam_3_0::TimeoutException", "GenApi_3_0::IBase", "GenApi_3_0::INode",
          "GenApi_3_0::IValue", "GenApi_3_0::IInteger", "GenApi_3_0::IFloat",
          "GenApi_3_0::IBoolean", "GenApi_3_0::IEnumeration", "GenApi_3_0::IEnumEntry",
          "GenApi_3_0::ICategory", "GenApi_3_0::ISelector"}) {
        EXPECT_EQ(1u, names.count(std::string("typeinfo for ") + type)) << type;
    }
    EXPECT_EQ(1u, names.count("GenApi_3_0::CNodeMapRef::_GetNode(GenICam_3_0::gcstring const&) "
                              "const"));
}

// What it needs, and what that needs in turn, comes into every host.
TEST(Needed, AreSmallLibrariesAlone) {
    const std::vector<std::string> libraries = linesOf("ldd " KXINFO_GEVAPI_FILE);
    EXPECT_THAT(libraries, Contains(HasSubstr("libpugixml.so")));
    EXPECT_THAT(libraries, Contains(HasSubstr("libz.so")));
    for (const char *name : {"glib", "gobject", "gio", "aravis", "libxml2", "libcrypto"})
        EXPECT_THAT(libraries, Not(Contains(HasSubstr(name))));
}

} // namespace
