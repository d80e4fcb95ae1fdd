#include "listing.h"

#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>

#include "messages.h"
#include "requests.h"

namespace kxinfo {

namespace {

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

// The number between two texts that a line begins with; none when the line begins otherwise.
std::optional<unsigned> numberIn(std::string_view line, std::string_view before,
                                 std::string_view after) {
    if (!startsWith(line, before))
        return std::nullopt;
    line.remove_prefix(before.size());
    unsigned number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc())
        return std::nullopt;
    line.remove_prefix(static_cast<size_t>(end - line.data()));
    return startsWith(line, after) ? std::optional(number) : std::nullopt;
}

} // namespace

std::vector<ListedCamera> listedCameras(const std::string &log) {
    struct Field {
        std::string_view label;
        std::string ListedCamera::*text;
    };
    constexpr Field kFields[] = {{"  \tDeviceSerial     : ", &ListedCamera::serial},
                                 {"  \tDeviceInterface  : ", &ListedCamera::interface},
                                 {"  \tDeviceModel      : ", &ListedCamera::model}};

    std::vector<ListedCamera> cameras;
    // Each field is taken once, in this order: a model's name is long enough to hold a line end and
    // another serial number.
    const Field *next = std::end(kFields);
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        if (const auto number = numberIn(line, "  == ", ". Dalsa Device Information ==")) {
            cameras.push_back({*number, {}, {}, {}});
            next = std::begin(kFields);
        } else if (next != std::end(kFields) && startsWith(line, next->label)) {
            cameras.back().*(next->text) = line.substr(next->label.size());
            ++next;
        }
    }
    return cameras;
}

std::vector<std::string> seenSerials(const std::string &log) {
    const std::string label = ", Serial \"";
    std::vector<std::string> serials;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        if (numberIn(line, "[CIPROC:d]: ", ". Vendor \"") != serials.size())
            continue;
        const size_t at = line.rfind(label);
        std::string serial = at == line.npos ? "" : line.substr(at + label.size());
        if (!serial.empty() && serial.back() == '"')
            serial.pop_back();
        serials.push_back(std::move(serial));
    }
    return serials;
}

Listing readListing(const CollectedRun &run, const std::string &hint) {
    if (run.outcome.exception || run.outcome.code < 0 || run.outcome.code > 1)
        return {tellFailure(run.outcome, hint), {}};
    if (run.outcome.code == 1) {
        tell(kNoDalsaCamera);
        return {kNoCamera, {}};
    }
    Listing listing{kDone, listedCameras(run.log)};
    if (listing.cameras.empty()) {
        tell("the plug-in found cameras, but its list is not in the form that kxinfo reads. Check "
             "that --plugin names a plug-in that fits this kxinfo.");
        listing.status = kFailed;
    }
    return listing;
}

} // namespace kxinfo
