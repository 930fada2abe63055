#include "run/MemoryAhead.h"

#include <vector>

#include "CCarCamObject.h"
#include "state/AnimatedState.h"

namespace ond::ovs::addon {

namespace {

constexpr std::size_t kCacheLine = 64;
// What __builtin_prefetch() takes for: into the second cache, since the first is too small for all of it.
constexpr int kSecondCache = 2;
// What is fetched of an element, which belongs to the host: the handle stands for it, and most likely begins it.
constexpr std::size_t kElement = 384;

void fetch(const void* memory, std::size_t bytes) {
    if (memory == nullptr) return;
    const char* at = static_cast<const char*>(memory);
    for (const char* const end = at + bytes; at < end; at += kCacheLine) __builtin_prefetch(at, 0, kSecondCache);
}

/// From one place in an object to another.
void fetch(const void* from, const void* to) {
    fetch(from, static_cast<std::size_t>(static_cast<const char*>(to) - static_cast<const char*>(from)));
}

/// What a kind of nodes adds to the fields of all.
template <class Node>
void fetchOwn(const Node& node) {
    fetch(static_cast<const rig::SceneNode*>(&node) + 1, &node + 1);
}

/// What a frame reads, and the element.
template <class Node>
void fetchNode(const Node& node) {
    fetch(node.pMesh, kElement);
    fetch(&node, &node.mPrev2);
    fetchOwn(node);
}

/// All other nodes.
void fetchRest(const CCarCamObject& v) {
    fetchNode(v.cRelativeTurnBaseNode);
    fetchNode(v.cBaseMeshNode);
    fetchNode(v.cSteeringWheelNode);
    fetchNode(v.cFollowCamNode);
    fetchNode(v.cDriverCamNode);
    fetchNode(v.cTopViewCamNode);
    for (const unidevice::Property* output : v.aOutputProperties) __builtin_prefetch(output, 1, kSecondCache);
}

/// The histories and where their next keys will be; this part of as many as there are wheels.
void fetchHistories(CCarCamObject& v, std::size_t part) {
    std::size_t number = 0;
    forEachVariable(v, [&](const AnimatedRow&, auto& variable, const auto*) {
        if (number++ % kNumWheels == part)
            __builtin_prefetch(variable.keys.data() + variable.keys.size(), 1, kSecondCache);
    });
}

}  // namespace

void fetchCar(const CCarCamObject& v) {
    for (const unidevice::Property* input : v.aInputProperties) __builtin_prefetch(input, 0, kSecondCache);
    fetch(&v.cCarCam, sizeof v.cCarCam);
}

void fetchBody(const CCarCamObject& v) {
    fetchNode(v.cCarBodyNode);
    fetchNode(v.cChassisRelocatorNode);
    fetchNode(v.cGravityDirectionNode);
}

void fetchCorner(const CCarCamObject& v, std::size_t corner) {
    if (corner < v.aWheelRelocatorNodes.size()) fetch(v.aWheelRelocatorNodes[corner].pMesh, kElement);
    if (corner < v.aWheelNodes.size()) {
        fetchNode(v.aWheelNodes[corner]);
        fetch(&v.aWheelNodes[corner].mPrev2, sizeof(util::Matrix4));
    }
    if (corner < v.aWheelCenterNodes.size()) fetchNode(v.aWheelCenterNodes[corner]);
    if (corner < v.aWheelCenterSuspensionNodes.size()) fetchNode(v.aWheelCenterSuspensionNodes[corner]);
}

void fetchAheadOfCorner(CCarCamObject& v, std::size_t corner) {
    fetchHistories(v, corner);
    fetchCorner(v, corner + 1);
    if (corner == 0) fetchRest(v);
}

}  // namespace ond::ovs::addon
