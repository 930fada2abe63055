#include "ground/NearGround.h"

#include <algorithm>
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

double largestCoordinate(const Vector& v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

Vector lower(const Vector& a, const Vector& b) { return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)}; }

Vector upper(const Vector& a, const Vector& b) { return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)}; }

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

bool NearGround::gather(const Vector& low, const Vector& high) {
    m_candidates.clear();
    m_isFaced = false;
    m_low = low;
    m_high = high;
    if (!m_regularFan || !isWithin(low, m_room) || !isWithin(high, m_room)) return false;
    const double outermost = std::max(largestCoordinate(low), largestCoordinate(high));
    if (!(outermost + m_reach <= m_room && outermost + m_length <= BT_LARGE_FLOAT)) return false;
    m_noise = kNoise * std::max(m_extent, outermost + m_length);
    m_centre = 0.5 * (low + high);
    m_candidates.reserve(kMostCandidates);
    m_narrowed.reserve(kMostCandidates);
    m_facing.reserve(kMostCandidates);
    for (std::size_t i = 0; i < m_bodies.size(); ++i) {
        const double margin = marginOf(i);
        const Vector margins(margin, margin, margin);
        gatherFrom(i, low + m_reach * m_lowest - margins, high + m_reach * m_highest + margins);
        if (m_candidates.size() >= kMostCandidates) return false;
    }
    return true;
}

/// By how much hits may lie outside of the box of their triangle, outliers aside.
double NearGround::marginOf(std::size_t body) const {
    return MeshSurvey::kReachOfEdge * m_bodies[body].survey->longestEdge() + 4.0 * m_noise;
}

/// Visits the leaves that overlap the box, by their nodes, in the order in which the library would report them, while
/// `visit` says true.
template <class Visit>
void NearGround::forEachLeaf(std::size_t body, const Vector& low, const Vector& high, Visit visit) const {
    btOptimizedBvh& tree = *m_bodies[body].tree;
    unsigned short from[3];
    unsigned short to[3];
    tree.quantizeWithClamp(from, toBullet(low), 0);
    tree.quantizeWithClamp(to, toBullet(high), 1);
    const btQuantizedBvhNode* nodes = &tree.getQuantizedNodeArray()[0];
    const int count = m_bodies[body].survey->numNodes();
    for (int i = 0; i < count;) {
        const btQuantizedBvhNode& node = nodes[i];
        const bool overlaps = from[0] <= node.m_quantizedAabbMax[0] && to[0] >= node.m_quantizedAabbMin[0] &&
                              from[1] <= node.m_quantizedAabbMax[1] && to[1] >= node.m_quantizedAabbMin[1] &&
                              from[2] <= node.m_quantizedAabbMax[2] && to[2] >= node.m_quantizedAabbMin[2];
        if (node.isLeafNode()) {
            if (overlaps && !visit(i, node.getTriangleIndex())) return;
            ++i;
        } else {
            i += overlaps ? 1 : node.getEscapeIndex();
        }
    }
}

/// With the outliers in their places.
void NearGround::gatherFrom(std::size_t body, const Vector& low, const Vector& high) {
    std::size_t outlier = 0;
    forEachLeaf(body, low, high, [&](int node, int) {
        addOutliersUpTo(body, outlier, node);
        addCandidate(body, node);
        return m_candidates.size() < kMostCandidates;
    });
    addOutliersUpTo(body, outlier, m_bodies[body].survey->numNodes());
}

/// The outliers from the one at `next` on that come before `node`; one that is `node` is only passed over.
void NearGround::addOutliersUpTo(std::size_t body, std::size_t& next, int node) {
    const std::vector<int>& outliers = m_bodies[body].survey->outliers();
    for (; next < outliers.size() && outliers[next] <= node; ++next)
        if (outliers[next] < node) addCandidate(body, outliers[next]);
}

