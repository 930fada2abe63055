// The second start of a run on a ground that has not changed beside the first.
//
// Each first start is that of a new vehicle on hills that no vehicle has seen.
#include "table/Car.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kVehicles = 7;
constexpr int kFramesOfRun = 5;

/// Seconds that the start of a run takes, with a few frames behind it.
double startAndDrive(Car& car) {
    const double seconds = secondsOf([&] { car.start(); });
    car.drive(kFramesOfRun);
    car.stop();
    return seconds;
}

}  // namespace

void measureRunStart(const Settings& settings, Report& report) {
    Passes passes;
    std::string name;
    for (int i = -1; i < settings.passes(kVehicles); ++i) {
        Settings own = settings;
        own.seed += static_cast<std::uint64_t>(100 + i);
        const Terrain terrain(groundOf(own, kMiddle));
        name = terrain.name();
        Car car(Casting::bullet, &terrain, terrain.place(0.5, 0.5));
        const double first = startAndDrive(car);
        const double second = startAndDrive(car);
        car.check(report, 9);
        if (i >= 0) passes.add(second, first);
    }
    report.add(9, passes.ratio(name, "second", "first", 1e3, "ms"));
    if (settings.ground != nullptr)
        report.note(9, "all on one mesh: whatever is kept for longer than a vehicle counts");
}

}  // namespace ond::bench::table
