#include "host.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

#include "kxinfo-dalsa/kx_log.h"
#include "kxinfo-dalsa/kx_proc.h"

namespace {

struct {
    std::vector<host::Publication> published;
    const void *outLine = nullptr;
    std::vector<host::Opening> openings;
    std::vector<host::SystemLine> system;
    int outFile = -1; // standard output while it is caught
} state;

long allocationCount = 0;
long liveCount = 0;
int uncounted = 0; // more than 0 while the host's own functions run

class Uncounted {
public:
    Uncounted() { ++uncounted; }
    ~Uncounted() { --uncounted; }
    Uncounted(const Uncounted &) = delete;
    Uncounted &operator=(const Uncounted &) = delete;
};

template <typename T>
host::Value copied(const void *from) {
    if (!from)
        return std::nullopt;
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

host::Value copiedText(const void *from) {
    if (!from)
        return std::nullopt;
    return std::string(static_cast<const char *>(from));
}

enum class Type { Integer, Float, Text };

Type typeOf(KxScParamId id) {
    switch (id) {
    case KxScParamRotate:
    case KxScParamOffsetX:
    case KxScParamOffsetY:
    case KxScParamWidth:
    case KxScParamHeight:
        return Type::Integer;
    case KxScParamOutLines:
        return Type::Text;
    case KxScParamFps:
    case KxScParamGamma:
    case KxScParamAutoBrightTarget:
    case KxScParamAutoGainLower:
    case KxScParamAutoGainUpper:
    case KxScParamAutoExpoLower:
    case KxScParamAutoExpoUpper:
    case KxScParamGain:
    case KxScParamExposure:
        return Type::Float;
    default:
        std::fprintf(stderr, "parameter %d is published, which no host knows\n", id);
        std::abort();
    }
}

void print(std::ostream &out, const host::Value &value) {
    if (!value)
        out << "null";
    else
        std::visit([&](const auto &held) { out << held; }, *value);
}

void addSystemLine(int priority, const char *format, va_list arguments) {
    const Uncounted here;
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    std::fflush(stdout);
    const off_t outBefore = state.outFile < 0 ? 0 : lseek(state.outFile, 0, SEEK_CUR);
    state.system.push_back({priority, text, static_cast<std::size_t>(outBefore)});
    scripted::record(host::logged(priority, host::keyOf(text)));
}

// Standard output goes into a file in memory while the object lives.
class StandardOutput {
public:
    StandardOutput() : file_(memfd_create("standard output", 0)) {
        std::fflush(stdout);
        saved_ = dup(STDOUT_FILENO);
        if (file_ < 0 || saved_ < 0 || dup2(file_, STDOUT_FILENO) < 0)
            throw std::runtime_error("cannot catch standard output");
        state.outFile = file_;
    }
    ~StandardOutput() {
        restore();
        close(file_);
    }
    StandardOutput(const StandardOutput &) = delete;
    StandardOutput &operator=(const StandardOutput &) = delete;

    std::string take() {
        restore();
        std::string text(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), '\0');
        const ssize_t got = pread(file_, text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }

private:
    void restore() {
        if (saved_ < 0)
            return;
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
        saved_ = -1;
        state.outFile = -1;
    }

    int file_;
    int saved_ = -1;
};

} // namespace

// What the plug-in finds when it looks for the host's functions and for the system log.
extern "C" {

KX_API void KxSc__InitStaticKeys() {
    scripted::record(host::initStaticKeys());
}

KX_API void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                              const void *max, const void *inc) {
    const Uncounted here;
    scripted::record(host::setParamVal(id));
    const Type type = typeOf(id);
    const auto copy = type == Type::Integer ? copied<int32_t>
                      : type == Type::Float ? copied<float>
                                            : copiedText;
    state.published.push_back({id, copy(cur), copy(min), copy(max), copy(inc), index});
    if (type == Type::Text)
        state.outLine = cur;
}

KX_API void KxSc__ProcExport() {
    scripted::record(host::procExport());
}

KX_API void openlog(const char *ident, int option, int facility) {
    const Uncounted here;
    state.openings.push_back(
        {ident, option, facility, gKxLogMode, gKxLogLevel, scripted::trace().size()});
}

KX_API void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    addSystemLine(priority, format, arguments);
    va_end(arguments);
}

