// Files in the text form of programs over GenApi, whatever somebody has put into them.

#include "camera/saved_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera/values.h"

using kxinfo::Value;

namespace {

std::string times(size_t count, const std::string &text) {
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

// Settings as "NAME = VALUE", in the order in which they are restored.
std::vector<std::string> settingsIn(const std::string &text) {
    std::vector<std::string> settings;
    for (const kxinfo::SavedValue &saved : kxinfo::settingsFrom(text, "file").settings)
        settings.push_back(saved.feature->name + " = " +
                           kxinfo::quantityText(*saved.feature, saved.value));
    return settings;
}

std::string refusal(const std::string &text) {
    try {
        (void)kxinfo::settingsFrom(text, "file");
    } catch (const kxinfo::Error &error) {
        EXPECT_EQ(kxinfo::kWrongUsage, error.status());
        return error.what();
    }
    return "taken";
}

TEST(GenApiFile, SaysWhichLineIsWrongAndWhatIsExpectedThere) {
    const std::string form = "NAME, a tab and the value, with {SELECTOR=ENTRY} in front of NAME or "
                             "behind it, at most 8";
    const struct {
        std::string line, expected;
    } cases[] = {
        {"Gain 1", form},
        {"Gain", form},
        {"\t1", form},
        {"Ga\x1b[2Jin\t1", form},
        {"Gain\u202e\t1", form},
        {std::string("Ga\0in\t1", 7), form},
        {"Ga in\t1", form},
        {"{GainSelector}Gain\t1", form},
        {"{GainSelector=}Gain\t1", form},
        {"{=A}Gain\t1", form},
        {"{GainSelector=A}\t1", form},
        {"{GainSelector=A Gain\t1", form},
        {"Gain{GainSelector=A\t1", form},
        {"Gain}\t1", form},
        {"{GainSelector=A=B}Gain\t1", form},
        {"{GainSelector=A", form},
        {"Gain{A=1}{B=2}\t1", form},
        {"{" + times(8, "A=1,") + "A=1}Gain\t1", form},
        {"X\t" + std::string(4095, 'x'), "a line of at most 4096 bytes"},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ("\"file\" is wrong in line 3: expected is " + wrong.expected +
                      ". Correct that line, or leave it out. Expected is a file that 'kxinfo save' "
                      "wrote.",
                  refusal("# file\nWidth\t640\n" + wrong.line + "\nHeight\t480\n"));
}

TEST(GenApiFile, TakesWhatItsBoundsAllow) {
    EXPECT_EQ("taken", refusal("{" + times(7, "A=1,") + "A=1}Gain\t1"));
    EXPECT_EQ("taken", refusal("X\t" + std::string(4094, 'x')));
    EXPECT_EQ("taken", refusal(times(32768, "X\t1\n")));
    EXPECT_THAT(refusal(times(32769, "X\t1\n")),
                testing::HasSubstr("line 32769: expected is at most 32768 lines."));
}

TEST(GenApiFile, MeansTheCamerasOwnValuesOfSettingsWithTheirSelectors) {
    using Lines = std::vector<std::string>;
    const struct {
        std::string text;
        Lines settings;
    } cases[] = {
        {"Gain\t2\n", {"Gain = 6.0206 dB"}},
        {"GainSelector\tSensorAll\nGain\t2\n", {"Gain = 6.0206 dB"}},
        {"{GainSelector=SensorAll}Gain\t2", {"Gain = 6.0206 dB"}},
        {"Gain{GainSelector=SensorAll}\t2", {"Gain = 6.0206 dB"}},
        {"GainSelector\tA\nGain\t2\n", {}},
        {"{A=1, BalanceRatioSelector=Red}BalanceRatio\t2\n", {"BalanceRatio[Red] = 6.0206 dB"}},
        {"BalanceRatio\t2\n", {}}, // of which colour?
        {"X\t1\nWidth\t640\nX\t2\nWidth\t320\n", {"Width = 320 px"}},
        {"ReverseX\ttrue\nReverseY\t0\nX\ttrue\n", {"ReverseX = true", "ReverseY = false"}},
        {"Width\t18446744073709551615\nOffsetX\t1e999\nlutMode\t\nlutType\ta\u202eb\tc\n",
         {"Width = 1.84467e+19 px", "OffsetX = 1e999", "lutType = a\\u202eb\\tc", "lutMode = "}},
    };
    for (const auto &expected : cases) {
        EXPECT_EQ(expected.settings, settingsIn(expected.text)) << expected.text;
        EXPECT_EQ(expected.settings, settingsIn("\n \n# a\n\n" + expected.text));
    }
}

TEST(GenApiFile, NamesItsCamera) {
    const struct {
        std::string device;
        std::vector<std::string> names;
    } cases[] = {
        {"V::M -- text -- Serial number = S1", {"V", "M", "S1"}},
        {"V::M -- text", {"V", "M", ""}},
        {"V::A::M", {"V", "A::M", ""}},
        {"V", {"V", "", ""}},
        {"", {"", "", ""}},
        {"V\x1b::M\u202e", {"V\\x1b", "M\\u202e", ""}},
    };
    for (const auto &expected : cases) {
        const auto name = kxinfo::settingsFrom("# Device = " + expected.device, "file").name;
        EXPECT_EQ(expected.names, (std::vector{name.manufacturer, name.model, name.serial}));
    }
}

TEST(GenApiFile, SwitchesWhatAFeatureNeedsInFrontOfIt) {
    kxinfo::SavedCamera camera{{"V", "M", "S", ""}};
    const auto add = [&](const char *name, const Value &value) {
        camera.settings.push_back({&kxinfo::featureNamed(name), value, true, ""});
    };
    add("exposureAutoMinValue", 0.1);
    add("exposureAutoMaxValue", 1e4);
    add("ExposureAuto", std::string("Off"));
    add("ReverseX", true);
    add("Gain", 2.0);
    camera.lines = {{"BlackLevel", "7"}, {"GainSelector", "DigitalAll"}, {"Gain", "1.5"}};
    EXPECT_EQ("# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n"
              "# GenApi persistence file (version 3.1.0)\n"
              "# Device = V::M -- GigE Vision camera -- Serial number = S\n"
              "ExposureAuto\tContinuous\n"
              "exposureAutoMinValue\t0.1\n"
              "exposureAutoMaxValue\t10000.0\n"
              "ExposureAuto\tOff\n"
              "ReverseX\t1\n"
              "GainSelector\tSensorAll\n"
              "Gain\t2.0\n"
              "BlackLevel\t7\n"
              "GainSelector\tDigitalAll\n"
              "Gain\t1.5\n",
              kxinfo::genApiText(camera));
}

} // namespace
