// kxinfo report: a page with all that is known of a camera as it stands, or of two side by side. It is
// whole by itself: no script, no network.

#include <net/if.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

#include "camera/command.h"
#include "camera/find.h"
#include "camera/html.h"
#include "camera/saved_camera.h"
#include "cli/files.h"
#include "cli/json.h"
#include "report_style.h"

namespace kxinfo {

namespace {

// The policy is a second wall, should a text ever become markup.
constexpr char kPage[] = R"(<!DOCTYPE html>
<html lang='en'><head><meta charset='utf-8'><title>$</title>
<meta http-equiv='Content-Security-Policy' content="default-src 'none'; style-src 'unsafe-inline'">
<meta name='viewport' content='width=device-width, initial-scale=1'>
<meta name='color-scheme' content='light dark'><style>$</style></head>
<body><header><h1>$</h1><p>$$</p></header><main class='$'>$</main></body></html>
)";
// Sections, each by the first of its features.
const std::map<std::string, std::string> kSections = {
    {"DeviceTemperature", "Temperature"}, {"WidthMax", "Region of interest"},
    {"Gain", "Exposure, gain and gamma"}, {"autoBrightnessTarget", "Automatic functions"},
    {"ReverseX", "Direction and colour"}, {"autoBrightnessMode", "Modes"}};
constexpr const char *kWhy = "class='why'"; // what noneSince() says
// From this ratio on a bar has a logarithmic scale.
constexpr double kWide = 1000;
constexpr double kMostSteps = 50; // that are drawn
constexpr size_t kPoints = 128;   // of a curve

/** A camera as it stands, or what a file says of one. */
struct Side {
    std::string label;
    bool isFile = true;
    SavedCamera saved = {};
    std::vector<std::pair<std::string, std::string>> about = {};
    std::vector<Reading> readings = {}; ///< of shownFeatures()
    std::vector<HostParameter> host = {};
    std::string doctor = {};

