// The trace: events in the order they happened, in room reserved beforehand.

#include "scripted.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <ostream>
#include <stdexcept>

namespace scripted {

namespace {

std::vector<Event> &events() {
    static std::vector<Event> all = [] {
        std::vector<Event> room;
        room.reserve(8192);
        return room;
    }();
    return all;
}

// What stands behind a node's name.
const char *signOf(Op op) {
    switch (op) {
    case Op::SetValue:
        return "=";
    case Op::FromString:
        return ":=";
    case Op::GetValue:
        return "?";
    case Op::ToString:
        return "??";
    case Op::GetMin:
        return ".min";
    case Op::GetMax:
        return ".max";
    case Op::GetInc:
        return ".inc";
    case Op::AccessMode:
        return ".access";
    case Op::HasInc:
        return ".inc?";
    case Op::GetIntValue:
        return ".number?";
    case Op::SetIntValue:
        return ".number=";
    case Op::GetCurrentEntry:
        return ".entry?";
    case Op::GetSymbolics:
        return ".entries";
    default:
        return ".";
    }
}

template <typename Number>
std::string_view numberText(Number number, char (&room)[40]) {
    const auto end = std::to_chars(room, room + sizeof room, number).ptr;
    return {room, static_cast<std::size_t>(end - room)};
}

Event callWithNumber(std::string_view function, int number) {
    char room[40];
    return call(function, numberText(number, room));
}

} // namespace

std::string_view textOf(int64_t number, char (&room)[40]) {
    return numberText(number, room);
}
std::string_view textOf(double number, char (&room)[40]) {
    return numberText(number, room);
}

Event event(Op op, std::string_view subject, std::string_view detail) {
    Event made;
    made.op = op;
    made.subject = subject;
    made.detail = detail;
    return made;
}

bool operator==(const Event &a, const Event &b) {
    return a.op == b.op && a.subject == b.subject && a.detail == b.detail && a.verify == b.verify &&
           a.ignoreCache == b.ignoreCache;
}

std::ostream &operator<<(std::ostream &out, const Event &event) {
    const std::string_view subject = event.subject.view();
    const std::string_view detail = event.detail.view();
    const bool writes = event.op == Op::SetValue || event.op == Op::FromString;
    if (event.op == Op::Call)
        return out << subject << '(' << detail << ')';
    if (event.op == Op::Log) // whose priority is that of its level
        return out << '[' << (detail[0] == "???ew?id"[subject[0] - '0'] ? "" : subject) << detail
                   << ']';
    if (event.op == Op::Lookup)
        return out << '@' << subject;
    if (event.op == Op::EntryLookup || event.op == Op::EntryAccessMode)
        out << '@';
    out << subject << signOf(event.op) << detail;
    if (event.op == Op::EntryAccessMode)
        out << '?';
    if (event.verify != writes)
        out << (writes ? "!unverified" : "!verified");
    return out << (event.ignoreCache ? "!uncached" : "");
}

Event getCameraList(int maxCameras) {
    return callWithNumber("GevGetCameraList", maxCameras);
}

Event openCamera(int index, GevAccessMode mode) {
    char first[40];
    char second[40];
    char both[80];
    std::string_view text = numberText(index, first);
    std::size_t length = text.copy(both, text.size());
    both[length++] = ',';
    both[length++] = ' ';
    text = numberText(static_cast<int>(mode), second);
    length += text.copy(both + length, text.size());
    return call("GevOpenCamera", {both, length});
}

Event getFeatureNodeMap() {
    return call("GevGetFeatureNodeMap");
}

Event getFeatureValue(std::string_view feature, int size) {
    char room[40];
    char both[128];
    std::size_t length = feature.copy(both, 64);
    both[length++] = ',';
    both[length++] = ' ';
    const std::string_view text = numberText(size, room);
    length += text.copy(both + length, text.size());
    return call("GevGetFeatureValue", {both, length});
}

Event closeCamera() {
    return call("GevCloseCamera");
}
Event apiUninitialize() {
    return call("GevApiUninitialize");
}
Event closeSocketApi() {
    return call("_CloseSocketAPI");
}

std::vector<Event> trace() {
    return events();
}

std::vector<Event> calls() {
    std::vector<Event> chosen;
    std::copy_if(events().begin(), events().end(), std::back_inserter(chosen),
                 [](const Event &event) { return event.op == Op::Call; });
    return chosen;
}

void record(const Event &event) {
    events().push_back(event);
}

void clearTrace();
void clearTrace() {
    events().clear();
}

void raise(Fault fault) {
#define SCRIPTED_RAISE(name) throw GenICam_3_0::name(kFaultText, "sensor.cpp", 7, #name)
    switch (fault) {
    case Fault::InvalidArgument:
        SCRIPTED_RAISE(InvalidArgumentException);
    case Fault::Property:
        SCRIPTED_RAISE(PropertyException);
    case Fault::LogicalError:
        SCRIPTED_RAISE(LogicalErrorException);
    case Fault::OutOfRange:
        SCRIPTED_RAISE(OutOfRangeException);
    case Fault::Runtime:
        SCRIPTED_RAISE(RuntimeException);
    case Fault::Access:
        SCRIPTED_RAISE(AccessException);
    case Fault::Timeout:
        SCRIPTED_RAISE(TimeoutException);
    case Fault::DynamicCast:
        SCRIPTED_RAISE(DynamicCastException);
    case Fault::GenICamBadAlloc:
        SCRIPTED_RAISE(BadAllocException);
    case Fault::StdBadAlloc:
        throw std::bad_alloc();
    case Fault::StdRuntimeError:
        throw std::runtime_error(kFaultText);
    case Fault::Number:
        throw 42;
    }
#undef SCRIPTED_RAISE
    throw std::logic_error("a fault that is not in the list");
}

} // namespace scripted
