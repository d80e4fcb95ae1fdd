/** One feature of a camera, as the nodes of every kind use it. */
#ifndef KXINFO_GIGE_FEATURE_H
#define KXINFO_GIGE_FEATURE_H

#include <arv.h>

#include <optional>
#include <string>

#include "GenApi/GenApi.h"
#include "description.h"
#include "errors.h"
#include "owners.h"
#include "port.h"

namespace gige {

/** What all features of one node map share. */
struct Camera {
    ArvDevice *port;
    Inspector *inspector;
    bool mayWrite; /**< not when the camera is only monitored */
};

/**
 * Access mode of a node, and its reads and writes with errors as GenICam exceptions. Every
 * operation but name() and node() raises PropertyException when the description is defective
 * there.
 */
class Feature {
public:
    /** Both must outlive the feature. */
    Feature(ArvGcFeatureNode *node, const Camera &camera) : node_(node), camera_(camera) {}

    ArvGcFeatureNode *node() const { return node_; }
    const Camera &camera() const { return camera_; }
    const char *name() const { return arv_gc_feature_node_get_name(node_); }

    GenApi_3_0::EAccessMode accessMode() const;

    /** Raise AccessException unless the feature can be read, or written. */
    void requireReadable() const;
    void requireWritable() const;

    /**
     * Reads a number.
     *
     * \param get  called with a GError **, returns the number
     */
    template <class Get>
    auto read(bool ignoreCache, Get get) const {
        requireReadable();
        const CacheOff scope(camera_.port, ignoreCache);
        const auto value = call("read", get);
        if (value == 0)
            requireEvaluated();
        return value;
    }

    /** Reads a text, which may be null in Aravis and is empty then. */
    template <class Get>
    std::string readText(bool ignoreCache, Get get) const {
        requireReadable();
        const CacheOff scope(camera_.port, ignoreCache);
        const char *text = call("read", get);
        return text ? text : "";
    }

    /**
     * Reads a minimum, maximum or increment. A node without one has Aravis' default. The access
     * mode does not matter: a range may be asked of a feature that cannot be accessed at present.
     */
    template <class Get>
    auto bound(Get get) const {
        requireSound();
        Error error;
        const auto value = get(error.out());
        if (error && !error.is(ARV_GC_ERROR, ARV_GC_ERROR_PROPERTY_NOT_DEFINED))
            raise(*error, name(), "read the range of");
        return value;
    }

    /**
     * Writes a number that has been verified to a feature that is writable.
     *
     * \param set  called with a GError **, writes \p value
     */
    template <class Set>
    void write(double value, Set set) const {
        requireConvertible(value);
        writeText(set);
    }

    /** The same for a text. */
    template <class Set>
    void writeText(Set set) const {
        call("write", [&](GError **error) { return set(error), 0; });
    }

private:
    template <class Call>
    auto call(const char *action, Call aravis) const {
        Error error;
        const auto result = aravis(error.out());
        if (error)
            raise(*error, name(), action);
        return result;
    }

    void requireSound() const;
    void requireEvaluated() const;
    void requireConvertible(double value) const;

    ArvGcFeatureNode *node_;
    const Camera &camera_;
    mutable std::optional<std::string> defect_; // looked for at first use
};

} // namespace gige

#endif
