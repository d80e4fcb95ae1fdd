// The session: opening the selected camera, the calls to the host around the scenario, closing.

#include "plug_in.h"

namespace {

class Session : public Probe {
protected:
    Session() {
        framework.sees({{"Acme", "Eye", "A1"}, {"DALSA", "Nano-M2020", "S1234", "1.02"}})
            .featureValue("PixelFormat", 0x01080001);
        describeWholeCamera(camera);
    }

    void expectFailedOpening(const Logged &logged) {
        EXPECT_EQ(lines({frame.warning("_t_kxtd_check_loop",
                                       "Can't connect to device with SerialID \"S12\"\n")}),
                  logged);
        EXPECT_EQ(1, exitCode);
        EXPECT_THAT(published(), IsEmpty());
        EXPECT_THAT(camera.accesses(), IsEmpty());
    }
};

TEST_F(Session, OpensProbesExportsAndCloses) {
    probe("S12", 0);

    EXPECT_EQ(0, exitCode);
    EXPECT_FALSE(framework.isOpen());
    EXPECT_THAT(
        calls(),
        ElementsAre(
            getCameraList(8), openCamera(1, GevControlMode), getFeatureNodeMap(), initStaticKeys(),
            getFeatureValue("PixelFormat", 4), setParamVal(KxScParamOffsetX),
            setParamVal(KxScParamOffsetY), setParamVal(KxScParamWidth),
            setParamVal(KxScParamHeight), setParamVal(KxScParamFps), setParamVal(KxScParamRotate),
            setParamVal(KxScParamGain), setParamVal(KxScParamExposure), setParamVal(KxScParamGamma),
            setParamVal(KxScParamAutoBrightTarget), setParamVal(KxScParamAutoGainLower),
            setParamVal(KxScParamAutoGainUpper), setParamVal(KxScParamAutoExpoLower),
            setParamVal(KxScParamAutoExpoUpper), setParamVal(KxScParamOutLines), procExport(),
            closeCamera(), apiUninitialize(), closeSocketApi()));
}

TEST_F(Session, BehavesTheSameWhateverIsLogged) {
    probe("S12", 0);
    const std::vector<Event> quiet = calls();
    const std::vector<Publication> publishedQuietly = published();

    host::reset();
    describeWholeCamera(camera);
    forget();
    probe("S12", 4, kStandardOutput);
    EXPECT_EQ(0, exitCode);
    EXPECT_EQ(quiet, calls());
    EXPECT_EQ(publishedQuietly, published());
}

TEST_F(Session, ReportsTheSelectedCameraAndItsDisconnection) {
    const Logged logged = probe("S12");
    std::vector<std::string> texts;
    for (const host::SystemLine &line : logged.system)
        texts.push_back(line.text);
    ASSERT_LT(16u, texts.size());
    EXPECT_EQ("[d|KxTd__Proc] KxTdProc entry: mode=2\n", texts[5]);
    EXPECT_EQ("[d|ProcOnce] Using device Model:Nano-M2020 Serial:S1234\n", texts[6]);
    EXPECT_THAT(std::vector<std::string>(texts.end() - 4, texts.end()),
                ElementsAre("[d|ProcOnce] Finished loop with: status=0, rc=0\n",
                            "[d|KxTd__Proc] scenario is completed (rc = 0)\n",
                            "[d|_t_kxtd_check_loop] device is disconnected\n",
                            "[d|_t_kxtd_check_loop] Loop completed (exitCode = 0)\n"));
    const std::string end = "[KX_TD_PROC:d]: Finished loop with: status=0, rc=0\n"
                            "[KX_TD_PROC:d]: scenario is completed (rc = 0)\n"
                            "[CIPROC:d]: device is disconnected\n"
                            "[CIPROC:d]: Loop completed (exitCode = 0)\n";
    EXPECT_EQ(end, logged.out.substr(logged.out.size() - end.size()));
}

TEST_F(Session, SaysThatTheDeviceIsDisconnectedAfterClosingIt) {
    probe("S12", 4, kSystemLog);
    const std::vector<Event> all = trace();
    EXPECT_THAT(
        std::vector<Event>(all.end() - 5, all.end()),
        ElementsAre(
            closeCamera(),
            scripted::event(Op::Log, "7", "[d|_t_kxtd_check_loop] device is disconnected\n"),
            apiUninitialize(), closeSocketApi(),
            scripted::event(Op::Log, "7",
                            "[d|_t_kxtd_check_loop] Loop completed (exitCode = 0)\n")));
}

TEST_F(Session, FailsWhenOpeningGivesNoHandleThoughItSucceeds) {
    framework.opensWith(GEVLIB_OK, false);
    expectFailedOpening(probe("S12", 3));
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode),
                                     apiUninitialize(), closeSocketApi()));
}

