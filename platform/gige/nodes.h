/** The nodes of a camera's node map. */
#ifndef KXINFO_GIGE_NODES_H
#define KXINFO_GIGE_NODES_H

#include <memory>

#include "feature.h"

namespace gige {

/** A node that a node map owns. */
class Node {
public:
    virtual ~Node();

    /** The same object, as the map's users see it. */
    virtual GenApi_3_0::INode *interface() = 0;
};

/** Makes the node object for \p node, of the kind that its element says. */
std::unique_ptr<Node> makeNode(ArvGcFeatureNode *node, const Camera &camera);

} // namespace gige

#endif
