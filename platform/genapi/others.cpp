#include <algorithm>
#include <cstring>

#include "numbers.h"

// Nodes whose value is not a number, or not only.

namespace genapi {

using namespace GenApi_3_0;

namespace {

/** What a Boolean, an Enumeration or a Command is set to: a number of its own, or another node's. */
class SwitchNode : public Node {
public:
    SwitchNode(Map &map, Id id) : Node(map, id), constant_(number(Property::Value, 0)) {}

protected:
    int64_t setting() {
        return setting_.get(map(), [this] {
            const auto level = map().deeper();
            requireReadable();
            Node *sink = target(Property::pValue);
            return sink ? sink->integer() : constant_;
        });
    }
    void checkSetting(int64_t setting) {
        if (Node *sink = target(Property::pValue))
            sink->check(setting);
    }
    void putSetting(int64_t setting, bool verified) {
        const auto level = map().deeper();
        if (Node *sink = target(Property::pValue))
            return sink->put(setting, verified);
        map().changed(id()); // first: it may raise
        constant_ = setting;
    }
    void set(int64_t setting, bool verify) {
        if (verify)
            checkSetting(setting);
        putSetting(setting, verify);
    }

    int64_t constant_;

private:
    Memo<int64_t> setting_;
};

class BooleanNode final : public ValueNode<IBoolean, SwitchNode> {
public:
    BooleanNode(Map &map, Id id)
        : ValueNode(map, id),
          on_(number(Property::OnValue, 1)),
          off_(number(Property::OffValue, 0)) {
        constant_ = booleanOf(stated(Property::Value)) == true ? on_ : off_;
    }

    bool GetValue(bool, bool IgnoreCache) const override {
        map().begin(*this);
        auto &self = const_cast<BooleanNode &>(*this);
        self.requireReadable();
        const auto ignoring = map().ignoring(IgnoreCache);
        return self.isOn();
    }
    void SetValue(bool Value, bool Verify) override {
        map().begin(*this);
        requireWritable();
        set(settingFor(Value), Verify);
    }

    Number value() override { return int64_t{isOn()}; }
    void check(const Number &value) override { checkSetting(settingFor(value)); }
    void put(const Number &value, bool verified) override {
        putSetting(settingFor(value), verified);
    }

    void putText(const std::string &text, bool verify) override {
        requireWritable();
        const auto value = booleanOf(text);
        if (!value)
            RAISE(InvalidArgument, "Cannot write '%.60s': '%.60s' is none of 0, 1, false, true",
                  name(), text.c_str());
        set(settingFor(*value), verify);
    }
    std::string text() override { return isOn() ? "1" : "0"; }

private:
    bool isOn() {
        const int64_t setting = this->setting();
        if (setting != on_ && setting != off_)
            RAISE(LogicalError,
                  "'%.60s' is %" PRId64 ", which is neither on (%" PRId64 ") nor off (%" PRId64 ")",
                  name(), setting, on_, off_);
        return setting == on_;
    }
    int64_t settingFor(bool value) const { return value ? on_ : off_; }
    int64_t settingFor(const Number &value) const {
        return settingFor(as<double>(value, *this) != 0);
    }

    const int64_t on_;
    const int64_t off_;
};

class EnumEntryNode final : public ValueNode<IEnumEntry> {
public:
    using ValueNode::ValueNode;

    gcstring GetSymbolic() const override { return symbolic(); }
    int64_t GetValue() override { return number(Property::Value, 0); }
    std::string text() override { return std::to_string(GetValue()); }
    void putText(const std::string &, bool) override {
        RAISE(Access, "Cannot write '%.60s': it is an entry", name());
    }

    const char *symbolic() const {
        const Item *own = item(Property::Symbolic);
        return own && *own->text ? own->text : name();
    }
    bool isAvailable() { return mode(Locks::Ignore) == RO; }

