// The camera object: its construction, and the place that both ranges of a property share. What all
// operations have in common is proved by the kind sweep.

#include "plug_in.h"

namespace {

class Object : public OpenedCamera {
protected:
    static int bitsOf(float value) {
        int bits;
        static_assert(sizeof bits == sizeof value);
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }
    static constexpr PropertyType kWidth = WIDTH_PROPERTY_TYPE;
};

TEST_F(Object, BeginsWithTheHandleAndItsNodeMapAndAsksForNothingElse) {
    {
        const CExCam object(framework.handle());
        EXPECT_EQ(framework.handle(), object.handle);
        EXPECT_EQ(nullptr, object.info);
        EXPECT_EQ("GevGetFeatureNodeMap()", happened());
        EXPECT_EQ(GevGetFeatureNodeMap(framework.handle()), object.nodeMap);
        happened();
    }
    EXPECT_EQ("", happened()); // nor at its end
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(nullptr, cam().nodeMap);
}

TEST_F(Object, EndsWithTwoReservedNumbersOfMinusOne) {
    alignas(CExCam) unsigned char place[sizeof(CExCam)] = {};
    auto *object = new (place) CExCam(framework.handle());
    EXPECT_EQ(16, std::count(place + sizeof place - 16, place + sizeof place, 0xFF));
    object->~CExCam();
}

TEST_F(Object, LooksFeaturesUpByTheCamerasOwnSpelling) {
    const char *const names[] = {"WidthMax",
                                 "HeightMax",
                                 "Width",
                                 "Height",
                                 "OffsetX",
                                 "OffsetY",
                                 "Gain",
                                 "ExposureTime",
                                 "gammaCorrection",
                                 "AcquisitionFrameRate",
                                 "autoBrightnessTarget",
                                 "exposureAutoMinValue",
                                 "exposureAutoMaxValue",
                                 "gainAutoMinValue",
                                 "gainAutoMaxValue",
                                 "ExposureAuto",
                                 "GainAuto",
                                 "ReverseX",
                                 "ReverseY",
                                 "balanceWhitePeriod",
                                 "BalanceRatio",
                                 "BalanceRatio",
                                 "UNSPECIFIED_PROPERTY_TYPE"};
    cam();
    for (int row = 0; row < 23; ++row) {
        EXPECT_EQ(-2, cam().ExPropertySetEna(static_cast<PropertyType>(row), true));
        EXPECT_EQ(std::string("@") + names[row], everything());
    }
}

TEST_F(Object, KeepsTheIncrementOfTheRangeThatWasReadLast) {
    for (const bool floatFirst : {true, false}) {
        CExCam &object = wrappedAnew();
        for (const bool readFloat : {floatFirst, !floatFirst}) {
            if (readFloat) {
                camera.floating("Width", 64.0).range(1.0, 8.0, 0.5);
                object.ExPropertyGetFloatRange(kWidth, nullptr, nullptr, nullptr);
            } else {
                camera.integer("Width", 64).range(16, 1920, 16);
                object.ExPropertyGetIntRange(kWidth, nullptr, nullptr, nullptr);
            }
        }
        forget();
        int ints[3];
        float floats[3];
        EXPECT_EQ(0, object.ExPropertyGetIntRange(kWidth, &ints[0], &ints[1], &ints[2]));
        EXPECT_EQ(0, object.ExPropertyGetFloatRange(kWidth, &floats[0], &floats[1], &floats[2]));
        EXPECT_THAT(ints, ElementsAre(16, 1920, floatFirst ? 16 : bitsOf(0.5f)));
        EXPECT_THAT(floats, ElementsAre(1.0f, 8.0f, testing::_));
        EXPECT_EQ(ints[2], bitsOf(floats[2]));
        EXPECT_EQ("", everything());
    }
}

TEST_F(Object, DeliversAFloatsIncrementWithTheFailureOfAnIntegerRange) {
    camera.floating("Width", 64.0).range(1.0, 8.0, 0.5);
    cam().ExPropertyGetFloatRange(kWidth, nullptr, nullptr, nullptr);
    int range[3] = {-1, -1, -1};
    EXPECT_EQ(-2, cam().ExPropertyGetIntRange(kWidth, &range[0], &range[1], &range[2]));
    EXPECT_THAT(range, ElementsAre(0, 0, bitsOf(0.5f)));
}

TEST_F(Object, KeepsRangesOfItsOwnForEachPropertyAndNoLongerThanItLives) {
    camera.integer("Width", 64).range(16, 1920, 16).integer("Height", 64).range(2, 1200, 2);
    int inc = 0;
    cam().ExPropertyGetIntRange(kWidth, nullptr, nullptr, nullptr);
    cam().ExPropertyGetIntRange(HEIGHT_PROPERTY_TYPE, nullptr, nullptr, nullptr);
    camera.feature("Width").range(0, 99, 3);
    cam().nodeMap = nullptr; // what is kept needs none
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(kWidth, nullptr, nullptr, &inc));
    EXPECT_EQ(16, inc);
    EXPECT_EQ(0, wrappedAnew().ExPropertyGetIntRange(kWidth, nullptr, nullptr, &inc));
    EXPECT_EQ(3, inc);
}

TEST_F(Object, LetsEveryKindOfErrorOutUnlogged) {
    camera.integer("Width", 64);
    cam();
    for (const Fault fault : scripted::kFaults) {
        camera.raiseAt(2, fault); // the access after the lookup
        EXPECT_ANY_THROW(cam().ExPropertySetInt(kWidth, 1)) << static_cast<int>(fault);
        EXPECT_EQ("@Width Width=1", everything());
    }
}

TEST_F(Object, LetsTheErrorOfAReferenceWithoutMapOut) {
    framework.nodeMap(NodeMap::WithoutMap);
    try {
        cam().ExPropertySetInt(kWidth, 1);
        ADD_FAILURE() << "nothing was raised";
    } catch (const GenICam_3_0::AccessException &error) {
        EXPECT_STREQ("Feature not present (reference not valid)", error.GetDescription());
    }
    EXPECT_EQ("", everything());
}

} // namespace
