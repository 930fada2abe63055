// The four-wheeled vehicle: what its plug-in promises beyond the contract. Skipped for other modules.
#include <algorithm>
#include <cmath>

#include "ond/util/DataChunk.h"
#include "validate/CarRules.h"
#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// The module with a world, if it is the vehicle.
struct Car {
    ModuleFile module;
    World world;
    explicit Car(Check& check) : module(check), world(check, module) {
        if (!isCar(world.plugin)) check.skip("the module is not the four-wheeled vehicle");
    }
};

/// The histories among the chunks of a saved block, by name; those of the wheels by their places.
std::map<std::string, Bytes> histories(const Bytes& block) {
    util::DataChunk root;
    root.deserialize(block.data(), block.size());
    std::map<std::string, Bytes> all;
    const auto add = [&](const std::string& name, const util::DataChunk& chunk) {
        const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
        all[name] = bytes == nullptr ? Bytes() : Bytes(bytes, bytes + chunk.getSize());
    };
    for (int i = 0; i < root.getNumChildren(); ++i) {
        const util::DataChunk& child = root.getChild(i);
        if (child.getName().rfind("an", 0) == 0) add(child.getName(), child);
        if (child.getName() == "wheelstore")
            for (int k = 0; k < child.getNumChildren(); ++k)
                add(child.getChild(k).getName() + " " + std::to_string(k), child.getChild(k));
    }
    return all;
}

void expectHistories(Check& check, const Bytes& wanted, const Bytes& got, const std::string& when) {
    const std::map<std::string, Bytes> first = histories(wanted);
    const std::map<std::string, Bytes> second = histories(got);
    for (const auto& [name, bytes] : first) {
        const auto found = second.find(name);
        check.expect(found != second.end() && found->second == bytes, "the history " + cited(name) +
                                                                          " is not what it was " + when +
                                                                          "; undo and redo exchange the "
                                                                          "history before a run and behind it");
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
    check.expect(plugin.getDescription().find("real-time four wheeler simulator") != std::string::npos,
                 "getDescription() does not tell what the vehicle is");
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
    host.declare();
    const auto& wanted = carInputs();
    check.expect(host.inputs.size() == wanted.size(), "the vehicle declared " +
                                                          counted(host.inputs.size(), "input channel") + "; it has " +
                                                          std::to_string(wanted.size()));
    for (std::size_t i = 0; i < std::min(wanted.size(), host.inputs.size()); ++i)
        if (host.inputs[i] != nullptr)
            check.expect(host.inputs[i]->name == wanted[i].name && host.inputs[i]->type == wanted[i].type &&
                             host.inputs[i]->exponent == 1.3,
                         "input channel " + std::to_string(i) + " is " + cited(host.inputs[i]->name) + " of type " +
                             std::to_string(host.inputs[i]->type) + " and exponent " + shown(host.inputs[i]->exponent) +
                             "; it is " + cited(wanted[i].name) + " of type " + std::to_string(wanted[i].type) +
                             " and exponent 1.3");
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
    const auto& wanted = carGroups();
    check.expect(host.groups.size() == wanted.size(), "the dialog has " + counted(host.groups.size(), "group") +
                                                          "; it has " + std::to_string(wanted.size()));
    for (const CarGroup& group : wanted) {
        const auto count = std::count_if(host.items.begin(), host.items.end(),
                                         [&](const Item& item) { return item.group == group.title; });
        check.expect(count == group.items, "the group " + cited(group.title) + " has " + std::to_string(count) +
                                               " items; it has " + std::to_string(group.items));
    }
    for (const Item& item : host.items)
        check.expect(item.initial >= item.min && item.initial <= item.max,
                     "the item " + cited(item.label) + " begins with " + shown(item.initial) +
                         ", outside of its range " + shown(item.min) + " to " + shown(item.max));
}

void carRig(Check& check) {
    Car car(check);
    StrictHost& host = car.world.add("car");
    host.rig();
    check.expect(host.ownElements().size() == carElements().size(),
                 "the rig has " + counted(host.ownElements().size(), "element") + "; it has " +
                     std::to_string(carElements().size()));
    for (const CarElement& wanted : carElements()) {
        const stage::Element* element = host.element(wanted.name);
        if (!check.expect(element != nullptr, "the rig has no element " + cited(wanted.name))) continue;
        const std::string parent = element->parent == nullptr ? "" : element->parent->identifier;
        check.expect(parent == (wanted.parent == nullptr ? "" : wanted.parent),
                     cited(wanted.name) + " hangs below " + cited(parent) + "; it hangs below " +
                         cited(wanted.parent == nullptr ? "" : wanted.parent));
        check.expect(element->isCamera == wanted.isCamera,
                     cited(wanted.name) + (wanted.isCamera ? " is no camera" : " is a camera"));
        const bool hidden = wanted.isCamera || std::string_view(wanted.name) == "CarBodyBaseMesh";
        check.expect(element->shown != hidden,
                     cited(wanted.name) + (hidden ? " is shown in a new rig; cameras and the base mesh are hidden"
                                                  : " is hidden in a new rig"));
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
}

void carBlock(Check& check) {
    Car car(check);
    StrictHost& host = car.world.addRigged("car");
    car.world.run(host, 0, 4);
    const Bytes block = host.save();
    util::DataChunk root;
    root.deserialize(block.data(), block.size());
    check.expect(root.getName() == "CarCamDataChunk9201",
                 "the saved block is called " + cited(root.getName()) + "; it is called 'CarCamDataChunk9201'");
    check.expect(root.getNumChildren() == 91, "the saved block has " + std::to_string(root.getNumChildren()) +
                                                  " keys; without a stored ground it has 91");
    check.expect(root.getChild("sDataChunkSaveStruct").getSize() == 368,
                 "the key 'sDataChunkSaveStruct' does not have 368 bytes");
    check.expect(root.getChild("wheelstore").getNumChildren() == 24, "the key 'wheelstore' does not have 24 children");
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
