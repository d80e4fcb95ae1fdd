// The same descriptions over the same memory, evaluated by us and by Aravis: what both say of every
// node is the same, but for the differences that are listed here, each with the reason why it is
// not ours that is wrong.

#include <arv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <pugixml.hpp>
#include <regex>
#include <string>
#include <vector>

#include "support.h"

namespace {

using namespace GenApi_3_0;

// ---- a camera that is memory ---------------------------------------------------------------------

// As the list of differences writes them.
enum class Pattern : char { Zeros = 'Z', Ones = '1', AllBits = 'A', Noise = 'N' };

uint8_t byteAt(Pattern pattern, uint64_t address) {
    if (pattern == Pattern::Noise) {
        uint64_t mixed = (address + 1) * 0x9E3779B97F4A7C15u;
        mixed = (mixed ^ mixed >> 29) * 0xBF58476D1CE4E5B9u;
        return static_cast<uint8_t>(mixed >> 56);
    }
    if (pattern == Pattern::AllBits)
        return 0xFF;
    return pattern == Pattern::Ones && address % 4 == 3; // one in each register of four bytes
}

class OurMemory : public genapi::Port {
public:
    explicit OurMemory(Pattern pattern) : pattern_(pattern) {}

    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder) override {
        for (size_t i = 0; i < size; ++i)
            bytes[i] = byteAt(pattern_, address + i);
    }
    void write(uint64_t, const uint8_t *, size_t, genapi::ByteOrder) override {}
    void requireKept() override {}

private:
    Pattern pattern_;
};

struct PeerMemory {
    ArvDevice parent;
    Pattern pattern;
};
struct PeerMemoryClass {
    ArvDeviceClass parent;
};

// NOLINTNEXTLINE: the names that G_DEFINE_TYPE asks for
G_DEFINE_TYPE(PeerMemory, peer_memory, arv_device_get_type())

void peer_memory_init(PeerMemory *memory) {
    memory->pattern = Pattern::Zeros;
}

void peer_memory_class_init(PeerMemoryClass *classes) {
    ArvDeviceClass *device = ARV_DEVICE_CLASS(classes);
    device->read_memory = [](ArvDevice *memory, guint64 address, guint32 size, void *buffer,
                             GError **) -> gboolean {
        const Pattern pattern = reinterpret_cast<PeerMemory *>(memory)->pattern;
        for (guint32 i = 0; i < size; ++i)
            static_cast<uint8_t *>(buffer)[i] = byteAt(pattern, address + i);
        return TRUE;
    };
    device->write_memory = [](ArvDevice *, guint64, guint32, void *, GError **) -> gboolean {
        return TRUE;
    };
}

// ---- questions and answers -----------------------------------------------------------------------

enum Question { Kind, Access, Text, Value, Min, Max, Inc, Entries, kQuestions };
constexpr const char *kQuestionNames[] = {"kind", "access", "text",      "value",
                                          "min",  "max",    "increment", "entries"};

// Nothing where the question makes no sense; "!" and what kind of error it is.
using Answers = std::array<std::string, kQuestions>;

std::string number(int64_t value) {
    return std::to_string(value);
}
std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", value);
    return std::isnan(value) ? "nan" : text;
}

std::string ours(const std::function<std::string()> &get) {
    std::string answer;
    const std::string kind = raised([&] { answer = get(); });
    return kind.empty() ? answer : "!" + kind;
}

template <class Number>
void askNumber(const char *kind, Number &node, Answers &answers) {
    answers[Kind] = kind;
    answers[Value] = ours([&] { return number(node.GetValue()); });
    answers[Min] = ours([&] { return number(node.GetMin()); });
    answers[Max] = ours([&] { return number(node.GetMax()); });
    answers[Inc] = ours([&] { return number(node.GetInc()); });
}

