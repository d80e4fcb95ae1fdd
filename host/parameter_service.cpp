// Publications are copied into a waiting list during each call, since their values live no longer;
// the export turns the waiting list into the result, and without an export it is dropped. A setting
// that is published again keeps its place and takes the new values. The functions are called from
// the plug-in's code, which an exception of ours must not enter.

#include "parameter_service.h"

#include <algorithm>
#include <utility>

#include "kx_api.h"

namespace kxinfo {

namespace {

struct Service {
    std::vector<PublishedSetting> waiting;
    Publication result;
};

Service &service() {
    static Service instance;
    return instance;
}

void publish(KxScParamId id, uint32_t index, const void *cur, const void *min, const void *max,
             const void *inc) {
    auto &[waiting, result] = service();
    const Setting *setting = findSetting(id);
    if (!setting || index != KX_SC_NO_INDEX) {
        result.ignored.insert(id);
        return;
    }
    auto published = copyPublication(*setting, cur, min, max, inc);
    const auto earlier =
        std::find_if(waiting.begin(), waiting.end(),
                     [setting](const PublishedSetting &p) { return p.setting == setting; });
    if (earlier == waiting.end())
        waiting.push_back(std::move(published));
    else
        *earlier = std::move(published);
}

} // namespace

Publication takePublication() {
    return std::exchange(service(), Service{}).result;
}

} // namespace kxinfo

extern "C" {

KX_API void KxSc__InitStaticKeys(void) {
    kxinfo::service().waiting.clear();
}

KX_API void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                              const void *max, const void *inc) {
    try {
        kxinfo::publish(id, index, cur, min, max, inc);
    } catch (...) {
        kxinfo::service().result.outOfMemory = true;
    }
}

KX_API void KxSc__ProcExport(void) {
    auto &[waiting, result] = kxinfo::service();
    try {
        result.exported = waiting;
    } catch (...) {
        result.outOfMemory = true;
    }
}

} // extern "C"
