"""How a wheel finds the ground, once a frame."""

import math

from carmodel.filters import filter_saturating
from carmodel.scalars import libm
from carmodel.vectors import (UP, ZERO, QTransform, Quat, conjugate, dot, group, length, normalized, rotate,
                              transform)

from .matrices import direction, scaled, set_group, without_scale

NO_HIT = 1.7976931348623157e308
QUARTER = 1.5707963267948966
LIST_TOO_SHORT = ("!(parent->cGravityDirectionNode.mParentMesh_inv.size() > iSurface) meaning mParentMesh_inv[ "
                  "iSurface] would crash.")
RETURNED = "left without a result"


class Caster:
    """The three ways of casting; keeps t and normal of the last hit, as a miss leaves them alone."""

    def __init__(self, vehicle, surfaces, reach):
        self.vehicle = vehicle
        self.surfaces = surfaces
        self.bullet = vehicle.bUseStaticMesh
        self.stored = not self.bullet and vehicle.stored_faces() >= 1
        self.reach = reach
        self.normal = UP

    def count(self):
        return 1 if self.bullet or self.stored else len(self.surfaces)

    def cast(self, s, origin, ray):
        """t, or None for a miss."""
        if self.bullet:
            ray_length = length(ray) * self.reach
            world = self.vehicle.world
            hit = world.cast(origin, ray, ray_length) if world is not None else None
            if hit is not None:
                hit = (ray_length * hit[0], hit[1])
        elif self.stored:
            tree = self.vehicle.cGroundMeshTree
            hit = tree.query(origin, ray) if tree is not None else None
        else:
            hit = self.surfaces[s].intersect(origin, ray)
        if hit is None:
            return None
        t, self.normal = hit
        return t


