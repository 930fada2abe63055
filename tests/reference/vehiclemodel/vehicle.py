"""A vehicle in a scene: its fields and its operations."""

from carmodel.inputs import property_value
from carmodel.record import GAS, Car, FollowState
from carmodel.vectors import IDENTITY_MATRIX

from . import histories
from .frame_update import show_frame, update_frame
from .ground_tree import GroundMeshTree
from .nodes import BaseMeshNode, CarBodyNode, ChassisRelocatorNode, RelativeTurnBaseNode, SteeringWheelNode
from .run_start import start_run
from .wheel_nodes import resize_wheels
from .world_nodes import (DriverCamNode, ExternalForceNode, FollowCamNode, GravityDirectionNode, TargetNode,
                          TopViewCamNode)

CURVE = 1.3  # exponent that a vehicle gives its input channels


class Vehicle:
    def __init__(self, scene):
        self.scene = scene
        self.car = Car()
        self.follow = FollowState()
        self.histories = histories.make()
        self.devices = [0.0] * 9
        self.outputs = [0.0] * 7
        self._fields()
        self.aWheelRelocatorNodes = []
        self.aWheelNodes = []
        self.aWheelCenterSuspensionNodes = []
        self.aWheelCenterNodes = []
        self.cCarBodyNode = CarBodyNode(self)
        self.cChassisRelocatorNode = ChassisRelocatorNode(self)
        self.cRelativeTurnBaseNode = RelativeTurnBaseNode(self)
        self.cGravityDirectionNode = GravityDirectionNode(self)
        self.cBaseMeshNode = BaseMeshNode(self)
        self.cTargetNode = TargetNode(self)
        self.cExternalForceNode = ExternalForceNode(self)
        self.cSteeringWheelNode = SteeringWheelNode(self)
        self.cFollowCamNode = FollowCamNode(self)
        self.cDriverCamNode = DriverCamNode(self)
        self.cTopViewCamNode = TopViewCamNode(self)

    def _fields(self):
        self.bUseStaticMesh = True
        self.dCurrentVelocity = 0.0
        self.dCurrentVelocityPercent = 0.0
        self.dVelocityConversionMult = 3.6
        self.dInitialVelocity = 0.0
        self.bAlignWheelCenterToGroundNormal = False
        self.bMoveWheelCenterNodeToGroundHitPoint = False
        self.dMaximumSpringChangeVelocityRel = 0.05
        self.fSurfaceEdgeResponseFactor = 0.8
        self.iRayMultiplier = 10
        self.dDegsPerRay = 2.0
        self.dMinGroundDistance = 0.3
        self.bRunning = False
        self.bFreshStart = True
        self.bSaveDynamicData = True
        self.bKeyframeOnlyEssential = False
        self.bFixateWheelCenterNodes = False
        self.bAddRaysAtWheelEdges = True
        self.dStartTime = 0.0
        self.dMaxVelocityGauge = 0.0
        self.dAccelerationGauge100 = 0.0
        self.dAccelerationGauge60 = 0.0
        self.bStoreGroundMeshData = False
        self.mBulletGroundMesh = list(IDENTITY_MATRIX)
        self.cMesh_storedGroundMesh = None
        self.cGroundMeshTree = None
        self.world = None  # of the physics library; exists only during a run

    def num_corners(self):
        return min(4, len(self.aWheelNodes))

    def stored_faces(self):
        return 0 if self.cMesh_storedGroundMesh is None else len(self.cMesh_storedGroundMesh.faces)

    def read_inputs(self):
        for channel, device in zip(self.car.pcInput, self.devices):
            channel.raw = property_value(device, exponent=CURVE)

    def create_rig(self):
        self.cCarBodyNode.create()
        self.cChassisRelocatorNode.create()
        self.cTargetNode.create()
        resize_wheels(self, 4)
        self.cRelativeTurnBaseNode.create()
        self.cSteeringWheelNode.create()
        self.cGravityDirectionNode.create()
        self.cBaseMeshNode.create()
        self.cExternalForceNode.create()
        self.cTopViewCamNode.create()
        self.cDriverCamNode.create()
        self.cRelativeTurnBaseNode.prepare(self.scene.now)
        self.cFollowCamNode.create()
        self.update_maximum_gauges(self.car.fBodyLength)
        self.scene.refreshes += 1

    def resize_wheels(self, count):
        resize_wheels(self, count)

    def update_maximum_gauges(self, length):
        rate = self.car.dGasPedalMaxRateOfChange
        self.dMaxVelocityGauge = length * self.dVelocityConversionMult * self.car.pcInput[GAS].maximum
        self.dAccelerationGauge100 = 100 / self.dVelocityConversionMult / rate / length
        self.dAccelerationGauge60 = 60 / self.dVelocityConversionMult / rate / length

    def start_run(self, time):
        start_run(self, time)

    def update_frame(self, time):
        update_frame(self, time)

    def show_frame(self, time):
        show_frame(self, time)

    def stop_run(self):
        car = self.car
        self.world = None
        if car.bBoosterOn or car.bAutonomousMode:
            car.bBoosterOn = False
            car.bStiffnessBoosted = False
            self.scene.refreshes += 1
        car.fStiffnessFront, car.fStiffnessBack = car.dBaseStiffnessFront, car.dBaseStiffnessBack
        car.fDampingFront, car.fDampingBack = car.dBaseDampingFront, car.dBaseDampingBack
        self.bRunning = False

    def store_ground_changed(self):
        """The user has switched "Store Ground Mesh Data"."""
        if self.bStoreGroundMeshData:
            self._capture_ground()
        if not self.bStoreGroundMeshData:
            self.cMesh_storedGroundMesh = None
        self.scene.refreshes += 1

    def _capture_ground(self):
        parent = self.cGravityDirectionNode.element.parent
        fault = None
        if parent is None:
            fault = "No ground mesh available"
        elif parent.surface is None:
            fault = "Surface not a mesh"
        else:
            self.cMesh_storedGroundMesh = parent.surface
            if not parent.surface.faces:
                fault = "Mesh Invalid"
        if fault is not None:
            self.bStoreGroundMeshData = False
            self.scene.message(fault, "Error")
            return
        self.mBulletGroundMesh = parent.world(self.scene.now)
        if not self.bUseStaticMesh:
            self.cGroundMeshTree = GroundMeshTree.of_mesh(parent.surface)
