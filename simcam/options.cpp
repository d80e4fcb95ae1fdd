#include "options.h"

#include "text.h"

#include <CLI/CLI.hpp>

#include <arpa/inet.h>

#include <map>
#include <set>

namespace simcam {

namespace {

constexpr size_t kMaxSerial = 15; // registers hold these and a NUL
constexpr size_t kMaxName = 31;

// Each takes two sockets, and a process has 1024 unless told otherwise, and a copy of its registers
// and of its description.
constexpr size_t kMaxCameras = 256;

const char *const kAbout =
    "Serves virtual GigE Vision cameras on UDP port 3956 until it is told to stop (SIGTERM, "
    "SIGINT).";

const char *const kFooter =
    R"(--vendor, --model, --description, --first-url and --second-url hold for the cameras that follow:
  kxinfo-simcam --camera S1@127.0.0.2 --vendor Other --model M9 --camera X1@127.0.0.3

A URL may be any text, or none; the other URL still names the description:
  --first-url 'Local:gone.xml;10000000;100' --first-url http://127.0.0.1/a.xml --second-url ''

--little-endian has READMEM and WRITEMEM show the numbers of four bytes that the description has,
unless it calls them LittleEndian itself, in little-endian byte order. READREG and WRITEREG have the
same numbers as ever; registers of the standard, texts and files stay as they are.

--no-capability has a camera lack what a bit of its capability register 0x0934 promises:
  concatenation        several registers in one READREG or WRITEREG: INVALID_PARAMETER
  writemem             WRITEMEM: NOT_IMPLEMENTED
  primary-application  registers that say who controls it, 0x0A04 and 0x0A14: INVALID_ADDRESS
  user-defined-name    register of the name that a user gives it, 0x00E8: INVALID_ADDRESS

A fault holds for all cameras, or for the one that is named before a colon; that one wins:
  --drop 5%           each command is lost on its way with a chance of 5 %
  --drop 3            the first 3 commands are lost
  --drop 1/3          every third command is lost: the 3rd, the 6th, ...
  --drop @17          the 17th command is lost, no other
  --drop S1:0         camera S1 loses none
  --nack 5%           each other command is answered BUSY (0x8007) and not carried out; or --nack 3
  --delay 50          every answer is sent 50 ms late, others do not wait for it
  --delay 50,5%       ... or some answers, or the first 3: 50,3
  --pending 300       every answer is announced by a PENDING_ACK, and sent 300 ms later; or 300,5%
  --pending forever   ... not sent: a PENDING_ACK each 100 ms, until the client's next command or
                      for 60 s; or forever,1
  --cut 5%            answers are cut at a place that chance chooses, between any two bytes
  --double 5%         answers are sent twice
  --wrong 5%          three wrong answers come before the right one: with the request number before,
                      of another command's kind, and from another port
  --refuse-control    nobody gets control: ACCESS_DENIED; or --refuse-control S1
  --silent-after 100  a camera that has answered 100 commands is mute from then on
  --die-after 100     ... or gone: its socket is closed, so hosts hear "port unreachable"
Each SHARE is a percentage or, counted among the commands or answers in question, N (the first so
many), 1/N (every N-th) or @N (that one). DISCOVERY never meets a fault, since a camera has to be
found first, but it counts among the answered commands, and no dead camera answers it. The same
seed, serial number and commands give the same faults.

Starting values go by the feature names of the description, in the order given. An enumeration
takes an entry's name, a boolean true or false; behind a selector the selected value is meant:
  --set Gain=4.0 --set S1:ReverseX=true --set BalanceRatioSelector=Red --set BalanceRatio=2

--watch prints a line for each packet that comes to a camera, as it comes:
  S1 127.0.0.1:40123 DISCOVERY broadcast -> ok
  S1 127.0.0.1:40123 READREG Width=1936 Height=1216 -> ok
  S1 127.0.0.1:40123 READMEM 0x00000200 512 bytes -> ok, delayed 50 ms
  S1 127.0.0.1:40123 WRITEREG 0x0001FFFC=0x00000001 -> INVALID_ADDRESS, repeated
Serial number, sender, command, registers and values; then how it was answered: ok, or the error's
name, or dropped, silent (the camera is dead) or ignored (no command, or not for this camera). What
follows, if anything: 'no answer wanted'; 'retransmitted', the sender's last packet once more, or
'repeated', such a one answered from memory and not carried out again; what befell the answer:
'delayed 50 ms', 'pending 300 ms', 'pending forever', 'cut', 'doubled', 'wrong answers first'.

When all cameras can be reached, one line says so:
  kxinfo-simcam: ready, 2 cameras: S1@127.0.0.2 X1@127.0.0.3
When it is told to stop, one line per camera says which commands it has had:
  kxinfo-simcam: S1 discovery=1 readreg=52 writereg=13 readmem=24 writemem=0 other=0 refused=0 repeated=0
'refused' and 'repeated' are among the others: answered with an error, answered once more. Where
--drop, --nack or --delay is at work the line goes on: dropped=2 nacked=1 delayed=9
Where --pending, --cut, --double or --wrong is, it goes on: pending=3 cut=1 doubled=4 wrong=2

A description is any GenICam file, XML or zip. Registers with constant addresses (also behind a
<pIndex>) are mapped; each may say what it holds in a fresh camera, once per cell:
  <Extension><Initial>1.0</Initial><Initial>2.0</Initial><Cells>12</Cells></Extension>
Registers whose address or length is computed are left out: the camera answers INVALID_ADDRESS.

Exit status: 0 told to stop, 1 something failed, 2 wrong usage.)";

void check(bool right, const std::string &sentence) {
    if (!right)
        throw WrongUsage{sentence};
}

// Serial numbers name snapshot files and stand between blanks in printed lines.
bool isSerial(const std::string &text) {
    return !text.empty() && text.size() <= kMaxSerial && text.front() != '.' &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789._-") == std::string::npos;
}

// An address that one camera can have: neither 0.x.x.x nor multicast, reserved or broadcast.
std::optional<uint32_t> toAddress(const std::string &text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        return std::nullopt;
    const uint32_t value = ntohl(address.s_addr);
    if (value >> 24 == 0 || value >> 24 >= 224)
        return std::nullopt;
    return value;
}

void readCamera(const std::string &text, Identity &identity) {
    const size_t at = text.find('@');
    check(at != std::string::npos,
          "--camera is '" + text + "', expected SERIAL@ADDRESS, for example S1234@127.0.0.2.");
    identity.serial = text.substr(0, at);
    check(isSerial(identity.serial),
          "--camera " + text + ": the serial number is '" + identity.serial + "', expected 1 to " +
              std::to_string(kMaxSerial) +
              " letters, digits, '-', '_' or '.' (not '.' at the start).");
    const std::string address = text.substr(at + 1);
    const auto value = toAddress(address);
    check(value.has_value(), "--camera " + text + ": the address is '" + address +
                                 "', expected the IPv4 address of one host, for example "
                                 "127.0.0.2.");
    identity.address = *value;
}

void checkUnique(const Identity &identity, const std::vector<CameraOptions> &others) {
    for (const CameraOptions &other : others) {
        check(other.identity.address != identity.address,
              "--camera " + identity.serial + ": camera " + other.identity.serial +
                  " has this address already, give each camera one of its own.");
        check(other.identity.serial != identity.serial,
              "--camera " + identity.serial +
                  ": another camera has this serial number, give each one of its own.");
    }
}

bool isNumber(const std::string &text) {
    constexpr size_t kMaxDigits = 18; // 64 bits hold more
    return !text.empty() && text.size() <= kMaxDigits &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<uint64_t> toCount(const std::string &text) {
    return isNumber(text) ? std::optional<uint64_t>(std::stoull(text)) : std::nullopt;
}

template <typename To>
bool take(const std::optional<To> &value, To &to) {
    if (value)
        to = *value;
    return value.has_value();
}

template <typename To>
bool take(const std::optional<To> &value, std::optional<To> &to) {
    to = value;
    return value.has_value();
}

// "5%", "0.25%", a number of commands, "1/3" (each third) or "@17" (the 17th).
std::optional<Share> toShare(const std::string &text) {
    Share share;
    if (take(toCount(text), share.first))
        return share;
    if (text.rfind("1/", 0) == 0)
        return take(toCount(text.substr(2)), share.every) && share.every > 0
                   ? std::optional<Share>(share)
                   : std::nullopt;
    if (text.rfind('@', 0) == 0)
        return take(toCount(text.substr(1)), share.at) && share.at > 0 ? std::optional<Share>(share)
                                                                       : std::nullopt;
    if (text.empty() || text.back() != '%')
        return std::nullopt;
    std::string digits = text.substr(0, text.size() - 1);
    const std::string percent = digits;
    if (const size_t point = digits.find('.'); point != std::string::npos && point > 0)
        digits.erase(point, 1);
    if (!isNumber(digits) || percent.back() == '.' || std::stod(percent) > 100)
        return std::nullopt;
    share.chance = std::stod(percent) / 100;
    return share;
}

// A time or a word and, behind a comma, a share of the answers: all of them if there is none.
struct Timed {
    std::string time;
    std::optional<Share> share;
};

Timed toTimed(const std::string &text) {
    const size_t comma = text.find(',');
    Share all;
    all.chance = 1;
    return {text.substr(0, comma),
            comma == std::string::npos ? all : toShare(text.substr(comma + 1))};
}

template <Share Faults::*share>
bool readShare(const std::string &text, CameraOptions &camera) {
    return take(toShare(text), camera.faults.*share);
}

template <std::optional<uint64_t> Faults::*count>
bool readCount(const std::string &text, CameraOptions &camera) {
    return take(toCount(text), camera.faults.*count);
}

// "50", "50,5%" or "50,3".
bool readDelay(const std::string &text, CameraOptions &camera) {
    constexpr uint64_t kLongest = 3'600'000; // an hour
    const Timed timed = toTimed(text);
    const auto time = toCount(timed.time);
    if (!time || *time > kLongest || !timed.share)
        return false;
    camera.faults.delayTime = std::chrono::milliseconds(*time);
    camera.faults.delay = *time > 0 ? *timed.share : Share{};
    return true;
}

// As a delay, or "forever".
bool readPending(const std::string &text, CameraOptions &camera) {
    constexpr uint64_t kLongest = 0xFFFF; // what a PENDING_ACK can say
    const Timed timed = toTimed(text);
    const bool isForever = timed.time == "forever";
    const auto time = isForever ? 0 : toCount(timed.time);
    if (!time || *time > kLongest || !timed.share)
        return false;
    camera.faults.isPendingForever = isForever;
    camera.faults.pendingTime = std::chrono::milliseconds(*time);
    camera.faults.pending = isForever || *time > 0 ? *timed.share : Share{};
    return true;
}

// "concatenation,writemem". The serial number is none of them: cameras are found by it.
bool readMissing(const std::string &text, CameraOptions &camera) {
    const std::map<std::string, uint32_t> capabilities{
        {"concatenation", capability::kConcatenation},
        {"writemem", capability::kWriteMem},
        {"primary-application", capability::kPrimaryApplication},
        {"user-defined-name", capability::kUserDefinedName}};
    camera.quirks.missing = 0;
    for (size_t at = 0, comma = 0; comma != std::string::npos; at = comma + 1) {
        comma = text.find(',', at);
        const auto found = capabilities.find(text.substr(at, comma - at));
        if (found == capabilities.end())
            return false;
        camera.quirks.missing |= found->second;
    }
    return true;
}

// One of the options that hold for the cameras that follow.
struct FollowingOption {
    const char *name;
    const char *type;
    const char *help;
    void (*read)(const std::string &option, const std::string &value, CameraOptions &camera);
};

template <std::string Identity::*name>
void readName(const std::string &option, const std::string &value, CameraOptions &camera) {
    check(!value.empty() && value.size() <= kMaxName,
          option + " is '" + value + "' (" + std::to_string(value.size()) +
              " bytes), expected 1 to " + std::to_string(kMaxName) +
              ": a camera's register holds no more.");
    camera.identity.*name = value;
}

template <std::optional<std::string> Quirks::*url>
void readUrl(const std::string &option, const std::string &value, CameraOptions &camera) {
    constexpr size_t kMaxUrl = bootstrap::kUrlSize - 1;
    check(value.size() <= kMaxUrl, option + " has " + std::to_string(value.size()) +
                                       " bytes, expected at most " + std::to_string(kMaxUrl) +
                                       ": a camera's register holds no more.");
    camera.quirks.*url = value;
}

void readDescription(const std::string &option, const std::string &value, CameraOptions &camera) {
    check(!value.empty(), option + " is '', expected a GenICam file, XML or zip.");
    camera.description = value;
}

const FollowingOption kFollowingOptions[] = {
    {"--vendor", "TEXT", "Manufacturer's name [Dalsa], at most 31 bytes",
     readName<&Identity::vendor>},
    {"--model", "TEXT", "Model name [C1936], at most 31 bytes", readName<&Identity::model>},
    {"--description", "FILE", "GenICam description [the built-in 1936 x 1216 model]",
     readDescription},
    {"--first-url", "TEXT", "What the first URL is instead, at most 511 bytes",
     readUrl<&Quirks::firstUrl>},
    {"--second-url", "TEXT", "What the second URL is instead, at most 511 bytes",
     readUrl<&Quirks::secondUrl>},
};

// One of the options that take [SERIAL:]VALUE, or [SERIAL] where nothing else is expected.
struct PerCameraOption {
    const char *name;
    const char *type;
    const char *help;
    const char *expected;                                          // empty: no value
    bool (*read)(const std::string &value, CameraOptions &camera); // false: it is wrong
};

const char *const kShareRule =
    "a percentage, a number of commands, each N-th as 1/N or the N-th as @N, for example 5%, 3, "
    "1/3, @17 or S1:5%.";
const char *const kCountRule = "a number of commands, for example 100 or S1:100.";

const PerCameraOption kPerCameraOptions[] = {
    {"--drop", "[SERIAL:]SHARE", "Commands are lost on their way", kShareRule,
     readShare<&Faults::drop>},
    {"--nack", "[SERIAL:]SHARE", "Commands are refused as BUSY", kShareRule,
     readShare<&Faults::nack>},
    {"--delay", "[SERIAL:]MS[,SHARE]", "Answers come late",
     "milliseconds up to an hour and, if not all answers are meant, a share of them, for example "
     "50, 50,5% or S1:50,3.",
     readDelay},
    {"--pending", "[SERIAL:]MS|forever[,SHARE]",
     "Answers are announced by PENDING_ACK and come as much later, or never",
     "milliseconds up to 65535, or forever, and, if not all answers are meant, a share of them, "
     "for example 300, 300,5%, forever,1 or S1:300,@3.",
     readPending},
    {"--cut", "[SERIAL:]SHARE", "Answers lose their end", kShareRule, readShare<&Faults::cut>},
    {"--double", "[SERIAL:]SHARE", "Answers are sent twice", kShareRule, readShare<&Faults::twice>},
    {"--wrong", "[SERIAL:]SHARE", "Answers have wrong ones before them", kShareRule,
     readShare<&Faults::wrong>},
    {"--silent-after", "[SERIAL:]N", "Each camera is dead once it has answered N commands",
     kCountRule, readCount<&Faults::silentAfter>},
    {"--die-after", "[SERIAL:]N", "... dead, and its socket is closed", kCountRule,
     readCount<&Faults::dieAfter>},
    {"--no-capability", "[SERIAL:]NAME[,NAME]...", "Each camera lacks these capabilities",
     "concatenation, writemem, primary-application or user-defined-name, or several of them, for "
     "example writemem,concatenation or S1:writemem.",
     readMissing},
    {"--little-endian", "[SERIAL]", "READMEM and WRITEMEM have numbers in little-endian order", "",
     [](const std::string &, CameraOptions &camera) {
         return camera.quirks.isLittleEndian = true;
     }},
    {"--refuse-control", "[SERIAL]", "Nobody gets control", "",
     [](const std::string &, CameraOptions &camera) { return camera.faults.refuseControl = true; }},
};

std::vector<std::string> serialsOf(const std::vector<CameraOptions> &cameras) {
    std::vector<std::string> serials;
    serials.reserve(cameras.size());
    for (const CameraOptions &camera : cameras)
        serials.push_back(camera.identity.serial);
    return serials;
}

// What stands before a colon is a serial number; without one an option holds for all cameras.
struct Addressed {
    std::string serial;
    std::string value;
};

Addressed addressedTo(const std::string &text, size_t colon) {
    if (colon == std::string::npos || colon == 0)
        return {"", text};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

// Calls apply(camera) for each camera that is meant.
template <typename Apply>
void forMeant(std::vector<CameraOptions> &cameras, const std::string &option,
              const std::string &text, const std::string &serial, const Apply &apply) {
    bool isMet = false;
    for (CameraOptions &camera : cameras) {
        if (!serial.empty() && serial != camera.identity.serial)
            continue;
        apply(camera);
        isMet = true;
    }
    check(isMet, option + " is '" + text + "', but there is no camera " + serial + ", expected " +
                     oneOf(serialsOf(cameras)) + ".");
}

// For all cameras first, so that what is said of one camera wins wherever it stands.
void readPerCamera(std::vector<CameraOptions> &cameras, const PerCameraOption &perCamera,
                   const std::vector<std::string> &texts) {
    const std::string option = perCamera.name;
    const auto twice = [&](const std::string &serial) {
        return option + " is given twice for " +
               (serial.empty() ? "all cameras" : "camera " + serial) + ", give it once.";
    };
    const auto wrong = [&](const std::string &text) {
        return option + " is '" + text + "', expected " + perCamera.expected;
    };
    const bool hasValue = *perCamera.expected;
    std::set<std::string> seen;
    for (const bool isForAll : {true, false}) {
        for (const std::string &text : texts) {
            const Addressed addressed =
                hasValue ? addressedTo(text, text.find(':')) : Addressed{text, ""};
            if (addressed.serial.empty() != isForAll)
                continue;
            check(seen.insert(addressed.serial).second, twice(addressed.serial));
            forMeant(cameras, option, text, addressed.serial, [&](CameraOptions &camera) {
                check(perCamera.read(addressed.value, camera), wrong(text));
            });
        }
    }
    // A value for all holds for those that have none of their own.
    check(seen.count("") == 0 || seen.size() <= (hasValue ? cameras.size() : 1),
          option + " is given for " + (hasValue ? "each camera" : "some camera") +
              " and for all, give it without a camera or with each that is meant.");
}

// What never comes cannot be late or cut, too.
void checkPerCameraOptions(const CameraOptions &camera) {
    const Faults &faults = camera.faults;
    if (!faults.isPendingForever || !faults.pending.isAll())
        return;
    const std::pair<const char *, Share> others[] = {{"--delay", faults.delay},
                                                     {"--cut", faults.cut},
                                                     {"--double", faults.twice},
                                                     {"--wrong", faults.wrong}};
    for (const auto &[option, share] : others)
        check(share.isNone(), "--pending forever: camera " + camera.identity.serial +
                                  " never answers, so " + option +
                                  " has no answer to befall, give --pending a share, for example "
                                  "forever,1.");
}

void readSetting(std::vector<CameraOptions> &cameras, const std::string &text) {
    const size_t equals = text.find('=');
    const size_t colon = text.substr(0, equals).find(':');
    const Addressed addressed = addressedTo(text, colon);
    const size_t split = addressed.value.find('=');
    check(split != std::string::npos && split > 0 && colon != 0,
          "--set is '" + text +
              "', expected FEATURE=VALUE, for example Gain=4.0 or S1:ReverseX=true.");
    forMeant(cameras, "--set", text, addressed.serial, [&](CameraOptions &camera) {
        camera.settings.push_back(
            {text, addressed.value.substr(0, split), addressed.value.substr(split + 1)});
    });
}

} // namespace

std::optional<Options> parseOptions(int argc, char **argv) {
    CLI::App app{kAbout, "kxinfo-simcam"};
    app.footer(kFooter);
    app.allow_extras(); // named one by one below
    app.set_version_flag("--version", "kxinfo-simcam " KXINFO_VERSION);
    app.get_formatter()->column_width(32);

    std::map<std::string, std::vector<std::string>> values; // by option
    const auto option = [&](const char *name, const char *type, const std::string &help) {
        return app.add_option(name, values[name], help)
            ->type_name(type)
            ->allow_extra_args(false)
            ->expected(std::string(type) == "[SERIAL]" ? 0 : 1, 1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    };
    option("--camera", "SERIAL@ADDRESS", "Serve a camera (at least one)");
    for (const FollowingOption &following : kFollowingOptions)
        option(following.name, following.type, following.help);
    app.add_flag("--zip", "The first URL names the zipped description (default)");
    app.add_flag("--plain", "The first URL names the plain description");
    option("--set", "[SERIAL:]FEATURE=VALUE", "Starting value of a feature");
    for (const PerCameraOption &perCamera : kPerCameraOptions)
        option(perCamera.name, perCamera.type, perCamera.help);
    option("--seed", "N", "Where chance starts from [1]");
    app.add_flag("--watch", "Print each command as it comes");
    option("--snapshot", "DIR",
           "Write DIR/SERIAL.txt, all registers as 'Name = value' lines, on SIGUSR1 and when told "
           "to stop");

    // Last one first, as CLI11 takes them. It would take the one behind "--name=" for the value.
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {
        const std::string text = argv[i];
        const bool isValueEmpty = text.rfind("--", 0) == 0 && text.find('=') == text.size() - 1;
        if (isValueEmpty)
            arguments.emplace_back();
        arguments.push_back(text.substr(0, text.size() - isValueEmpty));
    }

    try {
        app.parse(std::move(arguments));
    } catch (const CLI::Success &success) { // --help, --version
        app.exit(success);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        throw WrongUsage{std::string(error.what()) + "."};
    }

    for (const std::string &unknown : app.remaining()) {
        const bool isOption = unknown.rfind("--", 0) == 0;
        const std::string name = isOption ? unknown.substr(0, unknown.find('=')) : unknown;
        std::vector<std::string> known;
        for (const CLI::Option *each : app.get_options())
            known.push_back("--" + each->get_lnames().front());
        throw WrongUsage{"there is no argument '" + name + "'" + didYouMean(name, known)};
    }
    Options options;
    for (const char *const name : {"--zip", "--plain", "--seed", "--watch", "--snapshot"})
        check(app.count(name) <= 1, std::string(name) + " is given twice, give it once.");
    for (const char *const name : {"--zip", "--plain", "--watch"}) {
        for (const std::string &value : app[name]->results())
            check(value == "true", std::string(name) + " is '" + value + "', expected no value.");
    }
    check(app.count("--zip") == 0 || app.count("--plain") == 0,
          "--zip and --plain exclude each other: one description comes first.");
    if (app.count("--plain") > 0)
        options.firstUrl = FirstUrl::Plain;
    options.isWatched = app.count("--watch") > 0;
    for (const std::string &seed : values["--seed"])
        check(take(toCount(seed), options.seed),
              "--seed is '" + seed + "', expected a number of up to 18 digits, for example 7.");
    for (const std::string &folder : values["--snapshot"])
        options.snapshotFolder = folder;

    // As typed, from left to right.
    CameraOptions next; // the camera that follows
    next.identity.vendor = "Dalsa";
    next.identity.model = "C1936";
    std::set<std::string> idle; // options that no camera has followed yet
    std::map<std::string, size_t> used;
    for (const CLI::Option *typed : app.parse_order()) {
        const std::string name = typed->get_name();
        const auto value = [&] { return values[name].at(used[name]++); };
        for (const FollowingOption &following : kFollowingOptions) {
            if (following.name != name)
                continue;
            check(idle.insert(name).second,
                  name + " is given twice before the next --camera, give it once.");
            following.read(name, value(), next);
        }
        if (name != "--camera")
            continue;
        idle.clear();
        const std::string text = value();
        check(options.cameras.size() < kMaxCameras,
              "--camera " + text + ": there are " + std::to_string(kMaxCameras) +
                  " already, expected no more, serve others by another kxinfo-simcam.");
        readCamera(text, next.identity);
        checkUnique(next.identity, options.cameras);
        options.cameras.push_back(next);
    }
    check(!options.cameras.empty(),
          "no camera to serve, give at least one: --camera SERIAL@ADDRESS.");
    check(idle.empty(), (idle.empty() ? "" : *idle.begin()) +
                            " holds for the cameras that follow it, and none does, give it before "
                            "--camera.");

    for (const PerCameraOption &perCamera : kPerCameraOptions)
        readPerCamera(options.cameras, perCamera, values[perCamera.name]);
    for (const CameraOptions &serving : options.cameras)
        checkPerCameraOptions(serving);
    for (const std::string &setting : values["--set"])
        readSetting(options.cameras, setting);
    return options;
}

} // namespace simcam
