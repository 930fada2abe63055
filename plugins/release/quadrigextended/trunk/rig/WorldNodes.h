// The nodes that tie the vehicle to the world: gravity and ground, the target of autonomous mode, the external force.
#pragma once

#include <vector>

#include "rig/SceneNode.h"
#include "rig/meshes/CMesh_GravityDirectionMesh.h"
#include "rig/meshes/CMesh_TargetMesh.h"

namespace ond::ovs::addon::rig {

/// Says where down is and, through its parent and children, what the ground is.
class CGravityDirectionNode final : public SceneNode {
  public:
    using CMesh_GravityDirectionMesh = rig::CMesh_GravityDirectionMesh;

    QTransform<double> qInit;              ///< mInit as a transform
    bool bParentIsCarBody = false;         ///< the parent is this vehicle's own body, which is no ground
    std::vector<Matrix4> mParentMesh;      ///< surface to world, one per ground surface, taken at the start of a run
    std::vector<Matrix4> mParentMesh_inv;  ///< their inverses

    CGravityDirectionNode() : SceneNode("GravityDirectionMesh") {}
    bool create() override;
    int update(double time) override;
    void onPrepareEnd(double time) override;
};

/// What autonomous mode follows. The user attaches it to an animated object.
class CTargetNode final : public SceneNode {
  public:
    using CMesh_TargetMesh = rig::CMesh_TargetMesh;

    CTargetNode() : SceneNode("TargetMesh") {}
    bool create() override;
    int update(double time) override;
};

/// Places and aims the external force on the body.
class CExternalForceNode final : public SceneNode {
  public:
    using CMesh_GravityDirectionMesh = rig::CMesh_GravityDirectionMesh;

    CExternalForceNode() : SceneNode("ExternalForceMesh") {}
    bool create() override;
    int update(double time) override;
};

}  // namespace ond::ovs::addon::rig
