#include <algorithm>

#include "numbers.h"

// Integer and Float: their value is a number of their own, another node's, or one of several that an
// index chooses from.

namespace genapi {

using namespace GenApi_3_0;

namespace {

template <class Base>
class FeatureNode final : public Base {
    using T = typename Base::Type;

public:
    // Other nodes are made when they are used: here they would be made one within the other.
    FeatureNode(Map &map, Id id) : Base(map, id) {
        for (const Item &item : map.description().itemsOf(id)) {
            if (item.property == Property::Value || item.property == Property::ValueDefault)
                otherwise_.constant = stated<T>(item.text);
            else if (item.property == Property::pValue || item.property == Property::pValueDefault)
                otherwise_.node = item.node;
            else if (item.property == Property::ValueIndexed)
                sources_.push_back({stated<int64_t>(item.attribute), stated<T>(item.text)});
            else if (item.property == Property::pValueIndexed)
                sources_.push_back({stated<int64_t>(item.attribute), 0, item.node});
            if (item.property == Property::pIndex)
                index_ = item.node;
            if (item.property == Property::pValue || item.property == Property::pValueCopy)
                targets_.push_back(item.node);
        }
    }

    EAccessMode ownMode(Locks locks) override {
        if (index_ != kNobody) {
            const EAccessMode mode = node(index_).mode(Locks::Ignore);
            if (mode != RO && mode != RW)
                return mode == NI ? NI : NA;
            const Id source = this->source().node;
            return source == kNobody ? RW : node(source).mode(locks);
        }
        EAccessMode mode = RW;
        bool isAlike = true;
        for (const Id target : targets_) {
            mode = combine(mode, node(target).mode(locks));
            isAlike &= targets_.size() == 1 || mode == NI || mode == NA ||
                       node(target).limit(Limit::Inc) == node(targets_.front()).limit(Limit::Inc);
        }
        return isAlike ? mode : combine(mode, RO);
    }

    T read() override {
        const Source &source = this->source();
        if (source.node == kNobody)
            return source.constant;
        return as<T>(node(source.node).value(), node(source.node));
    }

    std::optional<T> unstated(Limit which) override {
        if (which != Limit::Inc)
            return narrowest(which);
        const Id source = this->source().node;
        const auto inc = source == kNobody ? std::nullopt : node(source).limit(Limit::Inc);
        // That of a float means nothing to an integer.
        if (!inc || (kIsInteger<T> && std::holds_alternative<double>(*inc)))
            return Base::unstated(which);
        return as<T>(*inc, node(source));
    }

    void checkBelow(T value) override {
        forEachSink([value](Node &sink) { sink.check(value); });
    }

    void write(T value, bool verified) override {
        if (forEachSink([value, verified](Node &sink) { sink.put(value, verified); }))
            return;
        this->map().changed(this->id()); // first: it may raise
        source().constant = value;
    }

private:
    Node &node(Id id) const { return this->map().node(id); }

    struct Source {
        int64_t index = 0;
        T constant = 0;
        Id node = kNobody; // instead of the constant
    };

    Source &source() {
        if (index_ == kNobody)
            return otherwise_;
        const int64_t index = node(index_).integer();
        const auto found = std::find_if(sources_.begin(), sources_.end(),
                                        [index](auto &source) { return source.index == index; });
        return found == sources_.end() ? otherwise_ : *found;
    }

    T narrowest(Limit which) {
        const T otherwise = *Base::unstated(which);
        T narrowest = otherwise;
        forEachSink([&](Node &sink) {
            const auto number = sink.limit(which);
            const T own = number ? as<T>(*number, sink) : otherwise;
            narrowest = which == Limit::Min ? std::max(narrowest, own) : std::min(narrowest, own);
        });
        return narrowest;
    }

    // Where the value goes; false when it is kept here.
    template <class Use>
    bool forEachSink(Use use) {
        for (const Id target : targets_)
            use(node(target));
        if (!targets_.empty())
            return true;
        const Id source = this->source().node;
        if (source != kNobody)
            use(node(source));
        return source != kNobody;
    }

    Id index_ = kNobody;
    std::vector<Source> sources_;
    Source otherwise_;        // also the only one, without an index
    std::vector<Id> targets_; // pValue and its copies
};

} // namespace

std::unique_ptr<Node> makeFeature(Map &map, Id id) {
    const Element element = map.description()[id].element;
    const bool isFeature = element == Element::Integer || element == Element::Float;
    return isFeature ? makeNumber<FeatureNode>(map, id) : nullptr;
}

} // namespace genapi
