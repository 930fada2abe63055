// Cutting polygons, and .ply files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

#include "GroundFiles.h"
#include "stage/GroundCheck.h"
#include "stage/GroundPly.h"
#include "stage/PlyFile.h"
#include "stage/PolygonCut.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond::test;
using ond::stage::cutPolygon;
using ond::stage::GroundError;
using ond::stage::GroundScene;
using ond::stage::kMostConcaveCorners;
using ond::stage::PlyFile;
using ond::stage::readPly;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using V = ond::util::Vector3<double>;
using Indices = std::vector<std::size_t>;

// --- Polygons -------------------------------------------------------------------------------------------------------

/// Twice the vector of the area of an outline, by its own formula.
V areaOf(const std::vector<V>& outline) {
    V sum;
    for (std::size_t i = 0; i < outline.size(); ++i) sum += Cross(outline[i], outline[(i + 1) % outline.size()]);
    return sum;
}

/// Of triangles that turn as the outline and add up to its area, none overlap and none lie outside.
void expectExactCut(const std::vector<V>& outline) {
    Indices triangles;
    EXPECT_TRUE(cutPolygon(outline, triangles));
    ASSERT_EQ(triangles.size(), 3 * (outline.size() - 2));
    const V whole = areaOf(outline);
    const V normal = Normalized(whole);
    V sum;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const V part = areaOf({outline[triangles[i]], outline[triangles[i + 1]], outline[triangles[i + 2]]});
        EXPECT_GE(Dot(part, normal), -1e-9 * Length(whole));
        sum += part;
    }
    EXPECT_NEAR(Length(sum - whole), 0.0, 1e-9 * Length(whole));
    std::vector<bool> used(outline.size());
    for (const std::size_t i : triangles) used.at(i) = true;
    EXPECT_TRUE(std::all_of(used.begin(), used.end(), [](bool b) { return b; }));
}

std::vector<V> turned(std::vector<V> outline, const ond::util::Quat<double>& q) {
    for (V& v : outline) v = Rotate(q, v) + V(100, -20, 7);
    return outline;
}

TEST(PolygonCut, AConvexPolygonIsAFan) {
    Indices triangles{7};
    EXPECT_TRUE(cutPolygon(std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 1), V(1, 0, 0)}, triangles));
    EXPECT_EQ(triangles, (Indices{7, 0, 1, 2, 0, 2, 3}));
    triangles.clear();
    EXPECT_TRUE(cutPolygon(std::vector<V>{V(1, 1, 1), V(1, 1, 1), V(1, 1, 1)}, triangles));
    EXPECT_EQ(triangles, (Indices{0, 1, 2}));
}

TEST(PolygonCut, AConcaveCornerOfAQuadIsKept) {
    // An arrow head: only the cut through the corner that turns inwards stays inside.
    const std::vector<V> arrow{V(0, 0, 0), V(4, -2, 0), V(0, 4, 0), V(1, 0, 0)};
    for (std::size_t first = 0; first < 4; ++first) {
        std::vector<V> outline = arrow;
        std::rotate(outline.begin(), outline.begin() + static_cast<std::ptrdiff_t>(first), outline.end());
        expectExactCut(outline);
    }
}

