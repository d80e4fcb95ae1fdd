#include "feature.h"

// A feature's access mode is its own and that of all nodes that its value comes from: an integer
// whose register is read-only is read-only, and one whose source is not available is not either.

namespace gige {
namespace {

using namespace GenApi_3_0;

struct Access {
    bool implemented = true;
    bool available = true;
    bool readable = true;
    bool writable = true;
};

enum class Locks { Count, DoNotCount };

template <class Ask>
bool ask(ArvGcFeatureNode *node, Ask question) {
    Error error;
    const bool yes = question(node, error.out());
    if (error)
        raise(*error, arv_gc_feature_node_get_name(node), "get the access mode of");
    return yes;
}

Access accessOf(ArvGcFeatureNode *node, Locks locks) {
    Access access;
    for (; node; node = linkedFeature(node)) {
        access.implemented = ask(node, arv_gc_feature_node_is_implemented);
        if (!access.implemented)
            return access;
        access.available = ask(node, arv_gc_feature_node_is_available);
        if (!access.available)
            return access;
        const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(node);
        access.readable = access.readable && mode != ARV_GC_ACCESS_MODE_WO;
        access.writable = access.writable && mode != ARV_GC_ACCESS_MODE_RO;
        // Asking for a lock may cost a command, and a reader is not interested.
        if (locks == Locks::Count && access.writable)
            access.writable = !ask(node, arv_gc_feature_node_is_locked);
    }
    return access;
}

EAccessMode modeOf(const Access &access) {
    if (!access.implemented)
        return NI;
    if (!access.available)
        return NA;
    if (access.readable)
        return access.writable ? RW : RO;
    return access.writable ? WO : NA;
}

const char *nameOf(EAccessMode mode) {
    switch (mode) {
    case NI:
        return "not implemented";
    case NA:
        return "not available";
    case WO:
        return "write only";
    case RO:
        return "read only";
    case RW:
        break;
    }
    return "readable and writable";
}

} // namespace

EAccessMode Feature::accessMode() const {
    requireSound();
    Access access = accessOf(node_, camera_.mayWrite ? Locks::Count : Locks::DoNotCount);
    access.writable = access.writable && camera_.mayWrite;
    return modeOf(access);
}

void Feature::requireReadable() const {
    requireSound();
    const EAccessMode mode = modeOf(accessOf(node_, Locks::DoNotCount));
    if (mode != RO && mode != RW)
        throw KXGIGE_EXCEPTION(AccessException, "Cannot read '%s': it is %s", name(), nameOf(mode));
}

void Feature::requireWritable() const {
    const EAccessMode mode = accessMode();
    if (mode != WO && mode != RW)
        throw KXGIGE_EXCEPTION(AccessException, "Cannot write '%s': it is %s", name(),
                               nameOf(mode));
}

void Feature::requireSound() const {
    if (!defect_)
        defect_ = camera_.inspector->defectOf(node_);
    if (!defect_->empty())
        throw KXGIGE_EXCEPTION(PropertyException,
                               "Cannot use '%s': the camera's description is wrong (%s)", name(),
                               defect_->c_str());
}

void Feature::requireEvaluated() const {
    if (const std::string failure = failedReading(node_); !failure.empty())
        throw KXGIGE_EXCEPTION(PropertyException, "Cannot read '%s': %s", name(), failure.c_str());
}

void Feature::requireConvertible(double value) const {
    if (const std::string failure = failedWriting(node_, value); !failure.empty())
        throw KXGIGE_EXCEPTION(PropertyException, "Cannot write '%s': %s", name(), failure.c_str());
}

} // namespace gige
