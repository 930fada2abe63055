#include "provingground/ProvingGround.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace ond::provingground {

namespace {

struct Point {
    double x, y, z;
};

Point operator-(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

Point cross(const Point& a, const Point& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

struct Triangle {
    std::uint32_t corners[3];
    Kind kind;
};

/// Vertices round the middle, in the order of driving.
using Ring = std::vector<std::uint32_t>;

// Beside the corridor rings lie at these shares of the way from its edge to the land's end, or to the middle. Each has
// its vertices on rays through every so many vertices of the edge, fewer the further away.
struct RingPlan {
    double share;
    std::size_t every;
};
constexpr RingPlan kOuterRings[] = {{0.04, 2}, {0.10, 4}, {0.20, 4}, {0.33, 4}, {0.44, 4},
                                    {0.55, 4}, {0.66, 4}, {0.77, 4}, {0.88, 4}, {1.0, 4}};
constexpr RingPlan kInnerRings[] = {{0.05, 2}, {0.12, 4}, {0.22, 4}, {0.34, 4}, {0.48, 8}, {0.64, 16}, {0.80, 32}};
constexpr std::size_t kFewest = 32;  ///< the number of rows is a multiple of it

/// Within this distance from the corridor's edge the land takes over from the edge's height.
constexpr double kBlend = 30.0;

/// The stations of the rows of vertices.
std::vector<double> rowStations(const Surface& surface) {
    const std::vector<double> breaks = surface.breaks();
    std::vector<int> cells;
    int sum = 0;
    for (std::size_t i = 0; i + 1 < breaks.size(); ++i) {
        const double spacing = surface.spacing(0.5 * (breaks[i] + breaks[i + 1]));
        cells.push_back(std::max(1, static_cast<int>(std::ceil((breaks[i + 1] - breaks[i]) / spacing))));
        sum += cells.back();
    }
    const auto longest = [&] {
        std::size_t at = 0;
        const auto size = [&](std::size_t i) { return (breaks[i + 1] - breaks[i]) / cells[i]; };
        for (std::size_t i = 1; i < cells.size(); ++i)
            if (size(i) > size(at)) at = i;
        return at;
    };
    for (; static_cast<std::size_t>(sum) % kFewest != 0; ++sum) ++cells[longest()];
    std::vector<double> stations;
    for (std::size_t i = 0; i < cells.size(); ++i)
        for (int k = 0; k < cells[i]; ++k) stations.push_back(breaks[i] + (breaks[i + 1] - breaks[i]) * k / cells[i]);
    return stations;
}

/// The net, ring by ring.
class Net {
  public:
    std::vector<Point> vertices;
    std::vector<Triangle> triangles;

    std::uint32_t add(const Point& point) {
        vertices.push_back(point);
        return static_cast<std::uint32_t>(vertices.size() - 1);
    }

    /// Closes the gap between two rings that follow each other from left to right. The rings have as many vertices, or
    /// one has twice as many. `kindOf` is asked with the place of the left vertex.
    template <typename KindOf>
    void join(const Ring& left, const Ring& right, const KindOf& kindOf) {
        const auto l = [&](std::size_t i) { return left[i % left.size()]; };
        const auto r = [&](std::size_t i) { return right[i % right.size()]; };
        for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
            const Kind kind = kindOf(i);
            if (left.size() == right.size()) {
                triangles.push_back({{l(i), r(i), l(i + 1)}, kind});
                triangles.push_back({{l(i + 1), r(i), r(i + 1)}, kind});
            } else if (left.size() < right.size()) {
                triangles.push_back({{l(i), r(2 * i), r(2 * i + 1)}, kind});
                triangles.push_back({{l(i), r(2 * i + 1), l(i + 1)}, kind});
                triangles.push_back({{l(i + 1), r(2 * i + 1), r(2 * i + 2)}, kind});
            } else {
                triangles.push_back({{l(2 * i), r(i), l(2 * i + 1)}, kind});
                triangles.push_back({{l(2 * i + 1), r(i), r(i + 1)}, kind});
                triangles.push_back({{l(2 * i + 1), r(i + 1), l(2 * i + 2)}, kind});
            }
        }
    }

    void closeAtMiddle(const Ring& ring, std::uint32_t middle) {
        for (std::size_t i = 0; i < ring.size(); ++i)
            triangles.push_back({{ring[i], middle, ring[(i + 1) % ring.size()]}, Kind::terrain});
    }

    /// Sums of the triangles' normals at each vertex, larger triangles counting more, brought to length 1.
    [[nodiscard]] std::vector<Point> normals() const {
        std::vector<Point> sums(vertices.size(), {0.0, 0.0, 0.0});
        for (const auto& [corners, kind] : triangles) {
            const Point& a = vertices[corners[0]];
            const Point n = cross(vertices[corners[1]] - a, vertices[corners[2]] - a);
            for (const std::uint32_t corner : corners) {
                Point& sum = sums[corner];
                sum = {sum.x + n.x, sum.y + n.y, sum.z + n.z};
            }
        }
        for (Point& n : sums) {
            const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
            n = {n.x / length, n.y / length, n.z / length};
        }
        return sums;
    }
};

/// A ring beside the corridor, on the rays from the middle through `edge`; `share` of the way to `end` metres from it.
Ring besideCorridor(Net& net, const Ring& edge, const RingPlan& plan, double end) {
    const PlanPoint middle = Circuit::middle();
    Ring ring;
    for (std::size_t i = 0; i < edge.size(); i += plan.every) {
        const Point from = net.vertices[edge[i]];
        const double away = std::hypot(from.x - middle.x, from.z - middle.z);
        const double scale = 1.0 + plan.share * (end - away) / away;
        const PlanPoint at = {middle.x + scale * (from.x - middle.x), middle.z + scale * (from.z - middle.z)};
        const double u = std::min(1.0, plan.share * std::abs(end - away) / kBlend);
        ring.push_back(net.add({at.x, std::lerp(from.y, Surface::terrain(at), u * u * (3.0 - 2.0 * u)), at.z}));
    }
    return ring;
}

/// Both corridor edges, the left (outer) first.
std::pair<Ring, Ring> addCorridor(Net& net, const Circuit& circuit, const Surface& surface) {
    const std::vector<double> stations = rowStations(surface);
    std::vector<Pose> poses;
    for (const double station : stations) poses.push_back(circuit.pieceAt(station).at(station));
    const int half = static_cast<int>(kOffsets.size()) - 1;
    const auto offset = [](int k) {
        return std::copysign(kOffsets[static_cast<std::size_t>(std::abs(k))], static_cast<double>(k));
    };
    std::pair<Ring, Ring> edges;
    Ring left;
    for (int k = -half; k <= half; ++k) {
        Ring ring;
        for (std::size_t i = 0; i < stations.size(); ++i) {
            const PlanPoint at = poses[i].beside(offset(k));
            ring.push_back(net.add({at.x, surface.height(stations[i], offset(k)), at.z}));
        }
        if (k > -half) {
            const double between = 0.5 * (offset(k - 1) + offset(k));
            net.join(left, ring, [&](std::size_t i) {
                const double next = i + 1 < stations.size() ? stations[i + 1] : circuit.length();
                return surface.kind(0.5 * (stations[i] + next), between);
            });
        }
        (k == -half ? edges.first : edges.second) = ring;
        left = std::move(ring);
    }
    return edges;
}

void addLand(Net& net, const Ring& outerEdge, const Ring& innerEdge) {
    const auto land = [](std::size_t) { return Kind::terrain; };
    Ring ring = outerEdge;
    for (const RingPlan& plan : kOuterRings) {
        Ring further = besideCorridor(net, outerEdge, plan, kLandRadius);
        net.join(further, ring, land);
        ring = std::move(further);
    }
    ring = innerEdge;
    for (const RingPlan& plan : kInnerRings) {
        Ring further = besideCorridor(net, innerEdge, plan, 0.0);
        net.join(ring, further, land);
        ring = std::move(further);
    }
    const PlanPoint middle = Circuit::middle();
    net.closeAtMiddle(ring, net.add({middle.x, Surface::terrain(middle), middle.z}));
}

void append(std::vector<float>& numbers, const Point& point) {
    for (const double number : {point.x, point.y, point.z}) numbers.push_back(static_cast<float>(number));
}

}  // namespace

std::vector<GroundMesh> buildGround(const Circuit& circuit, const Surface& surface) {
    Net net;
    const auto [outerEdge, innerEdge] = addCorridor(net, circuit, surface);
    addLand(net, outerEdge, innerEdge);
    const std::vector<Point> normals = net.normals();

    constexpr std::uint32_t kNone = 0xFFFFFFFFu;
    std::vector<GroundMesh> meshes;
    for (int k = 0; k < kNumKinds; ++k) {
        GroundMesh mesh{static_cast<Kind>(k), {}, {}, {}};
        std::vector<std::uint32_t> place(net.vertices.size(), kNone);
        for (const auto& [corners, kind] : net.triangles) {
            if (kind != mesh.kind) continue;
            for (const std::uint32_t corner : corners) {
                if (place[corner] == kNone) {
                    place[corner] = static_cast<std::uint32_t>(mesh.positions.size() / 3);
                    append(mesh.positions, net.vertices[corner]);
                    append(mesh.normals, normals[corner]);
                }
                mesh.indices.push_back(place[corner]);
            }
        }
        meshes.push_back(std::move(mesh));
    }
    return meshes;
}

const char* nameOf(Kind kind) {
    constexpr std::array<const char*, kNumKinds> kNames = {"road", "verge", "gravel", "kerb_red",   "kerb_white",
                                                           "ramp", "bumps", "jump",   "start_line", "terrain"};
    return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace ond::provingground
