#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <numeric>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"
#include "rig/meshes/CMesh_AttachToMesh.h"
#include "rig/meshes/CMesh_CarBodyMesh.h"
#include "rig/meshes/CMesh_GravityDirectionMesh.h"
#include "rig/meshes/CMesh_SteeringWheelMesh.h"
#include "rig/meshes/CMesh_TargetMesh.h"
#include "rig/meshes/CMesh_TurnBaseMesh.h"
#include "rig/meshes/CMesh_WheelGroundMesh.h"
#include "rig/meshes/CMesh_WheelMesh.h"

namespace {

namespace rig = ond::ovs::addon::rig;
using ond::util::CMesh;
using Vector = ond::util::Vector3<double>;

struct Extent {
    double low, high;
};

struct Row {
    const char* name;
    CMesh (*make)();
    int vertices, faces;
    std::array<Extent, 3> extents;  // x, y, z
    int closedParts;                // pieces that hang together over edges and have no open edge
    bool closed;                    // the whole mesh has no open edge
};
std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.name; }

template <typename Mesh>
CMesh made() {
    return Mesh();
}

constexpr double kExtentTolerance = 0.01;

const Row kRows[] = {
    {"CarBody",
     made<rig::CMesh_CarBodyMesh>,
     1570,
     2690,
     {{{-0.231, 0.231}, {-0.043, 0.266}, {-0.475, 0.525}}},
     12,
     false},
    {"Wheel", made<rig::CMesh_WheelMesh>, 432, 864, {{{-0.558, 0.558}, {-1.014, 1.014}, {-0.998, 0.998}}}, 3, true},
    {"AttachTo", made<rig::CMesh_AttachToMesh>, 22, 32, {{{-0.476, 0.459}, {-0.005, 0.563}, {-0.995, 0.006}}}, 3, true},
    {"WheelGround",
     made<rig::CMesh_WheelGroundMesh>,
     18,
     32,
     {{{-0.044, 0.044}, {0, 0.188}, {-0.003, 0.003}}},
     1,
     true},
    {"TurnBase", made<rig::CMesh_TurnBaseMesh>, 86, 164, {{{-0.24, 0.24}, {0, 1.084}, {-0.243, 0.27}}}, 2, true},
    {"GravityDirection",
     made<rig::CMesh_GravityDirectionMesh>,
     13,
     22,
     {{{-0.361, 0.361}, {-0.512, 1.264}, {-0.361, 0.361}}},
     1,
     true},
    {"Target", made<rig::CMesh_TargetMesh>, 24, 36, {{{-1, 1}, {-1, 1}, {-1, 1}}}, 3, true},
    {"SteeringWheel",
     made<rig::CMesh_SteeringWheelMesh>,
     238,
     454,
     {{{-1.467, 1.449}, {-1.074, 1.495}, {-1.892, 0.302}}},
     4,
     false},
};

std::array<int, 3> corners(const CMesh& mesh, int face) {
    return {mesh.getFaceVertex(face, 0), mesh.getFaceVertex(face, 1), mesh.getFaceVertex(face, 2)};
}

const Vector& vertex(const CMesh& mesh, int index) { return mesh.vertices[static_cast<std::size_t>(index)]; }

