// Runs: in every order, at every time, over every ground, and always with the same bits.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

void drive(Check& check, const Lacks& lacks, bool onGround) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.add("car", lacks);
    host.rig();
    if (onGround) world.putOnGround(host);
    world.run(host, 0, 3);
    // Modules look for the ground in more than one way, and check boxes choose among them.
    changeEach(host, false, [&] { world.run(host, 1, 2); });
}

/// A drive of which everything is seen.
Picture film(World& world, StrictHost& host) {
    world.run(host, 0, 12);
    return world.picture(host, 0, 12);
}

/// Programs that take a seed from the clock take it in whole seconds.
void waitForNextSecond() {
    const std::time_t now = std::time(nullptr);
    while (std::time(nullptr) == now) usleep(5000);
}

/// A host may send showFrame() behind a frame or not.
void requireSameRunWhenShown(Check& check, ModuleFile& module) {
    Picture pictures[2];
    for (const bool shows : {false, true}) {
        World world(check, module);
        StrictHost& host = world.addRigged("car");
        world.run(host, 0, 4);
        if (shows)
            for (const int frame : {4, 1, 0, 4}) host.showFrame(world.scene.clock.time(frame));
        world.begin(4);
        host.startRun(4);
        for (int frame = 5; frame < 10; ++frame) {
            world.frame(frame);
            host.updateFrame(frame);
            if (shows) host.showFrame(world.scene.clock.time(frame));
        }
        host.stopRun(9);
        world.end();
        pictures[shows ? 1 : 0] = world.picture(host, 0, 9, {true, true, false, false});
    }
    const std::string different = pictures[0].difference(pictures[1]);
    if (!different.empty())
        check.complain(check.id,
                       "a run came out differently when its frames were shown: " + different +
                           "; a host shows frames as it likes, and that moves nothing",
                       check.level >= Level::strict ? Severity::failure : Severity::warning);
}

/// Starts a run in which a test does its own things between frames.
class OpenRun {
  public:
    OpenRun(World& world, StrictHost& host) : m_world(world), m_host(host) {
        m_world.begin(0);
        m_host.startRun(0);
    }
    void frames(int count) {
        for (int i = 0; i < count; ++i) {
            m_world.frame(++m_frame);
            m_host.updateFrame(m_frame);
        }
    }
    void stop() {
        m_host.stopRun(m_frame);
        m_world.end();
    }

  private:
    World& m_world;
    StrictHost& m_host;
    int m_frame = 0;
};

/// Takes the ground away in each way that there is, and gives it back.
void shakeGround(World& world, StrictHost& host) {
    OpenRun run(world, host);
    run.frames(1);
    for (bool Lacks::*lack : {&Lacks::surfaces, &Lacks::triangles, &Lacks::hits, &Lacks::children, &Lacks::relations}) {
        host.lacks.*lack = true;
        run.frames(1);
        host.lacks.*lack = false;
        run.frames(1);
    }
    std::vector<stage::Element*> grounds;
    for (const auto& one : world.scene.elements)
        if (!one->deleted && one->identifier.empty()) grounds.push_back(one.get());
    for (stage::Element* ground : grounds) {
        world.scene.remove(*ground);
        run.frames(1);
    }
    for (stage::Element* ground : grounds) {
        world.scene.revive(*ground);
        run.frames(1);
    }
    for (stage::Element* own : host.ownElements())
        if (stage::Element* above = own->parent; above != nullptr && above->identifier.empty()) {
            world.scene.reparent(*own, nullptr);
            run.frames(1);
            world.scene.reparent(*own, above);
        }
    run.frames(1);
    run.stop();
}

}  // namespace

void changingGround(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    host.expectsFinite = false;
    shakeGround(world, host);
    changeEach(host, false, [&] { shakeGround(world, host); });
}

void fullTravel(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    const std::size_t count = host.inputs.size();
    if (count == 0) check.skip("the module has no input channels");
    std::vector<std::vector<double>> places = {std::vector<double>(count, 1.0), std::vector<double>(count, -1.0),
                                               std::vector<double>(count, 0.0)};
    for (std::size_t i = 0; i < count; ++i)
        for (const double end : {1.0, -1.0}) {
            places.emplace_back(count, 0.0);
            places.back()[i] = end;
        }
    OpenRun run(world, host);
    for (const std::vector<double>& place : places) {
        host.held = place;
        run.frames(2);
    }
    run.stop();
    host.held.clear();
    host.refreshOutputs();
    for (const unidevice::OutputProperty* output : host.outputs)
        check.expect(std::isfinite(output->current),
                     "the output channel " + cited(output->name) + " holds " + shown(output->current) +
                         " behind axes that went to the ends of their travel; others read a number from it");
}

void longRuns(Check& check) {
    constexpr int kFrames = 400;
    constexpr int kRuns = 40;
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, kFrames);
    for (int i = 0; i < kRuns; ++i) {
        world.run(host, static_cast<int>(check.below(kFrames)), 1);
        host.dropRecords();
    }
    const Bytes block = host.save();
    host.release();
    if (block.empty()) return;
    StrictHost& second = world.add("car");
    second.declare();
    if (second.load(block) == 0) world.run(second, kFrames / 2, 2);
}

