// The four nodes of a wheel corner: relocator, wheel, and the two attach points at the wheel's centre.
#pragma once

#include <vector>

#include "car/CarState.h"
#include "ond/ovs/SurfaceObject.h"
#include "rig/RigElements.h"
#include "rig/meshes/CMesh_AttachToMesh.h"
#include "rig/meshes/CMesh_WheelGroundMesh.h"
#include "rig/meshes/CMesh_WheelMesh.h"

namespace ond::ovs::addon::rig {

/// Geometry of a corner; corners that the model does not have take that of the last one.
[[nodiscard]] const WheelGeometry& cornerGeometry(const CCarCamObject& vehicle, std::uint32_t corner);

/// Handle for the user: place and size of the wheel. The vehicle moves it at the start of a run only.
class CWheelRelocatorNode final : public SceneNode {
  public:
    using CMesh_AttachToMesh = rig::CMesh_AttachToMesh;

    std::uint32_t iCorner = 0;

    CWheelRelocatorNode() : SceneNode(elementName(ElementId::wheelRelocator)) {}
    virtual bool createAtCorner(std::uint32_t corner);
};

/// The wheel as it is seen, and the search for the ground under it.
class CWheelNode final : public SceneNode {
  public:
    using CMesh_WheelMesh = rig::CMesh_WheelMesh;

    std::uint32_t iCorner = 0;
    Vector3<double> vWheelDownPrev;               ///< where the car had its underside one update ago, unit; 0 before
    std::vector<MeshHandle*> aGroundMeshes;       ///< ground elements of this update; owned by the host
    std::vector<SurfaceObject*> aGroundSurfaces;  ///< their surfaces, without gaps; owned by the host
    double dCurrDelta = 0.0;                      ///< how far the wheel is from where its rays start, filtered; keyed
    double dCurrDeltaW = 0.0;                     ///< the same, unfiltered; keyed

    /// Work space of the probing per surface, kept so that a frame allocates nothing.
    struct Hits {
        std::vector<Vector3<double>> normals;
        std::vector<Vector3<double>> points;
        std::vector<double> dists;
    };
    Hits hits;

    CWheelNode() : SceneNode(elementName(ElementId::wheel)) {}

    /// Probes the ground and writes this node's matrices and the wheel record; makes no keyframe.
    int update(double time) override;
    /// Measures the wheel: the scale along Y is its radius, whatever mesh shows it.
    void onPrepareEnd(double time) override;

    /// Casts through the vehicle's physics world. On a hit at origin + t * direction sets `t`, and `normal` as the
    /// library gives it; else neither.
    virtual bool castBulletRay(const Vector3<double>& origin, const Vector3<double>& direction, double& t,
                               Vector3<double>& normal, double rayLength);
    virtual bool createAtCorner(std::uint32_t corner);

    /// Makes the wheel's keyframe, and more of them where it turned too far in one frame to be interpolated.
    void writeWheelKeys(double time);
};

/// Attach point that goes up and down with the wheel but keeps its heading, for fenders and the like.
class CWheelCenterSuspensionNode final : public SceneNode {
  public:
    using CMesh_WheelGroundMesh = rig::CMesh_WheelGroundMesh;

    std::uint32_t iCorner = 0;

    CWheelCenterSuspensionNode() : SceneNode(elementName(ElementId::wheelCenterSuspension)) {}
    int update(double time) override;
    virtual bool createAtCorner(std::uint32_t corner);
};

/// Attach point that follows the wheel's centre, steers with it and may stand on the ground.
class CWheelCenterNode final : public SceneNode {
  public:
    using CMesh_WheelGroundMesh = rig::CMesh_WheelGroundMesh;

    std::uint32_t iCorner = 0;

    CWheelCenterNode() : SceneNode(elementName(ElementId::wheelCenter)) {}
    int update(double time) override;
    virtual bool createAtCorner(std::uint32_t corner);
};

/// Makes the number of corners `count`, 3 at least, by creating elements for new ones and deleting those of others.
void resizeWheels(CCarCamObject& vehicle, int count);

}  // namespace ond::ovs::addon::rig
