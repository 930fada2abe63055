// The vehicle's calls into the host.
#include <algorithm>
#include <utility>

#include "stage/LentObjects.h"
#include "stage/Vehicle.h"

namespace ond::stage {

namespace {

/// Objects that were given back wait this long before they are given out again.
constexpr std::size_t kRestingObjects = 64;

/// A block is handed out without its length. Zeros behind it end the reading of one that was damaged: with fewer of
/// them a block that was cut off can be read past its end.
constexpr std::size_t kBytesBehindChunk = 4096;

template <typename Object>
Object* lend(std::deque<std::unique_ptr<Object>>& objects, Vehicle& host, Element& element, double time) {
    if (objects.size() >= kRestingObjects && !objects.front()->lent.out) {
        objects.push_back(std::move(objects.front()));
        objects.pop_front();
    } else {
        objects.push_back(std::make_unique<Object>());
    }
    objects.back()->lent = {&host, &element, time, true};
    return objects.back().get();
}

template <typename Object, typename Base>
bool takeBack(Base* object, Vehicle& host, const char* operation) {
    if (object == nullptr) {
        host.note(operation, "null");
        return false;
    }
    Lent& lent = static_cast<Object*>(object)->lent;
    if (lent.host != &host) {
        host.complain(std::string(operation) + " of an object that was lent to " + lent.host->name);
        return false;
    }
    const bool wasOut = lent.out;
    lent.use(operation);
    lent.out = false;
    host.note(operation, host.label(lent.element));
    return wasOut;
}

}  // namespace

void* Vehicle::callExtension(std::uint32_t id, void* argument) {
    const ModuleBoundary::Pause pause;
    if (!requireBetweenDeclareAndRelease("callExtension")) return nullptr;
    if (id != 41 || !faults.knowsExtension41) {
        complain("callExtension of number " + std::to_string(id) + ", which the host did not offer");
        return nullptr;
    }
    if (argument == nullptr) {
        complain("callExtension of number 41 without a record");
        return nullptr;
    }
    const auto& record = *static_cast<const unidevice::OutputChannelRecord*>(argument);
    note("callExtension", "41", record.name, std::to_string(record.type));
    outputs.push_back(std::make_unique<unidevice::OutputProperty>(record));
    return static_cast<unidevice::Property*>(outputs.back().get());
}

bool Vehicle::hasExtension(std::uint32_t id) {
    const ModuleBoundary::Pause pause;
    note("hasExtension", std::to_string(id));
    return id == 41 && faults.knowsExtension41;
}

void Vehicle::pushUndo(ovs::CUndo* record, std::int32_t reserved) {
    const ModuleBoundary::Pause pause;
    const bool allowed = require({Life::rigged, Life::running}, "pushUndo");
    if (reserved != 0) complain("pushUndo with a second argument other than 0");
    note("pushUndo");
    // A record must not outlive its vehicle.
    if (!allowed && life == Life::released) {
        if (record != nullptr) record->release();
        return;
    }
    undo.push(record, this);
}

unidevice::Property* Vehicle::createInputProperty(std::string channelName, std::uint32_t type,
                                                  unidevice::Property::Factory* factory) {
    const ModuleBoundary::Pause pause;
    if (!requireDeclaring("createInputProperty")) return nullptr;
    if (m_inputsWhole) complain("createInputProperty behind endInputProperties");
    if (type != 14 && type != 15) complain("an input channel of type " + std::to_string(type));
    note("createInputProperty", channelName, std::to_string(type));
    if (faults.refusesProperties) return nullptr;
    unidevice::Property* property = factory->create(channelName, static_cast<std::int32_t>(type));
    properties.emplace_back(property);
    axes.push_back(std::make_unique<InputAxis>(channelName, log, this));
    axes.back()->wire(*property);
    return property;
}

void Vehicle::endInputProperties() {
    const ModuleBoundary::Pause pause;
    if (!requireDeclaring("endInputProperties")) return;
    if (m_inputsWhole) complain("endInputProperties twice");
    note("endInputProperties");
    m_inputsWhole = true;
}

void Vehicle::endParameters() {
    const ModuleBoundary::Pause pause;
    if (!requireDeclaring("endParameters")) return;
    if (!dialog.groups.empty() && !dialog.groups.back().closed) complain("endParameters inside of a group");
    note("endParameters");
    dialog.whole = true;
}

void Vehicle::beginGroup(std::string title, std::string description) {
    const ModuleBoundary::Pause pause;
    if (!requireDeclaring("beginGroup")) return;
    if (!dialog.groups.empty() && !dialog.groups.back().closed) complain("beginGroup inside of a group");
    note("beginGroup", title);
    dialog.groups.push_back({std::move(title), std::move(description), false});
}

void Vehicle::endGroup() {
    const ModuleBoundary::Pause pause;
    if (!requireDeclaring("endGroup")) return;
    if (dialog.groups.empty() || dialog.groups.back().closed) complain("endGroup without a group");
    note("endGroup");
    if (!dialog.groups.empty()) dialog.groups.back().closed = true;
}

DialogItem* Vehicle::addItem(DialogItem::Kind kind, std::string itemLabel, std::string description,
                             Callback* callback) {
    if (!requireDeclaring("the item '" + itemLabel + "'")) return nullptr;
    if (dialog.groups.empty() || dialog.groups.back().closed)
        complain("the item '" + itemLabel + "' outside of a group");
    if (dialog.has(itemLabel)) complain("two items of the label '" + itemLabel + "'");
    DialogItem item;
    item.kind = kind;
    item.group = dialog.groups.empty() ? "" : dialog.groups.back().title;
    item.label = std::move(itemLabel);
    item.description = std::move(description);
    item.callback = callback;
    dialog.items.push_back(item);
    return &dialog.items.back();
}

void Vehicle::addIntParameter(std::string itemLabel, std::string description, std::int32_t* field, std::int32_t min,
                              std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                              const ovs::CS::Converter<std::int32_t>* converter, Callback* callback) {
    const ModuleBoundary::Pause pause;
    note("addInt", itemLabel);
    DialogItem* item = addItem(DialogItem::Kind::integer, std::move(itemLabel), std::move(description), callback);
    if (item == nullptr) return;
    item->integer = field;
    item->initial = *field;
    item->min = min;
    item->max = max;
    item->step = step;
    item->hint = hint;
    item->flag = flag;
    item->converter = converter;
}

void Vehicle::addDoubleParameter(std::string itemLabel, std::string description, double* field, double min, double max,
                                 double step, std::int32_t hint, bool flag, const ovs::CS::Converter<double>* converter,
                                 Callback* callback) {
    const ModuleBoundary::Pause pause;
    note("addDouble", itemLabel);
    DialogItem* item = addItem(DialogItem::Kind::number, std::move(itemLabel), std::move(description), callback);
    if (item == nullptr) return;
    item->number = field;
    item->initial = *field;
    item->min = min;
    item->max = max;
    item->step = step;
    item->hint = hint;
    item->flag = flag;
    item->converter = converter;
}

void Vehicle::addBoolParameter(std::string itemLabel, std::string description, bool* field, Callback* callback) {
    const ModuleBoundary::Pause pause;
    note("addBool", itemLabel);
    DialogItem* item = addItem(DialogItem::Kind::checkBox, std::move(itemLabel), std::move(description), callback);
    if (item == nullptr) return;
    item->checkBox = field;
    item->initial = *field ? 1.0 : 0.0;
}

void Vehicle::addButton(std::string itemLabel, std::string description, Callback* callback) {
    const ModuleBoundary::Pause pause;
    note("addButton", itemLabel);
    addItem(DialogItem::Kind::button, std::move(itemLabel), std::move(description), callback);
}

void Vehicle::refreshDialog() {
    const ModuleBoundary::Pause pause;
    requireBetweenDeclareAndRelease("refreshDialog");
    note("refreshDialog");
    ++dialog.refreshes;
}

void Vehicle::storeChunk(const void* data, std::uint64_t length) {
    const ModuleBoundary::Pause pause;
    if (!requireCall("saveState", "storeChunk")) return;
    note("storeChunk", std::to_string(length));
    const auto* bytes = static_cast<const unsigned char*>(data);
    chunk.assign(bytes, bytes + length);
}

const void* Vehicle::getChunk(std::int32_t reserved) {
    const ModuleBoundary::Pause pause;
    if (!requireCall("loadState", "getChunk")) return nullptr;
    if (reserved != 0) complain("getChunk with an argument other than 0");
    note("getChunk");
    if (chunk.empty()) return nullptr;
    if (!m_lentChunk.empty()) return m_lentChunk.data();
    // Of exactly this size, so that a memory checker sees a read behind the zeros.
    m_lentChunk = std::vector<unsigned char>(chunk.size() + kBytesBehindChunk);
    std::copy(chunk.begin(), chunk.end(), m_lentChunk.begin());
    return m_lentChunk.data();
}

void Vehicle::deleteElement(ovs::MeshHandle* handle, std::int32_t reserved1, std::int32_t reserved2) {
    const ModuleBoundary::Pause pause;
    const bool allowed = require({Life::declared, Life::rigged}, "deleteElement");
    if (reserved1 != 0 || reserved2 != 0) complain("deleteElement with arguments other than 0");
    note("deleteElement", label(handle));
    if (!allowed && life == Life::released) return;
    if (handle != nullptr && !elementOf(handle)->deleted) scene.remove(*elementOf(handle));
}

ovs::MeshHandle* Vehicle::findElement(std::string identifier) {
    const ModuleBoundary::Pause pause;
    require({Life::declared}, "findElement");
    note("findElement", identifier);
    return handleOf(scene.find(name, identifier));
}

Element& Vehicle::make(const std::string& identifier, ovs::MeshHandle* parent) {
    if (hasElement(identifier)) complain("a second element of the name " + identifier);
    Element* above = elementOf(parent);
    if (above != nullptr && above->deleted) above = nullptr;
    Element& element = scene.add(name + "_" + identifier, above);
    element.identifier = identifier;
    element.vehicle = name;
    return element;
}

ovs::MeshHandle* Vehicle::createCameraElement(std::string identifier, ovs::MeshHandle* parent, bool reserved) {
    const ModuleBoundary::Pause pause;
    require({Life::declared, Life::rigged}, "createCameraElement");
    if (reserved) complain("createCameraElement with true");
    note("createCameraElement", identifier, label(parent));
    Element& element = make(identifier, parent);
    element.isCamera = true;
    return handleOf(&element);
}

ovs::MeshHandle* Vehicle::createMeshElement(std::string identifier, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                            std::int32_t reserved) {
    const ModuleBoundary::Pause pause;
    require({Life::declared, Life::rigged}, "createMeshElement");
    if (reserved != 0) complain("createMeshElement with a last argument other than 0");
    note("createMeshElement", identifier, label(parent), std::to_string(mesh->getNumVertices()),
         std::to_string(mesh->getNumFaces()));
    Element& element = make(identifier, parent);
    scene.setShape(element, *mesh);
    return handleOf(&element);
}

ovs::TransformObject* Vehicle::getTransformObject(ovs::MeshHandle* handle, double time) {
    const ModuleBoundary::Pause pause;
    if (!requireWhole("getTransformObject", elementOf(handle))) return nullptr;
    note("getTransformObject", label(handle), at(time));
    if (handle == nullptr) {
        complain("getTransformObject of null");
        return nullptr;
    }
    Element& element = *elementOf(handle);
    return element.deleted ? nullptr : lend(m_transforms, *this, element, time);
}

ovs::AppearanceObject* Vehicle::getAppearanceObject(ovs::MeshHandle* handle) {
    const ModuleBoundary::Pause pause;
    if (!requireWhole("getAppearanceObject", elementOf(handle))) return nullptr;
    note("getAppearanceObject", label(handle));
    if (handle == nullptr) {
        complain("getAppearanceObject of null");
        return nullptr;
    }
    // That of a deleted element takes nothing, see HostAppearance.
    return lend(m_appearances, *this, *elementOf(handle), 0.0);
}

ovs::SurfaceObject* Vehicle::getSurfaceObject(ovs::MeshHandle* handle, double time) {
    const ModuleBoundary::Pause pause;
    if (!requireWhole("getSurfaceObject", elementOf(handle))) return nullptr;
    note("getSurfaceObject", label(handle), at(time));
    if (handle == nullptr) {
        complain("getSurfaceObject of null");
        return nullptr;
    }
    Element& element = *elementOf(handle);
    if (element.deleted || element.surface == SurfaceKind::none) return nullptr;
    ++m_openSurfaces;
    return lend(m_surfaces, *this, element, time);
}

ovs::CameraObject* Vehicle::getCameraObject(ovs::MeshHandle* handle, double time) {
    const ModuleBoundary::Pause pause;
    if (!requireWhole("getCameraObject", elementOf(handle))) return nullptr;
    note("getCameraObject", label(handle), at(time));
    if (handle == nullptr || !elementOf(handle)->isCamera) {
        complain("getCameraObject of " + nameOf(elementOf(handle)) + ", which is no camera");
        return nullptr;
    }
    return lend(m_cameras, *this, *elementOf(handle), time);
}

void Vehicle::releaseElementData(ovs::MeshHandle* handle) {
    const ModuleBoundary::Pause pause;
    requireWhole("releaseElementData", elementOf(handle));
    note("releaseElementData", label(handle));
}

void Vehicle::releaseCameraObject(ovs::CameraObject* object) {
    const ModuleBoundary::Pause pause;
    takeBack<HostCamera>(object, *this, "releaseCameraObject");
}

void Vehicle::releaseSurfaceObject(ovs::SurfaceObject* object) {
    const ModuleBoundary::Pause pause;
    if (takeBack<HostSurface>(object, *this, "releaseSurfaceObject")) --m_openSurfaces;
}

void Vehicle::releaseAppearanceObject(ovs::AppearanceObject* object) {
    const ModuleBoundary::Pause pause;
    takeBack<HostAppearance>(object, *this, "releaseAppearanceObject");
}

void Vehicle::releaseTransformObject(ovs::TransformObject* object) {
    const ModuleBoundary::Pause pause;
    takeBack<HostTransform>(object, *this, "releaseTransformObject");
}

double Vehicle::getCurrentTime() {
    const ModuleBoundary::Pause pause;
    requireBetweenDeclareAndRelease("getCurrentTime");
    note("getCurrentTime");
    return scene.clock.time(scene.clock.now);
}

double Vehicle::getFrameStep() {
    const ModuleBoundary::Pause pause;
    requireBetweenDeclareAndRelease("getFrameStep");
    note("getFrameStep");
    return scene.clock.step();
}

void Vehicle::redrawViews() {
    const ModuleBoundary::Pause pause;
    require({Life::rigged, Life::running}, "redrawViews");
    note("redrawViews");
}

void Vehicle::messageBox(std::string text, std::string caption, std::int32_t reserved) {
    const ModuleBoundary::Pause pause;
    requireBetweenDeclareAndRelease("messageBox");
    if (reserved != 0) complain("messageBox with a last argument other than 0");
    note("messageBox", caption);
    messages.push_back({std::move(text), std::move(caption)});
}

}  // namespace ond::stage
