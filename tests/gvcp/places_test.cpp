// Where a channel leads: interfaces, networks, and addresses that are in none.

#include "support.h"

#include <cstdlib>

#include "gvcp/network.h"

namespace {

using namespace gvcp;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Lt;

// Network interfaces that are there for one test. Nothing that goes out of eth0 is answered.
class Places : public testing::Test {
protected:
    static void ip(const std::string &what) { ASSERT_EQ(0, system(("ip " + what).c_str())); }

    static void addInterface(const std::string &address = "192.168.0.2/24") {
        ip("link add eth0 type veth peer name wire0");
        ip("address add " + address + " dev eth0");
        ip("link set wire0 up");
        ip("link set eth0 up");
        added = true;
    }

    ~Places() override {
        if (std::exchange(added, false))
            ip("link delete eth0");
    }

    static std::string open(const Place &place) {
        return problemOf([&] { Channel(place, Access::Monitor, quick()); });
    }

    static inline bool added = false;
};

TEST_F(Places, AreReachedFromTheAddressThatIsToldAndOverNoGateway) {
    Device device("127.0.0.2");

    EXPECT_EQ("no problem", open({addressOf("127.0.0.2"), addressOf("127.0.0.5"), true}));

    EXPECT_EQ("127.0.0.5", dotted(ntohl(device.received().front().from.sin_addr.s_addr)));
}

TEST_F(Places, InNoNetworkAreUnreachableAtOnceAndTheNetworksThatThereAreTold) {
    const std::string outside =
        "Unreachable: its address 10.1.2.3 is in no network of this computer ";
    const Stopwatch stopwatch;
    EXPECT_EQ(outside + "(no network interface has an address)", open({addressOf("10.1.2.3")}));

    addInterface();
    EXPECT_EQ(outside + "(eth0 has 192.168.0.2/24)", open({addressOf("10.1.2.3")}));

    EXPECT_THAT(stopwatch.elapsed(), Lt(kStall));
}

TEST_F(Places, OnALinkAreNotLookedForBehindAGateway) {
    addInterface();
    ip("route add default via 192.168.0.1");
    const Place onLink{addressOf("169.254.3.4"), addressOf("192.168.0.2"), true};
    const Stopwatch stopwatch;

    EXPECT_EQ("Unreachable: its address 169.254.3.4 is in no network of this computer (eth0 has "
              "192.168.0.2/24)",
              open(onLink));

    EXPECT_THAT(stopwatch.elapsed(), Lt(kStall));
    const Place anywhere{onLink.camera, onLink.host};
    EXPECT_EQ("Silent: it does not answer", open(anywhere));
}

TEST_F(Places, OnALinkAreReachedByARouteToIt) {
    addInterface();
    ip("route add 169.254.0.0/16 dev eth0");

    EXPECT_EQ("Silent: it does not answer",
              open({addressOf("169.254.3.4"), addressOf("192.168.0.2"), true}));
}

TEST_F(Places, AreUnreachableFromAnAddressThatThisComputerHasNot) {
    EXPECT_EQ("Unreachable: this computer has no way to 127.0.0.2 (Cannot assign requested "
              "address)",
              open({addressOf("127.0.0.2"), addressOf("192.168.0.2")}));
}

TEST_F(Places, WhereNobodyListensAreToldAtOnceAndFromThenOn) {
    const Stopwatch stopwatch;
    EXPECT_EQ("Unreachable: nobody listens at 127.0.0.9, port 3956",
              open({addressOf("127.0.0.9")}));
    EXPECT_THAT(stopwatch.elapsed(), Lt(kStall));

    std::optional<Device> device(std::in_place, "127.0.0.2");
    Channel channel({addressOf("127.0.0.2")}, Access::Monitor);
    device.reset();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ("Unreachable: nobody listens at 127.0.0.2, port 3956",
                  problemOf([&] { channel.readRegisters({0x1000}); }));
}

TEST(Networks, OfACameraAreTheOnesThatThisComputerIsIn) {
    EXPECT_EQ("", whyOutside(addressOf("127.255.255.254")));
    EXPECT_EQ("its address 128.0.0.1 is in no network of this computer (no network interface has "
              "an address)",
              whyOutside(addressOf("128.0.0.1")));
}

TEST_F(Places, NamesOnlyTheFirstNetworksOfMany) {
    addInterface("10.0.1.2/24");
    for (const char *address : {"10.0.2.2/25", "10.0.3.2/16", "10.0.4.2/31"})
        ip("address add " + std::string(address) + " dev eth0");
    const std::string four = "its address 192.168.0.1 is in no network of this computer (eth0 has "
                             "10.0.1.2/24, eth0 has 10.0.2.2/25, eth0 has 10.0.3.2/16, eth0 has "
                             "10.0.4.2/31";
    EXPECT_EQ(four + ")", whyOutside(addressOf("192.168.0.1")));

    ip("address add 10.0.5.2/24 dev eth0");

    EXPECT_EQ(four + ", …)", whyOutside(addressOf("192.168.0.1")));
}

TEST_F(Places, AreListedWithTheInterfacesThatAreUp) {
    addInterface();
    const auto find = [] {
        std::vector<std::string> found;
        for (const Interface &each : interfacesUp())
            found.push_back(each.name + " " + dotted(each.address) + " " + dotted(each.mask));
        return found;
    };
    EXPECT_THAT(find(), ElementsAre("lo 127.0.0.1 255.0.0.0", "eth0 192.168.0.2 255.255.255.0"));

    ip("link set eth0 down");

    EXPECT_THAT(find(), ElementsAre("lo 127.0.0.1 255.0.0.0"));
}

} // namespace