void runsInAnyOrder(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 8);
    world.run(host, 8, 4);     // goes on
    world.run(host, 4, 3);     // goes back
    world.run(host, 0, 0);     // ends at once
    world.run(host, -20, 5);   // begins earlier
    world.run(host, 1000, 3);  // leaves a gap
    world.run(host, 1003, 1);
    host.showFrame(world.scene.clock.time(2));
    world.run(host, 2, 1);
    host.dropRecords();
    world.run(host, 1000000, 2);
    (void)host.save();
    world.run(host, 5, 2);
}

void anyFrameRate(Check& check) {
    ModuleFile module(check);
    for (const stage::FrameRate rate :
         {stage::FrameRate{24, 1}, stage::FrameRate{30000, 1001}, stage::FrameRate{1000, 1}, stage::FrameRate{1, 1}}) {
        World world(check, module, rate);
        StrictHost& host = world.addRigged("car");
        world.run(host, 0, 4);
        world.run(host, 4, 2);
    }
}

void showsAnyTime(Check& check) {
    ModuleFile module(check);
    requireSameRunWhenShown(check, module);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    const double times[] = {0.0, -1.0, 0.04, 0.0123, 1e6, -1e6, 1e12};
    for (const double time : times) host.showFrame(time);
    world.run(host, 0, 4);
    for (const double time : times) host.showFrame(time);
    world.begin(4);
    host.startRun(4);
    for (int frame = 5; frame < 8; ++frame) {
        world.frame(frame);
        host.updateFrame(frame);
        for (const double time : times) host.showFrame(time);
    }
    host.stopRun(7);
    world.end();
    host.showFrame(0.1);
}

void withoutGround(Check& check) { drive(check, {}, false); }

void withoutSurfaces(Check& check) {
    Lacks lacks;
    lacks.surfaces = true;
    drive(check, lacks, true);
}

void emptySurfaces(Check& check) {
    Lacks lacks;
    lacks.triangles = true;
    drive(check, lacks, true);
}

void missedSurfaces(Check& check) {
    Lacks lacks;
    lacks.hits = true;
    drive(check, lacks, true);
}

void withoutRelations(Check& check) {
    Lacks lacks;
    lacks.relations = true;
    drive(check, lacks, true);
}

void nullChildren(Check& check) {
    Lacks lacks;
    lacks.children = true;
    drive(check, lacks, true);
}

void deletedElements(Check& check) {
    ModuleFile module(check);
    std::vector<std::string> names;
    {
        World world(check, module);
        StrictHost& host = world.addRigged("car");
        for (const stage::Element* own : host.ownElements()) names.push_back(own->identifier);
        if (names.empty()) check.skip("the module makes no elements");
        world.run(host, 0, 1);
        for (stage::Element* own : host.ownElements()) world.scene.remove(*own);
        host.showFrame(0.0);
        world.run(host, 1, 2);
        changeEach(host, false, [] {});
        (void)host.save();
    }
    for (const std::string& name : names) {
        World world(check, module);
        StrictHost& host = world.addRigged("car");
        host.expectsFinite = false;
        world.scene.remove(*host.element(name));
        world.run(host, 0, 2);
        host.showFrame(0.04);
        changeEach(host, false, [] {});
        world.run(host, 2, 1);
        (void)host.save();
    }
}

void deletedInARun(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    host.expectsFinite = false;
    std::vector<stage::Element*> own = host.ownElements();
    if (own.empty()) check.skip("the module makes no elements");
    std::shuffle(own.begin(), own.end(), check.random);
    world.begin(0);
    host.startRun(0);
    int frame = 0;
    const auto next = [&] {
        world.frame(++frame);
        host.updateFrame(frame);
    };
    next();
    for (stage::Element* gone : own) {
        world.scene.remove(*gone);
        next();
    }
    for (stage::Element* back : own) {
        world.scene.revive(*back);
        next();
    }
    host.stopRun(frame);
    world.end();
    world.run(host, 0, 2);
}

void sameRunSameBits(Check& check) {
    ModuleFile module(check);
    Picture pictures[2];
    Bytes blocks[2];
    std::unique_ptr<World> worlds[2];
    for (int i = 0; i < 2; ++i) {
        // What a program may lean on without knowing: what fresh memory holds, where it lies, the C library's random
        // numbers, the time.
        mallopt(M_PERTURB, i == 0 ? 0x5A : 0xC3);
        std::srand(static_cast<unsigned>(i + 1));
        if (i == 1) waitForNextSecond();
        worlds[i] = std::make_unique<World>(check, module);
        StrictHost& host = worlds[i]->addRigged("car");
        pictures[i] = film(*worlds[i], host);
        blocks[i] = host.save();
    }
    mallopt(M_PERTURB, 0);
    const std::string seen = pictures[0].difference(pictures[1]);
    check.expect(seen.empty(), "the same run of the same new object came out differently: " + seen +
                                   "; what an object does follows from the scene, its settings and its input alone");
    const std::string saved = difference(blocks[0], blocks[1]);
    check.expect(saved.empty(), "the same run of the same new object saved another block: " + saved +
                                    "; what an object saves follows from what happened to it alone");
}

