// The session: opening the selected camera, the calls to the host around the scenario, closing.

#include "plug_in.h"

namespace {

const std::string kUntilOpened = "GevGetCameraList(8) GevOpenCamera(1, 2) ";
const std::string kEnd = "GevApiUninitialize() _CloseSocketAPI()";
const std::string kSession = kUntilOpened + "GevGetFeatureNodeMap() KxSc__InitStaticKeys() ";

class Session : public Probe {
protected:
    Session() {
        framework.sees({{"Acme", "Eye", "A1"}, {"DALSA", "Nano-M2020", "S1234", "1.02"}})
            .featureValue("PixelFormat", 0x01080001);
        describeWholeCamera(camera);
    }

    // The calls of a probe, in one line.
    std::string callsOf(int code, int level = 0, int mode = 0) {
        forget();
        EXPECT_EQ(code, Vendor__Proc("S12", mode, level));
        const std::vector<Event> all = calls();
        forget();
        for (const Event &each : all)
            scripted::record(each);
        return happened();
    }

    static std::string settings(std::initializer_list<int> ids) {
        std::string all;
        for (const int id : ids)
            all += "KxSc__SetParamVal(" + std::to_string(id) + ") ";
        return all;
    }
    const std::string whole = kSession + "GevGetFeatureValue(PixelFormat, 4) " +
                              settings({3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21}) +
                              "KxSc__ProcExport() GevCloseCamera() " + kEnd;
};

TEST_F(Session, OpensProbesExportsAndClosesTheSameEachTimeAtEveryLevel) {
    for (const int level : {0, 4, 0}) {
        host::reset();
        describeWholeCamera(camera);
        EXPECT_EQ(whole, callsOf(0, level, kSystemLog));
        EXPECT_EQ(15u, published().size());
        EXPECT_FALSE(framework.isOpen());
    }
    framework.complains(GEVLIB_ERROR_GENERIC); // of the statuses, that of opening alone counts
    EXPECT_EQ(whole, callsOf(0));
}

TEST_F(Session, FailsUnlessOpeningGivesAHandleAndSuccess) {
    struct {
        GEV_STATUS status;
        bool withHandle;
    } const failures[] = {{GEVLIB_OK, false},
                          {GEVLIB_ERROR_NO_CAMERA, false},
                          {GEVLIB_ERROR_ACCESS_DENIED, true},
                          {1, true}};
    for (const auto &[status, withHandle] : failures) {
        forget();
        framework.opensWith(status, withHandle);
        EXPECT_EQ(1, Vendor__Proc("S12", kSystemLog, 2));
        EXPECT_EQ(kUntilOpened + "[w|_t_kxtd_check_loop \"S12\"] " +
                      (withHandle ? "GevCloseCamera() " : "") + kEnd,
                  everything());
        EXPECT_FALSE(framework.isOpen());
    }
}

TEST_F(Session, ExportsWhatWasPublishedBeforeAnErrorOfTheCamera) {
    camera.feature("AcquisitionFrameRate").raises(Op::GetMin, Fault::Timeout);
    EXPECT_EQ(kSession + "GevGetFeatureValue(PixelFormat, 4) " + settings({3, 4, 5, 6}) +
                  "KxSc__ProcExport() GevCloseCamera() " + kEnd,
              callsOf(0));
}

TEST_F(Session, KeepsNoMemoryAndExportsNothingWithoutANodeMapBehindTheReference) {
    framework.nodeMap(NodeMap::WithoutMap);
    callsOf(0);
    const long before = host::liveBlocks();
    for (int i = 0; i < 10; ++i)
        Vendor__Proc("S12", 0, 0);
    EXPECT_EQ(before, host::liveBlocks());
    EXPECT_EQ(kSession + "KxSc__ProcExport() GevCloseCamera() " + kEnd, callsOf(0));
}

TEST_F(Session, LogsTheModeOfTheRecord) {
    framework.sees({{"DALSA", "Nano", "S1234", "1.02", 0xFFFFFFFFu}}).nodeMap(NodeMap::WithoutMap);
    EXPECT_EQ(0, Vendor__Proc("S12", kSystemLog, 4));
    EXPECT_NE(std::string::npos, happened().find("[d|KxTd__Proc 4294967295] [d|ProcOnce S1234]"));
}

// As GenICam's own GenApi has it: the increment of a float that has none is an error.
TEST_F(Session, EndsAtTheFirstFloatWithoutAnIncrementWhereThatIsAnError) {
    camera.raisesWithoutIncrement();
    EXPECT_EQ(0, Vendor__Proc("S12", 0, 0));
    EXPECT_EQ(4u, published().size());
    host::reset();
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "GammaCorrection", {"UserDefined", "GammaCorrection"});
    EXPECT_EQ(0, Vendor__Proc("S12", 0, 0)); // a gamma that is on is read for the report already
    EXPECT_THAT(published(), IsEmpty());
}

} // namespace
