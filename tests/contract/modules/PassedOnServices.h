// The services of a host, passed on as they are.
#pragma once

#include <string>
#include <utility>

#include "ond/ovs/CInterface.h"

namespace ond::test {

/// For modules that stand between another one and its host: derive from it and change a service.
class PassedOnServices : public ovs::CInterface {
  public:
    using Factory = unidevice::Property::Factory;
    template <typename T>
    using Converter = ovs::CS::Converter<T>;

    void follow(ovs::CInterface* host) {
        m_host = host;
        link = host->link;
    }

    void* callExtension(std::uint32_t id, void* argument) override { return m_host->callExtension(id, argument); }
    [[nodiscard]] bool hasExtension(std::uint32_t id) override { return m_host->hasExtension(id); }
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override { m_host->pushUndo(record, reserved); }
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type, Factory* factory) override {
        return m_host->createInputProperty(std::move(name), type, factory);
    }
    void endInputProperties() override { m_host->endInputProperties(); }
    void endParameters() override { m_host->endParameters(); }
    void beginGroup(std::string title, std::string description) override {
        m_host->beginGroup(std::move(title), std::move(description));
    }
    void endGroup() override { m_host->endGroup(); }
    void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                         std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                         const Converter<std::int32_t>* converter, Callback* callback) override {
        m_host->addIntParameter(std::move(label), std::move(description), field, min, max, step, hint, flag, converter,
                                callback);
    }
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const Converter<double>* converter,
                            Callback* callback) override {
        m_host->addDoubleParameter(std::move(label), std::move(description), field, min, max, step, hint, flag,
                                   converter, callback);
    }
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override {
        m_host->addBoolParameter(std::move(label), std::move(description), field, callback);
    }
    void addButton(std::string label, std::string description, Callback* callback) override {
        m_host->addButton(std::move(label), std::move(description), callback);
    }
    void refreshDialog() override { m_host->refreshDialog(); }
    void storeChunk(const void* data, std::uint64_t length) override { m_host->storeChunk(data, length); }
    const void* getChunk(std::int32_t reserved) override { return m_host->getChunk(reserved); }
    void deleteElement(ovs::MeshHandle* element, std::int32_t reserved1, std::int32_t reserved2) override {
        m_host->deleteElement(element, reserved1, reserved2);
    }
    [[nodiscard]] ovs::MeshHandle* findElement(std::string identifier) override {
        return m_host->findElement(std::move(identifier));
    }
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool reserved) override {
        return m_host->createCameraElement(std::move(name), parent, reserved);
    }
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override {
        return m_host->createMeshElement(std::move(name), parent, mesh, reserved);
    }
    [[nodiscard]] ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override {
        return m_host->getTransformObject(element, time);
    }
    [[nodiscard]] ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* element) override {
        return m_host->getAppearanceObject(element);
    }
    [[nodiscard]] ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double time) override {
        return m_host->getSurfaceObject(element, time);
    }
    [[nodiscard]] ovs::CameraObject* getCameraObject(ovs::MeshHandle* element, double time) override {
        return m_host->getCameraObject(element, time);
    }
    void releaseElementData(ovs::MeshHandle* element) override { m_host->releaseElementData(element); }
    void releaseCameraObject(ovs::CameraObject* camera) override { m_host->releaseCameraObject(camera); }
    void releaseSurfaceObject(ovs::SurfaceObject* surface) override { m_host->releaseSurfaceObject(surface); }
    void releaseAppearanceObject(ovs::AppearanceObject* look) override { m_host->releaseAppearanceObject(look); }
    void releaseTransformObject(ovs::TransformObject* transform) override { m_host->releaseTransformObject(transform); }
    [[nodiscard]] double getCurrentTime() override { return m_host->getCurrentTime(); }
    [[nodiscard]] double getFrameStep() override { return m_host->getFrameStep(); }
    void redrawViews() override { m_host->redrawViews(); }
    void messageBox(std::string text, std::string caption, std::int32_t reserved) override {
        m_host->messageBox(std::move(text), std::move(caption), reserved);
    }

  protected:
    ovs::CInterface* m_host = nullptr;
};

}  // namespace ond::test
