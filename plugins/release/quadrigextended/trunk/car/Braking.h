// Booster and ABS brake: the last two phases that change the velocity within a frame, in this order.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Draws the velocity to a multiple of the gas maximum while the booster is held, and stiffens the springs with the
/// velocity above that maximum. The spring constants return to their `dBase...` values afterwards.
void UpdateBooster(cCarCam& car, double dt);

/// Stops the car linearly in time while the ABS brake, or the pedal against the direction of travel, is held.
/// Ends with the memories `pcInput_GAS_PEDAL_inp_prev` and `dGasPedalValue_prev` for the next frame.
void UpdateAbsBrake(cCarCam& car, double dt);

/// Whether the pedal brakes: `state` is the memory over frames, `velocity` the gas value, `input` and `previousInput`
/// the pedal now and one frame ago. Zero counts as positive where signs are compared.
bool ReverseBrakeActive(bool& state, double velocity, double input, double previousInput);

}  // namespace ond::ovs::addon
