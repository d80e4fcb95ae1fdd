#include <algorithm>
#include <array>
#include <cstring>

#include "formula.h"
#include "numbers.h"

// Nodes whose value is computed by a formula. What a formula names stands in slots: a variable's
// value is asked for when the formula needs it, an expression is evaluated once.

namespace genapi {
namespace {

/** One formula of a node, and what it needs. */
template <class T>
class Program {
public:
    /** \param argument  a name that the caller gives a value; null: none */
    Program(Map &map, Id id, Property formula, const char *argument) : map_(map), id_(id) {
        if (argument)
            define(argument, {});
        for (const Item &item : map.description().itemsOf(id)) {
            Slot slot{item.node};
            if (item.property == Property::Constant)
                slot.constant = stated<T>(item.text);
            else if (item.property == Property::Expression)
                slot.formula = compile(item.text);
            else if (item.property != Property::pVariable)
                continue;
            if (const char *dot = strchr(item.attribute, '.'))
                slot.aspect = dot + 1;
            define(item.attribute, std::move(slot));
        }
        formula_ = compile(map.description().textOf(id, formula));
        // Whatever the formula needs, and what that needs in turn, which always stands before it.
        std::set<uint32_t> needed(formula_->used().begin(), formula_->used().end());
        for (auto slot = needed.rbegin(); slot != needed.rend(); ++slot) {
            if (const auto &inner = slots_[*slot].formula)
                needed.insert(inner->used().begin(), inner->used().end());
        }
        needed_.assign(needed.begin(), needed.end());
    }

    T evaluate(T argument = 0) {
        std::array<T, kFewSlots> few{};
        std::vector<T> many(slots_.size() > kFewSlots ? slots_.size() : 0);
        T *values = many.empty() ? few.data() : many.data();
        for (const uint32_t i : needed_) {
            const Slot &slot = slots_[i];
            if (slot.formula) {
                map_.spend(slot.formula->size());
                values[i] = slot.formula->evaluate(values, name());
            } else if (slot.node != kNobody) {
                values[i] = valueOf(slot);
            } else {
                values[i] = slot.constant.value_or(argument);
            }
        }
        map_.spend(formula_->size() + slots_.size() / 16);
        return formula_->evaluate(values, name());
    }

private:
    static constexpr size_t kFewSlots = 16;

    struct Slot {
        Id node = kNobody;       // of a variable
        std::string aspect = {}; // what of the variable: "", "Min", "Entry.Name", …
        std::optional<T> constant = {};
        std::optional<Formula> formula = {}; // of an expression
    };

    const char *name() const { return map_.description()[id_].name; }

    void define(std::string_view name, Slot slot) {
        if (names_.emplace(name, static_cast<uint32_t>(slots_.size())).second)
            slots_.push_back(std::move(slot));
    }

    Formula compile(const char *text) {
        const auto kind = kIsInteger<T> ? Formula::Kind::Integer : Formula::Kind::Float;
        return Formula(kind, text, [this](std::string_view name) { return slotOf(name); });
    }

    // X.Max is what a variable is named, or an aspect of the variable X.
    std::optional<uint32_t> slotOf(std::string_view name) {
        if (const auto found = names_.find(name); found != names_.end())
            return found->second;
        const size_t dot = name.find('.');
        const auto found = names_.find(name.substr(0, dot));
        if (dot == std::string_view::npos || found == names_.end() ||
            slots_[found->second].node == kNobody)
            return std::nullopt;
        if (aspects_.size() == kMostAspects)
            return std::nullopt;
        aspects_.emplace_back(name);
        define(aspects_.back(), {slots_[found->second].node, aspects_.back().substr(dot + 1)});
        return static_cast<uint32_t>(slots_.size() - 1);
    }

