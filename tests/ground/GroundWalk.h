// A second statement of the ground tree, written apart from the module's: recursive, on lists of triangle numbers and
// bare numbers, with no matrix type. Its arithmetic has the order of operations that the tree promises.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::test {

using Vec = util::Vector3<double>;

struct WalkTriangle {
    Vec a, b, c;
};

struct WalkNode {
    Vec low, high;
    std::vector<std::size_t> triangles;
    std::vector<std::unique_ptr<WalkNode>> children;
};

class GroundWalk {
  public:
    GroundWalk(std::vector<WalkTriangle> triangles, const Vec& low, const Vec& high) : m_triangles(triangles) {
        root.low = low;
        root.high = high;
        for (std::size_t i = 0; i < m_triangles.size(); ++i) root.triangles.push_back(i);
        split(root);
    }

    bool query(const Vec& origin, const Vec& direction, double& t, Vec& normal) const {
        return query(root, origin, direction, t, normal);
    }

    WalkNode root;
    [[nodiscard]] const WalkTriangle& triangle(std::size_t i) const { return m_triangles[i]; }

    // u, v and t of the line on the plane (corner, p, q) by cofactors: each entry of the inverse is a cofactor over the
    // determinant, each sum runs from the left, the translation of the inverse (zero) comes last.
    static bool solve(const Vec& corner, const Vec& p, const Vec& q, const Vec& origin, const Vec& direction,
                      double (&uvt)[3]) {
        const double ax = p.x, ay = p.y, az = p.z, bx = q.x, by = q.y, bz = q.z;
        const double cx = -direction.x, cy = -direction.y, cz = -direction.z;
        const double det = ax * (by * cz - cy * bz) - bx * (ay * cz - cy * az) + cx * (ay * bz - by * az);
        if (det == 0.0) return false;
        const double inverse[3][3] = {
            {(by * cz - cy * bz) / det, (cx * bz - bx * cz) / det, (bx * cy - cx * by) / det},
            {(cy * az - ay * cz) / det, (ax * cz - cx * az) / det, (cx * ay - ax * cy) / det},
            {(ay * bz - by * az) / det, (bx * az - ax * bz) / det, (ax * by - bx * ay) / det}};
        const double x = origin.x - corner.x, y = origin.y - corner.y, z = origin.z - corner.z;
        for (int i = 0; i < 3; ++i) uvt[i] = inverse[i][0] * x + inverse[i][1] * y + inverse[i][2] * z;
        return true;
    }

    static bool onTriangle(const WalkTriangle& w, const Vec& origin, const Vec& direction, double& t) {
        double s[3];
        if (!solve(w.a, w.b - w.a, w.c - w.a, origin, direction, s)) return false;
        if (s[0] >= 0 && s[1] >= 0 && s[0] + s[1] < 1) {
            t = s[2];
            return true;
        }
        return false;
    }

    static bool onBox(const Vec& low, const Vec& high, const Vec& origin, const Vec& direction, double& t) {
        const double sx = high.x - low.x, sy = high.y - low.y, sz = high.z - low.z;
        const Vec axes[3] = {{sx, 0, 0}, {0, sy, 0}, {0, 0, sz}};
        bool met = false;
        for (int side = 0; side < 2; ++side)
            for (int i = 0; i < 3; ++i) {
                const Vec p = side ? -axes[i] : axes[i];
                const Vec q = side ? -axes[(i + 1) % 3] : axes[(i + 1) % 3];
                double s[3];
                if (!solve(side ? high : low, p, q, origin, direction, s)) continue;
                if (!(s[0] >= 0 && s[1] >= 0 && s[0] <= 1 && s[1] <= 1)) continue;
                t = met ? std::min(t, s[2]) : s[2];
                met = true;
            }
        return met;
    }

