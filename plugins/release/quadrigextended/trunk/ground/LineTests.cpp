#include "ground/LineTests.h"

#include "ground/LineSolve.h"
#include "ond/util/Matrix4.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

bool isWithinEdge(double t) { return t >= 0.0 && t <= 1.0; }

}  // namespace

bool solveByInverse(const Vector3<double>& corner, const Vector3<double>& p, const Vector3<double>& q,
                    const Vector3<double>& origin, const Vector3<double>& direction, LinePoint& point) {
    util::Matrix4 m;
    m.setRow(0, p);
    m.setRow(1, q);
    m.setRow(2, -direction);
    if (util::Determinant(m) == 0.0) return false;
    const Vector3<double> solution = util::Transform(util::Inverse(m), origin - corner);
    point = {solution.x, solution.y, solution.z};
    return true;
}

std::array<BoxEdge, 12> edgesOfBox(const AxisBox& box) {
    const Vector3<double> size = box.vMax - box.vMin;
    const Vector3<double> x(size.x, 0.0, 0.0);
    const Vector3<double> y(0.0, size.y, 0.0);
    const Vector3<double> z(0.0, 0.0, size.z);
    const Vector3<double>& o = box.vMin;
    return {{{o, x},
             {o + y, x},
             {o + y + z, x},
             {o + z, x},
             {o, y},
             {o + x, y},
             {o + x + z, y},
             {o + z, y},
             {o, z},
             {o + x, z},
             {o + x + y, z},
             {o + y, z}}};
}

std::array<BoxFace, 6> facesOfBox(const AxisBox& box) {
    const Vector3<double> size = box.vMax - box.vMin;
    const Vector3<double> x(size.x, 0.0, 0.0);
    const Vector3<double> y(0.0, size.y, 0.0);
    const Vector3<double> z(0.0, 0.0, size.z);
    return {{{box.vMin, x, y},
             {box.vMin, y, z},
             {box.vMin, z, x},
             {box.vMax, -x, -y},
             {box.vMax, -y, -z},
             {box.vMax, -z, -x}}};
}

bool boxContains(const AxisBox& box, const Vector3<double>& point) {
    return point.x >= box.vMin.x && point.x <= box.vMax.x && point.y >= box.vMin.y && point.y <= box.vMax.y &&
           point.z >= box.vMin.z && point.z <= box.vMax.z;
}

bool lineMeetsTriangle(const Vector3<double>& a, const Vector3<double>& b, const Vector3<double>& c,
                       const Vector3<double>& origin, const Vector3<double>& direction, double& t) {
    LinePoint point;
    if (!solveLineOnPlane<true>(a, b - a, c - a, origin, direction, point)) return false;
    if (!isOnTriangle(point)) return false;
    t = point.t;
    return true;
}

bool lineMeetsParallelogram(const BoxFace& face, const Vector3<double>& origin, const Vector3<double>& direction,
                            double& t) {
    LinePoint point;
    if (!solveLineOnPlane<true>(face.corner, face.p, face.q, origin, direction, point)) return false;
    if (!(point.u >= 0.0 && point.v >= 0.0 && point.u <= 1.0 && point.v <= 1.0)) return false;
    t = point.t;
    return true;
}

bool lineMeetsBox(const AxisBox& box, const Vector3<double>& origin, const Vector3<double>& direction, double& t) {
    bool met = false;
    for (const BoxFace& face : facesOfBox(box)) {
        double faceT = 0.0;
        if (!lineMeetsParallelogram(face, origin, direction, faceT)) continue;
        if (!met || faceT < t) t = faceT;
        met = true;
    }
    return met;
}

// Faces across y first: grounds lie flat.
bool lineMeetsBox(const AxisBox& box, const Vector3<double>& origin, const Vector3<double>& direction) {
    const std::array<BoxFace, 6> faces = facesOfBox(box);
    for (const std::size_t face : {2U, 5U, 0U, 3U, 1U, 4U}) {
        double t = 0.0;
        if (lineMeetsParallelogram(faces[face], origin, direction, t)) return true;
    }
    return false;
}

bool boxContainsCorner(const AxisBox& box, const Vector3<double>& a, const Vector3<double>& b,
                       const Vector3<double>& c) {
    return boxContains(box, a) || boxContains(box, b) || boxContains(box, c);
}

bool boxEdgeMeetsTriangle(const AxisBox& box, const Vector3<double>& a, const Vector3<double>& b,
                          const Vector3<double>& c) {
    for (const BoxEdge& edge : edgesOfBox(box)) {
        double t = 0.0;
        if (lineMeetsTriangle(a, b, c, edge.corner, edge.along, t) && isWithinEdge(t)) return true;
    }
    return false;
}

bool triangleSideMeetsBox(const AxisBox& box, const Vector3<double>& a, const Vector3<double>& b,
                          const Vector3<double>& c) {
    double t = 0.0;
    return (lineMeetsBox(box, a, b - a, t) && isWithinEdge(t)) || (lineMeetsBox(box, b, c - b, t) && isWithinEdge(t)) ||
           (lineMeetsBox(box, c, a - c, t) && isWithinEdge(t));
}

bool triangleOverlapsBox(const AxisBox& box, const Vector3<double>& a, const Vector3<double>& b,
                         const Vector3<double>& c) {
    return boxContainsCorner(box, a, b, c) || boxEdgeMeetsTriangle(box, a, b, c) || triangleSideMeetsBox(box, a, b, c);
}

}  // namespace ond::ovs::addon
