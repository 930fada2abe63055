// A host that watches: every service of the contract for one object, with every rule of use that can be seen from here.
#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"
#include "stage/Scene.h"
#include "validate/Check.h"
#include "validate/Items.h"

namespace ond::validate {

class WatchedHandle;
class WatchedTransform;
class WatchedAppearance;
class WatchedSurface;
class WatchedCamera;

using Bytes = std::vector<unsigned char>;

/// The class is final, so that a plain call would be to this program's own function and not to the module's.
[[nodiscard]] unidevice::Property* createThroughTable(unidevice::Property::Factory& factory, const std::string& channel,
                                                      std::int32_t type);

/// What this host leaves undone. To be set before the calls that it concerns.
struct Lacks {
    bool outputs = false;         ///< extension 41
    bool outputChannels = false;  ///< extension 41 is there and answers null
    bool relations = false;       ///< extension 31 of elements
    bool inputs = false;          ///< createInputProperty() answers null
    bool ownChannels = false;     ///< the host makes input channels itself, without the factory
    bool descriptor = false;      ///< the link has no descriptor
    bool link = false;            ///< there is no link
    bool surfaces = false;        ///< getSurfaceObject() answers null for every element
    bool hits = false;            ///< surfaces are never hit
    bool triangles = false;       ///< surfaces give meshes without triangles
    bool children = false;        ///< getChild() answers null
    bool elements = false;        ///< findElement() finds nothing
    std::set<std::string> found;  ///< findElement() finds all but these
};

struct Message {
    std::string text, caption;
};

enum class Life { created, declared, rigged, running, loadFailed, released };

class StrictHost final : public ovs::CInterface {
  public:
    /// Makes the object, in the state [created].
    /// @param plugin outlives this host's object
    StrictHost(Check& hostCheck, ovs::CCameraPlugin& plugin, std::string objectName, stage::Scene& hostScene,
               Lacks hostLacks = {});
    StrictHost(const StrictHost&) = delete;
    StrictHost& operator=(const StrictHost&) = delete;
    /// Releases the object unless that has been done, and drops its records.
    ~StrictHost() override;

    // The host's calls into the object. Each checks what can be checked when the object has answered.

    void declare();
    void createRig();
    /// declare(), createRig()
    void rig();
    /// @return the answer, 0 or 1
    std::uint64_t load(const Bytes& saved);
    /// The same with the block in a place of the caller's, which nothing of the module may refer to afterwards.
    std::uint64_t loadFrom(const void* saved);
    /// @return the block that was stored
    Bytes save();
    void startRun(int frame);
    void updateFrame(int frame);
    void showFrame(double time);
    void stopRun(int frame);
    void release();
    /// As the user edits the item: the field, then the callback.
    void edit(const Item& item, double value);
    /// Calls the item's callback, if it has one.
    void tell(const Item& item, const std::string& text);
    /// Has the object store the present values of its output channels.
    void refreshOutputs();
    static constexpr std::size_t kAllRecords = ~std::size_t{0};
    /// Runs the records from `from` to below `to`: on undo last in first out, on redo in order.
    void undo(std::size_t from = 0, std::size_t to = kAllRecords);
    void redo(std::size_t from = 0, std::size_t to = kAllRecords);
    /// Releases the records.
    void dropRecords();
    std::uint64_t callObject(std::uint32_t extension, void* argument);

    // What a test asks.

    [[nodiscard]] const Item* item(const std::string& label) const;
    /// Items with a value that a user may edit.
    [[nodiscard]] std::vector<Item> editableItems() const;
    [[nodiscard]] bool isEditable(const Item& item) const;
    /// The living element that the object made under that bare name, or null.
    [[nodiscard]] stage::Element* element(const std::string& identifier) const;
    /// The living elements of the object, in the order of making.
    [[nodiscard]] std::vector<stage::Element*> ownElements() const;
    /// All axes stand at `share` of their range, the two-way ones with a sign of their own.
    void feed(int frame);

    Check& check;
    const std::string name;
    stage::Scene& scene;
    Lacks lacks;
    Life life = Life::created;
    ovs::CCamera* camera = nullptr;
    ovs::AppLink appLink;

