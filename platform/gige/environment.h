/** What the environment asks of the open platform. */
#ifndef KXINFO_GIGE_ENVIRONMENT_H
#define KXINFO_GIGE_ENVIRONMENT_H

#include "gvcp/discovery.h"

namespace gige {

/**
 * The search that the environment asks for:
 *
 * KXGIGE_DISCOVERY_MS      how long to wait, 1 to 1000 milliseconds
 * KXGIGE_EXPECTED_CAMERAS  for how many cameras, 1 to 64
 * KXGIGE_SERIAL            for which camera
 * KXGIGE_INTERFACES        network interfaces to ask on, names or addresses separated by commas
 * KXGIGE_ADDRESSES         cameras to ask directly, at most 64 IPv4 addresses separated by commas
 *
 * Unless one of the last two says where to ask, all network interfaces that are up are asked. What
 * cannot be understood is reported in one line on standard error and left out, or at its default.
 *
 * \throw std::system_error when this computer's network interfaces cannot be listed
 */
gvcp::Search searchFromEnvironment();

} // namespace gige

#endif
