#include "gvcp/document.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>

#include "gvcp/error.h"
#include "gvcp/printable.h"

// One position walks through the text; each function takes from there what it is named after, or
// fails where it is. What has to be remembered are the names of the open elements, and of the
// attributes of one element: views into the text, in arrays of the size of their bounds.

namespace gvcp {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

enum class Encoding { Utf8, Ascii, Latin1, Windows1252 };

struct KnownEncoding {
    std::string_view name;
    Encoding encoding;
};
constexpr KnownEncoding kEncodings[] = {
    {"UTF-8", Encoding::Utf8},
    {"US-ASCII", Encoding::Ascii},
    {"ISO-8859-1", Encoding::Latin1},
    {"Windows-1252", Encoding::Windows1252},
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr std::array<bool, 256> plainCharacters() {
    std::array<bool, 256> plain{};
    for (size_t c = ' '; c <= '~'; ++c)
        plain[c] = true;
    for (const char c : {'\t', '\n', '\r'})
        plain[static_cast<unsigned char>(c)] = true;
    for (const char c : {'<', '>', '&', '\'', '"', ']', '-', '?'})
        plain[static_cast<unsigned char>(c)] = false;
    return plain;
}

constexpr std::array<bool, 256> kPlain = plainCharacters();

constexpr std::array<bool, 256> plainNameCharacters() {
    std::array<bool, 256> plain{};
    for (size_t c = 0; c < 0x80; ++c)
        plain[c] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                   c == '_' || c == '-' || c == '.';
    return plain;
}

// Those of US-ASCII that a name may go on with.
constexpr std::array<bool, 256> kPlainInName = plainNameCharacters();

char small(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalInAnyCapitals(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return small(x) == small(y); });
}

struct Range {
    char32_t first;
    char32_t last;
};

bool isIn(std::initializer_list<Range> ranges, char32_t code) {
    return std::any_of(ranges.begin(), ranges.end(), [code](const Range &range) {
        return code >= range.first && code <= range.last;
    });
}

bool isLegal(char32_t code) {
    return code >= 0x20 ? code < 0xd800 || isIn({{0xe000, 0xfffd}, {0x10000, 0x10ffff}}, code)
                        : code == '\t' || code == '\n' || code == '\r';
}

// Colons are apart: they divide a prefix from a name.
bool beginsName(char32_t code) {
    if (code < 0x80)
        return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || code == '_';
    return isIn({{0xc0, 0xd6},
                 {0xd8, 0xf6},
                 {0xf8, 0x2ff},
                 {0x370, 0x37d},
                 {0x37f, 0x1fff},
                 {0x200c, 0x200d},
                 {0x2070, 0x218f},
                 {0x2c00, 0x2fef},
                 {0x3001, 0xd7ff},
                 {0xf900, 0xfdcf},
                 {0xfdf0, 0xfffd},
                 {0x10000, 0xeffff}},
                code);
}

bool continuesName(char32_t code) {
    if (code < 0x80)
        return kPlainInName[code];
    return beginsName(code) || code == 0xb7 || isIn({{0x300, 0x36f}, {0x203f, 0x2040}}, code);
}

// A character of the text. No size: the bytes there are none.
struct Character {
    char32_t code = 0;
    size_t size = 0;
};

// The character that \p text begins with, of those beyond US-ASCII.
Character utf8Character(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    const size_t size = byte(0) >= 0xf0 ? 4 : byte(0) >= 0xe0 ? 3 : 2;
    if (byte(0) < 0xc2 || byte(0) > 0xf4 || text.size() < size)
        return {};
    char32_t code = byte(0) & (0x7fu >> size);
    for (size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xc0) != 0x80)
            return {};
        code = code << 6 | (byte(i) & 0x3f);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    return code >= kLeast[size] ? Character{code, size} : Character{};
}

// A single byte beyond US-ASCII. Windows-1252 leaves five without a character; what its others below
// 0xa0 are does not matter here, as long as they are not taken for parts of names.
Character singleByteCharacter(uint8_t byte, Encoding encoding) {
    const bool undefined =
        byte == 0x81 || byte == 0x8d || byte == 0x8f || byte == 0x90 || byte == 0x9d;
    if (encoding == Encoding::Ascii || (encoding == Encoding::Windows1252 && undefined))
        return {};
    return {byte, 1};
}

class Checker {
public:
    explicit Checker(std::string_view text) : text_(text) {}

