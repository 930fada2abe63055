// The four-wheeled vehicle: what its plug-in promises beyond the contract. Skipped for other modules.
#include <algorithm>
#include <cmath>

#include "validate/CarDialog.h"
#include "validate/CarHistories.h"
#include "validate/CarRules.h"
#include "validate/CarWorld.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

void expectHistories(Check& check, const Bytes& wanted, const Bytes& got, const std::string& when) {
    const std::vector<CarHistory> second = histories(got);
    for (const CarHistory& first : histories(wanted)) {
        const auto found = std::find_if(second.begin(), second.end(),
                                        [&](const CarHistory& other) { return other.name == first.name; });
        check.expect(found != second.end() && found->bytes == first.bytes,
                     "the history " + cited(first.name) + " is not what it was " + when +
                         "; undo and redo exchange the history before a run and behind it");
    }
}

void expectRow(Check& check, const Item& item, const CarRow& row) {
    const std::string of = " of the row " + cited(row.label);
    const auto expectNumber = [&](double got, double wanted, const char* what) {
        check.expect(got == wanted, std::string("the ") + what + of + " is " + shown(got) + "; it is " + shown(wanted));
    };
    check.expect(item.kind == row.kind,
                 "the kind" + of + " is '" + nameOf(item.kind) + "'; it is '" + nameOf(row.kind) + "'");
    check.expect(item.description == row.description, "the description" + of + " is " + cited(item.description) +
                                                          "; it is " + cited(row.description) +
                                                          ", to the letter, which may lie behind what is shown here");
    if (item.hasValue()) expectNumber(item.initial, row.initial, "default");
    expectNumber(item.min, row.min, "smallest value");
    expectNumber(item.max, row.max, "largest value");
    expectNumber(item.step, row.step, "step");
    check.expect((item.callback != nullptr) == row.listens,
                 "the vehicle " + std::string(row.listens ? "does not listen" : "listens") + " to changes" + of +
                     "; it " + (row.listens ? "does" : "does not"));
    check.expect(!item.converted, "the row " + cited(row.label) + " has a converter; it has none");
}

/// What createRig() does to its host, in order.
Acts actsOfRig() {
    Acts acts = {"make CarBodyMesh", "make ChassisRelocatorMesh", "send 17 to ChassisRelocatorMesh", "make TargetMesh",
                 "send 17 to TargetMesh"};
    for (const char* corner : {"_FL", "_FR", "_BL", "_BR"}) {
        for (const char* act : {"make WheelRelocatorMesh", "send 57 to WheelRelocatorMesh", "make WheelMesh",
                                "make WheelCenterSuspensionMesh", "make WheelCenterMesh"})
            acts.push_back(std::string(act) + corner);
    }
    for (const char* act :
         {"make TurnBaseMesh", "make SteeringWheelMesh", "make GravityDirectionMesh", "send 17 to GravityDirectionMesh",
          "make CarBodyBaseMesh", "hide CarBodyBaseMesh", "make ExternalForceMesh", "send 17 to ExternalForceMesh",
          "make TopViewCam", "send 17 to TopViewCam", "make DriverCam", "send 17 to DriverCam", "rig built CarBodyMesh",
          "make FollowCam", "hide DriverCam", "hide TopViewCam", "hide FollowCam", "refresh"})
        acts.emplace_back(act);
    return acts;
}

void expectElement(Check& check, const stage::Element& element, const CarElement& wanted, const util::Matrix4& world) {
    const std::string name = cited(wanted.name);
    const std::string parent = element.parent == nullptr ? "" : element.parent->identifier;
    const std::string wantedParent = wanted.parent == nullptr ? "" : wanted.parent;
    check.expect(parent == wantedParent,
                 name + " hangs below " + cited(parent) + "; it hangs below " + cited(wantedParent));
    check.expect(element.isCamera == wanted.isCamera, name + (wanted.isCamera ? " is no camera" : " is a camera"));
    const bool hidden = wanted.isCamera || std::string_view(wanted.name) == "CarBodyBaseMesh";
    check.expect(
        element.shown != hidden,
        name + (hidden ? " is shown in a new rig; cameras and the base mesh are hidden" : " is hidden in a new rig"));
    check.expect(!element.wireframe, name + " is a wireframe in a new rig; none is");
    check.expect(
        element.fieldOfView == wanted.fieldOfView,
        name + " has a field of view of " + shown(element.fieldOfView) + "; it has " + shown(wanted.fieldOfView));
    check.expect(element.shape.getNumVertices() == wanted.vertices && element.shape.getNumFaces() == wanted.triangles,
                 name + " has " + std::to_string(element.shape.getNumVertices()) + " vertices and " +
                     std::to_string(element.shape.getNumFaces()) + " triangles; it has " +
                     std::to_string(wanted.vertices) + " and " + std::to_string(wanted.triangles));
    for (int i = 0; i < 3 && !wanted.isCamera; ++i)
        check.expect(std::abs(element.colour[i] * 255.0F - static_cast<float>(wanted.colour[i])) < 0.01F,
                     name + " has another colour than the vehicle's");
    const double place[] = {world.row(3).x,
                            world.row(3).y,
                            world.row(3).z,
                            util::Scale(world).x,
                            util::Scale(world).y,
                            util::Scale(world).z,
                            world.row(2).y / util::Scale(world).z,
                            world.row(0).x / util::Scale(world).x};
    constexpr const char* kParts[] = {"x", "y", "z", "width", "height", "length", "rise", "heading"};
    for (std::size_t i = 0; i < std::size(kParts); ++i) {
        const double want = i < 7 ? wanted.place[i] : 1.0;
        check.expect(std::abs(place[i] - want) < 1e-4, name + " stands in a new rig with a " + kParts[i] + " of " +
                                                           shown(place[i]) + "; it is " + shown(want));
    }
}

}  // namespace

