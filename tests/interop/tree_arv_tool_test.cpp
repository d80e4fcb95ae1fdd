// kxinfo tree beside Debian's arv-tool-0.8: the same values, in far fewer commands.

#include "watched_camera.h"
#include "wire.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <regex>
#include <set>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

// As large as those of real cameras: each register may be kept and is shown by one feature, and
// they lie apart from each other.
std::string largeDescription(int features) {
    std::string nodes, names;
    for (int i = 0; i < features; ++i) {
        const std::string name = "Feature" + std::to_string(i);
        names += "<pFeature>" + name + "</pFeature>\n";
        nodes += "<Integer Name=\"" + name + "\"><ToolTip>What register " + std::to_string(i) +
                 " of the camera's many holds.</ToolTip><Description>It can be read and written at "
                 "any time.</Description><Visibility>Expert</Visibility><pValue>" +
                 name + "Reg</pValue></Integer>\n<IntReg Name=\"" + name +
                 "Reg\"><Extension><Initial>" + std::to_string(i * 7) +
                 "</Initial></Extension><Address>" + std::to_string(0x10000 + 16 * i) +
                 "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                 "<Cachable>WriteThrough</Cachable><Sign>Unsigned</Sign>"
                 "<Endianess>BigEndian</Endianess></IntReg>\n";
    }
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_1" VendorName="Dalsa"
    ModelName="Large" StandardNameSpace="GEV" SchemaMajorVersion="1" SchemaMinorVersion="1"
    SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="11111111-2222-3333-4444-555555555555"
    VersionGuid="11111111-2222-3333-4444-666666666666">
<Category Name="Root">
)" + names +
           "</Category>\n" + nodes + "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
}

// What arv-tool-0.8 shows of each feature that has a value: without quotes and units.
std::map<std::string, std::string> valuesByArvTool() {
    const Result result = run({ARV_TOOL, "-a", "127.0.0.2", "values"});
    EXPECT_EQ(0, result.status) << result.err;
    static const std::regex kLine(R"(^ *\w+ *: \[..\] '(\w+)' = ('(.*)'|(\S+).*)$)");
    std::map<std::string, std::string> values;
    std::smatch parts;
    for (const std::string &line : linesOf(result.out))
        if (std::regex_match(line, parts, kLine))
            values[parts[1]] = parts[3].matched ? parts[3] : parts[4];
    return values;
}

// Whether a value of the tree is the same. arv-tool-0.8 writes floats with six digits.
bool isSame(const json &value, const std::string &text) {
    if (!value.is_number())
        return (value.is_string() ? value.get<std::string>() : value.dump()) == text;
    char *end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return *end == '\0' && (value.is_number_integer() ? value.dump() == text
                                                      : std::abs(value.get<double>() - number) <=
                                                            1e-5 * std::abs(number));
}

// Nodes of the descriptions in tests/genapi; peer_test.cpp there says why Aravis has them otherwise.
const std::set<std::string> kOtherwise{"Enabled", "Chain", "Named", "Suffixes", "Powers"};

// How many features both show of the camera at 127.0.0.2, with the same value.
size_t compare() {
    const auto values = valuesByArvTool();
    const Result result = kxinfo({"tree", "127.0.0.2", "--json"});
    EXPECT_EQ(0, result.status) << result;
    size_t count = 0;
    const json document = json::parse(result.out);
    for (const json &feature : document["features"]) {
        const std::string name = feature["name"];
        const auto found = values.find(name);
        if (found == values.end() || feature["value"].is_null() || name == "GevCCP")
            continue; // GevCCP: arv-tool-0.8 takes control
        ++count;
        EXPECT_EQ(kOtherwise.count(name) == 0, isSame(feature["value"], found->second))
            << name << ": " << feature["value"] << ", by arv-tool-0.8 " << found->second;
    }
    return count;
}

class TreeByArvTool : public Wire {};

TEST_F(TreeByArvTool, HasTheSameValues) {
    {
        const WatchedCamera camera;
        EXPECT_LT(45u, compare());
    }
    size_t count = 0;
    for (const auto &file : std::filesystem::directory_iterator(DESCRIPTIONS)) {
        SCOPED_TRACE(file.path());
        const Simcam camera({"--description", file.path(), "--camera", "S1234@127.0.0.2"});
        count += compare();
    }
    std::cout << count << " values of the descriptions in tests/genapi are the same\n";
    EXPECT_LT(30u, count);
}

TEST_F(TreeByArvTool, TakesATenthOfTheCommandsThatArvToolTakes) {
    const TemporaryFolder folder;
    constexpr int kFeatures = 560;
    const std::string text = largeDescription(kFeatures);
    EXPECT_NEAR(300'000, static_cast<double>(text.size()), 15'000);
    const std::string file = folder.file("large.xml", text);
    const auto commandsOf = [&file](const auto &look) {
        Simcam camera({"--description", file, "--camera", "S1234@127.0.0.2"});
        look();
        return commandsIn(camera.stop().output);
    };
    setenv("KXGIGE_CACHE", folder.path().c_str(), 1);
    const auto tree = [] { EXPECT_EQ(0, kxinfo({"tree", "S1234"}).status); };
    const int fresh = commandsOf(tree);
    const int again = commandsOf(tree); // the description is known
    const int others = commandsOf([] { EXPECT_EQ(size_t{kFeatures}, valuesByArvTool().size()); });
    std::cout << text.size() << " bytes, " << kFeatures << " features: kxinfo tree " << fresh
              << " commands, " << again << " when the description is known; arv-tool-0.8 values "
              << others << '\n';

    EXPECT_LE(10 * fresh, others);
    EXPECT_LE(10 * again, others);
    const Simcam camera({"--description", file, "--camera", "S1234@127.0.0.2"});
    EXPECT_EQ(size_t{kFeatures}, compare());
}

} // namespace
