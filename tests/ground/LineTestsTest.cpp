// Lines against triangles, parallelograms and boxes; triangles against boxes.
#include "ground/LineTests.h"

#include <gtest/gtest.h>

#include <limits>

namespace ond::ovs::addon {
namespace {

using V = util::Vector3<double>;

const V kA(0, 0, 0);
const V kB(4, 0, 0);
const V kC(0, 0, 4);
const V kDown(0, -1, 0);
const AxisBox kUnit{{0, 0, 0}, {1, 1, 1}};

bool meetsAt(double x, double z, double* t = nullptr) {
    double local = 0.0;
    return lineMeetsTriangle(kA, kB, kC, V(x, 8, z), kDown, t ? *t : local);
}

TEST(LineAndTriangle, ParameterCountsInMultiplesOfTheDirection) {
    double t = 0.0;
    ASSERT_TRUE(lineMeetsTriangle(kA, kB, kC, V(1, 8, 1), V(0, -2, 0), t));
    EXPECT_EQ(t, 4.0);
    ASSERT_TRUE(lineMeetsTriangle(kA, kB, kC, V(1, 8, 1), V(0, 0.5, 0), t));
    EXPECT_EQ(t, -16.0);
}

TEST(LineAndTriangle, MeetsBehindTheOriginAtNegativeT) {
    double t = 0.0;
    ASSERT_TRUE(lineMeetsTriangle(kA, kB, kC, V(1, -3, 1), kDown, t));
    EXPECT_EQ(t, -3.0);
}

TEST(LineAndTriangle, MeetsFromBothSides) {
    double t = 0.0;
    EXPECT_TRUE(lineMeetsTriangle(kA, kB, kC, V(1, 8, 1), kDown, t));
    EXPECT_TRUE(lineMeetsTriangle(kA, kC, kB, V(1, 8, 1), kDown, t));
}

TEST(LineAndTriangle, TheSidesAtTheFirstCornerBelongToIt) {
    EXPECT_TRUE(meetsAt(0, 0));
    EXPECT_TRUE(meetsAt(2, 0));
    EXPECT_TRUE(meetsAt(0, 2));
    EXPECT_FALSE(meetsAt(2, -1e-9));
    EXPECT_FALSE(meetsAt(-1e-9, 2));
}

TEST(LineAndTriangle, TheSideOppositeTheFirstCornerDoesNotBelongToIt) {
    EXPECT_TRUE(meetsAt(1.999, 2));
    EXPECT_FALSE(meetsAt(2, 2));
    EXPECT_FALSE(meetsAt(4, 0)) << "the second corner";
    EXPECT_FALSE(meetsAt(0, 4)) << "the third corner";
}

TEST(LineAndTriangle, AParallelLineNeverMeetsIt) {
    double t = 77.0;
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kC, V(1, 1, 1), V(1, 0, 1), t));
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kC, V(-1, 0, 1), V(1, 0, 0), t)) << "even within its plane";
    EXPECT_EQ(t, 77.0) << "no hit, nothing written";
}

TEST(LineAndTriangle, ATriangleWithoutAreaIsNeverMet) {
    double t = 77.0;
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kB, V(1, 8, 0), kDown, t));
    EXPECT_FALSE(lineMeetsTriangle(kA, kA, kA, V(0, 8, 0), kDown, t));
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, V(8, 0, 0), V(1, 8, 0), kDown, t)) << "corners in a row";
    EXPECT_EQ(t, 77.0);
}

TEST(LineAndTriangle, ADirectionOfLengthZeroNeverMeetsIt) {
    double t = 0.0;
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kC, V(1, 0, 1), V(0, 0, 0), t));
}

TEST(LineAndTriangle, OnlyADeterminantOfExactlyZeroCounts) {
    double t = 0.0;
    const V b(1e-90, 0, 0);
    const V c(0, 0, 1e-90);
    EXPECT_TRUE(lineMeetsTriangle(kA, b, c, V(2e-91, 3, 2e-91), kDown, t)) << "tiny, but not zero";
    EXPECT_EQ(t, 3.0);
}

