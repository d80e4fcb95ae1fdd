/** Pages for browsers, in which what a text says is no markup, whoever has written it. */
#ifndef KXINFO_CAMERA_HTML_H
#define KXINFO_CAMERA_HTML_H

#include <cmath>
#include <string>
#include <vector>

#include "cli/text.h"

namespace kxinfo {

/** Markup in the making. */
class Html {
public:
    Html() = default;
    /** A literal is markup; for each $ in it comes a text, a place in a drawing, or other markup. */
    template <size_t N, class... Parts>
    explicit Html(const char (&markup)[N], const Parts &...parts) {
        const std::vector<std::string> texts = {safe(parts)...};
        size_t next = 0;
        for (const char c : std::string_view(markup, N - 1))
            text_ += c == '$' ? texts.at(next++) : std::string(1, c);
    }
    Html &operator+=(const Html &more) { return text_ += more.text_, *this; }
    const std::string &text() const { return text_; }

private:
    /** Cleaned, cut where it runs on and on, and fit for an element or for an attribute in quotes. */
    static std::string safe(const std::string &text) {
        constexpr size_t kLongest = 2000;
        std::string result;
        for (const char c : shortened(cleaned(text), kLongest))
            result += std::string_view("&<>\"'").find(c) == std::string_view::npos
                          ? std::string(1, c)
                          : "&#" + std::to_string(c) + ";";
        return result;
    }
    static std::string safe(double place) { return std::isfinite(place) ? numberText(place) : "0"; }
    static std::string safe(const Html &part) { return part.text_; }

    std::string text_;
};

} // namespace kxinfo

#endif
