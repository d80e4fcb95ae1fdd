#include <algorithm>
#include <cstring>

#include "numbers.h"

// Nodes that are registers of the camera: where their bytes lie, and what these mean.

namespace genapi {

using namespace GenApi_3_0;

namespace {

enum class Caching { WriteThrough, WriteAround, Never };

/** A register's place and its bytes. */
class Register {
public:
    Register(Map &map, Id id) : map_(map), id_(id) {
        const Id above = map.description().above(id);
        for (const Item &item : map.description().partsOf(above == kNobody ? id : above)) {
            const auto value = [&] { return static_cast<uint64_t>(stated<int64_t>(item.text)); };
            if (item.property == Property::Address)
                address_ += value();
            else if (item.property == Property::pAddress ||
                     item.property == Property::IntSwissKnife)
                parts_.push_back({item.node});
            else if (item.property == Property::pIndex)
                parts_.push_back({item.node, std::nullopt});
            else if (item.property == Property::Offset)
                parts_.back().factor = value();
            else if (item.property == Property::pOffset)
                parts_.back().factorNode = item.node;
        }
        order_ = orderOf(textOf(Property::Endianess));
        // Nobody polls, so what the camera changes by itself is asked each time.
        caching_ =
            map.description().find(id, Property::PollingTime)
                ? Caching::Never
                : choiceOf<Caching>(textOf(Property::Cachable), "WriteThrough|WriteAround|NoCache");
    }

    ByteOrder order() const { return order_; }

    EAccessMode mode() const {
        const Id port = map_.description().find(id_, Property::pPort)->node;
        return combine(modeOf(textOf(Property::AccessMode)), map_.node(port).mode(Locks::Count));
    }

    /** \throw OutOfRangeException  its length is not \p least to \p most */
    uint64_t length(int64_t least, int64_t most) {
        const Item *computed = map_.description().find(id_, Property::pLength);
        const int64_t length = computed ? map_.node(computed->node).integer()
                                        : stated<int64_t>(textOf(Property::Length));
        if (length < least || length > most)
            RAISE(OutOfRange,
                  "'%.60s' is a register of %" PRId64 " bytes, expected %" PRId64 " to %" PRId64,
                  name(), length, least, most);
        return static_cast<uint64_t>(length);
    }

    Place place(uint64_t length) {
        uint64_t address = address_;
        for (const Part &part : parts_) {
            map_.spend(1);
            const auto value = static_cast<uint64_t>(map_.node(part.node).integer());
            address += value * (part.factorNode == kNobody
                                    ? part.factor.value_or(length)
                                    : static_cast<uint64_t>(map_.node(part.factorNode).integer()));
        }
        if (address > UINT64_MAX - length)
            RAISE(OutOfRange, "'%.60s' is beyond all addresses", name());
        const Place place{address, length};
        if (last_ && (last_->address != address || last_->size != length))
            forgetBytes(); // of the place that it has left
        last_ = place;
        return place;
    }

    void read(const Place &place, uint8_t *bytes) {
        map_.spend(1);
        const bool mayKeep = caching_ != Caching::Never && map_.use() != Use::Monitor;
        const bool mayHave = mayKeep && !map_.isIgnoring();
        const auto *kept = mayHave ? map_.kept(place) : nullptr;
        if (kept) {
            map_.requireKept();
        } else {
            map_.spendCommand();
            if (mayHave)
                kept = map_.readWithNeighbours(place, order_);
            else
                map_.isFleeting();
        }
        if (kept) {
            std::copy(kept->begin(), kept->end(), bytes);
            return;
        }
        map_.port().read(place.address, bytes, place.size, order_);
        if (map_.isIgnoring())
            map_.forget(place);
        else if (mayKeep)
            map_.keep(place, bytes);
    }

    /** The bytes that a field lies in, before it is changed. */
    void readAround(const Place &place, uint8_t *bytes) {
        const auto *kept = map_.kept(place);
        if (kept && caching_ == Caching::WriteThrough) {
            map_.requireKept();
            std::copy(kept->begin(), kept->end(), bytes);
            return;
        }
        if (mode() != RO && mode() != RW)
            RAISE(Access, "Cannot write '%.60s': what lies beside it cannot be read", name());
        map_.spendCommand();
        map_.port().read(place.address, bytes, place.size, order_);
    }

