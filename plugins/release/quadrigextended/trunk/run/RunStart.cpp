#include "run/RunStart.h"

#include <algorithm>
#include <cmath>

#include "CCarCamObject.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "ground/BulletLibrary.h"
#include "ond/ovs/CVariableModUndo.h"
#include "parameters/Gauges.h"
#include "rig/Helpers.h"
#include "run/BuildCollisionObjects.h"
#include "run/FrameUpdate.h"
#include "run/Settling.h"
#include "state/AnimatedState.h"

namespace ond::ovs::addon {

using rig::prepareNode;
using rig::readWorldMatrix;
using util::Conjugate;
using util::Cross;
using util::Length;
using util::Matrix4;
using util::Normalized;
using util::Rotate;

namespace {

using Transform = QTransform<double>;

/// What the steps of one start share. `dt`: seconds in a frame.
class Start {
  public:
    Start(CCarCamObject& vehicle, double startTime)
        : v(vehicle),
          car(vehicle.cCarCam),
          host(*vehicle.hostInterface),
          time(startTime),
          dt(host.getFrameStep()),
          // As recorded takes have it; not the same number as time - dt in every case.
          frameBefore(time + dt - 2 * dt) {}

    void run();

  private:
    void pushUndoRecords();
    void startFresh();
    void resume();
    void finish();

    void measureBody(bool warn);
    void measureCorners();
    bool measureCorner(std::size_t i);
    void placeCarFrame();
    void initialGasValue();

    void restoreFromKeys();
    void startCorners();
    void startCorner(std::size_t i);
    void resetSkid();
    void startCarModel();
    void initialVelocity();
    void startFollowing();
    void startGround();
    void startPhysics();
    void cutHistories();
    void makeRoom();

    [[nodiscard]] std::size_t corners() const { return static_cast<std::size_t>(v.numCorners()); }

    CCarCamObject& v;
    cCarCam& car;
    CInterface& host;
    const double time;
    const double dt;
    const double frameBefore;
    Matrix4 body;                          ///< of the body at the start, uniformly scaled
    Vector3<double> contacts[kNumWheels];  ///< contact points as measured
};

/// The histories as they were, so that undoing the run brings them back.
void Start::pushUndoRecords() {
    if (!v.bSaveDynamicData && !v.bKeyframeOnlyEssential) return;
    forEachVariable(v, [this](const AnimatedRow&, auto& variable, const auto*) {
        using Variable = std::decay_t<decltype(variable)>;
        host.pushUndo(CVariableModUndo<Variable>::make(&variable), 0);
    });
}

void Start::run() {
    v.bRunning = true;
    if (time <= v.dStartTime) {
        v.dStartTime = time;
        v.bFreshStart = true;
    }
    pushUndoRecords();
    if (v.bFreshStart)
        startFresh();
    else
        resume();
    startCorners();
    finish();
}

/// Size and pose of the body. A body that is scaled unevenly is measured as it is, and then made even.
void Start::measureBody(bool warn) {
    body = readWorldMatrix(v.cCarBodyNode, time);
    const Vector3<double> s = util::Scale(body);
    const auto unequal = [](double a, double b) { return std::abs(std::abs(a) / std::abs(b) - 1) > 0.001; };
    if (warn && (unequal(s.x, s.y) || unequal(s.x, s.z)))
        host.messageBox(
            "Nonuniform scaling is not allowed on the body since it would affect children.\nThe quadrig body will now "
            "rescale to become uniform.\nWhen scaling only the length of the dummy is of importance.\nModify the shape "
            "by editing the mesh.",
            "Warning", 0);
    body.setRow(0, body.row(0) * (s.z / s.x));
    body.setRow(1, body.row(1) * (s.z / s.y));
    car.cCarBody.qTransAbs = Transform::FromMatrix(body);
    car.fBodyHeight = s.y;
    car.fBodyLength = s.z;
    car.fBodyWidth = s.x;
}

void Start::startFresh() {
    ResetCar(car);
    const auto seeded = [this](const AVar_Latest<int>& variable) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(variable.valueAt(time)) +
                                         static_cast<std::uint32_t>(car.iRandomSeedAdder));
    };
    car.randomValue_gravelShake = seeded(v.ancCarCamrandomValue_gravelShake);
    car.randomValue_burnout = seeded(v.ancCarCamrandomValue_burnout);
    car.randomValue_steeringNoise = seeded(v.ancCarCamrandomValue_steeringNoise);
    measureBody(true);
    prepareNode(v.cCarBodyNode, time);
    prepareNode(v.cRelativeTurnBaseNode, time);
    prepareNode(v.cSteeringWheelNode, time);
    prepareNode(v.cGravityDirectionNode, time);
    prepareNode(v.cBaseMeshNode, time);
    v.cChassisRelocatorNode.update(time);
    readInputs(v);
    v.cFollowCamNode.prepareFollowCam(time);
    measureCorners();
    placeCarFrame();
    car.qTransCarAbsIncr = {};
    car.qTransCarAbsIncr_prev = {};
    initialGasValue();
}

