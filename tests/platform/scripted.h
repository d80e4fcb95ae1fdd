/**
 * A camera platform whose cameras live in memory: it says what a test told it to say, and remembers
 * what it was asked.
 *
 * A test describes the cameras that discovery finds and how opening one goes (Framework), and the
 * features of the opened one (Camera). It then runs the plug-in and compares what happened, event
 * by event, in order:
 *
 *     camera.floating("Gain", 10.0).enumeration("GainSelector", "AnalogAll", {"AnalogAll",
 * "SensorAll"}); … EXPECT_THAT(camera.accesses(), ElementsAre(write("GainSelector", "SensorAll"),
 * read("Gain")));
 *
 * There is one framework and one camera per process, as the framework's C interface has it;
 * reset() brings both back to their beginning. Nothing here is safe for use by several threads.
 *
 * Recording an event and answering a framework call allocate no memory, so that a test can count
 * what the plug-in itself allocates.
 */
#ifndef KXINFO_TESTS_SCRIPTED_H
#define KXINFO_TESTS_SCRIPTED_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "gevapi.h"

#include "GenApi/GenApi.h"

#define SCRIPTED_API __attribute__((visibility("default")))

namespace scripted {

/** What happened to a node, by the name of the call; or Call: a function was called. */
enum class Op {
    Lookup,          /**< the node map was asked for a node */
    AccessMode,      /**< GetAccessMode() of a node */
    GetValue,        /**< of an integer, float or boolean */
    SetValue,        /**< of an integer, float or boolean */
    ToString,        /**< of any value */
    FromString,      /**< of any value */
    GetMin,          /**< of an integer or float */
    GetMax,          /**< of an integer or float */
    HasInc,          /**< of a float */
    GetInc,          /**< of an integer or float */
    GetIntValue,     /**< of an enumeration */
    SetIntValue,     /**< of an enumeration */
    GetCurrentEntry, /**< of an enumeration */
    GetSymbolics,    /**< of an enumeration */
    EntryLookup,     /**< GetEntryByName() of an enumeration; the detail is the entry's name */
    EntryAccessMode, /**< GetAccessMode() of an entry; the detail is the entry's name */
    EntryRead,       /**< the value of an entry; the detail is the entry's name */
    Call,            /**< a function of the framework or of the host, the detail its arguments */
    Log /**< a line came to the system log: the detail is its text, as far as there is room */
};

/** A short text in a fixed place, cut to what fits. */
template <std::size_t Size>
class FixedText {
public:
    FixedText() = default;
    FixedText(std::string_view text) : length_(text.copy(data_, Size)) {}
    std::string_view view() const { return {data_, length_}; }
    friend bool operator==(const FixedText &a, const FixedText &b) { return a.view() == b.view(); }

private:
    char data_[Size] = {};
    std::size_t length_ = 0;
};

/** One event. Events are equal when everything in them is. */
struct Event {
    Op op = Op::Call;
    FixedText<64> subject;    /**< node or function */
    FixedText<128> detail;    /**< value written, entry, or arguments */
    bool verify = false;      /**< the call's Verify argument, where it has one */
    bool ignoreCache = false; /**< the call's IgnoreCache argument, where it has one */

