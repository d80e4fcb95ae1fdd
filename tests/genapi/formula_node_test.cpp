// What nodes add to formulas: where the values of names come from, and when a formula is judged.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenICam_3_0::AccessException;
using GenICam_3_0::LogicalErrorException;
using GenICam_3_0::RuntimeException;

std::string variable(const std::string &name, const std::string &target) {
    return "<pVariable Name=\"" + name + "\">" + target + "</pVariable>";
}

std::string formula(const std::string &text) {
    return "<Formula>" + text + "</Formula>";
}

TEST(FormulaNodes, ComputeWithVariables) {
    Camera camera(
        constant("A", 7) + constant("B", 2) +
        element("IntSwissKnife", "I",
                variable("V", "A") + variable("v", "B") + formula("V/v + (V &gt; v)")) +
        element("SwissKnife", "F", variable("V", "A") + variable("v", "B") + formula("V/v")));

    EXPECT_EQ(4, camera.integer("I").GetValue()); // case matters
    EXPECT_EQ(3.5, camera.floating("F").GetValue());
    camera.integer("A").SetValue(9);
    EXPECT_EQ(5, camera.integer("I").GetValue());
}

TEST(FormulaNodes, TakeTheNumbersOfOtherKinds) {
    const std::string kinds =
        R"(<Enumeration Name="E"><EnumEntry Name="X"><Value>3</Value></EnumEntry><Value>3</Value>
           </Enumeration>)" +
        element("Boolean", "B", "<Value>true</Value>") + constantFloat("F", "2.5") +
        constantFloat("N", "-2.5");
    Camera camera(
        kinds +
        element("IntSwissKnife", "I",
                variable("E", "E") + variable("B", "B") + variable("F", "F") + variable("N", "N") +
                    formula("E*1000+B*100+F*10-N")) +
        element("SwissKnife", "D", variable("X", "E") + variable("F", "F") + formula("X+F")));

    EXPECT_EQ(3133, camera.integer("I").GetValue());
    EXPECT_EQ(5.5, camera.floating("D").GetValue());
}

TEST(FormulaNodes, CannotComputeWithAFloatThatNoIntegerHolds) {
    Camera camera(constantFloat("F", "1e19") +
                  element("IntSwissKnife", "I", variable("F", "F") + formula("F+1")));

    EXPECT_THROW(camera.integer("I").GetValue(), RuntimeException);
}

TEST(FormulaNodes, TakeWhatASuffixNames) {
    Camera camera(
        element("Integer", "A", "<Value>7</Value><Min>1</Min><Max>10</Max><Inc>3</Inc>") +
        element("Float", "F", "<Value>0.5</Value><Min>0.25</Min><Max>1</Max>") +
        R"(<Enumeration Name="E"><EnumEntry Name="X"><Value>3</Value></EnumEntry>
                       <EnumEntry Name="Y"><Value>4</Value></EnumEntry><Value>3</Value>
                     </Enumeration>)" +
        element("IntSwissKnife", "I",
                variable("A.Value", "A") + variable("A.Min", "A") + variable("A.Max", "A") +
                    variable("A.Inc", "A") +
                    formula("A.Value*1000000 + A.Min*10000 + A.Max*100 + A.Inc")) +
        element("SwissKnife", "D",
                variable("F.Min", "F") + variable("F", "F") + formula("F.Min+F")) +
        element("IntSwissKnife", "Entry",
                variable("E.Entry.Y", "E") + variable("E", "E") + formula("E.Entry.Y*10+E")));

    EXPECT_EQ(7011003, camera.integer("I").GetValue());
    EXPECT_EQ(0.75, camera.floating("D").GetValue());
    EXPECT_EQ(43, camera.integer("Entry").GetValue());
}

TEST(FormulaNodes, KnowNoOtherSuffix) {
    EXPECT_EQ("Runtime", raised([] {
                  Camera camera(constant("A", 7) +
                                element("IntSwissKnife", "I",
                                        variable("A.Middle", "A") + formula("A.Middle")));
                  camera.integer("I").GetValue();
              }));
}

