// Update of a wheel node. A centre ray for each surface decides which one carries the wheel and how far down it hangs,
// then a fan of side rays lifts the wheel out of whatever its rim would cut into.
#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <limits>
#include <typeinfo>
#include <vector>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ground/GroundReach.h"
#include "ground/NearGround.h"
#include "ond/util/Filters.h"
#include "rig/SideRays.h"

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

// A little more than rounding takes from a length.
constexpr double kWider = 1.0 + 1e-9;
// Where a matrix shortens a direction by more than that, squared, rounding takes more than a little.
constexpr double kFlattest = 1e-10;
// By how much squares of lengths may differ that are taken for the same, and more than that adds to a length.
constexpr double kUneven = 1e-7;
constexpr double kAboutWider = 1.0 + 1e-6;
// How far the wheel may be lifted, in radii, before what is near is gathered anew.
constexpr double kRise = 0.15;
// How far up or down, in radii, the wheel is likely to go in a frame.
constexpr double kSlack = 0.2;

// Work space of an update; each finds what the last one left, of whatever vehicle, and takes only its memory. Shared,
// so that a hundred vehicles do not drive one another's out of the processor's cache. There is one thread, the host's.
NearGround sharedNearGround;
GroundReach sharedGroundReach;

/// What answers the rays.
enum class Caster {
    physicsWorld,  ///< the bodies in it, each where the element has it: nearest hit, none behind
    storedMesh,    ///< the tree over the stored mesh, any hit on the whole line
    surfaces,      ///< the host's surface objects
};

/// Whether the length is 1, but for some rounding.
bool isUnit(const Vector3<double>& v) { return std::abs(Dot(v, v) - 1.0) <= kUneven; }

/// Whether the matrix makes all lengths so many times as long and leaves angles as they are, but for some rounding.
bool keepsShapes(const Matrix4& m, double& times) {
    const Vector3<double> x = m.row(0);
    const Vector3<double> y = m.row(1);
    const Vector3<double> z = m.row(2);
    const double size = Dot(x, x);
    times = std::sqrt(size);
    const auto isSmall = [size](double value) { return std::abs(value) <= kUneven * size; };
    return size > 0.0 && isSmall(Dot(y, y) - size) && isSmall(Dot(z, z) - size) && isSmall(Dot(x, y)) &&
           isSmall(Dot(y, z)) && isSmall(Dot(z, x));
}

