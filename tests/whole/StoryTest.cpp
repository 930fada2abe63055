// Driving stories: what a person at the wheel would notice.
#include <algorithm>

#include "ond/util/Filters.h"
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

constexpr double kRadius = kWheelRadius * kRadiusMult;
constexpr double kTwoPi = 6.283185307179586;

using Story = WholeRun;

const char* const kEveryElement[] = {"CarBodyMesh",
                                     "ChassisRelocatorMesh",
                                     "TurnBaseMesh",
                                     "CarBodyBaseMesh",
                                     "SteeringWheelMesh",
                                     "FollowCam",
                                     "DriverCam",
                                     "TopViewCam",
                                     "WheelMesh_FL",
                                     "WheelMesh_FR",
                                     "WheelMesh_BL",
                                     "WheelMesh_BR",
                                     "WheelCenterMesh_FL",
                                     "WheelCenterMesh_BR",
                                     "WheelRelocatorMesh_FL",
                                     "ExternalForceMesh",
                                     "WheelCenterSuspensionMesh_FL"};

// With the skid brake held nothing moves the car: once the body and the camera have settled, all that is left is
// rounding, in two places. Spring lengths are differences of coordinates of order 1 and so known to about 1e-16; the
// body's vertical speed is such a difference divided by the length of a step, which makes more of it. And where the car
// stands near the origin, offsets of order 1 are added to a place near zero and taken off again.
TEST_F(Story, ParkedCarIsAtRestToTheLastPlacesOfADouble) {
    Vehicle& car = addCarOnPlane();
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 1000);
    for (const char* element : kEveryElement)
        for (int frame = 701; frame <= 1000; ++frame) {
            const Matrix4 then = car.world(element, 700);
            const Matrix4 now = car.world(element, frame);
            for (int i = 0; i < 16; ++i) ASSERT_NEAR(now[i], then[i], 1e-12) << element << " at frame " << frame;
        }
    EXPECT_LT(distance(position(car.world("TurnBaseMesh", 1000)), {0, 0, kBackZ}), 0.02);
    EXPECT_EQ(car.output("Velocity")->current, 0.0);
    EXPECT_EQ(car.output("Velocity (Percent of Max)")->current, 0.0);
}

// A parked wheel centre stands its radius above the car's frame, which lies on the ground. The front relocators lean
// by seven degrees, so that their wheels are lifted less; the springs there are compressed for that, and the body nods
// by a thousandth of a radian, which is what the bounds allow for.
TEST_F(Story, ParkedWheelStandsOneRadiusHigh) {
    Vehicle& car = addCarOnPlane();
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 400);
    car.save();
    const SavedBlock block(car.chunk);
    for (int corner = 0; corner < 4; ++corner) {
        const double height = block.wheel(corner, kGroundNormalDiff).keys.back().value;
        if (corner < 2)
            EXPECT_NEAR(height, kRadius * std::cos(kFrontTilt), 5e-5) << corner;
        else
            EXPECT_NEAR(height, kRadius, 5e-7) << corner;
    }
}

// Without a brake the least velocity of the model, 1e-8 lengths per second, is all that is left.
TEST_F(Story, CarWithoutBrakeCreepsByNothingVisible) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 500);
    const Vector3<double> moved = position(car.world("CarBodyMesh", 500)) - position(car.world("CarBodyMesh", 400));
    EXPECT_NEAR(moved.z, -1e-8 * kLength * 4.0, 1e-10);
    EXPECT_LT(std::abs(moved.x), 1e-13);
    EXPECT_LT(std::abs(moved.y), 1e-13);
}

// The start of a run moves the left wheels out by a thousandth of their width; the first frames turn that into a
// heading that is off by some 1e-8 radians.
TEST_F(Story, StraightDriveStaysStraightAndReachesItsSpeed) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 1.0;
    host.run(0, 500);
    for (int frame = 0; frame <= 500; frame += 10) {
        const Matrix4 body = car.world("CarBodyMesh", frame);
        EXPECT_LT(std::abs(position(body).x - position(car.world("CarBodyMesh", 0)).x), 1e-5) << frame;
        EXPECT_LT(std::abs(body.row(2).x) / kLength, 1e-7) << frame;
    }
    const double perSecond =
        (position(car.world("CarBodyMesh", 490)).z - position(car.world("CarBodyMesh", 500)).z) / 0.4;
    EXPECT_NEAR(perSecond, 3.0 * kLength, 0.2);
    EXPECT_GT(perSecond, 0.9 * 3.0 * kLength);
    EXPECT_NEAR(car.output("Velocity")->current, perSecond * 3.6, 0.05 * perSecond);
}