    static bool overlaps(const WalkTriangle& w, const Vec& low, const Vec& high) {
        for (const Vec& p : {w.a, w.b, w.c})
            if (low.x <= p.x && p.x <= high.x && low.y <= p.y && p.y <= high.y && low.z <= p.z && p.z <= high.z)
                return true;
        const double sx = high.x - low.x, sy = high.y - low.y, sz = high.z - low.z;
        // Corners of the four edges of an axis, as steps on the two other axes.
        const int corners[3][4][3] = {{{0, 0, 0}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}},
                                      {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1}},
                                      {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}};
        for (int axis = 0; axis < 3; ++axis)
            for (const auto& step : corners[axis]) {
                const Vec corner(low.x + step[0] * sx, low.y + step[1] * sy, low.z + step[2] * sz);
                const Vec along(axis == 0 ? sx : 0, axis == 1 ? sy : 0, axis == 2 ? sz : 0);
                double t = -1;
                if (onTriangle(w, corner, along, t) && 0 <= t && t <= 1) return true;
            }
        const Vec ends[4] = {w.a, w.b, w.c, w.a};
        for (int i = 0; i < 3; ++i) {
            double t = -1;
            if (onBox(low, high, ends[i], ends[i + 1] - ends[i], t) && 0 <= t && t <= 1) return true;
        }
        return false;
    }

  private:
    void split(WalkNode& node) {
        const std::size_t all = node.triangles.size();
        if (all < 10) return;
        const double low[3] = {node.low.x, node.low.y, node.low.z};
        const double high[3] = {node.high.x, node.high.y, node.high.z};
        int n[3];
        for (int axis = 0; axis < 3; ++axis) {
            double middle[3] = {high[0], high[1], high[2]};
            double from[3] = {low[0], low[1], low[2]};
            middle[axis] = from[axis] = low[axis] + (high[axis] - low[axis]) / 2;
            const std::size_t lows = within(node, node.low, {middle[0], middle[1], middle[2]}).size();
            const std::size_t highs = within(node, {from[0], from[1], from[2]}, node.high).size();
            const double ratio = static_cast<double>(lows + highs) / static_cast<double>(all);
            n[axis] = ratio > 1.1 || lows < 3 || highs < 3 ? 1 : 2;
        }
        const Vec cell((high[0] - low[0]) / n[0], (high[1] - low[1]) / n[1], (high[2] - low[2]) / n[2]);
        for (int i = 0; i < n[0]; ++i)
            for (int j = 0; j < n[1]; ++j)
                for (int k = 0; k < n[2]; ++k) {
                    const Vec moved(i * cell.x, j * cell.y, k * cell.z);
                    auto child = std::make_unique<WalkNode>();
                    child->low = node.low + moved;
                    child->high = (node.low + cell) + moved;
                    child->triangles = within(node, child->low, child->high);
                    if (child->triangles.size() >= all) {
                        node.children.clear();
                        return;
                    }
                    if (child->triangles.empty()) continue;
                    split(*child);
                    node.children.push_back(std::move(child));
                }
    }

    std::vector<std::size_t> within(const WalkNode& node, const Vec& low, const Vec& high) const {
        std::vector<std::size_t> result;
        for (const std::size_t i : node.triangles)
            if (overlaps(m_triangles[i], low, high)) result.push_back(i);
        return result;
    }

    bool query(const WalkNode& node, const Vec& origin, const Vec& direction, double& t, Vec& normal) const {
        if (!onBox(node.low, node.high, origin, direction, t)) return false;
        for (const auto& child : node.children)
            if (query(*child, origin, direction, t, normal)) return true;
        if (!node.children.empty()) return false;
        for (const std::size_t i : node.triangles) {
            const WalkTriangle& w = m_triangles[i];
            if (!onTriangle(w, origin, direction, t)) continue;
            normal = util::Normalized(util::Cross(w.b - w.a, w.c - w.a));
            return true;
        }
        return false;
    }

    std::vector<WalkTriangle> m_triangles;
};

}  // namespace ond::test
