// The sledge up to its rig: what it declares, and the elements that it makes.
#include "GoodVehicle.h"

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

#include "Misbehaviour.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/unidevice/OutputProperty.h"
#include "ond/util/CMesh.h"

namespace ond::test {

namespace {

using ovs::CInterface;
using ovs::MeshHandle;
using ovs::TransformObject;
using util::CMesh;
using util::Matrix4;

/// A channel of this module's own kind.
class Channel final : public unidevice::Property {
  public:
    using Property::Property;
    void detach(unidevice::ControlSource* gone) override {
        if (!am("channel-keeps-its-axis")) Property::detach(gone);
    }
    [[nodiscard]] double value() const override {
        if (am("channel-without-dead-zone")) return source == nullptr ? offset : source->currentValue() * multiplier;
        if (am("channel-waits-for-its-axis")) return source->currentValue();
        return Property::value();
    }
    int m_asked = 0;
};

/// Has the table of the contract's factory, which cannot be derived from.
class ChannelFactory final {
  public:
    [[nodiscard]] virtual unidevice::Property* create(std::string name, std::int32_t type) {
        if (am("factory-makes-nothing")) return nullptr;
        static unidevice::Property* only = nullptr;
        if (am("factory-makes-one-channel-for-all") && only != nullptr) return only;
        if (am("factory-mixes-up-names")) name += " of the sledge";
        if (am("factory-mixes-up-types")) type = 29 - type;
        return only = new (std::nothrow) Channel(std::move(name), type);
    }
};

ChannelFactory g_channels;
unidevice::Property::Factory* factory() { return reinterpret_cast<unidevice::Property::Factory*>(&g_channels); }

// What vehicles have in common, where they must not.
int g_declared = 0;
double g_sharedTopSpeed = 10.0;
MeshHandle* g_firstBody = nullptr;

/// Whose callback all items are given, where each vehicle must give its own.
CInterface::Callback* g_firstListener = nullptr;

CMesh wedge(double width, double height, double length) {
    CMesh mesh;
    mesh.setNumVertices(4);
    mesh.setVertex(0, -width, 0.0, length);
    mesh.setVertex(1, width, 0.0, length);
    mesh.setVertex(2, 0.0, 0.0, -length);
    mesh.setVertex(3, 0.0, height, length);
    const int corners[4][3] = {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}};
    mesh.setNumFaces(4);
    for (int i = 0; i < 4; ++i) mesh.setFace(i, corners[i][0], corners[i][1], corners[i][2]);
    if (am("mesh-with-wild-index")) mesh.setFace(3, 0, 1, 4);
    if (am("mesh-with-negative-index")) mesh.setFace(3, 0, 1, -1);
    if (am("mesh-without-number")) mesh.setVertex(3, std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0);
    if (am("mesh-with-cut-triangle")) mesh.faces.pop_back();
    return mesh;
}

}  // namespace

GoodVehicle::GoodVehicle(const ovs::CameraCreationRecord& record) : CCamera(record) {
    enterList();
    if (am("drops-its-name")) name = "Sledge";
    if (am("cuts-its-name-at-a-zero")) name = record.name.c_str();
    if (am("drops-the-hosts-mark")) hostObject = 0;
    if (am("brings-an-interface")) hostInterface = reinterpret_cast<CInterface*>(this);
    if (am("writes-the-record")) const_cast<ovs::CameraCreationRecord&>(record).name = "overwritten";
    if (am("keeps-the-record")) m_record = &record;
    if (am("name-in-a-short-field")) std::strcpy(m_label, name.c_str());
    if (am("calls-host-in-constructor")) hostInterface->refreshDialog();
}

std::uint64_t GoodVehicle::callExtension(std::uint32_t id, void* argument) {
    if (am("vehicle-answers-unknown-extension") && id != kStoreOutput) return 1;
    if (am("vehicle-answers-a-far-extension") && id == 1000) return 1;
    if (id != kStoreOutput) passBy("unknown-extension");
    if (am("vehicle-writes-unknown-argument") && argument != nullptr && id != kStoreOutput)
        static_cast<unidevice::OutputProperty*>(static_cast<unidevice::Property*>(argument))->store(1.0);
    if (id != kStoreOutput) return 0;
    if (am("stores-without-null-test")) {
        static_cast<unidevice::OutputProperty*>(argument)->store(m_speed);
        return 0;
    }
    if (argument == nullptr) return 0;
    if (am("answers-its-output-with-1") && argument == m_output) return 1;
    if (argument != m_output && !am("stores-into-any-channel")) return 0;
    static_cast<unidevice::OutputProperty*>(static_cast<unidevice::Property*>(argument))->store(m_speed);
    return 0;
}

