// What the four-wheeled vehicle does when a user changes its dialog.
#include <algorithm>
#include <cmath>

#include "ond/util/DataChunk.h"
#include "validate/CarDialog.h"
#include "validate/CarRules.h"
#include "validate/CarWorld.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

constexpr const char* kStoredGround = "Store Ground Mesh Data";
constexpr const char* kFastRays = "Use Fast Ray Cast";
constexpr const char* kTurnBase = "Turn Base (Back Wheel Relative)";
constexpr const char* kAfresh = "Re-Initialize Car Attributes";
constexpr const char* kWireframe = "Wireframe Mode";

/// A check box that changes what is seen of the rig.
struct Looks {
    const char* label;
    const char* camera;  ///< that it hides; null where it is all helpers
};
constexpr Looks kLooksRows[] = {{"Hide Helpers", nullptr},
                                {"Hide Driver Camera", "DriverCam"},
                                {"Hide TopView Camera", "TopViewCam"},
                                {"Hide Follow Camera", "FollowCam"}};

/// `verb` of each element that the row is about, sorted.
Acts ofEach(const char* camera, const std::string& verb, const std::string& behind = {}) {
    Acts acts;
    for (const CarElement& element : carElements())
        if (camera == nullptr ? !element.isCamera : std::string_view(element.name) == camera)
            acts.push_back(std::string(verb).append(" ").append(element.name).append(behind));
    return sorted(std::move(acts));
}

/// The helpers come in any order among each other.
void expectLooks(Check& check, const std::string& when, Acts got, bool pushes, const Acts& looks) {
    const auto begin = got.begin() + (pushes && !got.empty() ? 1 : 0);
    if (got.end() - begin > 1) std::sort(begin, got.end() - 1);
    Acts wanted = looks;
    if (pushes) wanted.insert(wanted.begin(), "push");
    wanted.emplace_back("redraw");
    expectActs(check, when, got, wanted);
}

void expectValue(Check& check, StrictHost& host, const char* label, double wanted, const std::string& when) {
    const double value = rowOf(host, label).value();
    check.expect(std::abs(value - wanted) <= 1e-9 * std::max(1.0, std::abs(wanted)),
                 when + " the row " + cited(label) + " holds " + shown(value) + "; it holds " + shown(wanted));
}

/// The object hears of the row, whatever the row's field holds.
Acts actsOfChange(StrictHost& host, const std::string& label) {
    return actsOf(host, [&] { host.tell(rowOf(host, label), label); });
}

Acts actsOfText(StrictHost& host, const std::string& text) {
    return actsOf(host, [&] { host.tell(rowOf(host, kAfresh), text); });
}

void expectLooksRow(Check& check, StrictHost& host, const Looks& looks) {
    const Item row = rowOf(host, looks.label);
    for (int round = 0; round < 2; ++round) {
        const bool hides = row.value() == 0.0;
        const Acts done = ofEach(looks.camera, hides ? "hide" : "show");
        const Acts undone = ofEach(looks.camera, hides ? "show" : "hide");
        const std::string of = cited(looks.label) + std::string(hides ? " switched on" : " switched off");
        row.write(hides ? 1.0 : 0.0);
        expectLooks(check, "the change of " + of, actsOfChange(host, looks.label), true, done);
        const std::size_t last = host.records.size() - 1;
        expectLooks(check, "undo of " + of, actsOf(host, [&] { host.undo(last); }), false, undone);
        expectLooks(check, "redo of " + of, actsOf(host, [&] { host.redo(last); }), false, done);
        expectLooks(check, "the text that undoes " + of, actsOfText(host, std::string("REALUNDO") + looks.label), false,
                    undone);
        expectLooks(check, "the text that makes again " + of, actsOfText(host, std::string("REALREDO") + looks.label),
                    false, done);
        check.expect(row.value() == (hides ? 1.0 : 0.0),
                     "undo and redo of " + of + " changed the row; the host sets rows, and the vehicle only looks");
    }
}

void expectWireframe(Check& check, StrictHost& host) {
    const Acts off = ofEach(nullptr, "wireframe", " off");
    const Acts on = ofEach(nullptr, "wireframe", " on");
    const std::string of = "of 'Wireframe Mode', which is off,";
    expectLooks(check, "the change " + of, actsOfText(host, kWireframe), true, off);
    expectLooks(check, "undo " + of, actsOfText(host, std::string("REALUNDO") + kWireframe), false, on);
    expectLooks(check, "redo " + of, actsOfText(host, std::string("REALREDO") + kWireframe), false, off);
}

