#include "stage/GroundGltfMotion.h"

#include <nlohmann/json.hpp>

namespace ond::stage::gltf {

namespace {

GroundTrackKind kindOf(const Json& sampler) {
    const std::string name = text(sampler, "interpolation");
    if (name.empty() || name == "LINEAR") return GroundTrackKind::linear;
    if (name == "STEP") return GroundTrackKind::stepped;
    if (name == "CUBICSPLINE") return GroundTrackKind::spline;
    damaged("an animation has the unknown interpolation \"" + name + "\"");
}

GroundTrack readTrack(const Json& sampler, Data& data, std::size_t width) {
    const std::size_t accessors = list(data.json(), "accessors").size();
    GroundTrack track;
    track.kind = kindOf(sampler);
    track.times = data.numbers(needReference(sampler, "input", accessors), 1);
    track.numbers = data.numbers(needReference(sampler, "output", accessors), width);
    return track;
}

GroundTrack* trackOf(GroundMotion& motion, const std::string& path) {
    if (path == "translation") return &motion.translation;
    if (path == "rotation") return &motion.rotation;
    if (path == "scale") return &motion.scale;
    return nullptr;
}

struct Counts {
    int repeated = 0;
    int curved = 0;
};

void readAnimation(const Json& animation, Data& data, std::vector<GroundMotion>& motions, Counts& counts) {
    const Json& samplers = list(animation, "samplers");
    for (const Json& channel : list(animation, "channels")) {
        const Json* target = findObject(channel, "target");
        if (target == nullptr) damaged("a channel of an animation has no target");
        const std::optional<std::size_t> node = reference(*target, "node", motions.size());
        const std::string path = text(*target, "path");
        const Json& sampler = samplers[needReference(channel, "sampler", samplers.size())];
        GroundTrack* track = node ? trackOf(motions[*node], path) : nullptr;
        if (track == nullptr) continue;
        if (!track->times.empty()) {
            ++counts.repeated;
            continue;
        }
        *track = readTrack(sampler, data, path == "rotation" ? 4 : 3);
        counts.curved += track->kind == GroundTrackKind::linear ? 0 : 1;
    }
}

}  // namespace

std::vector<GroundMotion> readMotions(Data& data, std::vector<std::string>& warnings) {
    std::vector<GroundMotion> motions(list(data.json(), "nodes").size());
    Counts counts;
    for (const Json& animation : list(data.json(), "animations")) readAnimation(animation, data, motions, counts);
    if (counts.repeated > 0) {
        warnings.push_back(std::to_string(counts.repeated) +
                           " animation channel(s) move what an earlier one moves; the earlier one counts.");
    }
    if (counts.curved > 0) {
        warnings.push_back(std::to_string(counts.curved) +
                           " animation channel(s) with steps or splines are followed at the key times only.");
    }
    return motions;
}

}  // namespace ond::stage::gltf