// What a build with _FORTIFY_SOURCE calls in place of syslog().
KX_API void __syslog_chk(int priority, int, const char *format, ...);
KX_API void __syslog_chk(int priority, int, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    addSystemLine(priority, format, arguments);
    va_end(arguments);
}

// Sanitizers have a malloc() of their own, in front of which none can be put.
#if !KXINFO_SANITIZED
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

KX_API void *malloc(size_t size) {
    if (!uncounted) {
        ++allocationCount;
        ++liveCount;
    }
    return __libc_malloc(size);
}
KX_API void *calloc(size_t count, size_t size) {
    if (!uncounted) {
        ++allocationCount;
        ++liveCount;
    }
    return __libc_calloc(count, size);
}
KX_API void *realloc(void *block, size_t size) {
    if (!uncounted) {
        ++allocationCount;
        liveCount += !block;
    }
    return __libc_realloc(block, size);
}
KX_API void free(void *block) {
    if (!uncounted)
        liveCount -= block != nullptr;
    __libc_free(block);
}
#endif
}

namespace host {

scripted::Event setParamVal(KxScParamId id) {
    char room[40];
    return scripted::call("KxSc__SetParamVal", scripted::textOf(static_cast<int64_t>(id), room));
}

bool operator==(const Publication &a, const Publication &b) {
    return a.id == b.id && a.index == b.index && a.cur == b.cur && a.min == b.min &&
           a.max == b.max && a.inc == b.inc;
}

std::ostream &operator<<(std::ostream &out, const Publication &publication) {
    out.precision(9);
    out << "setting " << publication.id << ": ";
    print(out, publication.cur);
    out << " (min ";
    print(out, publication.min);
    out << ", max ";
    print(out, publication.max);
    out << ", inc ";
    print(out, publication.inc);
    out << ")";
    if (publication.index != KX_SC_NO_INDEX)
        out << " at index " << publication.index;
    return out;
}

const std::vector<Publication> &published() {
    return state.published;
}
const void *outLine() {
    return state.outLine;
}
const std::vector<Opening> &openings() {
    return state.openings;
}

Logged caught(const std::function<void()> &function) {
    state.system.clear();
    StandardOutput output;
    function();
    Logged logged;
    logged.out = output.take();
    logged.system = state.system;
    return logged;
}

std::string keyOf(std::string_view message) {
    std::string key = "i";
    if (message.substr(0, 1) == "[" && message.substr(2, 1) == "|") {
        const std::size_t end = std::min(message.find(']'), message.size());
        key = message.substr(1, end - 1);
        message.remove_prefix(end);
    }
    const auto is = [&](std::size_t at, int (*kind)(int)) {
        return at < message.size() && kind(static_cast<unsigned char>(message[at]));
    };
    for (std::size_t at = 0, end = 0; at < message.size(); at = end) {
        end = at + 1;
        bool tells = false;
        if (message[at] == '"') {
            end = std::min(message.find('"', end), message.size() - 1) + 1;
            tells = true;
        } else if (is(at, isalnum)) {
            while (is(end, isalnum) ||
                   (is(end, ispunct) && message[end] == '.' && is(end + 1, isdigit)))
                ++end;
            const std::string_view word = message.substr(at, end - at);
            tells =
                std::any_of(word.begin(), word.end(), isdigit) || word == "inf" || word == "nan";
            at -= tells && at > 1 && message[at - 1] == '-' && !is(at - 2, isalnum);
        }
        if (tells)
            key.append(" ").append(message.substr(at, end - at));
    }
    return key;
}

scripted::Event logged(int priority, std::string_view key) {
    return scripted::event(scripted::Op::Log, std::to_string(priority), key);
}

namespace {

std::string toldAll(bool withLookups) {
    std::string all;
    for (const scripted::Event &event : scripted::trace()) {
        std::ostringstream one;
        one << event;
        if (withLookups || one.str()[0] != '@')
            all += (all.empty() ? "" : " ") + one.str();
    }
    scripted::forget();
    return all;
}

} // namespace

std::string happened() {
    return toldAll(false);
}
std::string everything() {
    return toldAll(true);
}

void reset() {
    state.published.clear();
    state.outLine = nullptr;
    state.openings.clear();
    state.system.clear();
}

long allocations() {
    return allocationCount > 0 ? allocationCount : -1;
}

long liveBlocks() {
    return allocationCount > 0 ? liveCount : -1;
}

} // namespace host
