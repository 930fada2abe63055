// The host as one vehicle sees it: every service of the contract, recorded and checked.
#pragma once

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CInterface.h"
#include "ond/unidevice/OutputProperty.h"
#include "stage/CallLog.h"
#include "stage/Dialog.h"
#include "stage/InputAxis.h"
#include "stage/ModuleBoundary.h"
#include "stage/Scene.h"
#include "stage/Snapshot.h"
#include "stage/UndoStack.h"

namespace ond::stage {

class HostHandle;
class HostTransform;
class HostAppearance;
class HostSurface;
class HostCamera;

/// A message that the vehicle showed.
struct Message {
    std::string text;
    std::string caption;
    friend bool operator==(const Message& a, const Message& b) { return a.text == b.text && a.caption == b.caption; }
};

/// A ray that the vehicle cast at a surface, in that surface's coordinates.
struct Ray {
    util::Vector3<double> origin;
    util::Vector3<double> direction;
};

/// What this host leaves undone, to see how the vehicle bears it. To be set before the calls that it concerns.
struct Faults {
    bool knowsExtension41 = true;    ///< output channels
    bool knowsExtension31 = true;    ///< relation by parenting
    bool refusesProperties = false;  ///< createInputProperty() answers null
    bool withoutDescriptor = false;  ///< the link has no descriptor
};

class Vehicle final : public ovs::CInterface {
  public:
    enum class Life { created, declared, rigged, running, loadFailed, released };

    /// Makes the object, in the state [created]. Another one of the same name may have lived before: it finds the
    /// elements of that one.
    Vehicle(ovs::CCameraPlugin* plugin, std::string vehicleName, Scene& hostScene, UndoStack& hostUndo);
    /// Releases the object if that has not been done.
    ~Vehicle() override;

    // The vehicle, from outside. A call that does not fit the life cycle is a complaint and not made.

    void declare();
    void createRig();
    /// @return what loadState() answers
    std::uint64_t load();
    void save();
    void startRun(int frame);
    void updateFrame(int frame);
    void showFrame(int frame);
    void stopRun(int frame);
    /// Takes the values of all axes for the frame that the timeline shows. startRun() and updateFrame() do so unless it
    /// was done for their frame; with several vehicles it comes before the first call of a frame, because an axis may
    /// feed other vehicles, too.
    void feedAxes();
    /// Drops the undo records of the vehicle, releases it and frees its channels.
    void release();

    /// Edits an item as the user does: undo record of the host, field, callback. A button is pressed; a gauge cannot be
    /// edited, which is a complaint.
    void edit(const std::string& label, double value);
    /// Has the vehicle store the present values of its output channels anew. [declared, rigged or running]
    void refreshOutputs();
    /// Writes a field without telling the vehicle, as a host does that sets up a scene.
    void put(const std::string& label, double value) { dialog.at(label).write(value); }
    void press(const std::string& label);
    /// Sends any text to the vehicle's callback.
    void send(const std::string& label);
    /// All of it between runs; asks the vehicle for its block.
    [[nodiscard]] VehicleState state();
    /// Makes a vehicle in the state [created] the one that was: declares it, tunes its channels, loads its block and
    /// sets the rows that the block did not bring back. Wiring is the stage's, which knows the other vehicles.
    /// @throws StageError if it does not load the block
    void become(const VehicleState& state);
    /// The messages since the last call.
    [[nodiscard]] std::vector<Message> takeNewMessages();
    [[nodiscard]] double value(const std::string& label) const { return dialog.at(label).value(); }

    /// The axis that feeds the channel whose name begins with `start`.
    [[nodiscard]] InputAxis& axis(const std::string& start);
    [[nodiscard]] unidevice::Property& property(const std::string& start);
    /// What the axis that feeds the channel gave in this frame, whoever has that axis; 0 while the channel is unwired.
    [[nodiscard]] double input(std::size_t channel) const;
    /// How the channels are tuned and wired.
    [[nodiscard]] std::vector<ChannelSettings> channels() const;
    /// The output channel of that name, or null.
    [[nodiscard]] unidevice::OutputProperty* output(const std::string& channelName) const;
    /// The element that the vehicle made under the bare name, a deleted one if no other lives.
    /// @throws StageError if there was none
    [[nodiscard]] Element& element(const std::string& identifier) const;
    [[nodiscard]] bool hasElement(const std::string& identifier) const;
    [[nodiscard]] util::Matrix4 world(const std::string& identifier, int frame) const;
    [[nodiscard]] util::Matrix4 local(const std::string& identifier, int frame) const;

    /// Everything that was given out and not given back, surfaces apart; empty when all is paired.
    [[nodiscard]] std::vector<std::string> open() const;
    /// Surfaces that were given out and not given back.
    [[nodiscard]] int openSurfaces() const { return m_openSurfaces; }
    /// Frees the surfaces that were not given back.
    void dropSurfaces();

    std::string name;
    Scene& scene;
    UndoStack& undo;
    ovs::AppLink appLink;
    ovs::CCamera* camera = nullptr;
    Life life = Life::created;
    bool armed = true;    ///< takes part in runs
    bool strict = false;  ///< a call from outside that is misuse throws a StageError besides
    Faults faults;
    CallLog log;
    Dialog dialog;
    std::vector<Message> messages;
    std::vector<std::string> misuse;  ///< calls against the contract, in words
    std::vector<std::unique_ptr<InputAxis>> axes;
    std::vector<std::unique_ptr<unidevice::Property>> properties;
    std::vector<std::unique_ptr<unidevice::OutputProperty>> outputs;
    std::vector<unsigned char> chunk;
    bool recordsRays = false;
    std::vector<Ray> rays;  ///< all casts at surfaces while `recordsRays`

