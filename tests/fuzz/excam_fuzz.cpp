// The plug-in on a camera whose feature tree is made up, under a made-up sequence of all its
// operations, or as a whole probe. The first byte tells which; then come the tree and the calls.
//
// What the tree holds is the camera's affair: any kind, range, access mode and text. What the
// plug-in does must keep to its contract: result codes, temporary switches put back, ranges read
// once, nothing logged when logging is off, and a probe that always closes what it opened.

#include "input.h"

#include <array>
#include <functional>
#include <optional>

#include "kxinfo-dalsa/kx_log.h"
#include "kxinfo-dalsa/kx_proc.h"
#include "kxinfo-dalsa/kx_td_excam.h"

#include "host.h"
#include "scripted.h"

namespace {

using namespace KxTd;
using scripted::camera;
using scripted::framework;

// Every feature that the plug-in may look for, each where its kind is the usual one.
const auto kIntegers = split("WidthMax HeightMax Width Height OffsetX OffsetY LUTIndex LUTValue "
                             "autoBrightnessTarget");
const auto kFloats = split("Gain ExposureTime gammaCorrection AcquisitionFrameRate BalanceRatio "
                           "exposureAutoMinValue exposureAutoMaxValue gainAutoMinValue "
                           "gainAutoMaxValue DeviceTemperature balanceWhitePeriod");
const auto kBooleans = split("ReverseX ReverseY");

struct Choice {
    std::string name;
    std::array<const char *, 4> entries;
};
const Choice kEnumerations[] = {
    {"autoBrightnessMode", {"Active", "Off", "Once", "Manual"}},
    {"lutMode", {"Off", "Active", "Auto", "off"}},
    {"lutType", {"UserDefined", "GammaCorrection", "Log", "None"}},
    {"lutSize", {"Bpp8", "Bpp10", "Bpp12", "Bpp14"}},
    {"LUTSelector", {"Red", "Green", "Blue", "Mono"}},
    {"ExposureAuto", {"Off", "Once", "Continuous", "On"}},
    {"GainAuto", {"Off", "Once", "Continuous", "On"}},
    {"gainAutoSource", {"SensorAll", "AnalogAll", "DigitalAll", "Tap1"}},
    {"GainSelector", {"SensorAll", "AnalogAll", "DigitalAll", "Tap1"}},
    {"BalanceRatioSelector", {"Red", "Green", "Blue", "Mono"}},
    {"autoBrightnessSequence", {"Exposure_Gain_Iris", "Gain_Exposure_Iris", "Iris", "None"}},
    {"DeviceTemperatureSelector", {"Internal", "Mainboard", "Sensor", "None"}}};

constexpr std::size_t kLongestText = 64;

GenApi_3_0::EAccessMode accessMode(Input &input) {
    using namespace GenApi_3_0;
    constexpr EAccessMode kUnusual[] = {NI, NA, WO, RO};
    return input.oneIn(8) ? kUnusual[input.below(4)] : RW;
}

// A number of a usual size, or any.
int64_t integer(Input &input) {
    return input.oneIn(4) ? input.number<int64_t>() : input.number<int16_t>();
}
double floating(Input &input) {
    return input.oneIn(4) ? input.number<double>() : input.number<int16_t>() / 16.0;
}

// Of a number's feature: access and perhaps a range.
template <typename Number>
void describeNumber(Input &input, scripted::Camera &feature, Number (*number)(Input &)) {
    feature.access(accessMode(input));
    if (input.oneIn(2)) {
        const Number min = number(input);
        const Number max = number(input);
        feature.range(min, max, number(input));
    }
}

void addEnumeration(Input &input, const Choice &choice) {
    std::array<std::string, 4> texts;
    for (std::size_t i = 0; i < texts.size(); ++i)
        texts[i] = input.oneIn(16) ? input.text(kLongestText) : choice.entries[i];
    const std::string current = texts[input.below(4)];
    camera()
        .enumeration(choice.name, current, {texts[0], texts[1], texts[2], texts[3]})
        .access(accessMode(input));
    if (input.oneIn(16))
        camera().entryAccess(texts[input.below(4)], accessMode(input));
    if (input.oneIn(16))
        camera().shows(input.text(kLongestText));
}

// A feature of its usual kind, of another, or none.
void addFeature(Input &input, const std::string &name, unsigned usualKind, const Choice &choice) {
    const unsigned decision = input.below(16);
    if (decision == 15)
        return;
    switch (decision == 14 ? input.below(5) : usualKind) {
    case 0:
        return describeNumber(input, camera().integer(name, integer(input)), integer);
    case 1:
        describeNumber(input, camera().floating(name, floating(input)), floating);
        if (input.oneIn(8)) {
            const double first = floating(input);
            camera().readings({first, floating(input)});
        }
        return;
    case 2:
        camera().boolean(name, input.oneIn(2)).access(accessMode(input));
        return;
    case 3:
        return addEnumeration(input, {name, choice.entries});
    default:
        camera().command(name);
    }
}

void describeCamera(Input &input) {
    for (const Choice &choice : kEnumerations)
        addFeature(input, choice.name, 3, choice);
    for (const std::string &name : kIntegers)
        addFeature(input, name, 0, kEnumerations[0]);
    for (const std::string &name : kFloats)
        addFeature(input, name, 1, kEnumerations[1]);
    for (const std::string &name : kBooleans)
        addFeature(input, name, 2, kEnumerations[5]);

    const std::vector<std::string> names = camera().names();
    if (names.empty())
        return;
    const auto any = [&] { return names[input.below(static_cast<unsigned>(names.size()))]; };
    for (unsigned left = input.below(4); left > 0; --left) {
        const std::string name = any();
        const Choice &choice = kEnumerations[input.below(12)];
        const auto has = std::find(names.begin(), names.end(), choice.name) != names.end();
        if (has && name != choice.name)
            camera().feature(name).onlyWhile(choice.name, choice.entries[input.below(4)]);
    }
    if (input.oneIn(4)) {
        const auto fault = scripted::kFaults[input.below(std::size(scripted::kFaults))];
        camera().raiseAt(1 + input.below(100), fault);
    }
    if (input.oneIn(8))
        framework().nodeMap(input.oneIn(2) ? scripted::NodeMap::None
                                           : scripted::NodeMap::WithoutMap);
    framework().featureValue("PixelFormat", input.number<uint32_t>(),
                             static_cast<GEV_STATUS>(-static_cast<int>(input.below(10))));
}

std::string shown(const char *name) {
    const auto names = camera().names();
    return std::find(names.begin(), names.end(), name) == names.end() ? "" : camera().value(name);
}

// What the plug-in's object must remember of one property: the ranges it once delivered, and the
// increment that both kinds of range share.
struct Row {
    std::optional<std::array<uint32_t, 2>> integers;
    std::optional<std::array<uint32_t, 2>> floats;
    uint32_t increment = 0;
};

template <typename Number>
uint32_t bits(Number number) {
    uint32_t all;
    std::memcpy(&all, &number, sizeof all);
    return all;
}

class Calls {
public:
    Calls(Input &input, CExCam &cam) : input_(input), cam_(cam) {}