void carDescriptor(Check& check) {
    Car car(check);
    const ovs::CCameraPlugin& plugin = car.world.plugin;
    const auto expect = [&](const std::string& got, const char* operation, const char* wanted) {
        check.expect(got == wanted,
                     std::string(operation) + "() answered " + cited(got) + "; the vehicle's is " + cited(wanted));
    };
    expect(plugin.getPluginName(), "getPluginName", "QuadrigExt");
    expect(plugin.getTypeName(), "getTypeName", "quadrigcar");
    expect(plugin.getDisplayName(), "getDisplayName", "Ondra Quadrig Extended");
    expect(plugin.getCategory(), "getCategory", "Vehicle");
    expect(
        plugin.getDescription(), "getDescription",
        "Ondra Quadrig Extended is a real-time four wheeler simulator. Parent/link the GravityDirectionMesh to a "
        "surface to use it as ground. For multiple surfaces parent/link the surfaces to the GravityDirectionMesh. For "
        "automatic following of objects attach the TargetMesh to an animated object and check the 'autonomous mode' "
        "in the Configure dialog.");
    check.expect(!plugin.getAuthor().empty(), "getAuthor() is empty; it credits the vehicle's author");
    check.expect(plugin.getDependencyList().empty(), "getDependencyList() is not empty; the vehicle depends on none");
    check.expect(plugin.getInterfaceStamp() == 9201, "getInterfaceStamp() is not 9201, after which blocks are named");
    check.expect(plugin.getExtensionIds() == std::vector<std::uint32_t>{16},
                 "getExtensionIds() of the descriptor is not the list of 16 alone");
    std::vector<std::string> types = {"what", "was", "there"};
    const std::uint64_t answer = car.world.plugin.callExtension(16, &types);
    check.expect(answer == 0 && types == std::vector<std::string>{"QuadrigCar"},
                 "callExtension(16) did not answer 0 and put 'QuadrigCar' alone in place of the list's content");
    const ModuleFile& module = car.module;
    check.expect(module.plugin(1) == nullptr, "getPlugin(1) is not null; the vehicle's module has one plug-in");
    StrictHost& host = car.world.add("car");
    check.expect(host.camera->getExtensionIds() == std::vector<std::uint32_t>{40},
                 "getExtensionIds() of the vehicle is not the list of 40 alone");
}

void carChannels(Check& check) {
    Car car(check);
    StrictHost& host = car.world.add("car");
    (void)actsOf(host, [&] { host.declare(); });
    const auto& wanted = carInputs();
    const std::ptrdiff_t asked = std::count(host.services.begin(), host.services.end(), "hasExtension");
    check.expect(asked == 1,
                 "declareParameters() asked for extension 41 " + std::to_string(asked) + " times; it asks once");
    check.expect(host.inputs.size() == wanted.size(), "the vehicle declared " +
                                                          counted(host.inputs.size(), "input channel") + "; it has " +
                                                          std::to_string(wanted.size()));
    for (std::size_t i = 0; i < std::min(wanted.size(), host.inputs.size()); ++i)
        if (host.inputs[i] != nullptr)
            check.expect(host.inputs[i]->name == wanted[i].name && host.inputs[i]->type == wanted[i].type &&
                             host.inputs[i]->exponent == 1.3 && host.inputs[i]->deadZone == 0.1 &&
                             host.inputs[i]->multiplier == 1.0 && host.inputs[i]->offset == 0.0,
                         "input channel " + std::to_string(i) + " is " + cited(host.inputs[i]->name) + " of type " +
                             std::to_string(host.inputs[i]->type) + " and exponent " + shown(host.inputs[i]->exponent) +
                             "; it is " + cited(wanted[i].name) + " of type " + std::to_string(wanted[i].type) +
                             ", exponent 1.3, dead zone 0.1, multiplier 1 and offset 0");
    const auto& names = carOutputs();
    check.expect(host.outputs.size() == names.size(), "the vehicle made " +
                                                          counted(host.outputs.size(), "output channel") + "; it has " +
                                                          std::to_string(names.size()));
    for (std::size_t i = 0; i < std::min(names.size(), host.outputs.size()); ++i)
        check.expect(host.outputs[i]->name == names[i] && host.outputs[i]->current == 0.0,
                     "output channel " + std::to_string(i) + " is " + cited(host.outputs[i]->name) + " and holds " +
                         shown(host.outputs[i]->current) + "; it is " + cited(names[i]) + " and holds 0");
    host.createRig();
    car.world.putOnGround(host);
    car.world.run(host, 0, 12);
    for (unidevice::OutputProperty* output : host.outputs) output->store(-77.0);
    host.refreshOutputs();
    for (const unidevice::OutputProperty* output : host.outputs)
        check.expect(output->current != -77.0,
                     "callExtension(40) stored nothing into " + cited(output->name) + "; it stores the present value");
    if (const Item* velocity = host.item("Current Velocity"); velocity != nullptr && !host.outputs.empty())
        check.expect(host.outputs[0]->current == velocity->value() && velocity->value() != 0.0,
                     "the output 'Velocity' holds " + shown(host.outputs[0]->current) + " and the gauge shows " +
                         shown(velocity->value()) + "; the output is what the gauge shows, and a driven car moves");
}

