// Shapes of static meshes that are shared: between whom they are, between whom they are not, how long they live.
#include "ground/StaticMesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "ground/BulletLibrary.h"
#include "ground/HostileMeshes.h"
#include "ground/MeshSurvey.h"
#include "ground/Rays.h"
#include "ground/TriMeshStorage.h"

namespace ond::ovs::addon {
namespace {

using test::MeshKind;
using test::PinnedRandom;
using V = util::Vector3<double>;

const btVector3 kUnscaled(1, 1, 1);
constexpr double kMargin = 0.01;

util::CMesh land() { return test::gridMesh(10, 1.0, test::hills); }

std::shared_ptr<StaticMesh> shapeOf(const util::CMesh& mesh, const btVector3& scaling = kUnscaled,
                                    double margin = kMargin, const btTransform& where = btTransform::getIdentity()) {
    return StaticMesh::of(mesh, where, scaling, margin);
}

TEST(StaticMesh, TheSameContentIsOneShape) {
    const auto first = shapeOf(land());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(shapeOf(land()), first);
    util::CMesh dressed = land();
    dressed.texCoords.emplace_back(1, 2, 3);
    dressed.faces.push_back(0);  // begins a face and ends none
    EXPECT_EQ(shapeOf(dressed), first) << "what no ray sees makes no difference";
}

TEST(StaticMesh, AnyOtherContentIsAnotherShape) {
    util::CMesh mesh = land();
    mesh.vertices[7].y = 0.0;
    const auto first = shapeOf(mesh);
    const auto expectOther = [&](const char* what, const auto& change) {
        util::CMesh other = mesh;
        change(other);
        const auto shape = shapeOf(other);
        ASSERT_NE(shape, nullptr);
        EXPECT_NE(shape, first) << what;
    };
    const auto last = mesh.vertices.size() - 1;
    expectOther("the last digit of the last vertex",
                [&](util::CMesh& m) { m.vertices[last].z = std::nextafter(m.vertices[last].z, 1e9); });
    expectOther("minus zero", [](util::CMesh& m) { m.vertices[7].y = -0.0; });
    expectOther("another corner", [](util::CMesh& m) { m.faces.back() = 3; });
    expectOther("faces in another order", [](util::CMesh& m) {
        for (int i = 0; i < 3; ++i) std::swap(m.faces[static_cast<std::size_t>(i)], m.faces[m.faces.size() - 3 + i]);
    });
    expectOther("a face more", [](util::CMesh& m) { m.faces.insert(m.faces.end(), {0, 1, 2}); });
    expectOther("a face less", [](util::CMesh& m) { m.faces.resize(m.faces.size() - 3); });
    expectOther("a vertex more, unused", [](util::CMesh& m) { m.vertices.emplace_back(0, 0, 0); });
}

TEST(StaticMesh, OtherScalingMarginOrPlaceIsAnotherShape) {
    const auto first = shapeOf(land());
    EXPECT_NE(shapeOf(land(), btVector3(1, 2, 1)), first);
    EXPECT_NE(shapeOf(land(), kUnscaled, 0.02), first);
    const btTransform turned(btQuaternion(btVector3(0, 1, 0), 0.5));
    const auto other = shapeOf(land(), kUnscaled, kMargin, turned);
    EXPECT_NE(other, first);
    EXPECT_NE(other->volume, first->volume);
    EXPECT_EQ(shapeOf(land()), first) << "it is found among the others";
}

TEST(StaticMesh, MeshesWithUnusableFacesAreToldApartByThem) {
    util::CMesh mesh = land();
    mesh.faces.insert(mesh.faces.begin() + 3, {0, 1, 9999});
    const auto first = shapeOf(mesh);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->arrays.triangles, 200);
    EXPECT_EQ(shapeOf(mesh), first);
    EXPECT_NE(shapeOf(land()), first) << "which has all of its faces";
    util::CMesh other = mesh;
    other.faces[5] = 2;
    EXPECT_NE(shapeOf(other), first) << "the face became usable";
    util::CMesh notANumber = land();
    notANumber.vertices[5].x = std::numeric_limits<double>::quiet_NaN();
    const auto holed = shapeOf(notANumber);
    EXPECT_EQ(shapeOf(notANumber), holed) << "compared as bits";
    EXPECT_EQ(shapeOf(util::CMesh()), nullptr);
}

TEST(StaticMesh, LivesAsLongAsSomebodyHasItInAnyOrder) {
    for (const bool firstGoesFirst : {true, false}) {
        auto first = shapeOf(land());
        auto second = shapeOf(land());
        const std::weak_ptr<StaticMesh> watch = first;
        (firstGoesFirst ? first : second).reset();
        ASSERT_FALSE(watch.expired());
        EXPECT_TRUE(test::RayWorld(watch.lock()->shape.get()).cast(V(0.3, 9, 0.2), V(0.3, -9, 0.2)).hit);
        (firstGoesFirst ? second : first).reset();
        EXPECT_TRUE(watch.expired()) << "the search for shapes keeps none alive";
    }
}

TEST(StaticMesh, StoragesOwnItTogether) {
    auto one = std::make_unique<triMeshStorage>();
    triMeshStorage two;
    one->setStaticMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    two.setStaticMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(one->getShape(), two.getShape());
    EXPECT_EQ(one->pVertices, two.pVertices);
    EXPECT_EQ(one->pIndices, two.pIndices);
    EXPECT_EQ(one->pIndexVertexArray, two.pIndexVertexArray);
    EXPECT_EQ(one->dVolume, two.dVolume);
    // Setting the same anew keeps what is there.
    const btCollisionShape* shape = one->getShape();
    one->setStaticMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(one->getShape(), shape);
    one.reset();
    EXPECT_EQ(fromBullet(two.pVertices[3]), land().vertices[3]);
    const std::weak_ptr<StaticMesh> watch = two.pStaticMesh;
    two.setShape(std::make_unique<btBoxShape>(btVector3(1, 1, 1)), 0.0, kUnscaled, kMargin);
    EXPECT_TRUE(watch.expired());
}

TEST(StaticMesh, HullsAndReadyShapesAreNotShared) {
    triMeshStorage one;
    triMeshStorage two;
    one.setConvexMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    two.setConvexMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_NE(one.getShape(), two.getShape());
    EXPECT_NE(one.pVertices, two.pVertices);
    EXPECT_EQ(one.pStaticMesh, nullptr);
    two.setStaticMesh(land(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_NE(one.pVertices, two.pVertices) << "nor is their array taken for a static mesh";
}

template <class T>
bool sameBits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Nodes of the shape's tree.
const QuantizedNodeArray& nodesOf(StaticMesh& mesh) { return mesh.shape->getOptimizedBvh()->getQuantizedNodeArray(); }

// A shape that was found is the one that would have been built, on meshes that are hard on the building.
TEST(StaticMesh, AFoundShapeAnswersAsABuiltOne) {
    PinnedRandom random(1);
    int hits = 0;
    for (int i = 0; i < 40; ++i) {
        const auto kind = static_cast<MeshKind>(random.bits() % static_cast<std::uint32_t>(MeshKind::count));
        SCOPED_TRACE(testing::Message() << "mesh " << i << " kind " << static_cast<int>(kind));
        const util::CMesh mesh = test::hostileMesh(random, kind, 1.0);
        const auto first = shapeOf(mesh);
        if (first == nullptr) continue;
        const util::CMesh twin = mesh;
        const auto found = shapeOf(twin);
        ASSERT_EQ(found, first);
        // Made past the search.
        StaticMesh built(MeshArrays(twin), twin,
                         {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, {1, 1, 1}, kMargin});
        ASSERT_NE(built.shape.get(), found->shape.get());
        EXPECT_TRUE(sameBits(built.volume, found->volume));
        ASSERT_EQ(nodesOf(built).size(), nodesOf(*found).size());
        // The array is as long as the tree could become; behind the tree it is empty.
        const auto bytes = static_cast<std::size_t>(2 * built.arrays.triangles - 1) * sizeof(btQuantizedBvhNode);
        EXPECT_EQ(std::memcmp(&nodesOf(built)[0], &nodesOf(*found)[0], bytes), 0);
        EXPECT_EQ(built.survey->outliers(), found->survey->outliers());
        test::RayWorld ownWorld(built.shape.get());
        test::RayWorld sharedWorld(found->shape.get());
        for (int ray = 0; ray < 40; ++ray) {
            const V from = random.vector(12.0);
            const V to = random.vector(12.0);
            const test::RayHit own = ownWorld.cast(from, to);
            const test::RayHit shared = sharedWorld.cast(from, to);
            ASSERT_EQ(own.hit, shared.hit);
            if (!own.hit) continue;
            ++hits;
            EXPECT_TRUE(sameBits(own.fraction, shared.fraction) && sameBits(own.normal, shared.normal));
        }
    }
    EXPECT_GT(hits, 200);
}

}  // namespace
}  // namespace ond::ovs::addon
