#include "camera/camera.h"

#include <charconv>
#include <set>

#include "Base/GCException.h"
#include "cli/process.h"
#include "gvcp/network.h"

// The camera maker's framework has no such header.
#if __has_include("kxgige.h")
#include "kxgige.h"
#pragma weak KxGigeCause
#pragma weak KxGigeLookAt
#pragma weak KxGigeReadAhead
#pragma weak KxGigeStopWhen
#define KXINFO_OPEN_PLATFORM
#endif

namespace kxinfo {

using namespace GenApi_3_0;

namespace {

const char *const kStopped = "stopped, as asked for.";

// Categories one within the other; cameras have three.
constexpr size_t kDeepestCategory = 32;

// Adds a feature, or all in a category; what is in several categories counts in the first.
void addLeaves(const Camera &camera, const std::string &name, const Words &categories,
               std::set<std::string> &seen, std::vector<Leaf> &leaves) {
    if (!seen.insert(name).second)
        return;
    const Node node = camera.node(name);
    if (!node.isCategory())
        return leaves.push_back({categories, name});
    if (categories.size() == kDeepestCategory)
        throw Error(kFailed, "the camera's description has more than " +
                                 std::to_string(kDeepestCategory) +
                                 " categories one within the other.");
    Words inside = categories;
    inside.push_back(name);
    for (const std::string &feature : node.features())
        addLeaves(camera, feature, inside, seen, leaves);
}

GEV_CAMERA_INFO recordOf(const gvcp::Found &found) {
    const gvcp::Identity &identity = found.identity;
    GEV_CAMERA_INFO info{};
    info.ipAddr = identity.address;
    info.ipMask = identity.mask;
    info.ipGateway = identity.gateway;
    info.macHigh = identity.macHigh;
    info.macLow = identity.macLow;
    info.hostIpAddr = found.host;
    info.hostIfIndex = found.interface;
    info.capabilities = identity.deviceMode;
    const auto copy = [](const std::string &from, auto &to) { (void)from.copy(to, sizeof to - 1); };
    copy(identity.manufacturer, info.manufacturer);
    copy(identity.model, info.model);
    copy(identity.serial, info.serial);
    copy(identity.version, info.version);
    copy(identity.userName, info.username);
    return info;
}

GEV_STATUS open(GEV_CAMERA_INFO &record, Purpose purpose, GEV_CAMERA_HANDLE &handle) {
#ifdef KXINFO_OPEN_PLATFORM
    if (purpose == Purpose::Look && KxGigeLookAt)
        return KxGigeLookAt(&record, &handle);
#endif
    return GevOpenCamera(&record, purpose == Purpose::Change ? GevControlMode : GevMonitorMode,
                         &handle);
}

#ifdef KXINFO_OPEN_PLATFORM

const char *remedyFor(GEV_STATUS status) {
    switch (status) {
    case GEVLIB_ERROR_ACCESS_DENIED:
        return "End that program, or wait some seconds if it crashed, and try again.";
    case GEVLIB_ERROR_TIME_OUT:
        return "Check its power and cable, and that no firewall keeps its answers away; then try "
               "again.";
    case GEVLIB_ERROR_NO_CAMERA:
        return "Check that it is switched on and has started, and that a network interface here "
               "has an address of its network; then try again.";
    case GEVLIB_ERROR_NO_DESCRIPTION:
        return "Try again, since a packet may have been lost; if it stays so, the camera needs "
               "other firmware.";
    default:
        return "Run 'kxinfo list' to see whether the camera still answers, and try again.";
    }
}

std::string whyNotOpened(GEV_STATUS status) {
    const std::string cause = KxGigeCause ? KxGigeCause() : "";
    return " cannot be opened: " +
           (cause.empty() ? "the camera platform answers " + std::to_string(status) : cause) +
           ". " + remedyFor(status);
}

#else

// The framework's statuses are its own.
std::string whyNotOpened(GEV_STATUS status) {
    return " cannot be opened (status " + std::to_string(status) +
           "). Probably another program controls it: end that program, or wait some seconds if it "
           "crashed, and try again.";
}

#endif

Words namesOf(const FeatureList_t &features) {
    Words names;
    for (IValue *feature : features)
        if (const auto *node = dynamic_cast<INode *>(feature))
            names.push_back(cleaned(node->GetName().c_str()));
    return names;
}

} // namespace

Node::Node(const CNodeMapRef &nodeMap, const std::string &name)
    : name_(name), base_(nodeMap._GetNode(name.c_str())) {
    value_ = dynamic_cast<IValue *>(base_);
    if ((category_ = dynamic_cast<ICategory *>(base_)))
        return;
    if ((float_ = dynamic_cast<IFloat *>(base_)))
        kind_ = Kind::Float;
    else if ((integer_ = dynamic_cast<IInteger *>(base_)))
        kind_ = Kind::Integer;
    else if ((boolean_ = dynamic_cast<IBoolean *>(base_)))
        kind_ = Kind::Boolean;
    else if ((enumeration_ = dynamic_cast<IEnumeration *>(base_)))
        kind_ = Kind::Enumeration;
    else if (value_)
        kind_ = base_->GetPrincipalInterfaceType() == intfICommand    ? Kind::Command
                : base_->GetPrincipalInterfaceType() == intfIRegister ? Kind::Register
                                                                      : Kind::Text;
}

const char *Node::visibility() const {
    constexpr const char *kNames[] = {"beginner", "expert", "guru", "invisible"};
    const EVisibility visibility = base_ ? base_->GetVisibility() : Beginner;
    return kNames[visibility <= Invisible ? visibility : Beginner];
}

std::string Node::toolTip() const {
    return base_ ? cleaned(base_->GetToolTip().c_str()) : "";
}

std::string Node::unit() const {
    return integer_ ? cleaned(integer_->GetUnit().c_str())
           : float_ ? cleaned(float_->GetUnit().c_str())
                    : "";
}

Words Node::features() const {
    FeatureList_t features;
    if (category_)
        category_->GetFeatures(features);
    return namesOf(features);
}

Words Node::selected() const {
    FeatureList_t features;
    if (const auto *selector = dynamic_cast<ISelector *>(base_))
        selector->GetSelectedFeatures(features);
    return namesOf(features);
}

EAccessMode Node::access() const {
    return base_ ? base_->GetAccessMode() : NI;
}

Value Node::read(Cache cache) const {
    const bool ignored = cache == Cache::Ignored;
    if (float_)
        return float_->GetValue(false, ignored);
    if (integer_)
        return integer_->GetValue(false, ignored);
    if (boolean_)
        return boolean_->GetValue(false, ignored);
    const std::string text = value_->ToString(false, ignored).c_str();
    return kind_ == Kind::Enumeration ? cleaned(text) : text; // a text may have to be put back
}

void Node::write(const Value &value) const {
    const auto *text = std::get_if<std::string>(&value);
    if (const auto *number = std::get_if<double>(&value); number && float_)
        float_->SetValue(*number, true);
    else if (const auto *whole = std::get_if<int64_t>(&value); whole && integer_)
        integer_->SetValue(*whole, true);
    else if (const auto *on = std::get_if<bool>(&value); on && boolean_)
        boolean_->SetValue(*on, true);
    else if (text && value_ && !float_ && !integer_ && !boolean_)
        value_->FromString(text->c_str(), true);
    else
        throw Error(kFailed, "the camera has \"" + name_ + "\" as another kind of value.");
}

Limits Node::limits() const {
    if (integer_) {
        const int64_t inc = integer_->GetInc();
        return {integer_->GetMin(), integer_->GetMax(), inc};
    }
    if (!float_)
        return {};
    Limits limits{float_->GetMin(), float_->GetMax(), {}};
    // On the camera maker's framework the increment of a float that has none is an error.
    if (float_->HasInc())
        limits.inc = float_->GetInc();
    return limits;
}

Words Node::entries() const {
    Words entries;
    if (!enumeration_)
        return entries;
    StringList_t symbolics;
    enumeration_->GetSymbolics(symbolics);
    for (const auto &symbolic : symbolics)
        entries.push_back(cleaned(symbolic.c_str()));
    return entries;
}

Value Node::choice(const std::string &entry) const {
    int64_t number = 0;
    const char *const end = entry.data() + entry.size();
    if (integer_ && std::from_chars(entry.data(), end, number).ptr == end)
        return number;
    return integer_ || enumeration_ ? entry
                                    : Value(); // a text is no integer: writing it is refused
}

CameraName nameOf(const gvcp::Identity &identity) {
    return {cleaned(identity.manufacturer), cleaned(identity.model), cleaned(identity.serial),
            cleaned(identity.userName)};
}

Camera::Camera(const gvcp::Found &found, Purpose purpose) : name_(nameOf(found.identity)) {
    GEV_CAMERA_INFO record = recordOf(found);
    const std::string camera = "camera " + name_.serial;
    if (const GEV_STATUS status = open(record, purpose, handle_); status != GEVLIB_OK)
        throw Error(kNoCamera, camera + whyNotOpened(status));
    nodeMap_ = static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(handle_));
    if (nodeMap_)
        return;
    (void)GevCloseCamera(&handle_);
    throw Error(kFailed, camera + " has no description of its features that can be read, so none "
                                  "can be shown or set.");
}

