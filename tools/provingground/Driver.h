// A driver who practises the circuit: looks ahead on the line, steers for it and keeps its speed.
#pragma once

#include <cstddef>
#include <vector>

#include "provingground/CentreLine.h"

namespace ond::provingground {

/// Where a car is, as its driver feels it.
struct CarView {
    PlanPoint turningPoint;  ///< the point that the steering leaves on its path: the middle of the back axle
    double heading = 0.0;    ///< radians, 0 towards -Z, positive to the right
    double speed = 0.0;      ///< forward, metres per second
};

/// What a car makes of its pedals and wheel; the driver knows it.
struct CarFeel {
    double topSpeed = 0.0;      ///< at full gas, metres per second
    double steeringArm = 0.0;   ///< radius of the turn times the tangent of the steering angle, metres
    double fullSteering = 0.0;  ///< angle at full steering at rest, radians
    double steeringLoss = 0.0;  ///< by this share the wheel answers less per metre per second
};

/// What the driver does: steering -1 to 1, positive to the right; pedals 0 to 1.
struct Controls {
    double steer = 0.0;
    double gas = 0.0;
    double brake = 0.0;
};

class Driver {
  public:
    Driver(const std::vector<LinePoint>& line, const CarFeel& feel) : m_line(line), m_feel(feel) {}

    /// What to do next. To be asked once a frame, for the driver keeps an eye on the line from where it was before.
    [[nodiscard]] Controls drive(const CarView& car);

    /// Metres driven along the line since the start, laps added up.
    [[nodiscard]] double station() const { return m_station; }
    /// Distance of the turning point from the line, metres, positive to the right of it.
    [[nodiscard]] double offset() const { return m_offset; }

  private:
    void findStation(const CarView& car);
    [[nodiscard]] PlanPoint pointAt(double station) const;
    [[nodiscard]] double speedAt(double station) const;
    [[nodiscard]] double steer(const CarView& car) const;

    const std::vector<LinePoint>& m_line;
    CarFeel m_feel;
    double m_station = 0.0;
    double m_offset = 0.0;
    bool m_braking = false;
};

}  // namespace ond::provingground
