// The proving ground, read back from the bytes of its file: one surface without gaps that a car can drive on.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "provingground/CentreLine.h"
#include "provingground/GroundFile.h"

namespace ond::provingground {
namespace {

using Json = nlohmann::json;

struct Point {
    double x, y, z;
    friend bool operator<(const Point& a, const Point& b) { return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z); }
    friend bool operator==(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }
};

/// Twice the area of the triangle seen from above, above zero if its corners run counter-clockwise.
double planArea(const Point& a, const Point& b, const Point& c) {
    return (b.z - a.z) * (c.x - a.x) - (b.x - a.x) * (c.z - a.z);
}

struct Triangle {
    std::array<Point, 3> corners;
    std::string kind;

    [[nodiscard]] double area() const { return planArea(corners[0], corners[1], corners[2]); }
    /// Rise over run.
    [[nodiscard]] double slope() const {
        const auto& [a, b, c] = corners;
        const double nx = (b.y - a.y) * (c.z - a.z) - (b.z - a.z) * (c.y - a.y);
        const double nz = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
        return std::hypot(nx, nz) / std::abs(area());
    }
    [[nodiscard]] double longestSide() const {
        double longest = 0.0;
        for (std::size_t i = 0; i < 3; ++i) {
            const Point& a = corners[i];
            const Point& b = corners[(i + 1) % 3];
            longest = std::max(longest, std::hypot(a.x - b.x, a.z - b.z));
        }
        return longest;
    }
    /// Whether the upright line through (x, z) meets the triangle, its border included; the height there.
    [[nodiscard]] bool holds(double x, double z, double* height) const {
        const Point at{x, 0.0, z};
        const double u = planArea(at, corners[1], corners[2]);
        const double v = planArea(corners[0], at, corners[2]);
        const double w = planArea(corners[0], corners[1], at);
        *height = (u * corners[0].y + v * corners[1].y + w * corners[2].y) / area();
        return u >= 0.0 && v >= 0.0 && w >= 0.0;
    }
};

std::uint32_t word(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(at + i))) << (8 * i);
    return value;
}

/// A binary glTF file taken apart, with nothing of the program that made it.
class GroundReader {
  public:
    explicit GroundReader(const std::string& bytes) : m_bytes(bytes) {
        const std::size_t text = word(bytes, 12);
        json = Json::parse(bytes.substr(20, text));
        m_binary = 20 + text + 8;
    }

    [[nodiscard]] std::uint32_t element(const Json& accessor, std::size_t index) const {
        const Json& view = json["bufferViews"][accessor["bufferView"].get<std::size_t>()];
        return word(m_bytes, m_binary + view["byteOffset"].get<std::size_t>() + 4 * index);
    }
    [[nodiscard]] Point point(const Json& accessor, std::size_t index) const {
        std::array<double, 3> numbers{};
        for (std::size_t i = 0; i < 3; ++i) {
            const std::uint32_t bits = element(accessor, 3 * index + i);
            float number = 0.0F;
            std::memcpy(&number, &bits, 4);
            numbers[i] = static_cast<double>(number);
        }
        return {numbers[0], numbers[1], numbers[2]};
    }
    [[nodiscard]] const Json& accessor(const Json& node, const char* attribute) const {
        const Json& primitive = json["meshes"][node["mesh"].get<std::size_t>()]["primitives"][0];
        const Json& index =
            attribute == std::string("indices") ? primitive["indices"] : primitive["attributes"][attribute];
        return json["accessors"][index.get<std::size_t>()];
    }
    [[nodiscard]] std::vector<Triangle> triangles() const {
        std::vector<Triangle> out;
        for (const Json& node : json["nodes"]) {
            const Json& indices = accessor(node, "indices");
            const Json& positions = accessor(node, "POSITION");
            for (std::size_t i = 0; i < indices["count"].get<std::size_t>(); i += 3) {
                const auto corner = [&](std::size_t k) { return point(positions, element(indices, i + k)); };
                out.push_back({{corner(0), corner(1), corner(2)}, node["name"].get<std::string>()});
            }
        }
        return out;
    }

    Json json;

  private:
    const std::string& m_bytes;
    std::size_t m_binary = 0;
};

