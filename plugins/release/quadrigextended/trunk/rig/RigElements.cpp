#include "rig/RigElements.h"

#include "CCarCamObject.h"
#include "ond/util/CMesh_Box.h"

namespace ond::ovs::addon::rig {

using util::CMesh;
using util::RotationX;
using util::RotationY;
using util::Scaling;
using util::Translation;

namespace {

using Vehicle = CCarCamObject;
using Corner = std::uint32_t;

constexpr double kPi = 3.141592653589793;
constexpr double kDegree = kPi / 180.0;

template <auto member>
SceneNode* single(Vehicle& v, Corner /*corner*/) {
    return &(v.*member);
}
template <auto member>
SceneNode* cornerNode(Vehicle& v, Corner corner) {
    return corner < (v.*member).size() ? &(v.*member)[corner] : nullptr;
}

/// An attach point stands at the wheel with the body's axes.
Matrix4 bodyAxesAtWheel(Vehicle& v, Corner corner, double now) {
    Matrix4 matrix = readWorldMatrix(v.cCarBodyNode, now);
    if (corner < v.aWheelNodes.size()) matrix.setRow(3, readWorldMatrix(v.aWheelNodes[corner], now).row(3));
    return matrix;
}

}  // namespace

constexpr std::array<RigElement, kNumElements> kRigElements = {{
    {.name = "CarBodyMesh",
     .node = single<&Vehicle::cCarBodyNode>,
     .mesh = [](const Vehicle&, Corner) { return CMesh_CarBodyMesh() * RotationX(-0.5 * kDegree); },
     .colour = colourFromBytes(200, 210, 150),
     .placedInWorld = true,
     .place =
         [](Vehicle& v, Corner, double) {
             return Translation({0.0, v.cCarCam.fBodyRestHeight, 0.0}) * Scaling(v.cCarCam.fBodyLength);
         },
     .helper = 5},
    {.name = "ChassisRelocatorMesh",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cChassisRelocatorNode>,
     .whenBuilt = kAttachableExtension,
     .whenBound = kRelocatorExtension,
     .mesh =
         [](const Vehicle& v, Corner) {
             return CMesh_AttachToMesh() * Scaling(0.175) * Translation({0.0, 0.7 / v.cCarCam.fBodyLength, 0.0});
         },
     .colour = colourFromBytes(224, 143, 87),
     .place = [](Vehicle& v, Corner, double) { return Translation(v.cChassisRelocatorNode.vInitPos); },
     .helper = 6},
    {.name = "TargetMesh",
     .node = single<&Vehicle::cTargetNode>,
     .whenMade = kAttachableExtension,
     .whenBound = kAttachableExtension,
     .mesh = [](const Vehicle&, Corner) { return CMesh_TargetMesh() * Scaling(0.4); },
     .colour = colourFromBytes(86, 224, 86),
     .followsWireframeMode = false,
     .place =
         [](Vehicle& v, Corner, double now) {
             const cCarCam& car = v.cCarCam;
             return readWorldMatrix(v.cCarBodyNode, now) * Scaling(1 / car.fBodyLength) *
                    Translation({0.0, car.fBodyRestHeight, car.fBodyLength / 2 * -2.01});
         },
     .helper = 7},
    {.name = "WheelRelocatorMesh",
     .parent = ElementId::chassisRelocator,
     .atCorners = true,
     .node = cornerNode<&Vehicle::aWheelRelocatorNodes>,
     .whenMade = kRelocatorExtension,
     .whenBound = kRelocatorExtension,
     .mesh =
         [](const Vehicle&, Corner) {
             return CMesh_AttachToMesh() * Scaling({2.0, 2.0, 1.4});
         },
     .colour = colourFromBytes(224, 143, 87),
     .placedInWorld = true,
     .place =
         [](Vehicle& v, Corner corner, double) {
             const WheelGeometry& geom = cornerGeometry(v, corner);
             return Translation({geom.x, geom.radius, geom.z}) * Scaling(geom.radius);
         },
     .helper = 12},
    {.name = "WheelMesh",
     .parent = ElementId::wheelRelocator,
     .atCorners = true,
     .node = cornerNode<&Vehicle::aWheelNodes>,
     .mesh =
         [](const Vehicle& v, Corner corner) {
             const CMesh_WheelMesh left;
             return cornerGeometry(v, corner).x > 0 ? left * RotationY(kPi) : CMesh(left);
         },
     .colour = colourFromBytes(140, 147, 105),
     .placedInWorld = true,
     .place =
         [](Vehicle& v, Corner corner, double) {
             const WheelGeometry& geom = cornerGeometry(v, corner);
             return Translation({geom.x, geom.radius, geom.z}) * Scaling({0.7 * geom.radius, geom.radius, geom.radius});
         },
     .helper = 9},
    {.name = "WheelCenterSuspensionMesh",
     .parent = ElementId::wheelRelocator,
     .atCorners = true,
     .node = cornerNode<&Vehicle::aWheelCenterSuspensionNodes>,
     .mesh =
         [](const Vehicle&, Corner) {
             return CMesh_WheelGroundMesh() * Scaling({1.0, 0.6, 2.0}) * RotationY(kPi / 2);
         },
     .colour = colourFromBytes(240, 252, 180),
     .placedInWorld = true,
     .place = bodyAxesAtWheel,
     .helper = 11},
    {.name = "WheelCenterMesh",
     .parent = ElementId::wheelRelocator,
     .atCorners = true,
     .node = cornerNode<&Vehicle::aWheelCenterNodes>,
     .mesh =
         [](const Vehicle&, Corner) {
             return CMesh_WheelGroundMesh() * Scaling({1.0, 0.6, 2.0});
         },
     .colour = colourFromBytes(240, 252, 180),
     .placedInWorld = true,
     .place = bodyAxesAtWheel,
     .helper = 10},
    {.name = "TurnBaseMesh",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cRelativeTurnBaseNode>,
     .mesh = [](const Vehicle&, Corner) { return CMesh(CMesh_TurnBaseMesh()); },
     .colour = colourFromBytes(140, 147, 105),
     .placedInWorld = true,
     .place =
         [](Vehicle& v, Corner, double) {
             return Translation({0.0, 0.0, turnBasePosition(v.cCarCam)}) * Scaling(v.cRelativeTurnBaseNode.dScale);
         },
     .helper = 1},
    {.name = "SteeringWheelMesh",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cSteeringWheelNode>,
     .mesh = [](const Vehicle&, Corner) { return CMesh_SteeringWheelMesh() * Scaling(0.035); },
     .colour = colourFromBytes(180, 189, 135),
     .place =
         [](Vehicle&, Corner, double) {
             return Translation({-0.091, 0.147, -0.068}) * RotationX(-20.0 * kDegree);
         },
     .helper = 2},
    {.name = "GravityDirectionMesh",
     .node = single<&Vehicle::cGravityDirectionNode>,
     .whenBuilt = kAttachableExtension,
     .whenBound = kAttachableExtension,
     .mesh = [](const Vehicle&, Corner) { return CMesh_GravityDirectionMesh() * Scaling(0.12); },
     .colour = colourFromBytes(224, 86, 86),
     .placedInWorld = true,
     .place =
         [](Vehicle& v, Corner, double) {
             const double length = v.cCarCam.fBodyLength;
             return Translation({0.0, 0.0, length / 2 * -1.51}) * Scaling(length);
         },
     .helper = 3},
    {.name = "CarBodyBaseMesh",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cBaseMeshNode>,
     .mesh = [](const Vehicle&, Corner) { return util::CMesh_Box(0.5, 0.5, 0.5) * Scaling(0.12); },
     .colour = colourFromBytes(224, 224, 86),
     .placedInWorld = true,
     .place = [](Vehicle& v, Corner, double) { return Scaling(v.cCarCam.fBodyLength); },
     .helper = 4},
    {.name = "ExternalForceMesh",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cExternalForceNode>,
     .whenMade = kAttachableExtension,
     .whenBound = kAttachableExtension,
     .mesh =
         [](const Vehicle&, Corner) {
             return CMesh_GravityDirectionMesh() * Translation({0.0, 0.5, 0.0}) * RotationX(-90.0 * kDegree) *
                    Scaling(0.08);
         },
     .colour = colourFromBytes(224, 224, 86),
     .place =
         [](Vehicle& v, Corner, double) {
             return Translation({0.0, v.cCarCam.fBodyLength / 10, 0.3}) * RotationX(170.0 * kDegree);
         },
     .helper = 8},
    {.name = "TopViewCam",
     .parent = ElementId::carBody,
     .node = single<&Vehicle::cTopViewCamNode>,
     .whenBuilt = kAttachableExtension,
     .whenBound = kAttachableExtension,
     .place =
         [](Vehicle&, Corner, double) {
             return RotationX(-90.0 * kDegree) * Translation({0.0, 0.0, 2.0});
         }},
    {.name = "DriverCam",
     .parent = ElementId::chassisRelocator,
     .node = single<&Vehicle::cDriverCamNode>,
     .whenBuilt = kAttachableExtension,
     .whenBound = kAttachableExtension,
     .place =
         [](Vehicle&, Corner, double) {
             return Translation({-0.091, 0.125, 0.02});
         }},
    {.name = "FollowCam",
     .parent = ElementId::chassisRelocator,
     .node = single<&Vehicle::cFollowCamNode>,
     .placedInWorld = true,
     .place = [](Vehicle& v, Corner, double) { return ToMatrix(v.cFollowCamNode.qFollowCam); }},
}};

constexpr std::array<const RigElement*, 12> kHelpers = [] {
    std::array<const RigElement*, 12> helpers{};
    for (const RigElement& element : kRigElements)
        if (element.helper > 0) helpers[static_cast<std::size_t>(element.helper - 1)] = &element;
    return helpers;
}();

void sendExtension(const SceneNode& node, std::uint32_t id) {
    if (id != kNoExtension && node.pMesh != nullptr) node.pMesh->callExtension(id, nullptr);
}

void makeElement(SceneNode& node, ElementId id, std::uint32_t corner) {
    Vehicle& vehicle = *node.parent;
    const RigElement& element = rigElement(id);
    const SceneNode* parent =
        element.parent == ElementId::none ? nullptr : rigElement(element.parent).node(vehicle, corner);
    MeshHandle* parentMesh = parent != nullptr ? parent->pMesh : nullptr;
    if (element.mesh != nullptr) {
        const CMesh mesh = element.mesh(vehicle, corner);
        const std::string suffix = element.atCorners ? cornerSuffix(corner) : "";
        node.pMesh = vehicle.hostInterface->createMeshElement(node.sName + suffix, parentMesh, &mesh, 0);
    } else {
        node.pMesh = vehicle.hostInterface->createCameraElement(node.sName, parentMesh, false);
    }
    sendExtension(node, element.whenMade);
}

int placeElement(const SceneNode& node, ElementId id, double now, std::uint32_t corner) {
    const RigElement& element = rigElement(id);
    const Matrix4 matrix = element.place(*node.parent, corner, now);
    return element.placedInWorld ? writeWorldMatrix(node, matrix, now) : writeLocalMatrix(node, matrix, now);
}

void colourElement(const SceneNode& node, ElementId id) {
    const RigElement& element = rigElement(id);
    if (element.mesh == nullptr) return;
    setAppearance(node, element.colour, element.followsWireframeMode && node.parent->bWireframeMode);
}

void createElement(SceneNode& node, ElementId id, std::uint32_t corner) {
    makeElement(node, id, corner);
    placeElement(node, id, node.parent->hostInterface->getCurrentTime(), corner);
    colourElement(node, id);
}

void buildElement(CCarCamObject& vehicle, ElementId id) {
    const RigElement& element = rigElement(id);
    SceneNode& node = *element.node(vehicle, 0);
    node.create();
    sendExtension(node, element.whenBuilt);
}

}  // namespace ond::ovs::addon::rig