TEST_F(Session, FailsAndClosesWhenOpeningGivesAHandleThoughItFails) {
    framework.opensWith(GEVLIB_ERROR_ACCESS_DENIED, true);
    expectFailedOpening(probe("S12", 3));
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode), closeCamera(),
                                     apiUninitialize(), closeSocketApi()));
    EXPECT_FALSE(framework.isOpen());
}

TEST_F(Session, TakesAnyStatusButZeroAsAFailure) {
    framework.opensWith(1, true);
    expectFailedOpening(probe("S12", 3));
}

TEST_F(Session, FailsWhenOpeningGivesNeitherHandleNorSuccess) {
    framework.opensWith(GEVLIB_ERROR_NO_CAMERA, false);
    expectFailedOpening(probe("S12", 3));
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode),
                                     apiUninitialize(), closeSocketApi()));
}

TEST_F(Session, WritesTheFailedOpeningExactlyLikeThis) {
    framework.opensWith(GEVLIB_ERROR_NO_CAMERA, false);
    const Logged logged = probe("S12", 2);
    EXPECT_EQ("[CIPROC:w]: Can't connect to device with SerialID \"S12\"\n", logged.out);
    ASSERT_EQ(1u, logged.system.size());
    EXPECT_EQ("[w|_t_kxtd_check_loop] Can't connect to device with SerialID \"S12\"\n",
              logged.system[0].text);
}

TEST_F(Session, LetsAnErrorOfTheNodeMapOutAndLeavesEverythingOpen) {
    for (const Fault fault : {Fault::Runtime, Fault::StdRuntimeError}) {
        forget();
        framework.nodeMapRaises(fault);
        EXPECT_THROW(Vendor__Proc("S12", 0, 0), std::exception);
        EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode),
                                         getFeatureNodeMap()));
        EXPECT_TRUE(framework.isOpen());
    }
}

TEST_F(Session, LosesNoMemoryWhenTheNodeMapRaisesAnError) {
    if (host::liveBlocks() < 0)
        GTEST_SKIP() << "allocations cannot be counted under a sanitizer";
    framework.nodeMapRaises([] { throw 42; });
    EXPECT_THROW(Vendor__Proc("S12", 0, 0), int);
    const long before = host::liveBlocks();
    for (int i = 0; i < 10; ++i) {
        try {
            Vendor__Proc("S12", 0, 0);
        } catch (int) {
        }
    }
    EXPECT_EQ(before, host::liveBlocks());
}

TEST_F(Session, KeepsNoMemoryAfterASession) {
    if (host::liveBlocks() < 0)
        GTEST_SKIP() << "allocations cannot be counted under a sanitizer";
    // A failing node-map reference ends the scenario early, so that only the session's own memory
    // is in play.
    framework.nodeMap(NodeMap::WithoutMap);
    Vendor__Proc("S12", 0, 0);
    const long before = host::liveBlocks();
    for (int i = 0; i < 10; ++i)
        Vendor__Proc("S12", 0, 0);
    EXPECT_EQ(before, host::liveBlocks());
}

TEST_F(Session, ExportsWhatWasPublishedBeforeAnErrorOfTheCamera) {
    camera.feature("AcquisitionFrameRate").raises(Op::GetMin, Fault::Timeout);
    probe("S12", 0);
    EXPECT_EQ(0, exitCode);
    EXPECT_THAT(calls(),
                ElementsAre(getCameraList(8), openCamera(1, GevControlMode), getFeatureNodeMap(),
                            initStaticKeys(), getFeatureValue("PixelFormat", 4),
                            setParamVal(KxScParamOffsetX), setParamVal(KxScParamOffsetY),
                            setParamVal(KxScParamWidth), setParamVal(KxScParamHeight), procExport(),
                            closeCamera(), apiUninitialize(), closeSocketApi()));
}

TEST_F(Session, ExportsNothingButAsksTheHostAllTheSameWithoutANodeMapBehindTheReference) {
    framework.nodeMap(NodeMap::WithoutMap);
    probe("S12", 0);
    EXPECT_EQ(0, exitCode);
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(1, GevControlMode),
                                     getFeatureNodeMap(), initStaticKeys(), procExport(),
                                     closeCamera(), apiUninitialize(), closeSocketApi()));
    EXPECT_THAT(published(), IsEmpty());
}

TEST_F(Session, MindsNoStatusButThatOfOpening) {
    framework.complains(GEVLIB_ERROR_GENERIC);
    probe("S12", 0);
    EXPECT_EQ(0, exitCode);
    EXPECT_EQ(15u, published().size());
    EXPECT_EQ(procExport(), calls()[calls().size() - 4]);
}

TEST_F(Session, IsRepeatable) {
    probe("S12", 0);
    const std::vector<Event> first = calls();
    describeWholeCamera(camera);
    forget();
    probe("S12", 0);
    EXPECT_EQ(first, calls());
}

} // namespace
