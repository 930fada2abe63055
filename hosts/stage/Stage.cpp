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

/// Deletes the elements behind the first `count`, which a vehicle that could not be made has left.
void removeBehind(Scene& scene, std::size_t count) {
    for (std::size_t i = count; i < scene.elements.size(); ++i) scene.remove(*scene.elements[i]);
}

}  // namespace

Stage::Stage(const Module& vehicleModule, FrameRate rate) : module(vehicleModule), plugin(nullptr), scene(rate) {
    // The table of a descriptor is only known where the version is.
    if (module.version() != kContractVersion)
        throw StageError("the vehicle module speaks version " + std::to_string(module.version()) +
                         " of the contract, this host speaks " + std::to_string(kContractVersion));
    plugin = module.plugin(0);
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
    const std::size_t count = scene.elements.size();
    Vehicle& vehicle = create(state.name);
    try {
        vehicle.become(state);
    } catch (...) {
        vehicles.pop_back();
        removeBehind(scene, count);
        throw;
    }
    wireChannels({state});
    return vehicle;
}

void Stage::wireChannels(const std::vector<VehicleState>& states) {
    const auto axisOf = [this](const std::string& vehicle, const std::string& channel) -> InputAxis* {
        const int place = vehicleNamed(vehicle);
        if (place < 0) return nullptr;
        for (const auto& axis : vehicles[static_cast<std::size_t>(place)]->axes)
            if (axis->name() == channel) return axis.get();
        return nullptr;
    };
    for (const VehicleState& state : states) {
        const int place = vehicleNamed(state.name);
        if (place < 0) continue;
        for (const auto& channel : vehicles[static_cast<std::size_t>(place)]->properties)
            for (const ChannelSettings& settings : state.channels) {
                if (settings.name != channel->name) continue;
                const ChannelWire& wire = settings.wire;
                InputAxis* axis = axisOf(wire.vehicle.empty() ? state.name : wire.vehicle,
                                         wire.channel.empty() ? settings.name : wire.channel);
                if (wire.wired && axis != nullptr)
                    axis->wire(*channel);
                else if (channel->source != nullptr)
                    channel->source->unwire(*channel);
            }
    }
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
    std::vector<VehicleState> wiring;
    // Of the others only what hangs on the replaced one: what devices feed them stays.
    for (const auto& each : vehicles) {
        wiring.push_back({each->name, each->armed, {}, {}, each->channels()});
        if (each.get() != &vehicle)
            std::erase_if(wiring.back().channels,
                          [&](const ChannelSettings& channel) { return channel.wire.vehicle != vehicle.name; });
    }
    *place = std::move(fresh);
    (*place)->declare();
    wireChannels(wiring);
    return **place;
}

Vehicle& Stage::duplicate(Vehicle& original, const std::string& name) {
    requireNoRun("a vehicle cannot be duplicated");
    if (vehicleNamed(name) >= 0)
        throw StageError("there is a vehicle '" + name + "' already; give this one another name");
    VehicleState state = original.state();
    state.name = name;
    const std::size_t count = scene.elements.size();
    scene.copyElements(original.name, name);
    try {
        return addVehicle(state);
    } catch (...) {
        removeBehind(scene, count);
        throw;
    }
}

void Stage::removeVehicle(Vehicle& vehicle) {
    // The input of a recorded run has a row of each vehicle for every frame.
    if (keepsRun()) requireNoRun("a vehicle cannot be removed");
    const std::string name = vehicle.name;
    const Shown before = shown();
    const auto place =
        std::find_if(vehicles.begin(), vehicles.end(), [&](const auto& v) { return v.get() == &vehicle; });
    vehicles.erase(place);
    for (const auto& element : scene.elements)
        if (element->vehicle == name && !element->deleted) scene.remove(*element);
    putShown(before);
}

int Stage::vehicleNamed(const std::string& name) const {
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (vehicles[i]->name == name) return static_cast<int>(i);
    return -1;
}

std::vector<std::string> Stage::names() const {
    std::vector<std::string> all;
    for (const auto& vehicle : vehicles) all.push_back(vehicle->name);
    return all;
}

void Stage::requireNoRun(const std::string& what) const {
    if (isRunning()) throw StageError(what + " while a run is under way; stop the run first");
}

void Stage::requireRun(const std::string& what) const {
    if (!isRunning()) throw StageError("there is no run to " + what + "; start one first");
}

void Stage::startRun(int frame, bool recorded) {
    requireNoRun("a run cannot be started");
    scene.clock.now = m_from = m_frame = frame;
    m_recorded = recorded;
    m_breakdown.reset();
    if (!m_drivingAgain) m_shownBefore = shown();
    noteRunStart(frame);
    m_tracksBefore = scene.tracks();
    undo.open();
    for (const auto& vehicle : vehicles) vehicle->feedAxes();
    for (const auto& vehicle : vehicles)
        if (vehicle->armed && vehicle->life == Vehicle::Life::rigged) vehicle->startRun(frame);
    noteStartWrites();
    scene.beginRun(frame);
    collectMessages();
    m_breakdown = findBreakdown();
    if (!m_breakdown) noteInputs();
}

bool Stage::advance(int frames) {
    requireRun("drive on");
    for (int i = 0; i < frames && !m_breakdown; ++i) {
        const int frame = ++m_frame;
        scene.beginFrame(frame);
        for (const auto& vehicle : vehicles) vehicle->feedAxes();
        for (const auto& vehicle : vehicles)
            if (vehicle->life == Vehicle::Life::running) vehicle->updateFrame(frame);
        m_breakdown = findBreakdown();
        if (m_breakdown) break;
        showToAll(frame);
        collectMessages();
        noteInputs();
        if (!m_breakdown && progress) progress(frame);
    }
    if (!m_breakdown) return true;
    endBrokenRun();
    return false;
}

void Stage::stopRun() {
    requireRun("stop");
    // The start may have broken, which the frame behind it would have told.
    if (m_breakdown)
        endBrokenRun();
    else
        endRun(m_frame);
}

/// Stops the vehicles in the frame that was driven last. Of what the run wrote, the part behind `last` goes.
void Stage::endRun(int last) {
    scene.clock.now = m_frame;
    for (const auto& vehicle : vehicles)
        if (vehicle->life == Vehicle::Life::running) {
            vehicle->stopRun(m_frame);
            vehicle->dropSurfaces();
        }
    scene.clock.now = std::max(last, m_from);
    scene.endRun(m_recorded);
    if (m_breakdown && last <= m_from) takeBackTracks();
    collectMessages();
    const std::optional<RunRecord> record = noteRunEnd();
    pushRunUndo(record);
    undo.close();
}

void Stage::endBrokenRun() {
    const Breakdown breakdown = *m_breakdown;
    if (keepsRun())
        driveAgainTo(breakdown.frame - 1);
    else
        endRun(breakdown.frame - 1);
    m_breakdown = breakdown;
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
    std::vector<std::string> all = undo.misuse;
    for (const auto& vehicle : vehicles) {
        const std::vector<std::string> own = complaintsOf(*vehicle);
        all.insert(all.end(), own.begin(), own.end());
    }
    return all;
}

}  // namespace ond::stage
