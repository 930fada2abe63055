// What the four-wheeled vehicle does in runs.
#include <algorithm>
#include <cmath>
#include <set>

#include "validate/CarDialog.h"
#include "validate/CarDrive.h"
#include "validate/CarHistories.h"
#include "validate/CarRules.h"
#include "validate/CarWorld.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// The elements that a frame sets, in order.
Acts setsOfFrame(bool essentialOnly) {
    Acts acts = {"set CarBodyMesh"};
    for (const char* corner : kCarCorners)
        if (!essentialOnly)
            for (const char* name : {"WheelCenterMesh", "WheelCenterSuspensionMesh"})
                acts.push_back(std::string("set ") + name + corner);
    for (const char* corner : kCarCorners) acts.push_back(std::string("set WheelMesh") + corner);
    for (const char* name : {"TurnBaseMesh", "SteeringWheelMesh", "CarBodyBaseMesh"})
        acts.push_back(std::string("set ") + name);
    if (!essentialOnly) acts.emplace_back("set FollowCam");
    return acts;
}

void expectRunActs(Check& check, Car& car, StrictHost& host, bool records) {
    const std::string with = records ? "" : " with both rows off that keep the past";
    car.world.begin(0);
    const Acts start = actsOf(host, [&] { host.startRun(0); });
    const auto pushes = static_cast<std::size_t>(std::count(start.begin(), start.end(), "push"));
    check.expect(pushes == (records ? 59U : 0U), "startRun()" + with + " pushed " + counted(pushes, "record") +
                                                     "; it pushes " + (records ? "59" : "none"));
    check.expect(std::is_partitioned(start.begin(), start.end(), [](const std::string& act) { return act == "push"; }),
                 "startRun() pushed a record behind the first change; the records come before it");
    const Acts shows = only(start, {"show", "hide", "redraw", "refresh", "message", "wireframe"});
    expectActs(check, "startRun() of an ordinary run" + with, shows, {});
    for (int frame = 1; frame <= 3; ++frame) {
        car.world.frame(frame);
        expectActs(check, "frame " + std::to_string(frame) + " of a run" + with,
                   actsOf(host, [&] { host.updateFrame(frame); }),
                   setsOfFrame(rowOf(host, "Keyframe only essential objects").value() != 0.0));
        expectActs(check, "showFrame() in a run",
                   actsOf(host, [&] { host.showFrame(car.world.scene.clock.time(frame)); }), {"refresh"});
    }
    expectActs(check, "stopRun() of an ordinary run", actsOf(host, [&] { host.stopRun(3); }), {});
    car.world.end();
    expectActs(check, "showFrame() between runs", actsOf(host, [&] { host.showFrame(0.04); }), {"refresh"});
}

Acts ofHelpers(const char* verb) {
    Acts acts;
    for (const CarElement& element : carElements())
        if (!element.isCamera) acts.push_back(std::string(verb) + " " + element.name);
    return sorted(std::move(acts));
}

Acts looksOfStart(Car& car, StrictHost& host) {
    car.world.begin(0);
    return sorted(only(actsOf(host, [&] { host.startRun(0); }), {"show", "hide", "redraw", "refresh"}));
}

Acts looksOfStop(Car& car, StrictHost& host) {
    Acts acts = sorted(actsOf(host, [&] { host.stopRun(0); }));
    car.world.end();
    return acts;
}

constexpr const char* kNonuniform =
    "message Warning: Nonuniform scaling is not allowed on the body since it would affect children.\nThe quadrig body "
    "will now rescale to become uniform.\nWhen scaling only the length of the dummy is of importance.\nModify the "
    "shape "
    "by editing the mesh.";
constexpr const char* kMovedWheels =
    "message Warning: In the rigging process the wheels should be moved and scaled with the "
    "WheelRelocatorMesh:es.\nUse "
    "the WheelCenterMesh:es for suspension and particles.";
constexpr const char* kTargetOnBody =
    "message Warning: The TargetMesh is parented to the CarBodyMesh.\nThis will mess up the autonomous mode making the "
    "car spinn.";