    void write(const Place &place, const uint8_t *bytes) {
        map_.spendCommand();
        map_.forgetOverlapping(place); // whatever comes of it
        const bool isStale = map_.changed(id_);
        map_.port().write(place.address, bytes, place.size, order_);
        if (!isStale && caching_ == Caching::WriteThrough && map_.use() != Use::Monitor)
            map_.keep(place, bytes);
    }

    /** The number that the bytes are. */
    uint64_t readWord(const Place &place, bool around = false) {
        uint8_t bytes[sizeof(uint64_t)];
        around ? readAround(place, bytes) : read(place, bytes);
        uint64_t word = 0;
        for (uint64_t i = 0; i < place.size; ++i)
            word = word << 8 | bytes[order_ == ByteOrder::Little ? place.size - 1 - i : i];
        return word;
    }

    void writeWord(const Place &place, uint64_t word) {
        uint8_t bytes[sizeof word];
        for (uint64_t i = 0; i < place.size; ++i, word >>= 8)
            bytes[order_ == ByteOrder::Little ? i : place.size - 1 - i] =
                static_cast<uint8_t>(word);
        write(place, bytes);
    }

    void forgetBytes() {
        if (last_)
            map_.forget(*last_);
    }

private:
    struct Part {
        Id node;
        std::optional<uint64_t> factor = 1; // without one it is the register's length
        Id factorNode = kNobody;            // instead of it
    };

    const char *name() const { return map_.description()[id_].name; }
    const char *textOf(Property property) const { return map_.description().textOf(id_, property); }

    Map &map_;
    const Id id_;
    uint64_t address_ = 0; // of the parts that are constant
    std::vector<Part> parts_;
    ByteOrder order_;
    Caching caching_;
    std::optional<Place> last_;
};

class IntRegNode final : public IntegerNode {
public:
    IntRegNode(Map &map, Id id)
        : IntegerNode(map, id),
          register_(map, id),
          isSigned_(strcmp(stated(Property::Sign), "Signed") == 0),
          isMasked_(element() != Element::IntReg),
          lsb_(number(Property::LSB, number(Property::Bit, 0))),
          msb_(number(Property::MSB, number(Property::Bit, 0))) {}

    EAccessMode ownMode(Locks) override { return register_.mode(); }
    void forgetBytes() override { register_.forgetBytes(); }

    std::optional<int64_t> unstated(Limit which) override {
        if (which == Limit::Inc)
            return 1;
        const uint64_t mask = field().mask;
        if (which == Limit::Min)
            return isSigned_ ? -static_cast<int64_t>(mask >> 1) - 1 : 0;
        return static_cast<int64_t>(isSigned_ || mask == UINT64_MAX ? mask >> 1 : mask);
    }

    int64_t read() override {
        const Field field = this->field();
        const uint64_t word = register_.readWord(register_.place(field.length));
        const uint64_t value = word >> field.shift & field.mask;
        const bool isNegative = isSigned_ && (value & ~(field.mask >> 1)) != 0;
        return static_cast<int64_t>(isNegative ? value | ~field.mask : value);
    }

    void write(int64_t value, bool) override {
        const Field field = this->field();
        const Place place = register_.place(field.length);
        const uint64_t around =
            isMasked_ ? register_.readWord(place, true) & ~(field.mask << field.shift) : 0;
        const uint64_t bits = static_cast<uint64_t>(value) & field.mask;
        register_.writeWord(place, bits << field.shift | around);
    }

private:
    struct Field {
        uint64_t length;
        uint64_t shift;
        uint64_t mask;
    };

    // Bits are counted from where the first byte in memory begins: in a big-endian number from its
    // most significant bit.
    Field field() {
        const uint64_t length = register_.length(1, sizeof(int64_t));
        const auto bits = static_cast<int64_t>(8 * length);
        if (!isMasked_)
            return {length, 0, UINT64_MAX >> (64 - bits)};
        const bool isBig = register_.order() == ByteOrder::Big;
        const int64_t low = isBig ? bits - 1 - lsb_ : lsb_;
        const int64_t high = isBig ? bits - 1 - msb_ : msb_;
        if (low < 0 || high >= bits)
            RAISE(OutOfRange, "'%.60s': its bits are not in its %" PRIu64 " bytes", name(), length);
        return {length, static_cast<uint64_t>(low), UINT64_MAX >> (63 - (high - low))};
    }

