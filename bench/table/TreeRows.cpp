// The ground tree beside Embree: rays, build, memory.
//
// Both get the same rays in the same order, each casts all of them in a pass, and the passes take turns. Embree's rays
// stand ready in its own form. It answers with the nearest hit in front of the origin, the tree with the first on the
// line that its walk meets; how many rays hit is told for both.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "ground/GroundMeshTree.h"
#include "table/BulletGround.h"
#include "table/Car.h"
#include "table/EmbreeGround.h"
#include "table/HeapUse.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"
#include "table/WheelRays.h"

namespace ond::bench::table {

namespace {

using ovs::addon::GroundMeshTreeNode;

constexpr int kFans = 400;
constexpr int kPasses = 41;

struct TreeGround {
    explicit TreeGround(NamedGround ground) : terrain(std::move(ground)) { tree.buildFromMesh(terrain.mesh()); }
    Terrain terrain;
    GroundMeshTreeNode tree;
};

std::size_t cast(const GroundMeshTreeNode& tree, const std::vector<Ray>& rays) {
    std::size_t hits = 0;
    for (const Ray& ray : rays) {
        double t = 0.0;
        Vector normal;
        hits += tree.rayQuery(ray.origin, ray.direction, t, &normal) ? 1 : 0;
        keep(t);
        keep(normal);
    }
    return hits;
}

std::string percent(std::size_t part, std::size_t whole) {
    char text[16];
    std::snprintf(text, sizeof text, "%.2f %%", 100.0 * static_cast<double>(part) / static_cast<double>(whole));
    return text;
}

/// Both casters on these rays.
/// @param mostMisses share of the rays above which the figures are not those of wheels on a ground
void compareRays(const Settings& settings, Report& report, int row, const TreeGround& ground, const std::string& kind,
                 const std::vector<Ray>& rays, double mostMisses) {
    const EmbreeGround& embree = ground.terrain.yardstick();
    const auto prepared = embree.prepare(rays);
    std::size_t treeHits = 0;
    std::size_t embreeHits = 0;
    const Passes passes = alternate(
        settings.passes(kPasses), [&] { return secondsOf([&] { treeHits = cast(ground.tree, rays); }); },
        [&] { return secondsOf([&] { embreeHits = embree.cast(*prepared); }); });
    const std::string of = ground.terrain.name() + " " + kind;
    report.add(row, passes.ratio(of, "tree ray", "rtcIntersect1", 1e9 / static_cast<double>(rays.size()), "ns"));
    report.note(row, of + ": hits " + percent(treeHits, rays.size()) + " / " + percent(embreeHits, rays.size()) +
                         " of " + std::to_string(rays.size()) + " rays");
    if (static_cast<double>(treeHits) < (1.0 - mostMisses) * static_cast<double>(embreeHits))
        report.fault(row, of + ": the tree misses too much of what Embree hits");
}

void compareBoth(const Settings& settings, Report& report, int row, const TreeGround& ground, double mostMisses) {
    compareRays(settings, report, row, ground, "vertical",
                verticalRays(ground.terrain, kFans * kRaysOfFan, settings.seed + 1), mostMisses);
    compareRays(settings, report, row, ground, "fans", wheelFans(ground.terrain, kFans, settings.seed + 2), mostMisses);
}

/// Shortest of several times for each ray, in passes through all of them, so that an interrupt counts for nothing while
/// what a ray must fetch from memory counts each time. Nanoseconds.
std::vector<double> shortestTimes(const GroundMeshTreeNode& tree, const std::vector<Ray>& rays, int passes) {
    std::vector<double> times(rays.size(), 1e18);
    for (int pass = 0; pass < passes; ++pass)
        for (std::size_t i = 0; i < rays.size(); ++i) {
            double t = 0.0;
            Vector normal;
            const double start = nowNanoseconds();
            const bool hit = tree.rayQuery(rays[i].origin, rays[i].direction, t, &normal);
            keep(hit);
            times[i] = std::min(times[i], nowNanoseconds() - start);
        }
    const double asking = leastCostOfAsking();
    for (double& time : times) time = std::max(time - asking, 1.0);
    return times;
}

/// What the slowest ray of a fan takes in so many of the fans.
std::string shareOfFans(const std::vector<double>& times, double share) {
    std::vector<double> slowest;
    for (auto fan = times.begin(); fan != times.end(); fan += kRaysOfFan)
        slowest.push_back(*std::max_element(fan, fan + kRaysOfFan));
    std::sort(slowest.begin(), slowest.end());
    char text[80];
    std::snprintf(text, sizeof text, "in %.0f %% of the fans the slowest ray takes %.0f ns at most", 100.0 * share,
                  slowest[static_cast<std::size_t>(share * static_cast<double>(slowest.size() - 1))]);
    return text;
}

void measureSlowestRay(const Settings& settings, Report& report, const TreeGround& ground) {
    const std::vector<Ray> rays = wheelFans(ground.terrain, 4 * kFans, settings.seed + 3);
    const int passes = settings.passes(25);
    const std::vector<double> times = shortestTimes(ground.tree, rays, passes);
    Ratio ratio = ratioOfTwo(ground.terrain.name(), {"slowest", *std::max_element(times.begin(), times.end()), "ns"},
                             {"median", median(times), "ns"});
    ratio.passes = passes;
    report.add(5, ratio);
    report.note(5, shareOfFans(times, 0.5) + "; " + shareOfFans(times, 0.99));
    report.note(5, "slowest of " + std::to_string(rays.size()) + " rays of " + std::to_string(4 * kFans) +
                       " fans, each ray the shortest of its times");
}

}  // namespace

void measureTreeRays(const Settings& settings, Report& report) {
    for (const std::int64_t size : groundSizes(settings)) {
        const bool slowest = report.wants(5) && (size == kLarge || settings.ground != nullptr);
        if (!report.wants(3) && !slowest) continue;
        const auto ground = std::make_unique<TreeGround>(groundOf(settings, size));
        if (report.wants(3)) compareBoth(settings, report, 3, *ground, 0.02);
        if (slowest) measureSlowestRay(settings, report, *ground);
    }
}

void measureFlatTreeRays(const Settings& settings, Report& report) {
    if (settings.ground != nullptr) {
        report.note(4, "not measured on a ground of your own");
        return;
    }
    for (const std::int64_t size : groundSizes(settings)) {
        const auto ground = std::make_unique<TreeGround>(NamedGround{sizeName(size), makePlain(size)});
        // The holes of flat meshes are part of what is asked for.
        compareBoth(settings, report, 4, *ground, 0.9);
    }
}

void measureTreeBuild(const Settings& settings, Report& report) {
    if (settings.quick && settings.ground == nullptr) return;
    const NamedGround ground = groundOf(settings, kLarge);
    Passes passes;
    for (int i = 0; i < settings.passes(3); ++i) {
        GroundMeshTreeNode tree;
        const double start = processSeconds();
        tree.buildFromMesh(ground.mesh);
        const double treeSeconds = processSeconds() - start;
        passes.add(treeSeconds, EmbreeGround(ground.mesh).buildSeconds());
    }
    report.add(7, passes.ratio(ground.name, "tree", "rtcCommitScene, one thread", 1.0, "s"));
}

void measureTreeMemory(const Settings& settings, Report& report) {
    if (settings.quick && settings.ground == nullptr) return;
    const Terrain terrain(groundOf(settings, kLarge));
    double before = allocatedBytes();
    BulletShape shape(terrain.mesh());
    const double arrays = allocatedBytes() - before;
    before = allocatedBytes();
    shape.build();
    const double tree = allocatedBytes() - before;
    // Its ground is linked; then it is told to store it.
    Car car(Casting::surface, &terrain, Vector());
    before = allocatedBytes();
    car.vehicle->bUseStaticMesh = false;
    car.vehicle->bStoreGroundMeshData = true;
    car.vehicle->onParameterChanged("Store Ground Mesh Data");
    const double stored = allocatedBytes() - before;
    if (car.vehicle->cMesh_storedGroundMesh.getNumFaces() != terrain.mesh().getNumFaces())
        report.fault(8, "the ground was not stored");
    const Figure over{"mesh and tree", stored / 1e6, "MB"};
    report.add(8, ratioOfTwo(terrain.name() + " shape alone", over, {"shape", tree / 1e6, "MB"}));
    Ratio withArrays =
        ratioOfTwo(terrain.name() + " with its arrays", over, {"shape, arrays", (tree + arrays) / 1e6, "MB"});
    withArrays.counts = false;
    report.add(8, withArrays);
}

}  // namespace ond::bench::table
