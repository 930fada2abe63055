// The smallest host: loads a module and keeps one scene of elements without shape or time. It is built against the
// headers of the contract alone and links nothing of this project.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/TransformObject.h"

namespace smallest {

using namespace ond::ovs;

/// A loaded module; unloaded with this object.
class Module {
  public:
    explicit Module(const char* path) : library(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() {
        if (library != nullptr) dlclose(library);
    }

    bool isLoaded() const { return library != nullptr; }
    std::uint32_t version() const { return function<std::uint32_t()>("getVersion")(); }
    CCameraPlugin* plugin(std::uint32_t index) const {
        return function<CCameraPlugin*(std::uint32_t)>("getPlugin")(index);
    }

  private:
    template <typename Signature>
    Signature* function(const char* name) const {
        return reinterpret_cast<Signature*>(dlsym(library, name));
    }
    void* library;
};

/// An element that is its own handle and, having no time, its own transform.
class Element : public MeshHandle, public TransformObject {
  public:
    explicit Element(std::string fullName) : name(std::move(fullName)) {}

    void show() override { shown = true; }
    void hide() override { shown = false; }
    bool isShown() override { return shown; }
    MeshHandle* getParent() override { return nullptr; }
    std::int32_t getNumChildren() override { return 0; }
    MeshHandle* getChild(std::int32_t) override { return nullptr; }
    std::string getName() override { return name; }

    void readLocalMatrix(ond::util::Matrix4& out) override { out = world; }
    void setLocalMatrix(const ond::util::Matrix4& matrix) override { world = matrix; }
    void readWorldMatrix(ond::util::Matrix4& out) override { out = world; }
    void setWorldMatrix(const ond::util::Matrix4& matrix) override { world = matrix; }

    std::string name;
    ond::util::Matrix4 world;
    bool shown = true;
};

/// A number of the dialog.
struct Item {
    double* field;
    CInterface::Callback* callback;
};

class Host : public CInterface {
  public:
    explicit Host(CCameraPlugin* plugin) {
        appLink.descriptor = plugin;
        link = &appLink;
    }
    ~Host() override {
        for (CUndo* record : undoStack) record->release();
    }

    /// A new object of the plug-in, ready to be declared; null if the plug-in makes none.
    CCamera* create(const char* name) {
        objectName = name;
        CCamera* object = appLink.descriptor->createCamera({{0, 0}, 77, name});
        if (object != nullptr) object->hostInterface = this;
        return object;
    }

    void pushUndo(CUndo* record, std::int32_t) override {
        if (record != nullptr) undoStack.push_back(record);
    }
    ond::unidevice::Property* createInputProperty(std::string, std::uint32_t,
                                                  ond::unidevice::Property::Factory*) override {
        return nullptr;
    }
    void endInputProperties() override {}
    void endParameters() override { dialogIsWhole = true; }
    void beginGroup(std::string, std::string) override {}
    void endGroup() override {}
    void addIntParameter(std::string, std::string, std::int32_t*, std::int32_t, std::int32_t, std::int32_t,
                         std::int32_t, bool, const CS::Converter<std::int32_t>*, Callback*) override {}
    void addDoubleParameter(std::string label, std::string, double* field, double, double, double, std::int32_t, bool,
                            const CS::Converter<double>*, Callback* callback) override {
        dialog[label] = {field, callback};
    }
    void addBoolParameter(std::string, std::string, bool*, Callback*) override {}
    void addButton(std::string, std::string, Callback*) override {}
    void refreshDialog() override {}
    void storeChunk(const void* data, std::uint64_t length) override {
        const auto* bytes = static_cast<const unsigned char*>(data);
        saved.assign(bytes, bytes + length);
    }
    const void* getChunk(std::int32_t) override { return saved.empty() ? nullptr : saved.data(); }
    void deleteElement(MeshHandle*, std::int32_t, std::int32_t) override {}
    MeshHandle* findElement(std::string identifier) override {
        const auto found = elements.find(identifier);
        return found == elements.end() ? nullptr : &found->second;
    }
    MeshHandle* createCameraElement(std::string name, MeshHandle*, bool) override { return add(name); }
    MeshHandle* createMeshElement(std::string name, MeshHandle*, const ond::util::CMesh*, std::int32_t) override {
        return add(name);
    }
    TransformObject* getTransformObject(MeshHandle* element, double) override {
        ++transformsOut;
        return static_cast<Element*>(element);
    }
    AppearanceObject* getAppearanceObject(MeshHandle*) override { return nullptr; }
    SurfaceObject* getSurfaceObject(MeshHandle*, double) override { return nullptr; }
    CameraObject* getCameraObject(MeshHandle*, double) override { return nullptr; }
    void releaseElementData(MeshHandle*) override {}
    void releaseCameraObject(CameraObject*) override {}
    void releaseSurfaceObject(SurfaceObject*) override {}
    void releaseAppearanceObject(AppearanceObject*) override {}
    void releaseTransformObject(TransformObject*) override { --transformsOut; }
    double getCurrentTime() override { return now; }
    double getFrameStep() override { return 0.04; }
    void redrawViews() override {}
    void messageBox(std::string text, std::string caption, std::int32_t) override {
        messages.push_back(caption + ": " + text);
    }

    AppLink appLink;
    std::string objectName;
    std::map<std::string, Element> elements;  // by bare name
    std::map<std::string, Item> dialog;       // by label
    std::deque<CUndo*> undoStack;
    std::vector<unsigned char> saved;
    std::vector<std::string> messages;
    double now = 0.0;
    int transformsOut = 0;
    bool dialogIsWhole = false;

  private:
    MeshHandle* add(const std::string& bareName) {
        return &elements.try_emplace(bareName, objectName + "_" + bareName).first->second;
    }
};

}  // namespace smallest
