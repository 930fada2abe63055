// The vehicle. Each one in a scene is an object of this class, which belongs to the host.
//
// Sections: node names | host operations | lifecycle helpers | car model | animated variables | channels | ground |
// nodes | parameters and read-outs | modes | stored ground
//
// The object holds everything of a vehicle by value and does little itself. The work lies in run/ (run start, frame
// update, host events), rig/ (elements), ground/ (rays), parameters/ (dialog) and state/ (history, save, load).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "car/CarState.h"
#include "car/Follow.h"
#include "ground/GroundMeshTree.h"
#include "ground/PhysicsWorld.h"
#include "ground/StoredGroundMesh.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CInterface.h"
#include "ond/unidevice/Property.h"
#include "ond/util/AVar.h"
#include "rig/BodyNodes.h"
#include "rig/CameraNodes.h"
#include "rig/CollisionObjects.h"
#include "rig/SceneNode.h"
#include "rig/WheelNodes.h"
#include "rig/WorldNodes.h"
#include "run/FrameMemory.h"
#include "state/SavedRecord.h"

namespace ond::ovs::addon {

using util::AVar_Latest;
using util::AVar_Linear;
using util::AVar_Nearest;

constexpr int kNumOutputs = 7;

class CCarCamObject final : public CCamera, public CInterface::Callback, public FollowState {
  public:
    using SceneNode = rig::SceneNode;
    using CCarBodyNode = rig::CCarBodyNode;
    using CChassisRelocatorNode = rig::CChassisRelocatorNode;
    using CRelativeTurnBaseNode = rig::CRelativeTurnBaseNode;
    using CBaseMeshNode = rig::CBaseMeshNode;
    using CGravityDirectionNode = rig::CGravityDirectionNode;
    using CTargetNode = rig::CTargetNode;
    using CExternalForceNode = rig::CExternalForceNode;
    using CFollowCamNode = rig::CFollowCamNode;
    using CDriverCamNode = rig::CDriverCamNode;
    using CTopViewCamNode = rig::CTopViewCamNode;
    using CSteeringWheelNode = rig::CSteeringWheelNode;
    using CWheelRelocatorNode = rig::CWheelRelocatorNode;
    using CWheelNode = rig::CWheelNode;
    using CWheelCenterSuspensionNode = rig::CWheelCenterSuspensionNode;
    using CWheelCenterNode = rig::CWheelCenterNode;
    using CollisionObjects = addon::CollisionObjects;

    explicit CCarCamObject(const CameraCreationRecord& record);
    ~CCarCamObject() override;

    // Operations of the contract, see CExtendable and CCamera.
    std::uint64_t callExtension(std::uint32_t id, void* argument) override;
    [[nodiscard]] std::vector<std::uint32_t> getExtensionIds() const override;
    void startRun(double time) override;
    void stopRun(double time) override;
    void updateFrame(double time) override;
    void showFrame(double time) override;
    std::uint64_t declareParameters() override;
    std::uint64_t createRig() override;
    std::uint64_t loadState() override;
    std::uint64_t saveState() override;
    void release() override;

    // CInterface::Callback
    void onParameterChanged(std::string label) override;

    /// Corners with a wheel node, as far as the model has wheels: never more than four.
    [[nodiscard]] int numCorners() const;

    /// Frees the physics world with its bodies and the ray caster. Nothing outside a run. The shapes of the bodies stay
    /// until the next run has its own, because they take long to build and most likely are the same.
    void destroyPhysics();

    addon::cCarCam cCarCam;

