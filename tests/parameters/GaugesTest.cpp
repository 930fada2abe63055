// Read-outs of the dialog and output channels.
#include "parameters/Gauges.h"

#include <gtest/gtest.h>

#include "state/FakeHost.h"

namespace {

using namespace ond::test;
using namespace ond::ovs::addon;

void expectClose(double found, double expected) { EXPECT_NEAR(found, expected, 1e-12 * std::abs(expected)); }

TEST(MaximumGauges, MultiplyLengthUnitAndMaximum) {
    Car car;
    car->dVelocityConversionMult = 1.0;
    car->cCarCam.pcInput[pcInput_GAS_PEDAL].maximum = 3.0;
    updateMaximumGauges(*car, 4.0);
    EXPECT_EQ(car->dMaxVelocityGauge, 12.0);
}

TEST(MaximumGauges, TellSecondsToAHundredAndToSixty) {
    Car car;
    updateMaximumGauges(*car, car->cCarCam.fBodyLength);
    expectClose(car->dAccelerationGauge100, 100.0 / 3.6 / 2.0 / 3.522);
    EXPECT_NEAR(car->dAccelerationGauge100, 3.94, 0.005);
    expectClose(car->dAccelerationGauge60, 60.0 / 3.6 / 2.0 / 3.522);
    expectClose(car->dMaxVelocityGauge, 3.522 * 3.6 * 3.0);
}

TEST(MaximumGauges, TakeTheLengthThatTheyAreGiven) {
    Car car;
    updateMaximumGauges(*car, 7.0);
    expectClose(car->dMaxVelocityGauge, 7.0 * 3.6 * 3.0);
    expectClose(car->dAccelerationGauge100, 100.0 / 3.6 / 2.0 / 7.0);
}

/// A car whose history says 2 at time 1 while its live channel says 1.5.
class VelocityGauges : public testing::Test {
  protected:
    void SetUp() override {
        car->ancCarCampcInput_GAS_PEDAL.setKey(1.0, 2.0);
        car->ancCarCampcInput_GAS_PEDAL.setKey(2.0, -1.0);
        gas().value = 1.5;
        gas().maximum = 4.0;
    }
    ond::unidevice::InputChannel& gas() { return car->cCarCam.pcInput[pcInput_GAS_PEDAL]; }
    Car car;
};

TEST_F(VelocityGauges, ReadTheKeyForTheVelocityAndTheChannelForThePercentage) {
    updateVelocityGauges(*car, 1.0);
    expectClose(car->dCurrentVelocity, 3.522 * 3.6 * 2.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, 37.5);
}

TEST_F(VelocityGauges, ReadTheKeyForBothWhileNoRunIsActive) {
    updateIdleGauges(*car, 1.0);
    expectClose(car->dCurrentVelocity, 3.522 * 3.6 * 2.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, 50.0);
}

TEST_F(VelocityGauges, AreNegativeInReverse) {
    gas().value = -3.0;
    updateVelocityGauges(*car, 2.0);
    EXPECT_LT(car->dCurrentVelocity, 0.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, -75.0);
    updateIdleGauges(*car, 2.0);
    EXPECT_LT(car->dCurrentVelocity, 0.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, -25.0);
}

TEST_F(VelocityGauges, ShowExactlyZeroAtRest) {
    // The model keeps a standing car at this velocity.
    car->ancCarCampcInput_GAS_PEDAL.setKey(3.0, -1e-8);
    gas().value = -1e-8;
    updateVelocityGauges(*car, 3.0);
    EXPECT_EQ(car->dCurrentVelocity, 0.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, 0.0);
    updateIdleGauges(*car, 3.0);
    EXPECT_EQ(car->dCurrentVelocity, 0.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, 0.0);
}

TEST_F(VelocityGauges, ShowWhatLiesJustAboveTheLimitsOfRest) {
    car->dVelocityConversionMult = 1.0;
    car->ancCarCampcInput_GAS_PEDAL.setKey(3.0, 0.000101);
    gas().value = 0.0101 * 4.0 / 100.0;
    updateVelocityGauges(*car, 3.0);
    EXPECT_GT(car->dCurrentVelocity, 0.0);
    EXPECT_GT(car->dCurrentVelocityPercent, 0.0);
    car->ancCarCampcInput_GAS_PEDAL.setKey(3.0, 0.000099);
    gas().value = 0.0099 * 4.0 / 100.0;
    updateVelocityGauges(*car, 3.0);
    EXPECT_EQ(car->dCurrentVelocity, 0.0);
    EXPECT_EQ(car->dCurrentVelocityPercent, 0.0);
}

TEST_F(VelocityGauges, MeasureTheLimitOfRestBehindTheUnit) {
    // 0.00005 car lengths per second are rest in metres per second, but not in the 3.6 times of a kilometre per hour.
    car->ancCarCampcInput_GAS_PEDAL.setKey(3.0, 0.00005);
    updateVelocityGauges(*car, 3.0);
    EXPECT_GT(car->dCurrentVelocity, 0.0);
    car->dVelocityConversionMult = 1.0;
    updateVelocityGauges(*car, 3.0);
    EXPECT_EQ(car->dCurrentVelocity, 0.0);
}

class Outputs : public testing::Test {
  protected:
    void SetUp() override {
        car->declareParameters();
        car->dCurrentVelocity = 42.0;
        car->dCurrentVelocityPercent = 25.0;
        car->cCarCam.fSteeringAngle = -0.3;
        car->cCarCam.pcWheel[1].bInAir = true;
        car->cCarCam.pcWheel[2].bInAir = true;
    }
    double stored(std::size_t i) const { return car.host.outputs[i]->current; }
    Car car;
};

TEST_F(Outputs, StoreOneValueEach) {
    const double expected[] = {42.0, 0.25, -0.3, 0.0, 1.0, 1.0, 0.0};
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(car->callExtension(40, car.host.outputs[i].get()), 0u);
        EXPECT_EQ(stored(i), expected[i]) << i;
        EXPECT_EQ(car.host.outputs[i]->previous, 0.0) << "stored once since the first 0";
    }
}

