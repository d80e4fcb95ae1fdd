// kxinfo restore: what the camera refuses is tried again after the other settings, since the range
// of one may depend on another; what it refuses to the end is told, and the rest stays restored.

#include <algorithm>

#include "Base/GCException.h"
#include "command.h"
#include "files.h"
#include "lookup_table.h"
#include "saved_settings.h"
#include "standard_output.h"
#include "words.h"

namespace kxinfo {

namespace {

class Restoring {
public:
    Restoring(const Session &session, Modes &modes) : session_(session), modes_(modes) {}

    // Sets what differs, and looks afterwards whether it is still so: a setting may move another.
    void settings(const std::vector<SavedValue> &saved) {
        const auto refused = setAll(saved);
        for (const SavedValue &value : saved) {
            stopIfAsked();
            if (std::find(refused.begin(), refused.end(), &value) == refused.end())
                setAgain(value);
        }
    }

    const std::vector<std::string> &changes() const { return changes_; }
    const std::vector<std::string> &refusals() const { return refusals_; }

private:
    // Returns what the camera refuses to the end.
    std::vector<const SavedValue *> setAll(const std::vector<SavedValue> &saved) {
        std::vector<const SavedValue *> waiting;
        waiting.reserve(saved.size());
        for (const SavedValue &value : saved)
            waiting.push_back(&value);
        for (;;) {
            std::vector<const SavedValue *> refused;
            refusals_.clear();
            for (const SavedValue *value : waiting) {
                stopIfAsked();
                const std::string reason = set(*value);
                if (reason.empty())
                    continue;
                refused.push_back(value);
                refusals_.push_back(std::string(value->setting->name) + " " +
                                    whatBecomesOf(*value->setting) + ": " + reason);
            }
            if (refused.empty() || refused.size() == waiting.size())
                return refused;
            waiting = std::move(refused);
        }
    }

    void setAgain(const SavedValue &value) {
        const SavedSetting &setting = *value.setting;
        const auto differs = [&] {
            const RawValue present = modes_.readAnew(setting.feature, setting.reach);
            return textOf(setting, present) != textOf(setting, ofKind(present, value));
        };
        std::string reason = "the camera does not keep " + textOf(setting, value.raw);
        try {
            if (!differs())
                return;
            modes_.write(setting.feature, setting.reach, value.raw);
            if (!differs())
                return;
        } catch (const GenICam_3_0::TimeoutException &) {
            throw;
        } catch (const GenICam_3_0::GenericException &) {
            stopIfAsked();
            reason = reasonInFlight();
        }
        refusals_.push_back(std::string(setting.name) + " " + whatBecomesOf(setting) + ": " +
                            reason);
    }

    // A whole number in the file may stand for a float of the camera.
    static RawValue ofKind(const RawValue &present, const SavedValue &value) {
        const auto *whole = std::get_if<int64_t>(&value.raw);
        if (whole && std::holds_alternative<double>(present))
            return rawOf(*value.setting, static_cast<float>(*whole));
        return value.raw;
    }

    // Why it cannot be set; empty when the camera has the value.
    std::string set(const SavedValue &value) {
        const SavedSetting &setting = *value.setting;
        const auto &nodeMap = session_.nodeMap();
        try {
            if (kindOf(nodeMap, setting.feature) == Kind::Missing)
                return meaningOf(-2);
            const RawValue present = modes_.read(setting.feature, setting.reach);
            const RawValue wanted = ofKind(present, value);
            if (present == wanted)
                return "";
            if (present.index() != wanted.index())
                return "the camera has it as another kind of value than " + textOf(setting, wanted);
            modes_.write(setting.feature, setting.reach, wanted);
            changes_.push_back(std::string(setting.name) + ": " + textOf(setting, present) +
                               " -> " + textOf(setting, wanted));
            return "";
        } catch (const GenICam_3_0::TimeoutException &) {
            throw;
        } catch (const GenICam_3_0::GenericException &) {
            stopIfAsked();
            return reasonInFlight();
        }
    }

    // Of a setting that is refused.
    std::string whatBecomesOf(const SavedSetting &setting) {
        if (kindOf(session_.nodeMap(), setting.feature) == Kind::Missing)
            return "is left out";
        try {
            return "stays " + textOf(setting, modes_.read(setting.feature, setting.reach));
        } catch (const GenICam_3_0::GenericException &) {
            return "stays as it is";
        }
    }

