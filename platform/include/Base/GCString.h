/** Text as it travels to and from a node map. */
#ifndef KXINFO_PLATFORM_BASE_GCSTRING_H
#define KXINFO_PLATFORM_BASE_GCSTRING_H

#include <cstddef>
#include <string>

namespace GenICam_3_0 {

/** A character string. Pointers returned stay valid until the object is changed or destroyed. */
class __attribute__((visibility("default"))) gcstring {
public:
    gcstring();
    /** \param text NUL-terminated; null counts as empty */
    gcstring(const char *text);
    gcstring(const gcstring &other);
    ~gcstring();

    gcstring &operator=(const gcstring &other);
    gcstring &operator=(const char *text);
    gcstring &operator+=(const gcstring &other);
    gcstring &operator+=(const char *text);

    const char *c_str() const;
    operator const char *() const;
    size_t length() const;
    bool empty() const;

    bool operator==(const gcstring &other) const;
    bool operator==(const char *text) const;
    bool operator!=(const gcstring &other) const;
    bool operator!=(const char *text) const;
    bool operator<(const gcstring &other) const;

private:
    std::string text_;
};

} // namespace GenICam_3_0

#endif
