#include "host/TriangleRays.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ond::test {

using util::CMesh;
using util::Vector3;

namespace {

constexpr int kLeafTriangles = 4;

double component(const Vector3<double>& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

Vector3<double> smallest(const Vector3<double>& a, const Vector3<double>& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}

Vector3<double> largest(const Vector3<double>& a, const Vector3<double>& b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

/// Whether the ray can meet the box before `best`. Errs towards true: the box is taken a little larger.
bool mayMeet(const Vector3<double>& low, const Vector3<double>& high, const Vector3<double>& origin,
             const Vector3<double>& direction, double best) {
    double from = 0.0;
    double to = best;
    for (int axis = 0; axis < 3; ++axis) {
        const double o = component(origin, axis);
        const double d = component(direction, axis);
        const double margin =
            1e-9 * (1.0 + std::abs(o) + std::abs(component(low, axis)) + component(high, axis) - component(low, axis));
        const double l = component(low, axis) - margin - o;
        const double h = component(high, axis) + margin - o;
        if (d == 0.0) {
            if (l > 0.0 || h < 0.0) return false;
            continue;
        }
        from = std::max(from, std::min(l / d, h / d));
        to = std::min(to, std::max(l / d, h / d));
    }
    return from <= to * (1.0 + 1e-9) + 1e-300;
}

}  // namespace

TriangleRays::TriangleRays(const CMesh& mesh) {
    const auto inside = [&](int i) { return i >= 0 && i < mesh.getNumVertices(); };
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const int a = mesh.getFaceVertex(face, 0);
        const int b = mesh.getFaceVertex(face, 1);
        const int c = mesh.getFaceVertex(face, 2);
        if (!inside(a) || !inside(b) || !inside(c)) continue;
        const auto vertex = [&](int i) { return mesh.vertices[static_cast<std::size_t>(i)]; };
        m_triangles.push_back({vertex(a), vertex(b), vertex(c), face});
    }
    if (m_triangles.empty()) return;
    m_boxes.emplace_back();
    split(0, 0, static_cast<int>(m_triangles.size()));
}

void TriangleRays::split(int box, int first, int count) {
    const auto at = [&](int i) -> const Triangle& { return m_triangles[static_cast<std::size_t>(i)]; };
    Vector3<double> low = at(first).a;
    Vector3<double> high = low;
    for (int i = first; i < first + count; ++i) {
        low = smallest(low, smallest(at(i).a, smallest(at(i).b, at(i).c)));
        high = largest(high, largest(at(i).a, largest(at(i).b, at(i).c)));
    }
    m_boxes[static_cast<std::size_t>(box)] = {low, high, first, count};
    if (count <= kLeafTriangles) return;

    const Vector3<double> size = high - low;
    const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
    const auto middle = [axis](const Triangle& t) {
        return component(t.a, axis) + component(t.b, axis) + component(t.c, axis);
    };
    const int half = count / 2;
    const auto begin = m_triangles.begin() + first;
    std::nth_element(begin, begin + half, begin + count,
                     [&](const Triangle& p, const Triangle& q) { return middle(p) < middle(q); });
    const int child = static_cast<int>(m_boxes.size());
    m_boxes.resize(m_boxes.size() + 2);
    m_boxes[static_cast<std::size_t>(box)] = {low, high, child, 0};
    split(child, first, half);
    split(child + 1, first + half, count - half);
}

void TriangleRays::hitTriangle(const Triangle& triangle, const Vector3<double>& origin,
                               const Vector3<double>& direction, double& best, int& winner,
                               Vector3<double>& normal) const {
    // The exact form of T. Moeller and B. Trumbore, "Fast, minimum storage ray-triangle intersection" (1997).
    const Vector3<double> ab = triangle.b - triangle.a;
    const Vector3<double> ac = triangle.c - triangle.a;
    const Vector3<double> p = util::Cross(direction, ac);
    const double determinant = util::Dot(ab, p);
    if (determinant == 0.0) return;
    const Vector3<double> s = origin - triangle.a;
    const double u = util::Dot(s, p) / determinant;
    const Vector3<double> q = util::Cross(s, ab);
    const double v = util::Dot(direction, q) / determinant;
    if (!(u >= 0.0 && v >= 0.0 && u + v <= 1.0)) return;
    const double t = util::Dot(ac, q) / determinant;
    if (!(t >= 0.0)) return;
    if (t > best || (t == best && winner >= 0 && triangle.index > winner)) return;
    best = t;
    winner = triangle.index;
    normal = util::Normalized(util::Cross(ab, ac));
}

bool TriangleRays::intersect(const Vector3<double>& origin, const Vector3<double>& direction, double* t,
                             Vector3<double>* normal) const {
    double best = std::numeric_limits<double>::max();
    int winner = -1;
    Vector3<double> hitNormal;
    int stack[96];
    int depth = 0;
    if (!m_boxes.empty()) stack[depth++] = 0;
    while (depth > 0) {
        const Box& box = m_boxes[static_cast<std::size_t>(stack[--depth])];
        if (!mayMeet(box.low, box.high, origin, direction, best)) continue;
        for (int i = box.first; i < box.first + box.count; ++i)
            hitTriangle(m_triangles[static_cast<std::size_t>(i)], origin, direction, best, winner, hitNormal);
        if (box.count == 0) {
            stack[depth++] = box.first;
            stack[depth++] = box.first + 1;
        }
    }
    if (winner < 0) return false;
    *t = best;
    *normal = hitNormal;
    return true;
}

}  // namespace ond::test
