// The feature tree. A node asks its tree before each access: the tree records the access, counts
// it, and raises what the script says. Then the node does what a conforming node does: it checks
// its access mode, the value where verification is asked for, and reads or keeps the value.

#include "scripted.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>

namespace scripted {

void clearTrace();

namespace {

using namespace GenApi_3_0;

#define SCRIPTED_THROW(name, ...)                                                                  \
    throw GenICam_3_0::ExceptionReporter<GenICam_3_0::name>("camera.cpp", __LINE__, #name)         \
        .Report(__VA_ARGS__)

class EnumerationNode;

// The present value of a feature as text; empty when there is no such feature.
std::string textIn(const Camera::Tree &tree, const std::string &name);

// What all nodes share: name, access mode, and how the mode depends on another feature.
class Node : public INode {
public:
    Node(Camera::Tree &tree, std::string_view name) : tree_(tree), name_(name) {}
    Node &operator=(const Node &) = delete;
    ~Node() override = default;

    gcstring GetName(bool) const override { return name_.c_str(); }
    EVisibility GetVisibility() const override { return Beginner; }
    gcstring GetToolTip() const override { return ""; }
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIValue; }
    EAccessMode GetAccessMode() const override {
        touch(Op::AccessMode);
        return mode();
    }

    virtual std::string text() const { return {}; }

    virtual EAccessMode mode() const;

    EAccessMode ownMode = RW;
    // By name, since features may be described anew.
    std::string condition;
    std::string conditionEntry;

protected:
    // For a node that takes another's place.
    Node(const Node &) = default;

    void touch(Op op, std::string_view detail = {}, bool verify = false,
               bool ignoreCache = false) const;

    void requireReadable() const {
        if (const EAccessMode now = mode(); now != RO && now != RW)
            SCRIPTED_THROW(AccessException, "Node is not readable. : %s", name_.c_str());
    }
    void requireWritable() const {
        if (const EAccessMode now = mode(); now != WO && now != RW)
            SCRIPTED_THROW(AccessException, "Node is not writable. : %s", name_.c_str());
    }

    Camera::Tree &tree_;
    std::string name_;
};

class CommandNode final : public Node {
public:
    using Node::Node;
};

std::string textFor(int64_t number) {
    char room[40];
    return std::string(textOf(number, room));
}
std::string textFor(double number) {
    char room[40];
    return std::string(textOf(number, room));
}
std::string textFor(bool value) {
    return value ? "true" : "false";
}

// As a node tells its value.
gcstring shown(int64_t number) {
    return textFor(number).c_str();
}
gcstring shown(double number) {
    char room[40];
    (void)snprintf(room, sizeof room, "%g", number);
    return room;
}

// Several values, of which the current entry of a selector chooses one; or one value.
template <typename Value>
struct Selected {
    Value plain{};
    std::string selector;
    std::map<std::string, Value> byEntry;
    std::vector<Value> readings;

    const Value &current(const Camera::Tree &tree) const {
        const auto found = byEntry.find(textIn(tree, selector));
        return found == byEntry.end() ? plain : found->second;
    }
    Value reading(const Camera::Tree &tree) {
        if (readings.size() > 1) {
            const Value next = readings.front();
            readings.erase(readings.begin());
            return next;
        }
        return readings.empty() ? current(tree) : readings.front();
    }
    void set(const Camera::Tree &tree, Value value) {
        const std::string entry = textIn(tree, selector);
        if (entry.empty())
            plain = value;
        else
            byEntry[entry] = value;
    }
};

bool onGrid(int64_t value, int64_t min, int64_t inc) {
    return (static_cast<uint64_t>(value) - static_cast<uint64_t>(min)) %
               static_cast<uint64_t>(inc) ==
           0;
}
// The increment of a float tells what the camera would like; nobody keeps to it.
bool onGrid(double, double, double) {
    return true;
}

template <typename Value>
Value parsed(const char *text) {
    char *end = nullptr;
    Value value;
    bool fits = true;
    if constexpr (std::is_same_v<Value, int64_t>) {
        const std::string_view digits = text;
        const bool hexadecimal =
            digits.find("0x") != digits.npos || digits.find("0X") != digits.npos;
        value = hexadecimal ? static_cast<int64_t>(std::strtoull(text, &end, 16))
                            : std::strtoll(text, &end, 10);
    } else {
        value = std::strtod(text, &end);
        fits = std::isfinite(value);
    }
    if (end == text || *end || !fits)
        SCRIPTED_THROW(InvalidArgumentException, "'%s' is no number.", text);
    return value;
}

// An integer or a float: they differ in their interface's name and in how an absent increment is
// told.
template <typename Interface, typename Value>
class NumberNode : public Node, public Interface {
public:
    NumberNode(Camera::Tree &tree, std::string_view name, Value value) : Node(tree, name) {
        values.plain = value;
    }

