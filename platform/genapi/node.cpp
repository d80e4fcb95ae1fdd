#include "node.h"

#include <algorithm>
#include <cmath>

namespace genapi {

using namespace GenApi_3_0;

namespace {

// What a message calls each of them.
constexpr const char *kModes[] = {"not implemented", "not available", "write only", "read only",
                                  "readable and writable"};

} // namespace

EAccessMode modeOf(std::string_view text) {
    return choiceOf<EAccessMode>(text, "NI|NA|WO|RO|RW");
}

std::optional<int64_t> nearestInteger(double value) {
    const double rounded = std::round(value);
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (!(rounded >= -kTwoTo63 && rounded < kTwoTo63))
        return std::nullopt;
    return static_cast<int64_t>(rounded);
}

int64_t requireInteger(double value, const Node &node) {
    const auto nearest = nearestInteger(value);
    if (!nearest)
        RAISE(Runtime, "'%.60s' is %g, which is no 64-bit integer", node.name(), value);
    return *nearest;
}

EAccessMode combine(EAccessMode one, EAccessMode other) {
    const auto [less, more] = std::minmax(one, other);
    return less == WO && more == RO ? NA : less;
}

Node::Node(Map &map, Id id) : map_(map), id_(id) {
    for (Id from = id; from != kNobody; from = map.description().above(from)) {
        for (const Item &item : map.description().partsOf(from)) {
            if (rowOf(item.property).meaning & kPart)
                needed_.push_back(item.node);
        }
    }
}

gcstring Node::GetName(bool FullQualified) const {
    const Declaration &own = map_.description()[id_];
    std::string name = own.name;
    if (own.element == Element::EnumEntry)
        name = "EnumEntry_" + (map_.description()[own.owner].name + ("_" + name));
    if (FullQualified)
        name = (own.isStandard ? "Std::" : "Cust::") + name;
    return name.c_str();
}

EVisibility Node::GetVisibility() const {
    return choiceOf<EVisibility>(stated(Property::Visibility), "Beginner|Expert|Guru|Invisible");
}

EInterfaceType Node::GetPrincipalInterfaceType() const {
    switch (element()) {
    case Element::Category:
        return intfICategory;
    case Element::Boolean:
        return intfIBoolean;
    case Element::Command:
        return intfICommand;
    case Element::Enumeration:
        return intfIEnumeration;
    case Element::EnumEntry:
        return intfIEnumEntry;
    case Element::String:
    case Element::StringReg:
        return intfIString;
    case Element::Register:
        return intfIRegister;
    case Element::Port:
        return intfIPort;
    default:
        break;
    }
    const unsigned number = rowOf(element()).meaning;
    return number == kInteger ? intfIInteger : number == kFloat ? intfIFloat : intfIBase;
}

void Node::addValues(Property property, FeatureList_t &to) const {
    for (const Item &item : map_.description().itemsOf(id_)) {
        if (item.property != property)
            continue;
        if (auto *value = dynamic_cast<IValue *>(&map_.node(item.node)))
            to.push_back(value);
    }
}

EAccessMode Node::GetAccessMode() const {
    map_.begin(*this);
    return const_cast<Node *>(this)->mode(Locks::Count);
}

// A node that is met again while its own mode is being found out (an enumeration's entries may
// depend on it) does not count.
EAccessMode Node::mode(Locks locks) {
    if (isUnderway_) {
        map_.isFleeting();
        return RW;
    }
    const auto heeding = map_.heeding();
    return modes_[locks == Locks::Count].get(map_, [&] {
        const auto level = map_.deeper();
        const During underway(isUnderway_, true);
        return computeMode(locks);
    });
}

EAccessMode Node::computeMode(Locks locks) {
    EAccessMode mode = RW;
    const auto condition = [&](Property property, bool isMet, EAccessMode otherwise, bool isAsked) {
        Node *node = mode == NI ? nullptr : target(property);
        if (!node)
            return;
        const EAccessMode own = node->mode(Locks::Ignore);
        if (own == NI || own == NA || own == WO)
            mode = combine(mode, own == NI ? NI : NA);
        else if (isAsked)
            mode = combine(mode, (node->integer() != 0) == isMet ? RW : otherwise);
    };
    condition(Property::pIsImplemented, true, NI, true);
    if (element() != Element::Category)
        condition(Property::pIsAvailable, true, NA, true);
    if (mode == NI)
        return NI;
    mode = combine(mode, ownMode(locks));
    for (const Id id : needed_) {
        if (mode == NI)
            return NI;
        // Only whether it is there.
        const EAccessMode needed = map_.node(id).mode(Locks::Ignore);
        mode = needed <= NA ? combine(mode, needed) : mode;
    }
    if (const Item *imposed = item(Property::ImposedAccessMode))
        mode = combine(mode, modeOf(imposed->text));
    // Asking for a lock may cost a command, and only a writer is interested.
    if (element() != Element::EnumEntry)
        condition(Property::pIsLocked, false, RO,
                  locks == Locks::Count && (mode == RW || mode == WO));
    return mode;
}

EAccessMode Node::ownMode(Locks locks) {
    Node *value = target(Property::pValue);
    return value ? value->mode(locks) : RW;
}

void Node::requireReadable() {
    if (const EAccessMode is = mode(Locks::Ignore); is != RO && is != RW)
        RAISE(Access, "Cannot read '%.60s': it is %s", name(), kModes[is]);
}

void Node::requireWritable() {
    if (const EAccessMode is = mode(Locks::Count); is != WO && is != RW)
        RAISE(Access, "Cannot write '%.60s': it is %s", name(), kModes[is]);
}

void Node::requireAvailable() {
    if (const EAccessMode is = mode(Locks::Ignore); is == NI || is == NA)
        RAISE(Access, "'%.60s' has no range: it is %s", name(), kModes[is]);
}

Node *Node::target(Property property) const {
    const Item *found = item(property);
    return found ? &map_.node(found->node) : nullptr;
}

int64_t Node::number(Property property, int64_t otherwise) const {
    return integerOfDescription(stated(property)).value_or(otherwise);
}

const char *Node::shownBy(Property property) {
    Node *node = this;
    for (int depth = 0; node && depth < kDeepestChain; ++depth) {
        if (const Item *found = node->item(property))
            return found->text;
        node = node->target(Property::pValue);
    }
    return "";
}

// What a kind of node does not have: the description was checked, so nobody asks for it.

Number Node::value() {
    RAISE(LogicalError, "'%.60s' is no number", name());
}

void Node::put(const Number &, bool) {
    RAISE(Access, "Cannot write '%.60s': it is computed", name());
}

void Node::putText(const std::string &, bool) {
    RAISE(Access, "Cannot write '%.60s': it takes no text", name());
}

} // namespace genapi