void divideAxesByLength(Matrix4& m) {
    for (int i = 0; i < 3; ++i) m.setRow(i, m.row(i) / Length(m.row(i)));
}

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
    [[nodiscard]] bool hasSideRays() const { return vehicle.iRayMultiplier >= 2; }
    void spreadFan();
    const SideRay& aim(std::size_t s, std::size_t i);
    [[nodiscard]] std::size_t skipFarRays(std::size_t i);
    void castSideRay(std::size_t s, const Vector3<double>& off, std::size_t i);
    bool prepareNearGround(const Vector3<double>& from);
    bool enterNearGround();
    bool turnNearGround();
    bool aimNearGround();
    bool findReach();
    [[nodiscard]] std::array<Vector3<double>, 2> boxOfOrigins(const Vector3<double>& from,
                                                              const Vector3<double>& to) const;
    bool gatherNearGround(const Vector3<double>& from, const Vector3<double>& to,
                          const NearGround::Column* column = nullptr);
    void place(std::size_t s, const Vector3<double>& off);
    bool prepareStoredGround();
    bool gatherStoredGround();
    bool startInReach();
    [[nodiscard]] bool endsOutside(std::size_t s, std::size_t i);
    bool startNearby();
    bool castNearby(std::size_t s, std::size_t i);
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
    SideRays* fan = nullptr;  ///< shared; from spreadFan() on
    std::bitset<256> aimed;   ///< rays of the fan that have their directions; those behind never count as aimed
    std::vector<Vector3<double>>& normals;
    std::vector<Vector3<double>>& points;
    std::vector<double>& dists;
    double sideT = 0.0;          ///< one for all side rays: through the physics world a miss keeps the last value
    Vector3<double> sideOrigin;  ///< of side rays, in the coordinates of the surface
    bool isPlaced = false;       ///< `sideOrigin` is that of the next one
    bool isNarrowed = false;     ///< what is near, to the rays of one offset
    bool nearby = false;         ///< side rays go to `nearGround`
    NearGround& nearGround;      ///< what of the physics world is within the wheel's reach
    bool inReach = false;        ///< side rays are asked about at `sharedGroundReach` first
    std::array<GroundReach::Tells, 256> tells{};  ///< about each ray of the fan
    double nearT = 0.0;  ///< multiples of a side ray's direction that are certainly no less than R
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
      dists(wheelNode.hits.dists),
      nearGround(sharedNearGround) {
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
    vehicle.cFrameMemory.fetchAhead();
    if (!castCentreRays()) return false;
    chooseSurface();
    hang();
    vehicle.cFrameMemory.fetchAhead();
    if (hasSideRays()) castSideRays();
    vehicle.cFrameMemory.fetchAhead();
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
    nearby = hasSideRays() && caster == Caster::physicsWorld && prepareNearGround(from);
    const bool isFound = nearby && nearGround.castDown(dir, reach, t, nrm);
    for (int raises = 0; !isFound && !cast(s, Transform(toLocal[s], from), dir, reach, t); ++raises) {
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
    // In the physics world the side rays count for what the centre ray has hit.
    if (caster == Caster::physicsWorld && !centreHit) return;
    const int edges = vehicle.bAddRaysAtWheelEdges ? 1 : 0;
    for (std::size_t s = 0; s < n; ++s) {
        if (caster != Caster::physicsWorld) spreadFan();
        inReach = caster == Caster::storedMesh && prepareStoredGround();
        const std::size_t count = fan->rays.size();
        for (int e = -edges; e <= edges; ++e) {
            const Vector3<double> off = node.vInitScale.x * 0.5 * e * axle;
            vehicle.cFrameMemory.fetchAhead();
            isNarrowed = false;
            isPlaced = false;
            for (std::size_t i = 0; (i = skipFarRays(i)) < count; ++i)
                if (e != 0 || i != count / 2) castSideRay(s, off, i);
        }
    }
}

/// The angles of the fan. No ray of it is aimed then.
void Probe::spreadFan() {
    const double a = vehicle.dDegsPerRay / 180.0 * kPi;
    int k = std::min(vehicle.iRayMultiplier - 1, kMostRaysToASide);
    if (k * a > kPi / 2) k = static_cast<int>(kPi / 2 / a);
    aimed.reset();
    fan = &sideRays(a, static_cast<std::size_t>(k));
}

/// A ray of the fan with its direction in the coordinates of surface `s`. Where only few rays can hit anything, the
/// others are never asked for theirs.
const SideRay& Probe::aim(std::size_t s, std::size_t i) {
    SideRay& ray = fan->rays[i];
    if (i < aimed.size()) {
        if (aimed[i]) return ray;
        aimed[i] = true;
    }
    // The quaternion takes the whole angle, so that the ray stands at twice the angle from `down`. Recorded takes
    // rest on this fan.
    const Vector3<double> sine = ray.sine * axle;
    const Vector3<double> rd = Rotate(Quat<double>(sine.x, sine.y, sine.z, ray.cosine), down);
    ray.direction = Normalized(TransformNoProjection(toLocal[s], rd, 0.0));
    ray.reach = reachAlong(ray.direction);
    return ray;
}

/// The first ray from number `i` on that something could come of. The ones before it are known to end outside of the
/// wheel.
std::size_t Probe::skipFarRays(std::size_t i) {
    // A miss leaves the last distance in place, so that rays are not all one while that is within reach.
    if (!nearby || !isPlaced || !(sideT > nearT)) return i;
    return nearGround.nextThatCouldHit(i);
}

/// A hit lifts the wheel, and the rays that follow start from there.
void Probe::castSideRay(std::size_t s, const Vector3<double>& off, std::size_t i) {
    if (!isPlaced) place(s, off);
    if (nearby) {
        if (!castNearby(s, i)) return;
    } else {
        if (inReach && endsOutside(s, i)) return;
        const SideRay& wanted = aim(s, i);
        const bool hit = cast(s, sideOrigin, wanted.direction, wanted.reach, sideT);
        if (!(caster == Caster::physicsWorld ? centreHit : hit)) return;
    }

    const SideRay& ray = aim(s, i);
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
    isPlaced = false;
}

/// Where the next side rays start.
void Probe::place(std::size_t s, const Vector3<double>& off) {
    isPlaced = true;
    sideOrigin = Transform(toLocal[s], H.position + off);
    nearby = nearby && startNearby();
    inReach = inReach && startInReach();
}

/// Gets ready to tell which side rays hit nothing of the stored mesh within the wheel; false if that cannot be told.
bool Probe::prepareStoredGround() {
    if (vehicle.cGroundMeshTree.index() == nullptr || fan->rays.size() > tells.size()) return false;
    if (!findReach()) return false;
    const GroundRayTables& tables = vehicle.cGroundMeshTree.index()->tables();
    bool isAnyTold = false;
    for (std::size_t i = 0; i < fan->rays.size(); ++i) {
        tells[i] = sharedGroundReach.tells(tables, fan->rays[i].direction);
        isAnyTold = isAnyTold || tells[i] != GroundReach::Tells::nothing;
    }
    return isAnyTold && gatherStoredGround();
}

/// Has what is within reach at hand for rays from `sideOrigin`.
bool Probe::startInReach() {
    if (isNarrowed && sharedGroundReach.startFrom(sideOrigin)) return true;
    const Vector3<double> rise = TransformNoProjection(toLocal[0], kRise * R * up, 0.0);
    if (!sharedGroundReach.holds(sideOrigin, rise) && !gatherStoredGround()) return false;
    isNarrowed = sharedGroundReach.narrow(sideOrigin, rise);
    return isNarrowed && sharedGroundReach.startFrom(sideOrigin);
}

bool Probe::gatherStoredGround() {
    // As far as a wheel is narrowed to after it was lifted.
    const std::array<Vector3<double>, 2> box = boxOfOrigins(H.position, H.position + 2.0 * kRise * R * up);
    return sharedGroundReach.gather(vehicle.cGroundMeshTree.index()->tables(), box[0], box[1], nearT);
}

/// Whether a side ray certainly hits nothing of the stored mesh within the wheel.
bool Probe::endsOutside(std::size_t s, std::size_t i) {
    if (tells[i] == GroundReach::Tells::nothing) return false;
    const Vector3<double>& direction = aim(s, i).direction;
    if (sharedGroundReach.couldHit(direction)) return false;
    return tells[i] == GroundReach::Tells::all || !vehicle.cGroundMeshTree.index()->mayHitEdgeOn(sideOrigin, direction);
}

/// Aims the fan and gathers what it and the centre ray from `from` can hit, taking it that the wheel stays about where
/// it is on its line. Where it does not, the world answers the centre ray and the fan gathers anew.
bool Probe::prepareNearGround(const Vector3<double>& from) {
    spreadFan();
    if (!enterNearGround()) return false;
    const NearGround::Column column{Transform(toLocal[0], from),
                                    Transform(toLocal[0], P.position - (1.0 + kSlack) * R * up)};
    return gatherNearGround(P.position - kSlack * R * up, P.position + (kSlack + kRise) * R * up, &column);
}

/// Whether side rays can be cast at what is near. Not so when somebody's own caster wants to see all of them.
bool Probe::enterNearGround() {
    const btDefaultVehicleRaycaster* raycaster = vehicle.m_vehicleRaycaster.get();
    if (raycaster == nullptr || typeid(*raycaster) != typeid(btDefaultVehicleRaycaster)) return false;
    if (!nearGround.enter(*vehicle.cPhysicsWorld.pWorld)) return false;
    return turnNearGround() || aimNearGround();
}

/// Tells the near ground about the fan as a whole, if the surface's matrices keep shapes: then no direction of its rays
/// has to be worked out for that.
bool Probe::turnNearGround() {
    double toWorldTimes = 0.0;
    double toLocalTimes = 0.0;
    if (!keepsShapes(toWorld[0], toWorldTimes) || !keepsShapes(toLocal[0], toLocalTimes)) return false;
    if (!isUnit(axle) || !isUnit(down)) return false;
    const auto local = [&](const Vector3<double>& v) {
        return TransformNoProjection(toLocal[0], v, 0.0) / toLocalTimes;
    };
    nearT = R / toWorldTimes * kAboutWider;
    nearGround.beginFan(nearT, reachAlong(down), fan->angles, local(down), local(Dot(axle, down) * axle),
                        local(Cross(axle, down)));
    return true;
}

/// The same for any matrices, ray by ray.
bool Probe::aimNearGround() {
    if (!findReach()) return false;
    nearGround.beginFan(nearT);
    for (const SideRay& ray : fan->rays) nearGround.addDirection(ray.direction, ray.reach);
    return true;
}

/// Aims the fan and sets how far its rays have to be looked along; false where a direction is as good as lost.
bool Probe::findReach() {
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < fan->rays.size(); ++i) {
        const Vector3<double> v = TransformNoProjection(toWorld[0], aim(0, i).direction, 0.0);
        least = std::min(least, Dot(v, v));
    }
    double largest = 0.0;
    for (int i = 0; i < 3; ++i) largest += Dot(toWorld[0].row(i), toWorld[0].row(i));
    if (!(least > kFlattest * largest)) return false;
    nearT = R / std::sqrt(least) * kWider;
    return true;
}

