// The three cameras of the rig and the steering wheel.
#pragma once

#include "rig/RigElements.h"
#include "rig/meshes/CMesh_SteeringWheelMesh.h"

namespace ond::ovs::addon::rig {

/// The camera that comes after the car: it wants to be at a point above and behind the turn base, and gets there
/// through two filters one behind the other.
class CFollowCamNode final : public SceneNode {
  public:
    double dFieldOfView = 45.0;           ///< degrees
    QTransform<double> qFollowCam;        ///< the camera's pose, second stage
    QTransform<double> qFollowTarget;     ///< the wanted pose
    QTransform<double> qFollowFilterMem;  ///< first stage; keyed
    double dRotResponse = 0.7;            ///< filter factor of both rotation stages
    double dPosResponse = 0.6;            ///< filter factor of both position stages
    double dUnused0 = 0.5;
    double dUnused1 = 0.2;
    double dOffsetMult = 1.0;
    Vector3<double> vOffset{0.0, 1.4, 7.0};  ///< in the space of the turn base, times its scale

    CFollowCamNode() : SceneNode(elementName(ElementId::followCam)) {}
    bool create() override;
    int update(double time) override;
    /// Starts the filters of a run at `time`: at the camera's pose, and the first stage at its key when resuming.
    void prepareFollowCam(double time);
};

/// Fixed to the chassis at the driver's head.
class CDriverCamNode final : public SceneNode {
  public:
    CDriverCamNode() : SceneNode(elementName(ElementId::driverCam)) {}
    bool create() override;
};

/// Fixed above the body, looking down.
class CTopViewCamNode final : public SceneNode {
  public:
    CTopViewCamNode() : SceneNode(elementName(ElementId::topViewCam)) {}
    bool create() override;
};

/// Shows how far the driver has turned it.
class CSteeringWheelNode final : public SceneNode {
  public:
    using CMesh_SteeringWheelMesh = rig::CMesh_SteeringWheelMesh;

    double dSteeringWheelRotMult = 1.0;  ///< "Steering Wheel Rot Mult"; saved
    Matrix4 mInit_loc;                   ///< local matrix at rest, where the user put the wheel; saved

    CSteeringWheelNode() : SceneNode(elementName(ElementId::steeringWheel)) {}
    bool create() override;
    int update(double time) override;
    void onPrepareEnd(double time) override;
};

/// Sets the opening angle of the node's camera at `time`.
void setFieldOfView(const SceneNode& node, double degrees, double time);

}  // namespace ond::ovs::addon::rig
