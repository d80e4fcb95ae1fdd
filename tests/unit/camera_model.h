/**
 * A model of the camera class on cameras that are data.
 *
 * A camera is a Tree of features. describe() makes the scripted camera such a camera; Model has the
 * operations of KxTd::CExCam, and tells for that camera what each must return or raise, deliver,
 * log and ask. It is written from what the camera class promises, by other means than the class, so
 * that a difference between the two is a fault in one of them.
 */
#ifndef KXINFO_TESTS_CAMERA_MODEL_H
#define KXINFO_TESTS_CAMERA_MODEL_H

#include "plug_in.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <map>
#include <set>
#include <utility>

namespace model {

enum class Kind { Integer, Float, FloatAndInteger, Boolean, Enumeration, Command };

using Entries = std::initializer_list<std::string_view>;

// Every enumeration offers every entry that the plug-in knows, unless it is one that takes the
// place of another kind of feature.
inline const Entries kEntries = {"Off",
                                 "Once",
                                 "Active",
                                 "Continuous",
                                 "Red",
                                 "Green",
                                 "Blue",
                                 "AnalogAll",
                                 "SensorAll",
                                 "Bpp8",
                                 "Bpp12",
                                 "UserDefined",
                                 "GammaCorrection",
                                 "Internal",
                                 "Elsewhere",
                                 "Exposure_Gain_Iris"};
inline const Entries kForeignEntries = {"Elsewhere"};

struct Feature {
    std::string_view name;
    Kind kind = Kind::Integer;
    double min = 0, max = 0, inc = 0;     // numbers; their value is the minimum at first
    std::string_view shown = {};          // enumerations
    const Entries *entries = &kEntries;   // enumerations
    std::string_view condition = {};      // not available while this enumeration ...
    std::string_view conditionEntry = {}; // ... shows another entry
    GenApi_3_0::EAccessMode access = RW;
};

using Tree = std::vector<Feature>;

inline Feature integer(std::string_view name, double min, double max, double inc) {
    return {name, Kind::Integer, min, max, inc};
}
inline Feature floating(std::string_view name, double min, double max, double inc) {
    return {name, Kind::Float, min, max, inc};
}
inline Feature boolean(std::string_view name) {
    return {name, Kind::Boolean};
}
inline Feature enumeration(std::string_view name, std::string_view shown,
                           const Entries *entries = &kEntries) {
    return {name, Kind::Enumeration, 0, 0, 0, shown, entries};
}
inline Feature command(std::string_view name) {
    return {name, Kind::Command};
}
inline Feature readOnly(Feature feature) {
    feature.access = RO;
    return feature;
}
inline Feature alsoInteger(Feature feature) {
    feature.kind = Kind::FloatAndInteger;
    return feature;
}
inline Feature onlyWhile(std::string_view condition, std::string_view entry, Feature feature) {
    feature.condition = condition;
    feature.conditionEntry = entry;
    return feature;
}

/** The features' names by row of the property table. */
constexpr std::string_view kRowNames[kPropertyCount] = {
    "WidthMax",
    "HeightMax",
    "Width",
    "Height",
    "OffsetX",
    "OffsetY",
    "Gain",
    "ExposureTime",
    "gammaCorrection",
    "AcquisitionFrameRate",
    "autoBrightnessTarget",
    "exposureAutoMinValue",
    "exposureAutoMaxValue",
    "gainAutoMinValue",
    "gainAutoMaxValue",
    "ExposureAuto",
    "GainAuto",
    "ReverseX",
    "ReverseY",
    "balanceWhitePeriod",
    "BalanceRatio",
    "BalanceRatio",
    "UNSPECIFIED_PROPERTY_TYPE",
};

/** Makes the scripted camera such a camera. */
inline void describe(scripted::Camera &camera, const Tree &tree) {
    const auto has = [&](std::string_view name) {
        return std::any_of(tree.begin(), tree.end(),
                           [=](const Feature &each) { return each.name == name; });
    };
    for (const Feature &each : tree) {
        switch (each.kind) {
        case Kind::Integer:
            camera.integer(each.name, static_cast<int64_t>(each.min))
                .range(static_cast<int64_t>(each.min), static_cast<int64_t>(each.max),
                       static_cast<int64_t>(each.inc));
            break;
        case Kind::Float:
        case Kind::FloatAndInteger:
            camera.floating(each.name, each.min).range(each.min, each.max, each.inc);
            if (each.kind == Kind::FloatAndInteger)
                camera.alsoInteger();
            break;
        case Kind::Boolean:
            camera.boolean(each.name, false);
            break;
        case Kind::Enumeration:
            camera.enumeration(each.name, each.shown, *each.entries);
            break;
        case Kind::Command:
            camera.command(each.name);
            break;
        }
        camera.access(each.access);
    }
    for (const Feature &each : tree) {
        if (has(each.condition))
            camera.feature(each.name).onlyWhile(each.condition, each.conditionEntry);
    }
}

/** What leaves an operation. */
enum class Raised { Nothing, Access, OutOfRange, InvalidArgument, Other };

inline __attribute__((format(printf, 1, 2))) std::string text(const char *format, ...) {
    char room[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(room, sizeof room, format, arguments);
    va_end(arguments);
    return room;
}

// The camera class as it must be, on a camera as data. What a node raises leaves it as Raised.
class Model {
public:
    Model(const Tree &tree, NodeMap nodeMap) : tree_(tree), nodeMap_(nodeMap) {}

    std::vector<Event> trace;
    bool cameraChanged = false;
    std::size_t accesses = 0; // of nodes
    std::size_t raiseAt = 0;  // the access of that number raises Other; at 0 none does

    int ExPropertyGetInt(PropertyType type, int *value) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warnedOf("ExPropertyGetInt", row);
        return withTarget(row, [&] {
            Feature *node = find(nameOf(row), Kind::Integer);
            if (!node)
                return -2;
            const double read = number(*node);
            deliver(value, low32(std::round(read)));
            return 0;
        });
    }

    int ExPropertySetInt(PropertyType type, int value) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warnedOf("ExPropertySetInt", row);
        return withTarget(row, [&] {
            Feature *node = find(nameOf(row), Kind::Integer);
            if (!node)
                return -2;
            setNumber(*node, value, write(node->name, value));
            debug(text("ExPropertySetInt %d %d", row, value));
            return 0;
        });
    }

