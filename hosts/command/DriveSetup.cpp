#include "command/DriveSetup.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "command/CarPlacing.h"
#include "command/CarTuning.h"
#include "command/CommandError.h"
#include "command/GroundProbe.h"
#include "command/InputPlan.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "command/SceneryLoader.h"
#include "command/TargetPath.h"

namespace ond::command {

using stage::Element;
using stage::Stage;
using stage::Vehicle;
using util::Matrix4;

namespace {

constexpr const char* kAutonomous = "Autonomous Mode";
/// Ground of less car lengths to its longer side is a toy, or its unit is another one than the car's.
constexpr double kSmallGround = 10.0;
/// How fast things fall that look as if they had a weight, car lengths per second squared: from a car of 150 m to one
/// of 20 cm at the earth's 9.81 m/s^2.
constexpr double kSlowestFall = 0.065;
constexpr double kFastestFall = 50.0;

bool sets(const std::vector<NamedValue>& values, const std::string& label) {
    return std::any_of(values.begin(), values.end(),
                       [&](const NamedValue& entry) { return lower(entry.first) == lower(label); });
}

/// Whether the vehicle looks at its ground when the row is set.
bool needsGround(const NamedValue& entry) { return lower(entry.first) == "store ground mesh data"; }

/// The target of one vehicle, before the last frame is known.
struct Target {
    std::optional<TargetPath> path;
    Element* node = nullptr;
    double nodeEnd = 0.0;  ///< seconds of the node's last key
};

Element& movingNode(const stage::Scene& scene, const std::string& name) {
    std::vector<std::string> moving;
    for (const auto& element : scene.elements) {
        if (!element->vehicle.empty()) continue;
        bool moves = false;
        for (const Element* at = element.get(); at != nullptr; at = at->parent) moves |= !at->track.keys.empty();
        if (moves && element->name == name) return *element;
        if (moves) moving.push_back(element->name);
    }
    if (moving.empty()) throw CommandError("the target '" + name + "': no node of the ground or scenery moves");
    const std::string hint = didYouMean(name, moving);
    throw CommandError("there is no moving node '" + name + "' for the target" +
                       (hint.empty() ? "; those that move are " + enumerated(moving) : hint));
}

class Builder {
  public:
    Builder(const DrivePlan& plan, const stage::Module& module) : m_plan(plan) {
        m_setup.stage = std::make_unique<Stage>(module, stage::FrameRate::parse(plan.fps));
        m_setup.stage->keepsJournal = true;
        m_setup.stage->logsCalls = false;
        m_setup.first = plan.first;
        scene().clock.now = plan.first;
    }

    DriveSetup build() {
        m_ground = loadGround(m_plan, scene());
        take(m_ground.notes);
        m_probe.emplace(scene(), m_ground.all(), now());
        noteSmallGround();
        for (const VehiclePlan& vehicle : m_plan.vehicles) {
            m_setup.tracks.emplace_back(vehicle.inputs);
            take(m_setup.tracks.back().notes());
            m_targets.push_back(target(vehicle));
        }
        m_setup.last = lastFrame();
        for (std::size_t i = 0; i < m_plan.vehicles.size(); ++i) addVehicle(i);
        return std::move(m_setup);
    }

  private:
    stage::Scene& scene() { return m_setup.stage->scene; }
    double now() { return scene().clock.time(scene().clock.now); }
    void take(const std::vector<std::string>& notes) {
        m_setup.notes.insert(m_setup.notes.end(), notes.begin(), notes.end());
    }

    Target target(const VehiclePlan& vehicle);
    [[nodiscard]] int lastFrame();
    void tune(int index, const VehiclePlan& plan);
    void addVehicle(std::size_t index);
    void aimTarget(const std::string& vehicle, const Target& target);
    void noteSmallGround();
    void noteFall(int index);