void Start::measureCorners() {
    for (std::size_t i = 0; i < kNumWheels; ++i) contacts[i] = car.pcWheel[i].vSuspPoint;
    bool bAllWheelsRelocated = true;
    for (std::size_t i = 0; i < corners(); ++i)
        if (!measureCorner(i)) bAllWheelsRelocated = false;
    if (!bAllWheelsRelocated)
        host.messageBox(
            "In the rigging process the wheels should be moved and scaled with the WheelRelocatorMesh:es.\nUse the "
            "WheelCenterMesh:es for suspension and particles.",
            "Warning", 0);
}

/// Measures a wheel and moves its relocator and attach points to it. False if the attach point and the relocator stood
/// apart, which means that the user moved the wrong mesh.
bool Start::measureCorner(std::size_t i) {
    rig::CWheelNode& node = v.aWheelNodes[i];
    pcWheel& wheel = car.pcWheel[i];
    WheelGeometry& geom = car.wheelGeom[i];
    rig::SceneNode* const centre = i < v.aWheelCenterNodes.size() ? &v.aWheelCenterNodes[i] : nullptr;
    rig::SceneNode* const suspension =
        i < v.aWheelCenterSuspensionNodes.size() ? &v.aWheelCenterSuspensionNodes[i] : nullptr;
    rig::SceneNode* const relocator = i < v.aWheelRelocatorNodes.size() ? &v.aWheelRelocatorNodes[i] : nullptr;

    if (centre != nullptr) prepareNode(*centre, time);
    if (suspension != nullptr) prepareNode(*suspension, time);
    prepareNode(node, time);
    Matrix4 w = node.mPrev;
    const Transform& bodyNow = car.cCarBody.qTransAbs;
    const auto inCar = [&] { return Rotate(Conjugate(bodyNow.rotation), w.row(3) - bodyNow.position); };
    Vector3<double> p = inCar();
    if (p.x < node.vInitScale.y * 0.00001) {
        w.setRow(3, w.row(3) + -0.001 * w.row(0));
        writeWorldMatrix(node, w, time);
        p = inCar();
    }
    geom.x = p.x;
    geom.z = p.z;
    wheel.qTransWheelAbs = Transform::FromMatrix(w);
    wheel.qTransWheelAbs_prev = wheel.qTransWheelAbs;

    Matrix4 c = centre != nullptr ? readWorldMatrix(*centre, time) : Matrix4();
    Matrix4 l = relocator != nullptr ? readWorldMatrix(*relocator, time) : Matrix4();
    const bool together =
        centre == nullptr || relocator == nullptr || !(Length(c.row(3) - l.row(3)) > 0.01 * std::abs(car.fBodyLength));
    c.setRow(3, wheel.qTransWheelAbs.position);
    l.setRow(3, wheel.qTransWheelAbs.position);
    const double size = Length(l.row(1));
    SetScale(l, {size, size, size});
    if (relocator != nullptr) writeWorldMatrix(*relocator, l, time);
    if (centre != nullptr) writeWorldMatrix(*centre, c, time);
    if (suspension != nullptr) writeWorldMatrix(*suspension, c, time);
    writeWorldMatrix(node, w, time);
    prepareNode(node, time);

    const Vector3<double> up = Rotate(bodyNow.rotation, {0.0, 1.0, 0.0});
    contacts[i] = wheel.qTransWheelAbs.position - up * geom.radius * car.dWheelRadiusMult;
    return together;
}

