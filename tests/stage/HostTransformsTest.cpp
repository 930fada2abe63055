// Transforms and keys as a vehicle reads and writes them: in world and local form, between runs and in them.
#include <cmath>

#include "ond/util/Quat.h"
#include "stage/FakeVehicle.h"
#include "util/PinnedRandom.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using util::Matrix4;
using util::Quat;
using util::Scaling;
using util::ToMatrix;
using util::Translation;
using util::Vector3;

/// A body's matrix: one length for all axes.
Matrix4 uniform(PinnedRandom& random) {
    Matrix4 m = ToMatrix(random.rotation()) * Scaling(random.in(0.05, 20.0));
    m.setRow(3, random.vector(200.0));
    return m;
}

/// A wheel's matrix: flat along its axle.
Matrix4 flat(PinnedRandom& random) {
    const double r = random.in(0.05, 5.0);
    Matrix4 m = ToMatrix(random.rotation()) * Scaling({0.7 * r, r, r});
    m.setRow(3, random.vector(200.0));
    return m;
}

/// Within 1e-9 of what the matrix holds: axes by their own length, the place by the size of the scene.
void expectSame(const Matrix4& actual, const Matrix4& expected, double sceneSize = 200.0) {
    for (int group = 0; group < 4; ++group) {
        const double size = group == 3 ? sceneSize : util::Length(expected.row(group));
        EXPECT_LE(util::Length(actual.row(group) - expected.row(group)), 1e-9 * size) << "group " << group;
    }
    EXPECT_EQ(actual[3], 0.0);
    EXPECT_EQ(actual[15], 1.0);
}

class HostTransforms : public OneFake {
  protected:
    void TearDown() override {
        EXPECT_THAT(car.misuse, IsEmpty());
        EXPECT_THAT(car.open(), IsEmpty());
    }
    double time(int frame) const { return scene.clock.time(frame); }
    const std::vector<TrackKey>& keys(const std::string& identifier) const {
        return car.element(identifier).track.keys;
    }
    std::vector<double> keyTimes(const std::string& identifier) const {
        std::vector<double> all;
        for (const TrackKey& key : keys(identifier)) all.push_back(key.time);
        return all;
    }
};

TEST_F(HostTransforms, GroupsAreImagesOfTheAxesAndThePlace) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    // The body turned to the left by a quarter: its forward, -Z, shows along -X.
    fake().setWorld(body, 0.0, Translation({10, 0, 0}) * util::RotationY(std::acos(0.0)));
    ovs::TransformObject* transform = car.getTransformObject(wheel, 0.0);
    transform->setLocalMatrix(Translation({0, 2, -3}));
    Matrix4 world;
    transform->readWorldMatrix(world);
    car.releaseTransformObject(transform);
    EXPECT_NEAR(world[12], 7.0, 1e-12);
    EXPECT_NEAR(world[13], 2.0, 1e-12);
    EXPECT_NEAR(world[14], 0.0, 1e-12);
    EXPECT_NEAR(world[2], -1.0, 1e-12) << "right is now away along -Z";
    EXPECT_NEAR(world[5], 1.0, 1e-12);
}

TEST_F(HostTransforms, LocalAndWorldAreOneAndBelongToTheTimeAskedFor) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    scene.setUserKey(car.element("CarBodyMesh"), 0, Translation({0, 0, 0}));
    scene.setUserKey(car.element("CarBodyMesh"), 10, Translation({10, 0, 0}));
    ovs::TransformObject* early = car.getTransformObject(body, time(0));
    ovs::TransformObject* late = car.getTransformObject(body, time(10));
    Matrix4 m;
    late->readWorldMatrix(m);
    EXPECT_EQ(m, Translation({10, 0, 0}));
    early->readWorldMatrix(m);
    EXPECT_EQ(m, Translation({0, 0, 0}));
    early->setWorldMatrix(Translation({0, 7, 0}));
    early->readLocalMatrix(m);
    EXPECT_EQ(m, Translation({0, 7, 0}));
    late->setLocalMatrix(Translation({0, 8, 0}));
    late->readWorldMatrix(m);
    EXPECT_EQ(m, Translation({0, 8, 0}));
    early->readWorldMatrix(m);
    EXPECT_EQ(m, Translation({0, 7, 0}));
    car.releaseTransformObject(late);
    car.releaseTransformObject(early);
}

