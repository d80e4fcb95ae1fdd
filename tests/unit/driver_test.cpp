// The scenario's driver with a check that can fail. The library's own never does, so this program
// puts one in front of it; it also watches the camera object go, and counts how often the text of a
// camera's error is fetched.

#include "plug_in.h"

namespace {

std::function<int(CExCam *)> check;
int textsFetched = 0;

} // namespace

int KxTd::CCamProc::ProcCheckCamConfig(CExCam *cam) {
    return check(cam);
}

KxTd::CExCam::~CExCam() {
    scripted::record(call("~CExCam"));
}

const char *GenICam_3_0::GenericException::GetDescription() const noexcept {
    ++textsFetched;
    return description_.c_str();
}

namespace {

struct CountedError : std::exception {
    const char *what() const noexcept override {
        ++textsFetched;
        return "counted";
    }
};

class Driver : public Probe {
protected:
    Driver() {
        framework.sees({{"DALSA", "Nano-M2020", "S1234"}});
        check = [](CExCam *) { return 0; };
    }

    // What a probe comes to while its camera is open.
    std::string session(int code) {
        forget();
        EXPECT_EQ(code, Vendor__Proc("S1", kSystemLog, 4));
        const std::string all = happened();
        const std::string begin =
            "KxSc__InitStaticKeys() [d|KxTd__Proc 2] [d|ProcOnce M2020 S1234] ";
        const std::string end = "GevCloseCamera() ~CExCam() [d|_t_kxtd_check_loop] "
                                "GevApiUninitialize() _CloseSocketAPI() [d|_t_kxtd_check_loop " +
                                std::to_string(code) + "]";
        const std::size_t from = all.find(begin) + begin.size();
        EXPECT_EQ(end, all.substr(std::min(all.size(), all.size() - end.size())));
        return all.substr(from, all.size() - end.size() - from);
    }
};

TEST_F(Driver, ReturnsWhatTheCheckReturnsAndExportsIfThatIsZero) {
    for (const int value : {0, 1, 7, std::numeric_limits<int>::max()}) {
        check = [value](CExCam *) { return value; };
        const std::string code = std::to_string(value);
        EXPECT_EQ("[d|ProcOnce 0 " + code + "] [d|KxTd__Proc " + code + "] " +
                      (value == 0 ? "KxSc__ProcExport() " : ""),
                  session(value));
    }
}

TEST_F(Driver, MakesMinusTwoOfAnyNegativeResultAndExportsNothingThoughItWasPublished) {
    for (const int value : {-1, -2, -99, std::numeric_limits<int>::min()}) {
        check = [value](CExCam *cam) {
            CCamProc().ProcParametrizeCamRotate(cam);
            return value;
        };
        EXPECT_EQ("KxSc__SetParamVal(2) [e|src/kx_td_proc.cpp:288] [d|KxTd__Proc -2] ",
                  session(-2));
        GEV_CAMERA_INFO info{};
        CExCam cam(framework.handle());
        cam.info = &info;
        EXPECT_EQ(-2, CCamProc().ProcOnce(&cam));
    }
}

// The error line is the only one that names a place in the source instead of an operation.
TEST_F(Driver, WritesTheErrorLineExactlyLikeThisFromLevelOne) {
    check = [](CExCam *) { return -1; };
    for (const int level : {-1, 0, 1, 2, 3})
        for (const int mode : {0, kStandardOutput, kSystemLog, kBothSinks}) {
            const Logged logged = probe("S1", level, mode);
            const std::string text = "Device check configuration error, finish loop\n";
            EXPECT_EQ(level > 0 && mode & kStandardOutput ? "[KX_TD_PROC:e]: " + text : "",
                      logged.out);
            ASSERT_EQ(level > 0 && mode & kSystemLog ? 1u : 0u, logged.system.size());
            for (const host::SystemLine &line : logged.system) {
                EXPECT_EQ(LOG_ERR, line.priority);
                EXPECT_EQ("[e|src/kx_td_proc.cpp:288] " + text, line.text);
            }
            EXPECT_EQ(-2, exitCode);
        }
}

TEST_F(Driver, HandsTheCheckTheOneObjectOnTheHeapWithTheRecordThatWasOpened) {
    long before = 0;
    long blocks = 0;
    check = [&](CExCam *cam) {
        blocks = host::liveBlocks() - before;
        EXPECT_EQ(framework.opened(), cam->info);
        EXPECT_EQ(framework.handle(), cam->handle);
        return 0;
    };
    before = host::liveBlocks();
    EXPECT_EQ(0, Vendor__Proc("S1", 0, 0));
    EXPECT_EQ(host::allocations() < 0 ? 0 : 1, blocks);
    EXPECT_EQ(before, host::liveBlocks());
}

TEST_F(Driver, LetsNoKindOfErrorOutAndExportsAllTheSame) {
    const int statuses[] = {-3, 0, -14, -13, -1, -17, -6, -2, -14, -14, -14, -1};
    for (const Fault fault : scripted::kFaults) {
        check = [fault](CExCam *) -> int { scripted::raise(fault); };
        const std::string line =
            fault == Fault::GenICamBadAlloc ? "[d|ProcOnce 7] " : "[d|ProcOnce] ";
        EXPECT_EQ(line + "[d|ProcOnce " + std::to_string(statuses[static_cast<int>(fault)]) +
                      " 0] [d|KxTd__Proc 0] KxSc__ProcExport() ",
                  session(0));
    }
}

TEST_F(Driver, FetchesTheTextOfAnErrorOnceForEachSink) {
    std::vector<std::function<void()>> errors = {[] { throw CountedError(); }};
    for (const Fault fault : scripted::kFaults)
        if (fault < Fault::GenICamBadAlloc)
            errors.emplace_back([fault] { scripted::raise(fault); });
    for (const auto &raise : errors) {
        check = [&](CExCam *) -> int {
            raise();
            return 0;
        };
        for (const auto &[level, mode, times] : {std::tuple(4, kBothSinks, 2),
                                                 {4, kSystemLog, 1},
                                                 {4, kStandardOutput, 1},
                                                 {4, 0, 0},
                                                 {3, kBothSinks, 0}}) {
            textsFetched = 0;
            probe("S1", level, mode);
            EXPECT_EQ(times, textsFetched);
            EXPECT_EQ(0, exitCode);
        }
    }
}

} // namespace