    void check() {
        refuseWideCharacters();
        marked_ = take(kByteOrderMark);
        if (lookingAt("<?xml") && at_ + 5 < text_.size() && isBlank(text_[at_ + 5]))
            declaration();
        miscellany();
        if (ended())
            fail("it ends without an element");
        if (text_[at_] != '<')
            failToFind("the first element");
        element();
        while (depth_ > 0)
            content();
        miscellany();
        if (!ended())
            fail(found() + " behind the end of the only element that a document has");
    }

private:
    using View = std::string_view;

    bool ended() const { return at_ == text_.size(); }

    // Most often it is another character already.
    bool lookingAt(View expected) const {
        return !ended() && text_[at_] == expected[0] &&
               text_.substr(at_, expected.size()) == expected;
    }

    bool take(View expected) {
        if (!lookingAt(expected))
            return false;
        at_ += expected.size();
        return true;
    }

    void expect(View expected, View what) {
        if (!take(expected))
            failToFind("'" + std::string(expected) + "' " + std::string(what));
    }

    bool takeBlanks() {
        const size_t from = at_;
        while (!ended() && isBlank(text_[at_]))
            ++at_;
        return at_ > from;
    }

    // Characters that are legal and mean nothing wherever they stand; most of a document is of them.
    void skipPlain() { skip(kPlain); }

    void skip(const std::array<bool, 256> &characters) {
        while (!ended() && characters[static_cast<uint8_t>(text_[at_])])
            ++at_;
    }

    // The character here, which has to be a legal one. Must not be at the end.
    Character character() const {
        const auto byte = static_cast<uint8_t>(text_[at_]);
        Character here{byte, 1};
        if (byte >= 0x80)
            here = encoding_ == Encoding::Utf8 ? utf8Character(text_.substr(at_))
                                               : singleByteCharacter(byte, encoding_);
        if (here.size == 0)
            fail("the byte " + hex("0x", byte) + " is no character of the document's encoding");
        if (!isLegal(here.code))
            fail("the character " + hex("U+", here.code) + " is not legal in a document");
        return here;
    }

    // Whatever legal characters there are up to \p end, which is taken as well.
    void takeThrough(View end, View what) {
        const size_t from = at_;
        while (!take(end)) {
            if (ended()) {
                at_ = from;
                fail(std::string(what) + " has no end; expected '" + std::string(end) + "'");
            }
            at_ += character().size;
            skipPlain();
        }
    }

    void declaration() {
        take("<?xml");
        takeBlanks();
        expect("version", "of the XML declaration");
        const View version = declared();
        if (version != "1.0")
            fail("the version of XML is " + quoted(version) + ", expected '1.0'");
        bool blanks = takeBlanks();
        if (blanks && take("encoding")) {
            setEncoding(declared());
            blanks = takeBlanks();
        }
        if (blanks && take("standalone")) {
            const View standalone = declared();
            if (standalone != "yes" && standalone != "no")
                fail("'standalone' is " + quoted(standalone) + ", expected 'yes' or 'no'");
            takeBlanks();
        }
        expect("?>", "at the end of the XML declaration");
    }

    // '=' and the value in quotes, which is of US-ASCII's printable characters.
    View declared() {
        takeBlanks();
        expect("=", "in the XML declaration");
        takeBlanks();
        const char quote = openingQuote();
        const size_t from = at_;
        while (!ended() && text_[at_] != quote && text_[at_] > ' ' && text_[at_] <= '~')
            ++at_;
        const View value = text_.substr(from, at_ - from);
        expect(View(&quote, 1), "at the end of the value");
        return value;
    }

    void setEncoding(View name) {
        const auto *known =
            std::find_if(std::begin(kEncodings), std::end(kEncodings), [name](const auto &entry) {
                return equalInAnyCapitals(entry.name, name);
            });
        if (known == std::end(kEncodings))
            fail("the encoding is " + quoted(name) +
                 ", expected UTF-8, US-ASCII, ISO-8859-1 or Windows-1252");
        if (marked_ && known->encoding != Encoding::Utf8)
            fail("the encoding is " + quoted(name) + ", but the document begins with UTF-8's mark");
        encoding_ = known->encoding;
    }

    // Texts of other than single bytes are told by their first characters, before they fail for
    // a reason that nobody understands.
    void refuseWideCharacters() {
        const View first = text_.substr(0, 2);
        if (first == "\xff\xfe" || first == "\xfe\xff" || first == View("<\0", 2) ||
            first == View("\0<", 2) || first == View("\0\0", 2))
            fail("it is in UTF-16 or UTF-32, expected UTF-8");
    }

