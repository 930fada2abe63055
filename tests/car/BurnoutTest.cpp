// Burnout: spinning back wheels, sluggish steering, a tilting and shaking body.
#include "car/Burnout.h"

#include <gtest/gtest.h>

#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;
constexpr double kStep = 0.004;

InputChannel& burn(cCarCam& c) { return c.pcInput[pcInput_BURNOUT]; }
InputChannel& steer(cCarCam& c) { return c.pcInput[pcInput_STEERING_WHEEL]; }

cCarCam burningCar() {
    cCarCam car = quietCar();
    car.dSimStep = kStep;
    burn(car).raw = 1.0;
    burn(car).value = 2.0;
    return car;
}

TEST(Burnout, TiltsTheBodyWithRareLargeKicks) {
    cCarCam car = burningCar();
    car.dBurnoutTiltForce = 0.7;
    const double torque = UpdateBurnout(car, kFrame, kStep);
    const double random = 20.0 * 1075409989.0 / 2147483648.0;
    EXPECT_TRUE(isClose(car.dBurnoutRandom, random));
    const double tilt = 2.0 * 0.7 * 3.522 * 3.522 / 46875.0;
    EXPECT_TRUE(isClose(torque, tilt * (1.0 + 0.2 * std::pow(random, 5.0))));
    EXPECT_GT(torque, 1.0);
    EXPECT_EQ(car.randomValue_burnout, 10001);
}

TEST(Burnout, WithoutShakeOnlyTheTiltIsLeft) {
    cCarCam car = burningCar();
    car.dBurnoutShake = 0.0;
    EXPECT_TRUE(isClose(UpdateBurnout(car, kFrame, kStep), 2.0 * 3.522 * 3.522 / 46875.0));
}

TEST(Burnout, SpinsTheBackWheelsByTheFrameAndNotBySeconds) {
    for (const double dt : {0.04, 0.02, 0.1}) {
        cCarCam car = burningCar();
        car.pcInput[pcInput_BURNOUT].response = 0.0;
        burn(car).maximum = 1.0;
        const int n = static_cast<int>(dt / ChooseStepLength(car, dt));
        StepCar(car, dt);
        const double spin = -0.49 * 3.141592653589793 * n * car.dSimStep / dt;
        EXPECT_TRUE(isClose(car.pcWheel[2].pfTotalPitch, spin)) << dt;
        EXPECT_TRUE(isClose(car.pcWheel[3].pfTotalPitch, spin)) << dt;
        EXPECT_EQ(car.pcWheel[0].pfTotalPitch, 0.0);
        EXPECT_EQ(car.pcWheel[1].pfTotalPitch, 0.0);
        EXPECT_EQ(car.pcWheel[2].pfPitchIncr, 0.0) << "the spin is no rolling";
    }
}

TEST(Burnout, DullsTheSteeringWhileHeldAndGivesItBack) {
    cCarCam car = burningCar();
    steer(car).response = 0.45;
    (void)UpdateBurnout(car, kFrame, kStep);
    EXPECT_FALSE(car.bBurnoutIdle);
    EXPECT_EQ(car.dSteeringResponseSaved, 0.45);
    const double share = kStep / 0.04 * 0.1;
    EXPECT_TRUE(isClose(steer(car).response, 0.45 - 0.40 * share));
    for (int i = 0; i < 3000; ++i) (void)UpdateBurnout(car, kFrame, kStep);
    EXPECT_TRUE(isClose(steer(car).response, 0.05, 1e-9));
    EXPECT_EQ(car.dSteeringResponseSaved, 0.45) << "saved once, at its start";
    burn(car).value = 0.00101;
    EXPECT_NE(UpdateBurnout(car, kFrame, kStep), 0.0);
    burn(car).value = 0.001;
    EXPECT_EQ(UpdateBurnout(car, kFrame, kStep), 0.0) << "a thousandth counts as none";
    EXPECT_EQ(steer(car).response, 0.45) << "back on the same sub-step";
    EXPECT_TRUE(car.bBurnoutIdle);
    EXPECT_EQ(car.dBurnoutRandom, 0.0);
}

TEST(Burnout, FadesPerSubStepOnceReleased) {
    cCarCam car = burningCar();
    burn(car).raw = 0.0;
    steer(car).response = 0.45;
    (void)UpdateBurnout(car, kFrame, kStep);
    EXPECT_TRUE(isClose(burn(car).value, 2.0 * 0.99));
    EXPECT_TRUE(isClose(car.pcWheel[2].pfTotalPitch, -2.0 * 0.99 * 3.141592653589793 * 0.49 * kStep / kFrame))
        << "the spin is that of the faded value";
    EXPECT_EQ(steer(car).response, 0.45) << "the steering stays as dull as it is";
    car.dSimStep = 2 * kStep;
    burn(car).value = 2.0;
    (void)UpdateBurnout(car, kFrame, kStep);
    EXPECT_TRUE(isClose(burn(car).value, 2.0 * 0.99 * 2.0));
}

TEST(Burnout, AFadeOutFactorOfOneLeavesTheChannelsFilterAlone) {
    cCarCam car = burningCar();
    car.dBurnoutFadeoutFactor = 1.0;
    burn(car).raw = 0.0;
    StepCar(car, kFrame);
    EXPECT_TRUE(isClose(burn(car).value, 2.0 * 0.985 * 0.985));
}

TEST(Burnout, ShakesAtRest) {
    cCarCam car = burningCar();
    burn(car).maximum = 2.0;
    double kicked = 0.0;
    for (int i = 0; i < 25; ++i) {
        StepCar(car, kFrame);
        kicked = std::max(kicked, std::abs(car.cCarBody.fRelXAng));
    }
    EXPECT_GT(kicked, 0.001) << "its torque does not depend on the speed";
    EXPECT_LE(kicked, 0.06);
}

TEST(Burnout, IdleItDrawsNoNumber) {
    cCarCam car = quietCar();
    car.dBurnoutRandom = 5.0;
    steer(car).response = 0.3;
    EXPECT_EQ(UpdateBurnout(car, kFrame, kStep), 0.0);
    EXPECT_EQ(car.randomValue_burnout, 10000);
    EXPECT_EQ(car.dBurnoutRandom, 0.0);
    EXPECT_EQ(steer(car).response, 0.3) << "nothing is restored that was not saved";
}

}  // namespace
}  // namespace ond::ovs::addon
