// The leanest host that a vehicle can live in, so that a benchmark measures the vehicle: elements without history that
// are their own handles and transforms, nothing recorded, nothing allocated during a frame.
#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CCarCamObject.h"
#include "GridTerrain.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/unidevice/OutputProperty.h"
#include "state/AnimatedState.h"

namespace ond::bench {

/// An element with one world matrix for all times. Only elements that are told to ride follow their parent and keep
/// their local matrix up to date; all others stand where they were put, which is enough because the vehicle puts them
/// anew in every frame.
class Element final : public ovs::MeshHandle, public ovs::TransformObject, public ovs::AppearanceObject {
  public:
    Element(std::string elementName, Element* parentElement) : name(std::move(elementName)), parent(parentElement) {}

    void show() override {}
    void hide() override {}
    bool isShown() override { return true; }
    ovs::MeshHandle* getParent() override { return parent; }
    std::int32_t getNumChildren() override { return 0; }
    ovs::MeshHandle* getChild(std::int32_t /*index*/) override { return nullptr; }
    std::string getName() override { return name; }

    void readLocalMatrix(util::Matrix4& out) override { out = local; }
    void setLocalMatrix(const util::Matrix4& matrix) override {
        local = matrix;
        moveTo(parent != nullptr ? parent->world * local : local);
    }
    void readWorldMatrix(util::Matrix4& out) override { out = world; }
    void setWorldMatrix(const util::Matrix4& matrix) override {
        if (rides) local = Inverse(parent->world) * matrix;
        moveTo(matrix);
    }

    void useOwnColour(bool /*on*/) override {}
    void setWireframe(bool /*on*/) override {}
    void setColour(float /*red*/, float /*green*/, float /*blue*/) override {}

    /// From now on moves with its parent.
    void ride() {
        if (rides || parent == nullptr) return;
        rides = true;
        local = Inverse(parent->world) * world;
        parent->riders.push_back(this);
    }
    void keepPose() { kept = {world, local}; }
    void restorePose() { std::tie(world, local) = kept; }

    std::string name;
    Element* parent;
    util::Matrix4 world;

  private:
    void moveTo(const util::Matrix4& matrix) {
        world = matrix;
        for (Element* rider : riders) rider->moveTo(world * rider->local);
    }

    util::Matrix4 local;
    std::pair<util::Matrix4, util::Matrix4> kept;
    std::vector<Element*> riders;
    bool rides = false;
};

/// A device axis that stands where it is put.
class Axis final : public unidevice::Property {
  public:
    using Property::Property;
    [[nodiscard]] double value() const override { return position; }
    double position = 0.0;
};

/// The surface of a terrain.
class TerrainSurface final : public ovs::SurfaceObject {
  public:
    using Vector = util::Vector3<double>;

    struct Ray {
        Vector origin;
        Vector direction;
    };

    explicit TerrainSurface(const GridTerrain& ground) : terrain(ground) {}
    void getMesh(util::CMesh& out) override { out = terrain.mesh(); }
    bool intersect(const Vector& origin, const Vector& direction, double* t, Vector* normal) override {
        if (recorded != nullptr) recorded->push_back({origin, direction});
        return terrain.intersect(origin, direction, *t, *normal);
    }

    const GridTerrain& terrain;
    std::vector<Ray>* recorded = nullptr;  ///< receives all rays, if not null
};

/// A descriptor for its stamp alone.
class StampOnly final : public ovs::CCameraPlugin {
  public:
    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& /*record*/) override { return nullptr; }
    std::string getPluginName() const override { return "bench"; }
    std::string getDisplayName() const override { return "bench"; }
    std::string getCategory() const override { return "bench"; }
    std::string getAccessToken() const override { return "0123456789abcdef"; }
};

/// Serves one scene with one ground at most. The clock stands at `now`, one frame is `frameStep`; both in seconds.
class BenchHost final : public ovs::CInterface {
  public:
    BenchHost() {
        appLink.descriptor = &descriptor;
        link = &appLink;
    }

    double now = 0.0;
    double frameStep = 0.04;
    std::vector<std::unique_ptr<Axis>> inputs;
    std::map<std::string, std::unique_ptr<Element>> elements;  ///< by bare name
    std::unique_ptr<Element> ground;                           ///< with `surface`; null: nothing is linked
    std::unique_ptr<TerrainSurface> surface;
    bool keepsBlock = true;               ///< false: a stored block is only measured
    std::vector<unsigned char> block;     ///< as stored
    std::uint64_t blockLength = 0;        ///< of the block stored last
    std::vector<std::string> complaints;  ///< texts of message boxes: a sound scene gives none

    /// Every element back to where it was at keepPoses().
    void keepPoses() {
        for (const auto& [name, element] : elements) element->keepPose();
    }
    void restorePoses() {
        for (const auto& [name, element] : elements) element->restorePose();
    }