    void one() {
        const std::string mode = shown("autoBrightnessMode");
        const std::string lutType = shown("lutType");
        keepsMode_ = true;
        keepsLutType_ = true;
        const std::size_t touched = camera().accessCount();
        try {
            call();
        } catch (...) { // the camera's, which may stay as it is
            for (int type = 0; type < kPropertyCount; ++type)
                learn(static_cast<PropertyType>(type));
            return;
        }
        if (!cam_.nodeMap)
            MUST(camera().accessCount() == touched, "without a node map nothing is asked");
        if (keepsMode_)
            MUST(shown("autoBrightnessMode") == mode, "autoBrightnessMode is put back to '%s'",
                 mode.c_str());
        if (keepsLutType_)
            MUST(shown("lutType") == lutType, "lutType is put back to '%s'", lutType.c_str());
    }

private:
    PropertyType property() {
        const uint8_t number = input_.byte();
        if (number == 255)
            return static_cast<PropertyType>(input_.number<int32_t>());
        return static_cast<PropertyType>(number % 24);
    }

    Row &row(PropertyType type) {
        const int index = type % kPropertyCount;
        return rows_[static_cast<std::size_t>(index < 0 ? UNSPECIFIED_PROPERTY_TYPE : index)];
    }

    static bool namesNothing(PropertyType type) {
        return type % kPropertyCount == UNSPECIFIED_PROPERTY_TYPE || type % kPropertyCount < 0;
    }

