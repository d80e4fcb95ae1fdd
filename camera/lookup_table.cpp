#include "camera/lookup_table.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <sstream>
#include <utility>

#include "cli/process.h"

namespace kxinfo {

namespace {

// Far more than the 4096 of 12 bits; what a description names beyond is no table.
constexpr int64_t kMostEntries = 1 << 20;

// Shown on a terminal, every so many entries, with the time that is left.
class Progress {
public:
    Progress(const char *what, size_t total) : what_(what), total_(total) {}
    ~Progress() {
        if (shown_)
            (void)fputs("\r\033[K", stderr);
    }

    void step() {
        constexpr size_t kShownEvery = 16;
        if (shown_ && done_ > 0 && done_ % kShownEvery == 0) {
            const std::chrono::duration<double> past = std::chrono::steady_clock::now() - start_;
            (void)fprintf(
                stderr, "\r\033[K%zu of %zu entries %s, about %.0f s left", done_, total_, what_,
                past.count() * static_cast<double>(total_ - done_) / static_cast<double>(done_));
        }
        ++done_;
    }

private:
    const char *what_;
    size_t total_, done_ = 0;
    bool shown_ = isatty(STDERR_FILENO) == 1;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// What an enumeration is on; empty: there is none, or it cannot be read.
std::string entryOf(const Camera &camera, const char *name) {
    const Node node = camera.node(name);
    return node.kind() == Kind::Enumeration && node.isReadable()
               ? std::get<std::string>(node.read())
               : "";
}

int wholeNumber(const std::string &digits, const std::string &name, int line) {
    int value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc() || stop != end)
        throw wrongLine(name, line, '"', shortened(cleaned(digits)),
                        "\" is no whole number; expected is one value, or index,value.");
    return value;
}

} // namespace

TableState tableStateOf(const Camera &camera) {
    const std::string mode = entryOf(camera, "lutMode");
    const std::string type = entryOf(camera, "lutType");
    if (mode.empty() || type.empty())
        return TableState::Unknown;
    if (mode == "Off")
        return TableState::Off;
    if (mode == "Active" && type == "UserDefined")
        return TableState::User;
    return mode == "Active" && type == "GammaCorrection" ? TableState::Gamma : TableState::Other;
}

std::vector<Assignment> settingsFor(const Camera &camera, TableState state) {
    const Feature &mode = featureNamed("lutMode");
    const Feature &type = featureNamed("lutType");
    if (state == TableState::Off)
        return {{&mode, "Off"}};
    if (state == TableState::Gamma)
        return {{&type, "GammaCorrection"}, {&mode, "Active"}};
    std::vector<Assignment> settings = {{&type, "UserDefined"}, {&mode, "Active"}};
    if (camera.node("lutSize").kind() == Kind::Enumeration)
        settings.insert(settings.begin() + 1, {&featureNamed("lutSize"), "Bpp12"});
    return settings;
}

bool LookupTable::isOn(const Camera &camera) {
    return camera.node("LUTIndex").integer() && camera.node("LUTValue").integer();
}

LookupTable::LookupTable(const Camera &camera, Switches &switches)
    : camera_(camera),
      switches_(switches),
      index_(camera.node("LUTIndex").integer()),
      value_(camera.node("LUTValue").integer()) {
    if (!isOn(camera))
        throw Error(kFailed, "this camera has no lookup table whose entries can be written "
                             "(\"LUTIndex\" and \"LUTValue\").");
    switches.remember(featureNamed("lutMode")); // first, so it is switched on again last
    const std::string size = entryOf(camera, "lutSize");
    if (tableStateOf(camera) != TableState::User || (!size.empty() && size != "Bpp12"))
        switchOff();
    switches.reach(featureNamed("LUTValue"));
    switches.remember(featureNamed("LUTSelector"));
    switches.remember(featureNamed("LUTIndex"));

    const Words entries = camera.node("LUTSelector").entries();
    for (const char *colour : {"Red", "Green", "Blue"})
        if (std::find(entries.begin(), entries.end(), colour) != entries.end())
            channels_.emplace_back(colour);
    if (channels_.empty())
        channels_.emplace_back();
    const int64_t first = index_->GetMin();
    const int64_t last = index_->GetMax();
    if (first != 0 || last < 0 || last >= kMostEntries)
        throw Error(kFailed, "the lookup table cannot be used: \"LUTIndex\" goes from ", first,
                    " to ", last, "; expected is a table from 0 on, of at most ", kMostEntries,
                    " entries.");
    size_ = static_cast<size_t>(last) + 1;
}

void LookupTable::switchOff() {
    const TableState state = tableStateOf(camera_);
    if (state != TableState::Off && state != TableState::Unknown)
        camera_.node("lutMode").write(std::string("Off"));
}

void LookupTable::select(const std::string &channel) {
    const Node selector = camera_.node("LUTSelector");
    if (!channel.empty() && selector.read() != Value(channel))
        selector.write(channel);
}

std::string LookupTable::problemOf(const TableEntry &entry) const {
    const auto problem = [](const char *what, int64_t is, int64_t first, int64_t last) {
        return is >= first && is <= last ? "" : say(what, is, " is outside ", first, " to ", last);
    };
    const std::string ofIndex = problem("index ", entry.index, 0, index_->GetMax());
    return ofIndex.empty() ? problem("value ", entry.value, value_->GetMin(), value_->GetMax())
                           : ofIndex;
}

int LookupTable::read(int index) {
    index_->SetValue(index, true);
    const int64_t value = value_->GetValue(false, false);
    if (value != static_cast<int>(value))
        throw Error(kFailed, "entry ", index, " of the lookup table holds ", value,
                    ", which is more than kxinfo can keep.");
    return static_cast<int>(value);
}

std::vector<SavedTable> LookupTable::read(const Words &channels) {
    Progress progress("read", channels.size() * size_);
    std::vector<SavedTable> tables;
    for (const std::string &channel : channels) {
        select(channel);
        SavedTable table{channel, {}};
        while (table.entries.size() < size_) {
            stopIfAsked();
            progress.step();
            table.entries.push_back(read(static_cast<int>(table.entries.size())));
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

void LookupTable::write(const Words &channels, const std::vector<TableEntry> &entries) {
    Progress progress("written", channels.size() * entries.size());
    for (const std::string &channel : channels) {
        select(channel);
        for (const TableEntry &entry : entries) {
            progress.step();
            stopIfAsked();
            if (const int before = read(entry.index); before != entry.value) {
                if (written_.empty())
                    switchOff();
                // Noted first: when the camera's answer does not come, it may have the value all
                // the same.
                written_.push_back({channel, entry.index, before});
                value_->SetValue(entry.value, true); // reading has left the index there
            }
        }
    }
}

int LookupTable::giveUp() {
    const int status = tellWhy(camera_, std::current_exception());
    stopWaitingWhen(nullptr);
    const size_t count = written_.size();
    if (count == 0)
        return status;
    if (stopSignal())
        tell("putting back the entries of the lookup table; once more (Ctrl-C) ends at once.");
    size_t left = 0;
    std::string reason;
    for (; !written_.empty(); written_.pop_back()) {
        const Written &entry = written_.back();
        try {
            switchOff(); // later settings may have switched what reaching an entry needs
            switches_.reach(featureNamed("LUTValue"));
            select(entry.channel);
            if (read(entry.index) != entry.before)
                value_->SetValue(entry.before, true);
        } catch (...) {
            ++left;
            reason = reasonInFlight();
        }
    }
    tell(left == 0
             ? "the entries written to the user's lookup table are put back."
             : std::to_string(left) + " of " + std::to_string(count) +
                   " entries of the user's lookup table could not be put back (" + reason + ").");
    return status;
}

TableFile readTable(const std::string &text, const std::string &name) {
    std::istringstream lines(text);
    TableFile table;
    std::vector<int> lineOf(kMostTableEntries); // of an index; 0: it has not been there
    int number = 0;
    const auto wrong = [&](const auto &...what) { return wrongLine(name, number, what...); };
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line.resize(std::min(line.find('#'), line.size()));
        const bool hasComma = line.find_first_of(",;") != line.npos;
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == ',' || c == ';'; }, ' ');
        std::istringstream cells(line);
        std::string first, second, third;
        cells >> first >> second >> third;
        const bool single = second.empty() && !hasComma;
        if (first.empty() || (table.entries.empty() && !single && sameWord(first, "index")))
            continue;
        if (!table.entries.empty() && single != table.whole)
            throw wrong("either all lines hold one value, or all hold index,value.");
        table.whole = single;
        const int index =
            single ? static_cast<int>(table.entries.size()) : wholeNumber(first, name, number);
        const std::string last = third.empty() ? second : say(second, ',', third);
        const int value = wholeNumber(single ? first : last, name, number);
        if (index < 0 || index >= kMostTableEntries)
            throw wrong("index ", index, " is outside 0 to ", kMostTableEntries - 1,
                        "; no camera has a longer table.");
        int &before = lineOf[static_cast<size_t>(index)];
        if (before)
            throw wrong("index ", index, " stands in line ", before, " already.");
        before = number;
        table.entries.push_back({index, value, number});
    }
    if (table.entries.empty())
        throw Error(kWrongUsage, '"', name, "\" holds no values. ", kExpectedTable);
    return table;
}

} // namespace kxinfo
