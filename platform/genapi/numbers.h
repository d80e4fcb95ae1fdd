/** Nodes whose value is a number. */
#ifndef KXINFO_GENAPI_NUMBERS_H
#define KXINFO_GENAPI_NUMBERS_H

#include <cinttypes>
#include <cmath>

#include "node.h"

namespace genapi {

template <class T>
constexpr bool kIsInteger = std::is_same_v<T, int64_t>;

/** A number of the description. */
template <class T>
T stated(const char *text) {
    if constexpr (kIsInteger<T>)
        return integerOfDescription(text).value_or(0);
    else
        return floatOfDescription(text).value_or(0);
}

/** An integer or a float. What kinds of them add is below "protected". */
template <class T>
class NumberNode
    : public Node,
      public std::conditional_t<kIsInteger<T>, GenApi_3_0::IInteger, GenApi_3_0::IFloat> {
public:
    using Type = T;
    using Node::Node;

    T GetValue(bool Verify, bool IgnoreCache) override {
        map().begin(*this);
        requireReadable();
        const T value = [&] {
            const auto ignoring = map().ignoring(IgnoreCache);
            return as<T>(this->value(), *this);
        }();
        if (Verify)
            requireInRange(value);
        return value;
    }
    void SetValue(T Value, bool Verify) override {
        map().begin(*this);
        requireWritable();
        set(Value, Verify);
    }
    T GetMin() override { return get(Limit::Min); }
    T GetMax() override { return get(Limit::Max); }
    T GetInc() override { return get(Limit::Inc); }
    gcstring GetUnit() override { return shownBy(Property::Unit); }
    gcstring ToString(bool Verify, bool IgnoreCache) override {
        return textFor(GetValue(Verify, IgnoreCache)).c_str();
    }
    void FromString(const gcstring &ValueStr, bool Verify) override {
        map().begin(*this);
        putText(ValueStr.c_str(), Verify);
    }

    Number value() override {
        return value_.get(map(), [this] {
            const auto level = map().deeper();
            requireReadable();
            return read();
        });
    }
    std::optional<Number> limit(Limit which) override {
        constexpr Property kStated[][2] = {{Property::Min, Property::pMin},
                                           {Property::Max, Property::pMax},
                                           {Property::Inc, Property::pInc}};
        return limits_[static_cast<size_t>(which)].get(map(), [&]() -> std::optional<T> {
            const auto level = map().deeper();
            const auto [constant, reference] = kStated[static_cast<size_t>(which)];
            if (const Item *own = item(constant))
                return genapi::stated<T>(own->text);
            if (Node *own = target(reference))
                return as<T>(own->value(), *own);
            return unstated(which);
        });
    }
    void check(const Number &value) override {
        const auto level = map().deeper();
        const T own = fitting(value, true);
        requireInRange(own);
        requireOnStep(own);
        checkBelow(own);
    }
    void put(const Number &value, bool verified) override {
        const auto level = map().deeper();
        write(fitting(value, verified), verified);
    }
    std::string text() override { return textFor(as<T>(value(), *this)); }
    void putText(const std::string &text, bool verify) override {
        requireWritable();
        std::optional<T> value;
        if constexpr (kIsInteger<T>)
            value = integerOf(text, representation());
        else
            value = floatOf(text);
        if (!value)
            RAISE(InvalidArgument, "Cannot write '%.60s': '%.60s' is no such number", name(),
                  text.c_str());
        set(*value, verify);
    }

protected:
    virtual T read() = 0;
    /** Where the node itself states none. */
    virtual std::optional<T> unstated(Limit which) {
        if (which == Limit::Inc)
            return kIsInteger<T> ? std::optional<T>(1) : std::nullopt;
        using Limits = std::numeric_limits<T>;
        return which == Limit::Min ? Limits::lowest() : Limits::max();
    }
    /** Of a value within them: whether it fits where it goes. */
    virtual void checkBelow(T) {}
    virtual void write(T value, bool verified) { Node::put(value, verified); }

private:
    T get(Limit which) {
        map().begin(*this);
        requireAvailable();
        return as<T>(limit(which).value_or(T{0}), *this);
    }
    T own(Limit which) { return as<T>(*limit(which), *this); }

    void set(T value, bool verify) {
        if (verify)
            check(value);
        put(value, verify);
    }

    // To an integer a float becomes the nearest value that it takes, halves up.
    T fitting(const Number &value, bool toStep) {
        const auto *floating = std::get_if<double>(&value);
        if (!floating)
            return static_cast<T>(std::get<int64_t>(value));
        if constexpr (!kIsInteger<T>) {
            if (std::isnan(*floating))
                RAISE(OutOfRange, "Cannot write '%.60s': that is not a number", name());
            return *floating;
        }
        // Not floor(x + 0.5): the sum may be rounded itself.
        double nearest = std::floor(*floating);
        nearest += *floating - nearest >= 0.5;
        if (toStep) {
            const auto min = static_cast<double>(own(Limit::Min));
            const double inc = std::fabs(static_cast<double>(own(Limit::Inc)));
            if (inc > 1 && std::fabs(min) < 0x1p53) // beyond it a double has no room for steps
                nearest = min + std::floor((*floating - min) / inc + 0.5) * inc;
        }
        const auto integer = nearestInteger(nearest);
        if (!integer)
            RAISE(OutOfRange, "'%.60s': %g is no 64-bit integer", name(), *floating);
        return static_cast<T>(*integer);
    }

    void requireInRange(T value) {
        const T min = own(Limit::Min);
        const T max = own(Limit::Max);
        if (!(value >= min && value <= max)) // not a number is outside as well
            RAISE(OutOfRange, "'%.60s': %s is outside %s to %s", name(), plain(value).c_str(),
                  plain(min).c_str(), plain(max).c_str());
    }

    // Of floats nobody asks that.
    void requireOnStep(T value) {
        if constexpr (kIsInteger<T>) {
            const int64_t inc = own(Limit::Inc);
            const int64_t min = own(Limit::Min);
            // Unsigned: the distance of two signed numbers may need all 64 bits.
            const uint64_t distance = static_cast<uint64_t>(value) - static_cast<uint64_t>(min);
            uint64_t step = static_cast<uint64_t>(inc);
            if (inc < 0)
                step = 0 - step;
            if (step == 0)
                RAISE(LogicalError, "'%.60s' has an increment of 0", name());
            else if (distance % step != 0)
                RAISE(OutOfRange,
                      "'%.60s': %" PRId64 " is not a multiple of %" PRId64
                      " above the minimum %" PRId64,
                      name(), value, inc, min);
        }
    }

    Representation representation() {
        return choiceOf<Representation>(shownBy(Property::Representation),
                                        "PureNumber|HexNumber|Boolean|IPV4Address|MACAddress");
    }

    std::string textFor(T value) {
        if constexpr (kIsInteger<T>) {
            return textOf(value, representation());
        } else {
            const auto notation = choiceOf<Notation>(shownBy(Property::DisplayNotation),
                                                     "Automatic|Fixed|Scientific");
            const int64_t precision =
                integerOfDescription(shownBy(Property::DisplayPrecision)).value_or(6);
            std::string text = textOf(value, notation, precision, -INFINITY, INFINITY);
            if (std::isnan(value) || floatOf(text) == value)
                return text; // nothing rounded: the range, which may cost commands, does not matter
            try {
                return textOf(value, notation, precision, own(Limit::Min), own(Limit::Max));
            } catch (const GenICam_3_0::LogicalErrorException &) {
                return text; // it has no range at present, and a value nevertheless
            } catch (const GenICam_3_0::AccessException &) {
                return text;
            }
        }
    }

    static std::string plain(T value) {
        if constexpr (kIsInteger<T>)
            return std::to_string(value);
        else
            return textOf(value, Notation::Automatic, 15, -INFINITY, INFINITY);
    }

    Memo<T> value_;
    Memo<std::optional<T>> limits_[3];
};

using IntegerNode = NumberNode<int64_t>;

class FloatNode : public NumberNode<double> {
public:
    using NumberNode::NumberNode;

    bool HasInc() override {
        map().begin(*this);
        requireAvailable();
        return limit(Limit::Inc).has_value();
    }
};

/** An integer or a float of a kind, as the element says. */
template <template <class> class Kind>
std::unique_ptr<Node> makeNumber(Map &map, Id id) {
    if (rowOf(map.description()[id].element).meaning == kInteger)
        return std::make_unique<Kind<IntegerNode>>(map, id);
    return std::make_unique<Kind<FloatNode>>(map, id);
}

// The nodes of some elements; null for others.
std::unique_ptr<Node> makeFeature(Map &map, Id id);
std::unique_ptr<Node> makeRegister(Map &map, Id id);
std::unique_ptr<Node> makeComputed(Map &map, Id id);

} // namespace genapi

#endif
