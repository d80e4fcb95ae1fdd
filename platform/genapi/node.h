/** A node of the map, as other nodes use it. */
#ifndef KXINFO_GENAPI_NODE_H
#define KXINFO_GENAPI_NODE_H

#include <limits>
#include <variant>

#include "GenApi/GenApi.h"
#include "errors.h"
#include "map.h"
#include "text.h"

namespace genapi {

using GenApi_3_0::EAccessMode;
using GenApi_3_0::gcstring;

/** Raises the GenICam exception \p type##Exception, most often with the name of a node first. */
#define RAISE(type, ...) KXGENAPI_RAISE(type##Exception, __VA_ARGS__)

/** The mode that a description names. */
EAccessMode modeOf(std::string_view text);

/** Both at once: NI beats NA, NA beats the rest, and of the rest what both allow remains. */
EAccessMode combine(EAccessMode one, EAccessMode other);

/** What numeric nodes give and take: an integer, or a float. */
using Number = std::variant<int64_t, double>;

class Node;

/** The nearest integer, halves away from zero; nothing beyond 64 bits and for NaN. */
std::optional<int64_t> nearestInteger(double value);
/** \throw RuntimeException  there is none; says that it is of \p node */
int64_t requireInteger(double value, const Node &node);

/** As one of them: the integer nearest to a float. \throw RuntimeException  there is none */
template <class T>
T as(const Number &number, const Node &node) {
    const auto *floating = std::get_if<double>(&number);
    if (!floating)
        return static_cast<T>(std::get<int64_t>(number));
    if constexpr (std::is_same_v<T, double>)
        return *floating;
    else
        return requireInteger(*floating, node);
}

/** Range and increment of a number. */
enum class Limit { Min, Max, Inc };

/** Whether the value of a lock matters, which may cost a command. */
enum class Locks { Count, Ignore };

/**
 * What all nodes have: name, access mode, and the ways in which one node uses another. Numbers of
 * any kind can be used as integers and as floats. Everything here happens after
 * Map::begin(), within one access.
 */
class Node : public GenApi_3_0::INode, public GenApi_3_0::ISelector {
public:
    Node(Map &map, Id id);
    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    const char *name() const { return map_.description()[id_].name; }
    Element element() const { return map_.description()[id_].element; }

    // INode
    gcstring GetName(bool FullQualified) const override;
    GenApi_3_0::EVisibility GetVisibility() const override;
    gcstring GetToolTip() const override { return stated(Property::ToolTip); }
    GenApi_3_0::EInterfaceType GetPrincipalInterfaceType() const override;
    EAccessMode GetAccessMode() const override;

    // ISelector
    void GetSelectedFeatures(GenApi_3_0::FeatureList_t &Features) const override {
        addValues(Property::pSelected, Features);
    }

    EAccessMode mode(Locks locks);
    /** \throw AccessException  unless the node can be read; written; is there */
    void requireReadable();
    void requireWritable();
    void requireAvailable();

    /** The value as it is. \throw AccessException  it cannot be read */
    virtual Number value();
    /** Nothing: it has none of its own. */
    virtual std::optional<Number> limit(Limit) { return std::nullopt; }
    /** \throw OutOfRangeException, LogicalErrorException  it does not fit: here or further down */
    virtual void check(const Number &) {}
    /** Writes it. \param verified  it has been checked; otherwise it is made to fit */
    virtual void put(const Number &value, bool verified);

    /** The value as an integer: the nearest, halves away from zero. \throw RuntimeException  none */
    int64_t integer() { return as<int64_t>(value(), *this); }

    /** The value as a text, and from one. */
    virtual std::string text() { return ""; }
    virtual void putText(const std::string &text, bool verify);

    /** The value of an enumeration's entry; nothing when there is no such entry. */
    virtual std::optional<int64_t> entryValue(const std::string &) { return std::nullopt; }

    /** How the value is shown: what the nearest node on the way to the value says. */
    const char *shownBy(Property property);

    /** Forgets what is kept of its own bytes. */
    virtual void forgetBytes() {}

protected:
    /** Access mode without conditions. */
    virtual EAccessMode ownMode(Locks locks);

    Map &map() const { return map_; }
    Id id() const { return id_; }
    const Item *item(Property property) const { return map_.description().find(id_, property); }
    const char *stated(Property property) const { return map_.description().textOf(id_, property); }
    /** The node that a property refers to; null when it has none. */
    Node *target(Property property) const;
    /** Adds the nodes that a property refers to, those that have a value. */
    void addValues(Property property, GenApi_3_0::FeatureList_t &to) const;
    /** A whole number of the description; \p otherwise when it has none. */
    int64_t number(Property property, int64_t otherwise) const;

private:
    EAccessMode computeMode(Locks locks);

    Map &map_;
    const Id id_;
    std::vector<Id>
        needed_; // whatever else has to be there: bounds, variables, parts of an address
    Memo<EAccessMode> modes_[2];
    bool isUnderway_ = false;
};

/** A node whose value is used as a text: text() and putText() say which. */
template <class Interface, class Base = Node>
class ValueNode : public Base, public Interface {
public:
    using Base::Base;

    gcstring ToString(bool Verify, bool IgnoreCache) override {
        this->map().begin(*this);
        this->requireReadable();
        const auto ignoring = this->map().ignoring(IgnoreCache);
        return shown(Verify).c_str();
    }
    void FromString(const gcstring &ValueStr, bool Verify) override {
        this->map().begin(*this);
        this->putText(ValueStr.c_str(), Verify);
    }

protected:
    /** \param verify  whether the value must be one that could be chosen */
    virtual std::string shown([[maybe_unused]] bool verify) { return this->text(); }
};

std::unique_ptr<Node> makeNode(Map &map, Id id);

} // namespace genapi

#endif
