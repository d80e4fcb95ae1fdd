#include "wire.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

namespace {

std::map<std::string, std::string> valuesOf(const std::string &snapshot) {
    std::map<std::string, std::string> values;
    for (const std::string &line : linesOf(snapshot)) {
        const size_t sign = line.find(" = ");
        values[line.substr(0, sign)] = sign == line.npos ? "" : line.substr(sign + 3);
    }
    return values;
}

} // namespace

std::vector<std::string> changes(const std::string &before, const std::string &after) {
    const auto old = valuesOf(before);
    std::vector<std::string> found;
    for (const auto &[name, value] : valuesOf(after)) {
        const auto was = old.find(name);
        if (was == old.end())
            found.push_back(name + ": (none) -> " + value);
        else if (was->second != value)
            found.push_back(name + ": " + was->second + " -> " + value);
    }
    const auto present = valuesOf(after);
    for (const auto &[name, value] : old)
        if (present.count(name) == 0)
            found.push_back(name + ": " + value + " -> (none)");
    return found;
}

int commandsIn(const std::string &closingLine) {
    int sum = 0;
    for (const std::string kind :
         {"discovery=", "readreg=", "writereg=", "readmem=", "writemem=", "other="})
        sum += std::stoi(closingLine.substr(closingLine.find(kind) + kind.size()));
    return sum;
}

std::string violations(const std::string &document, const std::string &schema) {
    const TemporaryFolder folder;
    const Result result =
        run({JSON_VALIDATOR, JSON_SCHEMAS "/" + schema, folder.file("document.json", document)});
    // The validator failing in whatever way is no document that holds.
    if (result.status != 0 && result.out.empty())
        return "the validator ended with status " + std::to_string(result.status) + "\n" +
               result.err;
    return result.out;
}

std::string snapshotOf(const Simcam &camera, const TemporaryFolder &folder) {
    const std::string file = folder.path() + "/S1234.txt";
    std::filesystem::remove(file);
    camera.signal(SIGUSR1);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(file)) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "no snapshot";
            return {};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return readFile(file);
}

std::unique_ptr<Simcam> cameraBehindACable(std::vector<std::string> options) {
    const auto run = [](const std::string &command) { EXPECT_EQ(0, system(command.c_str())); };
    const int here = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(0, unshare(CLONE_NEWNET));
    // At 192.168.0.10 a camera may be once it is given that address.
    run("ip link set lo up && ip link add there type veth peer name eth0 netns " +
        std::to_string(getppid()) +
        " && ip address add 169.254.3.4/16 dev there && ip address add 192.168.0.10/32 dev there "
        "&& "
        "ip link set there up && ip route add 192.168.0.0/24 dev there");
    options.insert(options.end(), {"--camera", "S1@169.254.3.4"});
    auto camera = std::make_unique<Simcam>(options);
    EXPECT_EQ(0, setns(here, CLONE_NEWNET));
    close(here);
    run("ip address add 192.168.0.2/24 dev eth0 && ip link set eth0 up");
    // Some systems let nothing in that they would not know a way back to. Not all let that be
    // changed here.
    for (const char *name : {"all", "eth0"})
        std::ofstream("/proc/sys/net/ipv4/conf/" + std::string(name) + "/rp_filter") << 0;
    return camera;
}

void Wire::SetUpTestSuite() {
    setenv("KXGIGE_DISCOVERY_MS", std::to_string(kSearchWindow.count()).c_str(), 1);
}

std::string Wire::listed(int number, const std::string &serial) {
    return "  == " + std::to_string(number) +
           ". Dalsa Device Information ==\n"
           "  ===================================\n"
           "  \tDeviceSerial     : " +
           serial +
           "\n"
           "  \tDeviceInterface  : GigE\n"
           "  \tDeviceModel      : C1936\n";
}

std::string Wire::controlledByAnother(const std::string &serial) {
    return "the camera whose serial number begins with \"" + serial +
           "\" cannot be opened: another program controls it \\(127\\.0\\.0\\.1, port [0-9]+\\)"
           "\\. Once that is mended, try again\\.\n";
}

Result Wire::probeWithLog(const std::string &serial) {
    return kxinfoHost({serial, "--log", "stdout", "--level", "debug"});
}