    std::vector<Item> items;
    std::vector<std::string> groups;
    std::vector<std::string> groupTexts;                   ///< descriptions of the groups
    std::deque<unidevice::ControlObserver> observers;      ///< one on each input, and behind all axes in dying
    std::vector<unidevice::Property*> inputs;              ///< in the order of declaring; null if refused
    std::vector<std::unique_ptr<Axis>> axes;               ///< of the inputs
    std::vector<unidevice::Property::Factory*> factories;  ///< of the inputs
    std::vector<unidevice::OutputProperty*> outputs;
    std::vector<ovs::CUndo*> records;
    std::vector<Message> messages;
    /// What was asked for while `logs`: services by name, those of elements as "MeshHandle::hide of FollowCam".
    std::vector<std::string> services;
    bool logs = false;
    bool asked41 = false;
    std::set<std::uint32_t> askedOfElements;  ///< extensions of elements, at any of them
    int refreshes = 0;
    int redraws = 0;
    int stores = 0;
    std::uint64_t writes = 0;    ///< matrices that were set
    std::vector<double> held;    ///< where the axes stand in place of what they do by themselves; one-way ones from 0
    bool judgesMessages = true;  ///< off while the host itself sends texts that are none
    bool expectsFinite = true;   ///< numbers that run away are no finding while the settings are the host's own

    // CInterface
    void* callExtension(std::uint32_t id, void* argument) override;
    void reserved1() override { reserved(1); }
    [[nodiscard]] bool hasExtension(std::uint32_t id) override;
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override;
    unidevice::Property* createInputProperty(std::string channel, std::uint32_t type,
                                             unidevice::Property::Factory* factory) override;
    void reserved5() override { reserved(5); }
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
    void reserved13() override { reserved(13); }
    void reserved14() override { reserved(14); }
    void addButton(std::string label, std::string description, Callback* callback) override;
    void reserved16() override { reserved(16); }
    void refreshDialog() override;
    void reserved18() override { reserved(18); }
    void reserved19() override { reserved(19); }
    void storeChunk(const void* data, std::uint64_t length) override;
    const void* getChunk(std::int32_t reserved) override;
    void reserved22() override { reserved(22); }
    void deleteElement(ovs::MeshHandle* handle, std::int32_t reserved1, std::int32_t reserved2) override;
    [[nodiscard]] ovs::MeshHandle* findElement(std::string identifier) override;
    ovs::MeshHandle* createCameraElement(std::string identifier, ovs::MeshHandle* parent, bool reserved) override;
    ovs::MeshHandle* createMeshElement(std::string identifier, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override;
    void reserved27() override { reserved(27); }
    [[nodiscard]] ovs::TransformObject* getTransformObject(ovs::MeshHandle* handle, double time) override;
    [[nodiscard]] ovs::AppearanceObject* getAppearanceObject(ovs::MeshHandle* handle) override;
    [[nodiscard]] ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* handle, double time) override;
    [[nodiscard]] ovs::CameraObject* getCameraObject(ovs::MeshHandle* handle, double time) override;
    void releaseElementData(ovs::MeshHandle* handle) override;
    void releaseCameraObject(ovs::CameraObject* object) override;
    void releaseSurfaceObject(ovs::SurfaceObject* object) override;
    void releaseAppearanceObject(ovs::AppearanceObject* object) override;
    void releaseTransformObject(ovs::TransformObject* object) override;
    [[nodiscard]] double getCurrentTime() override;
    void reserved38() override { reserved(38); }
    [[nodiscard]] double getFrameStep() override;
    void redrawViews() override;
    void messageBox(std::string text, std::string caption, std::int32_t reserved) override;

    // For the objects that this host gives out.

    /// What the rules for every service say: the thread, the moment and the state.
    /// @return whether the object may get anything
    bool serve(const char* service, std::initializer_list<Life> states);
    /// The same for services of all states but [created].
    bool serve(const char* service);
    /// Tells what the service that was asked for last is about.
    void noteSubject(const std::string& subject);
    /// The element's bare name, in quotes; "null" for null.
    [[nodiscard]] std::string shown(const stage::Element* element) const;
    [[nodiscard]] WatchedHandle* handleOf(stage::Element* element);
    /// A handle of its own each time, as getParent() and getChild() of `giver` give it; null for null.
    [[nodiscard]] WatchedHandle* lendHandle(stage::Element* element, const stage::Element& giver);
    void takeHandleBack(ovs::MeshHandle* handle, const stage::Element& giver);
    void requireUnreleased(const WatchedHandle& handle, const char* service);
    /// Complains about a change of what this object did not make.
    void requireOwn(const stage::Element& element, const char* service);
    /// Complains about a transform that a frame sets at another time than its own.
    void requireFrameTime(const stage::Element& element, double time);
    void requireRigBuilt(const stage::Element& root);
    /// The element behind a handle. A handle that this host did not give out is a complaint and gives null, as null
    /// does.
    [[nodiscard]] stage::Element* elementOf(const ovs::MeshHandle* handle, const char* service);
    /// A text of the module that users see: UTF-8 without zeros.
    void requireText(std::string_view owner, const std::string& text, const std::string& what);

