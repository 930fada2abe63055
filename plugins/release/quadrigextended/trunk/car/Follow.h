// Autonomous mode: a driver in the program's place, who sees a target and works pedal, wheel and brake to stay with it.
#pragma once

#include "car/CarState.h"
#include "ond/util/Matrix4.h"

namespace ond::ovs::addon {

/// What autonomous mode keeps beside the car record: its parameters and its two filter memories.
struct FollowState {
    double dFollowAccelerationMult = 0.5;     ///< "Autonomous mode follow strength"
    double dIgnoreSphereRadius = 0.5;         ///< "Ignore Sphere Radius (length relative)"
    double dReverseMaxVelMult = 0.5;          ///< "Reverse Max Vel Mult"
    double dFollowAccRespFact = 0.02;         ///< "Follow Strength Response Factor"
    double dAutoSteeringValueRespFact = 0.2;  ///< "Auto-Steering Response Factor"
    double dFollowAccMem = 0.0;               ///< speed to drive at, filtered; car lengths per second
    double dAutoSteeringValueMem = 0.0;       ///< filtered wanted steering, radians
};

/// Once a frame, before StepCar(). Sets `value` of two channels, the pedal's and the wheel's; a target that is near
/// enough to be ignored also sets the brake's `raw`. Does nothing unless `bAutonomousMode`.
/// `body`: world matrix of the body; `target`: world position of the target one frame back (a deliberate lag);
/// `dt`: the frame's length in seconds.
void UpdateFollow(cCarCam& car, FollowState& follow, const util::Matrix4& body, const Vector3<double>& target,
                  double dt);

}  // namespace ond::ovs::addon
