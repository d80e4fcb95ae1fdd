// A camera that stops answering: what it costs, in seconds.

#include "support.h"

namespace {

using namespace std::chrono_literals;
using GenICam_3_0::TimeoutException;
using testing::Lt;

class Silence : public OpenedCamera {};

TEST_F(Silence, EndsTheFirstAccessSoonLaterOnesAndClosingAtOnce) {
    open(intReg("Width", "0x1000") + intReg("Height", "0x1004"));
    camera.setSilent(true);
    testing::internal::CaptureStderr();

    Stopwatch first;
    EXPECT_EQ("Cannot read the camera's register 0x1000 for 'Width': it does not answer",
              raisedBy<TimeoutException>([&] { integer("Width").GetValue(); }));
    const auto firstTook = first.elapsed();
    EXPECT_THAT(firstTook, Lt(2s));

    Stopwatch later;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ("Cannot use the camera: it stopped answering earlier",
                  raisedBy<TimeoutException>([&] { integer("Height").SetValue(1); }));
    EXPECT_THAT(later.elapsed(), Lt(100ms));

    Stopwatch closing;
    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));
    const auto closingTook = closing.elapsed();
    EXPECT_THAT(closingTook, Lt(2s));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    RecordProperty("first_access_ms", static_cast<int>(firstTook.count()));
    RecordProperty("closing_ms", static_cast<int>(closingTook.count()));
}

TEST_F(Silence, StaysATimeoutWhenTheCameraAnswersAgain) {
    open(intReg("Width", "0x1000"));
    camera.fallSilentAt(0x1000);
    EXPECT_THROW(integer("Width").GetValue(), TimeoutException);
    camera.setSilent(false);

    EXPECT_THROW(integer("Width").GetValue(), TimeoutException);
}

TEST_F(Silence, IsTheStatusOfAFeatureRead) {
    open(intReg("Width", "0x1000"));
    camera.fallSilentAt(0x1000);
    int32_t value = 7;

    EXPECT_EQ(GEVLIB_ERROR_TIME_OUT,
              GevGetFeatureValue(handle, "Width", nullptr, sizeof value, &value));

    EXPECT_EQ(7, value);
}

} // namespace
