#include "lookup_table.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "words.h"

namespace kxinfo {

namespace {

constexpr size_t kShownEvery = 64;

// In the order of the camera class's channel numbers.
constexpr const char *kChannels[] = {"Red", "Green", "Blue"};

void check(int code) {
    if (code)
        throw CommandError{kFailed, "the lookup table cannot be used: " + meaningOf(code) + "."};
}

} // namespace

Progress::Progress(std::string what, size_t total)
    : what_(std::move(what)), total_(total), shown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (shown_)
        (void)fprintf(stderr, "\r\033[K");
}

void Progress::step() {
    if (shown_ && done_ % kShownEvery == 0)
        (void)fprintf(stderr, "\r%zu of %zu %s", done_, total_, what_.c_str());
    ++done_;
}

bool LookupTable::isOn(const Session &session) {
    return kindOf(session.nodeMap(), "LUTIndex") == Kind::Integer &&
           kindOf(session.nodeMap(), "LUTValue") == Kind::Integer;
}

LookupTable::LookupTable(const Session &session, Modes &modes)
    : session_(session), modes_(modes), camera_(session.camera()) {
    const auto &nodeMap = session.nodeMap();
    if (!isOn(session))
        throw CommandError{kFailed, "this camera has no lookup table whose entries can be written "
                                    "(\"LUTIndex\" and \"LUTValue\")."};
    // Half a table must not be seen in the place of the gamma curve.
    if (camera_.ExPropertyGetLUTMode() == KxTd::TD_LG_GAMMA) {
        modes.remember("lutMode", Reach::Direct);
        check(camera_.ExPropertySetLUTMode(KxTd::TD_LG_OFF));
    }
    modes.reach(Reach::WholeUserTable);
    modes.remember("LUTSelector", Reach::UserTable);
    modes.remember("LUTIndex", Reach::UserTable);

    const auto entries = entriesOf(nodeMap, "LUTSelector");
    for (const char *channel : kChannels)
        if (std::find(entries.begin(), entries.end(), channel) != entries.end())
            channels_.emplace_back(channel);
    size_ = static_cast<int>(integerLimits(nodeMap, "LUTIndex").max) + 1;
    const IntegerLimits values = integerLimits(nodeMap, "LUTValue");
    lowest_ = static_cast<int>(values.min);
    highest_ = static_cast<int>(values.max);
}

int LookupTable::tables() const {
    return std::max(1, static_cast<int>(channels_.size()));
}

void LookupTable::select(int table) {
    check(camera_.ExPropertySetLUTChannel(table, tables()));
    selected_ = table;
}

int LookupTable::read(int index) {
    writeRaw(session_.nodeMap(), "LUTIndex", int64_t{index});
    return static_cast<int>(std::get<int64_t>(readRaw(session_.nodeMap(), "LUTValue")));
}

void LookupTable::set(int index, int value) {
    check(camera_.ExPropertySetLUTValue(index, value));
}

void LookupTable::write(int index, int value) {
    const int before = read(index);
    if (before == value)
        return;
    set(index, value);
    written_.push_back({selected_, index, before});
}

std::string LookupTable::undo() {
    const size_t count = written_.size();
    size_t left = 0;
    std::string reason;
    for (; !written_.empty(); written_.pop_back()) {
        const WrittenEntry &entry = written_.back();
        try {
            modes_.reach(Reach::WholeUserTable); // later settings may have ended it
            if (entry.channel != selected_)
                select(entry.channel);
            set(entry.index, entry.before);
        } catch (const std::exception &error) {
            ++left;
            reason = reasonOf(error);
        }
    }
    if (count == 0)
        return "";
    if (left == 0)
        return "the entries written to the user's lookup table are put back.";
    return std::to_string(left) + " of " + std::to_string(count) +
           " entries of the user's lookup table could not be put back (" + reason + ").";
}

} // namespace kxinfo
