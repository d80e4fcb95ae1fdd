// The camera object: its construction, the property table and what all its operations share.

#include "plug_in.h"

#include <cstring>

namespace {

using FeatureAccess = OpenedCamera;

TEST_F(FeatureAccess, BeginsWithTheHandleAndItsNodeMap) {
    const CExCam object(framework.handle());
    EXPECT_EQ(framework.handle(), object.handle);
    EXPECT_EQ(GevGetFeatureNodeMap(framework.handle()), object.nodeMap);
}

TEST_F(FeatureAccess, AsksTheFrameworkForTheNodeMapOnceAndTheCameraForNothing) {
    { const CExCam object(framework.handle()); }
    EXPECT_THAT(trace(), ElementsAre(getFeatureNodeMap()));
}

TEST_F(FeatureAccess, MayBeginWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(nullptr, cam().nodeMap);
}

TEST_F(FeatureAccess, LooksFeaturesUpByTheCamerasOwnSpelling) {
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
    for (int row = 0; row < 23; ++row) {
        cam();
        forget();
        EXPECT_EQ(-2, cam().ExPropertySetFloat(static_cast<PropertyType>(row), 1.0f));
        ASSERT_FALSE(trace().empty());
        EXPECT_EQ(lookup(names[row]), trace().back());
    }
}

// The six operations that take a property, called alike.
struct Operation {
    const char *name;
    int (*run)(CExCam &cam, int property);
    bool isFloat;
    bool isRange;
};

int asInt = 0;
float asFloat = 0;

const Operation kOperations[] = {
    {"ExPropertyGetInt",
     [](CExCam &cam, int property) {
         return cam.ExPropertyGetInt(static_cast<PropertyType>(property), &asInt);
     },
     false, false},
    {"ExPropertySetInt",
     [](CExCam &cam, int property) {
         return cam.ExPropertySetInt(static_cast<PropertyType>(property), 2);
     },
     false, false},
    {"ExPropertyGetIntRange",
     [](CExCam &cam, int property) {
         return cam.ExPropertyGetIntRange(static_cast<PropertyType>(property), nullptr, &asInt,
                                          nullptr);
     },
     false, true},
    {"ExPropertyGetFloat",
     [](CExCam &cam, int property) {
         return cam.ExPropertyGetFloat(static_cast<PropertyType>(property), &asFloat);
     },
     true, false},
    {"ExPropertySetFloat",
     [](CExCam &cam, int property) {
         return cam.ExPropertySetFloat(static_cast<PropertyType>(property), 2.0f);
     },
     true, false},
    {"ExPropertyGetFloatRange",
     [](CExCam &cam, int property) {
         return cam.ExPropertyGetFloatRange(static_cast<PropertyType>(property), nullptr, &asFloat,
                                            nullptr);
     },
     true, true},
};

class PropertyOperation : public OpenedCamera, public testing::WithParamInterface<Operation> {
protected:
    int run(int property) { return GetParam().run(cam(), property); }
    void describe(const char *name) {
        if (GetParam().isFloat)
            camera.floating(name, 3.0);
        else
            camera.integer(name, 3);
    }
};

TEST_P(PropertyOperation, WarnsOncePerCallWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const Logged warning =
        lines({features.warning(GetParam().name, "can't get property info 2 (Width)\n")});
    for (int i = 0; i < 2; ++i) {
        int result = 0;
        EXPECT_EQ(warning, logOf([&] { result = run(WIDTH_PROPERTY_TYPE); }));
        EXPECT_EQ(-1, result);
    }
    EXPECT_THAT(trace(), testing::Each(testing::Field(&Event::op, Op::Log)));
}

TEST_P(PropertyOperation, WarnsFromLevelTwo) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({features.warning(GetParam().name, "can't get property info 2 (Width)\n")}),
              logOf([&] { run(WIDTH_PROPERTY_TYPE); }, 2));
    EXPECT_EQ(silence, logOf([&] { run(WIDTH_PROPERTY_TYPE); }, 1));
}

// Reading and writing name the row, a range the property as it was passed.
TEST_P(PropertyOperation, WarnsWithTheNumberOfAPropertyBeyondTheTable) {
    framework.nodeMap(NodeMap::None);
    const std::string number = GetParam().isRange ? "27" : "4";
    EXPECT_EQ(lines({features.warning(GetParam().name,
                                      "can't get property info " + number + " (OffsetX)\n")}),
              logOf([&] { run(23 + OFFSET_X_PROPERTY_TYPE); }));
}

TEST_P(PropertyOperation, FindsNoUnspecifiedFeatureAndLogsNothing) {
    describeWholeCamera(camera);
    cam();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, run(UNSPECIFIED_PROPERTY_TYPE)); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_P(PropertyOperation, TakesTheRowAfterTheLastForTheFirst) {
    describe("WidthMax");
    cam();
    EXPECT_EQ(0, run(23));
    const std::vector<Event> beyond = trace();
    EXPECT_EQ(lookup("WidthMax"), beyond.front());

    wrapAnew();
    cam();
    EXPECT_EQ(0, run(WIDTH_MAX_PROPERTY_TYPE));
    EXPECT_EQ(beyond, trace());
}