/// Lowest and highest corner of where side rays start while the wheel is between two places.
std::array<Vector3<double>, 2> Probe::boxOfOrigins(const Vector3<double>& from, const Vector3<double>& to) const {
    const Vector3<double> aside = node.vInitScale.x * 0.5 * (vehicle.bAddRaysAtWheelEdges ? 1.0 : 0.0) * axle;
    Vector3<double> low = Transform(toLocal[0], from);
    Vector3<double> high = low;
    for (const Vector3<double>& origin : {from - aside, from + aside, to - aside, to + aside}) {
        const Vector3<double> o = Transform(toLocal[0], origin);
        low = {std::min(low.x, o.x), std::min(low.y, o.y), std::min(low.z, o.z)};
        high = {std::max(high.x, o.x), std::max(high.y, o.y), std::max(high.z, o.z)};
    }
    return {low, high};
}

/// What the side rays could hit while the wheel is between two places.
bool Probe::gatherNearGround(const Vector3<double>& from, const Vector3<double>& to, const NearGround::Column* column) {
    const std::array<Vector3<double>, 2> box = boxOfOrigins(from, to);
    if (!nearGround.gather(box[0], box[1], column)) return false;
    // Around there the next frame will look again.
    static_assert(NearGround::kMostMemory <= FrameMemory::kGround);
    std::size_t part = 0;
    for (const NearGround::Memory& looked : nearGround.lookedAt())
        vehicle.cFrameMemory.setGround(node.iCorner, part++, looked.memory, looked.bytes);
    return true;
}

