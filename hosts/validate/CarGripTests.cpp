// How the four-wheeled vehicle moves on its springs, in burnouts and in skids: by signs, limits and relations that hold
// for any faithful vehicle.
#include <algorithm>
#include <cmath>
#include <memory>

#include "validate/CarDrive.h"
#include "validate/CarHistories.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

using util::Matrix4;
using Place = util::Vector3<double>;
using OwnDrive = std::unique_ptr<CarDrive>;

/// In radians on level ground, positive with the nose up.
double noseOf(const CarDrive& drive, int frame) {
    return std::asin(-drive.world("CarBodyMesh", frame).row(2).y / drive.length());
}

/// In radians on level ground, positive with the right side up.
double sideOf(const CarDrive& drive, int frame) {
    return std::asin(drive.world("CarBodyMesh", frame).row(0).y / drive.length());
}

/// Frames in which a vehicle comes to its own height behind a start, which is not quite that of its rig.
constexpr int kSettled = 15;

double riseOf(const CarDrive& drive, int frame) { return drive.body(frame).y - drive.body(kSettled).y; }

using Measure = double (*)(const CarDrive&, int);

double meanOf(const CarDrive& drive, Measure measure, int first, int last) {
    double sum = 0.0;
    for (int frame = first; frame <= last; ++frame) sum += measure(drive, frame);
    return sum / (last - first + 1);
}

/// Without its sign.
double largestOf(const CarDrive& drive, Measure measure, int first, int last) {
    double largest = 0.0;
    for (int frame = first; frame <= last; ++frame) largest = std::max(largest, std::abs(measure(drive, frame)));
    return largest;
}

/// Middle of the front or back wheels, where the body has them.
Place axleOf(const CarDrive& drive, int firstCorner, int frame) {
    const Matrix4 start = util::Inverse(drive.world("CarBodyMesh", 0));
    const Place middle =
        (drive.world(wheelName(firstCorner), 0).row(3) + drive.world(wheelName(firstCorner + 1), 0).row(3)) * 0.5;
    return util::Transform(drive.world("CarBodyMesh", frame), util::Transform(start, middle));
}

double acrossGround(const Place& way) { return std::hypot(way.x, way.z); }

void expectPitch(Check& check) {
    CarDrive drive(check);
    drive.set("Gas Pedal (Forw/Backw) Response Factor", 0.0);
    drive.begin(0);
    drive.go(15, {{kGas, 1.0}});
    drive.go(50, {{kAbsBrake, 1.0}});
    drive.end();
    const double ahead = meanOf(drive, noseOf, 4, 15);
    const double braked = meanOf(drive, noseOf, 19, 30);
    check.expect(ahead > 1e-3, "the body's nose rises by " + shown(ahead) +
                                   " rad while the vehicle speeds up; its springs let the nose rise");
    check.expect(braked < -1e-3, "the body's nose rises by " + shown(braked) +
                                     " rad while the vehicle brakes; its springs let the nose dip");
    const double left = largestOf(drive, noseOf, 61, 65);
    check.expect(left < 0.2 * ahead + 2e-4, "the body's nose is still " + shown(left) +
                                                " rad off level when the vehicle stands; its springs come to rest");
}

void expectRoll(Check& check) {
    for (const double side : {0.4, -0.4}) {
        CarDrive drive(check);
        drive.set("Skidding Release Value (Lateral Vel Rel)", 100.0);
        drive.begin(0, {{kGas, 0.6}});
        drive.go(10, {{kGas, 0.6}});
        drive.go(20, {{kGas, 0.6}, {kSteering, side}});
        drive.end();
        const double lean = meanOf(drive, sideOf, 15, 30);
        check.expect(lean * side > 0.0 && std::abs(lean) > 1e-3,
                     "the body's right side rises by " + shown(lean) + " rad in a turn to the " +
                         (side > 0.0 ? "right" : "left") + "; the body leans outwards on its springs");
    }
}

