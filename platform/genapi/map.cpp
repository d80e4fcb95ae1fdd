#include "map.h"

#include <algorithm>
#include <cinttypes>

#include "node.h"

namespace genapi {
namespace {

constexpr uint64_t kNeighbour = 4; // bytes of registers that are read together
constexpr size_t kKeptEntry = 100; // about what an entry takes beside the bytes themselves

Id portOf(const Description &description) {
    const Id named = description.find("Device");
    if (named != kNobody && description[named].element == Element::Port)
        return named;
    Id port = kNobody;
    int ports = 0;
    for (Id id = 0; id < description.size(); ++id) {
        if (description[id].element == Element::Port && ports++ == 0)
            port = id;
    }
    return ports == 1 ? port : kNobody;
}

} // namespace

ByteOrder orderOf(std::string_view text) {
    return choiceOf<ByteOrder>(text, "|LittleEndian|BigEndian");
}

Map::Map(std::string document, Port &port, Use use)
    : description_(std::move(document)),
      port_(port),
      use_(use),
      connectedPort_(portOf(description_)),
      nodes_(description_.size()) {}

Map::~Map() = default;

Node &Map::node(Id id) {
    auto &node = nodes_[id];
    if (!node)
        node = makeNode(*this, id);
    return *node;
}

Node *Map::find(std::string_view name) {
    // Removes what a name may begin with.
    const auto skip = [&name](std::string_view prefix) {
        const bool isThere = name.substr(0, prefix.size()) == prefix;
        name.remove_prefix(isThere ? prefix.size() : 0);
        return isThere;
    };
    const bool isStandard = skip("Std::");
    const bool isCustom = !isStandard && skip("Cust::");
    if (const Id id = description_.find(name); id != kNobody)
        return (description_[id].isStandard ? isCustom : isStandard) ? nullptr : &node(id);
    // EnumEntry_<Enumeration>_<Name>: both names may have underscores in them.
    if (isStandard || isCustom || !skip("EnumEntry_"))
        return nullptr;
    for (size_t at = name.find('_'); at != std::string_view::npos; at = name.find('_', at + 1)) {
        const Id enumeration = description_.find(name.substr(0, at));
        if (enumeration == kNobody)
            continue;
        for (const Item &item : description_.itemsOf(enumeration)) {
            if (item.property == Property::EnumEntry &&
                description_[item.node].name == name.substr(at + 1))
                return &node(item.node);
        }
    }
    return nullptr;
}

const std::vector<uint8_t> *Map::kept(const Place &place) {
    if (!unasked_.empty() && port_.now() - unaskedSince_ > kLongestUnasked)
        forgetUnasked();
    unasked_.erase(place);
    const auto found = kept_.find(place);
    return found == kept_.end() ? nullptr : &found->second;
}

void Map::keep(const Place &place, const uint8_t *bytes) {
    if (keptBytes_ + place.size + kKeptEntry > kMostKept) {
        kept_.clear();
        unasked_.clear();
        keptBytes_ = 0;
    }
    auto &entry = kept_[place];
    if (entry.empty())
        keptBytes_ += place.size + kKeptEntry;
    entry.assign(bytes, bytes + place.size);
    longestKept_ = std::max(longestKept_, place.size);
}

const std::vector<uint8_t> *Map::readWithNeighbours(const Place &place, ByteOrder order) {
    if (place.size != kNeighbour)
        return nullptr;
    if (!hasNeighbours_)
        findNeighbours();
    const auto isNext = [order](const auto &one, const auto &other) {
        return other.second == order && other.first - one.first == kNeighbour;
    };
    auto first = neighbours_.find(place.address);
    if (first == neighbours_.end() || first->second != order)
        return nullptr;
    auto last = first;
    const auto size = [&] { return last->first - first->first + kNeighbour; };
    for (auto next = std::next(last);
         size() < kMostTogether && next != neighbours_.end() && isNext(*last, *next); ++next)
        last = next;
    while (size() < kMostTogether && first != neighbours_.begin() &&
           isNext(*std::prev(first), *first))
        --first;
    const auto isKnown = [&](const auto &neighbour) {
        return kept_.count({neighbour.first, kNeighbour}) != 0;
    };
    while (isKnown(*first))
        ++first;
    while (isKnown(*last))
        --last;
    std::vector<uint8_t> bytes(size());
    if (first == last || !port_.readTogether(first->first, bytes.data(), bytes.size(), order))
        return nullptr;
    unaskedSince_ = port_.now();
    for (size_t at = 0; at < bytes.size(); at += kNeighbour) {
        const Place neighbour{first->first + at, kNeighbour};
        if (kept_.count(neighbour) == 0) {
            keep(neighbour, bytes.data() + at);
            unasked_.insert(neighbour);
        }
    }
    return kept(place);
}

void Map::readAhead() {
    if (use_ == Use::Monitor)
        return; // nothing is kept
    if (!hasNeighbours_)
        findNeighbours();
    int refusals = 0;
    for (const ByteOrder order : {ByteOrder::Big, ByteOrder::Little}) {
        std::vector<uint64_t> addresses;
        for (const auto &[address, own] : neighbours_) {
            if (own != order || kept_.count({address, kNeighbour}) != 0)
                continue;
            addresses.push_back(address);
            if (addresses.size() == kMostTogether / kNeighbour)
                readAhead(std::exchange(addresses, {}), order, refusals);
            if (kept_.size() >= kMostAhead)
                return;
        }
        readAhead(addresses, order, refusals);
    }
}

// What is refused is tried again by halves, to find what the camera does not have.
void Map::readAhead(const std::vector<uint64_t> &addresses, ByteOrder order, int &refusals) {
    if (addresses.empty() || refusals == kMostRefusals)
        return;
    std::vector<uint8_t> bytes(addresses.size() * kNeighbour);
    if (port_.readApart(addresses, bytes.data(), order)) {
        for (size_t i = 0; i < addresses.size(); ++i)
            keep({addresses[i], kNeighbour}, &bytes[i * kNeighbour]);
        return;
    }
    ++refusals;
    if (addresses.size() == 1)
        return;
    const auto middle = addresses.begin() + static_cast<ptrdiff_t>(addresses.size() / 2);
    readAhead({addresses.begin(), middle}, order, refusals);
    readAhead({middle, addresses.end()}, order, refusals);
}

std::optional<Place> Map::constantPlaceOf(Id id) const {
    const Id above = description_.above(id);
    Place place{0, 0};
    for (const Item &item : description_.partsOf(above == kNobody ? id : above)) {
        if (item.property == Property::Address)
            place.address += static_cast<uint64_t>(*integerOfDescription(item.text));
        else if (item.property == Property::Length)
            place.size = static_cast<uint64_t>(*integerOfDescription(item.text));
        else if (rowOf(item.property).meaning & kPart)
            return std::nullopt;
    }
    return place.size == 0 ? std::nullopt : std::optional<Place>(place);
}

// Whatever all nodes there let be kept, and set no conditions to.
void Map::findNeighbours() {
    hasNeighbours_ = true;
    std::vector<Place> others;
    for (Id id = 0; id < description_.size(); ++id) {
        const auto place = constantPlaceOf(id);
        if (!place || description_[id].element == Element::StructReg)
            continue;
        const auto has = [&](Property property) { return description_.find(id, property); };
        const auto says = [&](Property property, std::string_view text) {
            return description_.textOf(id, property) == text;
        };
        const bool isPlain = place->size == kNeighbour && has(Property::Endianess) &&
                             !says(Property::AccessMode, "WO") &&
                             !says(Property::Cachable, "NoCache") && !has(Property::PollingTime) &&
                             !has(Property::pIsImplemented) && !has(Property::pIsAvailable) &&
                             !has(Property::ImposedAccessMode) &&
                             has(Property::pPort)->node == connectedPort_;
        const ByteOrder order = orderOf(description_.textOf(id, Property::Endianess));
        if (!isPlain || neighbours_.emplace(place->address, order).first->second != order)
            others.push_back(*place);
    }
    for (const auto &[address, size] : others) {
        const uint64_t first = address - std::min(address, kNeighbour - 1);
        neighbours_.erase(neighbours_.lower_bound(first),
                          neighbours_.lower_bound(std::max(first, address + size)));
    }
}

void Map::forgetUnasked() {
    for (const Place &place : std::exchange(unasked_, {}))
        forget(place);
}

void Map::forget(const Place &place) {
    if (kept_.erase(place) == 1)
        keptBytes_ -= place.size + kKeptEntry;
    ++generation_;
}

void Map::forgetOverlapping(const Place &place) {
    const uint64_t first = place.address > longestKept_ ? place.address - longestKept_ : 0;
    for (auto it = kept_.lower_bound({first, 0});
         it != kept_.end() && it->first.address < place.address + place.size;) {
        const Place other = it->first;
        ++it;
        if (place.address < other.address + other.size)
            forget(other);
    }
}

bool Map::changed(Id node) {
    ++access_;
    forgetUnasked();
    const uint64_t visit = ++generation_;
    if (dependents_.empty())
        findDependents();
    std::vector<Id> open{node};
    while (!open.empty()) {
        const Id id = open.back();
        open.pop_back();
        spend(dependents_[id].size() / 8);
        for (const Id dependent : dependents_[id]) {
            if (visited_[dependent] == visit)
                continue;
            visited_[dependent] = visit;
            spend(2);
            open.push_back(dependent);
            if (nodes_[dependent])
                nodes_[dependent]->forgetBytes();
            // Others may have read what lies there.
            if (const auto place = constantPlaceOf(dependent))
                forget(*place);
        }
    }
    return visited_[node] == visit;
}

void Map::findDependents() {
    visited_.assign(description_.size(), 0);
    dependents_.resize(description_.size());
    for (Id id = 0; id < description_.size(); ++id) {
        for (const Item &item : description_.itemsOf(id)) {
            if (rowOf(item.property).meaning & kFollows)
                dependents_[item.node].push_back(id);
        }
        if (description_.above(id) != kNobody)
            dependents_[description_.above(id)].push_back(id);
    }
}

void Map::spend(uint64_t steps) {
    steps_ += steps;
    if (steps_ > kMostSteps)
        RAISE(Runtime, "'%.60s' takes more than the %" PRIu64 " steps that one access may take",
              asked_->name(), kMostSteps);
}

void Map::spendCommand() {
    spend(kStepsOfCommand);
    const auto now = port_.now();
    if (firstCommand_.count() < 0)
        firstCommand_ = now;
    if (now - firstCommand_ > kLongestAccess)
        RAISE(Runtime, "'%.60s' takes longer than the %lld ms that one access may take",
              asked_->name(), static_cast<long long>(kLongestAccess.count()));
}

void Map::requireKept() {
    if (!isKeptUsable_ && !kept_.empty())
        port_.requireKept();
    isKeptUsable_ = true;
}

void Map::begin(const Node &asked) {
    asked_ = &asked;
    ++access_;
    steps_ = 0;
    firstCommand_ = std::chrono::milliseconds(-1);
    depth_ = 0;
    isKeptUsable_ = false;
}

During<bool> Map::ignoring(bool on) {
    heedingAccess_ = access_;
    access_ += on;
    return {ignoring_, on};
}

std::pair<During<bool>, During<uint64_t>> Map::heeding() {
    return {std::piecewise_construct, std::forward_as_tuple(ignoring_, false),
            std::forward_as_tuple(access_, ignoring_ ? heedingAccess_ : access_)};
}

During<int> Map::deeper() {
    spend(1);
    if (depth_ == kDeepestChain)
        RAISE(Runtime, "'%.60s' needs what is more than %d references away", asked_->name(),
              kDeepestChain);
    return {depth_, depth_ + 1};
}

std::chrono::milliseconds Port::now() const {
    return {};
}

bool Port::readTogether(uint64_t, uint8_t *, size_t, ByteOrder) {
    return false;
}

bool Port::readApart(const std::vector<uint64_t> &, uint8_t *, ByteOrder) {
    return false;
}

NodeMap::NodeMap(std::string document, Port &port, Use use)
    : map_(std::make_unique<Map>(std::move(document), port, use)), reference_(this) {}

NodeMap::~NodeMap() = default;

GenApi_3_0::INode *NodeMap::GetNode(const GenApi_3_0::gcstring &name) const {
    return map_->find(name.c_str());
}

void NodeMap::readAhead() {
    map_->readAhead();
}

const char *NodeMap::asked() const {
    const Node *asked = map_->asked();
    return asked ? asked->name() : "";
}

bool NodeMap::isForSchema(int major, int minor) const {
    return map_->description().schema() >= std::pair(major, minor);
}

} // namespace genapi
