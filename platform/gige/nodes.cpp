#include "nodes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "description.h"

// Each class implements one value interface over one kind of Aravis node. What they share is in
// Feature: access modes first, then the value's own checks, then the access itself.

namespace gige {

using namespace GenApi_3_0;

Node::~Node() = default;

namespace {

// Name and access mode, beside the value interfaces of a kind of node.
template <class... Values>
class NodeOf : public Node, public INode, public Values... {
public:
    NodeOf(ArvGcFeatureNode *node, const Camera &camera) : feature_(node, camera) {}

    INode *interface() override { return this; }

    gcstring GetName(bool fullQualified) const override {
        gcstring name = fullQualified ? nameSpace() : "";
        return name += feature_.name();
    }
    EAccessMode GetAccessMode() const override { return feature_.accessMode(); }

protected:
    const Feature &feature() const { return feature_; }

private:
    const char *nameSpace() const {
        return arv_gc_feature_node_get_name_space(feature_.node()) == ARV_GC_NAME_SPACE_STANDARD
                   ? "Std::"
                   : "Cust::";
    }

    Feature feature_;
};

// A whole text as an integer: decimal, or hexadecimal after 0x.
int64_t integerFrom(const gcstring &text, const char *node) {
    const char *start = text.c_str();
    const char *end = start + text.length();
    const bool negative = *start == '-';
    const char *digits = start + (negative || *start == '+' ? 1 : 0);
    const bool hexadecimal = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    uint64_t magnitude = 0;
    const auto [stop, error] =
        std::from_chars(hexadecimal ? digits + 2 : digits, end, magnitude, hexadecimal ? 16 : 10);
    // Hexadecimal covers all 64 bits, decimal what a signed number holds.
    const uint64_t limit = hexadecimal && !negative ? UINT64_MAX : uint64_t(INT64_MAX) + negative;
    if (error != std::errc() || stop != end || magnitude > limit)
        throw KXGIGE_EXCEPTION(InvalidArgumentException,
                               "Cannot write '%s': '%s' is no whole number (expected one such as "
                               "640 or 0x280)",
                               node, start);
    return static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
}

double floatFrom(const gcstring &text, const char *node) {
    double value = 0;
    const char *start = text.c_str();
    const char *end = start + text.length();
    const auto [stop, error] = std::from_chars(*start == '+' ? start + 1 : start, end, value);
    if (error != std::errc() || stop != end)
        throw KXGIGE_EXCEPTION(InvalidArgumentException,
                               "Cannot write '%s': '%s' is no number (expected one such as 2.5 or "
                               "1e3)",
                               node, start);
    return value;
}

// The shortest text that reads back as the same number.
std::string textOf(double value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

class IntegerNode final : public NodeOf<IInteger> {
public:
    using NodeOf::NodeOf;

    int64_t GetValue(bool verify, bool ignoreCache) override {
        const int64_t value = feature().read(ignoreCache, [this](GError **error) {
            return int64_t{arv_gc_integer_get_value(aravis(), error)};
        });
        if (verify)
            verifyValue(value, "read");
        return value;
    }

    void SetValue(int64_t value, bool verify) override {
        feature().requireWritable();
        if (verify)
            verifyValue(value, "write");
        feature().write(static_cast<double>(value),
                        [&](GError **error) { arv_gc_integer_set_value(aravis(), value, error); });
    }

    int64_t GetMin() override { return bound(arv_gc_integer_get_min); }
    int64_t GetMax() override { return bound(arv_gc_integer_get_max); }
    int64_t GetInc() override { return bound(arv_gc_integer_get_inc); }

    gcstring ToString(bool verify, bool ignoreCache) override {
        return std::to_string(GetValue(verify, ignoreCache)).c_str();
    }
    void FromString(const gcstring &text, bool verify) override {
        SetValue(integerFrom(text, feature().name()), verify);
    }

private:
    ArvGcInteger *aravis() const { return ARV_GC_INTEGER(feature().node()); }

    template <class Get>
    int64_t bound(Get get) const {
        return feature().bound([&](GError **error) { return int64_t{get(aravis(), error)}; });
    }

    void verifyValue(int64_t value, const char *action) {
        const int64_t min = GetMin();
        const int64_t max = GetMax();
        if (value < min || value > max)
            throw KXGIGE_EXCEPTION(OutOfRangeException,
                                   "Cannot %s '%s': %lld is outside %lld to %lld", action,
                                   feature().name(), static_cast<long long>(value),
                                   static_cast<long long>(min), static_cast<long long>(max));
        const int64_t inc = GetInc();
        // Unsigned: the distance of two signed numbers may need all 64 bits.
        const uint64_t distance = static_cast<uint64_t>(value) - static_cast<uint64_t>(min);
        if (inc > 1 && distance % static_cast<uint64_t>(inc) != 0)
            throw KXGIGE_EXCEPTION(OutOfRangeException,
                                   "Cannot %s '%s': %lld is not a multiple of %lld above the "
                                   "minimum %lld",
                                   action, feature().name(), static_cast<long long>(value),
                                   static_cast<long long>(inc), static_cast<long long>(min));
    }
};

class FloatNode final : public NodeOf<IFloat> {
public:
    using NodeOf::NodeOf;

    double GetValue(bool verify, bool ignoreCache) override {
        const double value = feature().read(ignoreCache, [this](GError **error) {
            return arv_gc_float_get_value(aravis(), error);
        });
        if (verify)
            verifyValue(value, "read");
        return value;
    }

    void SetValue(double value, bool verify) override {
        feature().requireWritable();
        if (verify)
            verifyValue(value, "write");
        feature().write(value,
                        [&](GError **error) { arv_gc_float_set_value(aravis(), value, error); });
    }

    double GetMin() override { return bound(arv_gc_float_get_min); }
    double GetMax() override { return bound(arv_gc_float_get_max); }
    bool HasInc() override { return GetInc() > 0; }
    double GetInc() override {
        const double inc = bound(arv_gc_float_get_inc);
        return inc > kNoIncrement ? inc : 0;
    }

    gcstring ToString(bool verify, bool ignoreCache) override {
        return textOf(GetValue(verify, ignoreCache)).c_str();
    }
    void FromString(const gcstring &text, bool verify) override {
        SetValue(floatFrom(text, feature().name()), verify);
    }

private:
    // Aravis' increment of a float that has none.
    static constexpr double kNoIncrement = G_MINDOUBLE;
    // Values often come from 32-bit floats, which are that exact.
    static constexpr double kStepTolerance = 1e-6;

    ArvGcFloat *aravis() const { return ARV_GC_FLOAT(feature().node()); }

    template <class Get>
    double bound(Get get) const {
        return feature().bound([&](GError **error) { return get(aravis(), error); });
    }

    void verifyValue(double value, const char *action) {
        const double min = GetMin();
        const double max = GetMax();
        if (!(value >= min && value <= max)) // not a number is outside as well
            throw KXGIGE_EXCEPTION(OutOfRangeException, "Cannot %s '%s': %s is outside %s to %s",
                                   action, feature().name(), textOf(value).c_str(),
                                   textOf(min).c_str(), textOf(max).c_str());
        const double inc = GetInc();
        if (inc <= 0)
            return;
        const double steps = (value - min) / inc;
        if (std::fabs(steps - std::round(steps)) > kStepTolerance * std::fmax(1, std::fabs(steps)))
            throw KXGIGE_EXCEPTION(OutOfRangeException,
                                   "Cannot %s '%s': %s is not a multiple of %s above the minimum "
                                   "%s",
                                   action, feature().name(), textOf(value).c_str(),
                                   textOf(inc).c_str(), textOf(min).c_str());
    }
};

class BooleanNode final : public NodeOf<IBoolean> {
public:
    using NodeOf::NodeOf;

    bool GetValue(bool, bool ignoreCache) const override {
        return feature().read(ignoreCache, [this](GError **error) {
            return arv_gc_boolean_get_value(aravis(), error);
        });
    }

    void SetValue(bool value, bool) override {
        feature().requireWritable();
        feature().write(value,
                        [&](GError **error) { arv_gc_boolean_set_value(aravis(), value, error); });
    }

    gcstring ToString(bool verify, bool ignoreCache) override {
        return GetValue(verify, ignoreCache) ? "1" : "0";
    }
    void FromString(const gcstring &text, bool verify) override {
        const bool on = text == "1" || text == "true";
        if (!on && text != "0" && text != "false")
            throw KXGIGE_EXCEPTION(InvalidArgumentException,
                                   "Cannot write '%s': '%s' is neither of 0, 1, false and true",
                                   feature().name(), text.c_str());
        SetValue(on, verify);
    }

private:
    ArvGcBoolean *aravis() const { return ARV_GC_BOOLEAN(feature().node()); }
};

class EntryNode final : public NodeOf<IEnumEntry> {
public:
    using NodeOf::NodeOf;

    gcstring GetSymbolic() const override { return feature().name(); }
    int64_t GetValue() override {
        return feature().bound([this](GError **error) {
            return int64_t{arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(feature().node()), error)};
        });
    }

    // Nothing of an entry is written.
    EAccessMode GetAccessMode() const override {
        const EAccessMode mode = NodeOf::GetAccessMode();
        return mode == RW ? RO : mode;
    }
    gcstring ToString(bool, bool) override { return GetSymbolic(); }
    void FromString(const gcstring &, bool) override {
        throw KXGIGE_EXCEPTION(AccessException, "Cannot write '%s': it is an enumeration's entry",
                               feature().name());
    }
};

class EnumerationNode final : public NodeOf<IEnumeration> {
public:
    EnumerationNode(ArvGcFeatureNode *node, const Camera &camera) : NodeOf(node, camera) {
        for (const GSList *entry = arv_gc_enumeration_get_entries(aravis()); entry;
             entry = entry->next)
            entries_.push_back(
                std::make_unique<EntryNode>(ARV_GC_FEATURE_NODE(entry->data), camera));
        std::reverse(entries_.begin(), entries_.end()); // Aravis lists the last one first
    }

