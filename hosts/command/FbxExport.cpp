#include "command/FbxExport.h"

#include <assimp/cexport.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/FbxCameras.h"
#include "command/FbxRecords.h"
#include "command/FbxTiming.h"

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

/// Times in seconds, as the exporter takes them whatever the ticks of the animation are, with those of whole frames
/// exact: the take's animation has single precision.
class Seconds {
  public:
    Seconds(const aiAnimation& animation, const stage::FrameRate& rate)
        : m_perTick(animation.mTicksPerSecond > 0.0 ? 1.0 / animation.mTicksPerSecond : 1.0), m_rate(rate) {}

    [[nodiscard]] double of(double tick) const {
        const double time = tick * m_perTick;
        const double frame = m_rate.time(m_rate.nearest(time));
        // The exporter cuts off what is left of a tick of the format; half of one makes it round.
        return (std::abs(time - frame) < kSameFrame * m_rate.step() ? frame : time) + 0.5 / kFbxTicks;
    }
    template <typename Key>
    void count(Key* keys, unsigned number) const {
        for (Key& key : std::span(keys, number)) key.mTime = of(key.mTime);
    }

  private:
    static constexpr double kSameFrame = 1e-3;  ///< frames

    double m_perTick;
    stage::FrameRate m_rate;
};

void countInSeconds(aiAnimation& animation, const stage::FrameRate& rate) {
    const Seconds seconds(animation, rate);
    animation.mDuration = seconds.of(animation.mDuration);
    animation.mTicksPerSecond = 1.0;
    for (aiNodeAnim* channel : std::span(animation.mChannels, animation.mNumChannels)) {
        seconds.count(channel->mPositionKeys, channel->mNumPositionKeys);
        seconds.count(channel->mRotationKeys, channel->mNumRotationKeys);
        seconds.count(channel->mScalingKeys, channel->mNumScalingKeys);
    }
}

/// First and last second in which anything moves; nothing for a still.
std::optional<std::pair<double, double>> spanOf(const aiScene& scene) {
    std::optional<std::pair<double, double>> span;
    const auto widen = [&span](const auto* keys, unsigned number) {
        for (const auto& key : std::span(keys, number)) {
            if (!span) span = {key.mTime, key.mTime};
            span = {std::min(span->first, key.mTime), std::max(span->second, key.mTime)};
        }
    };
    for (const aiAnimation* animation : std::span(scene.mAnimations, scene.mNumAnimations))
        for (const aiNodeAnim* channel : std::span(animation->mChannels, animation->mNumChannels)) {
            // A single key only holds the value of a part that does not change.
            if (channel->mNumPositionKeys > 1) widen(channel->mPositionKeys, channel->mNumPositionKeys);
            if (channel->mNumRotationKeys > 1) widen(channel->mRotationKeys, channel->mNumRotationKeys);
            if (channel->mNumScalingKeys > 1) widen(channel->mScalingKeys, channel->mNumScalingKeys);
        }
    return span;
}

}  // namespace

std::vector<unsigned char> fbxOf(const std::vector<unsigned char>& glb, const stage::FrameRate& rate) {
    Assimp::Importer importer;
    importer.ReadFileFromMemory(glb.data(), glb.size(), 0, "glb");
    const std::unique_ptr<aiScene> scene(importer.GetOrphanedScene());
    if (scene == nullptr)
        throw CommandError(std::string("the take cannot be handed to the FBX exporter: ") + importer.GetErrorString());
    for (unsigned i = 0; i < scene->mNumAnimations; ++i) countInSeconds(*scene->mAnimations[i], rate);
    const auto span = spanOf(*scene).value_or(std::make_pair(0.0, 0.0));
    if (scene->mMetaData == nullptr) scene->mMetaData = new aiMetadata();
    // A unit of the file is a hundred of its centimetres.
    scene->mMetaData->Add("UnitScaleFactor", 100.0);
    // The exporter goes back in what it wrote, which its memory streams do not do well; so it gets a real file.
    const TemporaryFolder folder;
    const std::string path = folder.path + "/take.fbx";
    Assimp::Exporter exporter;
    if (exporter.Export(scene.get(), "fbx", path) != aiReturn_SUCCESS)
        throw CommandError(std::string("the FBX exporter failed: ") + exporter.GetErrorString());
    FbxFile file = readFbx(readText(path));
    setFbxTiming(file, rate, span.first, span.second);
    completeFbxLayers(file);
    addFbxCameras(file, camerasOf(glb));
    const std::string bytes = writeFbx(file);
    return {bytes.begin(), bytes.end()};
}

}  // namespace ond::command
