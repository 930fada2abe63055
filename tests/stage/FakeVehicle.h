// A vehicle of the tests' own, which plays the module's side: so that the host can be asked anything in any state.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/util/CMesh.h"
#include "stage/Stage.h"
#include "stage/StageError.h"

namespace ond::test {

using namespace stage;

using Lines = std::vector<std::string>;

class FakePlugin;

/// Writes down what the host calls, and does in each call what the test put into the plug-in's scripts.
class FakeVehicle final : public ovs::CCamera, public ovs::CInterface::Callback {
  public:
    FakeVehicle(FakePlugin& owner, const ovs::CameraCreationRecord& record);
    FakeVehicle(const FakeVehicle&) = delete;
    FakeVehicle& operator=(const FakeVehicle&) = delete;
    ~FakeVehicle() override;

    std::uint64_t callExtension(std::uint32_t id, void* argument) override;
    void startRun(double time) override;
    void stopRun(double time) override;
    void updateFrame(double time) override;
    void showFrame(double time) override;
    std::uint64_t declareParameters() override;
    std::uint64_t createRig() override;
    std::uint64_t loadState() override;
    std::uint64_t saveState() override;
    void release() override;
    void onParameterChanged(std::string label) override;

    /// What a vehicle declares when a test has nothing of its own to declare.
    void declareSomething();
    /// Makes an element and leaves its handle in `handles`.
    ovs::MeshHandle* make(const std::string& identifier, ovs::MeshHandle* parent = nullptr);
    /// Sets the world matrix of a handle at a time, as a vehicle does in a frame.
    void setWorld(ovs::MeshHandle* handle, double time, const util::Matrix4& world);
    [[nodiscard]] util::Matrix4 readWorld(ovs::MeshHandle* handle, double time);
    [[nodiscard]] util::Matrix4 readLocal(ovs::MeshHandle* handle, double time);

    FakePlugin& plugin;
    std::vector<ovs::MeshHandle*> handles;
    unidevice::Property* gas = nullptr;
    unidevice::Property::Factory factory;

    // Fields of the dialog that declareSomething() declares.
    std::int32_t whole = 3;
    double number = 0.5;
    double silent = 0.25;
    struct {
        unsigned char before = 0xAA;
        bool flag = false;
        unsigned char behind = 0x55;
    } packed;
};

/// One call of the host.
struct FakeCall {
    std::string vehicle;
    std::string operation;
    double time = -1.0;  ///< seconds, of calls that have one
};

/// Makes such vehicles. Belongs to the test, whatever the host does with it.
class FakePlugin final : public ovs::CCameraPlugin {
  public:
    [[nodiscard]] ovs::CCamera* createCamera(const ovs::CameraCreationRecord& record) override {
        if (makesNothing) return nullptr;
        last = new FakeVehicle(*this, record);
        return last;
    }
    [[nodiscard]] std::string getPluginName() const override { return "fake"; }
    [[nodiscard]] std::string getDisplayName() const override { return "Fake"; }
    [[nodiscard]] std::string getCategory() const override { return "Tests"; }
    [[nodiscard]] std::string getAccessToken() const override { return "0123456789abcdef"; }
    void release() override { calls.push_back({"plugin", "release"}); }

    /// Operations in order, "name operation".
    [[nodiscard]] Lines lines() const {
        Lines all;
        for (const FakeCall& call : calls) all.push_back(call.vehicle + " " + call.operation);
        return all;
    }
    /// The times of one operation's calls.
    [[nodiscard]] std::vector<double> times(const std::string& operation) const {
        std::vector<double> all;
        for (const FakeCall& call : calls)
            if (call.operation == operation) all.push_back(call.time);
        return all;
    }
    [[nodiscard]] int count(const std::string& operation) const { return static_cast<int>(times(operation).size()); }