void expectTiltLimits(Check& check) {
    constexpr double kLimit = 0.003;
    // The ground of the drive is not quite level.
    constexpr double kSlack = 5e-4;
    CarDrive drive(check);
    drive.set("Skidding Release Value (Lateral Vel Rel)", 100.0);
    drive.set("Acceleration (scale relative)", 1000.0);
    drive.set("Gas Pedal (Forw/Backw) Response Factor", 0.0);
    drive.set("Maximum Forward Tilt Angle", kLimit);
    drive.set("Maximum Side Tilt Angle", kLimit);
    drive.begin(0);
    drive.go(12, {{kGas, 1.0}});
    drive.go(18, {{kGas, 1.0}, {kSteering, 0.8}});
    drive.end();
    for (const auto& [measure, name] :
         {std::pair{&noseOf, "Maximum Forward Tilt Angle"}, std::pair{&sideOf, "Maximum Side Tilt Angle"}}) {
        const double largest = largestOf(drive, measure, 1, 30);
        check.expect(largest < kLimit + kSlack && largest > kLimit - kSlack,
                     "the body tilts by up to " + shown(largest) + " rad in a hard drive with '" + name + "' at " +
                         shown(kLimit) + "; it tilts to that limit and no further");
    }
}

void expectHeights(Check& check) {
    struct Push {
        double force, stiffness;  ///< times the row
    };
    const auto pushed = [&](const Push& push) {
        auto drive = std::make_unique<CarDrive>(check);
        drive->set("External Force Maximum", push.force * drive->row("External Force Maximum"));
        for (const char* row : {"Front Stiffness", "Back Stiffness"}) drive->set(row, push.stiffness * drive->row(row));
        drive->begin(0);
        drive->go(kSettled, {});
        drive->go(20, {{kForce, 1.0}});
        if (push.force == 1.0 && push.stiffness == 1.0) drive->go(20, {});
        drive->end();
        return drive;
    };
    const OwnDrive soft = pushed({1.0, 1.0});
    const OwnDrive stiff = pushed({1.0, 4.0});
    const double softRise = std::abs(meanOf(*soft, riseOf, 29, 35));
    const double stiffRise = std::abs(meanOf(*stiff, riseOf, 29, 35));
    check.expect(softRise > 1e-3 && stiffRise < 0.5 * softRise && stiffRise > 0.1 * softRise,
                 "the body is held " + shown(softRise) + " off its height by an external force, and " +
                     shown(stiffRise) + " with springs that are four times as stiff; it is about a quarter");
    const double left = largestOf(*soft, riseOf, 53, 55);
    check.expect(left < 0.2 * softRise, "the body is still " + shown(left) +
                                            " off its height long behind the force; its springs come to rest");
    const OwnDrive hard = pushed({1000.0, 1.0});
    // Of a new vehicle: 0.9 times 0.2 wheel radii.
    const double limit = 0.18 * util::Scale(hard->world("WheelMesh_FL", 0)).y * hard->row("Wheel Radius Multiplier");
    const double largest = largestOf(*hard, riseOf, kSettled, 35);
    check.expect(isNear(largest, limit, 0.1),
                 "the body is up to " + shown(largest) +
                     " off its height under a great external force; it moves by 0.18 wheel radii and no further, " +
                     shown(limit));
}

struct Burnout {
    int frames, after;  ///< held, and behind that
    double steering, seed, shake;
};

/// On the spot.
OwnDrive burntOut(Check& check, const Burnout& burnout) {
    auto drive = std::make_unique<CarDrive>(check);
    drive->set("Burnout Maximum", 0.8);
    drive->set("Burnout Tilting Force", 20.0);
    drive->set("Random Seed Adder", burnout.seed);
    drive->set("Burnout Shake", burnout.shake);
    drive->begin(0);
    drive->go(burnout.frames, {{kBurnout, 1.0}, {kSteering, burnout.steering}});
    drive->go(burnout.after, {});
    drive->end();
    return drive;
}

