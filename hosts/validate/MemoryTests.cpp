// What is released is gone: memory that operations leave behind.
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

#include "validate/HeapInUse.h"
#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// What each cycle leaves, when everything that is kept for later has been made.
struct Growth {
    std::int64_t heap = std::numeric_limits<std::int64_t>::max();
    std::int64_t space = std::numeric_limits<std::int64_t>::max();
};

/// How often something is done: to warm up, and then in each of some batches.
struct Plan {
    int before, batches, cycles;
    /// So many batches may have left less than a leak would, as a heap with pockets takes and gives back what it keeps.
    int outliers;
    /// An exact heap tells a leak when so many batches have left something, and all together as much.
    int leaking;
};

Growth growthOfBatch(const std::function<void()>& cycle, int cycles) {
    const Growth before{heapInUse(), spaceInUse()};
    for (int i = 0; i < cycles; ++i) cycle();
    return {heapInUse() - before.heap, spaceInUse() - before.space};
}

Growth leastOf(const Growth& a, const Growth& b) { return {std::min(a.heap, b.heap), std::min(a.space, b.space)}; }

/// More than any heap keeps for itself in each of several cycles in a row.
constexpr std::int64_t kLarge = 1 << 20;
constexpr int kCyclesInARow = 4;

/// What a leak leaves at least in a batch of an exact heap: its smallest piece has 32 bytes, and others may be 16
/// larger or smaller than they were.
constexpr std::int64_t kLeak = 24;

/// @param batches what each left on the heap, ascending
std::int64_t heapGrowth(const std::vector<std::int64_t>& batches, const Plan& plan) {
    if (!heapIsExact()) return batches[static_cast<std::size_t>(plan.outliers)];
    const std::int64_t all = std::accumulate(batches.begin(), batches.end(), std::int64_t{0});
    if (all < plan.leaking * kLeak) return 0;
    return batches[batches.size() - static_cast<std::size_t>(plan.leaking)];
}

/// A module that loses megabytes in each cycle is known as soon as several in a row have lost them: neither the time
/// limit nor the memory of the machine is used up for it.
Growth growthPerCycle(const std::function<void()>& cycle, const Plan& plan) {
    int large = 0;
    Growth leastOfLarge;
    cycle();  // makes what is kept for later, which may be large
    for (int i = 1; i < plan.before; ++i) {
        const Growth growth = growthOfBatch(cycle, 1);
        const bool isLarge = std::max(growth.heap, growth.space) >= kLarge;
        large = isLarge ? large + 1 : 0;
        leastOfLarge = isLarge ? leastOf(leastOfLarge, growth) : Growth();
        if (large == kCyclesInARow) return leastOfLarge;
    }
    std::vector<std::int64_t> heap;
    std::vector<std::int64_t> space;
    for (int batch = 0; batch < plan.batches; ++batch) {
        const Growth growth = growthOfBatch(cycle, plan.cycles);
        heap.push_back(growth.heap);
        space.push_back(growth.space);
    }
    std::sort(heap.begin(), heap.end());
    std::sort(space.begin(), space.end());
    return {heapGrowth(heap, plan) / plan.cycles, space[static_cast<std::size_t>(plan.outliers)] / plan.cycles};
}

/// The first leak ends the test: each of the rest would leave its share in memory again.
[[noreturn]] void tellGrowth(Check& check, const std::string& of, const Growth& growth) {
    check.give(check.id, "each " + of + " leaves " + std::to_string(std::max(growth.heap, growth.space)) +
                             " bytes in memory; what is released is gone");
}

/// Half of the smallest leak: one in every second cycle.
constexpr std::int64_t kFew = 16;

bool isGrowth(const Growth& growth, std::int64_t noise) {
    return growth.heap >= (heapIsExact() ? kFew : noise) || growth.space >= sysconf(_SC_PAGESIZE);
}

/// @param noise what the pockets of a heap that has some may come to
void expectNoGrowth(Check& check, const std::string& of, int cycles, std::int64_t noise,
                    const std::function<void()>& cycle) {
    const Growth growth = growthPerCycle(cycle, {12, 4, cycles, 0, 4});
    if (isGrowth(growth, noise)) tellGrowth(check, of, growth);
}

void expectNoneOfDescriptors(Check& check, const ModuleFile& module) {
    expectNoGrowth(check, "getPlugin(0) with its release", 32, kFew, [&] {
        ovs::CCameraPlugin* other = module.plugin(0);
        check.inside("CCameraPlugin::release()", [&] { other->release(); });
    });
    std::uint32_t behind = 0;
    while (behind < 64) {
        ovs::CCameraPlugin* const plugin = module.plugin(behind);
        if (plugin == nullptr) break;
        check.inside("CCameraPlugin::release()", [&] { plugin->release(); });
        ++behind;
    }
    expectNoGrowth(check, "getPlugin() behind the last plug-in", 32, kFew, [&] { (void)module.plugin(behind); });
    ovs::CCameraPlugin& plugin = module.firstPlugin();
    expectNoGrowth(check, "round of questions to the descriptor", 32, kFew, [&] {
        check.inside("the texts of the descriptor", [&] {
            (void)(plugin.getPluginName() + plugin.getTypeName() + plugin.getDisplayName() + plugin.getCategory() +
                   plugin.getDescription() + plugin.getAuthor() + plugin.getAccessToken());
        });
        check.inside("the lists of the descriptor", [&] {
            (void)plugin.getDependencyList();
            (void)plugin.hasExtension(16);
            std::vector<std::string> types;
            for (const std::uint32_t id : plugin.getExtensionIds())
                if (id == 16) plugin.callExtension(id, &types);
            plugin.callExtension(4711, nullptr);
            ovs::PluginStatus status;
            plugin.queryStatus(&status);
        });
    });
    const ovs::CameraCreationRecord record{{0, 0}, 1, "a name that is longer than a short text"};
    expectNoGrowth(check, "createCamera() with its release", 32, kFew, [&] {
        ovs::CCamera* object = plugin.createCamera(record);
        if (object == nullptr) check.give("creates-objects", "createCamera() answered null");
        check.inside("release()", [&] { object->release(); });
    });
    check.inside("CCameraPlugin::release()", [&] { plugin.release(); });
}

