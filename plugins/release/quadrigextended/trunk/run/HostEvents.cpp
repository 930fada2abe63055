#include "run/HostEvents.h"

#include <string_view>

#include "CCarCamObject.h"
#include "ond/ovs/CREEventUndo.h"
#include "parameters/Gauges.h"
#include "rig/Helpers.h"
#include "run/GroundCapture.h"

namespace ond::ovs::addon {

using rig::readWorldMatrix;
using util::Length;
using util::Matrix4;
using util::Rotate;
using util::Scaling;

namespace {

constexpr std::string_view kUndo = "REALUNDO";
constexpr std::string_view kRedo = "REALREDO";

/// A flag of the dialog that changes what is seen of the rig.
struct VisibilityLabel {
    std::string_view label;
    bool CCarCamObject::*field;
    void (*apply)(CCarCamObject& vehicle, bool value);
};

void showOrHide(rig::SceneNode& node, bool hide) {
    if (hide)
        node.hide();
    else
        node.show();
}

constexpr VisibilityLabel kVisibilityLabels[] = {
    {"Hide Helpers", &CCarCamObject::bHideHelpers,
     [](CCarCamObject& v, bool hide) { hide ? rig::hideHelpers(v) : rig::showHelpers(v); }},
    {"Hide Driver Camera", &CCarCamObject::bHideDriverCamera,
     [](CCarCamObject& v, bool hide) { showOrHide(v.cDriverCamNode, hide); }},
    {"Hide TopView Camera", &CCarCamObject::bHideTopViewCamera,
     [](CCarCamObject& v, bool hide) { showOrHide(v.cTopViewCamNode, hide); }},
    {"Hide Follow Camera", &CCarCamObject::bHideFollowCamera,
     [](CCarCamObject& v, bool hide) { showOrHide(v.cFollowCamNode, hide); }},
    {"Wireframe Mode", &CCarCamObject::bWireframeMode, rig::setHelpersWireframe},
};

const VisibilityLabel* findVisibilityLabel(std::string_view label) {
    for (const VisibilityLabel& row : kVisibilityLabels)
        if (row.label == label) return &row;
    return nullptr;
}

/// Undo shows the inverse of the field, which still has the new value; redo shows the field.
void replayVisibility(CCarCamObject& v, std::string_view label, bool undo) {
    const VisibilityLabel* row = findVisibilityLabel(label);
    if (row == nullptr) return;
    row->apply(v, v.*row->field != undo);
    v.hostInterface->redrawViews();
}

void changeVisibility(CCarCamObject& v, const VisibilityLabel& row) {
    v.hostInterface->pushUndo(CREEventUndo::make(&v, std::string(row.label)), 0);
    row.apply(v, v.*row.field);
    v.hostInterface->redrawViews();
}

/// Moves the turn base mesh to where the changed parameter puts it. The dialog reports the item once by itself when it
/// is built, which must not move anything.
void moveTurnBase(CCarCamObject& v) {
    if (v.bIgnoreNextTurnBaseChange) {
        v.bIgnoreNextTurnBaseChange = false;
        return;
    }
    cCarCam& car = v.cCarCam;
    CInterface& host = *v.hostInterface;
    Matrix4 m = readWorldMatrix(v.cRelativeTurnBaseNode, host.getCurrentTime());
    QTransform<double> q = QTransform<double>::FromMatrix(m);
    v.cCarBodyNode.mCurr = readWorldMatrix(v.cCarBodyNode, host.getCurrentTime());
    car.qTransCarAbs.rotation = q.rotation;
    car.qTransCarAbs.position = readWorldMatrix(v.cBaseMeshNode, host.getCurrentTime()).row(3);
    const double f = car.dTurnBase - car.wheelGeom[2].z / (car.fBodyLength / 2);
    q.rotation = car.qTransCarAbs.rotation;
    q.position = car.qTransCarAbs.position + Rotate(car.qTransCarAbs.rotation, {0.0, 0.0, -(car.fBodyLength / 2) * f});
    m = ToMatrix(q) * Scaling(Length(m.row(1)));
    writeWorldMatrix(v.cRelativeTurnBaseNode, m, host.getCurrentTime());
    host.redrawViews();
}

void reinitialize(CCarCamObject& v) {
    v.bFreshStart = true;
    v.dInitialVelocity = 0.0;
    v.dCurrentVelocity = 0.0;
    v.dCurrentVelocityPercent = 0.0;
}

bool isGaugeLabel(const CCarCamObject& v, std::string_view label) {
    return label == std::string(v.cCarCam.pcInput[pcInput_GAS_PEDAL].sName) + " Maximum" || label == "Multiplier" ||
           label == "Acceleration (scale relative)";
}

void updateGauges(CCarCamObject& v) {
    const Matrix4 body = readWorldMatrix(v.cCarBodyNode, v.hostInterface->getCurrentTime());
    updateMaximumGauges(v, util::Scale(body).z);
    v.hostInterface->refreshDialog();
}

void leaveStoredGround(CCarCamObject& v) {
    if (v.bUseStaticMesh) return;
    v.bStoreGroundMeshData = false;
    v.hostInterface->refreshDialog();
}

}  // namespace

void onParameterChanged(CCarCamObject& v, const std::string& name) {
    const std::string_view label = name;
    if (label.starts_with(kUndo)) return replayVisibility(v, label.substr(kUndo.size()), true);
    if (label.starts_with(kRedo)) return replayVisibility(v, label.substr(kRedo.size()), false);
    if (const VisibilityLabel* row = findVisibilityLabel(label)) changeVisibility(v, *row);
    if (label == "Turn Base (Back Wheel Relative)") moveTurnBase(v);
    if (label == "Re-Initialize Car Attributes") reinitialize(v);
    if (isGaugeLabel(v, label)) updateGauges(v);
    if (label == "Use Fast Ray Cast") leaveStoredGround(v);
    if (label == "Store Ground Mesh Data") captureGround(v);
}

}  // namespace ond::ovs::addon
