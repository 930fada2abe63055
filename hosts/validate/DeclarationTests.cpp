// What an object tells its host before it is rigged, and the rig.
#include <algorithm>
#include <cmath>

#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// What Property::value() has to answer.
double shaped(const unidevice::Property& channel, double position) {
    const double travel = std::max(std::abs(position) - channel.deadZone, 0.0) / (1.0 - channel.deadZone);
    return (position < 0.0 ? -1.0 : 1.0) * std::pow(travel, channel.exponent) * channel.multiplier + channel.offset;
}

/// A life under a host that lacks something.
void liveWith(Check& check, const Lacks& lacks) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car", lacks);
    world.run(host, 0, 4);
    host.refreshOutputs();
    host.showFrame(0.1);
    const Bytes block = host.save();
    host.release();
    if (block.empty()) return;
    StrictHost& second = world.add("car", lacks);
    second.declare();
    if (second.load(block) == 0) world.run(second, 4, 2);
    second.release();
}

/// Overwrites what was freed lately with what makes no sense, by taking and filling memory of every size.
class Trampled {
  public:
    Trampled() {
        constexpr std::size_t kLargest = 16384;
        constexpr int kOfEach = 10;
        for (std::size_t size = 24; size < kLargest; size += 16)
            for (int i = 0; i < kOfEach; ++i)
                m_taken.push_back(std::make_unique<Bytes>(size, static_cast<unsigned char>(0xA5)));
    }

  private:
    std::vector<std::unique_ptr<Bytes>> m_taken;
};

void requireLateChannel(Check& check, unidevice::Property::Factory& factory, const char* when) {
    unidevice::Property* late = nullptr;
    check.inside(std::string("Property::Factory::create() ") + when,
                 [&] { late = createThroughTable(factory, "made later", 15); });
    if (check.expect(late != nullptr && late->name == "made later" && late->type == 15,
                     std::string("a factory that is asked again, ") + when +
                         ", did not make the channel; it is good until the module is unloaded"))
        check.inside("~Property()", [&] { delete late; });
}

void requireInputs(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.add("car");
    host.declare();
    if (host.inputs.empty()) check.skip("the module has no input channels");
}

}  // namespace

void declares(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    for (const char* name : {"first", "second"}) world.add(name).declare();
    world.hosts.front()->createRig();
}

void declaresTheSame(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& first = world.add("first");
    StrictHost& second = world.add("second");
    first.declare();
    first.createRig();
    world.run(first, 0, 2);
    second.declare();
    const std::string wants = "; each object of a plug-in declares the same";
    if (!check.expect(first.items.size() == second.items.size(),
                      "one object declared " + counted(first.items.size(), "item") + " and another " +
                          std::to_string(second.items.size()) + wants))
        return;
    check.expect(first.groups == second.groups, "two objects declared different groups" + wants);
    for (std::size_t i = 0; i < first.items.size(); ++i) {
        const Item& a = first.items[i];
        const Item& b = second.items[i];
        check.expect(a.label == b.label && a.group == b.group && a.kind == b.kind && a.min == b.min && a.max == b.max &&
                         a.step == b.step && a.description == b.description,
                     "item " + std::to_string(i + 1) + " is " + cited(a.label) + " of one object and " +
                         cited(b.label) + " of another, or has another range, step or description" + wants);
        check.expect(a.callback == nullptr || a.callback != b.callback,
                     "the item " + cited(a.label) +
                         " has the same callback in two objects; a listener is told of the items of its own object");
        check.expect(a.initial == b.initial, "the item " + cited(a.label) + " begins with " + shown(a.initial) +
                                                 " in one object and with " + shown(b.initial) +
                                                 " in another; a new object is independent of those before it");
        check.expect(a.field == nullptr || a.field != b.field,
                     "the item " + cited(a.label) + " has the same field in two objects; a field is of one object");
    }
    check.expect(first.groupTexts == second.groupTexts, "two objects described their groups differently" + wants);
    if (!check.expect(first.inputs.size() == second.inputs.size() && first.outputs.size() == second.outputs.size(),
                      "two objects declared different numbers of channels" + wants))
        return;
    for (std::size_t i = 0; i < first.inputs.size(); ++i) {
        const unidevice::Property* a = first.inputs[i];
        const unidevice::Property* b = second.inputs[i];
        if (a == nullptr || b == nullptr) continue;
        check.expect(a->name == b->name && a->type == b->type && a->exponent == b->exponent &&
                         a->deadZone == b->deadZone && a->multiplier == b->multiplier && a->offset == b->offset,
                     "input channel " + std::to_string(i + 1) + " is " + cited(a->name) + " of one object and " +
                         cited(b->name) + " of another, or has another type or shape" + wants);
    }
    for (std::size_t i = 0; i < first.outputs.size(); ++i)
        check.expect(first.outputs[i]->name == second.outputs[i]->name,
                     "output channel " + std::to_string(i + 1) + " is " + cited(first.outputs[i]->name) +
                         " of one object and " + cited(second.outputs[i]->name) + " of another" + wants);
}

void inputChannels(Check& check) {
    requireInputs(check);
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 6);
}

