// A camera that stops answering: what it costs, in seconds.

#include "support.h"

namespace {

using namespace std::chrono_literals;
using GenICam_3_0::TimeoutException;
using testing::Lt;

class Silence : public OpenedCamera {};

TEST_F(Silence, EndsTheFirstAccessSoonLaterOnesAndClosingAtOnce) {
    open(intReg("Width", "0x1000") + intReg("Height", "0x1004"));
    camera.beSilent();
    testing::internal::CaptureStderr();

    const Stopwatch first;
    EXPECT_EQ("Cannot read the camera's register 0x1000 for 'Width': it does not answer",
              raisedBy<TimeoutException>([&] { integer("Width").GetValue(); }));
    EXPECT_THAT(first.elapsed(), Lt(1500ms + kStall));

    camera.forget();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ("Cannot use the camera: it stopped answering earlier",
                  raisedBy<TimeoutException>([&] { integer("Height").SetValue(1); }));
    EXPECT_THAT(camera.received(), testing::IsEmpty());

    const Stopwatch closing;
    EXPECT_EQ(GEVLIB_OK, GevCloseCamera(&handle));
    EXPECT_THAT(closing.elapsed(), Lt(1500ms + kStall));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(Silence, StaysATimeoutWhenTheCameraAnswersAgain) {
    open(intReg("Width", "0x1000"));
    camera.beSilent();
    EXPECT_THROW(integer("Width").GetValue(), TimeoutException);
    camera.behave(nullptr);

    EXPECT_THROW(integer("Width").GetValue(), TimeoutException);
}

TEST_F(Silence, IsTheStatusOfAFeatureRead) {
    open(intReg("Width", "0x1000"));
    camera.beSilent();
    int32_t value = 7;

    EXPECT_EQ(GEVLIB_ERROR_TIME_OUT,
              GevGetFeatureValue(handle, "Width", nullptr, sizeof value, &value));

    EXPECT_EQ(7, value);
}

} // namespace
