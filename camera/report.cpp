// kxinfo report: a page with all that is known of a camera as it stands, or of two side by side. It is
// whole by itself: no script, no network.

#include <net/if.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <sstream>

#include "camera/command.h"
#include "camera/find.h"
#include "camera/saved_camera.h"
#include "cli/files.h"
#include "cli/json.h"
#include "report_page.h"

namespace kxinfo {

namespace {

constexpr double kPoints = 128; // of a curve

/** Markup in the making, in which what a text says is no markup, whoever has written it. */
class Html {
public:
    Html() = default;
    /** A literal is markup; for each $ in it comes a text, a place in a drawing, or other markup. */
    template <size_t N, class... Parts>
    explicit Html(const char (&markup)[N], const Parts &...parts) {
        const std::vector<std::string> texts = {safe(parts)...};
        size_t next = 0;
        for (const char c : std::string_view(markup, N - 1))
            text_ += c == '$' ? texts.at(next++) : std::string(1, c);
    }
    Html &operator+=(const Html &more) { return text_ += more.text_, *this; }
    const std::string &text() const { return text_; }

private:
    /** Cleaned, cut where it runs on and on, and fit for an element or for an attribute in quotes. */
    static std::string safe(const std::string &text) {
        constexpr size_t kLongest = 2000;
        std::string result;
        for (const char c : shortened(cleaned(text), kLongest))
            result += std::string_view("&<>\"'").find(c) == std::string_view::npos
                          ? std::string(1, c)
                          : "&#" + std::to_string(c) + ";";
        return result;
    }
    static std::string safe(double place) { return std::isfinite(place) ? numberText(place) : "0"; }
    static std::string safe(const Html &part) { return part.text_; }

    std::string text_;
};

/** A camera as it stands, or what a file says of one. */
struct Side {
    std::string label; ///< at first what the user calls it
    SavedCamera saved = {};
    Words about = {};                   ///< what, and which, in turn
    std::vector<Reading> readings = {}; ///< of shownFeatures()
    std::vector<HostParameter> host = {};
    std::string doctor = {};