struct Made {
    Circuit circuit;
    Surface surface{circuit};
    std::string bytes = toGlb(buildGround(circuit, surface));
    GroundReader reader{bytes};
    std::vector<Triangle> triangles = reader.triangles();
};

const Made& made() {
    static const Made instance;
    return instance;
}

/// Which triangles are near a place.
class Cells {
  public:
    explicit Cells(const std::vector<Triangle>& triangles) : m_triangles(triangles) {
        for (std::size_t i = 0; i < triangles.size(); ++i) {
            const auto& [a, b, c] = triangles[i].corners;
            for (int x = cell(std::min({a.x, b.x, c.x})); x <= cell(std::max({a.x, b.x, c.x})); ++x)
                for (int z = cell(std::min({a.z, b.z, c.z})); z <= cell(std::max({a.z, b.z, c.z})); ++z)
                    m_cells[{x, z}].push_back(i);
        }
    }

    /// The heights at which the ray down through (x, z) meets the ground, in ascending order.
    [[nodiscard]] std::vector<double> hits(double x, double z) const {
        std::vector<double> heights;
        const auto found = m_cells.find({cell(x), cell(z)});
        if (found == m_cells.end()) return heights;
        for (const std::size_t i : found->second) {
            double height = 0.0;
            if (m_triangles[i].holds(x, z, &height)) heights.push_back(height);
        }
        std::sort(heights.begin(), heights.end());
        return heights;
    }

  private:
    static int cell(double metres) { return static_cast<int>(std::floor(metres / 3.0)); }

    const std::vector<Triangle>& m_triangles;
    std::map<std::pair<int, int>, std::vector<std::size_t>> m_cells;
};

TEST(ProvingGround, FileHasTheHeaderAndTheLengthsThatItsFormatWants) {
    const std::string& bytes = made().bytes;
    EXPECT_EQ(bytes.substr(0, 4), "glTF");
    EXPECT_EQ(word(bytes, 4), 2u);
    EXPECT_EQ(word(bytes, 8), bytes.size());
    const std::size_t text = word(bytes, 12);
    EXPECT_EQ(bytes.substr(16, 4), "JSON");
    EXPECT_EQ(text % 4, 0u);
    EXPECT_EQ(bytes.substr(20 + text + 4, 4), std::string("BIN\0", 4));
    const std::size_t binary = word(bytes, 20 + text);
    EXPECT_EQ(binary % 4, 0u);
    EXPECT_EQ(20 + text + 8 + binary, bytes.size());
    EXPECT_EQ(made().reader.json["buffers"][0]["byteLength"], binary);
    EXPECT_EQ(made().reader.json["asset"]["version"], "2.0");
}

TEST(ProvingGround, EveryKindIsANodeOfItsNameWithAMaterial) {
    const Json& json = made().reader.json;
    std::set<std::string> names;
    std::set<std::string> colours;
    for (const Json& node : json["nodes"]) {
        names.insert(node["name"]);
        EXPECT_FALSE(node.contains("translation") || node.contains("rotation") || node.contains("matrix"));
        const std::size_t mesh = node["mesh"];
        const Json& material = json["materials"][json["meshes"][mesh]["primitives"][0]["material"].get<std::size_t>()];
        EXPECT_EQ(material["name"], node["name"]);
        colours.insert(material["pbrMetallicRoughness"]["baseColorFactor"].dump());
        EXPECT_GE(made().reader.accessor(node, "indices")["count"], 6) << node["name"];
    }
    EXPECT_EQ(names, (std::set<std::string>{"road", "verge", "gravel", "kerb_red", "kerb_white", "ramp", "bumps",
                                            "jump", "start_line", "terrain"}));
    EXPECT_EQ(json["scenes"][0]["nodes"].size(), names.size());
    EXPECT_EQ(colours.size(), names.size() - 1);  // white kerbs and the start line
}

TEST(ProvingGround, SameProgramMakesTheSameBytes) {
    const Circuit circuit;
    EXPECT_EQ(toGlb(buildGround(circuit, Surface(circuit))), made().bytes);
}

