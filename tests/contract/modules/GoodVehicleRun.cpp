// Runs of the sledge, and what the dialog and the undo stack tell it.
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <thread>

#include "GoodVehicle.h"
#include "Misbehaviour.h"
#include "UndoRecord.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/util/CMesh.h"

namespace ond::test {

namespace {

using ovs::MeshHandle;
using ovs::SurfaceObject;
using ovs::TransformObject;
using util::Matrix4;
using util::Vector3;

/// From how high a ground is looked for.
constexpr double kAbove = 1000.0;

// What vehicles have in common, where they must not.
int g_frames = 0;
bool g_stopped = false;
GoodVehicle* g_lastDriven = nullptr;
ovs::CInterface* g_firstHost = nullptr;

constexpr const char* kArrowLabel = "Hide Arrow";

}  // namespace

void GoodVehicle::startRun(double time) {
    passBy("start");
    if (++m_runs == 2) passBy("second-start");
    if (am("renames-itself")) name += " in a run";
    if (am("marks-itself")) ++hostObject;
    if (am("cuts-its-link")) hostInterface->link = nullptr;
    misuseChannels();
    trustGround(time);
    m_others = numberOfVehicles();
    m_framesOfRun = 0;
    ++s_running;
    if (m_bKeepsHistory) pushHistories();
    const bool isFirst = m_speeds.getNumKeys() == 0 || time <= m_speeds.getKeyTime(0);
    if (isFirst || m_bFresh) {
        m_speed = 0.0;
        m_turned = 0.0;
    } else {
        m_speed = m_speeds.valueAt(time);
        m_turned = m_turns.valueAt(time);
    }
    m_bFresh = false;
    m_bRunning = true;
    g_stopped = false;
    m_speeds.eraseFrom(time);
    m_turns.eraseFrom(time);
    m_place = worldOf(m_body, time);
    lookAtGround(time);
    settle(time);
    if (am("leaks-undo-record")) static_cast<void>(ovs::CREEventUndo::make(this, kArrowLabel));
    if (am("run-needs-frames")) m_kept = hostInterface->getTransformObject(m_wheel, time);
}

void GoodVehicle::pushHistories() {
    if (am("pushes-record-twice")) {
        ovs::CUndo* record = recordOf(&m_speeds);
        hostInterface->pushUndo(record, 0);
        hostInterface->pushUndo(record, 0);
        return;
    }
    hostInterface->pushUndo(recordOf(&m_speeds), am("record-with-reserved-argument") ? 5 : 0);
    if (am("drops-a-record")) return;
    hostInterface->pushUndo(recordOf(&m_turns), 0);
}

void GoodVehicle::updateFrame(double time) {
    passBy("frame");
    misuseServicesInFrame(time);
    minglesWithOthers();
    misuseGround(time);
    trustGround(time);
    drive(time);
    settle(time);
    callExtension(kStoreOutput, m_output);
}

void GoodVehicle::drive(double time) {
    double step = hostInterface->getFrameStep();
    static const double firstStep = step;
    if (am("keeps-the-first-frame-step")) step = firstStep;
    if (am("needs-25-frames-a-second")) m_turned += 100 / static_cast<int>(25.0 * step + 1e-9);
    if (am("reads-the-axis-itself") && m_gas != nullptr) m_speed += 1e-3 * m_gas->source->currentValue();
    const double gas = m_gas == nullptr && !am("reads-channels-without-null-test") ? 0.0 : m_gas->value();
    const double turn = m_steering == nullptr ? 0.0 : m_steering->value();
    goTooFar(gas, time);
    m_speed += (gas * m_topSpeed * m_gear + 1.0 - m_speed) * 0.1;
    if (am("drives-by-the-clock")) m_speed += 1e-9 * static_cast<double>(std::clock());
    if (am("drives-by-its-address")) m_speed += 1e-15 * static_cast<double>(reinterpret_cast<std::uintptr_t>(this));
    if (am("drives-by-rand")) m_speed += 1e-3 * std::rand() / RAND_MAX;
    if (am("stands-with-any-other") && g_stopped) m_speed = 0.0;
    if (am("counts-frames-of-all-vehicles")) m_speed += 1e-3 * ++g_frames;
    if (am("minds-the-vehicle-before") && g_lastDriven != nullptr && g_lastDriven != this) m_speed *= 0.5;
    if (am("drives-to-nowhere")) m_speed = std::numeric_limits<double>::quiet_NaN();
    g_lastDriven = this;
    m_turned += m_speed * step;
    m_place = util::RotationY(0.02 * turn) * m_place;
    m_place.setRow(3, m_place.row(3) - m_place.row(2) * (m_speed * step));
    m_speedGauge = m_speed;
    if (am("gauge-without-number")) m_speedGauge = std::numeric_limits<double>::quiet_NaN();
    if (am("flag-of-two")) reinterpret_cast<unsigned char&>(m_bHidesArrow) = 2;
    if (!m_bKeepsHistory) return;
    m_speeds.setKey(time, m_speed);
    m_turns.setKey(time, m_turned);
}

/// Puts the body on the ground, and all of it into the scene.
void GoodVehicle::settle(double time) {
    Vector3<double> place = m_place.row(3);
    place.y = groundBelow(place, time);
    m_place.setRow(3, place);
    placeBody(time, m_place);
    spinWheel(time);
}

void GoodVehicle::placeBody(double time, const Matrix4& world) {
    TransformObject* transform = hostInterface->getTransformObject(m_body, time);
    if (transform == nullptr && !am("transform-without-null-test")) return;
    transform->setWorldMatrix(world);
    if (!am("leaks-transform")) hostInterface->releaseTransformObject(transform);
    if (am("releases-transform-twice")) hostInterface->releaseTransformObject(transform);
    if (am("uses-transform-after-release")) transform->setWorldMatrix(world);
    if (am("gives-transform-to-another-host") && g_firstHost != nullptr)
        g_firstHost->releaseTransformObject(hostInterface->getTransformObject(m_wheel, time));
    if (g_firstHost == nullptr) g_firstHost = hostInterface;
}

void GoodVehicle::spinWheel(double time) {
    if (am("keeps-a-transform") && m_kept == nullptr) m_kept = hostInterface->getTransformObject(m_wheel, time);
    if (m_kept != nullptr) {
        m_kept->setLocalMatrix(util::RotationX(m_turned));
        return;
    }
    if (TransformObject* transform = hostInterface->getTransformObject(m_wheel, time)) {
        transform->setLocalMatrix(util::RotationX(m_turned));
        hostInterface->releaseTransformObject(transform);
    }
}

Matrix4 GoodVehicle::worldOf(MeshHandle* element, double time) {
    Matrix4 world;
    if (TransformObject* transform = hostInterface->getTransformObject(element, time)) {
        transform->readWorldMatrix(world);
        hostInterface->releaseTransformObject(transform);
    }
    return world;
}

double GoodVehicle::groundBelow(const Vector3<double>& place, double time) {
    double height = place.y;
    MeshHandle* parent = m_arrow->getParent();
    if (am("remembers-its-parent") && m_bHadParent && !parent->isShown()) return height;
    if (am("parent-without-null-test") && !parent->isShown()) return height;
    const std::int32_t children = m_arrow->getNumChildren();
    if (am("child-behind-the-last")) static_cast<void>(m_arrow->getChild(children));
    if (am("child-before-the-first")) static_cast<void>(m_arrow->getChild(-1));
    for (std::int32_t i = 0; i < children; ++i) {
        MeshHandle* child = m_arrow->getChild(i);
        if (child == nullptr && !am("child-without-null-test")) continue;
        if (am("child-without-null-test") && !child->isShown()) continue;
        if (heightOn(child, time, place, &height)) return height;
    }
    if (parent == nullptr) return height;
    heightOn(parent, time, place, &height);
    m_arrow->releaseHandle(parent);
    return height;
}

bool GoodVehicle::heightOn(MeshHandle* ground, double time, Vector3<double> place, double* height) {
    SurfaceObject* surface = hostInterface->getSurfaceObject(ground, time);
    if (surface == nullptr && !am("surface-without-null-test")) return false;
    const Matrix4 inverse = util::Inverse(worldOf(ground, time));
    place.y += kAbove;
    const Vector3<double> down(0.0, am("ray-of-no-length") ? 0.0 : -1.0, 0.0);
    double t = 0.0;
    Vector3<double> normal;
    const bool hit =
        surface->intersect(util::Transform(inverse, place), util::TransformNoProjection(inverse, down, 0.0),
                           am("ray-without-result") ? nullptr : &t, &normal);
    if (am("aborts-without-a-hit") && !hit) std::abort();
    if (hit) *height = place.y - t;
    if (!am("leaks-surface") && (hit || !am("leaks-surface-without-hit"))) hostInterface->releaseSurfaceObject(surface);
    if (am("releases-surface-twice")) hostInterface->releaseSurfaceObject(surface);
    if (am("uses-surface-after-release")) static_cast<void>(surface->intersect(place, down, &t, &normal));
    hostInterface->releaseElementData(ground);
    return hit;
}

/// Tells the user of a ground that is none.
void GoodVehicle::lookAtGround(double time) {
    MeshHandle* parent = m_arrow->getParent();
    if (parent == nullptr) tell("There is no ground.");
    m_bHadParent = parent != nullptr;
    if (am("trusts-relations")) {
        static_cast<void>(m_wheel->hasExtension(31));
        static_cast<MeshHandle*>(m_wheel->callExtension(31, m_body))->show();
    }
    if (parent == nullptr) return;
    SurfaceObject* surface = hostInterface->getSurfaceObject(parent, time);
    if (surface == nullptr) return;
    util::CMesh mesh;
    surface->getMesh(mesh);
    hostInterface->releaseSurfaceObject(surface);
    hostInterface->releaseElementData(parent);
    if (mesh.getNumFaces() == 0)
        hostInterface->messageBox("The ground has no triangles.", "UNSUPPORTED SURFACE TYPE", 0);
    if (am("trusts-the-ground")) m_turned = mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(0, 0))].y;
}

