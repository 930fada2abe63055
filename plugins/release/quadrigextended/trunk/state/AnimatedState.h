// The one list of animated state: every variable with its live value, how a resumed run restores it, and from when on a
// run cuts it. Undo records at a run's start, the keys of a frame, restoring and erasing all walk this list.
#pragma once

#include <array>
#include <string_view>
#include <variant>

#include "CCarCamObject.h"

namespace ond::ovs::addon {

/// What a resumed run does with the value at its start.
enum class Restore {
    fromKey,  ///< takes it from the key at the start time
    byHand,   ///< run start has a rule of its own for it
};

/// Where a run begins to cut a history when it starts.
enum class EraseFrom {
    start,      ///< the start time itself
    nextFrame,  ///< one frame later: the key at the start is what a frame has left, and the run goes on from it
};

/// A variable of the vehicle and the live value that it is the history of.
template <class V, class T>
struct SingleBinding {
    V CCarCamObject::*variable;
    T& (*live)(CCarCamObject& vehicle);
};

/// The same, once per corner. `live` is null where the rig lacks the corner.
struct CornerBinding {
    std::array<AVar_Linear<double>, kNumWheels> CCarCamObject::*variables;
    double* (*live)(CCarCamObject& vehicle, int corner);
};

using AnimatedBinding =
    std::variant<SingleBinding<AVar_Linear<double>, double>,
                 SingleBinding<AVar_Nearest<QTransform<double>>, QTransform<double>>,
                 SingleBinding<AVar_Nearest<Vector3<double>>, Vector3<double>>,
                 SingleBinding<AVar_Nearest<Quat<double>>, Quat<double>>, SingleBinding<AVar_Nearest<bool>, bool>,
                 SingleBinding<AVar_Latest<int>, std::int32_t>, CornerBinding>;

struct AnimatedRow {
    std::string_view key;  ///< name of the variable and of its leaf in a saved block
    AnimatedBinding binding;
    Restore restore;
    EraseFrom eraseFrom;
    bool onlyAutonomous;  ///< keyed only in autonomous mode
};

/// Keys of the corner rows. They are also those of the children of a saved wheel store for one corner; there they
/// repeat for each corner, so children count by position.
constexpr std::array<std::string_view, 6> kWheelStoreKeys = {
    "ancCarCampcWheelfSuspZeroDiff", "ancCarCampcWheelfSuspZeroDiff_prev",
    "ancCarCampcWheelpfTotalPitch",  "ancWheelNodeCurrDelta",
    "ancWheelNodeCurrDeltaW",        "andWheelGroundNormalDiff"};

/// All rows, in the order in which a frame writes its keys. The six corner rows stand together.
extern const std::array<AnimatedRow, 41> kAnimatedState;

/// The row of a key; null for a key that names no variable.
[[nodiscard]] const AnimatedRow* findAnimatedRow(std::string_view key);

/// Calls `visit(row, variable, live)` for every variable, row after row; corner rows corner by corner.
/// `variable` is an AVar of one of the six kinds; `live` points to the live value, or is null where the rig lacks the
/// corner (the car model itself always has four wheels).
template <class Visit>
void forEachVariable(CCarCamObject& vehicle, Visit&& visit) {
    const auto visitCorners = [&](std::size_t first, std::size_t last) {
        for (int corner = 0; corner < kNumWheels; ++corner)
            for (std::size_t i = first; i < last; ++i) {
                const AnimatedRow& row = kAnimatedState[i];
                const auto& binding = std::get<CornerBinding>(row.binding);
                visit(row, (vehicle.*binding.variables)[static_cast<std::size_t>(corner)],
                      binding.live(vehicle, corner));
            }
    };
    for (std::size_t i = 0; i < kAnimatedState.size(); ++i) {
        if (std::holds_alternative<CornerBinding>(kAnimatedState[i].binding)) {
            const std::size_t first = i;
            while (i < kAnimatedState.size() && std::holds_alternative<CornerBinding>(kAnimatedState[i].binding)) ++i;
            visitCorners(first, i);
            --i;
            continue;
        }
        std::visit(
            [&](const auto& binding) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(binding)>, CornerBinding>)
                    visit(kAnimatedState[i], vehicle.*binding.variable, &binding.live(vehicle));
            },
            kAnimatedState[i].binding);
    }
}

}  // namespace ond::ovs::addon
