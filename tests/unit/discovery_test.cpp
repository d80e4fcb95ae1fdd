// Discovery: which cameras are seen, listed and selected, and with what exit code.

#include "plug_in.h"

namespace {

std::string debugLine(const std::string &key) {
    return "[d|_t_kxtd_check_loop" + key + "] ";
}
std::string seen(int index, const std::string &vendor, const std::string &model,
                 const std::string &serial) {
    return debugLine(" " + std::to_string(index) + " \"" + vendor + "\" \"" + model + "\" \"" +
                     serial + "\"");
}
std::string checked(const std::string &configured, const std::string &serial) {
    return debugLine(" \"" + configured + "\" \"" + serial + "\" " +
                     comparison(serial.c_str(), configured.c_str()));
}
// The lines of one camera in the list, of which the keys show what differs.
std::string listed(int index, const std::string &serial, const std::string &model) {
    return "[i " + std::to_string(index) + "] [i] [i " + serial + "] [i] [i " + model + "] ";
}

class Discovery : public Probe {
protected:
    // Cameras that are opened fail to open, so that discovery alone is seen.
    Discovery() { framework.opensWith(GEVLIB_ERROR_GENERIC, false); }

    void expect(const char *serial, int code, const std::string &what) {
        forget();
        EXPECT_EQ(code, Vendor__Proc(serial, kSystemLog, KX_LOG_LEVEL_DEBUG));
        EXPECT_EQ(debugLine("") + "GevGetCameraList(8) " + what +
                      "GevApiUninitialize() _CloseSocketAPI() [d|_t_kxtd_check_loop " +
                      std::to_string(code) + "]",
                  happened());
    }
    void expectNone(const char *serial, const std::string &what) {
        expect(serial, 1, what + "[i] ");
    }
    void expectNotFound(const std::string &serial, const std::string &what) {
        expect(serial.c_str(), 1, what + "[i \"" + serial + "\"] ");
    }
    void expectOpened(int index, const std::string &serial, const std::string &what) {
        expect(serial.c_str(), 1,
               what + "GevOpenCamera(" + std::to_string(index) + ", 2) [w|_t_kxtd_check_loop \"" +
                   serial + "\"] ");
    }
};

TEST_F(Discovery, WithoutADalsaCameraEndsWithOne) {
    expectNone(nullptr, "");
    expectNone("S1", "");
    framework.sees({{"Acme", "Eye", "S1"}, {"", "", ""}});
    const std::string all = seen(0, "Acme", "Eye", "S1") + seen(1, "", "", "");
    expectNone(nullptr, all);
    expectNone("S1", all); // though there is one with that serial
    expectNone("", all);
}

TEST_F(Discovery, ListsDalsaCamerasByTheirPlaceAmongAllCameras) {
    framework.sees(
        {{"Acme", "Eye", "A1"}, {"Teledyne DALSA", "M2020", "S1234"}, {"dalsa", "L1", ""}});
    expect(nullptr, 0,
           seen(0, "Acme", "Eye", "A1") + seen(1, "Teledyne DALSA", "M2020", "S1234") +
               seen(2, "dalsa", "L1", "") + "[i] " + listed(1, "S1234", "M2020") +
               "[i 2] [i] [i] [i] [i L1] ");
    EXPECT_EQ(0, Vendor__Proc(nullptr, kSystemLog, 2)); // also when nobody reads it
}

TEST_F(Discovery, SelectsTheFirstCameraOfAnyMakerWhoseSerialBeginsAsConfigured) {
    framework.sees({{"DALSA", "Nano", "T1234"},
                    {"Acme", "Eye", "S1234"},
                    {"DALSA", "Nano", "S12"},
                    {"DALSA", "Nano", ""}});
    const std::string all = seen(0, "DALSA", "Nano", "T1234") + seen(1, "Acme", "Eye", "S1234") +
                            seen(2, "DALSA", "Nano", "S12") + seen(3, "DALSA", "Nano", "");
    expectOpened(1, "S12", all + checked("S12", "T1234") + checked("S12", "S1234"));
    expectOpened(0, "", all + checked("", "T1234"));
    for (const std::string other : {"s12", "S12345", "234"})
        expectNotFound(other, all + checked(other, "T1234") + checked(other, "S1234") +
                                  checked(other, "S12") + checked(other, ""));
}

TEST_F(Discovery, SelectsACameraWithoutASerialForAnEmptyOneAlone) {
    framework.sees({{"DALSA", "Nano", ""}, {"DALSA", "Nano", "S1"}});
    const std::string all = seen(0, "DALSA", "Nano", "") + seen(1, "DALSA", "Nano", "S1");
    expectOpened(0, "", all + checked("", ""));
    expectOpened(1, "S", all + checked("S", "") + checked("S", "S1"));
}

TEST_F(Discovery, SelectsByASerialThatFillsItsField) {
    const std::string serial(64, '7');
    framework.sees({{"DALSA", "Nano", serial}});
    EXPECT_EQ(1, Vendor__Proc(serial.c_str(), 0, 0));
    EXPECT_THAT(calls(), testing::Contains(openCamera(0, GevControlMode)));
    forget();
    EXPECT_EQ(1, Vendor__Proc((serial + "7").c_str(), 0, 0));
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), apiUninitialize(), closeSocketApi()));
}