    EAccessMode GetAccessMode() const override { return Node::GetAccessMode(); }

    gcstring ToString(bool verify, bool ignoreCache) override {
        touch(Op::ToString, {}, verify, ignoreCache);
        return shown(read(verify));
    }
    void FromString(const gcstring &valueText, bool verify) override {
        touch(Op::FromString, valueText.c_str(), verify);
        requireWritable();
        store(parsed<Value>(valueText.c_str()), verify);
    }
    Value GetValue(bool verify, bool ignoreCache) override {
        touch(Op::GetValue, {}, verify, ignoreCache);
        return read(verify);
    }
    void SetValue(Value value, bool verify) override {
        char room[40];
        touch(Op::SetValue, textOf(value, room), verify);
        store(value, verify);
    }
    Value GetMin() override { return limit(Op::GetMin, min); }
    Value GetMax() override { return limit(Op::GetMax, max); }
    Value GetInc() override { return limit(Op::GetInc, inc); }
    gcstring GetUnit() override { return ""; }

    std::string text() const override { return textFor(values.current(tree_)); }

    Selected<Value> values;
    Value min = std::numeric_limits<Value>::lowest();
    Value max = std::numeric_limits<Value>::max();
    Value inc = 0;

protected:
    Value limit(Op op, Value value) {
        touch(op);
        if (const EAccessMode now = mode(); now == NI || now == NA)
            SCRIPTED_THROW(AccessException, "Node is not available. : %s", name_.c_str());
        return value;
    }
    Value read(bool verify) {
        requireReadable();
        const Value value = values.reading(tree_);
        if (verify)
            requireInRange(value);
        return value;
    }
    void requireInRange(Value value) const { // what is not a number is outside of nothing
        if (value < min || value > max)
            SCRIPTED_THROW(OutOfRangeException, "Value %s is outside [%s, %s]. : %s",
                           textFor(value).c_str(), textFor(min).c_str(), textFor(max).c_str(),
                           name_.c_str());
    }
    void store(Value value, bool verify) {
        requireWritable();
        if (verify)
            requireInRange(value);
        if (verify && inc != 0 && !onGrid(value, min, inc))
            SCRIPTED_THROW(OutOfRangeException, "Value %s is off the increment %s. : %s",
                           textFor(value).c_str(), textFor(inc).c_str(), name_.c_str());
        values.set(tree_, value);
    }
};

class IntegerNode final : public NumberNode<IInteger, int64_t> {
public:
    IntegerNode(Camera::Tree &tree, std::string_view name, int64_t value)
        : NumberNode(tree, name, value) {
        inc = 1;
    }
};

class FloatNode : public NumberNode<IFloat, double> {
public:
    using NumberNode::NumberNode;
    bool HasInc() override {
        touch(Op::HasInc);
        return inc != 0;
    }
    double GetInc() override;
};

int64_t rounded(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (!(value >= -kLimit && value < kLimit))
        SCRIPTED_THROW(RuntimeException, "%g is no integer of 64 bits.", value);
    return std::llround(value);
}

// An integer's interface on top of another node. It stands between the two because the numbers of
// IInteger and IFloat come from functions of the same names, which no one class can override.
class IntegerView : public IInteger {
public:
    int64_t GetValue(bool verify, bool ignoreCache) override {
        return rounded(readNumber(verify, ignoreCache));
    }
    void SetValue(int64_t value, bool verify) override {
        char room[40];
        writeNumber(textOf(value, room), static_cast<double>(value), verify);
    }
    int64_t GetMin() override { return rounded(lowest()); }
    int64_t GetMax() override { return rounded(highest()); }
    int64_t GetInc() override {
        touchIncrement();
        return 1;
    }
    gcstring GetUnit() override { return ""; }

protected:
    ~IntegerView() override = default;