constexpr const char* kUnsupported =
    "message UNSUPPORTED SURFACE TYPE: Support for this kind of surface has not yet been implemented for FAST RAYCAST "
    "for this adaptor. Fast raycast is therefore cancelled.\nContact support for more information on this issue.";

void expectMessages(Check& check, const std::string& when, Car& car, StrictHost& host, int first, const Acts& wanted) {
    car.world.begin(first);
    const Acts start = actsOf(host, [&] { host.startRun(first); });
    expectActs(check, "startRun() " + when, only(start, {"message"}), wanted);
    car.world.frame(first + 1);
    const Acts frame = actsOf(host, [&] { host.updateFrame(first + 1); });
    expectActs(check, "a frame " + when, only(frame, {"message"}), {});
    host.stopRun(first + 1);
    car.world.end();
}

stage::Element& elementOf(StrictHost& host, const std::string& name) {
    stage::Element* element = host.element(name);
    if (element == nullptr) host.check.give("car-rig", "the rig has no element " + cited(name));
    return *element;
}

void expectScalingMessages(Check& check) {
    struct Case {
        util::Vector3<double> scale;
        bool warns;
    };
    for (const Case& one : {Case{{1.002, 1.0, 1.0}, true}, Case{{1.0, 1.002, 1.0}, true}, Case{{1.0, 1.0, 0.998}, true},
                            Case{{1.0005, 1.0, 1.0}, false}, Case{{2.0, 2.0, 2.0}, false}}) {
        Car car(check);
        StrictHost& host = car.world.addRigged("car");
        stage::Element& body = elementOf(host, "CarBodyMesh");
        car.world.scene.setLocal(body, 0.0, car.world.scene.local(body, 0.0) * util::Scaling(one.scale));
        const std::string when =
            "with a body scaled by " + shown(one.scale.x) + ", " + shown(one.scale.y) + ", " + shown(one.scale.z);
        expectMessages(check, when, car, host, 0, one.warns ? Acts{kNonuniform} : Acts{});
        if (one.warns) expectMessages(check, when + " that goes on with a run", car, host, 1, {});
    }
}

void raiseCentre(Car& car, StrictHost& host, const char* corner, double share) {
    stage::Element& centre = elementOf(host, std::string("WheelCenterMesh") + corner);
    util::Matrix4 world = car.world.scene.world(centre, 0.0);
    const double length = util::Scale(car.world.scene.world(elementOf(host, "CarBodyMesh"), 0.0)).z;
    world.setRow(3, world.row(3) + util::Vector3<double>(0.0, share * length, 0.0));
    car.world.scene.setWorld(centre, 0.0, world);
}

void expectWheelMessages(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    for (const char* corner : kCarCorners) raiseCentre(car, host, corner, 0.005);
    expectMessages(check, "with the centres of wheels 0.005 lengths off", car, host, 0, {});
    // A start from the beginning puts them back.
    for (const char* corner : kCarCorners) {
        raiseCentre(car, host, corner, 0.02);
        expectMessages(check, "with WheelCenterMesh" + std::string(corner) + " 0.02 lengths off", car, host, 0,
                       {kMovedWheels});
    }
}

void expectTargetMessages(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    stage::Element& target = elementOf(host, "TargetMesh");
    const Item following = rowOf(host, "Autonomous Mode");
    following.write(1.0);
    expectMessages(check, "that follows a target of its own", car, host, 0, {});
    car.world.scene.reparent(target, car.world.scene.find("Hills"));
    expectMessages(check, "that follows a target on the ground", car, host, 0, {});
    for (const char* above : {"CarBodyMesh", "ChassisRelocatorMesh"}) {
        car.world.scene.reparent(target, &elementOf(host, above));
        expectMessages(check, std::string("that follows a target below ") + above, car, host, 0, {kTargetOnBody});
    }
    expectMessages(check, "that goes on following a target below its body", car, host, 1, {kTargetOnBody});
    host.lacks.relations = true;
    expectMessages(check, "that follows a target in a host without relations", car, host, 0, {});
    host.lacks.relations = false;
    following.write(0.0);
    expectMessages(check, "with a target below its body that it does not follow", car, host, 0, {});
}

