// The host's calls into the object, what is checked behind each, and what a test asks of the pair.
#include "validate/StrictHost.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "ond/ovs/CCameraPlugin.h"
#include "validate/CarRules.h"
#include "validate/WatchedObjects.h"

namespace ond::validate {

namespace {

/// The object's extension that stores the value of one of its output channels.
constexpr std::uint32_t kStoreOutput = 40;

/// Zeros behind a block: no length is passed, and they end the reading of one that was damaged.
constexpr std::size_t kBytesBehindBlock = 4096;

}  // namespace

/// What of a channel is the host's.
struct StrictHost::ChannelFields {
    unidevice::Property* channel;
    std::string name, hostText;
    std::int32_t type;
    unidevice::ControlSource* source;
    std::vector<unidevice::ControlObserver*> registered;
};

StrictHost::StrictHost(Check& hostCheck, ovs::CCameraPlugin& plugin, std::string objectName, stage::Scene& hostScene,
                       Lacks hostLacks)
    : check(hostCheck), name(std::move(objectName)), scene(hostScene), lacks(std::move(hostLacks)), m_plugin(plugin) {
    if (!lacks.descriptor) appLink.descriptor = &plugin;
    if (!lacks.link) link = &appLink;
    {
        // Gone with the call, so that an object that still looks at it shows.
        alignas(ovs::CameraCreationRecord) static unsigned char place[sizeof(ovs::CameraCreationRecord)];
        auto* const record = new (place) ovs::CameraCreationRecord{{0x1111, 0x2222}, m_hostObject, name};
        check.inside("createCamera()", [&] { camera = plugin.createCamera(*record); });
        if (record->hostWords[0] != 0x1111 || record->hostWords[1] != 0x2222 || record->hostObject != m_hostObject ||
            record->name != name)
            check.complain("creates-objects", "createCamera() changed the record; it is the host's, and only read");
        record->~CameraCreationRecord();
        std::fill(std::begin(place), std::end(place), static_cast<unsigned char>(0xDD));
    }
    if (camera == nullptr)
        check.give("creates-objects", "createCamera() answered null; it makes a new object, and there was memory");
    if (camera->hostInterface != nullptr)
        check.complain("creates-objects",
                       "a new object's hostInterface is not null; it is null until the host fills it in");
    if (camera->hostObject != m_hostObject || camera->name != name)
        check.complain("creates-objects", "a new object has hostObject " + std::to_string(camera->hostObject) +
                                              " and the name " + cited(camera->name) +
                                              "; both are copied from the record, which has " +
                                              std::to_string(m_hostObject) + " and " + cited(name));
    camera->hostObject = m_hostObject;
    camera->name = name;
    camera->hostInterface = this;
}

StrictHost::~StrictHost() {
    if (*m_call != '\0' && s_current == this) {
        check.complain("destroys-no-host-object",
                       "the module destroyed its host's interface; the interface is the host's, and outlives the "
                       "object");
        check.endNow();
    }
    try {
        release();
    } catch (const Abandoned&) {  // told already
    }
    const HostFrees frees;
    m_handles.clear();
    m_lentHandles.clear();
    m_transforms.clear();
    m_appearances.clear();
    m_surfaces.clear();
    m_cameras.clear();
}

std::string StrictHost::timed(const char* call, double time) const {
    return std::string(call) + "(" + validate::shown(time) + ")";
}

template <typename Work>
void StrictHost::enter(const char* call, const std::string& shownCall, Work work) {
    struct Around {
        StrictHost& host;
        StrictHost* current = s_current;
        const char* call = host.m_call;
        explicit Around(StrictHost& of) : host(of) {}
        Around(const Around&) = delete;
        Around& operator=(const Around&) = delete;
        ~Around() {
            s_current = current;
            host.m_call = call;
        }
    };
    const std::vector<ChannelFields> channels = channelFields();
    {
        const Around around(*this);
        s_current = this;
        m_call = call;
        m_stackAtCall = &around;
        m_shownCall = shownCall;
        check.inside(shownCall, std::move(work));
    }
    requireAllBack(shownCall);
    requireOwnFields(shownCall);
    requireShowable(shownCall);
    requireChannelFields(channels, shownCall);
}

void StrictHost::requireOwnFields(const std::string& call) {
    if (camera == nullptr) return;
    const auto changed = [&](bool is, const char* what) {
        if (is)
            check.complain("leaves-host-fields-alone", std::string(what) +
                                                           " of the object is not what the host put "
                                                           "there, behind " +
                                                           call + "; the field is the host's");
    };
    changed(camera->hostObject != m_hostObject, "hostObject");
    changed(camera->name != name, "name");
    changed(camera->hostInterface != this, "hostInterface");
    changed(link != (lacks.link ? nullptr : &appLink), "the interface's link");
    changed(appLink.first != nullptr || appLink.descriptor != (lacks.descriptor ? nullptr : &m_plugin),
            "the content of the interface's link");
    appLink.first = nullptr;
    appLink.descriptor = lacks.descriptor ? nullptr : &m_plugin;
    camera->hostObject = m_hostObject;
    camera->hostInterface = this;
    camera->name = name;
    link = lacks.link ? nullptr : &appLink;
}

/// Rows and outputs are numbers that a dialog can show, and check boxes are on or off.
void StrictHost::requireShowable(const std::string& call) {
    if (camera == nullptr || !expectsFinite) return;
    const auto complain = [&](const std::string& what) {
        check.complain("writes-finite-numbers", what + " behind " + call +
                                                    ", with settings and a scene that are ordinary; a dialog shows "
                                                    "finite numbers, and a check box is 0 or 1");
    };
    for (const Item& item : items) {
        unsigned char byte = 0;
        if (item.kind == Item::Kind::checkBox) std::memcpy(&byte, item.field, 1);
        if (byte > 1)
            complain("the item " + cited(item.label) + " holds the byte " + std::to_string(byte));
        else if (item.hasValue() && !std::isfinite(item.value()))
            complain("the item " + cited(item.label) + " holds " + validate::shown(item.value()));
    }
    for (const unidevice::OutputProperty* output : outputs)
        if (!std::isfinite(output->current))
            complain("the output channel " + cited(output->name) + " holds " + validate::shown(output->current));
}

std::vector<StrictHost::ChannelFields> StrictHost::channelFields() const {
    std::vector<ChannelFields> all;
    const auto add = [&](unidevice::Property* channel) {
        if (channel != nullptr)
            all.push_back(
                {channel, channel->name, channel->hostText, channel->type, channel->source, channel->registered});
    };
    std::for_each(inputs.begin(), inputs.end(), add);
    std::for_each(outputs.begin(), outputs.end(), add);
    return all;
}

void StrictHost::requireChannelFields(const std::vector<ChannelFields>& before, const std::string& call) {
    if (camera == nullptr || std::count(m_channelDeleted.begin(), m_channelDeleted.end(), true) > 0) return;
    for (const ChannelFields& was : before) {
        unidevice::Property& is = *was.channel;
        const char* what = is.name != was.name               ? "name"
                           : is.hostText != was.hostText     ? "hostText"
                           : is.type != was.type             ? "type"
                           : is.source != was.source         ? "source"
                           : is.registered != was.registered ? "list of observers"
                                                             : nullptr;
        if (what == nullptr) continue;
        check.complain("leaves-host-fields-alone", "the " + std::string(what) + " of the channel " + cited(was.name) +
                                                       " is not what the host put there, behind " + call +
                                                       "; an object may tune a channel, and all else of it is the "
                                                       "host's");
        is.name = was.name;
        is.hostText = was.hostText;
        is.type = was.type;
        is.source = was.source;
        is.registered = was.registered;
    }
}

void StrictHost::requireAllBack(const std::string& call) {
    if (m_out == 0) return;
    const auto collect = [&](auto& objects, const char* kind) {
        for (const auto& object : objects) {
            Lent& lent = object->lent;
            if (!lent.out || lent.kept) continue;
            lent.kept = true;  // told once; a release that comes late is no second one
            check.complain("gives-back-what-it-got",
                           call + " came back with " + lent.shown(kind) +
                               " not given back; what a get operation gave is released within the same function");
        }
    };
    if (keepsSurfaces())
        for (const auto& surface : m_surfaces) surface->lent.kept = surface->lent.out;
    collect(m_transforms, WatchedTransform::kKind);
    collect(m_appearances, WatchedAppearance::kKind);
    collect(m_cameras, WatchedCamera::kKind);
    collect(m_surfaces, WatchedSurface::kKind);
    m_out = 0;
}

bool StrictHost::keepsSurfaces() const {
    // Probing of a stored ground mesh is the one exception that the contract makes.
    const Item* stored = item("Store Ground Mesh Data");
    return stored != nullptr && stored->value() != 0.0;
}

void StrictHost::declare() {
    life = Life::declared;
    std::uint64_t answer = 0;
    enter("declareParameters", "declareParameters()", [&] { answer = camera->declareParameters(); });
    if (answer != 0)
        check.complain("answers-zero", "declareParameters() answered " + std::to_string(answer) + "; it answers 0");
    requireDeclarationWhole();
}

void StrictHost::createRig() {
    std::uint64_t answer = 0;
    enter("createRig", "createRig()", [&] { answer = camera->createRig(); });
    if (answer != 0)
        check.complain("answers-zero", "createRig() answered " + std::to_string(answer) + "; it answers 0");
    life = Life::rigged;
}

void StrictHost::rig() {
    declare();
    createRig();
}

std::uint64_t StrictHost::load(const Bytes& saved) {
    if (saved.empty()) return loadFrom(nullptr);
    Bytes lent(saved.size() + kBytesBehindBlock);
    std::copy(saved.begin(), saved.end(), lent.begin());
    const Bytes before = lent;
    const std::uint64_t answer = loadFrom(lent.data());
    if (lent != before)
        check.complain("reads-only-the-block",
                       "loadState() changed bytes of the block; the block is the host's and is only read");
    // What still looks at it reads nothing that makes sense.
    std::fill(lent.begin(), lent.end(), static_cast<unsigned char>(0xA5));
    return answer;
}

std::uint64_t StrictHost::loadFrom(const void* saved) {
    m_block = saved;
    std::uint64_t answer = 0;
    enter("loadState", "loadState()", [&] { answer = camera->loadState(); });
    m_block = nullptr;
    if (answer > 1)
        check.complain("answers-zero",
                       "loadState() answered " + std::to_string(answer) + "; it answers 0, or 1 if it cannot load");
    life = answer == 0 ? Life::rigged : Life::loadFailed;
    return answer;
}

Bytes StrictHost::save() {
    m_storedInThisSave = false;
    m_stored.clear();
    std::uint64_t answer = 0;
    enter("saveState", "saveState()", [&] { answer = camera->saveState(); });
    if (answer != 0)
        check.complain("answers-zero", "saveState() answered " + std::to_string(answer) + "; it answers 0");
    return m_stored;
}

void StrictHost::startRun(int frame) {
    life = Life::running;
    m_framesOfRun = 0;
    m_messagesOfFrames.clear();
    m_lastFrame = frame;
    feed(frame);
    const double time = m_time = scene.clock.time(frame);
    enter("startRun", timed("startRun", time), [&] { camera->startRun(time); });
}

void StrictHost::updateFrame(int frame) {
    ++m_framesOfRun;
    m_lastFrame = frame;
    feed(frame);
    const double time = m_time = scene.clock.time(frame);
    enter("updateFrame", timed("updateFrame", time), [&] { camera->updateFrame(time); });
}

void StrictHost::showFrame(double time) {
    const std::uint64_t before = writes;
    enter("showFrame", timed("showFrame", time), [&] { camera->showFrame(time); });
    if (writes != before)
        check.complain("shows-any-time",
                       timed("showFrame", time) +
                           " set a transform; looking through the timeline moves nothing, what is recorded is shown",
                       check.level >= Level::strict ? Severity::failure : Severity::warning);
}

void StrictHost::stopRun(int frame) {
    const double time = scene.clock.time(frame);
    enter("stopRun", timed("stopRun", time), [&] { camera->stopRun(time); });
    requireFewMessages();
    life = Life::rigged;
}

void StrictHost::release() {
    if (camera == nullptr) return;
    dropRecords();
    ovs::CCamera* gone = std::exchange(camera, nullptr);
    enter("release", "release()", [&] { gone->release(); });
    life = Life::released;
    for (const bool deleted : m_channelDeleted)
        if (deleted)
            check.complain("destroys-no-host-object",
                           "the object deleted an input channel; channels are the host's and outlive the object");
    const HostFrees frees;
    if (std::none_of(m_channelDeleted.begin(), m_channelDeleted.end(), [](bool deleted) { return deleted; }))
        for (unidevice::Property* channel : inputs) check.inside("~Property()", [&] { delete channel; });
    inputs.clear();
    for (unidevice::OutputProperty* channel : outputs) delete channel;
    outputs.clear();
    items.clear();
}

void StrictHost::edit(const Item& item, double value) {
    item.write(value);
    tell(item, item.label);
}

void StrictHost::tell(const Item& item, const std::string& text) {
    if (item.callback == nullptr) return;
    enter("onParameterChanged", "onParameterChanged(" + cited(text) + ")",
          [&] { item.callback->onParameterChanged(text); });
}

void StrictHost::refreshOutputs() {
    for (unidevice::OutputProperty* channel : outputs)
        callObject(kStoreOutput, static_cast<unidevice::Property*>(channel));
}

std::uint64_t StrictHost::callObject(std::uint32_t extension, void* argument) {
    std::uint64_t answer = 0;
    enter("callExtension", "callExtension(" + std::to_string(extension) + ")",
          [&] { answer = camera->callExtension(extension, argument); });
    return answer;
}

void StrictHost::undo(std::size_t from, std::size_t to) {
    m_undoing = true;
    for (std::size_t i = std::min(to, records.size()); i > from; --i)
        enter("undo", "CUndo::undo(true)", [&] { records[i - 1]->undo(true); });
    m_undoing = false;
}

void StrictHost::redo(std::size_t from, std::size_t to) {
    m_undoing = true;
    const std::size_t count = std::min(to, records.size());
    for (std::size_t i = from; i < count; ++i) enter("redo", "CUndo::redo()", [&] { records[i]->redo(); });
    m_undoing = false;
}

void StrictHost::dropRecords() {
    const std::vector<ovs::CUndo*> gone = std::exchange(records, {});
    m_everPushed.clear();
    for (ovs::CUndo* record : gone) enter("CUndo::release", "CUndo::release()", [&] { record->release(); });
}

const Item* StrictHost::item(const std::string& label) const {
    for (const Item& one : items)
        if (one.label == label) return &one;
    return nullptr;
}

bool StrictHost::isEditable(const Item& one) const { return one.hasValue() && !isCarGauge(one.label); }

std::vector<Item> StrictHost::editableItems() const {
    std::vector<Item> all;
    for (const Item& one : items)
        if (isEditable(one)) all.push_back(one);
    return all;
}

stage::Element* StrictHost::element(const std::string& identifier) const { return scene.find(name, identifier); }

std::vector<stage::Element*> StrictHost::ownElements() const {
    std::vector<stage::Element*> all;
    for (const auto& one : scene.elements)
        if (!one->deleted && one->vehicle == name && !one->identifier.empty()) all.push_back(one.get());
    return all;
}

void StrictHost::feed(int frame) {
    if (!held.empty()) {
        for (std::size_t i = 0; i < std::min(axes.size(), held.size()); ++i)
            axes[i]->position = inputs[i] != nullptr && inputs[i]->type == 15 ? std::abs(held[i]) : held[i];
        return;
    }
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (inputs[i] == nullptr) continue;
        const double wave = std::sin(0.13 * frame + 0.9 * static_cast<double>(i));
        axes[i]->position = inputs[i]->type == 15 ? std::max(0.0, wave - 0.3) : 0.8 * wave;
    }
    // The first channel is the drive of a vehicle: it gets going.
    if (!axes.empty() && inputs[0] != nullptr) axes[0]->position = 0.7;
}

