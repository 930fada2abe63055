// Gravel: wheels go up and down at random, the more the faster the car is.
#include <gtest/gtest.h>

#include <vector>

#include "car/Burnout.h"
#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;

InputChannel& gravel(cCarCam& c) { return c.pcInput[pcInput_GRAVEL_SHAKE]; }

cCarCam shakingCar() {
    cCarCam car = quietCar();
    car.dVelocity = 4.0;
    car.dGravelRoughness = 1.0;
    gravel(car).value = 0.025;
    return car;
}

// The first three numbers of the seed 1000, less a half.
const double kDraws[] = {1819694549.0 / 2147483648.0 - 0.5, 314567191.0 / 2147483648.0 - 0.5,
                         1475352333.0 / 2147483648.0 - 0.5};

TEST(Gravel, SquaresItsJitterAndKeepsTheSign) {
    cCarCam car = shakingCar();
    UpdateGravel(car, kFrame, 1);
    for (int i = 0; i < 3; ++i) {
        const double n = 2.0 * kDraws[i] * 0.025;
        EXPECT_TRUE(isClose(car.pcWheel[i].fGravelNoise, n < 0 ? -n * n : n * n)) << i;
        EXPECT_EQ(car.pcWheel[i].fGravelOffset, car.pcWheel[i].fGravelNoise) << "roughness 1 is unfiltered";
    }
    EXPECT_LT(car.pcWheel[1].fGravelNoise, 0.0);
    EXPECT_EQ(car.randomValue_gravelShake, 1004);
}

struct SquaringRow {
    int squarings;
    double power;
};

TEST(Gravel, SquaresAsOftenAsTold) {
    const SquaringRow rows[] = {{0, 1}, {1, 2}, {2, 4}, {3, 8}};
    for (const SquaringRow& row : rows) {
        cCarCam car = shakingCar();
        car.dVelocity = 1600.0;
        UpdateGravel(car, kFrame, row.squarings);
        const double n = 40.0 * kDraws[1] * 0.025;
        EXPECT_TRUE(isClose(car.pcWheel[1].fGravelNoise, -std::pow(-n, row.power))) << row.squarings;
    }
}

TEST(Gravel, StaysWithinItsAmplitude) {
    cCarCam car = shakingCar();
    double largest = 0.0;
    for (int i = 0; i < 3000; ++i) {
        UpdateGravel(car, kFrame, 1);
        for (const auto& w : car.pcWheel) largest = std::max(largest, std::abs(w.fGravelNoise));
    }
    EXPECT_LE(largest, 0.000625) << "0.025 before squaring at 4 units a second";
    EXPECT_GT(largest, 0.0006);
}

TEST(Gravel, TheSignOfTheAmplitudeDoesNotCount) {
    cCarCam a = shakingCar();
    cCarCam b = shakingCar();
    gravel(b).value = -0.025;
    UpdateGravel(a, kFrame, 1);
    UpdateGravel(b, kFrame, 1);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(a.pcWheel[i].fGravelNoise, b.pcWheel[i].fGravelNoise);
    EXPECT_NE(a.pcWheel[0].fGravelNoise, 0.0);
}

TEST(Gravel, IsOffAtAHundredThousandthAndDrawsNoNumberThen) {
    cCarCam car = shakingCar();
    gravel(car).value = 1e-5;
    for (auto& w : car.pcWheel) w.fGravelNoise = 0.5;
    UpdateGravel(car, kFrame, 1);
    EXPECT_EQ(car.randomValue_gravelShake, 1000);
    for (const auto& w : car.pcWheel) EXPECT_EQ(w.fGravelNoise, 0.0);
    gravel(car).value = 1.0001e-5;
    UpdateGravel(car, kFrame, 1);
    EXPECT_EQ(car.randomValue_gravelShake, 1004);
}

TEST(Gravel, RoughnessSmoothsTheOffset) {
    cCarCam car = shakingCar();
    car.dGravelRoughness = 0.5;
    car.pcWheel[0].fGravelOffset = 0.002;
    UpdateGravel(car, 0.02, 1);
    const double noise = car.pcWheel[0].fGravelNoise;
    EXPECT_NE(noise, 0.0);
    EXPECT_TRUE(isClose(car.pcWheel[0].fGravelOffset, 0.002 + 0.25 * (noise - 0.002)));
    car.dGravelRoughness = 0.0;
    UpdateGravel(car, 0.02, 1);
    EXPECT_EQ(car.pcWheel[0].fGravelOffset, car.pcWheel[0].fGravelNoise) << "roughness 0 is raw, too";
    // Switched off, the offset still settles.
    gravel(car).value = 0.0;
    car.dGravelRoughness = 0.5;
    const double before = car.pcWheel[0].fGravelOffset;
    UpdateGravel(car, 0.02, 1);
    EXPECT_TRUE(isClose(car.pcWheel[0].fGravelOffset, 0.75 * before));
}

TEST(Gravel, NothingShakesAtRest) {
    cCarCam car = quietCar();
    car.dGravelShakeOffset = 0.5;
    car.dSteeringNoise = 0.1;
    double shake = 0.0;
    for (int i = 0; i < 50; ++i) {
        for (auto& channel : car.pcInput) channel.raw = 0.0;  // the devices are read anew each frame
        StepCar(car, kFrame);
        for (const auto& w : car.pcWheel) shake = std::max(shake, std::abs(w.fGravelOffset));
    }
    EXPECT_GT(car.randomValue_gravelShake, 1100) << "the shake is on";
    EXPECT_LT(shake, 1e-10) << "but grows from the speed";
    EXPECT_LT(std::abs(car.pcInput[pcInput_STEERING_WHEEL].raw), 1e-4);
}

TEST(Gravel, ARewoundCounterShakesAlike) {
    cCarCam car = shakingCar();
    std::vector<double> first;
    for (int i = 0; i < 20; ++i) {
        UpdateGravel(car, kFrame, 1);
        first.push_back(car.pcWheel[3].fGravelNoise);
    }
    car.randomValue_gravelShake = 1000 + 4 * 5;
    for (std::size_t i = 5; i < 20; ++i) {
        UpdateGravel(car, kFrame, 1);
        ASSERT_EQ(car.pcWheel[3].fGravelNoise, first[i]) << i;
    }
}

}  // namespace
}  // namespace ond::ovs::addon