TEST(PolygonCut, CutsShapesInAnyPlaneAndSense) {
    PinnedRandom random(11);
    std::vector<V> comb;
    for (int i = 0; i < 40; ++i) {
        comb.emplace_back(2.0 * i, 0.0, 0.0);
        comb.emplace_back(2.0 * i + 1.0, 10.0, 0.0);
    }
    comb.emplace_back(80.0, -1.0, 0.0);
    comb.emplace_back(0.0, -1.0, 0.0);
    std::vector<V> spiral;
    for (int i = 0; i < 60; ++i)
        spiral.emplace_back((10.0 + i) * std::cos(0.2 * i), (10.0 + i) * std::sin(0.2 * i), 0.0);
    for (int i = 59; i >= 0; --i)
        spiral.emplace_back((5.0 + i) * std::cos(0.2 * i), (5.0 + i) * std::sin(0.2 * i), 0.0);
    // A square with points along its edges, and with a hole that a bridge joins to the outline.
    const std::vector<V> dotted{V(0, 0, 0), V(1, 0, 0), V(2, 0, 0), V(3, 0, 0),
                                V(3, 3, 0), V(1, 3, 0), V(0, 3, 0), V(0, 1, 0)};
    const std::vector<V> holed{V(0, 0, 0), V(9, 0, 0), V(9, 9, 0), V(0, 9, 0), V(0, 0, 0),
                               V(3, 3, 0), V(3, 6, 0), V(6, 6, 0), V(6, 3, 0), V(3, 3, 0)};
    for (std::vector<V> outline : {comb, spiral, dotted, holed}) {
        for (int i = 0; i < 20; ++i) expectExactCut(turned(outline, random.rotation()));
        expectExactCut(outline);
        std::reverse(outline.begin(), outline.end());
        expectExactCut(outline);
    }
}

TEST(PolygonCut, CutsRandomStars) {
    PinnedRandom random(5);
    for (int round = 0; round < 300; ++round) {
        std::vector<V> star;
        const int n = 4 + static_cast<int>(random.in(0, 40));
        for (int i = 0; i < n; ++i) {
            const double angle = 6.283185307179586 * i / n;
            const double radius = random.in(0.2, 10.0);
            star.emplace_back(radius * std::cos(angle), 0.0, radius * std::sin(angle));
        }
        // One with four corners may leave the origin outside, but it stays simple.
        expectExactCut(turned(star, random.rotation()));
    }
}

TEST(PolygonCut, SaysWhenAnOutlineCrossesItself) {
    Indices triangles;
    // Of this one both halves cancel each other.
    EXPECT_FALSE(cutPolygon(std::vector<V>{V(0, 0, 0), V(1, 1, 0), V(1, 0, 0), V(0, 1, 0)}, triangles));
    EXPECT_EQ(triangles.size(), 6U);
    triangles.clear();
    EXPECT_FALSE(cutPolygon(std::vector<V>{V(0, 0, 0), V(4, 3, 0), V(4, 0, 0), V(0, 4, 0), V(-1, 2, 0)}, triangles));
    EXPECT_EQ(triangles.size(), 9U);
    for (const std::size_t i : triangles) EXPECT_LT(i, 5U);
}

TEST(PolygonCut, RefusesTooManyConcaveCornersAlone) {
    std::vector<V> round;
    const std::size_t n = kMostConcaveCorners + 1;
    for (std::size_t i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * static_cast<double>(i) / static_cast<double>(n);
        round.emplace_back(std::cos(angle), 0.0, std::sin(angle));
    }
    Indices triangles;
    EXPECT_TRUE(cutPolygon(round, triangles));
    EXPECT_EQ(triangles.size(), 3 * (n - 2));
    round[7] = round[7] * 0.5;
    triangles.clear();
    EXPECT_THROW(cutPolygon(round, triangles), std::length_error);
    EXPECT_THAT(triangles, IsEmpty());
    EXPECT_THROW(cutPolygon(std::vector<V>(2), triangles), std::invalid_argument);
}

TEST(PolygonCut, AnyPointsGiveAsManyTriangles) {
    PinnedRandom random(3);
    for (int round = 0; round < 2000; ++round) {
        std::vector<V> outline;
        const int n = 3 + static_cast<int>(random.in(0, 12));
        // On a coarse grid many corners meet, lie on lines or on each other.
        for (int i = 0; i < n; ++i) outline.emplace_back(std::floor(random.in(0, 4)), 0.0, std::floor(random.in(0, 4)));
        Indices triangles;
        cutPolygon(outline, triangles);
        ASSERT_EQ(triangles.size(), 3 * static_cast<std::size_t>(n - 2));
        for (const std::size_t i : triangles) ASSERT_LT(i, outline.size());
    }
}

// --- .ply -----------------------------------------------------------------------------------------------------------