    IEnumEntry *GetEntryByName(const gcstring &symbolic) override { return entryOf(symbolic); }

    int64_t GetIntValue(bool, bool ignoreCache) override {
        return feature().read(ignoreCache, [this](GError **error) {
            return int64_t{arv_gc_enumeration_get_int_value(aravis(), error)};
        });
    }

    void SetIntValue(int64_t value, bool) override {
        feature().requireWritable();
        if (EntryNode *entry = entryOf(value))
            return select(*entry);
        throw KXGIGE_EXCEPTION(InvalidArgumentException,
                               "Cannot write '%s': %lld is the value of none of its entries",
                               feature().name(), static_cast<long long>(value));
    }

    IEnumEntry *GetCurrentEntry(bool verify, bool ignoreCache) override {
        return entryOf(GetIntValue(verify, ignoreCache));
    }

    void GetSymbolics(StringList_t &symbolics) override {
        symbolics.clear();
        for (const auto &entry : entries_)
            symbolics.push_back(entry->GetSymbolic());
    }

    gcstring ToString(bool verify, bool ignoreCache) override {
        const int64_t value = GetIntValue(verify, ignoreCache);
        if (const EntryNode *entry = entryOf(value))
            return entry->GetSymbolic();
        throw KXGIGE_EXCEPTION(RuntimeException,
                               "Cannot read '%s': the camera's value %lld is that of none of its "
                               "entries",
                               feature().name(), static_cast<long long>(value));
    }

