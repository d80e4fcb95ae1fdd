// kxinfo doctor: looks at this computer, at what answers and at a camera, and names what hinders. What
// hinders nobody as long as all cameras are there is named only when one is missing.

#include <net/if.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <system_error>

#include "camera/command.h"
#include "camera/find.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

using Clock = std::chrono::steady_clock;
using gvcp::dotted;
using gvcp::hostTowards;

enum Part { Computer, Network, TheCamera };

struct Symptom {
    const char *id;
    Part part;
    const char *means;
};
// All that there are. The reference and the schema list them, too.
// clang-format off
constexpr Symptom
    kNoLink{"no-link", Computer, "It is switched off, its cable is out, or the other end has no power."},
    kNoAddress{"no-address", Computer, "Without an address it asks for no cameras."},
    kSameNetwork{"same-network", Computer, "One of them sends all; cameras behind the other are found and do not answer."},
    kFilter{"reverse-path-filter", Computer, "The kernel drops what comes from where it would not send to by the same interface."},
    kFirewall{"firewall", Computer, "This computer drops packets between its network and its programs."},
    kSmallBuffer{"receive-buffer", Computer, "Answers of many cameras, and images, find no room and are lost."},
    kNobody{"no-camera", Network, "None is on this computer's networks, or something keeps question or answer back."},
    kNotFound{"not-found", Network, "All commands on that camera end like this."},
    kWrongNetwork{"wrong-network", Network, "It hears broadcasts, but this computer has no way to its address."},
    kLinkLocal{"link-local", Network, "It was given no address and took one itself, to which this computer has no way."},
    kSameAddress{"duplicate-address", Network, "What is sent there reaches one of them, nobody knows which."},
    kSameSerial{"duplicate-serial", Network, "Who names a camera by that number may get another one."},
    kHeld{"controlled", Network, "It cannot be set or probed, and not even read where that program keeps others out."},
    kSilent{"silent", Network, "It answers searches and nothing else: it hangs, or only broadcasts reach it."},
    kWrongRoute{"wrong-route", Network, "It answers on one interface, and what is sent to it leaves by another."},
    kLossy{"lost-packets", Network, "All takes longer, images have gaps: a cable, a busy switch, a nap to save power."},
    kSlow{"slow", Network, "To open a camera takes some hundred round trips."},
    kLowMtu{"low-mtu", Network, "Small answers come and large ones are lost: its description cannot be read."},
    kDescription{"description", TheCamera, "None of its features can be shown or set."},
    kLacking{"missing-feature", TheCamera, "A plug-in's host is given no value of the camera's for them."},
    kUnreadable{"unreadable-feature", TheCamera, "The camera has them and fails when they are read."};
// clang-format on

struct Card { ///< a network interface
    std::string name;
    uint32_t index = 0;
    bool isCable = true, hasLink = true;
    int mtu = 0;
    uint64_t filter = 0; ///< reverse-path: 0 none, 1 strict, 2 loose
    std::vector<gvcp::Interface> own = {};
};

struct Examination {
    std::vector<Card> cards;
    std::vector<gvcp::Found> answered;
    bool hearsDropped = false, hindered = false; ///< hindered: by a problem
    Json about = nullptr; ///< the serial number of the camera that is looked at
    Json parts = Json::array();

    Examination() {
        for (const char *heading : {"This computer", "Network", "Camera"})
            parts.push_back({{"part", heading},
                             {"looked", true},
                             {"facts", Json::array()},
                             {"findings", Json::array()}});
    }
    void note(const Symptom &symptom, const std::string &seen, const std::string &remedy,
              bool hinders = true) {
        hindered = hindered || hinders;
        parts[symptom.part]["findings"].push_back({{"id", symptom.id},
                                                   {"severity", hinders ? "problem" : "note"},
                                                   {"camera", about},
                                                   {"seen", seen},
                                                   {"means", symptom.means},
                                                   {"remedy", remedy}});
    }
};

// Reads that show a loss of a percent, of which one may be chance; and how long they may take.
constexpr size_t kReads = 200;
constexpr std::chrono::seconds kLongestReading{2}, kLongestOfAll{20};
constexpr double kSlowMs = 20;
constexpr uint64_t kUsualBuffer = 212992; // Linux' own
constexpr size_t kMostDropped = 8;        // that are told of
constexpr const char *kSeeRules = "to see the rules: sudo nft list ruleset";

uint64_t numberIn(const std::string &file) {
    uint64_t number = 0;
    std::ifstream(file) >> number;
    return number;
}

uint64_t filterOf(const std::string &card) {
    return numberIn("/proc/sys/net/ipv4/conf/" + card + "/rp_filter");
}