void carDialog(Check& check) {
    Car car(check);
    StrictHost& host = car.world.add("car");
    host.declare();
    Acts groups, wantedGroups, rows, wantedRows;
    for (std::size_t i = 0; i < host.groups.size(); ++i) groups.push_back(host.groups[i] + ": " + host.groupTexts[i]);
    for (const CarGroup& group : carGroups())
        wantedGroups.push_back(std::string(group.title) + ": " + group.description);
    expectActs(check, "the groups of the dialog: the vehicle", groups, wantedGroups);
    for (const Item& item : host.items) rows.push_back(item.group + ": " + item.label);
    for (const CarRow& row : carRows()) wantedRows.push_back(std::string(row.group) + ": " + row.label);
    expectActs(check, "the rows of the dialog: the vehicle", rows, wantedRows);
    for (const CarRow& row : carRows())
        if (const Item* item = host.item(row.label)) expectRow(check, *item, row);
}

void carRig(Check& check) {
    Car car(check);
    StrictHost& host = car.world.add("car");
    host.declare();
    const Acts acts = only(actsOf(host, [&] { host.createRig(); }), {"make", "delete", "send", "rig built", "hide",
                                                                     "show", "push", "redraw", "refresh", "message"});
    expectActs(check, "createRig()", acts, actsOfRig());
    check.expect(host.ownElements().size() == carElements().size(),
                 "the rig has " + counted(host.ownElements().size(), "element") + "; it has " +
                     std::to_string(carElements().size()));
    for (const CarElement& wanted : carElements()) {
        const stage::Element* element = host.element(wanted.name);
        if (check.expect(element != nullptr, "the rig has no element " + cited(wanted.name)))
            expectElement(check, *element, wanted, car.world.scene.world(*element, 0.0));
    }
}

void carUndo(Check& check) {
    constexpr std::size_t kRecordsOfARun = 59;
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    car.world.run(host, 0, 6);
    check.expect(host.records.size() == kRecordsOfARun, "a run pushed " + counted(host.records.size(), "undo record") +
                                                            "; it pushes one for each history, 59");
    const Bytes first = host.save();
    car.world.run(host, 3, 6);
    const Bytes second = host.save();
    host.undo(kRecordsOfARun);
    expectHistories(check, first, host.save(), "before the second run");
    host.redo(kRecordsOfARun);
    expectHistories(check, second, host.save(), "behind the second run");
    host.undo();
    host.redo();
    expectHistories(check, second, host.save(), "behind both runs");
    host.redo();
    expectHistories(check, second, host.save(), "behind a redo without an undo, which changes nothing");
    host.undo(kRecordsOfARun);
    host.undo(kRecordsOfARun);
    expectHistories(check, first, host.save(), "behind an undo that came twice, which does it once");
    host.redo(kRecordsOfARun);
    expectHistories(check, second, host.save(), "behind a redo of what was undone twice");
}

void carScrubbing(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    car.world.run(host, 0, 6);
    const View poses{true, true, false, false};
    const Picture before = car.world.picture(host, 0, 8, poses);
    const int refreshes = host.refreshes;
    for (int frame = -2; frame < 10; ++frame) host.showFrame(car.world.scene.clock.time(frame));
    const std::string different = before.difference(car.world.picture(host, 0, 8, poses));
    check.expect(different.empty(),
                 "showFrame() changed " + different + "; looking through the timeline moves nothing");
    check.expect(host.refreshes > refreshes, "showFrame() did not refresh the dialog, whose gauges it sets");
}

}  // namespace ond::validate::tests
