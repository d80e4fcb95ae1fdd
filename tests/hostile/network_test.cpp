// Who answers a search that should not, and cameras that are out of reach.

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <thread>

#include "hostile.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// The serial numbers that kxinfo lists.
std::vector<std::string> serialsIn(const std::string &listing) {
    const std::string mark = "DeviceSerial     : ";
    std::vector<std::string> serials;
    for (size_t at = listing.find(mark); at != listing.npos; at = listing.find(mark, at + 1)) {
        const size_t begin = at + mark.size();
        serials.push_back(listing.substr(begin, listing.find('\n', begin) - begin));
    }
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
    static constexpr uint32_t kLoopback = 0x7f000000;

    void expectToFindTheCamera() {
        EXPECT_THAT(probed(), HasSubstr("\"serial\": \"S1234\""));
        const Ending ending = kxinfo({"get", "S1234", "Width"});
        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_THAT(ending.out, HasSubstr("Camera S1234 (C1936)\n"));
    }
};

TEST_F(OtherCameras, ThatClaimAnAddressOfAnotherHaveNothingSentThere) {
    Device uninvolved("127.0.0.9", {"X", 0});
    uninvolved.onCommand([](const Command &, const Device::Answer &) {
        return std::vector<Bytes>{}; // it is no camera
    });
    const Device liar("127.0.0.5", {"S1234", kLoopback | 9});

    expectToFindTheCamera();

    EXPECT_EQ(0u, uninvolved.received().size());
    EXPECT_EQ(0u, liar.received().size());
}

TEST_F(OtherCameras, FiveThousandFromOneSenderCountAsOneAndHideNone) {
    constexpr uint32_t kMany = 5000;
    std::atomic<int> floods{0};
    Device crowd("127.0.0.1", {"X", 0}); // which is listed in front of the camera
    crowd.onCommand([&](const Command &command, const Device::Answer &answer) {
        constexpr size_t kHeader = 8;
        Bytes packet = answer();
        for (uint32_t i = 0; i < kMany; ++i) {
            for (const size_t number :
                 {size_t{0x0c}, size_t{0xd9}}) { // the MAC address, and the serial number
                for (size_t digit = 0; digit < 4; ++digit)
                    packet[kHeader + number + digit] =
                        static_cast<char>('0' + (i >> 3 * digit) % 8);
            }
            crowd.send(command.from, {packet});
        }
        ++floods;
        return std::vector<Bytes>{};
    });
    // The camera is not faster, nor lost where there is no room left.
    camera.onCommand(
        [&, searches = 0](const Command &command, const Device::Answer &answer) mutable {
            searches += command.code == kDiscovery;
            while (floods < searches || waitingAt(ntohs(command.from.sin_port)) > 0)
                std::this_thread::yield();
            return std::vector<Bytes>{answer()};
        });

    expectToFindTheCamera();
    const Ending listed = Child({"list"}).wait();
    EXPECT_THAT(serialsIn(listed.out), ElementsAre("X0000", "S1234")) << listed;
    EXPECT_EQ(0, crowd.commands());
    camera.onCommand({});
}

class SomeOtherCameras : public OtherCameras, public testing::WithParamInterface<int> {};

TEST_P(SomeOtherCameras, HideNone) {
    std::deque<Device> others;
    for (int i = 0; i < GetParam(); ++i)
        others.emplace_back("127.0.0." + std::to_string(10 + i),
                            Device::Identity{"X" + std::to_string(i), 0});
    // Behind all the others in a list by address.
    Device last("127.0.0.200", {"S2", 0});

    for (const std::vector<std::string> &command :
         {std::vector<std::string>{"probe", "S2"}, {"get", "S2", "Width"}}) {
        const Ending ending = Child(command).wait();
        expectOrderly(ending);
        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_THAT(ending.out, HasSubstr("1936"));
        EXPECT_FALSE(last.isControlled());
    }
}

INSTANTIATE_TEST_SUITE_P(AsMany, SomeOtherCameras, testing::Values(8, 64),
                         testing::PrintToStringParamName());

// A second network namespace, with a camera at 169.254.3.4 in it, and a cable from there to this
// one, whose end here has 192.168.0.2/24.
class BehindACable : public testing::Test {
protected:
    void SetUp() override {
        const int here = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(0, unshare(CLONE_NEWNET));
        const std::string there = "ip link set lo up && ip link add there type veth peer name here "
                                  "netns " +
                                  std::to_string(getppid()) +
                                  " && ip address add 169.254.3.4/16 dev there && "
                                  "ip link set there up && ip route add 192.168.0.0/24 dev there";
        ASSERT_EQ(0, system(there.c_str()));
        camera_ = std::make_unique<Device>("169.254.3.4");
        ASSERT_EQ(0, setns(here, CLONE_NEWNET));
        close(here);
        ASSERT_EQ(0, system("ip address add 192.168.0.2/24 dev here && ip link set here up"));
        // Some systems let nothing in that they would not know a way back to. Not all let that be
        // changed here.
        for (const char *name : {"all", "here"})
            std::ofstream("/proc/sys/net/ipv4/conf/" + std::string(name) + "/rp_filter") << 0;
    }

    std::unique_ptr<Device> camera_;
};

TEST_F(BehindACable, ACameraInAnotherNetworkIsListedAndNamedWithBothAddresses) {
    const Ending listed = Child({"list"}).wait();
    expectOrderly(listed);
    EXPECT_THAT(serialsIn(listed.out), ElementsAre("S1234")) << listed;

    const Ending ending = Child({"get", "S1234", "Width"}).wait();

    expectOrderly(ending);
    EXPECT_GT(ending.status, 0) << ending;
    EXPECT_THAT(ending.err, HasSubstr("its address 169.254.3.4 is in no network of this computer "
                                      "(here has 192.168.0.2/24)"));
    EXPECT_LT(ending.took, std::chrono::seconds(4)) << ending;
    EXPECT_EQ(0, camera_->commands());
}

} // namespace
