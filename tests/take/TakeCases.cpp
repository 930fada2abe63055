// Writes takes for tools that judge them from outside, and what the scene says about them.
//
// Usage: TakeCases FOLDER. For each case NAME.glb, and for most NAME.csv: a first line "size,SIZE" with the extent of
// the scene, then one line per element and time: name, 1 for a camera, seconds of the animation, and the sixteen
// numbers of the element's matrix in the world. Times are whole and half frames. Elements with keys between the frames
// come at whole frames alone: there a tool that does not interpolate rotations along the arc is free to differ.
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>

#include "stage/Stage.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"
#include "whole/Grounds.h"

namespace {

using namespace ond;
using namespace ond::stage;

const Module& module() {
    static const Module loaded(VEHICLE_MODULE_PATH);
    return loaded;
}

std::unique_ptr<Stage> carOn(const util::CMesh* ground, FrameRate rate) {
    auto host = std::make_unique<Stage>(module(), rate);
    host->keepsJournal = true;
    Vehicle& car = host->addVehicle("car");
    car.axis("Gas Pedal").script = [](double time) { return 0.7 * std::cos(0.2 * time); };
    car.axis("Steering").script = [](double time) { return 0.6 * std::sin(1.3 * time); };
    if (ground != nullptr) {
        host->scene.reparent(car.element("GravityDirectionMesh"), &host->scene.addMesh("waves", *ground));
    } else {
        car.put("Use Fast Ray Cast", 0.0);
    }
    return host;
}

bool hasKeysBetweenFrames(const Element* element, FrameRate rate) {
    for (; element != nullptr; element = element->parent)
        for (const TrackKey& key : element->track.keys)
            if (std::abs(key.time - rate.time(rate.nearest(key.time))) > 1e-6 * rate.step()) return true;
    return false;
}

double sizeOf(const Scene& scene, double time) {
    double size = 1.0;
    for (const auto& element : scene.elements) {
        if (element->deleted) continue;
        const util::Matrix4 world = scene.world(*element, time);
        size = std::max(size, util::Length(world.row(3)));
        for (const util::Vector3<double>& vertex : element->shape.vertices)
            size = std::max(size, util::Length(util::Transform(world, vertex)));
    }
    return size;
}

/// @param origin the frame at second 0 of the animation
void writeExpected(const Stage& host, const std::string& path, int first, int last, int origin) {
    const Scene& scene = host.scene;
    const FrameRate rate = scene.clock.rate;
    std::ofstream out(path);
    out.precision(17);
    out << "size," << sizeOf(scene, rate.time(last)) << "\n";
    for (const auto& element : scene.elements) {
        if (element->deleted) continue;
        const int step = hasKeysBetweenFrames(element.get(), rate) ? 2 : 1;
        for (int half = 2 * first; half <= 2 * last; half += step) {
            const double time = half % 2 == 0 ? rate.time(half / 2) : 0.5 * half * rate.step();
            out << element->name << "," << (element->isCamera ? 1 : 0) << "," << time - rate.time(origin);
            const util::Matrix4 world = scene.world(*element, time);
            for (int i = 0; i < 16; ++i) out << "," << world[i];
            out << "\n";
        }
    }
    out.flush();
    if (!out) throw std::runtime_error("cannot write " + path);
}

void plane(const std::string& folder) {
    const auto host = carOn(nullptr, {25, 1});
    host->run(0, 40);
    saveTake(*host, folder + "/plane.glb");
    writeExpected(*host, folder + "/plane.csv", 0, 40, 0);
    TakeOptions lean;
    lean.exactTracks = false;
    writeWhole(folder + "/plane-lean.glb", takeBytes(*host, lean));
    TakeOptions plain;
    plain.withExtension = false;
    writeWhole(folder + "/plane-plain.glb", takeBytes(*host, plain));
    writeExpected(*host, folder + "/plane-plain.csv", 0, 40, 0);
    plain.stillAt = 33;
    writeWhole(folder + "/plane-still.glb", takeBytes(*host, plain));
}

void scenery(const std::string& folder) {
    const util::CMesh waves = test::wavyGround();
    const auto host = carOn(&waves, {30000, 1001});
    Scene& scene = host->scene;
    host->addVehicle("second car").armed = false;
    Element& lift = scene.addMesh("lift", test::flatGround(0.0, 2.0));
    scene.setUserKey(lift, 0, util::Translation({5, 0, 5}));
    scene.setUserKey(lift, 20, util::Translation({5, 4, 5}) * util::RotationY(1.5) * util::Scaling({1.0, 2.0, 0.5}));
    scene.setUserKey(lift, 40, util::Translation({6, 1, 5}) * util::RotationY(4.0));
    Element& mirrored = scene.addMesh("mirrored", test::flatGround(0.0, 1.0), &lift);
    mirrored.track.pose = util::RotationX(0.4) * util::Scaling({-1.0, 0.7, 2.0});
    mirrored.ownColour = true;
    mirrored.colour[0] = 0.9F;
    scene.add("empty", &mirrored).track.pose = util::Translation({0, 1, 0});
    scene.addMesh("hidden", test::flatGround(3.0, 1.0)).shown = false;
    scene.remove(scene.addMesh("gone", test::flatGround(3.0, 1.0)));
    host->run(0, 40);
    saveTake(*host, folder + "/scenery.glb");
    writeExpected(*host, folder + "/scenery.csv", 0, 40, 0);
}

void fastWheels(const std::string& folder) {
    const auto host = carOn(nullptr, {25, 1});
    host->vehicles[0]->put("Gas Pedal (Forw/Backw) Maximum", 25.0);
    host->vehicles[0]->axis("Gas Pedal").script = [](double) { return 1.0; };
    host->run(0, 30);
    if (!hasKeysBetweenFrames(&host->vehicles[0]->element("WheelMesh_BL"), host->scene.clock.rate))
        throw std::runtime_error("the fast car has no keys between the frames");
    saveTake(*host, folder + "/fast-wheels.glb");
    writeExpected(*host, folder + "/fast-wheels.csv", 0, 30, 0);
}

void earlyStart(const std::string& folder) {
    const auto host = carOn(nullptr, {24, 1});
    host->run(-15, 15);
    saveTake(*host, folder + "/early-start.glb");
    writeExpected(*host, folder + "/early-start.csv", -15, 15, -15);
}

void undriven(const std::string& folder) {
    const auto host = carOn(nullptr, {60, 1});
    saveTake(*host, folder + "/undriven.glb");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: TakeCases FOLDER\n");
        return 2;
    }
    try {
        for (const auto& write : {plane, scenery, fastWheels, earlyStart, undriven}) write(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "TakeCases: %s\n", error.what());
        return 1;
    }
    return 0;
}
