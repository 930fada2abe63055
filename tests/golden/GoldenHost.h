// The host of the golden runs: one vehicle in a GoldenScene, nothing recorded and nothing checked.
#pragma once

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "GoldenScene.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/unidevice/OutputProperty.h"

namespace golden {

/// An axis that stands where it is put.
class Axis final : public ond::unidevice::ControlSource {
  public:
    double position = 0.0;
    [[nodiscard]] double currentValue() override { return position; }
};

class Host;

class Handle final : public ond::ovs::MeshHandle {
  public:
    Handle(Host& host, Element& shownElement) : element(shownElement), host_(host) {}

    void* callExtension(std::uint32_t id, void* argument) override {
        if (id != 31 || argument == nullptr) return nullptr;
        const Element& other = static_cast<Handle*>(static_cast<MeshHandle*>(argument))->element;
        return Scene::isOrIsBelow(&element, &other) ? this : nullptr;
    }
    [[nodiscard]] bool hasExtension(std::uint32_t id) override { return id == 31; }
    void show() override { element.shown = true; }
    void hide() override { element.shown = false; }
    [[nodiscard]] bool isShown() override { return element.shown; }
    [[nodiscard]] MeshHandle* getParent() override;
    [[nodiscard]] std::int32_t getNumChildren() override { return static_cast<std::int32_t>(element.children.size()); }
    [[nodiscard]] MeshHandle* getChild(std::int32_t index) override;
    [[nodiscard]] std::string getName() override { return element.name; }

    Element& element;

  private:
    Host& host_;
};

class Transform final : public ond::ovs::TransformObject {
  public:
    Transform(Scene& scene, Element& element, double time) : scene_(scene), element_(element), time_(time) {}

    void readLocalMatrix(Matrix4& out) override { out = scene_.local(element_, time_); }
    void setLocalMatrix(const Matrix4& matrix) override { scene_.setLocal(element_, time_, matrix); }
    void readWorldMatrix(Matrix4& out) override { out = scene_.world(element_, time_); }
    void setWorldMatrix(const Matrix4& matrix) override { scene_.setWorld(element_, time_, matrix); }

  private:
    Scene& scene_;
    Element& element_;
    double time_;
};

/// Lives as long as the host, since a vehicle with a stored ground keeps its surfaces.
class Surface final : public ond::ovs::SurfaceObject {
  public:
    explicit Surface(const Element& element) : element_(element) {}

    void getMesh(CMesh& out) override { out = element_.mesh; }
    bool intersect(const Vector3<double>& origin, const Vector3<double>& direction, double* t,
                   Vector3<double>* normal) override {
        return nearestHit(element_.mesh, origin, direction, t, normal);
    }

  private:
    const Element& element_;
};

class Appearance final : public ond::ovs::AppearanceObject {
  public:
    void useOwnColour(bool /*on*/) override {}
    void setWireframe(bool /*on*/) override {}
    void setColour(float /*red*/, float /*green*/, float /*blue*/) override {}
};

class Camera final : public ond::ovs::CameraObject {
  public:
    void setFieldOfView(double /*degrees*/) override {}
};

class Host final : public ond::ovs::CInterface {
  public:
    explicit Host(Scene& scene) : scene_(scene) { link = &appLink_; }

    struct Message {
        std::string text;
        std::string caption;
    };
    std::array<Axis, 9> axes;
    std::vector<std::unique_ptr<ond::unidevice::Property>> properties;
    std::vector<std::unique_ptr<ond::unidevice::OutputProperty>> outputs;
    std::vector<Message> messages;
    int undoRecords = 0;

    [[nodiscard]] ond::ovs::MeshHandle* handleOf(Element* element) {
        if (element == nullptr) return nullptr;
        std::unique_ptr<Handle>& handle = handles_[element];
        if (handle == nullptr) handle = std::make_unique<Handle>(*this, *element);
        return handle.get();
    }