std::string networkText(const gvcp::Interface &own) {
    return say(dotted(own.address), "/", std::bitset<32>(own.mask).count());
}

std::vector<Card> networkCards() {
    const gvcp::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> all(if_nameindex(),
                                                                                if_freenameindex);
    const auto up = gvcp::interfacesUp();
    std::vector<Card> cards;
    for (const auto *entry = all.get(); entry && entry->if_name; ++entry) {
        Card card{entry->if_name, entry->if_index};
        ifreq request{};
        (void)card.name.copy(request.ifr_name, sizeof request.ifr_name - 1);
        if (ioctl(socket.get(), SIOCGIFFLAGS, &request) != 0)
            continue; // it is gone
        card.isCable = !(request.ifr_flags & (IFF_LOOPBACK | IFF_NOARP | IFF_POINTOPOINT));
        card.hasLink = (request.ifr_flags & IFF_RUNNING) != 0;
        (void)ioctl(socket.get(), SIOCGIFMTU, &request);
        card.mtu = request.ifr_mtu;
        card.filter = std::max(filterOf("all"), filterOf(card.name));
        std::copy_if(up.begin(), up.end(), std::back_inserter(card.own),
                     [&](const gvcp::Interface &own) { return own.index == card.index; });
        cards.push_back(card);
    }
    return cards;
}

const Card &cardOf(const Examination &all, const gvcp::Found &camera) {
    static const Card unknown{"INTERFACE"};
    const auto card = std::find_if(all.cards.begin(), all.cards.end(), [&](const Card &each) {
        return each.index == camera.interface;
    });
    return card == all.cards.end() ? unknown : *card;
}

std::string labelOf(const gvcp::Found &camera) {
    return "camera " + nameOf(camera.identity).serial + " (" + dotted(camera.identity.address) +
           ", " + macText(macOf(camera.identity)) + ")";
}

std::string withoutFilter(const Card &card) {
    return say("sudo sysctl net.ipv4.conf.all.rp_filter=0 net.ipv4.conf.", card.name,
               ".rp_filter=0");
}

// An answer came to a card, and no program got it.
void judgeDropped(Examination &all, const gvcp::Found &camera) {
    const Card &card = cardOf(all, camera);
    const uint32_t host = hostTowards(camera.identity.address);
    const bool sameWay = std::any_of(card.own.begin(), card.own.end(),
                                     [&](const auto &own) { return own.address == host; });
    const std::string seen = card.name + " got an answer of " + labelOf(camera) + ", dropped ";
    if (card.filter == 0 || (card.filter == 1 ? sameWay : host != 0))
        all.note(kFirewall, seen + "later", say("let UDP from port 3956 in; ", kSeeRules));
    else
        all.note(kFilter, seen + "by its reverse-path filter", withoutFilter(card));
}

void search(Examination &all, const gvcp::Search &where) {
    const gvcp::Arrivals arrivals;
    all.hearsDropped = arrivals.hears();
    try {
        all.answered = gvcp::discover(where);
    } catch (const gvcp::Error &) {
        stopIfAsked(); // it has been
    } catch (const std::system_error &error) {
        if (error.code() == std::errc::operation_not_permitted)
            all.note(kFirewall, "the question for cameras is not let out",
                     say("let UDP to port 3956 out; ", kSeeRules));
    }
    size_t told = 0;
    for (const gvcp::Found &camera : arrivals.take())
        if (std::none_of(all.answered.begin(), all.answered.end(),
                         [&](const gvcp::Found &other) {
                             return macOf(other.identity) == macOf(camera.identity);
                         }) &&
            ++told <= kMostDropped)
            judgeDropped(all, camera);
}

// What may be why a camera is missing.
void judgeMissing(Examination &all) {
    for (const Card &card : all.cards) {
        if (card.isCable && !card.hasLink)
            all.note(kNoLink, card.name + " has no link",
                     "plug in its cable at both ends; sudo ip link set dev " + card.name + " up");
        else if (card.isCable && card.own.empty())
            all.note(kNoAddress, card.name + " has no IPv4 address",
                     "sudo ip address add 192.168.0.1/24 dev " + card.name);
        // Mostly the camera's own question for an address is dropped, and nothing of it shows.
        if (card.isCable && card.filter && all.parts[Computer]["findings"].empty())
            all.note(kFilter, "it is on for " + card.name + ", as a camera is missing",
                     withoutFilter(card), false);
    }
    if (all.answered.empty())
        all.note(kNobody, "no camera answers",
                 say("check its power and its cable",
                     all.hearsDropped ? "" : "; 'sudo kxinfo doctor' sees what is dropped here"));
}

