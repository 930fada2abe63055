// Casting a wheel's fan of side rays at the few triangles within its reach, with the outcome of the physics world.
#pragma once

#include <cstddef>
#include <vector>

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
/// that are wider than all rounding. Coordinates are those of the world. Kept from frame to frame for its memory.
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
    /// @param length of the rays along it
    void addDirection(const Vector& direction, double length);

    /// Collects what rays of the fan could hit nearby, wherever in the box they start; false when that is too much or
    /// the numbers are too large.
    [[nodiscard]] bool gather(const Vector& low, const Vector& high);
    /// Narrows what was gathered to rays that start on the line from `origin` to `origin` + `rise`, within the box.
    void narrow(const Vector& origin, const Vector& rise);
    /// From where the next rays start. False when what is at hand does not do for rays from there: gather anew.
    [[nodiscard]] bool startFrom(const Vector& origin);

    /// Casts a ray of the fan from there.
    /// @param allFarAlike whether hits beyond the reach and misses are all one
    /// @param t,normal as the ray caster on the physics world would have them; set with Answer::hit only
    [[nodiscard]] Answer cast(const Vector& direction, double length, bool allFarAlike, double& t, Vector& normal);

  private:
    /// A body of the world.
    struct Body {
        const btRigidBody* body;
        btOptimizedBvh* tree;
        const MeshSurvey* survey;
        Vector low;  ///< box of the body
        Vector high;
    };
    /// A triangle that could be hit nearby. Coordinates relative to `m_centre`.
    struct Candidate {
        std::size_t body;  ///< in `m_bodies`
        int node;          ///< in the tree of the body
        int triangle;
        bool sound;
        Vector corners[3];
        Vector normal;  ///< as long as the triangle's doubled area
        double squaredEdge;
        Vector low;  ///< box that a hit lies in, its margins included
        Vector high;
    };
    /// A candidate as it lies to the origin of rays: products of a direction with these tell where a ray passes.
    struct Facing {
        const Candidate* candidate;
        Vector normal;
        double distance;     ///< of the origin from the plane, times the length of the normal
        Vector edges[2];     ///< normals of the planes through the origin and an edge
        double planeMargin;  ///< for comparisons with `distance`
        double edgeMargin;   ///< for comparisons with products of `edges`
    };
    class Nearest;

    template <class Visit>
    void forEachLeaf(std::size_t body, const Vector& low, const Vector& high, Visit visit) const;
    void addOutliersUpTo(std::size_t body, std::size_t& next, int node);
    void gatherFrom(std::size_t body, const Vector& low, const Vector& high);
    void addCandidate(std::size_t body, int node);
    [[nodiscard]] double marginOf(std::size_t body) const;
    [[nodiscard]] bool covers(const Vector& origin) const;
    void face(bool nearOnly);
    [[nodiscard]] bool hitsFartherOn(const Vector& direction, double length) const;
    [[nodiscard]] bool isNear(const Candidate& candidate, const Vector& origin) const;
    [[nodiscard]] bool couldHit(const Facing& facing, const Vector& direction, double limit) const;
    [[nodiscard]] bool isSurelyVisited(std::size_t body, int node, const btVector3& point) const;
    [[nodiscard]] Vector planeOfFan() const;

    std::vector<Body> m_bodies;
    double m_extent = 0.0;  ///< largest coordinate of the bodies
    double m_room = 0.0;    ///< see MeshSurvey
    double m_reach = 0.0;
    double m_length = 0.0;  ///< of the longest ray
    std::vector<Vector> m_directions;
    Vector m_lowest;  ///< of the directions and zero, by axis
    Vector m_highest;
    bool m_regularFan = false;
    Vector m_low;  ///< box of the origins
    Vector m_high;
    Vector m_centre;
    double m_noise = 0.0;  ///< wider than what rounding does to coordinates here
    std::vector<Candidate> m_candidates;
    Vector m_across;          ///< unit, about perpendicular to the rays
    double m_nearSide = 0.0;  ///< range of the origins along it, relative to the centre
    double m_farSide = 0.0;
    std::vector<const Candidate*> m_narrowed;
    Vector m_origin;               ///< of the next rays
    Vector m_start;                ///< the same relative to the centre
    bool m_isFaced = false;        ///< `m_facing` is made for the origin
    bool m_facesNearOnly = false;  ///< `m_facing` lacks what lies beyond the reach
    std::vector<Facing> m_facing;
};

}  // namespace ond::ovs::addon
