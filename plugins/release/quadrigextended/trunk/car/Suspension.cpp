#include "car/Suspension.h"

#include <algorithm>
#include <cmath>

#include "ond/util/Filters.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::ClampAbs;
using util::ClampLength;
using util::Conjugate;
using util::FilterExact;
using util::Multiply;
using util::Negate;
using util::Rotate;
using util::SumAbsDiff;
using util::Transform;

namespace {

constexpr int kFrontWheels = 2;  // wheels 0 and 1

struct BodyLoads {
    double mass;
    double inertia;  // serves pitch and roll alike
    double forceY;
    double torqueX;
    double torqueZ;
};

/// One step of velocity Verlet on a degree of freedom that stops dead at +-limit. `acceleration` is that of the step
/// before on entry and that of this step on return.
void integrate(double& position, double& velocity, double& acceleration, double load, double inertia, double limit,
               double h) {
    position += velocity * h + 0.5 * acceleration * h * h;
    position = ClampAbs(position, limit);
    const double v = velocity + 0.5 * acceleration * h;
    acceleration = (1.0 / inertia) * load;
    velocity = v + 0.5 * acceleration * h;
    if (std::abs(position) == limit) velocity = 0.0;
}

double effectiveRadius(const cCarCam& car, int i) { return car.wheelGeom[i].radius * car.dWheelRadiusMult; }

void updateSprings(cCarCam& car, double mass, double h) {
    const double integralLimit = 10.0 * mass;
    for (int i = 0; i < kNumWheels; ++i) {
        pcWheel& wheel = car.pcWheel[i];
        const bool front = i < kFrontWheels;
        wheel.fSuspForce =
            SpringForce(mass, h, wheel.fSuspZeroDiff, wheel.fSuspZeroDiff_prev,
                        car.dSpringLimitMult * car.fBodyRestHeight, effectiveRadius(car, i),
                        front ? car.fStiffnessFront : car.fStiffnessBack, front ? car.fDampingFront : car.fDampingBack,
                        car.dSpringIntegralGain, wheel.fSuspIntegral, integralLimit, 1);
    }
}

/// Adds up what the springs push with. In flight, and in the frame of a landing, a wheel's spring does not count: it is
/// compressed at one blow and would throw the car up.
double sumSpringForces(cCarCam& car) {
    double forceY = 0.0;
    for (pcWheel& wheel : car.pcWheel) {
        if (car.bGravityOn && (wheel.bInAir || car.bJustLanded)) wheel.fSuspForce = 0.0;
        forceY += wheel.fSuspForce;
    }
    return forceY;
}

void integrateHeight(cCarCam& car, const BodyLoads& loads, double h) {
    const double external = car.fBodyLength * car.pcInput[pcInput_EXTERNAL_FORCE].value;
    const double limit = car.fRelMaxBumperLen * car.wheelGeom[0].radius * car.dWheelRadiusMult * 0.9;
    double forceY = loads.forceY;
    forceY += external * car.vExternalForceDir.y;
    forceY += loads.mass * car.vLocalAcceleration.y;
    integrate(car.cCarBody.fRelYPos, car.cCarBody.fRelYVel, car.vAcceleration.y, forceY, loads.mass, limit, h);
}

void integratePitch(cCarCam& car, const BodyLoads& loads, const Vector3<double>& gBody, double lever, double h) {
    const double length = car.fBodyLength;
    const double g = 10.0 * car.fGravity;
    const double external = length * length * car.pcInput[pcInput_EXTERNAL_FORCE].value;
    double torque = loads.torqueX;
    for (int i = 0; i < kNumWheels; ++i) torque += car.wheelGeom[i].z * car.pcWheel[i].fSuspForce;
    torque += external *
              (-car.vExternalForcePos.y * car.vExternalForceDir.z + car.vExternalForcePos.z * car.vExternalForceDir.y);
    torque = -torque;
    torque += g * loads.mass * length / 4.0 * lever * gBody.z - loads.mass * car.vLocalAcceleration.z * lever;
    integrate(car.cCarBody.fRelXAng, car.cCarBody.fRelXAngVel, car.vAcceleration.x, torque, loads.inertia,
              car.dMaximumForwardTiltAngle, h);
}

void integrateRoll(cCarCam& car, const BodyLoads& loads, const Vector3<double>& gBody, double lever, double h) {
    const double length = car.fBodyLength;
    const double g = 10.0 * car.fGravity;
    const double external = length * length * car.pcInput[pcInput_EXTERNAL_FORCE].value;
    double torque = loads.torqueZ;
    for (int i = 0; i < kNumWheels; ++i) torque += -car.wheelGeom[i].x * car.pcWheel[i].fSuspForce;
    torque += external *
              (car.vExternalForcePos.y * car.vExternalForceDir.x - car.vExternalForcePos.x * car.vExternalForceDir.y);
    torque = -torque;
    torque += -g * length / 4.0 * loads.mass * lever * gBody.x + loads.mass * car.vLocalAcceleration.x * lever;
    integrate(car.cCarBody.fRelZAng, car.cCarBody.fRelZAngVel, car.vAcceleration.z, torque, loads.inertia,
              car.dMaximumSideTiltAngle, h);
}

void placeBody(cCarCam& car) {
    cCarBody& body = car.cCarBody;
    const Quat<double> qZ(0.0, 0.0, std::sin(body.fRelZAng / 2), std::cos(body.fRelZAng / 2));
    const Quat<double> qX(std::sin(body.fRelXAng / 2), 0.0, 0.0, std::cos(body.fRelXAng / 2));
    body.qTransRel.rotation = Multiply(qZ, qX);
    body.qTransAbs.rotation = Multiply(body.qTransRel.rotation, car.qTransCarAbs.rotation);
    body.qTransAbs.position =
        car.qTransCarAbs.position + Rotate(body.qTransAbs.rotation, {0.0, body.fRelYPos + car.fBodyRestHeight, 0.0});
    body.qTransRel.position =
        Rotate(Conjugate(car.qTransCarAbs.rotation), body.qTransAbs.position - car.qTransCarAbs.position);
}

/// The ground has decided on the height of each wheel; sideways they give way to the roll (a sixth of its sine), and
/// lengthwise to the pitch.
void placeWheels(cCarCam& car) {
    const cCarBody& body = car.cCarBody;
    const Quat<double> b = Multiply(Conjugate(car.qTransCarAbs.rotation), body.qTransAbs.rotation);
    for (int i = 0; i < kNumWheels; ++i) {
        pcWheel& wheel = car.pcWheel[i];
        const WheelGeometry& geom = car.wheelGeom[i];
        wheel.qTransWheelRel.position = {geom.x + geom.x * std::abs(std::sin(body.fRelZAng)) / 6.0,
                                         wheel.dWheelGroundNormalDiff + wheel.fGravelOffset,
                                         geom.z + Rotate(b, {0.0, effectiveRadius(car, i), 0.0}).z};
    }
    for (int i = 0; i < kNumWheels; ++i) {
        pcWheel& wheel = car.pcWheel[i];
        wheel.qTransWheelAbs.position = Transform(car.qTransCarAbs, wheel.qTransWheelRel.position);
        wheel.vSuspPoint_prev = wheel.vSuspPoint;
        wheel.vSuspPoint =
            wheel.qTransWheelAbs.position - Rotate(body.qTransAbs.rotation, {0.0, effectiveRadius(car, i), 0.0});
    }
}

/// Spring travel of each wheel: how far it stands below its mount on the body, against the distance at rest.
void measureSprings(cCarCam& car) {
    const QTransform<double>& body = car.cCarBody.qTransAbs;
    for (int i = 0; i < kNumWheels; ++i) {
        pcWheel& wheel = car.pcWheel[i];
        wheel.fSuspZeroDiff_prev = wheel.fSuspZeroDiff;
        const Vector3<double> mount =
            body.position + Rotate(body.rotation, {car.wheelGeom[i].x, 0.0, car.wheelGeom[i].z});
        const double y = Rotate(Conjugate(body.rotation), mount - wheel.qTransWheelAbs.position).y;
        wheel.fSuspZeroDiff = y - (car.fBodyRestHeight - effectiveRadius(car, i));
    }
}

/// Levels a car in the air, by two filters one behind the other. All three quaternions may change sign.
void levelInFlight(cCarCam& car, double dt) {
    if (car.qGravity.w < 0.0) Negate(car.qGravity);
    if (SumAbsDiff(car.qGravity, car.QGravityFilterMem) >= 2.0) Negate(car.QGravityFilterMem);
    if (SumAbsDiff(car.QGravityFilterMem, car.qTransCarAbs.rotation) >= 2.0) Negate(car.qTransCarAbs.rotation);
    FilterExact(car.QGravityFilterMem, car.qGravity, car.dHorizontalRestoringFactor, 1.0, dt);
    FilterExact(car.qTransCarAbs.rotation, car.QGravityFilterMem, car.dHorizontalRestoringFactor, 1.0, dt);
}

}  // namespace

