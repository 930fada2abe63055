// Every phase of the car model against a second model that was written apart from it, over random records and runs.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>

#include "car/Braking.h"
#include "car/Burnout.h"
#include "car/Drive.h"
#include "car/Fields.h"
#include "car/Follow.h"
#include "car/Inputs.h"
#include "car/RandomCar.h"
#include "car/SecondModel.h"
#include "car/Skidding.h"
#include "car/Steering.h"
#include "car/StepCar.h"
#include "car/Suspension.h"
#include "car/WheelRolling.h"

namespace ond::ovs::addon {
namespace {

using test::PinnedRandom;
namespace second = test::second;

struct PhaseRow {
    const char* name;
    std::function<void(cCarCam&, double)> first;
    std::function<void(cCarCam&, double)> other;
};

constexpr double kSubStep = 0.0031;

const PhaseRow kPhases[] = {
    {"UpdateFlight", UpdateFlight, second::flight},
    {"UpdateSkidBrake", UpdateSkidBrake, second::skidBrake},
    {"UpdateSkidding", UpdateSkidding, [](cCarCam& c, double) { second::skidding(c); }},
    {"UpdateGasPedal", UpdateGasPedal, second::gasBranch},
    {"UpdateSteeringWheel", UpdateSteeringWheel, second::steerBranch},
    {"UpdateInputs", UpdateInputs, second::inputs},
    {"UpdateBooster", UpdateBooster, second::booster},
    {"UpdateAbsBrake", UpdateAbsBrake, second::absBrake},
    {"UpdateGravel squared once", [](cCarCam& c, double dt) { UpdateGravel(c, dt, 1); },
     [](cCarCam& c, double dt) { second::gravel(c, dt, 1); }},
    {"UpdateGravel squared thrice", [](cCarCam& c, double dt) { UpdateGravel(c, dt, 3); },
     [](cCarCam& c, double dt) { second::gravel(c, dt, 3); }},
    {"UpdateGravel not squared", [](cCarCam& c, double dt) { UpdateGravel(c, dt, 0); },
     [](cCarCam& c, double dt) { second::gravel(c, dt, 0); }},
    {"UpdateBurnout", [](cCarCam& c, double dt) { c.dForceOffset = UpdateBurnout(c, dt, kSubStep); },
     [](cCarCam& c, double dt) { c.dForceOffset = second::burnout(c, dt, kSubStep); }},
    {"UpdateBody", [](cCarCam& c, double) { UpdateBody(c, kSubStep, 0.7, 0.25, 1.5); },
     [](cCarCam& c, double) { second::body(c, kSubStep, 0.7, 0.25, 1.5); }},
    {"UpdateWheelYaw", [](cCarCam& c, double dt) { UpdateWheelYaw(c, -0.4, -7.0, dt); },
     [](cCarCam& c, double dt) {
         for (int i = 0; i < 4; ++i) second::wheelYaw(c, i, -0.4, -7.0, dt);
     }},
    {"StepDrive", [](cCarCam& c, double dt) { StepDrive(c, dt, kSubStep); },
     [](cCarCam& c, double dt) { second::drive(c, dt, kSubStep); }},
    {"UpdateWheelRolling", UpdateWheelRolling, [](cCarCam& c, double) { second::rolling(c); }},
    {"StartCar",
     [](cCarCam& c, double dt) {
         StartCar(c, c.qTransCarAbs, QTransform<double>({1, 2, 3}, {0, 0.6, 0, 0.8}), dt);
     },
     [](cCarCam& c, double dt) {
         second::start(c, QTransform<double>({1, 2, 3}, {0, 0.6, 0, 0.8}), dt);
     }},
};

class Phase : public testing::TestWithParam<int> {};

TEST_P(Phase, AgreesWithTheSecondModelOnRandomRecords) {
    const PhaseRow& row = kPhases[GetParam()];
    PinnedRandom random(500 + static_cast<std::uint64_t>(GetParam()));
    int changed = 0;
    for (int i = 0; i < 2000; ++i) {
        SCOPED_TRACE(testing::Message() << row.name << ", record " << i);
        const cCarCam before = test::randomCar(random);
        const double dt = random.chance(0.3) ? 0.04 : random.in(0.004, 0.12);
        cCarCam a = before;
        cCarCam b = before;
        row.first(a, dt);
        row.other(b, dt);
        ASSERT_TRUE(test::sameRecord(a, b, 1e-11)) << "dt " << dt;
        changed += !test::changedFields(before, a).empty();
    }
    EXPECT_GT(changed, 700) << "many records must have had something to do";
}

INSTANTIATE_TEST_SUITE_P(SecondModel, Phase, testing::Range(0, static_cast<int>(std::size(kPhases))),
                         [](const auto& row) {
                             std::string name = kPhases[row.param].name;
                             for (char& c : name)
                                 if (c == ' ') c = '_';
                             return name;
                         });

TEST(SecondModelFrame, AgreesWithTheSecondModelOnRandomRecords) {
    PinnedRandom random(601);
    for (int i = 0; i < 1500; ++i) {
        cCarCam a = test::randomCar(random);
        cCarCam b = a;
        const double dt = random.chance(0.3) ? 0.04 : random.in(0.001, 0.12);
        StepCar(a, dt);
        second::step(b, dt);
        ASSERT_TRUE(test::sameRecord(a, b, 1e-9)) << "record " << i << " dt " << dt;
    }
}

TEST(SecondModelFrame, AgreesWithTheSecondModelOverDrives) {
    for (const double dt : {1.0 / 25, 1.0 / 30, 1.0 / 60, 0.1}) {
        PinnedRandom random(602);
        test::RandomDriver driver(random);
        cCarCam a;
        a.fFrontAxleZ = -a.fBodyLength / 2;
        for (auto& w : a.pcWheel) w.dWheelGroundNormalDiff = 0.247;
        a.dBaseStiffnessFront = a.dBaseStiffnessBack = 2000;
        a.dBaseDampingFront = a.dBaseDampingBack = 200;
        cCarCam b = a;
        double farthest = 0;
        for (int frame = 0; frame < 600; ++frame) {
            driver(a);
            for (int i = 0; i < 9; ++i) b.pcInput[i].raw = a.pcInput[i].raw;
            for (int i = 0; i < 4; ++i) b.pcWheel[i].dSuspDistanceMoved = a.pcWheel[i].dSuspDistanceMoved = 0.02 * i;
            StepCar(a, dt);
            UpdateWheelRolling(a, dt);
            second::step(b, dt);
            second::rolling(b);
            ASSERT_TRUE(test::sameRecord(a, b, 1e-9)) << "frame " << frame << " of " << dt << " s";
            farthest = std::max(farthest, Length(a.qTransCarAbs.position));
        }
        EXPECT_GT(farthest, 10.0) << "the drive must have led somewhere";
    }
}

TEST(SecondModelFollow, AgreesWithTheSecondModelOnRandomRecords) {
    PinnedRandom random(603);
    int inside = 0;
    for (int i = 0; i < 3000; ++i) {
        cCarCam a = test::randomCar(random);
        a.bAutonomousMode = i % 10 != 0;
        FollowState fa;
        fa.dFollowAccelerationMult = random.in(0.1, 2);
        fa.dIgnoreSphereRadius = random.in(0.1, 1.5);
        fa.dReverseMaxVelMult = random.in(0.2, 1);
        fa.dFollowAccRespFact = random.in(0.01, 0.9);
        fa.dAutoSteeringValueRespFact = random.in(0.01, 0.9);
        fa.dFollowAccMem = random.in(-2, 2);
        fa.dAutoSteeringValueMem = random.in(-0.5, 0.5);
        util::Matrix4 body = ToMatrix(random.rotation());
        SetScale(body, {random.in(0.5, 2), random.in(0.5, 2), random.in(0.5, 2)});
        body.setRow(3, random.vector(20));
        const Vector3<double> target = body.row(3) + random.vector(random.chance(0.5) ? 4 : 12);
        const double dt = random.in(0.01, 0.1);
        cCarCam b = a;
        FollowState fb = fa;
        UpdateFollow(a, fa, body, target, dt);
        second::follow(b, fb, body, target, dt);
        ASSERT_TRUE(test::sameRecord(a, b, 1e-11)) << i;
        ASSERT_NEAR(fa.dFollowAccMem, fb.dFollowAccMem, 1e-11) << i;
        ASSERT_NEAR(fa.dAutoSteeringValueMem, fb.dAutoSteeringValueMem, 1e-11) << i;
        inside += a.pcInput[pcInput_ABS_BRAKE].raw == 1.0;
    }
    EXPECT_GT(inside, 200) << "the ignore sphere must have been met";
}

TEST(ResetCarRecord, ChangesExactlyTheDynamicState) {
    PinnedRandom random(604);
    const cCarCam before = test::randomCar(random);
    cCarCam expected = before;
    for (auto& channel : expected.pcInput) channel.value = 0;
    expected.qTransCarAbsIncr = expected.qTransCarAbsIncr_prev = QTransform<double>();
    expected.vWorldAcceleration = expected.vLocalAcceleration = Vector3<double>();
    auto& b = expected.cCarBody;
    b.fRelYPos = b.fRelYVel = b.fRelXAng = b.fRelZAng = b.fRelXAngVel = b.fRelZAngVel = 0;
    b.qTransRel.rotation = b.qTransAbs.rotation = Quat<double>();
    for (auto& w : expected.pcWheel) {
        w.qTransWheelAbs = QTransform<double>();
        w.fSuspForce = w.fSuspIntegral = w.fSuspZeroDiff = w.fSuspZeroDiff_prev = 0;
        w.pfTotalPitch = w.pfPitchIncr = w.pfYaw = w.fGravelOffset = w.fGravelNoise = 0;
    }
    cCarCam actual = before;
    ResetCar(actual);
    EXPECT_TRUE(test::sameRecord(actual, expected, 0.0));
}

}  // namespace
}  // namespace ond::ovs::addon
