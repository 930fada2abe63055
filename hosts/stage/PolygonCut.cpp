#include "stage/PolygonCut.h"

#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

namespace ond::stage {

namespace {

using V = util::Vector3<double>;

struct Point {
    double x = 0.0;
    double y = 0.0;
};

bool operator==(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y; }

/// Twice the area of a triangle, positive if it turns to the left.
double turn(const Point& a, const Point& b, const Point& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// What the triangles of a fan add up to.
struct FanArea {
    /// Along the normal, twice as long as the area.
    V sum;
    /// The lengths of what was added.
    double lengths = 0.0;
};

FanArea fanArea(std::span<const V> corners) {
    FanArea area;
    for (std::size_t i = 2; i < corners.size(); ++i) {
        const V part = Cross(corners[i - 1] - corners[0], corners[i] - corners[0]);
        area.sum += part;
        area.lengths += Length(part);
    }
    return area;
}

/// The polygon in the plane of two axes that its normal is farthest from, so that it turns to the left.
std::vector<Point> flattened(std::span<const V> corners, const V& normal) {
    const double x = std::abs(normal.x);
    const double y = std::abs(normal.y);
    const double z = std::abs(normal.z);
    std::vector<Point> points;
    points.reserve(corners.size());
    for (const V& absolute : corners) {
        const V v = absolute - corners[0];
        if (x >= y && x >= z) {
            points.push_back(normal.x >= 0.0 ? Point{v.y, v.z} : Point{v.z, v.y});
        } else if (y >= z) {
            points.push_back(normal.y >= 0.0 ? Point{v.z, v.x} : Point{v.x, v.z});
        } else {
            points.push_back(normal.z >= 0.0 ? Point{v.x, v.y} : Point{v.y, v.x});
        }
    }
    return points;
}

/// Whether every corner turns to the left and the outline goes round once: then its x goes up and down only once.
bool isConvex(const std::vector<Point>& points) {
    const std::size_t n = points.size();
    int changes = 0;
    double last = 0.0;
    double first = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const Point& here = points[i];
        const Point& next = points[(i + 1) % n];
        if (!(turn(here, next, points[(i + 2) % n]) > 0.0)) return false;
        const double step = next.x - here.x;
        if (step == 0.0) continue;
        if (last == 0.0) first = step;
        if (last != 0.0 && (step > 0.0) != (last > 0.0)) ++changes;
        last = step;
    }
    if ((first > 0.0) != (last > 0.0)) ++changes;
    return changes <= 2;
}

/// Cuts off one ear after the other: a corner that turns to the left and whose triangle no other corner is in.
class EarCutter {
  public:
    explicit EarCutter(std::vector<Point> points) : m_points(std::move(points)) {
        const std::size_t n = m_points.size();
        m_left = n;
        // A proper outline needs about n * n of them. One made to need n times that is given up instead.
        m_testsLeft = 32 * n * n;
        for (std::size_t i = 0; i < n; ++i) {
            m_before.push_back((i + n - 1) % n);
            m_behind.push_back((i + 1) % n);
        }
    }

    bool cut(std::vector<std::size_t>& triangles) {
        bool clean = true;
        std::size_t at = 0;
        while (m_left > 3) {
            if (const std::optional<std::size_t> ear = findEar(at)) {
                at = *ear;
            } else if (const std::optional<std::size_t> flat = findFlat(at)) {
                at = *flat;
            } else {
                clean = false;
            }
            take(at, triangles);
            // Going on two corners further keeps a round outline from becoming one long fan of slivers.
            at = m_behind[m_behind[at]];
        }
        // A last triangle that is turned over is a sign of an outline that crosses itself.
        if (turnAt(at) < 0.0) clean = false;
        take(at, triangles);
        return clean && m_testsLeft > 0;
    }

  private:
    [[nodiscard]] double turnAt(std::size_t i) const {
        return turn(m_points[m_before[i]], m_points[i], m_points[m_behind[i]]);
    }

    /// The first ear from corner `from` on.
    std::optional<std::size_t> findEar(std::size_t from) {
        std::size_t at = from;
        for (std::size_t i = 0; i < m_left; ++i, at = m_behind[at]) {
            if (turnAt(at) > 0.0 && isEmpty(at)) return at;
        }
        return std::nullopt;
    }

    /// The first corner that is none: it lies on the line of its neighbours, and nothing is lost with it.
    [[nodiscard]] std::optional<std::size_t> findFlat(std::size_t from) const {
        std::size_t at = from;
        for (std::size_t i = 0; i < m_left; ++i, at = m_behind[at]) {
            if (turnAt(at) == 0.0) return at;
        }
        return std::nullopt;
    }

    /// Whether no other corner is in the triangle of corner `i`, which turns to the left, or on its edges.
    bool isEmpty(std::size_t i) {
        const Point& a = m_points[m_before[i]];
        const Point& b = m_points[i];
        const Point& c = m_points[m_behind[i]];
        for (std::size_t k = m_behind[m_behind[i]]; k != m_before[i]; k = m_behind[k]) {
            if (m_testsLeft == 0) return true;
            --m_testsLeft;
            const Point& p = m_points[k];
            // A corner at the same place, as at the ends of a bridge to a hole, does not lie inside.
            if (p == a || p == b || p == c) continue;
            if (turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0) return false;
        }
        return true;
    }

    void take(std::size_t i, std::vector<std::size_t>& triangles) {
        triangles.insert(triangles.end(), {m_before[i], i, m_behind[i]});
        m_behind[m_before[i]] = m_behind[i];
        m_before[m_behind[i]] = m_before[i];
        --m_left;
    }

    std::vector<Point> m_points;
    std::vector<std::size_t> m_before;
    std::vector<std::size_t> m_behind;
    std::size_t m_left = 0;
    std::size_t m_testsLeft = 0;
};

void cutFan(std::size_t n, std::vector<std::size_t>& triangles) {
    for (std::size_t i = 2; i < n; ++i) triangles.insert(triangles.end(), {0, i - 1, i});
}

}  // namespace

bool cutPolygon(std::span<const V> corners, std::vector<std::size_t>& triangles) {
    const std::size_t n = corners.size();
    if (n < 3) throw std::invalid_argument("a polygon has three corners or more");
    if (n == 3) {
        cutFan(n, triangles);
        return true;
    }
    const FanArea area = fanArea(corners);
    // Where the parts of an outline cancel each other it crosses itself; without any parts it lies on a line.
    constexpr double kCancelled = 1e-12;
    if (!(Length(area.sum) > kCancelled * area.lengths)) {
        cutFan(n, triangles);
        return area.lengths == 0.0;
    }
    std::vector<Point> points = flattened(corners, area.sum);
    if (isConvex(points)) {
        cutFan(n, triangles);
        return true;
    }
    if (n > kMostConcaveCorners) throw std::length_error("a concave polygon has too many corners");
    return EarCutter(std::move(points)).cut(triangles);
}

}  // namespace ond::stage
