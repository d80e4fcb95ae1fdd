// kxinfo lut: shows, switches or loads the lookup table. A file is read and checked as far as it
// can be before the camera is opened, and against the camera's table before the first entry is
// written. When loading fails, the entries that were written get their old values.

#include <strings.h>

#include <charconv>
#include <set>
#include <sstream>

#include "command.h"
#include "files.h"
#include "lookup_table.h"
#include "standard_output.h"
#include "values.h"
#include "words.h"

namespace kxinfo {

namespace {

const char *const kExpectedTable = "Expected is one value a line, or lines of index,value.";

struct Entry {
    int index;
    int value;
    int line; ///< of the file
};

struct TableFile {
    std::vector<Entry> entries;
    bool whole; ///< one value a line, for the whole table; otherwise index and value
};

CommandError wrong(const std::string &file, int line, const std::string &what) {
    return {kWrongUsage, file + ", line " + std::to_string(line) + ": " + what};
}

std::string trimmed(const std::string &text) {
    const char *const blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

int wholeNumber(const std::string &text, const std::string &file, int line) {
    const std::string digits = trimmed(text);
    int value = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || stop != digits.data() + digits.size())
        throw wrong(file, line,
                    "\"" + shortened(digits) +
                        "\" is no whole number; expected is one value, or "
                        "index,value.");
    return value;
}

TableFile readTable(const std::string &file) {
    std::istringstream stream(readFile(file, kExpectedTable));
    TableFile table{{}, true};
    std::set<int> indexes;
    int number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        const std::string line = trimmed(text.substr(0, text.find('#')));
        if (line.empty() || (table.entries.empty() && strcasecmp(line.c_str(), "index,value") == 0))
            continue;
        const size_t comma = line.find(',');
        const bool single = comma == line.npos;
        if (!table.entries.empty() && single != table.whole)
            throw wrong(file, number,
                        table.whole ? "index and value, but the lines before hold one value each."
                                    : "one value, but the lines before hold index,value.");
        table.whole = single;
        const int index = single ? static_cast<int>(table.entries.size())
                                 : wholeNumber(line.substr(0, comma), file, number);
        const int value = wholeNumber(single ? line : line.substr(comma + 1), file, number);
        if (!indexes.insert(index).second)
            throw wrong(file, number, "index " + std::to_string(index) + " stands there twice.");
        table.entries.push_back({index, value, number});
    }
    if (table.entries.empty())
        throw CommandError{kWrongUsage, "\"" + file + "\" holds no values. " + kExpectedTable};
    return table;
}

void checkAgainst(const LookupTable &camera, const TableFile &table, const std::string &file) {
    if (table.whole && table.entries.size() != static_cast<size_t>(camera.size()))
        throw CommandError{kWrongUsage, "\"" + file + "\" holds " +
                                            std::to_string(table.entries.size()) +
                                            " values, but the camera's table has " +
                                            std::to_string(camera.size()) +
                                            " entries. Lines of index,value may set some of them."};
    for (const Entry &entry : table.entries) {
        if (entry.index < 0 || entry.index >= camera.size())
            throw wrong(file, entry.line,
                        "index " + std::to_string(entry.index) + " is outside 0 to " +
                            std::to_string(camera.size() - 1) + ".");
        if (entry.value < camera.lowest() || entry.value > camera.highest())
            throw wrong(file, entry.line,
                        "value " + std::to_string(entry.value) + " is outside " +
                            std::to_string(camera.lowest()) + " to " +
                            std::to_string(camera.highest()) + ".");
    }
}

// The tables to write: all, or that of one colour.
std::vector<int> chosenTables(const LookupTable &camera,
                              const std::optional<std::string> &channel) {
    std::vector<int> tables;
    for (int table = 0; table < camera.tables(); ++table)
        if (!channel || (!camera.channels().empty() &&
                         strcasecmp(camera.channels()[static_cast<size_t>(table)].c_str(),
                                    channel->c_str()) == 0))
            tables.push_back(table);
    if (tables.empty())
        throw CommandError{kWrongUsage,
                           "this camera has no lookup table for " + *channel +
                               " alone. Leave out --channel to load the table of all colours."};
    return tables;
}

const char *meaningOf(KxTd::td_lg_states state) {
    switch (state) {
    case KxTd::TD_LG_OFF:
        return "off";
    case KxTd::TD_LG_USER_LUT:
        return "the user's table";
    case KxTd::TD_LG_GAMMA:
        return "the gamma curve";
    case KxTd::TD_LG_OTHER:
        return "something that is neither the user's table nor the gamma curve";
    case KxTd::TD_LG_UNKNOWN:
        break;
    }
    return "unknown";
}

KxTd::td_lg_states stateOf(const Session &session) {
    const KxTd::td_lg_states state = session.camera().ExPropertyGetLUTMode();
    if (state == KxTd::TD_LG_UNKNOWN)
        throw CommandError{kFailed, "what the lookup table does cannot be read: the camera lacks "
                                    "\"lutMode\" or \"lutType\"."};
    return state;
}

void switchTo(const Session &session, Modes &modes, KxTd::td_lg_states state) {
    modes.remember("lutMode", Reach::Direct);
    modes.remember("lutType", Reach::Direct);
    if (state == KxTd::TD_LG_USER_LUT)
        modes.remember("lutSize", Reach::UserTable);
    if (const int code = session.camera().ExPropertySetLUTMode(state))
        throw CommandError{kFailed,
                           "the lookup table was not switched: " + kxinfo::meaningOf(code) + "."};
    for (const char *feature : {"lutMode", "lutType"})
        modes.changed(feature, Reach::Direct);
    modes.changed("lutSize", Reach::UserTable);
}

int show(Session &session) {
    writeOut(cameraLine(session) + "Lookup table: " + meaningOf(stateOf(session)) + "\n");
    return kDone;
}

int change(Session &session, Modes &modes, KxTd::td_lg_states state) {
    const auto before = stateOf(session);
    switchTo(session, modes, state);
    const auto after = stateOf(session);
    modes.keepChanges();
    writeOut(cameraLine(session) + changeText("Lookup table", meaningOf(before), meaningOf(after)));
    return kDone;
}

int load(Session &session, Modes &modes, const LutRequest &request, const TableFile &file) {
    const auto before = stateOf(session);
    LookupTable camera(session, modes);
    checkAgainst(camera, file, request.file);
    const std::vector<int> tables = chosenTables(camera, request.channel);
    try {
        Progress progress("entries written", tables.size() * file.entries.size());
        for (const int table : tables) {
            camera.select(table);
            for (const Entry &entry : file.entries) {
                stopIfAsked();
                camera.write(entry.index, entry.value);
                progress.step();
            }
        }
        switchTo(session, modes, KxTd::TD_LG_USER_LUT);
    } catch (...) {
        const int status = tellWhy(session, std::current_exception());
        waitInSpiteOfAll();
        if (const std::string undone = camera.undo(); !undone.empty())
            tell(undone);
        return status;
    }
    modes.keepChanges();
    std::string names;
    for (const int table : tables)
        if (!camera.channels().empty())
            names +=
                (names.empty() ? " of " : ", ") + camera.channels()[static_cast<size_t>(table)];
    writeOut(cameraLine(session) + "Lookup table: " + meaningOf(before) + " -> " +
             meaningOf(stateOf(session)) + ", " + std::to_string(file.entries.size()) + " entries" +
             names + "\n");
    return kDone;
}

} // namespace

int run(const LutRequest &request) {
    using Action = LutRequest::Action;
    TableFile file{};
    if (request.action == Action::Load)
        file = readTable(request.file);
    return onCamera(request, [&](Session &session, Modes &modes) {
        switch (request.action) {
        case Action::Show:
            break;
        case Action::Off:
            return change(session, modes, KxTd::TD_LG_OFF);
        case Action::User:
            return change(session, modes, KxTd::TD_LG_USER_LUT);
        case Action::Gamma:
            return change(session, modes, KxTd::TD_LG_GAMMA);
        case Action::Load:
            return load(session, modes, request, file);
        }
        return show(session);
    });
}

} // namespace kxinfo
