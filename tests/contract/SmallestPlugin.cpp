// The smallest plug-in that does something: a box that slides forward at a speed that the user sets. It is built
// against the headers of the contract alone and links nothing of this project.
#include <cstring>
#include <new>
#include <string>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/TransformObject.h"

namespace {

using namespace ond::ovs;

class SlidingBox : public CCamera, public CInterface::Callback {
  public:
    explicit SlidingBox(const CameraCreationRecord& record) : CCamera(record) {}

    std::uint64_t declareParameters() override {
        hostInterface->beginGroup("Box", "");
        hostInterface->addDoubleParameter("Speed", "units per second", &speed, 0.0, 100.0, 0.1, 1, true, nullptr, this);
        hostInterface->endGroup();
        hostInterface->endParameters();
        return 0;
    }
    std::uint64_t createRig() override {
        box = hostInterface->createMeshElement("Box", nullptr, nullptr, 0);
        return 0;
    }
    std::uint64_t loadState() override {
        const void* block = hostInterface->getChunk(0);
        if (block == nullptr) return 1;
        std::memcpy(&speed, block, sizeof speed);
        box = hostInterface->findElement("Box");
        return box == nullptr ? 1 : 0;
    }
    std::uint64_t saveState() override {
        hostInterface->storeChunk(&speed, sizeof speed);
        return 0;
    }
    void updateFrame(double time) override {
        TransformObject* transform = hostInterface->getTransformObject(box, time);
        if (transform == nullptr) return;
        ond::util::Matrix4 m;
        transform->readWorldMatrix(m);
        m.setRow(3, m.row(3) + ond::util::Vector3<double>(0, 0, -speed * hostInterface->getFrameStep()));
        transform->setWorldMatrix(m);
        hostInterface->releaseTransformObject(transform);
    }
    void onParameterChanged(std::string label) override {
        if (label == "Speed") hostInterface->pushUndo(CREEventUndo::make(this, label), 0);
        hostInterface->messageBox(label, "Warning", 0);
    }

  private:
    double speed = 1.0;
    MeshHandle* box = nullptr;
};

class SlidingBoxPlugin : public CCameraPlugin {
  public:
    CCamera* createCamera(const CameraCreationRecord& record) override { return new (std::nothrow) SlidingBox(record); }
    std::string getPluginName() const override { return "SlidingBox"; }
    std::string getDisplayName() const override { return "Sliding Box"; }
    std::string getCategory() const override { return "Examples"; }
    std::string getAccessToken() const override { return "0123456789abcdef"; }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) std::uint32_t getVersion() { return 250; }

extern "C" __attribute__((visibility("default"))) CCameraPlugin* getPlugin(std::uint32_t index) {
    return index == 0 ? new (std::nothrow) SlidingBoxPlugin : nullptr;
}
