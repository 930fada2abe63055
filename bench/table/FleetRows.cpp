// What a vehicle costs beside 99 others on the same terrain, and how many of them one core drives in real time.
//
// All of them drive a frame in turn, so that each comes upon caches that the others have used, and are recorded into
// one list, as a host does; between such frames one of them drives alone.
#include <memory>
#include <vector>

#include "table/Car.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kVehicles = 100;
constexpr int kPasses = 50;
constexpr int kFramesTogether = 4;
constexpr int kFramesToWarmUp = 10;
constexpr int kFramesAlone = 40;
constexpr double kFrameOfRealTime = 0.04;

std::vector<std::unique_ptr<Car>> makeFleet(const Terrain& terrain, int frames) {
    std::vector<std::unique_ptr<Car>> cars;
    const auto recording = std::make_shared<Recording>();
    recording->reserve(kVehicles * Car::hostKeys(static_cast<std::size_t>(frames)));
    for (int i = 0; i < kVehicles; ++i) {
        const Vector place = terrain.place(0.3 + 0.04 * (i % 10), 0.3 + 0.04 * (i / 10));
        cars.push_back(std::make_unique<Car>(Casting::bullet, &terrain, place, recording));
        cars.back()->reserveKeys(static_cast<std::size_t>(frames));
        cars.back()->start();
    }
    return cars;
}

/// Seconds of a vehicle's frame while all drive.
double together(std::vector<std::unique_ptr<Car>>& cars) {
    return secondsOf([&] {
               for (int i = 0; i < kFramesTogether; ++i)
                   for (const auto& car : cars) car->drive(1);
           }) /
           (kFramesTogether * kVehicles);
}

/// Seconds of its frame while it drives alone.
double alone(Car& car) {
    car.drive(kFramesToWarmUp);
    return secondsOf([&] { car.drive(kFramesAlone); }) / kFramesAlone;
}

}  // namespace

void measureFleet(const Settings& settings, Report& report) {
    const Terrain terrain(groundOf(settings, kMiddle));
    const int passes = settings.passes(kPasses);
    auto cars = makeFleet(terrain, (passes + 1) * kFramesTogether + 2 * (kFramesToWarmUp + kFramesAlone));
    std::size_t next = 0;
    const Passes times = alternate(
        passes, [&] { return together(cars); }, [&] { return alone(*cars[(next += 37) % cars.size()]); });
    int touching = 0;
    for (const auto& car : cars) touching += car->wheelsOnGround();
    for (const int row : {10, 15})
        if (touching < 3 * kVehicles) report.fault(row, "the cars left the ground: give one that is wider");
    const Ratio fleet = times.ratio(terrain.name(), "of 100", "alone", 1e6, "us");
    if (report.wants(10)) report.add(10, fleet);
    if (!report.wants(15)) return;
    report.add(15, ratioOfTwo(terrain.name() + " of 100", {"real time", kFrameOfRealTime * 1e6, "us"}, fleet.over));
    Ratio single = ratioOfTwo(terrain.name() + " alone", {"real time", kFrameOfRealTime * 1e6, "us"}, fleet.under);
    single.counts = false;
    report.add(15, single);
}

}  // namespace ond::bench::table
