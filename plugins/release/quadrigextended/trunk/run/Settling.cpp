#include "run/Settling.h"

#include <cmath>

#include "ond/util/Matrix4.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::ClampAbs;
using util::Cross;
using util::Inverse;
using util::Matrix4;
using util::Multiply;
using util::Normalized;
using util::Rotate;
using util::TransformNoProjection;

Vector3<double> pointOnPlane(const Vector3<double>& origin, const Vector3<double>& down, const Vector3<double>& a,
                             const Vector3<double>& b, const Vector3<double>& c) {
    Matrix4 basis;
    basis.setRow(0, a);
    basis.setRow(1, b);
    basis.setRow(2, c);
    // `down` in the basis of the three points; scaled so that its coefficients add up to 1 it ends on their plane.
    Vector3<double> k = Normalized(TransformNoProjection(Inverse(basis), down, 0.0));
    k = k / (k.x + k.y + k.z);
    return origin + TransformNoProjection(basis, k, 0.0);
}

void settleOnWheels(cCarCam& car) {
    const Vector3<double> p0 = car.pcWheel[0].vSuspPoint;
    const Vector3<double> p1 = car.pcWheel[1].vSuspPoint;
    const Vector3<double> p2 = car.pcWheel[2].vSuspPoint;
    const Vector3<double> p3 = car.pcWheel[3].vSuspPoint;
    const Vector3<double> backMid = p3 + (p2 - p3) / 2.0;

    // Neither the plane's normal nor the axis of the turn is normalised: the missing length takes the turn back to a
    // part of the error per frame, which keeps the frame from swinging.
    const Vector3<double> n = Cross(Normalized(p1 - backMid), Normalized(p0 - backMid));
    const Vector3<double> up = Rotate(car.qTransCarAbs.rotation, {0.0, 1.0, 0.0});
    const double angle = std::acos(ClampAbs(Dot(up, n), 1.0));
    const Vector3<double> axis = Cross(up, n) * std::sin(angle / 2);
    const Quat<double> q(axis.x, axis.y, axis.z, std::cos(angle / 2));
    car.qTransCarAbs.rotation = Normalized(Multiply(car.qTransCarAbs.rotation, q));

    const QTransform<double>& body = car.cCarBody.qTransAbs;
    const Vector3<double> down = Rotate(body.rotation, {0.0, -1.0, 0.0});
    const Vector3<double> o = body.position;
    car.qTransCarAbs.position = pointOnPlane(o, down, backMid - o, p0 - o, p1 - o);
}

}  // namespace ond::ovs::addon