void expectSurfaceMessages(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    host.lacks.triangles = true;
    const Item fast = rowOf(host, "Use Fast Ray Cast");
    stage::Element& gravity = elementOf(host, "GravityDirectionMesh");
    const std::vector<stage::Element*> floors = gravity.children;
    for (stage::Element* floor : floors) car.world.scene.reparent(*floor, nullptr);
    expectMessages(check, "on a surface without triangles", car, host, 0, {kUnsupported});
    check.expect(fast.value() == 0.0,
                 "the row 'Use Fast Ray Cast' is on behind the message that says that it is "
                 "cancelled; it is off");
    expectMessages(check, "on a surface without triangles that is not to be cast at fast", car, host, 0, {});
}

/// Positions of an element in the frames of a run, from the start on.
std::vector<util::Vector3<double>> path(const Car& car, StrictHost& host, const char* name, int first, int frames) {
    std::vector<util::Vector3<double>> places;
    const stage::Element& element = elementOf(host, name);
    for (int k = 0; k <= frames; ++k)
        places.push_back(car.world.scene.world(element, car.world.scene.clock.time(first + k)).row(3));
    return places;
}

/// The histories of the inputs that have one.
constexpr const char* kInputHistories[] = {"ancCarCampcInput_GAS_PEDAL",
                                           "ancCarCampcInput_STEERING_WHEEL",
                                           "ancCarCampcInput_BOOSTER",
                                           nullptr,
                                           "ancCarCampcInput_SKIDDING",
                                           "ancCarCampcInput_SKID_BRAKE",
                                           nullptr,
                                           "ancCarCampcInput_BURNOUT",
                                           nullptr};

double lastOf(const Picture& picture, const char* history) {
    const auto found = picture.values.find(history);
    return found == picture.values.end() || found->second.empty() ? 0.0 : found->second.back();
}

/// What the vehicle's device value makes of an axis at its end: the whole.
double speedPerFrame(StrictHost& host, double length, double dt) {
    return rowOf(host, "Current Velocity (% of max)").value() / 100.0 *
           rowOf(host, "Gas Pedal (Forw/Backw) Maximum").value() * length * dt;
}

void expectEveryHistory(Check& check, const std::vector<CarHistory>& all) {
    const auto expectOne = [&](const std::string& name) {
        check.expect(
            std::any_of(all.begin(), all.end(), [&](const CarHistory& one) { return one.name == name; }),
            "the saved block has no history " + cited(name) + ", so a run that goes on cannot know it; it has all");
    };
    for (const CarKey& key : carKeys())
        if (key.keySize > 0) expectOne(key.name);
    constexpr int kOfFourWheels = 24;
    for (int i = 0; i < kOfFourWheels; ++i)
        expectOne(wheelKey(static_cast<std::size_t>(i)) + (" " + std::to_string(i)));
}

}  // namespace

void carFrames(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    holdAxes(host, {{kGas, 0.5}});
    expectRunActs(check, car, host, true);
    rowOf(host, "Keyframe only essential objects").write(1.0);
    expectRunActs(check, car, host, true);
    rowOf(host, "Enable Seamless Transitions").write(0.0);
    expectRunActs(check, car, host, true);
    rowOf(host, "Keyframe only essential objects").write(0.0);
    expectRunActs(check, car, host, false);
}

