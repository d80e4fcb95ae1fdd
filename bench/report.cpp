// Puts what the benchmarks left into one table and one JSON file. What has a limit is shown with it,
// and loudly when it is beyond.
//
//   bench-report OPERATIONS.json WIRE.json INSTRUCTIONS PLUGIN-INSTRUCTIONS ALLOCATIONS NETWORK.json
//                EVALUATORS.json OUT.json

#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

json load(const char *path) {
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error(std::string("cannot read ") + path);
    return json::parse(file);
}

// What a probe took while Aravis evaluated the descriptions for the platform.
constexpr double kInstructionsWithAravis = 36.0e6;

int decimalsOf(double value) {
    return value < 100 ? 2 : 0;
}

void row(const std::string &what, double value, const char *unit,
         std::optional<double> limit = std::nullopt) {
    std::printf("%-58s %14.*f %-3s", what.c_str(), decimalsOf(value), value, unit);
    if (limit)
        std::printf(" %s %.*f", value <= *limit ? "at most" : "TOO MUCH: at most",
                    decimalsOf(*limit), *limit);
    std::printf("\n");
}

void report(char **argv) {
    const json operations = load(argv[1]);
    json wire = load(argv[2]);
    json result;

    std::printf("Camera class, scripted platform\n");
    for (const json &each : operations.at("benchmarks")) {
        const std::string name = each.at("name");
        if (each.contains("error_occurred"))
            throw std::runtime_error(name + ": " + each.at("error_message").get<std::string>());
        const double time = each.at("cpu_time");
        row("  " + name, time, "ns");
        result["operations_ns"][name] = time;
    }

    const double instructions = std::stod(argv[3]);
    const double own = std::stod(argv[4]);
    const double allocations = std::stod(argv[5]);
    std::printf("\nOne probe, scripted platform\n");
    row("  instructions", instructions, "");
    row("  ... of them in libkxinfo-dalsa.so itself", own, "");
    row("  heap allocations by libkxinfo-dalsa.so itself", allocations, "");
    result["probe"] = {{"instructions", instructions},
                       {"instructions_in_plug_in", own},
                       {"allocations_by_plug_in", allocations}};

    const json &probe = wire.at("probe");
    std::printf("\nOne probe of a virtual camera, without finding it (medians of %d)\n",
                wire.at("runs").get<int>());
    for (const char *kind : {"readreg", "writereg", "readmem", "writemem", "other"})
        row(std::string("  ") + kind, probe.at(kind), "");
    row("  commands", probe.at("commands"), "", 60);
    row("  instructions of the whole process", probe.at("instructions"), "",
        0.4 * kInstructionsWithAravis);
    row("  from open to close", probe.at("open_to_close_ms"), "ms");
    row("  whole process", probe.at("process_ms"), "ms");
    row("  ... time on the processor", probe.at("processor_ms"), "ms");
    using Limit = std::optional<double>;
    const auto against = [&](const char *name, const char *title, Limit time, Limit processor) {
        json &tool = wire.at(name);
        for (const char *value : {"open_to_close_ms", "process_ms", "processor_ms", "commands"})
            tool["ratio"][value] = probe.at(value).get<double>() / tool.at(value).get<double>();
        const json &ratio = tool.at("ratio");
        std::printf("%s\n", title);
        row("  from open to close", tool.at("open_to_close_ms"), "ms");
        row("  whole process", tool.at("process_ms"), "ms");
        row("  ... time on the processor", tool.at("processor_ms"), "ms");
        row("  commands", tool.at("commands"), "");
        row("  ratio from open to close, ours to its", ratio.at("open_to_close_ms"), "", time);
        row("  ratio of whole processes, ours to its", ratio.at("process_ms"), "");
        row("  ratio of times on the processor, ours to its", ratio.at("processor_ms"), "",
            processor);
        row("  ratio of commands, ours to its", ratio.at("commands"), "");
    };
    against("arv_tool_same", "arv-tool-0.8, the same writes, each feature read once", 0.4, 0.5);
    against("arv_tool_least", "arv-tool-0.8, each mode switched only once", {}, {});
    json &all = wire.at("probe_all");
    const double eight = all.at("all_of_8_ms");
    all["ratio_to_one"] = eight / all.at("all_of_1_ms").get<double>();
    all["ratio_to_probe"] = eight / all.at("one_ms").get<double>();
    std::printf("kxinfo as a user runs it, finding the cameras included\n");
    row("  probe", all.at("one_ms"), "ms");
    row("  probe --all of one camera", all.at("all_of_1_ms"), "ms");
    row("  probe --all of eight cameras", eight, "ms");
    row("  ratio of eight cameras to one", all.at("ratio_to_one"), "");
    row("  ratio of eight cameras to a plain probe of one", all.at("ratio_to_probe"), "");
    result["wire"] = wire;

    const json network = load(argv[6]);
    std::printf("\nkxinfo get SERIAL Width, from start to end\n");
    const json &one = network.at("one_feature");
    row("  kxinfo", one.at("kxinfo_ms"), "ms");
    row("  arv-tool-0.8 -n", one.at("arv_tool_ms"), "ms");
    row("  ratio, ours to its", one.at("ratio"), "");
    for (const char *form : {"archive", "text"}) {
        const json &second = network.at(std::string("second_opening_") + form);
        std::printf("... description known, 1 MB as %s, 1 ms for each command\n", form);
        row("  kxinfo", second.at("kxinfo_ms"), "ms");
        row("  arv-tool-0.8 -n", second.at("arv_tool_ms"), "ms");
        row("  times faster than arv-tool-0.8", second.at("times_faster"), "");
        row("  commands for the description", second.at("commands_for_description"), "");
    }
    std::printf("Lookup table of 12288 entries\n");
    row("  commands for an entry, reading", network.at("table").at("read_commands_per_entry"), "");
    row("  commands for an entry, writing", network.at("table").at("write_commands_per_entry"), "");
    std::printf("Cameras and networks that fail\n");
    row("  get, the camera falling silent: the longest",
        network.at("falling_silent").at("longest_ms"), "ms");
    const json &lossy = network.at("every_third_answer_lost");
    row("  probe, every third answer lost", lossy.at("probe_ms"), "ms");
    row("  ... settings published", lossy.at("settings"), "");
    result["network"] = network;

    const json evaluators = load(argv[7]);
    std::printf("\nA description of %d KB loaded and its Width read (medians of %d)\n",
                evaluators.at("kb").get<int>(), evaluators.at("runs").get<int>());
    for (const auto &[name, title] :
         {std::pair{"own", ""}, {"checked", ", checked before"}, {"aravis", ", by Aravis"}}) {
        const json &evaluator = evaluators.at(name);
        row(std::string("  time") + title, evaluator.at("ms"), "ms");
        row(std::string("  ... peak of memory") + title, evaluator.at("peak_kb"), "KB");
        row(std::string("  ... heap in use afterwards") + title, evaluator.at("heap_kb"), "KB");
    }
    const json &ratio = evaluators.at("own").at("ratio");
    row("  ratio of times, ours to its", ratio.at("ms"), "", 0.25);
    row("  ... checked before", evaluators.at("checked").at("ratio").at("ms"), "");
    row("  ratio of peaks of memory, ours to its", ratio.at("peak_kb"), "", 0.5);
    row("  ratio of heaps, ours to its", ratio.at("heap_kb"), "");
    result["evaluators"] = evaluators;

    std::ofstream(argv[8]) << result.dump(2) << '\n';
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 9) {
        std::fprintf(stderr, "usage: bench-report OPERATIONS.json WIRE.json INSTRUCTIONS "
                             "PLUGIN-INSTRUCTIONS ALLOCATIONS NETWORK.json EVALUATORS.json "
                             "OUT.json\n");
        return 2;
    }
    try {
        report(argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench-report: %s\n", error.what());
        return 1;
    }
    return 0;
}
