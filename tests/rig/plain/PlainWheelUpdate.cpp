// The update of a wheel node with nothing but whole casts, one after the other. A centre ray for each surface decides
// which one carries the wheel and how far down it hangs, then a fan of side rays lifts the wheel out of whatever its
// rim would cut into.
#include "rig/plain/PlainWheelUpdate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ond/util/Filters.h"

namespace ond::ovs::addon::rig {

using util::Conjugate;
using util::FilterSaturating;
using util::Length;
using util::Normalized;
using util::Quat;
using util::Rotate;
using util::Scaling;
using util::Transform;
using util::TransformNoProjection;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kNoHit = std::numeric_limits<double>::max();

// Far above what a rig needs (8 raises, 99 rays): where numbers have run away a frame still ends.
constexpr int kMostRaises = 1000;
constexpr int kMostRaysToASide = 10000;

/// What answers the rays.
enum class Caster {
    physicsWorld,  ///< the bodies in it, each where the element has it: nearest hit, none behind
    storedMesh,    ///< the tree over the stored mesh, any hit on the whole line
    surfaces,      ///< the host's surface objects
};

void divideAxesByLength(Matrix4& m) {
    for (int i = 0; i < 3; ++i) m.setRow(i, m.row(i) / Length(m.row(i)));
}

/// A side ray's place in the fan, and the ray itself in the coordinates of the surface it is cast at.
struct FanRay {
    bool straightDown;  ///< the middle one, which the centre ray stands in for
    double sine;        ///< of the angle
    double cosine;
    double sineOfSize;  ///< of the angle without its sign
    double cosineOfSize;
    Vector3<double> direction;  ///< unit
    double reach;               ///< how far the physics world looks along it
};

/// From back to front. Kept from one update to the next, because the angles rarely change.
struct Fan {
    double step = 0.0;  ///< angle between two rays, radians
    std::vector<FanRay> rays;
} fan;

/// Everything that one update of one wheel works with.
class Probe {
  public:
    Probe(CWheelNode& node, double time);

    /// Runs the whole update; false when it was given up with a message and nothing may be written.
    bool run();

  private:
    void collectGround(double time);
    void dropOnPlane();
    bool castCentreRays();
    bool castCentreRay(std::size_t s);
    void chooseSurface();
    void hang();
    void castSideRays();
    void spreadFan(double a, int k);
    void aimFan(std::size_t s);
    void castSideRay(std::size_t s, const Vector3<double>& off, const FanRay& ray);
    void settle();
    void releaseGround();
    void writeOutputs();
    bool cast(std::size_t s, const Vector3<double>& o, const Vector3<double>& dir, double reach, double& t);
    /// How far the physics world looks along `dir`, in multiples of it.
    [[nodiscard]] double reachAlong(const Vector3<double>& dir) const {
        return Length(dir) * R * 1000.0 * (car.fRelMaxBumperLen + 1.0);
    }
    [[nodiscard]] Vector3<double> worldNormal(std::size_t s) const;
    void sayMissingMatrix();

    CWheelNode& node;
    CCarCamObject& vehicle;
    CInterface& host;
    const cCarCam& car;
    pcWheel& wheel;
    const std::vector<Matrix4>& toWorld;
    const std::vector<Matrix4>& toLocal;
    double dt = 0.0;
    double R = 0.0;  ///< effective radius
    Caster caster = Caster::surfaces;
    bool stored = false;  ///< there is a stored mesh
    std::size_t n = 0;    ///< surfaces to walk