TEST(LineAndTriangle, NotANumberAnywhereIsNoHit) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    double t = 77.0;
    EXPECT_FALSE(lineMeetsTriangle(V(nan, 0, 0), kB, kC, V(1, 8, 1), kDown, t));
    EXPECT_FALSE(lineMeetsTriangle(kA, V(4, nan, 0), kC, V(1, 8, 1), kDown, t));
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kC, V(1, nan, nan), kDown, t));
    EXPECT_FALSE(lineMeetsTriangle(kA, kB, kC, V(1, 8, 1), V(nan, -1, 0), t));
    EXPECT_EQ(t, 77.0);
}

TEST(LineAndParallelogram, AllFourSidesBelongToIt) {
    const BoxFace face{kA, V(2, 0, 0), V(0, 0, 3)};
    double t = 0.0;
    for (const V& corner : {V(0, 5, 0), V(2, 5, 0), V(0, 5, 3), V(2, 5, 3), V(2, 5, 1), V(1, 5, 3)})
        EXPECT_TRUE(lineMeetsParallelogram(face, corner, kDown, t)) << corner.x << " " << corner.z;
    EXPECT_EQ(t, 5.0);
    EXPECT_FALSE(lineMeetsParallelogram(face, V(2.0000001, 5, 1), kDown, t));
    EXPECT_FALSE(lineMeetsParallelogram(face, V(1, 5, 3.0000001), kDown, t));
    EXPECT_FALSE(lineMeetsParallelogram(face, V(-0.0000001, 5, 1), kDown, t));
}

TEST(LineAndBox, TakesTheSmallestParameterOfTheFaces) {
    double t = 0.0;
    ASSERT_TRUE(lineMeetsBox(kUnit, V(0.5, 5, 0.5), kDown, t));
    EXPECT_EQ(t, 4.0);
    ASSERT_TRUE(lineMeetsBox(kUnit, V(0.5, 5, 0.5), V(0, 1, 0), t));
    EXPECT_EQ(t, -5.0) << "behind the origin the far face has the smaller one";
    ASSERT_TRUE(lineMeetsBox(kUnit, V(0.5, 0.5, 0.5), V(1, 0, 0), t));
    EXPECT_EQ(t, -0.5) << "from within";
}

TEST(LineAndBox, EveryFaceIsSeen) {
    for (const V& d : {V(1, 0, 0), V(0, 1, 0), V(0, 0, 1)}) {
        double t = 0.0;
        EXPECT_TRUE(lineMeetsBox(kUnit, V(0.5, 0.5, 0.5) - d * 3.0, d, t));
        EXPECT_EQ(t, 2.5);
        EXPECT_TRUE(lineMeetsBox(kUnit, V(0.5, 0.5, 0.5) + d * 3.0, -d, t));
        EXPECT_EQ(t, 2.5);
        EXPECT_FALSE(lineMeetsBox(kUnit, V(1.5, 1.5, 1.5) - d, d, t)) << "beside it";
    }
}

TEST(LineAndBox, AMissWritesNothing) {
    double t = 77.0;
    EXPECT_FALSE(lineMeetsBox(kUnit, V(2, 5, 0.5), kDown, t));
    EXPECT_EQ(t, 77.0);
}

TEST(LineAndBox, AFlatBoxHasItsTwoLargeFaces) {
    const AxisBox flat{{0, 3, 0}, {2, 3, 2}};
    double t = 0.0;
    ASSERT_TRUE(lineMeetsBox(flat, V(1, 5, 1), kDown, t));
    EXPECT_EQ(t, 2.0);
    EXPECT_FALSE(lineMeetsBox(flat, V(-1, 3, 1), V(1, 0, 0), t)) << "its other faces have no area";
}

