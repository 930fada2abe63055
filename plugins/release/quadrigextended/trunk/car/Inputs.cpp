#include "car/Inputs.h"

#include <cmath>

#include "car/Drive.h"
#include "car/Steering.h"
#include "ond/util/Filters.h"

namespace ond::ovs::addon {

namespace {

/// Adds the user's offset, and in a hard turn loses grip unasked. A device at full skidding takes neither.
void offsetSkidding(cCarCam& car, double dt) {
    InputChannel& skid = car.pcInput[pcInput_SKIDDING];
    if (skid.raw == 1.0) return;
    skid.raw += car.dSkiddingOffset;
    const double sideways =
        std::abs(car.vLocalAcceleration.x) * dt / car.fBodyLength / car.pcInput[pcInput_GAS_PEDAL].maximum;
    if (sideways > car.dSkiddingReleaseThresh) skid.raw += 1.0 - car.dSkiddingOffset;
}

}  // namespace

void UpdateInputs(cCarCam& car, double dt) {
    for (int i = 0; i < kNumInputs; ++i) {
        InputChannel& channel = car.pcInput[i];
        switch (i) {
            case pcInput_GAS_PEDAL: UpdateGasPedal(car, dt); break;
            case pcInput_STEERING_WHEEL: UpdateSteeringWheel(car, dt); break;
            case pcInput_SKIDDING: offsetSkidding(car, dt); break;
            case pcInput_GRAVEL_SHAKE: channel.raw += car.dGravelShakeOffset; break;
            case pcInput_EXTERNAL_FORCE: channel.raw += car.dForceOffset; break;
            default: break;
        }
        util::FilterSaturating(channel.value, channel.maximum * channel.raw, channel.response, channel.maxRate, dt);
    }
}

}  // namespace ond::ovs::addon
