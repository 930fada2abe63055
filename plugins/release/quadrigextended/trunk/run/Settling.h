// How the car frame finds its place on the contact points of its wheels.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// The plane through three points, given relative to `origin`, at the place that lies in direction `down` from there.
/// A plane that holds the origin, or none at all, has no such place and gives numbers that are not finite or the
/// origin itself.
[[nodiscard]] Vector3<double> pointOnPlane(const Vector3<double>& origin, const Vector3<double>& down,
                                           const Vector3<double>& a, const Vector3<double>& b,
                                           const Vector3<double>& c);

/// Fits the car frame to the wheels after they have found the ground: turns it towards the plane through the
/// contact points of the front wheels and the middle of the back ones, and puts its origin on that plane below the
/// body.
void settleOnWheels(cCarCam& car);

}  // namespace ond::ovs::addon