void carHelpers(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    const Item always = rowOf(host, "Hide Helpers");
    const Item inRuns = rowOf(host, "Hide Helpers During Recording");
    struct Case {
        bool always, inRuns, hides, shows;
    };
    for (const Case& one : {Case{false, false, false, false}, Case{false, true, true, true},
                            Case{true, false, true, false}, Case{true, true, true, false}}) {
        always.write(one.always ? 1.0 : 0.0);
        inRuns.write(one.inRuns ? 1.0 : 0.0);
        const std::string when = std::string(" with 'Hide Helpers' ") + (one.always ? "on" : "off") +
                                 " and 'Hide Helpers During Recording' " + (one.inRuns ? "on" : "off");
        expectActs(check, "startRun()" + when, looksOfStart(car, host), one.hides ? ofHelpers("hide") : Acts{});
        expectActs(check, "stopRun()" + when, looksOfStop(car, host), one.shows ? ofHelpers("show") : Acts{});
    }
    always.write(0.0);
    inRuns.write(0.0);
    rowOf(host, "Autonomous Mode").write(1.0);
    (void)looksOfStart(car, host);
    expectActs(check, "stopRun() in autonomous mode", looksOfStop(car, host), {"refresh"});
}

void carMessages(Check& check) {
    {
        Car car(check);
        StrictHost& host = car.world.addRigged("car");
        car.world.run(host, 0, 12);
        car.world.run(host, 6, 4);
        host.showFrame(0.1);
        const Bytes block = host.save();
        host.release();
        StrictHost& second = car.world.add("car");
        second.declare();
        if (second.load(block) == 0) car.world.run(second, 8, 4);
        for (const StrictHost* one : {&host, &second})
            if (!one->messages.empty())
                check.fail("the vehicle showed " + cited(one->messages.front().text) +
                           " in an ordinary life, in which there is nothing to be told");
    }
    expectScalingMessages(check);
    expectWheelMessages(check);
    expectTargetMessages(check);
    expectSurfaceMessages(check);
}

void carOutputValues(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    if (host.outputs.size() != carOutputs().size())
        check.give("car-channels", "the vehicle made " + counted(host.outputs.size(), "output channel"));
    const auto expectOutputs = [&](double air, const std::string& when) {
        const auto expect = [&](std::size_t at, double wanted) {
            const unidevice::OutputProperty& output = *host.outputs[at];
            check.expect(std::abs(output.current - wanted) < 1e-12, "the output " + cited(output.name) + " holds " +
                                                                        shown(output.current) + " " + when +
                                                                        "; it holds " + shown(wanted));
        };
        const double angle = host.outputs[2]->current;
        // As the frame left them, and as the host asks for them.
        for (const bool asks : {false, true}) {
            if (asks) host.refreshOutputs();
            expect(0, rowOf(host, "Current Velocity").value());
            expect(1, rowOf(host, "Current Velocity (% of max)").value() / 100.0);
            expect(2, angle);
            for (std::size_t wheel = 3; wheel < 7; ++wheel) expect(wheel, air);
        }
    };
    const auto angle = [&] { return host.outputs[2]->current; };
    holdAxes(host, {{kGas, 0.6}, {kSteering, 0.0}});
    car.world.run(host, 0, 4);
    expectOutputs(0.0, "behind frames on the ground");
    const double straight = angle();
    holdAxes(host, {{kGas, 0.6}, {kSteering, 1.0}});
    car.world.run(host, 4, 20);
    expectOutputs(0.0, "behind frames with the wheel to the right");
    const double right = angle();
    holdAxes(host, {{kGas, 0.6}, {kSteering, -1.0}});
    car.world.run(host, 24, 40);
    check.expect(straight == 0.0 && right * angle() < 0.0 && std::abs(right) < 0.7 && std::abs(angle()) < 0.7,
                 "the output 'Steering Angle' holds " + shown(straight) + " straight ahead, " + shown(right) +
                     " with the wheel to the right and " + shown(angle()) +
                     " to the left; it is 0, and to either side of it, within the largest angle");
    holdAxes(host, {{kGas, -0.8}});
    car.world.run(host, 0, 4);
    expectOutputs(0.0, "behind frames in reverse");
    check.expect(host.outputs[0]->current < 0.0 && host.outputs[1]->current < 0.0,
                 "the outputs of the velocity hold " + shown(host.outputs[0]->current) + " and " +
                     shown(host.outputs[1]->current) + " in reverse; both are below 0");
    host.lacks.hits = host.lacks.surfaces = true;
    car.world.run(host, 0, 2);
    expectOutputs(1.0, "where no ray hits anything");
    // While it gathers speed, no two frames have the same.
    CarDrive drive(check);
    drive.begin(0);
    drive.go(10, {{kGas, 0.8}, {kSteering, 0.5}});
    for (int frame = 2; frame <= 10; ++frame) {
        const CarDrive::Shot& shot = drive.shot(frame);
        check.expect(std::abs(shot.outputs[0] - shot.speed) < 1e-12 &&
                         std::abs(shot.outputs[1] - shot.percent / 100.0) < 1e-12 &&
                         shot.outputs[2] > drive.shot(frame - 1).outputs[2],
                     "the outputs of the velocity hold " + shown(shot.outputs[0]) + " and " + shown(shot.outputs[1]) +
                         " behind a frame whose gauges show " + shown(shot.speed) + " and " + shown(shot.percent) +
                         ", and the steering angle " + shown(shot.outputs[2]) +
                         " while the wheel is turned; a frame writes its own values");
    }
    drive.end();
}

