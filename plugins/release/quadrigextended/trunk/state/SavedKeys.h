// The one list of what a saved block holds: every leaf with its key and the field or history behind it. Saving walks it
// from the front; loading looks keys up in it.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "ond/util/Matrix4.h"
#include "state/AnimatedState.h"

namespace ond::ovs::addon {

/// See SavedRecord.h.
struct RecordLeaf {};
/// The history of the row of the animated state that bears the same key.
struct HistoryLeaf {};
/// The histories of the corners: no payload, one child for each of kWheelStoreKeys and corner, corner by corner.
struct WheelStoreLeaf {};
/// XML of the stored mesh, closed by a NUL; only there if there is such a mesh.
struct GroundTextLeaf {};

/// Plain values, by the field that holds them.
using SavedNumber = double& (*)(CCarCamObject& vehicle);
using SavedFlag = bool& (*)(CCarCamObject& vehicle);
using SavedWhole = std::int32_t& (*)(CCarCamObject& vehicle);
using SavedMatrix = util::Matrix4& (*)(CCarCamObject& vehicle);

using SavedBinding = std::variant<RecordLeaf, HistoryLeaf, WheelStoreLeaf, GroundTextLeaf, SavedNumber, SavedFlag,
                                  SavedWhole, SavedMatrix>;

struct SavedRow {
    std::string_view key;
    SavedBinding binding;
    bool onlyWithGround = false;  ///< left out without a stored mesh
};

/// All leaves, the first of the block first.
extern const std::array<SavedRow, 93> kSavedRows;

/// Keys that only older blocks bear.
constexpr std::string_view kOldSkidBrakeKey = "ancCarCampcInput_SKID_BREAK";
constexpr std::string_view kOldFixateCentersKey = "bFixateWheelCenterNodes";
constexpr std::string_view kOldWheelStoreKey = "wheelstore2";  ///< no payload, a double per corner

/// The row of a key; null for a key that is not saved.
[[nodiscard]] const SavedRow* findSavedRow(std::string_view key);

/// Some of the rows.
using SavedRows = std::bitset<kSavedRows.size()>;

/// The place of a key among the rows, counted from 1; 0 for a key that is not saved.
[[nodiscard]] std::size_t savedRowNumber(std::string_view key);

/// The history of a corner, `index` being a position in kWheelStoreKeys.
[[nodiscard]] AVar_Linear<double>& wheelStoreVariable(CCarCamObject& vehicle, int corner, std::size_t index);

/// Calls `visit(variable)` with the history of that key, which must be one of a single variable.
template <class Visit>
void visitHistory(CCarCamObject& vehicle, std::string_view key, Visit&& visit) {
    const AnimatedRow* row = findAnimatedRow(key);
    if (row == nullptr) return;
    std::visit(
        [&](const auto& binding) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(binding)>, CornerBinding>)
                visit(vehicle.*binding.variable);
        },
        row->binding);
}

/// What the bytes of a key must look like.
struct LeafShape {
    enum class Kind {
        fixed,    ///< `size` bytes, no children
        history,  ///< what an AVar writes, with `size` bytes a key; no children
        branch,   ///< no bytes, at most `size` children
        text,     ///< characters and a NUL, no children; `size` has no meaning
    };
    Kind kind;
    std::size_t size;
};

/// The shape of a key, older keys included; nothing for a key that this program does not know.
[[nodiscard]] std::optional<LeafShape> shapeOf(std::string_view key);

}  // namespace ond::ovs::addon
