// Casting a wheel's fan of side rays at the few triangles within its reach, with the outcome of the physics world.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ground/LeafTree.h"
#include "ground/NearTriangles.h"
#include "ground/RayFan.h"
#include "ond/util/Vector3.h"

class btDynamicsWorld;
class btOptimizedBvh;
class btRigidBody;
class btVector3;

namespace ond::ovs::addon {

class MeshSurvey;

/// Answers rays of a fan that starts from nearly one place as the ray caster on the physics world would, to the bit,
/// or says that it cannot. Bullet's own triangle test decides, with the ray in its full length, on the triangles that
/// could be hit nearby, in the order of Bullet's tree; what is done beside it only rules triangles out, with margins
/// that are wider than all rounding. Coordinates are those of the world.
class NearGround {
  public:
    using Vector = util::Vector3<double>;

    enum class Answer {
        hit,      ///< the nearest hit of the ray, no farther than the reach of the fan
        beyond,   ///< something is hit, but farther away; where that makes no difference: or nothing is
        unknown,  ///< for the physics world to say
    };

    /// Prepares for rays into `world`. False when it holds a body that these shortcuts are not made for: anything but
    /// a surveyed mesh that stands where it was modelled.
    [[nodiscard]] bool enter(const btDynamicsWorld& world);

    /// Starts a fan without rays.
    /// @param reach how far a hit is near; positive
    void beginFan(double reach);
    /// @param direction of unit length
    /// @param length of the ray along it
    void addDirection(const Vector& direction, double length);
    /// Starts a fan with its rays, see RayFan::turn(). Their lengths may differ from `length` by rounding.
    void beginFan(double reach, double length, const FanAngles& angles, const Vector& straight, const Vector& alongAxle,
                  const Vector& aside);

    /// Where a ray that is no part of the fan looks for ground.
    struct Column {
        Vector top;
        Vector bottom;
    };

    /// Collects what rays of the fan could hit nearby, wherever in the box they start, and what a ray down the column
    /// could hit within it, if there is one; false when that is too much or the numbers are too large.
    [[nodiscard]] bool gather(const Vector& low, const Vector& high, const Column* column = nullptr);
    /// Memory of the mesh's tree.
    struct Memory {
        const void* memory;
        std::size_t bytes;
    };
    static constexpr std::size_t kMostMemory = 16;
    /// What gather() looked at last, in any order; where that was more, some of it. Null behind the last one.
    [[nodiscard]] const std::array<Memory, kMostMemory>& lookedAt() const { return m_lookedAt; }
    /// Casts a ray from the top of the gathered column to its bottom and beyond. False when what is at hand does not
    /// tell its nearest hit. Ahead of narrow(), which then has to follow.
    /// @param direction from top to bottom, of unit length
    /// @param t,normal as the ray caster on the physics world would have them; set if true
    [[nodiscard]] bool castDown(const Vector& direction, double length, double& t, Vector& normal);
    /// Narrows what was gathered to rays that start on the line from `origin` to `origin` + `rise`, within the box.
    void narrow(const Vector& origin, const Vector& rise);
    /// From where the next rays start. False when what is at hand does not do for rays from there: gather anew.
    [[nodiscard]] bool startFrom(const Vector& origin);

    /// Whether ray number `ray` of the fan could hit something within reach from there. False is certain.
    [[nodiscard]] bool couldHit(std::size_t ray) {
        if (ray / 4 != m_group) lookAtGroup(ray / 4);
        return (m_couldHit >> (ray % 4) & 1U) != 0;
    }
    /// The first such ray from number `ray` on; behind the last one if there is none.
    [[nodiscard]] std::size_t nextThatCouldHit(std::size_t ray);
    /// Casts that ray from there.
    /// @param direction of unit length, exactly as the ray caster on the physics world would take it
    /// @param length of the ray
    /// @param allFarAlike whether hits beyond the reach and misses are all one
    /// @param t,normal as the ray caster on the physics world would have them; set with Answer::hit only
    [[nodiscard]] Answer cast(std::size_t ray, const Vector& direction, double length, bool allFarAlike, double& t,
                              Vector& normal);

  private:
    /// A body of the world.
    struct Body {
        const btRigidBody* body;
        btOptimizedBvh* tree;
        const MeshSurvey* survey;
        Vector low;  ///< box of the body
        Vector high;
    };
    /// A triangle that could be hit nearby.
    struct Candidate {
        LeafTree::Place place;  ///< of its leaf in the tree of the body
        std::uint32_t body;     ///< in `m_bodies`
        bool isOutlier;
    };
    class Nearest;

    struct Box {
        Vector low;
        Vector high;
    };

    template <std::size_t kBoxes, class Visit, class LooksAt = LeafTree::Ignore>
    void forEachLeaf(std::size_t body, const Box* boxes, Visit visit, LooksAt looksAt = {}) const;
    template <std::size_t kBoxes>
    [[nodiscard]] bool collect(std::size_t body, const Box* boxes);
    void testCandidate(Nearest& nearest, std::size_t narrowed) const;
    [[nodiscard]] double marginOf(std::size_t body) const;
    void faceColumn();
    [[nodiscard]] bool covers(const Vector& origin) const;
    void lookAtGroup(std::size_t group);
    [[nodiscard]] Answer castNear(std::size_t ray, const Vector& direction, double length, bool allFarAlike, double& t,
                                  Vector& normal);
    [[nodiscard]] Answer castFar(const Vector& direction, double length);
    [[nodiscard]] bool takeHit(const Nearest& nearest, double length, double limit, double& t, Vector& normal) const;
    [[nodiscard]] bool hitsGathered(const Vector& direction, double length);
    [[nodiscard]] bool hitsFartherOn(const Vector& direction, double length) const;
    [[nodiscard]] bool isSurelyVisited(std::size_t body, LeafTree::Place place, const btVector3& point) const;

    std::vector<Body> m_bodies;
    double m_extent = 0.0;  ///< largest coordinate of the bodies
    double m_room = 0.0;    ///< see MeshSurvey
    double m_reach = 0.0;
    double m_length = 0.0;  ///< of the longest ray
    RayFan m_fan;
    bool m_regularFan = false;
    Vector m_low;  ///< box of the origins
    Vector m_high;
    Vector m_centre;
    double m_noise = 0.0;  ///< wider than what rounding does to coordinates here
    Column m_column;
    bool m_hasColumn = false;
    std::vector<Candidate> m_candidates;  ///< numbered as the next ones; of which the first are in use
    std::size_t m_numCandidates = 0;
    std::array<Memory, kMostMemory> m_lookedAt{};  ///< a ring
    std::size_t m_numLookedAt = 0;
    NearTriangles m_triangles;
    Vector m_across;          ///< unit, about perpendicular to the rays
    double m_nearSide = 0.0;  ///< range of the origins along it, relative to the centre
    double m_farSide = 0.0;
    double m_leastAcross = 0.0;  ///< range of the directions and zero along it
    double m_mostAcross = 0.0;
    Vector m_origin;  ///< of the next rays
    static constexpr std::size_t kNoGroup = ~std::size_t{0};
    std::size_t m_group = kNoGroup;  ///< four rays of the fan that were looked at from there; none yet
    unsigned m_couldHit = 0;         ///< which of them could hit anything within reach
    std::size_t m_guess = 0;  ///< a group of chosen triangles: where a ray hit last that found nothing within reach
};

}  // namespace ond::ovs::addon
