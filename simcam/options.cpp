#include "options.h"

#include <CLI/CLI.hpp>

#include <arpa/inet.h>
#include <sys/stat.h>

#include <map>
#include <set>

namespace simcam {

namespace {

constexpr std::size_t kMaxSerial = 15; // registers hold these and a NUL
constexpr std::size_t kMaxName = 31;

const char *const kAbout =
    "Serves virtual GigE Vision cameras on UDP port 3956 until it is told to stop (SIGTERM, "
    "SIGINT).";

const char *const kFooter =
    R"(--vendor, --model and --description hold for the cameras that follow them:
  kxinfo-simcam --camera S1@127.0.0.2 --vendor Other --model M9 --camera X1@127.0.0.3

A fault holds for all cameras, or for the one that is named before a colon; that one wins:
  --drop 5%           each command is lost on its way with a chance of 5 %
  --drop 3            the first 3 commands are lost
  --drop S1:0         camera S1 loses none
  --nack 5%           each other command is answered BUSY (0x8007) and not carried out; or --nack 3
  --delay 50          every answer is sent 50 ms late, others do not wait for it
  --delay 50,5%       ... or some answers, or the first 3: 50,3
  --refuse-control    nobody gets control: ACCESS_DENIED; or --refuse-control S1
  --silent-after 100  a camera that has answered 100 commands is mute from then on
  --die-after 100     ... or gone: its socket is closed, so hosts hear "port unreachable"
DISCOVERY is never dropped, refused or delayed, since a camera has to be found first, but it counts
among the answered commands, and no dead camera answers it. The same seed, serial number and
commands give the same faults.

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
'repeated', such a one answered from memory and not carried out again; 'delayed 50 ms'.

When all cameras can be reached, one line says so:
  kxinfo-simcam: ready, 2 cameras: S1@127.0.0.2 X1@127.0.0.3
When it is told to stop, one line per camera says which commands it has had:
  kxinfo-simcam: S1 discovery=1 readreg=52 writereg=13 readmem=24 writemem=0 other=0 refused=0 repeated=0
'refused' and 'repeated' are among the others: answered with an error, answered once more. Where
--drop, --nack or --delay is at work the line goes on: dropped=2 nacked=1 delayed=9

A description is any GenICam file, XML or zip. Registers with constant addresses (also behind a
<pIndex>) are mapped; each may say what it holds in a fresh camera, once per cell:
  <Extension><Initial>1.0</Initial><Initial>2.0</Initial><Cells>12</Cells></Extension>
Registers whose address or length is computed are left out: the camera answers INVALID_ADDRESS.

Exit status: 0 told to stop, 1 something failed, 2 wrong usage.)";

void check(bool right, const std::string &sentence) {
    if (!right)
        throw WrongUsage{sentence};
}

void checkName(const char *option, const std::string &name) {
    check(!name.empty() && name.size() <= kMaxName,
          std::string(option) + " is '" + name + "' (" + std::to_string(name.size()) +
              " bytes), expected 1 to " + std::to_string(kMaxName) +
              ": a camera's register holds no more.");
}

// Serial numbers name snapshot files and stand between blanks in printed lines.
bool isSerial(const std::string &text) {
    return !text.empty() && text.size() <= kMaxSerial && text.front() != '.' &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789._-") == std::string::npos;
}

// An address that one camera can have: neither 0.x.x.x nor multicast, reserved or broadcast.
std::optional<std::uint32_t> toAddress(const std::string &text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        return std::nullopt;
    const std::uint32_t value = ntohl(address.s_addr);
    if (value >> 24 == 0 || value >> 24 >= 224)
        return std::nullopt;
    return value;
}

Identity toIdentity(const std::string &text) {
    const std::size_t at = text.find('@');
    check(at != std::string::npos,
          "--camera is '" + text + "', expected SERIAL@ADDRESS, for example S1234@127.0.0.2.");
    Identity identity;
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
    return identity;
}

bool isNumber(const std::string &text) {
    constexpr std::size_t kMaxDigits = 18; // 64 bits hold more
    return !text.empty() && text.size() <= kMaxDigits &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<std::uint64_t> toCount(const std::string &text) {
    return isNumber(text) ? std::optional<std::uint64_t>(std::stoull(text)) : std::nullopt;
}

// "5%", "0.25%" or a number of commands.
std::optional<Share> toShare(const std::string &text) {
    if (const auto count = toCount(text))
        return Share{*count, 0};
    if (text.empty() || text.back() != '%')
        return std::nullopt;
    std::string digits = text.substr(0, text.size() - 1);
    const std::string percent = digits;
    if (const std::size_t point = digits.find('.'); point != std::string::npos && point > 0)
        digits.erase(point, 1);
    if (!isNumber(digits) || percent.back() == '.' || std::stod(percent) > 100)
        return std::nullopt;
    return Share{0, std::stod(percent) / 100};
}

// "50", "50,5%" or "50,3".
bool readDelay(const std::string &text, Faults &faults) {
    constexpr std::uint64_t kLongest = 3'600'000; // an hour
    const std::size_t comma = text.find(',');
    const auto time = toCount(text.substr(0, comma));
    const auto share = comma == std::string::npos ? Share{0, 1} : toShare(text.substr(comma + 1));
    if (!time || *time > kLongest || !share)
        return false;
    faults.delayTime = std::chrono::milliseconds(*time);
    faults.delay = *time > 0 ? *share : Share{};
    return true;
}

// One of the options that take [SERIAL:]VALUE.
struct Fault {
    const char *option;
    const char *type;
    const char *help;
    const char *expected;
    bool (*read)(const std::string &value, Faults &faults); // false: it is wrong
};

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

const char *const kShareRule = "a percentage or a number of commands, for example 5%, 3 or S1:5%.";
const char *const kCountRule = "a number of commands, for example 100 or S1:100.";

const Fault kFaults[] = {
    {"--drop", "[SERIAL:]P%|N", "Commands are lost on their way", kShareRule,
     [](const std::string &value, Faults &faults) { return take(toShare(value), faults.drop); }},
    {"--nack", "[SERIAL:]P%|N", "Commands are refused as BUSY", kShareRule,
     [](const std::string &value, Faults &faults) { return take(toShare(value), faults.nack); }},
    {"--delay", "[SERIAL:]MS[,P%|,N]", "Answers come late",
     "milliseconds up to an hour and, if not all answers are meant, a percentage or a number of "
     "answers, for example 50, 50,5% or S1:50,3.",
     readDelay},
    {"--silent-after", "[SERIAL:]N", "Each camera is dead once it has answered N commands",
     kCountRule,
     [](const std::string &value, Faults &faults) {
         return take(toCount(value), faults.silentAfter);
     }},
    {"--die-after", "[SERIAL:]N", "... dead, and its socket is closed", kCountRule,
     [](const std::string &value, Faults &faults) {
         return take(toCount(value), faults.dieAfter);
     }},
};

std::string names(const std::vector<CameraOptions> &cameras) {
    std::string text;
    for (std::size_t i = 0; i < cameras.size(); ++i)
        text += (i == 0                    ? ""
                 : i + 1 == cameras.size() ? " or "
                                           : ", ") +
                cameras[i].identity.serial;
    return text;
}

// What stands before a colon is a serial number; without one an option holds for all cameras.
struct Aimed {
    std::string serial;
    std::string value;
};

Aimed toAimed(const std::string &text, std::size_t colon) {
    if (colon == std::string::npos || colon == 0)
        return {"", text};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

// Calls apply(camera) for each camera that is meant.
template <typename Apply>
void aim(std::vector<CameraOptions> &cameras, const std::string &option, const std::string &text,
         const std::string &serial, const Apply &apply) {
    bool isMet = false;
    for (CameraOptions &camera : cameras) {
        if (!serial.empty() && serial != camera.identity.serial)
            continue;
        apply(camera);
        isMet = true;
    }
    check(isMet, option + " is '" + text + "', but there is no camera " + serial + ", expected " +
                     names(cameras) + ".");
}

// For all cameras first, so that what is said of one camera wins wherever it stands.
void readFault(std::vector<CameraOptions> &cameras, const Fault &fault,
               const std::vector<std::string> &texts) {
    const std::string option = fault.option;
    const auto twice = [&](const std::string &serial) {
        return option + " is given twice for " +
               (serial.empty() ? "all cameras" : "camera " + serial) + ", give it once.";
    };
    const auto wrong = [&](const std::string &text) {
        return option + " is '" + text + "', expected " + fault.expected;
    };
    std::set<std::string> seen;
    for (const bool isForAll : {true, false}) {
        for (const std::string &text : texts) {
            const Aimed aimed = toAimed(text, text.find(':'));
            if (aimed.serial.empty() != isForAll)
                continue;
            check(seen.insert(aimed.serial).second, twice(aimed.serial));
            aim(cameras, option, text, aimed.serial, [&](CameraOptions &camera) {
                check(fault.read(aimed.value, camera.faults), wrong(text));
            });
        }
    }
}

void readSetting(std::vector<CameraOptions> &cameras, const std::string &text) {
    const std::size_t equals = text.find('=');
    const std::size_t colon = text.substr(0, equals).find(':');
    const Aimed aimed = toAimed(text, colon);
    const std::size_t split = aimed.value.find('=');
    check(split != std::string::npos && split > 0 && colon != 0,
          "--set is '" + text +
              "', expected FEATURE=VALUE, for example Gain=4.0 or S1:ReverseX=true.");
    aim(cameras, "--set", text, aimed.serial, [&](CameraOptions &camera) {
        camera.settings.push_back(
            {text, aimed.value.substr(0, split), aimed.value.substr(split + 1)});
    });
}

} // namespace

std::optional<Options> parseOptions(int argc, char **argv) {
    CLI::App app{kAbout, "kxinfo-simcam"};
    app.footer(kFooter);
    app.allow_extras(); // named one by one below
    app.set_version_flag("--version", "kxinfo-simcam " KXINFO_VERSION);
    app.get_formatter()->column_width(32);

    std::vector<std::string> cameras, vendors, models, descriptions;
    std::vector<std::string> settings, refusals;
    std::map<const Fault *, std::vector<std::string>> faults;
    std::string seed;
    Options options;
    const auto repeatable = [&](const char *name, std::vector<std::string> &values,
                                const char *type, const std::string &help) {
        return app.add_option(name, values, help)
            ->type_name(type)
            ->allow_extra_args(false)
            ->expected(1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    };
    CLI::Option *camera =
        repeatable("--camera", cameras, "SERIAL@ADDRESS", "Serve a camera (at least one)");
    CLI::Option *vendor =
        repeatable("--vendor", vendors, "TEXT", "Manufacturer's name [Dalsa], at most 31 bytes");
    CLI::Option *model =
        repeatable("--model", models, "TEXT", "Model name [C1936], at most 31 bytes");
    CLI::Option *description = repeatable("--description", descriptions, "FILE",
                                          "GenICam description [the built-in 1936 x 1216 model]");
    CLI::Option *zip =
        app.add_flag("--zip", "The first URL names the zipped description (default)");
    CLI::Option *plain = app.add_flag("--plain", "The first URL names the plain description");
    repeatable("--set", settings, "[SERIAL:]FEATURE=VALUE", "Starting value of a feature");
    for (const Fault &fault : kFaults)
        repeatable(fault.option, faults[&fault], fault.type, fault.help);
    repeatable("--refuse-control", refusals, "[SERIAL]", "Nobody gets control")->expected(0, 1);
    CLI::Option *seeded =
        app.add_option("--seed", seed, "Where chance starts from [1]")->type_name("N");
    app.add_flag("--watch", options.isWatched, "Print each command as it comes");
    app.add_option("--snapshot", options.snapshotFolder,
                   "Write DIR/SERIAL.txt, all registers as 'Name = value' lines, on SIGUSR1 and "
                   "when told to stop")
        ->type_name("DIR");

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) { // --help, --version
        app.exit(success);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        throw WrongUsage{error.what()};
    }

    check(app.remaining().empty(), "there is no argument '" +
                                       (app.remaining().empty() ? "" : app.remaining().front()) +
                                       "'.");
    check(zip->count() == 0 || plain->count() == 0,
          "--zip and --plain exclude each other: one description comes first.");
    if (plain->count() > 0)
        options.firstUrl = FirstUrl::Plain;
    if (seeded->count() > 0)
        check(take(toCount(seed), options.seed),
              "--seed is '" + seed + "', expected a number of up to 18 digits, for example 7.");
    if (!options.snapshotFolder.empty()) {
        struct stat folder {};
        check(stat(options.snapshotFolder.c_str(), &folder) == 0 && S_ISDIR(folder.st_mode),
              "--snapshot is '" + options.snapshotFolder + "', expected a folder that exists.");
    }

    // As typed, from left to right.
    std::string currentVendor = "Dalsa", currentModel = "C1936", currentDescription;
    std::map<const CLI::Option *, std::size_t> used;
    for (const CLI::Option *option : app.parse_order()) {
        const auto next = [&](const std::vector<std::string> &values) {
            return values.at(used[option]++);
        };
        if (option == vendor) {
            currentVendor = next(vendors);
            checkName("--vendor", currentVendor);
        } else if (option == model) {
            currentModel = next(models);
            checkName("--model", currentModel);
        } else if (option == description) {
            currentDescription = next(descriptions);
        } else if (option == camera) {
            Identity identity = toIdentity(next(cameras));
            identity.vendor = currentVendor;
            identity.model = currentModel;
            for (const CameraOptions &other : options.cameras) {
                check(other.identity.address != identity.address,
                      "--camera " + identity.serial + ": camera " + other.identity.serial +
                          " has this address already, give each camera one of its own.");
                check(other.identity.serial != identity.serial,
                      "--camera " + identity.serial +
                          ": another camera has this serial number, give each one of its own.");
            }
            options.cameras.push_back({identity, currentDescription, {}, {}});
        }
    }
    check(!options.cameras.empty(),
          "no camera to serve, give at least one: --camera SERIAL@ADDRESS.");

    for (const Fault &fault : kFaults)
        readFault(options.cameras, fault, faults[&fault]);
    for (const std::string &serial : refusals)
        aim(options.cameras, "--refuse-control", serial, serial,
            [](CameraOptions &refusing) { refusing.faults.refuseControl = true; });
    for (const std::string &setting : settings)
        readSetting(options.cameras, setting);
    return options;
}

} // namespace simcam