    EAccessMode ownMode(Locks) override { return RO; }
};

class EnumerationNode final : public ValueNode<IEnumeration, SwitchNode> {
public:
    EnumerationNode(Map &map, Id id) : ValueNode(map, id) {
        for (const Item &item : map.description().itemsOf(id)) {
            if (item.property == Property::EnumEntry)
                entries_.push_back(static_cast<EnumEntryNode *>(&map.node(item.node)));
        }
    }

    IEnumEntry *GetEntryByName(const gcstring &Symbolic) override {
        map().begin(*this);
        return entryOf(Symbolic.c_str());
    }

    int64_t GetIntValue(bool Verify, bool IgnoreCache) override {
        map().begin(*this);
        const int64_t value = read(IgnoreCache);
        if (Verify && !entryOf(value, true))
            RAISE(OutOfRange, "'%.60s' is %" PRId64 ", which is no entry of it", name(), value);
        return value;
    }

    void SetIntValue(int64_t Value, bool Verify) override {
        map().begin(*this);
        requireWritable();
        EnumEntryNode *entry = entryOf(Value, false);
        if (!entry)
            RAISE(InvalidArgument,
                  "Cannot write '%.60s': %" PRId64 " is the value of none of its entries", name(),
                  Value);
        setTo(*entry, Verify);
    }

    IEnumEntry *GetCurrentEntry(bool Verify, bool IgnoreCache) override {
        map().begin(*this);
        return entryOf(read(IgnoreCache), Verify);
    }

    void GetSymbolics(StringList_t &Symbolics) override {
        map().begin(*this);
        Symbolics.clear();
        for (EnumEntryNode *entry : entries_) {
            if (entry->isAvailable())
                Symbolics.emplace_back(entry->symbolic());
        }
    }

    // Another node that uses this one writes any number, even of no entry.
    Number value() override { return setting(); }
    void check(const Number &value) override { checkSetting(as<int64_t>(value, *this)); }
    void put(const Number &value, bool verified) override {
        putSetting(as<int64_t>(value, *this), verified);
    }
    std::optional<int64_t> entryValue(const std::string &symbolic) override {
        EnumEntryNode *entry = entryOf(symbolic.c_str());
        return entry ? std::optional<int64_t>(entry->GetValue()) : std::nullopt;
    }

    void putText(const std::string &text, bool verify) override {
        requireWritable();
        EnumEntryNode *entry = entryOf(text.c_str());
        if (!entry)
            RAISE(InvalidArgument, "Cannot write '%.60s': '%.60s' is none of its entries (%s)",
                  name(), text.c_str(), choices().c_str());
        setTo(*entry, verify);
    }
    std::string text() override { return shown(false); }

    std::string shown(bool verify) override {
        const int64_t value = setting();
        EnumEntryNode *entry = entryOf(value, verify);
        if (!entry)
            RAISE(InvalidArgument, "'%.60s' is %" PRId64 ", which is no entry of it", name(),
                  value);
        return entry->symbolic();
    }

    // What is not there, and only that, is not there because of its entries.
    EAccessMode ownMode(Locks locks) override {
        EAccessMode best = NI;
        for (EnumEntryNode *entry : entries_) {
            const EAccessMode mode = entry->mode(Locks::Ignore);
            if (mode == RO || mode == RW) { // the latter while it depends on this mode
                best = RW;
                break;
            }
            best = std::max(best, mode);
        }
        return combine(best, Node::ownMode(locks));
    }

private:
    EnumEntryNode *entryOf(const char *symbolic) const {
        map().spend(entries_.size() / 8);
        for (EnumEntryNode *entry : entries_) {
            if (strcmp(entry->symbolic(), symbolic) == 0)
                return entry;
        }
        return nullptr;
    }

    // For a message: the entries that there are at present.
    std::string choices() const {
        constexpr size_t kEnough = 200;
        std::string list;
        for (EnumEntryNode *entry : entries_) {
            if (!entry->isAvailable())
                continue;
            const char *separator = list.empty() ? "" : ", ";
            if (list.size() > kEnough)
                return list + separator + "...";
            list += separator + std::string(entry->symbolic()).substr(0, 60);
        }
        return list;
    }

