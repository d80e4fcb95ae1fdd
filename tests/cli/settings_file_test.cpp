// Files of settings, whatever somebody has put into them.

#include "camera/saved_camera.h"

#include <algorithm>
#include <ctime>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "camera/values.h"

using kxinfo::Value;

namespace {

const std::string kCamera = R"("camera": {"manufacturer": "D", "model": "C", "serial": "S"})";

std::string with(const std::string &settings) {
    return R"({"version": 1, )" + kCamera + R"(, "settings": [)" + settings + "]}";
}

std::string withTables(const std::string &tables) {
    return R"({"version": 1, )" + kCamera + R"(, "settings": [], "lookupTables": [)" + tables +
           "]}";
}

std::string times(size_t count, const std::string &text) {
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string refusal(const std::string &text) {
    try {
        (void)kxinfo::settingsFrom(text, "file");
    } catch (const kxinfo::Error &error) {
        EXPECT_EQ(kxinfo::kWrongUsage, error.status());
        const std::string what = error.what();
        const std::string expected = " Expected is a file that 'kxinfo save' wrote.";
        EXPECT_EQ("\"file\" ", what.substr(0, 7));
        EXPECT_EQ(expected, what.substr(what.size() - std::min(what.size(), expected.size())));
        return what.substr(7, what.size() - 7 - expected.size());
    }
    return "taken";
}

kxinfo::SavedValue only(const std::string &setting) {
    return kxinfo::settingsFrom(with(setting), "file").settings.at(0);
}

TEST(SettingsFile, IsRefusedWithThePlaceAndWhatIsExpectedThere) {
    const std::string form = "is no file of settings: ";
    const std::string twoCurves = R"({"channel": "Red", "entries": [1]},
                                     {"channel": "Red", "entries": [2]})";
    const struct {
        std::string text, why;
    } cases[] = {
        {"Width=640\n", "is no JSON document: [json.exception.parse_error.101] parse error at line "
                        "1, column 1: syntax error while "
                        "parsing value - invalid literal; last read: 'W'."},
        {"{\"version\": 1,\n \"camera\" 5}",
         "is no JSON document: [json.exception.parse_error.101] parse error at line 2, column 11: "
         "syntax error while parsing object "
         "separator - unexpected number literal; expected ':'."},
        {R"({"version": 1e999})",
         "is no JSON document: [json.exception.out_of_range.406] number overflow parsing '1e999'."},
        {R"({"version": 2, )" + kCamera + R"(, "settings": []})",
         form + "version is 2; expected is 1."},
        {"[]", form + "the document is an array; expected is an object."},
        {R"({"version": 1, "settings": []})",
         form + "in the document: Missing required property 'camera'."},
        {with("7"), form + "settings[0] is 7; expected is an object."},
        {with(R"({"name": "Gain"})"), form + "in settings[0]: Missing required property 'value'."},
        {with(R"({"name": "Width", "value": 640}, {"name": "Gain", "value": null})"),
         form + "settings[1].value is null; expected is a number, a string of "
                "at most 256 characters or a boolean."},
        {with(R"({"name": "Gain", "value": 6, "raw": "2"})"),
         form + "settings[0].raw is \"2\"; expected is a number."},
        {withTables(R"({"channel": null, "entries": [1, 2.5]})"),
         form + "lookupTables[0].entries[1] is 2.5; expected is an integer from -2147483648 to "
                "2147483647."},
        {withTables(R"({"channel": null, "entries": [9999999999]})"),
         form + "lookupTables[0].entries[0] is 9999999999; expected is an integer from "
                "-2147483648 to 2147483647."},
        {withTables(R"({"channel": "red", "entries": [1]})"),
         form + "lookupTables[0].channel is \"red\"; expected is one of \"Red\", \"Green\", "
                "\"Blue\" or null."},
        {withTables(twoCurves), "holds the lookup table of Red twice."},
        {with(R"({"name": "Gain", "value": 6}, {"name": "Gain", "value": 6})"),
         "holds the setting \"Gain\" twice."},
        {with(R"({"name": "Gain", "value": 6, "value": 7})"),
         "has a member \"value\" twice in one place."},
        {with(R"({"name": "Gain", "value": 6, "unit": "ms"})"),
         "has \"ms\" as unit of Gain; expected is dB or x."},
        {with(R"({"name": "lutMode", "value": 1, "unit": "px"})"),
         "has \"px\" as unit of lutMode; expected is null."},
        {times(17, "[") + '1' + times(17, "]"), "nests lists or objects more than 16 deep."},
        {times(300000, "["), "nests lists or objects more than 16 deep."},
        {times(300000, "{\"a\":"), "nests lists or objects more than 16 deep."},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ(wrong.why, refusal(wrong.text)) << wrong.text.substr(0, 200);
}

// Files of some MiB that are made to take long.
TEST(SettingsFile, IsReadInNoTimeHoweverMuchIsInIt) {
    std::string members;
    for (int i = 0; i < 300000; ++i)
        members += '"' + std::to_string(i) + "\":0,";
    const struct {
        std::string text, why;
    } cases[] = {
        {'{' + members + "\"a\":0}", "has more than 64 members in one place."},
        {'{' + times(300000, "\"a\":0,") + "\"a\":0}", "has a member \"a\" twice in one place."},
        {withTables(R"({"channel": null, "entries": [)" + times(1000000, "1,") + "1]}"),
         "holds more than 262144 values."},
        {with(times(1000000, "[],") + "[]"), "holds more than 262144 values."},
        {with(times(4000000, "{},") + "{}"), "holds more than 262144 values."},
        {with(times(130000, R"({"name": "lutMode", "value": "Off"},)") + "{}"),
         "holds more than 262144 values."},
        {withTables(R"({"channel": null, "entries": [)" + times(60000, "\"\",") + "1]}"),
         "is no file of settings: lookupTables[0].entries[0] is \"\"; expected is an integer "
         "from -2147483648 to 2147483647."},
        {R"({"version": ")" + std::string(16000000, 'x') + "\", " + kCamera +
             R"(, "settings": []})",
         "is no file of settings: version is \"" + times(39, "x") + "...; expected is 1."},
    };
    for (const auto &wrong : cases) {
        const std::clock_t start = std::clock();
        EXPECT_EQ(wrong.why, refusal(wrong.text));
        EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC) << "took ten minutes once";
    }
}