/// What an object is asked for again and again.
struct Habit {
    const char* name;
    void (*act)(World& world, StrictHost& host);
};

void ask(StrictHost& host) {
    host.check.inside("the extensions of an object", [&] { (void)host.camera->getExtensionIds(); });
    (void)host.callObject(4711, nullptr);
    host.refreshOutputs();
}

constexpr Habit kHabits[] = {
    {"questions", [](World&, StrictHost& host) { ask(host); }},
    {"frames shown", [](World&, StrictHost& host) { host.showFrame(0.04); }},
    {"saves", [](World&, StrictHost& host) { (void)host.save(); }},
    {"runs", [](World& world, StrictHost& host) { world.run(host, 2, 2); }},
    {"rounds of edits", [](World&, StrictHost& host) { changeEach(host, false, [] {}); }},
    {"undos and redos",
     [](World&, StrictHost& host) {
         host.undo();
         host.redo();
     }},
};

constexpr int kTimes = 6;
/// What the heap keeps in its pockets of such a life; less than so many leaks of what is no smaller than 48 bytes.
constexpr std::int64_t kOfALife = 300;
/// In about one life of three the heap keeps more than that, so that ten of twelve are more than chance. Where it keeps
/// nothing, three are: what a module does in every fourth life only is told, too.
constexpr Plan kLives{12, 12, 1, 2, 3};

void live(Check& check, ModuleFile& module, const Habit* only) {
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 5);
    for (const Habit& habit : kHabits)
        for (int i = 0; i < kTimes && (only == nullptr || only == &habit); ++i) habit.act(world, host);
}

/// While an object lives it may keep what it likes; behind its release nothing is left.
void expectNoneOfLives(Check& check, ModuleFile& module) {
    const auto growthOf = [&](const Habit* only) { return growthPerCycle([&] { live(check, module, only); }, kLives); };
    const Growth all = growthOf(nullptr);
    if (!isGrowth(all, kOfALife)) return;
    for (const Habit& habit : kHabits)
        if (const Growth growth = growthOf(&habit); isGrowth(growth, kOfALife))
            tellGrowth(check, "life of an object with " + std::to_string(kTimes) + " " + habit.name, growth);
    tellGrowth(check, "life of an object with everything that hosts ask for", all);
}

/// Several objects in each cycle, so that a small leak shows beside what the heap keeps.
void expectNoneOfEarlyReleases(Check& check, ModuleFile& module) {
    const Growth growth = growthPerCycle(
        [&] {
            World world(check, module);
            for (const char* name : {"first", "second", "third", "fourth", "fifth", "sixth", "seventh"}) {
                StrictHost& host = world.add(name);
                host.rig();
                world.begin(0);
                host.startRun(0);
                host.release();
                world.end();
            }
        },
        {12, 4, 1, 0, 3});
    if (isGrowth(growth, kOfALife)) tellGrowth(check, "seven lives of objects that are released in a run", growth);
}

}  // namespace

void memoryComesBack(Check& check) {
    // Thousands of pieces of all sizes come and go in a life, and the heap keeps some of them in its pockets.
    constexpr std::int64_t kMany = 160;
    if (heapInUse() == 0) check.skip("the heap of this build does not tell how much it holds");
    ModuleFile module(check);
    expectNoneOfDescriptors(check, module);
    Bytes block;
    // The host's own share is the same in each cycle and is gone with its world.
    expectNoGrowth(check, "life of an object with a rig, a run and a save", 6, kMany, [&] {
        World world(check, module);
        StrictHost& host = world.addRigged("car");
        world.run(host, 0, 12);
        block = host.save();
    });
    expectNoneOfEarlyReleases(check, module);
    expectNoneOfLives(check, module);
    if (block.empty()) return;
    World world(check, module);
    world.addRigged("car").release();
    world.hosts.clear();
    const auto loadOnce = [&](const Bytes& bytes) {
        StrictHost& host = world.add("car");
        host.declare();
        (void)host.load(bytes);
        world.hosts.pop_back();
    };
    expectNoGrowth(check, "life of an object that loads a block", 16, kFew, [&] { loadOnce(block); });
    expectNoGrowth(check, "life of an object that does not find its elements", 4, kFew, [&] {
        Lacks lacks;
        lacks.elements = true;
        StrictHost& host = world.add("car", lacks);
        host.expectsFinite = false;
        host.declare();
        (void)host.load(block);
        world.hosts.pop_back();
    });
    const Bytes half(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(block.size() / 2));
    expectNoGrowth(check, "life of an object that loads half a block", 16, kFew, [&] { loadOnce(half); });
}

}  // namespace ond::validate::tests