    int ExPropertyGetIntRange(PropertyType type, int *min, int *max, int *inc) {
        const int row = rowOf(type);
        Row &kept = rows_[row];
        const auto delivered = [&](int code) {
            deliver(min, kept.intMin);
            deliver(max, kept.intMax);
            deliver(inc, kept.incrementBits);
            return code;
        };
        if (kept.intKnown)
            return delivered(0);
        if (noNodeMap())
            return warnedOf("ExPropertyGetIntRange", type);
        return delivered(withTarget(row, [&] {
            Feature *node = find(nameOf(row), Kind::Integer);
            if (!node)
                return -2;
            const auto [lowest, highest, step] = limits(*node);
            kept.intMin = low32(std::round(lowest));
            kept.intMax = low32(std::round(highest));
            kept.incrementBits = node->kind == Kind::Integer ? low32(step) : 1;
            kept.intKnown = true;
            debug(text("ExPropertyGetIntRange %d %d %d %d", row, kept.intMin, kept.intMax,
                       kept.incrementBits));
            return 0;
        }));
    }

    int ExPropertyGetFloat(PropertyType type, float *value) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warnedOf("ExPropertyGetFloat", row);
        return prepared(row, true, [&] {
            Feature *node = find(nameOf(row), Kind::Float);
            if (!node)
                return -2;
            const auto read = static_cast<float>(number(*node));
            deliver(value, inDecibels(row) ? 20.0f * std::log10(read) : read);
            return 0;
        });
    }

    int ExPropertySetFloat(PropertyType type, float value) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warnedOf("ExPropertySetFloat", row);
        // The rows with a selector are those converted here.
        const Preparation &preparation = preparationOf(row);
        if (preparation.selector)
            set(preparation.selector, preparation.entry);
        Feature *node = find(nameOf(row), Kind::Float);
        if (!node)
            return -2;
        const double written =
            static_cast<double>(preparation.selector ? std::pow(10.0f, value / 20.0f) : value);
        setNumber(*node, written, write(node->name, written));
        debug(text("ExPropertySetFloat %d %f", row, static_cast<double>(value)));
        return 0;
    }

    int ExPropertyGetFloatRange(PropertyType type, float *min, float *max, float *inc) {
        const int row = rowOf(type);
        Row &kept = rows_[row];
        if (kept.floatKnown)
            return kept.deliverFloats(min, max, inc);
        if (noNodeMap())
            return warnedOf("ExPropertyGetFloatRange", type);
        return prepared(row, false, [&] {
            Feature *node = find(nameOf(row), Kind::Float);
            if (!node)
                return -2;
            const auto [lowest, highest, step] = limits(*node);
            if (inDecibels(row))
                kept.keep(20.0f * std::log10(static_cast<float>(lowest)),
                          20.0f * std::log10(static_cast<float>(highest)),
                          20.0f * std::log10(static_cast<float>(lowest + step)));
            else
                kept.keep(static_cast<float>(lowest), static_cast<float>(highest),
                          static_cast<float>(step));
            debug(text("ExPropertyGetFloatRange %d %f %f %f", row,
                       static_cast<double>(kept.floatMin), static_cast<double>(kept.floatMax),
                       static_cast<double>(kept.floatInc())));
            return kept.deliverFloats(min, max, inc);
        });
    }

    int ExPropertySetEna(PropertyType type, bool enable) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warnedOf("ExPropertySetEna", row);
        Feature *node = find(nameOf(row), Kind::Boolean);
        if (!node)
            return -2;
        touch(write(node->name, enable));
        requireWritable(*node);
        debug(text("ExPropertySetEna %d %d", row, enable ? 1 : 0));
        return 0;
    }

    int ExPropertySetEnumFromStr(const char *feature, const char *entry) {
        if (noNodeMap())
            return warned("ExPropertySetEnumFromStr", -1);
        if (!set(feature, entry))
            return -2;
        debug(text("ExPropertySetEnumFromStr \"%s\" \"%s\"", feature, entry));
        return 0;
    }

    int ExPropertySetEnaAutoPush(PropertyType type, bool enable) {
        const int row = rowOf(type);
        if (noNodeMap())
            return warned("ExPropertySetEnaAutoPush", -1);
        Feature *mode = find("autoBrightnessMode", Kind::Enumeration);
        const std::string_view kept = mode ? shown(*mode) : "Active";
        if (kept != "Active") {
            if (!enable)
                return 0;
            choose(*mode, "Active");
        }
        const char *entry = enable ? "Continuous" : "Off";
        const bool done = set(nameOf(row), entry);
        if (done)
            debug(text("ExPropertySetEnaAutoPush %d \"%s\"", row, entry));
        if (kept != "Active")
            choose(*mode, kept);
        return done ? 0 : -2;
    }
    int ExPropertySetAutoOff(PropertyType type) { return ExPropertySetEnaAutoPush(type, false); }
    int ExPropertySetAutoCont(PropertyType type) { return ExPropertySetEnaAutoPush(type, true); }

    int ExSetAutoExpoEna(bool enable) {
        if (noNodeMap())
            return warned("ExSetAutoExpoEna", -1);
        const char *mode = enable ? "Active" : "Off";
        if (!set("autoBrightnessMode", mode))
            return -2;
        debug("ExSetAutoExpoEna");
        if (!enable)
            return 0;
        if (!set("autoBrightnessSequence", "Exposure_Gain_Iris"))
            return -3;
        debug("ExSetAutoExpoEna");
        return 0;
    }

    int ExSetAutoExpoVal(float target) {
        if (target < 0.0f || target > 1.0f) {
            return warned(
                text("ExSetAutoExpoVal %f 0.000000 1.000000", static_cast<double>(target)), -5);
        }
        return ExPropertySetInt(AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE,
                                truncated(std::round(target * 255.0f)));
    }

    int ExPropertySetAutoRangeGain(float minDb, float maxDb) {
        const auto factor = [](float db) { return truncated(std::pow(10.0f, db / 20.0f)); };
        return setLimits("ExPropertySetAutoRangeGain",
                         {AUTO_GAIN_MIN_PROPERTY_TYPE, minDb, factor(minDb)},
                         {AUTO_GAIN_MAX_PROPERTY_TYPE, maxDb, factor(maxDb)});
    }

    int ExPropertySetAutoRangeExpo(float minVal, float maxVal) {
        return setLimits("ExPropertySetAutoRangeExpo",
                         {AUTO_EXPOSURE_MIN_PROPERTY_TYPE, minVal, truncated(minVal)},
                         {AUTO_EXPOSURE_MAX_PROPERTY_TYPE, maxVal, truncated(maxVal)});
    }

    td_lg_states ExPropertyGetLUTMode() {
        if (noNodeMap()) {
            warned("ExPropertyGetLUTMode", 0);
            return TD_LG_UNKNOWN;
        }
        Feature *lutMode = find("lutMode", Kind::Enumeration);
        Feature *lutType = find("lutType", Kind::Enumeration);
        if (!lutMode || !lutType)
            return TD_LG_UNKNOWN;
        const std::string mode(shown(*lutMode));
        const std::string type(shown(*lutType));
        debug(text("ExPropertyGetLUTMode \"%s\" \"%s\"", mode.c_str(), type.c_str()));
        static const std::map<std::pair<std::string, std::string>, td_lg_states> states = {
            {{"Active", "UserDefined"}, TD_LG_USER_LUT},
            {{"Active", "GammaCorrection"}, TD_LG_GAMMA},
        };
        const auto found = states.find({mode, type});
        return mode == "Off" ? TD_LG_OFF : found == states.end() ? TD_LG_OTHER : found->second;
    }

    int ExPropertySetLUTMode(td_lg_states state) {
        if (noNodeMap())
            return warned("ExPropertySetLUTMode", -1);
        Feature *lutMode = find("lutMode", Kind::Enumeration);
        Feature *lutType = find("lutType", Kind::Enumeration);
        if (!lutMode || !lutType)
            return -2;
        const char *type = state == TD_LG_USER_LUT ? "UserDefined"
                           : state == TD_LG_GAMMA  ? "GammaCorrection"
                                                   : "";
        const char *mode = *type ? "Active" : "Off";
        if (*type)
            choose(*lutType, type);
        if (state == TD_LG_USER_LUT)
            set("lutSize", "Bpp12");
        choose(*lutMode, mode);
        debug(text("ExPropertySetLUTMode \"%s\" \"%s\"", mode, type));
        return 0;
    }

    int ExPropertyGetGammaRange(float *min, float *max, float *inc) {
        Row &kept = rows_[GAMMA_PROPERTY_TYPE];
        if (kept.floatKnown)
            return kept.deliverFloats(min, max, inc);
        const td_lg_states state = ExPropertyGetLUTMode();
        if (state == TD_LG_UNKNOWN)
            return 1;
        const auto read = [&] {
            Feature *node = find("gammaCorrection", Kind::Float);
            if (!node)
                return -2;
            debug("ExPropertyGetGammaRange");
            const auto [lowest, highest, step] = limits(*node);
            kept.keep(static_cast<float>(lowest), static_cast<float>(highest),
                      static_cast<float>(step));
            debug(text("ExPropertyGetGammaRange %f %f", static_cast<double>(kept.floatMin),
                       static_cast<double>(kept.floatMax)));
            return kept.deliverFloats(min, max, inc);
        };
        if (state == TD_LG_GAMMA)
            return read();
        return whileShowing(
            "lutType", "GammaCorrection", [] {}, [&] { debug("ExPropertyGetGammaRange"); }, read);
    }

    int ExPropertyGetGamma(float *gamma) {
        const td_lg_states state = ExPropertyGetLUTMode();
        if (state != TD_LG_UNKNOWN && state != TD_LG_GAMMA) {
            debug(text("ExPropertyGetGamma %d", state));
            deliver(gamma, -1.0f);
            return 0;
        }
        if (state == TD_LG_GAMMA && ExPropertyGetGammaRange(nullptr, nullptr, nullptr) != 0)
            warned("ExPropertyGetGamma", 0);
        Feature *node = noNodeMap() ? nullptr : find("gammaCorrection", Kind::Float);
        if (!node)
            return warned("ExPropertyGetGamma", -2);
        const auto read = static_cast<float>(number(*node));
        debug(text("ExPropertyGetGamma %f", static_cast<double>(read)));
        deliver(gamma, read);
        return 0;
    }

    int ExPropertySetGamma(float gamma) {
        const auto asked = static_cast<double>(gamma);
        const td_lg_states state = ExPropertyGetLUTMode();
        if (state == TD_LG_UNKNOWN)
            return -1;
        if (state == TD_LG_GAMMA) {
            float min = 0;
            float max = 0;
            if (ExPropertyGetGammaRange(&min, &max, nullptr) != 0)
                return warned("ExPropertySetGamma", -5);
            const double lower = static_cast<double>(min) - 0.06;
            const double upper = static_cast<double>(max) + 0.06;
            if (asked < lower || asked > upper)
                return warned(text("ExPropertySetGamma %f %f %f", asked, lower, upper), -6);
        } else {
            debug("ExPropertySetGamma");
            if (ExPropertySetLUTMode(TD_LG_GAMMA) != 0)
                return warned("ExPropertySetGamma", -4);
        }
        Feature *node = find("gammaCorrection", Kind::Float);
        if (!node)
            return warned("ExPropertySetGamma", -2);
        setNumber(*node, asked, write(node->name, asked));
        debug(text("ExPropertySetGamma %f", asked));
        return 0;
    }

    int ExPropertySetLUTChannel(int channel, int channelCount) {
        if (channelCount <= 1)
            return 0;
        if (noNodeMap())
            return warned("ExPropertySetLUTChannel", -1);
        const char *const colours[] = {"Red", "Green", "Blue"};
        if (!set("LUTSelector", colours[channel == 0 ? 0 : channel == 1 ? 1 : 2]))
            return warned("ExPropertySetLUTChannel", -2);
        return 0;
    }

    int ExPropertySetLUTValue(int index, int value) {
        if (noNodeMap())
            return warned("ExPropertySetLUTValue", -1);
        Feature *lutIndex = find("LUTIndex", Kind::Integer);
        Feature *lutValue = find("LUTValue", Kind::Integer);
        if (!lutIndex || !lutValue)
            return -2;
        setNumber(*lutIndex, index, write(lutIndex->name, index));
        setNumber(*lutValue, value, write(lutValue->name, value));
        return 0;
    }

