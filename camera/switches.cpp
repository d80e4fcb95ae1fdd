#include "camera/switches.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "camera/values.h"
#include "cli/process.h"

namespace kxinfo {

namespace {

// Automatic control, the latest switched first.
constexpr const char *kAutomation[] = {"gainAutoSource", "GainAuto", "ExposureAuto",
                                       "autoBrightnessMode"};
constexpr const char *kWholeAutomation = "autoBrightnessMode";

// Values of selectors that one feature is read with: those of a table take minutes.
constexpr size_t kMostSelections = 64;
// Selectors of one feature; cameras have two.
constexpr size_t kMostSelectors = 8;

// What a selector may be set to now.
std::vector<Value> choicesOf(const std::string &selector, const Node &node, bool all) {
    if (!all || node.access() == GenApi_3_0::RO)
        return {node.read()};
    if (node.kind() == Kind::Boolean)
        return {false, true};
    const Words entries = node.entries();
    std::vector<Value> choices(entries.begin(), entries.end());
    if (auto *number = node.integer()) {
        const int64_t last = number->GetMax(), step = std::max<int64_t>(1, number->GetInc());
        int64_t at = number->GetMin();
        for (bool isBeyond = at > last; !isBeyond && choices.size() <= kMostSelections;
             isBeyond = __builtin_add_overflow(at, step, &at) || at > last)
            choices.emplace_back(at);
    }
    if (choices.empty() || choices.size() > kMostSelections)
        throw Error(kFailed, selector, ", which selects it, has ",
                    choices.empty() ? "no" : say("more than ", kMostSelections), " values.");
    if (std::find(choices.begin(), choices.end(), node.read()) == choices.end())
        throw Error(kFailed, selector, ", which selects it, could not be put back.");
    return choices;
}

} // namespace

// BalanceRatio of red and of blue, for example, are two features.
Switches::Remembered *Switches::find(const Feature &feature) {
    const auto found =
        std::find_if(remembered_.begin(), remembered_.end(),
                     [&](const Remembered &r) { return r.feature->name == feature.name; });
    return found == remembered_.end() ? nullptr : &*found;
}

// A mode is remembered after those that it needs itself, so that putting back the latest first
// finds them switched.
void Switches::keep(const Feature &feature) {
    const Node node = camera_.node(feature.node);
    if (!find(feature) && node.kind() != Kind::Missing && node.isReadable())
        remembered_.push_back({&feature, node.read(), {}});
}

// Makes it that value. What was written last does not count: whether it has arrived is unknown when
// the wait for the camera's answer was cut short.
void Switches::settle(const Feature &feature, const Value &value) const {
    const Node node = camera_.node(feature.node);
    if (node.read(Cache::Ignored) != value)
        node.write(value);
}

void Switches::remember(const Feature &feature) {
    reach(feature);
    keep(feature);
    if (Remembered *remembered = find(feature))
        remembered->touched = true;
}

// Whether the camera sets exposure time, or gain, by itself when all is put back.
bool Switches::isAutomatic(const Feature &automation) {
    const auto is = [this](const Feature &feature, const char *entry) {
        if (const Remembered *remembered = find(feature))
            return remembered->settled() == Value(entry);
        const Node node = camera_.node(feature.node);
        return node.isReadable() && node.read() == Value(entry);
    };
    const Feature &whole = featureNamed(kWholeAutomation);
    return is(automation, "Continuous") &&
           (camera_.node(whole.node).kind() != Kind::Enumeration || is(whole, "Active"));
}

// Automatic control works as soon as it is on, if only for a moment and for another feature's sake.
void Switches::keepWhatAutomationMoves() {
    for (const Feature &feature : allFeatures()) {
        if (!feature.setBy || camera_.node(feature.node).kind() == Kind::Missing ||
            isAutomatic(featureNamed(feature.setBy)))
            continue;
        switchFor(feature);
        keep(feature);
    }
}

void Switches::putBackWhatAutomationMoved() {
    for (const Feature &feature : allFeatures()) {
        const Remembered *remembered = feature.setBy ? find(feature) : nullptr;
        if (!remembered || isAutomatic(featureNamed(feature.setBy)))
            continue;
        const Value settled = remembered->settled();
        switchFor(feature);
        settle(feature, settled);
    }
}

void Switches::leaveAutomation() {
    bool left = false;
    for (const char *name : kAutomation) {
        const Feature &mode = featureNamed(name);
        const Remembered *remembered = find(mode);
        if (!remembered || !remembered->switched)
            continue;
        const Value settled = remembered->settled();
        switchFor(mode); // may remember more
        settle(mode, settled);
        find(mode)->switched = false;
        left = true;
    }
    if (left)
        putBackWhatAutomationMoved();
}

void Switches::select(const Feature &feature, const Value &value) {
    const Node node = camera_.node(feature.node);
    if (node.kind() == Kind::Missing || !node.isReadable())
        return;
    if (node.read() == value)
        return keep(feature);
    const auto end = std::end(kAutomation);
    if (std::find(std::begin(kAutomation), end, feature.name) != end)
        keepWhatAutomationMoves();
    keep(feature);
    if (Remembered *const kept = find(feature)) { // what was switched may have made it unreadable
        kept->switched = true;
        if (std::find(switched_.begin(), switched_.end(), feature.name) == switched_.end())
            switched_.push_back(feature.name);
        node.write(value);
    }
}

void Switches::eachChoice(const Words &selectors, bool all,
                          const std::function<void(const std::vector<Need> &needs)> &work) {
    std::vector<Need> needs; // of the selectors that are set
    size_t count = 0;
    std::string missed; // why some choices could not be walked
    const std::function<void()> choose = [&] {
        stopIfAsked();
        if (selectors.size() > kMostSelectors || count == kMostSelections)
            throw Error(kFailed, "more than ", kMostSelectors, " selectors, or ", kMostSelections,
                        " of their choices, are not walked.");
        if (needs.size() == selectors.size()) {
            ++count;
            return work(needs);
        }
        const Feature &selector = ownFeature(selectors[needs.size()]);
        const Node node = camera_.node(selector.name);
        if (!node.isReadable()) { // with another choice of those above it may be there
            missed = selector.name + ", which selects it, cannot be read at present.";
            return;
        }
        const std::vector<Value> choices = choicesOf(selector.name, node, all);
        const Value before = node.read();
        const Remembered *known = find(selector);
        const bool wasSwitched = known && known->switched;
        std::exception_ptr end;
        try {
            for (const Value &choice : choices) {
                select(selector, choice);
                needs.push_back({selector.name, valueText(selector, choice), true});
                choose();
                needs.pop_back();
            }
        } catch (...) {
            end = std::current_exception();
            if (stopSignal())
                stopWaitingWhen(nullptr);
        }
        select(selector, before); // with each choice of those above it may have another
        // Without the present choice of those above it may not be there.
        if (Remembered *remembered = find(selector);
            remembered && node.isReadable() && node.read() == before)
            remembered->switched = wasSwitched;
        if (end)
            std::rethrow_exception(end);
    };
    choose();
    if (!missed.empty())
        throw Error(kFailed, missed);
}

void Switches::switchFor(const Feature &feature) {
    for (const Need &need : feature.needs)
        if (const Value on = camera_.node(need.node).choice(need.entry); hasValue(on))
            select(*featuresMeant({need.node}).front(), on);
}

void Switches::switchToManual() {
    const Feature &whole = featureNamed(kWholeAutomation);
    if (camera_.node(whole.node).kind() == Kind::Enumeration)
        return select(whole, "Off");
    select(featureNamed("ExposureAuto"), "Off");
    select(featureNamed("GainAuto"), "Off");
}

void Switches::reach(const Feature &feature) {
    const bool stops = automationStops_ && feature.setBy;
    const Remembered *mode = find(featureNamed(kWholeAutomation));
    const bool isManual =
        mode && mode->switched && camera_.node(kWholeAutomation).read() == Value("Off");
    const bool needsAutomation =
        std::any_of(feature.needs.begin(), feature.needs.end(),
                    [](const Need &need) { return need.node == kWholeAutomation; });
    if (!needsAutomation && !(stops && isManual))
        leaveAutomation();
    if (stops)
        switchToManual();
    switchFor(feature);
}

Value Switches::read(const Feature &feature, Cache cache) {
    reach(feature);
    const Remembered *remembered = find(feature);
    if (remembered && (remembered->switched || cache == Cache::Used))
        return remembered->settled();
    const Node node = camera_.node(feature.node);
    return node.kind() == Kind::Missing ? Value() : node.read(cache);
}

void Switches::write(const Feature &feature, const Value &value) {
    remember(feature);
    const Node node = camera_.node(feature.node);
    node.write(value);
    if (Remembered *remembered = find(feature)) {
        remembered->after = node.read();
        remembered->switched = false;
    }
}

void Switches::keepChanges() {
    stopIfAsked();
    for (Remembered &remembered : remembered_) {
        if (!remembered.after)
            continue;
        remembered.before = *std::exchange(remembered.after, std::nullopt);
        remembered.touched = false;
    }
}

std::string Switches::changes() const {
    Words names;
    for (const Remembered &remembered : remembered_)
        if (remembered.after)
            names.push_back(remembered.feature->name);
    return joined(names, ", ");
}

void Switches::tellSwitched() const {
    if (!switched_.empty())
        tell("switched for a moment, and put back: ", joined(switched_, ", "), ".");
}

// The range of a feature may depend on another that is put back after it, so what has failed is
// tried again as long as that helps: with all others, since reaching it may switch them once more.
std::string Switches::putBack() {
    automationStops_ = false;
    for (Remembered &remembered : remembered_)
        remembered.after.reset();
    std::string reason; // of the first
    Words failures;
    size_t before = 0;
    do {
        before = std::exchange(failures, {}).size();
        for (size_t i = remembered_.size(); i-- > 0;) {
            const Remembered mode = remembered_[i]; // reaching may remember more
            if (!mode.switched && !mode.touched)
                continue;
            try {
                reach(*mode.feature);
                settle(*mode.feature, mode.before);
            } catch (...) {
                if (failures.empty())
                    reason = reasonInFlight();
                failures.push_back(mode.feature->name + " to " +
                                   quantityText(*mode.feature, mode.before));
            }
        }
    } while (!failures.empty() && (before == 0 || failures.size() < before));
    remembered_.clear();
    return failures.empty()
               ? ""
               : "this could not be put back: " + joined(failures, ", ") + " (" + reason + ").";
}

} // namespace kxinfo