Camera::~Camera() {
    (void)GevCloseCamera(&handle_);
    (void)GevApiUninitialize();
    (void)_CloseSocketAPI();
}

std::vector<Leaf> Camera::leaves(const std::string &name) const {
    std::vector<Leaf> leaves;
    std::set<std::string> seen;
    addLeaves(*this, name, {}, seen, leaves);
    return leaves;
}

std::map<std::string, Words> Camera::selectors() const {
    std::map<std::string, Words> selectors;
    for (const Leaf &leaf : leaves(kRoot))
        for (const std::string &selected : node(leaf.name).selected())
            if (Words &names = selectors[selected]; names.empty() || names.back() != leaf.name)
                names.push_back(leaf.name);
    return selectors;
}

void Camera::readAhead() const {
#ifdef KXINFO_OPEN_PLATFORM
    // What fails is told when it is asked for.
    if (KxGigeReadAhead)
        (void)KxGigeReadAhead(handle_);
#endif
}

std::string Camera::heading() const {
    return "Camera " + name_.serial + " (" + name_.model + ")\n";
}

void stopWaitingWhen(const volatile std::sig_atomic_t *flag) {
    gvcp::stopWhen(flag);
#ifdef KXINFO_OPEN_PLATFORM
    if (KxGigeStopWhen)
        KxGigeStopWhen(flag);
#endif
}