void carShownGauges(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    const Item speed = rowOf(host, "Current Velocity");
    const Item percent = rowOf(host, "Current Velocity (% of max)");
    const auto expectBoth = [&](double wantedSpeed, double wantedPercent, const std::string& when) {
        check.expect(std::abs(speed.value() - wantedSpeed) <= 1e-9 * std::abs(wantedSpeed) &&
                         std::abs(percent.value() - wantedPercent) <= 1e-9 * std::abs(wantedPercent),
                     "the rows of the current velocity show " + shown(speed.value()) + " and " +
                         shown(percent.value()) + " " + when + "; they show " + shown(wantedSpeed) + " and " +
                         shown(wantedPercent));
    };
    holdAxes(host, {{kGas, 0.2}});
    std::vector<double> speeds, percents;
    car.world.begin(0);
    host.startRun(0);
    for (int frame = 1; frame <= 8; ++frame) {
        if (frame > 2) holdAxes(host, {{kGas, 0.2 + 0.1 * frame}});
        car.world.frame(frame);
        host.updateFrame(frame);
        speeds.push_back(speed.value());
        percents.push_back(percent.value());
        host.showFrame(0.0);
        expectBoth(speeds.back(), percents.back(), "when another time is shown in a run, which changes nothing");
    }
    host.stopRun(8);
    car.world.end();
    const double perPercent = rowOf(host, "World Space Maximum Velocity Gauge").value() / 100.0;
    for (int frame = 8; frame >= 1; --frame) {
        const auto at = static_cast<std::size_t>(frame - 1);
        host.showFrame(car.world.scene.clock.time(frame));
        const std::string when = "when frame " + std::to_string(frame) + " is shown";
        expectBoth(speeds[at], percents[at], when + ", as in its run");
        expectBoth(percents[at] * perPercent, percents[at], when);
        if (frame == 1) continue;
        host.showFrame(0.5 * (car.world.scene.clock.time(frame - 1) + car.world.scene.clock.time(frame)));
        expectBoth(0.5 * (speeds[at - 1] + speeds[at]), 0.5 * (percents[at - 1] + percents[at]),
                   "half a frame before frame " + std::to_string(frame));
    }
    host.showFrame(1e6);
    expectBoth(speeds.back(), percents.back(), "behind the last frame");
    holdAxes(host, {});
    car.world.run(host, 0, 2);
    expectBoth(0.0, 0.0, "of a vehicle at rest");
}