    // Animated variables: histories of the fields they are named after. The table in state/AnimatedState.h lists them.
    AVar_Linear<double> ancCarCamcCarBodyfRelYPos;
    AVar_Linear<double> ancCarCamcCarBodyfRelXAng;
    AVar_Linear<double> ancCarCamcCarBodyfRelZAng;
    AVar_Linear<double> ancCarCamcCarBodyfRelYVel;
    AVar_Linear<double> ancCarCamcCarBodyfRelXAngVel;
    AVar_Linear<double> ancCarCamcCarBodyfRelZAngVel;
    AVar_Nearest<QTransform<double>> anFollowCamFilterMem;
    AVar_Nearest<Vector3<double>> anvAcceleration;
    AVar_Nearest<Vector3<double>> ancCarCamvSkidBrakePosIncr;
    AVar_Linear<double> ancCarCamdSkidBrakeLocalYawIncr;
    AVar_Linear<double> ancCarCampcInput_STEERING_WHEEL;
    AVar_Linear<double> ancCarCampcInput_GAS_PEDAL;
    AVar_Linear<double> ancCarCampcInput_GAS_PEDAL_inp_prev;
    AVar_Nearest<bool> ancCarCambIsReverseVelAbsBraking;
    AVar_Linear<double> ancCarCampcInput_BOOSTER;
    std::array<AVar_Linear<double>, kNumWheels> ancCarCampcWheelfSuspZeroDiff;
    std::array<AVar_Linear<double>, kNumWheels> ancCarCampcWheelfSuspZeroDiff_prev;
    std::array<AVar_Linear<double>, kNumWheels> ancCarCampcWheelpfTotalPitch;
    std::array<AVar_Linear<double>, kNumWheels> ancWheelNodeCurrDelta;
    std::array<AVar_Linear<double>, kNumWheels> ancWheelNodeCurrDeltaW;
    AVar_Nearest<QTransform<double>> ancCarCamqTransCarAbsIncr;
    AVar_Linear<double> ancCarCampcInput_SKID_BRAKE;
    AVar_Nearest<bool> ancCarCambSkidBreakingOn;
    AVar_Nearest<bool> ancCarCambSkidBreakingOnDisableFeatures;
    AVar_Nearest<bool> ancCarCambSkidFirstTime{true};
    AVar_Linear<double> ancCarCampcInput_SKIDDING;
    AVar_Linear<double> ancCarCampcInput_BURNOUT;
    AVar_Nearest<bool> ancCarCambSkiddingOn;
    AVar_Linear<double> ancCarCamfSkidWantedGasPedalValue;
    AVar_Linear<double> cCarCamdWantedSkiddingValue;
    AVar_Linear<double> cCarCamdInputFilterMem;
    AVar_Linear<double> cCarCamdGasPedalInputFilterMem;
    AVar_Linear<double> andFollowAccMem;
    AVar_Linear<double> andAutoSteeringValueMem;
    AVar_Linear<double> ancCarCamfCarLocalYawIncr;
    AVar_Nearest<Quat<double>> anQGravityFilterMem;
    AVar_Nearest<bool> anbCarInTheAir;
    std::array<AVar_Linear<double>, kNumWheels> andWheelGroundNormalDiff;
    AVar_Latest<int> ancCarCamrandomValue_gravelShake{kSeedGravelShake};
    AVar_Latest<int> ancCarCamrandomValue_burnout{kSeedBurnout};
    AVar_Latest<int> ancCarCamrandomValue_steeringNoise{kSeedSteeringNoise};

    // Channels. Owned by the host; null until declared, and where the host gave none.
    std::array<unidevice::Property*, kNumInputs> aInputProperties{};
    std::array<unidevice::Property*, kNumOutputs> aOutputProperties{};

    // Ground
    PhysicsWorld cPhysicsWorld;  ///< exists only during a run
    int iSubSteps = 0;           ///< a step of the physics world is a frame cut into one piece more
    bool bUseStaticMesh = true;  ///< "Use Fast Ray Cast"
    std::vector<std::unique_ptr<CollisionObjects>> aCollisionObjects;  ///< of all runs; older ones have no body
    std::unique_ptr<btDefaultVehicleRaycaster> m_vehicleRaycaster;     ///< on the world; null without one

