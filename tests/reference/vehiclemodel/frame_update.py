"""One frame of a run, and the read-outs between runs."""

from carmodel.follow import update_follow
from carmodel.record import FORCE, GAS
from carmodel.rolling import update_wheel_rolling
from carmodel.step import step_car
from carmodel.vectors import group, normalized, quat_from_matrix

from . import histories
from .settling import settle


def update_frame(vehicle, time):
    car, dt = vehicle.car, vehicle.scene.step
    corners = vehicle.num_corners()
    vehicle.read_inputs()
    if car.bAutonomousMode:
        target = group(vehicle.cTargetNode.read_world(time - dt), 3)
        update_follow(car, vehicle.follow, vehicle.cCarBodyNode.mCurr, target, dt)
    car.qGravity = quat_from_matrix(vehicle.cBaseMeshNode.mPrev)
    car.vGravityDir = -normalized(group(vehicle.cGravityDirectionNode.mPrev, 1))
    if car.pcInput[FORCE].raw != 0.0:
        vehicle.cExternalForceNode.update(time)
    step_car(car, dt)
    vehicle.cCarBodyNode.update(time)
    vehicle.cChassisRelocatorNode.update(time)
    for i in range(corners):
        vehicle.aWheelNodes[i].update(time)
        if not vehicle.bKeyframeOnlyEssential:
            vehicle.aWheelCenterNodes[i].update(time)
            vehicle.aWheelCenterSuspensionNodes[i].update(time)
    update_wheel_rolling(car)
    for i in range(corners):
        vehicle.aWheelNodes[i].write_keys(time)
    settle(car)
    vehicle.cRelativeTurnBaseNode.update(time)
    vehicle.cSteeringWheelNode.update(time)
    vehicle.cGravityDirectionNode.update(time)
    vehicle.cBaseMeshNode.update(time)
    if not vehicle.bKeyframeOnlyEssential:
        vehicle.cFollowCamNode.update(time)
    if vehicle.bSaveDynamicData or vehicle.bKeyframeOnlyEssential:
        histories.write_keys(vehicle, time)
    _velocity(vehicle, time)
    percent = car.pcInput[GAS].value * 100 / car.pcInput[GAS].maximum
    vehicle.dCurrentVelocityPercent = 0.0 if abs(percent) < 0.01 else percent
    vehicle.outputs = [vehicle.dCurrentVelocity, vehicle.dCurrentVelocityPercent / 100, car.fSteeringAngle,
                       *(1.0 if wheel.bInAir else 0.0 for wheel in car.pcWheel)]
    vehicle.bFreshStart = False


def _velocity(vehicle, time):
    car = vehicle.car
    velocity = car.fBodyLength * vehicle.dVelocityConversionMult * _keyed_gas(vehicle, time)
    vehicle.dCurrentVelocity = 0.0 if abs(velocity / car.fBodyLength) < 0.0001 else velocity


def _keyed_gas(vehicle, time):
    return vehicle.histories["ancCarCampcInput_GAS_PEDAL"].value_at(time)


def show_frame(vehicle, time):
    if not vehicle.bRunning:
        _velocity(vehicle, time)
        percent = 100 * _keyed_gas(vehicle, time) / vehicle.car.pcInput[GAS].maximum
        vehicle.dCurrentVelocityPercent = 0.0 if abs(percent) < 0.01 else percent
    vehicle.scene.refreshes += 1