/// The lowest point of a wheel, which is what measures how far it rolled.
Vector3<double> lowestPoint(const Vehicle& car, const std::string& suffix, int frame) {
    const Vector3<double> up = util::Normalized(car.world("WheelRelocatorMesh" + suffix, frame).row(1));
    return position(car.world("WheelMesh" + suffix, frame)) - kRadius * up;
}

TEST_F(Story, WheelRollsByDistanceOverRadius) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").script = [](double time) {
        return time < 4.0 ? 0.6 : time > 8.0 && time < 8.4 ? 0.0 : -0.4;  // drive, brake, release, drive back
    };
    host.run(0, 400);
    car.save();
    const SavedBlock block(car.chunk);
    for (int corner = 0; corner < 4; ++corner) {
        const std::string suffix = kCorners[corner];
        const auto pitch = block.wheel(corner, kTotalPitch);
        double forward = 0.0;
        double backward = 0.0;
        for (int frame = 2; frame <= 400; ++frame) {
            const Vector3<double> way = lowestPoint(car, suffix, frame) - lowestPoint(car, suffix, frame - 1);
            const double driven =
                distance(position(car.world("TurnBaseMesh", frame)), position(car.world("TurnBaseMesh", frame - 1)));
            if (driven < 0.01 * kLength * 0.04) continue;  // near standstill wheels do not roll
            // Forward is -Z, and turns the wheel about -X.
            const double expected = (way.z < 0.0 ? -1.0 : 1.0) * util::Length(way) / kRadius;
            const double step =
                pitch.valueAt(host.scene.clock.time(frame)) - pitch.valueAt(host.scene.clock.time(frame - 1));
            EXPECT_NEAR(std::remainder(step - expected, kTwoPi), 0.0, 1e-9) << suffix << " at frame " << frame;
            (way.z < 0.0 ? forward : backward) += std::abs(expected);
        }
        EXPECT_GT(forward, 50.0);
        EXPECT_GT(backward, 10.0);
    }
}

// The scene shows what the model says: roll about the axle, then steering, then the placing of the user.
TEST_F(Story, WheelMeshStandsAsRolledAndSteered) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.5;
    car.axis("Steering").position = 0.7;
    host.run(0, 120);
    car.save();
    const SavedBlock block(car.chunk);
    for (int corner = 0; corner < 4; ++corner) {
        const std::string suffix = kCorners[corner];
        const double pitch = block.wheel(corner, kTotalPitch).keys.back().value;
        const Matrix4 wheel = car.world("WheelMesh" + suffix, 120);
        const Matrix4 relocator = car.world("WheelRelocatorMesh" + suffix, 120);
        // What is left when roll and placing are taken away is a turn about the up axis.
        const Quat<double> roll(std::sin(pitch / 2), 0, 0, std::cos(pitch / 2));
        const Quat<double> yaw = util::Multiply(util::Multiply(util::Conjugate(roll), Quat<double>::FromMatrix(wheel)),
                                                util::Conjugate(Quat<double>::FromMatrix(relocator)));
        EXPECT_NEAR(yaw.x, 0.0, 1e-9) << suffix;
        EXPECT_NEAR(yaw.z, 0.0, 1e-9) << suffix;
        if (corner < 2)
            EXPECT_GT(std::abs(yaw.y), 0.05) << suffix;
        else
            EXPECT_NEAR(yaw.y, 0.0, 1e-6) << suffix;
        expectNear(util::Scale(wheel), {0.7 * kWheelRadius, kWheelRadius, kWheelRadius}, 1e-9, "scale");
    }
}

TEST_F(Story, SteeringRightTurnsRightAboutTheBackAxle) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.3;
    car.axis("Steering").position = 0.5;
    host.run(0, 300);
    const Vector3<double> early = car.world("CarBodyMesh", 100).row(2);
    const Vector3<double> late = car.world("CarBodyMesh", 110).row(2);
    // Heading is -Z; a right turn, seen from above, takes it towards +X.
    const double turn = util::Cross(early, late).y;
    EXPECT_LT(turn, 0.0);
    // The middle of the back axle moves along the car, never sideways. The turn base stands there.
    for (int frame = 101; frame < 300; frame += 20) {
        const Matrix4 base = car.world("TurnBaseMesh", frame);
        const Vector3<double> step =
            position(car.world("TurnBaseMesh", frame + 1)) - position(car.world("TurnBaseMesh", frame - 1));
        const double sideways = util::Dot(step, util::Normalized(base.row(0)));
        const double along = util::Dot(step, util::Normalized(base.row(2)));
        EXPECT_LT(std::abs(sideways), 0.02 * std::abs(along)) << frame;
    }
}

