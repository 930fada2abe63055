#include "provingground/PracticeCar.h"

#include <cmath>
#include <stdexcept>

#include "command/DriveFile.h"

namespace ond::provingground {

namespace {

using util::Matrix4;
using util::Vector3;

constexpr const char* kCorners[] = {"FL", "FR", "BL", "BR"};

command::DrivePlan planOf(const std::string& driveFile, const std::string& ground) {
    command::DrivePlan plan = command::readDriveFile(driveFile);
    for (command::VehiclePlan& vehicle : plan.vehicles) vehicle.inputs.clear();
    if (plan.vehicles.size() != 1) throw std::runtime_error(driveFile + ": has other than one vehicle");
    if (!ground.empty()) {
        if (plan.ground.size() != 1) throw std::runtime_error(driveFile + ": has other than one ground to replace");
        plan.ground.front().file = ground;
    }
    return plan;
}

}  // namespace

PracticeCar::PracticeCar(const stage::Module& module, const std::string& driveFile, const std::string& ground)
    : m_setup(command::setUpDrive(planOf(driveFile, ground), module)), m_frame(m_setup.first) {
    m_setup.stage->keepsJournal = false;
}

void PracticeCar::place(const InputRow& row) {
    car().axis("Steering").position = row.steer;
    car().axis("Gas Pedal").position = row.gas;
    car().axis("ABS Brake").position = row.brake;
    car().axis("Gravel Shake").position = row.gravel;
}

void PracticeCar::start(const InputRow& row) {
    place(row);
    m_setup.stage->startRun(m_frame);
}

void PracticeCar::advance(const InputRow& row) {
    place(row);
    if (!m_setup.stage->advance(1)) throw std::runtime_error(m_setup.stage->breakdown()->sentence());
    ++m_frame;
}

void PracticeCar::stop() { m_setup.stage->stopRun(); }

double PracticeCar::time(int frame) const {
    const stage::Clock& clock = m_setup.stage->scene.clock;
    return clock.time(frame) - clock.time(m_setup.first);
}

CarView PracticeCar::view() const {
    CarView view;
    const Vector3<double> turning = car().world("TurnBaseMesh", m_frame).row(3);
    const Vector3<double> forward = -car().world("CarBodyMesh", m_frame).row(2);
    view.turningPoint = {turning.x, turning.z};
    view.heading = std::atan2(forward.x, -forward.z);
    view.speed = car().output("Velocity")->current / car().value("Multiplier");
    return view;
}

CarFeel PracticeCar::feel() const {
    const Matrix4 body = car().world("CarBodyMesh", m_frame);
    const double length = util::Length(body.row(2));
    const Vector3<double> back = car().world("TurnBaseMesh", m_frame).row(3) - body.row(3);
    CarFeel feel;
    feel.topSpeed = length * car().value("Gas Pedal (Forw/Backw) Maximum");
    // The model's front axle stands half a length before the middle of the car.
    feel.steeringArm = 0.5 * length + std::hypot(back.x, back.z);
    feel.fullSteering = car().value("Steering Wheel (Right/Left) Maximum");
    feel.steeringLoss = car().value("Speed Dependent Turn Radius Reduction Factor") / length;
    return feel;
}

int PracticeCar::wheelsInAir() const {
    int inAir = 0;
    for (const char* corner : kCorners) inAir += car().output(std::string("WheelMesh_") + corner)->current != 0.0;
    return inAir;
}

PlanPoint PracticeCar::wheel(const char* corner) const {
    const Vector3<double> centre = car().world(std::string("WheelMesh_") + corner, m_frame).row(3);
    return {centre.x, centre.z};
}

std::vector<Matrix4> PracticeCar::matrices() const {
    const stage::Scene& scene = m_setup.stage->scene;
    std::vector<Matrix4> out;
    for (const auto& element : scene.elements) out.push_back(scene.world(*element, scene.clock.time(m_frame)));
    return out;
}

double PracticeCar::axisFor(const char* channel, double value) const {
    if (value == 0.0) return 0.0;
    const unidevice::Property& property = car().property(channel);
    const double bent = std::pow(std::abs(value), 1.0 / property.exponent);
    return std::copysign(property.deadZone + bent * (1.0 - property.deadZone), value);
}

std::vector<std::string> PracticeCar::complaints() const {
    std::vector<std::string> out = m_setup.stage->complaints();
    for (const stage::StageMessage& message : m_setup.stage->messages)
        out.push_back(message.caption + ": " + message.text);
    return out;
}

}  // namespace ond::provingground
