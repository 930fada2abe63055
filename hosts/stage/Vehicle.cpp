// The host's calls into the vehicle, and what a test asks of the pair.
#include "stage/Vehicle.h"

#include <algorithm>
#include <utility>

#include "ond/ovs/CCameraPlugin.h"
#include "stage/LentObjects.h"
#include "stage/StageError.h"

namespace ond::stage {

namespace {

/// The vehicle's extension that stores the value of one of its output channels.
constexpr std::uint32_t kStoreOutput = 40;

template <typename Items>
auto& startingWith(Items& items, const std::vector<std::unique_ptr<unidevice::Property>>& properties,
                   const std::string& start) {
    for (std::size_t i = 0; i < properties.size(); ++i)
        if (properties[i]->name.compare(0, start.size(), start) == 0) return *items[i];
    throw StageError("no input channel begins with '" + start + "'");
}

/// Where in its life a vehicle is, behind the name of a call that does not belong there.
const char* when(Vehicle::Life life) {
    switch (life) {
        case Vehicle::Life::created: return "before it was declared";
        case Vehicle::Life::declared: return "before it was rigged";
        case Vehicle::Life::rigged: return "while it is rigged and not running";
        case Vehicle::Life::running: return "during a run";
        case Vehicle::Life::loadFailed: return "after its load failed";
        case Vehicle::Life::released: return "after it was released";
    }
    return "";
}

}  // namespace

Vehicle::Vehicle(ovs::CCameraPlugin* plugin, std::string vehicleName, Scene& hostScene, UndoStack& hostUndo)
    : name(std::move(vehicleName)), scene(hostScene), undo(hostUndo) {
    if (ModuleBoundary::underWay())
        throw StageError("the vehicle '" + name + "' cannot be made inside of a call of another one");
    appLink.descriptor = plugin;
    link = &appLink;
    const ovs::CameraCreationRecord record{{0, 0}, 4711, name};
    {
        const ModuleBoundary::Enter enter;
        camera = plugin->createCamera(record);
    }
    if (camera == nullptr) throw StageError("the module makes no vehicle");
    camera->hostInterface = this;
}

Vehicle::~Vehicle() { release(); }

void Vehicle::call(const char* operation) { m_call = operation; }

void Vehicle::feedAxes() {
    for (const auto& axis : axes) axis->show(scene.clock.time(scene.clock.now));
    m_fed = scene.clock.now;
}

void Vehicle::feedForCall() {
    if (m_fed != scene.clock.now) feedAxes();
    m_fed.reset();
}

bool Vehicle::mayCall(std::initializer_list<Life> states, const char* operation) {
    if (*m_call != '\0') return refuse(std::string(operation) + " inside of another call");
    if (ModuleBoundary::underWay()) return refuse(std::string(operation) + " inside of a call of another vehicle");
    if (std::find(states.begin(), states.end(), life) == states.end())
        return refuse(std::string(operation) + ' ' + when(life));
    return true;
}

bool Vehicle::mayCall(std::initializer_list<Life> states, const char* operation, int frame) {
    if (!mayCall(states, operation)) return false;
    if (frame != scene.clock.now)
        return refuse(std::string(operation) + " at frame " + std::to_string(frame) +
                      " while the timeline shows frame " + std::to_string(scene.clock.now));
    return true;
}

bool Vehicle::refuse(const std::string& what) {
    complain(what);
    if (strict) throw StageError(misuse.back());
    return false;
}

bool Vehicle::require(std::initializer_list<Life> states, const std::string& operation) {
    if (std::find(states.begin(), states.end(), life) != states.end()) return true;
    complain("the vehicle asked for " + operation + ' ' + when(life));
    return false;
}

bool Vehicle::requireBetweenDeclareAndRelease(const std::string& operation) {
    return require({Life::declared, Life::rigged, Life::running}, operation);
}

bool Vehicle::requireWhole(const char* operation, const Element* element) {
    if (life == Life::declared || life == Life::rigged || life == Life::running) return true;
    return requireBetweenDeclareAndRelease(std::string(operation) + " of " + nameOf(element));
}

bool Vehicle::requireCall(const char* call, const std::string& operation) {
    if (std::string(m_call) == call) return true;
    complain("the vehicle asked for " + operation + " outside of " + call);
    return false;
}

bool Vehicle::requireDeclaring(const std::string& operation) {
    if (!requireCall("declareParameters", operation)) return false;
    if (!dialog.whole) return true;
    complain(operation + " behind endParameters");
    return false;
}

void Vehicle::complain(const std::string& what) {
    misuse.push_back(name + ": " + what + (*m_call == '\0' ? "" : std::string(" (in ") + m_call + ")"));
}

void Vehicle::declare() {
    if (!mayCall({Life::created}, "declareParameters")) return;
    if (faults.withoutDescriptor) appLink.descriptor = nullptr;
    life = Life::declared;
    call("declareParameters");
    {
        const ModuleBoundary::Enter enter;
        if (camera->declareParameters() != 0) complain("declareParameters() did not answer 0");
    }
    if (!m_inputsWhole) complain("endInputProperties did not come");
    if (!dialog.whole) complain("endParameters did not come");
    call("");
}

void Vehicle::createRig() {
    if (!mayCall({Life::declared}, "createRig")) return;
    call("createRig");
    {
        const ModuleBoundary::Enter enter;
        if (camera->createRig() != 0) complain("createRig() did not answer 0");
    }
    life = Life::rigged;
    call("");
}

std::uint64_t Vehicle::load() {
    if (!mayCall({Life::declared}, "loadState")) return 1;
    call("loadState");
    std::uint64_t result = 0;
    {
        const ModuleBoundary::Enter enter;
        result = camera->loadState();
    }
    m_lentChunk = std::vector<unsigned char>();
    life = result == 0 ? Life::rigged : Life::loadFailed;
    call("");
    return result;
}

void Vehicle::save() {
    if (!mayCall({Life::rigged}, "saveState")) return;
    call("saveState");
    {
        const ModuleBoundary::Enter enter;
        if (camera->saveState() != 0) complain("saveState() did not answer 0");
    }
    call("");
}

void Vehicle::startRun(int frame) {
    if (!mayCall({Life::rigged}, "startRun", frame)) return;
    life = Life::running;
    m_runStart = m_lastFrame = frame;
    call("startRun");
    feedForCall();
    {
        const ModuleBoundary::Enter enter;
        camera->startRun(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::updateFrame(int frame) {
    if (!mayCall({Life::running}, "updateFrame", frame)) return;
    // The start of the run may be sent as its first frame, too.
    const bool follows = frame == m_lastFrame + 1 || (frame == m_runStart && m_lastFrame == m_runStart);
    if (!follows &&
        !refuse("updateFrame of frame " + std::to_string(frame) + " behind frame " + std::to_string(m_lastFrame)))
        return;
    m_lastFrame = frame;
    call("updateFrame");
    feedForCall();
    {
        const ModuleBoundary::Enter enter;
        camera->updateFrame(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::showFrame(int frame) {
    if (!mayCall({Life::rigged, Life::running}, "showFrame")) return;
    call("showFrame");
    {
        const ModuleBoundary::Enter enter;
        camera->showFrame(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::stopRun(int frame) {
    if (!mayCall({Life::running}, "stopRun")) return;
    if (frame != m_lastFrame && !refuse("stopRun at frame " + std::to_string(frame) + " of a run that is at frame " +
                                        std::to_string(m_lastFrame)))
        return;
    call("stopRun");
    {
        const ModuleBoundary::Enter enter;
        camera->stopRun(scene.clock.time(frame));
    }
    life = Life::rigged;
    call("");
}

void Vehicle::release() {
    if (camera == nullptr) return;
    if (*m_call != '\0' || ModuleBoundary::underWay()) complain("release inside of another call");
    undo.drop(this);
    call("release");
    {
        const ModuleBoundary::Enter enter;
        camera->release();
    }
    camera = nullptr;
    life = Life::released;
    call("");
    properties.clear();
    outputs.clear();
    dialog.items.clear();
}

void Vehicle::edit(const std::string& itemLabel, double newValue) {
    if (!mayCall({Life::rigged}, "onParameterChanged")) return;
    const DialogItem item = dialog.at(itemLabel);
    if (item.kind == DialogItem::Kind::button) {
        tell(item, itemLabel);
        return;
    }
    if (item.isGauge() && !refuse("an edit of '" + itemLabel + "', which only shows a value")) return;
    const double before = item.value();
    item.write(newValue);
    const double after = item.value();
    undo.open();
    undo.push([item, before] { item.restore(before); }, [item, after] { item.restore(after); }, this);
    tell(item, itemLabel);
    undo.close();
}

void Vehicle::tell(const DialogItem& item, const std::string& text) {
    if (item.callback == nullptr) return;
    call("onParameterChanged");
    {
        const ModuleBoundary::Enter enter;
        item.callback->onParameterChanged(text);
    }
    call("");
}

void Vehicle::press(const std::string& itemLabel) {
    if (mayCall({Life::rigged}, "onParameterChanged")) tell(dialog.at(itemLabel), itemLabel);
}

void Vehicle::send(const std::string& text) {
    if (!mayCall({Life::rigged}, "onParameterChanged")) return;
    const auto listening = std::find_if(dialog.items.begin(), dialog.items.end(),
                                        [](const DialogItem& item) { return item.callback != nullptr; });
    if (listening != dialog.items.end()) tell(*listening, text);
}

void Vehicle::refreshOutputs() {
    if (!mayCall({Life::declared, Life::rigged, Life::running}, "callExtension")) return;
    call("callExtension");
    for (const auto& output : outputs) {
        const ModuleBoundary::Enter enter;
        camera->callExtension(kStoreOutput, static_cast<unidevice::Property*>(output.get()));
    }
    call("");
}

VehicleState Vehicle::state() {
    save();
    VehicleState all{name, armed, chunk, {}, {}};
    for (const DialogItem& item : dialog.items)
        if (item.kind != DialogItem::Kind::button) all.rows[item.label] = item.value();
    all.channels = channels();
    return all;
}

std::vector<ChannelSettings> Vehicle::channels() const {
    std::vector<ChannelSettings> all;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const unidevice::Property& channel = *properties[i];
        all.push_back(
            {channel.name, channel.multiplier, channel.deadZone, channel.exponent, channel.offset, wireOf(i)});
    }
    return all;
}

ChannelWire Vehicle::wireOf(std::size_t channel) const {
    const unidevice::ControlSource* source = properties[channel]->source;
    if (source == nullptr) return {false, "", ""};
    const auto* axis = dynamic_cast<const InputAxis*>(source);
    const bool ofScene = axis != nullptr && axis->owner() != nullptr && &axis->owner()->scene == &scene;
    if (!ofScene || axis == axes[channel].get()) return {};
    return {true, axis->owner() == this ? "" : axis->owner()->name, axis->name()};
}

void Vehicle::become(const VehicleState& state) {
    armed = state.armed;
    chunk = state.block;
    declare();
    for (const ChannelSettings& settings : state.channels)
        for (const auto& channel : properties)
            if (channel->name == settings.name) {
                channel->multiplier = settings.multiplier;
                channel->deadZone = settings.deadZone;
                channel->exponent = settings.exponent;
                channel->offset = settings.offset;
            }
    if (load() != 0) throw StageError("the vehicle '" + name + "' does not accept its saved state");
    for (const DialogItem& item : dialog.items) {
        const auto row = state.rows.find(item.label);
        if (row != state.rows.end() && item.kind != DialogItem::Kind::button && item.value() != row->second)
            item.restore(row->second);
    }
}

std::vector<Message> Vehicle::takeNewMessages() {
    std::vector<Message> fresh(messages.begin() + static_cast<std::ptrdiff_t>(m_messagesTaken), messages.end());
    m_messagesTaken = messages.size();
    return fresh;
}

InputAxis& Vehicle::axis(const std::string& start) { return startingWith(axes, properties, start); }

unidevice::Property& Vehicle::property(const std::string& start) { return startingWith(properties, properties, start); }

double Vehicle::input(std::size_t channel) const {
    // The channels of a released vehicle are gone.
    unidevice::ControlSource* const source = channel < properties.size() ? properties[channel]->source : nullptr;
    if (source == nullptr) return 0.0;
    const auto* axis = dynamic_cast<const InputAxis*>(source);
    return axis != nullptr ? axis->shown() : source->currentValue();
}

unidevice::OutputProperty* Vehicle::output(const std::string& channelName) const {
    for (const auto& output : outputs)
        if (output->name == channelName) return output.get();
    return nullptr;
}

bool Vehicle::hasElement(const std::string& identifier) const { return scene.find(name, identifier) != nullptr; }

Element& Vehicle::element(const std::string& identifier) const {
    if (Element* living = scene.find(name, identifier)) return *living;
    for (const auto& element : scene.elements)
        if (element->vehicle == name && element->identifier == identifier) return *element;
    throw StageError(name + " has no element '" + identifier + "'");
}

util::Matrix4 Vehicle::world(const std::string& identifier, int frame) const {
    return scene.world(element(identifier), scene.clock.time(frame));
}

util::Matrix4 Vehicle::local(const std::string& identifier, int frame) const {
    return scene.local(element(identifier), scene.clock.time(frame));
}

std::vector<std::string> Vehicle::open() const {
    std::vector<std::string> names;
    const auto collect = [&](const auto& objects, const char* kind) {
        for (const auto& object : objects)
            if (object->lent.out) names.push_back(std::string(kind) + " of " + nameOf(object->lent.element));
    };
    collect(m_transforms, "transform");
    collect(m_appearances, "appearance");
    collect(m_cameras, "camera");
    return names;
}

void Vehicle::dropSurfaces() {
    for (const auto& surface : m_surfaces) surface->lent.out = false;
    m_openSurfaces = 0;
}

std::string Vehicle::label(const Element* element) const { return log.enabled ? nameOf(element) : std::string(); }

std::string Vehicle::nameOf(const Element* element) const {
    if (element == nullptr) return "null";
    return element->vehicle == name && !element->identifier.empty() ? element->identifier : element->name;
}

std::string Vehicle::label(ovs::MeshHandle* handle) const { return label(elementOf(handle)); }

ovs::MeshHandle* Vehicle::handleOf(Element* element) {
    if (element == nullptr) return nullptr;
    std::unique_ptr<HostHandle>& handle = m_handles[element];
    if (handle == nullptr) handle = std::make_unique<HostHandle>(*this, *element);
    return handle.get();
}

Element* Vehicle::elementOf(ovs::MeshHandle* handle) {
    return handle == nullptr ? nullptr : &static_cast<HostHandle*>(handle)->element;
}

}  // namespace ond::stage
