#include "ground/NearGround.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "ground/BulletLibrary.h"
#include "ground/MeshSurvey.h"

namespace ond::ovs::addon {

namespace {

using Vector = util::Vector3<double>;

// Work space: where there are more triangles than that in reach, the tree of the physics world is no slower.
constexpr std::size_t kMostCandidates = 1024;
// Every bound on rounding that is used below is a small multiple of 2.2e-16 times the largest coordinate of the ray,
// its far end included; for sound triangles the inexact normal adds 1e-10 times their distance. This covers both.
constexpr double kNoise = 1e-9;
// More than such lengths and rounding take from a squared distance.
constexpr double kWider = 1.0 + 1e-5;
// Lengths so small that squares of them are no numbers to reckon with.
constexpr double kLeastReach = 1e-100;
// How far on, in reaches, ground is looked for that a ray hits: a power of two.
constexpr double kFarthest = 4.0;
// How far apart, in reaches, places may be: products of three of their distances are numbers in single precision.
constexpr double kMostReaches = 1e12;
// No place along an axis is as far away.
constexpr double kNowhere = std::numeric_limits<double>::infinity();
// How far from 1 a direction's squared length may be.
constexpr double kUnit = 1e-6;

bool isWithin(const Vector& v, double limit) {
    return std::abs(v.x) <= limit && std::abs(v.y) <= limit && std::abs(v.z) <= limit;
}

// Those of the standard library compare in memory and jump, which is slow where nothing can be foretold.
double lesser(double a, double b) { return a < b ? a : b; }
double greater(double a, double b) { return a > b ? a : b; }

double largestCoordinate(const Vector& v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

Vector lower(const Vector& a, const Vector& b) { return {lesser(a.x, b.x), lesser(a.y, b.y), lesser(a.z, b.z)}; }

Vector upper(const Vector& a, const Vector& b) { return {greater(a.x, b.x), greater(a.y, b.y), greater(a.z, b.z)}; }

bool isIdentity(const btTransform& transform) { return transform == btTransform::getIdentity(); }

/// Whether the callback of a ray cast meets the body when the ray runs through its box.
bool isVisibleToRays(const btRigidBody& body) {
    const btBroadphaseProxy* proxy = body.getBroadphaseProxy();
    return proxy != nullptr && body.hasContactResponse() && proxy->m_collisionFilterGroup != 0 &&
           (proxy->m_collisionFilterMask & btBroadphaseProxy::DefaultFilter) != 0;
}

bool isSound(const MeshSurvey& survey, const btVector3& a, const btVector3& b, const btVector3& c) {
    const Vector normal = Cross(fromBullet(b) - fromBullet(a), fromBullet(c) - fromBullet(a));
    return survey.isSound(Dot(normal, normal), squaredLongestEdge(a, b, c));
}

bool isInside(const btVector3& point, const btVector3& low, const btVector3& high, double margin) {
    for (int i = 0; i < 3; ++i)
        if (!(point[i] - low[i] > margin && high[i] - point[i] > margin)) return false;
    return true;
}

}  // namespace

/// Bullet's triangle test, keeping the nearest hit; of equal ones the first.
class NearGround::Nearest final : public btTriangleRaycastCallback {
  public:
    Nearest(const btVector3& from, const btVector3& to) : btTriangleRaycastCallback(from, to) {}

    /// Triangles of a body come together, in the order of its tree.
    void test(const NearGround& ground, std::size_t ofBody, LeafTree::Place at) {
        if (ofBody != m_body) {
            // Each body on its own, so that a tie between two of them does not go unnoticed.
            m_body = ofBody;
            m_hitFraction = 1.0;
        }
        m_place = at;
        const LeafTree& leaves = ground.m_bodies[ofBody].survey->leaves();
        btVector3 corners[3] = {leaves.corner(at, 0), leaves.corner(at, 1), leaves.corner(at, 2)};
        processTriangle(corners, 0, 0);
    }