    // What the vehicles do in the calls, behind writing them down; empty for nothing.
    std::function<void(FakeVehicle&)> onDeclare = [](FakeVehicle& vehicle) { vehicle.declareSomething(); };
    std::function<void(FakeVehicle&)> onRig;
    std::function<std::uint64_t(FakeVehicle&)> onLoad;
    std::function<void(FakeVehicle&)> onSave;
    std::function<void(FakeVehicle&)> onRelease;
    std::function<void(FakeVehicle&, double)> onStart;
    std::function<void(FakeVehicle&, double)> onFrame;
    std::function<void(FakeVehicle&, double)> onShow;
    std::function<void(FakeVehicle&, double)> onStop;
    std::function<void(FakeVehicle&, const std::string&)> onChange;
    std::function<void(FakeVehicle&, std::uint32_t, void*)> onExtension;

    bool makesNothing = false;
    FakeVehicle* last = nullptr;  ///< made last; dead after its release
    std::vector<FakeCall> calls;
    int alive = 0;
    int depth = 0;   ///< calls of the host that are under way
    int nested = 0;  ///< calls that came from within another one
};

/// Notes a call for as long as it lasts.
class FakeCallScope {
  public:
    FakeCallScope(FakeVehicle& vehicle, const std::string& operation, double time = -1.0) : m_plugin(vehicle.plugin) {
        m_plugin.calls.push_back({vehicle.name, operation, time});
        if (m_plugin.depth++ > 0) ++m_plugin.nested;
    }
    FakeCallScope(const FakeCallScope&) = delete;
    FakeCallScope& operator=(const FakeCallScope&) = delete;
    ~FakeCallScope() { --m_plugin.depth; }

