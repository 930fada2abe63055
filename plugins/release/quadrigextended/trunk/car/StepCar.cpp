#include "car/StepCar.h"

#include <limits>

#include "car/Braking.h"
#include "car/Burnout.h"
#include "car/Drive.h"
#include "car/Inputs.h"
#include "car/Skidding.h"
#include "car/Suspension.h"

namespace ond::ovs::addon {

namespace {

// Seconds. Short enough for stiff springs with the explicit integrator, long enough for 13 sub-steps at 25 fps.
constexpr double kTargetStep = 0.003;

}  // namespace

int wholeCount(double count) {
    constexpr double kLimit = std::numeric_limits<int>::max();
    const int whole = count > -kLimit && count < kLimit ? static_cast<int>(count) : 0;
    return whole == 0 ? 1 : whole;
}

double ChooseStepLength(cCarCam& car, double dt) {
    car.dSimStep = dt / wholeCount(dt / kTargetStep);
    return car.dSimStep;
}

void StepCar(cCarCam& car, double dt) {
    for (auto& wheel : car.pcWheel) wheel.pfPitchIncr = 0.0;
    UpdateFlight(car, dt);
    UpdateSkidBrake(car, dt);
    UpdateSkidding(car, dt);
    UpdateInputs(car, dt);
    UpdateBooster(car, dt);
    UpdateAbsBrake(car, dt);
    UpdateGravel(car, dt, 1);
    car.qTransCarAbsIncr_prev = car.qTransCarAbsIncr;
    ChooseStepLength(car, dt);
    // Rounding can cost a sub-step here: 12.999 counts as 12. Recorded takes rely on that.
    const int steps = wholeCount(dt / car.dSimStep);
    StepAngles angles;
    for (int i = 0; i < steps; ++i) StepDrive(car, dt, car.dSimStep, angles);
}

}  // namespace ond::ovs::addon
