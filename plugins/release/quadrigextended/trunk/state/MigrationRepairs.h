// The version steps that are more than reading keys. Each answers false if the load cannot go on.
#pragma once

#include "state/Load.h"

namespace ond::ovs::addon::migration {

// Record and channels
bool takeFlagsAndChannels(const Load& load);
bool takeDimensions(const Load& load);
/// The turn base of a block below 115. To be called before anything else of the record is read.
bool shiftTurnBase(const Load& load);
/// The turn base of a block below 116, once everything is read.
bool rescaleTurnBase(const Load& load);

// Histories
bool readSkidBrake(const Load& load);
bool readGravityMemory(const Load& load);
bool readWheelStore(const Load& load);
/// Both flags of the skid brake came later than the one that they are taken from.
bool takeDisableFeaturesFromSkidBreaking(const Load& load);
bool takeFirstTimeFromSkidBreaking(const Load& load);

// Elements
bool bindChassisRelocator(const Load& load);
bool makeChassisRelocator(const Load& load);
bool bindTarget(const Load& load);
bool makeTarget(const Load& load);
bool bindRelocators(const Load& load);
bool hideGravityDirection(const Load& load);
bool bindWheels(const Load& load);
bool readTurnBaseMatrix(const Load& load);
bool bindOrMakeBaseMesh(const Load& load);
bool bindCenterSuspensions(const Load& load);
bool makeCenterSuspensions(const Load& load);
bool measureSteeringWheel(const Load& load);

// Parameters
bool readFixateCenters(const Load& load);
bool readGroundMesh(const Load& load);
bool forgetGroundMesh(const Load& load);

}  // namespace ond::ovs::addon::migration