    virtual double readNumber(bool verify, bool ignoreCache) = 0;
    virtual void writeNumber(std::string_view text, double value, bool verify) = 0;
    virtual double lowest() = 0;
    virtual double highest() = 0;
    virtual void touchIncrement() = 0;
};

// A float that is an integer too: one number, one range, two interfaces.
class FloatIntegerNode final : public FloatNode, public IntegerView {
public:
    explicit FloatIntegerNode(const FloatNode &described) : FloatNode(described) {}

private:
    double readNumber(bool verify, bool ignoreCache) override {
        return FloatNode::GetValue(verify, ignoreCache);
    }
    void writeNumber(std::string_view text, double value, bool verify) override {
        touch(Op::SetValue, text, verify);
        store(value, verify);
    }
    double lowest() override { return FloatNode::GetMin(); }
    double highest() override { return FloatNode::GetMax(); }
    void touchIncrement() override { limit(Op::GetInc, 1); }
};

class BooleanNode final : public Node, public IBoolean {
public:
    BooleanNode(Camera::Tree &tree, std::string_view name, bool value)
        : Node(tree, name), value_(value) {}

    EAccessMode GetAccessMode() const override { return Node::GetAccessMode(); }

    gcstring ToString(bool verify, bool ignoreCache) override {
        touch(Op::ToString, {}, verify, ignoreCache);
        requireReadable();
        return value_ ? "1" : "0";
    }
    void FromString(const gcstring &valueText, bool verify) override {
        touch(Op::FromString, valueText.c_str(), verify);
        requireWritable();
        const bool on = valueText == "true" || valueText == "1";
        if (!on && valueText != "false" && valueText != "0")
            SCRIPTED_THROW(InvalidArgumentException, "'%s' is no truth value.", valueText.c_str());
        value_ = on;
    }
    bool GetValue(bool verify, bool ignoreCache) const override {
        touch(Op::GetValue, {}, verify, ignoreCache);
        requireReadable();
        return value_;
    }
    void SetValue(bool value, bool verify) override {
        touch(Op::SetValue, value ? "true" : "false", verify);
        requireWritable();
        value_ = value;
    }

    std::string text() const override { return textFor(value_); }

private:
    bool value_;
};

class Entry final : public IEnumEntry {
public:
    Entry(EnumerationNode &owner, std::string name, int64_t number)
        : name_(std::move(name)), owner_(owner), number_(number) {}

    EAccessMode GetAccessMode() const override;
    gcstring ToString(bool, bool) override;
    void FromString(const gcstring &, bool) override {
        SCRIPTED_THROW(AccessException, "An entry is not writable. : %s", name_.c_str());
    }
    gcstring GetSymbolic() const override { return name_.c_str(); }
    int64_t GetValue() override;

    const std::string &name() const { return name_; }
    int64_t number() const { return number_; }
    bool isThere() const { return ownMode != NI && ownMode != NA; }

    EAccessMode ownMode = RO;

private:
    std::string name_;
    EnumerationNode &owner_;
    int64_t number_;
};

class EnumerationNode final : public Node, public IEnumeration {
public:
    EnumerationNode(Camera::Tree &tree, std::string_view name, std::string_view current,
                    std::initializer_list<std::string_view> entries)
        : Node(tree, name), current_(current) {
        int64_t number = 0;
        for (const std::string_view entry : entries)
            entries_.push_back(std::make_unique<Entry>(*this, std::string(entry), number++));
        if (!find(current_))
            throw std::logic_error("enumeration " + name_ + " has no entry " + current_);
    }

    EAccessMode GetAccessMode() const override { return Node::GetAccessMode(); }

