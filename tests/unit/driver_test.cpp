// The scenario's driver with a check that can fail. The library's own never does, so this program
// puts one in front of it; it also watches the camera object go.

#include "plug_in.h"

namespace {

using testing::Contains;
using testing::Not;

std::function<int(CExCam *)> check;

Event destroyed() {
    return call("~CExCam");
}

} // namespace

int KxTd::CCamProc::ProcCheckCamConfig(CExCam *cam) {
    return check(cam);
}

KxTd::CExCam::~CExCam() {
    scripted::record(destroyed());
}

namespace {

class Driver : public Probe {
protected:
    Driver() {
        framework.sees({{"DALSA", "Nano-M2020", "S1234"}});
        check = [](CExCam *) { return 0; };
    }

    static Line once(const std::string &text) { return scenario.debug("ProcOnce", text); }
    static Line proc(const std::string &text) { return scenario.debug("KxTd__Proc", text); }
    const Line entry = proc("KxTdProc entry: mode=2\n");
    const Line identity = once("Using device Model:Nano-M2020 Serial:S1234\n");
    const Line failure =
        scenario.error("src/kx_td_proc.cpp:288", "Device check configuration error, finish loop\n");

    // Runs the scenario alone.
    Logged run(int level = 4) {
        GEV_CAMERA_INFO info{};
        std::snprintf(info.model, sizeof info.model, "Nano-M2020");
        std::snprintf(info.serial, sizeof info.serial, "S1234");
        info.mode = 2;
        CExCam cam(framework.handle());
        cam.info = &info;
        return logOf([&] { result = KxTd__Proc(&cam); }, level);
    }

    int result = -99;
};

TEST_F(Driver, ReturnsWhatTheCheckReturnsUnlessItIsNegative) {
    for (const int value : {0, 1, 7, std::numeric_limits<int>::max()}) {
        check = [value](CExCam *) { return value; };
        EXPECT_EQ(lines({entry, identity,
                         once("Finished loop with: status=0, rc=" + std::to_string(value) + "\n"),
                         proc("scenario is completed (rc = " + std::to_string(value) + ")\n")}),
                  run());
        EXPECT_EQ(value, result);
    }
}

TEST_F(Driver, MakesMinusTwoOfAnyNegativeResultAndWritesTheErrorLine) {
    for (const int value : {-1, -2, -99, std::numeric_limits<int>::min()}) {
        check = [value](CExCam *) { return value; };
        EXPECT_EQ(lines({entry, identity, failure, proc("scenario is completed (rc = -2)\n")}),
                  run());
        EXPECT_EQ(-2, result);
    }
}

TEST_F(Driver, WritesTheErrorLineExactlyLikeThisFromLevelOne) {
    check = [](CExCam *) { return -1; };
    for (const int level : {1, 2, 3}) {
        const Logged logged = run(level);
        EXPECT_EQ("[KX_TD_PROC:e]: Device check configuration error, finish loop\n", logged.out);
        ASSERT_EQ(1u, logged.system.size());
        EXPECT_EQ(LOG_ERR, logged.system[0].priority);
        EXPECT_EQ("[e|src/kx_td_proc.cpp:288] Device check configuration error, finish loop\n",
                  logged.system[0].text);
    }
}

TEST_F(Driver, WritesNotEvenTheErrorLineAtLevelZeroAndBelow) {
    check = [](CExCam *) { return -1; };
    for (const int level : {0, -1}) {
        EXPECT_EQ(silence, run(level));
        EXPECT_EQ(-2, result);
    }
}

TEST_F(Driver, IsTheOneOfProcOnceToo) {
    GEV_CAMERA_INFO info{};
    CExCam cam(framework.handle());
    cam.info = &info;
    check = [](CExCam *) { return -5; };
    EXPECT_EQ(-2, CCamProc().ProcOnce(&cam));
    check = [](CExCam *) { return 5; };
    EXPECT_EQ(5, CCamProc().ProcOnce(&cam));
}

TEST_F(Driver, HandsTheCheckItsCamera) {
    CExCam *handed = nullptr;
    check = [&](CExCam *cam) {
        handed = cam;
        return 0;
    };
    GEV_CAMERA_INFO info{};
    CExCam cam(framework.handle());
    cam.info = &info;
    KxTd__Proc(&cam);
    EXPECT_EQ(&cam, handed);
}

TEST_F(Driver, LetsNoKindOfErrorOut) {
    for (const Fault fault : scripted::kFaults) {
        check = [fault](CExCam *) -> int { scripted::raise(fault); };
        EXPECT_NO_THROW(run());
        EXPECT_EQ(0, result);
    }
}

TEST_F(Driver, TellsOfAnExhaustedMemory) {
    check = [](CExCam *) -> int { throw std::bad_alloc(); };
    EXPECT_EQ(
        lines({entry, identity, once(" Origin check config - StdLib: Exception std::bad_alloc\n"),
               once("Finished loop with: status=-14, rc=0\n"),
               proc("scenario is completed (rc = 0)\n")}),
        run());
}

TEST_F(Driver, TellsOfAnErrorOfNoKnownKind) {
    check = [](CExCam *) -> int { throw "a text"; };
    EXPECT_EQ(lines({entry, identity, once(" GenApi: Unknown Error Exception (catchall)\n"),
                     once("Finished loop with: status=-1, rc=0\n"),
                     proc("scenario is completed (rc = 0)\n")}),
              run());
}

TEST_F(Driver, NamesItsFunctionInTheSystemLogAndItsModuleOnStandardOutput) {
    const Logged logged = run();
    EXPECT_EQ("[d|ProcOnce] Using device Model:Nano-M2020 Serial:S1234\n", logged.system[1].text);
    EXPECT_EQ(LOG_DEBUG, logged.system[1].priority);
    EXPECT_NE(std::string::npos,
              logged.out.find("\n[KX_TD_PROC:d]: Using device Model:Nano-M2020 Serial:S1234\n"));
}

// The session around such a check.

TEST_F(Driver, OfAFailedCheckLetsNothingBeExportedThoughItWasPublished) {
    check = [](CExCam *cam) {
        CCamProc().ProcParametrizeCamRotate(cam);
        CCamProc().ProcParametrizeCamOutLines(cam);
        return -1;
    };
    probe("S1234", 0);
    EXPECT_EQ(-2, exitCode);
    EXPECT_EQ(2u, published().size());
    EXPECT_THAT(calls(),
                ElementsAre(getCameraList(8), openCamera(0, GevControlMode), getFeatureNodeMap(),
                            initStaticKeys(), setParamVal(KxScParamRotate),
                            setParamVal(KxScParamOutLines), closeCamera(), destroyed(),
                            apiUninitialize(), closeSocketApi()));
}

TEST_F(Driver, OfACheckWithAPositiveResultLetsNothingBeExported) {
    check = [](CExCam *) { return 3; };
    probe("S1234", 0);
    EXPECT_EQ(3, exitCode);
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(0, GevControlMode),
                                     getFeatureNodeMap(), initStaticKeys(), closeCamera(),
                                     destroyed(), apiUninitialize(), closeSocketApi()));
}