Answers oursOf(INode &node) {
    constexpr const char *kModes[] = {"NI", "NA", "WO", "RO", "RW"};
    Answers answers;
    answers[Kind] = "other";
    answers[Access] = ours([&] { return std::string(kModes[node.GetAccessMode()]); });
    if (auto *value = dynamic_cast<IValue *>(&node))
        answers[Text] = ours([&] { return std::string(value->ToString().c_str()); });
    if (auto *enumeration = dynamic_cast<IEnumeration *>(&node)) {
        answers[Kind] = "enumeration";
        answers[Value] = ours([&] { return number(enumeration->GetIntValue()); });
        answers[Entries] = ours([&] {
            StringList_t symbols;
            enumeration->GetSymbolics(symbols);
            std::string all;
            for (const gcstring &symbol : symbols)
                all += std::string(symbol.c_str()) + " ";
            return all;
        });
    } else if (auto *boolean = dynamic_cast<IBoolean *>(&node)) {
        answers[Kind] = "boolean";
        answers[Value] = ours([&] { return number(int64_t{boolean->GetValue()}); });
    } else if (auto *integer = dynamic_cast<IInteger *>(&node)) {
        askNumber("integer", *integer, answers);
    } else if (auto *floating = dynamic_cast<IFloat *>(&node)) {
        askNumber("float", *floating, answers);
    }
    return answers;
}

std::string peers(const std::function<std::string(GError **)> &get) {
    GError *error = nullptr;
    const std::string answer = get(&error);
    const bool isError = error;
    g_clear_error(&error);
    return isError ? "!" : answer;
}

std::string modeOf(ArvGcFeatureNode *node, GError **error) {
    if (!arv_gc_feature_node_is_implemented(node, error))
        return "NI";
    if (!arv_gc_feature_node_is_available(node, error))
        return "NA";
    const bool isLocked = arv_gc_feature_node_is_locked(node, error);
    const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(node);
    if (mode == ARV_GC_ACCESS_MODE_WO)
        return isLocked ? "NA" : "WO";
    return isLocked || mode == ARV_GC_ACCESS_MODE_RO ? "RO" : "RW";
}

template <class Number, class Result, class Node>
void askNumber(const char *kind, Node *node, Answers &answers,
               Result (*const (&getters)[4])(Node *, GError **)) {
    answers[Kind] = kind;
    for (size_t i = 0; i < 4; ++i)
        answers[Value + i] =
            peers([&](GError **error) { return number(Number{getters[i](node, error)}); });
}

Answers peersOf(ArvGcNode *node) {
    Answers answers;
    answers[Kind] = "other";
    if (!ARV_IS_GC_FEATURE_NODE(node))
        return answers;
    auto *feature = ARV_GC_FEATURE_NODE(node);
    answers[Access] = peers([&](GError **error) { return modeOf(feature, error); });
    answers[Text] = peers([&](GError **error) {
        const char *text = arv_gc_feature_node_get_value_as_string(feature, error);
        return std::string(text ? text : "");
    });
    if (ARV_IS_GC_ENUMERATION(node)) {
        auto *enumeration = ARV_GC_ENUMERATION(node);
        answers[Kind] = "enumeration";
        answers[Value] = peers([&](GError **error) {
            return number(int64_t{arv_gc_enumeration_get_int_value(enumeration, error)});
        });
        answers[Entries] = peers([&](GError **error) {
            guint count = 0;
            const std::unique_ptr<const char *, void (*)(const char **)> names(
                arv_gc_enumeration_dup_available_string_values(enumeration, &count, error),
                [](const char **list) { g_free(list); });
            std::string all;
            for (guint i = 0; i < count; ++i)
                all += std::string(names.get()[i]) + " ";
            return all;
        });
    } else if (ARV_IS_GC_BOOLEAN(node)) {
        answers[Kind] = "boolean";
        answers[Value] = peers([&](GError **error) {
            return number(int64_t{arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node), error)});
        });
    } else if (ARV_IS_GC_INTEGER(node)) {
        askNumber<int64_t>("integer", ARV_GC_INTEGER(node), answers,
                           {arv_gc_integer_get_value, arv_gc_integer_get_min,
                            arv_gc_integer_get_max, arv_gc_integer_get_inc});
    } else if (ARV_IS_GC_FLOAT(node)) {
        askNumber<double>("float", ARV_GC_FLOAT(node), answers,
                          {arv_gc_float_get_value, arv_gc_float_get_min, arv_gc_float_get_max,
                           arv_gc_float_get_inc});
    }
    return answers;
}