    /** The same read or write, asked for with verification. */
    Event verified() const;
    /** The same write, asked for without verification. */
    Event unverified() const;
    /** The same read, asked of the camera whatever is cached. */
    Event uncached() const;
};

SCRIPTED_API bool operator==(const Event &a, const Event &b);
SCRIPTED_API std::ostream &operator<<(std::ostream &out, const Event &event);

/** A number as events show it: the shortest text that reads back as the same number. */
SCRIPTED_API std::string_view textOf(int64_t number, char (&room)[40]);
SCRIPTED_API std::string_view textOf(double number, char (&room)[40]);

/** \name Events as the plug-in is to cause them: reads without verification and with the cache
 * allowed, writes with verification. */
///@{
SCRIPTED_API Event event(Op op, std::string_view subject, std::string_view detail = {});
inline Event lookup(std::string_view node) {
    return event(Op::Lookup, node);
}
inline Event accessMode(std::string_view node) {
    return event(Op::AccessMode, node);
}
/** A value read as a number or truth value. */
inline Event read(std::string_view node) {
    return event(Op::GetValue, node);
}
/** A value read as text. */
inline Event readText(std::string_view node) {
    return event(Op::ToString, node);
}
inline Event readMin(std::string_view node) {
    return event(Op::GetMin, node);
}
inline Event readMax(std::string_view node) {
    return event(Op::GetMax, node);
}
inline Event readInc(std::string_view node) {
    return event(Op::GetInc, node);
}
inline Event lookupEntry(std::string_view node, std::string_view entry) {
    return event(Op::EntryLookup, node, entry);
}
inline Event entryAccessMode(std::string_view node, std::string_view entry) {
    return event(Op::EntryAccessMode, node, entry);
}
/** A value written: as text, or as a number or truth value. */
template <typename Value>
Event write(std::string_view node, const Value &value) {
    char room[40];
    if constexpr (std::is_same_v<Value, bool>)
        return event(Op::SetValue, node, value ? "true" : "false").verified();
    else if constexpr (std::is_integral_v<Value>)
        return event(Op::SetValue, node, textOf(static_cast<int64_t>(value), room)).verified();
    else if constexpr (std::is_floating_point_v<Value>)
        return event(Op::SetValue, node, textOf(static_cast<double>(value), room)).verified();
    else
        return event(Op::FromString, node, value).verified();
}

/** A function called with these arguments. */
inline Event call(std::string_view function, std::string_view arguments = {}) {
    return event(Op::Call, function, arguments);
}
SCRIPTED_API Event getCameraList(int maxCameras);
/** \param index  which record of the list was handed in; -1: none of them */
SCRIPTED_API Event openCamera(int index, GevAccessMode mode);
SCRIPTED_API Event getFeatureNodeMap();
SCRIPTED_API Event getFeatureValue(std::string_view feature, int size);
SCRIPTED_API Event closeCamera();
SCRIPTED_API Event apiUninitialize();
SCRIPTED_API Event closeSocketApi();
///@}

/** What a call may raise. */
enum class Fault {
    InvalidArgument,
    Property,
    LogicalError,
    OutOfRange,
    Runtime,
    Access,
    Timeout,
    DynamicCast,
    GenICamBadAlloc, /**< GenICam_3_0::BadAllocException */
    StdBadAlloc,     /**< std::bad_alloc */
    StdRuntimeError, /**< std::runtime_error */
    Number           /**< an int */
};

/** Every kind of fault. */
constexpr Fault kFaults[] = {Fault::InvalidArgument, Fault::Property,        Fault::LogicalError,
                             Fault::OutOfRange,      Fault::Runtime,         Fault::Access,
                             Fault::Timeout,         Fault::DynamicCast,     Fault::GenICamBadAlloc,
                             Fault::StdBadAlloc,     Fault::StdRuntimeError, Fault::Number};

/** What the faults that carry a text of their own say: description, and what() of the standard
 * library's. GenICam's are raised in file "sensor.cpp", line 7. */
constexpr char kFaultText[] = "the sensor is asleep";

/** Raises it. */
[[noreturn]] SCRIPTED_API void raise(Fault fault);

/** What a script may raise: a fault, or whatever a function throws. */
class SCRIPTED_API Raising {
public:
    Raising(Fault fault) : function_([fault] { raise(fault); }) {}
    template <typename Function, typename = std::enable_if_t<std::is_invocable_v<const Function &>>>
    Raising(Function function) : function_(std::move(function)) {}
    void operator()() const { function_(); }

private:
    std::function<void()> function_;
};

/** Everything that happened, in order: lookups, accesses, calls and lines of the system log. */
SCRIPTED_API std::vector<Event> trace();

/** The calls alone, in order. */
SCRIPTED_API std::vector<Event> calls();

/** Adds an event to the trace: for the host's side, which lives in the test program. */
SCRIPTED_API void record(const Event &event);

/** Forgets what happened so far; the scripts stay, and access numbers start at 1 again. */
SCRIPTED_API void forget();

/** Brings everything back to its beginning: no cameras, no features, no faults, no events. */
SCRIPTED_API void reset();

/**
 * The features of the opened camera.
 *
 * A feature is described by the function named for its kind; what follows tells more about the one
 * described last. Describing a feature again replaces it.
 */
class SCRIPTED_API Camera {
public:
    Camera();
    ~Camera();

    /** \name Kinds of features, readable and writable unless told otherwise */
    ///@{
    /** Range: all 64-bit numbers, increment 1. */
    Camera &integer(std::string_view name, int64_t value);
    /** Range: all finite numbers, without increment. */
    Camera &floating(std::string_view name, double value);
    Camera &boolean(std::string_view name, bool value);
    Camera &enumeration(std::string_view name, std::string_view current,
                        std::initializer_list<std::string_view> entries);
    /** A node without a value, as a command is. */
    Camera &command(std::string_view name);
    ///@}

    /** Takes a feature away, if there is such. */
    Camera &without(std::string_view name);
    /** Makes an already described feature the one that is spoken of. */
    Camera &feature(std::string_view name);

