#include "gvcp/environment.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace gvcp {
namespace {

constexpr int kShortestWindow = 1;
constexpr int kLongestWindow = 1000;
constexpr int kMostExpected = 64;
constexpr size_t kMostAddresses = 64;

// What a variable says; empty: nothing. A program with more rights than its user does not listen.
std::string variable(const char *name) {
    const char *text = secure_getenv(name);
    return text ? text : "";
}

std::optional<int> numberFrom(const std::string &text, int least, int most) {
    int value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least || value > most)
        return std::nullopt;
    return value;
}

std::vector<std::string> listFrom(const char *name) {
    std::vector<std::string> entries;
    const std::string list = variable(name);
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(',', start), list.size());
        const size_t first = std::min(list.find_first_not_of(' ', start), end);
        const size_t last = list.find_last_not_of(' ', end - 1);
        if (end > first)
            entries.push_back(list.substr(first, last + 1 - first));
        start = end + 1;
    }
    return entries;
}

std::vector<uint32_t> addresses() {
    std::vector<uint32_t> chosen;
    for (const std::string &text : listFrom("KXGIGE_ADDRESSES")) {
        const auto address = addressFrom(text);
        if (!address)
            fprintf(stderr,
                    "KXGIGE_ADDRESSES: '%s' is no IPv4 address; expected are cameras' addresses, "
                    "such as 192.168.0.20, separated by commas\n",
                    text.c_str());
        else if (std::find(chosen.begin(), chosen.end(), *address) == chosen.end())
            chosen.push_back(*address);
    }
    if (chosen.size() > kMostAddresses) {
        fprintf(stderr, "KXGIGE_ADDRESSES: %zu addresses, expected at most %zu; asking the first\n",
                chosen.size(), kMostAddresses);
        chosen.resize(kMostAddresses);
    }
    for (const uint32_t address : chosen)
        if (!hostTowards(address))
            fprintf(stderr,
                    "KXGIGE_ADDRESSES: this computer has no way to %s; expected are addresses of "
                    "its networks, or that a gateway leads to (see `ip -4 route`)\n",
                    dotted(address).c_str());
    return chosen;
}

// The interfaces to ask, one entry per interface: a second address of the same one would only ask
// the same cameras again.
std::vector<Interface> interfaces(const std::vector<std::string> &wanted) {
    const std::vector<Interface> up = interfacesUp();
    std::vector<Interface> chosen;
    const auto choose = [&chosen](const Interface &interface) {
        const auto isSame = [&](const Interface &other) { return other.index == interface.index; };
        if (std::none_of(chosen.begin(), chosen.end(), isSame))
            chosen.push_back(interface);
    };

    if (wanted.empty()) {
        std::for_each(up.begin(), up.end(), choose);
        return chosen;
    }
    for (const std::string &name : wanted) {
        const auto match = std::find_if(up.begin(), up.end(), [&](const Interface &entry) {
            return entry.name == name || dotted(entry.address) == name;
        });
        if (match == up.end())
            fprintf(stderr,
                    "KXGIGE_INTERFACES: no network interface '%s' is up; expected names or IPv4 "
                    "addresses of this machine, separated by commas (see `ip -4 address`)\n",
                    name.c_str());
        else
            choose(*match);
    }
    return chosen;
}

bool isAbsolute(const std::string &path) {
    return path.compare(0, 1, "/") == 0;
}

std::optional<CachePlace> defaultPlace() {
    constexpr char kOurs[] = "kxinfo-dalsa";
    constexpr char kDescriptions[] = "descriptions";
    const std::string cacheHome = variable("XDG_CACHE_HOME");
    if (isAbsolute(cacheHome))
        return CachePlace{cacheHome, true, {kOurs, kDescriptions}};
    const std::string home = variable("HOME");
    if (isAbsolute(home))
        return CachePlace{home, false, {".cache", kOurs, kDescriptions}};
    return std::nullopt;
}

} // namespace

Search searchFromEnvironment() {
    Search search;
    if (const auto text = variable("KXGIGE_DISCOVERY_MS"); !text.empty()) {
        if (const auto window = numberFrom(text, kShortestWindow, kLongestWindow))
            search.window = std::chrono::milliseconds(*window);
        else
            fprintf(stderr,
                    "KXGIGE_DISCOVERY_MS: '%s' is no whole number of milliseconds from %d to %d; "
                    "waiting %d ms\n",
                    text.c_str(), kShortestWindow, kLongestWindow,
                    static_cast<int>(search.window.count()));
    }
    if (const auto text = variable("KXGIGE_EXPECTED_CAMERAS"); !text.empty()) {
        if (const auto expected = numberFrom(text, 1, kMostExpected))
            search.expected = *expected;
        else
            fprintf(stderr,
                    "KXGIGE_EXPECTED_CAMERAS: '%s' is no whole number of cameras from 1 to %d; "
                    "waiting the whole %d ms\n",
                    text.c_str(), kMostExpected, static_cast<int>(search.window.count()));
    }
    search.serial = variable("KXGIGE_SERIAL");
    search.addresses = addresses();
    const auto named = listFrom("KXGIGE_INTERFACES");
    if (search.addresses.empty() || !named.empty())
        search.interfaces = interfaces(named);
    return search;
}

std::optional<CachePlace> cachePlace() {
    std::string wanted = variable("KXGIGE_CACHE");
    if (wanted == "off")
        return std::nullopt;
    if (!isAbsolute(wanted)) {
        if (!wanted.empty())
            fprintf(stderr,
                    "KXGIGE_CACHE: '%s' is neither 'off' nor an absolute path; descriptions are "
                    "kept where they are without it\n",
                    wanted.c_str());
        return defaultPlace();
    }
    // Of "/" the last part is empty, which opens nothing.
    wanted.resize(std::max<size_t>(wanted.find_last_not_of('/') + 1, 1));
    const size_t last = wanted.rfind('/') + 1;
    return CachePlace{wanted.substr(0, last), false, {wanted.substr(last)}};
}

} // namespace gvcp