    T valueOf(const Slot &slot) {
        Node &node = map_.node(slot.node);
        std::optional<Number> number;
        constexpr std::string_view kEntry = "Entry.";
        if (slot.aspect.empty() || slot.aspect == "Value")
            number = node.value();
        else if (slot.aspect == "Min")
            number = node.limit(Limit::Min).value_or(std::numeric_limits<T>::lowest());
        else if (slot.aspect == "Max")
            number = node.limit(Limit::Max).value_or(std::numeric_limits<T>::max());
        else if (slot.aspect == "Inc")
            number = node.limit(Limit::Inc);
        else if (slot.aspect.compare(0, kEntry.size(), kEntry) == 0)
            number = node.entryValue(slot.aspect.substr(kEntry.size()));
        if (!number)
            RAISE(Runtime, "'%.60s': '%.60s' has no '%.60s'", name(), node.name(),
                  slot.aspect.c_str());
        return as<T>(*number, node);
    }

    Map &map_;
    const Id id_;
    std::vector<Slot> slots_;
    std::map<std::string_view, uint32_t> names_;
    std::deque<std::string> aspects_;
    std::optional<Formula> formula_;
    std::vector<uint32_t> needed_; // slots, each after those that it needs itself
};

template <class Base>
class SwissKnifeNode final : public Base {
    using T = typename Base::Type;

public:
    SwissKnifeNode(Map &map, Id id)
        : Base(map, id), formula_(map, id, Property::Formula, nullptr) {}

    EAccessMode ownMode(Locks) override { return GenApi_3_0::RO; }

    T read() override { return formula_.evaluate(); }

private:
    Program<T> formula_;
};

template <class Base>
class ConverterNode final : public Base {
    using T = typename Base::Type;

public:
    ConverterNode(Map &map, Id id)
        : Base(map, id),
          from_(map, id, Property::FormulaFrom, "TO"),
          to_(map, id, Property::FormulaTo, "FROM"),
          slope_(this->stated(Property::Slope)),
          isLinear_(strcmp(this->stated(Property::IsLinear), "Yes") == 0) {}

    T read() override { return from_.evaluate(as<T>(sink().value(), sink())); }

    std::optional<T> unstated(Limit which) override {
        if (which != Limit::Inc)
            return which == Limit::Min ? range().first : range().second;
        // Of a linear float what the sink's increment becomes.
        const auto inc = isLinear_ && !kIsInteger<T> ? sink().limit(which) : std::nullopt;
        if (!inc)
            return Base::unstated(which);
        return std::abs(from_.evaluate(as<T>(*inc, sink())) - from_.evaluate(0));
    }

    void checkBelow(T number) override { sink().check(to_.evaluate(number)); }

    void write(T number, bool verified) override { sink().put(to_.evaluate(number), verified); }

private:
    Node &sink() { return *this->target(Property::pValue); }

    std::pair<T, T> range() {
        constexpr T least = std::numeric_limits<T>::lowest();
        constexpr T most = std::numeric_limits<T>::max();
        if (slope_ == "Varying")
            return {least, most};
        if (slope_.empty() && kIsInteger<T>)
            return {};
        const T one = from_.evaluate(as<T>(sink().limit(Limit::Min).value_or(least), sink()));
        const T other = from_.evaluate(as<T>(sink().limit(Limit::Max).value_or(most), sink()));
        if (slope_ == "Increasing")
            return {one, other};
        if (slope_ == "Decreasing")
            return {other, one};
        return {std::min(one, other), std::max(one, other)};
    }

    Program<T> from_;
    Program<T> to_;
    const std::string_view slope_;
    const bool isLinear_;
};

} // namespace

std::unique_ptr<Node> makeComputed(Map &map, Id id) {
    if (map.description().find(id, Property::Formula))
        return makeNumber<SwissKnifeNode>(map, id);
    const bool isConverter = map.description().find(id, Property::FormulaTo);
    return isConverter ? makeNumber<ConverterNode>(map, id) : nullptr;
}

} // namespace genapi
