// Every operation of the camera class, on every camera that lacks a feature, has it as another kind
// of node, or does not let it be read or written.
//
// A case is an operation and a camera: it runs twice on the camera class and on its model, since
// the first call may fill a cache or switch something for good, and everything is compared each
// time. The last sweep raises an error at each access that a case makes.

#include "camera_model.h"

#include <cstring>
#include <map>
#include <set>
#include <sstream>

namespace {

using namespace model;

// The cameras.

// A camera on which every operation has all that it needs: at rest and with the user's table
// applied, or with its brightness controlled and its gamma curve applied.
Tree wholeCamera(bool atWork) {
    const auto automatic = [](const Feature &feature) {
        return onlyWhile("autoBrightnessMode", "Active", feature);
    };
    return {
        readOnly(integer("WidthMax", 1936, 1936, 1)),
        readOnly(integer("HeightMax", 1216, 1216, 1)),
        integer("Width", 16, 1928, 16),
        integer("Height", 2, 1212, 2),
        integer("OffsetX", 0, 16, 8),
        integer("OffsetY", -5000000000.0, 5000000000.0, 4),
        floating("Gain", 1, 100, 0.5),
        floating("ExposureTime", 20, 1000000, 1),
        onlyWhile("lutType", "GammaCorrection", floating("gammaCorrection", 0.25, 4, 0.125)),
        floating("AcquisitionFrameRate", 1, 60, 0),
        automatic(integer("autoBrightnessTarget", 0, 255, 1)),
        automatic(alsoInteger(floating("exposureAutoMinValue", 20, 1000, 2))),
        automatic(alsoInteger(floating("exposureAutoMaxValue", 1000, 33000, 4))),
        automatic(alsoInteger(floating("gainAutoMinValue", 1, 8, 1))),
        automatic(alsoInteger(floating("gainAutoMaxValue", 1, 100, 1))),
        enumeration("ExposureAuto", "Once"),
        enumeration("GainAuto", atWork ? "Continuous" : "Off"),
        boolean("ReverseX"),
        boolean("ReverseY"),
        integer("balanceWhitePeriod", 1, 60, 1),
        floating("BalanceRatio", 0, 100, 0.5),
        enumeration("lutMode", "Active"),
        enumeration("lutType", atWork ? "GammaCorrection" : "UserDefined"),
        enumeration("lutSize", "Bpp8"),
        enumeration("LUTSelector", "Green"),
        integer("LUTIndex", 0, 4095, 1),
        integer("LUTValue", 0, 4095, 1),
        enumeration("autoBrightnessMode", atWork ? "Active" : "Off"),
        enumeration("autoBrightnessSequence", "Elsewhere"),
        enumeration("gainAutoSource", "AnalogAll"),
        enumeration("GainSelector", "AnalogAll"),
        enumeration("BalanceRatioSelector", "Green"),
        enumeration("DeviceTemperatureSelector", "Internal"),
        readOnly(floating("DeviceTemperature", 41.25, 41.25, 0)),
    };
}

// Whatever may be wrong with one feature.
struct Flaw {
    std::string name;
    std::function<void(Tree &, std::size_t)> apply;
};

Flaw replacedBy(const std::string &name, const Feature &other) {
    return {name, [other](Tree &tree, std::size_t at) {
                Feature feature = other;
                feature.name = tree[at].name;
                feature.condition = tree[at].condition;
                feature.conditionEntry = tree[at].conditionEntry;
                tree[at] = feature;
            }};
}

Flaw accessible(const std::string &name, GenApi_3_0::EAccessMode mode) {
    return {name, [mode](Tree &tree, std::size_t at) { tree[at].access = mode; }};
}

const std::vector<Flaw> &flaws() {
    static const std::vector<Flaw> all = {
        {"sound", [](Tree &, std::size_t) {}},
        {"absent",
         [](Tree &tree, std::size_t at) { tree.erase(tree.begin() + static_cast<long>(at)); }},
        replacedBy("an integer", integer("", 1, 10000, 1)),
        replacedBy("a float", floating("", 0.5, 10000, 0)),
        replacedBy("a float and an integer", alsoInteger(floating("", 0, 10000, 0))),
        replacedBy("a boolean", boolean("")),
        replacedBy("an enumeration of other entries",
                   enumeration("", "Elsewhere", &kForeignEntries)),
        replacedBy("an enumeration that shows Off", enumeration("", "Off")),
        replacedBy("a command", command("")),
        accessible("not implemented", NI),
        accessible("not available", NA),
        accessible("read-only", RO),
        accessible("write-only", WO),
    };
    return all;
}

// What an operation comes to.

struct Outputs {
    int ints[3] = {-12345, -12345, -12345};
    float floats[3] = {-12345, -12345, -12345};
};

struct Outcome {
    int code = -99;
    Raised raised = Raised::Nothing;
    Outputs outputs;
    std::vector<Event> trace; // with the lines of the system log
};

bool operator==(const Outcome &a, const Outcome &b) {
    return a.code == b.code && a.raised == b.raised &&
           std::memcmp(&a.outputs, &b.outputs, sizeof a.outputs) == 0 && a.trace == b.trace;
}

std::ostream &operator<<(std::ostream &out, const Outcome &outcome) {
    const char *const raised[] = {"nothing", "AccessException", "OutOfRangeException",
                                  "InvalidArgumentException", "something else"};
    out << "result " << outcome.code << ", raised " << raised[static_cast<int>(outcome.raised)]
        << ", delivered";
    for (const int each : outcome.outputs.ints)
        out << ' ' << each;
    for (const float each : outcome.outputs.floats)
        out << ' ' << each;
    out << '\n';
    for (const Event &each : outcome.trace)
        out << "  " << each << '\n';
    return out;
}

// The calls to make: each of the camera class and of the model alike.

struct Call {
    std::string operation;
    std::string arguments;
    std::function<int(CExCam &, Outputs &)> real;
    std::function<int(Model &, Outputs &)> model;
};

// Arguments stand in parentheses; of outputs there is "to".
#define CALL(operation, shown, arguments)                                                          \
    {                                                                                              \
        const auto run = [=](auto &cam, [[maybe_unused]] Outputs &to) {                            \
            return static_cast<int>(cam.operation arguments);                                      \
        };                                                                                         \
        calls.push_back({#operation, shown, run, run});                                            \
    }

std::vector<Call> callsWithProperty(int property) {
    std::vector<Call> calls;
    const auto type = static_cast<PropertyType>(property);
    const std::string it = std::to_string(property);
    CALL(ExPropertyGetInt, it, (type, &to.ints[0]));
    CALL(ExPropertySetInt, it + ", 32", (type, 32));
    CALL(ExPropertyGetIntRange, it, (type, &to.ints[0], &to.ints[1], &to.ints[2]));
    CALL(ExPropertyGetFloat, it, (type, &to.floats[0]));
    CALL(ExPropertySetFloat, it + ", 20.0", (type, 20.0f));
    CALL(ExPropertyGetFloatRange, it, (type, &to.floats[0], &to.floats[1], &to.floats[2]));
    CALL(ExPropertySetEna, it + ", true", (type, true));
    CALL(ExPropertySetEna, it + ", false", (type, false));
    CALL(ExPropertySetEnaAutoPush, it + ", true", (type, true));
    CALL(ExPropertySetEnaAutoPush, it + ", false", (type, false));
    CALL(ExPropertySetAutoOff, it, (type));
    CALL(ExPropertySetAutoCont, it, (type));
    return calls;
}

// Nobody wants the values, or one of them alone.
std::vector<Call> callsForLess(int property) {
    std::vector<Call> calls;
    const auto type = static_cast<PropertyType>(property);
    const std::string it = std::to_string(property);
    CALL(ExPropertyGetInt, it + ", null", (type, nullptr));
    CALL(ExPropertyGetFloat, it + ", null", (type, nullptr));
    CALL(ExPropertyGetGamma, "null", (nullptr));
    for (int wanted = 0; wanted < 4; ++wanted) { // 3: none of them
        const auto only = [wanted](auto *to, int which) { return wanted == which ? to : nullptr; };
        const std::string which = it + ", only " + std::to_string(wanted);
        CALL(ExPropertyGetIntRange, which,
             (type, only(to.ints, 0), only(to.ints, 1), only(to.ints, 2)));
        CALL(ExPropertyGetFloatRange, which,
             (type, only(to.floats, 0), only(to.floats, 1), only(to.floats, 2)));
        CALL(ExPropertyGetGammaRange, which,
             (only(to.floats, 0), only(to.floats, 1), only(to.floats, 2)));
    }
    return calls;
}

std::vector<Call> callsWithoutProperty(const std::string &feature) {
    std::vector<Call> calls;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const char *entry : {"Active", "Elsewhere", "No such entry"})
        CALL(ExPropertySetEnumFromStr, feature + ", " + entry, (feature.c_str(), entry));
    for (const bool enable : {false, true})
        CALL(ExSetAutoExpoEna, std::to_string(enable), (enable));
    for (const float target : {0.5f, 1.5f, nan})
        CALL(ExSetAutoExpoVal, std::to_string(target), (target));
    for (const auto &[min, max] :
         {std::pair(0.0f, 26.0f), {6.0f, 1.0f}, {-1.0f, 20.0f}, {6.0f, 41.0f}, {nan, nan}}) {
        const float lower = min;
        const float upper = max;
        CALL(ExPropertySetAutoRangeGain, std::to_string(min) + ", " + std::to_string(max),
             (lower, upper));
    }
    for (const auto &[min, max] : {std::pair(100.9f, 5000.7f),
                                   {900.0f, 100.0f},
                                   {1.0f, 5000.0f},
                                   {100.0f, 40000.0f},
                                   {nan, nan}}) {
        const float lower = min;
        const float upper = max;
        CALL(ExPropertySetAutoRangeExpo, std::to_string(min) + ", " + std::to_string(max),
             (lower, upper));
    }
    CALL(ExPropertyGetLUTMode, "", ());
    for (const int state : {-1, 0, 1, 2, 3, 4})
        CALL(ExPropertySetLUTMode, std::to_string(state), (static_cast<td_lg_states>(state)));
    CALL(ExPropertyGetGammaRange, "", (&to.floats[0], &to.floats[1], &to.floats[2]));
    CALL(ExPropertyGetGamma, "", (&to.floats[0]));
    for (const float gamma : {0.5f, 4.03125f, 4.25f, 0.125f})
        CALL(ExPropertySetGamma, std::to_string(gamma), (gamma));
    for (const int channel : {0, 1, 2, -1})
        CALL(ExPropertySetLUTChannel, std::to_string(channel) + ", 3", (channel, 3));
    CALL(ExPropertySetLUTChannel, "0, 1", (0, 1));
    CALL(ExPropertySetLUTValue, "7, 99", (7, 99));
    CALL(ExPropertySetLUTValue, "7, -1", (7, -1));
    return calls;
}

std::vector<Call> joined(std::vector<Call> first, const std::vector<Call> &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The sweep.

class EveryOperation : public PlugIn {
protected:
    std::size_t cases = 0;
    std::size_t cameras = 0;
    std::map<std::string, std::set<int>> codesOf; // of each operation, without exceptions
    std::set<Raised> raisedAtAll;

    void sweep(const std::string &of, const Tree &tree, NodeMap nodeMap,
               const std::vector<Call> &calls) {
        ++cameras;
        bool fresh = false;
        for (const Call &call : calls) {
            if (HasFailure())
                return;
            if (!fresh)
                describeAnew(tree, nodeMap);
            fresh = !run(of, tree, nodeMap, call, 0).cameraChanged;
        }
    }

    // The error leaves the first call where it is raised; the second finds what the first one left.
    void sweepErrors(const std::string &of, const Tree &tree, const std::vector<Call> &calls) {
        for (const Call &call : calls) {
            Model unharmed(tree, NodeMap::Present);
            modelled(call, unharmed);
            for (std::size_t access = 1; access <= unharmed.accesses && !HasFailure(); ++access) {
                describeAnew(tree, NodeMap::Present);
                run(of, tree, NodeMap::Present, call, access);
            }
        }
    }

    void expectAtLeast(std::size_t least) {
        EXPECT_GE(cases, least);
        std::printf("%zu cases on %zu cameras\n", cases, cameras);
        RecordProperty("cases", std::to_string(cases));
        RecordProperty("cameras", std::to_string(cameras));
    }

private:
    void describeAnew(const Tree &tree, NodeMap nodeMap) {
        scripted::reset();
        host::reset();
        framework.nodeMap(nodeMap);
        describe(camera, tree);
    }

    Model run(const std::string &of, const Tree &tree, NodeMap nodeMap, const Call &call,
              std::size_t raiseAt) {
        Model model(tree, nodeMap);
        model.raiseAt = raiseAt;
        CExCam cam(framework.handle());
        forget();
        if (raiseAt > 0)
            camera.raiseAt(raiseAt, Fault::Timeout);
        for (const char *time : {"first", "second"}) {
            const Outcome expected = modelled(call, model);
            const Outcome actual = happening(call, cam);
            if (!(expected == actual)) {
                ADD_FAILURE() << call.operation << "(" << call.arguments << "), called the " << time
                              << " time on " << of << ", access " << raiseAt
                              << " raises\n--- expected: " << expected << "--- actual: " << actual;
                break;
            }
            if (expected.raised == Raised::Nothing)
                codesOf[call.operation].insert(expected.code);
            raisedAtAll.insert(expected.raised);
        }
        ++cases;
        return model;
    }

    static Outcome modelled(const Call &call, Model &model) {
        Outcome outcome;
        model.trace.clear();
        try {
            outcome.code = call.model(model, outcome.outputs);
        } catch (const Raised raised) {
            outcome.raised = raised;
        }
        outcome.trace = model.trace;
        return outcome;
    }

    static Outcome happening(const Call &call, CExCam &cam) {
        Outcome outcome;
        forget();
        try {
            outcome.code = call.real(cam, outcome.outputs);
        } catch (const GenICam_3_0::AccessException &) {
            outcome.raised = Raised::Access;
        } catch (const GenICam_3_0::OutOfRangeException &) {
            outcome.raised = Raised::OutOfRange;
        } catch (const GenICam_3_0::InvalidArgumentException &) {
            outcome.raised = Raised::InvalidArgument;
        } catch (const GenICam_3_0::TimeoutException &) {
            outcome.raised = Raised::Other;
        } catch (...) {
            ADD_FAILURE() << "an error of no kind that a camera raised";
        }
        outcome.trace = trace();
        return outcome;
    }
};

TEST_F(EveryOperation, DoesWhatItMustWhateverIsWrongWithAFeature) {
    std::vector<Call> properties;
    for (int property = 0; property < kPropertyCount; ++property)
        properties = joined(properties, callsWithProperty(property));

    std::size_t featureCount = 0;
    for (const bool atWork : {false, true}) {
        Tree whole = wholeCamera(atWork);
        // Cameras lack it, but one that has it must be no exception.
        whole.push_back(integer("UNSPECIFIED_PROPERTY_TYPE", 0, 100, 1));
        featureCount = whole.size();
        for (std::size_t at = 0; at < whole.size(); ++at) {
            const std::string name(whole[at].name);
            const std::vector<Call> calls = joined(properties, callsWithoutProperty(name));
            for (const Flaw &flaw : flaws()) {
                if (flaw.name == "sound" && at > 0)
                    continue;
                Tree tree = whole;
                flaw.apply(tree, at);
                sweep(std::string(atWork ? "a camera at work" : "a camera at rest") + " with " +
                          name + " " + flaw.name,
                      tree, NodeMap::Present, calls);
            }
        }
    }

    if (HasFailure())
        return; // the sweep ended early: what it reached tells nothing

    EXPECT_EQ(35u, featureCount);
    EXPECT_EQ(2u * (35u * 12u + 1u), cameras);
    expectAtLeast(250000);

    // The cameras are of use only when they lead every operation to each of its results.
    const std::set<int> doneOrMissing{0, -2};
    const std::set<int> limits{0, -4, -5, -6, -7, -8, -9};
    const std::map<std::string, std::set<int>> results = {
        {"ExPropertyGetInt", doneOrMissing},        {"ExPropertySetInt", doneOrMissing},
        {"ExPropertyGetIntRange", doneOrMissing},   {"ExPropertyGetFloat", doneOrMissing},
        {"ExPropertySetFloat", doneOrMissing},      {"ExPropertyGetFloatRange", doneOrMissing},
        {"ExPropertySetEna", doneOrMissing},        {"ExPropertySetEnumFromStr", doneOrMissing},
        {"ExSetAutoExpoEna", {0, -2, -3}},          {"ExPropertySetEnaAutoPush", doneOrMissing},
        {"ExPropertySetAutoOff", doneOrMissing},    {"ExPropertySetAutoCont", doneOrMissing},
        {"ExSetAutoExpoVal", {0, -2, -5}},          {"ExPropertySetAutoRangeGain", limits},
        {"ExPropertySetAutoRangeExpo", limits},     {"ExPropertySetLUTValue", doneOrMissing},
        {"ExPropertySetLUTChannel", doneOrMissing}, {"ExPropertySetLUTMode", doneOrMissing},
        {"ExPropertyGetLUTMode", {0, 1, 2, 3, 4}},  {"ExPropertyGetGammaRange", {0, 1, -2}},
        {"ExPropertyGetGamma", doneOrMissing},      {"ExPropertySetGamma", {0, -1, -2, -5, -6}},
    };
    EXPECT_EQ(22u, results.size());
    EXPECT_EQ(results, codesOf);
    EXPECT_EQ((std::set<Raised>{Raised::Nothing, Raised::Access, Raised::OutOfRange,
                                Raised::InvalidArgument}),
              raisedAtAll);
}

TEST_F(EveryOperation, TakesEveryNumberForAProperty) {
    for (const bool atWork : {false, true})
        for (const NodeMap nodeMap : {NodeMap::Present, NodeMap::WithoutMap, NodeMap::None})
            for (int property = -50; property <= 60; ++property)
                sweep("a camera asked for property " + std::to_string(property),
                      wholeCamera(atWork), nodeMap, callsWithProperty(property));
    expectAtLeast(2 * 3 * 111 * 12);
}

TEST_F(EveryOperation, LetsAnErrorOutAtEveryAccessAndFindsWhatItLeft) {
    for (const bool atWork : {false, true}) {
        const Tree whole = wholeCamera(atWork);
        std::vector<Call> calls = callsWithoutProperty("lutMode");
        for (int property = 0; property < kPropertyCount; ++property)
            calls = joined(calls, callsWithProperty(property));
        sweepErrors("a sound camera", whole, calls);
    }
    expectAtLeast(1900);
}

TEST_F(EveryOperation, DoesTheSameForWhoeverWantsLess) {
    for (const bool atWork : {false, true})
        for (const NodeMap nodeMap : {NodeMap::Present, NodeMap::None})
            for (int property = 0; property < kPropertyCount; ++property)
                sweep("a sound camera", wholeCamera(atWork), nodeMap, callsForLess(property));
    expectAtLeast(2 * 2 * 23 * 15);
}

TEST_F(EveryOperation, TellsOfAMissingNodeMapOrRaisesOfAnEmptyOne) {
    const Tree whole = wholeCamera(false);
    for (const NodeMap nodeMap : {NodeMap::None, NodeMap::WithoutMap})
        sweep(nodeMap == NodeMap::None ? "a camera without node map" : "a reference without map",
              whole, nodeMap, callsWithoutProperty("lutMode"));
    expectAtLeast(2 * 30);
}

} // namespace
