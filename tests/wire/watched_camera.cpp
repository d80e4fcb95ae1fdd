#include "watched_camera.h"

#include <cctype>
#include <chrono>
#include <sstream>

#include "wire.h"

namespace {

constexpr uint32_t kControlPrivilege = 0xA00;

// How many commands a camera has answered when a command has been carried out on it.
int commandsOf(const std::vector<std::string> &command,
               const std::vector<Replacement> &replacements, const Writes &state) {
    WatchedCamera camera(replacements);
    camera.write(state);
    const Result result = kxinfo(command);
    EXPECT_THAT(result.err, testing::Not(testing::HasSubstr("no Dalsa camera"))) << result;
    return camera.stop();
}

} // namespace

const std::vector<StartingState> &startingStates() {
    using namespace reg;
    static const std::vector<StartingState> states = {
        {"fresh", {}},
        {"automatic control on",
         {{kAutoBrightnessMode, 1}, {kExposureAuto, 1}, {kGainAuto, 1}, {kGainAutoSource, 0}}},
        {"automatic control off below", {{kExposureAuto, 0}, {kGainAuto, 0}}},
        {"gamma curve on", {{kAutoBrightnessMode, 0}, {kLutMode, 1}, {kLutType, 1}}},
        {"user's table on", {{kLutType, 0}, {kLutSize, 1}}},
        {"selectors elsewhere",
         {{kGainSelector, 0},
          {kBalanceRatioSelector, 2},
          {kLutSelector, 2},
          {kLutIndex, 3},
          {kLutMode, 0}}},
    };
    return states;
}

std::string replaced(std::string text, const Replacement &replacement) {
    const auto &[part, by, isName] = replacement;
    const auto isOfName = [&text](size_t place) {
        return place < text.size() &&
               (isalnum(static_cast<unsigned char>(text[place])) || text[place] == '_');
    };
    bool isThere = false;
    for (size_t place = text.find(part); place != text.npos; place = text.find(part, place)) {
        if (isName && (isOfName(place - 1) || isOfName(place + part.size()))) {
            ++place;
            continue;
        }
        isThere = true;
        text.replace(place, part.size(), by);
        place += by.size();
    }
    EXPECT_TRUE(isThere) << part << " is not there to be replaced";
    return text;
}

std::string descriptionWith(const std::vector<Replacement> &replacements) {
    std::string description = readFile(BUILT_IN_DESCRIPTION);
    for (const Replacement &replacement : replacements)
        description = replaced(description, replacement);
    return description;
}

Replacement smallTables() {
    return {"(1 &lt;&lt; (8 + 2 * SIZE)) - 1", "(1 &lt;&lt; (2 + SIZE)) - 1"};
}

Replacement refusesWrites(const std::string &feature) {
    const std::string description = readFile(BUILT_IN_DESCRIPTION);
    const size_t node = description.find("Reg Name=\"" + feature + "Reg\"");
    const size_t begin = description.find("<Address>", node);
    const size_t end = description.find("</Address>", begin);
    return {description.substr(node, end - node),
            description.substr(node, begin - node) + "<Address>0x00000904"};
}

Replacement alwaysAvailable(const std::string &condition) {
    return {"<pIsAvailable>" + condition + "</pIsAvailable>", ""};
}

Replacement lockedBy(const std::string &feature, const std::string &automation) {
    const std::string value = "<pValue>" + feature + "Reg</pValue>";
    return {value, "<pIsLocked>" + automation + "Reg</pIsLocked>" + value};
}

Replacement without(const std::string &node) {
    return {node, "no" + node, true};
}

std::vector<std::string> WatchedCamera::arguments(const TemporaryFolder &folder,
                                                  const std::vector<Replacement> &replacements,
                                                  const std::vector<std::string> &options) {
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {"--snapshot", folder.path()});
    if (!replacements.empty())
        arguments.insert(
            arguments.end(),
            {"--description", folder.file("model.xml", descriptionWith(replacements))});
    arguments.insert(arguments.end(), {"--camera", "S1234@127.0.0.2"});
    return arguments;
}

WatchedCamera::WatchedCamera(const std::vector<Replacement> &replacements,
                             const std::vector<std::string> &options)
    : camera_(arguments(folder_, replacements, options)), last_(snapshot()) {}

std::string WatchedCamera::snapshot() const {
    return ::snapshotOf(camera_, folder_);
}

std::vector<std::string> WatchedCamera::changes() {
    const std::string before = std::exchange(last_, snapshot());
    return ::changes(before, last_);
}

void WatchedCamera::write(const Writes &writes) {
    if (writes.empty())
        return;
    Client client;
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    for (const auto &[address, value] : writes)
        EXPECT_EQ("0000", client.write(address, value)) << std::hex << address;
    EXPECT_EQ("0000", client.write(kControlPrivilege, 0));
    last_ = snapshot();
}

int WatchedCamera::stop() {
    return commandsIn(camera_.stop().output);
}

std::map<std::string, int> WatchedCamera::stopAndCount() {
    std::map<std::string, int> counts;
    std::istringstream words(camera_.stop().output);
    for (std::string word; words >> word;)
        if (const size_t sign = word.find('='); sign != word.npos)
            counts[word.substr(0, sign)] = std::stoi(word.substr(sign + 1));
    return counts;
}

Result whenSilentHalfway(const std::vector<std::string> &command,
                         const std::vector<Replacement> &replacements, const Writes &state) {
    const int opening = commandsOf({"set", "S1234", "NoSuchFeature=1"}, replacements, state);
    const int all = commandsOf(command, replacements, state);
    EXPECT_GT(all, opening + 2) << "too few commands to fall silent among them";
    WatchedCamera camera(replacements, {"--silent-after", std::to_string((opening + all) / 2)});
    camera.write(state);

    const auto start = std::chrono::steady_clock::now();
    const Result result = kxinfo(command);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    return result;
}

testing::Matcher<std::string> saysSilent(const std::string &more) {
    return testing::MatchesRegex(
        "kxinfo: camera S1234 has stopped answering. Check its power and cable, and try again. "
        ".Cannot [a-z]+ the camera's register 0x[0-9a-f]+ for '[A-Za-z]+': it does not answer.\n" +
        more);
}