void StrictHost::requireDeclarationWhole() {
    if (m_groupOpen)
        check.complain("declares-in-order", "declareParameters() left the group " + cited(groups.back()) +
                                                " open; endGroup() closes each group");
    if (!groups.empty() && !m_dialogWhole)
        check.complain("declares-in-order",
                       "declareParameters() did not call endParameters(); it comes once, behind the last group");
    if (!inputs.empty() && !m_inputsWhole)
        check.complain(
            "declares-in-order",
            "declareParameters() did not call endInputProperties(); it comes once, behind the last input channel");
}

std::string StrictHost::shown(const stage::Element* of) const {
    if (of == nullptr) return "null";
    return cited(of->vehicle == name && !of->identifier.empty() ? of->identifier : of->name);
}

WatchedHandle* StrictHost::handleOf(stage::Element* of) {
    if (of == nullptr) return nullptr;
    std::unique_ptr<WatchedHandle>& handle = m_handles[of];
    if (handle == nullptr) handle = std::make_unique<WatchedHandle>(*this, *of, nullptr);
    m_given.insert(handle.get());
    return handle.get();
}

WatchedHandle* StrictHost::lendHandle(stage::Element* of, const stage::Element& giver) {
    if (of == nullptr) return nullptr;
    m_lentHandles.push_back(std::make_unique<WatchedHandle>(*this, *of, &giver));
    m_given.insert(m_lentHandles.back().get());
    return m_lentHandles.back().get();
}

