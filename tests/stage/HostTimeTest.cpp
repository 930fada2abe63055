// The host's clock as a vehicle sees it.
#include <cmath>
#include <cstring>

#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using util::Matrix4;
using util::Translation;

const FrameRate kRates[] = {{24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {60, 1}, {24000, 1001}};

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

class HostTime : public FakeStage {
  protected:
    std::unique_ptr<Stage> at(const FrameRate& rate) {
        auto other = std::make_unique<Stage>(vehicleModule(), rate);
        useFakes(*other);
        return other;
    }
};

TEST_F(HostTime, ShownTimeIsTheArgumentToTheBit) {
    int compared = 0;
    const auto compare = [&](FakeVehicle& v, double time) {
        EXPECT_TRUE(sameBits(v.hostInterface->getCurrentTime(), time)) << time;
        ++compared;
    };
    plugin.onStart = plugin.onFrame = plugin.onShow = plugin.onStop = compare;
    for (const FrameRate& rate : kRates) {
        const auto own = at(rate);
        own->addVehicle("car");
        compared = 0;
        own->run(1000, 1020);
        own->show(7);
        own->show(-3);
        EXPECT_EQ(compared, 1 + 20 + 20 + 1 + 2);
    }
}

TEST_F(HostTime, SameFrameHasTheSameBitsHoweverTheRunGotThere) {
    for (const FrameRate& rate : kRates) {
        SCOPED_TRACE(rate.text());
        const auto own = at(rate);
        own->addVehicle("car");
        plugin.calls.clear();
        own->run(0, 400);
        const std::vector<double> whole = plugin.times("updateFrame");
        plugin.calls.clear();
        own->run(333, 400);
        const std::vector<double> rest = plugin.times("updateFrame");
        ASSERT_EQ(whole.size(), 400U);
        ASSERT_EQ(rest.size(), 67U);
        for (std::size_t i = 0; i < rest.size(); ++i) EXPECT_TRUE(sameBits(rest[i], whole[333 + i])) << i;
        // Out of the frame number, not by adding up steps: that would be off by now.
        for (int frame = 1; frame <= 400; ++frame) {
            const long double exact = static_cast<long double>(frame) * rate.denominator / rate.numerator;
            EXPECT_EQ(whole[static_cast<std::size_t>(frame - 1)], static_cast<double>(exact)) << frame;
        }
    }
}

TEST_F(HostTime, FrameStepIsOneBitPatternForAWholeRun) {
    for (const FrameRate& rate : kRates) {
        SCOPED_TRACE(rate.text());
        const double expected = static_cast<double>(rate.denominator) / rate.numerator;
        int asked = 0;
        const auto compare = [&](FakeVehicle& v, double) {
            EXPECT_TRUE(sameBits(v.hostInterface->getFrameStep(), expected));
            ++asked;
        };
        plugin.onStart = plugin.onFrame = plugin.onStop = compare;
        const auto own = at(rate);
        own->addVehicle("car");
        own->run(5000, 5050);
        EXPECT_EQ(asked, 52);
        EXPECT_GT(expected, 0.0);
    }
}

TEST_F(HostTime, FramesComeOneByOneWithoutASkip) {
    add("car");
    plugin.calls.clear();
    stage->startRun(10);
    stage->advance(3);
    stage->advance(2);
    stage->stopRun();
    const Clock& clock = stage->scene.clock;
    EXPECT_EQ(plugin.times("startRun"), std::vector<double>{clock.time(10)});
    EXPECT_EQ(plugin.times("updateFrame"),
              (std::vector<double>{clock.time(11), clock.time(12), clock.time(13), clock.time(14), clock.time(15)}));
    EXPECT_EQ(plugin.times("stopRun"), std::vector<double>{clock.time(15)});
}

/// Distinct for each frame.
Matrix4 poseOf(int frame) { return Translation({1.0 * frame, 1.0 / (frame + 2000.5), -3.0}); }

TEST_F(HostTime, ComputedTimesMeetTheirFrames) {
    plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    for (const FrameRate& rate : kRates) {
        SCOPED_TRACE(rate.text());
        const auto own = at(rate);
        Vehicle& car = own->addVehicle("car");
        FakeVehicle& fake = fakeOf(car);
        for (int frame = -2; frame <= 3000; ++frame)
            own->scene.setUserKey(car.element("CarBodyMesh"), frame, poseOf(frame));
        const double dt = fake.hostInterface->getFrameStep();
        int inexact = 0;
        for (int frame = 0; frame <= 3000; ++frame) {
            const double t = own->scene.clock.time(frame);
            if (!sameBits(t - dt, own->scene.clock.time(frame - 1))) ++inexact;
            ASSERT_EQ(fake.readWorld(fake.handles[0], t), poseOf(frame)) << frame;
            ASSERT_EQ(fake.readWorld(fake.handles[0], t - dt), poseOf(frame - 1)) << frame;
            ASSERT_EQ(fake.readWorld(fake.handles[0], t + dt - 2 * dt), poseOf(frame - 1)) << frame;
        }
        EXPECT_GT(inexact, 0) << "the test needs times that miss their frame by a few bits";
    }
}

TEST_F(HostTime, WithinAMillionthOfAFrameIsTheFrameBeyondIsBetweenFrames) {
    plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    Vehicle& car = add("car");
    FakeVehicle& fake = fakeOf(car);
    for (int frame = 0; frame <= 3; ++frame)
        stage->scene.setUserKey(car.element("CarBodyMesh"), frame, Translation({1.0 * frame, 0, 0}));
    const double dt = stage->scene.clock.step();
    const double t = stage->scene.clock.time(2);
    const auto x = [&](double time) { return fake.readWorld(fake.handles[0], time).row(3).x; };
    EXPECT_EQ(x(t + 0.9e-6 * dt), 2.0);
    EXPECT_EQ(x(t - 0.9e-6 * dt), 2.0);
    EXPECT_NEAR(x(t + 1e-4 * dt), 2.0001, 1e-9);
    EXPECT_NE(x(t + 1e-4 * dt), 2.0);
    EXPECT_NEAR(x(t - dt / 4), 1.75, 1e-9);
    EXPECT_NEAR(x(t - 0.3 * dt), 1.7, 1e-9);
    EXPECT_EQ(x(0.0), 0.0);
    EXPECT_EQ(x(-17.0), 0.0) << "before the timeline";
    EXPECT_EQ(x(1e6), 3.0);
}

TEST_F(HostTime, WriteAtAComputedTimeIsTheKeyOfItsFrame) {
    plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    const auto own = at({30000, 1001});
    Vehicle& car = own->addVehicle("car");
    FakeVehicle& fake = fakeOf(car);
    Track& track = car.element("CarBodyMesh").track;
    for (int frame = 0; frame <= 1000; ++frame) own->scene.setUserKey(car.element("CarBodyMesh"), frame, poseOf(frame));
    const double dt = own->scene.clock.step();
    for (int frame = 1; frame <= 1000; ++frame)
        fake.setWorld(fake.handles[0], own->scene.clock.time(frame) - dt, poseOf(-frame));
    ASSERT_EQ(track.keys.size(), 1001U);
    for (int frame = 0; frame < 1000; ++frame) {
        EXPECT_TRUE(sameBits(track.keys[static_cast<std::size_t>(frame)].time, own->scene.clock.time(frame)));
        EXPECT_EQ(track.keys[static_cast<std::size_t>(frame)].local, poseOf(-frame - 1));
    }
}

TEST_F(HostTime, ReadingAtOtherTimesDoesNotMoveTheTimeline) {
    plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    Vehicle& car = add("car");
    FakeVehicle& fake = fakeOf(car);
    stage->show(12);
    plugin.calls.clear();
    for (const double time : {0.0, -1.0, 3.0, 100.0}) static_cast<void>(fake.readWorld(fake.handles[0], time));
    EXPECT_EQ(stage->scene.clock.now, 12);
    EXPECT_EQ(fake.hostInterface->getCurrentTime(), stage->scene.clock.time(12));
    EXPECT_TRUE(plugin.calls.empty());
}

}  // namespace
}  // namespace ond::test