    void* callExtension(std::uint32_t id, void* argument) override {
        if (id != kOutputChannels) return nullptr;
        outputs.push_back(
            std::make_unique<unidevice::OutputProperty>(*static_cast<unidevice::OutputChannelRecord*>(argument)));
        return static_cast<unidevice::Property*>(outputs.back().get());
    }
    bool hasExtension(std::uint32_t id) override { return id == kOutputChannels; }
    void pushUndo(ovs::CUndo* record, std::int32_t /*reserved*/) override {
        if (record != nullptr) record->release();
    }
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                             unidevice::Property::Factory* /*factory*/) override {
        inputs.push_back(std::make_unique<Axis>(std::move(name), static_cast<std::int32_t>(type)));
        return inputs.back().get();
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

    void storeChunk(const void* data, std::uint64_t length) override {
        blockLength = length;
        if (!keepsBlock) return;
        block.resize(length);
        std::memcpy(block.data(), data, length);
    }
    const void* getChunk(std::int32_t /*reserved*/) override { return block.empty() ? nullptr : block.data(); }

    void deleteElement(ovs::MeshHandle*, std::int32_t, std::int32_t) override {}
    ovs::MeshHandle* findElement(std::string identifier) override {
        const auto found = elements.find(identifier);
        return found == elements.end() ? nullptr : found->second.get();
    }
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool /*reserved*/) override {
        return add(std::move(name), parent);
    }
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* /*mesh*/,
                                       std::int32_t /*reserved*/) override {
        return add(std::move(name), parent);
    }
    ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double /*time*/) override {
        return static_cast<Element*>(element);
    }
    ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* element) override {
        return static_cast<Element*>(element);
    }
    ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double /*time*/) override {
        return element == ground.get() ? surface.get() : nullptr;
    }
    ovs::CameraObject* getCameraObject(ovs::MeshHandle*, double /*time*/) override { return nullptr; }
    void releaseElementData(ovs::MeshHandle*) override {}
    void releaseCameraObject(ovs::CameraObject*) override {}
    void releaseSurfaceObject(ovs::SurfaceObject*) override {}
    void releaseAppearanceObject(ovs::AppearanceObject*) override {}
    void releaseTransformObject(ovs::TransformObject*) override {}
    double getCurrentTime() override { return now; }
    double getFrameStep() override { return frameStep; }
    void redrawViews() override {}
    void messageBox(std::string text, std::string, std::int32_t) override { complaints.push_back(std::move(text)); }

  private:
    static constexpr std::uint32_t kOutputChannels = 41;

    Element* add(std::string name, ovs::MeshHandle* parent) {
        auto& element = elements[name];
        element = std::make_unique<Element>(name, static_cast<Element*>(parent));
        return element.get();
    }

    StampOnly descriptor;
    ovs::AppLink appLink;
    std::vector<std::unique_ptr<unidevice::OutputProperty>> outputs;
};

/// Where the wheels look for the ground.
enum class Casting { plane, stored, bullet, surface };

/// A declared vehicle without a rig.
struct Releaser {
    void operator()(ovs::addon::CCarCamObject* vehicle) const { vehicle->release(); }
};
using VehiclePtr = std::unique_ptr<ovs::addon::CCarCamObject, Releaser>;

[[nodiscard]] inline VehiclePtr declareVehicle(BenchHost& host) {
    const ovs::CameraCreationRecord record{{0, 0}, 0, "Car"};
    VehiclePtr vehicle(new ovs::addon::CCarCamObject(record));
    vehicle->hostInterface = &host;
    vehicle->declareParameters();
    return vehicle;
}

/// A rigged vehicle with default parameters in a scene with or without a terrain, ready to run from time 0.
class BenchCar {
  public:
    /// @param terrain must outlive the car; null for the plane, and only then
    BenchCar(Casting how, const GridTerrain* terrain) : casting(how), vehicle(declareVehicle(host)) {
        vehicle->createRig();
        for (const char* follower : {"ChassisRelocatorMesh", "WheelRelocatorMesh_FL", "WheelRelocatorMesh_FR",
                                     "WheelRelocatorMesh_BL", "WheelRelocatorMesh_BR"})
            host.elements.at(follower)->ride();
        if (terrain != nullptr) link(*terrain);
        vehicle->bUseStaticMesh = casting == Casting::bullet;
        if (casting == Casting::stored) {
            vehicle->bStoreGroundMeshData = true;
            vehicle->onParameterChanged("Store Ground Mesh Data");
        }
        host.keepPoses();
        m_carAtFirst = vehicle->cCarCam;
    }

    /// Straight on the host's axes; see the channel numbers of the car's record.
    [[nodiscard]] double& axis(int channel) { return host.inputs.at(static_cast<std::size_t>(channel))->position; }

    /// Brings back everything that the first run found, histories included, and keeps their memory.
    void rewind() {
        host.restorePoses();
        vehicle->cCarCam = m_carAtFirst;
        vehicle->bFreshStart = true;
        vehicle->dStartTime = 0.0;
        ovs::addon::forEachVariable(*vehicle,
                                    [](const auto&, auto& variable, const auto*) { variable.eraseFrom(-1.0); });
    }

    void reserveKeys(std::size_t frames) {
        ovs::addon::forEachVariable(
            *vehicle, [frames](const auto&, auto& variable, const auto*) { variable.keys.reserve(frames + 1); });
    }

    /// The whole frame `i`, counted from 1. Times are those that a host derives.
    void frame(int i) {
        host.now = i * host.frameStep;
        vehicle->updateFrame(host.now);
    }

    [[nodiscard]] const util::Matrix4& body() const { return host.elements.at("CarBodyMesh")->world; }

    const Casting casting;
    BenchHost host;
    VehiclePtr vehicle;

  private:
    void link(const GridTerrain& terrain) {
        host.ground = std::make_unique<Element>("Ground", nullptr);
        host.surface = std::make_unique<TerrainSurface>(terrain);
        host.elements.at("GravityDirectionMesh")->parent = host.ground.get();
    }

    ovs::addon::cCarCam m_carAtFirst;
};

}  // namespace ond::bench