    /** \name More about the feature described last */
    ///@{
    template <typename Min, typename Max, typename Inc = int>
    Camera &range(Min min, Max max, Inc inc = 0) {
        if constexpr (std::is_integral_v<Min> && std::is_integral_v<Max> && std::is_integral_v<Inc>)
            return integerRange(min, max, inc);
        else
            return floatRange(static_cast<double>(min), static_cast<double>(max),
                              static_cast<double>(inc));
    }
    Camera &access(GenApi_3_0::EAccessMode mode);
    /** A float that the camera offers as an integer too, as one that refers to it: the same number
     * within the same range, both rounded, in steps of 1. They must fit 64 bits. */
    Camera &alsoInteger();
    /** It is not available while that enumeration shows another entry. */
    Camera &onlyWhile(std::string_view enumeration, std::string_view entry);
    /** It holds one number per entry of that enumeration, of which the current entry's counts. */
    Camera &selectedBy(std::string_view enumeration,
                       std::initializer_list<std::pair<std::string_view, double>> values);
    /** Its number is a different one each time it is read: these, the last for ever. */
    Camera &readings(std::initializer_list<double> values);
    /** Access mode of an entry of an enumeration. */
    Camera &entryAccess(std::string_view entry, GenApi_3_0::EAccessMode mode);
    /** Its value is that of no entry, or of this one. */
    Camera &shows(std::string_view text);
    /** The \p nth time that \p op happens to it, \p raising is raised (once). */
    Camera &raises(Op op, Raising raising, int nth = 1);
    ///@}

    /** From now on GetInc() of a float without increment raises RuntimeException, as GenICam's own
     * GenApi has it; else it is 0. */
    Camera &raisesWithoutIncrement();

    /** \p raising is raised (once) at the access of that number, counted from 1 at the last
     * forget(). */
    void raiseAt(std::size_t access, Raising raising);

    /**
     * How often the node map, its nodes and their entries were asked anything: the highest number
     * that raiseAt() can make raise.
     */
    std::size_t accessCount() const;

    /** What happened to values, in order: reads, writes and ranges. */
    std::vector<Event> accesses() const;

    /** How often nodes (not entries) were asked for their access mode since reset(). */
    std::size_t accessModeQueries() const;

    /** A feature's present value as text. Asking leaves no event. */
    std::string value(std::string_view name) const;

    /** The names of all features, in order of the alphabet. */
    std::vector<std::string> names() const;

    struct Tree;
    /** For the library itself. */
    Tree &tree() { return *tree_; }

private:
    Camera &integerRange(int64_t min, int64_t max, int64_t inc);
    Camera &floatRange(double min, double max, double inc);

    std::unique_ptr<Tree> tree_;
};

/** One camera's answer to discovery. */
struct Record {
    std::string manufacturer;
    std::string model;
    std::string serial;
    std::string version = "1.02";
    uint32_t mode = GevControlMode;
};

/** What GevGetFeatureNodeMap() returns. */
enum class NodeMap {
    Present,    /**< the features of camera() */
    WithoutMap, /**< a reference that refers to no map */
    None,       /**< null */
};

/**
 * What the framework's calls do. At first there is no camera, and all else succeeds.
 *
 * A call that is made unlike the others says so in its event: a list into a table or a count that
 * was not cleared, an opening into a handle that is not null, a node map for or a closing of
 * another handle than the one that was opened into, a value without a place for its type.
 */
class SCRIPTED_API Framework {
public:
    Framework();
    ~Framework();

    /** Discovery finds these, in this order; as many are delivered as the caller has room for. */
    Framework &sees(std::initializer_list<Record> cameras);
    /** Discovery reports that number, whatever it delivered. */
    Framework &counts(int cameras);
    /** Discovery returns that status and leaves the count as it was. */
    Framework &failsToList(GEV_STATUS status);
    /** Listing, closing and shutting down return that status, though they do their work. */
    Framework &complains(GEV_STATUS status);
    /** Opening returns that status, and a handle or null. */
    Framework &opensWith(GEV_STATUS status, bool withHandle);
    /** Which node map an opened camera has. */
    Framework &nodeMap(NodeMap kind);
    /** GevGetFeatureNodeMap() raises this. */
    Framework &nodeMapRaises(Raising raising);
    /** GevGetFeatureValue() delivers that value with that status for that feature. Features that
     * are not told of fail with GEVLIB_ERROR_PARAMETER_NOT_FOUND and deliver nothing. */
    Framework &featureValue(std::string_view feature, uint32_t value,
                            GEV_STATUS status = GEVLIB_OK);

    /** The handle of the opened camera. */
    GEV_CAMERA_HANDLE handle() const;
    /** A camera is open at present. */
    bool isOpen() const;
    /** The record that was handed in to open a camera last. */
    const GEV_CAMERA_INFO *opened() const;

    struct State;
    /** For the library itself. */
    State &state() { return *state_; }

private:
    std::unique_ptr<State> state_;
};

SCRIPTED_API Camera &camera();
SCRIPTED_API Framework &framework();

inline Event Event::verified() const {
    Event other = *this;
    other.verify = true;
    return other;
}
inline Event Event::unverified() const {
    Event other = *this;
    other.verify = false;
    return other;
}
inline Event Event::uncached() const {
    Event other = *this;
    other.ignoreCache = true;
    return other;
}

} // namespace scripted

#endif
