// Texts for people.

#include "cli/text.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

TEST(Cleaned, ShowsWhatWouldActOnATerminalOrCannotBeSeen) {
    const struct {
        const char *text, *shown;
    } cases[] = {
        {"Gain 5 \u00b5s \u20ac \U0001f4f7", "Gain 5 \u00b5s \u20ac \U0001f4f7"},
        {"\x1b[2J\n\t\x7f", "\\x1b[2J\\n\\t\\x7f"},
        {"a\u202eb", "a\\u202eb"},          // the direction of writing
        {"\u200b\ufeff", "\\u200b\\ufeff"}, // blanks without width
        {"\U000e0041", "\\ue0041"},         // a tag
        {"\xc2\x9b", "\\xc2\\x9b"},         // a control of 8 bits
        {"\xff\xe0\x80\x9b\xed\xa0\x80", "\\xff\\xe0\\x80\\x9b\\xed\\xa0\\x80"},
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}, // beyond what Unicode has
        {"\xf0\x9f\x93", "\\xf0\\x9f\\x93"},          // cut off
    };
    for (const auto &[text, shown] : cases)
        EXPECT_EQ(shown, kxinfo::cleaned(text));
    EXPECT_EQ("\\x00", kxinfo::cleaned(std::string_view("\0", 1)));
}

TEST(Shortened, EndsAtACharactersEnd) {
    EXPECT_EQ(std::string(40, 'x'), kxinfo::shortened(std::string(40, 'x')));
    EXPECT_EQ(std::string(39, 'x') + "...",
              kxinfo::shortened(std::string(39, 'x') + "\u00e9" + "y"));
}

TEST(DidYouMean, NamesTheNearest) {
    const kxinfo::Words names = {"Gain", "GainAuto", "gammaCorrection", "ExposureTime"};
    const struct {
        std::string word, guess;
    } cases[] = {
        {"gian", " Did you mean Gain?"},
        {"gamme", " Did you mean gammaCorrection?"},
        {"Exposure", " Did you mean ExposureTime?"},
        {"Width", ""},
        {"", ""},
        {std::string(100, 'g'), ""},
    };
    for (const auto &[word, guess] : cases)
        EXPECT_EQ(guess, kxinfo::didYouMean(word, names)) << word;
}

TEST(NumberText, HasSixDigitsAndAllBeforeThePoint) {
    const struct {
        double number;
        const char *text;
    } cases[] = {{6.020599913, "6.0206"}, {-0.0, "0"},   {20000, "20000"}, {1234567.8, "1234568"},
                 {1e12, "1e+12"},         {0.1f, "0.1"}, {NAN, "NaN"},     {INFINITY, "Infinity"},
                 {-INFINITY, "-Infinity"}};
    for (const auto &[number, text] : cases)
        EXPECT_EQ(text, kxinfo::numberText(number));
}

TEST(Joined, ReadsAsAList) {
    EXPECT_EQ("", kxinfo::joined({}));
    EXPECT_EQ("a", kxinfo::joined({"a"}));
    EXPECT_EQ("a, b or c", kxinfo::joined({"a", "b", "c"}));
}

} // namespace