    gcstring ToString(bool verify, bool ignoreCache) override {
        touch(Op::ToString, {}, verify, ignoreCache);
        requireReadable();
        const Entry *entry = find(current_);
        if (!entry)
            SCRIPTED_THROW(InvalidArgumentException, "The value is that of no entry. : %s",
                           name_.c_str());
        if (verify)
            requireThere(*entry);
        return current_.c_str();
    }
    void FromString(const gcstring &valueText, bool verify) override {
        touch(Op::FromString, valueText.c_str(), verify);
        select(find(valueText.c_str()), valueText.c_str(), verify);
    }
    IEnumEntry *GetEntryByName(const gcstring &symbolic) override {
        touch(Op::EntryLookup, symbolic.c_str());
        return find(symbolic.c_str());
    }
    int64_t GetIntValue(bool verify, bool ignoreCache) override {
        touch(Op::GetIntValue, {}, verify, ignoreCache);
        requireReadable();
        const Entry *entry = find(current_);
        if (verify && !entry)
            SCRIPTED_THROW(OutOfRangeException, "The value is that of no entry. : %s",
                           name_.c_str());
        if (verify)
            requireThere(*entry);
        return entry ? entry->number() : -1;
    }
    void SetIntValue(int64_t value, bool verify) override {
        char room[40];
        touch(Op::SetIntValue, textOf(value, room), verify);
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [=](auto &entry) { return entry->number() == value; });
        select(found == entries_.end() ? nullptr : found->get(), textFor(value), verify);
    }
    IEnumEntry *GetCurrentEntry(bool verify, bool ignoreCache) override {
        touch(Op::GetCurrentEntry, {}, verify, ignoreCache);
        requireReadable();
        return find(current_);
    }
    void GetSymbolics(StringList_t &symbolics) override {
        touch(Op::GetSymbolics);
        symbolics.clear();
        for (const auto &entry : entries_)
            if (entry->isThere())
                symbolics.push_back(entry->name().c_str());
    }

    // Without an entry that is available it is not available either.
    EAccessMode mode() const override {
        const EAccessMode own = Node::mode();
        const auto is = [this](auto fits) {
            return std::any_of(entries_.begin(), entries_.end(), fits);
        };
        if (own == NI || is([](const auto &entry) { return entry->isThere(); }))
            return own;
        return is([](const auto &entry) { return entry->ownMode == NA; }) ? NA : NI;
    }

    std::string text() const override { return current_; }
    void show(std::string_view text) { current_ = text; }

    Entry *find(std::string_view entry) const {
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [=](auto &each) { return each->name() == entry; });
        return found == entries_.end() ? nullptr : found->get();
    }

    using Node::touch;

private:
    void requireThere(const Entry &entry) const {
        if (!entry.isThere())
            SCRIPTED_THROW(AccessException, "Entry '%s' of %s is not available.",
                           entry.name().c_str(), name_.c_str());
    }
    void select(const Entry *entry, const std::string &wanted, bool verify) {
        requireWritable();
        if (!entry)
            SCRIPTED_THROW(InvalidArgumentException, "'%s' is no entry of %s.", wanted.c_str(),
                           name_.c_str());
        if (verify || entry->ownMode == NI)
            requireThere(*entry);
        current_ = entry->name();
    }

    std::string current_;
    std::vector<std::unique_ptr<Entry>> entries_;
};

EAccessMode Entry::GetAccessMode() const {
    owner_.touch(Op::EntryAccessMode, name_);
    return ownMode;
}
gcstring Entry::ToString(bool, bool) {
    return shown(GetValue());
}
int64_t Entry::GetValue() {
    owner_.touch(Op::EntryRead, name_);
    if (!isThere())
        SCRIPTED_THROW(AccessException, "Entry is not readable. : %s", name_.c_str());
    return number_;
}

// Something is raised: the n-th time from now that something happens to a node, or at the n-th
// access of all.
struct Plan {
    std::string node;
    Op op;
    int left;
    Raising raising;
};
struct NumberedPlan {
    std::size_t access;
    Raising raising;
};

bool isValueAccess(Op op) {
    return op >= Op::GetValue && op <= Op::GetSymbolics;
}

} // namespace

