#include "run/MemoryAhead.h"

#include <vector>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ond/util/Prefetch.h"

namespace ond::ovs::addon {

namespace {

constexpr std::size_t kCacheLine = 64;
// The first one is too small for all of a frame.
constexpr auto kCache = util::Cache::second;
// What is fetched of an element, which belongs to the host: the handle stands for it, and most likely begins it.
constexpr std::size_t kElement = 384;
// What casting rays reads of a body of the physics world, and how many are fetched: mostly there is one.
constexpr std::size_t kBody = 384;
constexpr int kBodies = 4;

void fetch(const void* memory, std::size_t bytes) {
    if (memory == nullptr || bytes == 0) return;
    const char* at = static_cast<const char*>(memory);
    const char* const last = at + bytes - 1;
    for (; at < last; at += kCacheLine) util::prefetch<kCache>(at);
    util::prefetch<kCache>(last);
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

/// What a frame reads of it.
template <class Node>
void fetchNode(const Node& node) {
    fetch(&node, &node.mPrev2);
    fetchOwn(node);
}

void fetchElement(const rig::SceneNode& node) { fetch(node.pMesh, kElement); }

void fetchCornerNodes(const CCarCamObject& v, std::size_t corner) {
    if (corner < v.aWheelRelocatorNodes.size()) util::prefetch<kCache>(&v.aWheelRelocatorNodes[corner]);
    if (corner < v.aWheelNodes.size()) {
        fetchNode(v.aWheelNodes[corner]);
        fetch(&v.aWheelNodes[corner].mPrev2, sizeof(util::Matrix4));
    }
    if (corner < v.aWheelCenterNodes.size()) fetchNode(v.aWheelCenterNodes[corner]);
    if (corner < v.aWheelCenterSuspensionNodes.size()) fetchNode(v.aWheelCenterSuspensionNodes[corner]);
}

void fetchCornerElements(const CCarCamObject& v, std::size_t corner) {
    if (corner < v.aWheelRelocatorNodes.size()) fetchElement(v.aWheelRelocatorNodes[corner]);
    if (corner < v.aWheelNodes.size()) fetchElement(v.aWheelNodes[corner]);
    if (corner < v.aWheelCenterNodes.size()) fetchElement(v.aWheelCenterNodes[corner]);
    if (corner < v.aWheelCenterSuspensionNodes.size()) fetchElement(v.aWheelCenterSuspensionNodes[corner]);
}

/// Visits all nodes that are updated behind the corners.
template <class Visit>
void forEachOfRest(const CCarCamObject& v, Visit visit) {
    visit(v.cRelativeTurnBaseNode);
    visit(v.cSteeringWheelNode);
    visit(v.cBaseMeshNode);
    visit(v.cFollowCamNode);
    visit(v.cTopViewCamNode);
    visit(v.cDriverCamNode);
}

/// The list of what rays can hit in the physics world; null where none are cast there.
const btCollisionObjectArray* bodiesOf(const CCarCamObject& v) {
    const btDiscreteDynamicsWorld* world = v.cPhysicsWorld.pWorld.get();
    return v.bUseStaticMesh && world != nullptr ? &world->getCollisionObjectArray() : nullptr;
}

// Each piece of the world tells where the next one is, so that they come stage by stage.
void fetchWorld(const CCarCamObject& v) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies == nullptr) return;
    fetch(bodies, sizeof *bodies);
    fetch(v.m_vehicleRaycaster.get(), sizeof(btDefaultVehicleRaycaster));
}

void fetchListOfBodies(const CCarCamObject& v) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies != nullptr && bodies->size() > 0) util::prefetch<kCache>(&(*bodies)[0]);
}

template <class Visit>
void forEachBody(const CCarCamObject& v, Visit visit) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies == nullptr) return;
    for (int i = 0; i < bodies->size() && i < kBodies; ++i) visit(*(*bodies)[i]);
}

void fetchBodies(const CCarCamObject& v) {
    forEachBody(v, [](const btCollisionObject& body) { fetch(&body, kBody); });
}

void fetchProxies(const CCarCamObject& v) {
    forEachBody(v, [](const btCollisionObject& body) { fetch(body.getBroadphaseHandle(), sizeof(btBroadphaseProxy)); });
}

}  // namespace

void fetchCar(const CCarCamObject& v) {
    for (const unidevice::Property* input : v.aInputProperties) util::prefetch<kCache>(input);
    fetch(&v.cCarCam, sizeof v.cCarCam);
    fetch(&v.aWheelRelocatorNodes, &v.cRelativeTurnBaseNode);
    fetchWorld(v);
    fetchNode(v.cCarBodyNode);
    fetchNode(v.cChassisRelocatorNode);
    fetchNode(v.cGravityDirectionNode);
    fetchCornerNodes(v, 0);
}

void fetchAheadOfStep(const CCarCamObject& v) {
    fetchElement(v.cCarBodyNode);
    fetchElement(v.cChassisRelocatorNode);
    fetchElement(v.cGravityDirectionNode);
    fetchCornerElements(v, 0);
    fetchListOfBodies(v);
    fetch(&v.ancCarCamcCarBodyfRelYPos, &v.aInputProperties);
}

void fetchAheadOfBody(const CCarCamObject& v) {
    fetchBodies(v);
    fetchCornerNodes(v, 1);
}

void fetchAheadOfCorner(const CCarCamObject& v, std::size_t corner) {
    fetchCornerElements(v, corner + 1);
    fetchCornerNodes(v, corner + 2);
    if (corner == 0) fetchProxies(v);
    if (corner == 1) forEachOfRest(v, [](const auto& node) { fetchNode(node); });
    if (corner != 2) return;
    forEachOfRest(v, [](const auto& node) { fetchElement(node); });
    for (const unidevice::Property* output : v.aOutputProperties) util::prefetch<kCache>(output);
}

}  // namespace ond::ovs::addon