    void FromString(const gcstring &text, bool) override {
        feature().requireWritable();
        if (EntryNode *entry = entryOf(text))
            return select(*entry);
        throw KXGIGE_EXCEPTION(InvalidArgumentException,
                               "Cannot write '%s': '%s' is none of its entries (%s)",
                               feature().name(), text.c_str(), namesOfEntries().c_str());
    }

private:
    ArvGcEnumeration *aravis() const { return ARV_GC_ENUMERATION(feature().node()); }

    EntryNode *entryOf(const gcstring &symbolic) const {
        for (const auto &entry : entries_) {
            if (entry->GetSymbolic() == symbolic)
                return entry.get();
        }
        return nullptr;
    }

    EntryNode *entryOf(int64_t value) const {
        for (const auto &entry : entries_) {
            if (entry->GetValue() == value)
                return entry.get();
        }
        return nullptr;
    }

    void select(EntryNode &entry) {
        if (!IsAvailable(&entry))
            throw KXGIGE_EXCEPTION(AccessException,
                                   "Cannot write '%s': its entry '%s' is not available at present",
                                   feature().name(), entry.GetSymbolic().c_str());
        const int64_t value = entry.GetValue();
        feature().write(static_cast<double>(value), [&](GError **error) {
            arv_gc_enumeration_set_int_value(aravis(), value, error);
        });
    }

    std::string namesOfEntries() const {
        std::string names;
        for (const auto &entry : entries_)
            names += (names.empty() ? "" : ", ") + std::string(entry->GetSymbolic());
        return names;
    }

    std::vector<std::unique_ptr<EntryNode>> entries_;
};

class TextNode final : public NodeOf<IValue> {
public:
    using NodeOf::NodeOf;

    gcstring ToString(bool, bool ignoreCache) override {
        return feature()
            .readText(ignoreCache,
                      [this](GError **error) { return arv_gc_string_get_value(aravis(), error); })
            .c_str();
    }

    void FromString(const gcstring &text, bool verify) override {
        feature().requireWritable();
        if (verify)
            verifyLength(text);
        feature().writeText(
            [&](GError **error) { arv_gc_string_set_value(aravis(), text.c_str(), error); });
    }

private:
    ArvGcString *aravis() const { return ARV_GC_STRING(feature().node()); }

    void verifyLength(const gcstring &text) {
        const int64_t room = feature().bound([this](GError **error) {
            return int64_t{arv_gc_string_get_max_length(aravis(), error)};
        });
        if (text.length() > static_cast<uint64_t>(room < 0 ? 0 : room))
            throw KXGIGE_EXCEPTION(OutOfRangeException,
                                   "Cannot write '%s': %zu characters, expected at most %lld",
                                   feature().name(), text.length(), static_cast<long long>(room));
    }
};

class PlainNode final : public NodeOf<> {
public:
    using NodeOf::NodeOf;
};

} // namespace

std::unique_ptr<Node> makeNode(ArvGcFeatureNode *node, const Camera &camera) {
    switch (kindOf(ARV_GC_NODE(node))) {
    case Kind::Integer:
        return std::make_unique<IntegerNode>(node, camera);
    case Kind::Float:
        return std::make_unique<FloatNode>(node, camera);
    case Kind::Boolean:
        return std::make_unique<BooleanNode>(node, camera);
    case Kind::Enumeration:
        return std::make_unique<EnumerationNode>(node, camera);
    case Kind::EnumEntry:
        return std::make_unique<EntryNode>(node, camera);
    case Kind::Text:
        return std::make_unique<TextNode>(node, camera);
    case Kind::Command:
    case Kind::Category:
    case Kind::Other:
        break;
    }
    return std::make_unique<PlainNode>(node, camera);
}

} // namespace gige
