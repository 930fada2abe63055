"""What every node of a rig has in common, and the nodes of body and cabin."""

import math

from carmodel.vectors import QTransform, Vector3, conjugate, group, normalized, product, rotate, scale

from .matrices import (axis_length, cross, identity, rotation_x, rotation_z, scaled, scaling, set_group, to_transform,
                       translation, with_axis_lengths)


class SceneNode:
    """Owns one element; remembers where it was one frame ago (mPrev) and where it is (mCurr)."""

    name = ""

    def __init__(self, vehicle):
        self.vehicle = vehicle
        self.scene = vehicle.scene
        self.element = None
        self.mPrev = identity()
        self.mCurr = identity()
        self.mPrev2 = identity()
        self.mInit = identity()
        self.vInitScale = Vector3(1.0, 1.0, 1.0)

    def _make(self, name, parent, surface=None):
        self.element = self.scene.create(name, None if parent is None else parent.element, surface)

    def read_world(self, time):
        return identity() if self.element.deleted else self.element.world(time)

    def read_local(self, time):
        return identity() if self.element.deleted else self.element.local(time)

    def write_world(self, matrix, time):
        if not self.element.deleted:
            self.element.set_world(time, matrix)

    def write_local(self, matrix, time):
        if not self.element.deleted:
            self.element.set_local(time, matrix)

    def prepare(self, time):
        self.mInit = self.read_world(time)
        self.vInitScale = scale(self.mInit)
        self.mPrev = with_axis_lengths(self.read_world(time - self.scene.step), self.vInitScale)
        self.mCurr = with_axis_lengths(self.read_world(time), self.vInitScale)
        self.on_prepare_end(time)

    def on_prepare_end(self, time):
        pass


class CarBodyNode(SceneNode):
    name = "CarBodyMesh"

    def create(self):
        car = self.vehicle.car
        self._make(self.name, None)
        self.write_world(scaled(translation(0.0, car.fBodyRestHeight, 0.0), *(car.fBodyLength,) * 3), self.scene.now)

    def update(self, time):
        car = self.vehicle.car
        self.mPrev = self.mCurr
        q = car.cCarBody.qTransAbs.copy()
        if car.wheel_radius(0) * 0.1 < car.fBodyRestHeight:
            total = car.pcWheel[0].vSuspPoint
            for wheel in car.pcWheel[1:]:
                total = total + wheel.vSuspPoint
            height = rotate(conjugate(q.rotation), q.position - total * 0.25).y
            least = car.fBodyRestHeight * self.vehicle.dMinGroundDistance
            if height < least:
                q.position = q.position + rotate(q.rotation, Vector3(0.0, least - height, 0.0))
        self.mCurr = scaled(q.matrix(), *(car.fBodyLength,) * 3)
        self.write_world(self.mCurr, time)


class ChassisRelocatorNode(SceneNode):
    name = "ChassisRelocatorMesh"
    vInitPos = Vector3(0.0, 0.08, 0.0)

    def __init__(self, vehicle):
        super().__init__(vehicle)
        self.mLocal = identity()

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.write_local(translation(*self.vInitPos), self.scene.now)

    def update(self, time):
        self.mLocal = self.read_local(time)
        self.mCurr = self.read_world(time)


class RelativeTurnBaseNode(SceneNode):
    name = "TurnBaseMesh"
    dScale = 0.0

    def _offset(self):
        car = self.vehicle.car
        d = car.dTurnBase - car.wheelGeom[2].z / (car.fBodyLength / 2.0)
        return Vector3(0.0, 0.0, (-car.fBodyLength / 2.0) * d)

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.dScale = self.vehicle.car.fBodyLength / 4.0
        self.write_world(scaled(translation(*self._offset()), *(self.dScale,) * 3), self.scene.now)

    def on_prepare_end(self, time):
        self.dScale = self.vInitScale.y

    def update(self, time):
        car = self.vehicle.car
        self.mPrev = self.mCurr
        rotation = car.qTransCarAbs.rotation
        q = QTransform(car.qTransCarAbs.position + rotate(rotation, self._offset()), rotation)
        self.dScale = axis_length(self.mPrev, 1)
        self.mCurr = scaled(q.matrix(), *(self.dScale,) * 3)
        self.write_world(self.mCurr, time)


class BaseMeshNode(SceneNode):
    name = "CarBodyBaseMesh"

    def __init__(self, vehicle):
        super().__init__(vehicle)
        self.qBase = QTransform()

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.write_world(scaling(*(self.vehicle.car.fBodyLength,) * 3), self.scene.now)

    def on_prepare_end(self, time):
        self.qBase = to_transform(self.mInit)

    def update(self, time):
        self.mPrev = self.mCurr
        rotation = self.qBase.rotation
        z = rotate(conjugate(rotation), normalized(group(self.vehicle.cCarBodyNode.mPrev, 2)))
        z = rotate(rotation, normalized(z._replace(y=0.0)))
        m = self.qBase.matrix()
        set_group(m, 2, z)
        set_group(m, 0, normalized(cross(group(m, 1), z)))
        m = scaled(m, *(self.vehicle.car.fBodyLength,) * 3)
        set_group(m, 3, self.vehicle.car.qTransCarAbs.position)
        self.mCurr = m
        self.write_world(m, time)


class SteeringWheelNode(SceneNode):
    name = "SteeringWheelMesh"

    def __init__(self, vehicle):
        super().__init__(vehicle)
        self.dSteeringWheelRotMult = 1.0
        self.mInit_loc = identity()

    def create(self):
        self._make(self.name, self.vehicle.cCarBodyNode)
        self.write_local(product(translation(-0.091, 0.147, -0.068), rotation_x(math.radians(-20.0))), self.scene.now)

    def on_prepare_end(self, time):
        self.mInit_loc = self.read_local(time)

    def update(self, time):
        angle = self.dSteeringWheelRotMult * -5.0 * self.vehicle.car.fSteeringAngle
        self.mCurr = product(self.mInit_loc, rotation_z(angle))
        self.write_local(self.mCurr, time)
