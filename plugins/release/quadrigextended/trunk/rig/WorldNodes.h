// Nodes that stand for what acts on the car from outside: gravity and ground, the target of autonomous mode, the
// external force.
#pragma once

#include <vector>

#include "rig/RigElements.h"
#include "rig/meshes/CMesh_GravityDirectionMesh.h"
#include "rig/meshes/CMesh_TargetMesh.h"

namespace ond::ovs::addon::rig {

/// Its -Y is the direction of gravity. Meshes that it hangs on, or that hang on it, are the ground.
class CGravityDirectionNode final : public SceneNode {
  public:
    using CMesh_GravityDirectionMesh = rig::CMesh_GravityDirectionMesh;

    QTransform<double> qInit;              ///< mInit as a transform
    bool bParentIsCarBody = false;         ///< the parent is this vehicle's own body, which is no ground
    std::vector<Matrix4> mParentMesh;      ///< surface to world, one per ground surface, taken at the start of a run
    std::vector<Matrix4> mParentMesh_inv;  ///< their inverses

    CGravityDirectionNode() : SceneNode(elementName(ElementId::gravityDirection)) {}
    bool create() override;
    int update(double time) override;
    void onPrepareEnd(double time) override;
};

/// What autonomous mode follows. The user attaches it to an animated object.
class CTargetNode final : public SceneNode {
  public:
    using CMesh_TargetMesh = rig::CMesh_TargetMesh;

    CTargetNode() : SceneNode(elementName(ElementId::target)) {}
    bool create() override;
    int update(double time) override;
};

/// Handle for the user: where the external force acts and which way it pushes.
class CExternalForceNode final : public SceneNode {
  public:
    using CMesh_GravityDirectionMesh = rig::CMesh_GravityDirectionMesh;

    CExternalForceNode() : SceneNode(elementName(ElementId::externalForce)) {}
    bool create() override;
    int update(double time) override;
};

}  // namespace ond::ovs::addon::rig
