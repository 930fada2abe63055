#include "provingground/Driver.h"

#include <algorithm>
#include <cmath>

namespace ond::provingground {

namespace {

// How far the driver looks: seconds of the present speed and some metres, for steering and for the speed.
constexpr double kLookSeconds = 0.45;
constexpr double kLookMetres = 3.5;
constexpr double kSpeedLookSeconds = 0.5;

// Pedals per metre per second that the speed is off.
constexpr double kGasPerSpeed = 0.12;
constexpr double kBrakePerSpeed = 0.1;
// The driver brakes when the speed is too high by the first, until it is by the second. Under the brake the car does
// not coast, so that a foot left on it lightly would hold the speed.
constexpr double kBrakesAbove = 1.5;
constexpr double kBrakesUntil = 0.3;

/// The driver stops behind the line after one lap.
constexpr double kRunOut = 8.0;

}  // namespace

PlanPoint Driver::pointAt(double station) const {
    const double step = m_line[1].station;
    const double at = station / step;
    const double before = std::floor(at);
    const auto count = m_line.size();
    const std::size_t i = static_cast<std::size_t>(before) % count;
    const LinePoint& a = m_line[i];
    const LinePoint& b = m_line[(i + 1) % count];
    return {std::lerp(a.x, b.x, at - before), std::lerp(a.z, b.z, at - before)};
}

double Driver::speedAt(double station) const {
    return m_line[static_cast<std::size_t>(station / m_line[1].station) % m_line.size()].speed;
}

void Driver::findStation(const CarView& car) {
    constexpr double kStep = 0.02;
    const auto distance = [&](double station) {
        const PlanPoint at = pointAt(station);
        return std::hypot(at.x - car.turningPoint.x, at.z - car.turningPoint.z);
    };
    while (distance(m_station + kStep) < distance(m_station)) m_station += kStep;
    const PlanPoint at = pointAt(m_station);
    const PlanPoint ahead = pointAt(m_station + 0.5);
    const double dx = (ahead.x - at.x) / 0.5;
    const double dz = (ahead.z - at.z) / 0.5;
    m_offset = (car.turningPoint.z - at.z) * dx - (car.turningPoint.x - at.x) * dz;
}

double Driver::steer(const CarView& car) const {
    const PlanPoint goal = pointAt(m_station + kLookMetres + kLookSeconds * std::max(car.speed, 0.0));
    const double dx = goal.x - car.turningPoint.x;
    const double dz = goal.z - car.turningPoint.z;
    const double away = std::hypot(dx, dz);
    const double right = dx * std::cos(car.heading) + dz * std::sin(car.heading);
    // The circle that leaves along the heading and meets the goal.
    const double curvature = 2.0 * right / (away * away);
    const double angle = std::atan(m_feel.steeringArm * curvature);
    return angle / m_feel.fullSteering * (1.0 + m_feel.steeringLoss * std::abs(car.speed));
}

Controls Driver::drive(const CarView& car) {
    findStation(car);
    Controls controls;
    controls.steer = std::clamp(steer(car), -1.0, 1.0);
    const double lap = m_line.back().station + m_line[1].station;
    const bool stopping = m_station > lap + kRunOut;
    const double wanted = stopping ? 0.0 : speedAt(m_station + kSpeedLookSeconds * std::max(car.speed, 0.0));
    const double missing = wanted - car.speed;
    m_braking = -missing > (m_braking ? kBrakesUntil : kBrakesAbove);
    if (stopping)
        controls.brake = 0.5;
    else if (m_braking)
        controls.brake = std::clamp(-kBrakePerSpeed * missing, 0.1, 1.0);
    else
        controls.gas = std::clamp(wanted / m_feel.topSpeed + kGasPerSpeed * missing, 0.0, 1.0);
    return controls;
}

}  // namespace ond::provingground