TEST_F(Story, SteeringWheelTurnsFiveTimesTheOtherWay) {
    Vehicle& car = addCarOnPlane();
    const Matrix4 placed = car.local("SteeringWheelMesh", 0);
    car.axis("Gas Pedal").position = 0.2;
    car.axis("Steering").position = 0.8;
    host.run(0, 60);
    const double steering = car.output("Steering Angle")->current;
    EXPECT_GT(steering, 0.1);
    expectNear(car.local("SteeringWheelMesh", 60), placed * util::RotationZ(-5.0 * steering), 1e-12, "steering wheel");
}

// Two filters in a row, rotation and position each, towards a point above and behind the turn base.
TEST_F(Story, FollowCameraLagsByItsTwoFilters) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").script = [](double time) { return time < 3.0 ? 1.0 : -0.5; };
    car.axis("Steering").script = [](double time) { return std::sin(time); };
    host.run(0, 150);
    const double dt = 0.04;
    QTransform<double> camera = QTransform<double>::FromMatrix(car.world("FollowCam", 0));
    QTransform<double> memory = camera;
    double furthest = 0.0;
    for (int frame = 1; frame <= 150; ++frame) {
        const Matrix4 base = car.world("TurnBaseMesh", frame);
        QTransform<double> target = QTransform<double>::FromMatrix(base);
        target.position += (kLength / 4.0) * util::Rotate(target.rotation, Vector3<double>(0, 1.4, 7.0));
        util::FilterSaturating(memory.rotation, target.rotation, 0.7, 0.0, dt);
        util::FilterSaturating(camera.rotation, memory.rotation, 0.7, 0.0, dt);
        util::FilterExact(memory.position, target.position, 0.6, 0.0, dt);
        util::FilterExact(camera.position, memory.position, 0.6, 0.0, dt);
        expectNear(car.world("FollowCam", frame), util::ToMatrix(camera), 1e-9, "camera");
        furthest = std::max(furthest, distance(camera.position, target.position));
    }
    EXPECT_GT(furthest, 0.5);
}

TEST_F(Story, ShiftingTheChassisMovesTheFollowCameraAtOnce) {
    Vehicle& car = addCarOnPlane();
    car.axis("Skid Brake").position = 1.0;
    host.startRun(0);
    host.advance(100);
    const Vector3<double> before = position(car.world("FollowCam", 100));
    Element& chassis = car.element("ChassisRelocatorMesh");
    Matrix4 moved = chassis.track.pose;
    moved.setRow(3, moved.row(3) + Vector3<double>(0.1, 0.2, 0.0));
    chassis.track.pose = moved;
    host.advance(1);
    const Vector3<double> shift = position(car.world("FollowCam", 101)) - before;
    // The chassis hangs below the body, whose scale is the length of the car.
    expectNear(shift, Vector3<double>(0.1, 0.2, 0.0) * kLength, 1e-3, "shift of the camera");
    host.stopRun();
}

/// Degrees between the car's up axis and the normal of a ground that rises towards -Z.
double tiltError(const Vehicle& car, int frame, double slope) {
    const double a = slope / 57.29577951308232;
    const Vector3<double> up = util::Normalized(car.world("TurnBaseMesh", frame).row(1));
    return std::acos(std::min(1.0, util::Dot(up, {0, std::cos(a), std::sin(a)}))) * 57.29577951308232;
}

TEST_F(Story, CarTurnsToASlopeWithinAFewFrames) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, slopedGround(10.0));
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 60);
    // Each frame takes the error to about 0.4 of what it was, until the body on its springs swings after it.
    EXPECT_NEAR(tiltError(car, 0, 10.0), 10.0, 1e-6);
    EXPECT_LT(tiltError(car, 1, 10.0), 7.0);
    EXPECT_NEAR(tiltError(car, 2, 10.0) / tiltError(car, 1, 10.0), 0.4, 0.05);
    for (int frame = 3; frame <= 60; ++frame) EXPECT_LT(tiltError(car, frame, 10.0), 1.0) << frame;
    EXPECT_LT(tiltError(car, 8, 10.0), 0.5);
    // The leaning front relocators leave a tenth of a degree.
    EXPECT_LT(tiltError(car, 60, 10.0), 0.1);
}