    const Reading &of(const std::string &name) const {
        return *std::find_if(readings.begin(), readings.end(),
                             [&](const Reading &each) { return each.feature->name == name; });
    }
};
using Sides = std::vector<Side>;

std::vector<const Feature *> shownFeatures() {
    std::vector<const Feature *> features = {&ownFeature("DeviceTemperature")};
    for (const Feature &feature : allFeatures())
        features.push_back(&feature);
    return features;
}

Side sideOfFile(const std::string &name) {
    Side side{name, true, readSettings(name)};
    const CameraName &is = side.saved.name;
    side.about = {{"Serial number", is.serial}, {"Model", is.model}, {"Maker", is.manufacturer}};
    for (const Feature *feature : shownFeatures()) {
        Reading &reading = side.readings.emplace_back(Reading{feature, feature->kind});
        for (const SavedValue &saved : side.saved.settings)
            if (saved.feature == feature)
                reading.value = saved.value;
        reading.problem = hasValue(reading.value) ? "" : "the file does not hold it";
    }
    return side;
}

// Reads the camera that its label names. Returns the status of one that failed.
int readCamera(Side &side, bool switching) {
    const gvcp::Found found = chosenCamera(side.label);
    const gvcp::Identity &identity = found.identity;
    const std::string address = gvcp::dotted(identity.address), mac = macText(macOf(identity));
    // Others may have its address; but where it was asked directly, it may hear no broadcast.
    const std::string exact = found.interface ? mac : address;
    const std::string control = statesOf({found}).front().text;
    (void)diagnose(exact, side.doctor, false);
    return onCamera(
        exact, switching ? Purpose::Change : Purpose::Look, [&](Camera &camera, auto &all) {
            Switches *const switches = switching ? &all : nullptr;
            for (const Feature *feature : shownFeatures()) {
                stopIfAsked();
                side.readings.push_back(readFeature(camera, *feature, switches));
            }
            const Feature &firmware = ownFeature("DeviceFirmwareVersion");
            const Reading version = readFeature(camera, firmware, nullptr);
            char card[IF_NAMESIZE] = "";
            (void)if_indextoname(found.interface, card);
            const CameraName &is = camera.name();
            side.label = is.serial + " (" + address + ")";
            side.isFile = false;
            side.saved = readSaved(camera, switches, true);
            side.host = hostParameters(camera);
            side.about = {{"Serial number", is.serial},
                          {"Model", is.model},
                          {"Maker", is.manufacturer},
                          {"User name", is.userName},
                          {"Device version", identity.version},
                          {"Firmware", valueText(firmware, version.value)},
                          {"Address", address},
                          {"Mask", gvcp::dotted(identity.mask)},
                          {"Gateway", identity.gateway ? gvcp::dotted(identity.gateway) : ""},
                          {"MAC address", mac},
                          {"Interface", card},
                          {"Seen from", gvcp::dotted(found.host)},
                          {"Control", control}};
            return kDone;
        });
}

enum Mark { Same, Unknown, Differs };

// Of what is saved, as 'kxinfo diff' says.
Mark markOf(const Sides &sides, const Feature &feature, const std::string &differences) {
    for (const Side &side : sides)
        if (const Reading &own = side.of(feature.name);
            !hasValue(own.value) && (side.isFile ? !feature.saved : own.kind != Kind::Missing))
            return Unknown;
    const auto text = [&](const Side &side) {
        return valueText(feature, side.of(feature.name).value);
    };
    return (feature.saved ? differences.find("\n" + feature.name + ": ") == differences.npos
                          : text(sides.front()) == text(sides.back()))
               ? Same
               : Differs;
}

// Unless the mark is known, it is what the markup of the sides says.
template <class Cell>
Html rowOf(const Sides &sides, const std::string &name, const Cell &cell,
           std::optional<Mark> mark = {}) {
    constexpr const char *kClasses[] = {"same", "unknown", "differs"};
    constexpr const char *kSigns[] = {"= same", "? not compared", "≠ differs"};
    const std::string first = cell(sides.front()).text(), last = cell(sides.back()).text();
    const bool isThere = (first + last).find(kWhy) == first.npos;
    const Mark shown = mark ? *mark : !isThere ? Unknown : first == last ? Same : Differs;
    Html cells;
    for (const Side &side : sides)
        cells += Html("<td data-side='$'>$</td>", side.label, cell(side));
    if (sides.size() > 1)
        cells += Html("<td class='mark'>$</td>", kSigns[shown]);
    return Html("<tr class='$'><th scope='row'>$</th>$</tr>\n", kClasses[shown], name, cells);
}

Html sectionOf(const Sides &sides, const std::string &title, const Html &rows) {
    Html heads;
    for (const Side &side : sides)
        heads += Html("<th scope='col'>$</th>", side.label);
    if (sides.size() > 1)
        heads += Html("<th scope='col'>Compared</th>");
    return Html("<section aria-label='$'><table><caption><h2>$</h2></caption><thead><tr>"
                "<th scope='col'>What</th>$</tr></thead>\n<tbody>$</tbody></table></section>\n",
                title, title, heads, rows);
}

// Why something is not there.
Html noneSince(const std::string &why) {
    return Html("<p class='why'>$</p>", why);
}

// With all digits for programs.
Html datum(const char *kind, const Json &value, const std::string &text) {
    return Html("<data class='$' value='$'>$</data>", kind,
                value.is_string() ? value.get<std::string>() : value.dump(), text);
}

double numberIn(const Json &value) {
    return value.is_number() ? value.get<double>() : NAN;
}

// The lower limit of the automatic function that sets a feature; null: there is none.
const Feature *lowerLimitOf(const Feature &set) {
    for (const Feature &feature : allFeatures())
        for (const Need &need : feature.needs)
            if (set.setBy && feature.upTo && std::string(need.node) == set.setBy)
                return &feature;
    return nullptr;
}

Html barOf(const Sides &sides, const Side &side, const Reading &reading) {
    const Feature &feature = *reading.feature;
    const Json is = asMembers(reading);
    const Words text = cellsOf(reading);
    double low = INFINITY, high = -INFINITY; // one scale for all sides
    for (const Side &each : sides) {
        const Json other = asMembers(each.of(feature.name));
        low = std::fmin(low, numberIn(other["minimum"]));
        high = std::fmax(high, numberIn(other["maximum"]));
    }
    const bool linear = feature.unit == Unit::Decibels || !(low > 0 && high / low >= kWide);
    const auto at = [&](double number) {
        const double part =
            linear ? (number - low) / (high - low) : std::log(number / low) / std::log(high / low);
        return 100 * (part > 0 ? std::min(part, 1.0) : 0);
    };
    Html marks, bar, limits;
    // A rectangle between two numbers.
    const auto mark = [&](const char *kind, double from, double to, int y, int height) {
        if (to >= from)
            marks += Html("<rect class='$' x='$%' width='$%' y='$' height='$' rx='3'/>", kind,
                          at(from), at(to) - at(from), y, height);
    };
    const double minimum = numberIn(is["minimum"]), value = numberIn(is["value"]);
    const double step = numberIn(is["increment"]);
    mark("track", minimum, numberIn(is["maximum"]), 9, 6);
    if (const Feature *lower = lowerLimitOf(feature);
        lower && hasValue(side.of(lower->name).value)) {
        const Reading &from = side.of(lower->name), &to = side.of(lower->upTo);
        const Json least = asMembers(from)["value"], most = asMembers(to)["value"];
        mark("limits", numberIn(least), numberIn(most), 2, 20);
        limits = Html("<p class='limited'>$ $, within $ to $</p>", feature.setBy,
                      valueText(*lower, side.of(feature.setBy).value),
                      datum("lower", least, valueText(*lower, from.value)),
                      datum("upper", most, quantityText(*lower, to.value)));
    }
    mark("fill", minimum, value, 9, 6);
    const bool even = feature.unit != Unit::Decibels && linear && step > 0;
    for (double i = 1; even && (high - low) / step <= kMostSteps && low + i * step < high; ++i)
        marks +=
            Html("<rect class='step' x='$%' y='18' width='1' height='4'/>", at(low + i * step));
    if (std::isfinite(value))
        marks += Html("<circle cx='$%' cy='12' r='6'/>", at(value));
    if (low < high && std::isfinite(high - low) && std::isfinite(minimum))
        bar = Html("<svg class='bar' role='img' aria-label='$: $, on a bar from $ to $'>$</svg>",
                   text[0], text[1], text[2], text[3], marks);
    if (!is["minimum"].is_null())
        bar +=
            Html("<p class='ends'>$<span>$$</span>$</p>", datum("minimum", is["minimum"], text[2]),
                 is["increment"].is_null()
                     ? Html()
                     : Html("step $", datum("increment", is["increment"], text[4])),
                 linear ? "" : " logarithmic", datum("maximum", is["maximum"], text[3]));
    return bar += limits;
}

Html settingOf(const Sides &sides, const Side &side, const Reading &reading) {
    const std::string value = valueText(*reading.feature, reading.value),
                      unit = cellsOf(reading)[5];
    Html shown("–"), choices;
    if (hasValue(reading.value))
        shown = Html("$ <small>$</small>", datum("value", asMembers(reading)["value"], value),
                     unit == kNone ? "" : unit);
    for (const std::string &entry : reading.entries)
        choices += Html("<li>$ $</li>", entry == value ? "●" : "○", entry);
    if (!reading.entries.empty())
        choices = Html("<ul class='choices'>$</ul>", choices);
    if (!reading.problem.empty())
        choices += noneSince(reading.problem);
    return Html("<div class='setting'><p class='value'>$</p><div>$$</div></div>", shown,
                barOf(sides, side, reading), choices);
}

Html regionOf(const Side &side) {
    const auto number = [&](const char *name) { return numberOf(side.of(name).value); };
    const double width = number("WidthMax"), height = number("HeightMax");
    const double w = number("Width"), h = number("Height");
    const double x = number("OffsetX"), y = number("OffsetY");
    if (!(width > 0 && height > 0 && w >= 0 && h >= 0 && std::isfinite(x + y)))
        return noneSince("– not all of its size, its place and the sensor's size are known");
    const Html text("$ × $ px at $, $ on $ × $ px: $ %", w, h, x, y, width, height,
                    std::round(100 * w / width * h / height));
    return Html("<figure><svg class='sensor' role='img' viewBox='0 0 $ $' aria-label='$'>"
                "<rect width='100%' height='100%'/><rect class='region' x='$' y='$' width='$' "
                "height='$'/></svg><figcaption>$</figcaption></figure>",
                width, height, text, x, y, w, h, text);
}

Html curvesOf(const Side &side) {
    Html lines, keys;
    const auto add = [&](const std::string &name, const std::string &meaning, const auto &output) {
        Html points;
        for (size_t i = 0; i <= kPoints; ++i) {
            const double input = static_cast<double>(i) / kPoints;
            points += Html("$,$ ", 100 * input, 100 - 100 * output(input));
        }
        lines += Html("<polyline class='$' points='$'/>", name, points);
        keys += Html("<li><svg class='key' aria-hidden='true'><line class='$' x2='100%' y1='50%' "
                     "y2='50%'/></svg> $ $</li>",
                     name, name, meaning);
    };
    if (const double gamma = numberOf(side.of("gammaCorrection").value); gamma > 0)
        add("Gamma", numberText(gamma) + ": the input to this power",
            [&](double input) { return std::pow(input, gamma); });
    for (const SavedTable &table : side.saved.tables) {
        const auto last = static_cast<double>(table.entries.size() - 1); // also the largest entry
        add(table.channel.empty() ? "Table" : table.channel, "table", [&](double input) {
            return table.entries[static_cast<size_t>(input * last)] / std::max(1.0, last);
        });
    }
    for (const SavedCamera::Unread &unread : side.saved.unread)
        if (unread.name == kLookupTable || unread.name == "gammaCorrection")
            keys += Html("<li>$</li>", noneSince("– " + unread.name + ": " + unread.why));
    if (keys.text().empty())
        return noneSince("– there is neither gamma nor a lookup table");
    if (lines.text().empty())
        return Html("<ul>$</ul>", keys);
    return Html(
        "<figure><svg class='curves' role='img' viewBox='0 0 100 100' aria-label='Output, upwards, "
        "by input, to the right'>$</svg><figcaption><ul>$</ul></figcaption></figure>",
        lines, keys);
}

// What a plug-in's host is told.
Html publishedOf(const Side &side) {
    Html list;
    for (const HostParameter &parameter : side.host) {
        Words values;
        for (const std::string &name : parameter.features)
            values.push_back(name + " " + quantityText(featureNamed(name), side.of(name).value));
        const bool has = parameter.problem.empty();
        list += Html("<dt>$ $</dt><dd>$$</dd>", has ? "✓" : "✗", parameter.name,
                     has ? "published, from " : "lacking: ",
                     has ? joined(values, " and ") : parameter.problem);
    }
    return side.isFile ? noneSince("– a file publishes nothing") : Html("<dl>$</dl>", list);
}

// What doctor says: headings, and below them what is more and more indented.
Html diagnosisOf(const Side &side) {
    std::istringstream lines(side.doctor);
    Html text;
    for (std::string line; std::getline(lines, line);)
        if (const size_t indent = std::min(line.find_first_not_of(' '), line.size()); indent > 0)
            text += Html("<p class='in$'>$</p>", std::to_string(indent), line.substr(indent));
        else if (!line.empty())
            text += Html("<h3>$</h3>", line);
    return side.isFile ? noneSince("– a file is not asked") : text;
}

std::string pageOf(const Sides &sides) {
    const Side &first = sides.front(), &last = sides.back();
    const std::string lines = "\n" + differences(first.saved, last.saved);
    Html main, rows;
    for (const auto &[label, own] : (last.isFile ? first : last).about)
        rows += rowOf(sides, label, [name = label](const Side &side) {
            for (const auto &[other, text] : side.about)
                if (other == name)
                    return Html("$", text.empty() ? kNone : text);
            return noneSince("– the file does not hold it");
        });
    std::string title = "Identity and network";
    for (const Feature *feature : shownFeatures()) {
        if (const auto next = kSections.find(feature->name); next != kSections.end()) {
            main += sectionOf(sides, std::exchange(title, next->second), std::exchange(rows, {}));
        }
        const auto setting = [&](const Side &side) {
            return settingOf(sides, side, side.of(feature->name));
        };
        rows += rowOf(sides, feature->name, setting, markOf(sides, *feature, lines));
        if (feature->name == "OffsetY")
            rows += rowOf(sides, "On the sensor", regionOf);
        if (feature->name == "gammaCorrection")
            rows += rowOf(sides, "Curves", curvesOf);
    }
    main += sectionOf(sides, title, rows);
    main += sectionOf(sides, "What a host would get", rowOf(sides, "Parameters", publishedOf));
    main += sectionOf(sides, "What doctor says", rowOf(sides, "Findings", diagnosisOf, Unknown));
    char time[32] = "";
    const std::time_t now = std::time(nullptr);
    tm utc{};
    (void)std::strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S UTC", gmtime_r(&now, &utc));
    const bool two = sides.size() > 1;
    const auto count = std::count(lines.begin() + 1, lines.end(), '\n');
    const std::string heading = two ? first.label + " and " + last.label : "Camera " + first.label;
    return Html(kPage, heading, Html(kReportStyle), heading,
                two ? "≠ " + std::to_string(count) + " settings differ. " : "", time,
                two ? "two" : "one", main)
        .text();
}

} // namespace

