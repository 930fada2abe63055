"""The nodes that tie a vehicle to the world, and its cameras."""

import math

from carmodel.filters import filter_exact, filter_saturating_quat
from carmodel.vectors import QTransform, Vector3, group, inverse, normalized, product, rotate

from .histories import as_transform
from .matrices import identity, rotation_x, scaled, scaling, set_group, to_transform, translation
from .nodes import SceneNode

UNSUPPORTED = ("Support for this kind of surface has not yet been implemented for FAST RAYCAST for this adaptor. Fast "
               "raycast is therefore cancelled.\nContact support for more information on this issue.")


class GravityDirectionNode(SceneNode):
    name = "GravityDirectionMesh"

    def __init__(self, vehicle):
        super().__init__(vehicle)
        self.bParentIsCarBody = False
        self.mParentMesh = []
        self.mParentMesh_inv = []

    def create(self):
        length = self.vehicle.car.fBodyLength
        self._make(self.name, None)
        self.write_world(scaled(translation(0.0, 0.0, length / 2.0 * -1.51), *(length,) * 3), self.scene.now)

    def update(self, time):
        self.mPrev = self.mCurr
        self.mCurr = self.read_world(time)

    def _append(self, matrix):
        self.mParentMesh.append(matrix)
        self.mParentMesh_inv.append(inverse(matrix))

    def on_prepare_end(self, time):
        vehicle, parent = self.vehicle, self.element.parent
        if parent is not None and parent.surface is not None:
            if vehicle.bUseStaticMesh and not parent.surface.vertices:
                self.scene.message(UNSUPPORTED, "UNSUPPORTED SURFACE TYPE")
                vehicle.bUseStaticMesh = False
                self.scene.refreshes += 1
        self.bParentIsCarBody = parent is not None and parent.is_or_below(vehicle.cCarBodyNode.element)
        self.mParentMesh, self.mParentMesh_inv = [], []
        if vehicle.bStoreGroundMeshData:
            self._append(list(vehicle.mBulletGroundMesh))
            self.bParentIsCarBody = False
        else:
            if parent is not None and not self.bParentIsCarBody:
                self._append(parent.world(time))
            for child in self.element.children:
                self._append(child.world(time))
        if not self.mParentMesh and vehicle.bUseStaticMesh:
            self._append(identity())


class TargetNode(SceneNode):
    name = "TargetMesh"

    def create(self):
        car, now = self.vehicle.car, self.scene.now
        self._make(self.name, None)
        m = product(self.vehicle.cCarBodyNode.read_world(now), scaling(*(1.0 / car.fBodyLength,) * 3))
        m = product(m, translation(0.0, car.fBodyRestHeight, car.fBodyLength / 2.0 * -2.01))
        self.write_local(m, now)


class ExternalForceNode(SceneNode):
    name = "ExternalForceMesh"

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.write_local(product(translation(0.0, self.vehicle.car.fBodyLength / 10.0, 0.3),
                                 rotation_x(math.radians(170.0))), self.scene.now)

    def update(self, time):
        world = self.read_world(time - self.scene.step)
        local = product(inverse(self.vehicle.cCarBodyNode.mCurr), world)
        self.vehicle.car.vExternalForceDir = normalized(group(local, 2))
        self.vehicle.car.vExternalForcePos = group(local, 3)


class FollowCamNode(SceneNode):
    name = "FollowCam"
    dRotResponse = 0.7
    dPosResponse = 0.6
    dOffsetMult = 1.0
    vOffset = Vector3(0.0, 1.4, 7.0)

    def __init__(self, vehicle):
        super().__init__(vehicle)
        self.qFollowCam = QTransform()
        self.qFollowTarget = QTransform()
        self.qFollowFilterMem = QTransform()

    def _behind_turn_base(self):
        base = self.vehicle.cRelativeTurnBaseNode
        q = to_transform(base.mCurr)
        q.position = q.position + rotate(q.rotation, self.vOffset * self.dOffsetMult) * base.dScale
        return q

    def create(self):
        self._make(self.name, self.vehicle.cChassisRelocatorNode)
        self.qFollowCam = self._behind_turn_base()
        self.write_world(self.qFollowCam.matrix(), self.scene.now)

    def prepare_follow_cam(self, time):
        self.qFollowCam = to_transform(self.read_world(time))
        if self.vehicle.bFreshStart:
            self.qFollowFilterMem = self.qFollowCam.copy()
        else:
            self.qFollowFilterMem = as_transform(self.vehicle.histories["anFollowCamFilterMem"].value_at(time))

    def update(self, time):
        dt = self.scene.step
        target, memory, camera = self._behind_turn_base(), self.qFollowFilterMem, self.qFollowCam
        memory.rotation, target.rotation = filter_saturating_quat(memory.rotation, target.rotation,
                                                                  self.dRotResponse, dt)
        camera.rotation, memory.rotation = filter_saturating_quat(camera.rotation, memory.rotation,
                                                                  self.dRotResponse, dt)
        memory.position = filter_exact(memory.position, target.position, self.dPosResponse, dt)
        camera.position = filter_exact(camera.position, memory.position, self.dPosResponse, dt)
        self.qFollowTarget = target
        chassis = self.vehicle.cChassisRelocatorNode
        shift = list(chassis.mLocal)
        set_group(shift, 3, group(shift, 3) - chassis.vInitPos)
        m = product(chassis.mCurr, shift)
        m = product(m, inverse(chassis.mCurr))
        self.write_world(product(m, camera.matrix()), time)


class DriverCamNode(SceneNode):
    name = "DriverCam"

    def create(self):
        self._make(self.name, self.vehicle.cChassisRelocatorNode)
        self.write_local(translation(-0.091, 0.125, 0.02), self.scene.now)


class TopViewCamNode(SceneNode):
    name = "TopViewCam"

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.write_local(product(rotation_x(math.radians(-90.0)), translation(0.0, 0.0, 2.0)), self.scene.now)