/// By frames.
std::vector<double> burnoutsOf(const OwnDrive& drive) {
    std::vector<double> keys =
        keyedNumbers(historyOf(drive->check, histories(drive->host.save()), "ancCarCampcInput_BURNOUT"));
    if (keys.size() != static_cast<std::size_t>(drive->frame()))
        drive->check.give("car-histories", "histories have other keys");
    keys.insert(keys.begin(), 0.0);
    return keys;
}

void expectSpin(Check& check) {
    const OwnDrive drive = burntOut(check, {25, 25, 0.0, 0.0, 0.0});
    const std::vector<double> burnouts = burnoutsOf(drive);
    constexpr double kPerFrame = 0.49 * 3.141592653589793;
    for (int corner = 0; corner < 4; ++corner)
        for (int frame = 5; frame <= 25; ++frame) {
            const double wanted = corner < 2 ? 0.0 : -kPerFrame * burnouts[static_cast<std::size_t>(frame)];
            const double rolled = drive->rolled(wheelName(corner), frame);
            if (!check.expect(isNear(rolled, wanted, 0.05, 0.02),
                              cited(wheelName(corner)) + " rolled by " + shown(rolled) + " in frame " +
                                  std::to_string(frame) + " of a burnout; the back wheels alone spin, by " +
                                  shown(wanted)))
                break;
        }
    for (int corner = 0; corner < 4; ++corner)
        check.expect(std::abs(drive->rolled(wheelName(corner), 50)) < 0.02,
                     cited(wheelName(corner)) + " still spins long behind a burnout; burnouts fade");
}

void expectPivot(Check& check) {
    for (const double side : {0.6, -0.6}) {
        const OwnDrive drive = burntOut(check, {15, 0, side, 0.0, 0.0});
        const std::vector<double> burnouts = burnoutsOf(drive);
        double wanted = 0.0;
        for (int frame = 1; frame <= 15; ++frame)
            wanted -= burnouts[static_cast<std::size_t>(frame)] * drive->shot(frame).outputs[2] *
                      drive->car.world.scene.clock.step();
        const double turned = wrapped(drive->heading(15) - drive->heading(0));
        check.expect(isNear(turned, wanted, 0.1), "the body turned by " + shown(turned) +
                                                      " in a burnout with the wheel to the " +
                                                      (side > 0.0 ? "right" : "left") +
                                                      "; by the burnout and the steering it turns by " + shown(wanted));
        const double front = acrossGround(axleOf(*drive, 0, 15) - axleOf(*drive, 0, 0));
        const double back = acrossGround(axleOf(*drive, 2, 15) - axleOf(*drive, 2, 0));
        check.expect(front < 0.2 * back && back > 0.004 * drive->length(),
                     "in a steered burnout the front axle moved by " + shown(front) + " and the back axle by " +
                         shown(back) + "; the vehicle turns about its front axle");
    }
}

void expectNoise(Check& check) {
    const auto picture = [&](double seed, double shake) {
        const OwnDrive drive = burntOut(check, {10, 0, 0.0, seed, shake});
        const double tilt = meanOf(*drive, noseOf, 3, 10);
        check.expect(shake == 0.0 || tilt < -5e-4,
                     "the body's nose rises by " + shown(tilt) + " rad in a burnout; it dips");
        return drive->car.world.picture(drive->host, 0, 10, {true, false, false, false});
    };
    const Picture first = picture(0.0, 0.2);
    check.expect(first.difference(picture(0.0, 0.2)).empty(),
                 "the same seed shook the vehicle in another way in a burnout; it is a seed");
    check.expect(!first.difference(picture(7.0, 0.2)).empty(),
                 "'Random Seed Adder' made no difference to a burnout; each seed gives a shake of its own");
    check.expect(picture(0.0, 0.0).difference(picture(7.0, 0.0)).empty(),
                 "'Random Seed Adder' made a difference to a burnout with 'Burnout Shake' at 0; it does not shake");
}

/// Where the vehicle goes in a frame, about the vertical, positive to the left.
double wayOf(const CarDrive& drive, int frame) {
    const Place way = drive.body(frame) - drive.body(frame - 1);
    return std::atan2(-way.x, -way.z);
}

