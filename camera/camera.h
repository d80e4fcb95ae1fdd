/**
 * One opened camera, and its features as its description has them.
 *
 * Reading and writing these raise the platform's exceptions. What a camera says comes cleaned, but a
 * text as it is, so that it can be put back: it is cleaned where it is shown.
 */
#ifndef KXINFO_CAMERA_CAMERA_H
#define KXINFO_CAMERA_CAMERA_H

#include <csignal>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <variant>

#include "GenApi/GenApi.h"
#include "camera/features.h"
#include "cli/text.h"
#include "gevapi.h"
#include "gvcp/discovery.h"

namespace kxinfo {

/** The camera's own value; of an enumeration the entry's name. */
using Value = std::variant<std::monostate, int64_t, double, bool, std::string>;

inline bool hasValue(const Value &value) {
    return !std::holds_alternative<std::monostate>(value);
}

struct Limits {
    Value min, max, inc; ///< of the node's kind; no inc: any value in between
};

/** Whether a register's value that has been read before may be used again. */
enum class Cache { Used, Ignored };

/** One feature of an opened camera; cheap to copy, valid while the camera is open. */
class Node {
public:
    Node(const GenApi_3_0::CNodeMapRef &nodeMap, const std::string &name);

    Kind kind() const { return kind_; } ///< Missing also when it is something without a value
    bool isCategory() const { return as<GenApi_3_0::ICategory>(); }

    /** "beginner", "expert", "guru" or "invisible": whom the description means it for. */
    const char *visibility() const;
    std::string toolTip() const; ///< empty: it has none
    std::string unit() const;    ///< as the description has it; empty: none
    Words features() const;      ///< names of what a category holds
    Words selected() const;      ///< names of the features whose value it chooses
    GenApi_3_0::EAccessMode access() const;
    bool isReadable() const { return GenApi_3_0::IsReadable(base_); }

    /** \pre its kind is not Missing */
    Value read(Cache cache = Cache::Used) const;

    /** Writes a value of its kind, checked by the camera's description. \throws Error otherwise */
    void write(const Value &value) const;

    /** Of an integer or a float; none of others. */
    Limits limits() const;

    /** Of an enumeration: what it may be set to now. */
    Words entries() const;

    /** What stands for that choice of a selector; none: it is nothing that selects. */
    Value choice(const std::string &entry) const;

    /** Null unless it is an integer: to be read and written many times. */
    GenApi_3_0::IInteger *integer() const {
        return kind_ == Kind::Integer ? as<GenApi_3_0::IInteger>() : nullptr;
    }

private:
    template <class Interface>
    Interface *as() const {
        return dynamic_cast<Interface *>(base_);
    }

    std::string name_;
    GenApi_3_0::INode *base_;
    Kind kind_ = Kind::Missing;
};

/** What a camera is opened for. */
enum class Purpose {
    Look,  ///< nothing is written to it; another program may control it
    Watch, ///< the same, and nothing that was read is kept
    Change ///< it is controlled
};

/** What a camera says of itself, cleaned. */
struct CameraName {
    std::string manufacturer, model, serial, userName;
};
CameraName nameOf(const gvcp::Identity &identity);

/** The category with all others in it. */
constexpr const char *kRoot = "Root";

/** Where a feature stands. */
struct Leaf {
    Words categories; ///< from the outermost
    std::string name;
};

class Camera {
public:
    /** \throws Error (kNoCamera) when it cannot be opened, with why and what to do */
    Camera(const gvcp::Found &found, Purpose purpose);
    ~Camera();

    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    const CameraName &name() const { return name_; }

    /** Its feature of that name; one of kind Missing when it has none. */
    Node node(const std::string &name) const { return Node(*nodeMap_, name); }

    /** A feature, or all in a category; what is in several categories is there once. */
    std::vector<Leaf> leaves(const std::string &name) const;

    /** The selectors of each feature that has any, by its name. */
    std::map<std::string, Words> selectors() const;

    /** Before all of them are read: fetches in few commands what may be. */
    void readAhead() const;

    /** "Camera S1234 (C1936)\n": what stands in front of a result. */
    std::string heading() const;

private:
    CameraName name_;
    GEV_CAMERA_HANDLE handle_ = nullptr;
    GenApi_3_0::CNodeMapRef *nodeMap_ = nullptr;
};

/** While the flag is set, what waits for a camera gives up; null, to put back: nothing does. */
void stopWaitingWhen(const volatile std::sig_atomic_t *flag);

/**
 * Why the exception that is being handled was raised, as a clause: an Error's sentences, the
 * camera's own reason without its place in a source file, or this computer's. On the camera maker's
 * framework exceptions of the camera are no std::exception.
 *
 * \pre called while an exception is handled
 */
std::string reasonInFlight();

/**
 * Tells what has ended the work: that the user has asked to stop, or else the reason.
 *
 * \param why  an Error, an exception of the camera or of this computer
 * \return the status to end the command with
 */
int tellWhy(const Camera &camera, const std::exception_ptr &why);

/**
 * Does a piece of work that others do not need.
 *
 * \return why the camera, or what is known of it, does not let it be done, as a clause; empty: it is done
 * \throws the platform's TimeoutException when the camera has fallen silent, Error when the user has
 *         asked to stop
 */
std::string whyNotDone(const std::function<void()> &work);

/** \throws Error (kFailed) when the user has asked to stop (SIGINT, SIGTERM, SIGHUP) */
void stopIfAsked();

} // namespace kxinfo

#endif