/// The car frame: below the body, where the contact points' plane is, heading from the back wheels to the front ones.
void Start::placeCarFrame() {
    const Vector3<double> frontMid = contacts[1] + (contacts[0] - contacts[1]) / 2.0;
    const Vector3<double> backMid = contacts[3] + (contacts[2] - contacts[3]) / 2.0;
    Matrix4 f;
    f.setRow(0, Normalized(contacts[1] - frontMid));
    f.setRow(2, Normalized(backMid - frontMid));
    f.setRow(1, Cross(f.row(2), f.row(0)));
    const Vector3<double> o = car.cCarBody.qTransAbs.position;
    const Vector3<double> down = Rotate(car.cCarBody.qTransAbs.rotation, {0.0, -1.0, 0.0});
    f.setRow(3, pointOnPlane(o, down, backMid - o, contacts[0] - o, contacts[1] - o));
    car.qTransCarAbs = Transform::FromMatrix(f);
    car.fBodyRestHeight = Length(f.row(3) - body.row(3));
}

void Start::initialGasValue() {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    const InputChannel& boost = car.pcInput[pcInput_BOOSTER];
    gas.value = gas.raw * gas.maximum;
    if (boost.raw != 0.0) gas.value = boost.maximum * gas.maximum;
}

void Start::resume() {
    v.bFreshStart = false;
    car.randomValue_gravelShake = v.ancCarCamrandomValue_gravelShake.valueAt(time);
    car.randomValue_burnout = v.ancCarCamrandomValue_burnout.valueAt(time);
    car.randomValue_steeringNoise = v.ancCarCamrandomValue_steeringNoise.valueAt(time);
    ResetCar(car);
    measureBody(false);
    // The steering wheel keeps the rest pose of the last fresh start: now it may be turned.
    prepareNode(v.cCarBodyNode, time);
    prepareNode(v.cRelativeTurnBaseNode, time);
    prepareNode(v.cGravityDirectionNode, time);
    prepareNode(v.cBaseMeshNode, time);
    v.cChassisRelocatorNode.update(time);
    v.cFollowCamNode.prepareFollowCam(time);
    car.qTransCarAbs.rotation = Quat<double>::FromMatrix(readWorldMatrix(v.cRelativeTurnBaseNode, time));
    car.qTransCarAbs.position = readWorldMatrix(v.cBaseMeshNode, time).row(3);
    restoreFromKeys();
}

void Start::restoreFromKeys() {
    forEachVariable(v, [this](const AnimatedRow& row, const auto& variable, auto* live) {
        if (row.restore == Restore::fromKey && live != nullptr) *live = variable.valueAt(time);
    });
    // Memories of the frame before. The recorded values are smoothed and have units, the memories are device values;
    // the rate limits start from there and are right again within a few frames.
    car.dSteeringInput_prev = v.ancCarCampcInput_STEERING_WHEEL.valueAt(frameBefore);
    car.dAutoSteeringValue = car.dSteeringInput_prev;
    car.dGasPedalInput_prev = v.ancCarCampcInput_GAS_PEDAL.valueAt(time - dt);
    car.dGasPedalValue_prev = car.dGasPedalInput_prev;
    car.qTransCarAbsIncr_prev = v.ancCarCamqTransCarAbsIncr.valueAt(time - car.dSimStep);
    car.qTransCarAbsIncr = v.ancCarCamqTransCarAbsIncr.valueAt(time);
}