double MeanWheelRadius(const cCarCam& car) {
    double sum = 0.0;
    for (int i = 0; i < kNumWheels; ++i) sum += effectiveRadius(car, i);
    return sum / 4.0;
}

double SpringForce([[maybe_unused]] double mass, double h, double diff, double diffPrev, [[maybe_unused]] double limit,
                   [[maybe_unused]] double radius, double stiffness, double damping,
                   [[maybe_unused]] double integralGain, double& integral, double integralLimit, int steps) {
    const double d = diff / steps;
    const double dp = diffPrev / steps;
    const double s = h / steps;
    double force = 0.0;
    for (int i = 0; i < steps; ++i) {
        const double rate = (d - dp) / s;
        integral += d * s;
        integral = ClampAbs(integral, integralLimit);
        force += -stiffness * d - damping * rate;
    }
    return force;
}

void UpdateBody(cCarCam& car, double h, double bodyCentre, double meanRadius, double torqueX) {
    BodyLoads loads{};
    loads.mass = 25.0 * car.fMassMult;
    loads.inertia = loads.mass * 1.0 / 12.0 * 2.0 * car.fBodyLength * car.fBodyLength;
    loads.torqueX = torqueX;
    updateSprings(car, loads.mass, h);
    loads.forceY = sumSpringForces(car);

    const double lever = bodyCentre - meanRadius;
    const Vector3<double> gBody = Rotate(Conjugate(car.cCarBody.qTransAbs.rotation), car.vGravityDir);
    integrateHeight(car, loads, h);
    integratePitch(car, loads, gBody, lever, h);
    integrateRoll(car, loads, gBody, lever, h);

    placeBody(car);
    placeWheels(car);
    measureSprings(car);
}

