// Access to the transform of an element at one time.
#pragma once

#include "ond/util/Matrix4.h"

namespace ond::ovs {

/// Transform of the element and time that CInterface::getTransformObject() was asked for. Implemented and owned by the
/// host; valid until CInterface::releaseTransformObject(), which the caller owes within the same function.
///
/// Matrices are in scene units and groups as in util::Matrix4 (axes in groups 0 to 2, position in group 3); a local
/// matrix is relative to the parent element. Local and world always agree: a set of either is seen by both reads.
class TransformObject {
  public:
    TransformObject() = default;
    TransformObject(const TransformObject&) = delete;
    TransformObject& operator=(const TransformObject&) = delete;

    // Slots 0 to 2.
    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}

    // Slot 3.
    /// [declared, rigged, running] Writes the local matrix into `out`, which is the caller's.
    virtual void readLocalMatrix(util::Matrix4& out) = 0;

    // Slot 4.
    /// [declared, rigged, running] Sets the local matrix; in a recording it becomes a keyframe. Its time is the one
    /// handed to CInterface::getTransformObject().
    virtual void setLocalMatrix(const util::Matrix4& matrix) = 0;

    // Slot 5.
    /// [declared, rigged, running] Writes the world matrix into `out`, which is the caller's.
    virtual void readWorldMatrix(util::Matrix4& out) = 0;

    // Slot 6.
    /// [declared, rigged, running] Sets the world matrix; keyframes as setLocalMatrix().
    virtual void setWorldMatrix(const util::Matrix4& matrix) = 0;

    // Slot 7, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~TransformObject() = default;
};

}  // namespace ond::ovs
