// Which texts are taken for documents, and what is said of those that are not.

#include <gmock/gmock.h>

#include "gvcp/document.h"
#include "problem.h"

namespace {

using gvcp::checkDocument;
using gvcp::withoutPadding;
using testing::HasSubstr;

void expectTaken(std::string_view text) {
    EXPECT_NO_THROW(checkDocument(text)) << text.substr(0, 200);
}

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

TEST(Document, HasOneElementAndWhateverIsIn) {
    expectTaken("<a/>");
    expectTaken("<a></a>");
    expectTaken("<RegisterDescription xmlns:xsi='x' xsi:schemaLocation=\"y\" >\r\n"
                "  <Integer Name=\"Width\"><!-- in pixels --><Value>1 &lt; 2</Value></Integer >\n"
                "  <?hint none?><?hint?><Text><![CDATA[<>&]]]]></Text>\n"
                "</RegisterDescription>");
}

TEST(Document, MayHaveADeclarationAndCommentsAroundItsElement) {
    expectTaken("<?xml version=\"1.0\"?><a/>");
    expectTaken("<?xml version = '1.0' encoding = 'utf-8' standalone = 'yes' ?>\n"
                "<!-- before -->\n<?xml-stylesheet href='a'?><a/>\n<!-- after --><?done?>\n");
    expectTaken("\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?><a/>");
    expectTaken("\xef\xbb\xbf<a/>");
    expectTaken("\n<a/>");
}

TEST(Document, LosesZerosAndBlanksAtItsEnd) {
    EXPECT_EQ("<a/>", withoutPadding("<a/>"));
    EXPECT_EQ("<a/>\r\n\t ", withoutPadding(std::string_view("<a/>\r\n\t \0\0\n\0", 12)));
    EXPECT_EQ("", withoutPadding(std::string_view("\0\0", 2)));
    EXPECT_EQ("the character U+00 is not legal in a document",
              refused(5, std::string_view("<a/>\0", 5)));
}

TEST(Document, IsOneElement) {
    EXPECT_EQ("it ends without an element", refused(1, ""));
    EXPECT_EQ("it ends without an element", refused(9, "<!-- -->"));
    EXPECT_EQ("'t' found, expected the first element", refused(1, "text"));
    EXPECT_EQ("'&' found, expected the first element", refused(1, "&#32;<a/>"));
    EXPECT_EQ("'<' behind the end of the only element that a document has", refused(5, "<a/><b/>"));
    EXPECT_EQ("'t' behind the end of the only element that a document has",
              refused(9, "<a></a> text"));
}

TEST(Document, HasTagsThatMatch) {
    EXPECT_EQ("</b> found, expected </a>, which line 1 has opened", refused(4, "<a></b>"));
    EXPECT_EQ("</A> found, expected </a>, which line 1 has opened", refused(4, "<a></A>"));
    EXPECT_EQ("it ends within <a> of line 1; expected </a>", refused(4, "<a>"));
    EXPECT_EQ("'/' found, expected a name of an element", refused(2, "</a>"));
    EXPECT_EQ("the end found, expected '>' at the end of </a>", refused(7, "<a></a"));
    EXPECT_EQ("'/' found, expected '>' or an attribute in <a>", refused(4, "<a / >"));
    EXPECT_EQ("the end found, expected '>' or an attribute in <a>", refused(4, "<a "));
}

TEST(Document, TellsDefectsByLineAndColumn) {
    EXPECT_EQ("the document, line 3, column 6: </c> found, expected </b>, which line 2 has opened",
              refused("<a>\r\n<b>\r text</c></b></a>"));
    EXPECT_EQ("the document, line 4, column 4: it ends within <a> of line 2; expected </a>",
              refused("\n<a>\r\n\r\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"));
    EXPECT_EQ("the document, line 1, column 5: '&' that begins none of '&amp;', '&lt;', '&gt;', "
              "'&quot;', '&apos;' and '&#...;'",
              refused("\xef\xbb\xbf<a>\xc3\xa4&</a>"));
}

TEST(Document, HasNamesOfLettersAndDigits) {
    expectTaken("<_/>");
    expectTaken("<a1-.\xc2\xb7 xml:lang='en'/>");
    expectTaken("<\xc3\xa4\xf0\x90\x80\x80/>");
    EXPECT_EQ("'1' found, expected a name of an element", refused(2, "<1/>"));
    EXPECT_EQ("'-' found, expected a name of an element", refused(2, "<-a/>"));
    EXPECT_EQ("' ' found, expected a name of an element", refused(2, "< a/>"));
    EXPECT_EQ("':' found, expected a name of an element", refused(2, "<:a/>"));
    EXPECT_EQ("'/' found, expected a name behind the prefix", refused(4, "<a:/>"));
    EXPECT_EQ("':' found, expected '>' or an attribute in <a:b>", refused(5, "<a:b:c/>"));
    EXPECT_EQ("'?"
              "?' found, expected a name of an element",
              refused(2, "<\xc3\x97/>"));
}

TEST(Document, HasAttributesInQuotes) {
    expectTaken("<a b = 'x>\"' c=\"y'\n\"/>");
    EXPECT_EQ("'1' found, expected a value in quotes", refused(6, "<a b=1/>"));
    EXPECT_EQ("'/' found, expected '=' behind the attribute 'b'", refused(5, "<a b/>"));
    EXPECT_EQ("'<' in the value of 'b', expected '&lt;' or the end", refused(7, "<a b='<'/>"));
    EXPECT_EQ("the value of 'b' has no end", refused(6, "<a b='/>"));
    EXPECT_EQ("'c' found, expected '>' or an attribute in <a>", refused(9, "<a b='1'c='2'/>"));
}

TEST(Document, HasAnAttributeOnlyOnceInAnElement) {
    EXPECT_EQ("<a> has the attribute 'b' twice", refused(15, "<a b='1' c='' b='2'/>"));
    expectTaken("<a b='' x:b='' B=''><a b=''/></a>");
}

TEST(Document, HasThePredefinedEntities) {
    expectTaken("<a b='&amp;&lt;&gt;&quot;&apos;'>&amp;&lt;&gt;&quot;&apos;</a>");
    for (const char *text :
         {"<a>&nbsp;</a>", "<a>&</a>", "<a>& </a>", "<a>&amp </a>", "<a>&AMP;</a>"})
        EXPECT_THAT(refused(4, text), HasSubstr("'&' that begins none of ")) << text;
    EXPECT_THAT(refused(7, "<a b='&x;'/>"), HasSubstr("'&' that begins none of "));
}

TEST(Document, RefersToLegalCharacters) {
    expectTaken("<a b='&#9;'>&#xA;&#x0000000020;&#xD7FF;&#xe000;&#xFFFD;&#65536;&#x10FFFF;</a>");
    for (const char *text :
         {"<a>&#0;</a>", "<a>&#8;</a>", "<a>&#xD800;</a>", "<a>&#xDFFF;</a>", "<a>&#xFFFE;</a>",
          "<a>&#x110000;</a>", "<a>&#x10000000000000041;</a>", "<a>&#;</a>", "<a>&#x;</a>"})
        EXPECT_EQ("the character reference names no legal character", refused(4, text)) << text;
    EXPECT_EQ("'a' found, expected a digit or ';'", refused(7, "<a>&#1a;</a>"));
    EXPECT_EQ("'g' found, expected a hexadecimal digit or ';'", refused(7, "<a>&#xg;</a>"));
    EXPECT_EQ("'X' found, expected a digit or ';'", refused(6, "<a>&#X41;</a>"));
    EXPECT_EQ("the end found, expected ';' at the end of a character reference",
              refused(8, "<a>&#65"));
}

TEST(Document, HasOnlyLegalCharacters) {
    expectTaken("<a>\t\r\n\x7f\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbd\xf4\x8f\xbf\xbf</a>");
    EXPECT_EQ("the character U+01 is not legal in a document", refused(4, "<a>\x01</a>"));
    EXPECT_EQ("the character U+FFFE is not legal in a document", refused(4, "<a>\xef\xbf\xbe</a>"));
    EXPECT_EQ("the character U+1B is not legal in a document", refused(7, "<a b='\x1b'/>"));
    EXPECT_EQ("the character U+1F is not legal in a document", refused(5, "<!--\x1f--><a/>"));
    EXPECT_EQ("the character U+08 is not legal in a document", refused(5, "<?a \x08?><a/>"));
    EXPECT_EQ("the character U+00 is not legal in a document",
              refused(13, std::string_view("<a><![CDATA[\0]]></a>", 20)));
}

TEST(Document, IsValidUtf8) {
    for (const char *bytes : {"\x80", "\xbf", "\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf",
                              "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf5",
                              "\xff", "\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xc3<"}) {
        const std::string why = refused(4, std::string("<a>") + bytes + "</a>");
        // Some decode to a number that is no character's.
        EXPECT_TRUE(why.find("is no character of the document's encoding") != std::string::npos ||
                    why.find("is not legal in a document") != std::string::npos)
            << why;
    }
    EXPECT_EQ("the byte 0xE2 is no character of the document's encoding",
              refused(4, "<a>\xe2\x82"));
}

TEST(Document, MayBeInSingleBytesWhenItSaysSo) {
    expectTaken(declaring("iso-8859-1") + "<a b='\xe4'>\x80\xff</a>");
    expectTaken(declaring("WINDOWS-1252") + "<a b='\xe4'>\x80\xff</a>");
    expectTaken(declaring("ISO-8859-1") + "<\xe4/>");
    expectTaken(declaring("us-ascii") + "<a>plain</a>");
    EXPECT_EQ("the byte 0xE4 is no character of the document's encoding",
              refused(45, declaring("US-ASCII") + "<a>\xe4</a>"));
    EXPECT_EQ("the byte 0x81 is no character of the document's encoding",
              refused(49, declaring("Windows-1252") + "<a>\x81</a>"));
    EXPECT_EQ("'?' found, expected a name of an element",
              refused(47, declaring("Windows-1252") + "<\x8a/>"));
    EXPECT_EQ("</?> found, expected </?>, which line 1 has opened",
              refused(47, declaring("ISO-8859-1") + "<\xe4></\xc4>"));
}

TEST(Document, IsRefusedInOtherEncodingsByName) {
    EXPECT_EQ("the encoding is 'Shift_JIS', expected UTF-8, US-ASCII, ISO-8859-1 or Windows-1252",
              refused(41, declaring("Shift_JIS") + "<a/>"));
    EXPECT_EQ("the encoding is 'UTF-16', expected UTF-8, US-ASCII, ISO-8859-1 or Windows-1252",
              refused(38, declaring("UTF-16") + "<a/>"));
    EXPECT_EQ("the encoding is 'ISO-8859-1', but the document begins with UTF-8's mark",
              refused(42, "\xef\xbb\xbf" + declaring("ISO-8859-1") + "<a/>"));
    for (const std::string_view text :
         {std::string_view("\xff\xfe<\0a\0", 6), std::string_view("\xfe\xff\0<\0a", 6),
          std::string_view("<\0a\0/\0>\0", 8), std::string_view("\0<\0a\0/\0>", 8),
          std::string_view("\0\0\0<", 4)})
        EXPECT_EQ("it is in UTF-16 or UTF-32, expected UTF-8", refused(1, text));
}

TEST(Document, IsOfXml10) {
    EXPECT_EQ("the version of XML is '1.1', expected '1.0'",
              refused(20, "<?xml version='1.1'?><a/>"));
    EXPECT_EQ("'e' found, expected 'version' of the XML declaration",
              refused(7, "<?xml encoding='UTF-8'?><a/>"));
    EXPECT_EQ("'standalone' is 'maybe', expected 'yes' or 'no'",
              refused(39, "<?xml version='1.0' standalone='maybe'?><a/>"));
    EXPECT_EQ("'e' found, expected '?>' at the end of the XML declaration",
              refused(20, "<?xml version='1.0'encoding='UTF-8'?><a/>"));
    EXPECT_EQ("'s' found, expected '?>' at the end of the XML declaration",
              refused(37, "<?xml version='1.0' encoding='UTF-8'standalone='no'?><a/>"));
}

TEST(Document, HasItsDeclarationFirst) {
    const char *why = "an XML declaration can only be the very first";
    EXPECT_EQ(why, refused(4, " <?xml version='1.0'?><a/>"));
    EXPECT_EQ(why, refused(6, "<a><?xml?></a>"));
    EXPECT_EQ(why, refused(3, "<?XmL a?><a/>"));
}

TEST(Document, HasNoDocumentType) {
    const char *why = "it has a document type declaration, which no description needs and which is "
                      "not taken";
    EXPECT_EQ(why, refused(1, "<!DOCTYPE a [<!ENTITY e \"eeeeeeeeee\">]><a>&e;</a>"));
    EXPECT_EQ(why, refused(22, "<?xml version='1.0'?><!DOCTYPE a SYSTEM 'file:///dev/zero'><a/>"));
    EXPECT_EQ(why, refused(5, "<a/><!DOCTYPE a>"));
}

TEST(Document, HasCommentsInstructionsAndSectionsThatEnd) {
    EXPECT_EQ("the comment has no end; expected '--'", refused(5, "<!-- <a/>"));
    EXPECT_EQ("' ' found, expected '>' behind '--' in a comment", refused(8, "<!--a-- --><a/>"));
    EXPECT_EQ("'-' found, expected '>' behind '--' in a comment", refused(8, "<!--a---><a/>"));
    EXPECT_EQ("the processing instruction has no end; expected '?>'", refused(5, "<?a b><a/>"));
    EXPECT_EQ("'+' found, expected a blank or '?>' behind 'a'", refused(4, "<?a+?><a/>"));
    EXPECT_EQ("the CDATA section has no end; expected ']]>'", refused(13, "<a><![CDATA[ ]]</a>"));
    EXPECT_EQ("'<' behind the end of the only element that a document has",
              refused(5, "<a/><![CDATA[]]>"));
    EXPECT_EQ("']]>' in text, expected ']]&gt;'", refused(5, "<a>x]]></a>"));
}

TEST(Document, HasElementsWithinEachOtherUpToABound) {
    expectTaken(nested(64));
    EXPECT_EQ("more than 64 elements within each other", refused(193, nested(65)));
    EXPECT_EQ("more than 64 elements within each other", refused(193, nested(3'000'000)));
}

TEST(Document, HasElementsUpToABound) {
    expectTaken("<a>" + repeated("<b/>", 499'999) + "</a>");
    EXPECT_THAT(refused("<a>" + repeated("<b/>", 500'000) + "</a>"),
                HasSubstr("it has more than 500000 elements"));
}

TEST(Document, HasAttributesUpToABound) {
    expectTaken("<a" + attributes(64) + "/>");
    EXPECT_THAT(refused("<a" + attributes(65) + "/>"),
                HasSubstr("<a> has more than 64 attributes"));
}

TEST(Document, HasNamesUpToABound) {
    expectTaken("<" + std::string(1024, 'a') + "/>");
    EXPECT_EQ("a name has more than 1024 bytes", refused(2, "<" + std::string(1025, 'a') + "/>"));
}

} // namespace