TEST(ProvingGround, AccessorsTellTheirExtremesAndIndicesStayInside) {
    for (const Json& node : made().reader.json["nodes"]) {
        const Json& positions = made().reader.accessor(node, "POSITION");
        const Json& indices = made().reader.accessor(node, "indices");
        const auto count = positions["count"].get<std::size_t>();
        EXPECT_EQ(made().reader.accessor(node, "NORMAL")["count"], count);
        Point low = made().reader.point(positions, 0);
        Point high = low;
        for (std::size_t i = 1; i < count; ++i) {
            const Point p = made().reader.point(positions, i);
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
        const auto corner = [&](const char* name) {
            const Json& numbers = positions[name];
            return Point{numbers[0].get<double>(), numbers[1].get<double>(), numbers[2].get<double>()};
        };
        EXPECT_TRUE(corner("min") == low && corner("max") == high) << node["name"];
        for (std::size_t i = 0; i < indices["count"].get<std::size_t>(); ++i)
            ASSERT_LT(made().reader.element(indices, i), count) << node["name"];
    }
}

TEST(ProvingGround, HasAsManyTrianglesAsItShould) {
    EXPECT_GE(made().triangles.size(), 40000u);
    EXPECT_LE(made().triangles.size(), 80000u);
}

TEST(ProvingGround, NoTriangleIsDegenerateOrUpsideDown) {
    for (const Triangle& triangle : made().triangles) {
        ASSERT_GT(triangle.area(), 0.0) << triangle.kind << " at " << triangle.corners[0].x << ", "
                                        << triangle.corners[0].z;
        // Its height over its longest side, which is what makes a sliver.
        ASSERT_GT(triangle.area() / triangle.longestSide(), 0.03)
            << triangle.kind << " at " << triangle.corners[0].x << ", " << triangle.corners[0].z;
    }
}

TEST(ProvingGround, NormalsAreUnitLengthAndPointUp) {
    for (const Json& node : made().reader.json["nodes"]) {
        const Json& normals = made().reader.accessor(node, "NORMAL");
        for (std::size_t i = 0; i < normals["count"].get<std::size_t>(); ++i) {
            const Point n = made().reader.point(normals, i);
            ASSERT_NEAR(std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z), 1.0, 1e-6);
            ASSERT_GT(n.y, 0.65);
        }
    }
}

// All sides that are not shared by two triangles lie on the circle that ends the land: there is no gap, not of the last
// bit either.
TEST(ProvingGround, TrianglesShareTheirSidesExactly) {
    std::map<std::pair<Point, Point>, int> sides;
    for (const Triangle& triangle : made().triangles)
        for (std::size_t i = 0; i < 3; ++i) ++sides[{triangle.corners[i], triangle.corners[(i + 1) % 3]}];
    std::size_t open = 0;
    for (const auto& [side, count] : sides) {
        ASSERT_EQ(count, 1);
        if (sides.count({side.second, side.first}) == 1) continue;
        ++open;
        const PlanPoint middle = Circuit::middle();
        EXPECT_NEAR(std::hypot(side.first.x - middle.x, side.first.z - middle.z), kLandRadius, 1e-4);
        EXPECT_NEAR(std::hypot(side.second.x - middle.x, side.second.z - middle.z), kLandRadius, 1e-4);
    }
    EXPECT_GE(open, 100u);
}

TEST(ProvingGround, RaysDownHitExactlyOneTriangleEverywhere) {
    const Cells cells(made().triangles);
    const PlanPoint middle = Circuit::middle();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    for (int i = 0; i < 200000; ++i) {
        // Inside of the polygon that the land's end is.
        const double away = (kLandRadius - 0.1) * std::sqrt(share(random));
        const double turn = 6.283185307179586 * share(random);
        const double x = middle.x + away * std::cos(turn);
        const double z = middle.z + away * std::sin(turn);
        ASSERT_EQ(cells.hits(x, z).size(), 1u) << "at " << x << ", " << z;
    }
    // And denser on the road.
    std::uniform_real_distribution<double> offset(-kCorridorEdge, kCorridorEdge);
    for (int i = 0; i < 100000; ++i) {
        const double station = made().circuit.length() * share(random);
        const PlanPoint at = made().circuit.pieceAt(station).at(station).beside(offset(random));
        ASSERT_EQ(cells.hits(at.x, at.z).size(), 1u) << "at " << at.x << ", " << at.z;
    }
}

