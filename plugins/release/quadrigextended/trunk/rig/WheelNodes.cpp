#include "rig/WheelNodes.h"

#include <cmath>

#include "CCarCamObject.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon::rig {

using util::CMesh;
using util::Cross;
using util::Multiply;
using util::Normalized;
using util::Quat;
using util::RotationX;
using util::RotationY;
using util::Scaling;
using util::Sign;
using util::Translation;

namespace {

constexpr double kPi = 3.141592653589793;

/// Just under half a turn: keys further apart would be interpolated the wrong way round.
constexpr double kLargestTurnBetweenKeys = 3.110487775831478;

/// More cuts than this in one frame come from numbers that have run away, not from a wheel.
constexpr double kMostCuts = 100000.0;

MeshHandle* relocatorHandle(const CCarCamObject& vehicle, std::uint32_t corner) {
    return corner < vehicle.aWheelRelocatorNodes.size() ? vehicle.aWheelRelocatorNodes[corner].pMesh : nullptr;
}

/// Where the user has put the wheel of a corner; the identity where a rig has no relocator.
Matrix4 relocatorMatrix(const CCarCamObject& vehicle, std::uint32_t corner, double time) {
    if (corner >= vehicle.aWheelRelocatorNodes.size()) return {};
    return readWorldMatrix(vehicle.aWheelRelocatorNodes[corner], time);
}

/// Geometry of a corner; corners that the model does not have take that of the last one.
const WheelGeometry& geometry(const CCarCamObject& vehicle, std::uint32_t corner) {
    return vehicle.cCarCam.wheelGeom[corner < kNumWheels ? corner : kNumWheels - 1];
}

/// Makes an attach point below the corner's relocator, standing at the wheel with the body's axes.
void createCentre(SceneNode& node, std::uint32_t corner, const CMesh& mesh) {
    CCarCamObject& vehicle = *node.parent;
    CInterface& host = *vehicle.hostInterface;
    node.pMesh = host.createMeshElement(node.sName + cornerSuffix(corner), relocatorHandle(vehicle, corner), &mesh, 0);
    const double now = host.getCurrentTime();
    Matrix4 matrix = readWorldMatrix(vehicle.cCarBodyNode, now);
    if (corner < vehicle.aWheelNodes.size()) matrix.setRow(3, readWorldMatrix(vehicle.aWheelNodes[corner], now).row(3));
    writeWorldMatrix(node, matrix, now);
    setAppearance(node, colourFromBytes(240, 252, 180), vehicle.bWireframeMode);
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

bool CWheelRelocatorNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    const WheelGeometry& geom = geometry(*parent, corner);
    const CMesh mesh = CMesh_AttachToMesh() * Scaling({2.0, 2.0, 1.4});
    CInterface& host = *parent->hostInterface;
    pMesh = host.createMeshElement(sName + cornerSuffix(corner), parent->cChassisRelocatorNode.pMesh, &mesh, 0);
    if (pMesh != nullptr) pMesh->callExtension(57, nullptr);
    writeWorldMatrix(*this, Translation({geom.x, geom.radius, geom.z}) * Scaling(geom.radius), host.getCurrentTime());
    setAppearance(*this, colourFromBytes(224, 143, 87), parent->bWireframeMode);
    return true;
}

bool CWheelNode::createAtCorner(std::uint32_t corner) {
    iCorner = corner;
    const WheelGeometry& geom = geometry(*parent, corner);
    const CMesh_WheelMesh wheel;
    const CMesh mesh = geom.x > 0 ? wheel * RotationY(kPi) : CMesh(wheel);
    CInterface& host = *parent->hostInterface;
    pMesh = host.createMeshElement(sName + cornerSuffix(corner), relocatorHandle(*parent, corner), &mesh, 0);
    dCurrDelta = dCurrDeltaW = geom.radius;
    writeWorldMatrix(
        *this, Translation({geom.x, geom.radius, geom.z}) * Scaling({0.7 * geom.radius, geom.radius, geom.radius}),
        host.getCurrentTime());
    setAppearance(*this, colourFromBytes(140, 147, 105), parent->bWireframeMode);
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
    createCentre(*this, corner, CMesh_WheelGroundMesh() * Scaling({1.0, 0.6, 2.0}) * RotationY(kPi / 2));
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
    createCentre(*this, corner, CMesh_WheelGroundMesh() * Scaling({1.0, 0.6, 2.0}));
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
