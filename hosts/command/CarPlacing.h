// Sizes a new vehicle, puts its wheels where they are wanted and stands it on the ground.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "command/DrivePlan.h"
#include "command/GroundProbe.h"
#include "stage/Vehicle.h"

namespace ond::command {

/// Length of the body, scene units.
[[nodiscard]] double bodyLength(const stage::Vehicle& vehicle);

/// Makes the body `length` long; everything below it follows, and the gravity arrow and the target with it.
/// The vehicle must stand where it was made.
void resizeCar(stage::Vehicle& vehicle, double length);

/// Moves, scales and turns the wheels' relocators.
/// @throws CommandError for a wheel that the vehicle does not have
void placeWheels(stage::Vehicle& vehicle, const std::map<std::string, WheelPlan>& wheels);

/// Where a vehicle stands.
struct CarPlace {
    std::vector<double> at;  ///< x, z or x, y, z of the point on the ground below the body's origin; or empty
    double heading = 0.0;    ///< degrees; 0 looks along -Z, positive turns right
};

/// Moves the vehicle from where it was made to its place. Without a height it stands with its wheels on the ground,
/// leaning as the ground does; without any place it takes the nearest to the origin, or else to the middle of the
/// ground, where all wheels have ground.
/// @return sentences about what the user may not expect
/// @throws CommandError if there is no ground at the place
[[nodiscard]] std::vector<std::string> placeCar(stage::Vehicle& vehicle, const CarPlace& place,
                                                const GroundProbe& ground);

}  // namespace ond::command