Vector crossed(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dotted(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double length(const Vector& a) { return std::sqrt(dotted(a, a)); }

/// How often each directed edge is used by a face.
std::map<std::pair<int, int>, int> directedEdges(const CMesh& mesh) {
    std::map<std::pair<int, int>, int> uses;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const auto c = corners(mesh, face);
        for (std::size_t k = 0; k < 3; ++k) ++uses[{c[k], c[(k + 1) % 3]}];
    }
    return uses;
}

/// For each face the number of its part; faces that share an edge are of one part.
std::vector<int> partsOf(const CMesh& mesh) {
    std::vector<int> owner(static_cast<std::size_t>(mesh.getNumFaces()));
    std::iota(owner.begin(), owner.end(), 0);
    auto root = [&owner](int face) {
        while (owner[static_cast<std::size_t>(face)] != face) face = owner[static_cast<std::size_t>(face)];
        return face;
    };
    std::map<std::pair<int, int>, int> firstAt;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const auto c = corners(mesh, face);
        for (std::size_t k = 0; k < 3; ++k) {
            const auto edge = std::minmax(c[k], c[(k + 1) % 3]);
            const auto [entry, isNew] = firstAt.try_emplace({edge.first, edge.second}, face);
            if (!isNew) owner[static_cast<std::size_t>(root(face))] = root(entry->second);
        }
    }
    for (int face = 0; face < mesh.getNumFaces(); ++face) owner[static_cast<std::size_t>(face)] = root(face);
    return owner;
}

/// Parts that have an open edge.
std::set<int> openParts(const CMesh& mesh, const std::vector<int>& parts) {
    const auto uses = directedEdges(mesh);
    std::set<int> open;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const auto c = corners(mesh, face);
        for (std::size_t k = 0; k < 3; ++k)
            if (!uses.contains({c[(k + 1) % 3], c[k]})) open.insert(parts[static_cast<std::size_t>(face)]);
    }
    return open;
}

/// Signed volume of each closed part; positive where the faces run counter-clockwise seen from outside.
std::map<int, double> closedVolumes(const CMesh& mesh) {
    const auto parts = partsOf(mesh);
    const auto open = openParts(mesh, parts);
    std::map<int, double> volumes;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const int part = parts[static_cast<std::size_t>(face)];
        if (open.contains(part)) continue;
        const auto c = corners(mesh, face);
        volumes[part] += dotted(vertex(mesh, c[0]), crossed(vertex(mesh, c[1]), vertex(mesh, c[2]))) / 6;
    }
    return volumes;
}

Vector faceNormal(const CMesh& mesh, int face) {
    const auto c = corners(mesh, face);
    const Vector& a = vertex(mesh, c[0]);
    return crossed(vertex(mesh, c[1]) - a, vertex(mesh, c[2]) - a);
}

class RigMesh : public testing::TestWithParam<Row> {
  protected:
    CMesh mesh = GetParam().make();
};

TEST_P(RigMesh, HasTheCountsOfTheCatalogue) {
    EXPECT_EQ(mesh.getNumVertices(), GetParam().vertices);
    EXPECT_EQ(mesh.getNumFaces(), GetParam().faces);
    EXPECT_EQ(mesh.faces.size(), mesh.tFaces.size());
    EXPECT_TRUE(mesh.texCoords.empty());
}

TEST_P(RigMesh, FacesPointAtVerticesAndUseEachOfThem) {
    std::set<int> used;
    for (const int index : mesh.faces) {
        ASSERT_GE(index, 0);
        ASSERT_LT(index, mesh.getNumVertices());
        used.insert(index);
    }
    EXPECT_EQ(static_cast<int>(used.size()), mesh.getNumVertices());
}

TEST_P(RigMesh, FillsItsExtents) {
    const double Vector::*const axes[] = {&Vector::x, &Vector::y, &Vector::z};
    for (std::size_t k = 0; k < 3; ++k) {
        double low = mesh.vertices.front().*axes[k];
        double high = low;
        for (const Vector& v : mesh.vertices) {
            low = std::min(low, v.*axes[k]);
            high = std::max(high, v.*axes[k]);
        }
        EXPECT_NEAR(low, GetParam().extents[k].low, kExtentTolerance) << "axis " << k;
        EXPECT_NEAR(high, GetParam().extents[k].high, kExtentTolerance) << "axis " << k;
    }
}

