// kxinfo restore: what the camera refuses is tried again after the other settings, since the range
// of one may depend on another; what it refuses to the end is told, and the rest stays restored.

#include <algorithm>
#include <map>

#include "camera/command.h"
#include "camera/saved_camera.h"

namespace kxinfo {

namespace {

// A saved table as entries for the camera's.
std::vector<TableEntry> entriesFor(const LookupTable &table, const SavedTable &saved) {
    const Words &channels = table.channels();
    if (std::find(channels.begin(), channels.end(), saved.channel) == channels.end())
        throw Error(kFailed, "the camera has no such table");
    if (saved.entries.size() != table.size())
        throw Error(kFailed, "the file holds ", saved.entries.size(),
                    " entries, but the camera's table has ", table.size());
    std::vector<TableEntry> entries;
    for (const int value : saved.entries) {
        entries.push_back({static_cast<int>(entries.size()), value, 0});
        if (const std::string why = table.problemOf(entries.back()); !why.empty())
            throw Error(kFailed, why);
    }
    return entries;
}

class Restoring {
public:
    Restoring(const Camera &camera, Switches &switches, bool dry)
        : camera_(camera), switches_(switches), dry_(dry) {}

    // Writes the tables that fit.
    void tables(LookupTable &table, const std::vector<SavedTable> &tables) {
        for (const SavedTable &saved : tables) {
            const size_t before = table.written();
            const std::string why =
                whyNotDone([&] { table.write({saved.channel}, entriesFor(table, saved)); });
            if (!why.empty())
                leaveOut(
                    (saved.channel.empty() ? "" : " of " + saved.channel) +
                    (table.written() == before ? " stays as it is: " : " is restored in part: ") +
                    why);
        }
        if (table.written())
            tableChange_ = "lookup table: " + std::to_string(table.written()) + " entries\n";
    }

    // Sets what differs, and looks afterwards whether it is still so: a setting may move another.
    void settings(const std::vector<SavedValue> &saved) {
        for (size_t before = saved.size() + 1; before != wanted_.size();) {
            before = wanted_.size();
            refusals_.clear();
            for (const SavedValue &value : saved)
                if (wanted_.count(value.feature) == 0)
                    attempt(value, [&] { set(value); });
        }
        for (const SavedValue &value : saved)
            if (!dry_ && wanted_.count(value.feature))
                attempt(value, [&] { setAgain(value); });
        const auto valueInTheEnd = [&](const Feature &feature) {
            if (!dry_)
                return switches_.read(feature, Cache::Ignored);
            return wanted_.count(&feature) ? wanted_[&feature]
                                           : readFeature(camera_, feature, nullptr).value;
        };
        for (const SavedValue &value : saved)
            if (wanted_.count(value.feature))
                checkLimits(*value.feature, valueInTheEnd);
    }

    // Of what would be written: it remains to be seen what that does.
    void leaveOpen(const std::string &name) { open_.push_back(name); }

    // Of the lookup table.
    void leaveOut(const std::string &what) { leftOut_.push_back("the lookup table" + what + "."); }

    int tellAll() const {
        Words refused = refusals_;
        refused.insert(refused.end(), leftOut_.begin(), leftOut_.end());
        std::string lines = changes_ + tableChange_;
        if (!open_.empty())
            lines +=
                "What becomes of these shows when they are written: " + joined(open_, ", ") + "\n";
        if (lines.empty() && refused.empty())
            lines = "Nothing to restore: the camera is set as the file says.\n";
        writeOut(camera_.heading() + lines);
        for (const std::string &sentence : refused)
            tell(sentence);
        return refused.empty() ? kDone : kFailed;
    }

private:
    void attempt(const SavedValue &value, const std::function<void()> &work) {
        stopIfAsked();
        if (const std::string why = whyNotDone(work); !why.empty())
            refusals_.push_back(value.feature->name + " is not restored: " + why + ".");
    }