struct Camera::Tree final : INodeMap {
    INode *GetNode(const gcstring &name) const override {
        touch(Op::Lookup, name.c_str(), {}, false, false);
        return find(name.c_str());
    }

    Node *find(std::string_view name) const {
        const auto found = nodes.find(name);
        return found == nodes.end() ? nullptr : found->second.get();
    }

    Node &demand(std::string_view name) const {
        Node *node = find(name);
        if (!node)
            throw std::logic_error("the script describes no feature " + std::string(name));
        return *node;
    }

    template <typename Kind>
    Kind &lastAs(const char *wanted) const {
        auto *node = dynamic_cast<Kind *>(find(last));
        if (!node)
            throw std::logic_error("the feature described last, " + last + ", is not " + wanted);
        return *node;
    }

    template <typename Kind, typename... Arguments>
    void add(std::string_view name, Arguments &&...arguments) {
        last = name;
        nodes[last] = std::make_unique<Kind>(*this, name, arguments...);
    }

    void touch(Op op, std::string_view node, std::string_view detail, bool verify,
               bool ignoreCache) const {
        Event made = event(op, node, detail);
        made.verify = verify;
        made.ignoreCache = ignoreCache;
        record(made);
        ++count;
        if (op == Op::AccessMode)
            ++modeQueries;

        for (Plan &plan : plans) {
            if (plan.left > 0 && plan.node == node && plan.op == op && --plan.left == 0)
                plan.raising();
        }
        if (numberedPlan && numberedPlan->access == count) {
            const Raising raising = numberedPlan->raising;
            numberedPlan.reset();
            raising();
        }
    }

    std::map<std::string, std::unique_ptr<Node>, std::less<>> nodes;
    std::string last;
    mutable std::vector<Plan> plans;
    mutable std::optional<NumberedPlan> numberedPlan;
    bool raisesWithoutIncrement = false;
    mutable std::size_t count = 0;
    mutable std::size_t modeQueries = 0;
};

namespace {

std::string textIn(const Camera::Tree &tree, const std::string &name) {
    const Node *node = tree.find(name);
    return node ? node->text() : std::string();
}

EAccessMode Node::mode() const {
    const std::string shown = textIn(tree_, condition);
    return ownMode != NI && !shown.empty() && shown != conditionEntry ? NA : ownMode;
}

void Node::touch(Op op, std::string_view detail, bool verify, bool ignoreCache) const {
    tree_.touch(op, name_, detail, verify, ignoreCache);
}

double FloatNode::GetInc() {
    const double value = limit(Op::GetInc, inc);
    if (value == 0 && tree_.raisesWithoutIncrement)
        SCRIPTED_THROW(RuntimeException, "Node has no increment. : %s", name_.c_str());
    return value;
}

} // namespace

Camera::Camera() : tree_(std::make_unique<Tree>()) {}
Camera::~Camera() = default;

Camera &Camera::integer(std::string_view name, int64_t value) {
    tree_->add<IntegerNode>(name, value);
    return *this;
}
Camera &Camera::floating(std::string_view name, double value) {
    tree_->add<FloatNode>(name, value);
    return *this;
}
Camera &Camera::boolean(std::string_view name, bool value) {
    tree_->add<BooleanNode>(name, value);
    return *this;
}
Camera &Camera::enumeration(std::string_view name, std::string_view current,
                            std::initializer_list<std::string_view> entries) {
    tree_->add<EnumerationNode>(name, current, entries);
    return *this;
}
Camera &Camera::command(std::string_view name) {
    tree_->add<CommandNode>(name);
    return *this;
}

Camera &Camera::without(std::string_view name) {
    const auto found = tree_->nodes.find(name);
    if (found != tree_->nodes.end())
        tree_->nodes.erase(found);
    return *this;
}

Camera &Camera::feature(std::string_view name) {
    tree_->demand(name);
    tree_->last = name;
    return *this;
}

