// What the tests of whole runs stand on: the module, a host, and short names for what they ask.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ond/util/Matrix4.h"
#include "ond/util/QTransform.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"
#include "stage/Stage.h"

namespace ond::test {

using namespace stage;

using util::CMesh;
using util::Matrix4;
using util::QTransform;
using util::Quat;
using util::Vector3;

using Lines = std::vector<std::string>;

inline const Module& vehicleModule() {
    static const Module module(VEHICLE_MODULE_PATH);
    return module;
}

// The rig as it is made: scene units and seconds.
constexpr double kLength = 3.522;                   // of the body, and of the car
constexpr double kRestHeight = 0.15;                // of the body's origin, at creation
constexpr double kWheelRadius = 0.26;               // of each wheel
constexpr double kRadiusMult = 0.95;                // "Wheel Radius Multiplier"
constexpr double kFrontZ = -1.05;                   // front axle in car space
constexpr double kBackZ = 1.044;                    // back axle in car space
constexpr double kHalfTrack = 0.64;                 // wheels right of the middle
constexpr double kFrontTilt = 0.12217304763960307;  // of the front relocators, 7 degrees

inline const char* const kCorners[4] = {"_FL", "_FR", "_BL", "_BR"};

/// Calls that only open, close or ask the clock; their pairing is checked by the host.
inline Lines order(const Vehicle& vehicle) {
    return vehicle.log.without({"getTransformObject", "releaseTransformObject", "getAppearanceObject",
                                "releaseAppearanceObject", "getCameraObject", "releaseCameraObject", "getCurrentTime",
                                "getFrameStep"});
}

inline Vector3<double> position(const Matrix4& m) { return m.row(3); }

/// Degrees between two rotations.
inline double degreesBetween(const Matrix4& a, const Matrix4& b) {
    const double dot = std::abs(util::Dot4(Quat<double>::FromMatrix(a), Quat<double>::FromMatrix(b)));
    return 2.0 * std::acos(std::min(1.0, dot)) * 57.29577951308232;
}

inline double distance(const Vector3<double>& a, const Vector3<double>& b) { return util::Length(a - b); }

inline void expectNear(const Matrix4& actual, const Matrix4& expected, double tolerance, const char* what) {
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << what << ", number " << i << " of the matrix";
}

inline void expectNear(const Vector3<double>& actual, const Vector3<double>& expected, double tolerance,
                       const char* what) {
    EXPECT_NEAR(actual.x, expected.x, tolerance) << what << ".x";
    EXPECT_NEAR(actual.y, expected.y, tolerance) << what << ".y";
    EXPECT_NEAR(actual.z, expected.z, tolerance) << what << ".z";
}

/// How the wheels look for the ground.
enum class Casting { plane, bullet, surface, stored };

/// A host at 25 frames a second; at the end no call may have been against the contract and all must be given back.
class WholeRun : public ::testing::Test {
  protected:
    Stage host{vehicleModule()};

    void TearDown() override { EXPECT_EQ(host.complaints(), Lines()); }

    /// A vehicle whose axes give their positions as they are, without dead zone and bend.
    Vehicle& addCar(const std::string& name = "Car") { return straightAxes(host.addVehicle(name)); }

    static Vehicle& straightAxes(Vehicle& vehicle) {
        for (const auto& property : vehicle.properties) {
            property->deadZone = 0.0;
            property->exponent = 1.0;
        }
        return vehicle;
    }

    /// Without gravel shake, which moves the wheels by chance.
    static void quiet(Vehicle& vehicle) { vehicle.put("Gravel Shake Offset Value", 0.0); }

    /// No ground linked and fast casting off: the wheels stand on the plane y = 0.
    Vehicle& addCarOnPlane(const std::string& name = "Car") {
        Vehicle& vehicle = addCar(name);
        vehicle.put("Use Fast Ray Cast", 0.0);
        quiet(vehicle);
        return vehicle;
    }

    /// Links `mesh` as the ground of the vehicle: the arrow hangs below it.
    Element& linkGround(Vehicle& vehicle, const CMesh& mesh, const std::string& name = "Ground") {
        Element& ground = host.scene.addMesh(name, mesh);
        host.scene.reparent(vehicle.element("GravityDirectionMesh"), &ground);
        return ground;
    }

    /// Releases the vehicle and loads a new one from its block.
    Vehicle& reload(Vehicle& vehicle, std::uint64_t expected = 0) {
        Vehicle& fresh = straightAxes(host.replace(vehicle));
        EXPECT_EQ(fresh.load(), expected);
        return fresh;
    }
};

}  // namespace ond::test