TEST_F(HostTransforms, NonUniformScaleSurvivesEveryRoundTrip) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    ovs::MeshHandle* hub = made("WheelCenterMesh_FL", wheel);
    PinnedRandom random(7);
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(i);
        const Matrix4 b = uniform(random);
        const Matrix4 w = flat(random);
        const Matrix4 h = flat(random);
        fake().setWorld(body, 0.0, b);
        fake().setWorld(wheel, 0.0, w);
        fake().setWorld(hub, 0.0, h);
        EXPECT_EQ(fake().readWorld(body, 0.0), b) << "a root's world is its local, to the bit";
        expectSame(fake().readWorld(wheel, 0.0), w);
        expectSame(fake().readWorld(hub, 0.0), h, 2000.0);
        // Local is what takes the parent's world to the own one.
        expectSame(b * fake().readLocal(wheel, 0.0), w);
        expectSame(fake().readWorld(wheel, 0.0) * fake().readLocal(hub, 0.0), h, 2000.0);
        // Written as local, read as local: to the bit.
        ovs::TransformObject* transform = car.getTransformObject(hub, 0.0);
        transform->setLocalMatrix(w);
        Matrix4 read;
        transform->readLocalMatrix(read);
        car.releaseTransformObject(transform);
        EXPECT_EQ(read, w);
    }
}

TEST_F(HostTransforms, WholeChainIsTakenAtTheTimeAskedFor) {
    rig();
    Element& ground = scene.add("ground");
    ovs::MeshHandle* body = made("CarBodyMesh");
    made("WheelMesh_FL", body);
    scene.reparent(car.element("CarBodyMesh"), &ground);
    scene.setUserKey(ground, 0, Translation({0, 0, 0}));
    scene.setUserKey(ground, 20, Translation({20, 0, 0}));
    scene.setUserKey(car.element("CarBodyMesh"), 0, Translation({0, 100, 0}));
    scene.setUserKey(car.element("CarBodyMesh"), 20, Translation({0, 120, 0}));
    scene.clock.now = 3;
    for (const int frame : {0, 5, 20}) {
        const Vector3<double> place = fake().readWorld(fake().handles[1], time(frame)).row(3);
        EXPECT_NEAR(place.x, frame, 1e-12);
        EXPECT_NEAR(place.y, 100.0 + frame, 1e-12);
    }
}

TEST_F(HostTransforms, WorldSetInAFrameCountsTheParentsKeyOfThatFrame) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    PinnedRandom random(8);
    std::vector<Matrix4> bodies;
    std::vector<Matrix4> wheels;
    scene.beginRun(0);
    for (int frame = 1; frame <= 100; ++frame) {
        scene.beginFrame(frame);
        bodies.push_back(uniform(random));
        wheels.push_back(flat(random));
        fake().setWorld(body, time(frame), bodies.back());
        fake().setWorld(wheel, time(frame), wheels.back());
        expectSame(fake().readWorld(wheel, time(frame)), wheels.back());
    }
    scene.endRun(true);
    for (int frame = 1; frame <= 100; ++frame) {
        SCOPED_TRACE(frame);
        const auto i = static_cast<std::size_t>(frame - 1);
        EXPECT_EQ(fake().readWorld(body, time(frame)), bodies[i]);
        expectSame(fake().readWorld(wheel, time(frame)), wheels[i]);
        EXPECT_EQ(keys("WheelMesh_FL")[i + 1].local, util::Inverse(bodies[i]) * wheels[i]);
    }
}

TEST_F(HostTransforms, WorldSetBetweenFramesCountsTheParentThere) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    const double dt = scene.clock.step();
    scene.beginRun(0);
    scene.beginFrame(1);
    fake().setWorld(body, time(1), Translation({0, 0, -4}) * util::RotationY(0.5) * Scaling(3.0));
    const Matrix4 w = Translation({1, 2, 3}) * util::RotationX(0.7) * Scaling({0.7, 1, 1});
    fake().setWorld(wheel, time(1) - 0.5 * dt, w);
    expectSame(fake().readWorld(wheel, time(1) - 0.5 * dt), w);
    fake().setWorld(wheel, time(1), w);
    scene.endRun(true);
    expectSame(fake().readWorld(wheel, time(1) - 0.5 * dt), w);
    ASSERT_EQ(keys("WheelMesh_FL").size(), 3U);
    EXPECT_EQ(keyTimes("WheelMesh_FL")[1], time(1) - 0.5 * dt) << "at exactly the time that was asked for";
}