std::vector<std::uint32_t> GoodVehicle::getExtensionIds() const {
    if (am("vehicle-lists-extension-twice")) return {kStoreOutput, kStoreOutput};
    if (am("vehicle-gains-an-extension-in-runs") && m_bRunning) return {kStoreOutput, 41};
    if (am("vehicle-gains-an-extension-behind-runs") && m_runs > 0) return {kStoreOutput, 41};
    return {kStoreOutput};
}

bool GoodVehicle::hasExtension(std::uint32_t id) const {
    if (am("vehicle-denies-extension")) return false;
    if (am("vehicle-has-every-extension")) return true;
    return CCamera::hasExtension(id);
}

std::uint64_t GoodVehicle::declareParameters() {
    passBy("declaration");
    if (am("keeps-the-record")) name = m_record->name;
    if (am("ends-parameters-twice")) hostInterface->endParameters();
    if (am("pushes-undo-while-declaring")) hostInterface->pushUndo(ovs::CREEventUndo::make(this, "Gear"), 0);
    if (am("redraws-while-declaring")) hostInterface->redrawViews();
    if (am("stores-while-declaring")) hostInterface->storeChunk("block", 5);
    if (am("asks-for-block-while-declaring")) static_cast<void>(hostInterface->getChunk(0));
    if (am("calls-reserved-slot")) hostInterface->reserved5();
    if (am("releases-what-is-not-its-own"))
        hostInterface->releaseTransformObject(reinterpret_cast<TransformObject*>(this));
    ++g_declared;
    declareChannels();
    declareDriving();
    if (!am("declares-one-group-less-each-time") || g_declared == 1) declareLooks();
    if (!am("leaves-declaration-open")) hostInterface->endParameters();
    if (am("declares-behind-the-end")) declareLooks();
    if (am("channel-behind-the-end")) static_cast<void>(hostInterface->createInputProperty("Late", 14, factory()));
    return am("answers-declaration-with-1") ? 1 : 0;
}

unidevice::Property* GoodVehicle::OwnFactory::create(std::string channel, std::int32_t type) {
    return new (std::nothrow) Channel(std::move(channel), type);
}

void GoodVehicle::declareChannels() {
    const std::uint32_t type = am("channel-of-unknown-type") ? 9 : 15;
    const char* gas = am("channel-without-name") ? "" : "Gas";
    unidevice::Property::Factory* makes = am("channel-without-factory") ? nullptr : factory();
    if (am("factory-goes-with-its-vehicle")) makes = reinterpret_cast<unidevice::Property::Factory*>(&m_channels);
    m_gas = hostInterface->createInputProperty(gas, type, makes);
    const char* steering = am("channel-twice") ? "Gas" : "Steering";
    const bool isLater = g_declared > 1;
    m_steering = hostInterface->createInputProperty(
        steering, am("declares-other-channels-each-time") && isLater ? 15 : 14, factory());
    if (am("tunes-the-first-vehicle-only") && !isLater && m_steering != nullptr) m_steering->exponent = 1.5;
    if (am("tunes-without-null-test")) m_gas->deadZone = 0.0;
    if (am("expects-channels-of-its-own-kind") && m_gas != nullptr) ++dynamic_cast<Channel*>(m_gas)->m_asked;
    if (!am("leaves-channels-open")) hostInterface->endInputProperties();
    if (am("ends-channels-twice")) hostInterface->endInputProperties();
    if (am("channel-behind-channels")) static_cast<void>(hostInterface->createInputProperty("Late", 14, factory()));
    unidevice::OutputChannelRecord record{am("output-without-name") ? "" : "Speed",
                                          am("output-of-unknown-type") ? 3 : 8};
    if (am("output-without-record")) static_cast<void>(hostInterface->callExtension(41, nullptr));
    if (am("output-without-asking")) {
        m_output = static_cast<unidevice::Property*>(hostInterface->callExtension(41, &record));
        static_cast<unidevice::OutputProperty*>(m_output)->store(0.0);
    } else if (hostInterface->hasExtension(41)) {
        m_output = static_cast<unidevice::Property*>(hostInterface->callExtension(41, &record));
        if (am("expects-its-output")) static_cast<unidevice::OutputProperty*>(m_output)->store(0.0);
    }
    if (am("output-twice")) static_cast<void>(hostInterface->callExtension(41, &record));
    if (am("calls-unknown-host-extension")) static_cast<void>(hostInterface->callExtension(4711, &record));
}