    void expect(const char *operation, int result, std::initializer_list<int> documented) {
        MUST(std::find(documented.begin(), documented.end(), result) != documented.end(),
             "%s returned %d, which it does not know", operation, result);
    }

    // An operation on a property: 0, -1 without a node map, -2 where there is no such feature.
    void expectTyped(const char *operation, int result, PropertyType type) {
        expect(operation, result, {0, -1, -2});
        MUST((result == -1) == !cam_.nodeMap, "%s returned %d", operation, result);
        if (cam_.nodeMap && namesNothing(type))
            MUST(result == -2, "%s knows property %d", operation, type);
    }

    // Of a range that was read once.
    template <typename Number>
    void expectKnown(const std::array<uint32_t, 2> &known, uint32_t increment, int result,
                     const std::array<Number, 3> &range, bool isQuiet) {
        MUST(result == 0, "a range read once is known");
        MUST(isQuiet, "a known range touches and logs nothing");
        MUST(bits(range[0]) == known[0] && bits(range[1]) == known[1], "a known range stays");
        MUST(bits(range[2]) == increment, "the increment is that read last");
    }

    void readIntRange(PropertyType type) {
        Row &known = row(type);
        std::array<int, 3> range = {11, 12, 13};
        auto &[min, max, inc] = range;
        const auto before = scripted::trace();
        const int result = cam_.ExPropertyGetIntRange(type, &min, &max, &inc);
        if (known.integers)
            return expectKnown(*known.integers, known.increment, result, range,
                               scripted::trace() == before);
        expectTyped("ExPropertyGetIntRange", result, type);
        if (result == -1)
            MUST(min == 11 && max == 12 && inc == 13, "nothing is delivered without a node map");
        if (result == -2)
            MUST(min == 0 && max == 0 && bits(inc) == known.increment,
                 "a missing integer has the range 0 to 0");
        if (result == 0)
            known = {std::array<uint32_t, 2>{bits(min), bits(max)}, known.floats, bits(inc)};
    }

    template <typename Read>
    void readFloatRange(const char *operation, PropertyType type, bool isTyped, Read read) {
        Row &known = row(type);
        std::array<float, 3> range = {11, 12, 13};
        auto &[min, max, inc] = range;
        const auto before = scripted::trace();
        const int result = read(&min, &max, &inc);
        if (known.floats)
            return expectKnown(*known.floats, known.increment, result, range,
                               scripted::trace() == before);
        if (isTyped)
            expectTyped(operation, result, type);
        else
            expect(operation, result, {0, 1, -2});
        if (result != 0)
            MUST(min == 11 && max == 12 && inc == 13, "%s delivers nothing with result %d",
                 operation, result);
        else
            known = {known.integers, std::array<uint32_t, 2>{bits(min), bits(max)}, bits(inc)};
    }

