// A module that passes everything on to the vehicle's own module and back, but for one thing that its file name tells.
#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include "Misbehaviour.h"
#include "PassedOnServices.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/TransformObject.h"
#include "ond/util/DataChunk.h"

namespace ond::test {

namespace {

class CarServices final : public PassedOnServices {
  public:
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override {
        if (!am("car-that-drops-a-record") || ++m_pushed % 59 != 7)
            PassedOnServices::pushUndo(record, reserved);
        else if (record != nullptr)
            record->release();
    }
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type, Factory* factory) override {
        if (am("car-without-a-channel") && name == "External Force") return nullptr;
        if (am("car-with-a-one-way-wheel") && name.starts_with("Steering Wheel")) type = 15;
        m_channels.push_back(PassedOnServices::createInputProperty(std::move(name), type, factory));
        return m_channels.back();
    }
    void endInputProperties() override {
        if (am("car-with-a-straight-channel") && m_channels[3] != nullptr) m_channels[3]->exponent = 1.0;
        PassedOnServices::endInputProperties();
    }
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override {
        if (am("car-without-a-row") && label == "Hide Helpers") return;
        PassedOnServices::addBoolParameter(std::move(label), std::move(description), field, callback);
    }
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const Converter<double>* converter,
                            Callback* callback) override {
        if (am("car-with-a-value-out-of-range") && label == "Gravity") max = *field - 1.0;
        PassedOnServices::addDoubleParameter(std::move(label), std::move(description), field, min, max, step, hint,
                                             flag, converter, callback);
    }
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override {
        const bool isBody = name == "CarBodyMesh";
        if (am("car-with-a-loose-wheel") && name == "WheelMesh_FL") parent = nullptr;
        ovs::MeshHandle* made = PassedOnServices::createMeshElement(std::move(name), parent, mesh, reserved);
        if (isBody) m_body = made;
        return made;
    }
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool reserved) override {
        m_camera = PassedOnServices::createCameraElement(std::move(name), parent, reserved);
        return m_camera;
    }
    void storeChunk(const void* data, std::uint64_t length) override {
        util::DataChunk whole;
        whole.deserialize(data, length);
        util::DataChunk changed(am("car-with-a-renamed-block") ? "CarCamDataChunk9200" : whole.getName());
        for (int i = 0; i < whole.getNumChildren(); ++i)
            if (!am("car-without-a-key") || whole.getChild(i).getName() != "fDampingBack")
                changed.addChild(whole.getChild(i));
        int size = 0;
        const void* block = changed.serialize(&size);
        PassedOnServices::storeChunk(block, static_cast<std::uint64_t>(size));
    }

    void showCamera() { m_camera->show(); }
    void moveBody(double time) {
        ovs::TransformObject* transform = getTransformObject(m_body, time);
        if (transform == nullptr) return;
        util::Matrix4 world;
        transform->readWorldMatrix(world);
        world.setRow(3, world.row(3) + util::Vector3<double>(0.0, 1e-9, 0.0));
        transform->setWorldMatrix(world);
        releaseTransformObject(transform);
    }

  private:
    std::vector<unidevice::Property*> m_channels;
    ovs::MeshHandle* m_body = nullptr;
    ovs::MeshHandle* m_camera = nullptr;
    int m_pushed = 0;
};

/// Passes on what the host calls. The callbacks of the dialog are the car's own.
class Car final : public ovs::CCamera {
  public:
    Car(const ovs::CameraCreationRecord& record, ovs::CCamera* inner) : CCamera(record), m_inner(inner) {}

    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        return am("car-that-stores-no-outputs") ? 0 : inner().callExtension(id, argument);
    }
    std::vector<std::uint32_t> getExtensionIds() const override {
        return am("car-with-another-extension") ? std::vector<std::uint32_t>{40, 41} : m_inner->getExtensionIds();
    }
    void startRun(double time) override { inner().startRun(time); }
    void stopRun(double time) override { inner().stopRun(time); }
    void updateFrame(double time) override { inner().updateFrame(time); }
    void showFrame(double time) override {
        if (!am("car-that-shows-no-gauges")) inner().showFrame(time);
        if (am("car-that-moves-when-shown")) m_services.moveBody(time);
    }
    std::uint64_t declareParameters() override { return inner().declareParameters(); }
    std::uint64_t createRig() override {
        const std::uint64_t answer = inner().createRig();
        if (am("car-with-a-camera-in-view")) m_services.showCamera();
        return answer;
    }
    std::uint64_t loadState() override { return inner().loadState(); }
    std::uint64_t saveState() override { return inner().saveState(); }
    void release() override {
        inner().release();
        delete this;
    }

  private:
    ovs::CCamera& inner() {
        if (hostInterface != nullptr) {
            m_services.follow(hostInterface);
            m_inner->hostInterface = &m_services;
        }
        return *m_inner;
    }

    ovs::CCamera* m_inner;
    CarServices m_services;
};

class CarPlugin final : public ovs::CCameraPlugin {
  public:
    explicit CarPlugin(ovs::CCameraPlugin* inner) : m_inner(inner) {}

    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        const std::uint64_t answer = m_inner->callExtension(id, argument);
        if (am("car-of-two-types") && id == 16 && argument != nullptr)
            static_cast<std::vector<std::string>*>(argument)->emplace_back("QuadrigTruck");
        return answer;
    }
    std::vector<std::uint32_t> getExtensionIds() const override { return m_inner->getExtensionIds(); }
    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& record) override {
        return new Car(record, m_inner->createCamera(record));
    }
    std::string getPluginName() const override { return m_inner->getPluginName(); }
    std::string getTypeName() const override {
        return am("car-without-type-name") ? getPluginName() : m_inner->getTypeName();
    }
    std::string getDisplayName() const override { return m_inner->getDisplayName(); }
    std::string getCategory() const override { return m_inner->getCategory(); }
    std::string getDescription() const override { return m_inner->getDescription(); }
    std::string getAuthor() const override { return m_inner->getAuthor(); }
    std::string getAccessToken() const override { return m_inner->getAccessToken(); }
    std::uint64_t getInterfaceStamp() const override { return m_inner->getInterfaceStamp(); }
    void release() override {
        m_inner->release();
        delete this;
    }

  private:
    ovs::CCameraPlugin* m_inner;
};

}  // namespace

}  // namespace ond::test

extern "C" {

__attribute__((visibility("default"))) std::uint32_t getVersion() { return 250; }

__attribute__((visibility("default"))) ond::ovs::CCameraPlugin* getPlugin(std::uint32_t index) {
    static void* const library = dlopen(VEHICLE_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    using Get = ond::ovs::CCameraPlugin*(std::uint32_t);
    ond::ovs::CCameraPlugin* inner = reinterpret_cast<Get*>(dlsym(library, "getPlugin"))(index);
    return inner == nullptr ? nullptr : new ond::test::CarPlugin(inner);
}

}  // extern "C"
