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

}  // namespace

Vehicle::Vehicle(ovs::CCameraPlugin* plugin, std::string vehicleName, Scene& hostScene, UndoStack& hostUndo)
    : name(std::move(vehicleName)), scene(hostScene), undo(hostUndo) {
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

void Vehicle::call(const char* operation) {
    m_call = operation;
    showTimeToAxes();
}

void Vehicle::showTimeToAxes() {
    for (const auto& axis : axes) axis->show(scene.clock.time(scene.clock.now));
}

void Vehicle::require(std::initializer_list<Life> states, const char* operation) {
    if (std::find(states.begin(), states.end(), life) == states.end())
        complain(std::string(operation) + " in state " + std::to_string(static_cast<int>(life)));
}

void Vehicle::requireBetweenDeclareAndRelease(const char* operation) {
    require({Life::declared, Life::rigged, Life::running}, operation);
}

void Vehicle::requireCall(const char* call, const char* operation) {
    if (std::string(m_call) != call) complain(std::string(operation) + " outside of " + call);
}

void Vehicle::complain(const std::string& what) { misuse.push_back(name + ": " + what + " (" + m_call + ")"); }

void Vehicle::declare() {
    require({Life::created}, "declareParameters");
    if (faults.withoutDescriptor) appLink.descriptor = nullptr;
    life = Life::declared;
    call("declareParameters");
    {
        const ModuleBoundary::Enter enter;
        if (camera->declareParameters() != 0) complain("declareParameters() did not answer 0");
    }
    call("");
}

void Vehicle::createRig() {
    require({Life::declared}, "createRig");
    call("createRig");
    {
        const ModuleBoundary::Enter enter;
        if (camera->createRig() != 0) complain("createRig() did not answer 0");
    }
    life = Life::rigged;
    call("");
}

std::uint64_t Vehicle::load() {
    require({Life::declared}, "loadState");
    call("loadState");
    std::uint64_t result = 0;
    {
        const ModuleBoundary::Enter enter;
        result = camera->loadState();
    }
    life = result == 0 ? Life::rigged : Life::loadFailed;
    call("");
    return result;
}

void Vehicle::save() {
    require({Life::rigged}, "saveState");
    call("saveState");
    {
        const ModuleBoundary::Enter enter;
        if (camera->saveState() != 0) complain("saveState() did not answer 0");
    }
    call("");
}

void Vehicle::startRun(int frame) {
    require({Life::rigged}, "startRun");
    life = Life::running;
    call("startRun");
    {
        const ModuleBoundary::Enter enter;
        camera->startRun(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::updateFrame(int frame) {
    require({Life::running}, "updateFrame");
    call("updateFrame");
    {
        const ModuleBoundary::Enter enter;
        camera->updateFrame(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::showFrame(int frame) {
    require({Life::rigged, Life::running}, "showFrame");
    call("showFrame");
    {
        const ModuleBoundary::Enter enter;
        camera->showFrame(scene.clock.time(frame));
    }
    call("");
}

void Vehicle::stopRun(int frame) {
    require({Life::running}, "stopRun");
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
    require({Life::rigged}, "onParameterChanged");
    const DialogItem item = dialog.at(itemLabel);
    const double before = item.value();
    item.write(newValue);
    const double after = item.value();
    undo.open();
    undo.push([item, before] { item.write(before); }, [item, after] { item.write(after); }, this);
    if (item.callback != nullptr) {
        call("onParameterChanged");
        {
            const ModuleBoundary::Enter enter;
            item.callback->onParameterChanged(itemLabel);
        }
        call("");
    }
    undo.close();
}

void Vehicle::press(const std::string& itemLabel) {
    require({Life::rigged}, "onParameterChanged");
    const DialogItem& item = dialog.at(itemLabel);
    call("onParameterChanged");
    {
        const ModuleBoundary::Enter enter;
        item.callback->onParameterChanged(itemLabel);
    }
    call("");
}

void Vehicle::send(const std::string& text) {
    require({Life::rigged}, "onParameterChanged");
    const auto listening = std::find_if(dialog.items.begin(), dialog.items.end(),
                                        [](const DialogItem& item) { return item.callback != nullptr; });
    call("onParameterChanged");
    {
        const ModuleBoundary::Enter enter;
        listening->callback->onParameterChanged(text);
    }
    call("");
}

void Vehicle::refreshOutputs() {
    requireBetweenDeclareAndRelease("callExtension");
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
    for (const auto& property : properties)
        all.channels.push_back(
            {property->name, property->multiplier, property->deadZone, property->exponent, property->offset});
    return all;
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
            item.write(row->second);
    }
}

std::vector<Message> Vehicle::takeNewMessages() {
    std::vector<Message> fresh(messages.begin() + static_cast<std::ptrdiff_t>(m_messagesTaken), messages.end());
    m_messagesTaken = messages.size();
    return fresh;
}

InputAxis& Vehicle::axis(const std::string& start) { return startingWith(axes, properties, start); }

unidevice::Property& Vehicle::property(const std::string& start) { return startingWith(properties, properties, start); }

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
            if (object->lent.out) names.push_back(std::string(kind) + " of " + label(object->lent.element));
    };
    collect(m_transforms, "transform");
    collect(m_appearances, "appearance");
    collect(m_cameras, "camera");
    return names;
}

std::string Vehicle::label(const Element* element) const {
    if (!log.enabled) return {};
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
