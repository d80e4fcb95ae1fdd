// The table rounds numbers to what a person reads; the JSON document has the published ones, with
// the fewest digits from which the same float is read back.

#include "parameters.h"

#include "cli/host_options.h"

namespace kxinfo {

namespace {

std::string textOf(const Json &value) {
    if (value.is_number_float())
        return numberText(value.get<float>()); // all that it has been published with
    if (value.is_string())
        return cleaned(value.get<std::string>());
    return value.is_null() ? kNone : value.dump();
}

const char *nameOf(ValueType type) {
    return type == ValueType::Float ? "float" : type == ValueType::Integer ? "integer" : "text";
}

// Setting, current, minimum, maximum, step, unit. A text has its choices in the place of the last
// four.
Row rowOf(const Published &p) {
    const Parameter &parameter = *p.parameter;
    if (parameter.type == ValueType::Text)
        return {{parameter.title, textOf(p.current), cleaned(choicesText(p.choices))}};
    return {{parameter.title, textOf(p.current), textOf(p.minimum), textOf(p.maximum),
             textOf(p.increment), parameter.unit ? parameter.unit : kNone}};
}

} // namespace

std::string asTable(const std::string &serial, const std::vector<Published> &published) {
    const std::string text = headingOf(serial) + "\n\n";
    if (published.empty())
        return text + "No settings were published.\n";

    std::vector<Row> rows{{{"Setting", "Current", "Minimum", "Maximum", "Step", "Unit"}}};
    for (const Published &each : published)
        rows.push_back(rowOf(each));
    return text + tableText(rows);
}

std::string asJson(const std::string &serial, const std::vector<Published> &published) {
    Json parameters = Json::array();
    for (const Published &p : published) {
        const Parameter &known = *p.parameter;
        Json parameter = {{"id", known.id},
                          {"name", known.name},
                          {"type", nameOf(known.type)},
                          {"unit", known.unit ? Json(known.unit) : Json(nullptr)},
                          {"current", p.current},
                          {"minimum", p.minimum},
                          {"maximum", p.maximum},
                          {"increment", p.increment}};
        if (known.type == ValueType::Text)
            parameter["choices"] = p.choices;
        if (!p.problem.empty())
            parameter["problem"] = p.problem;
        parameters.push_back(std::move(parameter));
    }
    return jsonText({{"version", 1}, {"serial", serial}, {"parameters", parameters}});
}

} // namespace kxinfo
