// Rays against meshes, compared with looking at every triangle.
#include "stage/MeshSurface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace ond::stage {
namespace {

using util::CMesh;
using util::Vector3;
using Point = Vector3<double>;

CMesh meshOf(const std::vector<Point>& points, const std::vector<int>& corners) {
    CMesh mesh;
    mesh.setNumVertices(static_cast<int>(points.size()));
    mesh.setNumFaces(static_cast<int>(corners.size() / 3));
    for (std::size_t i = 0; i < points.size(); ++i)
        mesh.setVertex(static_cast<int>(i), points[i].x, points[i].y, points[i].z);
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3)
        mesh.setFace(static_cast<int>(i / 3), corners[i], corners[i + 1], corners[i + 2]);
    return mesh;
}

/// Heights over a grid of 1 x 1 cells, from (-n, -n) to (n, n).
CMesh grid(int n, double scale, const Point& away, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> height(0.0, 1.0);
    std::vector<Point> points;
    std::vector<int> corners;
    const int side = 2 * n + 1;
    for (int i = 0; i < side; ++i)
        for (int k = 0; k < side; ++k)
            points.push_back(Point{(i - n) * scale, height(random) * scale, (k - n) * scale} + away);
    for (int i = 0; i + 1 < side; ++i)
        for (int k = 0; k + 1 < side; ++k) {
            const int a = i * side + k;
            corners.insert(corners.end(), {a, a + 1, a + side, a + side, a + 1, a + side + 1});
        }
    return meshOf(points, corners);
}

/// Nearest hit by Cramer's rule over all triangles, in long doubles, a little generous at the edges.
double slowest(const CMesh& mesh, const Point& o, const Point& d) {
    long double best = std::numeric_limits<double>::max();
    for (int f = 0; f < mesh.getNumFaces(); ++f) {
        const auto vertex = [&](int i) { return mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(f, i))]; };
        const Point a = vertex(0);
        using L = long double;
        const L ab[3] = {L(vertex(1).x) - a.x, L(vertex(1).y) - a.y, L(vertex(1).z) - a.z};
        const L ac[3] = {L(vertex(2).x) - a.x, L(vertex(2).y) - a.y, L(vertex(2).z) - a.z};
        const L p[3] = {d.y * ac[2] - d.z * ac[1], d.z * ac[0] - d.x * ac[2], d.x * ac[1] - d.y * ac[0]};
        const L det = ab[0] * p[0] + ab[1] * p[1] + ab[2] * p[2];
        if (det == 0.0L) continue;
        const L s[3] = {L(o.x) - a.x, L(o.y) - a.y, L(o.z) - a.z};
        const L u = (s[0] * p[0] + s[1] * p[1] + s[2] * p[2]) / det;
        const L q[3] = {s[1] * ab[2] - s[2] * ab[1], s[2] * ab[0] - s[0] * ab[2], s[0] * ab[1] - s[1] * ab[0]};
        const L v = (d.x * q[0] + d.y * q[1] + d.z * q[2]) / det;
        const L t = (ac[0] * q[0] + ac[1] * q[1] + ac[2] * q[2]) / det;
        if (u >= -1e-12L && v >= -1e-12L && u + v <= 1.0L + 1e-12L && t >= 0.0L && t < best) best = t;
    }
    return best == std::numeric_limits<double>::max() ? -1.0 : static_cast<double>(best);
}

double hit(const MeshSurface& surface, const Point& o, const Point& d) {
    double t = -7.0;
    Point normal{9, 9, 9};
    if (surface.intersect(o, d, &t, &normal)) {
        EXPECT_NEAR(util::Length(normal), 1.0, 1e-12);
        return t;
    }
    EXPECT_EQ(t, -7.0) << "a miss changed t";
    EXPECT_EQ(normal.x, 9.0) << "a miss changed the normal";
    return -1.0;
}

void compareWithAllTriangles(double scale, const Point& away, unsigned seed) {
    const CMesh mesh = grid(8, scale, away, seed);
    const MeshSurface surface(mesh);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> spread(-12.0, 12.0);
    int hits = 0;
    for (int i = 0; i < 1500; ++i) {
        const Point from = Point{spread(random), spread(random) * 0.3, spread(random)} * scale + away;
        const Point to = Point{spread(random), spread(random) * 0.1, spread(random)} * scale + away;
        const Point direction = (to - from) * (i % 3 == 0 ? 1e-6 : i % 3 == 1 ? 1.0 : 1e5);
        const double expected = slowest(mesh, from, direction);
        const double actual = hit(surface, from, direction);
        if (expected >= 0.0) ++hits;
        // How exact t can be: coordinates far from the origin have fewer digits for the mesh's own size.
        const double tolerance = 1e-9 * (1.0 + util::Length(away) / scale * 1e-3) * std::max(1.0, std::abs(expected));
        ASSERT_NEAR(actual, expected, std::max(tolerance, 1e-9 * scale / util::Length(direction)))
            << "ray " << i << ", seed " << seed << ", scale " << scale;
    }
    EXPECT_GT(hits, 300);
}