bool reacts(std::string_view label) {
    for (const Looks& looks : kLooksRows)
        if (label == looks.label) return true;
    for (const char* other : {kStoredGround, kFastRays, kTurnBase, kAfresh, "Multiplier",
                              "Acceleration (scale relative)", "Gas Pedal (Forw/Backw) Maximum"})
        if (label == other) return true;
    return false;
}

void expectNoReaction(Check& check, StrictHost& host, const std::string& text) {
    expectActs(check, "the text " + cited(text) + ", which changes nothing,", actsOfText(host, text), {});
}

void expectGauges(Check& check, StrictHost& host, double length, const std::string& when) {
    const double multiplier = rowOf(host, "Multiplier").value();
    const double rate = rowOf(host, "Acceleration (scale relative)").value();
    expectValue(check, host, "World Space Maximum Velocity Gauge",
                length * multiplier * rowOf(host, "Gas Pedal (Forw/Backw) Maximum").value(), when);
    expectValue(check, host, "World Space Acceleration Gauge (seconds from 0 to 100)", 100 / multiplier / rate / length,
                when);
    expectValue(check, host, "World Space Acceleration Gauge (seconds from 0 to 60)", 60 / multiplier / rate / length,
                when);
}

double lengthOf(const Car& car, const StrictHost& host) {
    const stage::Element* body = host.element("CarBodyMesh");
    return body == nullptr ? 0.0 : util::Scale(car.world.scene.world(*body, 0.0)).z;
}

void expectStored(Check& check, StrictHost& host, const std::string& when, bool stays, const Acts& wanted) {
    rowOf(host, kStoredGround).write(1.0);
    host.services.clear();
    expectActs(check, "storing the ground " + when, actsOfChange(host, kStoredGround), wanted);
    expectValue(check, host, kStoredGround, stays ? 1.0 : 0.0, "behind storing the ground " + when);
    const auto count = [&](const char* service) {
        return std::count(host.services.begin(), host.services.end(), service);
    };
    const std::ptrdiff_t asked = count("getSurfaceObject");
    check.expect(count("releaseElementData") == asked,
                 "storing the ground " + when + " asked for " + counted(static_cast<std::size_t>(asked), "surface") +
                     " and called releaseElementData() " + std::to_string(count("releaseElementData")) +
                     " times; each surface is followed by one");
}

}  // namespace

void carEvents(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    for (const Looks& looks : kLooksRows) expectLooksRow(check, host, looks);
    expectWireframe(check, host);
    const std::size_t records = host.records.size();
    for (const CarRow& row : carRows())
        if (!reacts(row.label)) expectNoReaction(check, host, row.label);
    for (const char* text :
         {"REALUNDO", "REALREDO", "REALUNDOGravity", "REALREDOUse Fast Ray Cast", "REALUNDOMultiplier", "Hide",
          "Hide Helpers ", "hide helpers", "REALUNDOREALUNDOHide Helpers", "UNDOHide Helpers", "Booster Maximum"})
        expectNoReaction(check, host, text);
    check.expect(host.records.size() == records,
                 "a text without a reaction pushed an undo record; there is nothing to be taken back");
    rowOf(host, kFastRays).write(1.0);
    rowOf(host, kStoredGround).write(1.0);
    expectActs(check, "switching fast rays on", actsOfChange(host, kFastRays), {});
    expectValue(check, host, kStoredGround, 1.0, "behind fast rays being switched on");
    rowOf(host, kFastRays).write(0.0);
    expectActs(check, "switching fast rays off", actsOfChange(host, kFastRays), {"refresh"});
    expectValue(check, host, kStoredGround, 0.0, "behind fast rays being switched off");
}

void carTurnBase(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    const stage::Element* mesh = host.element("TurnBaseMesh");
    if (mesh == nullptr) check.give("car-rig", "the rig has no element 'TurnBaseMesh'");
    const auto place = [&] { return car.world.scene.world(*mesh, 0.0).row(3); };
    const double length = lengthOf(car, host);
    rowOf(host, kTurnBase).write(0.5);
    expectActs(check, "the first change of the turn base, which a dialog reports by itself,",
               actsOfChange(host, kTurnBase), {});
    rowOf(host, kTurnBase).write(0.0);
    expectActs(check, "the second change of the turn base", actsOfChange(host, kTurnBase),
               {"set TurnBaseMesh", "redraw"});
    const util::Vector3<double> rest = place();
    for (const double value : {0.5, -1.0, 2.0}) {
        rowOf(host, kTurnBase).write(value);
        expectActs(check, "a change of the turn base", actsOfChange(host, kTurnBase), {"set TurnBaseMesh", "redraw"});
        const util::Vector3<double> moved = place() - rest;
        check.expect(util::Length(moved - util::Vector3<double>(0.0, 0.0, -value * length / 2)) < 1e-9 * length,
                     "the turn base at " + shown(value) + " lies " + shown(moved.z) +
                         " along the car from where it is " + "at 0; it lies " + shown(-value * length / 2) +
                         ", half a length for each unit");
    }
}

