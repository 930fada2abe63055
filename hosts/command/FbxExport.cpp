#include "command/FbxExport.h"

#include <assimp/cexport.h>
#include <assimp/scene.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/FbxRecords.h"

namespace ond::command {

namespace {

struct TemporaryFolder {
    std::string path = (std::filesystem::temp_directory_path() / "quadrig-XXXXXX").string();
    TemporaryFolder() {
        if (mkdtemp(path.data()) == nullptr)
            throw CommandError("no temporary folder can be made at " + path + "; is there room?");
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

/// The exporter takes times for seconds, whatever the ticks of the animation are.
void countInSeconds(aiAnimation& animation) {
    const double perTick = animation.mTicksPerSecond > 0.0 ? 1.0 / animation.mTicksPerSecond : 1.0;
    animation.mDuration *= perTick;
    animation.mTicksPerSecond = 1.0;
    for (unsigned i = 0; i < animation.mNumChannels; ++i) {
        aiNodeAnim& channel = *animation.mChannels[i];
        for (unsigned k = 0; k < channel.mNumPositionKeys; ++k) channel.mPositionKeys[k].mTime *= perTick;
        for (unsigned k = 0; k < channel.mNumRotationKeys; ++k) channel.mRotationKeys[k].mTime *= perTick;
        for (unsigned k = 0; k < channel.mNumScalingKeys; ++k) channel.mScalingKeys[k].mTime *= perTick;
    }
}

}  // namespace

std::vector<unsigned char> fbxOf(const std::vector<unsigned char>& glb) {
    Assimp::Importer importer;
    importer.ReadFileFromMemory(glb.data(), glb.size(), 0, "glb");
    const std::unique_ptr<aiScene> scene(importer.GetOrphanedScene());
    if (scene == nullptr)
        throw CommandError(std::string("the take cannot be handed to the FBX exporter: ") + importer.GetErrorString());
    for (unsigned i = 0; i < scene->mNumAnimations; ++i) countInSeconds(*scene->mAnimations[i]);
    if (scene->mMetaData == nullptr) scene->mMetaData = new aiMetadata();
    // A unit of the file is a hundred of its centimetres.
    scene->mMetaData->Add("UnitScaleFactor", 100.0);
    // The exporter goes back in what it wrote, which its memory streams do not do well; so it gets a real file.
    const TemporaryFolder folder;
    const std::string path = folder.path + "/take.fbx";
    Assimp::Exporter exporter;
    if (exporter.Export(scene.get(), "fbx", path) != aiReturn_SUCCESS)
        throw CommandError(std::string("the FBX exporter failed: ") + exporter.GetErrorString());
    const std::string bytes = withEmptyRecords(readText(path));
    return {bytes.begin(), bytes.end()};
}

}  // namespace ond::command
