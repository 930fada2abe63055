// Autonomous mode: the car chases a target by setting its own gas pedal, steering and brake.
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
    double dFollowAccMem = 0.0;               ///< filtered wanted velocity, car lengths per second
    double dAutoSteeringValueMem = 0.0;       ///< filtered wanted steering, radians
};

/// Once a frame, before StepCar(): writes the `value` of gas pedal and steering wheel and, inside the ignore sphere,
/// the `raw` of the ABS brake. Does nothing unless `bAutonomousMode`.
/// `body`: world matrix of the body; `target`: world position of the target one frame back (a deliberate lag);
/// `dt`: the frame's length in seconds.
void UpdateFollow(cCarCam& car, FollowState& follow, const util::Matrix4& body, const Vector3<double>& target,
                  double dt);

}  // namespace ond::ovs::addon
