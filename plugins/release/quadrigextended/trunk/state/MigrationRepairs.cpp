#include "state/MigrationRepairs.h"

#include <algorithm>
#include <string>

#include "CCarCamObject.h"
#include "state/BindRig.h"
#include "state/SavedRecordFields.h"

namespace ond::ovs::addon::migration {

using rig::ElementId;

namespace {

double halfLength(const cCarCam& car) { return car.fBodyLength / 2; }

}  // namespace

// Record and channels

bool takeFlagsAndChannels(const Load& load) {
    restoreFlagsAndChannels(load.vehicle);
    return true;
}

bool takeDimensions(const Load& load) {
    restoreDimensions(load.vehicle);
    return true;
}

bool shiftTurnBase(const Load& load) {
    // Works on the dimensions of a new car: those of the block are read only after it.
    cCarCam& car = load.vehicle.cCarCam;
    car.dTurnBase = car.dTurnBase - car.wheelGeom[2].z / halfLength(car);
    return true;
}

bool rescaleTurnBase(const Load& load) {
    if (load.vehicle.iChunkVersion >= 116) return true;
    cCarCam& car = load.vehicle.cCarCam;
    car.dTurnBase = ((car.dTurnBase / 2) * halfLength(car) + car.wheelGeom[2].z) / halfLength(car);
    return true;
}

// Histories

bool readSkidBrake(const Load& load) {
    // Where a block has both spellings, the old one wins.
    return readHistory(load.tree.find(kOldSkidBrakeKey), load.vehicle.ancCarCampcInput_SKID_BRAKE,
                       placeOfHistory(kOldSkidBrakeKey)) ||
           load.read("ancCarCampcInput_SKID_BRAKE");
}

bool readGravityMemory(const Load& load) {
    // Blocks of these versions may lack either key.
    static_cast<void>(load.read("anQGravityFilterMem"));
    static_cast<void>(load.read("anbCarInTheAir"));
    return true;
}

namespace {

/// How the histories of a corner lie among the children of the wheel store.
struct StoreForm {
    int stride;                ///< children from one corner to the next
    std::array<int, 6> child;  ///< place of each history behind the corner's first child; -1: not in the store
};

constexpr StoreForm kCurrentForm{6, {0, 1, 2, 3, 4, 5}};
// From here on histories share children: the fifth of a corner is the first of the next one.
constexpr StoreForm kOverlappingForm{4, {0, 1, 2, 3, 4, -1}};
// And here the fifth of a corner is its fourth.
constexpr StoreForm kOldestForm{4, {0, 1, 2, 3, 3, -1}};

bool readCorners(const Load& load, const StoreForm& form) {
    const SavedChunk* store = load.tree.find("wheelstore");
    for (int corner = 0; corner < kNumWheels; ++corner)
        for (std::size_t i = 0; i < form.child.size(); ++i) {
            if (form.child[i] < 0) continue;
            const SavedChunk* chunk = childAt(store, form.stride * corner + form.child[i]);
            if (!readHistory(chunk, wheelStoreVariable(load.vehicle, corner, i), placeOfHistory(corner, i)))
                return false;
        }
    return true;
}

/// The heights of the wheels were plain numbers before they became histories.
bool readOldWheelStore(const Load& load) {
    const SavedChunk* store = load.tree.find(kOldWheelStoreKey);
    if (store == nullptr) return true;
    for (int corner = 0; corner < kNumWheels; ++corner)
        if (!readValue(childAt(store, corner), load.vehicle.cCarCam.pcWheel[corner].dWheelGroundNormalDiff))
            return false;
    return true;
}

}  // namespace

bool readWheelStore(const Load& load) {
    if (load.atLeast(8120)) return readCorners(load, kCurrentForm);
    if (load.atLeast(8114)) return readCorners(load, kOverlappingForm) && readOldWheelStore(load);
    if (!readCorners(load, kOldestForm)) return false;
    if (load.atLeast(8107) && !readOldWheelStore(load)) return false;
    load.vehicle.fSurfaceEdgeResponseFactor = 99.0;
    return true;
}

bool takeDisableFeaturesFromSkidBreaking(const Load& load) {
    return readHistory(load.tree.find("ancCarCambSkidBreakingOn"), load.vehicle.ancCarCambSkidBreakingOnDisableFeatures,
                       placeOfHistory("ancCarCambSkidBreakingOnDisableFeatures"));
}

bool takeFirstTimeFromSkidBreaking(const Load& load) {
    auto& firstTime = load.vehicle.ancCarCambSkidFirstTime;
    if (!readHistory(load.tree.find("ancCarCambSkidBreakingOn"), firstTime, placeOfHistory("ancCarCambSkidFirstTime")))
        return false;
    // A car that is not braking is ready for the next brake.
    for (int i = 0; i < firstTime.getNumKeys(); ++i) {
        const double time = firstTime.getKeyTime(i);
        // In a damaged history the key may not be found under its own time; setKey() would then add one.
        if (firstTime.exactKeyIndex(time) >= 0) {
            firstTime.setKey(time, !firstTime.valueAt(time));
        } else {
            bool& value = firstTime.keys[static_cast<std::size_t>(i)].value;
            value = !value;
        }
    }
    return true;
}

// Elements

bool bindChassisRelocator(const Load& load) { return bind(load.vehicle, ElementId::chassisRelocator); }

bool makeChassisRelocator(const Load& load) {
    buildElement(load.vehicle, ElementId::chassisRelocator);
    return true;
}

bool bindTarget(const Load& load) { return bind(load.vehicle, ElementId::target); }

bool makeTarget(const Load& load) {
    buildElement(load.vehicle, ElementId::target);
    return true;
}

bool bindRelocators(const Load& load) {
    auto& nodes = load.vehicle.aWheelRelocatorNodes;
    bindCorners(load.vehicle, nodes, elementName(ElementId::wheelRelocator), CornerNames::suffixed);
    for (const rig::CWheelRelocatorNode& node : nodes)
        sendExtension(node, rigElement(ElementId::wheelRelocator).whenBound);
    return true;
}

bool hideGravityDirection(const Load& load) {
    load.vehicle.cGravityDirectionNode.hide();
    return true;
}

bool bindWheels(const Load& load) {
    CCarCamObject& v = load.vehicle;
    const std::string wheel = elementName(ElementId::wheel);
    const std::string center = elementName(ElementId::wheelCenter);
    const std::string oldCenter = "WheelBottomMesh";
    // The scene tells the age of the rig, whatever the age of the block.
    const bool hasNumbered =
        v.hostInterface->findElement(cornerElementName(oldCenter, CornerNames::numbered, 1)) != nullptr;
    const bool hasOldCenters =
        v.hostInterface->findElement(cornerElementName(oldCenter, CornerNames::suffixed, 1)) != nullptr;

    if (load.atLeast(139) && !hasNumbered && !hasOldCenters) {
        if (!load.read("dVelocityConversionMult") || !load.read("bAlignWheelCenterToGroundNormal") ||
            !load.read("dInitialVelocity"))
            return false;
        bindCorners(v, v.aWheelNodes, wheel, CornerNames::suffixed);
        bindCorners(v, v.aWheelCenterNodes, center, CornerNames::suffixed);
        return true;
    }
    const CornerNames names = load.atLeast(122) && !hasNumbered ? CornerNames::suffixed : CornerNames::numbered;
    bindCorners(v, v.aWheelNodes, wheel, names);
    bindCorners(v, v.aWheelCenterNodes, oldCenter, names);
    return true;
}

bool readTurnBaseMatrix(const Load& load) {
    load.vehicle.cRelativeTurnBaseNode.mCurr = readWorldMatrix(load.vehicle.cRelativeTurnBaseNode, 0.0);
    return true;
}

bool bindOrMakeBaseMesh(const Load& load) {
    if (!bind(load.vehicle, ElementId::baseMesh)) makeBaseMesh(load.vehicle);
    return true;
}

bool bindCenterSuspensions(const Load& load) {
    bindCorners(load.vehicle, load.vehicle.aWheelCenterSuspensionNodes, elementName(ElementId::wheelCenterSuspension),
                CornerNames::suffixed);
    return true;
}

bool makeCenterSuspensions(const Load& load) {
    addon::makeCenterSuspensions(load.vehicle);
    return true;
}

bool measureSteeringWheel(const Load& load) {
    load.vehicle.cSteeringWheelNode.mInit_loc = readWorldMatrix(load.vehicle.cSteeringWheelNode, 0.0);
    return true;
}

// Parameters

bool readFixateCenters(const Load& load) {
    // Blocks of these versions have it under either name, or not at all.
    if (!load.read("bFixateWheelBottomNodes"))
        static_cast<void>(readValue(load.tree.find(kOldFixateCentersKey), load.vehicle.bFixateWheelCenterNodes));
    return true;
}

namespace {

util::CMesh meshFromText(const SavedChunk& chunk) {
    // The text ends at its NUL, in a damaged block at the latest with the leaf.
    const std::string text(chunk.data, std::find(chunk.data, chunk.data + chunk.size, '\0'));
    util::CMesh mesh;
    mesh.fromXml(util::xml::Element(text));
    return mesh;
}

}  // namespace

bool readGroundMesh(const Load& load) {
    CCarCamObject& v = load.vehicle;
    if (!load.read("bStoreGroundMeshData")) return false;
    if (!v.bStoreGroundMeshData) return true;
    const SavedChunk* text = load.tree.find("cMesh_storedGroundMesh");
    if (text == nullptr || text->size == 0) {
        v.bStoreGroundMeshData = false;
        return true;
    }
    v.cMesh_storedGroundMesh = meshFromText(*text);
    // Faulty faces stay: all that walks the mesh leaves them out, and the next save writes them as they came.
    if (v.cMesh_storedGroundMesh.getNumFaces() < 1) {
        v.cMesh_storedGroundMesh = util::CMesh();
        return true;
    }
    if (!load.read("mBulletGroundMesh")) v.mBulletGroundMesh = {};
    if (!v.bUseStaticMesh) v.cMesh_storedGroundMesh.buildTree(v.cGroundMeshTree);
    return true;
}

bool forgetGroundMesh(const Load& load) {
    load.vehicle.bStoreGroundMeshData = false;
    load.vehicle.cMesh_storedGroundMesh = util::CMesh();
    return true;
}

}  // namespace ond::ovs::addon::migration
