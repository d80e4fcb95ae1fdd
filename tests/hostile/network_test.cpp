// Who answers a search that should not, and cameras that are out of reach.

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "hostile.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The serial numbers that kxinfo lists: the first column, below its heading.
std::vector<std::string> serialsIn(const std::string &listing) {
    std::istringstream lines(listing);
    std::vector<std::string> serials;
    for (std::string line; std::getline(lines, line);)
        serials.push_back(line.substr(0, line.find(' ')));
    if (!serials.empty())
        serials.erase(serials.begin());
    return serials;
}

// How many bytes of packets wait at a port of this computer to be read.
unsigned waitingAt(uint16_t port) {
    unsigned bytes = 0;
    std::ifstream table("/proc/thread-self/net/udp");
    for (std::string line; std::getline(table, line);) {
        unsigned local = 0;
        unsigned waiting = 0;
        if (sscanf(line.c_str(), " %*d: %*x:%x %*x:%*x %*x %*x:%x", &local, &waiting) == 2 &&
            local == port)
            bytes += waiting;
    }
    return bytes;
}

class OtherCameras : public Hostile {
protected:
    void expectToFindTheCamera() {
        EXPECT_THAT(probed(), HasSubstr("\"serial\": \"S1234\""));
        const Ending ending = kxinfo({"get", "S1234", "Width"});
        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_THAT(ending.out, HasSubstr("Camera S1234 (C1936)\n"));
    }
};

TEST_F(OtherCameras, ThatClaimAnAddressOfAnotherHaveNothingSentThere) {
    Device uninvolved("127.0.0.9"); // which is no camera
    uninvolved.beSilent();
    const Camera liar("127.0.0.5", "S1234", addressOf("127.0.0.9"));

    expectToFindTheCamera();

    EXPECT_THAT(uninvolved.received(), IsEmpty());
    for (const Received &each : liar.received())
        EXPECT_TRUE(each.broadcast) << each;
}

TEST_F(OtherCameras, FiveThousandFromOneSenderCountAsOneAndHideNone) {
    constexpr uint32_t kMany = 5000;
    std::atomic<int> floods{0};
    Camera crowd("127.0.0.1", "X"); // which is listed in front of the camera
    crowd.behave([&](const Received &command, Bytes packet) {
        if (command.command != peer::Discovery)
            return Replies{{packet}};
        const gvcp::Descriptor socket = socketAt(addressOf("127.0.0.1"));
        for (uint32_t i = 0; i < kMany; ++i) {
            constexpr size_t kHeader = 8;
            memcpy(&packet[kHeader + 0x0c], &i, sizeof i); // the MAC address
            memcpy(&packet[kHeader + 0xd9], std::to_string(1000 + i).data(), 4);
            sendTo(command.from, socket, packet);
        }
        ++floods;
        return Replies();
    });
    // The camera is not faster, nor lost where there is no room left.
    camera.behave([&, searches = 0](const Received &command, const Bytes &good) mutable {
        searches += command.command == peer::Discovery;
        while (floods < searches || waitingAt(ntohs(command.from.sin_port)) > 0)
            std::this_thread::yield();
        return Replies{{good}};
    });

    expectToFindTheCamera();
    EXPECT_EQ(0, crowd.commands());
    const Ending listed = runKxinfo({"list"});
    EXPECT_THAT(serialsIn(listed.out), ElementsAre("X1000", "S1234")) << listed;
    camera.behave(nullptr);
}

TEST_F(OtherCameras, HideNone) {
    // Behind all the others in a list by address.
    const Camera last("127.0.0.200", "S2");
    std::deque<Camera> others;
    for (const size_t many : {8u, 64u}) {
        while (others.size() < many)
            others.emplace_back("127.0.0." + std::to_string(10 + others.size()),
                                "X" + std::to_string(others.size()));
        for (const std::vector<std::string> &command :
             {std::vector<std::string>{"probe", "S2"}, {"get", "S2", "Width"}}) {
            const Ending ending = runKxinfo(command);
            expectOrderly(ending);
            EXPECT_EQ(0, ending.status) << ending;
            EXPECT_THAT(ending.out, HasSubstr("1936"));
            EXPECT_FALSE(last.isControlled());
        }
    }
}

} // namespace
