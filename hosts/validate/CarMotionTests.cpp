// How the four-wheeled vehicle moves: its speed, its wheels, its body and what follows it, each against the read-outs
// and the rows that say how it should. Bounds are wide enough for any faithful vehicle.
#include <algorithm>
#include <array>
#include <cmath>

#include "validate/CarDrive.h"
#include "validate/CarHistories.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

using util::Matrix4;
using Place = util::Vector3<double>;

double radiusOf(const CarDrive& drive, const std::string& wheel) {
    return util::Scale(drive.world(wheel, 0)).y * drive.row("Wheel Radius Multiplier");
}

/// How far a wheel is steered against the body, in radians; positive to the left.
double steeredBy(const CarDrive& drive, const std::string& wheel, int frame) {
    const Matrix4 body = drive.world("CarBodyMesh", frame);
    const Place axle = drive.world(wheel, frame).row(0);
    const double along = util::Dot(axle, body.row(0));
    return std::atan(-util::Dot(axle, body.row(2)) / along);
}

void expectRolling(CarDrive& drive, int first, int last, double direction, const char* when) {
    for (int corner = 0; corner < 4; ++corner) {
        const std::string wheel = wheelName(corner);
        for (int frame = first; frame <= last; ++frame) {
            const double wanted = -direction * drive.step(frame) / radiusOf(drive, wheel);
            const double rolled = drive.rolled(wheel, frame);
            if (!drive.check.expect(isNear(rolled, wanted, 0.05, 0.005),
                                    cited(wheel) + " rolled by " + shown(rolled) + " in a frame " + when +
                                        "; it rolls by the way over its radius, " + shown(wanted)))
                return;
        }
    }
}

/// The wheel turns no faster than its row says, and comes back twice as fast.
void expectSteeringRate(Check& check) {
    CarDrive drive(check);
    drive.set("Steering Wheel (Right/Left) Response Factor", 0.0);
    drive.set("Speed Dependent Turn Radius Reduction Factor", 0.0);
    const double largest = drive.row("Steering Wheel (Right/Left) Maximum");
    const double rate = drive.row("Maximum Steering Change Velocity") * drive.car.world.scene.clock.step() * largest;
    drive.begin(0);
    drive.go(16, {{kSteering, 1.0}});
    drive.go(8, {});
    drive.end();
    for (int frame = 1; frame <= 24; ++frame) {
        const double wanted =
            frame <= 16 ? std::min(largest, rate * frame) : std::max(0.0, largest - 2.0 * rate * (frame - 16));
        const double angle = drive.shot(frame).outputs[2];
        if (!check.expect(isNear(angle, wanted, 0.01, 1e-9),
                          "the output 'Steering Angle' holds " + shown(angle) + " in frame " + std::to_string(frame) +
                              " of a wheel that is turned and released, with a response of 0; it goes by 'Maximum "
                              "Steering Change Velocity' to " +
                              shown(wanted)))
            return;
    }
}

}  // namespace

void carWheels(Check& check) {
    {
        CarDrive drive(check);
        drive.begin(0, {{kGas, 0.4}});
        drive.go(14, {{kGas, 0.4}});
        expectRolling(drive, 6, 14, 1.0, "straight ahead");
        drive.end();
    }
    CarDrive drive(check);
    drive.begin(0, {{kGas, -0.4}});
    drive.go(14, {{kGas, -0.4}});
    expectRolling(drive, 6, 14, -1.0, "in reverse");
    check.expect(
        drive.body(14).z > drive.body(0).z + 0.1 * drive.length(),
        "the body moved by " + shown(drive.body(14).z - drive.body(0).z) + " along z in reverse; it goes towards +z");
    drive.end();
    CarDrive still(check);
    still.begin(0);
    still.go(4, {});
    for (int corner = 0; corner < 4; ++corner)
        check.expect(std::abs(still.rolled(wheelName(corner), 4)) < 1e-3,
                     cited(wheelName(corner)) + " rolls while the vehicle stands; wheels roll by the way");
    still.end();
}

