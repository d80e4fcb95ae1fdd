// Bytes as a file of settings, of either form, or as one with a lookup table.

#include "input.h"

#include <set>

#include "camera/saved_camera.h"

namespace {

void checkSettings(const std::string &text) {
    const kxinfo::SavedCamera camera = kxinfo::settingsFrom(text, "file");
    const kxinfo::Feature *last = nullptr;
    const bool isGenApi = !camera.unread.empty();
    for (const kxinfo::SavedValue &saved : camera.settings) {
        if (isGenApi && !saved.feature->saved)
            break; // others come behind
        MUST(!last || last->saved < saved.feature->saved, "each setting is there once, in order");
        MUST(kxinfo::hasValue(saved.value) && (isGenApi || !saved.typed.empty()), "it has a value");
        last = saved.feature;
    }
    MUST(kxinfo::cleaned(camera.name.serial) == camera.name.serial, "names can be shown");
    if (isGenApi) {
        for (const auto &[name, value] : camera.lines)
            MUST(kxinfo::cleaned(name + value) == name + value, "lines can be shown");
        (void)kxinfo::settingsFrom(kxinfo::genApiText(camera), "file");
        return;
    }
    const std::string written = kxinfo::settingsText(camera);
    MUST(kxinfo::settingsText(kxinfo::settingsFrom(written, "file")) == written,
         "what is written is read as it was");
}

void checkTable(const std::string &text) {
    const kxinfo::TableFile table = kxinfo::readTable(text, "file");
    std::set<int> indexes;
    for (const auto &entry : table.entries) {
        MUST(entry.index >= 0 && entry.index < kxinfo::kMostTableEntries, "an index is in a table");
        MUST(indexes.insert(entry.index).second, "an index is there once");
    }
    MUST(!indexes.empty(), "a table holds something");
    MUST(!table.whole || *indexes.rbegin() + 1 == static_cast<int>(indexes.size()),
         "a whole table begins at 0 and has no gaps");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    for (const auto check : {checkSettings, checkTable})
        try {
            check(text);
        } catch (const kxinfo::Error &error) {
            MUST(error.status() == kxinfo::kWrongUsage, "a file is refused as the user's");
            MUST(std::string(error.what()).size() < 1000, "what is wrong is a sentence or two");
        }
    return 0;
}