    // Operations that read ranges on the way, or read one and then fail to put a switch back: what
    // they have read is learnt by asking an object that cannot ask the camera.
    void learn(PropertyType type) {
        Row &known = row(type);
        GenApi_3_0::CNodeMapRef *nodeMap = cam_.nodeMap;
        cam_.nodeMap = nullptr;
        const std::size_t touched = camera().accessCount();
        int intMin = 0, intMax = 0, intInc = 0;
        float min = 0, max = 0, inc = 0;
        const int ints = cam_.ExPropertyGetIntRange(type, &intMin, &intMax, &intInc);
        const int floats = cam_.ExPropertyGetFloatRange(type, &min, &max, &inc);
        cam_.nodeMap = nodeMap;
        MUST(camera().accessCount() == touched, "without a node map nothing is asked");
        MUST(ints == 0 || (ints == -1 && !known.integers), "a known range stays known");
        MUST(floats == 0 || (floats == -1 && !known.floats), "a known range stays known");
        if (ints == 0) {
            known.integers = {bits(intMin), bits(intMax)};
            known.increment = bits(intInc);
        }
        if (floats == 0) {
            known.floats = {bits(min), bits(max)};
            known.increment = bits(inc);
        }
    }

    // An operation on a property that the input names.
    template <class Do>
    void typed(const char *name, Do operation) {
        const PropertyType type = property();
        expectTyped(name, operation(type), type);
    }
    void plain(const char *name, int result) { expect(name, result, {0, -1, -2}); }
    float real() { return static_cast<float>(floating(input_)); }

    void call() {
        int number = 0;
        float value = 0;
        const unsigned operation = input_.below(22);
        switch (operation) {
        case 0:
            return typed("ExPropertyGetInt",
                         [&](auto type) { return cam_.ExPropertyGetInt(type, &number); });
        case 1:
            return typed("ExPropertySetInt", [&](auto type) {
                return cam_.ExPropertySetInt(type, static_cast<int>(integer(input_)));
            });
        case 2:
            return readIntRange(property());
        case 3:
            return typed("ExPropertyGetFloat",
                         [&](auto type) { return cam_.ExPropertyGetFloat(type, &value); });
        case 4:
            return typed("ExPropertySetFloat", [&](auto type) {
                return cam_.ExPropertySetFloat(type, input_.number<float>());
            });
        case 5: {
            const PropertyType type = property();
            return readFloatRange("ExPropertyGetFloatRange", type, true, [&](auto... range) {
                return cam_.ExPropertyGetFloatRange(type, range...);
            });
        }
        case 6:
            return typed("ExPropertySetEna",
                         [&](auto type) { return cam_.ExPropertySetEna(type, input_.oneIn(2)); });
        case 7: {
            const Choice &choice = input_.oneOf(kEnumerations);
            const std::string feature = input_.oneIn(8) ? input_.text(kLongestText) : choice.name;
            const std::string entry =
                input_.oneIn(8) ? input_.text(kLongestText) : input_.oneOf(choice.entries);
            keepsMode_ = keepsLutType_ = false;
            return plain("ExPropertySetEnumFromStr",
                         cam_.ExPropertySetEnumFromStr(feature.c_str(), entry.c_str()));
        }
        case 8: {
            const PropertyType type = property();
            return plain("ExPropertySetEnaAutoPush",
                         cam_.ExPropertySetEnaAutoPush(type, input_.oneIn(2)));
        }
        case 9:
            return plain("ExPropertySetAutoOff", cam_.ExPropertySetAutoOff(property()));
        case 10:
            return plain("ExPropertySetAutoCont", cam_.ExPropertySetAutoCont(property()));
        case 11:
            keepsMode_ = false;
            return expect("ExSetAutoExpoEna", cam_.ExSetAutoExpoEna(input_.oneIn(2)),
                          {0, -1, -2, -3});
        case 12: {
            const float target = input_.oneIn(2) ? input_.number<float>() : input_.byte() / 255.0f;
            const int result = cam_.ExSetAutoExpoVal(target);
            expect("ExSetAutoExpoVal", result, {0, -1, -2, -5});
            MUST((result == -5) == (target < 0.0f || target > 1.0f), "target %f: %d",
                 static_cast<double>(target), result);
            return;
        }
        case 13:
        case 14: {
            const float lower = real();
            const float upper = real();
            expect("ExPropertySetAutoRange",
                   operation == 13 ? cam_.ExPropertySetAutoRangeGain(lower, upper)
                                   : cam_.ExPropertySetAutoRangeExpo(lower, upper),
                   {0, -4, -5, -6, -7, -8, -9});
            return learnLimits();
        }
        case 15:
            return expect("ExPropertyGetLUTMode", cam_.ExPropertyGetLUTMode(), {0, 1, 2, 3, 4});
        case 16:
            keepsLutType_ = false;
            return plain("ExPropertySetLUTMode",
                         cam_.ExPropertySetLUTMode(static_cast<td_lg_states>(input_.below(6))));
        case 17:
            return readFloatRange(
                "ExPropertyGetGammaRange", GAMMA_PROPERTY_TYPE, false,
                [&](auto... range) { return cam_.ExPropertyGetGammaRange(range...); });
        case 18:
            expect("ExPropertyGetGamma", cam_.ExPropertyGetGamma(&value), {0, -2});
            return learn(GAMMA_PROPERTY_TYPE);
        case 19:
            keepsLutType_ = false;
            expect("ExPropertySetGamma", cam_.ExPropertySetGamma(real()), {0, -1, -2, -4, -5, -6});
            return learn(GAMMA_PROPERTY_TYPE);
        case 20: {
            const int channel = static_cast<int>(input_.below(5)) - 1;
            return plain(
                "ExPropertySetLUTChannel",
                cam_.ExPropertySetLUTChannel(channel, static_cast<int>(input_.below(5)) - 1));
        }
        default: {
            const int index = static_cast<int>(integer(input_));
            return plain("ExPropertySetLUTValue",
                         cam_.ExPropertySetLUTValue(index, static_cast<int>(integer(input_))));
        }
        }
    }

