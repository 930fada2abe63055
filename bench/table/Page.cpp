#include "table/Page.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace ond::bench::table {

namespace {

[[gnu::format(printf, 1, 2)]] std::string format(const char* how, ...) {
    char text[256];
    va_list values;
    va_start(values, how);
    std::vsnprintf(text, sizeof text, how, values);
    va_end(values);
    return text;
}

/// Three digits that count, as a rule.
std::string number(double value) {
    const double size = std::abs(value);
    if (value == std::floor(value) && size < 1e6) return format("%.0f", value);
    if (size >= 100.0) return format("%.0f", value);
    if (size >= 10.0) return format("%.1f", value);
    return format(size >= 1.0 ? "%.2f" : "%.3f", value);
}

std::string figure(const Figure& f) { return f.what + " " + number(f.value) + (f.unit.empty() ? "" : " ") + f.unit; }

std::string goalText(const Goal& goal) { return (goal.is == Goal::Is::atMost ? "<= " : ">= ") + number(goal.value); }

std::string verdict(const Row& row, const Ratio& ratio) {
    if (!ratio.counts) return "-";
    if (!row.faults.empty()) return "FAULT";
    return row.goal.isMetBy(ratio.value) ? "met" : "MISSED";
}

void addRow(std::string& page, const Row& row) {
    if (!row.isMeasured()) {
        page += format("%2d  %-49s %-20s %8s  %-8s %s\n", row.number, row.what.c_str(), "", "-",
                       goalText(row.goal).c_str(), "not measured");
        return;
    }
    bool isFirst = true;
    for (const Ratio& ratio : row.ratios) {
        page += format("%2d  %-49s %-20s %8s  %-8s %-7s %s / %s\n", row.number, isFirst ? row.what.c_str() : "",
                       ratio.of.c_str(), number(ratio.value).c_str(), goalText(row.goal).c_str(),
                       verdict(row, ratio).c_str(), figure(ratio.over).c_str(), figure(ratio.under).c_str());
        isFirst = false;
    }
}

std::string line(const char* title, const std::vector<FrameParts>& frames, double (*value)(const FrameParts&)) {
    std::string text = format("%-34s", title);
    for (const FrameParts& frame : frames) text += format("%14.2f", value(frame));
    return text + "\n";
}

}  // namespace

std::string machinePage(const Machine& machine, const std::string& commit) {
    std::string page = format("%s, %d cores", machine.processor.c_str(), machine.cores);
    page += machine.core >= 0 ? format(", on core %d", machine.core) : std::string(", on any core");
    if (!machine.governor.empty()) page += ", governor " + machine.governor;
    page += "\n" + machine.system + ", " + machine.compiler + "\nflags " + machine.flags + "\n";
    for (const Machine::Library& library : machine.libraries) page += library.name + " " + library.version + ", ";
    return page + "commit " + commit + ", " + machine.date + "\n";
}

std::string tablePage(const std::vector<Row>& rows) {
    std::string page =
        format("%2s  %-49s %-20s %8s  %-8s %-7s %s\n", "#", "what", "of", "ratio", "goal", "", "measured, medians");
    for (const Row& row : rows) addRow(page, row);
    page += "\n";
    for (const Row& row : rows) {
        for (const std::string& fault : row.faults) page += format("%2d  FAULT: ", row.number) + fault + "\n";
        for (const std::string& note : row.notes) page += format("%2d  ", row.number) + note + "\n";
    }
    const auto met = std::count_if(rows.begin(), rows.end(), [](const Row& row) { return row.isMet(); });
    const auto measured = std::count_if(rows.begin(), rows.end(), [](const Row& row) { return row.isMeasured(); });
    return page +
           format("%d of %d measured rows meet their goals\n", static_cast<int>(met), static_cast<int>(measured));
}

std::string breakdownPage(const std::vector<FrameParts>& frames) {
    std::string page = format("%-34s", "a frame, microseconds, medians");
    for (const FrameParts& frame : frames) page += format("%14s", frame.name.c_str());
    page += "\n" + line("whole", frames, [](const FrameParts& f) { return f.whole; });
    for (std::size_t i = 0; i < kSteps; ++i) {
        page += format("  %-32s", std::string(kStepNames[i]).c_str());
        for (const FrameParts& frame : frames) page += format("%14.2f", frame.steps[i]);
        page += "\n";
    }
    page += line("  all steps", frames, [](const FrameParts& f) { return f.sum(); });
    page += line("of it inside the host", frames, [](const FrameParts& f) { return f.host; });
    page += "calls of the host in a frame\n";
    page += line("  lookups and releases", frames, [](const FrameParts& f) { return f.hostCalls[HostMeter::lookups]; });
    page += line("  matrices read", frames, [](const FrameParts& f) { return f.hostCalls[HostMeter::reads]; });
    page += line("  matrices written", frames, [](const FrameParts& f) { return f.hostCalls[HostMeter::writes]; });
    page += line("  rays and meshes", frames, [](const FrameParts& f) { return f.hostCalls[HostMeter::surfaces]; });
    page += line("  devices read", frames, [](const FrameParts& f) { return f.hostCalls[HostMeter::devices]; });
    for (const FrameParts& frame : frames)
        for (const std::string& fault : frame.faults) page += frame.name + ": FAULT: " + fault + "\n";
    return page;
}

}  // namespace ond::bench::table