void carSteering(Check& check) {
    for (const double side : {0.5, -0.5}) {
        CarDrive drive(check);
        drive.begin(0, {{kGas, 0.4}, {kSteering, side}});
        drive.go(40, {{kGas, 0.4}, {kSteering, side}});
        drive.end();
        const double angle = drive.shot(40).outputs[2];
        check.expect(angle * side > 0.0, "the output 'Steering Angle' holds " + shown(angle) +
                                             " with the wheel to the " + (side > 0.0 ? "right" : "left") +
                                             "; it is positive to the right");
        // Distances along the body from the axle that is not steered.
        const auto along = [&](int corner) {
            const Matrix4 body = drive.world("CarBodyMesh", 0);
            return util::Dot(drive.world(wheelName(corner), 0).row(3) - body.row(3), body.row(2)) / drive.length();
        };
        const double base = along(2) + 0.5 * drive.length();
        const double wanted = -std::atan((along(2) - along(0)) / base * std::tan(angle));
        const double front = 0.5 * (steeredBy(drive, wheelName(0), 40) + steeredBy(drive, wheelName(1), 40));
        check.expect(isNear(front, wanted, 0.05), "the front wheels stand at " + shown(front) +
                                                      " against the body with an output 'Steering Angle' of " +
                                                      shown(angle) + "; they stand at " + shown(wanted));
        for (const int corner : {2, 3}) {
            const double back = steeredBy(drive, wheelName(corner), 40);
            check.expect(std::abs(back) < 0.01, cited(wheelName(corner)) + " stands at " + shown(back) +
                                                    " against the body; with a turn base of 0 only the front wheels "
                                                    "are steered");
        }
        const double turned = wrapped(drive.heading(40) - drive.heading(30));
        double turn = 0.0;
        for (int frame = 31; frame <= 40; ++frame)
            turn -= drive.stepTold(frame) * std::tan(drive.shot(frame).outputs[2]) / base;
        check.expect(isNear(turned, turn, 0.05), "the body turned by " + shown(turned) +
                                                     " in ten frames; by its speed and steering angle it turns by " +
                                                     shown(turn));
        const Matrix4 wheel = util::Inverse(drive.local("SteeringWheelMesh", 0)) * drive.local("SteeringWheelMesh", 40);
        const double spun = std::atan2(wheel[1], wheel[0]);
        const double spin = wrapped(-5.0 * drive.row("Steering Wheel Rot Mult") * angle);
        check.expect(std::abs(wrapped(spun - spin)) < 1e-3, "the steering wheel is turned by " + shown(spun) +
                                                                "; it turns by five times the steering angle, " +
                                                                shown(spin));
    }
    expectSteeringRate(check);
}

void carSeeds(Check& check) {
    const auto shaken = [&](double seed) {
        CarDrive drive(check);
        drive.set("Random Seed Adder", seed);
        drive.begin(0, {{kGas, 0.5}});
        drive.go(10, {{kGas, 0.5}, {kShake, 1.0}});
        drive.end();
        Picture picture = drive.car.world.picture(drive.host, 0, 10, {true, false, false, false});
        return picture;
    };
    const Picture first = shaken(0.0);
    check.expect(first.difference(shaken(0.0)).empty(), "the same seed shook the vehicle in another way; it is a seed");
    check.expect(!first.difference(shaken(7.0)).empty(),
                 "'Random Seed Adder' made no difference to a shaking vehicle; each seed gives a shake of its own");
}

