// Making objects and releasing them.
#include <malloc.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>

#include "validate/ModuleFile.h"
#include "validate/Tests.h"
#include "validate/World.h"

namespace ond::validate::tests {

namespace {

/// Bytes that the program holds on the heap; 0 where that cannot be told.
std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// What a cycle leaves on the heap, when everything that is kept for later has been made: the least of some batches,
/// because the heap keeps this and that for itself.
std::int64_t growthPerCycle(const std::function<void()>& cycle, int cycles) {
    for (int i = 0; i < 12; ++i) cycle();
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    for (int batch = 0; batch < 4; ++batch) {
        const std::size_t before = heapInUse();
        for (int i = 0; i < cycles; ++i) cycle();
        least = std::min(least, static_cast<std::int64_t>(heapInUse()) - static_cast<std::int64_t>(before));
    }
    return least / cycles;
}

/// @param noise what the heap's own bookkeeping may come to
void expectNoGrowth(Check& check, std::int64_t growth, std::int64_t noise, const char* of) {
    check.expect(growth < noise, std::string("each ") + of + " leaves " + std::to_string(growth) +
                                     " bytes on the heap; what is released is gone");
}

}  // namespace

void createsObjects(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& first = world.add("first");
    StrictHost& second = world.add("second");
    check.expect(first.camera != second.camera, "createCamera() gave the same object twice; each object is a new one");
    first.rig();
    check.expect(second.camera->name == "second", "an object took over the name of another; objects are independent");
    second.rig();
    first.release();
    world.run(second, 0, 3);
}

void anyName(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    const std::string names[] = {"",
                                 "a",
                                 "car with blanks",
                                 "Stra\xC3\x9F"
                                 "e",
                                 "line\nbreak",
                                 "100% %s %n",
                                 std::string(5000, 'x'),
                                 "../../etc",
                                 "a\\b\"c'd"};
    for (const std::string& name : names) {
        StrictHost& host = world.addRigged(name);
        world.run(host, 0, 2);
        (void)host.save();
        host.release();
    }
}

void objectExtensions(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.add("car");
    const auto idsNow = [&] {
        std::vector<std::uint32_t> ids;
        check.inside("getExtensionIds() of an object", [&] { ids = host.camera->getExtensionIds(); });
        return ids;
    };
    const std::vector<std::uint32_t> ids = idsNow();
    check.expect(std::set<std::uint32_t>(ids.begin(), ids.end()).size() == ids.size(),
                 "getExtensionIds() of an object names a number twice; a list of numbers has each once");
    const auto expectAgreement = [&](const char* when) {
        check.expect(idsNow() == ids, std::string("getExtensionIds() of an object gave another answer ") + when +
                                          "; an object knows the same numbers in any state");
        for (int i = 0; i < 64; ++i) {
            const auto id = i < 60 ? static_cast<std::uint32_t>(i) : static_cast<std::uint32_t>(check.random());
            const bool listed = std::find(ids.begin(), ids.end(), id) != ids.end();
            bool answer = false;
            check.inside("hasExtension() of an object", [&] { answer = host.camera->hasExtension(id); });
            check.expect(answer == listed, "hasExtension(" + std::to_string(id) + ") of an object answered " +
                                               (answer ? "true" : "false") +
                                               ", which getExtensionIds() does not say; the two agree");
            if (listed) continue;
            unidevice::OutputProperty probe({"probe", 8});
            probe.current = 0.125;
            std::uint64_t said = host.callObject(id, static_cast<unidevice::Property*>(&probe));
            check.expect(said == 0, "callExtension(" + std::to_string(id) + ") of an object answered " +
                                        std::to_string(said) + "; a number that it does not know answers 0");
            check.expect(probe.current == 0.125 && probe.previous == 0.0 && probe.name == "probe",
                         "callExtension(" + std::to_string(id) +
                             ") of an object changed its argument; a number that it does not know has no effect");
            (void)host.callObject(id, nullptr);
        }
    };
    expectAgreement("before it was declared");
    host.declare();
    expectAgreement("when it was declared");
    host.createRig();
    expectAgreement("when it was rigged");
}

void releasesInEveryState(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    world.add("created").release();
    StrictHost& declared = world.add("declared");
    declared.declare();
    declared.release();
    world.addRigged("rigged").release();
    StrictHost& running = world.addRigged("running");
    world.begin(0);
    running.startRun(0);
    world.frame(1);
    running.updateFrame(1);
    running.release();
    world.end();
    StrictHost& started = world.addRigged("started");
    world.begin(0);
    started.startRun(0);
    started.release();
    world.end();
    StrictHost& driven = world.addRigged("driven");
    world.run(driven, 0, 4);
    const std::size_t elements = driven.ownElements().size();
    driven.release();
    check.expect(driven.ownElements().size() == elements,
                 "the release of an object took elements out of the scene; they stay, they are the host's");
    StrictHost& failed = world.add("failed");
    failed.declare();
    (void)failed.load({});
    failed.release();
}

void manyObjects(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    for (int i = 0; i < 200; ++i) {
        StrictHost& host = world.add("short " + std::to_string(i));
        if (i % 2 == 1) host.declare();
        host.release();
    }
    world.hosts.clear();
    constexpr int kAlive = 24;
    for (int i = 0; i < kAlive; ++i) world.addRigged("car " + std::to_string(i));
    world.run(0, 2);
    std::shuffle(world.hosts.begin(), world.hosts.end(), check.random);
    while (world.hosts.size() > kAlive / 2) world.hosts.pop_back();
    world.run(2, 2);
    for (int i = 0; i < 4; ++i) world.addRigged("late car " + std::to_string(i));
    world.run(4, 1);
}

void memoryComesBack(Check& check) {
    constexpr std::int64_t kFew = 16;
    // Thousands of pieces of all sizes come and go in a life, and the heap keeps some of them in its pockets.
    constexpr std::int64_t kMany = 160;
    if (heapInUse() == 0) check.skip("the heap of this build does not tell how much it holds");
    ModuleFile module(check);
    ovs::CCameraPlugin& plugin = module.firstPlugin();
    const ovs::CameraCreationRecord record{{0, 0}, 1, "a name that is longer than a short text"};
    expectNoGrowth(check,
                   growthPerCycle(
                       [&] {
                           ovs::CCameraPlugin* other = module.plugin(0);
                           check.inside("CCameraPlugin::release()", [&] { other->release(); });
                       },
                       32),
                   kFew, "getPlugin(0) with its release");
    expectNoGrowth(check,
                   growthPerCycle(
                       [&] {
                           ovs::CCamera* object = plugin.createCamera(record);
                           if (object == nullptr) check.give("creates-objects", "createCamera() answered null");
                           check.inside("release()", [&] { object->release(); });
                       },
                       32),
                   kFew, "createCamera() with its release");
    // The host's own share is the same in each cycle and is gone with its world.
    expectNoGrowth(check,
                   growthPerCycle(
                       [&] {
                           World world(check, module);
                           StrictHost& host = world.addRigged("car");
                           world.run(host, 0, 3);
                           (void)host.save();
                       },
                       6),
                   kMany, "life of an object with a rig, a run and a save");
    check.inside("CCameraPlugin::release()", [&] { plugin.release(); });
}

}  // namespace ond::validate::tests
