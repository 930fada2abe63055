#include "table/Record.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ond::bench::table {

namespace {

using nlohmann::ordered_json;

ordered_json toJson(const Figure& figure) {
    return {{"what", figure.what}, {"value", figure.value}, {"unit", figure.unit}};
}

ordered_json toJson(const Ratio& ratio) {
    return {{"of", ratio.of},
            {"ratio", ratio.value},
            {"quartiles", {ratio.low, ratio.high}},
            {"passes", ratio.passes},
            {"held_to_goal", ratio.counts},
            {"over", toJson(ratio.over)},
            {"under", toJson(ratio.under)}};
}

ordered_json toJson(const Row& row) {
    ordered_json ratios = ordered_json::array();
    for (const Ratio& ratio : row.ratios) ratios.push_back(toJson(ratio));
    return {{"row", row.number},
            {"what", row.what},
            {"goal", {{row.goal.is == Goal::Is::atMost ? "at_most" : "at_least", row.goal.value}}},
            {"measured", row.isMeasured()},
            {"met", row.isMet()},
            {"ratios", ratios},
            {"notes", row.notes},
            {"faults", row.faults}};
}

ordered_json toJson(const Machine& machine) {
    ordered_json libraries = ordered_json::object();
    for (const Machine::Library& library : machine.libraries) libraries[library.name] = library.version;
    return {{"processor", machine.processor}, {"cores", machine.cores},           {"core", machine.core},
            {"governor", machine.governor},   {"system", machine.system},         {"compiler", machine.compiler},
            {"flags", machine.flags},         {"libraries", std::move(libraries)}};
}

ordered_json toJson(const FrameParts& frame) {
    ordered_json steps = ordered_json::object();
    for (std::size_t i = 0; i < kSteps; ++i) steps[std::string(kStepNames[i])] = frame.steps[i];
    return {{"mode", frame.name},
            {"whole_us", frame.whole},
            {"steps_us", std::move(steps)},
            {"host_us", frame.host},
            {"host_calls",
             {{"lookups", frame.hostCalls[HostMeter::lookups]},
              {"reads", frame.hostCalls[HostMeter::reads]},
              {"writes", frame.hostCalls[HostMeter::writes]},
              {"surfaces", frame.hostCalls[HostMeter::surfaces]},
              {"devices", frame.hostCalls[HostMeter::devices]}}},
            {"faults", frame.faults}};
}

ordered_json toJson(const Record& record) {
    ordered_json rows = ordered_json::array();
    for (const Row& row : record.rows) rows.push_back(toJson(row));
    ordered_json breakdown = ordered_json::array();
    for (const FrameParts& frame : record.breakdown) breakdown.push_back(toJson(frame));
    return {
        {"date", record.machine.date},
        {"commit", record.commit},
        {"machine", toJson(record.machine)},
        {"settings", {{"quick", record.settings.quick}, {"seed", record.settings.seed}, {"ground", record.groundFile}}},
        {"seconds", record.seconds},
        {"rows", std::move(rows)},
        {"breakdown", std::move(breakdown)}};
}

}  // namespace

void writeRecord(const Record& record, const std::string& path) {
    const std::string aside = path + ".part";
    {
        std::ofstream file(aside);
        file << toJson(record).dump(2, ' ', false, ordered_json::error_handler_t::replace) << "\n";
        if (!file.flush()) throw std::runtime_error("'" + path + "' cannot be written; give another with --json");
    }
    std::error_code error;
    std::filesystem::rename(aside, path, error);
    if (error) throw std::runtime_error("'" + path + "' cannot be written; give another with --json");
}

}  // namespace ond::bench::table