    void learnLimits() {
        for (const PropertyType type :
             {AUTO_EXPOSURE_MIN_PROPERTY_TYPE, AUTO_EXPOSURE_MAX_PROPERTY_TYPE,
              AUTO_GAIN_MIN_PROPERTY_TYPE, AUTO_GAIN_MAX_PROPERTY_TYPE})
            learn(type);
    }

    Input &input_;
    CExCam &cam_;
    std::array<Row, kPropertyCount> rows_;
    bool keepsMode_ = true;
    bool keepsLutType_ = true;
};

void logging(Input &input, int &mode, int &level) {
    constexpr int kModes[] = {0, KX_LOG_MODE_STDOUT, KX_LOG_MODE_SYSLOG, 3, -1, 4};
    mode = kModes[input.below(6)];
    level = static_cast<int>(input.below(8)) - 2;
}

void checkSinks(const host::Logged &logged, int mode, int level) {
    if (level < 1 || !(mode & KX_LOG_MODE_STDOUT))
        MUST(logged.out.empty(), "nothing goes to standard output");
    if (level < 1 || !(mode & KX_LOG_MODE_SYSLOG))
        MUST(logged.system.empty(), "nothing goes to the system log");
}

void operations(Input &input) {
    int mode = 0, level = 0;
    logging(input, mode, level);
    const host::Logged logged = host::caught([&] {
        CExCam cam(framework().handle());
        gKxLogMode = mode;
        gKxLogLevel = level;
        Calls calls(input, cam);
        for (int count = 0; input.left() > 0 && count < 100; ++count)
            calls.one();
        gKxLogMode = gKxLogLevel = 0;
    });
    checkSinks(logged, mode, level);
}

scripted::Record record(Input &input) {
    scripted::Record made;
    made.manufacturer = input.oneIn(4) ? input.text(kLongestText) : "Teledyne DALSA";
    made.model = input.oneIn(4) ? input.text(kLongestText) : "Nano";
    made.serial = input.oneIn(4) ? input.text(kLongestText) : "S1234";
    made.version = input.oneIn(4) ? input.text(kLongestText) : "1.02";
    made.mode = input.byte();
    return made;
}

std::vector<std::string> functionsCalled() {
    std::vector<std::string> all;
    for (const scripted::Event &call : scripted::calls())
        all.emplace_back(call.subject.view());
    return all;
}

void probe(Input &input) {
    const auto first = record(input);
    const auto second = record(input);
    const auto third = record(input);
    const unsigned seen = input.below(4);
    if (seen == 0)
        framework().sees({first, second, third});
    else if (seen == 1)
        framework().sees({first, second});
    else if (seen == 2)
        framework().sees({first});
    else
        framework().sees({first, first, first, first, second, second, second, second, third});
    if (input.oneIn(8))
        framework().counts(static_cast<int>(input.below(20)) - 5);
    if (input.oneIn(8))
        framework().failsToList(GEVLIB_ERROR_GENERIC);
    if (input.oneIn(8))
        framework().complains(GEVLIB_ERROR_GENERIC);
    bool opens = true;
    bool handle = true;
    if (input.oneIn(8)) {
        opens = input.oneIn(2);
        handle = input.oneIn(2);
        framework().opensWith(opens ? GEVLIB_OK : GEVLIB_ERROR_ACCESS_DENIED, handle);
    }
    const std::string serial = input.oneIn(4) ? input.text(kLongestText) : "S12";
    const bool lists = input.oneIn(8);
    int mode = 0, level = 0;
    logging(input, mode, level);

    int result = -99;
    const host::Logged logged =
        host::caught([&] { result = Vendor__Proc(lists ? nullptr : serial.c_str(), mode, level); });
    MUST(gKxLogMode == mode && gKxLogLevel == level, "log settings are the host's");
    gKxLogMode = gKxLogLevel = 0;
    checkSinks(logged, mode, level);
    MUST(result == 0 || result == 1, "a probe returned %d", result);
    MUST(!framework().isOpen(), "no camera stays open");

    std::vector<std::string> expected{"GevGetCameraList"};
    const auto called = functionsCalled();
    const bool opened = std::find(called.begin(), called.end(), "GevOpenCamera") != called.end();
    if (opened) {
        expected.emplace_back("GevOpenCamera");
        if (opens && handle) {
            expected.emplace_back("GevGetFeatureNodeMap");
            expected.emplace_back("KxSc__InitStaticKeys");
            for (const auto &call : called) {
                if (call == "GevGetFeatureValue" || call == "KxSc__SetParamVal")
                    expected.push_back(call);
            }
            expected.emplace_back("KxSc__ProcExport");
        }
        if (handle)
            expected.emplace_back("GevCloseCamera");
        MUST(result == (opens && handle ? 0 : 1), "a probe returned %d", result);
    }
    expected.emplace_back("GevApiUninitialize");
    expected.emplace_back("_CloseSocketAPI");
    MUST(called == expected, "a probe calls the framework and the host in order");
    if (lists)
        MUST(!opened, "a listing opens nothing");

    constexpr KxScParamId kOrder[] = {3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21};
    const auto &published = host::published();
    MUST(published.size() <= std::size(kOrder), "fifteen settings are published at most");
    for (std::size_t i = 0; i < published.size(); ++i) {
        MUST(published[i].id == kOrder[i], "settings are published in order");
        MUST(published[i].index == KX_SC_NO_INDEX, "settings have no index");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    scripted::reset();
    host::reset();
    Input input(data, size);
    const bool whole = input.oneIn(2);
    describeCamera(input);
    if (whole)
        probe(input);
    else
        operations(input);
    MUST(camera().accessModeQueries() == 0, "features are used, not asked for their access mode");
    return 0;
}
