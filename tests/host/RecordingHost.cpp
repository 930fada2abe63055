#include "host/RecordingHost.h"

#include <algorithm>

namespace ond::test {

RecordingHost::RecordingHost(const VehicleModule& module, int framesPerSecond)
    : plugin(module.plugin(0)), scene(framesPerSecond) {}

RecordingHost::~RecordingHost() {
    vehicles.clear();
    plugin->release();
}

VehicleHost& RecordingHost::create(const std::string& name) {
    vehicles.push_back(std::make_unique<VehicleHost>(plugin, name, scene, undo));
    return *vehicles.back();
}

VehicleHost& RecordingHost::addVehicle(const std::string& name) {
    VehicleHost& vehicle = create(name);
    vehicle.declare();
    vehicle.createRig();
    return vehicle;
}

VehicleHost& RecordingHost::replace(VehicleHost& vehicle) {
    const auto place =
        std::find_if(vehicles.begin(), vehicles.end(), [&](const auto& v) { return v.get() == &vehicle; });
    auto fresh = std::make_unique<VehicleHost>(plugin, vehicle.name, scene, undo);
    fresh->chunk = vehicle.chunk;
    fresh->faults = vehicle.faults;
    fresh->log.enabled = vehicle.log.enabled;
    fresh->misuse = vehicle.misuse;
    *place = std::move(fresh);
    (*place)->declare();
    return **place;
}

void RecordingHost::removeVehicle(VehicleHost& vehicle) {
    const std::string name = vehicle.name;
    const auto place =
        std::find_if(vehicles.begin(), vehicles.end(), [&](const auto& v) { return v.get() == &vehicle; });
    vehicles.erase(place);
    for (const auto& element : scene.elements)
        if (element->vehicle == name && !element->deleted) scene.remove(*element);
}

void RecordingHost::startRun(int frame, bool recorded) {
    scene.clock.now = frame;
    m_recorded = recorded;
    m_tracksBefore = std::make_shared<std::vector<Track>>(scene.tracks());
    undo.open();
    for (const auto& vehicle : vehicles)
        if (vehicle->armed) vehicle->startRun(frame);
    scene.beginRun(frame);
}

void RecordingHost::advance(int frames) {
    for (int i = 0; i < frames; ++i) {
        const int frame = scene.clock.now + 1;
        scene.beginFrame(frame);
        for (const auto& vehicle : vehicles)
            if (vehicle->armed) vehicle->updateFrame(frame);
        for (const auto& vehicle : vehicles) vehicle->showFrame(frame);
    }
}

void RecordingHost::stopRun() {
    for (const auto& vehicle : vehicles)
        if (vehicle->armed) {
            vehicle->stopRun(scene.clock.now);
            vehicle->dropSurfaces();
        }
    scene.endRun(m_recorded);
    const auto before = m_tracksBefore;
    const auto after = std::make_shared<std::vector<Track>>(scene.tracks());
    undo.push([this, before] { scene.setTracks(*before); }, [this, after] { scene.setTracks(*after); }, this);
    undo.close();
}

void RecordingHost::run(int from, int to, bool recorded) {
    startRun(from, recorded);
    advance(to - from);
    stopRun();
}

void RecordingHost::show(int frame) {
    scene.clock.now = frame;
    for (const auto& vehicle : vehicles) vehicle->showFrame(frame);
}

std::vector<std::string> RecordingHost::complaints() const {
    std::vector<std::string> all;
    for (const auto& vehicle : vehicles) {
        all.insert(all.end(), vehicle->misuse.begin(), vehicle->misuse.end());
        for (const std::string& open : vehicle->open()) all.push_back(vehicle->name + " did not give back a " + open);
    }
    return all;
}

}  // namespace ond::test