    Vector3<double> axle;  ///< unit X axis of last frame's wheel
    Vector3<double> up;    ///< unit up axis of the corner's relocator
    Vector3<double> down;
    Vector3<double> A;      ///< anchor of the suspension line, where the wheel's centre is at rest
    double baseLift = 0.0;  ///< how far above A the rays start
    double lift = 0.0;
    Vector3<double> start;               ///< A + lift * up
    QTransform<double> P;                ///< the wheel
    QTransform<double> H;                ///< where it is drawn to
    Vector3<double> nrm{0.0, 1.0, 0.0};  ///< normal of the last hit, as the caster gave it
    bool centreHit = false;
    int best = -1;  ///< surface that carries the wheel, -1 for none
    double bestDist = kNoHit;
    std::vector<Vector3<double>>& normals;
    std::vector<Vector3<double>>& points;
    std::vector<double>& dists;
    double sideT = 0.0;  ///< one for all side rays: through the physics world a miss keeps the last value
};

Probe::Probe(CWheelNode& wheelNode, double time)
    : node(wheelNode),
      vehicle(*wheelNode.parent),
      host(*vehicle.hostInterface),
      car(vehicle.cCarCam),
      wheel(vehicle.cCarCam.pcWheel[wheelNode.iCorner]),
      toWorld(vehicle.cGravityDirectionNode.mParentMesh),
      toLocal(vehicle.cGravityDirectionNode.mParentMesh_inv),
      P(wheel.qTransWheelAbs),
      H(wheel.qTransWheelAbs),
      normals(wheelNode.hits.normals),
      points(wheelNode.hits.points),
      dists(wheelNode.hits.dists) {
    const WheelGeometry& geom = car.wheelGeom[node.iCorner];
    R = geom.radius * car.dWheelRadiusMult;
    node.mPrev2 = node.mPrev;
    node.mPrev = node.mCurr;
    axle = node.mCurr.row(0) / Length(node.mCurr.row(0));

    Matrix4 base;
    if (node.iCorner < vehicle.aWheelRelocatorNodes.size())
        readWorldMatrix(vehicle.aWheelRelocatorNodes[node.iCorner], base, time);
    base.setRow(3, vehicle.cCarBodyNode.mCurr.row(3));
    divideAxesByLength(base);
    up = base.row(1);
    down = -up;
    A = base.row(3) + geom.x * base.row(0) + geom.z * base.row(2) - car.fBodyRestHeight * up + R * up;
    baseLift = car.fBodyLength * 0.2742857142857143 + car.fBodyRestHeight - R;
    lift = baseLift;
    start = A + lift * up;

    collectGround(time);
    dt = host.getFrameStep();
    stored = vehicle.cMesh_storedGroundMesh.getNumFaces() >= 1;
    if (vehicle.bUseStaticMesh)
        caster = Caster::physicsWorld;
    else if (stored)
        caster = Caster::storedMesh;
    n = caster == Caster::surfaces ? node.aGroundSurfaces.size() : 1;
}

void Probe::collectGround(double time) {
    node.aGroundMeshes.clear();
    node.aGroundSurfaces.clear();
    MeshHandle* gravity = vehicle.cGravityDirectionNode.pMesh;
    if (gravity == nullptr) return;
    const auto append = [&](MeshHandle* element) {
        if (element == nullptr) return;
        node.aGroundMeshes.push_back(element);
        if (SurfaceObject* surface = host.getSurfaceObject(element, time)) node.aGroundSurfaces.push_back(surface);
    };
    append(gravity->getParent());
    const std::int32_t children = gravity->getNumChildren();
    for (std::int32_t i = 0; i < children; ++i) append(gravity->getChild(i));
}

bool Probe::run() {
    if (node.aGroundSurfaces.empty() && !stored && !vehicle.bUseStaticMesh) {
        dropOnPlane();
        writeOutputs();
        return true;
    }
    normals.assign(n, {0.0, 1.0, 0.0});
    points.assign(n, {});
    dists.clear();
    P.position = A + Dot(up, P.position - A) * up;
    if (!castCentreRays()) return false;
    chooseSurface();
    hang();
    if (vehicle.iRayMultiplier >= 2) castSideRays();
    settle();
    releaseGround();
    writeOutputs();
    return true;
}

/// Without any ground the wheel stands on the plane y = 0.
void Probe::dropOnPlane() {
    const Vector3<double> worldUp(0.0, 1.0, 0.0);
    const double t = down.y == 0.0 ? 0.0 : -start.y / down.y;
    node.dCurrDeltaW = t - R;
    FilterSaturating(node.dCurrDelta, node.dCurrDeltaW, vehicle.fSurfaceEdgeResponseFactor, 0.0, dt);
    P.position = start + node.dCurrDelta * down;
    wheel.bInAir = false;
    wheel.vGroundNormal = worldUp;
    wheel.vGroundHitPoint = P.position - R * worldUp;
}

/// One cast in the coordinates of surface `s`. `t` and the normal stay as they are without a hit.
bool Probe::cast(std::size_t s, const Vector3<double>& o, const Vector3<double>& dir, double reach, double& t) {
    switch (caster) {
        case Caster::physicsWorld: return node.castBulletRay(o, dir, t, nrm, reach);
        case Caster::storedMesh: return vehicle.cGroundMeshTree.rayQuery(o, dir, t, &nrm);
        case Caster::surfaces: return node.aGroundSurfaces[s]->intersect(o, dir, &t, &nrm);
    }
    return false;
}

/// Normal of the last hit in the world. Hits in the physics world keep the normal that the library gave.
Vector3<double> Probe::worldNormal(std::size_t s) const {
    return caster == Caster::physicsWorld ? nrm : Normalized(TransformNoProjection(toWorld[s], nrm, 0.0));
}

void Probe::sayMissingMatrix() {
    host.messageBox(
        "1028 !(parent->cGravityDirectionNode.mParentMesh_inv.size() > iSurface) meaning mParentMesh_inv[ iSurface] "
        "would crash.\n\nplugins/release/quadrigextended/trunk/CCarCamObject.h",
        "Error", 0);
}

bool Probe::castCentreRays() {
    for (std::size_t s = 0; s < n; ++s) {
        if (s >= toLocal.size()) {
            sayMissingMatrix();
            return false;
        }
        if (!castCentreRay(s)) dists.push_back(kNoHit);
    }
    return true;
}

/// From above the wheel down; raises the origin until something is hit or it is two car lengths up.
bool Probe::castCentreRay(std::size_t s) {
    Vector3<double> from = start;
    double raised = lift;
    const Vector3<double> dir = Normalized(TransformNoProjection(toLocal[s], down, 0.0));
    // A wheel that fell fast may have the ground above the ray's usual origin.
    const double drop = node.mPrev2.row(3).y - P.position.y;
    if (2 * R < drop) {
        const double extra = 2 * drop;
        raised += extra;
        from += extra * up;
    }
    const double reach = reachAlong(dir);
    double t = 0.0;
    for (int raises = 0; !cast(s, Transform(toLocal[s], from), dir, reach, t); ++raises) {
        // Not below covers numbers that have run away, too.
        if (!(raised < 2 * car.fBodyLength) || raises == kMostRaises) return false;
        raised += baseLift;
        from += baseLift * up;
    }
    centreHit = true;
    const Vector3<double> v = TransformNoProjection(toWorld[s], t * dir, 0.0);
    dists.push_back(Length(v) - raised - R);
    normals[s] = worldNormal(s);
    points[s] = from + v;
    return true;
}

/// Of all surfaces that were hit, the topmost carries the wheel; at equal heights the earlier one.
void Probe::chooseSurface() {
    for (std::size_t s = 0; s < dists.size(); ++s)
        if (dists[s] < bestDist) {
            bestDist = dists[s];
            best = static_cast<int>(s);
        }
}

/// Where the wheel hangs: on the ground, or in the air at the end of its travel or falling towards it.
void Probe::hang() {
    const double maxExt = car.fRelMaxBumperLen * R;
    const double maxDrop = R * vehicle.dMaximumSpringChangeVelocityRel;
    if (best != -1 && (!car.bGravityOn || bestDist < maxExt)) {
        node.dCurrDeltaW = node.dCurrDelta = bestDist;
        wheel.bInAir = false;
        H.position = A + bestDist * down;
        return;
    }
    if (best == -1 || Length(P.position - A) + maxDrop * dt >= maxExt)
        P.position = A - maxExt * up;
    else
        P.position -= maxDrop * dt * up;
    wheel.bInAir = true;
    node.dCurrDeltaW = node.dCurrDelta = Length(P.position - A);
}

void Probe::castSideRays() {
    const double a = vehicle.dDegsPerRay / 180.0 * kPi;
    int k = std::min(vehicle.iRayMultiplier - 1, kMostRaysToASide);
    if (k * a > kPi / 2) k = static_cast<int>(kPi / 2 / a);
    const int edges = vehicle.bAddRaysAtWheelEdges ? 1 : 0;
    spreadFan(a, k);
    for (std::size_t s = 0; s < n; ++s) {
        aimFan(s);
        for (int e = -edges; e <= edges; ++e) {
            const Vector3<double> off = node.vInitScale.x * 0.5 * e * axle;
            for (const FanRay& ray : fan.rays)
                if (e != 0 || !ray.straightDown) castSideRay(s, off, ray);
        }
    }
}

/// The angles of the fan: `k` rays to each side, `a` radians apart.
void Probe::spreadFan(double a, int k) {
    const std::size_t count = 2 * static_cast<std::size_t>(k) + 1;
    if (fan.rays.size() == count && fan.step == a) return;
    fan.step = a;
    fan.rays.resize(count);
    int j = -k;
    for (FanRay& ray : fan.rays) {
        ray.straightDown = j == 0;
        const double angle = j++ * a;
        ray.sine = std::sin(angle);
        ray.cosine = std::cos(angle);
        ray.sineOfSize = std::sin(std::abs(angle));
        ray.cosineOfSize = std::cos(std::abs(angle));
    }
}

/// The directions of the fan in the coordinates of surface `s`.
void Probe::aimFan(std::size_t s) {
    for (FanRay& ray : fan.rays) {
        // The quaternion takes the whole angle, so that the ray stands at twice the angle from `down`. Recorded takes
        // rest on this fan.
        const Vector3<double> sine = ray.sine * axle;
        const Vector3<double> rd = Rotate(Quat<double>(sine.x, sine.y, sine.z, ray.cosine), down);
        ray.direction = Normalized(TransformNoProjection(toLocal[s], rd, 0.0));
        ray.reach = reachAlong(ray.direction);
    }
}

/// A hit lifts the wheel, and the rays that follow start from there.
void Probe::castSideRay(std::size_t s, const Vector3<double>& off, const FanRay& ray) {
    const Vector3<double> o = Transform(toLocal[s], H.position + off);
    const bool hit = cast(s, o, ray.direction, ray.reach, sideT);
    if (!(caster == Caster::physicsWorld ? centreHit : hit)) return;

    const Vector3<double> v = TransformNoProjection(toWorld[s], sideT * ray.direction, 0.0);
    const double len = Length(v);
    if (!(len < R)) return;
    best = static_cast<int>(s);
    normals[s] = worldNormal(s);
    points[s] = H.position + off + v;
    wheel.bInAir = false;
    const double c = len * ray.sineOfSize;
    const double b = len * ray.cosineOfSize;
    const double push = std::sqrt(R * R - c * c) - b;
    node.dCurrDeltaW -= push;
    node.dCurrDelta = node.dCurrDeltaW;
    H.position += push * up;
}

void Probe::settle() {
    if (!wheel.bInAir) FilterSaturating(P.position, H.position, vehicle.fSurfaceEdgeResponseFactor, 0.0, dt);
    if (best == -1) {
        wheel.vGroundNormal = up;
        wheel.vGroundHitPoint = P.position - R * up;
    } else {
        wheel.vGroundNormal = normals[static_cast<std::size_t>(best)];
        wheel.vGroundHitPoint = points[static_cast<std::size_t>(best)];
    }
}

/// With a stored mesh the surfaces stay with the host until it ends the vehicle.
void Probe::releaseGround() {
    if (stored) return;
    for (SurfaceObject* surface : node.aGroundSurfaces) host.releaseSurfaceObject(surface);
    for (MeshHandle* element : node.aGroundMeshes) host.releaseElementData(element);
}

void Probe::writeOutputs() {
    const Vector3<double> inCar = Rotate(Conjugate(car.qTransCarAbs.rotation), P.position - car.qTransCarAbs.position);
    wheel.dWheelGroundNormalDiff = inCar.y;
    if (!wheel.bInAir) P.position += wheel.fGravelOffset * up;
    node.vInitScale.y = R;
    node.vInitScale.z = R;
    node.mCurr = ToMatrix(P) * Scaling({node.vInitScale.x, R, R});
    wheel.qTransWheelAbs = P;
    const Vector3<double> lowest = node.mCurr.row(3) + R * down;
    const Vector3<double> lowestBefore = node.mPrev.row(3) + R * node.vWheelDownPrev;
    wheel.dSuspDistanceMoved = Length(lowest - lowestBefore);
    node.vWheelDownPrev = down;
    wheel.vSuspPoint = node.mCurr.row(3) - R * up;
}

}  // namespace

}  // namespace ond::ovs::addon::rig

namespace ond::test {

void plainWheelUpdate(ovs::addon::rig::CWheelNode& node, double time) { ovs::addon::rig::Probe(node, time).run(); }

}  // namespace ond::test
