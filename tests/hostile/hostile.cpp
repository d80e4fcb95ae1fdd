#include "hostile.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <thread>

namespace {

// What kxinfo may take: far beyond what it does, and far below what it would if nothing stopped it.
constexpr std::chrono::milliseconds kLongest = std::chrono::seconds(9) + kStall;
constexpr long kMostMemory = 200 * 1024; // KiB

// What the model's own registers hold in a fresh camera.
std::map<uint32_t, uint32_t> initialRegisters() {
    pugi::xml_document document;
    document.load_string(builtInDescription().c_str());
    std::map<uint32_t, uint32_t> registers;
    for (const auto &found : document.select_nodes("//*[Extension/Initial]")) {
        const pugi::xml_node node = found.node();
        auto address = static_cast<uint32_t>(std::stoul(node.child_value("Address"), nullptr, 0));
        for (const auto &initial : node.child("Extension").children("Initial")) {
            uint32_t &value = registers[address];
            if (std::string_view(node.name()) == "FloatReg") {
                const float number = std::stof(initial.child_value());
                memcpy(&value, &number, sizeof value);
            } else {
                value = static_cast<uint32_t>(std::stoll(initial.child_value(), nullptr, 0));
            }
            address += 4;
        }
    }
    return registers;
}

} // namespace

const std::string &builtInDescription() {
    static const std::string text = [] {
        std::ostringstream content;
        content << std::ifstream(BUILT_IN_DESCRIPTION).rdbuf();
        return content.str();
    }();
    return text;
}

std::string archived(const std::string &description) {
    return archiveOf({deflated("camera.xml", description)});
}

Camera::Camera(const std::string &at, const std::string &serial, uint32_t claimedAddress)
    : Device(at, {"Dalsa", "C1936", "1.0", serial, "", claimedAddress}), address(at) {
    set(0x08, 0x0200); // the MAC address begins with it
    // It writes memory, reads several registers at once and tells who controls it.
    set(peer::kCapability, 0x08000003);
    static const auto initial = initialRegisters();
    for (const auto &[where, value] : initial)
        set(where, value);
    static const std::string archive = archived(builtInDescription());
    describe(archive);
}

std::ostream &operator<<(std::ostream &stream, const Ending &ending) {
    return stream << "after " << ending.took.count()
                  << " ms: " << static_cast<const Result &>(ending);
}

Ending runKxinfo(const std::vector<std::string> &arguments, const std::string &address) {
    // Here, since several threads run children at a time: there is nothing left to be set then.
    static const int cached = setenv("KXGIGE_CACHE", "", 1);
    EXPECT_EQ(0, cached);
    const ScratchFolder cache;
    std::vector<std::string> command{"/usr/bin/env", "XDG_CACHE_HOME=" + cache.path(),
                                     "KXGIGE_ADDRESSES=" + address, KXINFO_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Stopwatch stopwatch;
    const Result result = run(command);
    return {result, stopwatch.elapsed()};
}

void expectOrderly(const Ending &ending) {
    EXPECT_GE(ending.status, 0) << "a signal ended it\n" << ending;
    EXPECT_LT(ending.took, kLongest) << ending;
    rusage used{}; // by that child which took most
    getrusage(RUSAGE_CHILDREN, &used);
    if (!KXINFO_SANITIZED) { // which takes memory of its own
        EXPECT_LT(used.ru_maxrss, kMostMemory) << ending;
    }
}

void expectRefusal(const Camera &camera, const testing::Matcher<std::string> &why) {
    const Ending ending = runKxinfo({"set", "S1234", "Width=1920"}, camera.address);
    expectOrderly(ending);
    EXPECT_GT(ending.status, 0) << ending;
    EXPECT_THAT(ending.err, why) << ending;
    EXPECT_FALSE(camera.isControlled()) << ending;
}

void sideBySide(int first, int last, const std::function<void(int number, Camera &camera)> &work) {
    constexpr int kAtATime = 8;
    std::atomic<int> next{first};
    std::vector<std::thread> threads;
    for (int i = 0; i < kAtATime; ++i) {
        threads.emplace_back([&, address = "127.0.1." + std::to_string(1 + i)] {
            for (int number = next++; number <= last; number = next++) {
                SCOPED_TRACE(number);
                Camera camera(address);
                work(number, camera);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

void expectRefusals(const std::vector<Deceit> &deceits) {
    sideBySide(0, static_cast<int>(deceits.size()) - 1, [&](int number, Camera &camera) {
        const Deceit &deceit = deceits[static_cast<size_t>(number)];
        SCOPED_TRACE(deceit.name);
        deceit.mislead(camera);
        expectRefusal(camera, testing::HasSubstr(deceit.why));
    });
}

Ending Hostile::kxinfo(const std::vector<std::string> &arguments) {
    Ending ending = runKxinfo(arguments);
    expectOrderly(ending);
    EXPECT_FALSE(camera.isControlled()) << ending;
    return ending;
}

std::string Hostile::probed() {
    const Ending ending = kxinfo({"probe", "S1234", "--json"});
    EXPECT_EQ(0, ending.status) << ending;
    return ending.out;
}