void GoodVehicle::declareDriving() {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    if (am("item-outside-of-group")) hostInterface->addBoolParameter("Lost", "", &m_bKeepsHistory, nullptr);
    if (!am("no-groups")) hostInterface->beginGroup("Driving", "How the sledge is pushed");
    if (am("group-within-group")) hostInterface->beginGroup("Inner", "");
    const char* gear = am("label-empty") ? "" : am("label-twice") ? "Top Speed" : "Gear";
    std::int32_t gearOfTheMoment = 1;
    std::int32_t* gearField = am("field-null") ? nullptr : am("field-of-the-moment") ? &gearOfTheMoment : &m_gear;
    hostInterface->addIntParameter(gear, "Multiplies the speed", gearField, am("range-inverted") ? 9 : 1,
                                   am("range-inverted") ? 1 : 5,
                                   am("step-of-zero")    ? 0
                                   : am("step-negative") ? -1
                                                         : 1,
                                   am("hint-of-its-own") ? 7 : 10, !am("flag-false"), nullptr, this);
    double* speedField = am("shares-a-field-between-vehicles") ? &g_sharedTopSpeed : &m_topSpeed;
    if (am("two-items-of-one-field")) speedField = &m_speedGauge;
    hostInterface->addDoubleParameter("Top Speed", "Units per second", speedField,
                                      am("range-without-number")     ? nan
                                      : am("range-inverted-doubles") ? 200.0
                                                                     : 0.0,
                                      am("range-without-end") ? std::numeric_limits<double>::infinity() : 100.0, 0.1, 1,
                                      true, nullptr, this);
    hostInterface->addDoubleParameter("Current Velocity", "Shows the speed", &m_speedGauge, -1000.0, 1000.0, 0.1, 1,
                                      true, nullptr, nullptr);
    hostInterface->addBoolParameter("Keep History", "Runs can be resumed", &m_bKeepsHistory, nullptr);
    if (!am("no-groups")) hostInterface->endGroup();
    if (am("group-ended-twice")) hostInterface->endGroup();
}

void GoodVehicle::declareLooks() {
    if (!am("no-groups")) hostInterface->beginGroup(am("group-without-title") ? "" : "Looks", "");
    const char* tip = am("description-of-wrong-encoding") ? "\xff\xfe" : "";
    if (am("describes-differently-each-time") && g_declared > 1) tip = "once more";
    Callback* listener = this;
    if (g_firstListener == nullptr) g_firstListener = this;
    if (am("listens-with-the-first-vehicle")) listener = g_firstListener;
    if (am("listens-with-the-wrong-half")) listener = reinterpret_cast<Callback*>(static_cast<ovs::CCamera*>(this));
    hostInterface->addBoolParameter("Hide Arrow", tip, &m_bHidesArrow, listener);
    hostInterface->addButton("Start Afresh", "The next run begins at rest", this);
    if (!am("no-groups") && !am("group-left-open")) hostInterface->endGroup();
}

std::uint64_t GoodVehicle::createRig() {
    passBy("rig");
    misuseServicesInRig();
    makeElements();
    hostInterface->refreshDialog();
    return am("answers-rig-with-1") ? 1 : 0;
}