    const Reading &of(const std::string &name) const {
        return *std::find_if(readings.begin(), readings.end(), [&](const Reading &each) {
            return sameWord(each.feature->name, name);
        });
    }
};
using Sides = std::vector<Side>;

std::vector<const Feature *> shownFeatures() {
    std::vector<const Feature *> features = {&ownFeature("DeviceFirmwareVersion"),
                                             &ownFeature("DeviceTemperature")};
    for (const Feature &feature : allFeatures())
        features.push_back(&feature);
    return features;
}

void readFromFile(Side &side) {
    side.saved = readSettings(side.label);
    const CameraName &is = side.saved.name;
    side.about = {"Serial number", is.serial, "Model", is.model, "Maker", is.manufacturer};
    for (const Feature *feature : shownFeatures()) {
        Reading &reading = side.readings.emplace_back(Reading{feature, feature->kind});
        for (const SavedValue &saved : side.saved.settings)
            if (saved.feature == feature)
                reading.value =
                    feature->kind == Kind::Float ? Value(numberOf(saved.value)) : saved.value;
        reading.problem = hasValue(reading.value) ? "" : "the file does not hold it";
    }
}

// Returns the status of a camera that failed.
int readFromCamera(Side &side, bool switching) {
    const gvcp::Found found = chosenCamera(side.label);
    const gvcp::Identity &is = found.identity;
    const std::string address = gvcp::dotted(is.address), state = statesOf({found}).front().text;
    char card[IF_NAMESIZE] = "";
    (void)if_indextoname(found.interface, card);
    const CameraName name = nameOf(is);
    side.label = name.serial + " (" + address + ")";
    side.about = {"Serial number",  name.serial,
                  "Model",          name.model,
                  "Maker",          name.manufacturer,
                  "User name",      is.userName,
                  "Device version", is.version,
                  "Address",        address,
                  "Mask",           gvcp::dotted(is.mask),
                  "Gateway",        is.gateway ? gvcp::dotted(is.gateway) : "",
                  "MAC address",    macText(macOf(is)),
                  "Interface",      card,
                  "Control",        state};
    (void)diagnose(address, false, false, side.doctor);
    return onCamera(address, switching ? Purpose::Change : Purpose::Look,
                    [&](Camera &camera, auto &all) {
                        Switches *const switches = switching ? &all : nullptr;
                        for (const Feature *feature : shownFeatures()) {
                            stopIfAsked();
                            side.readings.push_back(readFeature(camera, *feature, switches));
                        }
                        side.saved = readSaved(camera, switches, true);
                        side.host = hostParameters(camera);
                        return kDone;
                    });
}

// Why something is not there.
Html noneSince(const std::string &why) {
    return Html("<p class='why'>– $</p>", why);
}

// \param key  makes what is compared
template <class Cell, class Key>
Html rowOf(const Sides &sides, const std::string &name, const Cell &cell, const Key &key) {
    const std::string a = key(sides.front()).text(), b = key(sides.back()).text();
    const std::string mark = (a + b).find("class='why'") != a.npos ? "? not compared"
                             : a == b                              ? "= same"
                                                                   : "≠ differs";
    Html cells;
    for (const Side &side : sides)
        cells += Html("<td data-side='$'>$</td>", side.label, cell(side));
    if (sides.size() > 1)
        cells += Html("<td class='mark'>$</td>", mark);
    return Html("<tr class='$'><th scope='row'>$</th>$</tr>\n", mark, name, cells);
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

double numberIn(const Json &value) {
    return value.is_number() ? value.get<double>() : NAN;
}

// With all digits for programs.
Html datum(const char *kind, const Json &value, const std::string &text) {
    if (value.is_null())
        return Html();
    return Html("<data class='$' value='$'>$</data>", kind,
                value.is_string() ? value.get<std::string>() : value.dump(), text);
}

Html valueOf(const Reading &reading) {
    if (!hasValue(reading.value))
        return noneSince(reading.problem);
    const Words text = cellsOf(reading);
    const Html unit = text[5] == kNone ? Html() : Html(" <small>$</small>", text[5]);
    return Html("<p class='value'>$$</p>", datum("value", asMembers(reading)["value"], text[1]),
                unit);
}

// Value, range as text and drawing, and choices.
Html settingOf(const Sides &sides, const Side &side, const Reading &reading) {
    const Feature &feature = *reading.feature;
    const Json is = asMembers(reading);
    const Words text = cellsOf(reading);
    const double minimum = numberIn(is["minimum"]), maximum = numberIn(is["maximum"]);
    const double value = numberIn(is["value"]);
    double low = minimum, high = maximum; // one scale for all sides
    for (const Side &each : sides) {
        const Json other = asMembers(each.of(feature.name));
        low = std::fmin(low, numberIn(other["minimum"]));
        high = std::fmax(high, numberIn(other["maximum"]));
    }
    const auto at = [&](double number) {
        return 100 * std::clamp((number - low) / (high - low), 0.0, 1.0);
    };
    Html marks, limits;
    const auto mark = [&](const char *kind, double from, double to, int y, int height) {
        if (to >= from)
            marks += Html("<rect class='$' x='$%' width='$%' y='$' height='$' rx='3'/>", kind,
                          at(from), at(to) - at(from), y, height);
    };
    mark("track", minimum, maximum, 9, 6);
    mark("fill", minimum, value, 9, 6);
    // The limits of GainAuto are gainAutoMinValue and what that goes up to.
    const std::string lower = feature.setBy ? feature.setBy + std::string("MinValue") : "";
    if (feature.setBy && hasValue(side.of(lower).value)) {
        const Reading &from = side.of(lower), &to = side.of(from.feature->upTo);
        const Json least = asMembers(from)["value"], most = asMembers(to)["value"];
        mark("limits", numberIn(least), numberIn(most), 2, 20);
        limits = Html("<p class='limited'>$ $, within $ to $</p>", feature.setBy,
                      valueText(feature, side.of(feature.setBy).value),
                      datum("lower", least, valueText(feature, from.value)),
                      datum("upper", most, quantityText(feature, to.value)));
    }
    if (std::isfinite(value))
        marks += Html("<circle cx='$%' cy='12' r='6'/>", at(value));
    Html shown;
    if (maximum >= minimum && low < high && std::isfinite(high - low))
        shown = Html("<svg class='bar' role='img' aria-label='$: $, on a bar from $ to $'>$</svg>",
                     text[0], text[1], text[2], text[3], marks);
    if (!is["minimum"].is_null())
        shown += Html(
            "<p class='ends'>$<span>$$</span>$</p>", datum("minimum", is["minimum"], text[2]),
            is["increment"].is_null() ? "" : "step ", datum("increment", is["increment"], text[4]),
            datum("maximum", is["maximum"], text[3]));
    Html choices;
    for (const std::string &entry : reading.entries)
        choices += Html("<li>$ $</li>", Value(entry) == reading.value ? "●" : "○", entry);
    return Html("<div class='setting'>$<div>$$<ul class='choices'>$</ul></div></div>",
                valueOf(reading), shown, limits, choices);
}

Html regionOf(const Side &side) {
    const auto number = [&](const char *name) { return numberOf(side.of(name).value); };
    const double width = number("WidthMax"), height = number("HeightMax"), w = number("Width"),
                 h = number("Height"), x = number("OffsetX"), y = number("OffsetY");
    if (!(width > 0 && height > 0 && w >= 0 && h >= 0 && std::isfinite(x + y)))
        return noneSince("not all of its size, its place and the sensor's size are known");
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
        for (int i = 0; i <= kPoints; ++i)
            points += Html("$,$ ", 100 * i / kPoints, 100 - 100 * output(i / kPoints));
        lines += Html("<polyline class='$' points='$'/>", name, points);
        keys += Html("<li><svg class='key' aria-hidden='true'><line class='$' x2='100%' y1='50%' "
                     "y2='50%'/></svg> $: $</li>",
                     name, name, meaning);
    };
    if (const double gamma = numberOf(side.of("gammaCorrection").value); gamma > 0)
        add("Gamma", "the input to the power of " + numberText(gamma),
            [&](double input) { return std::pow(input, gamma); });
    for (const SavedTable &table : side.saved.tables)
        add(table.channel.empty() ? "All" : table.channel, "lookup table", [&](double input) {
            const auto last =
                static_cast<double>(table.entries.size() - 1); // its largest entry, too
            return table.entries[static_cast<size_t>(input * last)] / std::max(1.0, last);
        });
    for (const SavedCamera::Unread &unread : side.saved.unread)
        if (unread.name == kLookupTable || unread.name == "gammaCorrection")
            keys += Html("<li>$</li>", noneSince(unread.name + ": " + unread.why));
    return Html(
        "<figure><svg class='curves' role='img' viewBox='0 0 100 100' aria-label='Output, "
        "upwards, by input, to the right'>$</svg><figcaption><ul>$</ul></figcaption></figure>",
        lines, keys);
}

// What a plug-in's host would be told.
Html publishedOf(const Side &side) {
    Html list;
    for (const auto &[parameter, features, problem] : side.host) {
        Words values;
        for (const std::string &name : features)
            values.push_back(name + " " + quantityText(featureNamed(name), side.of(name).value));
        list += problem.empty()
                    ? Html("<li>✓ $: published, $</li>", parameter, joined(values, ", "))
                    : Html("<li>✗ $: lacking, $</li>", parameter, problem);
    }
    return side.host.empty() ? noneSince("a file publishes nothing") : Html("<ul>$</ul>", list);
}

Html diagnosisOf(const Side &side) {
    std::istringstream lines(side.doctor);
    Html text;
    for (std::string line; std::getline(lines, line);)
        text += Html("<p class='$'>$</p>",
                     line[0] == ' ' ? line[2] == ' ' ? "detail" : "fact" : "part", line);
    return side.doctor.empty() ? noneSince("a file is not asked") : text;
}

std::string pageOf(const Sides &sides) {
    const Side &first = sides.front(), &last = sides.back();
    Html main, rows;
    const Words &labels = (last.host.empty() ? first : last).about;
    for (size_t i = 0; i < labels.size(); i += 2) {
        const auto fact = [&](const Side &side) {
            return i >= side.about.size()
                       ? noneSince("the file does not hold it")
                       : Html("$", side.about[i + 1].empty() ? kNone : side.about[i + 1]);
        };
        rows += rowOf(sides, labels[i], fact, fact);
    }
    for (const Feature *feature : shownFeatures()) {
        const std::string &name = feature->name;
        if (name == "WidthMax")
            main += sectionOf(sides, "Identity and network", std::exchange(rows, {}));
        rows += rowOf(
            sides, name, [&](const Side &side) { return settingOf(sides, side, side.of(name)); },
            [&](const Side &side) { return valueOf(side.of(name)); });
        if (name == "OffsetY")
            rows += rowOf(sides, "On the sensor", regionOf, regionOf);
        if (name == "gammaCorrection")
            rows += rowOf(sides, "Curves", curvesOf, curvesOf);
    }
    main += sectionOf(sides, "Settings", rows);
    main += sectionOf(sides, "What a host would get",
                      rowOf(sides, "Parameters", publishedOf, publishedOf));
    main +=
        sectionOf(sides, "What doctor says", rowOf(sides, "Findings", diagnosisOf, diagnosisOf));
    char time[32] = "";
    const std::time_t now = std::time(nullptr);
    tm utc{};
    (void)std::strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S UTC", gmtime_r(&now, &utc));
    const std::string heading =
        sides.size() > 1 ? first.label + " and " + last.label : "Camera " + first.label;
    return Html(kReportPage, heading, heading, time, sides.size() > 1 ? "two" : "one", main).text();
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
    const auto request = requestFor<Request>(command);
    addOption(command, "FILE", request->file, "Page to write; - is standard output");
    const auto add = [&](const char *name, auto &to, const char *type, const char *what) {
        return command.add_option(name, to, what)->type_name(type)->allow_extra_args(false);
    };
    add("--compare", request->compared, "FILE",
        "Two cameras or files of 'kxinfo save', side by side, in place of CAMERA")
        ->expected(2);
    add("--all", request->folder, "FOLDER", "Draw every camera that answers to FOLDER/SERIAL.html");
    addSwitch(command, request->switching);
    command.footer(
        R"(The page is whole by itself: any browser shows it, without network or scripts. It appears whole or not
at all. Nothing is written to the camera unless --switch says so.

Example:
  kxinfo report S1234567 camera.html)");
    return [request]() -> int {
        const bool all = !request->folder.empty(), compares = !request->compared.empty();
        if (all && !request->camera && !compares)
            return allToFolder("report", request->folder, ".html",
                               request->switching ? Words{"--switch"} : Words{});
        const std::string name = requireFile("report", request->camera, request->file);
        if (all || (compares && request->camera))
            throw Error(kWrongUsage, "'kxinfo report' takes one of CAMERA, --compare and --all.");
        NewFile file(name); // before the camera is asked
        Sides sides;
        for (const std::string &word :
             compares ? request->compared : Words{request->camera.value_or("")})
            sides.push_back({word});
        for (Side &side : sides) // before a camera is opened
            if (compares && isFile(side.label))
                readFromFile(side);
        for (Side &side : sides)
            if (!compares || !isFile(side.label))
                if (const int status = readFromCamera(side, request->switching))
                    return status;
        file.write(pageOf(sides));
        if (!file.isStandardOutput())
            writeOut("Camera " + sides.front().label + "\nreport saved to " + cleaned(name) + "\n");
        return kDone;
    };
}

} // namespace kxinfo
