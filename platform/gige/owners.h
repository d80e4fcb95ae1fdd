/** Owners for what GLib hands out. */
#ifndef KXINFO_GIGE_OWNERS_H
#define KXINFO_GIGE_OWNERS_H

#include <glib-object.h>

#include <array>
#include <memory>

namespace gige {

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/** Owns one reference to a GObject. */
template <class T>
using ObjectPtr = std::unique_ptr<T, ObjectUnref>;

/** Receives a GError: pass out() as the last argument of a call, then look. */
class Error {
public:
    Error() = default;
    Error(const Error &) = delete;
    Error &operator=(const Error &) = delete;
    ~Error() { g_clear_error(&error_); }

    /** Forgets what it held. */
    GError **out() {
        g_clear_error(&error_);
        return &error_;
    }
    explicit operator bool() const { return error_ != nullptr; }
    /** Only while there is an error. */
    const GError &operator*() const { return *error_; }
    bool is(GQuark domain, int code) const { return g_error_matches(error_, domain, code); }

private:
    GError *error_ = nullptr;
};

/**
 * While it lives, keeps warnings about a camera's description off standard error: Aravis checks
 * its own results with GLib's assertions, and the caller learns of a failure by its status.
 */
class QuietLog {
public:
    QuietLog();
    ~QuietLog();
    QuietLog(const QuietLog &) = delete;
    QuietLog &operator=(const QuietLog &) = delete;

private:
    static constexpr std::array<const char *, 4> kDomains = {nullptr, "GLib", "GLib-GObject",
                                                             "XML"};
    std::array<guint, kDomains.size()> handlers_;
};

} // namespace gige

#endif
