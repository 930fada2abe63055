// A run for which there is no collision world, because the loaded physics library is not the one that the headers are
// of. This program has the check of the library answer so; the vehicle's own check is not linked.
#include <gtest/gtest.h>

#include <cmath>

#include "ground/BulletLibrary.h"
#include "rig/RigBuilder.h"
#include "run/RunEnd.h"
#include "run/RunStart.h"
#include "state/FakeHost.h"

namespace ond::ovs::addon {

bool bulletLibraryMatchesHeaders() { return false; }

namespace {

class WithoutPhysicsWorld : public testing::Test {
  protected:
    WithoutPhysicsWorld() {
        rig::buildRig(*car);
        car->bSaveDynamicData = false;  // the host would have to keep undo records
        car.host.log.clear();
    }

    [[nodiscard]] test::Log messages() const {
        test::Log lines;
        for (const std::string& line : car.host.log)
            if (line.starts_with("message ")) lines.push_back(line);
        return lines;
    }

    test::Car car;
};

TEST_F(WithoutPhysicsWorld, FastCastingStartsWithAMessage) {
    startRun(*car, 0.0);
    EXPECT_EQ(messages(), test::Log{"message Error: Physics World not created"});
    EXPECT_EQ(car->cPhysicsWorld.pWorld, nullptr);
    EXPECT_EQ(car->m_vehicleRaycaster, nullptr);
    EXPECT_TRUE(car->aCollisionObjects.empty());
    EXPECT_TRUE(car->bRunning);
    stopRun(*car);
}

TEST_F(WithoutPhysicsWorld, EachStartSaysSoAgain) {
    for (int run = 0; run < 2; ++run) {
        startRun(*car, 0.0);
        stopRun(*car);
    }
    EXPECT_EQ(messages().size(), 2u);
}

TEST_F(WithoutPhysicsWorld, RunGoesOnAndItsWheelsFindNothing) {
    startRun(*car, 0.0);
    for (int frame = 1; frame <= 3; ++frame) car->updateFrame(0.04 * frame);
    EXPECT_EQ(messages().size(), 1u) << "frames say nothing more";
    for (const pcWheel& wheel : car->cCarCam.pcWheel) {
        EXPECT_TRUE(wheel.bInAir);
        EXPECT_TRUE(std::isfinite(wheel.qTransWheelAbs.position.y));
    }
    EXPECT_EQ(car.host.taken, 0);
    stopRun(*car);
}

TEST_F(WithoutPhysicsWorld, OtherCastingDoesNotMissIt) {
    car->bUseStaticMesh = false;
    startRun(*car, 0.0);
    EXPECT_EQ(messages(), test::Log());
    stopRun(*car);
}

}  // namespace
}  // namespace ond::ovs::addon
