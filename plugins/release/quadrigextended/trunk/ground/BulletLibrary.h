// The one door to the Bullet library: every file that needs it includes this header and no other.
//
// The module uses Bullet's double-precision build (the libraries whose names end in -float64). Headers and libraries of
// the two builds can be mixed up without a word from compiler or linker, so both sides are checked.
#pragma once

#include <BulletCollision/CollisionShapes/btConvexTriangleMeshShape.h>
#include <BulletCollision/NarrowPhaseCollision/btRaycastCallback.h>
#include <BulletDynamics/Vehicle/btRaycastVehicle.h>
#include <LinearMath/btTransformUtil.h>
#include <btBulletDynamicsCommon.h>

#include "ond/util/Matrix4.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

static_assert(sizeof(btScalar) == sizeof(double), "Bullet's headers must be those of the double-precision build");
static_assert(sizeof(btVector3) == 32, "the vertex stride of the collision shapes is 32 bytes");

/// Whether the library that was loaded computes in the precision of the headers: casts one ray at one triangle with an
/// outcome that is exact in double precision. Safe to call when they do not agree; nothing else of Bullet is then.
[[nodiscard]] bool bulletLibraryMatchesHeaders();

[[nodiscard]] inline btVector3 toBullet(const util::Vector3<double>& v) { return {v.x, v.y, v.z}; }

[[nodiscard]] inline util::Vector3<double> fromBullet(const btVector3& v) { return {v.x(), v.y(), v.z()}; }

/// The axes of `matrix` with whatever scale they have, and its position.
[[nodiscard]] inline btTransform toBullet(const util::Matrix4& matrix) {
    btTransform transform;
    transform.setFromOpenGLMatrix(matrix.m.data());
    return transform;
}

}  // namespace ond::ovs::addon
