// kxinfo on cameras whose descriptions are unlike the built-in one: those of tests/genapi, and the
// built-in one with other kinds of features.

#include "watched_camera.h"
#include "wire.h"

#include <filesystem>
#include <map>

namespace {

using testing::AnyOf;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// A node of the built-in description becomes one of another kind, with whole numbers.
void change(std::string &text, const std::string &name, const std::string &kind,
            const std::string &newKind) {
    const size_t begin = text.find("<" + kind + " Name=\"" + name + "\">");
    ASSERT_NE(text.npos, begin) << name;
    const std::string end = "</" + kind + ">";
    const size_t size = text.find(end, begin) + end.size() - begin;
    std::string node = text.substr(begin, size);
    node.replace(1, kind.size(), newKind);
    node.replace(node.size() - end.size(), end.size(), "</" + newKind + ">");
    for (size_t at = node.find(".0<"); at != node.npos; at = node.find(".0<"))
        node.erase(at, 2);
    text.replace(begin, size, node);
}

std::map<std::string, std::string> descriptions() {
    std::map<std::string, std::string> all;
    for (const auto &file : std::filesystem::directory_iterator(DESCRIPTIONS))
        all[file.path().filename()] = readFile(file.path());
    std::string whole = descriptionWith({smallTables()});
    for (const char *name : {"Gain", "ExposureTime"})
        change(whole, name, "Float", "Integer");
    all["whole numbers"] = whole;
    std::string broken = descriptionWith({smallTables()});
    for (const char *name : {"Width", "OffsetX"})
        change(broken, name, "Integer", "Float");
    all["broken numbers"] = broken;
    all["no selectors"] = descriptionWith(
        {smallTables(), without("GainSelector"), without("BalanceRatioSelector"),
         without("LUTSelector"), without("TriggerSelector"), without("DeviceTemperatureSelector")});
    return all;
}

class Descriptions : public Wire {};

TEST_F(Descriptions, UnlikeTheBuiltInOneAreUnderstoodOrTheirCauseIsNamed) {
    const TemporaryFolder folder;
    const std::string json = folder.path() + "/saved.json", lines = folder.path() + "/saved.txt";
    size_t count = 0;
    for (const auto &[name, description] : descriptions()) {
        SCOPED_TRACE(name);
        const Simcam camera({"--description", folder.file("d.xml", description), "--camera",
                             "S1234@127.0.0.2", "--snapshot", folder.path()});
        const std::string before = snapshotOf(camera, folder);
        for (const std::vector<std::string> &command : std::vector<std::vector<std::string>>{
                 {"xml", "S1234"},
                 {"tree", "S1234"},
                 {"tree", "S1234", "--switch", "--json"},
                 {"get", "S1234"},
                 {"get", "S1234", "--json"},
                 {"save", "S1234", json},
                 {"save", "S1234", lines, "--format", "genapi"},
                 {"save", "S1234", lines, "--format", "genapi", "--switch"},
                 {"diff", "S1234", json},
                 {"doctor", "S1234", "--json"},
                 {"report", "S1234", folder.path() + "/page.html"}}) {
            SCOPED_TRACE(testing::PrintToString(command));
            const Result result = kxinfo(command);
            EXPECT_EQ(0, result.status) << result;
            EXPECT_THAT(result.err, AnyOf(IsEmpty(), StartsWith("kxinfo: ")));
            EXPECT_EQ(command.front() == "diff", result.out.empty());
        }
        // What the description has by selectors not all of which can be read has its cause.
        const Result result = kxinfo({"get", "S1234", "--switch"});
        EXPECT_THAT(result.status, AnyOf(0, 3)) << result;
        EXPECT_EQ(result.status == 3, result.err.find(" has no value: ") != result.err.npos)
            << result;
        EXPECT_THAT(changes(before, snapshotOf(camera, folder)), IsEmpty());
        ++count;
    }
    EXPECT_LE(13u, count);
}

} // namespace