void judgeSettings(Examination &all, bool missing) {
    all.about = nullptr;
    const auto up = gvcp::interfacesUp();
    for (const gvcp::Interface &a : up)
        for (const gvcp::Interface &b : up)
            if (const uint32_t mask = a.mask & b.mask;
                a.index < b.index && mask != UINT32_MAX && (a.address & mask) == (b.address & mask))
                all.note(kSameNetwork,
                         say(a.name, " has ", networkText(a), ", ", b.name, " ", networkText(b)),
                         "give one of them, and its cameras, addresses of another network",
                         missing);
    if (const uint64_t most = numberIn("/proc/sys/net/core/rmem_max"); most && most < kUsualBuffer)
        all.note(kSmallBuffer, say("a socket keeps at most ", most, " bytes"),
                 "sudo sysctl net.core.rmem_max=4194304", false);
}

// \return whether it can be worked on
bool judgeState(Examination &all, const gvcp::Found &camera, const State &state) {
    const uint32_t address = camera.identity.address;
    const std::string name = labelOf(camera), dev = " dev " + cardOf(all, camera).name;
    if (state.name == "controlled")
        all.note(kHeld, name + " is " + state.text,
                 "end that program; if it crashed, wait some seconds");
    if (state.name == "controlled" || state.name == "free")
        return true;
    if (const std::string outside = gvcp::whyOutside(address); !outside.empty()) {
        all.note(address >> 16 == 0xa9fe ? kLinkLocal : kWrongNetwork, name + ": " + outside,
                 say("kxinfo address ", macText(macOf(camera.identity)),
                     " --force ADDRESS/BITS, a free one of this computer's network"));
        return false;
    }
    if (hostTowards(address) != camera.host)
        all.note(kWrongRoute, name + " is not asked by" + dev,
                 "sudo ip route add " + dotted(address) + dev);
    else if (state.name != "unknown") // nobody has asked it
        all.note(kSilent, name + ": " + state.problem,
                 "switch it off and on; then connect it directly");
    return false;
}

// \return whether its description may be read
bool measure(Examination &all, const gvcp::Found &camera) {
    std::unique_ptr<gvcp::Channel> channel;
    std::vector<double> took;
    size_t again = 0;
    std::string small, large; // why an answer of that size has not come
    std::string *why = &small;
    try {
        channel = channelTo(camera);
        channel->openingEnds();
        const auto end = Clock::now() + kLongestReading;
        for (auto start = Clock::now(); took.size() < kReads && start < end; start = Clock::now()) {
            (void)channel->controller();
            took.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
            again = channel->repetitions();
        }
        why = &large;
        (void)gvcp::readUrl(*channel, gvcp::kFirstUrl); // as large as an answer may be
    } catch (const gvcp::Error &error) {
        if (!channel)
            return false; // as its state tells
        if (error.cause() != gvcp::Cause::Refused)
            *why = std::string(", then ") + error.what();
    }
    std::sort(took.begin(), took.end());
    const double median = took.empty() ? 0 : took[took.size() / 2];
    const std::string fact =
        say(labelOf(camera), ": ", took.size(), " round trips, median ", median, " ms, worst ",
            took.empty() ? 0 : took.back(), " ms, ", again, " asked again", small);
    all.parts[Network]["facts"].push_back(fact);
    if (!small.empty() || (again > 1 && again * 100 > took.size()))
        all.note(kLossy, fact, "try another cable, and no switch in between");
    else if (median > kSlowMs)
        all.note(kSlow, fact, "see what else keeps the camera busy", false);
    if (!large.empty())
        all.note(kLowMtu, say(fact, "; asked for ", gvcp::kUrlRegisterSize, " bytes", large),
                 say("sudo ip link set dev ", cardOf(all, camera).name,
                     " mtu 1500; if it has that, look in between"));
    return small.empty() && large.empty();
}

void lookInto(Examination &all, const gvcp::Found &found) {
    try {
        const Camera camera(found, Purpose::Look);
        Words failing, lacking;
        size_t read = 0;
        for (const Feature &feature : allFeatures()) {
            stopIfAsked();
            const Reading reading = readFeature(camera, feature, nullptr);
            read += hasValue(reading.value);
            if (reading.failed)
                failing.push_back(say(feature.name, " (", reading.problem, ")"));
        }
        for (const auto &[parameter, features, problem] : hostParameters(camera))
            if (!problem.empty())
                lacking.push_back(say(parameter, " (", problem, ")"));
        const Reading packet = readFeature(camera, ownFeature("GevSCPSPacketSize"), nullptr);
        all.parts[TheCamera]["facts"].push_back(
            say(labelOf(found), ": ", read, " of ", allFeatures().size(),
                " features that kxinfo knows can be read as it stands; packets of images have ",
                quantityText(*packet.feature, packet.value), " bytes"));
        if (!failing.empty())
            all.note(kUnreadable, joined(failing, " and "), "switch the camera off and on");
        if (!lacking.empty())
            all.note(kLacking, joined(lacking, " and "), "its maker alone can add them", false);
    } catch (...) {
        stopIfAsked();
        all.note(kDescription, reasonInFlight(), "if it stays so, it needs other firmware");
    }
}

