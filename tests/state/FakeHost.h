// A host of the unit tests: elements without time, a dialog that is only written down, and one saved block. It logs
// what the vehicle asks for and counts what it takes and gives back.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CCarCamObject.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/unidevice/OutputProperty.h"

namespace ond::test {

using Log = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

/// An element that is its own handle, transform and appearance.
class FakeElement : public ovs::MeshHandle, public ovs::TransformObject, public ovs::AppearanceObject {
  public:
    FakeElement(std::string elementName, Log& hostLog) : name(std::move(elementName)), log(hostLog) {}

    void* callExtension(std::uint32_t id, void* argument) override {
        log.push_back("extension " + std::to_string(id) + " " + name + (argument == nullptr ? "" : " with argument"));
        return nullptr;
    }
    void show() override {
        log.push_back("show " + name);
        shown = true;
    }
    void hide() override {
        log.push_back("hide " + name);
        shown = false;
    }
    bool isShown() override { return shown; }
    ovs::MeshHandle* getParent() override { return nullptr; }
    std::int32_t getNumChildren() override { return 0; }
    ovs::MeshHandle* getChild(std::int32_t /*index*/) override { return nullptr; }
    std::string getName() override { return "Car_" + name; }

    void readLocalMatrix(util::Matrix4& out) override { out = world; }
    void setLocalMatrix(const util::Matrix4& matrix) override { world = matrix; }
    void readWorldMatrix(util::Matrix4& out) override { out = world; }
    void setWorldMatrix(const util::Matrix4& matrix) override { world = matrix; }

    void useOwnColour(bool on) override { log.push_back("own colour " + name + (on ? " on" : " off")); }
    void setWireframe(bool on) override { wireframe = on; }
    void setColour(float red, float green, float blue) override { colour = {red, green, blue}; }

    std::string name;  // bare
    Log& log;
    util::Matrix4 world;
    util::CMesh mesh;                   // of an element that the vehicle made
    ovs::MeshHandle* parent = nullptr;  // likewise
    std::vector<float> colour;
    bool shown = true;
    bool wireframe = false;
};

/// A descriptor for its stamp alone.
class FakeDescriptor : public ovs::CCameraPlugin {
  public:
    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& /*record*/) override { return nullptr; }
    std::string getPluginName() const override { return "fake"; }
    std::string getDisplayName() const override { return "fake"; }
    std::string getCategory() const override { return "fake"; }
    std::string getAccessToken() const override { return "0123456789abcdef"; }
    std::uint64_t getInterfaceStamp() const override { return stamp; }

    std::uint64_t stamp = 9201;
};

class FakeCamera : public ovs::CameraObject {
  public:
    void setFieldOfView(double degrees) override { fieldOfView = degrees; }
    double fieldOfView = 0.0;
};

/// One declared item of the dialog.
struct Item {
    std::string kind;  // int, double, bool, button
    std::string label;
    std::string description;
    void* field = nullptr;
    double min = 0.0;
    double max = 0.0;
    double step = 0.0;
    std::int32_t hint = 0;
    bool flag = false;
    bool hasConverter = false;
    ovs::CInterface::Callback* callback = nullptr;
};

class FakeHost : public ovs::CInterface {
  public:
    FakeHost() {
        appLink.descriptor = &plugin;
        link = &appLink;
    }

