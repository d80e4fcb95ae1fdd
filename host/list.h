/** kxinfo list. */
#ifndef KXINFO_HOST_LIST_H
#define KXINFO_HOST_LIST_H

#include "plugin.h"
#include "requests.h"

namespace kxinfo {

/** \return the exit status */
int list(const Plugin &plugin, const ListRequest &request);

} // namespace kxinfo

#endif
