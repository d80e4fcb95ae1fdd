// What becomes of an error of the camera: the line that tells of it and the status, for each kind
// of error and both places that catch.

#include "plug_in.h"

namespace {

struct Kind {
    const char *name;
    Fault fault;
    const char *origin; // "" for the line without one
    const char *message;
    int status;
};

// Two blanks follow the prefix in every one; the first two have no line end, the eighth is spelt
// so.
const Kind kKinds[] = {
    {"InvalidArgument", Fault::InvalidArgument, " Origin ",
     " - GenApi: Invalid Argument Exception the sensor is asleep", -3},
    {"Property", Fault::Property, " Origin ", " - GenApi: Property Exception the sensor is asleep",
     0},
    {"LogicalError", Fault::LogicalError, " Origin ",
     " - GenApi: Logical Error Exception the sensor is asleep\n", -14},
    {"OutOfRange", Fault::OutOfRange, " Origin ",
     " - GenApi: OutOfRange Exception the sensor is asleep\n", -13},
    {"Runtime", Fault::Runtime, " Origin ", " - GenApi: Runtime Exception the sensor is asleep\n",
     -1},
    {"Access", Fault::Access, " Origin ", " - GenApi: Access Exception the sensor is asleep\n",
     -17},
    {"Timeout", Fault::Timeout, " Origin ", " - GenApi: Timeout Exception the sensor is asleep\n",
     -6},
    {"DynamicCast", Fault::DynamicCast, " Origin ",
     " - GenApi: DynamiceCast Exception the sensor is asleep\n", -2},
    {"GenICamBadAlloc", Fault::GenICamBadAlloc, " Origin ",
     " - StdLib: Exception the sensor is asleep : BadAllocException thrown (file 'sensor.cpp', "
     "line 7)\n",
     -14},
    {"StdBadAlloc", Fault::StdBadAlloc, " Origin ", " - StdLib: Exception std::bad_alloc\n", -14},
    {"StdRuntimeError", Fault::StdRuntimeError, " Origin ",
     " - StdLib: Exception the sensor is asleep\n", -14},
    {"Number", Fault::Number, "", " GenApi: Unknown Error Exception (catchall)\n", -1},
};

class ErrorOfTheCamera : public OpenedCamera, public testing::WithParamInterface<Kind> {
protected:
    ErrorOfTheCamera() {
        describeWholeCamera(camera);
        std::snprintf(info_.manufacturer, sizeof info_.manufacturer, "Teledyne DALSA");
        std::snprintf(info_.model, sizeof info_.model, "Nano-M2020");
        std::snprintf(info_.version, sizeof info_.version, "1.02");
        std::snprintf(info_.serial, sizeof info_.serial, "S1234");
        info_.mode = 2;
    }

    static std::string message(const char *origin) {
        const Kind &kind = GetParam();
        return *kind.origin ? std::string(kind.origin) + origin + kind.message : kind.message;
    }
    const std::string status = std::to_string(GetParam().status);
};

TEST_P(ErrorOfTheCamera, EndsTheCheckWithALineAndAStatusButWithResultZero) {
    cam();
    camera.raiseAt(1, GetParam().fault);
    const auto line = [](const std::string &text) { return scenario.debug("ProcOnce", text); };
    const auto report = [](const std::string &text) {
        return scenario.debug("ProcCheckCamConfig", text);
    };
    int result = -99;
    EXPECT_EQ(lines({line("Using device Model:Nano-M2020 Serial:S1234\n"),
                     report("== Camera Device Information ==\n"),
                     report("===============================\n"),
                     report("Vendor           : Teledyne DALSA\n"),
                     report("Model            : Nano-M2020\n"), report("Version          : 1.02\n"),
                     report("DeviceSerialID   : S1234\n"), line(message("check config")),
                     line("Finished loop with: status=" + status + ", rc=0\n")}),
              logOf([&] { result = CCamProc().ProcOnce(&cam()); }));
    EXPECT_EQ(0, result);
    EXPECT_THAT(published(), IsEmpty());
}

TEST_P(ErrorOfTheCamera, EndsTheGammaStepWithALineAndAStatusButPublishes) {
    cam();
    camera.raiseAt(1, GetParam().fault);
    const auto line = [](const std::string &text) {
        return scenario.debug("ProcParametrizeCamGamma", text);
    };
    EXPECT_EQ(lines({line(message("check gamma config")),
                     line("  cur Gamma val is 0.000000 (min -1.000000, max -1.000000, inc "
                          "0.000000) (status " +
                          status + ")\n")}),
              logOf([&] { CCamProc().ProcParametrizeCamGamma(&cam()); }));
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.0f)));
}

TEST_P(ErrorOfTheCamera, IsNotLoggedBelowLevelFour) {
    for (const int level : {3, 0}) {
        cam();
        forget();
        camera.raiseAt(1, GetParam().fault);
        int result = -99;
        EXPECT_EQ(silence, logOf([&] { result = CCamProc().ProcOnce(&cam()); }, level));
        EXPECT_EQ(0, result);

        forget();
        camera.raiseAt(1, GetParam().fault);
        EXPECT_EQ(silence, logOf([&] { CCamProc().ProcParametrizeCamGamma(&cam()); }, level));
    }
    EXPECT_EQ(2u, published().size());
}

TEST_P(ErrorOfTheCamera, IsToldToTheChosenSinkAlone) {
    cam();
    camera.raiseAt(1, GetParam().fault);
    const Logged out =
        logOf([&] { CCamProc().ProcParametrizeCamGamma(&cam()); }, 4, kStandardOutput);
    EXPECT_TRUE(out.system.empty());
    EXPECT_EQ(0u, out.out.find("[KX_TD_PROC:d]: " + message("check gamma config")));

    forget();
    camera.raiseAt(1, GetParam().fault);
    const Logged system = logOf([&] { CCamProc().ProcParametrizeCamGamma(&cam()); }, 4, kSystemLog);
    EXPECT_TRUE(system.out.empty());
    ASSERT_EQ(2u, system.system.size());
    EXPECT_EQ("[d|ProcParametrizeCamGamma] " + message("check gamma config"),
              system.system[0].text);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ErrorOfTheCamera, testing::ValuesIn(kKinds),
                         [](const auto &each) { return each.param.name; });

// On standard output the line after a message without line end continues on the same line.
TEST(PropertyError, RunsIntoTheNextLineOnStandardOutput) {
    scripted::reset();
    host::reset();
    scripted::camera().enumeration("lutMode", "Off", {"Off"}).raises(Op::ToString, Fault::Property);
    scripted::camera().enumeration("lutType", "UserDefined", {"UserDefined"});
    CExCam cam(scripted::framework().handle());
    gKxLogLevel = 4;
    gKxLogMode = kBothSinks;
    const Logged logged = host::caught([&] { CCamProc().ProcParametrizeCamGamma(&cam); });
    EXPECT_EQ("[KX_TD_PROC:d]:  Origin check gamma config - GenApi: Property Exception the sensor "
              "is asleep[KX_TD_PROC:d]:   cur Gamma val is 0.000000 (min -1.000000, max -1.000000, "
              "inc 0.000000) (status 0)\n",
              logged.out);
    ASSERT_EQ(2u, logged.system.size());
    EXPECT_EQ("[d|ProcParametrizeCamGamma]  Origin check gamma config - GenApi: Property Exception "
              "the sensor is asleep",
              logged.system[0].text);
    EXPECT_EQ(LOG_DEBUG, logged.system[0].priority);
}

} // namespace
