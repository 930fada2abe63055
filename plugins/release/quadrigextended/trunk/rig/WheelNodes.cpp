#include "rig/WheelNodes.h"

#include <cmath>

#include "CCarCamObject.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon::rig {

using util::Cross;
using util::Multiply;
using util::Normalized;
using util::Quat;
using util::RotationX;
using util::Scaling;
using util::Sign;

namespace {

/// Just under half a turn: keys further apart would be interpolated the wrong way round.
constexpr double kLargestTurnBetweenKeys = 3.110487775831478;

/// More cuts than this in one frame come from numbers that have run away, not from a wheel.
constexpr double kMostCuts = 100000.0;

/// Where the user has put the wheel of a corner; the identity where a rig has no relocator.
Matrix4 relocatorMatrix(const CCarCamObject& vehicle, std::uint32_t corner, double time) {
    if (corner >= vehicle.aWheelRelocatorNodes.size()) return {};
    return readWorldMatrix(vehicle.aWheelRelocatorNodes[corner], time);
}

Vector3<double> wheelPosition(const CCarCamObject& vehicle, std::uint32_t corner) {
    return corner < vehicle.aWheelNodes.size() ? vehicle.aWheelNodes[corner].mCurr.row(3) : Vector3<double>();
}

/// Turns a relocator about its own X axis.
void tilt(CWheelRelocatorNode& relocator, double angle) {
    const double now = relocator.parent->hostInterface->getCurrentTime();
    writeWorldMatrix(relocator, readWorldMatrix(relocator, now) * RotationX(angle), now);
}

void addCorner(CCarCamObject& vehicle) {
    const auto corner = static_cast<std::uint32_t>(vehicle.aWheelNodes.size());
    const auto append = [&](auto& nodes) {
        nodes.emplace_back();
        nodes.back().parent = &vehicle;
        nodes.back().createAtCorner(corner);
    };
    append(vehicle.aWheelRelocatorNodes);
    append(vehicle.aWheelNodes);
    append(vehicle.aWheelCenterSuspensionNodes);
    append(vehicle.aWheelCenterNodes);
    CWheelRelocatorNode& relocator = vehicle.aWheelRelocatorNodes.back();
    tilt(relocator, 0.0);
    if (corner < 2) tilt(relocator, 0.12217304763960307);  // 7 degrees: the default pose of the front wheels
}

void removeCorner(CCarCamObject& vehicle) {
    const auto remove = [](auto& nodes) {
        nodes.back().destroy();
        nodes.pop_back();
    };
    remove(vehicle.aWheelNodes);
    remove(vehicle.aWheelCenterNodes);
    remove(vehicle.aWheelCenterSuspensionNodes);
    remove(vehicle.aWheelRelocatorNodes);
}

}  // namespace

const WheelGeometry& cornerGeometry(const CCarCamObject& vehicle, std::uint32_t corner) {
    return vehicle.cCarCam.wheelGeom[corner < kNumWheels ? corner : kNumWheels - 1];
}

bool CWheelRelocatorNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    createElement(*this, ElementId::wheelRelocator, corner);
    return true;
}

bool CWheelNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    dCurrDelta = dCurrDeltaW = cornerGeometry(*parent, corner).radius;
    createElement(*this, ElementId::wheel, corner);
    return true;
}

void CWheelNode::onPrepareEnd(double /*time*/) {
    if (iCorner < kNumWheels) parent->cCarCam.wheelGeom[iCorner].radius = vInitScale.y;
    vWheelDownPrev = -(parent->cCarBodyNode.mCurr.row(1) / Length(parent->cCarBodyNode.mCurr.row(1)));
}

void CWheelNode::writeWheelKeys(double time) {
    const pcWheel& wheel = parent->cCarCam.pcWheel[iCorner];
    const double r = parent->cCarCam.wheelGeom[iCorner].radius;
    const auto matrixAt = [&](double pitch, double yaw, double when) {
        const Quat<double> qPitch(std::sin(pitch / 2), 0.0, 0.0, std::cos(pitch / 2));
        const Quat<double> qYaw(0.0, std::sin(yaw / 2), 0.0, std::cos(yaw / 2));
        const Quat<double> qReloc = Quat<double>::FromMatrix(relocatorMatrix(*parent, iCorner, when));
        return ToMatrix(Multiply(Multiply(qPitch, qYaw), qReloc)) * Scaling({vInitScale.x, r, r});
    };
    mCurr = matrixAt(wheel.pfTotalPitch, wheel.pfYaw, time);
    mCurr.setRow(3, wheel.qTransWheelAbs.position);

    const double turn = std::abs(wheel.pfPitchIncr);
    const double s = Sign(wheel.pfPitchIncr);
    double rest = turn < kMostCuts * kLargestTurnBetweenKeys ? turn : 0.0;
    double angle = wheel.pfTotalPitch - wheel.pfPitchIncr;
    while (rest - kLargestTurnBetweenKeys > 0) {
        angle = std::fmod(angle + s * kLargestTurnBetweenKeys, 6.283185307179586);
        rest -= kLargestTurnBetweenKeys;
        const double f = std::abs(rest / turn);
        const double tKey = time - f * parent->hostInterface->getFrameStep();
        const double yaw = wheel.pfYaw - (wheel.pfYaw - wheel.pfYaw_prev) * f;
        Matrix4 between = matrixAt(angle, yaw, tKey);
        between.setRow(3, readWorldMatrix(*this, tKey).row(3));
        writeWorldMatrix(*this, between, tKey);
    }
    writeWorldMatrix(*this, mCurr, time);
}

bool CWheelCenterSuspensionNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    createElement(*this, ElementId::wheelCenterSuspension, corner);
    return true;
}

int CWheelCenterSuspensionNode::update(double time) {
    mPrev = mCurr;
    mCurr = relocatorMatrix(*parent, iCorner, time);
    mCurr.setRow(3, wheelPosition(*parent, iCorner));
    SetScale(mCurr, vInitScale);
    return writeWorldMatrix(*this, mCurr, time);
}

bool CWheelCenterNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    createElement(*this, ElementId::wheelCenter, corner);
    return true;
}

int CWheelCenterNode::update(double time) {
    const pcWheel& wheel = parent->cCarCam.pcWheel[iCorner];
    mPrev = mCurr;
    mCurr = relocatorMatrix(*parent, iCorner, time);
    mCurr.setRow(3, parent->cCarBodyNode.mCurr.row(3));
    if (!parent->bFixateWheelCenterNodes) mCurr = mCurr * ToMatrix(wheel.qWheelYaw);
    mCurr.setRow(3, wheelPosition(*parent, iCorner));
    if (parent->bAlignWheelCenterToGroundNormal) {
        mCurr.setRow(1, wheel.vGroundNormal);
        mCurr.setRow(0, Normalized(mCurr.row(0)));
        mCurr.setRow(2, Normalized(Cross(mCurr.row(0), mCurr.row(1))));
        mCurr.setRow(0, Normalized(Cross(mCurr.row(1), mCurr.row(2))));
    }
    if (parent->bMoveWheelCenterNodeToGroundHitPoint) mCurr.setRow(3, wheel.vGroundHitPoint);
    SetScale(mCurr, vInitScale);
    return writeWorldMatrix(*this, mCurr, time);
}

void resizeWheels(CCarCamObject& vehicle, int count) {
    const auto wanted = static_cast<std::size_t>(count < 3 ? 3 : count);
    while (vehicle.aWheelNodes.size() < wanted) addCorner(vehicle);
    while (vehicle.aWheelNodes.size() > wanted) removeCorner(vehicle);
}

}  // namespace ond::ovs::addon::rig
