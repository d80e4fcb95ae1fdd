#include "camera/camera.h"

namespace kxinfo {

using namespace GenApi_3_0;

double numberOf(const Value &value) {
    const auto *integer = std::get_if<int64_t>(&value);
    return integer ? static_cast<double>(*integer) : std::get<double>(value);
}

Node::Node(const CNodeMapRef &nodeMap, const std::string &name)
    : name_(name), base_(nodeMap._GetNode(name.c_str())) {
    value_ = dynamic_cast<IValue *>(base_);
    if ((float_ = dynamic_cast<IFloat *>(base_)))
        kind_ = Kind::Float;
    else if ((integer_ = dynamic_cast<IInteger *>(base_)))
        kind_ = Kind::Integer;
    else if ((boolean_ = dynamic_cast<IBoolean *>(base_)))
        kind_ = Kind::Boolean;
    else if ((enumeration_ = dynamic_cast<IEnumeration *>(base_)))
        kind_ = Kind::Enumeration;
    else if (value_)
        kind_ = Kind::Text;
}

EAccessMode Node::access() const {
    return base_ ? base_->GetAccessMode() : NI;
}

Value Node::read(Cache cache) const {
    const bool ignored = cache == Cache::Ignored;
    if (float_)
        return float_->GetValue(false, ignored);
    if (integer_)
        return integer_->GetValue(false, ignored);
    if (boolean_)
        return boolean_->GetValue(false, ignored);
    const std::string text = value_->ToString(false, ignored).c_str();
    return kind_ == Kind::Text ? text : cleaned(text); // a text may have to be put back
}

void Node::write(const Value &value) const {
    const auto *text = std::get_if<std::string>(&value);
    if (const auto *number = std::get_if<double>(&value); number && float_)
        float_->SetValue(*number, true);
    else if (const auto *whole = std::get_if<int64_t>(&value); whole && integer_)
        integer_->SetValue(*whole, true);
    else if (const auto *on = std::get_if<bool>(&value); on && boolean_)
        boolean_->SetValue(*on, true);
    else if (text && value_ && (kind_ == Kind::Enumeration || kind_ == Kind::Text))
        value_->FromString(text->c_str(), true);
    else
        throw Error(kFailed, "the camera has \"" + name_ + "\" as another kind of value.");
}

Limits Node::limits() const {
    if (integer_) {
        const int64_t inc = integer_->GetInc();
        return {integer_->GetMin(), integer_->GetMax(), inc};
    }
    if (!float_)
        return {};
    Limits limits{float_->GetMin(), float_->GetMax(), {}};
    // On the camera maker's framework the increment of a float that has none is an error.
    if (float_->HasInc())
        limits.inc = float_->GetInc();
    return limits;
}

Words Node::entries() const {
    Words entries;
    if (!enumeration_)
        return entries;
    StringList_t symbolics;
    enumeration_->GetSymbolics(symbolics);
    for (const auto &symbolic : symbolics)
        entries.push_back(cleaned(symbolic.c_str()));
    return entries;
}

} // namespace kxinfo
