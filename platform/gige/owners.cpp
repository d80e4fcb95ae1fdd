#include "owners.h"

namespace gige {

QuietLog::QuietLog() {
    const auto levels = static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING);
    const auto ignore = [](const gchar *, GLogLevelFlags, const gchar *, gpointer) {};
    for (size_t i = 0; i < kDomains.size(); ++i)
        handlers_[i] = g_log_set_handler(kDomains[i], levels, ignore, nullptr);
}

QuietLog::~QuietLog() {
    for (size_t i = 0; i < kDomains.size(); ++i)
        g_log_remove_handler(kDomains[i], handlers_[i]);
}

} // namespace gige