TEST(MeshSurface, FindsWhatLookingAtEveryTriangleFinds) {
    compareWithAllTriangles(1.0, {0, 0, 0}, 1);
    compareWithAllTriangles(1e-4, {0, 0, 0}, 2);
    compareWithAllTriangles(1e5, {0, 0, 0}, 3);
    compareWithAllTriangles(1.0, {20000, -300, 40000}, 4);
}

TEST(MeshSurface, HasNoCracksAtEdgesAndVertices) {
    const CMesh mesh = grid(10, 1.0, {0.1, 0.0, -0.3}, 5);
    const MeshSurface surface(mesh);
    std::mt19937 random(6);
    std::uniform_real_distribution<double> along(0.0, 1.0);
    for (int f = 0; f < mesh.getNumFaces(); ++f)
        for (int corner = 0; corner < 3; ++corner) {
            const Point a = mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(f, corner))];
            const Point b = mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(f, (corner + 1) % 3))];
            const Point on = a + (b - a) * (f % 2 == 0 ? 0.0 : along(random));
            // The rim has no neighbour.
            if (std::abs(on.x - 0.1) > 9.99 || std::abs(on.z + 0.3) > 9.99) continue;
            ASSERT_GE(hit(surface, {on.x, 50.0, on.z}, {0, -1, 0}), 0.0) << "face " << f;
            ASSERT_GE(hit(surface, on + Point{3, 40, -2}, Point{-3, -40, 2} * 0.01), 0.0) << "face " << f;
        }
}

TEST(MeshSurface, FirstOfEqualTrianglesWins) {
    const std::vector<Point> points = {{-1, 0, -1}, {1, 0, -1}, {0, 0, 1}};
    // The second copy is turned over, so that its normal tells which one was hit.
    const MeshSurface up(meshOf(points, {0, 2, 1, 0, 1, 2}));
    const MeshSurface down(meshOf(points, {0, 1, 2, 0, 2, 1}));
    double t = 0.0;
    Point normal{0, 0, 0};
    ASSERT_TRUE(up.intersect({0, 3, 0}, {0, -1, 0}, &t, &normal));
    EXPECT_EQ(t, 3.0);
    EXPECT_EQ(normal.y, 1.0);
    ASSERT_TRUE(down.intersect({0, 3, 0}, {0, -1, 0}, &t, &normal));
    EXPECT_EQ(normal.y, -1.0);
}

TEST(MeshSurface, BothFacesAndOnlyForwards) {
    const MeshSurface surface(meshOf({{-1, 0, -1}, {1, 0, -1}, {0, 0, 1}}, {0, 2, 1}));
    EXPECT_EQ(hit(surface, {0, -2, 0}, {0, 1, 0}), 2.0);
    EXPECT_EQ(hit(surface, {0, 2, 0}, {0, -4, 0}), 0.5) << "t counts directions";
    EXPECT_EQ(hit(surface, {0, 2, 0}, {0, 1, 0}), -1.0);
    EXPECT_EQ(hit(surface, {0, 0, 0}, {0, -1, 0}), 0.0) << "from the surface itself";
    EXPECT_EQ(hit(surface, {5, 2, 0}, {0, -1, 0}), -1.0);
    EXPECT_EQ(hit(surface, {0, 1e9, 0}, {0, -1, 0}), 1e9) << "from far away";
}

TEST(MeshSurface, BearsBrokenMeshesAndRays) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    const MeshSurface empty{CMesh{}};
    EXPECT_EQ(hit(empty, {0, 1, 0}, {0, -1, 0}), -1.0);
    const MeshSurface rough(meshOf({{-1, 0, -1}, {1, 0, -1}, {0, 0, 1}, {nan, 0, 0}, {inf, 0, 0}, {0, 0, 0}},
                                   {0, 3, 1, 4, 0, 1, 0, 0, 1, 0, 2, 99, -1, 1, 2, 5, 5, 5, 0, 2, 1}));
    EXPECT_EQ(hit(rough, {0, 1, 0}, {0, -1, 0}), 1.0) << "the one good triangle";
    EXPECT_EQ(hit(rough, {0, 1, 0}, {0, 0, 0}), -1.0);
    EXPECT_EQ(hit(rough, {0, nan, 0}, {0, -1, 0}), -1.0);
    EXPECT_EQ(hit(rough, {0, 1, 0}, {0, -inf, 0}), -1.0);
    EXPECT_EQ(hit(rough, {0, 1, 0}, {nan, -1, 0}), -1.0);
}

}  // namespace
}  // namespace ond::stage