TEST(LineAndBox, ABoxOfOnePointIsNeverMet) {
    double t = 0.0;
    EXPECT_FALSE(lineMeetsBox({{0, 0, 0}, {0, 0, 0}}, V(0, 1, 0), kDown, t));
}

TEST(BoxEdges, StandInTheirOrder) {
    const std::array<BoxEdge, 12> edges = edgesOfBox({{1, 2, 3}, {2, 4, 7}});
    const V x(1, 0, 0);
    const V y(0, 2, 0);
    const V z(0, 0, 4);
    const BoxEdge expected[12] = {{{1, 2, 3}, x}, {{1, 4, 3}, x}, {{1, 4, 7}, x}, {{1, 2, 7}, x},
                                  {{1, 2, 3}, y}, {{2, 2, 3}, y}, {{2, 2, 7}, y}, {{1, 2, 7}, y},
                                  {{1, 2, 3}, z}, {{2, 2, 3}, z}, {{2, 4, 3}, z}, {{1, 4, 3}, z}};
    for (std::size_t i = 0; i < edges.size(); ++i) {
        EXPECT_EQ(edges[i].corner, expected[i].corner) << i;
        EXPECT_EQ(edges[i].along, expected[i].along) << i;
    }
}

TEST(BoxFaces, ThreeStandAtEachEndOfTheDiagonal) {
    const std::array<BoxFace, 6> faces = facesOfBox({{1, 2, 3}, {2, 4, 7}});
    const V x(1, 0, 0);
    const V y(0, 2, 0);
    const V z(0, 0, 4);
    const BoxFace expected[6] = {{{1, 2, 3}, x, y},   {{1, 2, 3}, y, z},   {{1, 2, 3}, z, x},
                                 {{2, 4, 7}, -x, -y}, {{2, 4, 7}, -y, -z}, {{2, 4, 7}, -z, -x}};
    for (std::size_t i = 0; i < faces.size(); ++i) {
        EXPECT_EQ(faces[i].corner, expected[i].corner) << i;
        EXPECT_EQ(faces[i].p, expected[i].p) << i;
        EXPECT_EQ(faces[i].q, expected[i].q) << i;
    }
}

TEST(TriangleAndBox, AnyCornerInTheBoxIsEnoughWithBordersIncluded) {
    const V far1(9, 9, 9);
    const V far2(9, 9, 8);
    for (const V& in : {V(0.5, 0.5, 0.5), V(0, 0, 0), V(1, 1, 1), V(1, 0.5, 0.5), V(0.5, 0, 0.5)}) {
        EXPECT_TRUE(boxContainsCorner(kUnit, in, far1, far2));
        EXPECT_TRUE(boxContainsCorner(kUnit, far1, in, far2));
        EXPECT_TRUE(boxContainsCorner(kUnit, far1, far2, in));
    }
    for (const V& out : {V(-1e-9, 0.5, 0.5), V(1 + 1e-9, 0.5, 0.5), V(0.5, -1e-9, 0.5), V(0.5, 1 + 1e-9, 0.5),
                         V(0.5, 0.5, -1e-9), V(0.5, 0.5, 1 + 1e-9)})
        EXPECT_FALSE(boxContainsCorner(kUnit, out, far1, far2));
}

TEST(TriangleAndBox, ATriangleLargerThanTheBoxIsFoundByTheEdgesOfTheBox) {
    // No corner in the box and no side near it.
    const V a(-50, 0.5, -50);
    const V b(50, 0.5, -50);
    const V c(0, 0.5, 80);
    EXPECT_FALSE(boxContainsCorner(kUnit, a, b, c));
    EXPECT_TRUE(boxEdgeMeetsTriangle(kUnit, a, b, c));
    EXPECT_FALSE(triangleSideMeetsBox(kUnit, a, b, c));
    EXPECT_TRUE(triangleOverlapsBox(kUnit, a, b, c));
}

