// Several hosts on one network at the same time, each a process of its own.

#include "wire.h"

#include <csignal>

namespace {

using testing::HasSubstr;

// A host that has opened its camera and waits before it reads anything.
class HeldHost : public Process {
public:
    explicit HeldHost(const std::string &serial) : Process(HELD_HOST, {KXINFO_PLUGIN, serial}) {
        EXPECT_EQ("open", nextLine());
    }

    // Lets it probe its camera to the end.
    End goOn() {
        signal(SIGUSR1);
        return wait();
    }
};

const std::string kAllPublished = "3 4 5 6 0 2 18 19 1 11 13 14 16 17 21 exported\n";

class Hosts : public Wire {
protected:
    static Result resultOf(Process &process) {
        const Process::End end = process.wait();
        return {end.status, end.output, end.errors};
    }

    const Simcam cameras{{"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"}};
};

TEST_F(Hosts, ProbeTwoCamerasAtOnceAsIfEachWereAlone) {
    const Result first = kxinfoHost({"S1"});
    const Result second = kxinfoHost({"S2"});
    ASSERT_EQ(0, first.status);
    ASSERT_THAT(first.out, HasSubstr("\nOutput line                     None  one of None, "));

    Process one(KXINFO_HOST, {"S1"});
    Process other(KXINFO_HOST, {"S2"});
    EXPECT_EQ(first, resultOf(one));
    EXPECT_EQ(second, resultOf(other));
}

TEST_F(Hosts, ProbeACameraWhileAnotherHostHasAnotherOneOpen) {
    const Result alone = kxinfoHost({"S2"});
    ASSERT_EQ(0, alone.status);

    HeldHost holder("S1");
    EXPECT_EQ(alone, kxinfoHost({"S2"}));
    const Process::End end = holder.goOn();
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(kAllPublished, end.output);
    EXPECT_EQ("", end.errors);
}

TEST_F(Hosts, CannotProbeACameraThatAnotherHostHasOpenAndDoNotDisturbIt) {
    HeldHost holder("S1");

    const Result refused = probeWithLog("S1");
    EXPECT_EQ(1, refused.status);
    EXPECT_EQ("[CIPROC:d]: init Dalsa staff\n"
              "[CIPROC:d]: 0. Vendor \"Dalsa\", Model \"C1936\", Serial \"S1\"\n"
              "[CIPROC:d]: Check configured Serial \"S1\" with \"S1\" (result 0)\n"
              "[CIPROC:w]: Can't connect to device with SerialID \"S1\"\n"
              "[CIPROC:d]: Loop completed (exitCode = 1)\n",
              refused.out);

    const Process::End end = holder.goOn();
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(kAllPublished, end.output);
    EXPECT_EQ("", end.errors);

    EXPECT_EQ(0, kxinfoHost({"S1"}).status) << "the camera was not given back";
}

TEST_F(Hosts, ListACameraThatAnotherHostHasOpen) {
    HeldHost holder("S1");
    EXPECT_EQ((Result{0,
                      "Printing all Dalsa devices information found:\n" + listed(0, "S1") +
                          listed(1, "S2"),
                      ""}),
              kxinfoHost({}));
    EXPECT_EQ(0, holder.goOn().status);
}

} // namespace
