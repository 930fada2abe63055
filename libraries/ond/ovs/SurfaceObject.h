// Access to the mesh of an element at one time.
#pragma once

#include "ond/util/Vector3.h"

namespace ond::util {
class CMesh;
}

namespace ond::ovs {

/// Surface of the element and time that CInterface::getSurfaceObject() was asked for. Implemented and owned by the
/// host; valid until CInterface::releaseSurfaceObject(). Everything is in the element's local coordinates and shows the
/// mesh as it stands, deformed, at that time.
///
/// Callers owe the release within the same function, but ground probing with a stored ground mesh keeps surfaces
/// unreleased: the host must survive that and free them with the scene object.
class SurfaceObject {
  public:
    SurfaceObject() = default;
    SurfaceObject(const SurfaceObject&) = delete;
    SurfaceObject& operator=(const SurfaceObject&) = delete;

    // Slots 0 to 3.
    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}

    // Slot 4.
    /// [declared, rigged, running] Replaces the content of `out`, which is the caller's, by the mesh.
    virtual void getMesh(util::CMesh& out) = 0;

    // Slot 5.
    /// [running] Nearest hit of the ray `origin` + t * `direction`, t >= 0, with either face of the surface.
    /// @param direction any length but 0; t counts in multiples of it
    /// @param t on a hit the ray parameter, otherwise unchanged; not null
    /// @param normal on a hit the unit normal (b - a) x (c - a) of the triangle a, b, c, not turned towards the ray,
    ///               otherwise unchanged; not null
    /// @return whether the ray hit
    virtual bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                           util::Vector3<double>* normal) = 0;

    // Slot 6, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~SurfaceObject() = default;
};

}  // namespace ond::ovs
