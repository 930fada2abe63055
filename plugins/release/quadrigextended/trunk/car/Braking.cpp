#include "car/Braking.h"

#include <cmath>

#include "ond/util/Filters.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::FilterExact;
using util::SameSign;
using util::Sign;

namespace {

void setSprings(cCarCam& car, double factor) {
    car.fStiffnessFront = car.dBaseStiffnessFront * factor;
    car.fStiffnessBack = car.dBaseStiffnessBack * factor;
    car.fDampingFront = car.dBaseDampingFront * factor;
    car.fDampingBack = car.dBaseDampingBack * factor;
}

/// Linear in time: each frame loses the same amount, in proportion to the speed when the brake set in. Ends at zero.
void brake(cCarCam& car, double strength, double dt) {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    if (car.bBrakeArmed) {
        car.bBrakeArmed = false;
        car.dBrakeStartValue = gas.value;
    }
    const double loss = car.dBrakeStartValue * dt * 30.0 * std::abs(strength);
    const double v = car.dGasPedalValue_prev - loss;
    gas.value = SameSign(v, car.dBrakeStartValue) ? v : 0.0;
}

}  // namespace

void UpdateBooster(cCarCam& car, double dt) {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    const InputChannel& boost = car.pcInput[pcInput_BOOSTER];
    car.bBoosterOn = boost.raw != 0.0 && !car.bSkidBreakingOnDisableFeatures;
    if (car.bBoosterOn) FilterExact(gas.value, boost.maximum * gas.maximum, boost.response, 1.0, dt);

    const double excess = gas.value - gas.maximum;
    if (excess > 0.001 * gas.maximum && car.bBoosterOn) {
        car.bStiffnessBoosted = true;
        setSprings(car, 1.0 + car.dBoosterStiffnessMult * excess);
        return;
    }
    if (car.bStiffnessBoosted) setSprings(car, 1.0);
    car.bStiffnessBoosted = false;
}

bool ReverseBrakeActive(bool& state, double velocity, double input, double previousInput) {
    if (!state && Sign(velocity) != Sign(input) && input != 0.0) {
        state = true;
        return state;
    }
    if (state && Sign(input) != Sign(previousInput)) {
        state = false;
        return state;
    }
    if (input == 0.0) state = false;
    return state;
}

void UpdateAbsBrake(cCarCam& car, double dt) {
    const InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    const InputChannel& abs = car.pcInput[pcInput_ABS_BRAKE];
    if (abs.raw > 0.0)
        brake(car, abs.raw * abs.maximum, dt);
    else if (car.bUseReverseAsAbsBrake &&
             ReverseBrakeActive(car.bIsReverseVelAbsBraking, gas.value, gas.raw, car.pcInput_GAS_PEDAL_inp_prev))
        brake(car, gas.raw * abs.maximum, dt);
    else
        car.bBrakeArmed = true;
    car.pcInput_GAS_PEDAL_inp_prev = gas.raw;
    car.dGasPedalValue_prev = gas.value;
}

}  // namespace ond::ovs::addon
