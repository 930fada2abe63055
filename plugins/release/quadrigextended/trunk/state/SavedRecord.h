// One leaf of a saved block: what the first versions had to save, as one record of fixed offsets.
#pragma once

#include <cstddef>

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Stored bytewise, little-endian, at exactly these offsets; see the table in the saved block's layout.
struct DataChunkSaveStruct {
    bool bFreshStart = true;
    bool bHideHelpersDuringRecording = false;
    bool bHideHelpers = false;
    bool bHideTopViewCamera = true;
    bool bHideDriverCamera = true;
    bool bHideFollowCamera = true;
    bool bSpareFlag = false;  ///< kept and restored; nothing reads it
    bool bWireframeMode = false;
    double response[kNumInputs] = {};
    double maximum[kNumInputs] = {};
    double dSkidBrakeStopFactor = 0.0;
    double dSkiddingReleaseResponseFactor = 0.0;
    double dTurnBase = 0.0;
    double dTurnBaseSpare = 0.0;
    double fBodyRestHeight = 0.0;
    double fBodyHeight = 0.0;
    double fBodyWidth = 0.0;
    double fBodyLength = 0.0;
    WheelGeometry wheelGeom[kNumWheels] = {};
    double dSpringLimitMult = 0.0;
    double dSpringLimitSpare = 0.0;
    double fMassMult = 0.0;
    double fStiffnessFront = 0.0;
    double fDampingFront = 0.0;
    double dSpringIntegralGain = 0.0;
    double dGravelRoughness = 0.0;
};
static_assert(sizeof(DataChunkSaveStruct) == 368 && offsetof(DataChunkSaveStruct, response) == 8 &&
              offsetof(DataChunkSaveStruct, wheelGeom) == 216 &&
              offsetof(DataChunkSaveStruct, dGravelRoughness) == 360);

}  // namespace ond::ovs::addon
