/** A camera's node map, out of its GenICam description. */
#ifndef KXINFO_GIGE_NODEMAP_H
#define KXINFO_GIGE_NODEMAP_H

#include <map>
#include <memory>
#include <string>

#include "GenApi/GenApi.h"
#include "nodes.h"

namespace gige {

class NodeMap final : public GenApi_3_0::INodeMap {
public:
    /**
     * \param port      the camera; must outlive the map
     * \param xml       a well-formed document
     * \param mayWrite  false when the camera is only monitored: nothing is writable then
     * \return null when \p xml is no GenICam description
     */
    static std::unique_ptr<NodeMap> make(ArvDevice *port, std::string xml, bool mayWrite);
    ~NodeMap() override;

    GenApi_3_0::INode *GetNode(const GenApi_3_0::gcstring &name) const override;

    GenApi_3_0::CNodeMapRef &reference() { return reference_; }

private:
    NodeMap(ObjectPtr<ArvGc> description, ArvDevice *port, bool mayWrite);

    ObjectPtr<ArvGc> description_;
    Inspector inspector_;
    Camera camera_;
    GenApi_3_0::CNodeMapRef reference_;
    mutable std::map<std::string, std::unique_ptr<Node>> nodes_; // as they are asked for
};

} // namespace gige

#endif
