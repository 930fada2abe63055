// Ground with more triangles than 21 bits can number.
#include <gtest/gtest.h>

#include "ground/BulletLibrary.h"
#include "ground/GroundMeshes.h"
#include "ground/Rays.h"
#include "ground/TriMeshStorage.h"

namespace ond::ovs::addon {
namespace {

using V = util::Vector3<double>;

// 1024 x 1024 squares are 2,097,152 triangles, one more than the quantised tree takes.
constexpr int kCells = 1024;
constexpr double kCell = 0.5;

double stairs(double x, double z) { return std::floor(x / 16.0) + 0.25 * std::floor(z / 16.0); }

bool isQuantised(const triMeshStorage& storage) {
    return dynamic_cast<const btBvhTriangleMeshShape&>(*storage.getShape()).usesQuantizedAabbCompression();
}

/// Rays in the middle of steps, over the whole mesh; the first and the last triangle included.
void expectStairsUnderRays(const triMeshStorage& storage) {
    test::RayWorld world(storage.getShape());
    for (double x = -255.9; x < 256.0; x += 15.99)
        for (double z = -255.9; z < 256.0; z += 15.99) {
            // Between the last vertices of a step and the first of the next lies a slope.
            if (std::fmod(x + 256.0, 16.0) > 15.4 || std::fmod(z + 256.0, 16.0) > 15.4) continue;
            const double y = stairs(x, z);
            const test::RayHit hit = world.cast(V(x, y + 2, z), V(x, y - 2, z));
            ASSERT_TRUE(hit.hit) << x << " " << z;
            ASSERT_NEAR(hit.fraction, 0.5, 1e-12) << x << " " << z;
        }
    EXPECT_FALSE(world.cast(V(257, 99, 0), V(257, -99, 0)).hit);
}

TEST(HugeMesh, MoreTrianglesThanTheQuantisedTreeNumbersGetAnUnquantisedTree) {
    static_assert(2 * kCells * kCells == kMaxQuantisedTriangles + 1);
    util::CMesh mesh = test::gridMesh(kCells, kCell, stairs);
    const btVector3 unscaled(1, 1, 1);
    {
        triMeshStorage storage;
        storage.setStaticMesh(mesh, btTransform::getIdentity(), unscaled, 0.01);
        EXPECT_FALSE(isQuantised(storage));
        expectStairsUnderRays(storage);
    }
    // One triangle fewer is the last mesh with a quantised tree. It is the first one, under no ray, that goes.
    mesh.faces.erase(mesh.faces.begin() + 6 * 5, mesh.faces.begin() + 6 * 5 + 3);
    triMeshStorage storage;
    storage.setStaticMesh(mesh, btTransform::getIdentity(), unscaled, 0.01);
    EXPECT_TRUE(isQuantised(storage));
    expectStairsUnderRays(storage);
}

}  // namespace
}  // namespace ond::ovs::addon
