#include "ground/BulletLibrary.h"

namespace ond::ovs::addon {

namespace {

// A library of the other precision reads the numbers behind the references as garbage and writes fewer bytes than the
// object has, so the outcome is wrong but no memory is harmed.
class KnownRay final : public btTriangleRaycastCallback {
  public:
    KnownRay(const btVector3& from, const btVector3& to) : btTriangleRaycastCallback(from, to) {}

    btScalar reportHit(const btVector3& hitNormalLocal, btScalar hitFraction, int, int) override {
        normal = hitNormalLocal;
        fraction = hitFraction;
        return hitFraction;
    }

    btVector3 normal{0.0, 0.0, 0.0};
    btScalar fraction = -1.0;
};

}  // namespace

bool bulletLibraryMatchesHeaders() {
    btVector3 triangle[3] = {{0.0, 0.0, 0.0}, {0.0, 0.0, -1.0}, {1.0, 0.0, 0.0}};
    KnownRay ray({0.25, 1.0, -0.25}, {0.25, -3.0, -0.25});
    ray.processTriangle(triangle, 0, 0);
    return ray.fraction == 0.25 && ray.normal.x() == 0.0 && std::abs(ray.normal.y()) == 1.0 && ray.normal.z() == 0.0;
}

}  // namespace ond::ovs::addon