    // Nodes. The vectors hold one node per corner; nobody keeps a pointer into them.
    CCarBodyNode cCarBodyNode;
    CChassisRelocatorNode cChassisRelocatorNode;
    std::vector<CWheelRelocatorNode> aWheelRelocatorNodes;
    std::vector<CWheelNode> aWheelNodes;
    std::vector<CWheelCenterSuspensionNode> aWheelCenterSuspensionNodes;
    std::vector<CWheelCenterNode> aWheelCenterNodes;
    CRelativeTurnBaseNode cRelativeTurnBaseNode;
    CGravityDirectionNode cGravityDirectionNode;
    CBaseMeshNode cBaseMeshNode;
    CTargetNode cTargetNode;
    CExternalForceNode cExternalForceNode;
    CSteeringWheelNode cSteeringWheelNode;
    CFollowCamNode cFollowCamNode;
    CDriverCamNode cDriverCamNode;
    CTopViewCamNode cTopViewCamNode;

    // Parameters and read-outs. Those of autonomous mode are in FollowState.
    double dCurrentVelocity = 0.0;         ///< read-out, units per second times dVelocityConversionMult
    double dCurrentVelocityPercent = 0.0;  ///< read-out, percent of the maximum
    double dVelocityConversionMult = 3.6;  ///< "Multiplier" of the read-outs; 3.6 makes km/h of m/s
    double dInitialVelocity = 0.0;         ///< "Initital Velocity (% of max)"
    bool bAlignWheelCenterToGroundNormal = false;
    bool bMoveWheelCenterNodeToGroundHitPoint = false;
    double dMaximumSpringChangeVelocityRel = 0.05;  ///< how fast a wheel drops in the air, in radii
    double fSurfaceEdgeResponseFactor = 0.8;        ///< "Tire Pressure"
    std::int32_t iRayMultiplier = 10;               ///< "Ray Multiplier"
    double dDegsPerRay = 2.0;                       ///< "Degrees Per Ray"
    double dMinGroundDistance = 0.3;                ///< least height of the body, in rest heights
    std::int32_t iChunkVersion = 100;               ///< of the block that was loaded

    // Modes
    bool bRunning = false;
    bool bHideHelpersDuringRecording = false;
    bool bHideHelpers = false;
    bool bHideTopViewCamera = true;
    bool bHideDriverCamera = true;
    bool bHideFollowCamera = true;
    bool bSpareFlag = false;  ///< saved and restored; nothing reads it
    bool bWireframeMode = false;
    bool bFreshStart = true;                    ///< a start resets the car; the first frame clears this
    bool bSaveDynamicData = true;               ///< "Enable Seamless Transitions"
    bool bKeyframeOnlyEssential = false;        ///< "Keyframe only essential objects"
    bool bDisableGroundNodesAnimation = false;  ///< saved; no effect, like the next two
    bool bDisableFollowCamAnimation = false;
    bool bDisableGravityNodeAnimation = false;
    bool bFixateWheelCenterNodes = false;
    bool bAddRaysAtWheelEdges = true;
    double dStartTime = 0.0;                ///< seconds; no run has begun earlier on the timeline
    bool bIgnoreNextTurnBaseChange = true;  ///< the dialog reports the turn base once by itself
    double dMaxVelocityGauge = 0.0;         ///< read-out
    double dAccelerationGauge100 = 0.0;     ///< read-out, seconds
    double dAccelerationGauge60 = 0.0;      ///< read-out, seconds

    // Stored ground
    bool bStoreGroundMeshData = false;        ///< "Store Ground Mesh Data"
    util::Matrix4 mBulletGroundMesh;          ///< where the stored mesh stood in the world
    StoredGroundMesh cMesh_storedGroundMesh;  ///< the ground, in the coordinates of its element
    GroundMeshTreeNode cGroundMeshTree;       ///< over the stored mesh

    DataChunkSaveStruct sDataChunkSaveStruct;  ///< refreshed by each save

    FrameMemory cFrameMemory;  ///< so that a frame need not wait for what it reads; decides nothing
};

}  // namespace ond::ovs::addon