TEST_F(Story, CarFollowsTheSlopeUpwards) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, slopedGround(10.0));
    car.axis("Gas Pedal").position = 0.4;
    host.run(0, 200);
    const double a = 10.0 / 57.29577951308232;
    for (int frame = 60; frame <= 200; frame += 20) {
        const Vector3<double> p = position(car.world("TurnBaseMesh", frame));
        // The car's frame lies on the ground, so the turn base does.
        EXPECT_NEAR(p.y * std::cos(a) + p.z * std::sin(a), 0.0, 0.03) << frame;
        EXPECT_LT(tiltError(car, frame, 10.0), 0.2) << frame;
    }
    EXPECT_LT(position(car.world("TurnBaseMesh", 200)).z, -10.0);
    EXPECT_GT(position(car.world("TurnBaseMesh", 200)).y, 1.5);
}

TEST_F(Story, AutonomousCarChasesItsTarget) {
    Vehicle& car = addCarOnPlane();
    car.edit("Autonomous Mode", 1.0);
    // Once around a circle of 20 in 32 seconds, starting ahead of the car.
    for (int frame = -1; frame <= 800; ++frame) {
        const double angle = 0.2 * frame / 25.0;
        host.scene.setUserKey(car.element("TargetMesh"), frame,
                              util::Translation({20.0 - 20.0 * std::cos(angle), 0.3, -8.0 - 20.0 * std::sin(angle)}));
    }
    host.run(0, 800);
    double furthest = 0.0;
    double travelled = 0.0;
    for (int frame = 200; frame <= 800; ++frame) {
        furthest = std::max(
            furthest, distance(position(car.world("CarBodyMesh", frame)), position(car.world("TargetMesh", frame))));
        travelled += distance(position(car.world("CarBodyMesh", frame)), position(car.world("CarBodyMesh", frame - 1)));
    }
    EXPECT_LT(furthest, 12.0);
    EXPECT_GT(travelled, 60.0);
}

TEST_F(Story, AutonomousCarStopsInsideItsSphere) {
    Vehicle& car = addCarOnPlane();
    car.edit("Autonomous Mode", 1.0);
    host.scene.setLocal(car.element("TargetMesh"), 0.0, util::Translation({0, 0, -30.0}));
    host.run(0, 900);
    const Vector3<double> nose = position(car.world("CarBodyMesh", 900)) + Vector3<double>(0, 0, -kLength / 2);
    EXPECT_LT(std::abs(nose.z - (-30.0)), kLength);
    EXPECT_LT(distance(position(car.world("CarBodyMesh", 900)), position(car.world("CarBodyMesh", 890))), 0.05);
}

// The model cuts its time so that a drive is alike at any frame rate.
TEST_F(Story, DriveIsAlikeAtAnyFrameRate) {
    std::vector<Vector3<double>> ends;
    for (const int framesPerSecond : {24, 25, 30, 60}) {
        Stage own(vehicleModule(), FrameRate{framesPerSecond, 1});
        Vehicle& car = straightAxes(own.addVehicle("Car"));
        quiet(car);
        car.put("Use Fast Ray Cast", 0.0);
        car.axis("Gas Pedal").script = [](double time) { return time < 0.5 ? 0.0 : 0.4; };
        car.axis("Steering").script = [](double time) { return time < 1.0 ? 0.0 : 0.3; };
        own.run(0, 4 * framesPerSecond);
        ends.push_back(position(car.world("CarBodyMesh", 4 * framesPerSecond)));
        EXPECT_EQ(own.complaints(), Lines());
    }
    EXPECT_LT(ends[0].z, -2.0);
    EXPECT_GT(ends[0].x, 0.05);
    for (const Vector3<double>& end : ends) EXPECT_LT(distance(end, ends[1]), 0.06 * util::Length(ends[1]));
}

// A natural jump. With the gravity of the default the model falls with 792 units per second squared, so a rig for jumps
// takes its own: 9.81 here, with upright front relocators and springs that reach far and follow fast.
class Jump : public WholeRun {
  protected:
    static SavedBlock saved(Vehicle& car) {
        car.save();
        return SavedBlock(car.chunk);
    }

