// Vehicles of a stage and their runs. What a recording keeps of them is in StageJournal.cpp.
#include "stage/Stage.h"

#include <algorithm>

#include "stage/Recording.h"
#include "stage/StageError.h"

namespace ond::stage {

namespace {

constexpr std::uint32_t kContractVersion = 250;

std::vector<std::string> complaintsOf(const Vehicle& vehicle) {
    std::vector<std::string> all = vehicle.misuse;
    for (const std::string& open : vehicle.open()) all.push_back(vehicle.name + " did not give back a " + open);
    return all;
}

}  // namespace

Stage::Stage(const Module& vehicleModule, FrameRate rate)
    : module(vehicleModule), plugin(vehicleModule.plugin(0)), scene(rate) {
    if (module.version() != kContractVersion) {
        if (plugin != nullptr) plugin->release();
        throw StageError("the vehicle module speaks version " + std::to_string(module.version()) +
                         " of the contract, this host speaks " + std::to_string(kContractVersion));
    }
    if (plugin == nullptr) throw StageError("the module offers no vehicle");
}

Stage::~Stage() {
    vehicles.clear();
    plugin->release();
}

Vehicle& Stage::create(const std::string& name) {
    if (vehicleNamed(name) >= 0)
        throw StageError("there is a vehicle '" + name + "' already; give this one another name");
    vehicles.push_back(std::make_unique<Vehicle>(plugin, name, scene, undo));
    vehicles.back()->log.enabled = logsCalls;
    return *vehicles.back();
}

Vehicle& Stage::addVehicle(const std::string& name) {
    Vehicle& vehicle = create(name);
    vehicle.declare();
    vehicle.createRig();
    return vehicle;
}

Vehicle& Stage::addVehicle(const VehicleState& state) {
    Vehicle& vehicle = create(state.name);
    vehicle.become(state);
    return vehicle;
}

Vehicle& Stage::replace(Vehicle& vehicle) {
    const auto place =
        std::find_if(vehicles.begin(), vehicles.end(), [&](const auto& v) { return v.get() == &vehicle; });
    auto fresh = std::make_unique<Vehicle>(plugin, vehicle.name, scene, undo);
    fresh->chunk = vehicle.chunk;
    fresh->faults = vehicle.faults;
    fresh->armed = vehicle.armed;
    fresh->log.enabled = vehicle.log.enabled;
    fresh->strict = vehicle.strict;
    fresh->misuse = complaintsOf(vehicle);
    *place = std::move(fresh);
    (*place)->declare();
    return **place;
}

Vehicle& Stage::duplicate(Vehicle& original, const std::string& name) {
    if (isRunning()) throw StageError("a vehicle cannot be duplicated during a run");
    if (vehicleNamed(name) >= 0)
        throw StageError("there is a vehicle '" + name + "' already; give this one another name");
    VehicleState state = original.state();
    state.name = name;
    scene.copyElements(original.name, name);
    return addVehicle(state);
}

void Stage::removeVehicle(Vehicle& vehicle) {
    const std::string name = vehicle.name;
    const auto place =
        std::find_if(vehicles.begin(), vehicles.end(), [&](const auto& v) { return v.get() == &vehicle; });
    vehicles.erase(place);
    for (const auto& element : scene.elements)
        if (element->vehicle == name && !element->deleted) scene.remove(*element);
}

int Stage::vehicleNamed(const std::string& name) const {
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (vehicles[i]->name == name) return static_cast<int>(i);
    return -1;
}

void Stage::startRun(int frame, bool recorded) {
    scene.clock.now = frame;
    m_recorded = recorded;
    if (!m_drivingAgain) m_breakdown.reset();
    noteRunStart(frame);
    m_tracksBefore = std::make_shared<std::vector<Track>>(scene.tracks());
    undo.open();
    for (const auto& vehicle : vehicles) vehicle->feedAxes();
    for (const auto& vehicle : vehicles)
        if (vehicle->armed && vehicle->life == Vehicle::Life::rigged) vehicle->startRun(frame);
    scene.beginRun(frame);
    collectMessages();
    noteInputs();
}

bool Stage::advance(int frames) {
    for (int i = 0; i < frames; ++i) {
        const int frame = scene.clock.now + 1;
        scene.beginFrame(frame);
        for (const auto& vehicle : vehicles) vehicle->feedAxes();
        for (const auto& vehicle : vehicles)
            if (vehicle->life == Vehicle::Life::running) vehicle->updateFrame(frame);
        m_breakdown = findBreakdown();
        if (m_breakdown) {
            driveAgainTo(frame - 1);
            return false;
        }
        showToAll(frame);
        collectMessages();
        noteInputs();
        if (progress) progress(frame);
    }
    return true;
}

void Stage::stopRun() {
    for (const auto& vehicle : vehicles)
        if (vehicle->life == Vehicle::Life::running) {
            vehicle->stopRun(scene.clock.now);
            vehicle->dropSurfaces();
        }
    scene.endRun(m_recorded);
    collectMessages();
    const auto before = m_tracksBefore;
    const auto after = std::make_shared<std::vector<Track>>(scene.tracks());
    undo.push([this, before] { scene.setTracks(*before); }, [this, after] { scene.setTracks(*after); }, this);
    undo.close();
    noteRunEnd();
}

bool Stage::run(int from, int to, bool recorded) {
    startRun(from, recorded);
    const bool whole = advance(to - from);
    if (isRunning()) stopRun();
    return whole;
}

void Stage::show(int frame) {
    scene.clock.now = frame;
    showToAll(frame);
    collectMessages();
}

void Stage::showToAll(int frame) {
    for (const auto& vehicle : vehicles)
        if (vehicle->life == Vehicle::Life::rigged || vehicle->life == Vehicle::Life::running)
            vehicle->showFrame(frame);
}

void Stage::collectMessages() {
    for (std::size_t v = 0; v < vehicles.size(); ++v) {
        for (Message& message : vehicles[v]->takeNewMessages()) {
            const auto same = std::find_if(messages.rbegin(), messages.rend(), [&](const StageMessage& known) {
                return known.vehicle == static_cast<int>(v) && known.text == message.text &&
                       known.caption == message.caption;
            });
            if (same != messages.rend())
                ++same->count;
            else
                messages.push_back({scene.clock.now, static_cast<int>(v), message.caption, message.text, 1});
        }
    }
}

std::vector<std::string> Stage::complaints() const {
    std::vector<std::string> all;
    for (const auto& vehicle : vehicles) {
        const std::vector<std::string> own = complaintsOf(*vehicle);
        all.insert(all.end(), own.begin(), own.end());
    }
    return all;
}

}  // namespace ond::stage