void carKeepsRows(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    // All axes at work, the booster too, whose springs come back behind the run.
    for (const char* mode : {"Gravity", "Autonomous Mode", "Use Fast Ray Cast", "Keyframe only essential objects"}) {
        const Item row = rowOf(host, mode);
        if (row.kind == Item::Kind::checkBox) row.write(row.value() == 0.0 ? 1.0 : 0.0);
        std::map<std::string, double> before;
        for (const Item& item : host.editableItems()) before[item.label] = item.value();
        holdAxes(host, {{kGas, 1.0}, {kBooster, 1.0}});
        car.world.run(host, 0, 8);
        holdAxes(host,
                 {{kGas, 0.5}, {kSteering, 0.3}, {kSkidding, 1.0}, {kSkidBrake, 1.0}, {kShake, 1.0}, {kForce, 0.5}});
        car.world.run(host, 4, 6);
        host.showFrame(0.1);
        for (const Item& item : host.editableItems())
            check.expect(item.value() == before[item.label],
                         "runs changed the row " + cited(item.label) + " from " + shown(before[item.label]) + " to " +
                             shown(item.value()) + "; what users set stays as it is");
    }
}

void carInputEffects(Check& check) {
    constexpr std::size_t kNone = kForce + 1;
    constexpr std::size_t kAllAtRest = kForce + 2;
    const auto film = [&](std::size_t channel, double position) {
        Car car(check);
        StrictHost& host = car.world.addRigged("car");
        if (host.inputs.size() != carInputs().size()) check.give("car-channels", "the vehicle has other channels");
        holdAxes(host, {{kGas, 0.6}, {kSteering, 0.3}});
        car.world.run(host, 0, 4);
        if (channel < host.held.size()) host.held[channel] = position;
        if (channel == kAllAtRest)
            for (std::size_t i = kSteering + 1; i < host.held.size(); ++i) host.held[i] = position;
        std::vector<int> reads;
        for (const auto& axis : host.axes) reads.push_back(axis->reads);
        car.world.begin(4);
        host.startRun(4);
        for (int frame = 5; frame <= 12; ++frame) {
            car.world.frame(frame);
            for (std::size_t i = 0; i < host.axes.size(); ++i) reads[i] = host.axes[i]->reads;
            host.updateFrame(frame);
            for (std::size_t i = 0; i < host.axes.size(); ++i)
                check.expect(host.axes[i]->reads == reads[i] + 1,
                             "a frame read the axis of " + cited(carInputs()[i].name) + " " +
                                 std::to_string(host.axes[i]->reads - reads[i]) + " times; it reads each axis once");
        }
        host.stopRun(12);
        car.world.end();
        Picture picture = car.world.picture(host, 4, 12, {true, false, false, false});
        for (const CarHistory& history : histories(host.save())) picture.values[history.name] = keyedNumbers(history);
        return picture;
    };
    const Picture plain = film(kNone, 0.0);
    for (std::size_t channel = 0; channel <= kForce; ++channel) {
        const std::string input = "the input " + cited(carInputs()[channel].name);
        const Picture other = film(channel, 1.0);
        check.expect(!plain.difference(other).empty(),
                     input + " at its end made no difference to eight frames of a drive; each input does something");
        if (const char* history = kInputHistories[channel]; history != nullptr)
            check.expect(lastOf(other, history) > lastOf(plain, history),
                         input + " at its end did not raise the history " + cited(history) + ", which is its own");
    }
    check.expect(plain.difference(film(kAllAtRest, 0.09)).empty(),
                 "inputs within their dead zones made a difference to a drive; they make none");
}