void carStoredGround(Check& check) {
    Car car(check);
    StrictHost& host = car.world.add("car");
    host.rig();
    const Acts refused = {"refresh"};
    expectStored(check, host, "without a ground", false, {"message Error: No ground mesh available", "refresh"});
    car.world.putOnGround(host);
    const auto keysOfBlock = [&] {
        const Bytes block = host.save();
        util::DataChunk root;
        root.deserialize(block.data(), block.size());
        return root.getNumChildren();
    };
    for (const double fast : {1.0, 0.0}) {
        rowOf(host, kFastRays).write(fast);
        host.lacks.surfaces = true;
        expectStored(check, host, "that has no surface", false, {"message Error: Surface not a mesh", "refresh"});
        host.lacks.surfaces = false;
        host.lacks.triangles = true;
        expectStored(check, host, "that has no triangles", false, {"message Error: Mesh Invalid", "refresh"});
        host.lacks.triangles = false;
        expectStored(check, host, "that is a mesh", true, {"refresh"});
        check.expect(keysOfBlock() == 93,
                     "a block with a stored ground has " + std::to_string(keysOfBlock()) + " keys; it has 93");
        rowOf(host, kStoredGround).write(0.0);
        expectActs(check, "dropping the stored ground", actsOfChange(host, kStoredGround), {"refresh"});
        // What was dropped is gone, also for a block whose flag is set again.
        rowOf(host, kStoredGround).write(1.0);
        check.expect(keysOfBlock() == 91 && rowOf(host, kStoredGround).value() == 0.0,
                     "a save with the row 'Store Ground Mesh Data' on and nothing stored left the row on or wrote the "
                     "keys of a ground; it switches the row off and writes none");
    }
}

void carGauges(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    const double length = lengthOf(car, host);
    expectGauges(check, host, length, "behind createRig()");
    const auto change = [&](const char* label, double value) {
        rowOf(host, label).write(value);
        expectActs(check, "a change of " + cited(label), actsOfChange(host, label), {"refresh"});
        expectGauges(check, host, length, "behind a change of " + cited(label));
    };
    change("Multiplier", 2.2369);
    change("Acceleration (scale relative)", 1.25);
    change("Gas Pedal (Forw/Backw) Maximum", 4.5);
    rowOf(host, "Multiplier").write(3.0);
    car.world.run(host, 0, 0);
    expectGauges(check, host, length, "behind startRun()");
    // The button: the next start is a fresh one, whose speed is the pedal's at once.
    const auto percent = [&] { return rowOf(host, "Current Velocity (% of max)").value(); };
    host.held.assign(host.inputs.size(), 0.0);
    car.world.run(host, 0, 6);
    if (!host.held.empty()) host.held[0] = 1.0;
    car.world.run(host, 6, 1);
    const double resumed = percent();
    rowOf(host, "Initital Velocity (% of max)").write(50.0);
    expectActs(check, "the button 'Re-Initialize Car Attributes'", actsOfChange(host, kAfresh), {});
    for (const char* label : {"Initital Velocity (% of max)", "Current Velocity", "Current Velocity (% of max)"})
        expectValue(check, host, label, 0.0, "behind 'Re-Initialize Car Attributes'");
    car.world.run(host, 6, 1);
    check.expect(resumed < 50.0 && percent() > 50.0,
                 "with the pedal down a run that goes on from rest came to " + shown(resumed) +
                     " percent of the speed in its first frame, and one behind 'Re-Initialize Car Attributes' to " +
                     shown(percent()) + "; the former gathers speed, the latter begins with the pedal's");
}

void carRowsApart(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    car.world.run(host, 0, 4);
    const std::vector<Item> rows = host.editableItems();
    for (const Item& edited : host.items) {
        if (edited.hasValue() && !host.isEditable(edited)) continue;
        std::map<std::string, double> before;
        for (const Item& row : rows) before[row.label] = row.value();
        change(host, edited);
        for (const Item& row : rows) {
            // A ground is only stored for rays of its own, and the button ends what was to come of an initial speed.
            const bool follows = row.label == edited.label || row.label == kStoredGround ||
                                 (!edited.hasValue() && row.label == "Initital Velocity (% of max)");
            check.expect(follows || row.value() == before[row.label],
                         "a change of " + cited(edited.label) + " changed the row " + cited(row.label) + " from " +
                             shown(before[row.label]) + " to " + shown(row.value()) + "; rows stand by themselves");
            row.write(before[row.label]);
        }
        if (edited.hasValue()) host.tell(edited, edited.label);
    }
}

}  // namespace ond::validate::tests