void channelFactory(Check& check) {
    requireInputs(check);
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.add("car");
    host.declare();
    for (std::size_t i = 0; i < host.inputs.size(); ++i) {
        unidevice::Property* channel = host.inputs[i];
        if (channel == nullptr) continue;
        const std::string what = "the channel " + cited(channel->name) + " of the module's factory ";
        const auto value = [&] {
            double answer = 0.0;
            check.inside("Property::value()", [&] { answer = channel->value(); });
            return answer;
        };
        channel->multiplier = 1.5;
        channel->exponent = 2.0;
        channel->deadZone = 0.2;
        channel->offset = 0.25;
        for (const double position : {0.0, 0.1, 0.2, 0.5, 1.0, -0.1, -0.6, -1.0, check.between(-1.0, 1.0)}) {
            host.axes[i]->position = position;
            const double wanted = shaped(*channel, position);
            check.expect(std::abs(value() - wanted) <= 1e-9,
                         what + "answered " + shown(value()) + " for the axis at " + shown(position) +
                             "; dead zone, exponent, multiplier and offset make it " + shown(wanted));
        }
        unidevice::ControlObserver observer{true};
        channel->registered.push_back(&observer);
        host.axes[i]->unwire(*channel);
        check.expect(channel->source == nullptr && !observer.bWired,
                     what +
                         "still has its axis, or an observer that is wired, behind detach(); it forgets the axis "
                         "and clears the observers");
        channel->registered.clear();
        check.expect(value() == channel->offset,
                     what + "answered " + shown(value()) + " without an axis; an unwired channel reads as 0");
        host.axes[i]->wire(*channel);
    }
    // A host may make channels at any later time, too.
    host.createRig();
    for (unidevice::Property::Factory* factory : host.factories)
        if (factory != nullptr) requireLateChannel(check, *factory, "when the object is rigged");
    std::vector<std::unique_ptr<Axis>> axes = std::move(host.axes);
    const std::vector<unidevice::Property::Factory*> factories = host.factories;
    host.release();
    const Trampled freed;
    for (unidevice::Property::Factory* factory : factories)
        if (factory != nullptr) requireLateChannel(check, *factory, "when the object is gone");
    for (const auto& axis : axes)
        check.expect(axis->properties.empty(),
                     "a channel of the module's factory stayed on the list of its axis when "
                     "it was deleted; a dying channel takes itself off");
}

void outputChannels(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.outputs.empty()) check.skip("the module has no output channels");
    world.run(host, 0, 6);
    for (const unidevice::OutputProperty* output : host.outputs)
        check.expect(std::isfinite(output->current), "the output channel " + cited(output->name) + " holds " +
                                                         shown(output->current) + "; others read a number from it");
    bool stores = false;
    check.inside("hasExtension(40) of an object", [&] { stores = host.camera->hasExtension(40); });
    if (!stores) return;
    unidevice::OutputProperty stranger({host.outputs.front()->name, 8});
    stranger.current = 0.125;
    check.expect(host.callObject(40, static_cast<unidevice::Property*>(&stranger)) == 0 && stranger.current == 0.125,
                 "callExtension(40) stored into a channel that the object had not made, or did not answer 0; it knows "
                 "its own channels by their address");
    for (unidevice::OutputProperty* output : host.outputs)
        check.expect(host.callObject(40, static_cast<unidevice::Property*>(output)) == 0,
                     "callExtension(40) with the channel " + cited(output->name) +
                         " did not answer 0; the value goes into the channel");
    check.expect(host.callObject(40, nullptr) == 0, "callExtension(40) with null did not answer 0");
}

void refusedOutputs(Check& check) {
    Lacks lacks;
    lacks.outputChannels = true;
    liveWith(check, lacks);
}

void withoutOutputs(Check& check) {
    Lacks lacks;
    lacks.outputs = true;
    liveWith(check, lacks);
}

void refusedChannels(Check& check) {
    requireInputs(check);
    Lacks lacks;
    lacks.inputs = true;
    liveWith(check, lacks);
}

void hostMadeChannels(Check& check) {
    requireInputs(check);
    Lacks lacks;
    lacks.ownChannels = true;
    liveWith(check, lacks);
}

void withoutDescriptor(Check& check) {
    Lacks lacks;
    lacks.descriptor = true;
    liveWith(check, lacks);
}

void withoutLink(Check& check) {
    Lacks lacks;
    lacks.link = true;
    liveWith(check, lacks);
}

void makesElements(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.ownElements().empty()) check.skip("the module makes no elements");
    for (const stage::Element* own : host.ownElements())
        for (const double x : world.scene.world(*own, 0.0).m)
            if (!check.expect(std::isfinite(x), "createRig() left " + cited(own->identifier) +
                                                    " with a pose that is not finite; a scene cannot show it"))
                break;
}

void sameRig(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& first = world.add("first");
    first.rig();
    if (first.ownElements().empty()) check.skip("the module makes no elements");
    const Picture before = world.picture(first, 0, 0);
    world.run(first, 0, 3);
    StrictHost& second = world.add("second");
    second.rig();
    const std::string different = before.difference(world.picture(second, 0, 0));
    check.expect(different.empty(), "two new rigs are not the same: " + different +
                                        "; objects are independent, so each rig is like the first");
}

}  // namespace ond::validate::tests
