// Booster: the velocity beyond the pedal, and the springs that stiffen with it.
#include <gtest/gtest.h>

#include "car/Braking.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& boost(cCarCam& c) { return c.pcInput[pcInput_BOOSTER]; }

cCarCam baseCar() {
    cCarCam car = quietCar();
    car.dBaseStiffnessFront = 1000;
    car.dBaseStiffnessBack = 1100;
    car.dBaseDampingFront = 120;
    car.dBaseDampingBack = 130;
    return car;
}

TEST(Booster, DrawsTheVelocityToAMultipleOfTheGasMaximum) {
    cCarCam car = baseCar();
    gas(car).value = 2.0;
    boost(car).raw = 0.01;
    UpdateBooster(car, kFrame);
    EXPECT_TRUE(car.bBoosterOn);
    EXPECT_TRUE(isClose(gas(car).value, 18.0 - 16.0 * 0.99 * 0.99)) << "the strength of the input does not count";
    for (int i = 0; i < 3000; ++i) UpdateBooster(car, kFrame);
    EXPECT_TRUE(isClose(gas(car).value, 18.0)) << "six times three lengths a second";
}

TEST(Booster, StiffensTheSpringsAboveTheGasMaximum) {
    cCarCam car = baseCar();
    boost(car).raw = 1.0;
    boost(car).response = 0.0;
    boost(car).maximum = 2.0;
    UpdateBooster(car, kFrame);
    EXPECT_TRUE(car.bStiffnessBoosted);
    const double f = 1.0 + 0.3 * 3.0;  // 3 lengths a second beyond the maximum
    EXPECT_TRUE(isClose(car.fStiffnessFront, 1000 * f));
    EXPECT_TRUE(isClose(car.fStiffnessBack, 1100 * f));
    EXPECT_TRUE(isClose(car.fDampingFront, 120 * f));
    EXPECT_TRUE(isClose(car.fDampingBack, 130 * f));
}

TEST(Booster, StiffensByAThousandthAndNotBefore) {
    cCarCam car = baseCar();
    boost(car).raw = 1.0;
    boost(car).response = 0.0;
    boost(car).maximum = 1.0011;
    UpdateBooster(car, kFrame);
    EXPECT_TRUE(car.bStiffnessBoosted);
    boost(car).maximum = 1.0009;
    UpdateBooster(car, kFrame);
    EXPECT_FALSE(car.bStiffnessBoosted);
    EXPECT_EQ(car.fStiffnessFront, 1000.0) << "and the base values are back";
}

TEST(Booster, ReleasedItRestoresTheSpringsOnce) {
    cCarCam car = baseCar();
    car.bStiffnessBoosted = true;
    gas(car).value = 10.0;
    UpdateBooster(car, kFrame);
    EXPECT_FALSE(car.bBoosterOn);
    EXPECT_FALSE(car.bStiffnessBoosted) << "although the car still is beyond its maximum";
    EXPECT_EQ(car.fStiffnessFront, 1000.0);
    EXPECT_EQ(car.fStiffnessBack, 1100.0);
    EXPECT_EQ(car.fDampingFront, 120.0);
    EXPECT_EQ(car.fDampingBack, 130.0);
    EXPECT_EQ(gas(car).value, 10.0) << "the velocity falls by the pedal's filter alone";
    car.fStiffnessFront = 555.0;
    UpdateBooster(car, kFrame);
    EXPECT_EQ(car.fStiffnessFront, 555.0) << "springs that are not boosted belong to the user";
}

TEST(Booster, IsOffUnderTheSkidBrake) {
    cCarCam car = baseCar();
    car.bBoosterOn = true;
    car.bSkidBreakingOnDisableFeatures = true;
    gas(car).value = 2.0;
    boost(car).raw = 1.0;
    UpdateBooster(car, kFrame);
    EXPECT_FALSE(car.bBoosterOn);
    EXPECT_EQ(gas(car).value, 2.0);
}

}  // namespace
}  // namespace ond::ovs::addon