TEST_F(Driver, OfASuccessfulCheckExportsOnceClosesAndThenDestroysTheObject) {
    probe("S1234", 0);
    EXPECT_EQ(0, exitCode);
    EXPECT_THAT(calls(),
                ElementsAre(getCameraList(8), openCamera(0, GevControlMode), getFeatureNodeMap(),
                            initStaticKeys(), procExport(), closeCamera(), destroyed(),
                            apiUninitialize(), closeSocketApi()));
}

TEST_F(Driver, OfACheckThatRaisedAnErrorExportsWhatWasPublished) {
    check = [](CExCam *cam) -> int {
        CCamProc().ProcParametrizeCamRotate(cam);
        throw 1;
    };
    probe("S1234", 0);
    EXPECT_EQ(0, exitCode);
    EXPECT_THAT(calls(),
                ElementsAre(getCameraList(8), openCamera(0, GevControlMode), getFeatureNodeMap(),
                            initStaticKeys(), setParamVal(KxScParamRotate), procExport(),
                            closeCamera(), destroyed(), apiUninitialize(), closeSocketApi()));
}

TEST_F(Driver, SaysThatTheDeviceIsDisconnectedAfterTheObjectIsGone) {
    probe("S1234", 4, kSystemLog);
    const std::vector<Event> all = trace();
    EXPECT_THAT(
        std::vector<Event>(all.end() - 6, all.end()),
        ElementsAre(
            closeCamera(), destroyed(),
            scripted::event(Op::Log, "7", "[d|_t_kxtd_check_loop] device is disconnected\n"),
            apiUninitialize(), closeSocketApi(),
            scripted::event(Op::Log, "7",
                            "[d|_t_kxtd_check_loop] Loop completed (exitCode = 0)\n")));
}

TEST_F(Driver, OfAFailedCheckWritesTheWholeLogLikeThis) {
    check = [](CExCam *) { return -1; };
    EXPECT_EQ("[CIPROC:d]: init Dalsa staff\n"
              "[CIPROC:d]: 0. Vendor \"DALSA\", Model \"Nano-M2020\", Serial \"S1234\"\n"
              "[CIPROC:d]: Check configured Serial \"S1\" with \"S1234\" (result 0)\n"
              "[KX_TD_PROC:d]: KxTdProc entry: mode=2\n"
              "[KX_TD_PROC:d]: Using device Model:Nano-M2020 Serial:S1234\n"
              "[KX_TD_PROC:e]: Device check configuration error, finish loop\n"
              "[KX_TD_PROC:d]: scenario is completed (rc = -2)\n"
              "[CIPROC:d]: device is disconnected\n"
              "[CIPROC:d]: Loop completed (exitCode = -2)\n",
              probe("S1", 4, kStandardOutput).out);
}

// The error line is the only one that names a place in the source instead of an operation.
TEST_F(Driver, OfAFailedCheckWritesTheWholeLogInBothSinksAndClosesTheCamera) {
    for (const int value : {-1, -2, std::numeric_limits<int>::min()}) {
        check = [value](CExCam *) { return value; };
        EXPECT_EQ(
            lines({frame.debug("_t_kxtd_check_loop", "init Dalsa staff\n"),
                   frame.debug("_t_kxtd_check_loop",
                               "0. Vendor \"DALSA\", Model \"Nano-M2020\", Serial \"S1234\"\n"),
                   frame.debug("_t_kxtd_check_loop",
                               "Check configured Serial \"S1\" with \"S1234\" (result 0)\n"),
                   entry, identity, failure, proc("scenario is completed (rc = -2)\n"),
                   frame.debug("_t_kxtd_check_loop", "device is disconnected\n"),
                   frame.debug("_t_kxtd_check_loop", "Loop completed (exitCode = -2)\n")}),
            probe("S1", 4));
        EXPECT_EQ(-2, exitCode);
        EXPECT_FALSE(framework.isOpen());
        EXPECT_THAT(calls(), Not(Contains(procExport())));
    }
}

} // namespace
