// kxinfo save: the file is made before the camera is asked for thousands of entries.

#include "Base/GCException.h"
#include "command.h"
#include "files.h"
#include "lookup_table.h"
#include "saved_settings.h"
#include "standard_output.h"
#include "words.h"

namespace kxinfo {

namespace {

// The settings that can be reached on this camera and, if ever, be restored.
std::vector<SavedValue> readSettings(const Session &session, Modes &modes, std::string &leftOut) {
    std::vector<SavedValue> values;
    const auto &nodeMap = session.nodeMap();
    for (const SavedSetting &setting : savedSettings()) {
        stopIfAsked();
        try {
            if (kindOf(nodeMap, setting.feature) == Kind::Missing)
                continue;
            modes.reach(setting.reach);
            if (isReadable(nodeMap, setting.feature) && isWritable(nodeMap, setting.feature))
                values.push_back({&setting, modes.read(setting.feature, setting.reach)});
            else
                leftOut += (leftOut.empty() ? "" : ", ") + std::string(setting.name);
        } catch (const GenICam_3_0::TimeoutException &) {
            throw;
        } catch (const GenICam_3_0::GenericException &) {
            throw CommandError{
                kFailed, std::string(setting.name) +
                             " cannot be read, so nothing was saved: " + reasonInFlight() + "."};
        }
    }
    return values;
}

std::vector<SavedTable> readTables(const Session &session, Modes &modes) {
    if (!LookupTable::isOn(session))
        return {};
    LookupTable camera(session, modes);
    std::vector<SavedTable> tables;
    Progress progress("entries of the lookup table read",
                      static_cast<size_t>(camera.tables()) * static_cast<size_t>(camera.size()));
    for (int table = 0; table < camera.tables(); ++table) {
        camera.select(table);
        SavedTable saved;
        if (!camera.channels().empty())
            saved.channel = camera.channels()[static_cast<size_t>(table)];
        for (int index = 0; index < camera.size(); ++index) {
            stopIfAsked();
            saved.entries.push_back(camera.read(index));
            progress.step();
        }
        tables.push_back(std::move(saved));
    }
    return tables;
}

} // namespace

int run(const SaveRequest &request) {
    NewFile file(request.file);
    return onCamera(request, [&](Session &session, Modes &modes) {
        SavedCamera camera;
        std::string leftOut;
        camera.manufacturer = session.info().manufacturer;
        camera.model = session.info().model;
        camera.serial = session.info().serial;
        camera.settings = readSettings(session, modes, leftOut);
        if (request.table)
            camera.tables = readTables(session, modes);
        stopIfAsked();
        file.write(asFile(camera));
        if (file.isStandardOutput())
            return kDone;

        size_t entries = 0;
        for (const SavedTable &table : camera.tables)
            entries += table.entries.size();
        writeOut(cameraLine(session) + std::to_string(camera.settings.size()) + " settings and " +
                 std::to_string(entries) + " entries of the lookup table saved to " + request.file +
                 "\n");
        if (!leftOut.empty())
            writeOut("Left out, since it cannot be set at present: " + leftOut + "\n");
        return kDone;
    });
}

} // namespace kxinfo
