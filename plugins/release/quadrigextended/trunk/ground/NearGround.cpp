#include "ground/NearGround.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ground/BulletLibrary.h"
#include "ground/MeshSurvey.h"
#include "ground/QuantisedBox.h"

namespace ond::ovs::addon {

namespace {

using Vector = util::Vector3<double>;

// Work space: where there are more triangles than that in reach, the tree of the physics world is no slower.
constexpr std::size_t kMostCandidates = 1024;
// Every bound on rounding that is used below is a small multiple of 2.2e-16 times the largest coordinate of the ray,
// its far end included; for sound triangles the inexact normal adds 1e-10 times their distance. This covers both.
constexpr double kNoise = 1e-9;
// Bullet takes a point for inside when each of its barycentric coordinates is -1e-4 at least; rounding moves those of
// sound triangles by less than another 1e-4.
constexpr double kOutside = 2e-4;
// More than such lengths and rounding take from a squared distance.
constexpr double kWider = 1.0 + 1e-5;
// How far on, in reaches, ground is looked for that a ray hits: a power of two.
constexpr double kFarthest = 4.0;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
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
    void test(const NearGround& ground, std::size_t ofBody, int ofNode, int triangle) {
        if (ofBody != m_body) {
            // Each body on its own, so that a tie between two of them does not go unnoticed.
            m_body = ofBody;
            m_hitFraction = 1.0;
        }
        m_node = ofNode;
        const MeshSurvey& survey = *ground.m_bodies[ofBody].survey;
        btVector3 corners[3] = {survey.corner(triangle, 0), survey.corner(triangle, 1), survey.corner(triangle, 2)};
        processTriangle(corners, 0, triangle);
    }

    btScalar reportHit(const btVector3& hitNormalLocal, btScalar hitFraction, int, int) override {
        if (found && !(hitFraction < fraction)) {
            if (hitFraction == fraction) tie = true;
            return hitFraction;
        }
        found = true;
        body = m_body;
        node = m_node;
        fraction = hitFraction;
        normal = hitNormalLocal;
        tie = false;
        return hitFraction;
    }

    /// Whether the library surely comes upon that hit, too.
    [[nodiscard]] bool isSure(const NearGround& ground) const {
        return !tie && ground.isSurelyVisited(body, node, m_from + (m_to - m_from) * fraction);
    }

    bool found = false;
    std::size_t body = 0;
    int node = 0;  ///< of the body's tree
    btScalar fraction = 1.0;
    btVector3 normal;
    bool tie = false;  ///< between bodies

