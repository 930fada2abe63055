// The wheels' elements: extra keys of fast wheels, the centres and their parameters.
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

class Wheels : public WholeRun {
  protected:
    /// Drives at once so fast that a wheel turns by `radians` in a frame, backwards if negative; gives the log of the
    /// last frame.
    Vehicle& driveAt(double radians, int frames = 20) {
        Vehicle& car = addCarOnPlane();
        const double lengthsPerSecond = std::abs(radians) * kWheelRadius * kRadiusMult / 0.04 / kLength;
        car.put("Gas Pedal (Forw/Backw) Maximum", lengthsPerSecond);
        car.axis("Gas Pedal").position = radians < 0.0 ? -1.0 : 1.0;
        host.startRun(0);
        host.advance(frames - 1);
        car.log.clear();
        host.advance(1);
        host.stopRun();
        return car;
    }
};

// Pieces of 3.110487775831478 radians, just under half a turn.
TEST_F(Wheels, TenRadiansInAFrameGiveThreeExtraKeys) {
    Vehicle& car = driveAt(10.0);
    const Lines lines = car.log.only({"setWorld"});
    std::vector<std::string> wheel;
    for (const std::string& line : lines)
        if (line.find("setWorld WheelMesh_BL ") == 0) wheel.push_back(line);
    ASSERT_EQ(wheel.size(), 4u);
    EXPECT_EQ(wheel.back(), "setWorld WheelMesh_BL @20");
    for (int piece = 1; piece <= 3; ++piece) {
        const double at = std::stod(wheel[static_cast<std::size_t>(piece - 1)].substr(23));
        EXPECT_NEAR(at, 19.0 + piece * 0.3110487775831478, 5e-3);
    }
}

TEST_F(Wheels, TenRadiansBackwardsGiveThreeExtraKeysToo) {
    Vehicle& car = driveAt(-10.0);
    EXPECT_EQ(car.log.count("setWorld WheelMesh_BL "), 4);
    EXPECT_GT(position(car.world("CarBodyMesh", 20)).z, 10.0);
}

TEST_F(Wheels, ThreeRadiansInAFrameGiveNone) {
    Vehicle& car = driveAt(3.0);
    EXPECT_EQ(car.log.count("setWorld WheelMesh_BL "), 1);
    host.removeVehicle(car);
    Vehicle& faster = driveAt(3.2);
    EXPECT_EQ(faster.log.count("setWorld WheelMesh_BL "), 2);
}

// Between neighbouring keys a wheel turns by less than half a turn and in the sense of its rolling, so that a host that
// takes the shorter arc shows it right.
TEST_F(Wheels, ExtraKeysRollOnInPieces) {
    for (const double radians : {10.0, -10.0}) {
        SCOPED_TRACE(radians);
        Vehicle& car = driveAt(radians);
        const std::vector<TrackKey>& keys = car.element("WheelMesh_BL").track.keys;
        ASSERT_GT(keys.size(), 40u);
        const double start = host.scene.clock.time(15) - 1e-6;
        double turned = 0.0;
        for (std::size_t i = 1; i < keys.size(); ++i) {
            if (keys[i - 1].time < start) continue;
            const auto rotation = [&](const TrackKey& key) {
                return Quat<double>::FromMatrix(host.scene.world(car.element("WheelMesh_BL"), key.time));
            };
            Quat<double> step = util::Multiply(util::Conjugate(rotation(keys[i - 1])), rotation(keys[i]));
            const Vector3<double> turn = util::ToRotationVector(step);
            // The first key of a vehicle stands at its frame; the axle is the world's X axis on a straight drive.
            EXPECT_LT(turn.x * (radians > 0 ? 1.0 : -1.0), 0.0) << keys[i].time;
            EXPECT_LT(std::abs(turn.x), 3.13);
            EXPECT_LT(std::abs(turn.y) + std::abs(turn.z), 0.02);
            turned += std::abs(turn.x);
        }
        EXPECT_NEAR(turned, 50.0, 1.0);
        host.removeVehicle(car);
    }
}

TEST_F(Wheels, CentresFollowTheWheelAndKeepTheirScale) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.3;
    car.axis("Steering").position = 1.0;
    host.run(0, 60);
    for (const char* suffix : kCorners) {
        const Vector3<double> wheel = position(car.world(std::string("WheelMesh") + suffix, 60));
        const Matrix4 centre = car.world(std::string("WheelCenterMesh") + suffix, 60);
        const Matrix4 suspension = car.world(std::string("WheelCenterSuspensionMesh") + suffix, 60);
        const Matrix4 relocator = car.world(std::string("WheelRelocatorMesh") + suffix, 60);
        expectNear(position(centre), wheel, 1e-9, suffix);
        expectNear(position(suspension), wheel, 1e-9, suffix);
        expectNear(util::Scale(centre), {kLength, kLength, kLength}, 1e-9, suffix);
        expectNear(util::Scale(suspension), {kLength, kLength, kLength}, 1e-9, suffix);
        EXPECT_LT(degreesBetween(suspension, relocator), 1e-5) << "the suspension does not steer";
        const bool front = suffix[1] == 'F';
        if (front)
            EXPECT_GT(degreesBetween(centre, relocator), 5.0) << suffix;
        else
            EXPECT_LT(degreesBetween(centre, relocator), 0.1) << suffix;
    }
}

TEST_F(Wheels, FixatedCentresDoNotSteer) {
    Vehicle& car = addCarOnPlane();
    car.edit("Fixate Wheel Center Nodes", 1.0);
    car.axis("Steering").position = 1.0;
    host.run(0, 60);
    EXPECT_LT(degreesBetween(car.world("WheelCenterMesh_FL", 60), car.world("WheelRelocatorMesh_FL", 60)), 1e-5);
    EXPECT_GT(degreesBetween(car.world("WheelMesh_FL", 60), car.world("WheelRelocatorMesh_FL", 60)), 5.0);
}

TEST_F(Wheels, CentresCanStandOnTheGroundAndAlongItsNormal) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, slopedGround(15.0));
    car.edit("Align WheelCenterMesh to ground incline", 1.0);
    car.edit("Move WheelCenterMesh to ground hit point", 1.0);
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 120);
    const double a = 15.0 / 57.29577951308232;
    for (const char* suffix : kCorners) {
        const Matrix4 centre = car.world(std::string("WheelCenterMesh") + suffix, 120);
        expectNear(util::Normalized(centre.row(1)), {0, std::cos(a), std::sin(a)}, 1e-3, suffix);
        const Vector3<double> p = position(centre);
        EXPECT_NEAR(p.y * std::cos(a) + p.z * std::sin(a), 0.0, 1e-3) << suffix;
        expectNear(util::Scale(centre), {kLength, kLength, kLength}, 1e-9, suffix);
    }
}

TEST_F(Wheels, RescaledRelocatorGivesALargerWheel) {
    Vehicle& car = addCarOnPlane();
    Element& relocator = car.element("WheelRelocatorMesh_BL");
    relocator.track.pose = relocator.track.pose * util::Scaling(1.5);
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 2);
    car.save();
    EXPECT_NEAR(SavedBlock(car.chunk).record(216 + 2 * 24), 1.5 * kWheelRadius, 1e-12);
    expectNear(util::Scale(car.world("WheelMesh_BL", 2)),
               {0.7 * 1.5 * kWheelRadius, 1.5 * kWheelRadius, 1.5 * kWheelRadius}, 1e-9, "wheel");
}

}  // namespace
}  // namespace ond::test
