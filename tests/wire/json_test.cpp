// The JSON documents of kxinfo against the schemas that describe them.

#include "wire.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class JsonDocuments : public Wire {
protected:
    static json documentOf(const std::vector<std::string> &command) {
        return json::parse(kxinfo(command).out);
    }

    static std::string violationsOf(const json &document, const std::string &schema) {
        return violations(document.dump(), schema);
    }
};

TEST_F(JsonDocuments, OfTheListAreAsTheSchemaSays) {
    EXPECT_EQ("", violations(kxinfo({"list", "--json"}).out, "list.schema.json"));
    const Simcam cameras({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
    EXPECT_EQ("", violations(kxinfo({"list", "--json"}).out, "list.schema.json"));
}

TEST_F(JsonDocuments, OfAProbeAreAsTheSchemaSays) {
    const Simcam cameras(
        {"--camera", "S10@127.0.0.2", "--camera", "S1@127.0.0.3", "--refuse-control", "S1"});
    EXPECT_EQ("", violations(kxinfo({"probe", "", "--json"}).out, "probe.schema.json"));
    const std::string all = kxinfo({"probe", "--all", "--json"}).out;
    ASSERT_EQ(1, json::parse(all)["cameras"][1]["status"]);
    EXPECT_EQ("", violations(all, "probe.schema.json"));
}

TEST_F(JsonDocuments, OfTheListThatAreBrokenAreReported) {
    const Simcam camera({"--camera", "S1@127.0.0.2"});
    const json whole = documentOf({"list", "--json"});
    ASSERT_EQ("", violationsOf(whole, "list.schema.json"));

    json broken = whole;
    broken["cameras"][0].erase("serial");
    broken["version"] = 2;
    EXPECT_EQ("/cameras/0: 'serial' is a required property\n/version: 1 was expected\n",
              violationsOf(broken, "list.schema.json"));
    broken = whole;
    broken["cameras"][0]["number"] = "0";
    EXPECT_EQ("/cameras/0/number: '0' is not of type 'integer'\n",
              violationsOf(broken, "list.schema.json"));
    EXPECT_EQ("no JSON document: Expecting value: line 1 column 1 (char 0)\n",
              violations("", "list.schema.json"));
}

TEST_F(JsonDocuments, OfAProbeThatAreBrokenAreReported) {
    const Simcam camera({"--camera", "S1@127.0.0.2"});
    const json whole = documentOf({"probe", "S1", "--json"});
    const auto with = [&whole](const std::string &path, const json &value) {
        json changed = whole;
        changed[json::json_pointer(path)] = value;
        return violationsOf(changed, "probe.schema.json");
    };
    ASSERT_EQ("", violationsOf(whole, "probe.schema.json"));
    EXPECT_EQ("", with("/parameters/6/current", "-Infinity"));
    EXPECT_EQ("", with("/parameters/6/current", nullptr));
    EXPECT_EQ("", with("/added", "later"));

    EXPECT_NE("", with("/parameters/6/current", "infinite"));
    EXPECT_NE("", with("/parameters/6/type", "integer"));
    EXPECT_NE("", with("/parameters/0/current", 0.5));
    EXPECT_NE("", with("/parameters/6/unit", "decibels"));
    EXPECT_NE("", with("/parameters/6/choices", json::array()));
    EXPECT_NE("", with("/parameters/14/choices", {1}));
    EXPECT_NE("", with("/parameters", nullptr));
    EXPECT_NE("", with("/cameras", json::array())) << "one camera, or all of them";
    EXPECT_NE("", with("/version", 2));

    const json all = documentOf({"probe", "--all", "--json"});
    json broken = all;
    broken["cameras"][0]["status"] = 3;
    EXPECT_NE("", violationsOf(broken, "probe.schema.json")) << "a failure has no parameters";
    broken = all;
    broken["cameras"][0]["status"] = 4;
    EXPECT_NE("", violationsOf(broken, "probe.schema.json"));
    broken = all;
    broken["cameras"][0].erase("messages");
    EXPECT_NE("", violationsOf(broken, "probe.schema.json"));
    broken = all;
    broken.erase("moreMayExist");
    EXPECT_NE("", violationsOf(broken, "probe.schema.json"));
}

} // namespace