    Vehicle& makeCarThatFalls(Vehicle& car) {
        for (const char* relocator : {"WheelRelocatorMesh_FL", "WheelRelocatorMesh_FR"}) {
            Element& element = car.element(relocator);
            Matrix4 upright = host.scene.world(element, 0.0);
            const Vector3<double> place = upright.row(3);
            upright = util::Scaling(kWheelRadius);
            upright.setRow(3, place);
            host.scene.setWorld(element, 0.0, upright);
        }
        car.save();
        SavedBlock block(car.chunk);
        block.set<bool>("cCarCambGravityOn", true);
        block.set<double>("fRelMaxBumperLen", 1.0);
        block.set<double>("dMaximumSpringChangeVelocityRel", 20.0);
        car.chunk = block.bytes();
        Vehicle& fresh = reload(car);
        quiet(fresh);
        fresh.put("Gravity", 9.81 * 4.0 / (900.0 * kLength));
        // A loaded vehicle resumes; one that is to start afresh says so.
        fresh.press("Re-Initialize Car Attributes");
        return fresh;
    }
};

constexpr double kRampStart = -20.0;
constexpr double kRampEnd = -30.0;

/// Flat, then a ramp of 10 in length up to `top`, then the flat again.
CMesh ramp(double top) {
    return heightGrid(-20.3, 20, 8, -300.0, 30.0, 660, [top](double, double z) {
        if (z > kRampStart || z < kRampEnd) return 0.0;
        return top * (kRampStart - z) / (kRampStart - kRampEnd);
    });
}

TEST_F(Jump, LeavesARampOnAParabolaAndLands) {
    Vehicle& car = makeCarThatFalls(addCar());
    linkGround(car, ramp(3.0));
    car.axis("Gas Pedal").position = 1.0;
    host.startRun(0);
    std::vector<bool> allInAir(1, false);
    std::vector<bool> anyInAir(1, false);
    for (int frame = 1; frame <= 400; ++frame) {
        host.advance(1);
        int inAir = 0;
        for (const char* suffix : kCorners) inAir += car.output(std::string("WheelMesh") + suffix)->current != 0.0;
        allInAir.push_back(inAir == 4);
        anyInAir.push_back(inAir > 0);
    }
    host.stopRun();

    // Before the ramp ends all wheels are on the ground.
    int takeOff = 0;
    while (takeOff <= 400 && !allInAir[static_cast<std::size_t>(takeOff)]) ++takeOff;
    ASSERT_LT(takeOff, 400) << "the car never left the ground";
    EXPECT_LT(position(car.world("CarBodyMesh", takeOff)).z, kRampEnd + 2.0);
    int landing = takeOff;
    while (landing <= 400 && anyInAir[static_cast<std::size_t>(landing)]) ++landing;
    ASSERT_LT(landing, 400) << "the car never landed";

    // In between the car flies as a stone does: its way per sub-step loses what gravity takes, and keeps the rest.
    const SavedBlock block = saved(car);
    const auto way = block.variable<util::AVar_Nearest<QTransform<double>>>("ancCarCamqTransCarAbsIncr");
    const auto wayAt = [&](int frame) { return way.valueAt(host.scene.clock.time(frame)).position; };
    const double subStep = 0.04 / 13.0;
    int flown = 0;
    double highest = 0.0;
    for (int frame = takeOff; frame < 400 && allInAir[static_cast<std::size_t>(frame)]; ++frame, ++flown) {
        highest = std::max(highest, position(car.world("CarBodyMesh", frame)).y);
        if (flown == 0) continue;
        expectNear((wayAt(frame) - wayAt(frame - 1)) / subStep, {0, -9.81 * 0.04, 0}, 1e-9, "change of velocity");
        EXPECT_LT(wayAt(frame).z / subStep, -6.0);
    }
    EXPECT_GE(flown, 8);
    EXPECT_GT(highest, 1.5);

    // And comes to stand on its wheels again.
    for (int frame = 380; frame <= 400; ++frame) {
        EXPECT_FALSE(anyInAir[static_cast<std::size_t>(frame)]) << frame;
        for (const char* suffix : kCorners)
            EXPECT_NEAR(position(car.world(std::string("WheelMesh") + suffix, frame)).y, kRadius, 0.01);
    }
}

TEST_F(Story, WithoutGravityTheWheelsFollowTheGroundAtAnyDistance) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, flatGround(-100.0));
    car.put("Use Fast Ray Cast", 0.0);
    host.run(0, 100);
    for (const char* suffix : kCorners)
        EXPECT_NEAR(position(car.world(std::string("WheelMesh") + suffix, 100)).y, -100.0 + kRadius, 0.05) << suffix;
    EXPECT_EQ(car.output("WheelMesh_FL")->current, 0.0);
}

}  // namespace
}  // namespace ond::test