TEST_F(HostTransforms, SetInARunMakesOrReplacesOneKeyAtItsTime) {
    rig();
    ovs::MeshHandle* wheel = made("WheelMesh_FL");
    const double dt = scene.clock.step();
    const auto drive = [&](double x) {
        scene.beginRun(0);
        for (int frame = 1; frame <= 3; ++frame) {
            scene.beginFrame(frame);
            for (const double f : {0.75, 0.5, 0.25, 0.0})
                fake().setWorld(wheel, time(frame) - f * dt, Translation({x, frame - f, 0}));
            fake().setWorld(wheel, time(frame), Translation({x, 10.0 * frame, 0}));
        }
        scene.endRun(true);
    };
    for (const double x : {1.0, 2.0}) {
        drive(x);
        std::vector<double> expected{time(0)};
        for (int frame = 1; frame <= 3; ++frame)
            for (const double f : {0.75, 0.5, 0.25, 0.0}) expected.push_back(time(frame) - f * dt);
        EXPECT_EQ(keyTimes("WheelMesh_FL"), expected);
        EXPECT_EQ(keys("WheelMesh_FL")[4].local, Translation({x, 10, 0}));
        EXPECT_EQ(keys("WheelMesh_FL")[7].local, Translation({x, 1.75, 0}));
    }
}

TEST_F(HostTransforms, LeftOverKeysBetweenFramesGoThoseOfTheFrameStay) {
    rig();
    ovs::MeshHandle* wheel = made("WheelMesh_FL");
    Element& element = car.element("WheelMesh_FL");
    const double dt = scene.clock.step();
    for (const double f : {0.2, 0.6}) element.track.setKey(time(2) - f * dt, Translation({9, 9, 9}), 1e-9);
    element.track.setKey(time(5) - 0.5 * dt, Translation({9, 9, 9}), 1e-9);
    scene.beginRun(0);
    for (int frame = 1; frame <= 3; ++frame) {
        scene.beginFrame(frame);
        if (frame == 2) fake().setWorld(wheel, time(2) - 0.6 * dt, Translation({1, 1.4, 0}));
        fake().setWorld(wheel, time(frame), Translation({1, 1.0 * frame, 0}));
    }
    scene.endRun(true);
    EXPECT_EQ(keyTimes("WheelMesh_FL"), (std::vector<double>{time(0), time(1), time(2) - 0.6 * dt, time(2), time(3)}));
    EXPECT_EQ(fake().readWorld(wheel, time(2) - 0.6 * dt), Translation({1, 1.4, 0}));
}

TEST_F(HostTransforms, LaterKeysAreCutFromWhatTheRunWroteAlone) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    made("TargetMesh");
    for (const int frame : {0, 5, 50}) {
        scene.setUserKey(car.element("CarBodyMesh"), frame, Translation({1, 0, 0}));
        scene.setUserKey(car.element("TargetMesh"), frame, Translation({2, 0, 0}));
    }
    scene.beginRun(0);
    for (int frame = 1; frame <= 3; ++frame) {
        scene.beginFrame(frame);
        fake().setWorld(body, time(frame), Translation({7, 0, 0}));
    }
    scene.endRun(true);
    EXPECT_EQ(keyTimes("CarBodyMesh"), (std::vector<double>{time(0), time(1), time(2), time(3)}));
    EXPECT_EQ(keyTimes("TargetMesh"), (std::vector<double>{time(0), time(5), time(50)}));
}