TEST_F(Discovery, SeesEightCamerasAndNoMore) {
    framework.sees({{"DALSA", "Nano", "A0"},
                    {"DALSA", "Nano", "A1"},
                    {"DALSA", "Nano", "A2"},
                    {"DALSA", "Nano", "A3"},
                    {"DALSA", "Nano", "A4"},
                    {"DALSA", "Nano", "A5"},
                    {"DALSA", "Nano", "A6"},
                    {"DALSA", "Nano", "A7"},
                    {"DALSA", "Nano", "A8"}});
    std::string all;
    std::string list;
    std::string checks;
    for (int i = 0; i < 8; ++i) {
        const std::string serial = "A" + std::to_string(i);
        all += seen(i, "DALSA", "Nano", serial);
        list += "[i " + std::to_string(i) + "] [i] [i " + serial + "] [i] [i] ";
        checks += checked("A7", serial);
    }
    expect(nullptr, 0, all + "[i] " + list);
    expectOpened(7, "A7", all + checks);
    forget();
    EXPECT_EQ(1, Vendor__Proc("A8", 0, 0));
    EXPECT_EQ("GevGetCameraList(8) GevApiUninitialize() _CloseSocketAPI()", happened());
}

// And never a camera of the call before.
TEST_F(Discovery, GoesByTheCountOfTheFramework) {
    framework.sees({{"DALSA", "Nano", "S1"}, {"DALSA", "Nano", "S2"}, {"DALSA", "Nano", "S3"}});
    const std::string two = seen(0, "DALSA", "Nano", "S1") + seen(1, "DALSA", "Nano", "S2");
    framework.counts(2).complains(GEVLIB_ERROR_GENERIC); // whatever the status
    expect(nullptr, 0, two + "[i] [i 0] [i] [i S1] [i] [i] [i 1] [i] [i S2] [i] [i] ");
    expectNotFound("S3", two + checked("S3", "S1") + checked("S3", "S2"));
    framework.counts(-1);
    expectNone("S1", "");

    framework.sees({{"Acme", "Eye", "0"}}).counts(9);
    std::string all = seen(0, "Acme", "Eye", "0");
    for (int i = 1; i < 8; ++i)
        all += seen(i, "", "", "");
    expectNone(nullptr, all);

    framework.failsToList(GEVLIB_ERROR_GENERIC); // and leaves the count as it was
    expectNone(nullptr, "");
}

TEST_F(Discovery, TakesAMakerForDalsaWhoseNameHoldsThatWordInAnyCase) {
    const std::pair<const char *, bool> makers[] = {{"Dalsa", true},
                                                    {"DALSA", true},
                                                    {"dalsa", true},
                                                    {"Teledyne DALSA", true},
                                                    {"TeledyneDaLsaInc.", true},
                                                    {"Dals a", false},
                                                    {"Dals", false},
                                                    {"Acme", false},
                                                    {"", false}};
    for (const auto &[name, isDalsa] : makers) {
        framework.sees({{name, "Model", "S1"}});
        EXPECT_EQ(isDalsa ? 0 : 1, Vendor__Proc(nullptr, 0, 0)) << name;
    }
}

} // namespace
