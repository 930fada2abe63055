// Whole runs of the vehicle give the same bits on every build, in each way of finding the ground.
#include <gtest/gtest.h>

#include <cmath>

#include "determinism/GoldenHash.h"
#include "whole/Grounds.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

/// Devices that use every channel once, in their own times, seconds.
void script(Vehicle& car) {
    const auto between = [](double from, double to, double value) {
        return [=](double time) { return time >= from && time < to ? value : 0.0; };
    };
    car.axis("Gas Pedal").script = [](double time) { return time < 9.0 ? 0.45 + 0.3 * std::sin(0.9 * time) : -0.4; };
    car.axis("Steering").script = [](double time) { return 0.8 * std::sin(0.7 * time); };
    car.axis("Booster").script = between(2.0, 2.6, 1.0);
    car.axis("ABS Brake").script = between(3.0, 3.4, 0.8);
    car.axis("Skidding").script = between(4.0, 5.0, 0.7);
    car.axis("Skid Brake").script = between(5.5, 6.5, 1.0);
    car.axis("Gravel Shake").script = between(1.0, 8.0, 0.6);
    car.axis("Burnout").script = between(7.0, 7.8, 1.0);
    car.axis("External Force").script = between(8.0, 8.6, 0.3);
    car.put("Steering Noise", 0.2);
}

void addElements(BitHash& hash, const Stage& host, int frames) {
    for (const auto& element : host.scene.elements)
        for (int frame = 0; frame <= frames; ++frame)
            for (double number : host.scene.world(*element, host.scene.clock.time(frame)).m) hash.add(number);
}

/// A run of 250 frames and a resumed one behind frame 120, on waves, with everything that comes out of them.
std::uint64_t hashOf(Casting casting) {
    Stage host(vehicleModule());
    Vehicle& car = host.addVehicle("Car");
    car.log.enabled = false;
    for (const auto& property : car.properties) property->deadZone = 0.0;
    script(car);
    if (casting != Casting::plane) {
        Element& ground = host.scene.addMesh("Ground", wavyGround());
        host.scene.reparent(car.element("GravityDirectionMesh"), &ground);
    }
    if (casting != Casting::bullet) car.edit("Use Fast Ray Cast", 0.0);
    if (casting == Casting::stored) car.edit("Store Ground Mesh Data", 1.0);

    BitHash hash;
    for (const int start : {0, 120}) {
        host.startRun(start);
        for (int frame = start + 1; frame <= 250; ++frame) {
            host.advance(1);
            for (const auto& output : car.outputs) hash.add(output->current);
            hash.add(car.value("Current Velocity"));
        }
        host.stopRun();
        addElements(hash, host, 250);
        car.save();
        for (unsigned char byte : car.chunk) hash.add(std::uint64_t{byte});
    }
    EXPECT_EQ(host.complaints(), Lines());
    EXPECT_GT(distance(position(car.world("CarBodyMesh", 0)), position(car.world("CarBodyMesh", 250))), 3.0);
    return hash.value();
}

TEST(VehicleHash, RunOnThePlaneHasTheRecordedBits) { expectGoldenHash("vehicle-plane", hashOf(Casting::plane)); }

TEST(VehicleHash, RunInBulletModeHasTheRecordedBits) { expectGoldenHash("vehicle-bullet", hashOf(Casting::bullet)); }

TEST(VehicleHash, RunOnAStoredMeshHasTheRecordedBits) { expectGoldenHash("vehicle-stored", hashOf(Casting::stored)); }

TEST(VehicleHash, RunOnHostSurfacesHasTheRecordedBits) {
    expectGoldenHash("vehicle-surface", hashOf(Casting::surface));
}

TEST(VehicleHash, SameRunTwiceHasTheSameBits) { EXPECT_EQ(hashOf(Casting::bullet), hashOf(Casting::bullet)); }

}  // namespace
}  // namespace ond::test