TEST_F(HostTransforms, FirstRecordingKeepsThePoseThatItStartedFrom) {
    // A vehicle that moves on from where it stands at the start: without a key there every retake would creep.
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    fake().setWorld(body, 0.0, Translation({5, 0, 0}));
    const auto drive = [&](int from) {
        double x = fake().readWorld(body, time(from)).row(3).x;
        scene.beginRun(from);
        for (int frame = from + 1; frame <= from + 5; ++frame) {
            scene.beginFrame(frame);
            x += 1.0;
            fake().setWorld(body, time(frame), Translation({x, 0, 0}));
        }
        scene.endRun(true);
    };
    for (int take = 0; take < 3; ++take) {
        drive(10);
        EXPECT_EQ(fake().readWorld(body, time(10)).row(3).x, 5.0) << "take " << take;
        EXPECT_EQ(fake().readWorld(body, time(15)).row(3).x, 10.0) << "take " << take;
    }
    EXPECT_EQ(keys("CarBodyMesh").size(), 6U);
}

TEST_F(HostTransforms, KeysBehindTheStartAloneCountAsNoKeyAtTheStart) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    scene.setUserKey(car.element("CarBodyMesh"), 50, Translation({5, 0, 0}));
    scene.beginRun(10);
    scene.beginFrame(11);
    fake().setWorld(body, time(11), Translation({6, 0, 0}));
    scene.endRun(true);
    EXPECT_EQ(keyTimes("CarBodyMesh"), (std::vector<double>{time(10), time(11)}));
    EXPECT_EQ(fake().readWorld(body, time(10)), Translation({5, 0, 0}));
    // A key before the start is kept, and none is added.
    scene.beginRun(40);
    scene.beginFrame(41);
    fake().setWorld(body, time(41), Translation({7, 0, 0}));
    scene.endRun(true);
    EXPECT_EQ(keyTimes("CarBodyMesh"), (std::vector<double>{time(10), time(11), time(41)}));
}

TEST_F(HostTransforms, OutsideOfKeysTheOutermostHolds) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    fake().setWorld(body, 0.0, Translation({1, 0, 0}));
    EXPECT_EQ(fake().readWorld(body, -5.0), Translation({1, 0, 0}));
    scene.setUserKey(car.element("CarBodyMesh"), 10, Translation({2, 0, 0}));
    scene.setUserKey(car.element("CarBodyMesh"), 20, Translation({3, 0, 0}));
    EXPECT_EQ(fake().readWorld(body, -5.0), Translation({2, 0, 0}));
    EXPECT_EQ(fake().readWorld(body, 99.0), Translation({3, 0, 0}));
}

TEST_F(HostTransforms, RotationGoesTheShorterWay) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    Element& element = car.element("CarBodyMesh");
    const double turn = std::acos(-1.0) / 180.0;
    scene.setUserKey(element, 0, util::RotationY(-170.0 * turn));
    scene.setUserKey(element, 10, util::RotationY(170.0 * turn));
    const Matrix4 middle = fake().readWorld(body, time(5));
    EXPECT_NEAR(middle[0], -1.0, 1e-12) << "at 180 degrees, not at 0";
    PinnedRandom random(9);
    for (int i = 0; i < 200; ++i) {
        const Quat<double> a = random.rotation();
        const Quat<double> b = random.rotation();
        scene.setUserKey(element, 0, ToMatrix(a));
        scene.setUserKey(element, 10, ToMatrix(b));
        const auto angle = [](const Quat<double>& p, const Quat<double>& q) {
            return 2.0 * std::acos(std::min(1.0, std::abs(util::Dot4(p, q))));
        };
        for (const int frame : {2, 5, 9}) {
            const Quat<double> m = Quat<double>::FromMatrix(fake().readWorld(body, time(frame)));
            EXPECT_NEAR(angle(a, m), 0.1 * frame * angle(a, b), 1e-7) << i;
        }
    }
}

TEST_F(HostTransforms, WhatTheUserPlacesIsNotWrittenInRuns) {
    rig();
    ovs::MeshHandle* target = made("TargetMesh");
    target->callExtension(17, nullptr);
    for (const int frame : {0, 2, 50})
        scene.setUserKey(car.element("TargetMesh"), frame, Translation({1.0 * frame, 0, 0}));
    scene.beginRun(0);
    scene.beginFrame(1);
    fake().setWorld(target, time(1), Translation({0, 99, 0}));
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("TargetMesh")));
    scene.endRun(true);
    EXPECT_EQ(keyTimes("TargetMesh"), (std::vector<double>{time(0), time(2), time(50)}));
    EXPECT_EQ(fake().readWorld(target, time(1)), Translation({1, 0, 0}));
    car.misuse.clear();
    fake().setWorld(target, time(2), Translation({0, 3, 0}));
    EXPECT_EQ(fake().readWorld(target, time(2)), Translation({0, 3, 0})) << "between runs it is";
}

