// How a recording came to be: every run with what it started from and what was fed to it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "stage/Snapshot.h"

namespace ond::stage {

/// The axes of one vehicle in every frame of a run, as the devices gave them, before dead zone and exponent.
struct RunInput {
    bool armed = true;  ///< took part; without it there are no values
    int channels = 0;
    std::vector<double> axes;  ///< one row of `channels` values per frame, the run's first frame included
};

struct RunRecord {
    int from = 0;  ///< the frame of startRun()
    int to = 0;    ///< the last frame that was driven
    /// What the run started from. Null when that is what the run before it left behind.
    std::shared_ptr<const Snapshot> before;
    std::vector<RunInput> inputs;  ///< one per vehicle
    std::uint64_t left = 0;        ///< fingerprint of what the run left behind
};

/// The recorded runs in the order in which they were driven. The first has its `before`.
using Journal = std::vector<RunRecord>;

/// The names of the vehicles that took part in each run.
[[nodiscard]] std::vector<std::vector<std::string>> drivenVehicles(const Journal& journal);

/// First and last frame of what is recorded of any of these vehicles; nothing if none took part in a run. A run ends
/// what runs before it recorded of its vehicles, and of these alone.
[[nodiscard]] std::optional<std::pair<int, int>> recordedFrames(const Journal& journal,
                                                                const std::vector<std::string>& vehicles);

}  // namespace ond::stage