TEST(SettingsFile, MeansItsValuesInTheirUnits) {
    const struct {
        std::string setting;
        Value value;
        std::string typed;
        bool isExact;
    } cases[] = {
        {R"("ExposureTime", "value": 50, "unit": "ms")", 50000.0, "50 ms", false},
        {R"("ExposureTime", "value": 50, "unit": "us")", int64_t{50}, "50 us", false},
        {R"("ExposureTime", "value": 50)", int64_t{50}, "50", false},
        {R"("ExposureTime", "value": "50ms")", std::string("50ms"), "50ms", false},
        {R"("Gain", "value": 20, "unit": "dB")", 10.0, "20 dB", false},
        {R"("Gain", "value": 20)", 10.0, "20", false},
        {R"("Gain", "value": 20, "unit": null)", int64_t{20}, "20 x", false},
        {R"("autoBrightnessTarget", "value": 50, "unit": "%")", 127.5, "50 %", false},
        {R"("Width", "value": 18446744073709551615)", 0x1p64, "18446744073709551615", false},
        {R"("ReverseX", "value": true)", true, "true", false},
        {R"("lutMode", "value": "O\u202eff")", std::string("O\\u202eff"), "O\\u202eff", false},
        // The camera's own number counts while it belongs to value and unit.
        {R"("Gain", "value": 6.0206003, "unit": "dB", "raw": 2.0000000001)", 2.0000000001,
         "6.0206003 dB", true},
        {R"("Gain", "value": 6.0207, "unit": "dB", "raw": 2)",
         *kxinfo::ownNumber(kxinfo::featureNamed("Gain"), 6.0207, "dB"), "6.0207 dB", false},
        {R"("Gain", "value": "-Infinity", "unit": "dB", "raw": 0)", 0.0, "-Infinity dB", true},
        {R"("ExposureTime", "value": 100.0, "unit": "ms", "raw": 100)", 100000.0, "100.0 ms",
         false},
        {R"("ExposureTime", "value": 0.1, "unit": "us", "raw": 0.10000000149011612)",
         0.10000000149011612, "0.1 us", true},
    };
    for (const auto &expected : cases) {
        const kxinfo::SavedValue saved = only(R"({"name": )" + expected.setting + "}");
        EXPECT_EQ(expected.value, saved.value) << expected.setting;
        EXPECT_EQ(expected.typed, saved.typed);
        EXPECT_EQ(expected.isExact, saved.isExact) << expected.setting;
    }
}

TEST(SettingsFile, ComesBackAsItWasWritten) {
    kxinfo::SavedCamera camera{{"D", "C", "S", ""}, {}, {{"", {1, -2}}}, {}};
    const auto add = [&](const char *name, const Value &value) {
        camera.settings.push_back({&kxinfo::featureNamed(name), value, true, ""});
    };
    add("GainAuto", std::string("Off"));
    add("Width", int64_t{640});
    add("ReverseX", true);
    add("ExposureTime", 1e4 / 3);
    add("Gain", 0x1.123456789abcdp1);
    const std::string text = kxinfo::settingsText(camera);
    EXPECT_EQ(text, kxinfo::settingsText(kxinfo::settingsFrom(text, "file")));
}

TEST(SettingsFile, NamesTheSettingsOfTheTableOfFeatures) {
    std::ifstream file(SETTINGS_SCHEMA);
    const auto schema = nlohmann::json::parse(file);
    std::vector<std::string> names;
    for (const kxinfo::Feature *feature : kxinfo::savedFeatures())
        names.push_back(feature->name);
    EXPECT_THAT(schema["definitions"]["setting"]["properties"]["name"]["enum"]
                    .get<std::vector<std::string>>(),
                testing::UnorderedElementsAreArray(names));
    std::vector<std::string> units;
    for (const kxinfo::Feature *feature : kxinfo::savedFeatures())
        for (const std::string &unit : kxinfo::unitsOf(*feature))
            if (std::find(units.begin(), units.end(), unit) == units.end())
                units.push_back(unit);
    auto known = schema["definitions"]["setting"]["properties"]["unit"]["enum"];
    known.erase(known.size() - 1); // null
    EXPECT_THAT(known.get<std::vector<std::string>>(), testing::UnorderedElementsAreArray(units));
}

} // namespace
