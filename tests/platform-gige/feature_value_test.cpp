// Plain reads of features, without a node map in between.

#include "support.h"

namespace {

class FeatureValue : public OpenedCamera {
protected:
    void SetUp() override {
        open(intReg("Reg", "0x1000") + intReg("Closed", "0x1004", "", "WO") +
             "<FloatReg Name=\"Float\">" + atAddress("0x1008") +
             "<Endianess>BigEndian</Endianess></FloatReg>" + "<Integer Name=\"Width\">" +
             "<pValue>Reg</pValue></Integer>" +
             "<Boolean Name=\"Flag\"><pValue>Reg</pValue><OnValue>5</OnValue></Boolean>" +
             "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Five\"><Value>5</Value></EnumEntry>" +
             "<pValue>Reg</pValue></Enumeration>" + "<StringReg Name=\"Text\">" +
             atAddress("0x1010", "", "RW", "8") + "</StringReg>" + "<IntReg Name=\"Long\">" +
             atAddress("0x1020", "", "RW", "8") +
             "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>");
        camera.set(0x1000, 5);
        camera.set(0x1008, 0x3fc00000);
        camera.setText(0x1010, "seven77", 8);
        camera.set(0x1020, 0x01020304);
        camera.set(0x1024, 0x05060708);
    }

    template <class T>
    GEV_STATUS get(const char *feature, T &value) {
        return GevGetFeatureValue(handle, feature, &type, sizeof value, &value);
    }

    int type = -1;
};

TEST_F(FeatureValue, OfAnIntegerIsCutToTheRoomThereIs) {
    int64_t wide = -1;
    EXPECT_EQ(GEVLIB_OK, get("Long", wide));
    EXPECT_EQ(0x0102030405060708, wide);
    EXPECT_EQ(GevIntegerFeature, type);
    int32_t word = -1;
    EXPECT_EQ(GEVLIB_OK, get("Long", word));
    EXPECT_EQ(0x05060708, word);
    uint8_t byte = 0;
    EXPECT_EQ(GEVLIB_OK, get("Long", byte));
    EXPECT_EQ(8, byte);
}

TEST_F(FeatureValue, LeavesTheBytesBeyondItAlone) {
    uint8_t room[6] = {9, 9, 9, 9, 9, 9};

    EXPECT_EQ(GEVLIB_OK, GevGetFeatureValue(handle, "Width", nullptr, 4, room));

    EXPECT_THAT(room, testing::ElementsAre(5, 0, 0, 0, 9, 9));
}

TEST_F(FeatureValue, OfAnEnumerationIsItsEntrysValueOfABooleanZeroOrOne) {
    int32_t value = -1;
    EXPECT_EQ(GEVLIB_OK, get("Mode", value));
    EXPECT_EQ(5, value);
    EXPECT_EQ(GevEnumerationFeature, type);
    EXPECT_EQ(GEVLIB_OK, get("Flag", value));
    EXPECT_EQ(1, value);
    EXPECT_EQ(GevBooleanFeature, type);
}

TEST_F(FeatureValue, OfAFloatIsAFloatOrADouble) {
    float narrow = 0;
    EXPECT_EQ(GEVLIB_OK, get("Float", narrow));
    EXPECT_EQ(1.5f, narrow);
    double wide = 0;
    EXPECT_EQ(GEVLIB_OK, get("Float", wide));
    EXPECT_EQ(1.5, wide);
    EXPECT_EQ(GevFloatFeature, type);
    uint16_t neither = 7;
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, get("Float", neither));
    EXPECT_EQ(7, neither);
}

TEST_F(FeatureValue, OfATextNeedsRoomForItsEnd) {
    char value[8] = "";
    EXPECT_EQ(GEVLIB_OK, get("Text", value));
    EXPECT_STREQ("seven77", value);
    EXPECT_EQ(GevStringFeature, type);
    char tooShort[7] = "before";
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, get("Text", tooShort));
    EXPECT_STREQ("before", tooShort);
}

TEST_F(FeatureValue, IsUntouchedOnError) {
    int32_t value = 7;

    EXPECT_EQ(GEVLIB_ERROR_PARAMETER_NOT_FOUND, get("Nothing", value));
    EXPECT_EQ(GEVLIB_ERROR_NOT_SUPPORTED, get("Root", value));
    EXPECT_EQ(GEVLIB_ERROR_NOT_SUPPORTED, get("Closed", value));
    camera.refuse([](const Received &command) { return command.reads(0x1000); },
                  peer::InvalidAddress);
    EXPECT_EQ(GEVLIB_ERROR_GENERIC, get("Width", value));

    EXPECT_EQ(7, value);
    EXPECT_EQ(-1, type);
}

TEST_F(FeatureValue, WantsItsArguments) {
    int32_t value = 7;

    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevGetFeatureValue(handle, nullptr, &type, 4, &value));
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevGetFeatureValue(handle, "Width", &type, 4, nullptr));
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, GevGetFeatureValue(handle, "Width", &type, 0, &value));
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, GevGetFeatureValue(handle, "Width", &type, -4, &value));
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, GevGetFeatureValue(nullptr, "Width", &type, 4, &value));
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, GevGetFeatureValue(&value, "Width", &type, 4, &value));
    EXPECT_EQ(GEVLIB_OK, GevGetFeatureValue(handle, "Width", nullptr, 4, &value));
    EXPECT_EQ(5, value);
}

} // namespace
