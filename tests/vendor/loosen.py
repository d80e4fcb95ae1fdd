#!/usr/bin/env python3
"""Makes copies of our platform's headers as loose as a camera maker's may be.

  loosen.py FRAMEWORK_INCLUDE GENICAM_INCLUDE

What is changed is what code outside the platform must not rely on: that errors are std::exceptions,
that there is nothing but what is used, the order of members, the kind of small types, the dialect.
"""
import re
import sys


def change(path, *changes):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for pattern, replacement in changes:
        text, count = re.subn(pattern, replacement, text)
        if not count:
            sys.exit(f"loosen.py: {path} has no {pattern}")
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


framework, genicam = sys.argv[1:]
# In C++ the macro is there in GNU's dialect alone.
dialect = (r"(#define KXINFO_PLATFORM_\w+_H\n)",
           r"\1#ifndef linux\n#error This is for Linux alone.\n#endif\n")

# The first base class and what overrides its members; nothing else may bring <exception>.
change(f"{genicam}/Base/GCException.h", dialect,
       (r"#include <exception>\n", ""),
       (r"GenericException : public std::exception", "GenericException"),
       (r"~GenericException\(\) noexcept override", "virtual ~GenericException() noexcept"),
       (r"const char \*what\(\) const noexcept override", "virtual const char *what() const noexcept"))

change(f"{genicam}/Base/GCString.h", dialect,
       (r"(    gcstring\(const char \*text\);\n)",
        r"""\1    gcstring(const char *text, size_t length) : text_(text, length) {}
    gcstring(size_t count, char character) : text_(count, character) {}
    explicit gcstring(const std::string &text) : text_(text) {}
    gcstring(gcstring &&other) noexcept : text_(static_cast<std::string &&>(other.text_)) {}
"""))

# Members stand before ours and between them: whoever asked by position would get something else.
change(f"{genicam}/GenApi/GenApi.h", dialect,
       (r"RW  /\*\*< read and write \*/", r"RW, Unknown, Circular"),
       (r"(struct KX_GENAPI_DECL (INode|IValue|IInteger|IFloat|IBoolean|IEnumEntry|IEnumeration)"
        r" : virtual \w+ \{\n)",
        r"\1    virtual int Visibility\2() const { return 0; }\n"),
       (r"(    virtual \w+ GetMin\(\) = 0;\n)",
        r"    virtual int GetRepresentation() { return 0; }\n\1"
        r"    virtual StringList_t GetListOfValidValues(bool = true) { return {}; }\n"),
       (r"(namespace GenApi_3_0 \{\n)",
        r"""\1
class StringList_t {
public:
    using Element = GenICam_3_0::gcstring;
    virtual ~StringList_t() {}
    Element *begin() { return all_.data(); }
    Element *end() { return all_.data() + all_.size(); }
    const Element *begin() const { return all_.data(); }
    const Element *end() const { return all_.data() + all_.size(); }
    virtual void push_back(const Element &element) { all_.push_back(element); }
    virtual void clear() { all_.clear(); }

private:
    std::vector<Element> all_;
};
"""),
       (r"typedef std::vector<gcstring> StringList_t;\n", ""),
       # Of modes and of whatever is a node.
       (r"inline bool (Is\w+)\(const IBase \*node\) \{",
        r"template <class Node> bool \1(Node *node) {"),
       (r"(/\*\* A null pointer counts)",
        r"""inline bool IsReadable(EAccessMode mode) {
    return mode == RO || mode == RW;
}
inline bool IsWritable(EAccessMode mode) {
    return mode == WO || mode == RW;
}

\1"""))

change(f"{framework}/gevapi.h", dialect,
       (r"typedef int GEV_STATUS;", "typedef short GEV_STATUS;"),
       (r"GEVLIB_OK = 0, .*\n", "#define GEVLIB_OK 0\n"),
       (r"(typedef struct \{\n)(    uint32_t ipAddr;.*\n)", r"\1    int isIPv6;\n    uint8_t key[16];\n\2"),
       (r"(    GevMonitorMode = 0,)", r"    GevUnknownMode = -1,\n\1"),
       (r"#define GEV_TEXT_SIZE 65", "#define GEV_TEXT_SIZE 129"))