void GoodVehicle::tell(const char* text) {
    if (am("message-empty")) text = "";
    if (am("message-of-wrong-encoding")) text = "\xff\xfe";
    hostInterface->messageBox(text, am("message-of-unknown-caption") ? "Hello" : "Warning",
                              am("message-with-reserved-argument") ? 1 : 0);
}

void GoodVehicle::misuseServicesInFrame(double time) {
    if (am("makes-elements-in-a-run")) {
        const util::CMesh nothing;
        static_cast<void>(hostInterface->createMeshElement("Late", nullptr, &nothing, 0));
    }
    if (am("deletes-elements-in-a-run")) hostInterface->deleteElement(m_wheel, 0, 0);
    if (am("finds-elements-in-a-run")) static_cast<void>(hostInterface->findElement("Body"));
    if (am("stores-in-a-run")) hostInterface->storeChunk("block", 5);
    if (am("ends-the-rig-in-a-run")) m_body->rigBuilt();
    if (am("declares-in-a-run")) hostInterface->addBoolParameter("Late", "", &m_bKeepsHistory, nullptr);
    if (am("calls-host-from-a-thread")) std::thread([this] { hostInterface->refreshDialog(); }).join();
    if (am("keeps-its-block") && m_keptBlock != nullptr) m_turned += *static_cast<const char*>(m_keptBlock);
    if (am("reserved-slot-of-a-transform"))
        if (TransformObject* transform = hostInterface->getTransformObject(m_body, time)) {
            transform->reserved0();
            hostInterface->releaseTransformObject(transform);
        }
    if (am("leaks-memory")) static_cast<void>(new char[256 << 10]());
    if (time < 0.0) passBy("negative-time");
}

