// Descriptions that mean harm: whatever they are, the end comes soon, in little memory, and is the
// right value, a refusal or an exception that names the node.

#include <sys/resource.h>

#include <gmock/gmock.h>

#include <ctime>
#include <limits>

#include "genapi/bounds.h"
#include "support.h"

namespace {

using std::string;
using std::to_string;
using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

#if KXINFO_SANITIZED
constexpr double kSoon = 10; // seconds of the processor
constexpr long kLittle = 4 << 20;
constexpr size_t kMany = 20'000; // as deep as the stack is, where each call takes more of it
#else
constexpr double kSoon = 1;
constexpr long kLittle = 256 << 10; // KiB at most, of this whole test
constexpr size_t kMany = 60'000;
#endif

// Expects the end of what it lives through soon, and in little memory.
class Bounded {
public:
    ~Bounded() {
        EXPECT_LE(static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC, kSoon);
        struct rusage usage = {};
        EXPECT_EQ(0, getrusage(RUSAGE_SELF, &usage));
        EXPECT_LE(usage.ru_maxrss, kLittle);
    }

private:
    const std::clock_t start_ = std::clock();
};

// What the use of a description's node Asked ends with: the text that it returns, or "Class: what" of
// the exception.
string endOf(
    const string &elements, const std::function<string(Camera &)> &use = [](Camera &camera) {
        return camera.text("Asked");
    }) {
    const string described = elements[0] == '<' ? elements : nodes(elements);
    const Bounded bounded;
    string end, what;
    const string kind = raised([&] {
        try {
            Camera camera(described);
            end = use(camera);
        } catch (const GenICam_3_0::GenericException &error) {
            what = error.what();
            throw;
        }
    });
    return kind.empty() ? end : kind + ": " + what;
}

string written(Camera &camera) {
    camera.integer("Asked").SetValue(0);
    return "written";
}
string modeOf(Camera &camera) {
    return to_string(camera.mode("Asked"));
}

const auto kNames = HasSubstr("Asked");
const auto kNotInRange = AllOf(StartsWith("OutOfRange: "), kNames);
const auto kTooMuch = AllOf(StartsWith("Runtime: "), kNames);
const auto kNoFormula = AllOf(StartsWith("LogicalError: "), kNames);

string repeated(const string &text, size_t count) {
    string all;
    all.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

// The text for each number below \p count, with the number for '$' and the next for '%'. The node N0
// is Asked.
string numbered(const string &text, size_t count) {
    string all;
    for (size_t i = 0; i < count; ++i) {
        string one;
        for (const char c : text)
            one += c == '$' ? to_string(i) : c == '%' ? to_string(i + 1) : string(1, c);
        if (const size_t at = one.find(" N0 "); at != string::npos)
            one.replace(at, 4, " Asked ");
        all += one;
    }
    return all;
}

// One node above the other, of `count` in all; the last is a constant 7.
string chain(size_t count) {
    return numbered("Integer N$ pValue=N% ", count - 1) + "Integer " +
           (count == 1 ? "Asked" : "N" + to_string(count - 1)) + " Value=7 ";
}

string formulaNode(const string &formula, const string &before = "") {
    return " IntSwissKnife Asked " + before + " Formula='" + formula + "'";
}

TEST(Bounds, HoldForChainsOfNodes) {
    EXPECT_EQ("7", endOf(chain(genapi::kDeepestChain)));
    EXPECT_THAT(endOf(chain(genapi::kDeepestChain + 1)),
                AllOf(StartsWith("Runtime: "), HasSubstr(to_string(genapi::kDeepestChain))));
    EXPECT_THAT(endOf(chain(genapi::kDeepestChain + 10)),
                ContainsRegex("^Runtime: .*'(Asked|N[0-9]+)'"));
    const string many = nodes(chain(kMany));
    const Bounded bounded;
    Camera camera(many);
    EXPECT_EQ("Runtime", raised([&] { camera.text("Asked"); }));
    EXPECT_EQ("Runtime", raised([&] { camera.mode("Asked"); }));
    EXPECT_EQ("Runtime", raised([&] { written(camera); }));
}

TEST(Bounds, HoldForStepsToTheCamera) {
    constexpr size_t kCommands = genapi::kMostSteps / genapi::kStepsOfCommand;
    const auto sumOf = [](size_t count) {
        string registers;
        for (size_t i = 0; i < count; ++i)
            registers += "IntReg R" + to_string(i) + " @" + to_string(4 * i) + " unsigned big ";
        return registers +
               formulaNode("0" + numbered("+R$", count), numbered("pVariable.R$=R$ ", count));
    };
    EXPECT_EQ("0", endOf(sumOf(kCommands * 9 / 10)));
    EXPECT_THAT(endOf(sumOf(kCommands * 11 / 10)),
                AllOf(ContainsRegex("^Runtime: .*'(Asked|R[0-9]+)'"),
                      HasSubstr(to_string(genapi::kMostSteps))));
}

TEST(Bounds, HoldForStepsOfFormulasAndOfExpressions) {
    const string longest = "V" + repeated("+V", genapi::kLongestFormula / 2 - 1);
    const auto sumOf = [&longest](size_t pairs) {
        return "Integer One Value=1 " +
               numbered("IntSwissKnife K$ pVariable.V=One Formula=" + longest +
                            " IntSwissKnife L$ pVariable.V=One Expression.X=" + longest +
                            " Formula=X ",
                        pairs) +
               formulaNode("0" + numbered("+K$+L$", pairs),
                           numbered("pVariable.K$=K$ pVariable.L$=L$ ", pairs));
    };
    // Values and operations count; neither formulas nor expressions are too many alone.
    constexpr size_t kTooMany = genapi::kMostSteps / (2 * genapi::kLongestFormula - 2) + 1;
    EXPECT_EQ(to_string(kTooMany / 3 * genapi::kLongestFormula), endOf(sumOf(kTooMany / 3)));
    EXPECT_THAT(endOf(sumOf(kTooMany)), StartsWith("Runtime: "));
}

TEST(Bounds, HoldForEachAccessAnew) {
    Camera camera(chain(genapi::kDeepestChain) + "IntReg R @0 unsigned big");
    for (size_t i = 0; i < 2 * genapi::kMostSteps / genapi::kStepsOfCommand; ++i)
        camera.get("R");
    GenApi_3_0::IInteger &asked = camera.integer("Asked");
    for (size_t i = 0; i < 2 * genapi::kMostSteps / genapi::kDeepestChain; ++i)
        ASSERT_EQ(7, asked.GetValue());
}

// Asked is the sum of two of the next, and so on: 2 to the power of `levels` ways to the last.
TEST(Bounds, HoldForFormulasThatDouble) {
    const auto value = [](Camera &camera) {
        camera.memory.put32(0, 1);
        return to_string(static_cast<int64_t>(camera.getFloat("Asked")));
    };
    for (const char *last : {"Integer N$ Value=1", "IntReg N$ @0 unsigned big"}) {
        const auto doubling = [last](size_t levels) {
            return numbered("SwissKnife N$ pVariable.A=N% pVariable.B=N% Formula=A+B ", levels) +
                   with(last, to_string(levels));
        };
        EXPECT_EQ("16", endOf(doubling(4), value));
        for (const size_t levels : {24u, 40u})
            EXPECT_THAT(endOf(doubling(levels), value),
                        AnyOf(to_string(int64_t{1} << levels), StartsWith("Runtime: ")));
        EXPECT_THAT(endOf(doubling(40), modeOf),
                    AnyOf(to_string(GenApi_3_0::RO), StartsWith("Runtime: ")));
    }
}

TEST(Bounds, HoldForBoundsAndConditionsThatDouble) {
    EXPECT_THAT(
        endOf(numbered("Integer N$ Value=0 pMin=N% pMax=N% ", 40) + "Integer N40 Value=0", written),
        AnyOf("written", StartsWith("Runtime: ")));
    EXPECT_THAT(endOf(numbered("Integer N$ pIsImplemented=N% pIsAvailable=N% Value=1 ", 40) +
                      "Integer N40 Value=1"),
                AnyOf("1", StartsWith("Runtime: ")));
}

TEST(Bounds, LetAnExpressionBeEvaluatedOnceHoweverOftenItIsUsed) {
    EXPECT_EQ(to_string(int64_t{1} << 40),
              endOf(formulaNode("E40", "Expression.E0=1 " + numbered("Expression.E%=E$+E$ ", 40))));
    EXPECT_EQ("160000000",
              endOf(formulaNode("X+Y+Z", "Expression.L=1" + repeated("+1", 7'999) +
                                             " Expression.X=L" + repeated("+L", 6'999) +
                                             " Expression.Y=L" + repeated("+L", 6'999) +
                                             " Expression.Z=L" + repeated("+L", 5'999))));
}

TEST(Bounds, HoldForChainsOfExpressions) {
    EXPECT_THAT(endOf(formulaNode("E" + to_string(kMany),
                                  "Expression.E0=0 " + numbered("Expression.E%=E$+1 ", kMany))),
                AnyOf(to_string(kMany), StartsWith("Runtime: "), StartsWith("LogicalError: ")));
}

TEST(Bounds, HoldForTheLengthOfAFormulaAndItsBrackets) {
    const string longest = "1" + repeated("+1", genapi::kLongestFormula / 2 - 1) + " ";
    ASSERT_THAT(longest, SizeIs(genapi::kLongestFormula)); // blanks count
    EXPECT_EQ(to_string(genapi::kLongestFormula / 2), endOf(formulaNode(longest)));
    EXPECT_THAT(endOf(formulaNode(longest + " ")), kNoFormula);

    const auto nested = [](size_t depth) {
        return formulaNode(string(depth, '(') + "7" + string(depth, ')'));
    };
    EXPECT_EQ("7", endOf(nested(genapi::kDeepestBrackets)));
    EXPECT_THAT(endOf(nested(genapi::kDeepestBrackets + 1)), kNoFormula);
}

TEST(Bounds, LeaveNoDivisionUndefined) {
    const string variables = "Integer Lowest Value=-9223372036854775808 Integer Minus Value=-1";
    const string named = "pVariable.L=Lowest pVariable.M=Minus";
    EXPECT_EQ("0", endOf(variables + formulaNode("L%M", named)));
    EXPECT_EQ("-9223372036854775808", endOf(variables + formulaNode("L/M", named)));
    // Increments and indices are divided and multiplied, too.
    Camera camera("Integer Asked Value=5 Inc=-1");
    EXPECT_EQ("", camera.set("Asked", -1, false));
    EXPECT_EQ("-1", camera.text("Asked"));
    EXPECT_THAT(camera.set("Asked", 0), AnyOf("", "OutOfRange", "LogicalError"));
    EXPECT_THAT(endOf(variables + " IntReg Asked pAddress=Lowest pAddress=Lowest "
                                  "pIndex.Lowest=Minus @:: unsigned big"),
                AnyOf("0", StartsWith("OutOfRange: "), StartsWith("Runtime: ")));
}

TEST(Bounds, LeaveNoBitsUndefined) {
    const int64_t extremes[] = {std::numeric_limits<int64_t>::min(), -1, 0, 32, 63, 64,
                                std::numeric_limits<int64_t>::max()};
    for (const int64_t lsb : extremes)
        for (const int64_t msb : extremes)
            for (const char *order : {" big", " little"}) {
                const string bits = " LSB=" + to_string(lsb) + " MSB=" + to_string(msb) + order;
                const string end = endOf("Integer L Value=4 MaskedIntReg Asked @0+L::" + bits);
                if (lsb == 0 && msb == 0)
                    EXPECT_EQ("0", end);
                else
                    EXPECT_THAT(end, AllOf(ContainsRegex("^(Runtime|OutOfRange): "), kNames))
                        << bits;
            }
}

// Each kind of register, its length said by `length`, a number or a node.
std::vector<string> registers(const string &length) {
    return {with("IntReg Asked @0+$ unsigned big ", length),
            with("FloatReg Asked @0+$ big ", length), with("StringReg Asked @0+$ ", length),
            with("Register Asked @0+$ ", length)};
}

TEST(Bounds, HoldForTheLengthsOfRegisters) {
    for (const char *length :
         {"-1", "-9223372036854775808", "2147483648", "4294967300", "9223372036854775807"}) {
        SCOPED_TRACE(length);
        for (const string &elements : registers(length))
            EXPECT_THAT(endOf(elements), kNotInRange);
        for (const string &elements : registers("L")) {
            const string there = elements + with("Integer L Value=$", length);
            EXPECT_THAT(endOf(there), kNotInRange);
            EXPECT_EQ("OutOfRange", Camera(there).type("Asked", "00"));
        }
    }
}

TEST(Bounds, LetPlainRegistersBeAsLongAsTables) {
    for (const auto &[kind, shown] :
         {std::pair{"Register", 2 + 2 * genapi::kLongestRegister}, {"StringReg", 0}}) {
        const string elements = with("$ Asked @0+", kind);
        EXPECT_THAT(endOf(elements + to_string(genapi::kLongestRegister)), SizeIs(shown)) << kind;
        EXPECT_THAT(endOf(elements + to_string(genapi::kLongestRegister + 1)), kNotInRange);
    }
}

TEST(Bounds, NeitherShowNorSendMemoryForALengthOf0) {
    for (const char *length : {"0", "L"})
        for (const string &elements : registers(length)) {
            Camera camera(elements + "Integer L Value=0");
            EXPECT_EQ("OutOfRange", raised([&] { camera.text("Asked"); })) << elements;
            for (const bool verify : {true, false})
                for (const char *text : {"00", "1234"})
                    EXPECT_EQ("OutOfRange", camera.type("Asked", text, verify)) << elements;
            EXPECT_EQ("", camera.memory.accesses()) << elements;
        }
}

TEST(Bounds, FindCirclesOfAddresses) {
    std::vector<string> circles = registers("Asked");
    circles.emplace_back(
        "IntReg Asked Address=0 pIndex.Asked=I @:: unsigned big Integer I Value=1");
    circles.emplace_back("StructReg S Address=0 pAddress=Asked @:: big StructEntry.Asked={Bit=1}");
    circles.emplace_back(
        "IntReg Asked IntSwissKnife.Inside={pVariable.V=Asked Formula=V} @:: unsigned big");
    for (const string &elements : circles)
        EXPECT_THAT(endOf(elements), kTooMuch) << elements;
}

TEST(Bounds, FindCirclesOfIndexedValues) {
    EXPECT_THAT(endOf("Integer Asked pIndex=I pValueIndexed.1=B ValueDefault=1 "
                      "Integer I Value=1 Integer B Value=1 pMax=Asked",
                      [](Camera &camera) { return to_string(camera.integer("Asked").GetMax()); }),
                StartsWith("Runtime: "));
}

// They are not looked for when a description is loaded: real ones have entries that depend on what
// is chosen. An access mode that is still being found out does not count.
TEST(Bounds, LetEntriesDependOnWhatIsChosen) {
    Camera camera("Enumeration Asked EnumEntry.X={pIsAvailable=K Value=1} "
                  "EnumEntry.Y={pIsImplemented=No Value=2} Value=1 "
                  "IntSwissKnife K pVariable.V=Asked Formula=V=1 "
                  "IntSwissKnife No pVariable.V=Asked Formula=V=2");
    GenApi_3_0::StringList_t list;
    camera.enumeration("Asked").GetSymbolics(list);
    EXPECT_THAT(list, testing::ElementsAre(GenApi_3_0::gcstring("X")));
    EXPECT_THAT(camera.texts("Asked K"), testing::ElementsAre("X", "1"));
    EXPECT_EQ(GenApi_3_0::RW, camera.mode("Asked"));
}

TEST(Bounds, HoldForTreesOfCategories) {
    EXPECT_THAT(endOf(numbered("Category N$ pFeature=N% ", kMany) +
                          with("Integer N$ Value=1", to_string(kMany)),
                      modeOf),
                AnyOf(to_string(GenApi_3_0::RO), StartsWith("Runtime: ")));
}

TEST(Bounds, HoldForThePartsOfAnAddress) {
    EXPECT_THAT(endOf("Integer One Value=1 IntReg Asked " + repeated("pAddress=One ", 100'000) +
                          "@:: unsigned big",
                      [](Camera &camera) {
                          camera.memory.put32(100'000, 7);
                          return camera.text("Asked");
                      }),
                AnyOf("7", kTooMuch));
}

TEST(Bounds, HoldForTheBytesThatAreKept) {
    // What is noted beside the bytes takes its part.
    constexpr size_t kRegisters = genapi::kMostKept / genapi::kLongestRegister - 1;
    string elements;
    for (size_t i = 0; i <= kRegisters + 1; ++i)
        elements += "StringReg R" + to_string(i) + " @" + to_string(i * genapi::kLongestRegister) +
                    "+" + to_string(genapi::kLongestRegister) + ":: ";
    const Bounded bounded;
    Camera camera(elements);
    const auto reads = [&camera] {
        const string accesses = camera.memory.accesses();
        return static_cast<size_t>(std::count(accesses.begin(), accesses.end(), 'r'));
    };
    for (int round = 0; round < 2; ++round)
        camera.texts(numbered("R$ ", kRegisters));
    EXPECT_EQ(kRegisters, reads());

    camera.text("R" + to_string(kRegisters)); // too many: all are forgotten
    camera.text("R" + to_string(kRegisters + 1));
    camera.text("R0");
    EXPECT_EQ(3u, reads());
}

TEST(Bounds, HoldForNestedElements) {
    EXPECT_THAT(endOf(repeated("<Group Comment=\"g\">", kMany) + nodes("Integer Asked Value=7") +
                      repeated("</Group>", kMany)),
                AnyOf("7", StartsWith("Runtime: ")));
}

TEST(Bounds, HoldForTheLengthOfNumbers) {
    const auto withZeros = [](size_t count) {
        return "Integer Asked Value=" + string(count, '0') + "7";
    };
    EXPECT_EQ("7", endOf(withZeros(genapi::kLongestNumber - 1)));
    EXPECT_THAT(endOf(withZeros(genapi::kLongestNumber)), StartsWith("Property: "));
}

TEST(Bounds, HoldForTheTimeThatCommandsTake) {
    string registers;
    for (int i = 0; i < 100; ++i)
        registers += "IntReg R" + to_string(i) + " @" + to_string(8 * i) + " unsigned big ";
    const auto asked = [&](int64_t milliseconds) {
        return endOf(registers +
                         formulaNode("0" + numbered("+R$", 100), numbered("pVariable.R$=R$ ", 100)),
                     [milliseconds](Camera &camera) {
                         camera.memory.before = [&camera, milliseconds](char, uint64_t) {
                             camera.memory.clock += milliseconds;
                         };
                         return camera.text("Asked");
                     });
    };
    EXPECT_EQ("0", asked(genapi::kLongestAccess.count() / 100));
    EXPECT_THAT(asked(genapi::kLongestAccess.count() / 98), kTooMuch);
}

// What a structure has is not had once more by each of its entries.
TEST(Bounds, HoldForStructuresOfManyEntriesAndParts) {
    const auto structure = [](size_t parts, size_t entries) {
        return "Integer X Value=0 StructReg S " + repeated("Address=1 ", parts) +
               "@:: " + repeated("pInvalidator=X ", entries) + "big StructEntry.Asked={Bit=0} " +
               numbered("StructEntry.E$={Bit=0} ", entries - 1);
    };
    EXPECT_EQ("0", endOf(structure(genapi::kMostAddressParts, kMany / 3)));
    EXPECT_THAT(endOf(structure(genapi::kMostAddressParts + 1, 1)),
                AllOf(StartsWith("Runtime: "), HasSubstr("its address has more than")));
}

} // namespace
