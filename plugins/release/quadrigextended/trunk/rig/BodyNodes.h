// The nodes that carry the car body: the body itself, the chassis relocator, the turn base and the hidden base mesh.
#pragma once

#include "car/CarState.h"
#include "rig/RigElements.h"
#include "rig/meshes/CMesh_AttachToMesh.h"
#include "rig/meshes/CMesh_CarBodyMesh.h"
#include "rig/meshes/CMesh_TurnBaseMesh.h"

namespace ond::ovs::addon::rig {

/// Where the turning axis is on the car's own Z axis, scene units.
[[nodiscard]] double turnBasePosition(const cCarCam& car);

/// Shows the sprung body.
class CCarBodyNode final : public SceneNode {
  public:
    using CMesh_CarBodyMesh = rig::CMesh_CarBodyMesh;

    QTransform<double> qTransBody;

    CCarBodyNode() : SceneNode(elementName(ElementId::carBody)) {}
    bool create() override;
    int update(double time) override;
};

/// Handle for the user: carries wheels and cameras, which can so be shifted as one against the model.
class CChassisRelocatorNode final : public SceneNode {
  public:
    using CMesh_AttachToMesh = rig::CMesh_AttachToMesh;

    Matrix4 mLocal;                            ///< local matrix of the element
    Vector3<double> vInitPos{0.0, 0.08, 0.0};  ///< its local position when made
    QTransform<double> qTrans;                 ///< unused

    CChassisRelocatorNode() : SceneNode(elementName(ElementId::chassisRelocator)) {}
    bool create() override;
    int update(double time) override;
};

/// Shows where the turning axis is. The bigger the user makes it, the further away the follow camera stays.
class CRelativeTurnBaseNode final : public SceneNode {
  public:
    using CMesh_TurnBaseMesh = rig::CMesh_TurnBaseMesh;

    double dScale = 0.0;

    CRelativeTurnBaseNode() : SceneNode(elementName(ElementId::turnBase)) {}
    bool create() override;
    int update(double time) override;
    void onPrepareEnd(double time) override;
};

/// Never seen: goes where the car goes and points where it points, but never tilts against its first pose of the run.
/// The gravity filter measures against it.
class CBaseMeshNode final : public SceneNode {
  public:
    QTransform<double> qBase;  ///< mInit as a transform
    bool bFlag = false;        ///< unused
    Matrix4 mUnused0;
    Matrix4 mUnused1;

    CBaseMeshNode() : SceneNode(elementName(ElementId::baseMesh)) {}
    bool create() override;
    int update(double time) override;
    void onPrepareEnd(double time) override;
};

}  // namespace ond::ovs::addon::rig
