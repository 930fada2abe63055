#include "rig/SceneNode.h"

#include "CCarCamObject.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/TransformObject.h"

namespace ond::ovs::addon::rig {

namespace {

/// Lends `use` the element's transform at `time`. False, without a call of `use`, where the host has none.
template <class Use>
bool withTransform(const SceneNode& node, double time, Use use) {
    if (node.pMesh == nullptr) return false;
    CInterface& host = *node.parent->hostInterface;
    TransformObject* transform = host.getTransformObject(node.pMesh, time);
    if (transform == nullptr) return false;
    use(*transform);
    host.releaseTransformObject(transform);
    return true;
}

template <class Use>
void withAppearance(const SceneNode& node, Use use) {
    if (node.pMesh == nullptr) return;
    CInterface& host = *node.parent->hostInterface;
    AppearanceObject* appearance = host.getAppearanceObject(node.pMesh);
    if (appearance == nullptr) return;
    use(*appearance);
    host.releaseAppearanceObject(appearance);
}

}  // namespace

bool SceneNode::destroy() {
    parent->hostInterface->deleteElement(pMesh, 0, 0);
    pMesh = nullptr;
    return true;
}

int SceneNode::update(double /*time*/) { return 0; }
void SceneNode::onPrepareBegin(double /*time*/) {}
void SceneNode::onPrepareEnd(double /*time*/) {}

void SceneNode::show() {
    if (pMesh != nullptr) pMesh->show();
}

void SceneNode::hide() {
    if (pMesh != nullptr) pMesh->hide();
}

bool SceneNode::isShown() { return pMesh != nullptr && pMesh->isShown(); }

void SceneNode::setWireframe(bool wireframe) {
    withAppearance(*this, [wireframe](AppearanceObject& appearance) { appearance.setWireframe(wireframe); });
}

void readWorldMatrix(const SceneNode& node, Matrix4& out, double time) { out = readWorldMatrix(node, time); }

Matrix4 readWorldMatrix(const SceneNode& node, double time) {
    Matrix4 matrix;
    withTransform(node, time, [&matrix](TransformObject& transform) { transform.readWorldMatrix(matrix); });
    return matrix;
}

Matrix4 readLocalMatrix(const SceneNode& node, double time) {
    Matrix4 matrix;
    withTransform(node, time, [&matrix](TransformObject& transform) { transform.readLocalMatrix(matrix); });
    return matrix;
}

int writeWorldMatrix(const SceneNode& node, const Matrix4& matrix, double time) {
    return withTransform(node, time, [&matrix](TransformObject& t) { t.setWorldMatrix(matrix); }) ? 0 : 1;
}

int writeLocalMatrix(const SceneNode& node, const Matrix4& matrix, double time) {
    return withTransform(node, time, [&matrix](TransformObject& t) { t.setLocalMatrix(matrix); }) ? 0 : 1;
}

void prepareNode(SceneNode& node, double time) {
    node.onPrepareBegin(time);
    readWorldMatrix(node, node.mInit, time);
    node.vInitScale = util::Scale(node.mInit);
    readWorldMatrix(node, node.mPrev, time - node.parent->hostInterface->getFrameStep());
    readWorldMatrix(node, node.mCurr, time);
    SetScale(node.mPrev, node.vInitScale);
    SetScale(node.mCurr, node.vInitScale);
    node.onPrepareEnd(time);
}

std::string cornerSuffix(std::uint32_t corner) {
    static constexpr const char* kSuffixes[] = {"_FL", "_FR", "_BL", "_BR"};
    return corner < std::size(kSuffixes) ? kSuffixes[corner] : "";
}

void setAppearance(const SceneNode& node, const Colour& colour, bool wireframe) {
    withAppearance(node, [&](AppearanceObject& appearance) {
        appearance.useOwnColour(true);
        appearance.setColour(colour.red, colour.green, colour.blue);
        appearance.setWireframe(wireframe);
    });
}

}  // namespace ond::ovs::addon::rig
