// A second car model, written apart from the first one and as plainly as possible, to compare the first one against.
//
// It shares the record with the model under test and nothing else: products of rotations, rotations of vectors and
// filters are its own, rotations by another formula. It is not fast and has no structure on purpose: each
// function is one phase, read from top to bottom.
#pragma once

#include <cmath>
#include <cstdint>

#include "car/CarState.h"
#include "car/Follow.h"

namespace ond::test::second {

using Car = ovs::addon::cCarCam;
using V = util::Vector3<double>;
using Q = util::Quat<double>;

inline double sgn(double x) { return x < 0.0 ? -1.0 : 1.0; }
inline int sgn0(double x) { return x < 0.0 ? -1 : x > 0.0 ? 1 : 0; }
inline double limited(double x, double m) { return x > m ? m : x < -m ? -m : x; }
inline double keptFrom0(double x, double m) { return std::fabs(x) < m ? (x < 0.0 ? -m : m) : x; }
inline double dot(V a, V b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline V cross(V a, V b) { return V(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x); }
inline double len(V a) { return std::sqrt(dot(a, a)); }
inline V unit(V a) { return len(a) == 0.0 ? V(0, 1, 0) : V(a.x / len(a), a.y / len(a), a.z / len(a)); }
inline V part(Q q) { return V(q.x, q.y, q.z); }
inline Q inv(Q q) { return Q(-q.x, -q.y, -q.z, q.w); }
inline Q minus(Q q) { return Q(-q.x, -q.y, -q.z, -q.w); }

/// First `a`, then `b`.
inline Q then(Q a, Q b) {
    const V v = b.w * part(a) + a.w * part(b) + cross(part(b), part(a));
    return Q(v.x, v.y, v.z, a.w * b.w - dot(part(a), part(b)));
}
/// Rodrigues' form instead of a matrix.
inline V turn(Q q, V v) {
    const V u = part(q);
    return (q.w * q.w - dot(u, u)) * v + 2.0 * dot(u, v) * u + 2.0 * q.w * cross(u, v);
}
inline Q turnX(double a) { return Q(std::sin(a / 2), 0, 0, std::cos(a / 2)); }
inline Q turnY(double a) { return Q(0, std::sin(a / 2), 0, std::cos(a / 2)); }
inline Q turnZ(double a) { return Q(0, 0, std::sin(a / 2), std::cos(a / 2)); }

/// The same products in the same order as everywhere: in autonomous driving the pedal's limit hangs on the last bit.
inline void approach(double& v, double target, double factor, double dt) {
    const double r = dt / 0.04;
    const double n = std::floor(r) + 1.0;
    const double share = r / n * factor;
    for (double i = 0; i < n; i += 1.0) v += share * (target - v);
    if (factor == 0.0 || factor == 1.0) v = target;
}
inline void approach(V& v, V target, double factor, double dt) {
    approach(v.x, target.x, factor, dt);
    approach(v.y, target.y, factor, dt);
    approach(v.z, target.z, factor, dt);
}
inline void approach(Q& v, Q& target, double factor, double dt) {
    if (target.w < 0) target = minus(target);
    if (v.w < 0) v = minus(v);
    if (v.x * target.x + v.y * target.y + v.z * target.z + v.w * target.w < 0) v = minus(v);
    approach(v.x, target.x, factor, dt);
    approach(v.y, target.y, factor, dt);
    approach(v.z, target.z, factor, dt);
    approach(v.w, target.w, factor, dt);
    const double n = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z + v.w * v.w);
    v = n == 0.0 ? Q() : Q(v.x / n, v.y / n, v.z / n, v.w / n);
}
inline void approachOrJump(double& v, double target, double factor, double dt) {
    const double r = dt / 0.04;
    const double k = r / (std::floor(r) + 1.0);
    approach(v, target, k * factor >= 1.0 ? 0.0 : factor == 1.0 ? std::nextafter(1.0, 0.0) : factor, dt);
}
inline double noise(std::int32_t& counter) {
    const auto c = static_cast<std::uint32_t>(counter) + 1u;
    counter = static_cast<std::int32_t>(c);
    const std::uint64_t n = ((static_cast<std::uint64_t>(c) << 13) & 0xffffffffu) ^ c;
    const std::uint64_t inner = (((n * n) & 0xffffffffu) * 15731u + 789221u) & 0xffffffffu;
    return static_cast<double>((n * inner + 1376312589u) & 0x7fffffffu) / 2147483648.0;
}
inline double away(Q a, Q b) {
    return std::fabs(a.x - b.x) + std::fabs(a.y - b.y) + std::fabs(a.z - b.z) + std::fabs(a.w - b.w);
}

inline void flight(Car& c, double dt) {
    int inAir = 0;
    for (const auto& w : c.pcWheel) inAir += w.bInAir;
    if (inAir == 0) {
        c.bJustLanded = c.bCarInTheAir;
        c.bCarInTheAir = false;
        c.bTakeOffArmed = true;
        c.bAllWheelsInAir = false;
        return;
    }
    c.bCarInTheAir = true;
    if (c.bTakeOffArmed) {
        c.bTakeOffArmed = false;
        c.QGravityFilterMem = c.qTransCarAbs.rotation;
    }
    V& move = c.qTransCarAbsIncr.position;
    if (c.bGravityOn) move += c.fGravity * 900.0 * c.dSimStep * dt * (c.fBodyLength / 4.0) * c.vGravityDir;
    const double cap = c.fBodyLength * c.dScaleRelMaxJumpVelocity * c.dSimStep / dt;
    if (len(move) > cap) move = (cap / len(move)) * move;
    if (c.qGravity.w < 0) c.qGravity = minus(c.qGravity);
    if (away(c.qGravity, c.QGravityFilterMem) >= 2.0) c.QGravityFilterMem = minus(c.QGravityFilterMem);
    if (away(c.QGravityFilterMem, c.qTransCarAbs.rotation) >= 2.0)
        c.qTransCarAbs.rotation = minus(c.qTransCarAbs.rotation);
    approach(c.QGravityFilterMem, c.qGravity, c.dHorizontalRestoringFactor, dt);
    approach(c.qTransCarAbs.rotation, c.QGravityFilterMem, c.dHorizontalRestoringFactor, dt);
    if (inAir == 4) c.bAllWheelsInAir = true;
    if (c.dLandingSkiddingFactor > c.pcInput[4].raw + c.dSkiddingOffset)
        c.dWantedSkiddingValue = c.dLandingSkiddingFactor;
}

inline void skidBrake(Car& c, double dt) {
    auto& gas = c.pcInput[0];
    auto& boost = c.pcInput[2];
    auto& skid = c.pcInput[4];
    auto& brake = c.pcInput[5];
    auto& burn = c.pcInput[7];
    if (c.bCarInTheAir || c.bJustLanded) return;
    if (brake.raw > 0) {
        if (c.bSkidFirstTime) {
            c.bSkidFirstTime = false;
            c.bSkidBreakingOn = c.bSkidBreakingOnDisableFeatures = true;
            c.vSkidBrakeInitVel = c.qTransCarAbsIncr.position / dt;
            Q q = then(c.qTransCarAbs.rotation, inv(c.qTransCarStart.rotation));
            if (q.w < 0) q = minus(q);
            const double angle = 2.0 * std::acos(q.w > 1 ? 1 : q.w);
            c.vSkidBrakeInitRotVel = V(0, angle == 0 ? 0 : q.y / std::sin(angle / 2) * angle / dt, 0);
            c.iSkidBrakeVelSign = c.dVelocity < 0 ? -1 : 1;
            c.iSkidBrakeSteerSign = c.pcInput[1].value > 0 ? -1 : 1;
            c.vSkidBrakePosIncr = c.vSkidBrakeInitVel * dt;
            c.dSkidBrakeLocalYawIncr = c.iSkidBrakeSteerSign * c.iSkidBrakeVelSign * len(c.vSkidBrakeInitRotVel) * dt;
        }
        gas.value = skid.value = burn.value = boost.value = 0;
        c.dWantedSkiddingValue = 1;
    } else if (!c.bSkidFirstTime) {
        if (c.vSkidBrakePosIncr.x != 0 || c.vSkidBrakePosIncr.y != 0 || c.vSkidBrakePosIncr.z != 0) {
            c.dWantedSkiddingValue = 0;
            skid.value = 1;
            const double forward = -turn(inv(c.qTransCarAbs.rotation), c.qTransCarAbsIncr.position / c.dSimStep).z;
            double g = 0;
            if (sgn0(gas.raw) == sgn0(forward)) g = std::fabs(gas.raw);
            if (boost.raw > 0 && forward > 0) g = 1;
            gas.value = g * forward / c.fBodyLength;
        }
        c.fCarLocalYawIncr = c.dSkidBrakeLocalYawIncr;
        c.bSkidFirstTime = true;
        c.bSkidBreakingOn = c.bSkidBreakingOnDisableFeatures = false;
    }
    c.bSkidBrakeValueOn = brake.value / brake.maximum > 0.0001;
    const double sign = c.iSkidBrakeSteerSign * c.iSkidBrakeVelSign;
    const double loss = sign * len(c.vSkidBrakeInitRotVel) * c.dSkidBrakeRotBrakeMult * 0.03 * brake.maximum * dt;
    if (c.bSkidBreakingOn || c.bSkidBrakeValueOn) {
        if (c.bSkidBreakingOn) c.vSkidBrakePosIncr -= (0.03 * brake.maximum * dt) * c.vSkidBrakeInitVel;
        c.dSkidBrakeLocalYawIncr -= loss;
        if (sgn0(c.dSkidBrakeLocalYawIncr) != sgn0(sign)) c.dSkidBrakeLocalYawIncr = 0;
        if (c.bSkidBreakingOn && dot(c.vSkidBrakePosIncr, unit(c.vSkidBrakeInitVel)) < 0) {
            c.vSkidBrakePosIncr = V();
            c.dSkidBrakeLocalYawIncr = 0;
            brake.raw = gas.value = skid.value = burn.value = boost.value = 0;
            c.dWantedSkiddingValue = 1;
        }
    } else {
        c.dSkidBrakeLocalYawIncr = 0;
    }
}

inline void skidding(Car& c) {
    const auto& skid = c.pcInput[4];
    if (c.bAllWheelsInAir || c.bSkidBreakingOnDisableFeatures) return;
    if (skid.raw == 0)
        c.bSkiddingReady = true;
    else
        c.bSkiddingReady = false;
    c.bSkiddingOn = skid.raw != 0 || skid.value / skid.maximum > 0.05;
}

inline void gasBranch(Car& c, double dt) {
    auto& gas = c.pcInput[0];
    if (c.bAutonomousMode) {
        approach(c.dGasPedalInputFilterMem, gas.raw * gas.maximum, gas.response, dt);
        gas.value += c.dGasPedalInputFilterMem;
        gas.raw = gas.value / gas.maximum;
    } else {
        c.dGasPedalInputFilterMem = 0;
    }
    double input = gas.raw;
    const double before = c.dGasPedalInput_prev;
    const double most = c.dGasPedalMaxRateOfChange * dt / gas.maximum;
    if (input != 0 && c.bBrakeArmed && !c.bBoosterOn) {
        const double wanted = input * gas.maximum;
        if (wanted > gas.value && input - before > most)
            input = before + most;
        else if (wanted < gas.value && input - before < -most)
            input = before - most;
    }
    gas.raw = c.dGasPedalInput_prev = input;
}

inline void steerBranch(Car& c, double dt) {
    auto& steer = c.pcInput[1];
    steer.raw /= 1.0 + c.dSpeedDependentTurnRadiusReductionFactor * std::fabs(c.pcInput[0].value);
    double rate = c.dVelRelMaxSteeringChangeVel;
    const V at = c.qTransCarAbs.position;
    if (!c.bAutonomousMode && c.dWorldAvoidanceSphereRadius > 0 &&
        len(at) > c.dWorldAvoidanceSphereRadius * c.fBodyLength) {
        const V ahead = turn(c.qTransCarAbs.rotation, V(0, 0, -1));
        const V right = turn(c.qTransCarAbs.rotation, V(1, 0, 0));
        const double outward = dot(ahead, unit(at));
        if (outward > 0) steer.raw -= 2 * outward * sgn(dot(right, unit(at)));
    }
    const double change = steer.raw - c.dSteeringInput_prev;
    if (steer.raw == 0) rate = 2 * rate;
    double result = steer.raw;
    if (std::fabs(change) > rate * dt) result = c.dSteeringInput_prev + sgn(change) * rate * dt;
    if (c.dSteeringNoise > 0)
        result += std::sqrt(std::fabs(c.dVelocity)) * (noise(c.randomValue_steeringNoise) - 0.5) * c.dSteeringNoise;
    steer.raw = c.dSteeringInput_prev = result;
    if (c.bAutonomousMode) {
        approach(c.dInputFilterMem, steer.raw * steer.maximum, steer.response, dt);
        steer.value += c.dInputFilterMem;
        steer.raw = steer.value / steer.maximum;
    } else {
        c.dInputFilterMem = 0;
    }
}

inline void inputs(Car& c, double dt) {
    for (int i = 0; i < 9; ++i) {
        auto& channel = c.pcInput[i];
        if (i == 0) gasBranch(c, dt);
        if (i == 1) steerBranch(c, dt);
        if (i == 4 && channel.raw != 1.0) {
            channel.raw += c.dSkiddingOffset;
            if (std::fabs(c.vLocalAcceleration.x) * dt / c.fBodyLength / c.pcInput[0].maximum >
                c.dSkiddingReleaseThresh)
                channel.raw += 1.0 - c.dSkiddingOffset;
        }
        if (i == 6) channel.raw += c.dGravelShakeOffset;
        if (i == 8) channel.raw += c.dForceOffset;
        approachOrJump(channel.value, channel.maximum * channel.raw, channel.response, dt);
    }
}

inline void booster(Car& c, double dt) {
    auto& gas = c.pcInput[0];
    const auto& boost = c.pcInput[2];
    c.bBoosterOn = boost.raw != 0 && !c.bSkidBreakingOnDisableFeatures;
    if (c.bBoosterOn) approach(gas.value, boost.maximum * gas.maximum, boost.response, dt);
    const double excess = gas.value - gas.maximum;
    double f = 1;
    if (c.bBoosterOn && excess > 0.001 * gas.maximum) {
        c.bStiffnessBoosted = true;
        f = 1 + c.dBoosterStiffnessMult * excess;
    } else if (c.bStiffnessBoosted) {
        c.bStiffnessBoosted = false;
    } else {
        return;
    }
    c.fStiffnessFront = f * c.dBaseStiffnessFront;
    c.fStiffnessBack = f * c.dBaseStiffnessBack;
    c.fDampingFront = f * c.dBaseDampingFront;
    c.fDampingBack = f * c.dBaseDampingBack;
}

inline bool reverseBrake(bool& state, double velocity, double input, double before) {
    if (!state && sgn(velocity) != sgn(input) && input != 0) return state = true;
    if (state && sgn(input) != sgn(before)) return state = false;
    if (input == 0) state = false;
    return state;
}

inline void absBrake(Car& c, double dt) {
    auto& gas = c.pcInput[0];
    const auto& abs = c.pcInput[3];
    double strength = -1;
    if (abs.raw > 0)
        strength = std::fabs(abs.raw * abs.maximum);
    else if (c.bUseReverseAsAbsBrake &&
             reverseBrake(c.bIsReverseVelAbsBraking, gas.value, gas.raw, c.pcInput_GAS_PEDAL_inp_prev))
        strength = std::fabs(gas.raw * abs.maximum);
    if (strength >= 0) {
        if (c.bBrakeArmed) c.dBrakeStartValue = gas.value;
        c.bBrakeArmed = false;
        const double v = c.dGasPedalValue_prev - c.dBrakeStartValue * dt * 30 * strength;
        gas.value = sgn0(v) == sgn0(c.dBrakeStartValue) ? v : 0;
    } else {
        c.bBrakeArmed = true;
    }
    c.pcInput_GAS_PEDAL_inp_prev = gas.raw;
    c.dGasPedalValue_prev = gas.value;
}

inline void gravel(Car& c, double dt, int squarings) {
    const double a = std::fabs(c.pcInput[6].value);
    for (auto& w : c.pcWheel) {
        w.fGravelNoise = 0;
        if (a > 1e-5) {
            double n = std::sqrt(std::fabs(c.dVelocity)) * (noise(c.randomValue_gravelShake) - 0.5) * a;
            const double s = sgn(n);
            n = std::fabs(n);
            for (int i = 0; i < squarings; ++i) n *= n;
            w.fGravelNoise = s * n;
        }
    }
    for (auto& w : c.pcWheel) approach(w.fGravelOffset, w.fGravelNoise, c.dGravelRoughness, dt);
}

inline void wheelYaw(Car& c, int i, double turnBase, double radius, double h) {
    const double chord = c.dVelocity * h / (sgn(radius) * std::fabs(radius));
    const double r = chord != 0 ? c.dVelocity * h / 2 / std::tan(chord / 2) : 1e16;
    const double base = turnBase * c.fFrontAxleZ;
    auto& w = c.pcWheel[i];
    if (c.wheelGeom[i].z == base) return;
    w.pfYaw_prev = w.pfYaw;
    w.pfYaw = std::atan2(sgn(r) * (base - c.wheelGeom[i].z), sgn(r) * (r + c.wheelGeom[i].x));
}

inline double turnRadius(Car& c, double turnBase) {
    const double t = std::tan(c.fSteeringAngle);
    const double r = t != 0 ? c.fFrontAxleZ * (1 - turnBase) / t : -1e45;
    return limited(keptFrom0(r, 0.01 * c.fBodyLength), 1e45);
}

/// One degree of freedom of the body; `acceleration` holds the last sub-step's on entry.
inline void verlet(double& x, double& v, double& acceleration, double force, double mass, double most, double h) {
    x = limited(x + v * h + 0.5 * acceleration * h * h, most);
    const double half = v + 0.5 * acceleration * h;
    acceleration = force / mass;
    v = std::fabs(x) == most ? 0 : half + 0.5 * acceleration * h;
}

inline void body(Car& c, double h, double bodyCentre, double meanRadius, double torqueX) {
    const double L = c.fBodyLength;
    const double mass = 25 * c.fMassMult;
    const double inertia = mass / 6.0 * L * L;
    const double ext = c.pcInput[8].value;
    const V dir = c.vExternalForceDir;
    const V pos = c.vExternalForcePos;
    auto& b = c.cCarBody;
    double forceY = 0;
    double torqueZ = 0;
    for (int i = 0; i < 4; ++i) {
        auto& w = c.pcWheel[i];
        w.fSuspIntegral = limited(w.fSuspIntegral + w.fSuspZeroDiff * h, 10 * mass);
        w.fSuspForce = -(i < 2 ? c.fStiffnessFront : c.fStiffnessBack) * w.fSuspZeroDiff -
                       (i < 2 ? c.fDampingFront : c.fDampingBack) * (w.fSuspZeroDiff - w.fSuspZeroDiff_prev) / h;
        if (c.bGravityOn && (w.bInAir || c.bJustLanded)) w.fSuspForce = 0;
        forceY += w.fSuspForce;
        torqueX += c.wheelGeom[i].z * w.fSuspForce;
        torqueZ -= c.wheelGeom[i].x * w.fSuspForce;
    }
    const V g = turn(inv(b.qTransAbs.rotation), c.vGravityDir);
    const double lever = bodyCentre - meanRadius;
    const double weight = 10 * c.fGravity * mass * L / 4;
    forceY += L * ext * dir.y + mass * c.vLocalAcceleration.y;
    torqueX += L * L * ext * (pos.z * dir.y - pos.y * dir.z);
    torqueX = -torqueX + weight * lever * g.z - mass * c.vLocalAcceleration.z * lever;
    torqueZ += L * L * ext * (pos.y * dir.x - pos.x * dir.y);
    torqueZ = -torqueZ - weight * lever * g.x + mass * c.vLocalAcceleration.x * lever;
    verlet(b.fRelYPos, b.fRelYVel, c.vAcceleration.y, forceY, mass,
           c.fRelMaxBumperLen * c.wheelGeom[0].radius * c.dWheelRadiusMult * 0.9, h);
    verlet(b.fRelXAng, b.fRelXAngVel, c.vAcceleration.x, torqueX, inertia, c.dMaximumForwardTiltAngle, h);
    verlet(b.fRelZAng, b.fRelZAngVel, c.vAcceleration.z, torqueZ, inertia, c.dMaximumSideTiltAngle, h);

    const Q car = c.qTransCarAbs.rotation;
    b.qTransRel.rotation = then(turnZ(b.fRelZAng), turnX(b.fRelXAng));
    b.qTransAbs.rotation = then(b.qTransRel.rotation, car);
    const V up = turn(b.qTransAbs.rotation, V(0, b.fRelYPos + c.fBodyRestHeight, 0));
    b.qTransAbs.position = c.qTransCarAbs.position + up;
    b.qTransRel.position = turn(inv(car), b.qTransAbs.position - c.qTransCarAbs.position);
    for (int i = 0; i < 4; ++i) {
        auto& w = c.pcWheel[i];
        const double r = c.wheelGeom[i].radius * c.dWheelRadiusMult;
        const double x = c.wheelGeom[i].x;
        const double z = c.wheelGeom[i].z;
        const Q tilt = then(inv(car), b.qTransAbs.rotation);
        w.qTransWheelRel.position = V(x * (1 + std::fabs(std::sin(b.fRelZAng)) / 6),
                                      w.dWheelGroundNormalDiff + w.fGravelOffset, z + turn(tilt, V(0, r, 0)).z);
        w.qTransWheelAbs.position = c.qTransCarAbs.position + turn(car, w.qTransWheelRel.position);
        w.vSuspPoint_prev = w.vSuspPoint;
        w.vSuspPoint = w.qTransWheelAbs.position - turn(b.qTransAbs.rotation, V(0, r, 0));
        w.fSuspZeroDiff_prev = w.fSuspZeroDiff;
        const V mount = b.qTransAbs.position + turn(b.qTransAbs.rotation, V(x, 0, z));
        w.fSuspZeroDiff =
            turn(inv(b.qTransAbs.rotation), mount - w.qTransWheelAbs.position).y - (c.fBodyRestHeight - r);
    }
}

inline double burnout(Car& c, double dt, double h) {
    auto& burn = c.pcInput[7];
    auto& steer = c.pcInput[1];
    if (!(burn.value > 0.001)) {
        c.dBurnoutRandom = 0;
        if (!c.bBurnoutIdle) {
            c.bBurnoutIdle = true;
            steer.response = c.dSteeringResponseSaved;
        }
        return 0;
    }
    if (c.bBurnoutIdle) {
        c.bBurnoutIdle = false;
        c.dSteeringResponseSaved = steer.response;
    }
    if (burn.raw == 0)
        burn.value *= c.dBurnoutFadeoutFactor * c.dSimStep / h;
    else
        approach(steer.response, 0.05, 0.1, h);
    c.pcWheel[2].pfTotalPitch -= burn.value * 3.141592653589793 * 0.49 * h / dt;
    c.pcWheel[3].pfTotalPitch -= burn.value * 3.141592653589793 * 0.49 * h / dt;
    c.dBurnoutRandom = 20 * noise(c.randomValue_burnout);
    const double tilt = burn.value * c.dBurnoutTiltForce * c.fBodyLength * c.fBodyLength / 46875;
    return tilt * (1 + c.dBurnoutShake * std::pow(c.dBurnoutRandom, 5));
}

inline void drive(Car& c, double dt, double h) {
    const double L = c.fBodyLength;
    auto& gas = c.pcInput[0];
    const auto& steer = c.pcInput[1];
    const auto& skid = c.pcInput[4];
    const auto& burn = c.pcInput[7];
    gas.value = keptFrom0(gas.value, 1e-8);
    c.qTransCarStart = c.qTransCarAbs;
    const double bodyCentre = c.cCarBody.fRelYPos + c.fBodyRestHeight + L / 6;
    double meanRadius = 0;
    for (const auto& g : c.wheelGeom) meanRadius += g.radius * c.dWheelRadiusMult / 4;
    c.fSteeringAngle = limited(steer.value, 1.5707649108683606);
    c.dVelocity = L * gas.value;
    const double turnBase = c.dTurnBase - c.wheelGeom[2].z / (L / 2);
    const double radius = turnRadius(c, turnBase);
    double torqueX = 0;
    if (c.bCarInTheAir && c.bGravityOn) {
        c.qTransCarAbs.rotation = then(c.qTransCarAbsIncr.rotation, c.qTransCarAbs.rotation);
    } else {
        const double burnYaw = -burn.value * steer.value * h;
        double yaw = c.dVelocity * h / radius + burnYaw;
        yaw = c.bSkidBreakingOn ? c.dSkidBrakeLocalYawIncr : yaw + c.dSkidBrakeLocalYawIncr;
        double grip = 1 - skid.value;
        if (grip > 0.7) approach(grip, 1, 0.2, h);
        if (grip > 0.99) grip = 1;
        approach(c.fCarLocalYawIncr, yaw, grip, h);
        torqueX = burnout(c, dt, h);
        c.qTransCarAbsIncr_prev = c.qTransCarAbsIncr;
        c.qTransCarAbsIncr.rotation = turnY(c.fCarLocalYawIncr);
        const Q car = c.qTransCarAbs.rotation;
        const double side = turnBase * c.fFrontAxleZ * std::tan(c.fCarLocalYawIncr);
        V wanted = turn(car, V(-side, 0, -c.dVelocity * h));
        if (c.bSkidBreakingOn) wanted = c.vSkidBrakePosIncr;
        const double frontZ = c.wheelGeom[0].z + c.wheelGeom[1].z;
        wanted += turn(car, frontZ * V(-std::sin(burnYaw), 0, 1 - std::cos(burnYaw)));
        c.vWantedPosIncr = wanted;
        double share = grip;
        if (skid.raw != 0 && !c.bSkidBreakingOnDisableFeatures) {
            c.dWantedSkiddingValue = grip;
        } else {
            const double m = c.bSkidBrakeValueOn ? c.dSkidBrakeStopFactor : 1;
            double& w = c.dWantedSkiddingValue;
            approach(w, grip, c.dSkiddingReleaseResponseFactor * m, h);
            if (w > 0.5) approach(w, 1, 0.2, h);
            if (w > 0.99) w = 1;
            share = w;
        }
        approach(c.qTransCarAbsIncr.position, wanted, share, h);
        c.qTransCarAbs.rotation = then(c.qTransCarAbsIncr.rotation, car);
    }
    c.vWorldAcceleration = (c.qTransCarAbsIncr.position - c.qTransCarAbsIncr_prev.position) / h / h;
    c.vLocalAcceleration = turn(inv(c.qTransCarAbs.rotation), c.vWorldAcceleration);
    c.qTransCarAbs.position += c.qTransCarAbsIncr.position;
    for (int i = 0; i < 4; ++i) wheelYaw(c, i, turnBase, radius, h);
    body(c, h, bodyCentre, meanRadius, torqueX);
}

inline double stepLength(Car& c, double dt) {
    double n = std::floor(dt / 0.003);
    if (n < 1) n = 1;
    return c.dSimStep = dt / n;
}

inline void step(Car& c, double dt) {
    for (auto& w : c.pcWheel) w.pfPitchIncr = 0;
    flight(c, dt);
    skidBrake(c, dt);
    skidding(c);
    inputs(c, dt);
    booster(c, dt);
    absBrake(c, dt);
    gravel(c, dt, 1);
    c.qTransCarAbsIncr_prev = c.qTransCarAbsIncr;
    stepLength(c, dt);
    double n = std::floor(dt / c.dSimStep);
    if (n < 1) n = 1;
    for (int i = 0; i < static_cast<int>(n); ++i) drive(c, dt, c.dSimStep);
}

inline void wheelOrientation(Car& c, int i) {
    auto& w = c.pcWheel[i];
    w.qWheelYaw = turnY(w.pfYaw);
    w.qTransWheelAbs.rotation =
        then(then(then(turnX(w.pfTotalPitch), w.qWheelYaw), c.cCarBody.qTransRel.rotation), c.qTransCarAbs.rotation);
}

inline void rolling(Car& c) {
    const double turnBase = c.dTurnBase - c.wheelGeom[2].z / (c.fBodyLength / 2);
    for (int i = 0; i < 4; ++i) {
        auto& w = c.pcWheel[i];
        const V moved = w.qTransWheelAbs.position - w.qTransWheelAbs_prev.position;
        w.qTransWheelAbs_prev.position = w.qTransWheelAbs.position;
        double d = w.dSuspDistanceMoved;
        if (std::fabs(c.wheelGeom[i].z - turnBase * c.fFrontAxleZ) > 0.001 * c.fBodyLength)
            d *= sgn(c.dVelocity);
        else
            d *= -sgn(dot(moved, turn(c.qTransCarAbs.rotation, V(0, 0, 1))));
        if (!(0.001 * c.fBodyLength > std::fabs(c.dVelocity)))
            w.pfPitchIncr -= d / (c.wheelGeom[i].radius * c.dWheelRadiusMult);
        if (!c.bSkidBreakingOnDisableFeatures)
            w.pfTotalPitch = std::fmod(w.pfTotalPitch + w.pfPitchIncr, 6.283185307179586);
        wheelOrientation(c, i);
    }
}

inline void start(Car& c, const util::QTransform<double>& before, double dt) {
    stepLength(c, dt);
    c.qTransCarStart = before;
    c.fSteeringAngle = limited(c.pcInput[1].value, 1.5707649108683606);
    c.pcInput[0].value = keptFrom0(c.pcInput[0].value, 1e-8);
    c.dVelocity = c.fBodyLength * c.pcInput[0].value;
    c.fFrontAxleZ = -c.fBodyLength / 2;
    const double turnBase = c.dTurnBase - c.wheelGeom[2].z / (c.fBodyLength / 2);
    const double radius = turnRadius(c, turnBase);
    for (int i = 0; i < 4; ++i) {
        auto& w = c.pcWheel[i];
        wheelYaw(c, i, turnBase, radius, dt);
        if (c.wheelGeom[i].z != turnBase * c.fFrontAxleZ) w.pfYaw_prev = w.pfYaw;
        wheelOrientation(c, i);
        if (w.qTransWheelRel.position.x > 0) w.qTransWheelAbs.rotation = then(Q(0, 1, 0, 0), w.qTransWheelAbs.rotation);
    }
}

inline void follow(Car& c, ovs::addon::FollowState& f, const util::Matrix4& m, V target, double dt) {
    if (!c.bAutonomousMode) return;
    const double L = c.fBodyLength;
    auto& gas = c.pcInput[0];
    auto& steer = c.pcInput[1];
    const V ax(m[0], m[1], m[2]);
    const V ay(m[4], m[5], m[6]);
    const V az(m[8], m[9], m[10]);
    const V nose = V(m[12], m[13], m[14]) - 0.5 * L * unit(az);
    const V away = target - nose;
    // The body's axes stand at right angles, so the inverse of their matrix is its transpose.
    V local(dot(away, unit(ax)), 0, dot(away, unit(az)));
    const double reach = len(az) * gas.maximum;
    if (len(local) > reach) local = reach * unit(local);
    const V dir = unit(local);
    const double farness = len(local);
    const bool inside = farness < f.dIgnoreSphereRadius * L;
    double beyond = farness - f.dIgnoreSphereRadius * L;
    if (inside) {
        beyond = 0;
        c.pcInput[3].raw = 1;
    }
    double wanted = -dir.z * f.dFollowAccelerationMult * beyond / L * 3.5;
    if (wanted < 0) wanted *= f.dReverseMaxVelMult;
    if (wanted > 0 && sgn0(c.dAutoSteeringValue) != sgn0(dir.x)) wanted = 0;
    wanted = limited(wanted, gas.maximum);
    approach(f.dFollowAccMem, wanted, f.dFollowAccRespFact, dt);
    gas.value = f.dFollowAccMem;
    double s = dir.x * steer.maximum * sgn(wanted);
    s /= 1 + 0.5 * c.dSpeedDependentTurnRadiusReductionFactor * std::fabs(f.dFollowAccMem);
    const double most = c.dVelRelMaxSteeringChangeVel * dt;
    if (s - c.dAutoSteeringValue > most) s = c.dAutoSteeringValue + most;
    if (s - c.dAutoSteeringValue < -most) s = c.dAutoSteeringValue - most;
    c.dAutoSteeringValue = s;
    approach(f.dAutoSteeringValueMem, s, f.dAutoSteeringValueRespFact, dt);
    if (!inside) steer.value = f.dAutoSteeringValueMem;
}

}  // namespace ond::test::second
