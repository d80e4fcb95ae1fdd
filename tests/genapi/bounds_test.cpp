// Descriptions that mean harm: whatever they are, the end comes soon, in little memory, and is the
// right value, a refusal or an exception that names the node.

#include <sys/resource.h>

#include <gmock/gmock.h>

#include <ctime>
#include <limits>

#include "genapi/bounds.h"
#include "support.h"

namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

#ifdef SANITIZED
constexpr double kSoon = 10; // seconds of the processor
constexpr long kLittle = 4 << 20;
#else
constexpr double kSoon = 1;
constexpr long kLittle = 256 << 10; // KiB at most, of this whole test
#endif

// What the use of a description's node Asked ends with: the text that it returns, or "Class: what" of
// the exception.
std::string endOf(
    const std::string &elements, const std::function<std::string(Camera &)> &use =
                                     [](Camera &camera) { return camera.text("Asked"); }) {
    const std::clock_t start = std::clock();
    std::string end;
    std::string what;
    const std::string kind = raised([&] {
        try {
            Camera camera(elements);
            end = use(camera);
        } catch (const GenICam_3_0::GenericException &error) {
            what = error.what();
            throw;
        }
    });
    EXPECT_LE(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, kSoon);
    struct rusage usage = {};
    EXPECT_EQ(0, getrusage(RUSAGE_SELF, &usage));
    EXPECT_LE(usage.ru_maxrss, kLittle);
    return kind.empty() ? end : kind + ": " + what;
}

