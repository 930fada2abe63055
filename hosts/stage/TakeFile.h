// Take files: a scene with its vehicles and its recording in one binary glTF file.
//
// Any tool that reads glTF sees the standard part: nodes, meshes, cameras and one animation, in single precision. The
// extension OND_vehicle_take holds the rest, to the bit: a stage that is opened from the file goes on exactly as if it
// had never been closed, and saving it again gives the same bytes. docs/take-file.md tells the format.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "stage/Module.h"

namespace ond::stage {

class Stage;

/// What of a take goes into its bytes. Without the defaults the bytes cannot be opened again.
struct TakeOptions {
    /// False gives a plain glTF file without the extension.
    bool withExtension = true;
    /// False leaves out of the extension what only continuing needs: exact tracks and meshes, deleted elements, saved
    /// blocks, gauges and journal. The table of elements, the other curves and the messages stay.
    bool exactTracks = true;
    /// Instead of the animation the nodes stand as in this frame.
    std::optional<int> stillAt;
};

/// Writes the take: whole or not at all, see writeWhole(). Asks the vehicles for their saved blocks. Not during a run.
/// @throws StageError with one sentence; what stood under that name is then untouched
void saveTake(Stage& stage, const std::string& path);

/// The bytes that saveTake() writes, or less of them. Not during a run.
/// @throws StageError, naming the element whose numbers are not finite
[[nodiscard]] std::vector<unsigned char> takeBytes(Stage& stage, const TakeOptions& options = {});

/// A stage with the scene, the vehicles, the recording and its journal; `keepsJournal` is on.
/// @throws StageError with one sentence: for a file that cannot be read, that is damaged, that is no take or that a
/// newer program wrote, and for a vehicle that the module does not load
[[nodiscard]] std::unique_ptr<Stage> openTake(const std::string& path, const Module& module);

}  // namespace ond::stage