void UpdateFlight(cCarCam& car, double dt) {
    const auto inAir = [](const pcWheel& wheel) { return wheel.bInAir; };
    if (std::none_of(std::begin(car.pcWheel), std::end(car.pcWheel), inAir)) {
        car.bJustLanded = car.bCarInTheAir;
        car.bCarInTheAir = false;
        car.bTakeOffArmed = true;
        car.bAllWheelsInAir = false;
        return;
    }
    car.bCarInTheAir = true;
    if (car.bTakeOffArmed) {
        car.bTakeOffArmed = false;
        car.QGravityFilterMem = car.qTransCarAbs.rotation;
    }
    // The increment carries over from frame to frame, so what is added here piles up: the car falls ever faster.
    const double gravityOn = car.bGravityOn ? 1.0 : 0.0;
    Vector3<double>& increment = car.qTransCarAbsIncr.position;
    increment += gravityOn * car.fGravity * 30.0 * car.dSimStep * dt * 30.0 * car.vGravityDir * car.fBodyLength / 4.0;
    increment = ClampLength(increment, car.fBodyLength * car.dScaleRelMaxJumpVelocity * car.dSimStep / dt);
    levelInFlight(car, dt);
    if (std::all_of(std::begin(car.pcWheel), std::end(car.pcWheel), inAir)) car.bAllWheelsInAir = true;
    if (car.dLandingSkiddingFactor > car.pcInput[pcInput_SKIDDING].raw + car.dSkiddingOffset)
        car.dWantedSkiddingValue = car.dLandingSkiddingFactor;
}

}  // namespace ond::ovs::addon
