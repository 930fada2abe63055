// The host's calls into the vehicle, and what a test asks of the pair.
#include "host/VehicleHost.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "host/HostObjects.h"
#include "ond/ovs/CCameraPlugin.h"

namespace ond::test {

namespace {

template <typename Items>
auto& startingWith(Items& items, const std::vector<std::unique_ptr<unidevice::Property>>& properties,
                   const std::string& start) {
    for (std::size_t i = 0; i < properties.size(); ++i)
        if (properties[i]->name.compare(0, start.size(), start) == 0) return *items[i];
    std::fprintf(stderr, "no input channel begins with '%s'\n", start.c_str());
    std::abort();
}

}  // namespace

VehicleHost::VehicleHost(ovs::CCameraPlugin* plugin, std::string vehicleName, Scene& hostScene, UndoStack& hostUndo)
    : name(std::move(vehicleName)), scene(hostScene), undo(hostUndo) {
    appLink.descriptor = plugin;
    link = &appLink;
    const ovs::CameraCreationRecord record{{0, 0}, 4711, name};
    {
        const ModuleScope::Enter enter;
        camera = plugin->createCamera(record);
    }
    if (camera == nullptr) {
        std::fprintf(stderr, "the plug-in makes no vehicle\n");
        std::abort();
    }
    camera->hostInterface = this;
}

VehicleHost::~VehicleHost() { release(); }

void VehicleHost::call(const char* operation) {
    m_call = operation;
    showTimeToAxes();
}

void VehicleHost::showTimeToAxes() {
    for (const auto& axis : axes) axis->now = scene.clock.time(scene.clock.now);
}

void VehicleHost::require(std::initializer_list<Life> states, const char* operation) {
    if (std::find(states.begin(), states.end(), life) == states.end())
        complain(std::string(operation) + " in state " + std::to_string(static_cast<int>(life)));
}

void VehicleHost::requireBetweenDeclareAndRelease(const char* operation) {
    require({Life::declared, Life::rigged, Life::running}, operation);
}

void VehicleHost::requireCall(const char* call, const char* operation) {
    if (std::string(m_call) != call) complain(std::string(operation) + " outside of " + call);
}

void VehicleHost::complain(const std::string& what) { misuse.push_back(name + ": " + what + " (" + m_call + ")"); }

void VehicleHost::declare() {
    require({Life::created}, "declareParameters");
    if (faults.withoutDescriptor) appLink.descriptor = nullptr;
    life = Life::declared;
    call("declareParameters");
    {
        const ModuleScope::Enter enter;
        if (camera->declareParameters() != 0) complain("declareParameters() did not answer 0");
    }
    call("");
}

void VehicleHost::createRig() {
    require({Life::declared}, "createRig");
    call("createRig");
    {
        const ModuleScope::Enter enter;
        if (camera->createRig() != 0) complain("createRig() did not answer 0");
    }
    life = Life::rigged;
    call("");
}

std::uint64_t VehicleHost::load() {
    require({Life::declared}, "loadState");
    call("loadState");
    std::uint64_t result = 0;
    {
        const ModuleScope::Enter enter;
        result = camera->loadState();
    }
    life = result == 0 ? Life::rigged : Life::loadFailed;
    call("");
    return result;
}

void VehicleHost::save() {
    require({Life::rigged}, "saveState");
    call("saveState");
    {
        const ModuleScope::Enter enter;
        if (camera->saveState() != 0) complain("saveState() did not answer 0");
    }
    call("");
}

void VehicleHost::startRun(int frame) {
    require({Life::rigged}, "startRun");
    life = Life::running;
    call("startRun");
    {
        const ModuleScope::Enter enter;
        camera->startRun(scene.clock.time(frame));
    }
    call("");
}

void VehicleHost::updateFrame(int frame) {
    require({Life::running}, "updateFrame");
    call("updateFrame");
    {
        const ModuleScope::Enter enter;
        camera->updateFrame(scene.clock.time(frame));
    }
    call("");
}

void VehicleHost::showFrame(int frame) {
    require({Life::rigged, Life::running}, "showFrame");
    call("showFrame");
    {
        const ModuleScope::Enter enter;
        camera->showFrame(scene.clock.time(frame));
    }
    call("");
}

void VehicleHost::stopRun(int frame) {
    require({Life::running}, "stopRun");
    call("stopRun");
    {
        const ModuleScope::Enter enter;
        camera->stopRun(scene.clock.time(frame));
    }
    life = Life::rigged;
    call("");
}

void VehicleHost::release() {
    if (camera == nullptr) return;
    undo.drop(this);
    call("release");
    {
        const ModuleScope::Enter enter;
        camera->release();
    }
    camera = nullptr;
    life = Life::released;
    call("");
    properties.clear();
    outputs.clear();
    dialog.items.clear();
}

void VehicleHost::edit(const std::string& itemLabel, double newValue) {
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
            const ModuleScope::Enter enter;
            item.callback->onParameterChanged(itemLabel);
        }
        call("");
    }
    undo.close();
}