    void* callExtension(std::uint32_t /*id*/, void* argument) override {
        const auto& record = *static_cast<const ond::unidevice::OutputChannelRecord*>(argument);
        outputs.push_back(std::make_unique<ond::unidevice::OutputProperty>(record));
        return static_cast<ond::unidevice::Property*>(outputs.back().get());
    }
    [[nodiscard]] bool hasExtension(std::uint32_t id) override { return id == 41; }
    void pushUndo(ond::ovs::CUndo* record, std::int32_t /*reserved*/) override {
        ++undoRecords;
        record->release();
    }
    ond::unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                                  ond::unidevice::Property::Factory* factory) override {
        properties.emplace_back(factory->create(std::move(name), static_cast<std::int32_t>(type)));
        axes.at(properties.size() - 1).wire(*properties.back());
        return properties.back().get();
    }
    void endInputProperties() override {}
    void endParameters() override {}
    void beginGroup(std::string /*title*/, std::string /*description*/) override {}
    void endGroup() override {}
    void addIntParameter(std::string /*label*/, std::string /*description*/, std::int32_t* /*field*/,
                         std::int32_t /*min*/, std::int32_t /*max*/, std::int32_t /*step*/, std::int32_t /*hint*/,
                         bool /*flag*/, const ond::ovs::CS::Converter<std::int32_t>* /*converter*/,
                         Callback* /*callback*/) override {}
    void addDoubleParameter(std::string /*label*/, std::string /*description*/, double* /*field*/, double /*min*/,
                            double /*max*/, double /*step*/, std::int32_t /*hint*/, bool /*flag*/,
                            const ond::ovs::CS::Converter<double>* /*converter*/, Callback* /*callback*/) override {}
    void addBoolParameter(std::string /*label*/, std::string /*description*/, bool* /*field*/,
                          Callback* /*callback*/) override {}
    void addButton(std::string /*label*/, std::string /*description*/, Callback* /*callback*/) override {}
    void refreshDialog() override {}
    void storeChunk(const void* /*data*/, std::uint64_t /*length*/) override {}
    const void* getChunk(std::int32_t /*reserved*/) override { return nullptr; }
    void deleteElement(ond::ovs::MeshHandle* element, std::int32_t /*reserved1*/, std::int32_t /*reserved2*/) override {
        if (element != nullptr) Scene::remove(elementOf(element));
    }
    [[nodiscard]] ond::ovs::MeshHandle* findElement(std::string identifier) override {
        return handleOf(scene_.find(identifier));
    }
    ond::ovs::MeshHandle* createCameraElement(std::string name, ond::ovs::MeshHandle* parent,
                                              bool /*reserved*/) override {
        return handleOf(&scene_.add(name, parent == nullptr ? nullptr : &elementOf(parent)));
    }
    ond::ovs::MeshHandle* createMeshElement(std::string name, ond::ovs::MeshHandle* parent, const CMesh* mesh,
                                            std::int32_t /*reserved*/) override {
        Element& element = scene_.add(name, parent == nullptr ? nullptr : &elementOf(parent));
        element.hasSurface = true;
        element.mesh = *mesh;
        return handleOf(&element);
    }
    [[nodiscard]] ond::ovs::TransformObject* getTransformObject(ond::ovs::MeshHandle* element, double time) override {
        if (elementOf(element).deleted) return nullptr;
        return new Transform(scene_, elementOf(element), time);
    }
    [[nodiscard]] ond::ovs::AppearanceObject* getAppearanceObject(ond::ovs::MeshHandle* /*element*/) override {
        return &appearance_;
    }
    [[nodiscard]] ond::ovs::SurfaceObject* getSurfaceObject(ond::ovs::MeshHandle* element, double /*time*/) override {
        const Element& shown = elementOf(element);
        if (!shown.hasSurface || shown.deleted) return nullptr;
        std::unique_ptr<Surface>& surface = surfaces_[&shown];
        if (surface == nullptr) surface = std::make_unique<Surface>(shown);
        return surface.get();
    }
    [[nodiscard]] ond::ovs::CameraObject* getCameraObject(ond::ovs::MeshHandle* /*element*/, double /*time*/) override {
        return &camera_;
    }
    void releaseElementData(ond::ovs::MeshHandle* /*element*/) override {}
    void releaseCameraObject(ond::ovs::CameraObject* /*camera*/) override {}
    void releaseSurfaceObject(ond::ovs::SurfaceObject* /*surface*/) override {}
    void releaseAppearanceObject(ond::ovs::AppearanceObject* /*appearance*/) override {}
    void releaseTransformObject(ond::ovs::TransformObject* transform) override { delete transform; }
    [[nodiscard]] double getCurrentTime() override { return scene_.now; }
    [[nodiscard]] double getFrameStep() override { return 1.0 / scene_.fps; }
    void redrawViews() override {}
    void messageBox(std::string text, std::string caption, std::int32_t /*reserved*/) override {
        messages.push_back({std::move(text), std::move(caption)});
    }

  private:
    [[nodiscard]] static Element& elementOf(ond::ovs::MeshHandle* handle) {
        return static_cast<Handle*>(handle)->element;
    }

    Scene& scene_;
    ond::ovs::AppLink appLink_;
    Appearance appearance_;
    Camera camera_;
    std::map<const Element*, std::unique_ptr<Handle>> handles_;
    std::map<const Element*, std::unique_ptr<Surface>> surfaces_;
};

inline ond::ovs::MeshHandle* Handle::getParent() { return host_.handleOf(element.parent); }

inline ond::ovs::MeshHandle* Handle::getChild(std::int32_t index) {
    return host_.handleOf(element.children.at(static_cast<std::size_t>(index)));
}

}  // namespace golden
