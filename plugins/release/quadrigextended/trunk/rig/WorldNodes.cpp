#include "rig/WorldNodes.h"

#include "CCarCamObject.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"

namespace ond::ovs::addon::rig {

using util::CMesh;
using util::Inverse;
using util::Normalized;

namespace {

/// There is no body for a parent whose mesh is empty: says so and goes back to the host's own surfaces.
void cancelFastCastOnEmptyParent(CCarCamObject& vehicle, MeshHandle& ground, double time) {
    CInterface& host = *vehicle.hostInterface;
    SurfaceObject* surface = host.getSurfaceObject(&ground, time);
    if (surface == nullptr) return;
    if (vehicle.bUseStaticMesh) {
        CMesh mesh;
        surface->getMesh(mesh);
        if (mesh.getNumVertices() == 0) {
            host.messageBox(
                "Support for this kind of surface has not yet been implemented for FAST RAYCAST for this adaptor. Fast "
                "raycast is therefore cancelled.\nContact support for more information on this issue.",
                "UNSUPPORTED SURFACE TYPE", 0);
            vehicle.bUseStaticMesh = false;
            host.refreshDialog();
        }
    }
    host.releaseSurfaceObject(surface);
    host.releaseElementData(&ground);
}

/// Whether the ground's element is, or hangs below, the vehicle's own body.
bool isOwnBody(CGravityDirectionNode& node, MeshHandle& ground) {
    const CCarCamObject& vehicle = *node.parent;
    if (node.pMesh->hasExtension(31)) return ground.callExtension(31, vehicle.cCarBodyNode.pMesh) != nullptr;
    return ground.getName() == vehicle.name + "_" + vehicle.cCarBodyNode.sName;
}

void appendSurface(CGravityDirectionNode& node, const Matrix4& world) {
    node.mParentMesh.push_back(world);
    node.mParentMesh_inv.push_back(Inverse(world));
}

void appendElement(CGravityDirectionNode& node, MeshHandle& element, double time) {
    CInterface& host = *node.parent->hostInterface;
    Matrix4 world;
    if (TransformObject* transform = host.getTransformObject(&element, time)) {
        transform->readWorldMatrix(world);
        appendSurface(node, world);
        host.releaseTransformObject(transform);
    } else {
        appendSurface(node, world);
    }
    node.pMesh->releaseHandle(&element);
}

}  // namespace

bool CGravityDirectionNode::create() {
    createElement(*this, ElementId::gravityDirection);
    return true;
}

int CGravityDirectionNode::update(double time) {
    mPrev = mCurr;
    readWorldMatrix(*this, mCurr, time);
    return 0;
}

void CGravityDirectionNode::onPrepareEnd(double time) {
    MeshHandle* ground = pMesh != nullptr ? pMesh->getParent() : nullptr;
    if (ground != nullptr) cancelFastCastOnEmptyParent(*parent, *ground, time);
    bParentIsCarBody = ground != nullptr && isOwnBody(*this, *ground);

    mParentMesh.clear();
    mParentMesh_inv.clear();
    if (parent->bStoreGroundMeshData) {
        appendSurface(*this, parent->mBulletGroundMesh);
        bParentIsCarBody = false;
    } else {
        if (ground != nullptr && !bParentIsCarBody) appendElement(*this, *ground, time);
        const std::int32_t children = pMesh != nullptr ? pMesh->getNumChildren() : 0;
        for (std::int32_t i = 0; i < children; ++i)
            if (MeshHandle* child = pMesh->getChild(i)) appendElement(*this, *child, time);
    }
    if (mParentMesh.empty() && parent->bUseStaticMesh) {
        mParentMesh.emplace_back();
        mParentMesh_inv.emplace_back();
    }
    qInit = QTransform<double>::FromMatrix(mInit);
}

bool CTargetNode::create() {
    createElement(*this, ElementId::target);
    return true;
}

int CTargetNode::update(double /*time*/) { return 1; }

bool CExternalForceNode::create() {
    createElement(*this, ElementId::externalForce);
    return true;
}

int CExternalForceNode::update(double time) {
    const Matrix4 world = readWorldMatrix(*this, time - parent->hostInterface->getFrameStep());
    const Matrix4 inBody = Inverse(parent->cCarBodyNode.mCurr) * world;
    parent->cCarCam.vExternalForceDir = Normalized(inBody.row(2));
    parent->cCarCam.vExternalForcePos = inBody.row(3);
    return 0;
}

}  // namespace ond::ovs::addon::rig