void carStance(Check& check) {
    CarDrive drive(check);
    drive.begin(0, {{kGas, 0.4}});
    drive.go(12, {{kGas, 0.4}});
    drive.go(20, {{kGas, 0.4}, {kSteering, 0.4}});
    drive.end();
    const double length = drive.length();
    for (const int frame : {4, 12, 20, 32}) {
        const std::string at = " at frame " + std::to_string(frame);
        const Matrix4 body = drive.world("CarBodyMesh", frame);
        for (int i = 0; i < 3; ++i) {
            check.expect(isNear(util::Length(body.row(i)), length, 1e-6),
                         "axis " + std::to_string(i) + " of the body is " + shown(util::Length(body.row(i))) + " long" +
                             at + "; a drive leaves its size as it was, " + shown(length));
            check.expect(std::abs(util::Dot(body.row(i), body.row((i + 1) % 3))) < 1e-6 * length * length,
                         "the axes of the body are askew" + at + "; it is rigid");
        }
        check.expect(body.row(1).y > 0.95 * length && isNear(body.row(3).y, drive.body(0).y, 0.0, 0.02 * length),
                     "the body stands at a height of " + shown(body.row(3).y) + " and rises by " +
                         shown(body.row(1).y / length) + at + " on level ground; it stands level at about " +
                         shown(drive.body(0).y));
        const Place base = drive.world("CarBodyBaseMesh", frame).row(3);
        const double aside = std::hypot(base.x - body.row(3).x, base.z - body.row(3).z);
        check.expect(std::abs(base.y) < 0.02 * length, "'CarBodyBaseMesh' lies at a height of " + shown(base.y) + at +
                                                           " on level ground of height 0; it lies on the ground");
        check.expect(aside < 0.02 * length, "'CarBodyBaseMesh' lies " + shown(aside) + " beside the body" + at +
                                                " on level ground; it lies below the body");
        for (int corner = 0; corner < 4; ++corner) {
            const std::string wheel = wheelName(corner);
            const Place place = drive.world(wheel, frame).row(3);
            check.expect(isNear(place.y, radiusOf(drive, wheel), 0.1),
                         "the middle of " + cited(wheel) + " is at a height of " + shown(place.y) + at +
                             " on level ground; it is at its radius, " + shown(radiusOf(drive, wheel)));
            const Place moved =
                util::Transform(util::Inverse(body), place) -
                util::Transform(util::Inverse(drive.world("CarBodyMesh", 0)), drive.world(wheel, 0).row(3));
            check.expect(util::Length(moved) < 0.02,
                         cited(wheel) + " is " + shown(util::Length(moved)) + " lengths away from its corner" + at);
            for (const char* name : {"WheelCenterMesh", "WheelCenterSuspensionMesh"}) {
                const double off =
                    util::Length(drive.world(std::string(name) + kCarCorners[corner], frame).row(3) - place);
                check.expect(off < 0.02 * length, std::string("'") + name + kCarCorners[corner] + "' is " + shown(off) +
                                                      " away from the middle of its wheel" + at +
                                                      "; on level ground it goes with the wheel");
            }
        }
    }
    const Place way = drive.body(12) - drive.body(6);
    const Place ahead = drive.world("CarBodyMesh", 12).row(2) * (-1.0 / length);
    check.expect(util::Dot(way, ahead) > 0.99 * util::Length(way),
                 "the vehicle does not go where its body points to straight ahead");
}

void carSlopes(Check& check) {
    // Up a ramp of one in ten behind some level ground, whichever way the ground is looked for.
    constexpr double kRise = 0.1;
    constexpr double kLevel = 4.0;
    constexpr int kFrames = 50;
    struct Mode {
        bool isFast, isStored, isChild;
        const char* text;
    };
    for (const Mode& mode : {Mode{true, false, false, "on a ramp"}, Mode{true, false, true, "on a ramp as a child"},
                             Mode{false, false, false, "on a ramp without 'Use Fast Ray Cast'"},
                             Mode{false, true, false, "on a ramp that is stored"}}) {
        CarDrive drive(check, [](double, double z) { return std::max(0.0, kRise * (-z - kLevel)); });
        drive.set("Use Fast Ray Cast", mode.isFast ? 1.0 : 0.0);
        drive.host.lacks.hits = mode.isFast;  // rays of its own only
        if (mode.isStored) drive.host.edit(rowOf(drive.host, "Store Ground Mesh Data"), 1.0);
        stage::Element& gravity = drive.element("GravityDirectionMesh");
        if (mode.isChild) {
            stage::Element& ground = *gravity.parent;
            drive.car.world.scene.reparent(gravity, nullptr);
            drive.car.world.scene.setLocal(
                ground, 0.0,
                util::Inverse(drive.car.world.scene.world(gravity, 0.0)) * drive.car.world.scene.local(ground, 0.0));
            drive.car.world.scene.reparent(ground, &gravity);
        }
        drive.begin(0, {{kGas, 0.6}});
        drive.go(kFrames, {{kGas, 0.6}});
        drive.end();
        const Matrix4 body = drive.world("CarBodyMesh", kFrames);
        const double climbed = body.row(3).y - drive.body(0).y;
        const double wanted = kRise * (-body.row(3).z - kLevel);
        check.expect(wanted > 0.3 && isNear(climbed, wanted, 0.1, 0.05),
                     std::string("the vehicle is ") + shown(climbed) + " up " + mode.text + " that rises by " +
                         shown(wanted) + " to where it is; it drives on the ground");
        const double nose = -body.row(2).y / drive.length();
        check.expect(isNear(nose, kRise, 0.25), "the body's nose rises by " + shown(nose) + " " + mode.text + " of " +
                                                    shown(kRise) + "; the vehicle lies on the slope");
    }
}

