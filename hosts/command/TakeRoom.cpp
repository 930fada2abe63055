#include "command/TakeRoom.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "command/CommandError.h"

namespace ond::command {

namespace {

/// What a binary glTF file can hold.
constexpr std::int64_t kLargestTake = 0xFFFFFFFF;
/// What a frame of one vehicle takes at least, in bytes: of a car that only stands, the keys of its elements, in double
/// and in single precision, its curves and its input were measured as 3730. Driving takes a little more.
constexpr std::int64_t kBytesPerFrame = 3700;

}  // namespace

void requireRoom(const stage::Stage& stage, int first, int last) {
    const std::int64_t frames = std::int64_t{last} - first + 1;
    const std::int64_t armed =
        std::count_if(stage.vehicles.begin(), stage.vehicles.end(), [](const auto& vehicle) { return vehicle->armed; });
    const std::int64_t most = kLargestTake / kBytesPerFrame / std::max<std::int64_t>(armed, 1);
    if (frames <= most) return;
    throw CommandError("frames " + std::to_string(first) + " to " + std::to_string(last) + " are " +
                       std::to_string(frames) + ", but a take file of 4 GB holds " + std::to_string(most) +
                       (armed > 1 ? " of " + std::to_string(armed) + " vehicles" : "") +
                       " at most; drive fewer at a time");
}

}  // namespace ond::command