    Register register_;
    const bool isSigned_;
    const bool isMasked_;
    const int64_t lsb_;
    const int64_t msb_;
};

/** The same bits as another type. */
template <class To, class From>
To bitsAs(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    memcpy(&to, &from, sizeof to);
    return to;
}

class FloatRegNode final : public FloatNode {
public:
    FloatRegNode(Map &map, Id id) : FloatNode(map, id), register_(map, id) {}

    EAccessMode ownMode(Locks) override { return register_.mode(); }
    void forgetBytes() override { register_.forgetBytes(); }

    std::optional<double> unstated(Limit which) override {
        if (which == Limit::Inc || length() == sizeof(double))
            return FloatNode::unstated(which);
        return which == Limit::Min ? -kMostNarrow : kMostNarrow;
    }

    double read() override {
        const uint64_t length = this->length();
        const uint64_t word = register_.readWord(register_.place(length));
        if (length == sizeof(double))
            return bitsAs<double>(word);
        return double{bitsAs<float>(static_cast<uint32_t>(word))};
    }

    void write(double value, bool) override {
        const uint64_t length = this->length();
        const auto narrow = static_cast<float>(
            std::abs(value) > kMostNarrow ? std::copysign(INFINITY, value) : value);
        register_.writeWord(register_.place(length), length == sizeof(double)
                                                         ? bitsAs<uint64_t>(value)
                                                         : bitsAs<uint32_t>(narrow));
    }

private:
    uint64_t length() {
        const uint64_t length = register_.length(sizeof(float), sizeof(double));
        if (length != sizeof(float) && length != sizeof(double))
            RAISE(OutOfRange, "'%.60s' is a float of %" PRIu64 " bytes, expected 4 or 8", name(),
                  length);
        return length;
    }

    static constexpr double kMostNarrow = std::numeric_limits<float>::max();

    Register register_;
};

/** A register as a text (StringReg), or as bytes. */
class BytesNode final : public ValueNode<IValue> {
public:
    BytesNode(Map &map, Id id)
        : ValueNode(map, id), isText_(element() == Element::StringReg), register_(map, id) {}

    EAccessMode ownMode(Locks) override { return register_.mode(); }
    void forgetBytes() override { register_.forgetBytes(); }

    std::string text() override {
        const auto level = map().deeper();
        std::vector<uint8_t> bytes(register_.length(1, kLongestRegister));
        register_.read(register_.place(bytes.size()), bytes.data());
        if (!isText_)
            return textOf(bytes);
        return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    }

    void putText(const std::string &text, bool) override {
        const auto level = map().deeper();
        requireWritable();
        auto bytes = isText_ ? std::vector<uint8_t>(text.begin(), text.end()) : bytesOf(text);
        if (!bytes)
            RAISE(InvalidArgument, "Cannot write '%.60s': '%.60s' are no hexadecimal digits",
                  name(), text.c_str());
        const uint64_t length = register_.length(1, kLongestRegister);
        if (bytes->size() > length)
            RAISE(OutOfRange, "'%.60s' has room for %" PRIu64 " bytes, which '%.60s' exceeds",
                  name(), length, text.c_str());
        bytes->resize(length);
        register_.write(register_.place(length), bytes->data());
    }

private:
    const bool isText_;
    Register register_;
};

} // namespace

std::unique_ptr<Node> makeRegister(Map &map, Id id) {
    if (!map.description().find(id, Property::pPort))
        return nullptr;
    switch (rowOf(map.description()[id].element).meaning) {
    case kInteger:
        return std::make_unique<IntRegNode>(map, id);
    case kFloat:
        return std::make_unique<FloatRegNode>(map, id);
    default:
        return std::make_unique<BytesNode>(map, id);
    }
}

} // namespace genapi
