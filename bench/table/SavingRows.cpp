// Saving and loading a recording of most of an hour, driven on the plane with every device in use.
//
// The yardstick takes memory for the block and copies it there, and that twice. Both sides get their memory from the
// system: a program that saves or loads has none of that size lying about. Rows that came before may have left some,
// whose pages are given back ahead of each work; the wish for large ones stays with its addresses, to the good of the
// yardstick. The host keeps nothing while it is saved; what it would keep is its own affair.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "table/Car.h"
#include "table/HeapUse.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

using namespace ond::ovs::addon;

constexpr int kFrames = 80800;  // makes a block of 79 MB
constexpr int kPasses = 11;

/// All devices, each in a rhythm of its own.
void setAxes(Car& car) {
    const int frame = car.frame;
    const double phase = 0.01 * frame;
    car.axis(pcInput_GAS_PEDAL) = 0.6 + 0.4 * std::sin(phase);
    car.axis(pcInput_STEERING_WHEEL) = std::sin(0.7 * phase);
    car.axis(pcInput_BOOSTER) = frame % 400 < 40 ? 1.0 : 0.0;
    car.axis(pcInput_ABS_BRAKE) = frame % 500 > 480 ? 1.0 : 0.0;
    car.axis(pcInput_SKIDDING) = frame % 300 < 60 ? 0.5 : 0.0;
    car.axis(pcInput_SKID_BRAKE) = frame % 700 > 660 ? 1.0 : 0.0;
    car.axis(pcInput_GRAVEL_SHAKE) = 0.5;
    car.axis(pcInput_BURNOUT) = frame % 900 < 50 ? 1.0 : 0.0;
    car.axis(pcInput_EXTERNAL_FORCE) = frame % 600 < 30 ? 0.2 : 0.0;
}

void record(Car& car) {
    car.start();
    for (int i = 0; i < kFrames; ++i) {
        setAxes(car);
        car.drive(1);
        // The host's keys are not what is saved.
        if (i % 1000 == 0) car.host.recording.keys.clear();
    }
    car.stop();
}

double save(Car& car) {
    giveBackFreeMemory();
    return secondsOf([&] { car.vehicle->saveState(); });
}

/// Into a new vehicle that binds the elements of the saved one.
double load(Car& saved, Report& report) {
    const VehiclePtr vehicle = declareVehicle(saved.host);
    std::uint64_t failure = 1;
    giveBackFreeMemory();
    const double seconds = secondsOf([&] { failure = vehicle->loadState(); });
    const auto& keys = vehicle->anbCarInTheAir.keys;
    if (failure != 0 || keys.size() != saved.vehicle->anbCarInTheAir.keys.size() || keys.size() < kFrames)
        report.fault(12, "the block was not read");
    return seconds;
}

/// Twice malloc and memcpy of the block.
double copyTwice(const std::vector<unsigned char>& block) {
    double seconds = 0.0;
    for (int i = 0; i < 2; ++i) {
        void* copy = nullptr;
        giveBackFreeMemory();
        seconds += secondsOf([&] {
            copy = std::malloc(block.size());
            std::memcpy(copy, block.data(), block.size());
            keep(copy);
        });
        std::free(copy);
    }
    return seconds;
}

}  // namespace

void measureSaving(const Settings& settings, Report& report) {
    Car car(Casting::plane, nullptr, Vector());
    record(car);
    car.vehicle->saveState();
    const std::vector<unsigned char>& block = car.host.block;
    car.host.keepsBlock = false;
    const double megabytes = static_cast<double>(block.size()) / 1e6;
    if (report.wants(13)) {
        const long before = countedBytes();
        resetPeak();
        car.vehicle->saveState();
        const double peak = static_cast<double>(peakBytes() - before) / 1e6;
        report.add(13, ratioOfTwo("", {"peak", peak, "MB"}, {"block", megabytes, "MB"}));
    }
    if (!report.wants(12)) return;
    // Speed is what is compared: the yardstick's time stands above.
    const Passes passes = alternate(
        settings.passes(kPasses), [&] { return copyTwice(block); }, [&] { return save(car) + load(car, report); });
    report.add(12, passes.ratio("", "copies", "save + load", 1e3, "ms"));
    char note[48];
    std::snprintf(note, sizeof note, "a block of %.1f MB", megabytes);
    report.note(12, note);
}

}  // namespace ond::bench::table
