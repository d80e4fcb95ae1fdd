/** What a user can ask of kxinfo, one type per command. */
#ifndef KXINFO_HOST_REQUESTS_H
#define KXINFO_HOST_REQUESTS_H

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kxinfo {

/** kxinfo's exit statuses, which --help, the man page and docs/commands.md explain. */
enum ExitStatus { kDone = 0, kNoCamera = 1, kWrongUsage = 2, kFailed = 3 };

/** Where the plug-in and its camera class log to, and how much. */
struct LogOptions {
    int mode = 0;  ///< sinks, as for Vendor__Proc()
    int level = 0; ///< as for Vendor__Proc(); 0: none was asked for
};

struct ListRequest {
    bool json = false; ///< the cameras as JSON, alone on standard output
    LogOptions log;
    std::optional<std::string> plugin; ///< library file; none: the one that kxinfo comes with
};

struct ProbeRequest {
    std::string serial; ///< how the camera's serial number begins
    bool all = false;   ///< every Dalsa camera, in place of \ref serial
    bool json = false;  ///< the result as JSON, alone on standard output
    LogOptions log;
    std::optional<std::string> plugin; ///< library file; none: the one that kxinfo comes with
};

/** What the commands on one opened camera have in common. */
struct CameraRequest {
    std::string serial; ///< the camera's serial number, or how it begins if no other begins so
    LogOptions log;
};

struct GetRequest : CameraRequest {
    std::vector<std::string> properties; ///< names; none: all
    bool json = false;
};

struct SetRequest : CameraRequest {
    std::vector<std::pair<std::string, std::string>> assignments; ///< property name and value
};

struct GammaRequest : CameraRequest {
    std::optional<std::string> value; ///< none: gamma is shown
};

struct LutRequest : CameraRequest {
    enum class Action { Show, Off, User, Gamma, Load } action = Action::Show;
    std::string file;                        ///< of Load
    std::optional<std::string> channel = {}; ///< of Load: "red", "green" or "blue"; none: all
};

/** Two ends of a range as they were typed. */
struct RangeText {
    std::string lower;
    std::string upper;
};

struct AutoRequest : CameraRequest {
    bool on = false;
    std::optional<std::string> target;      ///< 0 to 1
    std::optional<RangeText> gain = {};     ///< dB
    std::optional<RangeText> exposure = {}; ///< the camera's unit
};

struct SaveRequest : CameraRequest {
    std::string file;
    bool table = true; ///< with the entries of the user's lookup table
};

struct RestoreRequest : CameraRequest {
    std::string file;
};

/** A request that is carried out on one opened camera. */
using CameraCommand = std::variant<GetRequest, SetRequest, GammaRequest, LutRequest, AutoRequest,
                                   SaveRequest, RestoreRequest>;

using Request = std::variant<ListRequest, ProbeRequest, CameraCommand>;

} // namespace kxinfo

#endif