  private:
    FakePlugin& m_plugin;
};

inline FakeVehicle::FakeVehicle(FakePlugin& owner, const ovs::CameraCreationRecord& record)
    : CCamera(record), plugin(owner) {
    ++plugin.alive;
}

inline FakeVehicle::~FakeVehicle() { --plugin.alive; }

inline std::uint64_t FakeVehicle::callExtension(std::uint32_t id, void* argument) {
    const FakeCallScope scope(*this, "callExtension");
    if (plugin.onExtension) plugin.onExtension(*this, id, argument);
    return 0;
}

inline void FakeVehicle::startRun(double time) {
    const FakeCallScope scope(*this, "startRun", time);
    if (plugin.onStart) plugin.onStart(*this, time);
}

inline void FakeVehicle::stopRun(double time) {
    const FakeCallScope scope(*this, "stopRun", time);
    if (plugin.onStop) plugin.onStop(*this, time);
}

inline void FakeVehicle::updateFrame(double time) {
    const FakeCallScope scope(*this, "updateFrame", time);
    if (plugin.onFrame) plugin.onFrame(*this, time);
}

inline void FakeVehicle::showFrame(double time) {
    const FakeCallScope scope(*this, "showFrame", time);
    if (plugin.onShow) plugin.onShow(*this, time);
}

inline std::uint64_t FakeVehicle::declareParameters() {
    const FakeCallScope scope(*this, "declareParameters");
    if (plugin.onDeclare) plugin.onDeclare(*this);
    return 0;
}

inline std::uint64_t FakeVehicle::createRig() {
    const FakeCallScope scope(*this, "createRig");
    if (plugin.onRig) plugin.onRig(*this);
    return 0;
}

inline std::uint64_t FakeVehicle::loadState() {
    const FakeCallScope scope(*this, "loadState");
    return plugin.onLoad ? plugin.onLoad(*this) : 0;
}

inline std::uint64_t FakeVehicle::saveState() {
    const FakeCallScope scope(*this, "saveState");
    if (plugin.onSave) plugin.onSave(*this);
    return 0;
}

inline void FakeVehicle::release() {
    {
        const FakeCallScope scope(*this, "release");
        if (plugin.onRelease) plugin.onRelease(*this);
    }
    delete this;
}

// By value, as all strings of the contract. NOLINTNEXTLINE(performance-unnecessary-value-param)
inline void FakeVehicle::onParameterChanged(std::string label) {
    const FakeCallScope scope(*this, "onParameterChanged " + label);
    if (plugin.onChange) plugin.onChange(*this, label);
}

inline void FakeVehicle::declareSomething() {
    ovs::CInterface& host = *hostInterface;
    gas = host.createInputProperty("Gas", 14, &factory);
    host.endInputProperties();
    host.beginGroup("Main", "what it does");
    host.addIntParameter("Whole", "a whole number", &whole, 0, 10, 1, 10, true, nullptr, this);
    host.addDoubleParameter("Number", "a number", &number, -1.0, 2.0, 0.1, 1, true, nullptr, this);
    host.addDoubleParameter("Silent", "", &silent, 0.0, 1.0, 0.1, 1, true, nullptr, nullptr);
    host.endGroup();
    host.beginGroup("More", "");
    host.addBoolParameter("Flag", "", &packed.flag, this);
    host.addButton("Press", "", this);
    host.endGroup();
    host.endParameters();
}

/// A triangle in the plane y = 0.
inline util::CMesh smallTriangle() {
    util::CMesh mesh;
    mesh.setNumVertices(3);
    mesh.setVertex(1, 0, 0, 4);
    mesh.setVertex(2, 4, 0, 0);
    mesh.setNumFaces(1);
    mesh.setFace(0, 0, 1, 2);
    return mesh;
}

inline ovs::MeshHandle* FakeVehicle::make(const std::string& identifier, ovs::MeshHandle* parent) {
    const util::CMesh mesh = smallTriangle();
    handles.push_back(hostInterface->createMeshElement(identifier, parent, &mesh, 0));
    return handles.back();
}

inline void FakeVehicle::setWorld(ovs::MeshHandle* handle, double time, const util::Matrix4& world) {
    ovs::TransformObject* transform = hostInterface->getTransformObject(handle, time);
    ASSERT_NE(transform, nullptr);
    transform->setWorldMatrix(world);
    hostInterface->releaseTransformObject(transform);
}

inline util::Matrix4 FakeVehicle::readWorld(ovs::MeshHandle* handle, double time) {
    util::Matrix4 world;
    ovs::TransformObject* transform = hostInterface->getTransformObject(handle, time);
    if (transform != nullptr) transform->readWorldMatrix(world);
    hostInterface->releaseTransformObject(transform);
    return world;
}

inline util::Matrix4 FakeVehicle::readLocal(ovs::MeshHandle* handle, double time) {
    util::Matrix4 local;
    ovs::TransformObject* transform = hostInterface->getTransformObject(handle, time);
    if (transform != nullptr) transform->readLocalMatrix(local);
    hostInterface->releaseTransformObject(transform);
    return local;
}

/// An undo record that writes its name behind a mark into a text: - undone, + redone, x released, ! a wrong argument.
struct WrittenRecord final : ovs::CUndo {
    WrittenRecord(std::string n, std::string& written) : CUndo(&written), name(std::move(n)) {}
    void undo(bool firstTime) override { note(firstTime ? "-" : "!"); }
    void redo() override { note("+"); }
    void release() override {
        note("x");
        delete this;
    }
    void note(const char* mark) { *static_cast<std::string*>(target) += mark + name; }
    std::string name;
};

/// One fake vehicle in a host without a stage around it.
class OneFake : public ::testing::Test {
  protected:
    FakePlugin plugin;
    Scene scene{{25, 1}};
    UndoStack undo;
    Vehicle car{&plugin, "car", scene, undo};

    FakeVehicle& fake() { return *plugin.last; }
    ovs::CInterface& host() { return car; }
    /// To the state [rigged].
    void rig() {
        car.declare();
        car.createRig();
    }
    /// An element, made while the rig is.
    ovs::MeshHandle* made(const std::string& identifier, ovs::MeshHandle* parent = nullptr) {
        return fake().make(identifier, parent);
    }
};

inline const Module& vehicleModule() {
    static const Module module(VEHICLE_MODULE_PATH);
    return module;
}

/// A stage whose vehicles are fakes.
class FakeStage : public ::testing::Test {
  protected:
    FakePlugin plugin;
    std::unique_ptr<Stage> stage = std::make_unique<Stage>(vehicleModule());

    void SetUp() override { useFakes(*stage); }
    void useFakes(Stage& other) {
        other.plugin->release();
        other.plugin = &plugin;
    }
    /// Declared and rigged.
    Vehicle& add(const std::string& name) { return stage->addVehicle(name); }
    static FakeVehicle& fakeOf(Vehicle& vehicle) { return *static_cast<FakeVehicle*>(vehicle.camera); }
};

}  // namespace ond::test
