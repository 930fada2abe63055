// Hilly ground of any number of triangles, as a mesh and as something that rays can be cast at quickly.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::bench {

/// The same hills, 100 by 100 scene units around the origin, cut into more or fewer triangles: 2,000 make cells of
/// 3.2 units, 2,000,000 cells of 0.1. Normals point up. The ground passes through the origin.
class GridTerrain {
  public:
    using Vector = util::Vector3<double>;

    /// @param triangles rounded to the next number that fills a square of cells
    explicit GridTerrain(std::int64_t triangles)
        : m_cells(static_cast<int>(std::lround(std::sqrt(static_cast<double>(triangles) / 2.0)))),
          m_cell(2.0 * kHalf / m_cells) {
        const int n = m_cells + 1;
        m_mesh.setNumVertices(n * n);
        m_mesh.setNumFaces(2 * m_cells * m_cells);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                const double x = j * m_cell - kHalf;
                const double z = i * m_cell - kHalf;
                m_mesh.setVertex(i * n + j, x, height(x, z), z);
            }
        for (int i = 0; i < m_cells; ++i)
            for (int j = 0; j < m_cells; ++j) {
                const int a = i * n + j;
                m_mesh.setFace(2 * (i * m_cells + j), a, a + n, a + 1);
                m_mesh.setFace(2 * (i * m_cells + j) + 1, a + 1, a + n, a + n + 1);
            }
    }

    [[nodiscard]] const util::CMesh& mesh() const { return m_mesh; }

    /// Nearest hit at t >= 0 with either face; `t` and the unit `normal` stay as they are without one. Walks the cells
    /// below the ray in order, so that the first hit is the nearest.
    bool intersect(const Vector& o, const Vector& d, double& t, Vector& normal) const {
        double from = 0.0;
        double to = std::numeric_limits<double>::infinity();
        if (!clip(o.x, d.x, from, to) || !clip(o.z, d.z, from, to)) return false;
        Walk x(o.x, d.x, from, *this);
        Walk z(o.z, d.z, from, *this);
        while (x.cell >= 0 && x.cell < m_cells && z.cell >= 0 && z.cell < m_cells && from <= to) {
            const double leave = std::min({x.next, z.next, to});
            if (hitCell(x.cell, z.cell, o, d, from, leave, t, normal)) return true;
            Walk& first = x.next < z.next ? x : z;
            if (first.step == 0) return false;
            from = first.next;
            first.cell += first.step;
            first.next += first.width;
        }
        return false;
    }

  private:
    static constexpr double kHalf = 50.0;
    // Rays that meet the line between two triangles hit one of them, whatever the rounding.
    static constexpr double kEdge = 1e-12;

    /// Position along one axis of the grid.
    struct Walk {
        Walk(double o, double d, double t, const GridTerrain& grid)
            : cell(std::clamp(static_cast<int>(std::floor((o + t * d + kHalf) / grid.m_cell)), 0, grid.m_cells - 1)),
              step(d > 0.0 ? 1 : (d < 0.0 ? -1 : 0)) {
            if (step == 0) return;
            width = grid.m_cell / std::abs(d);
            next = ((cell + (step > 0 ? 1 : 0)) * grid.m_cell - kHalf - o) / d;
        }
        int cell;
        int step;
        double width = std::numeric_limits<double>::infinity();  ///< of a cell, in t
        double next = std::numeric_limits<double>::infinity();   ///< t at which the cell is left
    };

    static double height(double x, double z) {
        return 1.5 * std::sin(0.11 * x) * std::cos(0.09 * z) + 0.1 * std::sin(0.53 * x + 0.41 * z) +
               0.01 * std::sin(1.7 * x) * std::sin(2.3 * z);
    }

    /// Shortens the ray to the grid's width on one axis; false if nothing is left.
    static bool clip(double o, double d, double& from, double& to) {
        if (d == 0.0) return std::abs(o) <= kHalf;
        const double a = (-kHalf - o) / d;
        const double b = (kHalf - o) / d;
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
        return from <= to;
    }

    bool hitCell(int x, int z, const Vector& o, const Vector& d, double from, double leave, double& t,
                 Vector& normal) const {
        const Vector* const row = m_mesh.vertices.data() + z * (m_cells + 1) + x;
        const Vector& a = row[0];
        const Vector& b = row[m_cells + 1];
        const Vector& c = row[1];
        const Vector& e = row[m_cells + 2];
        const double y0 = o.y + from * d.y;
        const double y1 = o.y + leave * d.y;
        const auto [low, high] = std::minmax({a.y, b.y, c.y, e.y});
        if (std::min(y0, y1) > high + 1e-9 || std::max(y0, y1) < low - 1e-9) return false;
        double nearest = std::numeric_limits<double>::infinity();
        const Vector* const triangles[2][3] = {{&a, &b, &c}, {&c, &b, &e}};
        for (const auto& p : triangles) hitTriangle(*p[0], *p[1], *p[2], o, d, nearest, normal);
        if (nearest == std::numeric_limits<double>::infinity()) return false;
        t = nearest;
        return true;
    }

    static void hitTriangle(const Vector& a, const Vector& b, const Vector& c, const Vector& o, const Vector& d,
                            double& nearest, Vector& normal) {
        const Vector p = b - a;
        const Vector q = c - a;
        const Vector n = Cross(p, q);
        const double det = -Dot(d, n);
        if (det == 0.0) return;
        const Vector s = o - a;
        const double t = Dot(s, n) / det;
        if (t < 0.0 || !(t < nearest)) return;
        const Vector r = Cross(s, d);
        const double u = Dot(q, r) / det;
        const double v = -Dot(p, r) / det;
        if (u < -kEdge || v < -kEdge || u + v > 1.0 + kEdge) return;
        nearest = t;
        normal = Normalized(n);
    }

    int m_cells;
    double m_cell;  ///< width of a cell
    util::CMesh m_mesh;
};

}  // namespace ond::bench
