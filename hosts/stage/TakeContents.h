// Everything that a take file holds, as plain data: what lies between a stage and the bytes of the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "stage/Curves.h"
#include "stage/FrameRate.h"
#include "stage/Journal.h"
#include "stage/Scene.h"
#include "stage/Snapshot.h"
#include "stage/Stage.h"
#include "stage/TakeFile.h"

namespace ond::stage {

struct TakeElement {
    std::string name;
    std::string identifier;
    std::string vehicle;  ///< name of the vehicle that made it
    ElementState state;   ///< places are those in TakeContents::elements
    bool ownColour = false;
    bool wireframe = false;
    float colour[3] = {0, 0, 0};
    bool isCamera = false;
    double fieldOfView = 0.0;  ///< degrees, horizontal
    SurfaceKind surface = SurfaceKind::none;
    util::CMesh shape;
    bool placedByUser = false;
    bool selected = false;
};

/// What made the vehicles.
struct TakePlugin {
    std::string type;
    std::uint32_t version = 0;
    std::uint64_t stamp = 0;
};

struct TakeContents {
    FrameRate rate;
    int now = 0;
    TakePlugin plugin;
    std::vector<TakeElement> elements;  ///< deleted ones too, at the places that they had
    std::vector<VehicleState> vehicles;
    std::vector<Curves> curves;  ///< one per vehicle, or none
    std::vector<StageMessage> messages;
    Journal journal;
};

/// @throws StageError during a run
[[nodiscard]] TakeContents contentsOf(Stage& stage);
/// A stage that stands where the one of contentsOf() stood.
/// @throws StageError if the module does not make such vehicles or does not accept what they saved
[[nodiscard]] std::unique_ptr<Stage> stageOf(TakeContents contents, const Module& module);

/// The bytes of the file; the same contents give the same bytes.
/// @throws StageError naming the element or the vehicle that has a number which is not finite or which single
/// precision does not hold
[[nodiscard]] std::vector<unsigned char> takeBytes(const TakeContents& contents, const TakeOptions& options = {});
/// Reads a take from bytes that may be damaged. What it gives can be handed to stageOf() and to takeBytes().
/// @param name of the file, for the sentence of the error
/// @throws StageError
[[nodiscard]] TakeContents readTake(const std::vector<unsigned char>& bytes, const std::string& name);

/// Whether the parents and children fit each other, and no chain of parents has more than kDeepestNesting members.
[[nodiscard]] bool isSoundTree(const std::vector<const ElementState*>& states);
constexpr int kDeepestNesting = 1000;
/// Frames outside of plus and minus this are no frames of a take.
constexpr int kFarthestFrame = 1000000000;

}  // namespace ond::stage