    const DrivePlan& m_plan;
    DriveSetup m_setup;
    LoadedGround m_ground;
    std::optional<GroundProbe> m_probe;
    std::vector<Target> m_targets;
};

Target Builder::target(const VehiclePlan& vehicle) {
    Target target;
    if (!vehicle.target) return target;
    if (!vehicle.target->file.empty()) {
        target.path = readTargetPath(vehicle.target->file, vehicle.target->speed);
        return target;
    }
    if (vehicle.target->speed)
        throw CommandError("the target of '" + vehicle.name + "' is a node; it has its own speed");
    target.node = &movingNode(scene(), vehicle.target->node);
    for (const Element* at = target.node; at != nullptr; at = at->parent)
        if (!at->track.keys.empty()) target.nodeEnd = std::max(target.nodeEnd, at->track.keys.back().time - now());
    return target;
}

int Builder::lastFrame() {
    if (m_plan.last) {
        if (*m_plan.last <= m_plan.first)
            throw CommandError("the last frame, " + std::to_string(*m_plan.last) + ", must lie behind the first, " +
                               std::to_string(m_plan.first));
        return *m_plan.last;
    }
    double seconds = 0.0;
    for (const InputTracks& tracks : m_setup.tracks) seconds = std::max(seconds, tracks.duration());
    for (const Target& target : m_targets)
        seconds = std::max({seconds, target.nodeEnd, target.path ? target.path->duration() : 0.0});
    const int last = lastFrameWithin(scene().clock.rate, m_plan.first, seconds);
    if (last <= m_plan.first)
        throw CommandError("nothing says how long to drive; give a log, keys or a target that last, or --last");
    return last;
}

/// Everything of the plan by which the vehicle is high or low, before it is put on the ground.
void Builder::tune(int index, const VehiclePlan& plan) {
    Vehicle& vehicle = *m_setup.stage->vehicles[static_cast<std::size_t>(index)];
    placeWheels(vehicle, plan.wheels);
    tuneChannels(vehicle, plan.channels);
    if (plan.target && !sets(plan.parameters, kAutonomous)) vehicle.edit(kAutonomous, 1.0);
    std::vector<NamedValue> parameters;
    std::remove_copy_if(plan.parameters.begin(), plan.parameters.end(), std::back_inserter(parameters), needsGround);
    setParameters(vehicle, parameters);
    setSavedState(*m_setup.stage, index, plan.state);
}

void Builder::addVehicle(std::size_t index) {
    const VehiclePlan& plan = m_plan.vehicles[index];
    Stage& stage = *m_setup.stage;
    const int place = static_cast<int>(index);
    if (scene().find(plan.name + "_CarBodyMesh") != nullptr)
        throw CommandError("the ground already holds elements of the name '" + plan.name +
                           "'; name the vehicle otherwise");
    std::optional<Preset> preset;
    if (!plan.preset.empty()) preset = findPreset(plan.preset);
    std::vector<NamedValue> withGround;
    std::copy_if(plan.parameters.begin(), plan.parameters.end(), std::back_inserter(withGround), needsGround);

    Vehicle& made = stage.addVehicle(plan.name);
    (void)channelsOf(made);
    resizeCar(made, plan.length);
    if (preset) applyPreset(stage, place, *preset);
    tune(place, plan);
    noteFall(place);
    // From here on the vehicle is no longer replaced.
    Vehicle& vehicle = *stage.vehicles[index];
    take(placeCar(vehicle, {plan.at, plan.heading}, *m_probe));
    linkGround(scene(), m_ground, plan.name);
    setParameters(vehicle, withGround);
    aimTarget(plan.name, m_targets[index]);
}

void Builder::noteSmallGround() {
    if (m_probe->empty() || m_plan.vehicles.empty()) return;
    const util::Vector3<double> size = m_probe->high() - m_probe->low();
    const double length = m_plan.vehicles.front().length;
    if (std::max(size.x, size.z) >= kSmallGround * length) return;
    m_setup.notes.push_back("the ground is only " + shortText(size.x, 3) + " by " + shortText(size.z, 3) +
                            " large, for a car of length " + shortText(length, 3) +
                            "; if its unit is another one, give it a 'scale' in a drive file, or the car a --length");
}

void Builder::noteFall(int index) {
    const std::optional<double> fall = fallAcceleration(*m_setup.stage, index);
    if (!fall) return;
    const Vehicle& vehicle = *m_setup.stage->vehicles[static_cast<std::size_t>(index)];
    const double lengths = *fall / bodyLength(vehicle);
    if (lengths >= kSlowestFall && lengths <= kFastestFall) return;
    const double gravity = vehicle.value("Gravity");
    m_setup.notes.push_back("with cCarCambGravityOn and \"Gravity\" " + shortText(gravity, 3) + " '" + vehicle.name +
                            "' falls by " + shortText(*fall, 3) + " units/s^2; 9.81 would be \"Gravity\" " +
                            shortText(gravityFor(vehicle, 9.81), 3));
}

void Builder::aimTarget(const std::string& vehicle, const Target& target) {
    Element* aim = scene().find(vehicle, "TargetMesh");
    if (aim == nullptr) return;
    if (target.node != nullptr) {
        const Matrix4 size = util::Scaling(util::Length(scene().world(*aim, now()).row(1)));
        scene().reparent(*aim, target.node);
        scene().setLocal(*aim, now(), size);
    }
    if (!target.path) return;
    Matrix4 pose = scene().world(*aim, now());
    // The frame before the first is looked at as well.
    for (int frame = m_setup.first - 1; frame <= m_setup.last; ++frame) {
        pose.setRow(3, target.path->at(scene().clock.time(frame) - scene().clock.time(m_setup.first)));
        scene().setUserKey(*aim, frame, pose);
    }
}

}  // namespace

DriveSetup setUpDrive(const DrivePlan& plan, const stage::Module& module) {
    if (plan.vehicles.empty()) throw CommandError("there is no vehicle to drive");
    return Builder(plan, module).build();
}

std::vector<std::string> filesOf(const DrivePlan& plan) {
    std::vector<std::string> files;
    for (const GroundPlan& ground : plan.ground) files.push_back(ground.file);
    for (const GroundPlan& scenery : plan.scenery) files.push_back(scenery.file);
    for (const VehiclePlan& vehicle : plan.vehicles) {
        for (const TrackPlan& track : vehicle.inputs)
            if (!track.file.empty()) files.push_back(track.file);
        if (vehicle.target && !vehicle.target->file.empty()) files.push_back(vehicle.target->file);
    }
    return files;
}

}  // namespace ond::command
