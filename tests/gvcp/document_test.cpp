// Which texts are taken for documents, and what is said of those that are not.

#include <gmock/gmock.h>

#include "gvcp/description.h"
#include "problem.h"

namespace {

using gvcp::checkDocument;
using gvcp::withoutPadding;
using testing::HasSubstr;
using testing::StartsWith;

std::string refused(std::string_view text) {
    return refusalOf([text] { checkDocument(text); });
}

// What is said of a text with its only defect in the first line.
std::string refused(size_t column, std::string_view text) {
    const std::string place = "the document, line 1, column " + std::to_string(column) + ": ";
    const std::string why = refused(text);
    return why.substr(0, place.size()) == place ? why.substr(place.size()) : why;
}

std::string repeated(std::string_view text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string nested(size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
}

std::string attributes(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += " a" + std::to_string(i) + "=''";
    return text;
}

std::string declaring(const std::string &encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>";
}

TEST(Document, IsTakenWhenItIsWellFormed) {
    for (const std::string &text : {
             std::string("<a/>"),
             std::string("\n<a></a>"),
             std::string("<RegisterDescription xmlns:xsi='x' xsi:schemaLocation=\"y\" >\r\n"
                         "  <Integer Name=\"Width\"><!-- in pixels --><Value>1 &lt; 2</Value>"
                         "</Integer >\n <?hint none?><?hint?><Text><![CDATA[<>&]]]]></Text>\n"
                         "</RegisterDescription>"),
             std::string(
                 "<?xml version = '1.0' encoding = 'utf-8' standalone = 'yes' ?>\n"
                 "<!-- before -->\n<?xml-stylesheet href='a'?><a/>\n<!-- after --><?done?>"),
             std::string("\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?><a/>"),
             std::string("\xef\xbb\xbf<a b = 'x>\"' c=\"y'\n\"/>"),
             std::string(
                 "<a b='&amp;&lt;&gt;&quot;&apos;&#9;'>&#xA;&#xD7FF;&#x10FFFF;\xc3\xa4</a>"),
             declaring("iso-8859-1") + "<a b='\xe4'>\x80\xff</a>",
             declaring("WINDOWS-1252") + "<a b='\xe4'>\x80\xff</a>",
             declaring("us-ascii") + "<a>plain</a>",
         })
        EXPECT_NO_THROW(checkDocument(text)) << text;
}

TEST(Document, IsRefusedWithThePlaceAndTheReason) {
    const struct {
        size_t column;
        std::string text, why;
    } cases[] = {
        {1, "", "no element found"},
        {1, "text", "syntax error"},
        {5, "<a/><b/>", "junk after document element"},
        {6, "<a></b>", "mismatched tag"},
        {4, "<a>", "it ends within an element; expected its end tag"},
        {6, "<a b=1/>", "not well-formed (invalid token)"},
        {15, "<a b='1' c='' b='2'/>", "duplicate attribute"},
        {4, "<a>&nbsp;</a>", "undefined entity"},
        {4, "<a>&#0;</a>", "reference to invalid character number"},
        {4, "<a>\x01</a>", "not well-formed (invalid token)"},
        {4, "<a>\xc0\x80</a>", "not well-formed (invalid token)"},
        {2, " <?xml version='1.0'?><a/>", "XML or text declaration not at start of entity"},
        {20, "<a><![CDATA[ ]]</a>", "unclosed CDATA section"},
        // What expat would take, or say less of.
        {1, "<?xml version='1.1'?><a/>", "it is in another version of XML, expected '1.0'"},
        {4, "\xef\xbb\xbf" + declaring("ISO-8859-1") + "<a/>",
         "it names another encoding, but begins with UTF-8's mark"},
        {6, "<:a/>", "a name with a colon, expected one between a prefix and a name"},
        {6, "<a:/>", "a name with a colon, expected one between a prefix and a name"},
        {9, "<a:b:c/>", "a name with a colon, expected one between a prefix and a name"},
        {12, "<a b:1=''/>", "a name with a colon, expected one between a prefix and a name"},
        {13, "<!DOCTYPE a [<!ENTITY e \"eeeeeeeeee\">]><a>&e;</a>",
         "it has a document type declaration, which no description needs and which is not taken"},
        {59, "<?xml version='1.0'?><!DOCTYPE a SYSTEM 'file:///dev/zero'><a/>",
         "it has a document type declaration, which no description needs and which is not taken"},
    };
    for (const auto &wrong : cases)
        EXPECT_EQ(wrong.why, refused(wrong.column, wrong.text)) << wrong.text;
    EXPECT_THAT(refused("\n<a>\r\n\r\xc3\xa4\xe2\x82\xac&</a>"),
                StartsWith("the document, line 4, column 4: "));
}

TEST(Document, IsRefusedInOtherEncodings) {
    const std::string expected = ", expected UTF-8, US-ASCII, ISO-8859-1 or Windows-1252";
    EXPECT_EQ("unknown encoding" + expected, refused(31, declaring("Shift_JIS") + "<a/>"));
    EXPECT_EQ("encoding specified in XML declaration is incorrect" + expected,
              refused(31, declaring("UTF-16") + "<a/>"));
    for (const std::string_view text :
         {std::string_view("\xff\xfe<\0a\0", 6), std::string_view("\xfe\xff\0<\0a", 6),
          std::string_view("<\0a\0/\0>\0", 8), std::string_view("\0<\0a\0/\0>", 8),
          std::string_view("\0\0\0<", 4)})
        EXPECT_EQ("it is in UTF-16 or UTF-32, expected UTF-8", refused(1, text));
    for (const char *text : {"US-ASCII\xe4", "Windows-1252\x81"})
        EXPECT_NE("", refused(declaring(std::string(text, strlen(text) - 1)) + "<a>" +
                              text[strlen(text) - 1] + "</a>"));
}

TEST(Document, LosesZerosAndBlanksAtItsEnd) {
    EXPECT_EQ("<a/>", withoutPadding("<a/>"));
    EXPECT_EQ("<a/>\r\n\t ", withoutPadding(std::string_view("<a/>\r\n\t \0\0\n\0", 12)));
    EXPECT_EQ("", withoutPadding(std::string_view("\0\0", 2)));
    EXPECT_NE("", refused(std::string_view("<a/>\0", 5)));
}

TEST(Document, HasBounds) {
    const struct {
        std::string most, more, why;
    } cases[] = {
        {nested(64), nested(65), "too many elements within each other, expected at most 64"},
        {nested(64), nested(3'000'000), "too many elements within each other, expected at most 64"},
        {"<a>" + repeated("<b/>", 499'999) + "</a>", "<a>" + repeated("<b/>", 500'000) + "</a>",
         "too many elements, expected at most 500000"},
        {"<a" + attributes(64) + "/>", "<a" + attributes(65) + "/>",
         "too many attributes of one element, expected at most 64"},
        {"<" + std::string(1024, 'a') + "/>", "<" + std::string(1025, 'a') + "/>",
         "too many bytes of a name, expected at most 1024"},
        {"<a " + std::string(1024, 'a') + "=''/>", "<a " + std::string(1025, 'a') + "=''/>",
         "too many bytes of a name, expected at most 1024"},
    };
    for (const auto &bound : cases) {
        EXPECT_NO_THROW(checkDocument(bound.most)) << bound.why;
        EXPECT_THAT(refused(bound.more), HasSubstr(bound.why));
    }
}

} // namespace