void StrictHost::takeHandleBack(ovs::MeshHandle* handle, const stage::Element& giver) {
    if (elementOf(handle, "releaseHandle") == nullptr) return;
    auto& own = static_cast<WatchedHandle&>(*handle);
    if (own.giver != &giver)
        check.complain("gives-back-once", "the object gave the handle of " + shown(&own.element) +
                                              " to releaseHandle() of " + shown(&giver) +
                                              ", which had not given it; it takes what its own getParent() and "
                                              "getChild() gave");
    own.released = own.giver != nullptr;
}

void StrictHost::requireUnreleased(const WatchedHandle& handle, const char* service) {
    if (!handle.released) return;
    const bool again = std::string_view(service) == "releaseHandle";
    check.complain(again ? "gives-back-once" : "uses-nothing-given-back",
                   again ? "the object gave a handle of " + shown(&handle.element) +
                               " back twice; what was given out is released once"
                         : "the module used a handle of " + shown(&handle.element) + " for " + service +
                               " that it had given back; a handle is dead from its releaseHandle() on");
}

void StrictHost::requireOwn(const stage::Element& element, const char* service) {
    if (element.vehicle == name && !element.identifier.empty()) return;
    check.complain("leaves-other-elements-alone",
                   "the object asked for " + std::string(service) + " of " + shown(&element) +
                       ", which it had not made; what users and other objects have in the scene stays as it is");
}