  private:
    template <typename Object>
    Object* lend(std::deque<std::unique_ptr<Object>>& objects, stage::Element& element, double time);
    template <typename Object, typename Base>
    void takeBack(std::deque<std::unique_ptr<Object>>& objects, Base* object, const char* service);
    template <typename Work>
    void enter(const char* call, const std::string& shownCall, Work work);
    void requireAllBack(const std::string& call);
    void requireOwnFields(const std::string& call);
    void requireShowable(const std::string& call);
    struct ChannelFields;
    [[nodiscard]] std::vector<ChannelFields> channelFields() const;
    void requireChannelFields(const std::vector<ChannelFields>& before, const std::string& call);
    void reserved(int slot);
    void requireZero(const char* service, std::int64_t value);
    void requireDeclaring(const char* service);
    bool requireTime(const char* what, double time);
    void addItem(const char* service, Item item);
    /// Whether something lies among the variables of the functions that the call into the object went through.
    [[nodiscard]] bool isOnStack(const void* place) const;
    template <typename T>
    void addNumber(const char* service, Item item, T* field, T min, T max, T step, std::int32_t hint,
                   std::int32_t wanted, bool flag);
    stage::Element& make(const char* service, const std::string& identifier, ovs::MeshHandle* parent);
    void requireMesh(const util::CMesh* mesh, const std::string& identifier);
    unidevice::Property* makeChannel(const std::string& channel, std::uint32_t type,
                                     unidevice::Property::Factory* factory);
    void requireDeclarationWhole();
    void requireFewMessages();
    void requireMessage(const std::string& text, const std::string& caption);
    [[nodiscard]] std::string timed(const char* call, double time) const;
    [[nodiscard]] bool keepsSurfaces() const;

    ovs::CCameraPlugin& m_plugin;
    const std::thread::id m_thread = std::this_thread::get_id();
    static inline std::uint64_t s_lastMark = 0x4F6E642051756164U;
    /// The host's mark of the object; any number would do, another one for each object.
    const std::uint64_t m_hostObject = ++s_lastMark;
    std::string m_shownCall;  ///< for sentences
    const void* m_stackAtCall = nullptr;
    const char* m_call = "";                        ///< of the object that is under way
    static inline StrictHost* s_current = nullptr;  ///< whose object is being called
    static inline std::set<const void*> s_allHosts{};

    int m_out = 0;  ///< lent since requireAllBack() looked last, and not given back
    bool m_inputsWhole = false, m_dialogWhole = false, m_groupOpen = false;
    bool m_storedInThisSave = false;
    bool m_undoing = false;
    double m_time = 0.0;                     ///< of the frame, or of the start of the run
    const stage::Element* m_root = nullptr;  ///< that was told that the rig is built
    int m_lastFrame = 0;
    int m_framesOfRun = 0;
    std::map<std::string, int> m_messagesOfFrames;  ///< texts of a run's frames, and how often
    const void* m_block = nullptr;                  ///< during loadState()
    Bytes m_stored;
    std::map<stage::Element*, std::unique_ptr<WatchedHandle>> m_handles;
    std::deque<std::unique_ptr<WatchedHandle>> m_lentHandles;
    std::set<const ovs::MeshHandle*> m_given;  ///< handles that the object has seen
    std::set<ovs::CUndo*> m_everPushed;
    std::deque<std::unique_ptr<WatchedTransform>> m_transforms;
    std::deque<std::unique_ptr<WatchedAppearance>> m_appearances;
    std::deque<std::unique_ptr<WatchedSurface>> m_surfaces;
    std::deque<std::unique_ptr<WatchedCamera>> m_cameras;
    std::deque<bool> m_channelDeleted;
};

}  // namespace ond::validate
