#include "camera_result.h"

#include <cstring>
#include <optional>
#include <sstream>
#include <system_error>

#include "messages.h"
#include "report.h"
#include "requests.h"

namespace kxinfo {

namespace {

constexpr size_t kMebibyte = 1 << 20;

// Takes apart what stands on standard error.
void sortLines(const ChildEnd &end, bool withLog, CameraResult &result) {
    const std::string mark = "kxinfo: ";
    std::istringstream lines(end.err);
    for (std::string line; std::getline(lines, line);) {
        // A log line without an end has the next message behind it.
        const size_t at = line.find(mark);
        if (withLog && at != 0)
            result.log += line.substr(0, at) + "\n";
        if (at == 0 || (withLog && at != line.npos))
            result.messages.push_back(line.substr(at + mark.size()));
        else if (!withLog)
            result.messages.push_back(line);
    }
}

// Why a child has no exit status of kxinfo's.
std::optional<std::string> failureOf(const ChildEnd &end, const ChildLimits &limits) {
    const std::string hint = std::string(". ") + kHintOfLog;
    switch (end.how) {
    case ChildEnd::How::Signalled:
        return "the probe crashed, by signal " + std::to_string(end.number) + " (" +
               strsignal(end.number) + ")" + hint; // NOLINT(concurrency-mt-unsafe)
    case ChildEnd::How::Overdue:
        return "the probe had not ended after " + std::to_string(limits.time.count() / 1000) +
               " s, and was ended" + hint;
    case ChildEnd::How::Flooding:
        return "the probe wrote more than " + std::to_string(limits.output / kMebibyte) +
               " MiB, and was ended" + hint;
    case ChildEnd::How::NotStarted:
        return "the probe could not be started: " + std::generic_category().message(end.number) +
               ". End other programs, and try again.";
    case ChildEnd::How::Exited:
        break;
    }
    if (end.number > kFailed)
        return "the probe ended with status " + std::to_string(end.number) +
               ", expected was 0 to 3" + hint;
    return std::nullopt;
}

// The parameters in the document of one camera; null when it is none.
Json parametersIn(const std::string &text) {
    Json document = Json::parse(text, nullptr, false);
    const bool whole = document.is_object() && document.contains("parameters") &&
                       document["parameters"].is_array();
    return whole ? document["parameters"] : Json(nullptr);
}

} // namespace

CameraResult readResult(const std::string &serial, const ChildEnd &end, const ProbeRequest &request,
                        const ChildLimits &limits) {
    CameraResult result{serial, kFailed, {}, {}, {}, nullptr};
    sortLines(end, request.json && (request.log.mode & KX_LOG_MODE_STDOUT), result);
    if (const auto failure = failureOf(end, limits))
        result.messages.push_back(*failure);
    else
        result.status = end.number;

    if (!request.json)
        result.table = end.out;
    else if (result.status == kDone)
        result.parameters = parametersIn(end.out);

    const bool shown = request.json ? !result.parameters.is_null()
                                    : end.out.find(headingOf(serial)) != std::string::npos;
    if (result.status == kDone && !shown)
        result.status = kFailed;
    if (result.status != kDone && result.messages.empty())
        result.messages.push_back("the probe ended without a result, and did not say why. " +
                                  std::string(kHintOfLog));
    return result;
}

} // namespace kxinfo