    btScalar reportHit(const btVector3& hitNormalLocal, btScalar hitFraction, int, int) override {
        if (found && !(hitFraction < fraction)) {
            if (hitFraction == fraction) tie = true;
            return hitFraction;
        }
        found = true;
        body = m_body;
        place = m_place;
        fraction = hitFraction;
        normal = hitNormalLocal;
        tie = false;
        return hitFraction;
    }

    /// Whether the library surely comes upon that hit, too.
    [[nodiscard]] bool isSure(const NearGround& ground) const {
        return !tie && ground.isSurelyVisited(body, place, m_from + (m_to - m_from) * fraction);
    }

    bool found = false;
    std::size_t body = 0;
    LeafTree::Place place = 0;  ///< in the body's tree
    btScalar fraction = 1.0;
    btVector3 normal;
    bool tie = false;  ///< between bodies

  private:
    std::size_t m_body = 0;
    LeafTree::Place m_place = 0;
};

bool NearGround::enter(const btDynamicsWorld& world) {
    m_bodies.clear();
    m_extent = 0.0;
    m_room = BT_LARGE_FLOAT;
    const btCollisionObjectArray& objects = world.getCollisionObjectArray();
    for (int i = 0; i < objects.size(); ++i) {
        const btRigidBody* body = btRigidBody::upcast(objects[i]);
        if (body == nullptr || !isVisibleToRays(*body) || !isIdentity(body->getWorldTransform())) return false;
        const btCollisionShape* shape = body->getCollisionShape();
        if (shape->getShapeType() != TRIANGLE_MESH_SHAPE_PROXYTYPE || shape->getUserPointer() == nullptr) return false;
        const auto* survey = static_cast<const MeshSurvey*>(shape->getUserPointer());
        if (!survey->isUsable()) return false;
        auto* tree = static_cast<btBvhTriangleMeshShape*>(objects[i]->getCollisionShape())->getOptimizedBvh();
        // The box under which the world found the body when it was entered.
        btVector3 low;
        btVector3 high;
        shape->getAabb(body->getWorldTransform(), low, high);
        m_bodies.push_back({body, tree, survey, fromBullet(low), fromBullet(high)});
        m_extent = std::max(m_extent, survey->extent());
        m_room = std::min(m_room, survey->room());
    }
    return !m_bodies.empty();
}

void NearGround::beginFan(double reach) {
    m_reach = reach;
    m_length = 0.0;
    m_fan.clear();
    m_regularFan = reach >= kLeastReach;
}

void NearGround::addDirection(const Vector& direction, double length) {
    m_fan.add(direction);
    m_length = std::max(m_length, length);
    m_regularFan =
        m_regularFan && std::abs(Dot(direction, direction) - 1.0) <= kUnit && length >= 2.0 * kFarthest * m_reach;
}

void NearGround::beginFan(double reach, double length, const FanAngles& angles, const Vector& straight,
                          const Vector& alongAxle, const Vector& aside) {
    m_reach = reach;
    m_length = length * kWider;
    m_fan.turn(angles, straight, alongAxle, aside);
    m_regularFan = reach >= kLeastReach && length >= 3.0 * kFarthest * reach;
}

bool NearGround::gather(const Vector& low, const Vector& high, const Column* column) {
    m_numCandidates = 0;
    m_lookedAt = {};
    m_numLookedAt = 0;
    m_hasColumn = false;
    m_nearSide = kNowhere;
    m_farSide = -kNowhere;
    m_low = low;
    m_high = high;
    if (!m_regularFan || m_fan.count() == 0 || !isWithin(low, m_room) || !isWithin(high, m_room)) return false;
    double outermost = std::max(largestCoordinate(low), largestCoordinate(high));
    if (column != nullptr) {
        if (!isWithin(column->top, m_room) || !isWithin(column->bottom, m_room)) return false;
        outermost = std::max({outermost, largestCoordinate(column->top), largestCoordinate(column->bottom)});
        m_column = *column;
    }
    if (!(outermost + m_reach <= m_room && outermost + m_length <= BT_LARGE_FLOAT)) return false;
    m_noise = kNoise * std::max(m_extent, outermost + m_length);
    if (!(m_extent + outermost + m_noise <= kMostReaches * m_reach)) return false;
    m_centre = 0.5 * (low + high);
    if (m_candidates.empty()) m_candidates.resize(kMostCandidates);
    m_triangles.begin(m_centre, m_reach, m_noise, kMostCandidates);
    m_across = m_fan.across();
    m_fan.range(m_across, m_leastAcross, m_mostAcross);
    Vector lowest;
    Vector highest;
    m_fan.box(lowest, highest);
    for (std::size_t i = 0; i < m_bodies.size(); ++i) {
        const double margin = marginOf(i);
        const Vector margins(margin, margin, margin);
        Box boxes[2] = {{low + m_reach * lowest - margins, high + m_reach * highest + margins}, {}};
        if (column != nullptr)
            boxes[1] = {lower(m_column.top, m_column.bottom) - margins, upper(m_column.top, m_column.bottom) + margins};
        if (!(column != nullptr ? collect<2>(i, boxes) : collect<1>(i, boxes))) return false;
    }
    m_triangles.spread(m_across);
    m_hasColumn = column != nullptr;
    return true;
}

/// By how much hits may lie outside of the box of their triangle, outliers aside.
double NearGround::marginOf(std::size_t body) const {
    return MeshSurvey::kReachOfEdge * m_bodies[body].survey->longestEdge() + 4.0 * m_noise;
}

/// Visits the leaves that overlap one of the boxes, and the outliers, in the order in which the library would report
/// them, while `visit` says true.
template <std::size_t kBoxes, class Visit, class LooksAt>
void NearGround::forEachLeaf(std::size_t body, const Box* boxes, Visit visit, LooksAt looksAt) const {
    const btOptimizedBvh& tree = *m_bodies[body].tree;
    std::array<QuantisedBox, kBoxes> quantised;
    for (std::size_t i = 0; i < kBoxes; ++i)
        quantised[i] = QuantisedBox(tree, toBullet(boxes[i].low), toBullet(boxes[i].high));
    m_bodies[body].survey->leaves().forEachLeaf(quantised, visit, looksAt);
}

/// Adds candidates; false when they become too many.
template <std::size_t kBoxes>
bool NearGround::collect(std::size_t body, const Box* boxes) {
    const MeshSurvey& survey = *m_bodies[body].survey;
    const std::size_t first = m_numCandidates;
    Candidate* next = m_candidates.data() + first;
    const Candidate* const most = m_candidates.data() + kMostCandidates;
    const auto add = [&](LeafTree::Place place, int, bool isOutlier) {
        if (next == most) return false;
        *next++ = {place, static_cast<std::uint32_t>(body), isOutlier};
        return true;
    };
    forEachLeaf<kBoxes>(body, boxes, add, [this](const void* memory, std::size_t bytes) {
        m_lookedAt[m_numLookedAt++ % kMostMemory] = {memory, bytes};
    });
    if (next == most) return false;
    m_numCandidates = static_cast<std::size_t>(next - m_candidates.data());
    m_triangles.add(m_numCandidates - first, [&](std::size_t i) -> NearTriangles::Added {
        const Candidate& candidate = m_candidates[first + i];
        const btVector3& a = survey.leaves().corner(candidate.place, 0);
        const btVector3& b = survey.leaves().corner(candidate.place, 1);
        const btVector3& c = survey.leaves().corner(candidate.place, 2);
        // What is no outlier is sound, or nothing that a ray could hit.
        return {a, b, c, !candidate.isOutlier || isSound(survey, a, b, c)};
    });
    return true;
}

void NearGround::narrow(const Vector& origin, const Vector& rise) {
    const double start = Dot(m_across, origin - m_centre);
    const double end = start + Dot(m_across, rise);
    m_nearSide = std::min(start, end) - m_noise;
    m_farSide = std::max(start, end) + m_noise;
    const double low = m_nearSide - 4.0 * m_noise;
    const double high = m_farSide + 4.0 * m_noise;
    m_triangles.narrow(low / m_reach + m_leastAcross, high / m_reach + m_mostAcross,
                       largestCoordinate(m_high - m_centre + Vector(m_noise, m_noise, m_noise)) / m_reach * kWider);
    m_guess = 0;
}

bool NearGround::covers(const Vector& origin) const {
    const Vector margins(m_noise, m_noise, m_noise);
    const Vector below = origin - m_low + margins;
    const Vector above = m_high - origin + margins;
    const double along = Dot(m_across, origin - m_centre);
    return below.x >= 0.0 && below.y >= 0.0 && below.z >= 0.0 && above.x >= 0.0 && above.y >= 0.0 && above.z >= 0.0 &&
           along >= m_nearSide && along <= m_farSide;
}

bool NearGround::startFrom(const Vector& origin) {
    m_origin = origin;
    m_group = kNoGroup;
    if (!covers(origin)) return false;
    m_triangles.face(origin);
    return true;
}

std::size_t NearGround::nextThatCouldHit(std::size_t ray) {
    while (ray < m_fan.count()) {
        if (ray / 4 != m_group) lookAtGroup(ray / 4);
        const unsigned left = m_couldHit >> (ray % 4);
        if (left != 0) return std::min(ray + static_cast<std::size_t>(std::countr_zero(left)), m_fan.count());
        ray = (ray / 4 + 1) * 4;
    }
    return m_fan.count();
}

/// Finds out which rays of four could hit what.
void NearGround::lookAtGroup(std::size_t group) {
    m_group = group;
    m_couldHit = m_triangles.lookAt(m_fan, group);
}

/// Whether the library's walk for a ray through `point` comes to the leaf: its tests of boxes let a ray pass that is
/// inside by more than they round.
bool NearGround::isSurelyVisited(std::size_t bodyNumber, LeafTree::Place place, const btVector3& point) const {
    const Body& body = m_bodies[bodyNumber];
    unsigned short low[3];
    unsigned short high[3];
    body.survey->leaves().boxOf(place, low, high);
    return isInside(point, body.tree->unQuantize(low), body.tree->unQuantize(high), m_noise) &&
           isInside(point, toBullet(body.low), toBullet(body.high), m_noise);
}

void NearGround::testCandidate(Nearest& nearest, std::size_t narrowed) const {
    const Candidate& candidate = m_candidates[m_triangles.numberOf(narrowed)];
    nearest.test(*this, candidate.body, candidate.place);
}

/// Whether a ray that hits nothing nearby hits something of what is at hand. False is no certain answer.
bool NearGround::hitsGathered(const Vector& direction, double length) {
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    const FourVectors along = allFour(direction);
    const std::size_t groups = (m_triangles.numNarrowed() + 3) / 4;
    std::size_t group = m_guess;
    for (std::size_t i = 0; i < groups; ++i, ++group) {
        // Rays that follow upon one another hit triangles that do so, too.
        if (group == groups) group = 0;
        for (unsigned left = m_triangles.couldBeHit(group, along); left != 0; left &= left - 1) {
            Nearest nearest(from, to);
            testCandidate(nearest, 4 * group + static_cast<std::size_t>(std::countr_zero(left)));
            if (!nearest.found || !nearest.isSure(*this)) continue;
            m_guess = group;
            return true;
        }
    }
    return false;
}

/// The same of what lies a little farther on.
bool NearGround::hitsFartherOn(const Vector& direction, double length) const {
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    double near = m_reach;
    while (near < kFarthest * m_reach) {
        const Vector start = m_origin + near * direction;
        const Vector end = m_origin + 2.0 * near * direction;
        const Box box{lower(start, end), upper(start, end)};
        Nearest nearest(from, to);
        for (std::size_t i = 0; i < m_bodies.size() && !nearest.found; ++i)
            forEachLeaf<1>(i, &box, [&](LeafTree::Place place, int, bool) {
                nearest.test(*this, i, place);
                return !nearest.found;
            });
        if (nearest.found) return nearest.isSure(*this);
        near *= 2.0;
    }
    return false;
}

/// The nearest hit as the ray caster would have it, if it is within the limit.
bool NearGround::takeHit(const Nearest& nearest, double length, double limit, double& t, Vector& normal) const {
    const double distance = length * nearest.fraction;
    if (!(distance <= limit)) return false;
    t = distance;
    btVector3 inWorld = m_bodies[nearest.body].body->getWorldTransform().getBasis() * nearest.normal;
    inWorld.normalize();
    normal = fromBullet(inWorld);
    return true;
}

bool NearGround::castDown(const Vector& direction, double length, double& t, Vector& normal) {
    if (!m_hasColumn || !(std::abs(Dot(direction, direction) - 1.0) <= kUnit) || !(length <= m_length)) return false;
    const Vector down = m_column.bottom - m_column.top;
    const double depth = Dot(down, direction);
    if (!(depth > 0.0) || !isWithin(down - depth * direction, m_noise)) return false;
    // What lies nearer than the bottom has been gathered; a little less than that covers rounding.
    const double limit = depth / kWider;
    const btVector3 from = toBullet(m_column.top);
    const btVector3 to = from + toBullet(direction) * length;
    faceColumn();
    const FourVectors along = allFour(direction);
    Nearest nearest(from, to);
    for (std::size_t group = 0; 4 * group < m_triangles.numNarrowed(); ++group)
        for (unsigned left = m_triangles.couldBeHit(group, along); left != 0; left &= left - 1)
            testCandidate(nearest, 4 * group + static_cast<std::size_t>(std::countr_zero(left)));
    return nearest.found && nearest.isSure(*this) && takeHit(nearest, length, limit, t, normal);
}

/// Narrows what was gathered to a ray down the column.
void NearGround::faceColumn() {
    const double top = Dot(m_across, m_column.top - m_centre) / m_reach;
    const double bottom = Dot(m_across, m_column.bottom - m_centre) / m_reach;
    const double margin = 4.0 * m_noise / m_reach;
    m_triangles.narrow(std::min(top, bottom) - margin, std::max(top, bottom) + margin,
                       largestCoordinate(m_column.top - m_centre) / m_reach * kWider);
    m_triangles.face(m_column.top);
}

NearGround::Answer NearGround::cast(std::size_t ray, const Vector& direction, double length, bool allFarAlike,
                                    double& t, Vector& normal) {
    if (couldHit(ray)) return castNear(ray, direction, length, allFarAlike, t, normal);
    return allFarAlike ? Answer::beyond : castFar(direction, length);
}

NearGround::Answer NearGround::castNear(std::size_t ray, const Vector& direction, double length, bool allFarAlike,
                                        double& t, Vector& normal) {
    // The ends as they are made for the physics world; a body at the world's origin sees them as they are.
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    Nearest nearest(from, to);
    for (const NearTriangles::Possible& possible : m_triangles.possible())
        if ((possible.rays >> (ray % 4) & 1U) != 0) testCandidate(nearest, possible.narrowed);
    if (!nearest.found) return allFarAlike ? Answer::beyond : castFar(direction, length);
    if (!nearest.isSure(*this)) return Answer::unknown;
    return takeHit(nearest, length, m_reach, t, normal) ? Answer::hit : Answer::beyond;
}

/// Of a ray that hits nothing within reach.
NearGround::Answer NearGround::castFar(const Vector& direction, double length) {
    return hitsGathered(direction, length) || hitsFartherOn(direction, length) ? Answer::beyond : Answer::unknown;
}

}  // namespace ond::ovs::addon
