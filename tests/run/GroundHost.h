// A host with ground elements and nothing else: what entering the ground and probing it ask for.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ond/ovs/CInterface.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"

namespace ond::test {

/// An element that moves straight and evenly along `velocity`.
class GroundElement : public ovs::MeshHandle {
  public:
    explicit GroundElement(std::string fullName) : name(std::move(fullName)) {}

    void show() override {}
    void hide() override {}
    bool isShown() override { return true; }
    MeshHandle* getParent() override { return parent; }
    std::int32_t getNumChildren() override { return static_cast<std::int32_t>(children.size()); }
    MeshHandle* getChild(std::int32_t index) override { return children.at(static_cast<std::size_t>(index)); }
    std::string getName() override { return name; }

    std::string name;
    GroundElement* parent = nullptr;
    std::vector<GroundElement*> children;
    std::optional<util::CMesh> mesh;  ///< none: the element has no surface
    util::Vector3<double> velocity;
};

class GroundHost : public ovs::CInterface {
  public:
    struct Surface : ovs::SurfaceObject {
        explicit Surface(const util::CMesh& m) : mesh(m) {}
        void getMesh(util::CMesh& out) override { out = mesh; }
        bool intersect(const util::Vector3<double>&, const util::Vector3<double>&, double*,
                       util::Vector3<double>*) override {
            return false;
        }
        util::CMesh mesh;
    };
    struct Transform : ovs::TransformObject {
        void readLocalMatrix(util::Matrix4& out) override { out = world; }
        void setLocalMatrix(const util::Matrix4& matrix) override { world = matrix; }
        void readWorldMatrix(util::Matrix4& out) override { out = world; }
        void setWorldMatrix(const util::Matrix4& matrix) override { world = matrix; }
        util::Matrix4 world;
    };

    double now = 2.0;
    double frameStep = 0.04;
    std::vector<std::string> askedSurfaces;  ///< names, in order
    std::vector<double> askedTimes;          ///< of surfaces
    int openSurfaces = 0;
    int openTransforms = 0;
    std::vector<std::string> messages;

    ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double time) override {
        auto& ground = dynamic_cast<GroundElement&>(*element);
        askedSurfaces.push_back(ground.name);
        askedTimes.push_back(time);
        if (!ground.mesh) return nullptr;
        ++openSurfaces;
        return new Surface(*ground.mesh);
    }
    void releaseSurfaceObject(ovs::SurfaceObject* surface) override {
        if (surface) --openSurfaces;
        delete surface;
    }
    ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override {
        auto* transform = new Transform;
        transform->world.setRow(3, time * dynamic_cast<GroundElement&>(*element).velocity);
        ++openTransforms;
        return transform;
    }
    void releaseTransformObject(ovs::TransformObject* transform) override {
        if (transform) --openTransforms;
        delete transform;
    }
    void messageBox(std::string text, std::string, std::int32_t) override { messages.push_back(std::move(text)); }
    double getCurrentTime() override { return now; }
    double getFrameStep() override { return frameStep; }

    void pushUndo(ovs::CUndo*, std::int32_t) override {}
    unidevice::Property* createInputProperty(std::string, std::uint32_t, unidevice::Property::Factory*) override {
        return nullptr;
    }
    void endInputProperties() override {}
    void endParameters() override {}
    void beginGroup(std::string, std::string) override {}
    void endGroup() override {}
    void addIntParameter(std::string, std::string, std::int32_t*, std::int32_t, std::int32_t, std::int32_t,
                         std::int32_t, bool, const ovs::CS::Converter<std::int32_t>*, Callback*) override {}
    void addDoubleParameter(std::string, std::string, double*, double, double, double, std::int32_t, bool,
                            const ovs::CS::Converter<double>*, Callback*) override {}
    void addBoolParameter(std::string, std::string, bool*, Callback*) override {}
    void addButton(std::string, std::string, Callback*) override {}
    void refreshDialog() override {}
    void storeChunk(const void*, std::uint64_t) override {}
    const void* getChunk(std::int32_t) override { return nullptr; }
    void deleteElement(ovs::MeshHandle*, std::int32_t, std::int32_t) override {}
    ovs::MeshHandle* findElement(std::string) override { return nullptr; }
    ovs::MeshHandle* createCameraElement(std::string, ovs::MeshHandle*, bool) override { return nullptr; }
    ovs::MeshHandle* createMeshElement(std::string, ovs::MeshHandle*, const util::CMesh*, std::int32_t) override {
        return nullptr;
    }
    ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle*) override { return nullptr; }
    ovs::CameraObject* getCameraObject(ovs::MeshHandle*, double) override { return nullptr; }
    void releaseElementData(ovs::MeshHandle*) override {}
    void releaseCameraObject(ovs::CameraObject*) override {}
    void releaseAppearanceObject(ovs::AppearanceObject*) override {}
    void redrawViews() override {}
};

}  // namespace ond::test