void carPedals(Check& check) {
    CarDrive drive(check);
    drive.set("Gas Pedal (Forw/Backw) Response Factor", 0.0);
    drive.set("Use Reverse As ABS Brake", 0.0);
    const double perFrame = 100.0 * drive.row("Acceleration (scale relative)") * drive.car.world.scene.clock.step() /
                            drive.row("Gas Pedal (Forw/Backw) Maximum");
    drive.begin(0);
    drive.go(20, {});
    check.expect(util::Length(drive.body(20) - drive.body(10)) < 1e-3 * drive.length(),
                 "the vehicle moved by " + shown(util::Length(drive.body(20) - drive.body(10))) +
                     " in ten frames with no pedal down; it stands");
    drive.go(45, {{kGas, 1.0}});
    for (int frame = 21; frame <= 65; ++frame) {
        const double wanted = std::min(100.0, perFrame * (frame - 20));
        if (!check.expect(isNear(drive.shot(frame).percent, wanted, 0.02),
                          "with the pedal down and a response of 0 the speed was " + shown(drive.shot(frame).percent) +
                              " percent behind " + std::to_string(frame - 20) +
                              " frames; it rises as 'Acceleration (scale relative)' says, to " + shown(wanted)))
            break;
    }
    for (int frame = 35; frame <= 65; ++frame) {
        const double ratio = drive.shot(frame).speed / drive.shot(frame).percent;
        const double wanted = drive.row("World Space Maximum Velocity Gauge") / 100.0;
        if (!check.expect(isNear(ratio, wanted, 1e-6) && isNear(drive.step(frame), drive.stepTold(frame), 0.02),
                          "the body moved by " + shown(drive.step(frame)) + " in a frame with read-outs of " +
                              shown(drive.shot(frame).speed) + " and " + shown(drive.shot(frame).percent) +
                              " percent; all three are in proportion"))
            break;
    }
    drive.go(15, {});
    check.expect(drive.shot(80).percent == 0.0 && drive.step(80) < 1e-3 * drive.length(),
                 "the vehicle goes at " + shown(drive.shot(80).percent) +
                     " percent 15 frames behind the pedal with a response of 0; it stands");
    drive.go(20, {{kGas, -1.0}});
    const Place way = drive.body(100) - drive.body(90);
    check.expect(drive.shot(100).percent < -10.0 && way.z > 0.5 * util::Length(way) && way.z > 0.5,
                 "with the pedal back the speed was " + shown(drive.shot(100).percent) +
                     " percent and the body moved by " + shown(way.z) + " along +z in ten frames; it goes backwards");
    drive.end();
    // With the response that a new vehicle has, the speed comes nearer to the pedal's by this share in 0.04 s.
    CarDrive slow(check);
    slow.begin(0, {{kGas, 0.6}});
    slow.go(10, {});
    slow.end();
    const double share = slow.row("Gas Pedal (Forw/Backw) Response Factor");
    for (int frame = 2; frame <= 10; ++frame)
        if (!check.expect(isNear(slow.shot(frame).percent, (1.0 - share) * slow.shot(frame - 1).percent, 1e-3),
                          "without a pedal the speed went from " + shown(slow.shot(frame - 1).percent) + " to " +
                              shown(slow.shot(frame).percent) + " percent in 0.04 s with a response of " +
                              shown(share) + "; it loses that share"))
            break;
}