    // What may stand around the first element.
    void miscellany() {
        for (;;) {
            takeBlanks();
            if (lookingAt("<!DOCTYPE"))
                fail("it has a document type declaration, which no description needs and which is "
                     "not taken");
            if (!comment() && !processingInstruction())
                return;
        }
    }

    bool comment() {
        if (!take("<!--"))
            return false;
        takeThrough("--", "the comment");
        expect(">", "behind '--' in a comment");
        return true;
    }

    bool processingInstruction() {
        if (!take("<?"))
            return false;
        const size_t from = at_;
        const View target = simpleName("of a processing instruction");
        if (equalInAnyCapitals(target, "xml")) {
            at_ = from;
            fail("an XML declaration can only be the very first");
        }
        if (take("?>"))
            return true;
        if (!takeBlanks())
            failToFind("a blank or '?>' behind " + quoted(target));
        takeThrough("?>", "the processing instruction");
        return true;
    }

    View simpleName(View of) {
        const size_t from = at_;
        if (ended() || !beginsName(character().code))
            failToFind("a name " + std::string(of));
        for (;;) {
            skip(kPlainInName);
            if (ended())
                break;
            const Character here = character();
            if (!continuesName(here.code))
                break;
            at_ += here.size;
        }
        if (at_ - from > kLongestName) {
            at_ = from;
            fail("a name has more than " + std::to_string(kLongestName) + " bytes");
        }
        return text_.substr(from, at_ - from);
    }

    // A name, or a prefix, a colon and a name.
    View name(View of) {
        const size_t from = at_;
        simpleName(of);
        if (take(":"))
            simpleName("behind the prefix");
        return text_.substr(from, at_ - from);
    }

    // One piece of what stands within an element.
    void content() {
        if (ended()) {
            const View open = open_[depth_ - 1];
            fail("it ends within <" + shown(open) + "> of line " +
                 std::to_string(placeOf(offsetOf(open)).line) + "; expected </" + shown(open) +
                 ">");
        }
        if (text_[at_] == '&')
            reference();
        else if (text_[at_] != '<')
            characterData();
        else if (lookingAt("</"))
            endTag();
        else if (take("<![CDATA["))
            takeThrough("]]>", "the CDATA section");
        else if (!comment() && !processingInstruction())
            element();
    }

    void characterData() {
        while (!ended() && text_[at_] != '<' && text_[at_] != '&') {
            if (lookingAt("]]>"))
                fail("']]>' in text, expected ']]&gt;'");
            at_ += character().size;
            skipPlain();
        }
    }

    void reference() {
        const size_t from = at_;
        take("&");
        if (take("#")) {
            characterReference(from);
            return;
        }
        for (const View entity : {"amp;", "lt;", "gt;", "quot;", "apos;"}) {
            if (take(entity))
                return;
        }
        at_ = from;
        fail("'&' that begins none of '&amp;', '&lt;', '&gt;', '&quot;', '&apos;' and '&#...;'");
    }

    void characterReference(size_t from) {
        constexpr uint32_t kBeyond = 0x110000;
        const bool hexadecimal = take("x");
        const uint32_t base = hexadecimal ? 16 : 10;
        const size_t digits = at_;
        uint32_t code = 0;
        for (; !ended() && text_[at_] != ';'; ++at_) {
            const char c = small(text_[at_]);
            if (!isDigit(c) && !(hexadecimal && c >= 'a' && c <= 'f'))
                failToFind(hexadecimal ? "a hexadecimal digit or ';'" : "a digit or ';'");
            const int digit = isDigit(c) ? c - '0' : c - 'a' + 10;
            code = std::min<uint32_t>(code * base + static_cast<uint32_t>(digit), kBeyond);
        }
        const bool empty = at_ == digits;
        expect(";", "at the end of a character reference");
        if (empty || !isLegal(code)) {
            at_ = from;
            fail("the character reference names no legal character");
        }
    }

    void element() {
        const size_t from = at_;
        take("<");
        if (++elements_ > kMostElements) {
            at_ = from;
            fail("it has more than " + std::to_string(kMostElements) + " elements");
        }
        if (depth_ == kDeepestElement) {
            at_ = from;
            fail("more than " + std::to_string(kDeepestElement) + " elements within each other");
        }
        const View opened = name("of an element");
        attributes(opened);
        if (take("/>"))
            return;
        if (!take(">"))
            failToFind("'>' or an attribute in <" + shown(opened) + ">");
        open_[depth_++] = opened;
    }

