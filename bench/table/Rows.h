// The measurements, each of which fills one or several rows of the report.
#pragma once

#include <vector>

namespace ond::bench::table {

class Report;
struct Settings;

/// Rays: the ground tree beside Embree, and its slowest ray. Rows 3 and 5.
void measureTreeRays(const Settings& settings, Report& report);
/// Row 4.
void measureFlatTreeRays(const Settings& settings, Report& report);
/// Row 7.
void measureTreeBuild(const Settings& settings, Report& report);
/// Row 8.
void measureTreeMemory(const Settings& settings, Report& report);
/// Frames beside their bare rays. Row 1.
void measureBulletFrame(const Settings& settings, Report& report);
/// Row 2.
void measureFrameOnSizes(const Settings& settings, Report& report);
/// Row 6.
void measureStoredFrame(const Settings& settings, Report& report);
/// Row 9.
void measureRunStart(const Settings& settings, Report& report);
/// A hundred vehicles. Rows 10 and 15.
void measureFleet(const Settings& settings, Report& report);
/// Row 11.
void measureKeys(const Settings& settings, Report& report);
/// Saving and loading a long recording. Rows 12 and 13.
void measureSaving(const Settings& settings, Report& report);
/// Row 14.
void measureAllocations(const Settings& settings, Report& report);

struct Measurement {
    std::vector<int> rows;
    void (*measure)(const Settings& settings, Report& report);
};

/// In the order in which they are taken.
[[nodiscard]] std::vector<Measurement> allMeasurements();

}  // namespace ond::bench::table
