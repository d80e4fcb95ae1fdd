#include "nodes.h"

#include "words.h"

namespace kxinfo {

using namespace GenApi_3_0;

namespace {

template <class Interface>
Interface *find(const CNodeMapRef &nodeMap, const char *feature) {
    return dynamic_cast<Interface *>(nodeMap._GetNode(feature));
}

// A camera may have a feature as something that it is on no other.
template <class Interface>
Interface &require(const CNodeMapRef &nodeMap, const char *feature) {
    if (auto *node = find<Interface>(nodeMap, feature))
        return *node;
    throw CommandError{kFailed, "this camera has \"" + std::string(feature) +
                                    "\" as a feature of another kind than kxinfo knows it."};
}

} // namespace

Kind kindOf(const CNodeMapRef &nodeMap, const char *feature) {
    if (find<IFloat>(nodeMap, feature))
        return Kind::Float;
    if (find<IInteger>(nodeMap, feature))
        return Kind::Integer;
    if (find<IBoolean>(nodeMap, feature))
        return Kind::Boolean;
    if (find<IEnumeration>(nodeMap, feature))
        return Kind::Enumeration;
    return Kind::Missing;
}

EAccessMode accessOf(const CNodeMapRef &nodeMap, const char *feature) {
    const INode *node = nodeMap._GetNode(feature);
    return node ? node->GetAccessMode() : NI;
}

bool isReadable(const CNodeMapRef &nodeMap, const char *feature) {
    return IsReadable(nodeMap._GetNode(feature));
}

bool isWritable(const CNodeMapRef &nodeMap, const char *feature) {
    return IsWritable(nodeMap._GetNode(feature));
}

RawValue readRaw(const CNodeMapRef &nodeMap, const char *feature, Cache cache) {
    const bool ignored = cache == Cache::Ignored;
    if (auto *floating = find<IFloat>(nodeMap, feature))
        return floating->GetValue(false, ignored);
    if (auto *integer = find<IInteger>(nodeMap, feature))
        return integer->GetValue(false, ignored);
    if (auto *boolean = find<IBoolean>(nodeMap, feature))
        return boolean->GetValue(false, ignored);
    return std::string(require<IEnumeration>(nodeMap, feature).ToString(false, ignored).c_str());
}

void writeRaw(const CNodeMapRef &nodeMap, const char *feature, const RawValue &value) {
    if (const auto *floating = std::get_if<double>(&value))
        require<IFloat>(nodeMap, feature).SetValue(*floating, true);
    else if (const auto *integer = std::get_if<int64_t>(&value))
        require<IInteger>(nodeMap, feature).SetValue(*integer, true);
    else if (const auto *boolean = std::get_if<bool>(&value))
        require<IBoolean>(nodeMap, feature).SetValue(*boolean, true);
    else
        require<IEnumeration>(nodeMap, feature)
            .FromString(std::get<std::string>(value).c_str(), true);
}

IInteger *integerOf(const CNodeMapRef &nodeMap, const char *feature) {
    return find<IInteger>(nodeMap, feature);
}

FloatLimits floatLimits(const CNodeMapRef &nodeMap, const char *feature) {
    auto *node = find<IFloat>(nodeMap, feature);
    // On the camera maker's framework the increment of a float that has none is an error.
    return {node->GetMin(), node->GetMax(), node->HasInc() ? node->GetInc() : 0};
}

IntegerLimits integerLimits(const CNodeMapRef &nodeMap, const char *feature) {
    auto *node = find<IInteger>(nodeMap, feature);
    return {node->GetMin(), node->GetMax()};
}

std::vector<std::string> entriesOf(const CNodeMapRef &nodeMap, const char *feature) {
    auto *enumeration = find<IEnumeration>(nodeMap, feature);
    if (!enumeration)
        return {};
    StringList_t symbolics;
    enumeration->GetSymbolics(symbolics);
    std::vector<std::string> entries;
    for (const auto &symbolic : symbolics)
        entries.emplace_back(symbolic.c_str());
    return entries;
}

} // namespace kxinfo
