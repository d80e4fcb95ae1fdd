// What nodes add to formulas: where the values of names come from, and when a formula is judged.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using testing::ElementsAre;

TEST(FormulaNodes, ComputeWithVariables) {
    Camera camera("Integer A Value=7 Integer B Value=2 "
                  "IntSwissKnife I pVariable.V=A pVariable.v=B Formula='V/v + (V > v)' "
                  "SwissKnife F pVariable.V=A pVariable.v=B Formula=V/v");

    EXPECT_EQ(4, camera.get("I")); // case matters
    EXPECT_EQ(3.5, camera.getFloat("F"));
    camera.integer("A").SetValue(9);
    EXPECT_EQ(5, camera.get("I"));
}

TEST(FormulaNodes, TakeTheNumbersOfOtherKindsThatTheyHold) {
    Camera camera("Enumeration E EnumEntry.X=3 Value=3 Boolean B Value=true "
                  "Float F Value=2.5 Float N Value=-2.5 Float Huge Value=1e19 "
                  "IntSwissKnife I pVariable.E=E pVariable.B=B pVariable.F=F pVariable.N=N "
                  "  Formula=E*1000+B*100+F*10-N "
                  "SwissKnife D pVariable.X=E pVariable.F=F Formula=X+F "
                  "IntSwissKnife OverHuge pVariable.F=Huge Formula=F+1");

    EXPECT_EQ(3133, camera.get("I"));
    EXPECT_EQ(5.5, camera.getFloat("D"));
    EXPECT_EQ("Runtime", camera.refuses("OverHuge"));
}

TEST(FormulaNodes, TakeWhatASuffixNames) {
    Camera camera(
        "Integer A Value=7 Min=1 Max=10 Inc=3 Float F Value=0.5 Min=0.25 Max=1 "
        "Enumeration E EnumEntry.X=3 EnumEntry.Y=4 Value=3 "
        "IntSwissKnife I pVariable.A.Value=A pVariable.A.Min=A pVariable.A.Max=A pVariable.A.Inc=A "
        "  Formula='A.Value*1000000 + A.Min*10000 + A.Max*100 + A.Inc' "
        "SwissKnife D pVariable.F.Min=F pVariable.F=F Formula=F.Min+F "
        "IntSwissKnife Entry pVariable.E.Entry.Y=E pVariable.E=E Formula=E.Entry.Y*10+E");

    EXPECT_THAT(camera.gets("I Entry"), ElementsAre(7011003, 43));
    EXPECT_EQ(0.75, camera.getFloat("D"));
    EXPECT_EQ("Runtime", raised([] { // no other suffix
                  Camera other("Integer A Value=7 "
                               "IntSwissKnife I pVariable.A.Middle=A Formula=A.Middle");
                  other.get("I");
              }));
}

TEST(FormulaNodes, HaveConstantsAndExpressionsByName) {
    Camera camera("Integer A Value=7 "
                  "IntSwissKnife I pVariable.V=A Constant.K=100 Expression.One=V+K "
                  "  Expression.Two=One*2 Formula=Two+One "
                  "SwissKnife F Constant.K=0.5 Expression.Half=K/2 Formula=Half+K "
                  "IntConverter C Constant.K=10 Expression.Double=K*2 FormulaTo=FROM-Double "
                  "  FormulaFrom=TO+Double pValue=A Slope=Varying");

    EXPECT_THAT(camera.gets("I C"), ElementsAre(321, 27));
    EXPECT_EQ(0.75, camera.getFloat("F"));
    EXPECT_EQ("", camera.set("C", 30));
    EXPECT_EQ(10, camera.get("A"));
}

TEST(FormulaNodes, KnowAnExpressionOnlyAfterItsDefinition) {
    Camera camera("IntSwissKnife I Expression.Early=Late+1 Expression.Late=1 Formula=Early "
                  "IntSwissKnife Itself Expression.Self=Self+1 Formula=Self");

    EXPECT_EQ("LogicalError", camera.refuses("I"));
    EXPECT_EQ("LogicalError", camera.refuses("Itself"));
}

TEST(FormulaNodes, ConvertWithVariables) {
    Camera camera("Integer Offset Value=5 Integer T Value=40 Converter C pVariable.O=Offset "
                  "FormulaTo=(FROM-O)*4 FormulaFrom=TO/4+O pValue=T");

    EXPECT_EQ(15, camera.getFloat("C"));
    EXPECT_EQ("", camera.set("C", 6));
    EXPECT_EQ(4, camera.get("T"));
}

TEST(FormulaNodes, AreJudgedWhenTheyAreEvaluated) {
    Camera camera("Integer Zero Value=0 Integer T Value=1 IntSwissKnife Syntax Formula=1+ "
                  "IntSwissKnife Empty Formula= IntSwissKnife Unknown Formula=Nobody "
                  "IntSwissKnife ByZero pVariable.Z=Zero Formula=1/Z "
                  "SwissKnife FloatByZero pVariable.Z=Zero Formula=1/Z "
                  "IntConverter C FormulaTo=1/FROM FormulaFrom=1+* pValue=T Slope=Varying");

    for (const char *name : {"Syntax", "Empty", "Unknown", "ByZero", "C", "FloatByZero"})
        EXPECT_EQ("LogicalError", camera.refuses(name)) << name;
    EXPECT_EQ("LogicalError", camera.set("C", 0));
    camera.integer("Zero").SetValue(1);
    EXPECT_EQ(1, camera.get("ByZero"));
}

TEST(FormulaNodes, RaiseWhatTheirVariablesRaise) {
    Camera camera("Integer Zero Value=0 IntReg R @0 unsigned big "
                  "Integer NotNow pIsAvailable=Zero Value=1 "
                  "IntSwissKnife I pVariable.V=NotNow Formula=V "
                  "Boolean B pValue=R IntSwissKnife OverB pVariable.V=B Formula=V");
    camera.memory.put32(0, 2);

    EXPECT_EQ("Access", camera.refuses("I"));
    EXPECT_EQ("LogicalError", camera.refuses("OverB"));
}

} // namespace