    const Session &session_;
    Modes &modes_;
    std::vector<std::string> changes_;
    std::vector<std::string> refusals_;
};

// Why a saved table is none for this camera, as a clause.
struct DoesNotFit {
    std::string why;
};

// Which of the camera's tables a saved one is for. Throws DoesNotFit.
int tableFor(const LookupTable &camera, const SavedTable &saved) {
    const auto &channels = camera.channels();
    const auto channel = std::find(channels.begin(), channels.end(), saved.channel);
    if (channels.empty() ? !saved.channel.empty() : channel == channels.end())
        throw DoesNotFit{"the camera has no such table"};
    if (saved.entries.size() != static_cast<size_t>(camera.size()))
        throw DoesNotFit{"the file holds " + std::to_string(saved.entries.size()) +
                         " entries, but the camera's table has " + std::to_string(camera.size())};
    for (const int entry : saved.entries)
        if (entry < camera.lowest() || entry > camera.highest())
            throw DoesNotFit{"the entry " + std::to_string(entry) + " is outside " +
                             std::to_string(camera.lowest()) + " to " +
                             std::to_string(camera.highest())};
    return static_cast<int>(channel - channels.begin());
}

// Writes the tables that fit; a refusal for each that does not, or not to its end. Returns how many
// entries differed.
size_t restoreTables(LookupTable &camera, const std::vector<SavedTable> &tables,
                     std::vector<std::string> &refusals) {
    Progress progress("entries of the lookup table compared",
                      tables.size() * static_cast<size_t>(camera.size()));
    size_t differing = 0;
    for (const SavedTable &saved : tables) {
        const std::string name =
            "the lookup table" + (saved.channel.empty() ? "" : " of " + saved.channel);
        size_t index = 0;
        try {
            camera.select(tableFor(camera, saved));
            for (; index < saved.entries.size(); ++index) {
                stopIfAsked();
                differing += camera.write(static_cast<int>(index), saved.entries[index]) ? 1 : 0;
                progress.step();
            }
        } catch (const GenICam_3_0::TimeoutException &) {
            throw;
        } catch (const GenICam_3_0::GenericException &) {
            stopIfAsked();
            refusals.push_back(name + " stays as it is from entry " + std::to_string(index) +
                               " on: " + reasonInFlight());
        } catch (const DoesNotFit &mismatch) {
            refusals.push_back(name + " stays as it is: " + mismatch.why);
        }
    }
    return differing;
}

int restore(const Session &session, Modes &modes, const SavedCamera &saved) {
    Restoring restoring(session, modes);
    std::optional<LookupTable> table;
    std::vector<std::string> lines;
    std::vector<std::string> refusals;
    try {
        if (!saved.tables.empty() && !LookupTable::isOn(session)) {
            refusals.emplace_back("the lookup table is left out: this camera has none whose "
                                  "entries can be written");
        } else if (!saved.tables.empty()) {
            table.emplace(session, modes);
            if (const size_t entries = restoreTables(*table, saved.tables, refusals))
                lines.push_back("lookup table: " + std::to_string(entries) + " entries");
        }
        restoring.settings(saved.settings);
        stopIfAsked();
    } catch (...) {
        const int status = tellWhy(session, std::current_exception());
        waitInSpiteOfAll();
        if (const std::string undone = table ? table->undo() : ""; !undone.empty())
            tell(undone);
        return status;
    }
    modes.keepChanges();

    lines.insert(lines.begin(), restoring.changes().begin(), restoring.changes().end());
    refusals.insert(refusals.begin(), restoring.refusals().begin(), restoring.refusals().end());
    std::string text = cameraLine(session);
    for (const std::string &line : lines)
        text += line + "\n";
    if (lines.empty() && refusals.empty())
        text += "Nothing to restore: the camera is set as the file says.\n";
    writeOut(text);
    for (const std::string &refusal : refusals)
        tell(refusal + ".");
    return refusals.empty() ? kDone : kFailed;
}

} // namespace

int run(const RestoreRequest &request) {
    const SavedCamera saved = fromFile(readFile(request.file, kExpectedFile), request.file);
    return onCamera(request, [&](Session &session, Modes &modes) {
        if (saved.model != session.info().model)
            tell("\"" + request.file + "\" was saved from a camera of another model, " +
                 saved.model + "; what this one does not take is left as it is.");
        return restore(session, modes, saved);
    });
}

} // namespace kxinfo