constexpr double kNever = 100.0;

struct Turn {
    double skidding;  ///< until the end of the first turn
    double release;   ///< of the row for skids of its own
};

/// Straight on to frame 10, to the right to 22, straight on to 55, to the right again to 65. Those that skid by
/// themselves only to 22.
OwnDrive turned(Check& check, const Turn& turn) {
    auto drive = std::make_unique<CarDrive>(check);
    drive->set("Skidding Release Value (Lateral Vel Rel)", turn.release);
    drive->begin(0, {{kGas, 0.5}});
    drive->go(10, {{kGas, 0.5}, {kSkidding, turn.skidding}});
    drive->go(12, {{kGas, 0.5}, {kSteering, 0.8}, {kSkidding, turn.skidding}});
    if (turn.release >= kNever) {
        drive->go(33, {{kGas, 0.5}});
        drive->go(10, {{kGas, 0.5}, {kSteering, 0.8}});
    }
    drive->end();
    return drive;
}

void expectSkid(Check& check) {
    const OwnDrive grip = turned(check, {0.0, kNever});
    const OwnDrive skid = turned(check, {1.0, kNever});
    const auto way = [](const OwnDrive& drive, int first, int last) {
        return wrapped(wayOf(*drive, last) - wayOf(*drive, first));
    };
    const auto heading = [](const OwnDrive& drive) { return wrapped(drive->heading(22) - drive->heading(10)); };
    check.expect(way(skid, 10, 22) < 0.0 && way(skid, 10, 22) > 0.6 * way(grip, 10, 22),
                 "the way of a skidding vehicle turned by " + shown(way(skid, 10, 22)) +
                     " in 12 frames to the right, and by " + shown(way(grip, 10, 22)) +
                     " with grip; a skidding vehicle slides on as it went");
    check.expect(heading(skid) < 0.0 && heading(skid) > 0.8 * heading(grip),
                 "the body of a skidding vehicle turned by " + shown(heading(skid)) +
                     " in 12 frames to the right, and by " + shown(heading(grip)) +
                     " with grip; a skidding vehicle takes up the turn later");
    check.expect(isNear(way(skid, 55, 65), way(grip, 55, 65), 0.2),
                 "the way of a vehicle turned by " + shown(way(skid, 55, 65)) +
                     " in ten frames to the right long behind a skid, and by " + shown(way(grip, 55, 65)) +
                     " without a skid before; the grip comes back");
    const OwnDrive self = turned(check, {0.0, 1e-4});
    check.expect(way(self, 10, 22) > 0.85 * way(grip, 10, 22),
                 "the way of a vehicle turned by " + shown(way(self, 10, 22)) +
                     " in 12 frames to the right with 'Skidding Release Value (Lateral Vel Rel)' at 0.0001, and by " +
                     shown(way(grip, 10, 22)) + " with it at 100; a turn above that value makes it skid by itself");
}

void expectSlide(Check& check) {
    CarDrive drive(check);
    drive.begin(0, {{kGas, 0.5}});
    drive.go(10, {{kGas, 0.5}, {kSteering, 0.6}});
    drive.go(15, {{kGas, 0.5}, {kSteering, 1.0}, {kSkidBrake, 1.0}});
    drive.end();
    const double bent = wrapped(wayOf(drive, 25) - wayOf(drive, 13));
    const double turn = wrapped(drive.heading(25) - drive.heading(11));
    check.expect(std::abs(bent) < 0.01 && turn < -0.01,
                 "under the skid brake the way of a vehicle in a turn to the right turned by " + shown(bent) +
                     " and its body by " + shown(turn) + "; it slides straight on, and its body turns on");
}

}  // namespace

void carSprings(Check& check) {
    expectPitch(check);
    expectRoll(check);
    expectTiltLimits(check);
    expectHeights(check);
}

void carBurnouts(Check& check) {
    expectSpin(check);
    expectPivot(check);
    expectNoise(check);
}

void carSkids(Check& check) {
    expectSkid(check);
    expectSlide(check);
}

}  // namespace ond::validate::tests