void Start::startCorners() {
    for (std::size_t i = 0; i < corners(); ++i) startCorner(i);
}

void Start::startCorner(std::size_t i) {
    pcWheel& wheel = car.pcWheel[i];
    rig::CWheelNode& node = v.aWheelNodes[i];
    const auto keyed = [&](const std::array<AVar_Linear<double>, kNumWheels>& variables) {
        return v.bFreshStart ? 0.0 : variables[i].valueAt(time);
    };
    wheel.fSuspZeroDiff = keyed(v.ancCarCampcWheelfSuspZeroDiff);
    wheel.fSuspZeroDiff_prev = keyed(v.ancCarCampcWheelfSuspZeroDiff_prev);
    wheel.pfTotalPitch = keyed(v.ancCarCampcWheelpfTotalPitch);
    node.dCurrDelta = keyed(v.ancWheelNodeCurrDelta);
    node.dCurrDeltaW = keyed(v.ancWheelNodeCurrDeltaW);
    wheel.dWheelGroundNormalDiff =
        v.bFreshStart
            ? Rotate(Conjugate(car.qTransCarAbs.rotation), wheel.qTransWheelAbs.position - car.qTransCarAbs.position).y
            : keyed(v.andWheelGroundNormalDiff);
    wheel.bInAir = false;
    if (!v.bFreshStart) {
        prepareNode(node, time);
        if (i < v.aWheelCenterNodes.size()) prepareNode(v.aWheelCenterNodes[i], time);
        if (i < v.aWheelCenterSuspensionNodes.size()) prepareNode(v.aWheelCenterSuspensionNodes[i], time);
    }
    wheel.qTransWheelAbs_prev = Transform::FromMatrix(readWorldMatrix(node, frameBefore));
}

void Start::resetSkid() {
    car.pcInput[pcInput_SKID_BRAKE].value = 0.0;
    car.pcInput[pcInput_SKIDDING].value = 0.0;
    car.pcInput[pcInput_BURNOUT].value = 0.0;
    car.bSkidBreakingOn = false;
    car.bSkidBreakingOnDisableFeatures = false;
    car.bSkiddingOn = false;
    car.bSkidFirstTime = true;
    car.dWantedSkiddingValue = 1.0;
}

void Start::finish() {
    if (v.bFreshStart) resetSkid();
    if (car.bSkiddingOn) car.bSkiddingReady = false;
    v.anQGravityFilterMem.setKey(time, car.qTransCarAbs.rotation);
    car.QGravityFilterMem = v.anQGravityFilterMem.valueAt(time);
    car.qGravity = Quat<double>::FromMatrix(v.cBaseMeshNode.mPrev);
    car.bCarInTheAir = v.anbCarInTheAir.valueAt(time);
    car.bAllWheelsInAir = false;
    startCarModel();
    if (v.bFreshStart) initialVelocity();
    if (car.bAutonomousMode) startFollowing();
    car.dBaseStiffnessFront = car.fStiffnessFront;
    car.dBaseStiffnessBack = car.fStiffnessBack;
    car.dBaseDampingFront = car.fDampingFront;
    car.dBaseDampingBack = car.fDampingBack;
    startGround();
    if (v.bHideHelpersDuringRecording || v.bHideHelpers) rig::hideHelpers(v);
    cutHistories();
    makeRoom();
    updateMaximumGauges(v, car.fBodyLength);
}

void Start::startCarModel() {
    ChooseStepLength(car, dt);
    const Transform now = Transform::FromMatrix(readWorldMatrix(v.cCarBodyNode, time));
    const Transform before = Transform::FromMatrix(readWorldMatrix(v.cCarBodyNode, time - car.dSimStep));
    StartCar(car, now, before, dt);
}

