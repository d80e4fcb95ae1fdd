#include "lookup_table.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>

#include "words.h"

namespace kxinfo {

namespace {

constexpr size_t kShownEvery = 64;

// In the order of the camera class's channel numbers.
constexpr const char *kChannels[] = {"Red", "Green", "Blue"};

// Far more than the 4096 of 12 bits; what a description names beyond is no table.
constexpr int64_t kMostEntries = 1 << 20;

void check(int code) {
    if (code)
        throw CommandError{kFailed, "the lookup table cannot be used: " + meaningOf(code) + "."};
}

int clamped(int64_t value) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<int64_t>(value, Limits::min(), Limits::max()));
}

int checkedSize(const IntegerLimits &indexes) {
    if (indexes.min != 0 || indexes.max < 0 || indexes.max >= kMostEntries)
        throw CommandError{kFailed, "the lookup table cannot be used: \"LUTIndex\" goes from " +
                                        std::to_string(indexes.min) + " to " +
                                        std::to_string(indexes.max) +
                                        "; expected is a table from 0 on, of at most " +
                                        std::to_string(kMostEntries) + " entries."};
    return static_cast<int>(indexes.max) + 1;
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
    : session_(session),
      modes_(modes),
      camera_(session.camera()),
      index_(integerOf(session.nodeMap(), "LUTIndex")),
      value_(integerOf(session.nodeMap(), "LUTValue")) {
    const auto &nodeMap = session.nodeMap();
    if (!isOn(session))
        throw CommandError{kFailed, "this camera has no lookup table whose entries can be written "
                                    "(\"LUTIndex\" and \"LUTValue\")."};
    modes.remember("lutMode", Reach::Direct); // first, so it is switched on again last
    const bool whole = camera_.ExPropertyGetLUTMode() == KxTd::TD_LG_USER_LUT &&
                       (kindOf(nodeMap, "lutSize") != Kind::Enumeration ||
                        readRaw(nodeMap, "lutSize") == RawValue("Bpp12"));
    if (!whole)
        switchOff();
    modes.reach(Reach::WholeUserTable);
    modes.remember("LUTSelector", Reach::UserTable);
    modes.remember("LUTIndex", Reach::UserTable);

    const auto entries = entriesOf(nodeMap, "LUTSelector");
    for (const char *channel : kChannels)
        if (std::find(entries.begin(), entries.end(), channel) != entries.end())
            channels_.emplace_back(channel);
    size_ = checkedSize(integerLimits(nodeMap, "LUTIndex"));
    const IntegerLimits values = integerLimits(nodeMap, "LUTValue");
    lowest_ = clamped(values.min);
    highest_ = clamped(values.max);
}

void LookupTable::switchOff() {
    const KxTd::td_lg_states state = camera_.ExPropertyGetLUTMode();
    if (state != KxTd::TD_LG_OFF && state != KxTd::TD_LG_UNKNOWN)
        check(camera_.ExPropertySetLUTMode(KxTd::TD_LG_OFF));
}

int LookupTable::tables() const {
    return std::max(1, static_cast<int>(channels_.size()));
}

void LookupTable::select(int table) {
    const auto &nodeMap = session_.nodeMap();
    if (!channels_.empty()) {
        const std::string &name = channels_[static_cast<size_t>(table)];
        const auto channel = std::find(std::begin(kChannels), std::end(kChannels), name);
        // The camera class leaves the selector of a single colour where it is.
        if (channels_.size() > 1)
            check(camera_.ExPropertySetLUTChannel(static_cast<int>(channel - kChannels), tables()));
        else if (readRaw(nodeMap, "LUTSelector") != RawValue(name))
            writeRaw(nodeMap, "LUTSelector", name);
    }
    selected_ = table;
}

int LookupTable::read(int index) {
    index_->SetValue(index, true);
    const int64_t value = value_->GetValue(false, false);
    if (value != clamped(value))
        throw CommandError{kFailed, "entry " + std::to_string(index) +
                                        " of the lookup table holds " + std::to_string(value) +
                                        ", which is more than kxinfo can keep."};
    return clamped(value);
}

bool LookupTable::write(int index, int value) {
    const int before = read(index);
    if (before == value)
        return false;
    if (written_.empty())
        switchOff();
    // Noted first: when the camera's answer does not come, it may have the value all the same.
    written_.push_back({selected_, index, before});
    value_->SetValue(value, true); // reading has left the index there
    return true;
}

std::string LookupTable::undo() {
    const size_t count = written_.size();
    size_t left = 0;
    std::string reason;
    bool ready = false; // later settings may have switched what reaching an entry needs
    for (; !written_.empty(); written_.pop_back()) {
        const WrittenEntry &entry = written_.back();
        try {
            if (!ready) {
                switchOff();
                modes_.reach(Reach::WholeUserTable);
            }
            if (!ready || entry.channel != selected_)
                select(entry.channel);
            ready = true;
            if (read(entry.index) != entry.before)
                value_->SetValue(entry.before, true);
        } catch (...) {
            ++left;
            reason = reasonInFlight();
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
