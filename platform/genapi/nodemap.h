/** A camera's features: a GenICam description, evaluated over the camera's registers. */
#ifndef KXINFO_GENAPI_NODEMAP_H
#define KXINFO_GENAPI_NODEMAP_H

#include <memory>
#include <string>

#include "GenApi/GenApi.h"
#include "port.h"

namespace genapi {

class Map;

/** What the camera may be used for. */
enum class Use {
    Control, /**< it is ours alone: what was read may be kept, as the description says */
    Monitor  /**< another program may control it: its registers are not writable, nothing is kept */
};

/** For one thread at a time, as its nodes are. */
class NodeMap final : public GenApi_3_0::INodeMap {
public:
    /**
     * \param document  a GenICam description
     * \param port      what the description's port `Device` leads to; must outlive the map. It is
     *                  not used before a node is
     * \throw GenICam_3_0::RuntimeException   the description is refused as a whole; says where and why
     * \throw GenICam_3_0::PropertyException  the same, for a number that is none
     */
    NodeMap(std::string document, Port &port, Use use = Use::Control);
    ~NodeMap() override;

    /**
     * \param name  plain, or with `Std::` or `Cust::` before it if that is the node's name space
     * \return the node, owned by the map; null when there is none of that name
     */
    GenApi_3_0::INode *GetNode(const GenApi_3_0::gcstring &name) const override;

    /**
     * Reads what is going to be asked for anyway when all features are: the registers of 4 bytes that
     * may be kept, as many as kMostAhead and as many at once as the port can. What cannot be read so
     * is read when it is asked for.
     *
     * \throw what the port throws
     */
    void readAhead();

    /** Refers to this map; lives as long as it. */
    GenApi_3_0::CNodeMapRef &reference() { return reference_; }

    /** Whom the access under way, or the latest, is made to; "": nobody yet. For messages of ports. */
    const char *asked() const;

    /** Whether the description says that it was written for schema \p major.\p minor, or a later one. */
    bool isForSchema(int major, int minor) const;

private:
    std::unique_ptr<Map> map_;
    GenApi_3_0::CNodeMapRef reference_;
};

} // namespace genapi

#endif
