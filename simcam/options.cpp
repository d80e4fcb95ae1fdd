#include "options.h"

#include <CLI/CLI.hpp>

#include <arpa/inet.h>
#include <sys/stat.h>

#include <map>

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

When all cameras can be reached, one line says so:
  kxinfo-simcam: ready, 2 cameras: S1@127.0.0.2 X1@127.0.0.3
When it is told to stop, one line per camera says which commands it has had:
  kxinfo-simcam: S1 discovery=1 readreg=52 writereg=13 readmem=24 writemem=0 other=0 refused=0 repeated=0
'refused' and 'repeated' are among the others: answered with an error, answered once more.

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

} // namespace

std::optional<Options> parseOptions(int argc, char **argv) {
    CLI::App app{kAbout, "kxinfo-simcam"};
    app.footer(kFooter);
    app.allow_extras(); // named one by one below
    app.set_version_flag("--version", "kxinfo-simcam " KXINFO_VERSION);
    app.get_formatter()->column_width(32);

    std::vector<std::string> cameras, vendors, models, descriptions;
    std::string silentAfter;
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
    CLI::Option *silent = app.add_option("--silent-after", silentAfter,
                                         "Each camera is dead once it has answered N commands")
                              ->type_name("N");
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
    if (silent->count() > 0) {
        const bool digits = !silentAfter.empty() && silentAfter.size() <= 18 &&
                            silentAfter.find_first_not_of("0123456789") == std::string::npos;
        check(digits, "--silent-after is '" + silentAfter + "', expected a number of commands.");
        options.silentAfter = std::stoull(silentAfter);
    }
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
            options.cameras.push_back({identity, currentDescription});
        }
    }
    check(!options.cameras.empty(),
          "no camera to serve, give at least one: --camera SERIAL@ADDRESS.");
    return options;
}

} // namespace simcam
