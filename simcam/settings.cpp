#include "settings.h"

#include "text.h"
#include "values.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <variant>
#include <vector>

namespace simcam {

namespace {

using Value = std::variant<int64_t, double, std::string>;

// Nodes between a feature and all its registers. A description that has more goes round in circles,
// or branches again and again.
constexpr int kMaxSteps = 256;

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
    const auto *integer = std::get_if<int64_t>(&value);
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
    int64_t integer = 0;
    if (const auto *number = std::get_if<double>(&value)) {
        constexpr double kLimit = 9.2e18; // what 64 bits hold
        if (*number != std::floor(*number) || std::fabs(*number) > kLimit)
            throw expected("a whole number: its register " + reg.name + " holds no other");
        integer = static_cast<int64_t>(*number);
    } else {
        integer = std::get<int64_t>(value);
    }
    if (!fits(integer, reg))
        throw expected("an integer that " + std::to_string(reg.width) + " bits hold, " +
                       (reg.isSigned ? "with a sign" : "without a sign"));
    storeInteger(integer, reg, bytes);
    return bytes;
}

Bytes encodeNumber(const Value &value, const Register &reg) {
    const auto *integer = std::get_if<int64_t>(&value);
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
    Setter(const Description &description, const std::set<uint32_t> &kept, Memory &memory)
        : description_(description), kept_(kept), memory_(memory) {}

    void set(const std::string &name, const std::string &text) {
        if (const Register *reg = findRegister(name)) {
            store(*reg, parse(*reg, text));
            return;
        }
        const auto found = description_.features.find(name);
        if (found == description_.features.end())
            throw WrongValue("the description has no feature '" + name + "'" +
                             didYouMean(name, description_.featureNames));
        if (!found->second.obstacle.empty())
            throw WrongValue("it cannot be set: " + name + " " + found->second.obstacle + ".");
        store(name, parse(found->second, text));
    }

private:
    void store(const std::string &node, const Value &value) {
        countStep(node);
        if (const Register *reg = findRegister(node)) {
            store(*reg, value);
            return;
        }
        const Feature &feature = featureAt(node);
        checkLimits(value, feature);
        for (const std::string &holder : holdersOf(node, feature))
            store(holder, value);
    }

    void store(const Register &reg, const Value &value) {
        const uint32_t address = placeOf(reg);
        if (kept_.count(address))
            throw WrongValue("it cannot be set: the camera itself keeps its register " + reg.name +
                             ".");
        const Bytes bytes = encode(value, reg, memory_.peek(address, reg.length));
        memory_.poke(address, bytes.data(), reg.length);
    }

    // A node on the way to a register.
    const Feature &featureAt(const std::string &node) const {
        const auto found = description_.features.find(node);
        if (found == description_.features.end())
            throw WrongValue("it cannot be set: the camera has no register " + node +
                             ", its place or length is computed.");
        return found->second;
    }

    // Null if there is none of this name or its place is computed.
    const Register *findRegister(const std::string &node) const {
        const auto &registers = description_.registers;
        const auto found = std::find_if(registers.begin(), registers.end(),
                                        [&](const Register &reg) { return reg.name == node; });
        return found != registers.end() ? &*found : nullptr;
    }

    void countStep(const std::string &node) {
        if (++steps_ > kMaxSteps)
            throw WrongValue("it cannot be set: after " + std::to_string(kMaxSteps) +
                             " nodes, at " + node +
                             ", not all registers are reached, expected a description "
                             "that does not go round in circles.");
    }

    // The nodes that hold a feature's value at this moment, at least one.
    std::vector<std::string> holdersOf(const std::string &node, const Feature &feature) {
        if (!feature.obstacle.empty())
            throw WrongValue("it cannot be set: " + node + " " + feature.obstacle + ".");
        std::vector<std::string> holders = feature.holders;
        if (!feature.index.empty()) {
            const int64_t index = integerAt(feature.index);
            const auto held = feature.indexed.find(index);
            holders.push_back(held != feature.indexed.end() ? held->second : feature.otherwise);
            if (holders.back().empty())
                throw WrongValue("it cannot be set: " + node + " has no register while " +
                                 feature.index + " is " + std::to_string(index) + ".");
        }
        return holders;
    }

    // Of the cell that is selected at this moment.
    uint32_t placeOf(const Register &reg) {
        const int64_t size = int64_t{reg.stride} * reg.cellCount;
        int64_t offset = 0;
        for (const Register::Index &index : reg.indexes) {
            const int64_t position = integerAt(index.selector);
            const bool isNear = position >= 0 && position < size;
            offset += isNear ? position * index.stride : size;
            if (offset >= size || offset % reg.stride != 0)
                throw WrongValue("it cannot be set: " + index.selector + " selects number " +
                                 std::to_string(position) + ", which the register " + reg.name +
                                 " does not have.");
        }
        return reg.address + static_cast<uint32_t>(offset);
    }

    // What a selector holds.
    int64_t integerAt(const std::string &node) {
        countStep(node);
        if (const Register *reg = findRegister(node))
            return loadInteger(*reg, memory_.peek(placeOf(*reg), reg->length));
        const Feature &feature = featureAt(node);
        if (feature.constant && feature.holders.empty() && feature.index.empty())
            return *feature.constant;
        return integerAt(holdersOf(node, feature).front());
    }

    const Description &description_;
    const std::set<uint32_t> &kept_;
    Memory &memory_;
    int steps_ = 0;
};

} // namespace

void setFeature(const Description &description, const std::string &feature,
                const std::string &value, const std::set<uint32_t> &kept, Memory &memory) {
    Setter(description, kept, memory).set(feature, value);
}

} // namespace simcam
