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

std::string whyNotOpened(GEV_STATUS status) {
    std::string cause;
    const char *remedy = ". 'kxinfo doctor' tells what helps.";
#ifdef KXINFO_OPEN_PLATFORM // the framework's statuses are its own
    if (KxGigeCause)
        cause = KxGigeCause();
    if (status == GEVLIB_ERROR_ACCESS_DENIED)
        remedy = ". End that program, or wait some seconds if it crashed, and try again.";
#endif
    return say(" cannot be opened: ",
               cause.empty() ? say("the camera platform answers ", status) : cause, remedy);
}

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
    if (isCategory() || !as<IValue>())
        return;
    const EInterfaceType type = base_->GetPrincipalInterfaceType();
    kind_ = as<IFloat>()            ? Kind::Float
            : as<IInteger>()        ? Kind::Integer
            : as<IBoolean>()        ? Kind::Boolean
            : as<IEnumeration>()    ? Kind::Enumeration
            : type == intfICommand  ? Kind::Command
            : type == intfIRegister ? Kind::Register
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
    return kind_ == Kind::Integer ? cleaned(as<IInteger>()->GetUnit().c_str())
           : kind_ == Kind::Float ? cleaned(as<IFloat>()->GetUnit().c_str())
                                  : "";
}

Words Node::features() const {
    FeatureList_t features;
    if (isCategory())
        as<ICategory>()->GetFeatures(features);
    return namesOf(features);
}

Words Node::selected() const {
    FeatureList_t features;
    if (const auto *selector = as<ISelector>())
        selector->GetSelectedFeatures(features);
    return namesOf(features);
}

EAccessMode Node::access() const {
    return base_ ? base_->GetAccessMode() : NI;
}

Value Node::read(Cache cache) const {
    const bool ignored = cache == Cache::Ignored;
    if (kind_ == Kind::Float)
        return as<IFloat>()->GetValue(false, ignored);
    if (kind_ == Kind::Integer)
        return as<IInteger>()->GetValue(false, ignored);
    if (kind_ == Kind::Boolean)
        return as<IBoolean>()->GetValue(false, ignored);
    const std::string text = as<IValue>()->ToString(false, ignored).c_str();
    return kind_ == Kind::Enumeration ? cleaned(text) : text; // a text may have to be put back
}

void Node::write(const Value &value) const {
    const auto *number = std::get_if<double>(&value);
    const auto *whole = std::get_if<int64_t>(&value);
    const auto *on = std::get_if<bool>(&value);
    const auto *text = std::get_if<std::string>(&value);
    if (number && kind_ == Kind::Float)
        as<IFloat>()->SetValue(*number, true);
    else if (whole && kind_ == Kind::Integer)
        as<IInteger>()->SetValue(*whole, true);
    else if (on && kind_ == Kind::Boolean)
        as<IBoolean>()->SetValue(*on, true);
    else if (text && kind_ >= Kind::Enumeration)
        as<IValue>()->FromString(text->c_str(), true);
    else
        throw Error(kFailed, "the camera has \"", name_, "\" as another kind of value.");
}

Limits Node::limits() const {
    if (auto *integer = as<IInteger>(); kind_ == Kind::Integer)
        return {integer->GetMin(), integer->GetMax(), integer->GetInc()};
    if (kind_ != Kind::Float)
        return {};
    auto *number = as<IFloat>();
    // On the camera maker's framework the increment of a float that has none is an error.
    return {number->GetMin(), number->GetMax(),
            number->HasInc() ? Value(number->GetInc()) : Value()};
}

Words Node::entries() const {
    StringList_t symbolics;
    if (auto *enumeration = as<IEnumeration>())
        enumeration->GetSymbolics(symbolics);
    Words entries;
    for (const auto &symbolic : symbolics)
        entries.push_back(cleaned(symbolic.c_str()));
    return entries;
}

Value Node::choice(const std::string &entry) const {
    int64_t number = 0;
    const char *const end = entry.data() + entry.size();
    const auto [stop, error] = std::from_chars(entry.data(), end, number);
    if (kind_ == Kind::Integer && error == std::errc() && stop == end)
        return number;
    if (kind_ == Kind::Boolean)
        return entry == "true" || entry == "1";
    // A text is no integer: writing it is refused.
    return kind_ == Kind::Integer || kind_ == Kind::Enumeration ? entry : Value();
}

CameraName nameOf(const gvcp::Identity &identity) {
    return {cleaned(identity.manufacturer), cleaned(identity.model), cleaned(identity.serial),
            cleaned(identity.userName)};
}

Camera::Camera(const gvcp::Found &found, Purpose purpose) : name_(nameOf(found.identity)) {
    GEV_CAMERA_INFO record = recordOf(found);
    const std::string camera = "camera " + name_.serial;
    if (const GEV_STATUS status = open(record, purpose, handle_); status != GEVLIB_OK)
        throw Error(kNoCamera, camera, whyNotOpened(status));
    nodeMap_ = static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(handle_));
    if (nodeMap_)
        return;
    (void)GevCloseCamera(&handle_);
    throw Error(kFailed, camera,
                " has no description of its features that can be read, so none can be shown or "
                "set.");
}

Camera::~Camera() {
    (void)GevCloseCamera(&handle_);
    (void)GevApiUninitialize();
    (void)_CloseSocketAPI();
}

std::vector<Leaf> Camera::leaves(const std::string &name) const {
    std::vector<Leaf> leaves;
    std::set<std::string> seen;
    Words categories;
    const std::function<void(const std::string &)> add = [&](const std::string &each) {
        if (!seen.insert(each).second)
            return;
        const Node here = node(each);
        if (!here.isCategory())
            return leaves.push_back({categories, each});
        if (categories.size() == kDeepestCategory)
            throw Error(kFailed, "the camera's description has more than ", kDeepestCategory,
                        " categories one within the other.");
        categories.push_back(shortened(each)); // for each feature in it
        for (const std::string &feature : here.features())
            add(feature);
        categories.pop_back();
    };
    add(name);
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
        tell(name, " has stopped answering. Check its power and cable, and try again. (",
             reasonInFlight(), ")");
    } catch (const GenICam_3_0::GenericException &) {
        tell(name, " refuses: ", reasonInFlight(), ".");
    } catch (...) {
        tell("this computer does not let kxinfo do its work: ", reasonInFlight(), ".");
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