TEST(TriangleAndBox, EveryEdgeOfTheBoxIsTried) {
    for (const BoxEdge& edge : edgesOfBox(kUnit)) {
        // A small triangle across the middle of the edge, with no other edge in reach.
        const V middle = edge.corner + edge.along * 0.5;
        const V outwards = (middle - V(0.5, 0.5, 0.5)) * 0.2;
        const V across = util::Cross(edge.along, outwards);
        EXPECT_TRUE(boxEdgeMeetsTriangle(kUnit, middle - outwards - across, middle - outwards + across,
                                         middle + outwards * 3.0))
            << edge.corner.x << edge.corner.y << edge.corner.z;
    }
}

TEST(TriangleAndBox, AnEdgeOfTheBoxCountsWithBothItsEndsAndNoFurther) {
    // A sheet above the box on which only the ends of the upright edges lie.
    const auto sheetAt = [](double y) {
        return boxEdgeMeetsTriangle(kUnit, V(-50, y, -50), V(50, y, -50), V(0, y, 80));
    };
    EXPECT_TRUE(sheetAt(1.0));
    EXPECT_TRUE(sheetAt(0.0));
    EXPECT_FALSE(sheetAt(1.0 + 1e-9));
    EXPECT_FALSE(sheetAt(-1e-9));
}

TEST(TriangleAndBox, ANeedleThroughTheBoxIsFoundByItsSides) {
    // Passes between the edges of the box, through two of its faces.
    const V a(0.5, 5, 0.5);
    const V b(0.5, -5, 0.5);
    const V c(0.5001, -5, 0.5001);
    EXPECT_FALSE(boxContainsCorner(kUnit, a, b, c));
    EXPECT_FALSE(boxEdgeMeetsTriangle(kUnit, a, b, c));
    EXPECT_TRUE(triangleSideMeetsBox(kUnit, a, b, c));
    EXPECT_TRUE(triangleOverlapsBox(kUnit, a, b, c));
}

TEST(TriangleAndBox, EachSideIsTried) {
    // Only one side crosses the box; the corners are turned through all three places.
    const V p(0.5, 5, 0.4);
    const V q(0.5, -5, 0.4);
    const V far(60, 5, 0.4);
    const AxisBox slot{{0.4, -1, 0}, {0.5, 1, 1}};
    EXPECT_TRUE(triangleSideMeetsBox(slot, p, q, far));
    EXPECT_TRUE(triangleSideMeetsBox(slot, far, p, q));
    EXPECT_TRUE(triangleSideMeetsBox(slot, q, far, p));
}

TEST(TriangleAndBox, ASideThatEndsBeforeTheBoxDoesNotMeetIt) {
    EXPECT_FALSE(triangleSideMeetsBox(kUnit, V(0.5, 5, 0.5), V(0.5, 1.01, 0.5), V(0.51, 5, 0.51)));
    EXPECT_TRUE(triangleSideMeetsBox(kUnit, V(0.5, 5, 0.5), V(0.5, 1.0, 0.5), V(0.51, 5, 0.51))) << "its end counts";
}

TEST(TriangleAndBox, NeighboursWithoutContactDoNotOverlap) {
    EXPECT_FALSE(triangleOverlapsBox(kUnit, V(1.1, 0, 0), V(2, 0, 0), V(2, 1, 1)));
    EXPECT_FALSE(triangleOverlapsBox(kUnit, V(-3, -3, 0.5), V(3.5, -3, 0.5), V(-3, 3.5 - 6.0, 0.5)));
    // Its bounding box holds the whole unit box, but the triangle passes the corner.
    EXPECT_FALSE(triangleOverlapsBox(kUnit, V(4, -1, 0.5), V(-1, 4, 0.5), V(4, 4, 0.5)));
}

}  // namespace
}  // namespace ond::ovs::addon