// ---- differences, and reasons --------------------------------------------------------------------

struct Difference {
    std::string description;
    std::string element; // such as IntReg
    std::string node;
    Question question;
    Pattern pattern;
    Answers allOurs;
    Answers allPeers;

    const std::string &ours() const { return allOurs[question]; }
    const std::string &peers() const { return allPeers[question]; }
    bool isTextOf(const std::string &kind) const {
        return question == Text && (element == kind || allOurs[Kind] == kind);
    }
    bool isSame(Question other) const { return allOurs[other] == allPeers[other]; }
};

std::ostream &operator<<(std::ostream &out, const Difference &each) {
    return out << each.description << " " << each.element << " " << each.node << ", "
               << kQuestionNames[each.question] << " over " << static_cast<char>(each.pattern)
               << ": ours '" << each.ours() << "', Aravis' '" << each.peers() << "'";
}

// What holds for every node of its kind.
struct Rule {
    const char *reason;
    bool (*isReason)(const Difference &d);
    mutable size_t count = 0; // how often it was the reason
};

bool isOne(const std::string &text, std::initializer_list<const char *> of) {
    return std::find(of.begin(), of.end(), text) != of.end();
}
bool isBound(Question question) {
    return question == Min || question == Max || question == Inc;
}
// Whether ours shows our value, as far as it goes.
bool showsValue(const Difference &d) {
    const double shown = std::strtod(d.ours().c_str(), nullptr);
    const double exact = std::strtod(d.allOurs[Value].c_str(), nullptr);
    return d.ours() == d.allOurs[Value] || std::abs(shown - exact) <= 0.05 + 1e-3 * std::abs(exact);
}

const Rule kRules[] = {
    {"what cannot be read has neither value nor text",
     [](const Difference &d) {
         return isOne(d.allOurs[Access], {"NI", "NA", "WO"}) && d.ours() == "!Access" &&
                (d.question == Value || d.question == Text);
     }},
    {"what is not there has no range",
     [](const Difference &d) {
         return isOne(d.allOurs[Access], {"NI", "NA"}) && d.ours() == "!Access" &&
                isBound(d.question);
     }},
    {"every number has a range and every integer an increment, stated or not",
     [](const Difference &d) {
         return d.peers() == "!" &&
                (d.question == Inc
                     ? isOne(d.ours(), {"0", "1"})
                     : isOne(d.ours(), {"-9223372036854775808", "9223372036854775807",
                                        "-1.79769313486e+308", "1.79769313486e+308"}) &&
                           isBound(d.question));
     }},
    {"a float without an increment says 0, not the smallest number there is",
     [](const Difference &d) {
         return d.question == Inc && d.ours() == "0" &&
                d.peers() == number(std::numeric_limits<double>::min());
     }},
    {"a category is a value, with nothing to show",
     [](const Difference &d) { return d.isTextOf("Category") && d.ours().empty(); }},
    {"the number of no entry has no text",
     [](const Difference &d) {
         return d.isTextOf("Enumeration") && d.ours() == "!InvalidArgument" && d.peers().empty();
     }},
    {"Booleans are shown as 0 and 1",
     [](const Difference &d) {
         return d.isTextOf("Boolean") && d.isSame(Value) &&
                d.peers() == (d.ours() == "1" ? "true" : "false");
     }},
    {"a number that is neither on nor off is no value of a Boolean",
     [](const Difference &d) {
         return d.element == "Boolean" && d.ours() == "!LogicalError" &&
                isOne(d.peers(), {"0", "false"});
     }},
    {"integers are shown as their Representation says, not always in decimal",
     [](const Difference &d) {
         return d.isTextOf("integer") && d.isSame(Value) && d.peers() == d.allOurs[Value];
     }},
    {"floats are shown in their notation and precision; a NaN has no sign",
     [](const Difference &d) { return d.isTextOf("float") && d.isSame(Value) && showsValue(d); }},
    {"registers of bytes are shown",
     [](const Difference &d) {
         return d.isTextOf("Register") && d.ours().compare(0, 2, "0x") == 0 && d.peers() == "!";
     }},
    {"a formula that divides by zero has no value, nor has what comes from it",
     [](const Difference &d) {
         return d.ours() == "!LogicalError" && d.peers() == "0" &&
                isOne(d.element, {"IntSwissKnife", "SwissKnife", "Float"});
     }},
    {"the text is that of another value, see there",
     [](const Difference &d) { return d.question == Text && !d.isSame(Value) && showsValue(d); }},
};