  private:
    std::size_t m_body = 0;
    int m_node = 0;
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
    m_directions.clear();
    m_lowest = m_highest = Vector();
    m_regularFan = reach > 0.0;
}

void NearGround::addDirection(const Vector& direction, double length) {
    m_directions.push_back(direction);
    m_lowest = lower(m_lowest, direction);
    m_highest = upper(m_highest, direction);
    m_length = std::max(m_length, length);
    m_regularFan =
        m_regularFan && std::abs(Dot(direction, direction) - 1.0) <= kUnit && length >= 2.0 * kFarthest * m_reach;
}

bool NearGround::gather(const Vector& low, const Vector& high, const Column* column) {
    m_numCandidates = 0;
    m_numNarrowed = 0;
    m_isFaced = false;
    m_hasColumn = false;
    m_low = low;
    m_high = high;
    if (!m_regularFan || m_directions.empty() || !isWithin(low, m_room) || !isWithin(high, m_room)) return false;
    double outermost = std::max(largestCoordinate(low), largestCoordinate(high));
    if (column != nullptr) {
        if (!isWithin(column->top, m_room) || !isWithin(column->bottom, m_room)) return false;
        outermost = std::max({outermost, largestCoordinate(column->top), largestCoordinate(column->bottom)});
        m_column = *column;
    }
    if (!(outermost + m_reach <= m_room && outermost + m_length <= BT_LARGE_FLOAT)) return false;
    m_noise = kNoise * std::max(m_extent, outermost + m_length);
    m_centre = 0.5 * (low + high);
    m_leaves.reserve(kMostCandidates);
    m_candidates.resize(kMostCandidates);
    m_narrowed.resize(kMostCandidates);
    m_facing.resize(kMostCandidates);
    m_across = planeOfFan();
    m_leastAcross = m_mostAcross = 0.0;
    for (const Vector& direction : m_directions) {
        const double along = Dot(m_across, direction);
        m_leastAcross = std::min(m_leastAcross, along);
        m_mostAcross = std::max(m_mostAcross, along);
    }
    for (std::size_t i = 0; i < m_bodies.size(); ++i) {
        const double margin = marginOf(i);
        const Vector margins(margin, margin, margin);
        Box boxes[2] = {{low + m_reach * m_lowest - margins, high + m_reach * m_highest + margins}, {}};
        if (column != nullptr)
            boxes[1] = {lower(m_column.top, m_column.bottom) - margins, upper(m_column.top, m_column.bottom) + margins};
        if (!(column != nullptr ? collectLeaves<2>(i, boxes) : collectLeaves<1>(i, boxes))) return false;
        for (const Leaf& leaf : m_leaves) addCandidate(i, leaf.node, leaf.triangle);
    }
    m_hasColumn = column != nullptr;
    return true;
}

/// By how much hits may lie outside of the box of their triangle, outliers aside.
double NearGround::marginOf(std::size_t body) const {
    return MeshSurvey::kReachOfEdge * m_bodies[body].survey->longestEdge() + 4.0 * m_noise;
}

/// Visits the leaves that overlap one of the boxes, by their nodes, in the order in which the library would report
/// them, while `visit` says true.
template <std::size_t kBoxes, class Visit>
void NearGround::forEachLeaf(std::size_t body, const Box* boxes, Visit visit) const {
    btOptimizedBvh& tree = *m_bodies[body].tree;
    QuantisedBox quantised[kBoxes];
    for (std::size_t i = 0; i < kBoxes; ++i)
        quantised[i] = QuantisedBox(tree, toBullet(boxes[i].low), toBullet(boxes[i].high));
    const btQuantizedBvhNode* nodes = &tree.getQuantizedNodeArray()[0];
    const int count = m_bodies[body].survey->numNodes();
    for (int i = 0; i < count;) {
        const btQuantizedBvhNode& node = nodes[i];
        bool overlaps = quantised[0].overlaps(node);
        if constexpr (kBoxes == 2) overlaps = overlaps || quantised[1].overlaps(node);
        if (node.isLeafNode()) {
            if (overlaps && !visit(i, node.getTriangleIndex())) return;
            ++i;
        } else {
            i += overlaps ? 1 : node.getEscapeIndex();
        }
    }
}

/// Fills `m_leaves`, with the outliers in their places; false when they are too many. The corners are on their way from
/// memory then.
template <std::size_t kBoxes>
bool NearGround::collectLeaves(std::size_t body, const Box* boxes) {
    const MeshSurvey& survey = *m_bodies[body].survey;
    const std::vector<int>& outliers = survey.outliers();
    const btQuantizedBvhNode* nodes = &m_bodies[body].tree->getQuantizedNodeArray()[0];
    const std::size_t most = kMostCandidates - m_numCandidates;
    std::size_t outlier = 0;
    m_leaves.clear();
    const auto addOutliersBefore = [&](int node) {
        for (; outlier < outliers.size() && outliers[outlier] < node && m_leaves.size() < most; ++outlier)
            m_leaves.push_back({outliers[outlier], nodes[outliers[outlier]].getTriangleIndex()});
    };
    forEachLeaf<kBoxes>(body, boxes, [&](int node, int triangle) {
        addOutliersBefore(node);
        if (outlier < outliers.size() && outliers[outlier] == node) ++outlier;
        if (m_leaves.size() >= most) return false;
        survey.prefetchIndices(triangle);
        m_leaves.push_back({node, triangle});
        return true;
    });
    addOutliersBefore(survey.numNodes());
    if (m_leaves.size() >= most) return false;
    for (const Leaf& leaf : m_leaves) survey.prefetchCorners(leaf.triangle);
    return true;
}

void NearGround::addCandidate(std::size_t body, int node, int triangle) {
    const MeshSurvey& survey = *m_bodies[body].survey;
    const Vector a = fromBullet(survey.corner(triangle, 0));
    const Vector b = fromBullet(survey.corner(triangle, 1));
    const Vector c = fromBullet(survey.corner(triangle, 2));
    const Vector ab = b - a;
    const Vector ac = c - a;
    const Vector bc = c - b;
    const Vector normal = Cross(ab, ac);
    if (normal == Vector()) return;  // no ray hits it
    const double squaredEdge = greater(greater(Dot(ab, ab), Dot(ac, ac)), Dot(bc, bc));
    const double edge = std::sqrt(squaredEdge);
    const bool sound = survey.isSound(Dot(normal, normal), squaredEdge);
    const double margin = sound ? MeshSurvey::kReachOfEdge * edge + 4.0 * m_noise : kInfinity;
    const Vector margins(margin, margin, margin);
    // Written where it stays: a copy of a thing that was just made in pieces is slow.
    Candidate& candidate = m_candidates[m_numCandidates++];
    candidate.body = body;
    candidate.node = node;
    candidate.triangle = triangle;
    candidate.sound = sound;
    candidate.corners[0] = a - m_centre;
    candidate.corners[1] = b - m_centre;
    candidate.corners[2] = c - m_centre;
    candidate.normal = normal;
    candidate.squaredEdge = squaredEdge;
    candidate.edge = edge;
    candidate.low = lower(lower(candidate.corners[0], candidate.corners[1]), candidate.corners[2]) - margins;
    candidate.high = upper(upper(candidate.corners[0], candidate.corners[1]), candidate.corners[2]) + margins;
    const double first = Dot(m_across, candidate.corners[0]);
    const double second = Dot(m_across, candidate.corners[1]);
    const double third = Dot(m_across, candidate.corners[2]);
    // The extent along any axis is as long as the longest edge at most.
    candidate.leastAcross = lesser(lesser(first, second), third) - margin;
    candidate.mostAcross = greater(greater(first, second), third) + margin;
}

/// Unit vector that the rays are about perpendicular to.
Vector NearGround::planeOfFan() const {
    const Vector& first = m_directions.front();
    Vector normal = Cross(first, m_directions.back());
    const double least = std::min({std::abs(first.x), std::abs(first.y), std::abs(first.z)});
    if (!(Dot(normal, normal) > 1e-12))
        normal =
            Cross(first, std::abs(first.x) == least ? Vector(1, 0, 0)
                                                    : (std::abs(first.y) == least ? Vector(0, 1, 0) : Vector(0, 0, 1)));
    return normal / Length(normal);
}

void NearGround::narrow(const Vector& origin, const Vector& rise) {
    const double start = Dot(m_across, origin - m_centre);
    const double end = start + Dot(m_across, rise);
    m_nearSide = std::min(start, end) - m_noise;
    m_farSide = std::max(start, end) + m_noise;
    const double low = m_nearSide + m_reach * m_leastAcross - 4.0 * m_noise;
    const double high = m_farSide + m_reach * m_mostAcross + 4.0 * m_noise;
    m_isFaced = false;
    m_guess = 0;
    m_numNarrowed = 0;
    for (std::size_t i = 0; i < m_numCandidates; ++i) {
        const Candidate& candidate = m_candidates[i];
        m_narrowed[m_numNarrowed] = &candidate;
        if (!(candidate.mostAcross < low || candidate.leastAcross > high)) ++m_numNarrowed;
    }
}

bool NearGround::covers(const Vector& origin) const {
    const Vector margins(m_noise, m_noise, m_noise);
    const Vector below = origin - m_low + margins;
    const Vector above = m_high - origin + margins;
    const double along = Dot(m_across, origin - m_centre);
    return below.x >= 0.0 && below.y >= 0.0 && below.z >= 0.0 && above.x >= 0.0 && above.y >= 0.0 && above.z >= 0.0 &&
           along >= m_nearSide && along <= m_farSide;
}

/// False only when no point of the candidate is within reach of the origin.
inline bool NearGround::isNear(const Candidate& candidate, const Vector& origin) const {
    const Vector below = candidate.low - origin;
    const Vector above = origin - candidate.high;
    const Vector away = upper(upper(below, above), Vector());
    return !(Dot(away, away) > m_reach * m_reach * kWider);
}

bool NearGround::startFrom(const Vector& origin) {
    m_origin = origin;
    m_start = origin - m_centre;
    m_isFaced = false;
    return covers(origin);
}

/// What tells where rays from `origin`, relative to the centre, pass the candidate.
inline void NearGround::face(const Candidate& candidate, const Vector& origin, Facing& facing) const {
    const Vector a = candidate.corners[0] - origin;
    const Vector b = candidate.corners[1] - origin;
    const Vector c = candidate.corners[2] - origin;
    const double noise = candidate.sound ? m_noise : kInfinity;
    facing.candidate = &candidate;
    facing.normal = candidate.normal;
    facing.distance = Dot(candidate.normal, a);
    facing.edges[0] = Cross(a, b);
    facing.edges[1] = Cross(b, c);
    facing.planeMargin = candidate.squaredEdge * noise;
    facing.edgeMargin = 4.0 * candidate.edge * noise;
}

void NearGround::faceNear() {
    m_isFaced = true;
    m_numFacing = 0;
    for (std::size_t i = 0; i < m_numNarrowed; ++i)
        if (isNear(*m_narrowed[i], m_start)) face(*m_narrowed[i], m_start, m_facing[m_numFacing++]);
}

/// False only when Bullet's test does not find the triangle on the ray, or finds it beyond `limit`.
inline bool NearGround::couldHit(const Facing& facing, const Vector& direction, double limit) const {
    const double towards = Dot(facing.normal, direction);
    const double side = towards < 0.0 ? -1.0 : 1.0;
    const double slope = side * towards;
    const double distance = side * facing.distance;
    // An infinite limit times no slope is no number, which rules nothing out.
    if (distance < -facing.planeMargin || distance > limit * slope + facing.planeMargin) return false;
    const double first = side * Dot(facing.edges[0], direction);
    const double second = side * Dot(facing.edges[1], direction);
    const double least = -kOutside * slope - facing.edgeMargin;
    return !(first < least || second < least || slope - first - second < least);
}

/// False only when the line through `origin`, relative to the centre, along `direction` passes the candidate's box.
inline bool NearGround::isAside(const Candidate& candidate, const Vector& origin, const Vector& direction) const {
    if (!candidate.sound) return false;
    const Vector middle = 0.5 * (candidate.low + candidate.high) - origin;
    const Vector half = 0.5 * (candidate.high - candidate.low);
    const auto misses = [](double u, double v, double halfU, double halfV, double directionU, double directionV) {
        return std::abs(u * directionV - v * directionU) > halfU * std::abs(directionV) + halfV * std::abs(directionU);
    };
    return misses(middle.x, middle.y, half.x, half.y, direction.x, direction.y) ||
           misses(middle.y, middle.z, half.y, half.z, direction.y, direction.z) ||
           misses(middle.z, middle.x, half.z, half.x, direction.z, direction.x);
}

/// Whether the library's walk for a ray through `point` comes to the leaf: its tests of boxes let a ray pass that is
/// inside by more than they round.
bool NearGround::isSurelyVisited(std::size_t bodyNumber, int node, const btVector3& point) const {
    const Body& body = m_bodies[bodyNumber];
    const btQuantizedBvhNode& leaf = body.tree->getQuantizedNodeArray()[node];
    return isInside(point, body.tree->unQuantize(leaf.m_quantizedAabbMin),
                    body.tree->unQuantize(leaf.m_quantizedAabbMax), m_noise) &&
           isInside(point, toBullet(body.low), toBullet(body.high), m_noise);
}

/// Whether a ray that hits nothing nearby hits something of what is at hand. False is no certain answer.
bool NearGround::hitsGathered(const Vector& direction, double length) {
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    Facing facing;
    std::size_t at = m_guess;
    for (std::size_t i = 0; i < m_numNarrowed; ++i, ++at) {
        // Rays that follow upon one another hit triangles that do so, too.
        if (at == m_numNarrowed) at = 0;
        const Candidate& candidate = *m_narrowed[at];
        face(candidate, m_start, facing);
        if (!couldHit(facing, direction, kInfinity)) continue;
        Nearest nearest(from, to);
        nearest.test(*this, candidate.body, candidate.node, candidate.triangle);
        if (!nearest.found || !nearest.isSure(*this)) continue;
        m_guess = at;
        return true;
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
            forEachLeaf<1>(i, &box, [&](int node, int triangle) {
                nearest.test(*this, i, node, triangle);
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
    const Vector origin = m_column.top - m_centre;
    const btVector3 from = toBullet(m_column.top);
    const btVector3 to = from + toBullet(direction) * length;
    Nearest nearest(from, to);
    Facing facing;
    for (std::size_t i = 0; i < m_numCandidates; ++i) {
        const Candidate& candidate = m_candidates[i];
        if (isAside(candidate, origin, direction)) continue;
        face(candidate, origin, facing);
        if (couldHit(facing, direction, kInfinity))
            nearest.test(*this, candidate.body, candidate.node, candidate.triangle);
    }
    return nearest.found && nearest.isSure(*this) && takeHit(nearest, length, limit, t, normal);
}

NearGround::Answer NearGround::cast(const Vector& direction, double length, bool allFarAlike, double& t,
                                    Vector& normal) {
    if (!m_isFaced) faceNear();
    for (std::size_t i = 0; i < m_numFacing; ++i)
        if (couldHit(m_facing[i], direction, m_reach)) return castFrom(i, direction, length, allFarAlike, t, normal);
    return allFarAlike ? Answer::beyond : castFar(direction, length);
}

/// The rest of a cast that could hit what is faced at `first`, and nothing before it, within reach.
NearGround::Answer NearGround::castFrom(std::size_t first, const Vector& direction, double length, bool allFarAlike,
                                        double& t, Vector& normal) {
    // The ends as they are made for the physics world; a body at the world's origin sees them as they are.
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    Nearest nearest(from, to);
    for (std::size_t i = first; i < m_numFacing; ++i) {
        if (i != first && !couldHit(m_facing[i], direction, m_reach)) continue;
        const Candidate& candidate = *m_facing[i].candidate;
        nearest.test(*this, candidate.body, candidate.node, candidate.triangle);
    }
    if (!nearest.found) return allFarAlike ? Answer::beyond : castFar(direction, length);
    if (!nearest.isSure(*this)) return Answer::unknown;
    return takeHit(nearest, length, m_reach, t, normal) ? Answer::hit : Answer::beyond;
}

/// Of a ray that hits nothing within reach.
NearGround::Answer NearGround::castFar(const Vector& direction, double length) {
    return hitsGathered(direction, length) || hitsFartherOn(direction, length) ? Answer::beyond : Answer::unknown;
}

}  // namespace ond::ovs::addon