/// Has the near ground at hand for rays from `sideOrigin`.
bool Probe::startNearby() {
    if (isNarrowed && nearGround.startFrom(sideOrigin)) return true;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (attempt > 0 && !gatherNearGround(H.position, H.position + kRise * R * up)) return false;
        nearGround.narrow(sideOrigin, TransformNoProjection(toLocal[0], kRise * R * up, 0.0));
        isNarrowed = true;
        if (nearGround.startFrom(sideOrigin)) return true;
    }
    return false;
}

/// One side ray; false when it is known to end outside of the wheel.
bool Probe::castNearby(std::size_t s, std::size_t i) {
    // A miss leaves the last distance in place, so that it is all one only when that is out of reach, too.
    const bool allFarAlike = sideT > nearT;
    const SideRay& ray = aim(s, i);
    switch (nearGround.cast(i, ray.direction, ray.reach, allFarAlike, sideT, nrm)) {
        case NearGround::Answer::hit: return true;
        case NearGround::Answer::beyond: sideT = kNoHit; return false;
        case NearGround::Answer::unknown: cast(s, sideOrigin, ray.direction, ray.reach, sideT); return true;
    }
    return false;
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

bool CWheelNode::castBulletRay(const Vector3<double>& origin, const Vector3<double>& direction, double& t,
                               Vector3<double>& normal, double rayLength) {
    if (parent->m_vehicleRaycaster == nullptr) return false;
    const btVector3 from(origin.x, origin.y, origin.z);
    const btVector3 to = from + btVector3(direction.x, direction.y, direction.z) * rayLength;
    btVehicleRaycaster::btVehicleRaycasterResult result;
    if (parent->m_vehicleRaycaster->castRay(from, to, result) == nullptr) return false;
    t = rayLength * result.m_distFraction;
    normal = {result.m_hitNormalInWorld.x(), result.m_hitNormalInWorld.y(), result.m_hitNormalInWorld.z()};
    return true;
}

int CWheelNode::update(double time) {
    Probe(*this, time).run();
    return 0;
}

}  // namespace ond::ovs::addon::rig
