// A host that does nothing with what is published.

#include "kxinfo-dalsa/kx_api.h"
#include "kxinfo-dalsa/kx_sc.h"

extern "C" {

KX_API void KxSc__InitStaticKeys() {}

KX_API void KxSc__SetParamVal(KxScParamId, uint32_t, const void *, const void *, const void *,
                              const void *) {}

KX_API void KxSc__ProcExport() {}
}
