// Lookup tables as text files.

#include "camera/lookup_table.h"

#include <gtest/gtest.h>

#include "cli/text.h"

namespace {

std::string listed(const std::string &text) {
    try {
        const kxinfo::TableFile table = kxinfo::readTable(text, "curve");
        std::string list = table.whole ? "whole" : "some";
        for (const auto &entry : table.entries)
            list += ' ' + std::to_string(entry.index) + ':' + std::to_string(entry.value) + '@' +
                    std::to_string(entry.line);
        return list;
    } catch (const kxinfo::Error &error) {
        EXPECT_EQ(kxinfo::kWrongUsage, error.status());
        return error.what();
    }
}

TEST(TableFile, IsOneValueALineOrIndexAndValueAsSpreadsheetsWriteThem) {
    for (const char *text : {"5\n-6\n", "5\r\n-6\r\n", "# curve\n5 # first\n\n -6"})
        EXPECT_EQ(text[0] == '#' ? "whole 0:5@2 1:-6@4" : "whole 0:5@1 1:-6@2", listed(text));
    for (const char *text : {"0,5\n7,-6\n", "0;5\n7; -6\n", "0\t5\n7\t-6\r\n", "0 5\n7   -6\n"})
        EXPECT_EQ("some 0:5@1 7:-6@2", listed(text));
    for (const char *text : {"index,value\n0,5\n", "Index;Value\r\n0;5\r\n"})
        EXPECT_EQ("some 0:5@2", listed(text));
}

TEST(TableFile, IsRefusedWithTheLineThatIsWrong) {
    const std::string none = "\"curve\" holds no values. Expected is one value a line, or lines of "
                             "index,value.";
    const std::string number = "\" is no whole number; expected is one value, or index,value.";
    std::string longest;
    for (int i = 0; i < kxinfo::kMostTableEntries; ++i)
        longest += "1\n";
    const struct {
        std::string text, why;
    } cases[] = {
        {"", none},
        {"# nothing\n\n", none},
        {"5\n2.5\n", "curve, line 2: \"2.5" + number},
        {"0x10\n", "curve, line 1: \"0x10" + number},
        {"99999999999\n", "curve, line 1: \"99999999999" + number},
        {"1,2,3\n", "curve, line 1: \"2,3" + number},
        {"1,\n", "curve, line 1: \"" + number},
        {std::string("\xFF\xFE\x31\0\n", 5), "curve, line 1: \"\\xff\\xfe1\\x00" + number},
        {"index\n5\n", "curve, line 1: \"index" + number},
        {"5\n1,6\n", "curve, line 2: either all lines hold one value, or all hold index,value."},
        {"1,6\n5\n", "curve, line 2: either all lines hold one value, or all hold index,value."},
        {"1,6\n2,7\n1,6\n", "curve, line 3: index 1 stands in line 1 already."},
        {"-1,6\n", "curve, line 1: index -1 is outside 0 to 65535; no camera has a longer table."},
        {longest + "1\n",
         "curve, line 65537: index 65536 is outside 0 to 65535; no camera has a longer table."},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ(wrong.why, listed(wrong.text));
    EXPECT_EQ("whole 0:1@1 1:1@2", listed(longest).substr(0, 17));
}

} // namespace
