// Which triangles of a mesh are set apart: every query looks at them, so that none are where it costs less not to.
#include "ground/MeshSurvey.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "ground/BulletLibrary.h"
#include "ground/StaticMesh.h"
#include "ond/util/CMesh.h"

namespace ond::ovs::addon {
namespace {

/// Right-angled triangles with two sides of 1, and others.
struct Ground {
    int usual = 800;
    int others = 0;
    double large = 1.0;   ///< a side of the others
    double height = 1.0;  ///< their other side, in such sides
};

void addTriangle(util::CMesh& mesh, double x, double z, double edge, double height) {
    const int vertex = mesh.getNumVertices();
    const int face = mesh.getNumFaces();
    mesh.setNumVertices(vertex + 3);
    mesh.setNumFaces(face + 1);
    mesh.setVertex(vertex, x, 0, z);
    mesh.setVertex(vertex + 1, x + edge, 0, z);
    mesh.setVertex(vertex + 2, x, 0, z + edge * height);
    mesh.setFace(face, vertex, vertex + 1, vertex + 2);
}

std::shared_ptr<StaticMesh> surveyed(const Ground& ground) {
    util::CMesh mesh;
    for (int i = 0; i < ground.usual; ++i) addTriangle(mesh, i % 20, i / 20, 1.0, 1.0);
    for (int i = 0; i < ground.others; ++i) addTriangle(mesh, -ground.large, i, ground.large, ground.height);
    return StaticMesh::of(mesh, btTransform::getIdentity(), btVector3(1.0, 1.0, 1.0), 0.04);
}

TEST(MeshSurvey, SetsNothingApartThatIsOfOneSize) {
    const auto mesh = surveyed({});
    ASSERT_TRUE(mesh->survey->isUsable());
    EXPECT_TRUE(mesh->survey->outliers().empty());
    EXPECT_GE(mesh->survey->longestEdge(), std::sqrt(2.0));
    EXPECT_LT(mesh->survey->longestEdge(), 4.0);
}

TEST(MeshSurvey, SetsFewVeryLargeTrianglesApart) {
    const auto mesh = surveyed({800, 30, 1000.0});
    ASSERT_TRUE(mesh->survey->isUsable());
    EXPECT_EQ(mesh->survey->outliers().size(), 30U);
    EXPECT_LT(mesh->survey->longestEdge(), 256.0) << "they make no query wider";
}

TEST(MeshSurvey, TrianglesThatAreSomeTimesAsLargeAsUsualAreOrdinary) {
    const auto mesh = surveyed({800, 30, 20.0});
    ASSERT_TRUE(mesh->survey->isUsable());
    EXPECT_TRUE(mesh->survey->outliers().empty());
    EXPECT_GE(mesh->survey->longestEdge(), 20.0 * std::sqrt(2.0)) << "and queries are as wide as they need";
}

TEST(MeshSurvey, ManyLargeTrianglesAreOrdinaryHoweverLarge) {
    const auto mesh = surveyed({800, kMostOutliers + 1, 1000.0});
    ASSERT_TRUE(mesh->survey->isUsable());
    EXPECT_TRUE(mesh->survey->outliers().empty());
    EXPECT_GE(mesh->survey->longestEdge(), 1000.0 * std::sqrt(2.0));
}

TEST(MeshSurvey, SliversAreSetApartWhereTheyAreFew) {
    const auto few = surveyed({800, 30, 1.0, 1e-7});
    ASSERT_TRUE(few->survey->isUsable());
    EXPECT_EQ(few->survey->outliers().size(), 30U);
    EXPECT_FALSE(surveyed({800, kMostOutliers + 1, 1.0, 1e-7})->survey->isUsable());
}

}  // namespace
}  // namespace ond::ovs::addon