void carDrive(Check& check) {
    // Straight ahead on the hills' gentle slopes: a way of speed times time along the car, at any length of a frame.
    double ways[3] = {};
    const stage::FrameRate rates[] = {{25, 1}, {60, 1}, {30000, 1001}};
    for (std::size_t i = 0; i < 3; ++i) {
        Car car(check, rates[i]);
        StrictHost& host = car.world.addRigged("car");
        const int frames = static_cast<int>(std::lround(2.0 / car.world.scene.clock.step()));
        holdAxes(host, {{kGas, 0.6}});
        rowOf(host, "Gravel Shake Offset Value").write(0.0);
        car.world.run(host, 0, frames);
        const auto places = path(car, host, "CarBodyMesh", 0, frames);
        ways[i] = places.front().z - places.back().z;
        const double length = util::Scale(car.world.scene.world(elementOf(host, "CarBodyMesh"), 0.0)).z;
        const double step = util::Length(places.back() - places[places.size() - 2]);
        const double wanted = speedPerFrame(host, length, car.world.scene.clock.step());
        check.expect(std::abs(step - wanted) < 0.02 * wanted && wanted > 0.0,
                     "the body moved " + shown(step) + " in a frame of " + shown(car.world.scene.clock.step()) +
                         " s at a speed that makes " + shown(wanted) + "; a frame moves it by speed times length");
        check.expect(std::abs(places.back().x) < 0.05 * ways[i], "the vehicle went " + shown(places.back().x) +
                                                                     " aside in " + shown(ways[i]) +
                                                                     " straight ahead; it heads along -z");
    }
    for (const double way : {ways[1], ways[2]})
        check.expect(std::abs(way - ways[0]) < 0.05 * ways[0],
                     "two seconds of a drive came to " + shown(ways[0]) + " and " + shown(way) +
                         " at two frame rates; the way does not depend on the frame rate");
    double aside[2] = {};
    for (const double side : {1.0, -1.0}) {
        Car car(check);
        StrictHost& host = car.world.addRigged("car");
        holdAxes(host, {{kGas, 0.5}, {kSteering, side}});
        car.world.run(host, 0, 30);
        aside[side > 0.0 ? 0 : 1] = path(car, host, "CarBodyMesh", 0, 30).back().x;
    }
    check.expect(aside[0] > 0.1 && aside[1] < -0.1,
                 "the wheel to the right took the vehicle to x = " + shown(aside[0]) + " and to the left to " +
                     shown(aside[1]) + "; right is +x of a vehicle that heads along -z");
}

void carHistories(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    const auto expectKeys = [&](int last, const std::set<int>& starts, const std::string& when) {
        for (const CarHistory& history : histories(host.save())) {
            std::vector<double> wanted;
            for (int frame = 0; frame <= last; ++frame)
                // The heading at the first start has a key of its own.
                if ((frame > 0 || history.name == "anQGravityFilterMem") &&
                    !(isCutAtTheStart(history.name) && starts.count(frame) != 0) && !isOfFollowing(history.name))
                    wanted.push_back(car.world.scene.clock.time(frame));
            const std::vector<double> times = keyTimes(history);
            check.expect(times == wanted,
                         "the history " + cited(history.name) + " has " + counted(times.size(), "key") +
                             (times.empty() ? std::string() : ", the last at " + shown(times.back())) + ", " + when +
                             "; it has " + std::to_string(wanted.size()) + ", at the times of the frames");
        }
    };
    car.world.run(host, 0, 9);
    expectEveryHistory(check, histories(host.save()));
    expectKeys(9, {}, "behind a run of nine frames");
    car.world.run(host, 4, 2);
    expectKeys(6, {4}, "behind a run that went back to frame 4 and came to frame 6");
    rowOf(host, "Enable Seamless Transitions").write(0.0);
    rowOf(host, "Keyframe only essential objects").write(1.0);
    car.world.run(host, 6, 2);
    expectKeys(8, {4, 6}, "behind a run with 'Keyframe only essential objects' alone");
    rowOf(host, "Keyframe only essential objects").write(0.0);
    car.world.run(host, 0, 4);
    for (const CarHistory& history : histories(host.save()))
        check.expect(keyTimes(history).size() == (history.name == "anQGravityFilterMem" ? 1U : 0U),
                     "the history " + cited(history.name) + " has " + counted(keyTimes(history).size(), "key") +
                         " behind a run from the start with both rows off that keep the past; there is the heading of "
                         "the start alone");
    rowOf(host, "Enable Seamless Transitions").write(1.0);
    rowOf(host, "Autonomous Mode").write(1.0);
    car.world.run(host, 0, 3);
    for (const CarHistory& history : histories(host.save()))
        if (isOfFollowing(history.name))
            check.expect(keyTimes(history).size() == 3, "the history " + cited(history.name) + " has " +
                                                            counted(keyTimes(history).size(), "key") +
                                                            " behind three frames of following; it has three");
}

}  // namespace ond::validate::tests
