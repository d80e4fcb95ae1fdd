// Integer features: reading, writing, ranges. Examples, in numbers; the kind sweep proves the rest,
// as it does what the brightness target needs of the camera.

#include "plug_in.h"

namespace {

class IntegerFeature : public OpenedCamera {
protected:
    int value = -12345;
    int range[3] = {-12345, -12345, -12345};
    int ranged(PropertyType type) {
        return cam().ExPropertyGetIntRange(type, &range[0], &range[1], &range[2]);
    }
};

TEST_F(IntegerFeature, IsReadAsItsLow32BitsWithoutALogLine) {
    const std::pair<int64_t, int> cases[] = {{8, 8},
                                             {-5, -5},
                                             {4294967296, 0},
                                             {4294967295, -1},
                                             {4294967303, 7},
                                             {-4294967297, -1},
                                             {2147483648, std::numeric_limits<int>::min()},
                                             {std::numeric_limits<int64_t>::max(), -1},
                                             {std::numeric_limits<int64_t>::min(), 0}};
    for (const auto &[held, delivered] : cases) {
        camera.integer("Width", held);
        EXPECT_EQ(0, cam().ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &value));
        EXPECT_EQ(delivered, value) << held;
        EXPECT_EQ("Width?", happened());
    }
}

TEST_F(IntegerFeature, IsWrittenWithItsSignAndVerifiedAndThenLogged) {
    camera.integer("WidthMax", 64).range(-1000, 1920);
    EXPECT_EQ(0, cam().ExPropertySetInt(WIDTH_MAX_PROPERTY_TYPE, 640));
    EXPECT_EQ("@WidthMax WidthMax=640 [d|ExPropertySetInt 0 640]", everything());
    EXPECT_EQ(0, cam().ExPropertySetInt(static_cast<PropertyType>(23), -1));
    EXPECT_EQ("@WidthMax WidthMax=-1 [d|ExPropertySetInt 0 -1]", everything());
    EXPECT_EQ("-1", camera.value("WidthMax"));
    EXPECT_THROW(cam().ExPropertySetInt(WIDTH_MAX_PROPERTY_TYPE, 1921),
                 GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("WidthMax=1921", happened());
}

TEST_F(IntegerFeature, HasItsRangeReadOnceAsLow32Bits) {
    camera.integer("Width", 0)
        .range(int64_t{-4294967297}, int64_t{4294967303}, int64_t{4294967298});
    EXPECT_EQ(0, ranged(WIDTH_PROPERTY_TYPE));
    EXPECT_THAT(range, ElementsAre(-1, 7, 2));
    EXPECT_EQ("@Width Width.min Width.max Width.inc [d|ExPropertyGetIntRange 2 -1 7 2]",
              everything());
    camera.range(0, 1, 1);
    EXPECT_EQ(0, ranged(WIDTH_PROPERTY_TYPE));
    EXPECT_THAT(range, ElementsAre(-1, 7, 2));
    EXPECT_EQ("", everything());
}

TEST_F(IntegerFeature, HasZerosForARangeThatItLacksButNothingWithoutANodeMap) {
    EXPECT_EQ(-2, ranged(WIDTH_PROPERTY_TYPE));
    EXPECT_THAT(range, ElementsAre(0, 0, 0));
    EXPECT_EQ("", happened());
    cam().nodeMap = nullptr;
    range[0] = range[1] = range[2] = 9;
    EXPECT_EQ(-1, ranged(static_cast<PropertyType>(25))); // named as it was passed
    EXPECT_THAT(range, ElementsAre(9, 9, 9));
    EXPECT_EQ("[w|ExPropertyGetIntRange 25]", happened());
}

} // namespace
