// The table rounds numbers to what a person reads; the JSON document has the published ones, with
// the fewest digits from which the same float is read back.

#include "report.h"

#include "json.h"
#include "table.h"

namespace kxinfo {

namespace {

struct ToText {
    std::string operator()(std::monostate) const { return kNone; }
    std::string operator()(float value) const { return numberText(value); }
    std::string operator()(int32_t value) const { return std::to_string(value); }
    std::string operator()(const std::string &value) const { return value; }
};

struct ToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(float value) const { return jsonNumber(value); }
    Json operator()(int32_t value) const { return value; }
    Json operator()(const std::string &value) const { return value; }
};

const char *nameOfType(ValueType type) {
    switch (type) {
    case ValueType::Float:
        return "float";
    case ValueType::Integer:
        return "integer";
    case ValueType::Text:
        break;
    }
    return "text";
}

// Setting, current, minimum, maximum, step, unit. A text has its choices in the place of the last
// four.
Row rowOf(const PublishedSetting &s) {
    const ToText text;
    if (s.setting->type == ValueType::Text)
        return {{s.setting->title, std::visit(text, s.current), choicesText(s.choices)}};
    return {{s.setting->title, std::visit(text, s.current), std::visit(text, s.minimum),
             std::visit(text, s.maximum), std::visit(text, s.increment),
             s.setting->unit ? s.setting->unit : kNone}};
}

} // namespace

std::string headingOf(const std::string &serial) {
    if (serial.empty())
        return "First camera found";
    return "Camera whose serial number begins with \"" + serial + "\"";
}

std::string asTable(const std::string &serial, const std::vector<PublishedSetting> &settings) {
    const std::string text = headingOf(serial) + "\n\n";
    if (settings.empty())
        return text + "No settings were published.\n";

    std::vector<Row> rows{{{"Setting", "Current", "Minimum", "Maximum", "Step", "Unit"}}};
    for (const auto &setting : settings)
        rows.push_back(rowOf(setting));
    return text + tableText(rows);
}

std::string asJson(const std::string &serial, const std::vector<PublishedSetting> &settings) {
    Json parameters = Json::array();
    for (const auto &s : settings) {
        const ToJson json;
        Json parameter = {
            {"id", s.setting->id},
            {"name", s.setting->name},
            {"type", nameOfType(s.setting->type)},
            {"unit", s.setting->unit ? Json(s.setting->unit) : Json(nullptr)},
            {"current", std::visit(json, s.current)},
            {"minimum", std::visit(json, s.minimum)},
            {"maximum", std::visit(json, s.maximum)},
            {"increment", std::visit(json, s.increment)},
        };
        if (s.setting->type == ValueType::Text)
            parameter["choices"] = s.choices;
        parameters.push_back(std::move(parameter));
    }
    return jsonText({{"version", 1}, {"serial", serial}, {"parameters", parameters}});
}

} // namespace kxinfo