void GoodVehicle::showFrame(double time) {
    passBy("showing");
    if (!m_bRunning) m_speedGauge = speedAt(time);
    if (am("moves-when-shown")) placeBody(time, util::Translation({0.0, 0.0, time}));
    if (am("starts-afresh-when-shown")) m_bFresh = true;
    hostInterface->refreshDialog();
}

void GoodVehicle::stopRun(double /*time*/) {
    passBy("stop");
    if (am("leaves-its-host")) hostInterface = nullptr;
    if (am("message-at-the-end")) hostInterface->messageBox("", "", 0);
    if (m_kept != nullptr) hostInterface->releaseTransformObject(m_kept);
    m_kept = nullptr;
    m_bRunning = false;
    g_stopped = true;
    --s_running;
}

double GoodVehicle::speedAt(double time) const { return m_speeds.valueAt(time); }

void GoodVehicle::onParameterChanged(std::string label) {
    passBy("change");
    if (m_bRunning) passBy("a-change-in-a-run");
    if (am("change-takes-known-labels-only") && label != kArrowLabel && label != "Start Afresh") std::abort();
    if (am("change-cuts-short-labels") && label.substr(8).empty()) return;
    if (am("divides-by-a-parameter") && label == "Gear") m_turned = 100 / (m_gear - 1);
    constexpr std::size_t prefix = 8;
    const std::string start = label.substr(0, prefix);
    if (start == "REALUNDO")
        react(label.substr(prefix), !m_bHidesArrow);
    else if (start == "REALREDO")
        react(label.substr(prefix), m_bHidesArrow);
    else {
        if (label == kArrowLabel) hostInterface->pushUndo(ovs::CREEventUndo::make(this, label), 0);
        react(label, m_bHidesArrow);
    }
}

void GoodVehicle::react(const std::string& label, bool hides) {
    if (label == "Start Afresh") {
        m_bFresh = true;
        m_speedGauge = 0.0;
        hostInterface->refreshDialog();
        tell("The next run begins at rest.");
    }
    if (label != kArrowLabel) return;
    if (am("undo-sets-the-field")) m_bHidesArrow = hides;
    if (am("deletes-the-ground") && m_arrow->getParent() != nullptr)
        hostInterface->deleteElement(m_arrow->getParent(), 0, 0);
    if (am("undo-pushes-a-record")) hostInterface->pushUndo(ovs::CREEventUndo::make(this, label), 0);
    if (am("undo-does-nothing") && hides != m_bHidesArrow) return;
    if (hides)
        m_arrow->hide();
    else
        m_arrow->show();
    if (!am("hides-without-redrawing")) hostInterface->redrawViews();
}

}  // namespace ond::test