private:
    template <typename T>
    static void deliver(T *to, T value) {
        if (to)
            *to = value;
    }

    // Rows: names, ranges once read, and what reading and ranging a float needs.

    struct Row {
        float floatMin = 0, floatMax = 0;
        int intMin = 0, intMax = 0;
        int incrementBits = 0;
        bool floatKnown = false, intKnown = false;

        float floatInc() const {
            float increment;
            std::memcpy(&increment, &incrementBits, sizeof increment);
            return increment;
        }
        void keep(float min, float max, float inc) {
            floatMin = min;
            floatMax = max;
            std::memcpy(&incrementBits, &inc, sizeof inc);
            floatKnown = true;
        }
        int deliverFloats(float *min, float *max, float *inc) const {
            deliver(min, floatMin);
            deliver(max, floatMax);
            deliver(inc, floatInc());
            return 0;
        }
    };

    struct Preparation {
        const char *selector = nullptr, *entry = nullptr;
        const char *automation = nullptr; // forced to "Continuous" under an active brightness mode
        const char *source = nullptr;     // then set to "SensorAll", all of it announced
    };

    static const Preparation &preparationOf(int row) {
        static const std::map<int, Preparation> all = {
            {6, {"GainSelector", "SensorAll"}},
            {11, {nullptr, nullptr, "ExposureAuto"}},
            {12, {nullptr, nullptr, "ExposureAuto"}},
            {13, {nullptr, nullptr, "GainAuto", "gainAutoSource"}},
            {14, {nullptr, nullptr, "GainAuto", "gainAutoSource"}},
            {20, {"BalanceRatioSelector", "Red"}},
            {21, {"BalanceRatioSelector", "Blue"}},
        };
        static const Preparation none;
        const auto found = all.find(row);
        return found == all.end() ? none : found->second;
    }
    static bool inDecibels(int row) {
        static const std::set<int> rows = {6, 13, 14, 20, 21};
        return rows.count(row) != 0;
    }

    // A negative remainder names no feature.
    static int rowOf(int type) {
        const int remainder = type % 23;
        return remainder < 0 ? 22 : remainder;
    }
    static std::string_view nameOf(int row) { return kRowNames[row]; }

    // Does the work while an enumeration, if there is one of that name, shows an entry. What the
    // work raises leaves the entry as it is.
    template <typename Before, typename After, typename Work>
    int whileShowing(const char *name, const char *entry, Before before, After after, Work work) {
        Feature *node = find(name, Kind::Enumeration);
        const std::string_view kept = node ? shown(*node) : entry;
        if (kept != entry) {
            before();
            choose(*node, entry);
            after();
        }
        const int code = work();
        if (kept != entry)
            choose(*node, kept);
        return code;
    }

    template <typename Work>
    int withTarget(int row, Work work) {
        return row == 10 ? whileShowing(
                               "autoBrightnessMode", "Active", [] {}, [] {}, work)
                         : work();
    }

    template <typename Work>
    int prepared(int row, bool announced, Work work) {
        const Preparation &preparation = preparationOf(row);
        if (preparation.selector)
            set(preparation.selector, preparation.entry);
        if (!preparation.automation)
            return work();

        const auto announce = [&, really = announced && preparation.source] {
            if (really)
                debug("ExPropertyGetFloat");
        };
        return whileShowing("autoBrightnessMode", "Active", announce, announce, [&] {
            Feature *automation = find(preparation.automation, Kind::Enumeration);
            if (automation && shown(*automation) != "Continuous")
                choose(*automation, "Continuous");
            Feature *source =
                preparation.source ? find(preparation.source, Kind::Enumeration) : nullptr;
            if (source) {
                announce();
                choose(*source, "SensorAll");
                announce();
            }
            return work();
        });
    }

    struct Limit {
        PropertyType type;
        float asked;
        int written;
    };

    int setLimits(const char *operation, const Limit &min, const Limit &max) {
        struct Side {
            const Limit &limit;
            bool crossed;
            int noRange, outOfRange, notSet;
        };
        const Side sides[] = {{min, min.asked > max.asked, -4, -5, -8}, {max, false, -6, -7, -9}};
        for (const Side &side : sides) {
            float lower = 0;
            float upper = 0;
            if (ExPropertyGetFloatRange(side.limit.type, &lower, &upper, nullptr) != 0)
                return warned(operation, side.noRange);
            if (side.crossed || side.limit.asked < lower || side.limit.asked > upper)
                return warned(text("%s %f %f %f", operation, static_cast<double>(side.limit.asked),
                                   static_cast<double>(lower), static_cast<double>(upper)),
                              side.outOfRange);
        }
        for (const Side &side : sides)
            if (ExPropertySetInt(side.limit.type, side.limit.written) != 0)
                return warned(operation, side.notSet);
        return 0;
    }

    static int truncated(float value) {
        if (std::isnan(value))
            return 0;
        return static_cast<int>(
            std::clamp(static_cast<double>(value), -2147483648.0, 2147483647.0));
    }
    static int low32(double value) {
        return static_cast<int>(static_cast<uint32_t>(static_cast<int64_t>(value)));
    }

    // Messages.

    void debug(const std::string &key) { trace.push_back(host::debug(key)); }
    int warned(const std::string &key, int code) {
        trace.push_back(host::warning(key));
        return code;
    }
    int warnedOf(const char *operation, int number) {
        return warned(text("%s %u", operation, static_cast<unsigned>(number)), -1);
    }

    // Nodes.

    void touch(const Event &event) {
        trace.push_back(event);
        if (++accesses == raiseAt)
            throw Raised::Other;
    }

    bool noNodeMap() const { return nodeMap_ == NodeMap::None; }

    Feature *named(std::string_view name) {
        for (Feature &each : tree_)
            if (each.name == name)
                return &each;
        return nullptr;
    }

    Feature *find(std::string_view name, Kind kind) {
        if (nodeMap_ == NodeMap::WithoutMap)
            throw Raised::Access;
        touch(lookup(name));
        Feature *node = named(name);
        if (!node)
            return nullptr;
        const bool number = kind == Kind::Integer || kind == Kind::Float;
        return node->kind == kind || (number && node->kind == Kind::FloatAndInteger) ? node
                                                                                     : nullptr;
    }

    GenApi_3_0::EAccessMode mode(const Feature &node) {
        if (node.access == NI || node.condition.empty())
            return node.access;
        // Whatever stands where the condition is, other than a command, shows something else.
        const Feature *condition = named(node.condition);
        const bool hidden = condition && condition->kind != Kind::Command &&
                            condition->shown != node.conditionEntry;
        return hidden ? NA : node.access;
    }
    void requireReadable(const Feature &node) {
        if (mode(node) != RO && mode(node) != RW)
            throw Raised::Access;
    }
    void requireWritable(const Feature &node) {
        if (mode(node) != WO && mode(node) != RW)
            throw Raised::Access;
        cameraChanged = true;
    }

    std::string_view shown(const Feature &node) {
        touch(readText(node.name));
        requireReadable(node);
        return node.shown;
    }
    void choose(Feature &node, std::string_view entry) {
        touch(write(node.name, entry));
        requireWritable(node);
        if (std::find(node.entries->begin(), node.entries->end(), entry) == node.entries->end())
            throw Raised::InvalidArgument;
        node.shown = entry;
    }
    // Whether there is such an enumeration.
    bool set(std::string_view name, std::string_view entry) {
        Feature *node = find(name, Kind::Enumeration);
        if (node)
            choose(*node, entry);
        return node;
    }

    double number(const Feature &node) {
        touch(read(node.name));
        requireReadable(node);
        const auto found = numbers_.find(node.name);
        return found == numbers_.end() ? node.min : found->second;
    }
    void setNumber(const Feature &node, double value, const Event &event) {
        touch(event);
        requireWritable(node);
        const bool onStep =
            node.kind != Kind::Integer || std::remainder(value - node.min, node.inc) == 0;
        if (value < node.min || value > node.max || !onStep)
            throw Raised::OutOfRange;
        numbers_[node.name] = value;
    }
    std::array<double, 3> limits(const Feature &node) {
        for (const Event &each : {readMin(node.name), readMax(node.name), readInc(node.name)}) {
            touch(each);
            if (mode(node) == NI || mode(node) == NA)
                throw Raised::Access;
        }
        return {node.min, node.max, node.inc};
    }

    Tree tree_;
    NodeMap nodeMap_;
    Row rows_[kPropertyCount];
    std::map<std::string_view, double> numbers_;
};

} // namespace model

#endif