std::string reasonInFlight() {
    try {
        throw;
    } catch (const Error &error) {
        const std::string text = error.what();
        return text.substr(0, text.find_last_not_of('.') + 1);
    } catch (const GenICam_3_0::GenericException &error) {
        return error.GetDescription();
    } catch (const std::exception &error) {
        return error.what();
    } catch (...) {
        return "an error without a reason";
    }
}

int tellWhy(const Camera &camera, const std::exception_ptr &why) {
    // Whatever it looks like: a wait that is over for that reason looks like the camera's failure.
    if (stopSignal()) {
        tell(kStopped);
        return kFailed;
    }
    const std::string name = "camera " + camera.name().serial;
    try {
        std::rethrow_exception(why);
    } catch (const Error &error) {
        tell(error.what());
        return error.status();
    } catch (const GenICam_3_0::TimeoutException &) {
        tell(name + " has stopped answering. Check its power and cable, and try again. (" +
             reasonInFlight() + ")");
    } catch (const GenICam_3_0::GenericException &) {
        tell(name + " refuses: " + reasonInFlight() + ".");
    } catch (...) {
        tell("this computer does not let kxinfo do its work: " + reasonInFlight() + ".");
    }
    return kFailed;
}

std::string whyNotDone(const std::function<void()> &work) {
    try {
        work();
        return "";
    } catch (const GenICam_3_0::TimeoutException &) {
        throw;
    } catch (const GenICam_3_0::GenericException &) {
        stopIfAsked();
        return reasonInFlight();
    } catch (const Error &) {
        stopIfAsked();
        return reasonInFlight();
    }
}

void stopIfAsked() {
    if (stopSignal())
        throw Error(kFailed, kStopped);
}

} // namespace kxinfo