TEST_P(RigMesh, HasNoFaceWithoutAreaAndNoneTwice) {
    std::set<std::array<int, 3>> seen;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        auto c = corners(mesh, face);
        double longest = 0;
        for (std::size_t k = 0; k < 3; ++k)
            longest = std::max(longest, length(vertex(mesh, c[k]) - vertex(mesh, c[(k + 1) % 3])));
        // Twice the area against the longest side: no sliver flatter than a thousandth.
        EXPECT_GT(length(faceNormal(mesh, face)), 1e-3 * longest * longest) << "face " << face;
        std::sort(c.begin(), c.end());
        EXPECT_TRUE(seen.insert(c).second) << "face " << face;
    }
}

TEST_P(RigMesh, NeighboursRunOppositeWaysAlongTheirEdge) {
    for (const auto& [edge, uses] : directedEdges(mesh)) EXPECT_EQ(uses, 1) << edge.first << " to " << edge.second;
}

TEST_P(RigMesh, IsClosedWhereItsCountsAdmitIt) {
    const auto parts = partsOf(mesh);
    EXPECT_EQ(openParts(mesh, parts).empty(), GetParam().closed);
    EXPECT_EQ(static_cast<int>(closedVolumes(mesh).size()), GetParam().closedParts);
}

TEST_P(RigMesh, ClosedPartsAreWoundOutwards) {
    for (const auto& [part, volume] : closedVolumes(mesh)) EXPECT_GT(volume, 0) << "part of face " << part;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, RigMesh, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row>& param) { return std::string(param.param.name); });

/// Whether any front face of the mesh is hit first by a ray against an axis, and which way the first face looks.
/// Returns the cosine between the ray and the normal of the nearest face; 0 where nothing is hit.
double facing(const CMesh& mesh, const Vector& origin, const Vector& direction) {
    double nearest = 1e300;
    double cosine = 0;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const auto c = corners(mesh, face);
        const Vector& a = vertex(mesh, c[0]);
        const Vector e1 = vertex(mesh, c[1]) - a;
        const Vector e2 = vertex(mesh, c[2]) - a;
        const Vector p = crossed(direction, e2);
        const double determinant = dotted(e1, p);
        if (std::abs(determinant) < 1e-12) continue;
        const Vector s = origin - a;
        const double u = dotted(s, p) / determinant;
        const Vector q = crossed(s, e1);
        const double v = dotted(direction, q) / determinant;
        const double t = dotted(e2, q) / determinant;
        if (u < 0 || v < 0 || u + v > 1 || t < 0 || t > nearest) continue;
        nearest = t;
        const Vector n = faceNormal(mesh, face);
        cosine = dotted(n, direction) / length(n);
    }
    return cosine;
}

// The body is no closed surface, so its winding is looked at from outside: whatever a ray meets first looks at it.
TEST(RigMeshCarBody, LooksOutwardsFromAllSides) {
    const CMesh body = rig::CMesh_CarBodyMesh();
    int hits = 0;
    for (int i = 0; i < 40; ++i) {
        for (int j = 0; j < 20; ++j) {
            // Odd steps, so that no ray runs along an edge.
            const double z = -0.47 + 0.0247 * i + 0.00013;
            const double y = 0.001 + 0.0131 * j + 0.00007;
            const double x = -0.2 + 0.0203 * j + 0.00011;
            const std::array<std::pair<Vector, Vector>, 5> rays = {{
                {{2, y, z}, {-1, 0, 0}},
                {{-2, y, z}, {1, 0, 0}},
                {{x, 2, z}, {0, -1, 0}},
                {{x, y, -2}, {0, 0, 1}},
                {{x, y, 2}, {0, 0, -1}},
            }};
            for (const auto& [origin, direction] : rays) {
                const double cosine = facing(body, origin, direction);
                EXPECT_LE(cosine, 0) << "from " << origin.x << " " << origin.y << " " << origin.z;
                if (cosine != 0) ++hits;
            }
        }
    }
    EXPECT_GT(hits, 2000);
}

