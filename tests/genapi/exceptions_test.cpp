// What exceptions say; which of them a situation raises stands where the situation is tried.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenApi_3_0::CNodeMapRef;
using testing::HasSubstr;
using testing::Not;

TEST(Exceptions, OfAReferenceWithoutMapSayThatTheFeatureIsNotPresent) {
    try {
        CNodeMapRef()._GetNode("Width");
        FAIL() << "nothing was raised";
    } catch (const GenICam_3_0::AccessException &error) {
        EXPECT_STREQ("Feature not present (reference not valid)", error.GetDescription());
    }
}

TEST(Exceptions, HaveNothingInTheirReasonThatActsOnATerminal) {
    const GenICam_3_0::RuntimeException error("a\nb\x1b[2J\u202e", "", 1, "RuntimeException");
    EXPECT_STREQ("a?b?[2J???", error.GetDescription());
}

TEST(Exceptions, SayWhatHappenedAloneAndWhereWithIt) {
    Camera camera("Integer Ranged Value=10 Min=10 Max=20 Inc=5");
    try {
        camera.integer("Ranged").SetValue(12);
        FAIL() << "nothing was raised";
    } catch (const GenICam_3_0::GenericException &error) {
        EXPECT_THAT(error.GetDescription(), Not(HasSubstr("OutOfRangeException")));
        EXPECT_THAT(error.GetDescription(), Not(HasSubstr(error.GetSourceFileName())));
        EXPECT_THAT(error.what(), HasSubstr(error.GetDescription()));
        EXPECT_THAT(error.what(), HasSubstr("OutOfRangeException"));
        EXPECT_THAT(error.what(), HasSubstr("Ranged"));
        EXPECT_THAT(error.what(), HasSubstr(error.GetSourceFileName()));
    }
}

} // namespace