void GoodVehicle::makeElements() {
    const CMesh shape = wedge(1.0, 0.5, 2.0);
    const CMesh small = wedge(0.2, 0.2, 0.2);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    MeshHandle* above = am("borrows-a-parent") ? g_firstBody : nullptr;
    m_body = hostInterface->createMeshElement(am("element-without-name") ? "" : "Body", above, &shape,
                                              am("element-with-reserved-argument") ? 1 : 0);
    if (g_firstBody == nullptr) g_firstBody = m_body;
    dress(m_body, 0.8F, 0.1F, 0.1F);
    m_wheel = hostInterface->createMeshElement(am("element-twice") ? "Body" : "Wheel", m_body,
                                               am("mesh-null") ? nullptr : &small, 0);
    dress(m_wheel, 0.1F, 0.1F, 0.1F);
    m_arrow = hostInterface->createMeshElement("GravityDirectionMesh", nullptr, &small, 0);
    dress(m_arrow, 0.0F, 0.9F, 0.0F);
    static_cast<void>(m_arrow->callExtension(17, nullptr));
    if (am("relation-without-asking")) static_cast<void>(m_arrow->callExtension(31, m_body));
    if (am("relation-to-null") && m_arrow->hasExtension(31)) static_cast<void>(m_arrow->callExtension(31, nullptr));
    if (am("reserved-slot-of-a-handle")) m_body->reserved7();
    if (TransformObject* transform = hostInterface->getTransformObject(m_arrow, hostInterface->getCurrentTime())) {
        transform->setWorldMatrix(util::Translation({0.0,
                                                     am("place-without-number") ? nan
                                                     : am("rigs-grow")          ? 1.0 * g_declared
                                                                                : 3.0,
                                                     0.0}));
        hostInterface->releaseTransformObject(transform);
    }
    m_body->rigBuilt();
    if (am("two-rigs-built")) m_body->rigBuilt();
    m_camera = hostInterface->createCameraElement("Camera", m_body, am("camera-with-reserved-argument"));
    const double time = hostInterface->getCurrentTime();
    ovs::CameraObject* lens = hostInterface->getCameraObject(am("lens-of-a-mesh") ? m_body : m_camera, time);
    lens->setFieldOfView(am("lens-without-number") ? nan
                         : am("lens-wide-open")    ? 180.0
                         : am("lens-closed")       ? 0.0
                                                   : 60.0);
    if (!am("leaks-lens")) hostInterface->releaseCameraObject(lens);
    if (am("releases-lens-twice")) hostInterface->releaseCameraObject(lens);
    if (am("uses-lens-after-release")) lens->setFieldOfView(50.0);
    misuseElementsInRig();
    m_camera->hide();
}

void GoodVehicle::dress(MeshHandle* element, float red, float green, float blue) {
    ovs::AppearanceObject* look = hostInterface->getAppearanceObject(element);
    if (am("wireframe-before-colour")) look->setWireframe(false);
    if (!am("colour-before-asking") && !am("colour-without-asking")) look->useOwnColour(true);
    look->setColour(am("colour-above-1") ? 255.0F : red, green, blue);
    if (am("colour-before-asking")) look->useOwnColour(true);
    if (!am("wireframe-before-colour")) look->setWireframe(false);
    if (!am("leaks-appearance")) hostInterface->releaseAppearanceObject(look);
    if (am("releases-appearance-twice")) hostInterface->releaseAppearanceObject(look);
    if (am("uses-appearance-after-release")) look->setWireframe(true);
}

void GoodVehicle::misuseServicesInRig() {
    if (am("asks-for-block-in-rig")) static_cast<void>(hostInterface->getChunk(0));
    if (am("declares-in-rig")) declareLooks();
    if (am("channel-in-rig")) static_cast<void>(hostInterface->createInputProperty("Late", 14, factory()));
    if (am("transform-of-null")) static_cast<void>(hostInterface->getTransformObject(nullptr, 0.0));
    if (am("surface-of-null")) static_cast<void>(hostInterface->getSurfaceObject(nullptr, 0.0));
    if (am("appearance-of-null")) static_cast<void>(hostInterface->getAppearanceObject(nullptr));
}

void GoodVehicle::release() {
    passBy("release");
    if (m_bRunning) passBy("a-release-in-a-run");
    if (am("never-goes")) return;
    if (am("deletes-its-elements-on-release")) hostInterface->deleteElement(m_body, 0, 0);
    if (am("redraws-on-release")) hostInterface->redrawViews();
    if (am("deletes-its-channel")) delete m_gas;
    if (am("deletes-a-handle")) delete m_body;
    if (am("release-needs-a-rig")) m_body->hide();
    if (am("release-needs-channels")) m_gas->offset = 0.0;
    if (am("goes-twice")) GoodVehicle::~GoodVehicle();
    delete this;
}

}  // namespace ond::test