const std::string kXyz = "property float x\nproperty float y\nproperty float z\n";
const std::string kFaces = "property list uchar int vertex_indices\n";

std::string header(const std::string& form, const std::string& elements) {
    return "ply\nformat " + form + " 1.0\n" + elements + "end_header\n";
}

std::string square(const std::string& face = "4 0 3 2 1") {
    return header("ascii", "comment made by hand\nelement vertex 4\n" + kXyz + "element face 1\n" + kFaces) +
           "0 0 0\n1 0 0\n1 0.1 1\n0 -0 1e0\n" + face + "\n";
}

TEST(GroundPly, ReadsTheSmallestNumbers) {
    const std::string elements = "element vertex 3\n" + kXyz + "element face 1\n" + kFaces;
    const PlyFile file = readPly(header("ascii", elements) + "1e-999 -1e-999 5e-324\n+1 0 0\n0 0 1\n3 0 1 2\n");
    EXPECT_EQ(file.vertices.at(0), V(0, 0, 5e-324));
    EXPECT_TRUE(std::signbit(file.vertices[0].y));
    EXPECT_EQ(file.vertices.at(1), V(1, 0, 0));
}

TEST(GroundPly, ReadsText) {
    const GroundFolder folder;
    const GroundScene scene = folder.read("tile.ply", square());
    expectSound(scene);
    ASSERT_EQ(scene.nodes.size(), 1U);
    EXPECT_EQ(scene.nodes[0].name, "tile");
    EXPECT_EQ(scene.nodes[0].parent, -1);
    EXPECT_EQ(scene.nodes[0].local, ond::util::Matrix4());
    EXPECT_THAT(scene.nodes[0].mesh->faces, ElementsAre(0, 3, 2, 0, 2, 1));
    EXPECT_THAT(scene.nodes[0].mesh->vertices, ElementsAre(V(0, 0, 0), V(1, 0, 0), V(1, 0.1, 1), V(0, 0, 1)));
    EXPECT_THAT(scene.warnings, IsEmpty());
}

TEST(GroundPly, ReadsLinesOfOtherSystems) {
    std::string text = square();
    for (std::size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 2)) text.insert(i, "\r");
    EXPECT_EQ(readPly(text).vertices, readPly(square()).vertices);
    EXPECT_EQ(readPly(text).corners, readPly(square()).corners);
}

template <typename T>
void appendSwapped(std::string& bytes, T value) {
    std::string raw;
    append(raw, value);
    bytes.append(raw.rbegin(), raw.rend());
}

TEST(GroundPly, ReadsBinaryOfEitherByteOrder) {
    // Vertices with doubles among other things; the face element has more lists than one.
    const std::string elements =
        "element camera 1\nproperty short a\nproperty list ushort double b\n"
        "element vertex 3\nproperty uchar red\nproperty double x\nproperty float y\nproperty double z\n"
        "element face 2\nproperty list uint16 float texcoord\nproperty list uint uint8 vertex_index\n";
    std::string little = header("binary_little_endian", elements);
    std::string big = header("binary_big_endian", elements);
    const auto put = [&](auto value) {
        append(little, value);
        appendSwapped(big, value);
    };
    put(std::int16_t{-3});
    put(std::uint16_t{2});
    put(1.5);
    put(2.5);
    const double exact = 12345.678901234567;
    for (int i = 0; i < 3; ++i) {
        put(std::uint8_t{255});
        put(exact + i);
        put(0.1F * static_cast<float>(i));
        put(-1.0 * i * i);
    }
    for (int i = 0; i < 2; ++i) {
        put(std::uint16_t{1});
        put(0.5F);
        put(std::uint32_t{3});
        for (const int corner : {0, 1, 2}) put(static_cast<std::uint8_t>(corner));
    }
    for (const std::string& bytes : {little, big}) {
        const PlyFile file = readPly(bytes);
        EXPECT_THAT(file.vertices, ElementsAre(V(exact, 0, 0), V(exact + 1, static_cast<double>(0.1F), -1),
                                               V(exact + 2, static_cast<double>(0.2F), -4)));
        EXPECT_THAT(file.corners, ElementsAre(0, 1, 2, 0, 1, 2));
        EXPECT_THAT(file.sizes, ElementsAre(3, 3));
        for (std::size_t cut = 1; cut < bytes.size() - header("binary_big_endian", elements).size(); ++cut) {
            EXPECT_THROW((void)readPly(bytes.substr(0, bytes.size() - cut)), GroundError) << cut;
        }
    }
}

