// Making objects and releasing them.
#include <algorithm>
#include <set>

#include "validate/ModuleFile.h"
#include "validate/Tests.h"
#include "validate/World.h"

namespace ond::validate::tests {

namespace {

/// Numbers that somebody may have given to an extension: the small ones, those about powers of two, and some others.
std::vector<std::uint32_t> extensionNumbers(Check& check) {
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t id = 0; id < 260; ++id) numbers.push_back(id);
    for (int bit = 9; bit < 32; ++bit)
        for (const std::uint32_t beside : {0xFFFFFFFFU, 0U, 1U}) numbers.push_back((1U << bit) + beside);
    for (std::uint32_t id = 1000; id <= 50000; id *= 10) numbers.push_back(id);
    numbers.push_back(0xFFFFFFFFU);
    for (int i = 0; i < 4; ++i) numbers.push_back(static_cast<std::uint32_t>(check.random()));
    return numbers;
}

}  // namespace

void createsObjects(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    {
        // Each descriptor makes objects, whichever others there are and whichever go.
        World elsewhere(check, module);
        elsewhere.run(elsewhere.addRigged("of another descriptor"), 0, 2);
    }
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
                                 "Stra\303\237e",
                                 "line\nbreak",
                                 "100% %s %n",
                                 std::string(5000, 'x'),
                                 "../../etc",
                                 std::string("a\0b", 3),
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
        for (const std::uint32_t id : extensionNumbers(check)) {
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
    world.putOnGround(host);
    world.begin(0);
    host.startRun(0);
    world.frame(1);
    host.updateFrame(1);
    expectAgreement("in a run");
    host.stopRun(1);
    world.end();
    expectAgreement("behind a run");
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
    for (int i = 0; i < 300; ++i) world.add("one of a crowd " + std::to_string(i));
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

}  // namespace ond::validate::tests