std::string repeated(const std::string &text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string numbered(const std::string &name, size_t number) {
    return name + std::to_string(number);
}

// Asked, one node above the other, of `count` in all; the last is a constant 7.
std::string chain(size_t count) {
    std::string all = count == 1 ? constant("Asked", 7) : "";
    for (size_t i = 1; i < count; ++i)
        all += element("Integer", i == 1 ? "Asked" : numbered("N", i),
                       "<pValue>" + numbered("N", i + 1) + "</pValue>");
    return count == 1 ? all : all + constant(numbered("N", count), 7);
}

std::string formulaNode(const std::string &formula, const std::string &before = "") {
    return element("IntSwissKnife", "Asked", before + "<Formula>" + formula + "</Formula>");
}

TEST(Bounds, HoldForChainsOfNodes) {
    EXPECT_EQ("7", endOf(chain(genapi::kDeepestChain)));
    EXPECT_THAT(endOf(chain(genapi::kDeepestChain + 1)),
                AllOf(StartsWith("Runtime: "), HasSubstr(std::to_string(genapi::kDeepestChain))));
    EXPECT_THAT(endOf(chain(60'000)), StartsWith("Runtime: "));
    EXPECT_THAT(
        endOf(chain(60'000), [](Camera &camera) { return std::to_string(camera.mode("Asked")); }),
        StartsWith("Runtime: "));
    EXPECT_THAT(endOf(chain(60'000),
                      [](Camera &camera) {
                          camera.integer("Asked").SetValue(1);
                          return "written";
                      }),
                StartsWith("Runtime: "));
}

TEST(Bounds, NameTheNodeWhoseChainIsTooDeep) {
    EXPECT_THAT(endOf(chain(genapi::kDeepestChain + 10)),
                ContainsRegex("^Runtime: .*'(Asked|N[0-9]+)'"));
}

TEST(Bounds, HoldForStepsToTheCamera) {
    constexpr size_t kCommands = genapi::kMostSteps / genapi::kStepsOfCommand;
    const auto sumOf = [](size_t count) {
        std::string registers;
        std::string variables;
        std::string formula = "0";
        for (size_t i = 0; i < count; ++i) {
            const std::string name = numbered("R", i);
            registers += intReg(name, 4 * i);
            variables += "<pVariable Name=\"" + name + "\">" + name + "</pVariable>";
            formula += "+" + name;
        }
        return registers + formulaNode(formula, variables);
    };
    EXPECT_EQ("0", endOf(sumOf(kCommands * 9 / 10)));
    EXPECT_THAT(endOf(sumOf(kCommands * 11 / 10)),
                AllOf(ContainsRegex("^Runtime: .*'(Asked|R[0-9]+)'"),
                      HasSubstr(std::to_string(genapi::kMostSteps))));
}

TEST(Bounds, HoldForStepsOfFormulas) {
    const std::string longest = "V" + repeated("+V", genapi::kLongestFormula / 2 - 1);
    for (const std::string &formula :
         {"<Formula>" + longest + "</Formula>",
          "<Expression Name=\"X\">" + longest + "</Expression><Formula>X</Formula>"}) {
        const auto sumOf = [&formula](size_t count) {
            std::string all = constant("One", 1);
            std::string variables;
            std::string sum = "0";
            for (size_t i = 0; i < count; ++i) {
                const std::string name = numbered("K", i);
                all += element("IntSwissKnife", name,
                               "<pVariable Name=\"V\">One</pVariable>" + formula);
                variables += "<pVariable Name=\"" + name + "\">" + name + "</pVariable>";
                sum += "+" + name;
            }
            return all + formulaNode(sum, variables);
        };
        constexpr size_t kTooMany = genapi::kMostSteps / (genapi::kLongestFormula / 2) + 8;
        EXPECT_EQ(std::to_string(kTooMany / 3 * genapi::kLongestFormula / 2),
                  endOf(sumOf(kTooMany / 3)));
        EXPECT_THAT(endOf(sumOf(kTooMany)), StartsWith("Runtime: "));
    }
}

TEST(Bounds, HoldForEachAccessAnew) {
    Camera camera(chain(genapi::kDeepestChain) + intReg("R", 0));
    for (size_t i = 0; i < 2 * genapi::kMostSteps / genapi::kStepsOfCommand; ++i)
        camera.integer("R").GetValue();
    for (size_t i = 0; i < 2 * genapi::kMostSteps / genapi::kDeepestChain; ++i)
        ASSERT_EQ(7, camera.integer("Asked").GetValue());
}

// Asked is the sum of two of the next, and so on: 2 to the power of `levels` ways to the last.
std::string doubling(int levels, const std::string &last) {
    std::string all;
    for (int i = 0; i < levels; ++i) {
        const std::string next =
            i == levels - 1 ? "Last" : numbered("K", static_cast<size_t>(i) + 1);
        all += element("SwissKnife", i == 0 ? "Asked" : numbered("K", static_cast<size_t>(i)),
                       "<pVariable Name=\"A\">" + next + "</pVariable><pVariable Name=\"B\">" +
                           next + "</pVariable><Formula>A+B</Formula>");
    }
    return all + last;
}

TEST(Bounds, HoldForFormulasThatDouble) {
    const auto value = [](Camera &camera) {
        camera.memory.put32(0, 1);
        return std::to_string(static_cast<int64_t>(camera.floating("Asked").GetValue()));
    };
    for (const std::string &last : {constant("Last", 1), intReg("Last", 0)}) {
        EXPECT_EQ("16", endOf(doubling(4, last), value));
        EXPECT_THAT(endOf(doubling(24, last), value),
                    AnyOf(std::to_string(int64_t{1} << 24), StartsWith("Runtime: ")));
        EXPECT_THAT(endOf(doubling(40, last), value),
                    AnyOf(std::to_string(int64_t{1} << 40), StartsWith("Runtime: ")));
        EXPECT_THAT(endOf(doubling(40, last),
                          [](Camera &camera) { return std::to_string(camera.mode("Asked")); }),
                    AnyOf(std::to_string(GenApi_3_0::RO), StartsWith("Runtime: ")));
    }
}

TEST(Bounds, HoldForBoundsThatDouble) {
    std::string all;
    for (size_t i = 0; i < 40; ++i) {
        const std::string next = numbered("N", i + 1);
        all += element("Integer", i == 0 ? "Asked" : numbered("N", i),
                       "<Value>0</Value><pMin>" + next + "</pMin><pMax>" + next + "</pMax>");
    }
    EXPECT_THAT(endOf(all + constant("N40", 0),
                      [](Camera &camera) {
                          camera.integer("Asked").SetValue(0);
                          return "written";
                      }),
                AnyOf("written", StartsWith("Runtime: ")));
}

TEST(Bounds, HoldForConditionsThatDouble) {
    std::string all;
    for (size_t i = 0; i < 40; ++i) {
        const std::string next = numbered("N", i + 1);
        all += element("Integer", i == 0 ? "Asked" : numbered("N", i),
                       "<pIsImplemented>" + next + "</pIsImplemented><pIsAvailable>" + next +
                           "</pIsAvailable><Value>1</Value>");
    }
    EXPECT_THAT(endOf(all + constant("N40", 1)), AnyOf("1", StartsWith("Runtime: ")));
}

TEST(Bounds, LetAnExpressionBeEvaluatedOnceHoweverOftenItIsUsed) {
    std::string doubled = "<Expression Name=\"E0\">1</Expression>";
    for (size_t i = 1; i <= 40; ++i)
        doubled += "<Expression Name=\"" + numbered("E", i) + "\">" + numbered("E", i - 1) + "+" +
                   numbered("E", i - 1) + "</Expression>";
    EXPECT_EQ(std::to_string(int64_t{1} << 40), endOf(formulaNode("E40", doubled)));

    const auto expression = [](const std::string &name, const std::string &text) {
        return "<Expression Name=\"" + name + "\">" + text + "</Expression>";
    };
    const std::string used = expression("L", "1" + repeated("+1", 7'999)) +
                             expression("X", "L" + repeated("+L", 6'999)) +
                             expression("Y", "L" + repeated("+L", 6'999)) +
                             expression("Z", "L" + repeated("+L", 5'999));
    EXPECT_EQ("160000000", endOf(formulaNode("X+Y+Z", used)));
}

TEST(Bounds, HoldForChainsOfExpressions) {
    std::string expressions = "<Expression Name=\"E0\">1</Expression>";
    for (size_t i = 1; i < 60'000; ++i)
        expressions += "<Expression Name=\"" + numbered("E", i) + "\">" + numbered("E", i - 1) +
                       "+1</Expression>";
    EXPECT_THAT(endOf(formulaNode("E59999", expressions)),
                AnyOf("60000", StartsWith("Runtime: "), StartsWith("LogicalError: ")));
}

TEST(Bounds, HoldForTheLengthOfAFormula) {
    const std::string longest =
        "1" + repeated("+1", genapi::kLongestFormula / 2 - 1) + " "; // blanks count
    ASSERT_THAT(longest, SizeIs(genapi::kLongestFormula));

    EXPECT_EQ(std::to_string(genapi::kLongestFormula / 2), endOf(formulaNode(longest)));
    EXPECT_THAT(endOf(formulaNode(longest + " ")),
                AllOf(StartsWith("LogicalError: "), HasSubstr("Asked")));
}

TEST(Bounds, HoldForTheBracketsOfAFormula) {
    const auto nested = [](size_t depth) {
        return repeated("(", depth) + "7" + repeated(")", depth);
    };
    EXPECT_EQ("7", endOf(formulaNode(nested(genapi::kDeepestBrackets))));
    EXPECT_THAT(endOf(formulaNode(nested(genapi::kDeepestBrackets + 1))),
                AllOf(StartsWith("LogicalError: "), HasSubstr("Asked")));
}

TEST(Bounds, LeaveNoDivisionUndefined) {
    const std::string variables =
        constant("Lowest", std::numeric_limits<int64_t>::min()) + constant("Minus", -1);
    const std::string named =
        R"(<pVariable Name="L">Lowest</pVariable><pVariable Name="M">Minus</pVariable>)";

    EXPECT_EQ("0", endOf(variables + formulaNode("L%M", named)));
    EXPECT_EQ("-9223372036854775808", endOf(variables + formulaNode("L/M", named)));
    // Increments and indices are divided and multiplied, too.
    EXPECT_EQ("-1", endOf(element("Integer", "Asked", "<Value>5</Value><Inc>-1</Inc>"),
                          [](Camera &camera) {
                              camera.integer("Asked").SetValue(-1, false);
                              return camera.text("Asked");
                          }));
    EXPECT_THAT(endOf(element("Integer", "Asked", "<Value>5</Value><Inc>-1</Inc>"),
                      [](Camera &camera) {
                          camera.integer("Asked").SetValue(0);
                          return camera.text("Asked");
                      }),
                AnyOf("0", StartsWith("OutOfRange: "), StartsWith("LogicalError: ")));
    EXPECT_THAT(
        endOf(variables + element("IntReg", "Asked",
                                  "<pAddress>Lowest</pAddress><pAddress>Lowest</pAddress>"
                                  "<pIndex pOffset=\"Lowest\">Minus</pIndex><Length>4</Length>"
                                  "<AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                                      std::string(kUnsignedBig))),
        AnyOf("0", StartsWith("OutOfRange: "), StartsWith("Runtime: ")));
}

TEST(Bounds, LeaveNoBitsUndefined) {
    const auto number = [](int64_t value) { return std::to_string(value); };
    const int64_t extremes[] = {std::numeric_limits<int64_t>::min(), -1, 0, 32, 63, 64,
                                std::numeric_limits<int64_t>::max()};
    for (const int64_t lsb : extremes) {
        for (const int64_t msb : extremes) {
            for (const char *order : {"Big", "Little"}) {
                const bool isThere = lsb == 0 && msb == 0;
                const std::string end = endOf(
                    constant("L", 4) +
                    element("MaskedIntReg", "Asked",
                            "<Address>0</Address><pLength>L</pLength><AccessMode>RW</AccessMode>"
                            "<pPort>Device</pPort><LSB>" +
                                number(lsb) + "</LSB><MSB>" + number(msb) + "</MSB><Endianess>" +
                                order + "Endian</Endianess>"));
                if (isThere)
                    EXPECT_EQ("0", end);
                else
                    EXPECT_THAT(end,
                                AllOf(ContainsRegex("^(Runtime|OutOfRange): "), HasSubstr("Asked")))
                        << lsb << ' ' << msb << ' ' << order;
            }
        }
    }
}

// Each kind of register, its length said by `length`.
std::vector<std::string> registers(const std::string &length) {
    const std::string common = "<Address>0</Address>" + length +
                               "<AccessMode>RW</AccessMode><pPort>Device</pPort>"
                               "<Cachable>NoCache</Cachable>";
    return {element("IntReg", "Asked", common + kUnsignedBig),
            element("FloatReg", "Asked", common + kBig), element("StringReg", "Asked", common),
            element("Register", "Asked", common)};
}

TEST(Bounds, HoldForTheLengthsOfRegisters) {
    for (const char *length :
         {"-1", "-9223372036854775808", "2147483648", "4294967300", "9223372036854775807"}) {
        SCOPED_TRACE(length);
        for (const std::string &elements :
             registers("<Length>" + std::string(length) + "</Length>"))
            EXPECT_THAT(endOf(elements), AllOf(StartsWith("OutOfRange: "), HasSubstr("Asked")));
        for (const std::string &elements : registers("<pLength>L</pLength>")) {
            const std::string there =
                elements + element("Integer", "L", "<Value>" + std::string(length) + "</Value>");
            EXPECT_THAT(endOf(there), AllOf(StartsWith("OutOfRange: "), HasSubstr("Asked")));
            EXPECT_THAT(endOf(there,
                              [](Camera &camera) {
                                  camera.value("Asked").FromString("00");
                                  return "written";
                              }),
                        StartsWith("OutOfRange: "));
        }
    }
}

TEST(Bounds, LetPlainRegistersBeAsLongAsTables) {
    for (const char *kind : {"Register", "StringReg"}) {
        const auto elements = [kind](int64_t length) {
            return element(kind, "Asked", place(0, length));
        };
        const size_t shown = std::string(kind) == "Register" ? 2 + 2 * genapi::kLongestRegister : 0;
        EXPECT_THAT(endOf(elements(genapi::kLongestRegister)), SizeIs(shown)) << kind;
        EXPECT_THAT(endOf(elements(genapi::kLongestRegister + 1)),
                    AllOf(StartsWith("OutOfRange: "), HasSubstr("Asked")))
            << kind;
    }
}

TEST(Bounds, NeitherShowNorSendMemoryForALengthOf0) {
    for (const char *length : {"<Length>0</Length>", "<pLength>L</pLength>"}) {
        for (const std::string &elements : registers(length)) {
            Camera camera(elements + constant("L", 0));
            EXPECT_EQ("OutOfRange", raised([&] { camera.text("Asked"); })) << elements;
            for (const bool verify : {true, false})
                for (const char *text : {"00", "1234"})
                    EXPECT_EQ("OutOfRange",
                              raised([&] { camera.value("Asked").FromString(text, verify); }))
                        << elements;
            EXPECT_THAT(camera.memory.accesses(), IsEmpty()) << elements;
        }
    }
}

TEST(Bounds, FindCirclesOfAddresses) {
    EXPECT_THAT(
        endOf(element("IntReg", "Asked",
                      "<Address>0</Address><pIndex pOffset=\"Asked\">I</pIndex><Length>4</Length>"
                      "<AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                          std::string(kUnsignedBig)) +
              constant("I", 1)),
        AllOf(StartsWith("Runtime: "), HasSubstr("Asked")));
    EXPECT_THAT(endOf(R"(<StructReg Comment="S"><Address>0</Address><pAddress>Asked</pAddress>
                           <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
                           <Endianess>BigEndian</Endianess>
                           <StructEntry Name="Asked"><Bit>1</Bit></StructEntry></StructReg>)"),
                AllOf(StartsWith("Runtime: "), HasSubstr("Asked")));
    for (const std::string &elements : registers("<pLength>Asked</pLength>"))
        EXPECT_THAT(endOf(elements), AllOf(StartsWith("Runtime: "), HasSubstr("Asked")));
    EXPECT_THAT(
        endOf(element("IntReg", "Asked",
                      "<IntSwissKnife Name=\"Inside\"><pVariable Name=\"V\">Asked</pVariable>"
                      "<Formula>V</Formula></IntSwissKnife><Length>4</Length>"
                      "<AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                          std::string(kUnsignedBig))),
        AllOf(StartsWith("Runtime: "), HasSubstr("Asked")));
}

TEST(Bounds, FindCirclesOfIndexedValues) {
    const std::string elements =
        element("Integer", "Asked",
                "<pIndex>I</pIndex><pValueIndexed Index=\"1\">B</pValueIndexed>"
                "<ValueDefault>1</ValueDefault>") +
        constant("I", 1) + element("Integer", "B", "<Value>1</Value><pMax>Asked</pMax>");
    EXPECT_THAT(endOf(elements,
                      [](Camera &camera) {
                          camera.integer("Asked").GetMax();
                          return "a maximum";
                      }),
                StartsWith("Runtime: "));
}

// They are not looked for when a description is loaded: real ones have entries that depend on what
// is chosen. An access mode that is still being found out does not count.
TEST(Bounds, LetEntriesDependOnWhatIsChosen) {
    Camera camera(
        R"(<Enumeration Name="Asked">
             <EnumEntry Name="X"><pIsAvailable>K</pIsAvailable><Value>1</Value></EnumEntry>
             <EnumEntry Name="Y"><pIsImplemented>No</pIsImplemented><Value>2</Value></EnumEntry>
             <Value>1</Value></Enumeration>)" +
        element("IntSwissKnife", "K",
                R"(<pVariable Name="V">Asked</pVariable><Formula>V=1</Formula>)") +
        element("IntSwissKnife", "No",
                R"(<pVariable Name="V">Asked</pVariable><Formula>V=2</Formula>)"));
    GenApi_3_0::StringList_t list;
    camera.enumeration("Asked").GetSymbolics(list);
    EXPECT_THAT(list, testing::ElementsAre(GenApi_3_0::gcstring("X")));
    EXPECT_EQ("X", camera.text("Asked"));
    EXPECT_EQ("1", camera.text("K"));
    EXPECT_EQ(GenApi_3_0::RW, camera.node("Asked").GetAccessMode());
}

TEST(Bounds, HoldForTreesOfCategories) {
    std::string tree;
    for (size_t i = 0; i < 60'000; ++i)
        tree += element("Category", i == 0 ? "Asked" : numbered("C", i),
                        "<pFeature>" + numbered("C", i + 1) + "</pFeature>");
    EXPECT_THAT(endOf(tree + constant("C60000", 1),
                      [](Camera &camera) { return std::to_string(camera.mode("Asked")); }),
                AnyOf(std::to_string(GenApi_3_0::RO), StartsWith("Runtime: ")));
}

TEST(Bounds, HoldForThePartsOfAnAddress) {
    EXPECT_THAT(
        endOf(constant("One", 1) + element("IntReg", "Asked",
                                           repeated("<pAddress>One</pAddress>", 100'000) +
                                               "<Length>4</Length><AccessMode>RW</AccessMode>"
                                               "<pPort>Device</pPort>" +
                                               kUnsignedBig),
              [](Camera &camera) {
                  camera.memory.put32(100'000, 7);
                  return camera.text("Asked");
              }),
        AnyOf("7", AllOf(StartsWith("Runtime: "), HasSubstr("Asked"))));
}

TEST(Bounds, HoldForTheBytesThatAreKept) {
    // What is noted beside the bytes takes its part.
    constexpr size_t kRegisters = genapi::kMostKept / genapi::kLongestRegister - 1;
    std::string elements;
    for (size_t i = 0; i <= kRegisters + 1; ++i)
        elements +=
            element("StringReg", numbered("R", i),
                    place(i * genapi::kLongestRegister, genapi::kLongestRegister, "RW", ""));
    Camera camera(elements);
    for (int round = 0; round < 2; ++round)
        for (size_t i = 0; i < kRegisters; ++i)
            camera.text(numbered("R", i));
    EXPECT_THAT(camera.memory.accesses(), SizeIs(kRegisters));

    camera.text(numbered("R", kRegisters)); // too many: all are forgotten
    camera.text(numbered("R", kRegisters + 1));
    camera.text("R0");
    EXPECT_THAT(camera.memory.accesses(), SizeIs(3));
    struct rusage usage = {};
    EXPECT_EQ(0, getrusage(RUSAGE_SELF, &usage));
    EXPECT_LE(usage.ru_maxrss, kLittle);
}

TEST(Bounds, HoldForNestedElements) {
    EXPECT_THAT(endOf(repeated("<Group Comment=\"g\">", 60'000) + constant("Asked", 7) +
                      repeated("</Group>", 60'000)),
                AnyOf("7", StartsWith("Runtime: ")));
}

TEST(Bounds, HoldForTheLengthOfNumbers) {
    const auto withZeros = [](size_t count) {
        return element("Integer", "Asked", "<Value>" + std::string(count, '0') + "7</Value>");
    };
    EXPECT_EQ("7", endOf(withZeros(genapi::kLongestNumber - 1)));
    EXPECT_THAT(endOf(withZeros(genapi::kLongestNumber)), StartsWith("Property: "));
}

TEST(Bounds, HoldForTheTimeThatCommandsTake) {
    std::string registers;
    std::string sum = "0";
    std::string variables;
    for (int i = 0; i < 100; ++i) {
        const std::string name = numbered("R", static_cast<size_t>(i));
        registers += intReg(name, static_cast<uint64_t>(8 * i));
        variables += "<pVariable Name=\"" + name + "\">" + name + "</pVariable>";
        sum += "+" + name;
    }
    const auto asked = [&](int64_t milliseconds) {
        return endOf(registers + formulaNode(sum, variables), [milliseconds](Camera &camera) {
            camera.memory.before = [&camera, milliseconds](char, uint64_t) {
                camera.memory.clock += milliseconds;
            };
            return camera.text("Asked");
        });
    };
    EXPECT_EQ("0", asked(genapi::kLongestAccess.count() / 100));
    EXPECT_THAT(asked(genapi::kLongestAccess.count() / 98),
                AllOf(StartsWith("Runtime: "), HasSubstr("Asked")));
}

// What a structure has is not had once more by each of its entries.
TEST(Bounds, HoldForStructuresOfManyEntriesAndParts) {
    const auto structure = [](size_t parts, size_t entries) {
        std::string all = repeated("<Address>1</Address>", parts) +
                          "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                          repeated("<pInvalidator>X</pInvalidator>", entries) +
                          "<Endianess>BigEndian</Endianess>";
        for (size_t i = 0; i < entries; ++i)
            all += element("StructEntry", i == 0 ? "Asked" : numbered("E", i), "<Bit>0</Bit>");
        return constant("X", 0) + "<StructReg Comment=\"S\">" + all + "</StructReg>";
    };
    EXPECT_EQ("0", endOf(structure(genapi::kMostAddressParts, 20'000)));
    EXPECT_THAT(endOf(structure(genapi::kMostAddressParts + 1, 1)),
                AllOf(StartsWith("Runtime: "), HasSubstr("its address has more than")));
}

} // namespace
