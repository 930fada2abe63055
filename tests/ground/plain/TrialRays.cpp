#include "ground/plain/TrialRays.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "ground/plain/TrialMeshes.h"

namespace ond::test {

namespace {

using V = util::Vector3<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kMaxBoxes = 4000;

double& component(V& v, std::size_t axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

double component(const V& v, std::size_t axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

double sign(PinnedRandom& random) { return random.chance(0.5) ? -1.0 : 1.0; }

V unitAxis(PinnedRandom& random) {
    V v;
    component(v, pick(random, 3)) = sign(random);
    return v;
}

/// A share of a side: an end, a multiple of an eighth, or anything.
double share(PinnedRandom& random) {
    return random.chance(0.6) ? 0.125 * static_cast<double>(pick(random, 9)) : random.in(0.0, 1.0);
}

void collectBoxes(const plain::PlainGroundTree& root, std::vector<plain::AxisBox>& boxes,
                  std::vector<const plain::PlainGroundTree*>& leaves) {
    std::vector<const plain::PlainGroundTree*> pending{&root};
    while (!pending.empty() && boxes.size() < kMaxBoxes) {
        const plain::PlainGroundTree* node = pending.back();
        pending.pop_back();
        boxes.push_back({node->vMin, node->vMax});
        if (node->aChildren.empty()) leaves.push_back(node);
        for (const plain::PlainGroundTree& child : node->aChildren) pending.push_back(&child);
    }
}

V pointOfTriangle(PinnedRandom& random, const std::array<V, 3>& triangle) {
    const auto& [a, b, c] = triangle;
    switch (pick(random, 4)) {
        case 0: return triangle[pick(random, 3)];
        case 1: {
            const std::size_t from = pick(random, 3);
            return triangle[from] + share(random) * (triangle[(from + 1) % 3] - triangle[from]);
        }
        case 2: {
            const double u = share(random);
            return a + u * (b - a) + (1.0 - u) * share(random) * (c - a);
        }
        default: {
            // Of the triangle's plane, about as often outside as inside.
            const double u = random.in(-2.0, 3.0);
            return a + u * (b - a) + random.in(-2.0, 3.0) * (c - a);
        }
    }
}

V pointOfBox(PinnedRandom& random, const plain::AxisBox& box) {
    const V size = box.vMax - box.vMin;
    const double outside = random.chance(0.2) ? 1.5 : 1.0;
    const V at{share(random), share(random), share(random)};
    return {box.vMin.x + outside * at.x * size.x, box.vMin.y + outside * at.y * size.y,
            box.vMin.z + outside * at.z * size.z};
}

V hostileVector(PinnedRandom& random) {
    constexpr std::array kValues{
        0.0, -0.0, 1.0, -1.0, kInfinity, -kInfinity, 5e-324, 1.7e308, std::numeric_limits<double>::quiet_NaN()};
    V v;
    for (std::size_t axis = 0; axis < 3; ++axis)
        component(v, axis) = random.chance(0.5) ? kValues[pick(random, kValues.size())] : extremeNumber(random);
    return v;
}

}  // namespace

TrialRays::TrialRays(const plain::PlainGroundTree& tree) : m_tree(tree) {
    collectBoxes(tree, m_boxes, m_leaves);
    const V size = tree.vMax - tree.vMin;
    m_size = std::max({size.x, size.y, size.z});
    if (!(m_size > 0.0 && m_size < kInfinity)) m_size = 1.0;
}

plain::AxisBox TrialRays::box(PinnedRandom& random) const { return m_boxes[pick(random, m_boxes.size())]; }

std::array<V, 3> TrialRays::triangle(PinnedRandom& random) const {
    const std::vector<V>& list = m_tree.aTriangleVertices;
    if (list.empty()) return {};
    const std::size_t first = 3 * pick(random, list.size() / 3);
    return {list[first], list[first + 1], list[first + 2]};
}

V TrialRays::target(PinnedRandom& random, const std::array<V, 3>& triangle) const {
    switch (pick(random, 8)) {
        case 0: return pointOfBox(random, box(random));
        case 1: return pointOfBox(random, {m_tree.vMin, m_tree.vMax});
        case 2: return nudge(random, pointOfTriangle(random, triangle));
        default: return pointOfTriangle(random, triangle);
    }
}

V TrialRays::direction(PinnedRandom& random, const V& target, const std::array<V, 3>& triangle) const {
    const auto& [a, b, c] = triangle;
    switch (pick(random, 10)) {
        case 0: return unitAxis(random);
        case 1: return V(0, -1, 0);
        case 2: {
            // An axis, leaning by anything from a denormal number to much.
            V v = unitAxis(random);
            const double lean = magnitude(random, -320.0, 0.0);
            component(v, pick(random, 3)) += random.chance(0.5) ? lean : -lean;
            return v;
        }
        case 3: return {random.in(-0.2, 0.2), -1, 0};
        case 4: return random.chance(0.5) ? b - a : c - b;
        case 5: {
            const double p = share(random);
            return p * (b - a) + random.in(-1.0, 1.0) * (c - a);
        }
        case 6: {
            // Next to the plane of the triangle.
            const double p = random.in(-1.0, 1.0);
            const V within = p * (b - a) + share(random) * (c - a);
            const V off = random.vector(util::Length(within) * magnitude(random, -17.0, -1.0));
            return within + off;
        }
        case 7: return this->target(random, this->triangle(random)) - target;
        case 8: {
            const V diagonal{sign(random), static_cast<double>(pick(random, 3)) - 1.0, sign(random)};
            return diagonal;
        }
        default: return random.vector(1.0);
    }
}

double TrialRays::length(PinnedRandom& random) const {
    switch (pick(random, 8)) {
        case 0: return std::ldexp(1.0, static_cast<int>(pick(random, 40)) - 20);
        case 1: return magnitude(random, -200.0, 200.0);
        case 2: return m_size;
        case 3: {
            // Determinants, squares of lengths of the mesh times this, at an end of the range of numbers.
            const double exponent = random.chance(0.5) ? random.in(-328.0, -290.0) : random.in(295.0, 312.0);
            return std::pow(10.0, std::clamp(exponent - 2.0 * std::log10(m_size), -323.0, 308.0));
        }
        default: return 1.0;
    }
}

double TrialRays::distance(PinnedRandom& random) const {
    const double side = sign(random);
    switch (pick(random, 8)) {
        case 0: return 0.0;
        case 1: return std::ldexp(side, static_cast<int>(pick(random, 24)) - 8);
        case 2: return side * magnitude(random, 3.0, 12.0);
        case 3: return side * magnitude(random, -18.0, -3.0);
        case 4: return side * m_size;
        case 5: return side * magnitude(random, -5.0, 5.0) * m_size;
        default: return random.in(-3.0, 20.0);
    }
}

TrialRay TrialRays::grazingRay(PinnedRandom& random) const {
    const plain::AxisBox box = this->box(random);
    const std::size_t along = pick(random, 3);
    const std::size_t across = (along + 1 + pick(random, 2)) % 3;
    V at = pointOfBox(random, box);
    for (const std::size_t axis : {along, across}) {
        component(at, axis) = component(random.chance(0.5) ? box.vMin : box.vMax, axis);
        if (random.chance(0.7)) component(at, axis) += sign(random) * m_size * magnitude(random, -12.0, -3.0);
    }
    V direction = random.chance(0.5) ? V() : random.vector(magnitude(random, -7.0, 0.0));
    component(direction, along) = sign(random);
    component(direction, across) = sign(random) * magnitude(random, -8.0, -0.5);
    const double away = random.chance(0.2) ? distance(random) : random.in(-2.0, 2.0) * m_size;
    return {at - away * direction, direction};
}

TrialRay TrialRays::residueRay(PinnedRandom& random) const {
    const plain::AxisBox box = this->box(random);
    const V size = box.vMax - box.vMin;
    const std::size_t across = pick(random, 3);
    TrialRay ray;
    ray.origin = pointOfBox(random, box);
    component(ray.origin, across) = component(random.chance(0.5) ? box.vMin : box.vMax, across);
    ray.direction = random.chance(0.5) ? unitAxis(random) : random.vector(1.0);
    ray.direction = magnitude(random, -140.0, 0.0) * ray.direction;
    // Such that the determinant with a face of the box is a denormal number.
    const double area = size.x * size.y * size.z / component(size, across);
    const double residue = magnitude(random, -324.0, -318.0) / area;
    component(ray.direction, across) = std::isfinite(residue) ? residue : 5e-324;
    return ray;
}

TrialRay TrialRays::borderRay(PinnedRandom& random) const {
    const plain::AxisBox box = this->box(random);
    const V size = box.vMax - box.vMin;
    V at;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double eighths = 0.125 * static_cast<double>(4 * pick(random, 3));
        component(at, axis) = component(box.vMin, axis) + eighths * component(size, axis);
        if (random.chance(0.2)) component(at, axis) = component(box.vMax, axis);
        if (random.chance(0.3)) component(at, axis) = std::nextafter(component(at, axis), sign(random) * kInfinity);
    }
    TrialRay ray;
    switch (pick(random, 5)) {
        case 0: ray.direction = unitAxis(random); break;
        case 1: {
            // Along a diagonal of the cell or of one of its faces.
            const double x = static_cast<double>(pick(random, 3)) - 1.0;
            const double y = static_cast<double>(pick(random, 3)) - 1.0;
            ray.direction = V(x * size.x, y * size.y, size.z);
            break;
        }
        case 2:
            ray.direction = random.vector(1.0);
            component(ray.direction, pick(random, 3)) = sign(random) * 0.0;
            break;
        case 3: ray.direction = pointOfBox(random, this->box(random)) - at; break;
        default: ray.direction = target(random, triangle(random)) - at; break;
    }
    ray.origin = at - distance(random) * ray.direction;
    // What the line does not move along stays on the border.
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (component(ray.direction, axis) == 0.0) component(ray.origin, axis) = component(at, axis);
    return ray;
}

TrialRay TrialRays::planeRay(PinnedRandom& random) const {
    const plain::PlainGroundTree& leaf = *m_leaves[pick(random, m_leaves.size())];
    const std::vector<V>& list = leaf.aTriangleVertices;
    if (list.empty()) return aimedRay(random);
    const std::size_t first = 3 * pick(random, list.size() / 3);
    const V& a = list[first];
    const V p = list[first + 1] - a;
    const V q = list[first + 2] - a;
    const V normal = util::Cross(p, q);
    std::size_t widest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::fabs(component(normal, axis)) > std::fabs(component(normal, widest))) widest = axis;
    V at = pointOfBox(random, {leaf.vMin, leaf.vMax});
    if (component(normal, widest) != 0.0)
        component(at, widest) -= util::Dot(normal, at - a) / component(normal, widest);
    TrialRay ray;
    const double u = random.chance(0.5) ? 0.125 * static_cast<double>(pick(random, 17)) - 1.0 : random.in(-1.0, 1.0);
    ray.direction = u * p + (random.chance(0.5) ? random.in(-1.0, 1.0) : sign(random)) * q;
    if (random.chance(0.4))
        ray.direction += (util::Length(ray.direction) * magnitude(random, -17.0, -1.0)) * util::Normalized(normal);
    ray.origin = at - distance(random) * ray.direction;
    return ray;
}

TrialRay TrialRays::narrowlyPastRay(PinnedRandom& random) const {
    const std::array<V, 3> aimed = triangle(random);
    const std::size_t from = pick(random, 3);
    const V p = aimed[(from + 1) % 3] - aimed[from];
    const V q = aimed[(from + 2) % 3] - aimed[from];
    const double longest = std::max({util::Length(p), util::Length(q), util::Length(q - p)});
    const V cross = util::Cross(p, q);
    const double fullness = util::Length(cross) / (longest * longest);
    if (!(fullness > 0.0 && longest < kInfinity)) return aimedRay(random);
    const V normal = util::Normalized(cross);
    const V sides = std::array{p, q, q - p, util::Cross(normal, p)}[pick(random, 4)];
    const V within = util::Normalized(random.chance(0.5) ? sides : random.in(-1.0, 1.0) * p + q);
    // To the plane of the triangle.
    const double angle = random.chance(0.5) ? magnitude(random, -3.5, 0.0) : magnitude(random, -9.0, 0.5);
    const double sizes = random.chance(0.5) ? random.in(-3.0, 3.0) : sign(random);
    const double away = sizes * m_size * (random.chance(0.3) ? magnitude(random, 0.0, 9.0) : 1.0);
    const double rounding = 0x1p-53 * (std::fabs(away) + longest) / std::min(1.0, fullness * std::min(angle, 1.0));
    const V aside = std::array{within, util::Cross(normal, within), util::Normalized(p + q)}[pick(random, 3)];
    V at = aimed[from] + share(random) * p;
    const double past = std::min(rounding * magnitude(random, -2.0, 1.5), 4.0 * m_size);
    at += (sign(random) * past) * aside;
    TrialRay ray;
    ray.direction = within + (sign(random) * angle) * normal;
    ray.origin = at - away * ray.direction;
    return ray;
}

TrialRay TrialRays::ray(PinnedRandom& random) const {
    switch (pick(random, 16)) {
        case 0: return grazingRay(random);
        case 1: return random.chance(0.3) ? residueRay(random) : grazingRay(random);
        case 2: return borderRay(random);
        case 3: return planeRay(random);
        case 4: return narrowlyPastRay(random);
        default: return aimedRay(random);
    }
}

TrialRay TrialRays::aimedRay(PinnedRandom& random) const {
    const std::array<V, 3> aimed = triangle(random);
    const V target = this->target(random, aimed);
    TrialRay ray;
    ray.direction = direction(random, target, aimed);
    // Off the point by whole steps, so that the origin carries the rounding.
    ray.origin = target - distance(random) * ray.direction;
    const double length = this->length(random);
    if (length != 1.0) ray.direction = length * ray.direction;
    switch (pick(random, 40)) {
        case 0: component(ray.direction, pick(random, 3)) = extremeNumber(random); break;
        case 1: component(ray.origin, pick(random, 3)) = extremeNumber(random); break;
        case 2: ray.direction = hostileVector(random); break;
        case 3: ray.origin = hostileVector(random); break;
        case 4: ray.direction = nudge(random, ray.direction); break;
        case 5: ray.origin = nudge(random, ray.origin); break;
        case 6: ray.direction = V(); break;
        default: break;
    }
    return ray;
}

}  // namespace ond::test
