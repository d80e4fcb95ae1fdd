// kxinfo on networks and cameras that are not the best, beside arv-tool-0.8 where that can do the
// same; run in a private network, in a folder where files may be made.
//
//   bench-network RUNS KXINFO-SIMCAM KXINFO DESCRIPTION.xml OUT.json

#include <cmath>
#include <fstream>
#include <iterator>
#include <random>

#include "child.h"

namespace {

using Arguments = std::vector<std::string>;
using nlohmann::json;

constexpr int kTableEntries = 12288;

struct Programs {
    std::string simcam, kxinfo;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double millisecondsOf(const Arguments &command) {
    Child child(command);
    child.finish();
    return child.milliseconds();
}

/** The same of a command that shows a feature; arv-tool-0.8 succeeds also when it finds no camera. */
double millisecondsToShow(const std::string &feature, const Arguments &command) {
    Child child(command);
    if (child.finish().find(feature) == std::string::npos)
        throw std::runtime_error(command.front() + " did not show " + feature);
    return child.milliseconds();
}

/** A virtual camera S1234; \p use is done while it is served. */
template <typename Use>
std::string served(const Programs &programs, const Arguments &options, Use use) {
    Arguments command{programs.simcam, "--camera", "S1234@127.0.0.2"};
    command.insert(command.begin() + 1, options.begin(), options.end());
    Child camera(command);
    if (camera.line().empty())
        throw std::runtime_error("the virtual camera did not start");
    use();
    camera.stop();
    return camera.finish();
}

double commandsOf(const std::string &closingLine) {
    double all = 0;
    for (const auto &[kind, count] : commandsIn(closingLine))
        all += count;
    return all;
}

Arguments ours(const Programs &programs) {
    return {programs.kxinfo, "get", "S1234", "Width"};
}

Arguments arvTools() {
    return {"arv-tool-0.8", "-n", "Dalsa-S1234", "control", "Width"};
}

// Both find the camera by its serial number and read one feature.
json oneFeature(const Programs &programs, int runs) {
    std::vector<double> own, other;
    served(programs, {}, [&] {
        millisecondsOf(ours(programs)); // from now on the description is known
        for (int run = 0; run < runs; ++run) {
            own.push_back(millisecondsToShow("Width", ours(programs)));
            other.push_back(millisecondsToShow("Width", arvTools()));
        }
    });
    return {{"kxinfo_ms", median(own)},
            {"arv_tool_ms", median(other)},
            {"ratio", median(own) / median(other)}};
}

// The description with a comment in it that nobody can compress, so that it is 1 MB in the camera.
std::string largeDescription(const std::string &file, size_t noise) {
    std::ifstream in(file);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::mt19937 random(1);
    std::string comment = "<!-- ";
    while (comment.size() < noise)
        comment += static_cast<char>('0' + random() % 64);
    std::replace(comment.begin() + 5, comment.end(), '-', '_');
    std::replace(comment.begin() + 5, comment.end(), '<', '_');
    comment += " -->";
    text.insert(text.rfind("</RegisterDescription>"), comment);
    const std::string path = "large-description.xml";
    std::ofstream(path) << text;
    return path;
}

// How many of the commands that a watched camera told were about its description.
int commandsForDescription(const std::string &watched) {
    int count = 0;
    for (size_t start = 0; start < watched.size();) {
        const size_t end = std::min(watched.find('\n', start), watched.size());
        const std::string line = watched.substr(start, end - start);
        const size_t at = line.find(" READMEM 0x");
        if (at != std::string::npos) {
            const std::string address = line.substr(at + 11, 8);
            count += address == "00000200" || address == "00000400" || address[0] >= 'E';
        }
        start = end + 1;
    }
    return count;
}

json secondOpening(const Programs &programs, int runs, const std::string &description,
                   const char *form) {
    const Arguments options{"--description", description, form, "--delay", "1"};
    served(programs, options, [&] { millisecondsOf(ours(programs)); });
    Arguments watched = options;
    watched.emplace_back("--watch");
    const int commands =
        commandsForDescription(served(programs, watched, [&] { millisecondsOf(ours(programs)); }));
    std::vector<double> own, other;
    served(programs, options, [&] {
        for (int run = 0; run < runs; ++run) {
            own.push_back(millisecondsToShow("Width", ours(programs)));
            other.push_back(millisecondsToShow("Width", arvTools()));
        }
    });
    return {{"commands_for_description", commands},
            {"kxinfo_ms", median(own)},
            {"arv_tool_ms", median(other)},
            {"times_faster", median(other) / median(own)}};
}

json table(const Programs &programs) {
    const auto commands = [&](const Arguments &command) {
        Arguments all{programs.kxinfo};
        all.insert(all.end(), command.begin(), command.end());
        return commandsOf(served(programs, {}, [&] { millisecondsOf(all); }));
    };
    std::ofstream negative("negative.txt");
    for (int value = 4095; value >= 0; --value)
        negative << (value ^ 1) << '\n';
    negative.close();
    const double read = commands({"save", "S1234", "table.json"}) -
                        commands({"save", "S1234", "no-table.json", "--no-table"});
    const double written = commands({"lut", "S1234", "load", "negative.txt"});
    return {{"read_commands_per_entry", read / kTableEntries},
            {"write_commands_per_entry", written / kTableEntries}};
}

json fallingSilent(const Programs &programs) {
    double longest = 0;
    for (const int answered : {1, 2, 3, 4, 6, 8, 11, 14, 18, 22}) {
        served(programs, {"--silent-after", std::to_string(answered)}, [&] {
            Child child(ours(programs));
            child.finish(true);
            longest = std::max(longest, child.milliseconds());
        });
    }
    return {{"longest_ms", longest}};
}

// A command that is lost has no answer either.
json lossy(const Programs &programs) {
    double took = 0;
    size_t settings = 0;
    served(programs, {"--drop", "1/3"}, [&] {
        Child child({programs.kxinfo, "probe", "S1234", "--json"});
        settings = json::parse(child.finish()).at("parameters").size();
        took = child.milliseconds();
    });
    return {{"probe_ms", took}, {"settings", settings}};
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fprintf(stderr,
                     "usage: bench-network RUNS KXINFO-SIMCAM KXINFO DESCRIPTION.xml OUT.json\n");
        return 2;
    }
    try {
        unsetenv("KXGIGE_DISCOVERY_MS");
        const int runs = std::atoi(argv[1]);
        const Programs programs{argv[2], argv[3]};
        constexpr size_t kMegabyte = 1 << 20;
        const json result{
            {"one_feature", oneFeature(programs, runs)},
            {"second_opening_archive",
             secondOpening(programs, runs / 4 + 1, largeDescription(argv[4], kMegabyte * 4 / 3),
                           "--zip")},
            {"second_opening_text", secondOpening(programs, runs / 4 + 1,
                                                  largeDescription(argv[4], kMegabyte), "--plain")},
            {"table", table(programs)},
            {"falling_silent", fallingSilent(programs)},
            {"every_third_answer_lost", lossy(programs)}};
        std::ofstream(argv[5]) << result.dump(2) << '\n';
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench-network: %s\n", error.what());
        return 1;
    }
    return 0;
}
