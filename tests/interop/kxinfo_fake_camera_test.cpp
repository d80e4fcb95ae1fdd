// kxinfo, plug-in and open platform with a camera that is not ours: Debian's
// arv-fake-gv-camera-0.8.

#include "wire.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace {

using testing::HasSubstr;

class FakeCamera : public Wire {
protected:
    // At 127.0.0.1, before all others. It says nothing when it is ready, so it is asked.
    FakeCamera() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (list().out.find("Aravis") == std::string::npos)
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "arv-fake-gv-camera-0.8 does not answer";
                break;
            }
    }

    static Result list() { return kxinfo({"list"}); }

    const Process fake{ARV_FAKE_CAMERA, {"--interface", "127.0.0.1"}};
};

TEST_F(FakeCamera, IsListedAsFreeAndAsNoDalsaCamera) {
    const Result result = list();

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out,
                HasSubstr("\nGV01    Fake   Aravis  127.0.0.1  free   no: another maker"));
    EXPECT_THAT(result.err, HasSubstr("no Dalsa camera answered, but cameras of other makers did"));
}

TEST_F(FakeCamera, IsOpenedAsTheFirstCameraWhenADalsaOneIsThere) {
    const Simcam dalsa({"--camera", "S1@127.0.0.2"});

    const Result result = probeWithLog("");

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: Using device Model:Fake Serial:GV01\n"));
    // What it has in common with the cameras that the plug-in is for.
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: ROI Width x Height  : 512 x 512\n"));
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: PixelFormat         : 0x01080001\n"));
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: scenario is completed (rc = 0)\n"));
    EXPECT_THAT(result.out, HasSubstr("\nOutput line "));
}

} // namespace
