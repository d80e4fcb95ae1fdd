// The scripted platform does what its script says and what a conforming platform does.

#include "scripted.h"

#include <cmath>
#include <limits>
#include <sstream>

#include <gmock/gmock.h>

namespace {

using namespace scripted;
using GenApi_3_0::CNodeMapRef;
using GenApi_3_0::IBoolean;
using GenApi_3_0::IEnumeration;
using GenApi_3_0::IFloat;
using GenApi_3_0::IInteger;
using GenApi_3_0::INode;
using GenICam_3_0::gcstring;
using testing::ElementsAre;
using testing::IsEmpty;

class ScriptedPlatform : public testing::Test {
protected:
    ScriptedPlatform() { reset(); }

    INode *node(const char *name) {
        return static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(framework().handle()))
            ->_GetNode(name);
    }
    template <typename Interface>
    Interface &as(const char *name) {
        auto *narrowed = dynamic_cast<Interface *>(node(name));
        if (!narrowed)
            throw std::logic_error("not of that kind");
        forget();
        return *narrowed;
    }

    Camera &cam = camera();
};

TEST_F(ScriptedPlatform, HasNoFeaturesAtFirst) {
    EXPECT_EQ(nullptr, node("Width"));
    EXPECT_THAT(trace(), ElementsAre(getFeatureNodeMap(), lookup("Width")));
}

TEST_F(ScriptedPlatform, GivesEachNodeTheInterfaceOfItsKindAlone) {
    cam.integer("I", 1)
        .floating("F", 1.5)
        .boolean("B", true)
        .enumeration("E", "a", {"a"})
        .command("C");

    EXPECT_TRUE(dynamic_cast<IInteger *>(node("I")));
    EXPECT_FALSE(dynamic_cast<IFloat *>(node("I")));
    EXPECT_TRUE(dynamic_cast<IFloat *>(node("F")));
    EXPECT_FALSE(dynamic_cast<IEnumeration *>(node("F")));
    EXPECT_TRUE(dynamic_cast<IBoolean *>(node("B")));
    EXPECT_TRUE(dynamic_cast<IEnumeration *>(node("E")));
    ASSERT_TRUE(node("C"));
    EXPECT_FALSE(dynamic_cast<GenApi_3_0::IValue *>(node("C")));
    EXPECT_EQ(gcstring("C"), node("C")->GetName());
}

TEST_F(ScriptedPlatform, RecordsAccessesWithTheirFlagsInOrder) {
    cam.integer("Width", 640).range(16, 1920, 16);
    auto &width = as<IInteger>("Width");

    EXPECT_EQ(640, width.GetValue());
    width.SetValue(656);
    width.SetValue(672, false);
    EXPECT_EQ(gcstring("672"), width.ToString(true, true));
    width.FromString("688");
    EXPECT_EQ(16, width.GetMin());
    EXPECT_EQ(1920, width.GetMax());
    EXPECT_EQ(16, width.GetInc());

    EXPECT_THAT(cam.accesses(),
                ElementsAre(read("Width"), write("Width", 656), write("Width", 672).unverified(),
                            readText("Width").verified().uncached(), write("Width", "688"),
                            readMin("Width"), readMax("Width"), readInc("Width")));
    EXPECT_EQ("688", cam.value("Width"));
    EXPECT_EQ(8u, cam.accessCount());
}

TEST_F(ScriptedPlatform, TellsReadsOfTextAndOfValuesApartAsItDoesFlags) {
    EXPECT_FALSE(read("Gain") == readText("Gain"));
    EXPECT_FALSE(read("Gain") == read("Gain").uncached());
    EXPECT_FALSE(write("Gain", "1") == write("Gain", 1));
    EXPECT_FALSE(write("Gain", 1) == write("Gain", 2));
    EXPECT_FALSE(write("Gain", 1) == write("Gain", 1).unverified());
}

TEST_F(ScriptedPlatform, PrintsEventsForAPerson) {
    std::ostringstream out;
    for (const Event &each : {write("Gain", "1"), write("Gain", 1).unverified(), read("Gain"),
                              readText("Gain").verified().uncached(), openCamera(1, GevControlMode),
                              lookup("Gain"), lookupEntry("E", "a"), entryAccessMode("E", "a"),
                              event(Op::Log, "7", "d|f 1"), event(Op::Log, "4", "d|f 1")})
        out << each << ' ';
    EXPECT_EQ("Gain:=1 Gain=1!unverified Gain? Gain??"
              "!verified!uncached GevOpenCamera(1, 2) @Gain "
              "@E.a @E.a? [d|f 1] [4d|f 1] ",
              out.str());
}

