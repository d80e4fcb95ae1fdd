// kxinfo xml: the description as the camera gives it, byte for byte.

#include <unistd.h>

#include <algorithm>
#include <memory>

#include "camera/command.h"
#include "camera/find.h"
#include "gvcp/channel.h"
#include "gvcp/description.h"

namespace kxinfo {

namespace {

int xml(const CameraArgument &camera) {
    stopWaitingWhen(stopOnSignals());
    const gvcp::Found found = chosenCamera(camera);
    const gvcp::Identity &identity = found.identity;
    std::string document;
    try {
        gvcp::Channel channel({identity.address, found.host, found.interface != 0},
                              gvcp::Access::Monitor);
        document = gvcp::loadDescription(
            channel, {identity.manufacturer, identity.model, identity.version}, nullptr);
    } catch (const gvcp::Error &error) {
        stopIfAsked();
        throw Error(kNoCamera, "camera ", nameOf(identity).serial,
                    " does not give its description: ", cleaned(error.what()), ".");
    }
    if (isatty(STDOUT_FILENO)) {
        std::string shown;
        document.erase(std::remove(document.begin(), document.end(), '\r'), document.end());
        for (size_t at = 0, end = 0; at < document.size(); at = end + 1) {
            end = std::min(document.find_first_of("\t\n", at), document.size());
            shown += cleaned(document.substr(at, end - at)) + (document[end] == '\t' ? '\t' : '\n');
        }
        document = shown;
    }
    writeOut(document);
    return kDone;
}

} // namespace

Run declareXml(CLI::App &command) {
    const auto camera = std::make_shared<CameraArgument>();
    addCamera(command, *camera);
    command.footer(R"(On a terminal, what could act on it is shown as \x1b, for example.

Example:
  kxinfo xml S1234567 > camera.xml)");
    return [camera] { return xml(*camera); };
}

} // namespace kxinfo