TEST(ProvingGround, RaysBesideTheLandHitNothing) {
    const Cells cells(made().triangles);
    const PlanPoint middle = Circuit::middle();
    for (int i = 0; i < 1000; ++i) {
        const double turn = 0.01 * i;
        const double away = kLandRadius + 0.01;
        EXPECT_TRUE(cells.hits(middle.x + away * std::cos(turn), middle.z + away * std::sin(turn)).empty());
    }
}

// With a limit on every triangle's slope there is no step at all. The steepest is the back of the jump's lip.
TEST(ProvingGround, SlopesAreThoseOfARoadAndItsLand) {
    const std::map<std::string, double> limits = {
        {"road", 0.15},    {"start_line", 1e-6}, {"gravel", 0.15}, {"ramp", 0.2},   {"bumps", 0.2},
        {"kerb_red", 0.4}, {"kerb_white", 0.4},  {"jump", 0.25},   {"verge", 0.65}, {"terrain", 0.6}};
    const double lip = made().surface.lip();
    const Pose back = made().circuit.pieceAt(lip).at(lip + 0.3);
    double steepestBack = 0.0;
    for (const Triangle& triangle : made().triangles) {
        // How far ahead of the back of the lip the triangle is, and how far beside the line.
        const double dx = (triangle.corners[0].x + triangle.corners[1].x + triangle.corners[2].x) / 3.0 - back.at.x;
        const double dz = (triangle.corners[0].z + triangle.corners[1].z + triangle.corners[2].z) / 3.0 - back.at.z;
        const double ahead = dx * std::sin(back.heading) - dz * std::cos(back.heading);
        const double beside = dx * std::cos(back.heading) + dz * std::sin(back.heading);
        if (std::abs(ahead) < 0.3 && std::abs(beside) < kCorridorEdge) {
            steepestBack = std::max(steepestBack, triangle.slope());
            continue;
        }
        EXPECT_LE(triangle.slope(), limits.at(triangle.kind))
            << triangle.kind << " at " << triangle.corners[0].x << ", " << triangle.corners[0].z;
    }
    EXPECT_LE(steepestBack, 1.15);
    EXPECT_GE(steepestBack, 0.9);
}

TEST(ProvingGround, StartsLevelAtTheOriginTowardsMinusZ) {
    const Pose start = made().circuit.pieceAt(0.0).at(0.0);
    EXPECT_EQ(start.at.x, 0.0);
    EXPECT_EQ(start.at.z, 0.0);
    EXPECT_EQ(start.heading, 0.0);
    const Cells cells(made().triangles);
    for (double z = 1.97; z > -40.0; z -= 0.31)
        for (double x = -4.41; x < 4.5; x += 0.37) {
            const std::vector<double> heights = cells.hits(x, z);
            ASSERT_EQ(heights.size(), 1u);
            ASSERT_EQ(heights[0], 0.0) << x << ", " << z;
        }
}

TEST(ProvingGround, LineClosesAndRunsOnWithoutACorner) {
    const Circuit& circuit = made().circuit;
    EXPECT_NEAR(circuit.length(), 800.0, 25.0);
    double turned = 0.0;
    for (std::size_t i = 0; i < circuit.pieces().size(); ++i) {
        const Piece& piece = circuit.pieces()[i];
        ASSERT_GT(piece.to - piece.from, 5.0) << i;
        const Piece& next = circuit.pieces()[(i + 1) % circuit.pieces().size()];
        const Pose end = piece.at(piece.to);
        EXPECT_NEAR(end.at.x, next.start.at.x, 1e-4) << i;
        EXPECT_NEAR(end.at.z, next.start.at.z, 1e-4) << i;
        EXPECT_NEAR(std::remainder(end.heading - next.start.heading, 6.283185307179586), 0.0, 1e-9) << i;
        turned += piece.turn;
    }
    EXPECT_NEAR(turned, 6.283185307179586, 1e-9);
}

TEST(ProvingGround, BendsHaveSeveralRadiiAndBothSidesAndSomeAreBanked) {
    std::set<double> radii;
    int left = 0;
    int banked = 0;
    for (const Piece& piece : made().circuit.pieces()) {
        if (piece.isStraight()) continue;
        radii.insert(piece.radius);
        left += piece.turn < 0.0;
        if (piece.bank == 0.0) continue;
        ++banked;
        const double middle = 0.5 * (piece.from + piece.to);
        const double inside = std::copysign(4.0, piece.turn);
        EXPECT_NEAR(made().surface.height(middle, -inside) - made().surface.height(middle, inside), 8.0 * piece.bank,
                    1e-9);
    }
    EXPECT_GE(radii.size(), 5u);
    EXPECT_GE(left, 2);
    EXPECT_GE(banked, 2);
}