TEST_F(ScriptedPlatform, RefusesAccessesThatTheAccessModeForbids) {
    using namespace GenApi_3_0;
    for (const EAccessMode mode : {NI, NA, WO, RO, RW}) {
        cam.integer("I", 1).access(mode);
        auto &integer = as<IInteger>("I");
        EXPECT_EQ(mode, integer.GetAccessMode());
        if (mode == RO || mode == RW)
            EXPECT_EQ(1, integer.GetValue());
        else
            EXPECT_THROW(integer.GetValue(), GenICam_3_0::AccessException);
        if (mode == WO || mode == RW)
            EXPECT_NO_THROW(integer.SetValue(2));
        else
            EXPECT_THROW(integer.SetValue(2), GenICam_3_0::AccessException);
    }
}

TEST_F(ScriptedPlatform, VerifiesRangeAndIncrementOnlyWhenAsked) {
    cam.integer("Width", 640).range(16, 1920, 16);
    auto &width = as<IInteger>("Width");
    EXPECT_THROW(width.SetValue(0), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(width.SetValue(1936), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(width.SetValue(17), GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("640", cam.value("Width"));
    width.SetValue(17, false);
    EXPECT_EQ("17", cam.value("Width"));

    cam.floating("Gain", 1.0).range(1.0, 8.0, 0.5);
    auto &gain = as<IFloat>("Gain");
    EXPECT_TRUE(gain.HasInc());
    EXPECT_THROW(gain.SetValue(0.9), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(gain.SetValue(8.1), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(gain.SetValue(std::numeric_limits<double>::infinity()),
                 GenICam_3_0::OutOfRangeException);
    gain.SetValue(8.0);
    EXPECT_EQ("8", cam.value("Gain"));
}

TEST_F(ScriptedPlatform, TakesAFloatBesideItsIncrementAsItIs) {
    cam.floating("Gain", 1.0).range(1.0, 8.0, 0.5);
    as<IFloat>("Gain").SetValue(1.25);
    EXPECT_EQ("1.25", cam.value("Gain"));
}

TEST_F(ScriptedPlatform, VerifiesWhatIsReadOnlyWhenAsked) {
    cam.integer("Width", 0).range(16, 1920, 16);
    auto &width = as<IInteger>("Width");
    EXPECT_EQ(0, width.GetValue());
    EXPECT_THROW(width.GetValue(true), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(width.ToString(true), GenICam_3_0::OutOfRangeException);
}

TEST_F(ScriptedPlatform, HasNoIncrementOfAFloatOrRaisesThatAsTold) {
    cam.floating("Plain", 1.0).floating("Stepped", 1.0).range(0.0, 2.0, 0.5);
    EXPECT_EQ(0.0, as<IFloat>("Plain").GetInc());
    cam.raisesWithoutIncrement();
    EXPECT_FALSE(as<IFloat>("Plain").HasInc());
    EXPECT_THROW(as<IFloat>("Plain").GetInc(), GenICam_3_0::RuntimeException);
    EXPECT_EQ(0.5, as<IFloat>("Stepped").GetInc());
}

TEST_F(ScriptedPlatform, TellsTheRangeOfWhatIsThere) {
    using namespace GenApi_3_0;
    for (const EAccessMode mode : {NI, NA, WO, RO, RW}) {
        cam.integer("I", 1).range(0, 2).access(mode);
        auto &integer = as<IInteger>("I");
        if (mode == NI || mode == NA) {
            EXPECT_THROW(integer.GetMin(), GenICam_3_0::AccessException);
            EXPECT_THROW(integer.GetMax(), GenICam_3_0::AccessException);
            EXPECT_THROW(integer.GetInc(), GenICam_3_0::AccessException);
        } else {
            EXPECT_EQ(0, integer.GetMin());
            EXPECT_EQ(2, integer.GetMax());
            EXPECT_EQ(1, integer.GetInc());
        }
    }
}

TEST_F(ScriptedPlatform, OffersAFloatAsAnIntegerTooWhenToldSo) {
    cam.enumeration("autoBrightnessMode", "Active", {"Off", "Active"})
        .floating("limit", 2.75)
        .range(1.5, 8.5, 0.5)
        .onlyWhile("autoBrightnessMode", "Active")
        .alsoInteger();
    auto &floating = as<IFloat>("limit");
    auto &integer = as<IInteger>("limit");

    EXPECT_EQ(2.75, floating.GetValue());
    EXPECT_EQ(3, integer.GetValue());
    EXPECT_EQ(1.5, floating.GetMin());
    EXPECT_EQ(2, integer.GetMin());
    EXPECT_EQ(8.5, floating.GetMax());
    EXPECT_EQ(9, integer.GetMax());
    EXPECT_EQ(0.5, floating.GetInc());
    EXPECT_EQ(1, integer.GetInc());
    integer.SetValue(7);
    EXPECT_EQ(7.0, floating.GetValue());
    EXPECT_THAT(cam.accesses(),
                ElementsAre(read("limit"), read("limit"), readMin("limit"), readMin("limit"),
                            readMax("limit"), readMax("limit"), readInc("limit"), readInc("limit"),
                            write("limit", 7), read("limit")));

    EXPECT_THROW(integer.SetValue(9), GenICam_3_0::OutOfRangeException);
    integer.SetValue(9, false);
    EXPECT_EQ("9", cam.value("limit"));
    cam.feature("limit").access(GenApi_3_0::RO);
    EXPECT_THROW(integer.SetValue(2), GenICam_3_0::AccessException);
    EXPECT_EQ(9, integer.GetValue());
    as<IEnumeration>("autoBrightnessMode").FromString("Off");
    EXPECT_THROW(integer.GetValue(), GenICam_3_0::AccessException);
}

TEST_F(ScriptedPlatform, OffersNoOtherKindAsAnIntegerToo) {
    cam.integer("I", 1);
    EXPECT_THROW(cam.alsoInteger(), std::logic_error);
    cam.floating("F", 1);
    EXPECT_FALSE(dynamic_cast<IInteger *>(node("F")));
}

TEST_F(ScriptedPlatform, TakesAnyNumberByDefault) {
    cam.integer("I", 0).floating("F", 0);
    auto &integer = as<IInteger>("I");
    integer.SetValue(std::numeric_limits<int64_t>::min());
    integer.SetValue(-1);
    auto &floating = as<IFloat>("F");
    EXPECT_FALSE(floating.HasInc());
    EXPECT_EQ(0.0, floating.GetInc());
    floating.SetValue(std::nan(""));
    EXPECT_EQ("nan", cam.value("F"));
}

TEST_F(ScriptedPlatform, RefusesTextThatNamesNoEntryOrIsNoNumber) {
    cam.enumeration("E", "Off", {"Off", "On", "Broken"})
        .entryAccess("Broken", GenApi_3_0::NI)
        .integer("I", 1);
    auto &enumeration = as<IEnumeration>("E");
    EXPECT_THROW(enumeration.FromString("on"), GenICam_3_0::InvalidArgumentException);
    EXPECT_THROW(enumeration.FromString("Broken"), GenICam_3_0::AccessException);
    enumeration.FromString("On");
    EXPECT_EQ(gcstring("On"), enumeration.ToString());
    EXPECT_EQ(1, enumeration.GetIntValue());
    EXPECT_EQ(gcstring("On"), enumeration.GetCurrentEntry()->GetSymbolic());
    EXPECT_EQ(nullptr, enumeration.GetEntryByName("on"));
    EXPECT_FALSE(GenApi_3_0::IsImplemented(enumeration.GetEntryByName("Broken")));
    EXPECT_TRUE(GenApi_3_0::IsImplemented(enumeration.GetEntryByName("Off")));
    EXPECT_THROW(as<IInteger>("I").FromString("seven"), GenICam_3_0::InvalidArgumentException);
}

TEST_F(ScriptedPlatform, AsksForAccessBeforeItLooksAtAText) {
    cam.integer("I", 1).access(GenApi_3_0::RO);
    EXPECT_THROW(as<IInteger>("I").FromString("seven"), GenICam_3_0::AccessException);
}

TEST_F(ScriptedPlatform, ReadsNumbersInTextsAsGenApiDoes) {
    cam.integer("I", 1).floating("F", 1);
    auto &integer = as<IInteger>("I");
    integer.FromString("010");
    EXPECT_EQ(10, integer.GetValue());
    integer.FromString("0x10");
    EXPECT_EQ(16, integer.GetValue());
    auto &floating = as<IFloat>("F");
    for (const char *none : {"", "inf", "nan", "1e400"})
        EXPECT_THROW(floating.FromString(none), GenICam_3_0::InvalidArgumentException);
    floating.FromString("12345678.9");
    EXPECT_EQ(gcstring("1.23457e+07"), floating.ToString());
}

TEST_F(ScriptedPlatform, ShowsSwitchesAsDigits) {
    cam.boolean("B", true);
    auto &boolean = as<IBoolean>("B");
    EXPECT_EQ(gcstring("1"), boolean.ToString());
    boolean.FromString("0");
    EXPECT_FALSE(boolean.GetValue());
    boolean.FromString("true");
    EXPECT_TRUE(boolean.GetValue());
    EXPECT_THROW(boolean.FromString("True"), GenICam_3_0::InvalidArgumentException);
}

TEST_F(ScriptedPlatform, OffersTheEntriesThatAreThere) {
    cam.enumeration("E", "Off", {"Off", "On", "Broken", "Locked"})
        .entryAccess("Broken", GenApi_3_0::NI)
        .entryAccess("Locked", GenApi_3_0::NA);
    auto &enumeration = as<IEnumeration>("E");
    GenApi_3_0::StringList_t symbolics;
    enumeration.GetSymbolics(symbolics);
    EXPECT_THAT(symbolics, ElementsAre(gcstring("Off"), gcstring("On")));
    EXPECT_EQ(gcstring("1"), enumeration.GetEntryByName("On")->ToString());
    EXPECT_THROW(enumeration.GetEntryByName("Locked")->GetValue(), GenICam_3_0::AccessException);

    EXPECT_THROW(enumeration.FromString("Locked", true), GenICam_3_0::AccessException);
    EXPECT_THROW(enumeration.FromString("Broken", false), GenICam_3_0::AccessException);
    EXPECT_THROW(enumeration.SetIntValue(9, false), GenICam_3_0::InvalidArgumentException);
    enumeration.FromString("Locked", false);
    EXPECT_EQ(gcstring("Locked"), enumeration.ToString());
    EXPECT_EQ(3, enumeration.GetIntValue());
    EXPECT_THROW(enumeration.ToString(true), GenICam_3_0::AccessException);
    EXPECT_THROW(enumeration.GetIntValue(true), GenICam_3_0::AccessException);
}

TEST_F(ScriptedPlatform, IsNoEnumerationWithoutAnEntryThatIsThere) {
    using namespace GenApi_3_0;
    cam.enumeration("E", "Off", {"Off", "On"}).entryAccess("Off", NI).entryAccess("On", NI);
    EXPECT_EQ(NI, node("E")->GetAccessMode());
    cam.entryAccess("On", NA);
    EXPECT_EQ(NA, node("E")->GetAccessMode());
    EXPECT_THROW(as<IEnumeration>("E").ToString(), GenICam_3_0::AccessException);
}

TEST_F(ScriptedPlatform, HasNoTextForAValueOfNoEntry) {
    cam.enumeration("E", "Off", {"Off", "On"}).shows("elsewhere");
    auto &enumeration = as<IEnumeration>("E");
    EXPECT_THROW(enumeration.ToString(), GenICam_3_0::InvalidArgumentException);
    EXPECT_EQ(nullptr, enumeration.GetCurrentEntry());
    EXPECT_EQ(-1, enumeration.GetIntValue());
    EXPECT_THROW(enumeration.GetIntValue(true), GenICam_3_0::OutOfRangeException);
}

TEST_F(ScriptedPlatform, MakesAFeatureAvailableOnlyWhileAnEntryIsShown) {
    cam.enumeration("autoBrightnessMode", "Off", {"Off", "Active"})
        .integer("autoBrightnessTarget", 128)
        .onlyWhile("autoBrightnessMode", "Active");
    auto &target = as<IInteger>("autoBrightnessTarget");
    EXPECT_THROW(target.GetValue(), GenICam_3_0::AccessException);
    EXPECT_THROW(target.GetMin(), GenICam_3_0::AccessException);
    as<IEnumeration>("autoBrightnessMode").FromString("Active");
    EXPECT_EQ(128, target.GetValue());
}

TEST_F(ScriptedPlatform, KeepsOneValuePerEntryOfASelector) {
    cam.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"})
        .floating("Gain", 0)
        .selectedBy("GainSelector", {{"AnalogAll", 2.0}, {"SensorAll", 10.0}});
    auto &gain = as<IFloat>("Gain");
    EXPECT_EQ(2.0, gain.GetValue());
    as<IEnumeration>("GainSelector").FromString("SensorAll");
    EXPECT_EQ(10.0, gain.GetValue());
    gain.SetValue(12.0);
    as<IEnumeration>("GainSelector").FromString("AnalogAll");
    EXPECT_EQ(2.0, gain.GetValue());
}

TEST_F(ScriptedPlatform, RaisesWhatIsAskedAtTheChosenAccess) {
    cam.floating("Gain", 1.0).raises(Op::GetValue, Fault::Timeout, 2);
    auto &gain = as<IFloat>("Gain");
    EXPECT_EQ(1.0, gain.GetValue());
    EXPECT_THROW(gain.GetValue(), GenICam_3_0::TimeoutException);
    EXPECT_EQ(1.0, gain.GetValue());

    forget();
    cam.raiseAt(3, [] { throw std::string("mine"); });
    EXPECT_EQ(1.0, gain.GetValue());
    gain.GetMin();
    EXPECT_THROW(gain.GetMax(), std::string);
    EXPECT_EQ(1.0, gain.GetValue());
    EXPECT_THAT(cam.accesses(),
                ElementsAre(read("Gain"), readMin("Gain"), readMax("Gain"), read("Gain")));
}

TEST_F(ScriptedPlatform, RaisesEveryKindOfFault) {
    EXPECT_THROW(raise(Fault::InvalidArgument), GenICam_3_0::InvalidArgumentException);
    EXPECT_THROW(raise(Fault::Property), GenICam_3_0::PropertyException);
    EXPECT_THROW(raise(Fault::LogicalError), GenICam_3_0::LogicalErrorException);
    EXPECT_THROW(raise(Fault::OutOfRange), GenICam_3_0::OutOfRangeException);
    EXPECT_THROW(raise(Fault::Runtime), GenICam_3_0::RuntimeException);
    EXPECT_THROW(raise(Fault::Access), GenICam_3_0::AccessException);
    EXPECT_THROW(raise(Fault::Timeout), GenICam_3_0::TimeoutException);
    EXPECT_THROW(raise(Fault::DynamicCast), GenICam_3_0::DynamicCastException);
    EXPECT_THROW(raise(Fault::GenICamBadAlloc), GenICam_3_0::BadAllocException);
    EXPECT_THROW(raise(Fault::StdBadAlloc), std::bad_alloc);
    EXPECT_THROW(raise(Fault::StdRuntimeError), std::runtime_error);
    EXPECT_THROW(raise(Fault::Number), int);
}

TEST_F(ScriptedPlatform, ListsAsManyCamerasAsThereIsRoomFor) {
    framework().sees({{"DALSA", "Nano", "S1"}, {"Other", "X", "S2"}, {"Dalsa", "Y", "S3"}});
    GEV_CAMERA_INFO table[2];
    int count = 0;
    EXPECT_EQ(GEVLIB_OK, GevGetCameraList(table, 2, &count));
    EXPECT_EQ(2, count);
    EXPECT_STREQ("Nano", table[0].model);
    EXPECT_STREQ("S2", table[1].serial);

    framework().counts(7);
    GevGetCameraList(table, 2, &count);
    EXPECT_EQ(7, count);

    framework().failsToList(GEVLIB_ERROR_TIME_OUT);
    count = 5;
    EXPECT_EQ(GEVLIB_ERROR_TIME_OUT, GevGetCameraList(table, 2, &count));
    EXPECT_EQ(5, count);
}

TEST_F(ScriptedPlatform, OpensAndClosesAsTold) {
    framework().sees({{"DALSA", "Nano", "S1"}, {"DALSA", "Nano", "S2"}});
    GEV_CAMERA_INFO table[8] = {};
    int count = 0;
    GevGetCameraList(table, 8, &count);
    GEV_CAMERA_HANDLE handle = nullptr;

    EXPECT_EQ(GEVLIB_OK, GevOpenCamera(&table[1], GevControlMode, &handle));
    EXPECT_EQ(framework().handle(), handle);
    EXPECT_TRUE(framework().isOpen());
    GevCloseCamera(&handle);
    EXPECT_EQ(nullptr, handle);
    EXPECT_FALSE(framework().isOpen());

    framework().opensWith(GEVLIB_OK, false);
    EXPECT_EQ(GEVLIB_OK, GevOpenCamera(&table[0], GevControlMode, &handle));
    EXPECT_EQ(nullptr, handle);
    framework().opensWith(GEVLIB_ERROR_ACCESS_DENIED, true);
    EXPECT_EQ(GEVLIB_ERROR_ACCESS_DENIED, GevOpenCamera(&table[0], GevControlMode, &handle));
    EXPECT_NE(nullptr, handle);

    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode), closeCamera(),
                                     openCamera(0, GevControlMode), openCamera(0, GevControlMode)));
}

TEST_F(ScriptedPlatform, SaysWhatIsWrongWithACall) {
    framework().sees({{"DALSA", "Nano", "S1"}});
    GEV_CAMERA_INFO table[2] = {};
    int count = 1;
    GevGetCameraList(table, 2, &count);
    count = 0;
    GevGetCameraList(table, 2, &count); // it holds the camera by now
    GEV_CAMERA_HANDLE handle = &count;
    GevOpenCamera(table, GevControlMode, &handle);
    EXPECT_EQ(table, framework().opened());
    GEV_CAMERA_HANDLE copy = handle;
    GevGetFeatureNodeMap(&count);
    uint32_t value = 0;
    GevGetFeatureValue(handle, "PixelFormat", nullptr, 4, &value);
    GevCloseCamera(&copy);
    std::vector<std::string> details;
    for (const Event &each : calls())
        details.emplace_back(each.detail.view());
    EXPECT_THAT(details,
                ElementsAre("2, not cleared", "2, not cleared", "0, 2, handle not null",
                            ", another handle", "PixelFormat, 4, no type", ", another handle"));
}

TEST_F(ScriptedPlatform, ComplainsThoughItDoesItsWork) {
    framework().sees({{"DALSA", "Nano", "S1"}}).complains(GEVLIB_ERROR_GENERIC);
    GEV_CAMERA_INFO table[8];
    int count = 0;
    EXPECT_EQ(GEVLIB_ERROR_GENERIC, GevGetCameraList(table, 8, &count));
    EXPECT_EQ(1, count);
    GEV_CAMERA_HANDLE handle = nullptr;
    EXPECT_EQ(GEVLIB_OK, GevOpenCamera(&table[0], GevControlMode, &handle));
    EXPECT_EQ(GEVLIB_ERROR_GENERIC, GevCloseCamera(&handle));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(GEVLIB_ERROR_GENERIC, GevApiUninitialize());
    EXPECT_EQ(GEVLIB_ERROR_GENERIC, _CloseSocketAPI());
}

TEST_F(ScriptedPlatform, HasANodeMapAReferenceWithoutMapOrNone) {
    EXPECT_NE(nullptr, GevGetFeatureNodeMap(framework().handle()));
    framework().nodeMap(NodeMap::WithoutMap);
    try {
        node("Width");
        FAIL() << "a reference without map was searched";
    } catch (const GenICam_3_0::AccessException &error) {
        EXPECT_STREQ("Feature not present (reference not valid)", error.GetDescription());
    }
    framework().nodeMap(NodeMap::None);
    EXPECT_EQ(nullptr, GevGetFeatureNodeMap(framework().handle()));
    framework().nodeMapRaises(Fault::Runtime);
    EXPECT_THROW(GevGetFeatureNodeMap(framework().handle()), GenICam_3_0::RuntimeException);
}

TEST_F(ScriptedPlatform, DeliversRawFeatureValues) {
    framework().featureValue("PixelFormat", 0x01080001);
    uint32_t value = 7;
    int type = 9;
    EXPECT_EQ(GEVLIB_OK, GevGetFeatureValue(framework().handle(), "PixelFormat", &type, 4, &value));
    EXPECT_EQ(0x01080001u, value);
    EXPECT_EQ(0, type);
    value = 7;
    EXPECT_EQ(GEVLIB_ERROR_PARAMETER_NOT_FOUND,
              GevGetFeatureValue(framework().handle(), "Absent", &type, 4, &value));
    EXPECT_EQ(7u, value);
    EXPECT_THAT(calls(),
                ElementsAre(getFeatureValue("PixelFormat", 4), getFeatureValue("Absent", 4)));
}

TEST_F(ScriptedPlatform, ForgetsEverythingOnReset) {
    cam.integer("Width", 1).raises(Op::GetValue, Fault::Access);
    framework().sees({{"DALSA", "Nano", "S1"}}).nodeMap(NodeMap::None);
    reset();
    EXPECT_THAT(trace(), IsEmpty());
    EXPECT_THAT(cam.names(), IsEmpty());
    int count = 3;
    GEV_CAMERA_INFO table[1];
    GevGetCameraList(table, 1, &count);
    EXPECT_EQ(0, count);
    EXPECT_NE(nullptr, GevGetFeatureNodeMap(framework().handle()));
}

} // namespace
