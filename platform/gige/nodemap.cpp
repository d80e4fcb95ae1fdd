#include "nodemap.h"

#include <algorithm>

#include "description.h"
#include "port.h"

// Aravis' own checks of ranges and access modes stay off: the nodes here make them, and each check
// made twice would ask the camera twice. So does its cache: it knows registers by node, and takes
// one that has moved with a selector for the one before.

namespace gige {
namespace {

// Aravis makes a node of what stands between two elements, also where that is blank: indentation
// takes it as long as everything else.
void removeIndentation(std::string &xml) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    auto to = xml.begin();
    for (auto from = xml.cbegin(); from != xml.cend();) {
        const bool ends = *from == '>';
        *to++ = *from++;
        const auto next = ends ? std::find_if_not(from, xml.cend(), isBlank) : from;
        if (next != xml.cend() && *next == '<')
            from = next;
    }
    xml.erase(to, xml.end());
}

} // namespace

std::unique_ptr<NodeMap> NodeMap::make(ArvDevice *port, std::string xml, bool mayWrite) {
    const QuietLog quiet;
    removeIndentation(xml);
    ObjectPtr<ArvGc> description(arv_gc_new(port, xml.data(), xml.size()));
    if (!description || !ARV_IS_GC_NODE(arv_gc_get_node(description.get(), "Root")))
        return nullptr;
    if (meansRegisterCommands(description.get()))
        setRegisterAccess(port, RegisterAccess::AllByCommand);
    return std::unique_ptr<NodeMap>(new NodeMap(std::move(description), port, mayWrite));
}

NodeMap::NodeMap(ObjectPtr<ArvGc> description, ArvDevice *port, bool mayWrite)
    : description_(std::move(description)),
      inspector_(cacheOf(port)),
      camera_{port, &inspector_, mayWrite},
      reference_(this) {
    arv_gc_set_register_cache_policy(description_.get(), ARV_REGISTER_CACHE_POLICY_DISABLE);
    arv_gc_set_range_check_policy(description_.get(), ARV_RANGE_CHECK_POLICY_DISABLE);
    arv_gc_set_access_check_policy(description_.get(), ARV_ACCESS_CHECK_POLICY_DISABLE);
}

NodeMap::~NodeMap() = default;

GenApi_3_0::INode *NodeMap::GetNode(const GenApi_3_0::gcstring &name) const {
    const auto known = nodes_.find(name.c_str());
    if (known != nodes_.end())
        return known->second->interface();
    ArvGcNode *node = arv_gc_get_node(description_.get(), name);
    if (!ARV_IS_GC_FEATURE_NODE(node))
        return nullptr;
    auto &place = nodes_[name.c_str()];
    place = makeNode(ARV_GC_FEATURE_NODE(node), camera_);
    return place->interface();
}

} // namespace gige