TEST_F(HostTransforms, MatrixThatIsNotFiniteIsNamed) {
    rig();
    Matrix4 broken;
    broken[13] = std::nan("");
    ovs::TransformObject* transform = car.getTransformObject(made("CarBodyMesh"), 0.0);
    transform->setWorldMatrix(broken);
    transform->setLocalMatrix(broken);
    car.releaseTransformObject(transform);
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("CarBodyMesh"), HasSubstr("CarBodyMesh")));
    car.misuse.clear();
}

class RunTransforms : public FakeStage {
  protected:
    void SetUp() override {
        FakeStage::SetUp();
        plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    }
};

TEST_F(RunTransforms, WhatARunWritesIsReadBackInItRecordedOrNot) {
    for (const bool recorded : {true, false}) {
        SCOPED_TRACE(recorded);
        stage = std::make_unique<Stage>(vehicleModule());
        useFakes(*stage);
        Vehicle& car = add("car");
        stage->scene.setLocal(car.element("CarBodyMesh"), 0.0, Translation({50, 0, 0}));
        int checked = 0;
        plugin.onFrame = [&](FakeVehicle& v, double time) {
            const double dt = v.hostInterface->getFrameStep();
            const int frame = stage->scene.clock.now;
            const double x = frame == 1 ? 50.0 : frame - 1.0;
            EXPECT_EQ(v.readWorld(v.handles[0], time - dt), Translation({x, 0, 0}));
            v.setWorld(v.handles[0], time, Translation({1.0 * frame, 0, 0}));
            EXPECT_EQ(v.readWorld(v.handles[0], time), Translation({1.0 * frame, 0, 0}));
            ++checked;
        };
        plugin.onStop = [&](FakeVehicle& v, double time) {
            EXPECT_EQ(v.readWorld(v.handles[0], time), Translation({4, 0, 0})) << "until the end of the run";
        };
        stage->run(0, 4, recorded);
        EXPECT_EQ(checked, 4);
        EXPECT_EQ(car.element("CarBodyMesh").track.keys.size(), recorded ? 5U : 0U);
        EXPECT_EQ(car.world("CarBodyMesh", 4), Translation({recorded ? 4.0 : 50.0, 0, 0}));
        EXPECT_EQ(stage->complaints(), Lines());
    }
}

TEST_F(RunTransforms, RepairAtTheStartChangesThePoseOrTheKeyThere) {
    Vehicle& car = add("car");
    plugin.onStart = [](FakeVehicle& v, double time) { v.setWorld(v.handles[0], time, Scaling(2.0)); };
    plugin.onFrame = nullptr;
    stage->run(5, 6, false);
    EXPECT_TRUE(car.element("CarBodyMesh").track.keys.empty());
    EXPECT_EQ(car.world("CarBodyMesh", 0), Scaling(2.0)) << "the repair of the rig stays";
    stage->scene.setUserKey(car.element("CarBodyMesh"), 0, Matrix4());
    stage->scene.setUserKey(car.element("CarBodyMesh"), 5, Matrix4());
    stage->run(5, 6, false);
    EXPECT_EQ(car.element("CarBodyMesh").track.keys.size(), 2U);
    EXPECT_EQ(car.world("CarBodyMesh", 5), Scaling(2.0));
    EXPECT_EQ(car.world("CarBodyMesh", 0), Matrix4());
}

TEST_F(RunTransforms, TimesBeforeTheFirstFrameAreReadable) {
    add("car");
    int read = 0;
    plugin.onStart = [&](FakeVehicle& v, double time) {
        const double dt = v.hostInterface->getFrameStep();
        for (const double t : {time, time - dt, time - dt / 7, 0.0})
            if (v.readWorld(v.handles[0], t) == Matrix4()) ++read;
    };
    stage->run(0, 1);
    EXPECT_EQ(read, 4);
}

}  // namespace
}  // namespace ond::test
