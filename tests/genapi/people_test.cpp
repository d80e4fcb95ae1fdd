// What a description says to people who look through a camera: categories, selectors, units, prose.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace GenApi_3_0;
using std::string;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<string> namesOf(const FeatureList_t &features) {
    std::vector<string> names;
    for (IValue *feature : features)
        names.emplace_back(dynamic_cast<INode &>(*feature).GetName().c_str());
    return names;
}

std::vector<string> featuresIn(Camera &camera, const string &category) {
    FeatureList_t features;
    camera.as<ICategory>(category).GetFeatures(features);
    return namesOf(features);
}

std::vector<string> selectedBy(Camera &camera, const string &selector) {
    FeatureList_t features;
    camera.as<ISelector>(selector).GetSelectedFeatures(features);
    return namesOf(features);
}

TEST(People, FindFeaturesInCategoriesInTheirOrder) {
    Camera camera("Category Root pFeature=Inner pFeature=B pFeature=Device pFeature=A "
                  "Category Inner pFeature=A Category Empty Integer A Value=1 Integer B Value=2");
    EXPECT_THAT(featuresIn(camera, "Root"), ElementsAre("Inner", "B", "A"))
        << "a port has no value";
    EXPECT_THAT(featuresIn(camera, "Inner"), ElementsAre("A"));
    EXPECT_THAT(featuresIn(camera, "Empty"), IsEmpty());
    FeatureList_t features(1);
    camera.as<ICategory>("Inner").GetFeatures(features);
    EXPECT_EQ(2u, features.size()) << "added to what there is";
}

TEST(People, FindWhatASelectorChooses) {
    Camera camera("Integer A Value=1 pSelected=C pSelected=B Integer B Value=1 Integer C Value=2 "
                  "Enumeration E EnumEntry.X=0 Value=0 pSelected=A");
    EXPECT_THAT(selectedBy(camera, "A"), ElementsAre("C", "B"));
    EXPECT_THAT(selectedBy(camera, "B"), IsEmpty());
    EXPECT_THAT(selectedBy(camera, "E"), ElementsAre("A"));
}

TEST(People, ReadUnitsOfTheFeatureOrOfWhatItShows) {
    Camera camera("Integer I Unit=px Value=1 Float F Value=1 Unit=us Integer None Value=1 "
                  "Integer Through pValue=I Float Own pValue=F Unit=ms");
    EXPECT_STREQ("px", camera.integer("I").GetUnit().c_str());
    EXPECT_STREQ("us", camera.floating("F").GetUnit().c_str());
    EXPECT_STREQ("", camera.integer("None").GetUnit().c_str());
    EXPECT_STREQ("px", camera.integer("Through").GetUnit().c_str());
    EXPECT_STREQ("ms", camera.floating("Own").GetUnit().c_str());
}

TEST(People, ReadToolTipsAndForWhomAFeatureIs) {
    Camera camera("Integer A ToolTip='a < b' Visibility=Guru Value=1 Integer B Value=1 "
                  "Integer C Visibility=Expert Value=1 Integer D Visibility=Invisible Value=1 "
                  "Integer E Visibility=Beginner Value=1");
    EXPECT_STREQ("a < b", camera.node("A").GetToolTip().c_str());
    EXPECT_STREQ("", camera.node("B").GetToolTip().c_str());
    std::vector<EVisibility> visibilities;
    for (const char *name : {"A", "B", "C", "D", "E"})
        visibilities.push_back(camera.node(name).GetVisibility());
    EXPECT_THAT(visibilities, ElementsAre(Guru, Beginner, Expert, Invisible, Beginner));
}

TEST(People, ReadWhatANodeIsMostOfAll) {
    Camera camera("Category Root Integer I Value=1 IntReg R @0 unsigned big "
                  "MaskedIntReg M @0 Bit=0 unsigned big IntSwissKnife K Formula=1 "
                  "Float F Value=1 FloatReg FR @0 big SwissKnife S Formula=1 Boolean B Value=1 "
                  "Command C Value=1 CommandValue=1 Enumeration E EnumEntry.X=0 Value=0 "
                  "String T Value=t StringReg TR @0+8 Register Bytes @0+8");
    const std::pair<const char *, EInterfaceType> expected[] = {
        {"Root", intfICategory}, {"I", intfIInteger},      {"R", intfIInteger},
        {"M", intfIInteger},     {"K", intfIInteger},      {"F", intfIFloat},
        {"FR", intfIFloat},      {"S", intfIFloat},        {"B", intfIBoolean},
        {"C", intfICommand},     {"T", intfIString},       {"TR", intfIString},
        {"E", intfIEnumeration}, {"Bytes", intfIRegister}, {"Device", intfIPort},
    };
    for (const auto &[name, type] : expected)
        EXPECT_EQ(type, camera.node(name).GetPrincipalInterfaceType()) << name;
    IEnumEntry *entry = camera.enumeration("E").GetEntryByName("X");
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(intfIEnumEntry, dynamic_cast<INode &>(*entry).GetPrincipalInterfaceType());
}

} // namespace