Run declareReport(CLI::App &command) {
    struct Request {
        CameraArgument camera;
        std::optional<std::string> file;
        Words compared;
        std::string folder;
        bool switching = false;
    };
    const auto request = std::make_shared<Request>();
    addCamera(command, request->camera);
    command.add_option("FILE", request->file, "Page to write; - is standard output")->type_name("");
    command
        .add_option("--compare", request->compared,
                    "Two cameras or files of 'kxinfo save', side by side, in place of CAMERA")
        ->type_name("FILE")
        ->expected(2)
        ->allow_extra_args(false);
    command
        .add_option("--all", request->folder,
                    "A page of every camera that answers in this folder, each SERIAL.html")
        ->type_name("FOLDER");
    addSwitch(command, request->switching);
    command.footer(
        R"(The page is whole by itself: any browser shows it, without network or scripts. It appears whole or not
at all. Nothing is written to the camera unless --switch says so.

Example:
  kxinfo report S1234567 camera.html)");
    return [request]() -> int {
        if (!request->folder.empty() && (request->camera || !request->compared.empty()))
            throw Error(kWrongUsage, "'kxinfo report' takes --all FOLDER or a file, not both.");
        if (!request->folder.empty())
            return allToFolder("report", request->folder, ".html",
                               request->switching ? Words{"--switch"} : Words{});
        const std::string name = requireFile("report", request->camera, request->file);
        if (request->camera && !request->compared.empty())
            throw Error(kWrongUsage, "'kxinfo report' takes CAMERA or --compare, not both.");
        NewFile file(name); // before the camera is asked
        Sides sides;
        for (const std::string &word : request->compared)
            sides.push_back(isFile(word) ? sideOfFile(word) : Side{word});
        if (sides.empty())
            sides.push_back({request->camera.value_or("")});
        for (Side &side : sides)
            if (const int status =
                    side.readings.empty() ? readCamera(side, request->switching) : kDone)
                return status;
        stopIfAsked();
        file.write(pageOf(sides));
        if (!file.isStandardOutput())
            writeOut("Camera " + sides.front().label + "\nreport saved to " + cleaned(name) + "\n");
        return kDone;
    };
}

} // namespace kxinfo