/// How fast the car is already at the start. A pedal that is held, the body's recorded motion and the dialog's value
/// can each tell.
void Start::initialVelocity() {
    readInputs(v);
    readInputs(v);
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    const Matrix4& now = v.cCarBodyNode.mCurr;
    const Vector3<double> moved = now.row(3) - v.cCarBodyNode.mPrev.row(3);
    const double keyed = Dot(moved, -Normalized(now.row(2))) / dt / car.fBodyLength;
    double dStart = v.dInitialVelocity / 100 * gas.maximum;
    if (std::abs(gas.raw) > 0.01)
        dStart = gas.raw * gas.maximum;
    else if (std::abs(keyed) > 0.01)
        dStart = keyed;
    gas.value = dStart;
    // The axis is as long as the body, so a speed in car lengths needs no other factor.
    car.qTransCarAbsIncr_prev.position = -now.row(2) * dStart * car.dSimStep;
    car.qTransCarAbsIncr.position = car.qTransCarAbsIncr_prev.position;
}

void Start::startFollowing() {
    v.dFollowAccMem = v.andFollowAccMem.valueAt(time);
    v.dAutoSteeringValueMem = v.andAutoSteeringValueMem.valueAt(time);
    MeshHandle* const target = v.cTargetNode.pMesh;
    MeshHandle* const parent = target != nullptr ? target->getParent() : nullptr;
    if (parent == nullptr || !target->hasExtension(31)) return;
    if (parent->callExtension(31, v.cCarBodyNode.pMesh) == nullptr) return;
    host.messageBox(
        "The TargetMesh is parented to the CarBodyMesh.\nThis will mess up the autonomous mode making the car spinn.",
        "Warning", 0);
}

/// The shapes of the last run are kept until the new ones are there, so that what did not change is found again.
void Start::startGround() {
    v.destroyPhysics();  // of a run that was not stopped
    const std::size_t earlier = v.aCollisionObjects.size();
    if (v.bUseStaticMesh) startPhysics();
    for (std::size_t i = 0; i < earlier; ++i) v.aCollisionObjects[i]->pTriMeshStorage.reset();
}

void Start::startPhysics() {
    v.cPhysicsWorld.createWorld(car.fGravity * Vector3<double>(0.0, -1.0, 0.0));
    if (v.cPhysicsWorld.pWorld == nullptr) {
        host.messageBox("Physics World not created", "Error", 0);
        return;
    }
    v.cPhysicsWorld.resetSolver();
    buildCollisionObjects(v, v.cGravityDirectionNode.pMesh, true);
    v.m_vehicleRaycaster = std::make_unique<btDefaultVehicleRaycaster>(v.cPhysicsWorld.pWorld.get());
}

/// Erases what lies ahead, in every mode, so that no history outlives the motion it belongs to.
void Start::cutHistories() {
    forEachVariable(v, [this](const AnimatedRow& row, auto& variable, const auto*) {
        variable.eraseFrom(row.eraseFrom == EraseFrom::nextFrame ? time + dt : time);
    });
}

/// A history that is full moves to twice its room (as vectors do here), and all get their keys in the same frames. With
/// rooms of different size they move in frames of their own: together, after 44 minutes, that takes half of what a
/// frame may last. The rooms are two keys apart, since some histories have one key more. Undone ones come back without
/// room.
void Start::makeRoom() {
    if (!v.bSaveDynamicData && !v.bKeyframeOnlyEssential) return;
    std::size_t aside = 0;
    forEachVariable(v, [&aside](const AnimatedRow&, auto& variable, const auto*) {
        constexpr std::size_t kLeast = 128;
        auto& keys = variable.keys;
        const std::size_t eighth = keys.size() / 8;
        if (keys.capacity() < kLeast + aside || keys.capacity() - keys.size() < eighth)
            keys.reserve(std::max(kLeast, keys.size() + eighth) + aside);
        aside += 2;
    });
}

}  // namespace

void startRun(CCarCamObject& vehicle, double time) {
    vehicle.cFrameMemory.clear();
    Start(vehicle, time).run();
}

}  // namespace ond::ovs::addon