TEST_P(PropertyOperation, FindsNothingForANegativeRemainder) {
    describeWholeCamera(camera);
    cam();
    for (const int property : {-1, -17, -22, -24, -1000}) {
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, run(property)); }));
        EXPECT_THAT(camera.accesses(), IsEmpty());
    }
}

TEST_P(PropertyOperation, FindsNothingWhereTheCameraLacksTheFeature) {
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, run(WIDTH_PROPERTY_TYPE)); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_P(PropertyOperation, FindsNothingInANodeOfAnotherKind) {
    const auto expectNothing = [this](const char *kind) {
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, run(WIDTH_PROPERTY_TYPE)) << kind; }));
        EXPECT_THAT(camera.accesses(), IsEmpty()) << kind;
    };
    if (GetParam().isFloat)
        camera.integer("Width", 1);
    else
        camera.floating("Width", 1.0);
    expectNothing("the other number");
    camera.boolean("Width", true);
    expectNothing("boolean");
    camera.enumeration("Width", "Wide", {"Wide"});
    expectNothing("enumeration");
    camera.command("Width");
    expectNothing("command");
}

TEST_P(PropertyOperation, LetsTheErrorOfANodeThatCannotBeUsedOut) {
    describe("Width");
    camera.access(GenApi_3_0::NA);
    cam();
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_THROW(run(WIDTH_PROPERTY_TYPE), GenICam_3_0::AccessException); }));
}

TEST_P(PropertyOperation, LetsTheErrorOfAReferenceWithoutMapOut) {
    framework.nodeMap(NodeMap::WithoutMap);
    cam();
    EXPECT_EQ(silence, logOf([&] {
                  try {
                      run(WIDTH_PROPERTY_TYPE);
                      ADD_FAILURE() << "nothing was raised";
                  } catch (const GenICam_3_0::AccessException &error) {
                      EXPECT_STREQ("Feature not present (reference not valid)",
                                   error.GetDescription());
                  }
              }));
}

TEST_P(PropertyOperation, LetsEveryKindOfErrorOut) {
    for (const Fault fault : scripted::kFaults) {
        describe("Width");
        cam();
        forget();
        camera.raiseAt(2, fault); // the access after the lookup
        EXPECT_ANY_THROW(run(WIDTH_PROPERTY_TYPE)) << static_cast<int>(fault);
        EXPECT_EQ(2u, camera.accessCount());
    }
}

INSTANTIATE_TEST_SUITE_P(All, PropertyOperation, testing::ValuesIn(kOperations),
                         [](const auto &each) { return each.param.name; });

// One place holds the increment of both ranges.

class Increment : public OpenedCamera {
protected:
    static int bitsOf(float value) {
        int bits;
        static_assert(sizeof bits == sizeof value);
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }
};

TEST_F(Increment, IsTheFloatRangesAfterAFloatRangeRead) {
    camera.integer("Width", 64).range(16, 1920, 16);
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    camera.floating("Width", 64.0).range(1.0, 8.0, 0.5);
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    forget();

    int min = 0;
    int max = 0;
    int inc = 0;
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &min, &max, &inc));
    EXPECT_EQ(16, min);
    EXPECT_EQ(1920, max);
    EXPECT_EQ(bitsOf(0.5f), inc);
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(Increment, IsTheIntegerRangesAfterAnIntegerRangeRead) {
    camera.floating("Width", 64.0).range(1.0, 8.0, 0.5);
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    camera.integer("Width", 64).range(16, 1920, 16);
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    forget();

    float min = 0;
    float max = 0;
    float inc = 0;
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(WIDTH_PROPERTY_TYPE, &min, &max, &inc));
    EXPECT_EQ(1.0f, min);
    EXPECT_EQ(8.0f, max);
    EXPECT_EQ(16, bitsOf(inc));
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(Increment, OfAFloatRangeIsDeliveredWithTheFailureOfAnIntegerRangeRead) {
    camera.floating("ExposureTime", 64.0).range(1.0, 8.0, 0.5);
    EXPECT_EQ(
        0, cam().ExPropertyGetFloatRange(EXPOSURE_TIME_PROPERTY_TYPE, nullptr, nullptr, nullptr));

    int min = -1;
    int max = -1;
    int inc = -1;
    EXPECT_EQ(-2, cam().ExPropertyGetIntRange(EXPOSURE_TIME_PROPERTY_TYPE, &min, &max, &inc));
    EXPECT_EQ(0, min);
    EXPECT_EQ(0, max);
    EXPECT_EQ(bitsOf(0.5f), inc);
}

TEST_F(Increment, IsKeptApartFromOtherProperties) {
    camera.integer("Width", 64).range(16, 1920, 16).integer("Height", 64).range(2, 1200, 2);
    int inc = 0;
    cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr);
    cam().ExPropertyGetIntRange(HEIGHT_PROPERTY_TYPE, nullptr, nullptr, nullptr);
    cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, &inc);
    EXPECT_EQ(16, inc);
}

} // namespace