TEST(GroundPly, ReadsEveryNumberType) {
    const std::string elements =
        "element vertex 1\nproperty char a\nproperty uchar b\nproperty short c\nproperty ushort d\nproperty int x\n"
        "property uint y\nproperty int8 e\nproperty uint8 f\nproperty int16 g\nproperty uint16 h\nproperty int32 i\n"
        "property uint32 j\nproperty float32 k\nproperty float64 z\n";
    std::string bytes = header("binary_little_endian", elements);
    bytes += std::string(6, '\1');
    append(bytes, std::int32_t{-70000});
    append(bytes, std::uint32_t{4000000000U});
    bytes += std::string(1 + 1 + 2 + 2 + 4 + 4 + 4, '\1');
    append(bytes, 0.25);
    EXPECT_THAT(readPly(bytes).vertices, ElementsAre(V(-70000, 4e9, 0.25)));
    EXPECT_THROW((void)readPly(bytes.substr(0, bytes.size() - 1)), GroundError);
}

TEST(GroundPly, ReadsStrips) {
    const std::string text =
        header("ascii", "element vertex 5\n" + kXyz + "element tristrips 1\nproperty list int int vertex_indices\n") +
        "0 0 0\n1 0 0\n0 0 1\n1 0 1\n0 0 2\n9 0 1 2 3 4 -1 4 3 2\n";
    const PlyFile file = readPly(text);
    EXPECT_THAT(file.corners, ElementsAre(0, 1, 2, 2, 1, 3, 2, 3, 4, 4, 3, 2));
    EXPECT_THAT(file.sizes, ElementsAre(3, 3, 3, 3));
}

TEST(GroundPly, LeavesPointsAndLinesOut) {
    const GroundFolder folder;
    const std::string text =
        header("ascii", "element vertex 3\n" + kXyz + "element face 4\n" + kFaces) + "0 0 0\n1 0 0\n0 0 1\n";
    const GroundScene scene = folder.read("a.ply", text + "3 0 1 2\n2 0 1\n1 0\n0\n");
    EXPECT_EQ(scene.triangles, 1);
    EXPECT_THAT(scene.warnings, ElementsAre("3 points and lines were left out."));
    EXPECT_THAT(folder.errorOf("b.ply", text + "2 0 1\n2 0 1\n1 0\n0\n"), HasSubstr("no triangle"));
}

TEST(GroundPly, SaysWhenAFaceCrossesItself) {
    const GroundFolder folder;
    std::string flat = square("4 0 2 1 3");
    flat.replace(flat.find("0.1"), 3, "0.0");
    const GroundScene scene = folder.read("a.ply", flat);
    EXPECT_EQ(scene.triangles, 2);
    ASSERT_FALSE(scene.warnings.empty());
    EXPECT_THAT(scene.warnings[0], HasSubstr("1 face crosses or touches its own outline"));
}

