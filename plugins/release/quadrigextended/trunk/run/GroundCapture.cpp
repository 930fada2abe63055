#include "run/GroundCapture.h"

#include <utility>

#include "CCarCamObject.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"

namespace ond::ovs::addon {

namespace {

void refuse(CCarCamObject& v, const char* text) {
    v.bStoreGroundMeshData = false;
    v.hostInterface->messageBox(text, "Error", 0);
}

void captureSurface(CCarCamObject& v, MeshHandle& ground, SurfaceObject& surface) {
    CInterface& host = *v.hostInterface;
    util::CMesh mesh;
    surface.getMesh(mesh);
    v.cMesh_storedGroundMesh = std::move(mesh);
    if (v.cMesh_storedGroundMesh.getNumFaces() < 1) return refuse(v, "Mesh Invalid");
    if (TransformObject* transform = host.getTransformObject(&ground, host.getCurrentTime())) {
        transform->readWorldMatrix(v.mBulletGroundMesh);
        host.releaseTransformObject(transform);
    }
    if (!v.bUseStaticMesh) v.cMesh_storedGroundMesh.buildTree(v.cGroundMeshTree);
}

void captureParent(CCarCamObject& v) {
    CInterface& host = *v.hostInterface;
    MeshHandle* gravity = v.cGravityDirectionNode.pMesh;
    MeshHandle* ground = gravity != nullptr ? gravity->getParent() : nullptr;
    if (ground == nullptr) return refuse(v, "No ground mesh available");
    SurfaceObject* surface = host.getSurfaceObject(ground, host.getCurrentTime());
    if (surface == nullptr) {
        refuse(v, "Surface not a mesh");
    } else {
        captureSurface(v, *ground, *surface);
        host.releaseSurfaceObject(surface);
    }
    host.releaseElementData(ground);
}

}  // namespace

void captureGround(CCarCamObject& v) {
    if (v.bStoreGroundMeshData) captureParent(v);
    if (!v.bStoreGroundMeshData) v.cMesh_storedGroundMesh = util::CMesh();
    v.hostInterface->refreshDialog();
}

}  // namespace ond::ovs::addon