void carBrakes(Check& check) {
    const auto braked = [&](CarInput brake, int frames) {
        auto drive = std::make_unique<CarDrive>(check);
        drive->begin(0, {{kGas, 0.6}});
        drive->go(10, {{kGas, 0.6}});
        drive->go(frames, {{kGas, 0.6}, {brake, 1.0}});
        drive->end();
        return drive;
    };
    const auto boosted = braked(kBooster, 30);
    check.expect(
        boosted->shot(40).percent > 1.5 * boosted->shot(10).percent && boosted->step(40) > 1.5 * boosted->step(10),
        "the booster took the speed from " + shown(boosted->shot(10).percent) + " to " +
            shown(boosted->shot(40).percent) + " percent in 30 frames; it draws it to a multiple of the largest");
    const auto stopped = braked(kAbsBrake, 45);
    const double loss = 30.0 * stopped->row("ABS Brake Maximum") * stopped->car.world.scene.clock.step();
    for (int frame = 12; frame <= 55; ++frame) {
        const double wanted =
            std::max(0.0, stopped->shot(11).percent - loss * stopped->shot(10).percent * (frame - 11));
        if (!check.expect(isNear(stopped->shot(frame).percent, wanted, 0.05, 1.0),
                          "under the ABS brake the speed was " + shown(stopped->shot(frame).percent) +
                              " percent behind " + std::to_string(frame - 10) + " frames; it falls in a line to " +
                              shown(wanted)))
            break;
    }
    check.expect(stopped->step(55) < 0.002 * stopped->length(),
                 "the vehicle moves by " + shown(stopped->step(55)) + " in a frame behind its ABS brake; it stands");
    const auto locked = braked(kSkidBrake, 50);
    const double slid = util::Length(locked->body(30) - locked->body(11));
    check.expect(slid > 0.5 * locked->length() && locked->step(30) < 0.9 * locked->step(12) &&
                     locked->step(60) < 0.005 * locked->length(),
                 "under the skid brake the vehicle slid by " + shown(slid) + " and moved by " +
                     shown(locked->step(12)) + ", " + shown(locked->step(30)) + " and " + shown(locked->step(60)) +
                     " in frames 2, 20 and 50; it slides to a stop");
    for (int corner = 0; corner < 4; ++corner)
        check.expect(std::abs(locked->rolled(wheelName(corner), 20)) < 0.02,
                     cited(wheelName(corner)) + " rolls under the skid brake, which locks the wheels");
}

void carEverywhere(Check& check) {
    const CarAxes axes = {{kGas, 0.4}, {kSteering, 0.3}};
    constexpr int kFrames = 30;
    CarDrive here(check);
    here.begin(0, axes);
    here.go(kFrames, axes);
    here.end();
    const auto expectSame = [&](const Matrix4& place, int start, const std::string& what) {
        CarDrive there(check);
        there.place(place);
        there.begin(start, axes);
        there.go(kFrames, axes);
        there.end();
        for (int frame = 1; frame <= kFrames; ++frame) {
            const Place wanted = util::Transform(place, here.body(frame));
            const double off = util::Length(there.body(start + frame) - wanted);
            const double way = util::Length(wanted - util::Transform(place, here.body(0)));
            if (!check.expect(off < 0.02 * way + 0.01 * there.length(),
                              "a vehicle " + what + " was " + shown(off) + " away behind " + std::to_string(frame) +
                                  " frames from where it gets that starts in the middle of the scene; a drive does not "
                                  "depend on its place, heading, size and start"))
                return;
        }
    };
    expectSame(util::Translation({15.0, 0.0, 10.0}), 0, "that starts elsewhere");
    expectSame(util::RotationY(1.2), 0, "that heads elsewhere");
    expectSame(util::Scaling(2.0), 0, "of twice the size");
    expectSame(Matrix4(), 500, "that starts 20 s later");
}