void StrictHost::requireFrameTime(const stage::Element& element, double time) {
    const std::string_view call = m_call;
    if (call != "updateFrame" && call != "startRun") return;
    const double from =
        call == "startRun" ? m_time - scene.clock.snap() : m_time - scene.clock.step() + scene.clock.snap();
    if (time >= from && time <= m_time + scene.clock.snap()) return;
    check.complain("sets-at-the-frames-time",
                   m_shownCall + " set a transform of " + shown(&element) + " at the time " + validate::shown(time) +
                       "; what a frame sets lies behind the frame before and not behind its own time",
                   check.level >= Level::strict ? Severity::failure : Severity::warning);
}

void StrictHost::requireRigBuilt(const stage::Element& root) {
    const auto complain = [&](const std::string& what) {
        check.complain("keeps-to-the-agreed-calls", "the module sent slot 6 to " + shown(&root) + what +
                                                        "; it is sent once to the root of a new rig, in createRig()");
    };
    if (std::string_view(m_call) != "createRig") complain(" in " + m_shownCall);
    if (root.parent != nullptr) complain(", which hangs below " + shown(root.parent));
    if (m_root != nullptr && m_root != &root) complain(", having sent it to " + shown(m_root));
    m_root = &root;
}

stage::Element* StrictHost::elementOf(const ovs::MeshHandle* handle, const char* service) {
    if (handle == nullptr) return nullptr;
    if (m_given.count(handle) == 0) {
        check.complain("passes-own-handles", std::string("the module gave ") + service +
                                                 " a handle that its host had not given out to this object");
        return nullptr;
    }
    const auto& own = static_cast<const WatchedHandle&>(*handle);
    requireUnreleased(own, service);
    return &own.element;
}

}  // namespace ond::validate