TEST(ProvingGround, KerbsRiseByFiveToEightCentimetres) {
    int kerbs = 0;
    for (const Triangle& triangle : made().triangles) kerbs += triangle.kind.rfind("kerb", 0) == 0;
    EXPECT_GT(kerbs, 500);
    for (const int corner : {1, 2, 3, 5, 7}) {
        const Piece& bend = made().circuit.bend(corner);
        const double inside = bend.turn > 0.0 ? 1.0 : -1.0;
        const double middle = 0.5 * (bend.from + bend.to);
        const auto above = [&](double offset) {
            return made().surface.height(middle, inside * offset) - made().surface.height(middle, inside * kRoadEdge);
        };
        EXPECT_NEAR(above(kKerbFace), 0.05, 1e-9);
        EXPECT_NEAR(above(kKerbTop), kKerbHeight, 1e-9);
        EXPECT_NEAR(above(kKerbEnd), 0.0, 1e-9);
        // None on the outside.
        EXPECT_NEAR(above(-kKerbTop), above(-kRoadEdge), 1e-9);
    }
}

TEST(ProvingGround, SectionsLieOneBehindTheOtherAndStandOut) {
    const Surface& surface = made().surface;
    const auto above = [&](double station, const Section& section) {
        const double u = (station - section.from) / section.length();
        return surface.height(station, 0.0) -
               std::lerp(surface.height(section.from, 0.0), surface.height(section.to, 0.0), u);
    };
    EXPECT_GT(surface.ramp.from, 40.0);
    EXPECT_LT(surface.ramp.to, surface.jump.from);
    EXPECT_LT(surface.jump.to, surface.gravel.from);
    EXPECT_LT(surface.gravel.to, surface.bumps.from);
    EXPECT_LT(surface.bumps.to, made().circuit.length() - 60.0);
    EXPECT_GT(above(0.5 * (surface.ramp.from + surface.ramp.to), surface.ramp), 1.2);
    EXPECT_GT(above(surface.lip(), surface.jump), 1.2);
    EXPECT_LT(above(surface.lip() + 1.0, surface.jump), 0.9);
    EXPECT_GT(above(surface.lip() + 4.0, surface.jump), 0.6);
    double low = 1.0;
    double high = -1.0;
    for (double station = surface.bumps.from; station < surface.bumps.to; station += 0.1) {
        const double difference = surface.height(station, 1.5) - surface.height(station, -1.5);
        low = std::min(low, difference);
        high = std::max(high, difference);
    }
    EXPECT_LT(low, -0.04);
    EXPECT_GT(high, 0.04);
    EXPECT_LE(std::max(high, -low), 0.06);
}

TEST(ProvingGround, CentreLineLiesOnTheRoadAndCanBeDriven) {
    const std::vector<LinePoint> line = centreLine(made().circuit, made().surface);
    const Cells cells(made().triangles);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const LinePoint& next = line[(i + 1) % line.size()];
        EXPECT_NEAR(std::hypot(next.x - line[i].x, next.z - line[i].z), 1.0, 0.02) << i;
        EXPECT_GE(line[i].speed, 7.0) << i;
        EXPECT_LE(line[i].speed, 15.0) << i;
        const double gained = (next.speed * next.speed - line[i].speed * line[i].speed) / 2.0;
        EXPECT_LE(gained, 2.5 * 1.0001) << i;
        EXPECT_GE(gained, -3.0 * 1.0001) << i;
        const std::vector<double> heights = cells.hits(line[i].x + 1e-4, line[i].z + 1e-4);
        ASSERT_EQ(heights.size(), 1u) << i;
        EXPECT_NEAR(heights[0], line[i].y, 0.02) << i;
    }
    const std::string csv = toCsv(line);
    EXPECT_EQ(csv.substr(0, csv.find('\n')), "x_m,z_m,y_m,station_m,speed_mps");
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')), line.size() + 1);
}

}  // namespace
}  // namespace ond::provingground
