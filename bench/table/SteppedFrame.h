// A frame of the vehicle taken apart, so that its steps can be timed one by one and its wheels be updated otherwise.
//
// The steps and their order are those of the vehicle's own frame. Whoever uses this compares the outcome with a vehicle
// that was driven by its own updateFrame(), to the bit; autonomous mode is not part of it.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "CCarCamObject.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "parameters/Gauges.h"
#include "run/FrameUpdate.h"
#include "run/MemoryAhead.h"
#include "run/Settling.h"
#include "state/AnimatedState.h"

namespace ond::bench::table {

enum class Step { inputs, carStep, body, wheels, attachPoints, rolling, settling, rest, keys, readOuts, count };
inline constexpr std::size_t kSteps = static_cast<std::size_t>(Step::count);

inline constexpr std::array<std::string_view, kSteps> kStepNames = {
    "inputs, gravity, forces", "car step", "body and chassis", "wheels: probing",       "attach points",
    "rolling, wheel keys",     "settling", "other nodes",      "keys of the histories", "read-outs, outputs"};

/// The whole frame at `time`.
/// @param updateWheel called with each wheel node and the time
/// @param done called with each step when it is over; wheels and their attach points come corner by corner
template <class UpdateWheel, class Done>
void frameInSteps(ovs::addon::CCarCamObject& v, double time, UpdateWheel&& updateWheel, Done&& done) {
    using namespace ond::ovs::addon;
    const bool isForeseen = v.cFrameMemory.beginFrame();
    if (!isForeseen) fetchCar(v);
    const double dt = v.hostInterface->getFrameStep();
    readInputs(v);
    v.cCarCam.qGravity = util::Quat<double>::FromMatrix(v.cBaseMeshNode.mPrev);
    v.cCarCam.vGravityDir = -util::Normalized(v.cGravityDirectionNode.mPrev.row(1));
    if (v.cCarCam.pcInput[pcInput_EXTERNAL_FORCE].raw != 0.0) v.cExternalForceNode.update(time);
    done(Step::inputs);
    if (!isForeseen) fetchAheadOfStep(v);
    v.cFrameMemory.fetchAhead();
    StepCar(v.cCarCam, dt);
    if (!isForeseen) fetchAheadOfBody(v);
    v.cFrameMemory.fetchAhead();
    done(Step::carStep);
    v.cCarBodyNode.update(time);
    v.cChassisRelocatorNode.update(time);
    done(Step::body);
    const auto corners = static_cast<std::size_t>(v.numCorners());
    for (std::size_t i = 0; i < corners; ++i) {
        if (!isForeseen) fetchAheadOfCorner(v, i);
        updateWheel(v.aWheelNodes[i], time);
        done(Step::wheels);
        if (v.bKeyframeOnlyEssential) continue;
        if (i < v.aWheelCenterNodes.size()) v.aWheelCenterNodes[i].update(time);
        if (i < v.aWheelCenterSuspensionNodes.size()) v.aWheelCenterSuspensionNodes[i].update(time);
        done(Step::attachPoints);
    }
    UpdateWheelRolling(v.cCarCam, dt);
    for (std::size_t i = 0; i < corners; ++i) v.aWheelNodes[i].writeWheelKeys(time);
    done(Step::rolling);
    settleOnWheels(v.cCarCam);
    v.cFrameMemory.fetchRest();
    done(Step::settling);
    v.cRelativeTurnBaseNode.update(time);
    v.cSteeringWheelNode.update(time);
    v.cGravityDirectionNode.update(time);
    v.cBaseMeshNode.update(time);
    v.cFollowCamNode.update(time);
    v.cTopViewCamNode.update(time);
    v.cDriverCamNode.update(time);
    done(Step::rest);
    std::size_t history = 0;
    forEachVariable(v, [&](const AnimatedRow& row, auto& variable, const auto* live) {
        if (live == nullptr || row.onlyAutonomous) return;
        variable.setKey(time, *live);
        v.cFrameMemory.setLastKey(history++, &variable.keys.back());
    });
    done(Step::keys);
    updateVelocityGauges(v, time);
    storeOutputs(v);
    v.bFreshStart = false;
    if (!v.cFrameMemory.isListed()) listFrameMemory(v);
    done(Step::readOuts);
}

}  // namespace ond::bench::table