    void* callExtension(std::uint32_t id, void* argument) override {
        if (id != 41 || !hasOutputs) return nullptr;
        const auto& record = *static_cast<unidevice::OutputChannelRecord*>(argument);
        log.push_back("output\t" + record.name + "\t" + std::to_string(record.type));
        if (refusesOutputs) return nullptr;
        outputs.push_back(std::make_unique<unidevice::OutputProperty>(record));
        outputs.back()->current = outputs.back()->previous = -5.0;  // so that a stored 0 shows
        return static_cast<unidevice::Property*>(outputs.back().get());
    }
    bool hasExtension(std::uint32_t id) override {
        log.push_back("has extension " + std::to_string(id));
        return id == 41 && hasOutputs;
    }
    void pushUndo(ovs::CUndo* /*record*/, std::int32_t /*reserved*/) override { log.emplace_back("undo"); }
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                             unidevice::Property::Factory* factory) override {
        log.push_back("input\t" + name + "\t" + std::to_string(type));
        factories.push_back(factory);
        if (refusesInputs) return nullptr;
        inputs.emplace_back(factory->create(name, static_cast<std::int32_t>(type)));
        return inputs.back().get();
    }
    void endInputProperties() override { log.emplace_back("inputs end"); }
    void endParameters() override { log.emplace_back("parameters end"); }
    void beginGroup(std::string title, std::string description) override {
        log.push_back("group\t" + title + "\t" + description);
    }
    void endGroup() override { log.emplace_back("group end"); }
    void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                         std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                         const ovs::CS::Converter<std::int32_t>* converter, Callback* callback) override {
        add({"int", label, description, field, static_cast<double>(min), static_cast<double>(max),
             static_cast<double>(step), hint, flag, converter != nullptr, callback});
    }
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const ovs::CS::Converter<double>* converter,
                            Callback* callback) override {
        add({"double", label, description, field, min, max, step, hint, flag, converter != nullptr, callback});
    }
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override {
        add({"bool", label, description, field, 0.0, 0.0, 0.0, 0, false, false, callback});
    }
    void addButton(std::string label, std::string description, Callback* callback) override {
        add({"button", label, description, nullptr, 0.0, 0.0, 0.0, 0, false, false, callback});
    }
    void refreshDialog() override { log.emplace_back("refresh"); }

    void storeChunk(const void* data, std::uint64_t length) override {
        ++stores;
        if (!keepsBlock) {
            storedLength = length;
            return;
        }
        const auto* bytes = static_cast<const unsigned char*>(data);
        block.assign(bytes, bytes + length);
        hasBlock = true;
    }
    const void* getChunk(std::int32_t reserved) override {
        log.push_back("chunk " + std::to_string(reserved));
        if (outsideBlock != nullptr) return outsideBlock;
        return hasBlock ? block.data() : nullptr;
    }

    void deleteElement(ovs::MeshHandle* element, std::int32_t, std::int32_t) override {
        log.push_back("delete " + (element == nullptr ? "null" : static_cast<FakeElement*>(element)->name));
    }
    ovs::MeshHandle* findElement(std::string identifier) override {
        log.push_back("find " + identifier);
        const auto found = elements.find(identifier);
        return found == elements.end() ? nullptr : found->second.get();
    }
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool /*reserved*/) override {
        log.push_back("camera " + name);
        return &put(name, parent);
    }
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t /*reserved*/) override {
        log.push_back("mesh " + name);
        FakeElement& element = put(name, parent);
        element.mesh = *mesh;
        return &element;
    }
    ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override {
        transformTimes.emplace_back(static_cast<FakeElement*>(element)->name, time);
        ++taken;
        return static_cast<FakeElement*>(element);
    }
    ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* element) override {
        ++taken;
        return static_cast<FakeElement*>(element);
    }
    ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* /*element*/, double /*time*/) override { return nullptr; }
    ovs::CameraObject* getCameraObject(ovs::MeshHandle* /*element*/, double /*time*/) override {
        ++taken;
        return &camera;
    }
    void releaseElementData(ovs::MeshHandle* /*element*/) override {}
    void releaseCameraObject(ovs::CameraObject* /*object*/) override { --taken; }
    void releaseSurfaceObject(ovs::SurfaceObject* /*object*/) override {}
    void releaseAppearanceObject(ovs::AppearanceObject* /*object*/) override { --taken; }
    void releaseTransformObject(ovs::TransformObject* /*object*/) override { --taken; }
    double getCurrentTime() override { return 0.0; }
    double getFrameStep() override { return frameStep; }
    void redrawViews() override { log.emplace_back("redraw"); }
    void messageBox(std::string text, std::string caption, std::int32_t) override {
        log.push_back("message " + caption + ": " + text);
    }

    FakeElement& put(const std::string& name, ovs::MeshHandle* parent = nullptr) {
        auto& element = elements[name];
        element = std::make_unique<FakeElement>(name, log);
        element->parent = parent;
        return *element;
    }
    [[nodiscard]] bool logged(const std::string& line) const {
        return std::find(log.begin(), log.end(), line) != log.end();
    }
    [[nodiscard]] long count(const std::string& line) const { return std::count(log.begin(), log.end(), line); }

    FakeDescriptor plugin;
    ovs::AppLink appLink;
    Log log;
    std::map<std::string, std::unique_ptr<FakeElement>> elements;
    std::vector<std::pair<std::string, double>> transformTimes;
    std::vector<Item> items;
    std::vector<std::unique_ptr<unidevice::Property>> inputs;
    std::vector<unidevice::Property::Factory*> factories;
    std::vector<std::unique_ptr<unidevice::OutputProperty>> outputs;
    FakeCamera camera;
    Bytes block;
    const void* outsideBlock = nullptr;  // handed out in place of `block`
    std::uint64_t storedLength = 0;
    bool hasBlock = false;
    bool keepsBlock = true;
    bool hasOutputs = true;
    bool refusesOutputs = false;
    bool refusesInputs = false;
    int stores = 0;
    int taken = 0;  // objects that were taken and not given back
    double frameStep = 0.04;

  private:
    void add(const Item& item) {
        log.push_back("item");
        items.push_back(item);
    }
};

/// A vehicle on a host of its own.
struct Car {
    FakeHost host;
    ovs::addon::CCarCamObject* const object;

    Car() : object(new ovs::addon::CCarCamObject({{1, 2}, 3, "Car"})) { object->hostInterface = &host; }
    ~Car() { object->release(); }
    Car(const Car&) = delete;
    Car& operator=(const Car&) = delete;
    ovs::addon::CCarCamObject* operator->() const { return object; }
    ovs::addon::CCarCamObject& operator*() const { return *object; }
};

/// Which generation of names the rig in a scene has.
enum class RigAge { current, middle, numbered };

/// Puts the elements of a rig into the scene. `corners` of the wheels.
inline void putRig(FakeHost& host, RigAge age = RigAge::current, int corners = 4) {
    for (const char* name :
         {"GravityDirectionMesh", "TopViewCam", "TurnBaseMesh", "CarBodyMesh", "SteeringWheelMesh", "DriverCam",
          "FollowCam", "ExternalForceMesh", "ChassisRelocatorMesh", "TargetMesh", "CarBodyBaseMesh"})
        host.put(name);
    static constexpr const char* kSuffixes[] = {"_FL", "_FR", "_BL", "_BR", ""};
    for (int i = 0; i < corners; ++i) {
        const std::string suffix = age == RigAge::numbered ? "0" + std::to_string(i) : kSuffixes[i];
        host.put("WheelMesh" + suffix);
        host.put((age == RigAge::current ? "WheelCenterMesh" : "WheelBottomMesh") + suffix);
        host.put(std::string("WheelRelocatorMesh") + kSuffixes[i]);
        host.put(std::string("WheelCenterSuspensionMesh") + kSuffixes[i]);
    }
    host.elements["SteeringWheelMesh"]->world.m = {1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 4, 0, 0.25, 0.5, 0.75, 1};
}

}  // namespace ond::test