TEST(FormulaNodes, HaveConstantsAndExpressionsByName) {
    Camera camera(constant("A", 7) +
                  element("IntSwissKnife", "I",
                          variable("V", "A") + R"(<Constant Name="K">100</Constant>
                              <Expression Name="One">V+K</Expression>
                              <Expression Name="Two">One*2</Expression>)" +
                              formula("Two+One")) +
                  element("SwissKnife", "F",
                          R"(<Constant Name="K">0.5</Constant>
                             <Expression Name="Half">K/2</Expression>)" +
                              formula("Half+K")) +
                  element("IntConverter", "C",
                          R"(<Constant Name="K">10</Constant>
                             <Expression Name="Double">K*2</Expression>
                             <FormulaTo>FROM-Double</FormulaTo><FormulaFrom>TO+Double</FormulaFrom>
                             <pValue>A</pValue><Slope>Varying</Slope>)"));

    EXPECT_EQ(321, camera.integer("I").GetValue());
    EXPECT_EQ(0.75, camera.floating("F").GetValue());
    EXPECT_EQ(27, camera.integer("C").GetValue());
    camera.integer("C").SetValue(30);
    EXPECT_EQ(10, camera.integer("A").GetValue());
}

TEST(FormulaNodes, KnowAnExpressionOnlyAfterItsDefinition) {
    Camera camera(element("IntSwissKnife", "I",
                          R"(<Expression Name="Early">Late+1</Expression>
                             <Expression Name="Late">1</Expression>)" +
                              formula("Early")) +
                  element("IntSwissKnife", "Itself",
                          R"(<Expression Name="Self">Self+1</Expression>)" + formula("Self")));

    EXPECT_THROW(camera.integer("I").GetValue(), LogicalErrorException);
    EXPECT_THROW(camera.integer("Itself").GetValue(), LogicalErrorException);
}

TEST(FormulaNodes, ConvertWithVariables) {
    Camera camera(constant("Offset", 5) + constant("T", 40) +
                  element("Converter", "C",
                          variable("O", "Offset") + "<FormulaTo>(FROM-O)*4</FormulaTo>"
                                                    "<FormulaFrom>TO/4+O</FormulaFrom>"
                                                    "<pValue>T</pValue>"));

    EXPECT_EQ(15, camera.floating("C").GetValue());
    camera.floating("C").SetValue(6);
    EXPECT_EQ(4, camera.integer("T").GetValue());
}

TEST(FormulaNodes, AreJudgedWhenTheyAreEvaluated) {
    Camera camera(constant("Zero", 0) + constant("T", 1) +
                  element("IntSwissKnife", "Syntax", formula("1+")) +
                  element("IntSwissKnife", "Empty", formula("")) +
                  element("IntSwissKnife", "Unknown", formula("Nobody")) +
                  element("IntSwissKnife", "ByZero", variable("Z", "Zero") + formula("1/Z")) +
                  element("SwissKnife", "FloatByZero", variable("Z", "Zero") + formula("1/Z")) +
                  element("IntConverter", "C",
                          "<FormulaTo>1/FROM</FormulaTo><FormulaFrom>1+*</FormulaFrom>"
                          "<pValue>T</pValue><Slope>Varying</Slope>"));

    for (const char *name : {"Syntax", "Empty", "Unknown", "ByZero", "C"})
        EXPECT_THROW(camera.integer(name).GetValue(), LogicalErrorException) << name;
    EXPECT_THROW(camera.floating("FloatByZero").GetValue(), LogicalErrorException);
    EXPECT_THROW(camera.integer("C").SetValue(0), LogicalErrorException);
    camera.integer("Zero").SetValue(1);
    EXPECT_EQ(1, camera.integer("ByZero").GetValue());
}

TEST(FormulaNodes, RaiseWhatTheirVariablesRaise) {
    Camera camera(
        constant("Zero", 0) + intReg("R", 0) +
        element("Integer", "NotNow", "<pIsAvailable>Zero</pIsAvailable><Value>1</Value>") +
        element("IntSwissKnife", "I", variable("V", "NotNow") + formula("V")) +
        element("Boolean", "B", "<pValue>R</pValue>") +
        element("IntSwissKnife", "OverB", variable("V", "B") + formula("V")));
    camera.memory.put32(0, 2);

    EXPECT_THROW(camera.integer("I").GetValue(), AccessException);
    EXPECT_THROW(camera.integer("OverB").GetValue(), LogicalErrorException);
}

} // namespace
