#include "cli/json.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "cli/text.h"

namespace kxinfo {

Json jsonNumber(double value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()) ||
        static_cast<double>(static_cast<float>(value)) != value)
        return value;
    char text[64];
    const auto end = std::to_chars(std::begin(text), std::end(text), static_cast<float>(value));
    double number = 0;
    (void)std::from_chars(text, end.ptr, number);
    return number;
}

std::string jsonText(const Json &document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

namespace {

using nlohmann::json;

// What is made of parts may be of any size.
std::string brief(const json &value) {
    if (value.is_structured())
        return std::string("an ") + value.type_name();
    return shortened(value.dump(-1, ' ', false, json::error_handler_t::replace));
}

// In words; empty: the schema says nothing of the value itself.
std::string expectation(const json &schema) {
    Words words;
    if (schema.contains("enum") || schema.contains("const")) {
        for (const json &value : schema.value("enum", json::array({schema.value("const", json())})))
            words.push_back(value.dump());
        return (words.size() > 1 ? "one of " : "") + joined(words);
    }
    const json type = schema.value("type", json::array());
    for (const std::string kind : type.is_array() ? type : json::array({type}))
        words.push_back((strchr("aio", kind[0]) ? "an " : "a ") + kind +
                        (kind == "string" && schema.contains("maxLength")
                             ? " of at most " + schema["maxLength"].dump() + " characters"
                             : ""));
    std::string text = joined(words);
    for (const auto &[word, meaning] :
         {std::pair("minimum", " from "), std::pair("maximum", " to "),
          std::pair("minItems", " of at least "), std::pair("maxItems", " of at most ")})
        if (schema.contains(word))
            text += meaning + schema[word].dump();
    return text;
}

} // namespace

// The library says where a document is wrong, and little of what would be right: that is looked up
// in the schema, at the same place.
std::string violation(const json &document, const json &schema) {
    using valijson::adapters::NlohmannJsonAdapter;
    valijson::Schema rules;
    valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(schema), rules);
    valijson::Validator validator;
    valijson::ValidationResults results;
    valijson::ValidationResults::Error first;
    if (validator.validate(rules, NlohmannJsonAdapter(document), &results) ||
        !results.popError(first))
        return "";

    const json *value = &document;
    const json *rule = &schema;
    std::string place;
    for (const std::string &step : first.context) { // "<root>", "[settings]", "[3]"
        if (step == "<root>")
            continue;
        const std::string name = step.substr(1, step.size() - 2);
        place += value->is_array() ? step : (place.empty() ? "" : ".") + name;
        rule = &(value->is_array() ? rule->at("items") : rule->at("properties").at(name));
        value = &(value->is_array() ? value->at(std::stoul(name)) : value->at(name));
        if (rule->contains("$ref"))
            rule = &schema.at(json::json_pointer(rule->at("$ref").get<std::string>().substr(1)));
    }
    if (place.empty())
        place = "the document";
    const std::string expected = expectation(*rule);
    // Of the right type, so it is about a part.
    if (value->is_object() && expected == "an object")
        return "in " + place + ": " + first.description;
    return place + " is " + brief(*value) + "; expected is " + expected + ".";
}

} // namespace kxinfo