void sideBySide(Check& check) {
    ModuleFile module(check);
    Picture alone;
    Bytes saved;
    {
        World world(check, module);
        StrictHost& host = world.addRigged("car");
        alone = film(world, host);
        saved = host.save();
    }
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    StrictHost& other = world.addRigged("another car");
    if (!other.items.empty())
        for (const Item& item : other.editableItems())
            if (item.kind == Item::Kind::number) {
                change(other, item);
                break;
            }
    // Others come and go, too, while it drives, and are driven and edited otherwise.
    other.held.assign(other.inputs.size(), 0.5);
    other.expectsFinite = false;
    world.begin(0);
    host.startRun(0);
    other.startRun(0);
    StrictHost* guest = nullptr;
    for (int frame = 1; frame <= 12; ++frame) {
        world.frame(frame);
        if (frame == 2) changeEach(other, true, [] {});
        if (frame == 4) other.stopRun(frame);
        if (frame == 3) guest = &world.add("a guest");
        if (frame == 5) guest->rig();
        if (frame == 7) (void)guest->save();
        if (frame == 9) guest->release();
        host.updateFrame(frame);
        if (other.life == Life::running) other.updateFrame(frame);
        if (frame == 6) other.startRun(frame);
        if (frame == 10) other.release();
    }
    host.stopRun(12);
    world.end();
    const std::string seen = alone.difference(world.picture(host, 0, 12));
    check.expect(seen.empty(),
                 "an object drove differently beside another one: " + seen + "; objects are independent of each other");
    world.add("one more");
    const std::string different = difference(saved, host.save());
    check.expect(different.empty(), "an object saved another block beside other ones: it differs in " + different +
                                        "; objects are independent of each other");
}

void unpluggedChannels(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.inputs.empty()) check.skip("the module has no input channels");
    world.begin(0);
    host.startRun(0);
    int frame = 0;
    const auto next = [&] {
        world.frame(++frame);
        host.updateFrame(frame);
    };
    next();
    for (std::size_t i = 0; i < host.axes.size(); ++i) {
        check.inside("ControlTarget::detach()", [&] { host.axes[i] = std::make_unique<Axis>(); });
        next();
    }
    for (std::size_t i = 0; i < host.axes.size(); ++i)
        if (host.inputs[i] != nullptr) host.axes[i]->wire(*host.inputs[i]);
    next();
    host.stopRun(frame);
    world.end();
}

void editsEveryItem(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.items.empty()) check.skip("the module has no items");
    world.run(host, 0, 3);
    // Settings may well make numbers run away; nothing else may happen.
    host.expectsFinite = false;
    const std::vector<Item> items = host.items;
    for (const Item& item : items) {
        if (!item.hasValue()) {
            host.tell(item, item.label);
            world.run(host, 3, 1);
            continue;
        }
        const double before = item.value();
        for (const double end : {item.min, item.max}) host.edit(item, end);
        // Far from its default a number may rightly cost a frame any time: keys for a wheel that turns a million times.
        const double reach = 10.0 * (std::abs(item.initial) + 1.0);
        for (const double value : {item.initial - reach, item.initial + reach}) {
            host.edit(item, std::clamp(value, item.min, item.max));
            world.run(host, 3, 1);
            host.dropRecords();
        }
        host.edit(item, before);
    }
    (void)host.save();
}

void editsInARun(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.items.empty()) check.skip("the module has no items");
    host.expectsFinite = false;
    OpenRun run(world, host);
    run.frames(2);
    changeEach(host, true, [&] { run.frames(1); });
    run.frames(1);
    run.stop();
    host.undo();
    host.redo();
    world.run(host, 2, 2);
    (void)host.save();
}

void unknownEvents(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    const auto listening =
        std::find_if(host.items.begin(), host.items.end(), [](const Item& item) { return item.callback != nullptr; });
    if (listening == host.items.end()) check.skip("the module listens to none of its items");
    const Item item = *listening;
    const std::string texts[] = {"",         "no such item",         "REALUNDO",
                                 "REALREDO", "REALUNDOno such item", "REALREDOno such item",
                                 "REALUND",  item.label + " ",       std::string(70000, 'x'),
                                 "%s%n%s",   std::string("a\0b", 3), "\xFF\xFE"};
    const View seen{true, true, true, false};
    host.judgesMessages = false;
    for (const std::string& text : texts) {
        const Picture before = world.picture(host, 0, 0, seen);
        const std::size_t records = host.records.size();
        host.tell(item, text);
        const std::string different = before.difference(world.picture(host, 0, 0, seen));
        check.expect(different.empty(), "onParameterChanged(" + cited(text) + ") changed " + different +
                                            "; a text that names no item of the object has no reaction");
        check.expect(host.records.size() == records, "onParameterChanged(" + cited(text) +
                                                         ") pushed an undo record; a text that names no item of the "
                                                         "object has no reaction");
    }
    world.run(host, 0, 2);
}

}  // namespace ond::validate::tests
