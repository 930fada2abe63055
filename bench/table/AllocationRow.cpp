// What frames take from the heap once everything has its size: nothing. Counted are the operators new and Bullet's
// allocator, those of the host included; histories and host have room for their keys.
#include "table/Car.h"
#include "table/HeapUse.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kFramesToWarmUp = 10;
constexpr int kFrames = 500;

void measureAllocationsOf(Casting how, const std::string& name, const Terrain* terrain, Report& report) {
    Car car(how, terrain, terrain != nullptr ? terrain->place(0.5, 0.5) : Vector());
    car.reserveKeys(kFramesToWarmUp + kFrames);
    car.start();
    car.drive(kFramesToWarmUp);
    const long before = heapAllocations();
    car.drive(kFrames);
    const auto allocations = static_cast<double>(heapAllocations() - before);
    car.check(report, 14);
    report.add(14, ratioOfTwo(name, {"allocations", allocations, ""}, {"frames", kFrames, ""}));
}

}  // namespace

void measureAllocations(const Settings& settings, Report& report) {
    const Terrain terrain(groundOf(settings, kMiddle));
    measureAllocationsOf(Casting::plane, "no ground", nullptr, report);
    measureAllocationsOf(Casting::surface, "surface mode", &terrain, report);
    measureAllocationsOf(Casting::bullet, "Bullet mode", &terrain, report);
    measureAllocationsOf(Casting::stored, "stored mode", &terrain, report);
}

}  // namespace ond::bench::table
