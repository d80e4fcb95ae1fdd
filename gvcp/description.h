/** A camera's description: the XML document that says which features it has, and where. */
#ifndef KXINFO_GVCP_DESCRIPTION_H
#define KXINFO_GVCP_DESCRIPTION_H

#include <string>

#include "gvcp/description_cache.h"

namespace gvcp {

class Memory;

/**
 * The camera's description: the document that its first URL names, or, when that cannot be had or
 * used, the one that its second names. Takes as long as the reading takes, with the description in
 * the cache some 4 commands; and at most about 170 MB of memory while it runs.
 *
 * \param key    which camera it is; tells descriptions in the cache apart
 * \param cache  null: everything is read from the camera
 * \return  one whole well-formed XML document, in the encoding that it declares (see
 *          checkDocument()), at most kLargestDescription bytes
 * \throw Error  Cause::Description: neither can be had or used, the text says why; Cause::Refused:
 *               the camera refuses to give either. Any other: what reading throws, at once
 */
std::string loadDescription(Memory &camera, const DescriptionKey &key,
                            const DescriptionCache *cache);

} // namespace gvcp

#endif