class Probe:
    def __init__(self, node, time):
        self.node, self.time = node, time
        self.vehicle = vehicle = node.vehicle
        self.car = car = vehicle.car
        self.wheel = node.record
        self.R = car.wheel_radius(node.iCorner)
        self.dt = node.scene.step
        node.mPrev2, node.mPrev = node.mPrev, node.mCurr
        self.W = without_scale(node.mCurr)
        self.H = self.wheel.qTransWheelAbs.position
        self.P = self.wheel.qTransWheelAbs.position
        B = node.relocator.read_world(time)
        set_group(B, 3, group(vehicle.cCarBodyNode.mCurr, 3))
        self.B = without_scale(B)
        self.up = up = group(self.B, 1)
        self.down = -up
        g = node.geometry
        self.A = (group(self.B, 3) + g.x * group(self.B, 0) + g.z * group(self.B, 2) - car.fBodyRestHeight * up
                  + self.R * up)
        self.base_lift = car.fBodyLength * 0.2742857142857143 + car.fBodyRestHeight - self.R
        self.start = self.A + self.base_lift * up

    def surfaces(self):
        arrow = self.vehicle.cGravityDirectionNode.element
        linked = ([arrow.parent] if arrow.parent is not None else []) + list(arrow.children)
        return [e.surface for e in linked if e.surface is not None and not e.deleted]

    def run(self):
        surfaces = self.surfaces()
        if not surfaces and self.vehicle.stored_faces() == 0 and not self.vehicle.bUseStaticMesh:
            self._plane()
        elif self._rays(surfaces) is RETURNED:
            return
        self._output()

    def _plane(self):
        node, wheel, R = self.node, self.wheel, self.R
        t = 0.0 if self.down.y == 0.0 else -self.start.y / self.down.y
        node.dCurrDeltaW = t - R
        node.dCurrDelta = filter_saturating(node.dCurrDelta, node.dCurrDeltaW, self.vehicle.fSurfaceEdgeResponseFactor,
                                            self.dt)
        self.P = self.start + node.dCurrDelta * self.down
        wheel.bInAir = False
        wheel.vGroundNormal = UP
        wheel.vGroundHitPoint = self.P - R * UP

    def _rays(self, surfaces):
        vehicle, wheel, R = self.vehicle, self.wheel, self.R
        self.caster = Caster(vehicle, surfaces, R * 1000.0 * (self.car.fRelMaxBumperLen + 1.0))
        n = self.caster.count()
        self.normals, self.points = [UP] * n, [ZERO] * n
        self.P = self.A + dot(self.up, self.P - self.A) * self.up
        if self._centre_rays(n) is RETURNED:
            return RETURNED
        self._choose()
        if vehicle.iRayMultiplier >= 2:
            self._side_rays(n)
        if not wheel.bInAir:
            self.P = filter_saturating(self.P, self.H, vehicle.fSurfaceEdgeResponseFactor, self.dt)
        if self.best == -1:
            wheel.vGroundNormal = self.up
            wheel.vGroundHitPoint = self.P - R * self.up
        else:
            wheel.vGroundNormal = self.normals[self.best]
            wheel.vGroundHitPoint = self.points[self.best]
        return None

    def _centre_rays(self, n):
        R, up = self.R, self.up
        ground = self.vehicle.cGravityDirectionNode
        to_world, to_local = ground.mParentMesh, ground.mParentMesh_inv
        drop = self.node.mPrev2[13] - self.P.y
        self.centre_hit = False
        self.dists = []
        for s in range(n):
            start, lift = self.start, self.base_lift
            if s >= len(to_local):
                self.node.scene.message("1028 " + LIST_TOO_SHORT, "Error")
                return RETURNED
            origin = transform(to_local[s], start)
            ray = normalized(direction(to_local[s], self.down))
            if 2 * R < drop:
                extra = 2 * drop
                lift += extra
                start = start + extra * up
                origin = transform(to_local[s], start)
            while True:
                t = self.caster.cast(s, origin, ray)
                if t is not None or lift >= 2 * self.car.fBodyLength:
                    break
                lift += self.base_lift
                start = start + self.base_lift * up
                origin = transform(to_local[s], start)
            dist = NO_HIT
            if t is not None:
                self.centre_hit = True
                v = direction(to_world[s], t * ray)
                dist = length(v) - lift - R
                self.normals[s] = self._normal(s)
                self.points[s] = start + v
            self.dists.append(dist)
        return None

    def _normal(self, s):
        if self.caster.bullet:
            return self.caster.normal
        return normalized(direction(self.vehicle.cGravityDirectionNode.mParentMesh[s], self.caster.normal))

    def _choose(self):
        node, wheel, vehicle = self.node, self.wheel, self.vehicle
        self.best, best_dist = -1, NO_HIT
        for s, dist in enumerate(self.dists):
            if dist < best_dist:
                self.best, best_dist = s, dist
        reach = self.car.fRelMaxBumperLen * self.R
        if self.best == -1:
            self.P = self.A - reach * self.up
            wheel.bInAir = True
            node.dCurrDeltaW = node.dCurrDelta = length(self.P - self.A)
        elif not self.car.bGravityOn or best_dist < reach:
            node.dCurrDeltaW = node.dCurrDelta = best_dist
            wheel.bInAir = False
            self.H = self.A + best_dist * self.down
        else:
            fall = self.R * vehicle.dMaximumSpringChangeVelocityRel * self.dt
            if length(self.P - self.A) + fall >= reach:
                self.P = self.A - reach * self.up
            else:
                self.P = self.P - fall * self.up
            wheel.bInAir = True
            node.dCurrDeltaW = node.dCurrDelta = length(self.P - self.A)

    def _side_rays(self, n):
        vehicle, side = self.vehicle, group(self.W, 0)
        a = vehicle.dDegsPerRay / 180.0 * 3.141592653589793
        k = vehicle.iRayMultiplier - 1
        if k * a > QUARTER:
            k = math.trunc(QUARTER / a)
        self.side_t = 0.0
        for s in range(n):
            for e in (-1, 0, 1):
                if e != 0 and not vehicle.bAddRaysAtWheelEdges:
                    continue
                for j in range(-k, k + 1):
                    if e != 0 or j != 0:
                        self._side_ray(s, self.node.vInitScale.x * 0.5 * e * side, j * a, side)

    def _side_ray(self, s, off, angle, side):
        node, R = self.node, self.R
        to_world = self.vehicle.cGravityDirectionNode.mParentMesh[s]
        to_local = self.vehicle.cGravityDirectionNode.mParentMesh_inv[s]
        origin = transform(to_local, self.H + off)
        sine = libm.sin(angle)
        q = Quat(sine * side.x, sine * side.y, sine * side.z, libm.cos(angle))
        ray = normalized(direction(to_local, rotate(q, self.down)))
        t = self.caster.cast(s, origin, ray)
        if t is not None:
            self.side_t = t
        if not (self.centre_hit if self.caster.bullet else t is not None):
            return
        v = direction(to_world, self.side_t * ray)
        reach = length(v)
        if not reach < R:
            return
        self.best = s
        self.normals[s] = self._normal(s)
        self.points[s] = self.H + off + v
        self.wheel.bInAir = False
        c = reach * libm.sin(abs(angle))
        b = reach * libm.cos(abs(angle))
        push = math.sqrt(R * R - c * c) - b
        node.dCurrDeltaW -= push
        node.dCurrDelta = node.dCurrDeltaW
        self.H = self.H + push * self.up

    def _output(self):
        node, wheel, car, R = self.node, self.wheel, self.car, self.R
        frame = car.qTransCarAbs
        wheel.dWheelGroundNormalDiff = rotate(conjugate(frame.rotation), self.P - frame.position).y
        if not wheel.bInAir:
            self.P = self.P + wheel.fGravelOffset * self.up
        node.vInitScale = node.vInitScale._replace(y=R, z=R)
        placed = QTransform(self.P, wheel.qTransWheelAbs.rotation)
        node.mCurr = scaled(placed.matrix(), node.vInitScale.x, R, R)
        wheel.qTransWheelAbs = placed
        wheel.dSuspDistanceMoved = length((group(node.mCurr, 3) + R * self.down)
                                          - (group(node.mPrev, 3) + R * node.vWheelDownPrev))
        node.vWheelDownPrev = self.down
        wheel.vSuspPoint = group(node.mCurr, 3) - R * self.up


def update_wheel(node, time):
    Probe(node, time).run()