// One difference of one node: the memories over which it shows, and what is right there.
struct Known {
    std::string description;
    std::string node;
    Question question;
    std::string patterns;
    std::string ours;
    const char *reason;
    mutable size_t count = 0;

    bool isReason(const Difference &d) const {
        return description == d.description && node == d.node && question == d.question &&
               ours == d.ours() && patterns.find(static_cast<char>(d.pattern)) != std::string::npos;
    }
};

constexpr const char *kSuffixes =
    "variables may be named after a part of a node: .Entry.X and such";
constexpr const char *kExpressions = "formulas may use expressions by name";
constexpr const char *kChains = "chains of ?: without brackets are grouped from the left";
constexpr const char *kRemainders = "the remainder of floats is a float";
constexpr const char *kBooleanVariables = "a Boolean is a variable of integer formulas";
constexpr const char *kZero = "the negative of 0 is a zero with a sign";
constexpr const char *kVarying = "what varies has no bounds that could be computed from others'";
constexpr const char *kSymbols = "entries go by their Symbolic, where they have one";
constexpr const char *kCopies = "what is written to several has the narrowest range of them all";
constexpr const char *kConstants = "a Boolean may be a constant";
constexpr const char *kTargets = "what its target is not, or may not, a node is not and may not";
constexpr const char *kNoEntries = "an enumeration without an entry to choose is not available";
constexpr const char *kUnknown = "the mode is unknown where a condition has no value";
constexpr const char *kEmpty = "a category without features is not implemented";

const Known kKnown[] = {
    {"choices", "Both", Min, "Z1AN", "0", kCopies},
    {"choices", "Enabled", Value, "Z1AN", "1", kConstants},
    {"conditioned-entries", "ColourCoding", Access, "1", "NA", kNoEntries},
    {"conditioned-entries", "Nothing", Access, "Z1AN", "NI", kEmpty},
    {"conditioned-entries", "TriggerActivation", Access, "Z1N", "NA", kNoEntries},
    {"conditioned-entries", "TriggerSource", Entries, "Z1N", "Software Input1 Never ", kSymbols},
    {"conditioned-entries", "TriggerSource", Entries, "A", "Software Input1 Input2 Never ",
     kSymbols},
    {"conditioned-entries", "TriggersBySoftware", Access, "Z", "NA", kTargets},
    {"conditioned-entries", "TriggersBySoftware", Value, "AN", "0", kSuffixes},
    {"formulas", "Chain", Value, "Z1", "400", kChains},
    {"formulas", "ExposureTime", Max, "Z", "100000", kExpressions},
    {"formulas", "ExposureTime", Max, "AN", "3777.77", kExpressions},
    {"formulas", "ExposureTime", Min, "Z1", "40.5", kChains},
    {"formulas", "ExposureTimeMax", Value, "Z", "100000", kExpressions},
    {"formulas", "ExposureTimeMax", Value, "AN", "3777.77", kExpressions},
    {"formulas", "ExposureTimeMin", Value, "Z1", "40.5", kChains},
    {"formulas", "Named", Value, "AN", "240", kExpressions},
    {"formulas", "Powers", Value, "Z", "2.5", kRemainders},
    {"formulas", "Powers", Value, "1", "5.5", kRemainders},
    {"formulas", "Powers", Value, "AN", "179.5", kRemainders},
    {"formulas", "Suffixes", Value, "Z1AN", "20", kSuffixes},
    {"legacy-names", "AcquisitionFrameRateAbs", Access, "Z1", "RO", kBooleanVariables},
    {"legacy-names", "AcquisitionFrameRateAbs", Access, "AN", "!LogicalError", kUnknown},
    {"legacy-names", "ExposureTimeAbs", Access, "ZAN", "NA", kTargets},
    {"legacy-names", "ExposureTimeConverter", Access, "ZAN", "NA", kTargets},
    {"legacy-names", "FrameRateUnused", Value, "Z1", "1", kBooleanVariables},
    {"slopes", "Bent", Max, "Z1AN", "1.79769313486e+308", kVarying},
    {"slopes", "Bent", Min, "Z1AN", "-1.79769313486e+308", kVarying},
    {"slopes", "Either", Value, "Z", "-0", kZero},
    {"slopes", "IntBent", Max, "Z1AN", "9223372036854775807", kVarying},
    {"slopes", "IntBent", Min, "Z1AN", "-9223372036854775808", kVarying},
};