    // CInterface
    void* callExtension(std::uint32_t id, void* argument) override;
    [[nodiscard]] bool hasExtension(std::uint32_t id) override;
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override;
    unidevice::Property* createInputProperty(std::string channelName, std::uint32_t type,
                                             unidevice::Property::Factory* factory) override;
    void endInputProperties() override;
    void endParameters() override;
    void beginGroup(std::string title, std::string description) override;
    void endGroup() override;
    void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                         std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                         const ovs::CS::Converter<std::int32_t>* converter, Callback* callback) override;
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const ovs::CS::Converter<double>* converter,
                            Callback* callback) override;
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override;
    void addButton(std::string label, std::string description, Callback* callback) override;
    void refreshDialog() override;
    void storeChunk(const void* data, std::uint64_t length) override;
    const void* getChunk(std::int32_t reserved) override;
    void deleteElement(ovs::MeshHandle* element, std::int32_t reserved1, std::int32_t reserved2) override;
    [[nodiscard]] ovs::MeshHandle* findElement(std::string identifier) override;
    ovs::MeshHandle* createCameraElement(std::string identifier, ovs::MeshHandle* parent, bool reserved) override;
    ovs::MeshHandle* createMeshElement(std::string identifier, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override;
    [[nodiscard]] ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override;
    [[nodiscard]] ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* element) override;
    [[nodiscard]] ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double time) override;
    [[nodiscard]] ovs::CameraObject* getCameraObject(ovs::MeshHandle* element, double time) override;
    void releaseElementData(ovs::MeshHandle* element) override;
    void releaseCameraObject(ovs::CameraObject* object) override;
    void releaseSurfaceObject(ovs::SurfaceObject* object) override;
    void releaseAppearanceObject(ovs::AppearanceObject* object) override;
    void releaseTransformObject(ovs::TransformObject* object) override;
    [[nodiscard]] double getCurrentTime() override;
    [[nodiscard]] double getFrameStep() override;
    void redrawViews() override;
    void messageBox(std::string text, std::string caption, std::int32_t reserved) override;

    // For the objects that this host gives out.

    /// Adds a line to the log: the texts separated by blanks.
    template <typename... Texts>
    void note(const Texts&... texts) {
        if (!log.enabled) return;
        std::string line;
        ((line += (line.empty() ? "" : " ") + std::string(texts)), ...);
        log.add(std::move(line));
    }
    void complain(const std::string& what);
    /// Complains of an operation on an element unless the vehicle is declared and not released.
    /// @return whether it is
    bool requireWhole(const char* operation, const Element* element);
    /// What `element` is called in complaints: its bare name if it is this vehicle's.
    [[nodiscard]] std::string nameOf(const Element* element) const;
    /// What `element` is called in the log; empty while nothing is logged.
    [[nodiscard]] std::string label(const Element* element) const;
    [[nodiscard]] std::string label(ovs::MeshHandle* handle) const;
    /// The handle of an element for this vehicle, always the same; null for null.
    [[nodiscard]] ovs::MeshHandle* handleOf(Element* element);
    [[nodiscard]] static Element* elementOf(ovs::MeshHandle* handle);
    [[nodiscard]] std::string at(double time) const { return log.enabled ? scene.clock.frames(time) : std::string(); }

  private:
    /// For calls into the vehicle: whether it is in one of the states and the host is in no other call, of any vehicle.
    /// @throws StageError instead of answering false while `strict`
    [[nodiscard]] bool mayCall(std::initializer_list<Life> states, const char* operation);
    /// The same for calls of one frame, which come while the timeline shows it.
    [[nodiscard]] bool mayCall(std::initializer_list<Life> states, const char* operation, int frame);
    /// A complaint of a call into the vehicle.
    /// @return false
    /// @throws StageError while `strict`
    bool refuse(const std::string& what);
    /// For calls of the vehicle: complains unless the vehicle is in one of the states.
    /// @return whether it is
    bool require(std::initializer_list<Life> states, const std::string& operation);
    bool requireBetweenDeclareAndRelease(const std::string& operation);
    /// Complains unless the host is inside that call of the vehicle.
    /// @return whether it is
    bool requireCall(const char* call, const std::string& operation);
    /// For declarations: complains unless they are open.
    bool requireDeclaring(const std::string& operation);
    /// @return null if the item was refused
    DialogItem* addItem(DialogItem::Kind kind, std::string label, std::string description, Callback* callback);
    [[nodiscard]] ChannelWire wireOf(std::size_t channel) const;
    Element& make(const std::string& identifier, ovs::MeshHandle* parent);
    void tell(const DialogItem& item, const std::string& text);
    /// Begins a call into the vehicle, or ends it with an empty name.
    void call(const char* operation);
    void feedForCall();

    std::size_t m_messagesTaken = 0;
    std::vector<unsigned char> m_lentChunk;  ///< what getChunk() gave out in the present load
    const char* m_call = "";                 ///< the operation of the vehicle that the host is in
    int m_runStart = 0;                      ///< frame of the startRun() of the present run
    int m_lastFrame = 0;                     ///< of the present run that the vehicle was called for
    std::optional<int> m_fed;                ///< the frame of feedAxes(), until a call has read the axes
    bool m_inputsWhole = false;              ///< endInputProperties() came
    std::map<Element*, std::unique_ptr<HostHandle>> m_handles;
    // Objects that were given back are not reused at once, so that a use after that is seen.
    std::deque<std::unique_ptr<HostTransform>> m_transforms;
    std::deque<std::unique_ptr<HostAppearance>> m_appearances;
    std::deque<std::unique_ptr<HostSurface>> m_surfaces;
    std::deque<std::unique_ptr<HostCamera>> m_cameras;
    int m_openSurfaces = 0;
};

}  // namespace ond::stage
