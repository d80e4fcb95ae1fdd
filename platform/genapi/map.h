/** What the nodes of one map share: each other, what they cost, and what is known of registers. */
#ifndef KXINFO_GENAPI_MAP_H
#define KXINFO_GENAPI_MAP_H

#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "bounds.h"
#include "description.h"
#include "nodemap.h"

namespace genapi {

class Node;

/** Where a register's bytes lie. */
struct Place {
    uint64_t address;
    uint64_t size;
    bool operator<(const Place &other) const {
        return std::tie(address, size) < std::tie(other.address, other.size);
    }
};

/** While it lives, a variable has another value. */
template <class Value>
class During {
public:
    During(Value &variable, Value value)
        : variable_(variable), before_(std::exchange(variable, value)) {}
    ~During() { variable_ = before_; }
    During(const During &) = delete;
    During &operator=(const During &) = delete;

private:
    Value &variable_;
    const Value before_;
};

/**
 * Nodes are made when they are first used. What is known without asking the camera is this:
 *
 * - Bytes of registers that the description lets be kept, by place, so that all nodes there share
 *   them. A write replaces those at its place, forgets those that overlap, and those of every register
 *   that depends on what was written: through its address, its length, or its invalidators.
 * - Results (\ref Memo), for this one access, or, when no register was asked that may not be kept,
 *   until the next write.
 */
class Map {
public:
    Map(std::string document, Port &port, Use use);
    ~Map();
    Map(const Map &) = delete;
    Map &operator=(const Map &) = delete;

    const Description &description() const { return description_; }
    Port &port() const { return port_; }
    Use use() const { return use_; }
    /** Which Port the camera's registers are behind; kNobody when it cannot be told. */
    Id connectedPort() const { return connectedPort_; }

    /** The node that is accessed from outside, or was the last; null: none was. */
    const Node *asked() const { return asked_; }

    Node &node(Id id);
    /** By its full name; null when there is none. */
    Node *find(std::string_view name);

    /** Bytes kept of a place; null when the camera has to be asked. */
    const std::vector<uint8_t> *kept(const Place &place);
    void keep(const Place &place, const uint8_t *bytes);
    /**
     * Reads a register that may be kept, at once with those beside it that may be kept as well. Unless
     * these are asked for within kLongestUnasked and before the next write, whatever it is, they are
     * forgotten: so they are as good as read when they are asked for.
     *
     * \return what is kept of it now; null: it has to be read alone
     */
    const std::vector<uint8_t> *readWithNeighbours(const Place &place, ByteOrder order);
    /** See NodeMap::readAhead(). */
    void readAhead();
    void forget(const Place &place);
    /** Before a write: forgets whatever overlaps. */
    void forgetOverlapping(const Place &place);
    /**
     * After \p node was written, or may have been: forgets what depends on it.
     *
     * \return whether that is the node itself as well: one of its invalidators depends on it
     */
    bool changed(Id node);

    /** An access from outside begins: what it may cost begins anew. */
    void begin(const Node &asked);
    /** While the result lives, values come from the camera, if \p on. */
    During<bool> ignoring(bool on);
    /** While the result lives, they come from where they come otherwise: for conditions. */
    std::pair<During<bool>, During<uint64_t>> heeding();
    /**
     * While the result lives, one more node is being evaluated above the others.
     * \throw RuntimeException  these are too many
     */
    During<int> deeper();
    /** Counts what an access costs. \throw RuntimeException  it is too much */
    void spend(uint64_t steps);
    /** The same for a command to the camera. */
    void spendCommand();
    /** Before what was known before this access is used. */
    void requireKept();

    /** The results of this access alone may be used, and none that was kept. */
    bool isIgnoring() const { return ignoring_; }
    /** A result from here on holds for this access only. */
    void isFleeting() { ++fleeting_; }

private:
    template <class Value>
    friend class Memo;

    void findDependents();
    void findNeighbours();
    void readAhead(const std::vector<uint64_t> &addresses, ByteOrder order, int &refusals);
    void forgetUnasked();
    /** Where a register lies whose place is no matter of values. */
    std::optional<Place> constantPlaceOf(Id id) const;

    const Description description_;
    Port &port_;
    const Use use_;
    Id connectedPort_;
    std::vector<std::unique_ptr<Node>> nodes_;

    std::map<Place, std::vector<uint8_t>> kept_;
    size_t keptBytes_ = 0;
    uint64_t longestKept_ = 0;
    // Registers of 4 bytes that may be read without being asked for, by address.
    std::map<uint64_t, ByteOrder> neighbours_;
    bool hasNeighbours_ = false; // they have been looked for
    std::set<Place> unasked_;    // what is kept of them, and nobody has asked for yet
    std::chrono::milliseconds unaskedSince_{};
    std::vector<std::vector<Id>> dependents_; // of each node
    std::vector<uint64_t> visited_;

    const Node *asked_ = nullptr; // from outside
    uint64_t access_ = 1;
    uint64_t heedingAccess_ = 0; // that before the one that ignores
    uint64_t generation_ = 1;
    uint64_t fleeting_ = 0;
    uint64_t steps_ = 0;
    std::chrono::milliseconds firstCommand_{-1};
    int depth_ = 0;
    bool ignoring_ = false;
    bool isKeptUsable_ = false; // found out in this access
};

/** What an Endianess says; "": nothing. */
ByteOrder orderOf(std::string_view text);

/** A result that need not be computed again for a while. */
template <class Value>
class Memo {
public:
    template <class Compute>
    Value get(Map &map, Compute compute) {
        const bool isOfThisAccess = access_ == map.access_;
        const bool isLasting = lasting_ && generation_ == map.generation_ && !map.ignoring_;
        if (isOfThisAccess || isLasting) {
            if (!lasting_)
                map.isFleeting();
            else if (!isOfThisAccess)
                map.requireKept();
            return value_;
        }
        const uint64_t fleeting = map.fleeting_;
        value_ = compute();
        lasting_ = fleeting == map.fleeting_;
        access_ = map.access_;
        generation_ = map.generation_;
        return value_;
    }

private:
    Value value_{};
    uint64_t access_ = 0;
    uint64_t generation_ = 0;
    bool lasting_ = false;
};

} // namespace genapi

#endif