void NearGround::addCandidate(std::size_t body, int node) {
    if (m_candidates.size() >= kMostCandidates) return;
    const MeshSurvey& survey = *m_bodies[body].survey;
    const int triangle = m_bodies[body].tree->getQuantizedNodeArray()[node].getTriangleIndex();
    const Vector a = fromBullet(survey.corner(triangle, 0));
    const Vector b = fromBullet(survey.corner(triangle, 1));
    const Vector c = fromBullet(survey.corner(triangle, 2));
    const Vector ab = b - a;
    const Vector ac = c - a;
    const Vector bc = c - b;
    const Vector normal = Cross(ab, ac);
    if (normal == Vector()) return;  // no ray hits it
    const double edge = std::max({Dot(ab, ab), Dot(ac, ac), Dot(bc, bc)});
    const bool sound = survey.isSound(Dot(normal, normal), edge);
    const double margin = sound ? MeshSurvey::kReachOfEdge * std::sqrt(edge) + 4.0 * m_noise : kInfinity;
    const Vector margins(margin, margin, margin);
    const Vector low = lower(lower(a, b), c) - m_centre - margins;
    const Vector high = upper(upper(a, b), c) - m_centre + margins;
    m_candidates.push_back(
        {body, node, triangle, sound, {a - m_centre, b - m_centre, c - m_centre}, normal, edge, low, high});
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
    m_across = planeOfFan();
    const double start = Dot(m_across, origin - m_centre);
    const double end = start + Dot(m_across, rise);
    m_nearSide = std::min(start, end) - m_noise;
    m_farSide = std::max(start, end) + m_noise;
    double least = 0.0;
    double most = 0.0;
    for (const Vector& direction : m_directions) {
        const double along = Dot(m_across, direction);
        least = std::min(least, along);
        most = std::max(most, along);
    }
    const double low = m_nearSide + m_reach * least - 4.0 * m_noise;
    const double high = m_farSide + m_reach * most + 4.0 * m_noise;
    m_isFaced = false;
    m_narrowed.clear();
    for (const Candidate& candidate : m_candidates) {
        const double a = Dot(m_across, candidate.corners[0]);
        const double b = Dot(m_across, candidate.corners[1]);
        const double c = Dot(m_across, candidate.corners[2]);
        const double least3 = std::min({a, b, c});
        const double most3 = std::max({a, b, c});
        // The candidate's extent along any axis is as long as its longest edge at most.
        const double margin = MeshSurvey::kReachOfEdge * std::sqrt(candidate.squaredEdge);
        if (candidate.sound && (most3 + margin < low || least3 - margin > high)) continue;
        m_narrowed.push_back(&candidate);
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
    const Vector away(std::max({below.x, above.x, 0.0}), std::max({below.y, above.y, 0.0}),
                      std::max({below.z, above.z, 0.0}));
    return !(Dot(away, away) > m_reach * m_reach * kWider);
}

bool NearGround::startFrom(const Vector& origin) {
    m_origin = origin;
    m_start = origin - m_centre;
    m_isFaced = false;
    return covers(origin);
}

void NearGround::face(bool nearOnly) {
    const Vector& origin = m_start;
    m_isFaced = true;
    m_facesNearOnly = nearOnly;
    m_facing.clear();
    for (const Candidate* candidate : m_narrowed) {
        if (nearOnly && !isNear(*candidate, origin)) continue;
        const Vector a = candidate->corners[0] - origin;
        const Vector b = candidate->corners[1] - origin;
        const Vector c = candidate->corners[2] - origin;
        const double noise = candidate->sound ? m_noise : kInfinity;
        m_facing.push_back({candidate,
                            candidate->normal,
                            Dot(candidate->normal, a),
                            {Cross(a, b), Cross(b, c)},
                            candidate->squaredEdge * noise,
                            4.0 * std::sqrt(candidate->squaredEdge) * noise});
    }
}

/// False only when Bullet's test does not find the triangle on the ray, or finds it beyond `limit`.
inline bool NearGround::couldHit(const Facing& facing, const Vector& direction, double limit) const {
    double slope = Dot(facing.normal, direction);
    double distance = facing.distance;
    double first = Dot(facing.edges[0], direction);
    double second = Dot(facing.edges[1], direction);
    if (slope < 0.0) {
        slope = -slope;
        distance = -distance;
        first = -first;
        second = -second;
    }
    // An infinite limit times no slope is no number, which rules nothing out.
    if (distance < -facing.planeMargin || distance > limit * slope + facing.planeMargin) return false;
    const double least = -kOutside * slope - facing.edgeMargin;
    return !(first < least || second < least || slope - first - second < least);
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

/// Whether a ray that hits nothing nearby hits something a little farther on. False is no certain answer.
bool NearGround::hitsFartherOn(const Vector& direction, double length) const {
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    double near = m_reach;
    while (near < kFarthest * m_reach) {
        const Vector start = m_origin + near * direction;
        const Vector end = m_origin + 2.0 * near * direction;
        Nearest nearest(from, to);
        for (std::size_t i = 0; i < m_bodies.size() && !nearest.found; ++i)
            forEachLeaf(i, lower(start, end), upper(start, end), [&](int node, int triangle) {
                nearest.test(*this, i, node, triangle);
                return !nearest.found;
            });
        if (nearest.found) return nearest.isSure(*this);
        near *= 2.0;
    }
    return false;
}

NearGround::Answer NearGround::cast(const Vector& direction, double length, bool allFarAlike, double& t,
                                    Vector& normal) {
    if (!m_isFaced || m_facesNearOnly != allFarAlike) face(allFarAlike);
    // The ends as they are made for the physics world; a body at the world's origin sees them as they are.
    const btVector3 from = toBullet(m_origin);
    const btVector3 to = from + toBullet(direction) * length;
    Nearest nearest(from, to);
    for (const Facing& facing : m_facing)
        if (couldHit(facing, direction, allFarAlike ? m_reach : kInfinity))
            nearest.test(*this, facing.candidate->body, facing.candidate->node, facing.candidate->triangle);

    if (!nearest.found) return allFarAlike || hitsFartherOn(direction, length) ? Answer::beyond : Answer::unknown;
    if (!nearest.isSure(*this)) return Answer::unknown;
    const double distance = length * nearest.fraction;
    if (!(distance <= m_reach)) return Answer::beyond;
    t = distance;
    btVector3 inWorld = m_bodies[nearest.body].body->getWorldTransform().getBasis() * nearest.normal;
    inWorld.normalize();
    normal = fromBullet(inWorld);
    return Answer::hit;
}

}  // namespace ond::ovs::addon