TEST_F(Outputs, LeaveTheOtherChannelsAlone) {
    car->callExtension(40, car.host.outputs[2].get());
    EXPECT_EQ(stored(2), -0.3);
    EXPECT_EQ(stored(0), 0.0);
    EXPECT_EQ(stored(4), 0.0);
}

TEST_F(Outputs, AreStoredTogether) {
    storeOutputs(*car);
    EXPECT_EQ(stored(0), 42.0);
    EXPECT_EQ(stored(1), 0.25);
    EXPECT_EQ(stored(2), -0.3);
    EXPECT_EQ(stored(3), 0.0);
    EXPECT_EQ(stored(4), 1.0);
}

TEST_F(Outputs, IgnoreNullAndOtherExtensions) {
    EXPECT_EQ(car->callExtension(40, nullptr), 0u);
    EXPECT_EQ(car->callExtension(39, car.host.outputs[0].get()), 0u);
    EXPECT_EQ(stored(0), 0.0);
}

TEST_F(Outputs, IgnoreChannelsThatTheVehicleNeverMade) {
    ond::unidevice::OutputProperty foreign({"Velocity", 8});
    foreign.current = 9.0;
    EXPECT_EQ(car->callExtension(40, static_cast<ond::unidevice::Property*>(&foreign)), 0u);
    EXPECT_EQ(foreign.current, 9.0);
}

TEST(OutputsWithoutHost, AreNotStored) {
    Car car;
    car.host.hasOutputs = false;
    car->declareParameters();
    storeOutputs(*car);
    EXPECT_EQ(car->callExtension(40, nullptr), 0u);
}

}  // namespace
