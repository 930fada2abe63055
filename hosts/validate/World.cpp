#include "validate/World.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "ond/util/CMesh.h"

namespace ond::validate {

namespace {

/// Gentle hills on a grid, a unit and more between its lines.
util::CMesh hills(double height) {
    constexpr int kLines = 17;
    constexpr int kMiddle = kLines / 2;
    constexpr double kStep = 12.0;
    util::CMesh mesh;
    mesh.setNumVertices(kLines * kLines);
    for (int i = 0; i < kLines; ++i)
        for (int k = 0; k < kLines; ++k) {
            const double x = kStep * (i - kMiddle);
            const double z = kStep * (k - kMiddle);
            mesh.setVertex(i * kLines + k, x, height + 0.2 * std::sin(0.11 * x) * std::cos(0.07 * z), z);
        }
    mesh.setNumFaces(2 * (kLines - 1) * (kLines - 1));
    int face = 0;
    for (int i = 0; i + 1 < kLines; ++i)
        for (int k = 0; k + 1 < kLines; ++k) {
            const int a = i * kLines + k;
            mesh.setFace(face++, a, a + 1, a + kLines);
            mesh.setFace(face++, a + 1, a + kLines + 1, a + kLines);
        }
    return mesh;
}

constexpr const char* kGravityElement = "GravityDirectionMesh";

void addPose(Picture& picture, const std::string& name, const util::Matrix4& matrix) {
    picture.values[name].assign(matrix.m.begin(), matrix.m.end());
}

}  // namespace

std::string Picture::difference(const Picture& other) const {
    for (const auto& [name, mine] : values) {
        const auto found = other.values.find(name);
        if (found == other.values.end()) return name + ", which there is only once";
        const std::vector<double>& theirs = found->second;
        for (std::size_t i = 0; i < std::min(mine.size(), theirs.size()); ++i)
            if (std::bit_cast<std::uint64_t>(mine[i]) != std::bit_cast<std::uint64_t>(theirs[i]))
                return name + ": " + shown(mine[i]) + " and " + shown(theirs[i]) +
                       (shown(mine[i]) == shown(theirs[i]) ? " (in the last bits)" : "");
        if (mine.size() != theirs.size()) return name;
    }
    for (const auto& [name, theirs] : other.values)
        if (values.count(name) == 0) return name + ", which there is only once";
    return {};
}

World::World(Check& worldCheck, ModuleFile& module, stage::FrameRate rate)
    : check(worldCheck), scene(rate), plugin(module.firstPlugin()) {}

World::~World() {
    hosts.clear();
    try {
        check.inside("CCameraPlugin::release()", [&] { plugin.release(); });
    } catch (const Abandoned&) {  // told already
    }
}

StrictHost& World::add(const std::string& name, const Lacks& lacks) {
    hosts.push_back(std::make_unique<StrictHost>(check, plugin, name, scene, lacks));
    return *hosts.back();
}

StrictHost& World::addRigged(const std::string& name, const Lacks& lacks) {
    StrictHost& host = add(name, lacks);
    host.rig();
    putOnGround(host);
    return host;
}

stage::Element& World::ground(const std::string& name, double height) {
    stage::Element* known = scene.find(name);
    return known != nullptr ? *known : scene.addMesh(name, hills(height));
}

void World::putOnGround(StrictHost& host) {
    stage::Element& hillsAbove = ground("Hills", 0.0);
    if (stage::Element* gravity = host.element(kGravityElement)) {
        if (gravity->parent == nullptr) scene.reparent(*gravity, &hillsAbove);
        if (gravity->children.empty()) scene.addMesh(host.name + " floor", hills(-0.3), gravity);
        return;
    }
    for (stage::Element* own : host.ownElements())
        if (own->parent == nullptr) scene.reparent(*own, &hillsAbove);
}

void World::begin(int first) {
    scene.beginRun(first);
    scene.beginFrame(first);
}

void World::run(int first, int frames) {
    begin(first);
    for (const auto& host : hosts)
        if (host->life == Life::rigged) host->startRun(first);
    for (int k = 1; k <= frames; ++k) {
        frame(first + k);
        for (const auto& host : hosts)
            if (host->life == Life::running) host->updateFrame(first + k);
    }
    for (const auto& host : hosts)
        if (host->life == Life::running) host->stopRun(first + frames);
    end();
}

void World::run(StrictHost& host, int first, int frames) {
    begin(first);
    host.startRun(first);
    for (int k = 1; k <= frames; ++k) {
        frame(first + k);
        host.updateFrame(first + k);
    }
    host.stopRun(first + frames);
    end();
}

Picture World::picture(const StrictHost& host, int first, int last, View view) const {
    Picture picture;
    for (const stage::Element* own : host.ownElements()) {
        if (view.poses)
            for (int at = first; at <= last; ++at)
                addPose(picture, "the world matrix of " + cited(own->identifier) + " at frame " + std::to_string(at),
                        scene.world(*own, scene.clock.time(at)));
        if (view.looks)
            picture.values["the look of " + cited(own->identifier)] = {
                own->shown ? 1.0 : 0.0, own->wireframe ? 1.0 : 0.0, static_cast<double>(own->colour[0]),
                static_cast<double>(own->colour[1]), static_cast<double>(own->colour[2])};
    }
    if (view.rows)
        for (const Item& item : host.items)
            if (item.hasValue()) picture.values["the row " + cited(item.label)] = {item.value()};
    if (view.outputs)
        for (const unidevice::OutputProperty* output : host.outputs)
            picture.values["the output channel " + cited(output->name)] = {output->current, output->previous};
    return picture;
}

std::string difference(const Bytes& first, const Bytes& second) {
    const std::size_t common = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < common; ++i)
        if (first[i] != second[i]) return "byte " + std::to_string(i) + " of " + std::to_string(first.size());
    if (first.size() == second.size()) return {};
    return "the length, " + counted(first.size(), "byte") + " and " + counted(second.size(), "byte");
}

bool isCar(ovs::CCameraPlugin& plugin) {
    if (plugin.getPluginName() == "QuadrigExt" || plugin.getTypeName() == "quadrigcar") return true;
    if (!plugin.hasExtension(16)) return false;
    std::vector<std::string> types;
    plugin.callExtension(16, &types);
    return std::find(types.begin(), types.end(), "QuadrigCar") != types.end();
}

Bytes savedBlock(World& world, StrictHost& host) {
    if (host.life == Life::created) {
        host.rig();
        world.putOnGround(host);
        world.run(host, 0, 5);
    }
    Bytes block = host.save();
    if (block.empty()) host.check.skip("the module saves no state");
    return block;
}

}  // namespace ond::validate
