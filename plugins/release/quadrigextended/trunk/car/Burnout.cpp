#include "car/Burnout.h"

#include <cmath>

#include "ond/util/Filters.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::FilterExact;
using util::RandomUnit;
using util::Sign;

double UpdateBurnout(cCarCam& car, double dt, double h) {
    InputChannel& burn = car.pcInput[pcInput_BURNOUT];
    InputChannel& steer = car.pcInput[pcInput_STEERING_WHEEL];
    if (!(burn.value > 0.001)) {
        car.dBurnoutRandom = 0.0;
        if (!car.bBurnoutIdle) {
            car.bBurnoutIdle = true;
            steer.response = car.dSteeringResponseSaved;
        }
        return 0.0;
    }
    if (car.bBurnoutIdle) {
        car.bBurnoutIdle = false;
        car.dSteeringResponseSaved = steer.response;
    }
    if (burn.raw == 0.0)
        burn.value *= car.dBurnoutFadeoutFactor * car.dSimStep / h;
    else
        FilterExact(steer.response, 0.05, 0.1, 1.0, h);  // a held burnout makes the steering sluggish

    const double spin = -burn.value * 3.141592653589793 * 0.49 * h / dt;
    car.pcWheel[2].pfTotalPitch += spin;
    car.pcWheel[3].pfTotalPitch += spin;

    car.dBurnoutRandom = 20.0 * RandomUnit(car.randomValue_burnout);
    const double r = car.dBurnoutRandom;
    const double tilt = burn.value * car.dBurnoutTiltForce * car.fBodyLength * car.fBodyLength / 46875.0;
    const double shake = car.dBurnoutShake * r * r * r * r * r;  // the fifth power: rare large kicks
    return tilt * (1.0 + shake);
}

void UpdateGravel(cCarCam& car, double dt, int squarings) {
    const double amplitude = std::abs(car.pcInput[pcInput_GRAVEL_SHAKE].value);
    const bool active = amplitude > 1e-5;
    for (pcWheel& wheel : car.pcWheel) {
        double n = 0.0;
        if (active) {
            const double u = RandomUnit(car.randomValue_gravelShake);
            n = std::sqrt(std::abs(car.dVelocity)) * (u - 0.5) * amplitude;
            const double s = Sign(n);
            n *= s;
            for (int i = 0; i < squarings; ++i) n = n * n;
            n *= s;
        }
        wheel.fGravelNoise = n;
    }
    for (pcWheel& wheel : car.pcWheel)
        FilterExact(wheel.fGravelOffset, wheel.fGravelNoise, car.dGravelRoughness, 1.0, dt);
}

}  // namespace ond::ovs::addon