// \return an ExitStatus
int examine(Examination &all, const CameraArgument &name, bool each) {
    gvcp::Search where = gvcp::searchFromEnvironment();
    where.expected.reset(); // who shares an address may be the last to answer
    where.serial.clear();
    where.sharedAddresses = true;
    all.cards = networkCards();
    for (const Card &card : all.cards) {
        std::string fact = say(card.name, ": MTU ", card.mtu);
        for (const gvcp::Interface &own : card.own)
            fact += ", " + networkText(own);
        all.parts[Computer]["facts"].push_back(fact + (card.hasLink ? "" : ", no link"));
    }
    search(all, where);
    stopIfAsked();
    std::vector<gvcp::Found> meant = all.answered;
    const char *variable = getenv(kCameraVariable);
    if (!name.value_or("").empty() || (!each && variable && *variable)) {
        try {
            meant = {chosenCamera(name)};
        } catch (...) {
            stopIfAsked();
            all.note(kNotFound, reasonInFlight(), "kxinfo list");
            meant.clear();
        }
    }
    bool missing = meant.empty();
    if (missing)
        judgeMissing(all);
    for (const Shared &shared : sharedBy(all.answered))
        all.note(shared.isAddress ? kSameAddress : kSameSerial, shared.seen, shared.remedy);
    const std::vector<State> states = statesOf(meant);
    const auto end = Clock::now() + kLongestOfAll;
    for (size_t i = 0; i < meant.size(); ++i) {
        stopIfAsked();
        all.about = nameOf(meant[i].identity).serial;
        const bool stands = judgeState(all, meant[i], states[i]);
        missing = missing || !stands;
        if (stands && (each || Clock::now() < end) && measure(all, meant[i]) &&
            (each || meant.size() == 1))
            lookInto(all, meant[i]);
    }
    judgeSettings(all, missing);
    all.parts[TheCamera]["looked"] = !all.parts[TheCamera]["facts"].empty();
    stopIfAsked();
    return meant.empty() ? kNoCamera : all.hindered ? kFailed : kDone;
}

std::string shown(const Json &parts) {
    std::string text;
    for (const Json &part : parts) {
        text += say(text.empty() ? "" : "\n", part.value("part", ""), "\n");
        for (const Json &fact : part["facts"])
            text += say("  ", fact.get<std::string>(), "\n");
        for (const Json &found : part["findings"])
            text += say("  ", found.value("severity", ""), ": ", found.value("id", ""), "\n    ",
                        found.value("seen", ""), "\n    ", found.value("means", ""),
                        "\n    What helps: ", found.value("remedy", ""), "\n");
        if (part["findings"].empty())
            text += part["looked"] ? "  nothing found\n"
                                   : "  not looked at: there is not just one that opens\n";
    }
    return text;
}

} // namespace

int diagnose(const CameraArgument &camera, bool each, bool json, std::string &result) {
    stopWaitingWhen(stopOnSignals());
    Examination all;
    const int status = examine(all, camera, each);
    result =
        json ? jsonText({{"version", 1}, {"hearsDropped", all.hearsDropped}, {"parts", all.parts}})
             : shown(all.parts);
    return status;
}

Run declareDoctor(CLI::App &command) {
    const auto camera = std::make_shared<CameraArgument>();
    const auto json = std::make_shared<bool>(false);
    const auto each = std::make_shared<bool>(false);
    addCamera(command, *camera);
    command.add_flag("--json", *json, "Write a JSON document");
    command.add_flag("--all", *each,
                     "Look at the features of every camera, however many there are");
    command.footer(
        R"(Nothing is changed, neither on cameras nor on this computer. Root also sees answers that are dropped.
The status is 0 when nothing hinders, 1 when no camera answers, 3 when there is a problem.

Example:
  kxinfo doctor)");
    return [camera, json, each] {
        if (*each && *camera)
            throw Error(kWrongUsage, "'kxinfo doctor' takes --all or a camera, not both.");
        std::string result;
        const int status = diagnose(*camera, *each, *json, result);
        writeOut(result);
        return status;
    };
}

} // namespace kxinfo
