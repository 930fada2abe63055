// A host that records, and does nothing else: every matrix that the vehicle gives an element becomes a key.
//
// Elements are their own handles, transforms and appearances; they are read as they were set last. What the host does
// in a frame can be counted and timed, which shows how much of a frame is the host's.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "ond/unidevice/OutputProperty.h"
#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"

namespace ond::stage {
class MeshSurface;
}

namespace ond::bench::table {

/// What the vehicle asked the host for.
struct HostMeter {
    enum Kind { lookups, reads, writes, surfaces, devices, kinds };
    std::array<long, kinds> calls{};
    double nanoseconds = 0.0;  ///< inside the host, each call measured by two askings for the time
    bool isOn = false;
};

/// A call of the host, from its making to its end.
class HostCall {
  public:
    HostCall(HostMeter& meter, HostMeter::Kind kind);
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;
    ~HostCall();

  private:
    HostMeter& m_meter;
    double m_start = 0.0;
};

class Element;

/// A matrix that an element was given.
struct Key {
    const Element* element;
    double time;
    util::Matrix4 world;
};

/// What elements share.
struct Recording {
    /// Gets memory for so many keys in all ready, pages included.
    void reserve(std::size_t count);

    std::vector<Key> keys;  ///< of all elements, in the order in which they came
    double now = 0.0;
    HostMeter meter;
};

/// What a frame reads of it stands at its front.
class alignas(64) Element final : public ovs::MeshHandle, public ovs::TransformObject, public ovs::AppearanceObject {
  public:
    Element(Recording& recording, std::string elementName, Element* parentElement)
        : parent(parentElement), m_recording(recording), name(std::move(elementName)) {}

    void show() override {}
    void hide() override {}
    bool isShown() override { return true; }
    ovs::MeshHandle* getParent() override;
    std::int32_t getNumChildren() override;
    ovs::MeshHandle* getChild(std::int32_t /*index*/) override { return nullptr; }
    std::string getName() override { return name; }

    void readLocalMatrix(util::Matrix4& out) override;
    void setLocalMatrix(const util::Matrix4& matrix) override;
    void readWorldMatrix(util::Matrix4& out) override;
    void setWorldMatrix(const util::Matrix4& matrix) override;

    void useOwnColour(bool /*on*/) override {}
    void setWireframe(bool /*on*/) override {}
    void setColour(float /*red*/, float /*green*/, float /*blue*/) override {}

    /// From now on moves with its parent.
    void ride();
    /// Moves this element alone, without a key.
    void shift(const util::Vector3<double>& by) { world.setRow(3, world.row(3) + by); }

    /// Remembers where it is, and goes back there.
    void keepPose() { m_kept = {world, m_local}; }
    void restorePose() { std::tie(world, m_local) = m_kept; }

    Element* parent;

  private:
    Recording& m_recording;
    std::vector<Element*> m_riders;
    bool m_rides = false;

  public:
    util::Matrix4 world;

  private:
    void moveTo(const util::Matrix4& matrix);

    util::Matrix4 m_local;

  public:
    std::string name;

  private:
    std::pair<util::Matrix4, util::Matrix4> m_kept;
};

/// A device axis that stands where it is put.
class Axis final : public unidevice::Property {
  public:
    Axis(HostMeter& meter, std::string label, std::int32_t kind) : Property(std::move(label), kind), m_meter(meter) {}
    [[nodiscard]] double value() const override;
    double position = 0.0;

  private:
    HostMeter& m_meter;
};

/// Hands out a mesh; casts at it only when it has something to cast with.
class GroundSurface final : public ovs::SurfaceObject {
  public:
    /// @param mesh must outlive the surface
    /// @param castable whether rays can be cast at it
    GroundSurface(HostMeter& meter, const util::CMesh& mesh, bool castable);
    ~GroundSurface() override;
    void getMesh(util::CMesh& out) override;
    bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                   util::Vector3<double>* normal) override;

  private:
    HostMeter& m_meter;
    const util::CMesh& m_mesh;
    std::unique_ptr<stage::MeshSurface> m_tree;
};

/// A descriptor for its stamp alone.
class StampOnly final : public ovs::CCameraPlugin {
  public:
    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& /*record*/) override { return nullptr; }
    std::string getPluginName() const override { return "table"; }
    std::string getDisplayName() const override { return "table"; }
    std::string getCategory() const override { return "table"; }
    std::string getAccessToken() const override { return "0123456789abcdef"; }
};

/// One scene with one ground at most. The clock is part of the recording, one frame is `frameStep`; both in seconds.
class RecordingHost final : public ovs::CInterface {
  public:
    /// @param into what it records into, which hosts may share
    explicit RecordingHost(std::shared_ptr<Recording> into = std::make_shared<Recording>());
    ~RecordingHost() override;

  private:
    std::shared_ptr<Recording> m_recording;

  public:
    Recording& recording;
    double frameStep = 0.04;
    std::vector<std::unique_ptr<Axis>> inputs;
    std::map<std::string, std::unique_ptr<Element>> elements;  ///< by bare name
    std::unique_ptr<Element> ground;                           ///< with `surface`; null: nothing is linked
    std::unique_ptr<GroundSurface> surface;
    bool keepsBlock = true;               ///< false: a stored block is only measured
    std::vector<unsigned char> block;     ///< as stored
    std::uint64_t blockLength = 0;        ///< of the block stored last
    std::vector<std::string> complaints;  ///< texts of message boxes: a sound scene gives none

    /// Every element back to where it was at keepPoses(), as a host does that goes back on its timeline.
    void keepPoses();
    void restorePoses();

    void* callExtension(std::uint32_t id, void* argument) override;
    bool hasExtension(std::uint32_t id) override;
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override;
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                             unidevice::Property::Factory* factory) override;
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

    void storeChunk(const void* data, std::uint64_t length) override;
    const void* getChunk(std::int32_t reserved) override;

    void deleteElement(ovs::MeshHandle*, std::int32_t, std::int32_t) override {}
    ovs::MeshHandle* findElement(std::string identifier) override;
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool reserved) override;
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override;
    ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override;
    ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* element) override;
    ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double time) override;
    ovs::CameraObject* getCameraObject(ovs::MeshHandle*, double /*time*/) override { return nullptr; }
    void releaseElementData(ovs::MeshHandle* element) override;
    void releaseCameraObject(ovs::CameraObject*) override {}
    void releaseSurfaceObject(ovs::SurfaceObject* surface) override;
    void releaseAppearanceObject(ovs::AppearanceObject*) override {}
    void releaseTransformObject(ovs::TransformObject* transform) override;
    double getCurrentTime() override;
    double getFrameStep() override;
    void redrawViews() override {}
    void messageBox(std::string text, std::string, std::int32_t) override { complaints.push_back(std::move(text)); }

  private:
    Element* add(std::string name, ovs::MeshHandle* parent);

    StampOnly m_descriptor;
    ovs::AppLink m_link;
    std::vector<std::unique_ptr<unidevice::OutputProperty>> m_outputs;
};

}  // namespace ond::bench::table
