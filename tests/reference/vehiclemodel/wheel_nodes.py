"""The four nodes of a corner."""

import math

from carmodel.scalars import libm, sign
from carmodel.vectors import ZERO, Quat, group, multiply, normalized, product, quat_from_matrix, quat_matrix

from .matrices import cross, rotation_x, scaled, set_group, translation, with_axis_lengths
from .nodes import SceneNode
from .probing import update_wheel

SUFFIXES = ("_FL", "_FR", "_BL", "_BR")
FRONT_TILT = 0.12217304763960307  # 7 degrees
LONGEST_TURN = 3.110487775831478  # of a wheel between two keys; a little less than half a turn
FULL_TURN = 6.283185307179586


class CornerNode(SceneNode):
    def __init__(self, vehicle, corner):
        super().__init__(vehicle)
        self.iCorner = corner
        self.full_name = self.name + SUFFIXES[corner]

    @property
    def geometry(self):
        return self.vehicle.car.wheelGeom[self.iCorner]

    @property
    def record(self):
        return self.vehicle.car.pcWheel[self.iCorner]

    @property
    def relocator(self):
        return self.vehicle.aWheelRelocatorNodes[self.iCorner]

    def _place(self):
        g = self.geometry
        return translation(g.x, g.radius, g.z)


class WheelRelocatorNode(CornerNode):
    name = "WheelRelocatorMesh"

    def create(self):
        self._make(self.full_name, self.vehicle.cChassisRelocatorNode)
        self.write_world(scaled(self._place(), *(self.geometry.radius,) * 3), self.scene.now)

    def turn(self, angle):
        self.write_world(product(self.read_world(self.scene.now), rotation_x(angle)), self.scene.now)


class WheelNode(CornerNode):
    name = "WheelMesh"

    def __init__(self, vehicle, corner):
        super().__init__(vehicle, corner)
        self.vWheelDownPrev = ZERO
        self.dCurrDelta = 0.0
        self.dCurrDeltaW = 0.0

    def create(self):
        r = self.geometry.radius
        self._make(self.full_name, self.relocator)
        self.dCurrDelta = self.dCurrDeltaW = r
        self.write_world(scaled(self._place(), 0.7 * r, r, r), self.scene.now)

    def on_prepare_end(self, time):
        self.geometry.radius = self.vInitScale.y
        self.vWheelDownPrev = -normalized(group(self.vehicle.cCarBodyNode.mCurr, 1))

    def update(self, time):
        update_wheel(self, time)

    def _matrix(self, pitch, yaw, time, position):
        q_pitch = Quat(libm.sin(pitch / 2), 0.0, 0.0, libm.cos(pitch / 2))
        q_yaw = Quat(0.0, libm.sin(yaw / 2), 0.0, libm.cos(yaw / 2))
        q_relocator = quat_from_matrix(self.relocator.read_world(time))
        r = self.geometry.radius
        m = scaled(quat_matrix(multiply(multiply(q_pitch, q_yaw), q_relocator)), self.vInitScale.x, r, r)
        set_group(m, 3, position)
        return m

    def write_keys(self, time):
        wheel = self.record
        self.mCurr = self._matrix(wheel.pfTotalPitch, wheel.pfYaw, time, wheel.qTransWheelAbs.position)
        turn = wheel.pfPitchIncr
        s, rest, angle = sign(turn), abs(turn), wheel.pfTotalPitch - turn
        while rest - LONGEST_TURN > 0:
            angle = math.fmod(angle + s * LONGEST_TURN, FULL_TURN)
            rest -= LONGEST_TURN
            f = abs(rest / abs(turn))
            key_time = time - f * self.scene.step
            yaw = wheel.pfYaw - (wheel.pfYaw - wheel.pfYaw_prev) * f
            position = group(self.read_world(key_time), 3)
            self.write_world(self._matrix(angle, yaw, key_time, position), key_time)
        self.write_world(self.mCurr, time)


class CenterNode(CornerNode):
    def create(self):
        self._make(self.full_name, self.relocator)
        now = self.scene.now
        m = self.vehicle.cCarBodyNode.read_world(now)
        set_group(m, 3, group(self.vehicle.aWheelNodes[self.iCorner].read_world(now), 3))
        self.write_world(m, now)

    def _finish(self, m, time):
        self.mCurr = with_axis_lengths(m, self.vInitScale)
        self.write_world(self.mCurr, time)


class WheelCenterSuspensionNode(CenterNode):
    name = "WheelCenterSuspensionMesh"

    def update(self, time):
        self.mPrev = self.mCurr
        m = self.relocator.read_world(time)
        set_group(m, 3, group(self.vehicle.aWheelNodes[self.iCorner].mCurr, 3))
        self._finish(m, time)


class WheelCenterNode(CenterNode):
    name = "WheelCenterMesh"

    def update(self, time):
        vehicle = self.vehicle
        self.mPrev = self.mCurr
        m = self.relocator.read_world(time)
        if not vehicle.bFixateWheelCenterNodes:
            m = product(m, quat_matrix(self.record.qWheelYaw))
        set_group(m, 3, group(vehicle.aWheelNodes[self.iCorner].mCurr, 3))
        if vehicle.bAlignWheelCenterToGroundNormal:
            up = self.record.vGroundNormal
            side = normalized(group(m, 0))
            back = normalized(cross(side, up))
            set_group(m, 1, up)
            set_group(m, 2, back)
            set_group(m, 0, normalized(cross(up, back)))
        if vehicle.bMoveWheelCenterNodeToGroundHitPoint:
            set_group(m, 3, self.record.vGroundHitPoint)
        self._finish(m, time)


def resize_wheels(vehicle, count):
    count = max(count, 3)
    while len(vehicle.aWheelNodes) < count:
        corner = len(vehicle.aWheelNodes)
        for kind, nodes in ((WheelRelocatorNode, vehicle.aWheelRelocatorNodes), (WheelNode, vehicle.aWheelNodes),
                            (WheelCenterSuspensionNode, vehicle.aWheelCenterSuspensionNodes),
                            (WheelCenterNode, vehicle.aWheelCenterNodes)):
            nodes.append(kind(vehicle, corner))
            nodes[-1].create()
        vehicle.aWheelRelocatorNodes[-1].turn(0.0)
        if corner < 2:
            vehicle.aWheelRelocatorNodes[-1].turn(FRONT_TILT)
    while len(vehicle.aWheelNodes) > count:
        for nodes in (vehicle.aWheelNodes, vehicle.aWheelCenterNodes, vehicle.aWheelCenterSuspensionNodes,
                      vehicle.aWheelRelocatorNodes):
            vehicle.scene.delete(nodes.pop().element)
