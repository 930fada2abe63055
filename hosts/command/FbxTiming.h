// When things happen in an FBX file: the frame rate, the span, and what ties curves to it.
#pragma once

#include "command/FbxRecords.h"
#include "stage/FrameRate.h"

namespace ond::command {

/// What the format counts time in, per second.
constexpr double kFbxTicks = 46186158000.0;

/// The exporter tells 24 frames a second and one second for everything. This tells the take's rate, so that programs
/// show its keys at whole frames, and the span.
/// @param first, last of the motion, seconds
void setFbxTiming(FbxFile& file, const stage::FrameRate& rate, double first, double last);

/// The exporter writes layers of animation without a list of values, which some readers take for damage: they then
/// find no motion at all.
void completeFbxLayers(FbxFile& file);

}  // namespace ond::command
