#include "settings.h"

#include "values.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <numeric>
#include <variant>
#include <vector>

namespace simcam {

namespace {

using Value = std::variant<std::int64_t, double, std::string>;

// Nodes between a feature and its register. A description that has more goes round in circles.
constexpr int kMaxSteps = 16;

// How many letters have to be changed, added or left out to make one name of the other, whatever
// their case.
std::size_t distance(const std::string &left, const std::string &right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    const auto same = [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    };
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t changed = diagonal + (same(static_cast<unsigned char>(left[i]),
                                                         static_cast<unsigned char>(right[j]))
                                                        ? 0
                                                        : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

// "Off", "Off or Active", "Red, Green or Blue".
std::string oneOf(const std::vector<std::string> &names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0)
            text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text;
}

std::string nearest(const Description &description, const std::string &name) {
    constexpr std::size_t kShown = 3;
    std::vector<std::string> names = description.featureNames;
    std::stable_sort(names.begin(), names.end(), [&](const auto &left, const auto &right) {
        return distance(name, left) < distance(name, right);
    });
    names.resize(std::min(names.size(), kShown));
    return names.empty() ? "." : ", did you mean " + oneOf(names) + "?";
}

// "a number from 1.0 to 8.0"
std::string withLimits(const std::string &kind, const Feature &feature) {
    if (!feature.min.empty() && !feature.max.empty())
        return kind + " from " + feature.min + " to " + feature.max;
    if (!feature.min.empty())
        return kind + " of at least " + feature.min;
    return feature.max.empty() ? kind : kind + " of at most " + feature.max;
}

WrongValue expected(const std::string &what) {
    return WrongValue("expected " + what + ".");
}

std::string oneOfEntries(const Feature &feature) {
    std::vector<std::string> names;
    for (const auto &entry : feature.entries)
        names.push_back(entry.first);
    return oneOf(names);
}

Value parseInteger(const std::string &text, const std::string &what) {
    const auto value = toInteger(text);
    if (!value)
        throw expected(what);
    return *value;
}

Value parseFloat(const std::string &text, const std::string &what) {
    const auto value = toFloat(text);
    if (!value || !std::isfinite(*value))
        throw expected(what);
    return *value;
}

Value parse(const Register &reg, const std::string &text) {
    if (reg.kind == Register::Kind::Integer)
        return parseInteger(text, "an integer");
    if (reg.kind == Register::Kind::Float)
        return parseFloat(text, "a number");
    return text;
}

Value parse(const Feature &feature, const std::string &text) {
    switch (feature.kind) {
    case Feature::Kind::Integer:
        return parseInteger(text, withLimits("an integer", feature));
    case Feature::Kind::Float:
        return parseFloat(text, withLimits("a number", feature));
    case Feature::Kind::Boolean:
        if (text == "true" || text == "1")
            return feature.on;
        if (text == "false" || text == "0")
            return feature.off;
        throw expected("true, false, 1 or 0");
    case Feature::Kind::Enumeration:
        for (const auto &[name, value] : feature.entries) {
            if (name == text)
                return value;
        }
        throw expected(oneOfEntries(feature));
    case Feature::Kind::Text:
        break;
    }
    return text;
}

// Negative below the limit, positive above, 0 at it or where there is none.
int compare(const Value &value, const std::string &limit) {
    const auto order = [](auto left, auto right) { return left < right ? -1 : left > right; };
    const auto *integer = std::get_if<std::int64_t>(&value);
    if (const auto whole = toInteger(limit); integer && whole)
        return order(*integer, *whole);
    const auto bound = toFloat(limit);
    if (!bound || std::holds_alternative<std::string>(value))
        return 0;
    return order(integer ? static_cast<double>(*integer) : std::get<double>(value), *bound);
}

void checkLimits(const Value &value, const Feature &feature) {
    if (compare(value, feature.min) < 0 || compare(value, feature.max) > 0)
        throw expected(withLimits(
            feature.kind == Feature::Kind::Integer ? "an integer" : "a number", feature));
}

Bytes encodeInteger(const Value &value, const Register &reg, Bytes bytes) {
    std::int64_t integer = 0;
    if (const auto *number = std::get_if<double>(&value)) {
        constexpr double kLimit = 9.2e18; // what 64 bits hold
        if (*number != std::floor(*number) || std::fabs(*number) > kLimit)
            throw expected("a whole number: its register " + reg.name + " holds no other");
        integer = static_cast<std::int64_t>(*number);
    } else {
        integer = std::get<std::int64_t>(value);
    }
    if (!fits(integer, reg))
        throw expected("an integer that " + std::to_string(reg.width) + " bits hold, " +
                       (reg.isSigned ? "with a sign" : "without a sign"));
    storeInteger(integer, reg, bytes);
    return bytes;
}

Bytes encodeNumber(const Value &value, const Register &reg) {
    const auto *integer = std::get_if<std::int64_t>(&value);
    const double number = integer ? static_cast<double>(*integer) : std::get<double>(value);
    if (reg.length == 4 && std::fabs(number) > std::numeric_limits<float>::max())
        throw expected("a number that 32 bits hold");
    return encodeFloat(number, reg);
}

// Bytes are what the register holds now: the bits beside a field stay as they are.
Bytes encode(const Value &value, const Register &reg, const Bytes &bytes) {
    if (reg.kind == Register::Kind::Block)
        throw WrongValue("it cannot be set: " + reg.name + " is a block of bytes.");
    const bool isText = reg.kind == Register::Kind::Text;
    if (isText != std::holds_alternative<std::string>(value))
        throw WrongValue("it cannot be set: its register " + reg.name + " holds " +
                         (isText ? "a text." : "a number."));
    if (isText) {
        const auto &text = std::get<std::string>(value);
        if (text.size() > reg.length)
            throw expected("at most " + std::to_string(reg.length) + " bytes");
        return encodeText(text, reg);
    }
    return reg.kind == Register::Kind::Float ? encodeNumber(value, reg)
                                             : encodeInteger(value, reg, bytes);
}

// Follows <pValue> from a feature to its registers.
class Setter {
public:
    Setter(const Description &description, const std::set<std::uint32_t> &kept, Memory &memory)
        : description_(description), kept_(kept), memory_(memory) {}

    void set(const std::string &name, const std::string &text) {
        if (const Register *reg = findRegister(name)) {
            store(*reg, parse(*reg, text));
            return;
        }
        const auto found = description_.features.find(name);
        if (found == description_.features.end())
            throw WrongValue("the description has no feature '" + name + "'" +
                             nearest(description_, name));
        if (!found->second.obstacle.empty())
            throw WrongValue("it cannot be set: " + name + " " + found->second.obstacle + ".");
        store(name, parse(found->second, text), 0);
    }

private:
    void store(const std::string &node, const Value &value, int steps) {
        if (const Register *reg = findRegister(node)) {
            store(*reg, value);
            return;
        }
        const Feature &feature = featureAt(node, steps);
        checkLimits(value, feature);
        for (const std::string &holder : holdersOf(node, feature, steps))
            store(holder, value, steps + 1);
    }

    void store(const Register &reg, const Value &value) {
        const std::uint32_t address = placeOf(reg, 0);
        if (kept_.count(address))
            throw WrongValue("it cannot be set: the camera itself keeps its register " + reg.name +
                             ".");
        const Bytes bytes = encode(value, reg, memory_.peek(address, reg.length));
        memory_.poke(address, bytes.data(), reg.length);
    }

    // A node on the way to a register.
    const Feature &featureAt(const std::string &node, int steps) const {
        const auto found = description_.features.find(node);
        if (found == description_.features.end())
            throw WrongValue("it cannot be set: the camera has no register " + node +
                             ", its place or length is computed.");
        checkSteps(node, steps);
        return found->second;
    }

    // Null if there is none of this name or its place is computed.
    const Register *findRegister(const std::string &node) const {
        const auto &registers = description_.registers;
        const auto found = std::find_if(registers.begin(), registers.end(),
                                        [&](const Register &reg) { return reg.name == node; });
        return found != registers.end() ? &*found : nullptr;
    }

    static void checkSteps(const std::string &node, int steps) {
        if (steps > kMaxSteps)
            throw WrongValue("it cannot be set: the description goes round in circles at " + node +
                             ".");
    }

    // The nodes that hold a feature's value at this moment, at least one.
    std::vector<std::string> holdersOf(const std::string &node, const Feature &feature,
                                       int steps) const {
        if (!feature.obstacle.empty())
            throw WrongValue("it cannot be set: " + node + " " + feature.obstacle + ".");
        std::vector<std::string> holders = feature.holders;
        if (!feature.index.empty()) {
            const std::int64_t index = integerAt(feature.index, steps + 1);
            const auto held = feature.indexed.find(index);
            holders.push_back(held != feature.indexed.end() ? held->second : feature.otherwise);
            if (holders.back().empty())
                throw WrongValue("it cannot be set: " + node + " has no register while " +
                                 feature.index + " is " + std::to_string(index) + ".");
        }
        return holders;
    }

    // Of the cell that is selected at this moment.
    std::uint32_t placeOf(const Register &reg, int steps) const {
        checkSteps(reg.name, steps);
        const std::int64_t size = std::int64_t{reg.stride} * reg.cellCount;
        std::int64_t offset = 0;
        for (const Register::Index &index : reg.indexes) {
            const std::int64_t position = integerAt(index.selector, steps + 1);
            const bool isNear = position >= 0 && position < size;
            offset += isNear ? position * index.stride : size;
            if (offset >= size || offset % reg.stride != 0)
                throw WrongValue("it cannot be set: " + index.selector + " selects number " +
                                 std::to_string(position) + ", which the register " + reg.name +
                                 " does not have.");
        }
        return reg.address + static_cast<std::uint32_t>(offset);
    }

    // What a selector holds.
    std::int64_t integerAt(const std::string &node, int steps) const {
        if (const Register *reg = findRegister(node))
            return loadInteger(*reg, memory_.peek(placeOf(*reg, steps), reg->length));
        const Feature &feature = featureAt(node, steps);
        if (feature.constant && feature.holders.empty() && feature.index.empty())
            return *feature.constant;
        return integerAt(holdersOf(node, feature, steps).front(), steps + 1);
    }

    const Description &description_;
    const std::set<std::uint32_t> &kept_;
    Memory &memory_;
};

} // namespace

void setFeature(const Description &description, const std::string &feature,
                const std::string &value, const std::set<std::uint32_t> &kept, Memory &memory) {
    Setter(description, kept, memory).set(feature, value);
}

} // namespace simcam