void carResumes(Check& check) {
    const CarAxes axes = {{kGas, 0.4}};
    CarDrive whole(check);
    whole.begin(0, axes);
    whole.go(30, axes);
    whole.end();
    CarDrive parts(check);
    parts.begin(0, axes);
    parts.go(15, axes);
    parts.end();
    parts.begin(15);
    parts.go(15, axes);
    parts.end();
    for (int frame = 16; frame <= 30; ++frame) {
        const double off = util::Length(whole.body(frame) - parts.body(frame));
        if (!check.expect(off < 0.05 * util::Length(whole.body(frame) - whole.body(15)),
                          "a run that goes on where one ended was " + shown(off) + " away behind " +
                              std::to_string(frame - 15) +
                              " frames from where a single run is; transitions are seamless"))
            break;
    }
}

void carEditsInRuns(Check& check) {
    const CarAxes axes = {{kGas, 0.5}, {kSteering, 0.5}};
    CarDrive drive(check);
    drive.begin(0, axes);
    drive.go(10, axes);
    const double before = drive.shot(10).speed / drive.shot(10).percent;
    drive.set("Multiplier", 2.0 * drive.row("Multiplier"));
    drive.set("Steering Wheel Rot Mult", 0.0);
    drive.go(1, axes);
    const double ratio = drive.shot(11).speed / drive.shot(11).percent / before;
    check.expect(isNear(ratio, 2.0, 1e-6), "the read-out of the speed grew by " + shown(ratio) +
                                               " in the frame behind one in which 'Multiplier' was doubled; the host "
                                               "writes rows during a run, too, and the next frame takes them");
    const Matrix4 wheel = util::Inverse(drive.local("SteeringWheelMesh", 0)) * drive.local("SteeringWheelMesh", 11);
    check.expect(std::abs(wheel[1]) < 1e-6,
                 "the steering wheel was turned by " + shown(wheel[1]) +
                     " in the frame behind one in which 'Steering Wheel Rot Mult' became 0; "
                     "the host writes rows during a run, too, and the next frame takes them");
    drive.set("Gas Pedal (Forw/Backw) Response Factor", 0.0);
    drive.set("Acceleration (scale relative)", 1000.0);
    drive.set("Gas Pedal (Forw/Backw) Maximum", 1.0);
    drive.go(9, axes);
    const double half = drive.shot(20).percent;
    drive.set("Gas Pedal (Forw/Backw) Maximum", 0.5);
    drive.go(10, axes);
    check.expect(isNear(drive.shot(30).percent, half, 0.01) && isNear(drive.step(30), 0.5 * drive.step(20), 0.05),
                 "the body moved by " + shown(drive.step(20)) + " in a frame and by " + shown(drive.step(30)) +
                     " when the largest speed was halved in the run; the next frame takes the row");
    drive.end();
}

void carFollows(Check& check) {
    for (const double side : {6.0, -6.0}) {
        CarDrive drive(check);
        drive.set("Autonomous Mode", 1.0);
        const Place target(side, 0.3, -20.0);
        drive.car.world.scene.setLocal(drive.element("TargetMesh"), 0.0, util::Translation(target));
        drive.begin(0);
        drive.go(90, {});
        drive.end();
        const double left = util::Length(target - drive.body(90));
        const double first = util::Length(target - drive.body(0));
        check.expect(left < 0.5 * first, "in autonomous mode the vehicle was " + shown(left) +
                                             " away from its target behind 90 frames, and " + shown(first) +
                                             " at the start; it follows the target");
        check.expect(drive.body(90).x * side > 0.0,
                     "in autonomous mode the vehicle passed by its target on the other side");
    }
}

void carCamera(Check& check) {
    CarDrive drive(check);
    drive.begin(0, {{kGas, 0.5}, {kSteering, 0.3}});
    drive.go(50, {{kGas, 0.5}, {kSteering, 0.3}});
    drive.end();
    const double first = util::Length(drive.world("FollowCam", 0).row(3) - drive.body(0));
    for (const int frame : {10, 25, 50}) {
        const Matrix4 camera = drive.world("FollowCam", frame);
        const Place sight = drive.body(frame) - camera.row(3);
        const double away = util::Length(sight);
        const double straight = -util::Dot(sight, camera.row(2)) / away / util::Length(camera.row(2));
        check.expect(isNear(away, first, 0.3) && straight > 0.8,
                     "'FollowCam' was " + shown(away) + " away from the body at frame " + std::to_string(frame) + ", " +
                         shown(first) + " at the start, and looks at it by " + shown(straight) +
                         " of 1; it trails the vehicle and looks ahead");
    }
    for (const char* name : {"DriverCam", "TopViewCam"}) {
        const auto within = [&](int frame) {
            return util::Transform(util::Inverse(drive.world("CarBodyMesh", frame)), drive.world(name, frame).row(3));
        };
        check.expect(util::Length(within(50) - within(0)) < 1e-3,
                     std::string("'") + name + "' moved against the body; it is fixed to the vehicle");
    }
}

