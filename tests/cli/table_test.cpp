// Tables as people read them.

#include "cli/text.h"

#include <gtest/gtest.h>

namespace {

TEST(TableText, AlignsNumbersRightAndTheRestLeft) {
    EXPECT_EQ("name   size  unit\n"
              "a         5  px\n"
              "bb    12345  \u00b5s\n",
              kxinfo::tableText(
                  {{{"name", "size", "unit"}}, {{"a", "5", "px"}}, {{"bb", "12345", "\u00b5s"}}}));
    EXPECT_EQ("a     b  c\nlong  d  e\n",
              kxinfo::tableText({{{"a", "b", "c"}, false}, {{"long", "d", "e"}, false}}));
}

TEST(TableText, LetsALastCellRunOnAndCountsCharactersNotBytes) {
    EXPECT_EQ(
        "\u00e9\u00e9  1  x\nfill the line\nab  2  y\n",
        kxinfo::tableText({{{"\u00e9\u00e9", "1", "x"}}, {{"fill the line"}}, {{"ab", "2", "y"}}}));
}

TEST(ChoicesText, NamesThemOrNone) {
    EXPECT_EQ("one of Off, Once", kxinfo::choicesText({"Off", "Once"}));
    EXPECT_EQ("-", kxinfo::choicesText({}));
}

TEST(TableText, HasNoColumnThatOneCellMakesWiderThanABound) {
    const std::string widest(120, 'w'), wider(121, 'w');
    EXPECT_EQ("a" + std::string(119, ' ') + "  1\n" + widest + "  2\n",
              kxinfo::tableText({{{"a", "1"}}, {{widest, "2"}}}));
    EXPECT_EQ("a  1\n" + wider + "  2\n", kxinfo::tableText({{{"a", "1"}}, {{wider, "2"}}}));
}

} // namespace
