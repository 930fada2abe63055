// Booster and ABS brake: the last two phases that change the velocity within a frame, in this order.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// A held booster pulls the speed above what the pedal can reach, to booster value times gas maximum, and the springs
/// stiffen with what is above. They return to their `dBase...` values afterwards.
void UpdateBooster(cCarCam& car, double dt);

/// Stops the car linearly in time while the ABS brake is held, or a pedal that works as one.
/// Also keeps what the next frame compares the pedal with: `dGasPedalValue_prev` and `pcInput_GAS_PEDAL_inp_prev`.
void UpdateAbsBrake(cCarCam& car, double dt);

/// Whether the pedal brakes: `state` is the memory over frames, `velocity` the gas value, `input` and `previousInput`
/// the pedal now and one frame ago. Zero counts as positive where signs are compared.
bool ReverseBrakeActive(bool& state, double velocity, double input, double previousInput);

}  // namespace ond::ovs::addon