TEST(RigMeshCarBody, IsTheSameOnBothSides) {
    const CMesh body = rig::CMesh_CarBodyMesh();
    std::multiset<std::array<double, 3>> left;
    std::multiset<std::array<double, 3>> right;
    for (const Vector& v : body.vertices) {
        if (v.x > 0) right.insert({v.x, v.y, v.z});
        if (v.x < 0) left.insert({-v.x, v.y, v.z});
    }
    EXPECT_GT(left.size(), 700U);
    EXPECT_EQ(left, right);
}

// The default rig: car length 3.522, wheels at x = 0.64, z = -1.05 and 1.044 with radius 0.26, the body's origin 0.15
// over the ground and the body mesh tilted by -0.5 degrees.
TEST(RigMeshCarBody, LeavesRoomForTheWheelsOfTheDefaultRig) {
    using namespace ond::util;
    const Matrix4 place = Translation({0, 0.15, 0}) * Scaling(3.522) * RotationX(-0.5 * std::numbers::pi / 180);
    const CMesh body = rig::CMesh_CarBodyMesh() * place;
    int nearArch = 0;
    for (const Vector& v : body.vertices) {
        if (std::abs(v.x) < 0.64 - 0.11 || std::abs(v.x) > 0.64 + 0.11) continue;
        for (const double z : {-1.05, 1.044}) {
            const double distance = std::hypot(v.y - 0.26, v.z - z);
            EXPECT_GT(distance, 0.26 * 1.014 + 0.01) << v.x << " " << v.y << " " << v.z;
            if (distance < 0.33) ++nearArch;
        }
    }
    EXPECT_GT(nearArch, 20);
}

// Both sides share a mesh: turned about y, its outside looks to the right and no face is turned over.
TEST(RigMeshWheel, TurnedToTheRightSideKeepsItsWinding) {
    const CMesh left = rig::CMesh_WheelMesh();
    const CMesh right = left * ond::util::RotationY(std::numbers::pi);
    const auto before = closedVolumes(left);
    const auto after = closedVolumes(right);
    ASSERT_EQ(before.size(), 3U);
    ASSERT_EQ(after.size(), before.size());
    for (const auto& [part, volume] : before) EXPECT_NEAR(after.at(part), volume, 1e-12);

    const CMesh mirrored = left * ond::util::Scaling({-1, 1, 1});
    for (const auto& [part, volume] : closedVolumes(mirrored)) EXPECT_LT(volume, 0) << "part of face " << part;
}

TEST(RigMeshWheel, HasItsHubOnTheOutside) {
    const CMesh wheel = rig::CMesh_WheelMesh();
    int hub = 0;
    for (const Vector& v : wheel.vertices) {
        if (std::hypot(v.y, v.z) > 0.15) continue;
        EXPECT_LT(v.x, 0);
        ++hub;
    }
    EXPECT_GT(hub, 0);
}

TEST(RigMeshWheel, IsRound) {
    const CMesh wheel = rig::CMesh_WheelMesh();
    double largest = 0;
    for (const Vector& v : wheel.vertices) largest = std::max(largest, std::hypot(v.y, v.z));
    int tread = 0;
    for (const Vector& v : wheel.vertices)
        if (std::abs(std::hypot(v.y, v.z) - largest) < 1e-4) ++tread;
    EXPECT_GE(tread, 36);
}

TEST(RigMeshGravityDirection, PointsDown) {
    const CMesh arrow = rig::CMesh_GravityDirectionMesh();
    const auto lowest = std::min_element(arrow.vertices.begin(), arrow.vertices.end(),
                                         [](const Vector& a, const Vector& b) { return a.y < b.y; });
    EXPECT_EQ(*lowest, (Vector{0, -0.512, 0}));
    EXPECT_EQ(std::count_if(arrow.vertices.begin(), arrow.vertices.end(), [](const Vector& v) { return v.y < 0; }), 1);
}

}  // namespace
