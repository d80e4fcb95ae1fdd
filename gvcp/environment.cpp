#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "gvcp/description.h"
#include "gvcp/discovery.h"

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

// Tells what is wrong with a variable, and what becomes of it.
void report(const char *name, const std::string &what) {
    fprintf(stderr, "%s: %s\n", name, what.c_str());
}

// A whole number from \p least to \p most, if the variable is one.
std::optional<int> numberFrom(const char *name, const std::string &unit, int least, int most,
                              const std::string &otherwise) {
    const std::string text = variable(name);
    int value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && value >= least && value <= most)
        return value;
    if (!text.empty())
        report(name, "'" + text + "' is no whole number of " + unit + " from " +
                         std::to_string(least) + " to " + std::to_string(most) + "; " + otherwise);
    return std::nullopt;
}

std::vector<std::string> listFrom(const char *name) {
    std::vector<std::string> entries;
    std::istringstream list(variable(name));
    for (std::string entry; std::getline(list, entry, ',');) {
        const size_t first = entry.find_first_not_of(' ');
        if (first != entry.npos)
            entries.push_back(entry.substr(first, entry.find_last_not_of(' ') + 1 - first));
    }
    return entries;
}

std::vector<uint32_t> addresses() {
    constexpr char kName[] = "KXGIGE_ADDRESSES";
    std::vector<uint32_t> chosen;
    for (const std::string &text : listFrom(kName)) {
        if (const auto address = addressFrom(text))
            chosen.push_back(*address);
        else
            report(kName, "'" + text +
                              "' is no IPv4 address; expected are cameras' addresses, such as "
                              "192.168.0.20, separated by commas");
    }
    if (chosen.size() > kMostAddresses) {
        report(kName, std::to_string(chosen.size()) + " addresses, expected at most " +
                          std::to_string(kMostAddresses) + "; asking the first");
        chosen.resize(kMostAddresses);
    }
    for (const uint32_t address : chosen)
        if (!hostTowards(address))
            report(kName, "this computer has no way to " + dotted(address) +
                              "; expected are addresses of its networks, or that a gateway leads "
                              "to (see `ip -4 route`)");
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
            report("KXGIGE_INTERFACES",
                   "no network interface '" + name +
                       "' is up; expected names or IPv4 addresses of this machine, separated by "
                       "commas (see `ip -4 address`)");
        else
            choose(*match);
    }
    return chosen;
}

} // namespace

Search searchFromEnvironment() {
    Search search;
    const auto time = [&search] { return std::to_string(search.window.count()) + " ms"; };
    if (const auto window = numberFrom("KXGIGE_DISCOVERY_MS", "milliseconds", kShortestWindow,
                                       kLongestWindow, "waiting " + time()))
        search.window = std::chrono::milliseconds(*window);
    search.expected = numberFrom("KXGIGE_EXPECTED_CAMERAS", "cameras", 1, kMostExpected,
                                 "waiting the whole " + time());
    search.serial = variable("KXGIGE_SERIAL");
    search.addresses = addresses();
    const auto named = listFrom("KXGIGE_INTERFACES");
    if (search.addresses.empty() || !named.empty())
        search.interfaces = interfaces(named);
    return search;
}

std::optional<CachePlace> cachePlace() {
    using std::filesystem::path;
    path wanted = variable("KXGIGE_CACHE");
    if (wanted == "off")
        return std::nullopt;
    if (wanted.is_absolute()) {
        if (!wanted.has_filename()) // of "/" nothing is left, which opens nothing
            wanted = wanted.parent_path();
        return CachePlace{wanted.parent_path(), false, {wanted.filename()}};
    }
    if (!wanted.empty())
        report("KXGIGE_CACHE", "'" + wanted.string() +
                                   "' is neither 'off' nor an absolute path; descriptions are kept "
                                   "where they are without it");
    if (const path cacheHome = variable("XDG_CACHE_HOME"); cacheHome.is_absolute())
        return CachePlace{cacheHome, true, {"kxinfo-dalsa", "descriptions"}};
    if (const path home = variable("HOME"); home.is_absolute())
        return CachePlace{home, false, {".cache", "kxinfo-dalsa", "descriptions"}};
    return std::nullopt;
}

} // namespace gvcp
