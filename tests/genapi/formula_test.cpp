// Formulas: what their texts mean, and what is none.

#include <cmath>
#include <ctime>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Base/GCException.h"
#include "genapi/bounds.h"
#include "genapi/formula.h"

namespace {

using genapi::Formula;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class Value>
using Variables = std::vector<std::pair<std::string, Value>>;

template <class Value>
Value evaluated(const std::string &text, const Variables<Value> &variables) {
    const Formula formula(std::is_same_v<Value, double> ? Formula::Kind::Float
                                                        : Formula::Kind::Integer,
                          text, [&](std::string_view name) -> std::optional<uint32_t> {
                              for (uint32_t i = 0; i < variables.size(); ++i)
                                  if (variables[i].first == name)
                                      return i;
                              return std::nullopt;
                          });
    std::vector<Value> values;
    for (const auto &each : variables)
        values.push_back(each.second);
    return formula.evaluate(values.data(), "Node");
}

int64_t integer(const std::string &text, const Variables<int64_t> &variables = {}) {
    return evaluated(text, variables);
}

double floating(const std::string &text, const Variables<double> &variables = {}) {
    return evaluated(text, variables);
}

/** What the evaluation says that raises, after the node that it names. */
std::string refusal(const std::function<void()> &evaluation) {
    try {
        evaluation();
    } catch (const GenICam_3_0::LogicalErrorException &error) {
        const std::string text = error.GetDescription();
        const std::string node = "'Node': ";
        EXPECT_EQ(node, text.substr(0, node.size()));
        return text.substr(node.size());
    }
    return "(not refused)";
}

std::string refusedInteger(const std::string &text, const Variables<int64_t> &variables = {}) {
    return refusal([&] { integer(text, variables); });
}

std::string refusedFloat(const std::string &text, const Variables<double> &variables = {}) {
    return refusal([&] { floating(text, variables); });
}

struct Case {
    int64_t value;
    const char *text;
};

void expectIntegers(const std::vector<Case> &cases, const Variables<int64_t> &variables = {}) {
    for (const Case &each : cases)
        EXPECT_EQ(each.value, integer(each.text, variables)) << each.text;
}

void expectFloats(const Variables<double> &cases, const Variables<double> &variables = {}) {
    for (const auto &[text, value] : cases)
        EXPECT_EQ(value, floating(text, variables)) << text;
}

/** The same in integer and in float formulas. */
void expectBoth(const std::vector<Case> &cases) {
    expectIntegers(cases);
    for (const Case &each : cases)
        EXPECT_EQ(static_cast<double>(each.value), floating(each.text)) << each.text;
}

TEST(Formula, BindsSignsTighterThanEveryOperator) {
    expectBoth({{4, "-2**2"}, {-4, "~1*2"}, {-3, "~1-1"}, {2, "-(-2)"}, {5, "+5"}, {-6, "-(2+4)"}});
}

TEST(Formula, TakesSignsRightAfterAnOperator) {
    expectBoth({{1, "7%-3"}, {-6, "2*-3"}, {4, "7&~3"}, {8, "5--3"}, {2, "5+-3"}, {2, "5---3"}});
    expectBoth({{-3, "1<-1?4:-3"}, {1, "2>-1"}, {1, "~-2"}, {1, "1=+1"}});
}

TEST(Formula, PutsPowersShiftsAndBitsOnOneLevelAboveProducts) {
    expectBoth({{5, "1<<2+1"}, {64, "2**3**2"}, {0, "1|2&4"}, {12, "1|2<<2"}, {18, "2*3**2"}});
    expectBoth({{18, "3**2*2"}, {6, "2*1|2"}, {7, "4^2|1"}, {2, "16>>2>>1"}});
}

TEST(Formula, PutsProductsAboveSumsAboveComparisons) {
    expectBoth({{7, "1+2*3"}, {9, "(1+2)*3"}, {1, "10-6-3"}, {2, "12/3/2"}, {4, "7%4*2-2"}});
    expectBoth({{1, "1+1=2"}, {0, "3-1>2"}, {1, "4/2>=2"}});
}

TEST(Formula, GroupsComparisonsAndLogicFromTheLeft) {
    expectBoth({{1, "3>2>0"},        // (3>2)>0
                {0, "3>2=3"},        // (3>2)=3
                {0, "1||0&&0"},      // (1||0)&&0
                {1, "0&&1=0"},       // (0&&1)=0
                {1, "5<>5<1"},       // (5<>5)<1
                {1, "2=2&&2"},       // (2=2)&&2
                {1, "1<=0||3"}});    // (1<=0)||3
    expectIntegers({{0, "A=1&&B=2"}, // ((A=1)&&B)=2
                    {1, "A=1&&(B=2)"}},
                   {{"A", 1}, {"B", 2}});
}

TEST(Formula, TakesWhatStandsBeforeAQuestionMarkAsTheCondition) {
    const char *comparedAfter = "V=7?10:V=8"; // (V=7?10:V)=8
    expectIntegers({{0, comparedAfter}}, {{"V", 7}});
    expectIntegers({{1, comparedAfter}}, {{"V", 8}});

    const char *chain = "(V=7)?10:(V=8)?20:30"; // ((V=7)?10:(V=8))?20:30
    expectIntegers({{20, chain}}, {{"V", 7}});
    expectIntegers({{20, chain}}, {{"V", 8}});
    expectIntegers({{30, chain}}, {{"V", 9}});

    const char *bracketed = "(V=7)?10:((V=8)?20:30)";
    expectIntegers({{10, bracketed}}, {{"V", 7}});
    expectIntegers({{20, bracketed}}, {{"V", 8}});
    expectIntegers({{30, bracketed}}, {{"V", 9}});

    expectBoth({{3, "0?1:2+1"}, {1, "1?1:2+1"}, {1, "1?2=2:5"}, {1, "1+0?2>1&&1:5"}});
}

TEST(Formula, WantsBracketsAroundAQuestionMarkBeforeTheColon) {
    expectBoth({{2, "1?(1?2:3):4"}});
    EXPECT_EQ("the formula '1?1?2:3:4' is none: brackets are missing at '?' (character 4)",
              refusedInteger("1?1?2:3:4"));
}

TEST(Formula, GivesOneOrZeroForComparisonsAndLogic) {
    expectBoth({{1, "2=2"},  {0, "2=3"},  {0, "2<>2"},  {1, "2<>3"}, {1, "2<3"},   {0, "2<2"},
                {1, "3>2"},  {0, "2>2"},  {1, "2<=2"},  {0, "3<=2"}, {1, "2>=2"},  {0, "2>=3"},
                {1, "5&&3"}, {0, "5&&0"}, {0, "0&&5"},  {0, "0&&0"}, {1, "5||-3"}, {1, "0||2"},
                {1, "2||0"}, {0, "0||0"}, {8, "-1?8:9"}});
}

TEST(Formula, IgnoresBlanksBetweenWords) {
    expectBoth({{7, " \t1\r\n+ 2*\v3\f"}, {-3, "\nNEG ( 3 ) "}});
    EXPECT_THAT(refusedInteger("1 2"), HasSubstr("expected an operator at '2' (character 3)"));
    EXPECT_THAT(refusedInteger("1 < = 2"), HasSubstr("expected a value at '='"));
}

TEST(Formula, KnowsVariablesByTheirWholeNameInItsCase) {
    const Variables<int64_t> variables = {
        {"V", 1}, {"v", 2}, {"_v1", 3}, {"V.Value", 4}, {"V.Entry.On_2", 5}, {"PI", 6}, {"E", 7}};
    expectIntegers({{1, "V"}, {2, "v"}, {3, "_v1"}, {4, "V.Value"}}, variables);
    expectIntegers({{5, "V.Entry.On_2"}, {6, "PI"}, {7, "E"}}, variables);
    expectIntegers({{12345, "V*10000+v*1000+_v1*100+V.Value*10+V.Entry.On_2"}}, variables);
    EXPECT_EQ("the formula '1+x1' is none: no such variable at 'x1' (character 3)",
              refusedInteger("1+x1", variables));
}

TEST(Formula, TellsTheSlotsThatItUsesInOrderOfTheirFirstUse) {
    const auto slots = [](std::string_view name) -> std::optional<uint32_t> {
        return name == "None" ? std::nullopt : std::optional(static_cast<uint32_t>(name[0] - 'A'));
    };
    const Formula formula(Formula::Kind::Integer, "D?B+D:A*B", slots);
    EXPECT_THAT(formula.used(), ElementsAre(3, 1, 0));
    const int64_t values[] = {5, 7, 0, 1};
    EXPECT_EQ(8, formula.evaluate(values, "Node"));
    EXPECT_EQ(8u, formula.size()); // five values and three operations

    const Formula none(Formula::Kind::Integer, "D+None", slots);
    EXPECT_THAT(none.used(), IsEmpty());
    EXPECT_EQ(0u, none.size());
}

TEST(Formula, OutlivesItsTextAndCanBeCopied) {
    auto text = std::make_unique<std::string>("A*2");
    const Formula first(Formula::Kind::Float, *text, [](std::string_view) { return 0u; });
    text.reset();
    Formula second(Formula::Kind::Integer, "7", [](std::string_view) { return 0u; });
    second = first;
    const double value = 1.5;
    EXPECT_EQ(3.0, second.evaluate(&value, "Node"));
}

// ---- Integer formulas ----

TEST(Formula, ReadsIntegersInDecimalAndHexadecimal) {
    expectIntegers({{10, "010"}, {0, "0"}, {255, "0xFf"}, {255, "0X00ff"}});
    expectIntegers({{kMax, "9223372036854775807"}, {kMax, "9223372036854775808"}});
    expectIntegers({{kMax, "99999999999999999999999999"}, {kMax, "0x7FFFFFFFFFFFFFFF"}});
    expectIntegers({{kMax, "0xFFFFFFFFFFFFFFFF"}, {kMax, "0x123456789ABCDEF01234"}});
    expectIntegers({{kMin, "-9223372036854775807-1"}});
}

TEST(Formula, OfIntegersHasNoPointAndNoExponent) {
    for (const char *text : {"1.5", "5.", "1e5", "1E+5", "2*1.0", "9e-1", "99999999999999999999.5"})
        EXPECT_THAT(refusedInteger(text), HasSubstr("expected an integer at")) << text;
    EXPECT_THAT(refusedInteger("1e"), HasSubstr("expected an operator at 'e'"));
}

TEST(Formula, OfIntegersWraps) {
    const Variables<int64_t> variables = {{"MIN", kMin}, {"MAX", kMax}};
    expectIntegers({{kMin, "MAX+1"}, {kMax, "MIN-1"}, {-2, "MAX*2"}, {kMin, "-MIN"}}, variables);
    expectIntegers({{kMin, "NEG(MIN)"}, {kMin, "MIN/-1"}, {0, "MIN%-1"}}, variables);
    expectIntegers({{kMin, "MIN*-1"}, {0, "2**64"}, {kMin, "2**63"}, {1, "MAX**2"}}, variables);
    expectIntegers({{-420491770248316829, "3**41"}}, variables);
}

TEST(Formula, OfIntegersDividesTowardZero) {
    expectIntegers(
        {{-1, "-7%3"}, {1, "7%-3"}, {-2, "-7/3"}, {-2, "7/-3"}, {2, "7/3"}, {-7, "7/-1"}});
}

TEST(Formula, OfIntegersTruncatesNegativePowers) {
    expectIntegers({{0, "2**-1"}, {1, "1**-5"}, {1, "(-1)**-2"}, {-1, "(-1)**-3"}, {1, "0**0"}});
    expectIntegers({{0, "0**3"}, {-8, "-2**3"}});
    EXPECT_EQ("division by zero in the formula '0**-1'", refusedInteger("0**-1"));
}

TEST(Formula, OfIntegersShiftsByTheCountModulo64AndKeepsTheSign) {
    expectIntegers({{2, "1<<65"}, {kMin, "1<<63"}, {kMin, "1<<-1"}, {-2, "-1<<1"}, {-1, "-1>>63"}});
    expectIntegers({{-2, "-8>>2"}, {4, "8>>65"}, {-1, "-8>>-1"}});
}

TEST(Formula, OfIntegersHasTwoFunctions) {
    expectIntegers({{-1, "SGN(-7)"}, {0, "sgn(0)"}, {1, "Sgn(7)"}, {-7, "NEG(7)"}, {7, "neg(-7)"}});
    for (const char *text : {"ABS(1)", "ROUND(1)", "SIN(0)", "TRUNC(1)", "MIN(1)", "PI()"})
        EXPECT_THAT(refusedInteger(text), HasSubstr("no such function at '")) << text;
}

// ---- Float formulas ----

TEST(Formula, OfFloatsReadsNumbersAsCDoes) {
    expectFloats({{"5.", 5.0}, {"0.25", 0.25}, {"1.5e2", 150.0}, {"1.5E-2", 0.015}});
    expectFloats({{"5.e+3", 5000.0}, {"010", 10.0}, {"0xFF", 255.0}});
    expectFloats({{"0xFFFFFFFFFFFFFFFFF", 0x1p64}, {"10000000000000000000000", 1e22}});
    EXPECT_EQ("the formula '.5' is none: expected a value at '.' (character 1)",
              refusedFloat(".5"));
    EXPECT_THAT(refusedFloat("1e400"), HasSubstr("in the range of a double at '1e400'"));
    EXPECT_THAT(refusedFloat("1.5.2"), HasSubstr("expected an operator at '.'"));
}

TEST(Formula, OfFloatsDividesAsDoublesDo) {
    expectFloats({{"5/2", 2.5}, {"5.5%2", 1.5}, {"-5.5%2", -1.5}, {"2**-1", 0.5}});
    expectFloats({{"2**0.5", std::sqrt(2)}, {"0.5?1:2", 1.0}});
}

TEST(Formula, OfFloatsTruncatesForBits) {
    expectFloats({{"6.9&3.9", 2.0}, {"6.9|1.9", 7.0}, {"6.9^3.9", 5.0}, {"6.9<<2.9", 24.0}});
    expectFloats({{"6.9>>2.9", 1.0}, {"~-2.9", 1.0}});
    expectFloats({{"V<<38", 1099511627776.0}}, {{"V", 4.5}}); // beyond 32 bits
    expectFloats({{"V|0", -0x1p63}}, {{"V", -0x1p63}});
}

TEST(Formula, OfFloatsRaisesWhereBitsAreBeyondAnInteger) {
    for (double value : {0x1p63, -0x1.0000000000001p63, 1e300, kInfinity, -kInfinity,
                         std::numeric_limits<double>::quiet_NaN()})
        for (const char *text : {"~V", "V&1", "1&V", "V|1", "V^1", "V<<1", "1<<V", "V>>1", "1>>V"})
            EXPECT_EQ(std::string("bits of a number beyond 64 bits in the formula '") + text + "'",
                      refusedFloat(text, {{"V", value}}))
                << value;
}

TEST(Formula, OfFloatsHasFunctionsInAnyCase) {
    const Variables<double> x = {{"x", 0.7}};
    const std::pair<const char *, double (*)(double)> functions[] = {
        {"SIN(x)", std::sin},   {"COS(x)", std::cos},   {"TAN(x)", std::tan},
        {"ASIN(x)", std::asin}, {"ACOS(x)", std::acos}, {"ATAN(x)", std::atan},
        {"EXP(x)", std::exp},   {"LN(x)", std::log},    {"LG(x)", std::log10},
        {"SQRT(x)", std::sqrt}, {"sin(x)", std::sin},   {"Sqrt(x)", std::sqrt}};
    for (const auto &[text, function] : functions)
        EXPECT_EQ(function(0.7), floating(text, x)) << text;
    expectFloats({{"ABS(-x)", 0.7}, {"ABS(x)", 0.7}, {"SGN(-x)", -1.0}, {"SGN(x-x)", 0.0}}, x);
    expectFloats({{"SGN(x)", 1.0}, {"NEG(x)", -0.7}, {"eXp(2*x)", std::exp(1.4)}}, x);
    expectFloats({{"TRUNC(-1.7)", -1.0}, {"TRUNC(1.7)", 1.0}}, x);
    expectFloats({{"FLOOR(-1.2)", -2.0}, {"CEIL(1.2)", 2.0}}, x);
    for (const char *text : {"LOG(1)", "POW(1)", "MIN(1)", "MAX(1)", "x(1)", "PI(1)"})
        EXPECT_THAT(refusedFloat(text, x), HasSubstr("no such function at '")) << text;
}

TEST(Formula, OfFloatsRoundsHalvesAwayFromZero) {
    expectFloats({{"ROUND(2.5)", 3.0}, {"ROUND(-2.5)", -3.0}, {"ROUND(2.4)", 2.0}});
    expectFloats({{"ROUND(0.125,2)", 0.13}, {"ROUND(-0.125,2)", -0.13}});
    expectFloats({{"ROUND(1.23456,3)", 1.235}, {"ROUND(2.5,0)", 3.0}, {"ROUND(1250,-2)", 1300.0}});
    expectFloats({{"ROUND(1.5e300,300)", 1.5e300}, {"ROUND(7,1000)", 7.0}});
    expectFloats({{"ROUND(7,-1000)", 0.0}, {"Round ( 0.25 , 0+1 )", 0.3}});
    EXPECT_EQ(kInfinity, floating("ROUND(EXP(1000),2)"));
    EXPECT_TRUE(std::isnan(floating("ROUND(SQRT(-1),2)")));
    EXPECT_THAT(refusedFloat("FLOOR(1,2)"), HasSubstr("expected ')' at ','"));
    EXPECT_THAT(refusedFloat("ROUND(1,2,3)"), HasSubstr("expected ')' at ','"));
    EXPECT_THAT(refusedFloat("ROUND()"), HasSubstr("expected a value at ')'"));
}

TEST(Formula, OfFloatsHasTwoConstantsThatHideVariables) {
    const Variables<double> variables = {{"PI", 1}, {"pi", 1}, {"E", 1}, {"e", 1}, {"E.Value", 4}};
    for (const char *text : {"PI", "pi", "Pi", "pI"})
        EXPECT_DOUBLE_EQ(3.14159265358979323846, floating(text, variables)) << text;
    for (const char *text : {"E", "e"})
        EXPECT_DOUBLE_EQ(2.71828182845904523536, floating(text, variables)) << text;
    EXPECT_EQ(4.0, floating("E.Value", variables));
}

TEST(Formula, OfFloatsGivesNanAndInfinityOutsideAFunctionsDomain) {
    EXPECT_TRUE(std::isnan(floating("SQRT(-1)")));
    EXPECT_TRUE(std::isnan(floating("ACOS(2)")));
    EXPECT_EQ(-kInfinity, floating("LN(0)"));
    EXPECT_EQ(kInfinity, floating("EXP(1000)"));
    EXPECT_EQ(0.0, floating("SQRT(-1)=SQRT(-1)"));
    EXPECT_EQ(1.0, floating("SQRT(-1)<>SQRT(-1)"));
}

// ---- What raises ----

TEST(Formula, RaisesForADivisionByZeroWhereverItStands) {
    for (const char *text : {"1/0", "1%0", "1?2:1/0", "0?1/0:2", "1||1/0", "0&&1%0", "1/(2-2)"}) {
        const std::string expected = std::string("division by zero in the formula '") + text + "'";
        EXPECT_EQ(expected, refusedInteger(text));
        EXPECT_EQ(expected, refusedFloat(text));
    }
    EXPECT_THAT(refusedFloat("1/-V", {{"V", 0.0}}), HasSubstr("division by zero"));
}

TEST(Formula, IsFoundToBeNoneOnlyWhenItIsEvaluated) {
    const std::vector<std::pair<const char *, const char *>> cases = {
        {"", "expected a value at its end"},
        {" ", "expected a value at its end"},
        {"1+*", "expected a value at '*' (character 3)"},
        {"1+", "expected a value at its end"},
        {"1==2", "expected a value at '=' (character 3)"},
        {"1!=2", "expected an operator at '!' (character 2)"},
        {"!1", "expected a value at '!' (character 1)"},
        {"(1", "expected ')' at its end"},
        {"1)", "expected an operator at ')' (character 2)"},
        {"()", "expected a value at ')' (character 2)"},
        {"1?2", "expected ':' at its end"},
        {"1:2", "expected an operator at ':' (character 2)"},
        {"1?:2", "expected a value at ':' (character 3)"},
        {"1,2", "expected an operator at ',' (character 2)"},
        {"0x", "expected an operator at 'x' (character 2)"},
        {"12ab", "expected an operator at 'ab' (character 3)"},
        {"X", "no such variable at 'X' (character 1)"},
        {"1+LOG(2)", "no such function at 'LOG' (character 3)"},
        {"\x01", "expected a value at ' ' (character 1)"},
    };
    for (const auto &[text, reason] : cases) {
        const std::string shown = std::string(text) == "\x01" ? " " : text;
        const std::string expected = "the formula '" + shown + "' is none: " + reason;
        EXPECT_EQ(expected, refusedInteger(text));
        EXPECT_EQ(expected, refusedFloat(text));
    }
}

TEST(Formula, IsShownShortenedToWholeCharacters) {
    EXPECT_EQ("division by zero in the formula '1/0" + std::string(57, ' ') + "...'",
              refusedInteger("1/0" + std::string(57, ' ') + "+1"));
    const std::string text = "\n" + std::string(58, '1') + "\u00B5";
    EXPECT_EQ("the formula ' " + std::string(58, '1') +
                  "...' is none: "
                  "expected an operator at '?"
                  "?' (character 60)",
              refusedInteger(text));
}

TEST(Formula, EndsAtItsBounds) {
    const size_t deepest = genapi::kDeepestBrackets;
    const auto repeated = [](const char *text, size_t count) {
        std::string result;
        while (count-- > 0)
            result += text;
        return result;
    };
    for (size_t count : {deepest, deepest + 1}) {
        const std::vector<std::string> texts = {
            std::string(count, '(') + "1" + std::string(count, ')'), std::string(count, '-') + "1",
            repeated("NEG(", count) + "1" + std::string(count, ')')};
        for (const std::string &text : texts) {
            const std::string refused = refusedInteger(text);
            if (count > deepest)
                EXPECT_THAT(refused, HasSubstr("more than 200 brackets and signs are open"))
                    << text;
            else
                EXPECT_EQ("(not refused)", refused) << text;
        }
    }
    // As many values wait as can: a condition, a branch and three left sides in each bracket.
    EXPECT_EQ(7, integer(repeated("0?2:1+2*3&(", deepest) + "1" + std::string(deepest, ')')));

    const std::string longest(genapi::kLongestFormula - 1, ' ');
    EXPECT_EQ(1, integer(longest + "1"));
    EXPECT_THAT(refusedInteger(longest + "11"), HasSubstr("longer than 16384 characters"));
}

TEST(Formula, OfAHostileTextEndsSoon) {
    const size_t size = genapi::kLongestFormula;
    const auto filled = [&](const std::string &pattern) {
        std::string text;
        while (text.size() + pattern.size() < size)
            text += pattern;
        return text;
    };
    // Processor time: the machine may have other things to do.
    const std::clock_t start = std::clock();
    for (const char *pattern :
         {"(",   "-", "~",   "1?", "1?2:", "1+", "1",    "A", "A+", "NEG(", "((1)",
          "(1)", ")", "1<<", "1=", "0x",   ".",  "\xFF", "?", ":",  ","}) {
        refusedInteger(filled(pattern));
        refusedFloat(filled(pattern));
        refusedInteger(std::string(20'000, pattern[0]));
    }
    EXPECT_EQ(1, integer(filled("1?1:") + "1"));
    EXPECT_EQ(static_cast<int64_t>(size / 2), integer(filled("1+") + "1"));
    EXPECT_EQ(static_cast<int64_t>(size / 4), integer(filled("(1)+") + "1"));
    // Each name another one.
    std::string names = "a0";
    for (int i = 1; names.size() < size - 10; ++i)
        names += "+a" + std::to_string(i);
    uint32_t slots = 0;
    const Formula many(Formula::Kind::Integer, names, [&](std::string_view) { return slots++; });
    EXPECT_EQ(slots, many.used().size());
    EXPECT_GT(slots, 2'000u);
    EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
}

// ---- Against what a test computes by itself ----

using Numbers = std::mt19937_64;

/** A number of few, of 32 or of 64 bits. */
int64_t someNumber(Numbers &numbers) {
    return static_cast<int64_t>(numbers()) >> std::vector<int>{0, 32, 58, 61}[numbers() % 4];
}

__extension__ using Wide = __int128;
using Operation = Wide (*)(Wide, Wide);
using Sign = std::pair<std::string, Operation>;

const std::vector<std::vector<Sign>> kLevels = { // the tightest first
    {{"<<", [](Wide l, Wide r) { return l * (Wide{1} << (r & 63)); }},
     {">>", [](Wide l, Wide r) { return l >> (r & 63); }},
     {"&", [](Wide l, Wide r) { return l & r; }},
     {"|", [](Wide l, Wide r) { return l | r; }},
     {"^", [](Wide l, Wide r) { return l ^ r; }}},
    {{"*", [](Wide l, Wide r) { return l * r; }},
     {"/", [](Wide l, Wide r) { return l / r; }},
     {"%", [](Wide l, Wide r) { return l % r; }}},
    {{"+", [](Wide l, Wide r) { return l + r; }}, {"-", [](Wide l, Wide r) { return l - r; }}},
    {{"=", [](Wide l, Wide r) -> Wide { return l == r; }},
     {"<>", [](Wide l, Wide r) -> Wide { return l != r; }},
     {"<", [](Wide l, Wide r) -> Wide { return l < r; }},
     {">", [](Wide l, Wide r) -> Wide { return l > r; }},
     {"<=", [](Wide l, Wide r) -> Wide { return l <= r; }},
     {">=", [](Wide l, Wide r) -> Wide { return l >= r; }},
     {"&&", [](Wide l, Wide r) -> Wide { return l && r; }},
     {"||", [](Wide l, Wide r) -> Wide { return l || r; }}}};

/** One operation, of 64 bits; nothing when it is not defined. */
std::optional<int64_t> computed(const Sign &sign, int64_t left, int64_t right) {
    if ((sign.first == "/" || sign.first == "%") && right == 0)
        return std::nullopt;
    return static_cast<int64_t>(sign.second(left, right));
}

const Sign &someSign(Numbers &numbers) {
    const auto &level = kLevels[numbers() % kLevels.size()];
    return level[numbers() % level.size()];
}

struct Made {
    std::string text;
    std::optional<int64_t> value;
};

/** A formula with brackets around everything. */
Made someTree(Numbers &numbers, int depth, const Variables<int64_t> &variables) {
    const auto branch = [&] { return someTree(numbers, depth - 1, variables); };
    if (depth == 0 || numbers() % 5 == 0) {
        const auto &[name, value] = variables[numbers() % variables.size()];
        const auto literal = static_cast<int64_t>(numbers() >> (1 + numbers() % 63));
        return numbers() % 2 ? Made{name, value} : Made{std::to_string(literal), literal};
    }
    if (numbers() % 6 == 0) {
        const Made of = branch();
        if (numbers() % 2)
            return {"(~" + of.text + ")", of.value ? std::optional(~*of.value) : std::nullopt};
        return {"(-" + of.text + ")",
                of.value ? computed(kLevels[2][1], 0, *of.value) : std::nullopt};
    }
    const Made left = branch();
    const Made right = branch();
    const bool defined = left.value && right.value;
    if (numbers() % 6 == 0) {
        const Made condition = branch();
        return {"(" + condition.text + "?" + left.text + ":" + right.text + ")",
                defined && condition.value ? (*condition.value ? left.value : right.value)
                                           : std::nullopt};
    }
    const Sign &sign = someSign(numbers);
    return {"(" + left.text + sign.first + right.text + ")",
            defined ? computed(sign, *left.value, *right.value) : std::nullopt};
}

/** A formula without brackets; reduced level by level, each from the left. */
Made someLine(Numbers &numbers, const Variables<int64_t> &variables) {
    Made made;
    std::vector<int64_t> values;
    std::vector<Sign> signs;
    for (size_t count = 2 + numbers() % 8; count > 0; --count) {
        const auto &[name, value] = variables[numbers() % variables.size()];
        if (!values.empty())
            made.text += signs.emplace_back(someSign(numbers)).first;
        made.text += name;
        values.push_back(value);
    }
    for (const auto &level : kLevels)
        for (size_t i = 0; i < signs.size();) {
            if (std::find(level.begin(), level.end(), signs[i]) == level.end()) {
                ++i;
                continue;
            }
            const std::optional<int64_t> value = computed(signs[i], values[i], values[i + 1]);
            if (!value)
                return made;
            values[i] = *value;
            values.erase(values.begin() + static_cast<ptrdiff_t>(i) + 1);
            signs.erase(signs.begin() + static_cast<ptrdiff_t>(i));
        }
    made.value = values[0];
    return made;
}

void expectMade(const Made &made, const Variables<int64_t> &variables) {
    if (made.value)
        EXPECT_EQ(*made.value, integer(made.text, variables)) << made.text;
    else
        EXPECT_THAT(refusedInteger(made.text, variables), HasSubstr("division by zero in"))
            << made.text;
}

TEST(Formula, AgreesWithWhatItsTreeOrItsLevelsGive) {
    Numbers numbers(20);
    for (int i = 0; i < 2'000; ++i) {
        const Variables<int64_t> variables = {{"A", someNumber(numbers)},
                                              {"B", someNumber(numbers)},
                                              {"C", someNumber(numbers)},
                                              {"MIN", kMin},
                                              {"MINUS", -1}};
        expectMade(someTree(numbers, 6, variables), variables);
        expectMade(someLine(numbers, variables), variables);
    }
}

} // namespace