void carGaps(Check& check) {
    struct Gap {
        const char* where;
        double x, z;              // no ground where x or z is beyond, on the side that the sign tells
        std::array<bool, 4> air;  // the wheels, in the order of the outputs
    };
    for (const Gap& gap :
         {Gap{"on the right", 1.0, 0.0, {false, true, false, true}},
          Gap{"on the left", -1.0, 0.0, {true, false, true, false}},
          Gap{"ahead", 0.0, -1.0, {true, true, false, false}}, Gap{"behind", 0.0, 1.0, {false, false, true, true}}}) {
        CarDrive drive(check, [&gap](double x, double z) {
            return gap.x * x + gap.z * z > 0.1 ? std::nan("") : levelGround(x, z);
        });
        drive.begin(0);
        drive.go(1, {});
        for (std::size_t corner = 0; corner < 4; ++corner) {
            const double told = drive.shot(1).outputs[3 + corner];
            check.expect(told == (gap.air[corner] ? 1.0 : 0.0),
                         "the output of " + cited(wheelName(static_cast<int>(corner))) + " holds " + shown(told) +
                             " with no ground " + gap.where + " of the vehicle; it is 1 of a wheel in the air, else 0");
        }
        drive.end();
    }
}

void carHistoryValues(Check& check) {
    constexpr int kFrames = 12;
    const CarAxes axes = {{kGas, 0.5}, {kSteering, 0.5}};
    const auto driven = [&](bool ground) {
        auto drive = std::make_unique<CarDrive>(check);
        drive->host.lacks.hits = drive->host.lacks.surfaces = !ground;
        drive->begin(0, axes);
        drive->go(kFrames, axes);
        drive->end();
        return drive;
    };
    const auto drive = driven(true);
    const std::vector<CarHistory> all = histories(drive->host.save());
    const auto expectKeys = [&](const char* name, const std::function<double(const CarDrive::Shot&)>& wanted) {
        const std::vector<double> numbers = keyedNumbers(historyOf(check, all, name));
        if (numbers.size() != kFrames) check.give("car-histories", "histories have other keys");
        for (int frame = 1; frame <= kFrames; ++frame) {
            const double number = numbers[static_cast<std::size_t>(frame - 1)];
            if (!check.expect(isNear(number, wanted(drive->shot(frame)), 1e-9, 1e-12),
                              "the history " + cited(name) + " holds " + shown(number) + " at frame " +
                                  std::to_string(frame) + "; the read-outs tell " + shown(wanted(drive->shot(frame)))))
                return;
        }
    };
    const double largest = drive->row("Gas Pedal (Forw/Backw) Maximum");
    expectKeys("ancCarCampcInput_GAS_PEDAL",
               [&](const CarDrive::Shot& shot) { return shot.percent / 100.0 * largest; });
    expectKeys("ancCarCampcInput_STEERING_WHEEL", [](const CarDrive::Shot& shot) { return shot.outputs[2]; });
    const std::vector<CarHistory> allInTheAir = histories(driven(false)->host.save());
    for (const bool ground : {true, false}) {
        const CarHistory& air = historyOf(check, ground ? all : allInTheAir, "anbCarInTheAir");
        if (air.bytes.size() != 16 + 9 * kFrames) check.give("car-histories", "histories have other keys");
        check.expect(air.bytes.back() == (ground ? 0 : 1),
                     "the history 'anbCarInTheAir' ends with the byte " + std::to_string(air.bytes.back()) +
                         (ground ? " on the ground; it is 0" : " without ground; it is 1"));
    }
}

}  // namespace ond::validate::tests
