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
// What is fetched of the host itself.
constexpr std::size_t kHost = 256;

/// Asks for memory at once.
struct Asking {
    void operator()(const void* memory, std::size_t bytes) const {
        if (memory == nullptr || bytes == 0) return;
        const char* at = static_cast<const char*>(memory);
        const char* const last = at + bytes - 1;
        for (; at < last; at += kCacheLine) util::prefetch<kCache>(at);
        util::prefetch<kCache>(last);
    }
};
/// Has it listed.
struct Listing {
    FrameMemory& list;
    void operator()(const void* memory, std::size_t bytes) const { list.add(memory, bytes); }
};

/// From one place in an object to another.
template <class Take>
void takeUpTo(Take take, const void* from, const void* to) {
    take(from, static_cast<std::size_t>(static_cast<const char*>(to) - static_cast<const char*>(from)));
}

/// What a kind of nodes adds to the fields of all.
template <class Take, class Node>
void takeOwn(Take take, const Node& node) {
    takeUpTo(take, static_cast<const rig::SceneNode*>(&node) + 1, &node + 1);
}

/// What a frame reads of it.
template <class Take, class Node>
void takeNode(Take take, const Node& node) {
    takeUpTo(take, &node, &node.mPrev2);
    takeOwn(take, node);
}

template <class Take>
void takeElement(Take take, const rig::SceneNode& node) {
    take(node.pMesh, kElement);
}

template <class Take>
void takeCornerNodes(Take take, const CCarCamObject& v, std::size_t corner) {
    if (corner < v.aWheelRelocatorNodes.size()) take(&v.aWheelRelocatorNodes[corner], 1);
    if (corner < v.aWheelNodes.size()) {
        takeNode(take, v.aWheelNodes[corner]);
        take(&v.aWheelNodes[corner].mPrev2, sizeof(util::Matrix4));
    }
    if (corner < v.aWheelCenterNodes.size()) takeNode(take, v.aWheelCenterNodes[corner]);
    if (corner < v.aWheelCenterSuspensionNodes.size()) takeNode(take, v.aWheelCenterSuspensionNodes[corner]);
}

/// What a wheel keeps elsewhere.
template <class Take>
void takeWorkSpace(Take take, const rig::CWheelNode& wheel) {
    const auto takeFirst = [take](const auto& vector) { take(vector.data(), vector.empty() ? 0 : 1); };
    takeFirst(wheel.aGroundMeshes);
    takeFirst(wheel.aGroundSurfaces);
    takeFirst(wheel.hits.normals);
    takeFirst(wheel.hits.points);
    takeFirst(wheel.hits.dists);
}

template <class Take>
void takeCornerElements(Take take, const CCarCamObject& v, std::size_t corner) {
    if (corner < v.aWheelRelocatorNodes.size()) takeElement(take, v.aWheelRelocatorNodes[corner]);
    if (corner < v.aWheelNodes.size()) takeElement(take, v.aWheelNodes[corner]);
    if (corner < v.aWheelCenterNodes.size()) takeElement(take, v.aWheelCenterNodes[corner]);
    if (corner < v.aWheelCenterSuspensionNodes.size()) takeElement(take, v.aWheelCenterSuspensionNodes[corner]);
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
template <class Take>
void takeWorld(Take take, const CCarCamObject& v) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies == nullptr) return;
    take(bodies, sizeof *bodies);
    take(v.m_vehicleRaycaster.get(), sizeof(btDefaultVehicleRaycaster));
}

template <class Take>
void takeListOfBodies(Take take, const CCarCamObject& v) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies != nullptr && bodies->size() > 0) take(&(*bodies)[0], 1);
}

template <class Visit>
void forEachBody(const CCarCamObject& v, Visit visit) {
    const btCollisionObjectArray* bodies = bodiesOf(v);
    if (bodies == nullptr) return;
    for (int i = 0; i < bodies->size() && i < kBodies; ++i) visit(*(*bodies)[i]);
}

template <class Take>
void takeBodies(Take take, const CCarCamObject& v) {
    forEachBody(v, [take](const btCollisionObject& body) { take(&body, kBody); });
}

template <class Take>
void takeProxies(Take take, const CCarCamObject& v) {
    forEachBody(v,
                [take](const btCollisionObject& body) { take(body.getBroadphaseHandle(), sizeof(btBroadphaseProxy)); });
}

template <class Take>
void takeCar(Take take, const CCarCamObject& v) {
    for (const unidevice::Property* input : v.aInputProperties) take(input, 1);
    take(&v.cCarCam, sizeof v.cCarCam);
    takeUpTo(take, &v.aInputProperties, &v.cCarBodyNode);
    takeUpTo(take, &v.aWheelRelocatorNodes, &v.cRelativeTurnBaseNode);
    takeUpTo(take, &v.dCurrentVelocity, &v.cMesh_storedGroundMesh);
    takeWorld(take, v);
    takeNode(take, v.cCarBodyNode);
    takeNode(take, v.cChassisRelocatorNode);
    takeNode(take, v.cGravityDirectionNode);
    takeCornerNodes(take, v, 0);
}

template <class Take>
void takeAheadOfStep(Take take, const CCarCamObject& v) {
    takeElement(take, v.cCarBodyNode);
    takeElement(take, v.cChassisRelocatorNode);
    takeElement(take, v.cGravityDirectionNode);
    takeCornerElements(take, v, 0);
    takeListOfBodies(take, v);
    takeUpTo(take, &v.ancCarCamcCarBodyfRelYPos, &v.aInputProperties);
}

template <class Take>
void takeAheadOfBody(Take take, const CCarCamObject& v) {
    takeBodies(take, v);
    takeCornerNodes(take, v, 1);
}

template <class Take>
void takeAheadOfCorner(Take take, const CCarCamObject& v, std::size_t corner) {
    takeCornerElements(take, v, corner + 1);
    takeCornerNodes(take, v, corner + 2);
    if (corner == 0) takeProxies(take, v);
    if (corner == 1) forEachOfRest(v, [take](const auto& node) { takeNode(take, node); });
    if (corner != 2) return;
    forEachOfRest(v, [take](const auto& node) { takeElement(take, node); });
    for (const unidevice::Property* output : v.aOutputProperties) take(output, 1);
}

}  // namespace

void fetchCar(const CCarCamObject& v) { takeCar(Asking(), v); }
void fetchAheadOfStep(const CCarCamObject& v) { takeAheadOfStep(Asking(), v); }
void fetchAheadOfBody(const CCarCamObject& v) { takeAheadOfBody(Asking(), v); }
void fetchAheadOfCorner(const CCarCamObject& v, std::size_t corner) { takeAheadOfCorner(Asking(), v, corner); }

void listFrameMemory(CCarCamObject& v) {
    const Listing list{v.cFrameMemory};
    takeUpTo(list, &v, &v.cCarCam);
    list(v.hostInterface, kHost);
    takeCar(list, v);
    takeAheadOfStep(list, v);
    takeAheadOfBody(list, v);
    for (std::size_t corner = 0; corner < kNumWheels; ++corner) takeAheadOfCorner(list, v, corner);
    for (const rig::CWheelNode& wheel : v.aWheelNodes) takeWorkSpace(list, wheel);
    for (const auto* matrices : {&v.cGravityDirectionNode.mParentMesh, &v.cGravityDirectionNode.mParentMesh_inv})
        list(matrices->data(), sizeof(util::Matrix4));
    list(&v.cFrameMemory, kCacheLine);
}

}  // namespace ond::ovs::addon
