#include "environment.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace gige {
namespace {

constexpr int kShortestWindow = 1;
constexpr int kLongestWindow = 1000;
constexpr int kMostExpected = 64;
constexpr size_t kMostAddresses = 64;

// The text of a variable that says something, or null.
const char *variable(const char *name) {
    const char *text = getenv(name);
    return text && *text ? text : nullptr;
}

std::optional<int> numberFrom(const char *text, int least, int most) {
    int value = 0;
    const char *end = text + strlen(text);
    const auto [stop, error] = std::from_chars(text, end, value);
    if (error != std::errc() || stop != end || value < least || value > most)
        return std::nullopt;
    return value;
}

std::vector<std::string> listFrom(const char *name) {
    std::vector<std::string> entries;
    const std::string list = variable(name) ? variable(name) : "";
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
        in_addr address;
        if (inet_pton(AF_INET, text.c_str(), &address) != 1)
            fprintf(stderr,
                    "KXGIGE_ADDRESSES: '%s' is no IPv4 address; expected are cameras' addresses, "
                    "such as 192.168.0.20, separated by commas\n",
                    text.c_str());
        else if (std::find(chosen.begin(), chosen.end(), ntohl(address.s_addr)) == chosen.end())
            chosen.push_back(ntohl(address.s_addr));
    }
    if (chosen.size() > kMostAddresses) {
        fprintf(stderr, "KXGIGE_ADDRESSES: %zu addresses, expected at most %zu; asking the first\n",
                chosen.size(), kMostAddresses);
        chosen.resize(kMostAddresses);
    }
    return chosen;
}

// The interfaces to ask, one entry per interface: a second address of the same one would only ask
// the same cameras again.
std::vector<gvcp::Interface> interfaces(const std::vector<std::string> &wanted) {
    const std::vector<gvcp::Interface> up = gvcp::interfacesUp();
    std::vector<gvcp::Interface> chosen;
    const auto choose = [&chosen](const gvcp::Interface &interface) {
        const auto isSame = [&](const gvcp::Interface &other) {
            return other.index == interface.index;
        };
        if (std::none_of(chosen.begin(), chosen.end(), isSame))
            chosen.push_back(interface);
    };

    if (wanted.empty()) {
        std::for_each(up.begin(), up.end(), choose);
        return chosen;
    }
    for (const std::string &name : wanted) {
        const auto match = std::find_if(up.begin(), up.end(), [&](const gvcp::Interface &entry) {
            return entry.name == name || gvcp::dotted(entry.address) == name;
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

} // namespace

gvcp::Search searchFromEnvironment() {
    gvcp::Search search;
    if (const char *text = variable("KXGIGE_DISCOVERY_MS")) {
        if (const auto window = numberFrom(text, kShortestWindow, kLongestWindow))
            search.window = std::chrono::milliseconds(*window);
        else
            fprintf(stderr,
                    "KXGIGE_DISCOVERY_MS: '%s' is no whole number of milliseconds from %d to %d; "
                    "waiting %d ms\n",
                    text, kShortestWindow, kLongestWindow, static_cast<int>(search.window.count()));
    }
    if (const char *text = variable("KXGIGE_EXPECTED_CAMERAS")) {
        if (const auto expected = numberFrom(text, 1, kMostExpected))
            search.expected = *expected;
        else
            fprintf(stderr,
                    "KXGIGE_EXPECTED_CAMERAS: '%s' is no whole number of cameras from 1 to %d; "
                    "waiting the whole %d ms\n",
                    text, kMostExpected, static_cast<int>(search.window.count()));
    }
    if (const char *serial = variable("KXGIGE_SERIAL"))
        search.serial = serial;
    search.addresses = addresses();
    const auto named = listFrom("KXGIGE_INTERFACES");
    if (search.addresses.empty() || !named.empty())
        search.interfaces = interfaces(named);
    return search;
}

} // namespace gige
