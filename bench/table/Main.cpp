// Measures the ratios that the project has goals for and prints them as one table.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <set>
#include <string>
#include <vector>

#include "table/Breakdown.h"
#include "table/Grounds.h"
#include "table/Machine.h"
#include "table/Page.h"
#include "table/Record.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Timing.h"

namespace {

using namespace ond::bench::table;

struct Options {
    std::vector<int> rows;
    std::string ground;
    std::string json;
    std::string commit = "unknown";
    bool quick = false;
    bool breakdown = false;
    std::uint64_t seed = 1;
    int core = -1;
};

/// Gives an exit code, -1 to go on.
int readOptions(int argc, char** argv, Options& options) {
    CLI::App app(
        "Measures how fast this is, as ratios: both sides of each are taken in turn in this process, on one core. "
        "Prints one table. Exit code 0: all measured rows meet their goals; 1: some do not; 2: wrong use or a "
        "failure.");
    app.add_option("--rows", options.rows, "Only these rows, like 3,4; without it all")
        ->delimiter(',')
        ->check(CLI::Range(1, 15));
    app.add_flag("--quick", options.quick, "Fewer passes, and nothing that needs two million triangles");
    app.add_flag("--breakdown", options.breakdown, "Where the time of a frame goes, instead of the table");
    app.add_option("--mesh,--ground", options.ground,
                   "A mesh to measure on (.glb, .gltf, .ply, .obj, .stl, .fbx; metres, +Y up) in place of hills");
    app.add_option("--seed", options.seed, "Other hills, places and rays")->capture_default_str();
    app.add_option("--core", options.core, "Core to stay on; without it the last one")->check(CLI::Range(0, 4095));
    app.add_option("--json", options.json, "Also write the figures into this file")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--commit", options.commit, "Version of the source to name in it")->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return -1;
}

void measureRows(const Settings& settings, Report& report) {
    for (const Measurement& measurement : allMeasurements()) {
        std::string wanted;
        for (const int row : measurement.rows)
            if (report.wants(row)) wanted += (wanted.empty() ? "" : ", ") + std::to_string(row);
        if (wanted.empty()) continue;
        std::fprintf(stderr, "measure: row %s\n", wanted.c_str());
        measurement.measure(settings, report);
    }
}

int run(const Options& options) {
    const double start = nowNanoseconds();
    Record record;
    record.machine = describeMachine(stayOnOneCore(options.core));
    record.commit = options.commit;
    record.groundFile = options.ground;
    record.settings.quick = options.quick;
    record.settings.seed = options.seed;
    if (!options.ground.empty()) record.settings.ground = std::make_shared<ond::util::CMesh>(readMesh(options.ground));
    std::fputs(machinePage(record.machine, record.commit).c_str(), stdout);
    std::fputs("\n", stdout);

    bool good = true;
    if (options.breakdown) {
        record.breakdown = takeFramesApart(record.settings);
        std::fputs(breakdownPage(record.breakdown).c_str(), stdout);
        for (const FrameParts& frame : record.breakdown) good = good && frame.faults.empty();
    } else {
        Report report(std::set<int>(options.rows.begin(), options.rows.end()));
        measureRows(record.settings, report);
        for (const Row& row : report.rows) {
            if (report.wants(row.number)) record.rows.push_back(row);
            good = good && (!row.isMeasured() || row.isMet());
        }
        std::fputs(tablePage(record.rows).c_str(), stdout);
    }
    record.seconds = 1e-9 * (nowNanoseconds() - start);
    if (!options.json.empty()) writeRecord(record, options.json);
    return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const int code = readOptions(argc, argv, options);
    if (code >= 0) return code;
    try {
        return run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "measure: %s\n", error.what());
        return 2;
    }
}
