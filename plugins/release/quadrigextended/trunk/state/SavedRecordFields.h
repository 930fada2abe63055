// SavedRecord's three shapes and the ways between them: fields of the vehicle, a member of it, bytes of a block.
#pragma once

#include "state/SavedRecord.h"

namespace ond::ovs::addon {

class CCarCamObject;

/// Bytes of the record in a saved block: eight flags of one byte, then 45 doubles.
constexpr std::size_t kRecordSize = 368;

/// Fills the vehicle's record from the fields that it mirrors.
void refreshRecord(CCarCamObject& vehicle);

/// Stores the record's 368 bytes at `to`.
void storeRecord(const DataChunkSaveStruct& record, unsigned char* to);

/// Inverse of storeRecord(). Every byte but 0 sets a flag.
[[nodiscard]] DataChunkSaveStruct loadRecord(const unsigned char* from);

/// Copies the first part of the vehicle's record into the vehicle: flags, channels, skid brake factors and turn base.
void restoreFlagsAndChannels(CCarCamObject& vehicle);

/// Copies all that stands behind it: dimensions of the rig, springs, gravel.
void restoreDimensions(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
