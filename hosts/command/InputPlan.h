// The input that the command line gives, as tracks.
#pragma once

#include <vector>

#include "command/DrivePlan.h"
#include "command/InputTracks.h"
#include "command/Options.h"
#include "stage/Stage.h"

namespace ond::command {

/// In the order in which they lie over each other: logs, held channels, keyed channels.
/// @throws CommandError for text that is none
[[nodiscard]] std::vector<TrackPlan> planInput(const InputOptions& options);

/// The last frame that begins within `seconds` behind `first`.
/// @throws CommandError for more than an hour
[[nodiscard]] int lastFrameWithin(const stage::FrameRate& rate, int first, double seconds);

/// Feeds the axes of the vehicle from the tracks, whose second 0 lies at frame `zero`. Channels without a track rest.
/// The tracks must stay while the axes are fed.
void feedAxes(stage::Stage& stage, int vehicle, const InputTracks& tracks, int zero);
/// The axes rest again.
void restAxes(stage::Stage& stage);

/// The channel of each axis of the vehicle, as places in kChannels.
/// @throws CommandError for a vehicle with a channel that is not known
[[nodiscard]] std::vector<int> channelsOf(const stage::Vehicle& vehicle);

}  // namespace ond::command
