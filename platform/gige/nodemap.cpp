#include "nodemap.h"

#include "description.h"
#include "port.h"

// Aravis' own checks of ranges and access modes stay off: the nodes here make them, and each check
// made twice would ask the camera twice.

namespace gige {

std::unique_ptr<NodeMap> NodeMap::make(ArvDevice *port, const char *xml, size_t size,
                                       bool mayWrite) {
    const QuietLog quiet;
    ObjectPtr<ArvGc> description(arv_gc_new(port, xml, size));
    if (!description || !ARV_IS_GC_NODE(arv_gc_get_node(description.get(), "Root")))
        return nullptr;
    if (meansRegisterCommands(description.get()))
        setRegisterAccess(port, RegisterAccess::Registers);
    return std::unique_ptr<NodeMap>(new NodeMap(std::move(description), mayWrite));
}

NodeMap::NodeMap(ObjectPtr<ArvGc> description, bool mayWrite)
    : description_(std::move(description)),
      camera_{description_.get(), mayWrite},
      reference_(this) {
    arv_gc_set_register_cache_policy(description_.get(), ARV_REGISTER_CACHE_POLICY_ENABLE);
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