    void attributes(View element) {
        size_t count = 0;
        while (takeBlanks() && !ended() && text_[at_] != '>' && text_[at_] != '/') {
            const size_t from = at_;
            const View attribute = name("of an attribute, '>' or '/>'");
            const auto *end = known_.begin() + count;
            if (std::find(known_.cbegin(), end, attribute) != end) {
                at_ = from;
                fail("<" + shown(element) + "> has the attribute " + quoted(attribute) + " twice");
            }
            if (count == kMostAttributes) {
                at_ = from;
                fail("<" + shown(element) + "> has more than " + std::to_string(kMostAttributes) +
                     " attributes");
            }
            known_[count++] = attribute;
            takeBlanks();
            if (!take("="))
                failToFind("'=' behind the attribute " + quoted(attribute));
            takeBlanks();
            value(attribute);
        }
    }

    void value(View attribute) {
        const size_t from = at_;
        const char quote = openingQuote();
        for (;;) {
            if (ended()) {
                at_ = from;
                fail("the value of " + quoted(attribute) + " has no end");
            }
            if (text_[at_] == quote)
                break;
            if (text_[at_] == '<')
                fail("'<' in the value of " + quoted(attribute) + ", expected '&lt;' or the end");
            if (text_[at_] == '&')
                reference();
            else
                at_ += character().size;
            skipPlain();
        }
        ++at_;
    }

    char openingQuote() {
        if (!lookingAt("\"") && !lookingAt("'"))
            failToFind("a value in quotes");
        return text_[at_++];
    }

    void endTag() {
        const size_t from = at_;
        take("</");
        const View open = open_[depth_ - 1];
        if (take(open) && take(">")) {
            --depth_;
            return;
        }
        at_ = from + 2;
        const View closed = name("of an element");
        if (closed != open) {
            at_ = from;
            fail("</" + shown(closed) + "> found, expected </" + shown(open) + ">, which line " +
                 std::to_string(placeOf(offsetOf(open)).line) + " has opened");
        }
        takeBlanks();
        if (!take(">"))
            failToFind("'>' at the end of </" + shown(closed) + ">");
        --depth_;
    }

    static std::string hex(const char *prefix, char32_t number) {
        char text[16];
        snprintf(text, sizeof text, "%s%02lX", prefix, static_cast<unsigned long>(number));
        return text;
    }

    // A name as it stands between '<' and '>'.
    static std::string shown(View name) {
        const std::string text = quoted(name);
        return text.substr(1, text.size() - 2);
    }

    std::string found() const {
        if (ended())
            return "the end";
        return quoted(text_.substr(at_, character().size));
    }

    [[noreturn]] void failToFind(const std::string &expected) const {
        fail(found() + " found, expected " + expected);
    }

    struct Place {
        size_t line = 1;
        size_t column = 1;
    };

    size_t offsetOf(View part) const { return static_cast<size_t>(part.data() - text_.data()); }

    Place placeOf(size_t offset) const {
        Place place;
        for (size_t i = marked_ ? kByteOrderMark.size() : 0; i < offset; ++i) {
            const auto byte = static_cast<uint8_t>(text_[i]);
            const bool crlf = byte == '\r' && i + 1 < text_.size() && text_[i + 1] == '\n';
            if (byte == '\n' || (byte == '\r' && !crlf))
                place = {place.line + 1, 1};
            else if (encoding_ != Encoding::Utf8 || (byte & 0xc0) != 0x80)
                ++place.column;
        }
        return place;
    }

    [[noreturn]] void fail(const std::string &what) const {
        const Place place = placeOf(at_);
        throw Error(Cause::Description, "the document, line " + std::to_string(place.line) +
                                            ", column " + std::to_string(place.column) + ": " +
                                            what);
    }

    const View text_;
    size_t at_ = 0;
    bool marked_ = false;
    Encoding encoding_ = Encoding::Utf8;
    std::array<View, kDeepestElement> open_;
    size_t depth_ = 0;
    std::array<View, kMostAttributes> known_; // of one element; made once, as there are many
    size_t elements_ = 0;
};

} // namespace

std::string_view withoutPadding(std::string_view text) {
    size_t end = text.size();
    while (end > 0 && (isBlank(text[end - 1]) || text[end - 1] == '\0'))
        --end;
    while (end < text.size() && isBlank(text[end]))
        ++end;
    return text.substr(0, end);
}

void checkDocument(std::string_view text) {
    Checker(text).check();
}

} // namespace gvcp