    // Of two entries with one value the last one counts.
    EnumEntryNode *entryOf(int64_t value, bool verify) const {
        const auto found = std::find_if(entries_.rbegin(), entries_.rend(), [value](auto *entry) {
            return entry->GetValue() == value;
        });
        if (found == entries_.rend())
            return nullptr;
        if (verify)
            requireAvailable(**found);
        return *found;
    }

    int64_t read(bool ignoreCache) {
        requireReadable();
        const auto ignoring = map().ignoring(ignoreCache);
        return setting();
    }

    void requireAvailable(EnumEntryNode &entry) const {
        if (!entry.isAvailable())
            RAISE(Access, "'%.60s': its entry '%.60s' is not available", name(), entry.symbolic());
    }

    void setTo(EnumEntryNode &entry, bool verify) {
        if (verify || entry.mode(Locks::Ignore) == NI)
            requireAvailable(entry);
        set(entry.GetValue(), verify);
    }

    std::vector<EnumEntryNode *> entries_;
};

class CommandNode final : public ValueNode<IValue, SwitchNode> {
public:
    using ValueNode::ValueNode;

    void putText(const std::string &text, bool verify) override {
        requireWritable();
        if (booleanOf(text) != true)
            RAISE(InvalidArgument, "Cannot execute '%.60s': '%.60s' is neither 1 nor true", name(),
                  text.c_str());
        set(command(), verify);
    }
    // Whether it is done: whether its node no longer says the command.
    std::string text() override {
        return !item(Property::pValue) || setting() != command() ? "1" : "0";
    }

private:
    int64_t command() {
        Node *node = target(Property::pCommandValue);
        return node ? node->integer() : number(Property::CommandValue, 1);
    }
};

/** A text of its own, or another node's. */
class StringNode final : public ValueNode<IValue> {
public:
    StringNode(Map &map, Id id) : ValueNode(map, id), constant_(stated(Property::Value)) {}

    std::string text() override {
        const auto level = map().deeper();
        Node *value = target(Property::pValue);
        return value ? value->text() : constant_;
    }
    void putText(const std::string &text, bool verify) override {
        const auto level = map().deeper();
        requireWritable();
        if (Node *value = target(Property::pValue))
            return value->putText(text, verify);
        constant_ = text;
        map().changed(id());
    }

private:
    std::string constant_;
};

class CategoryNode final : public ValueNode<ICategory> {
public:
    using ValueNode::ValueNode;

    void GetFeatures(FeatureList_t &Features) const override {
        addValues(Property::pFeature, Features);
    }

    EAccessMode ownMode(Locks) override {
        for (const Item &item : map().description().itemsOf(id())) {
            if (item.property == Property::pFeature &&
                map().node(item.node).mode(Locks::Ignore) != NI)
                return RO;
        }
        return NI;
    }
};

/** A port, of which only that which leads to the camera is connected; what other cameras have. */
class PortNode final : public Node {
public:
    using Node::Node;

    EAccessMode ownMode(Locks) override {
        if (id() != map().connectedPort())
            return NI;
        return map().use() == Use::Monitor ? RO : RW;
    }
};

} // namespace

std::unique_ptr<Node> makeNode(Map &map, Id id) {
    for (const auto make : {makeFeature, makeRegister, makeComputed}) {
        if (auto node = make(map, id))
            return node;
    }
    switch (map.description()[id].element) {
    case Element::Boolean:
        return std::make_unique<BooleanNode>(map, id);
    case Element::Enumeration:
        return std::make_unique<EnumerationNode>(map, id);
    case Element::EnumEntry:
        return std::make_unique<EnumEntryNode>(map, id);
    case Element::Command:
        return std::make_unique<CommandNode>(map, id);
    case Element::String:
        return std::make_unique<StringNode>(map, id);
    case Element::Category:
        return std::make_unique<CategoryNode>(map, id);
    default:
        return std::make_unique<PortNode>(map, id);
    }
}

} // namespace genapi