// ---- the descriptions ----------------------------------------------------------------------------

std::vector<std::filesystem::path> descriptions() {
    std::vector<std::filesystem::path> paths{BUILT_IN_DESCRIPTION};
    for (const auto &entry : std::filesystem::directory_iterator(DESCRIPTIONS))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool isExplained(const Difference &difference) {
    for (const Known &each : kKnown)
        if (each.isReason(difference))
            return ++each.count > 0;
    for (const Rule &each : kRules)
        if (each.isReason(difference))
            return ++each.count > 0;
    return false;
}

// All of \p text, over memory of \p pattern; what has no reason is a failure.
void compare(const std::string &description, const std::string &text, Pattern pattern) {
    OurMemory memory(pattern);
    genapi::NodeMap map(text, memory);

    const std::unique_ptr<void, void (*)(gpointer)> device(
        g_object_new(peer_memory_get_type(), nullptr), g_object_unref);
    static_cast<PeerMemory *>(device.get())->pattern = pattern;
    const std::unique_ptr<void, void (*)(gpointer)> peer(
        arv_gc_new(ARV_DEVICE(device.get()), text.data(), text.size()), g_object_unref);
    ASSERT_TRUE(peer) << "Aravis takes " << description;

    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(text.c_str()));
    for (const pugi::xpath_node &each :
         document.select_nodes("//*[@Name and not(self::Port)][parent::RegisterDescription or "
                               "parent::Group or parent::StructReg]")) {
        const std::string element = each.node().name();
        const std::string name = each.node().attribute("Name").value();
        INode *const node = map.GetNode(name.c_str());
        ArvGcNode *const its = arv_gc_get_node(ARV_GC(peer.get()), name.c_str());
        ASSERT_TRUE(node) << description << " " << name;
        ASSERT_TRUE(its) << description << " " << name;
        const Answers mine = oursOf(*node);
        const Answers theirs = peersOf(its);
        for (int question = 0; question < kQuestions; ++question) {
            const auto index = static_cast<size_t>(question);
            // What went wrong, Aravis does not tell.
            if (mine[index] == theirs[index] || (mine[index][0] == '!' && theirs[index] == "!"))
                continue;
            const Difference difference{
                description, element, name, static_cast<Question>(question), pattern, mine, theirs};
            EXPECT_TRUE(isExplained(difference)) << difference;
        }
    }
}

TEST(Peer, SaysTheSameButForTheDifferencesListed) {
    for (const std::filesystem::path &path : descriptions()) {
        std::ifstream file(path, std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        for (const Pattern pattern :
             {Pattern::Zeros, Pattern::Ones, Pattern::AllBits, Pattern::Noise})
            compare(path.stem(), text, pattern);
    }

    for (const Rule &rule : kRules)
        EXPECT_NE(0u, rule.count) << "explains nothing any more: " << rule.reason;
    for (const Known &known : kKnown)
        EXPECT_EQ(known.patterns.size(), known.count)
            << "differs over less memories now: " << known.description << " " << known.node << ", "
            << kQuestionNames[known.question];
}

} // namespace