void VehicleHost::press(const std::string& itemLabel) {
    require({Life::rigged}, "onParameterChanged");
    const DialogItem& item = dialog.at(itemLabel);
    call("onParameterChanged");
    {
        const ModuleScope::Enter enter;
        item.callback->onParameterChanged(itemLabel);
    }
    call("");
}

void VehicleHost::send(const std::string& text) {
    require({Life::rigged}, "onParameterChanged");
    const auto listening = std::find_if(dialog.items.begin(), dialog.items.end(),
                                        [](const DialogItem& item) { return item.callback != nullptr; });
    call("onParameterChanged");
    {
        const ModuleScope::Enter enter;
        listening->callback->onParameterChanged(text);
    }
    call("");
}

ScriptedAxis& VehicleHost::axis(const std::string& start) { return startingWith(axes, properties, start); }

unidevice::Property& VehicleHost::property(const std::string& start) {
    return startingWith(properties, properties, start);
}

unidevice::OutputProperty* VehicleHost::output(const std::string& channelName) const {
    for (const auto& output : outputs)
        if (output->name == channelName) return output.get();
    return nullptr;
}

bool VehicleHost::hasElement(const std::string& identifier) const { return scene.find(name, identifier) != nullptr; }

Element& VehicleHost::element(const std::string& identifier) const {
    if (Element* living = scene.find(name, identifier)) return *living;
    for (const auto& element : scene.elements)
        if (element->vehicle == name && element->identifier == identifier) return *element;
    std::fprintf(stderr, "%s has no element '%s'\n", name.c_str(), identifier.c_str());
    std::abort();
}

util::Matrix4 VehicleHost::world(const std::string& identifier, int frame) const {
    return scene.world(element(identifier), scene.clock.time(frame));
}

util::Matrix4 VehicleHost::local(const std::string& identifier, int frame) const {
    return scene.local(element(identifier), scene.clock.time(frame));
}

std::vector<std::string> VehicleHost::open() const {
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

std::string VehicleHost::label(const Element* element) const {
    if (!log.enabled) return {};
    if (element == nullptr) return "null";
    return element->vehicle == name && !element->identifier.empty() ? element->identifier : element->name;
}

std::string VehicleHost::label(ovs::MeshHandle* handle) const { return label(elementOf(handle)); }

ovs::MeshHandle* VehicleHost::handleOf(Element* element) {
    if (element == nullptr) return nullptr;
    std::unique_ptr<HostHandle>& handle = m_handles[element];
    if (handle == nullptr) handle = std::make_unique<HostHandle>(*this, *element);
    return handle.get();
}

Element* VehicleHost::elementOf(ovs::MeshHandle* handle) {
    return handle == nullptr ? nullptr : &static_cast<HostHandle*>(handle)->element;
}

}  // namespace ond::test