    void set(const SavedValue &saved) {
        const Feature &feature = *saved.feature;
        Reading reading = readFeature(camera_, feature, dry_ ? nullptr : &switches_);
        const Value present = reading.value;
        if (!hasValue(present) && (!dry_ || reading.failed || reading.kind == Kind::Missing))
            throw Error(kFailed, reading.problem);
        Value wanted = saved.value;
        const bool isOpen = !hasValue(present) || reading.access != GenApi_3_0::RW ||
                            (feature.limitedBy && wanted_.count(&featureNamed(feature.limitedBy)));
        if (dry_ && isOpen && present != wanted) {
            leaveOpen(feature.name);
        } else if (!saved.isExact || present != wanted) {
            if (feature.setBy && !dry_) { // automatic functions would lock it, or move it
                switches_.stopAutomation();
                reading = readFeature(camera_, feature, &switches_);
            }
            wanted = checkedValue(camera_, reading, saved.typed);
            if (saved.isExact && reading.kind == Kind::Float)
                wanted = std::clamp(std::get<double>(saved.value), numberOf(reading.limits.min),
                                    numberOf(reading.limits.max));
        }
        if (present != wanted && !dry_)
            switches_.write(feature, wanted);
        if (present != wanted && hasValue(present))
            changes_ += changeText(feature.name, quantityText(feature, present),
                                   quantityText(feature, wanted));
        if (present != wanted || !dry_)
            wanted_[&feature] = wanted;
    }

    void setAgain(const SavedValue &saved) {
        const Feature &feature = *saved.feature;
        const std::string wanted = quantityText(feature, wanted_[&feature]);
        const auto isKept = [&] {
            return quantityText(feature, switches_.read(feature, Cache::Ignored)) == wanted;
        };
        if (isKept())
            return;
        switches_.write(feature, wanted_[&feature]);
        if (!isKept())
            throw Error(kFailed, "the camera does not keep ", wanted);
    }

    const Camera &camera_;
    Switches &switches_;
    bool dry_; // nothing is written: what would be is found out as far as that goes
    std::map<const Feature *, Value> wanted_; // not refused; dry: and other than at present
    std::string changes_, tableChange_;       // lines
    Words open_;                              // names
    Words refusals_, leftOut_;                // sentences
};

void tellWhose(const SavedCamera &saved, const std::string &file, const Camera &camera) {
    const std::string whose = '"' + file + "\" was saved from ";
    if (!saved.name.model.empty() && saved.name.model != camera.name().model)
        tell(whose, "a camera of another model, ", saved.name.model,
             "; what this one does not take is left as it is.");
    else if (!saved.name.serial.empty() && saved.name.serial != camera.name().serial)
        tell(whose, "another camera, ", saved.name.serial, ".");
}

int restore(const Camera &camera, Switches &switches, const SavedCamera &saved, bool dry) {
    Restoring restoring(camera, switches, dry);
    std::optional<LookupTable> table;
    try {
        const std::string why = whyNotDone([&] {
            if (dry && !saved.tables.empty() && LookupTable::isOn(camera))
                restoring.leaveOpen("the lookup table");
            else if (!saved.tables.empty())
                table.emplace(camera, switches);
        });
        if (!why.empty())
            restoring.leaveOut(" is left out: " + why);
        if (table)
            restoring.tables(*table, saved.tables);
        restoring.settings(saved.settings);
        switches.keepChanges();
    } catch (...) {
        if (!table)
            throw;
        return table->giveUp();
    }
    return restoring.tellAll();
}

} // namespace

Run declareRestore(CLI::App &command) {
    struct Request {
        CameraArgument camera;
        std::optional<std::string> file;
        bool dryRun = false;
        bool all = false;
    };
    const auto request = requestFor<Request>(command);
    addOption(command, "FILE", request->file,
              "File of 'kxinfo save', or of a program over GenApi; - is standard input");
    command.add_flag("--dry-run", request->dryRun,
                     "Tell what would change and write nothing to the camera");
    addAll(command, request->all);
    command.footer(
        R"(What the camera refuses is told, and the rest is restored.

Example:
  kxinfo restore S1234567 camera.json)");
    return [request] {
        const std::string file = requireFile("restore", request->camera, request->file);
        SavedCamera saved = readSettings(file);
        if (request->all) {
            if (request->camera || file == "-")
                throw Error(kWrongUsage, "'kxinfo restore --all' takes the name of one file.");
            return changeAll(request->dryRun ? Words{"restore", "", file, "--dry-run"}
                                             : Words{"restore", "", file});
        }
        return onCamera(request->camera, request->dryRun ? Purpose::Look : Purpose::Change,
                        [&](Camera &camera, Switches &switches) {
                            tellWhose(saved, file, camera);
                            placeLines(saved, &camera);
                            return restore(camera, switches, saved, request->dryRun);
                        });
    };
}

} // namespace kxinfo
