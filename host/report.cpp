// The table rounds numbers to what a person reads; the JSON document has the published ones, with
// the fewest digits from which the same float is read back.

#include "report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

namespace kxinfo {

namespace {

// Members keep their order. Numbers are float, as published: a double would show digits that the
// camera never sent (0.1 as 0.10000000149011612).
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, int64_t,
                                  uint64_t, float>;

// JSON has no such numbers; the table spells them alike.
const char *nameOfNonNumber(float value) {
    if (std::isnan(value))
        return "NaN";
    return value > 0 ? "Infinity" : "-Infinity";
}

// Six significant digits, and all that stand before the decimal point unless they run long. A
// person needs no more, and the noise of single precision (6.0206003 dB) stays out of sight.
std::string numberText(float value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    if (value == 0)
        return "0"; // of either sign
    const float magnitude = std::fabs(value);
    const bool manyDigits = magnitude >= 999999.5f && magnitude < 1e9f;
    char text[64];
    const auto end =
        manyDigits
            ? std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, 0)
            : std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 6);
    return std::string(text, end.ptr);
}

constexpr const char *kNone = "-";

struct ToText {
    std::string operator()(std::monostate) const { return kNone; }
    std::string operator()(float value) const { return numberText(value); }
    std::string operator()(int32_t value) const { return std::to_string(value); }
    std::string operator()(const std::string &value) const { return value; }
};

struct ToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(float value) const {
        if (!std::isfinite(value))
            return nameOfNonNumber(value);
        return value;
    }
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

// Characters, not bytes: of a UTF-8 sequence only the first byte is counted.
size_t widthOf(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string padding(const std::string &text, size_t width) {
    return std::string(width - std::min(width, widthOf(text)), ' ');
}

std::string cameraLine(const std::string &serial) {
    if (serial.empty())
        return "First camera found";
    return "Camera whose serial number begins with \"" + serial + "\"";
}

std::string choicesText(const std::vector<std::string> &choices) {
    std::string text;
    for (const auto &choice : choices)
        text += (text.empty() ? "one of " : ", ") + choice;
    return text.empty() ? kNone : text;
}

// Setting, current, minimum, maximum, step, unit. A text has its choices in the place of the last
// four, which it fills beyond their columns.
struct Row {
    std::array<std::string, 6> cells;
    std::string choices;
};

Row rowOf(const PublishedSetting &s) {
    const ToText text;
    if (s.setting->type == ValueType::Text)
        return {{s.setting->title, std::visit(text, s.current)}, choicesText(s.choices)};
    return {{s.setting->title, std::visit(text, s.current), std::visit(text, s.minimum),
             std::visit(text, s.maximum), std::visit(text, s.increment),
             s.setting->unit ? s.setting->unit : kNone},
            {}};
}

} // namespace

std::string asTable(const std::string &serial, const std::vector<PublishedSetting> &settings) {
    std::string text = cameraLine(serial) + "\n\n";
    if (settings.empty())
        return text + "No settings were published.\n";

    std::vector<Row> rows{{{"Setting", "Current", "Minimum", "Maximum", "Step", "Unit"}, {}}};
    for (const auto &setting : settings)
        rows.push_back(rowOf(setting));

    std::array<size_t, 5> widths{};
    for (const auto &row : rows)
        for (size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], widthOf(row.cells[column]));

    for (const auto &[cells, choices] : rows) {
        text += cells[0] + padding(cells[0], widths[0]);
        const size_t numbers = choices.empty() ? widths.size() : 2;
        for (size_t column = 1; column < numbers; ++column)
            text += "  " + padding(cells[column], widths[column]) + cells[column];
        text += "  " + (choices.empty() ? cells.back() : choices) + '\n';
    }
    return text;
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
    const Json document = {{"version", 1}, {"serial", serial}, {"parameters", parameters}};
    // Text that is not UTF-8 has U+FFFD where it is not.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kxinfo