TEST(GroundPly, RefusesDamage) {
    const GroundFolder folder;
    const std::string vertex = "element vertex 3\n" + kXyz;
    const std::string face = "element face 1\n" + kFaces;
    const std::string rows = "0 0 0\n1 0 0\n0 0 1\n";
    const std::vector<std::array<std::string, 2>> cases{
        {"plx\n" + square(), "does not begin"},
        {"ply\n", "no end"},
        {"ply\nend_header\n", "in what form"},
        {"ply\nformat ascii 2.0\nend_header\n", "version"},
        {"ply\nformat ascii\nend_header\n", "version"},
        {header("utf8", vertex), "unknown form"},
        {header("ascii", kXyz), "before any element"},
        {header("ascii", "element vertex -3\n" + kXyz), "no proper count"},
        {header("ascii", "element vertex three\n" + kXyz), "no proper count"},
        {header("ascii", "element vertex\n" + kXyz), "no proper count"},
        {header("ascii", "element vertex 99999999999999999999999\n" + kXyz), "no proper count"},
        {header("ascii", "element vertex 3\nproperty floaty x\n"), "unknown type"},
        {header("ascii", "element vertex 3\nproperty float\n"), "without a name"},
        {header("ascii", "element vertex 3\nproperty list float int x\n"), "whole number"},
        {header("ascii", "nonsense\n" + vertex), "begins with \"nonsense\""},
        {header("ascii", face), "announce vertices"},
        {header("ascii", vertex + vertex), "announce vertices"},
        {header("ascii", "element vertex 3\nproperty float x\nproperty float z\n"), "coordinate y"},
        {header("ascii", vertex + "property float x\n"), "coordinate x"},
        {header("ascii", "element vertex 3\n"), "coordinate x"},
        {header("ascii", vertex + face) + rows, "which are not in it"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 0\n", "ends before"},
        {header("ascii", "element vertex 4000000000\n" + kXyz) + rows, "which are not in it"},
        {header("binary_little_endian", "element vertex 4000000000\n" + kXyz) + rows, "which are not in it"},
        {header("ascii", "element nothing 9999999999\n" + vertex) + rows, "which are not in it"},
        {header("ascii", vertex + face) + "0 0 0\n1 0\n0 0 1\n3 0 1 2\n", "fewer values"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 0 7\n0 0 1\n3 0 1 2\n", "more values"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 zero\n0 0 1\n3 0 1 2\n", "\"zero\" stands"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 \xff\x1b\n0 0 1\n3 0 1 2\n", "\"??\" stands"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 1e999\n0 0 1\n3 0 1 2\n", "not finite"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 nan\n0 0 1\n3 0 1 2\n", "not finite"},
        {header("ascii", vertex + face) + "0 0 0\n1 0 inf\n0 0 1\n3 0 1 2\n", "not finite"},
        {header("ascii", vertex + face) + rows + "3 0 1 3\n", "not among its 3 vertices"},
        {header("ascii", vertex + face) + rows + "3 0 1 -1\n", "a corner of a face"},
        {header("ascii", vertex + face) + rows + "3 0 1 0.5\n", "a corner of a face"},
        {header("ascii", vertex + face) + rows + "4 0 1 2\n", "fewer values"},
        {header("ascii", vertex + face) + rows + "4000000000 0 1 2\n", "longer than the file"},
        {header("ascii", vertex + face) + rows + "-1 0 1 2\n", "a list length"},
        {header("ascii", vertex) + rows, "no triangle"},
    };
    for (const auto& [bytes, part] : cases) {
        EXPECT_THAT(folder.errorOf("a.ply", bytes), HasSubstr(part)) << bytes;
    }
}

TEST(GroundPly, AnyDamageIsAnErrorOrASoundFile) {
    PinnedRandom random(8);
    std::string binary = header("binary_little_endian", "element vertex 4\n" + kXyz + "element face 2\n" + kFaces);
    for (const float number : {0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F})
        append(binary, number);
    for (const int first : {0, 1}) {
        binary += '\3';
        for (const int corner : {0, 1, 2}) append(binary, std::int32_t{first + corner});
    }
    const std::string start = square();
    int sound = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = round % 2 == 0 ? start : binary;
        for (int i = 0; i < 1 + round % 3; ++i) {
            bytes[static_cast<std::size_t>(random.in(0, static_cast<double>(bytes.size())))] =
                static_cast<char>(random.bits());
        }
        try {
            GroundScene scene = ond::stage::readPlyGround(bytes, "a");
            checkGround(scene);
            expectSound(scene);
            ++sound;
        } catch (const GroundError&) {
        }
    }
    EXPECT_GT(sound, 50);
    EXPECT_LT(sound, 1950);
}

}  // namespace
