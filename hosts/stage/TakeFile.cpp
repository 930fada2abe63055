#include "stage/TakeFile.h"

#include <cstddef>
#include <utility>

#include "stage/StageError.h"
#include "stage/TakeContents.h"
#include "stage/WholeFile.h"

namespace ond::stage {

namespace {

/// What a binary glTF file can hold.
constexpr std::size_t kLargestFile = 0xFFFFFFFF;

}  // namespace

void saveTake(Stage& stage, const std::string& path) {
    if (stage.vehicles.empty()) throw StageError("there is no vehicle in the scene, so there is no take to save");
    writeWhole(path, takeBytes(stage));
}

std::vector<unsigned char> takeBytes(Stage& stage, const TakeOptions& options) {
    return takeBytes(contentsOf(stage), options);
}

std::unique_ptr<Stage> openTake(const std::string& path, const Module& module) {
    TakeContents contents = readTake(readWhole(path, kLargestFile), path);
    try {
        return stageOf(std::move(contents), module);
    } catch (const StageError& error) {
        throw StageError("'" + path + "' cannot be opened: " + error.what());
    }
}

}  // namespace ond::stage
