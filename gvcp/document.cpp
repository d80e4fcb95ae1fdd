#include "gvcp/description.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>

#include "gvcp/error.h"

// Expat judges what is well-formed; the bounds are held here. Nothing may be thrown through it.

namespace gvcp {
namespace {

using namespace std::string_view_literals;

/** Unicode numbers of the bytes 0x80 to 0x9f; -1: there is no such character. */
constexpr int kWindows1252[] = {0x20ac, -1,     0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021,
                                0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, -1,     0x017d, -1,
                                -1,     0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014,
                                0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, -1,     0x017e, 0x0178};

struct Check {
    XML_Parser parser;
    bool marked; // it begins with UTF-8's byte order mark
    size_t depth = 0;
    size_t elements = 0;
    const char *problem = nullptr; // what is beyond a bound
    size_t most = 0;               // ... which is this; 0: it is none

    void stop(const char *why, size_t bound = 0) {
        problem = why;
        most = bound;
        (void)XML_StopParser(parser, XML_FALSE);
    }
};

void onDeclaration(void *data, const XML_Char *version, const XML_Char *encoding, int) {
    auto &check = *static_cast<Check *>(data);
    if (version && strcmp(version, "1.0") != 0)
        check.stop("it is in another version of XML, expected '1.0'");
    else if (encoding && check.marked && strcasecmp(encoding, "UTF-8") != 0)
        check.stop("it names another encoding, but begins with UTF-8's mark");
}

void onDocumentType(void *data, const XML_Char *, const XML_Char *, const XML_Char *, int) {
    static_cast<Check *>(data)->stop("it has a document type declaration, which no description "
                                     "needs and which is not taken");
}

// A name, or one behind a prefix: what else has colons parsers read differently.
bool isPlain(const XML_Char *name) {
    const char *colon = strchr(name, ':');
    return !colon || (colon != name &&
                      (isalpha(static_cast<unsigned char>(colon[1])) != 0 || colon[1] == '_') &&
                      !strchr(colon + 1, ':'));
}

void onStart(void *data, const XML_Char *name, const XML_Char **attributes) {
    auto &check = *static_cast<Check *>(data);
    size_t longest = strlen(name);
    bool arePlain = isPlain(name);
    size_t count = 0;
    for (; attributes[2 * count]; ++count) {
        longest = std::max(longest, strlen(attributes[2 * count]));
        arePlain = arePlain && isPlain(attributes[2 * count]);
    }
    if (++check.elements > kMostElements)
        check.stop("too many elements", kMostElements);
    else if (++check.depth > kDeepestElement)
        check.stop("too many elements within each other", kDeepestElement);
    else if (count > kMostAttributes)
        check.stop("too many attributes of one element", kMostAttributes);
    else if (longest > kLongestName)
        check.stop("too many bytes of a name", kLongestName);
    else if (!arePlain)
        check.stop("a name with a colon, expected one between a prefix and a name");
}

void onEnd(void *data, const XML_Char *) {
    --static_cast<Check *>(data)->depth;
}

// Those that expat does not know by itself.
int onEncoding(void *, const XML_Char *name, XML_Encoding *encoding) {
    if (strcasecmp(name, "Windows-1252") != 0)
        return XML_STATUS_ERROR;
    *encoding = {};
    std::iota(std::begin(encoding->map), std::end(encoding->map), 0);
    std::copy(std::begin(kWindows1252), std::end(kWindows1252), encoding->map + 0x80);
    return XML_STATUS_OK;
}

[[noreturn]] void fail(const Check &check, const std::string &what) {
    throw Error(Cause::Description,
                "the document, line " + std::to_string(XML_GetCurrentLineNumber(check.parser)) +
                    ", column " + std::to_string(XML_GetCurrentColumnNumber(check.parser) + 1) +
                    ": " + what);
}

} // namespace

std::string_view withoutPadding(std::string_view text) {
    const size_t end = text.find_last_not_of(" \t\n\r\0"sv) + 1; // 0: there is nothing else
    return text.substr(0, text.find_first_not_of(" \t\n\r", end));
}

void checkDocument(std::string_view text) {
    const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                         XML_ParserFree);
    if (!parser)
        throw std::bad_alloc();
    Check check{parser.get(), text.substr(0, 3) == "\xef\xbb\xbf"};
    const std::string_view first = text.substr(0, 4);
    if (first.find('\0') != first.npos || first.substr(0, 2) == "\xff\xfe" ||
        first.substr(0, 2) == "\xfe\xff")
        throw Error(Cause::Description,
                    "the document, line 1, column 1: it is in UTF-16 or UTF-32, expected UTF-8");
    XML_SetUserData(parser.get(), &check);
    XML_SetXmlDeclHandler(parser.get(), onDeclaration);
    XML_SetStartDoctypeDeclHandler(parser.get(), onDocumentType);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetUnknownEncodingHandler(parser.get(), onEncoding, nullptr);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) ==
        XML_STATUS_OK)
        return;
    const XML_Error error = XML_GetErrorCode(parser.get());
    if (error == XML_ERROR_NO_MEMORY)
        throw std::bad_alloc();
    if (check.problem)
        fail(check, check.problem +
                        (check.most ? ", expected at most " + std::to_string(check.most) : ""));
    if (error == XML_ERROR_NO_ELEMENTS && check.depth > 0)
        fail(check, "it ends within an element; expected its end tag");
    const bool isEncoding =
        error == XML_ERROR_UNKNOWN_ENCODING || error == XML_ERROR_INCORRECT_ENCODING;
    fail(check, std::string(XML_ErrorString(error)) +
                    (isEncoding ? ", expected UTF-8, US-ASCII, ISO-8859-1 or Windows-1252" : ""));
}

} // namespace gvcp