Camera &Camera::integerRange(int64_t min, int64_t max, int64_t inc) {
    if (!dynamic_cast<IntegerNode *>(tree_->find(tree_->last)))
        return floatRange(static_cast<double>(min), static_cast<double>(max),
                          static_cast<double>(inc));
    auto &node = tree_->lastAs<IntegerNode>("an integer");
    node.min = min;
    node.max = max;
    node.inc = inc ? inc : 1;
    return *this;
}

Camera &Camera::floatRange(double min, double max, double inc) {
    auto &node = tree_->lastAs<FloatNode>("a float");
    node.min = min;
    node.max = max;
    node.inc = inc;
    return *this;
}

Camera &Camera::access(EAccessMode mode) {
    tree_->demand(tree_->last).ownMode = mode;
    return *this;
}

Camera &Camera::alsoInteger() {
    auto &described = tree_->lastAs<FloatNode>("a float");
    tree_->nodes[tree_->last] = std::make_unique<FloatIntegerNode>(described);
    return *this;
}

Camera &Camera::onlyWhile(std::string_view enumeration, std::string_view entry) {
    Node &node = tree_->demand(tree_->last);
    tree_->demand(enumeration);
    node.condition = enumeration;
    node.conditionEntry = entry;
    return *this;
}

Camera &Camera::selectedBy(std::string_view enumeration,
                           std::initializer_list<std::pair<std::string_view, double>> values) {
    const auto choose = [&](auto &selected) {
        using Value = std::decay_t<decltype(selected.plain)>;
        tree_->demand(enumeration);
        selected.selector = enumeration;
        for (const auto &[entry, value] : values)
            selected.byEntry[std::string(entry)] = static_cast<Value>(value);
    };
    if (auto *node = dynamic_cast<IntegerNode *>(tree_->find(tree_->last)))
        choose(node->values);
    else
        choose(tree_->lastAs<FloatNode>("an integer or a float").values);
    return *this;
}

Camera &Camera::readings(std::initializer_list<double> values) {
    tree_->lastAs<FloatNode>("a float").values.readings = values;
    return *this;
}

Camera &Camera::entryAccess(std::string_view entry, EAccessMode mode) {
    Entry *found = tree_->lastAs<EnumerationNode>("an enumeration").find(entry);
    if (!found)
        throw std::logic_error(tree_->last + " has no entry " + std::string(entry));
    found->ownMode = mode;
    return *this;
}

Camera &Camera::shows(std::string_view text) {
    tree_->lastAs<EnumerationNode>("an enumeration").show(text);
    return *this;
}

Camera &Camera::raises(Op op, Raising raising, int nth) {
    tree_->plans.push_back({tree_->last, op, nth, std::move(raising)});
    return *this;
}

Camera &Camera::raisesWithoutIncrement() {
    tree_->raisesWithoutIncrement = true;
    return *this;
}

void Camera::raiseAt(std::size_t access, Raising raising) {
    tree_->numberedPlan = NumberedPlan{access, std::move(raising)};
}

std::size_t Camera::accessCount() const {
    return tree_->count;
}

std::size_t Camera::accessModeQueries() const {
    return tree_->modeQueries;
}

std::vector<Event> Camera::accesses() const {
    std::vector<Event> chosen = trace();
    chosen.erase(std::remove_if(chosen.begin(), chosen.end(),
                                [](const Event &event) { return !isValueAccess(event.op); }),
                 chosen.end());
    return chosen;
}

std::string Camera::value(std::string_view name) const {
    return tree_->demand(name).text();
}

std::vector<std::string> Camera::names() const {
    std::vector<std::string> all;
    for (const auto &each : tree_->nodes)
        all.push_back(each.first);
    return all;
}

void resetCamera();
void resetCamera() {
    Camera::Tree &tree = camera().tree();
    tree.nodes.clear();
    tree.plans.clear();
    tree.numberedPlan.reset();
    tree.raisesWithoutIncrement = false;
    tree.last.clear();
    tree.count = 0;
    tree.modeQueries = 0;
}

void forget() {
    clearTrace();
    camera().tree().count = 0;
}

INodeMap &nodeMapOf(Camera &camera);
INodeMap &nodeMapOf(Camera &camera) {
    return camera.tree();
}

Camera &camera() {
    static Camera one;
    return one;
}

} // namespace scripted
