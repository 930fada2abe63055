#include "state/LoadState.h"

#include <optional>

#include "CCarCamObject.h"
#include "car/WheelRolling.h"
#include "ond/util/ArrayRegion.h"
#include "state/BindRig.h"
#include "state/Load.h"
#include "state/LoadedHistories.h"
#include "state/Migration.h"

namespace ond::ovs::addon {

namespace {

constexpr std::uint64_t kLoaded = 0;
constexpr std::uint64_t kFailed = 1;
constexpr int kOldestVersion = 100;

/// Everything ahead of the block: a vehicle with a past does not start afresh, and stands on its bound rig.
bool prepare(CCarCamObject& vehicle) {
    vehicle.bFreshStart = false;
    if (!bindRig(vehicle)) return false;
    ResetCar(vehicle.cCarCam);
    return true;
}

std::uint64_t readBlock(CCarCamObject& vehicle, const void* block, std::optional<std::size_t> size) {
    const SavedTree tree(block, size, &neededRows);
    const Load load{vehicle, tree};
    const util::ArrayRegion region(roomForHistories(vehicle, tree));
    return load.atLeast(kOldestVersion) && runVersionSteps(load) ? kLoaded : kFailed;
}

}  // namespace

std::uint64_t loadState(CCarCamObject& vehicle) {
    if (!prepare(vehicle)) return kFailed;
    return readBlock(vehicle, vehicle.hostInterface->getChunk(0), std::nullopt);
}

std::uint64_t loadStateFrom(CCarCamObject& vehicle, const void* block, std::size_t size) {
    if (!prepare(vehicle)) return kFailed;
    return readBlock(vehicle, block, size);
}

}  // namespace ond::ovs::addon
