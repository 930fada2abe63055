// The services of the watching host.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "ond/util/CMesh.h"
#include "validate/StrictHost.h"
#include "validate/Text.h"
#include "validate/WatchedObjects.h"

namespace ond::validate {

namespace {

/// How many lent objects rest until the oldest goes: so long an object that was given back is told apart.
constexpr std::size_t kRestingObjects = 4096;

/// An output channel that knows when the module destroys it.
class WatchedOutput final : public unidevice::OutputProperty {
  public:
    WatchedOutput(Check& check, unidevice::OutputChannelRecord record)
        : OutputProperty(std::move(record)), m_check(check) {}
    ~WatchedOutput() override { HostFrees::require(m_check, "an output channel"); }

  private:
    Check& m_check;
};

const char* phrase(Life life) {
    switch (life) {
        case Life::created: return "before it was declared";
        case Life::declared: return "before it was rigged";
        case Life::rigged: return "between runs";
        case Life::running: return "during a run";
        case Life::loadFailed: return "behind a load that failed";
        case Life::released: return "behind its release";
    }
    return "";
}

/// What changes the scene or the host's data; no object may do that while it is being released.
bool changesScene(std::string_view service) {
    for (const std::string_view changing :
         {"pushUndo", "deleteElement", "createMeshElement", "createCameraElement", "storeChunk",
          "TransformObject::setLocalMatrix", "TransformObject::setWorldMatrix", "MeshHandle::show", "MeshHandle::hide",
          "messageBox", "redrawViews", "refreshDialog"})
        if (service == changing) return true;
    return false;
}

}  // namespace

unidevice::Property* createThroughTable(unidevice::Property::Factory& factory, const std::string& channel,
                                        std::int32_t type) {
    using Create = unidevice::Property* (unidevice::Property::Factory::*)(std::string, std::int32_t);
    volatile Create create = &unidevice::Property::Factory::create;
    return (factory.*create)(channel, type);
}

bool StrictHost::serve(const char* service) { return serve(service, {Life::declared, Life::rigged, Life::running}); }

bool StrictHost::serve(const char* service, std::initializer_list<Life> states) {
    const std::string asked = std::string("the object asked for ") + service;
    if (std::this_thread::get_id() != m_thread) {
        check.complain("speaks-only-when-called",
                       asked + " on a thread of the module's own; there is one thread, the host's");
        return false;
    }
    check.noteService(service);
    if (logs) services.emplace_back(service);
    if (s_current != this) {
        check.complain("speaks-only-when-called",
                       asked +
                           (s_current == nullptr ? " outside of every call into it"
                                                 : " inside of a call of another "
                                                   "object") +
                           "; an object speaks to its host only while the host waits for it");
        if (life == Life::released) return false;
    }
    const std::string_view call = m_call;
    if (call == "CUndo::release") {
        check.complain("undo-records", asked +
                                           " inside of CUndo::release(); the release of a record touches nothing "
                                           "but the record");
    } else if (call == "release" && changesScene(service)) {
        check.complain("releases-in-every-state",
                       asked +
                           " while it was being released; its elements and all else stay as they are, they are "
                           "the host's");
        return false;
    }
    if (std::find(states.begin(), states.end(), life) == states.end())
        check.complain("asks-in-the-right-state",
                       asked + " " + phrase(life) + " (in " + m_shownCall + "); the contract does not offer it there");
    return true;
}

void StrictHost::noteSubject(const std::string& subject) {
    if (logs && !services.empty()) services.back() += subject;
}

void StrictHost::reserved(int slot) {
    check.complain("keeps-to-the-agreed-calls", "the module called slot " + std::to_string(slot) +
                                                    " of the host's interface, which is reserved and not called");
}

void StrictHost::requireZero(const char* service, std::int64_t value) {
    if (value != 0)
        check.complain("keeps-to-the-agreed-calls", std::string("the module passed ") + std::to_string(value) +
                                                        " as a reserved argument of " + service + "; it is 0");
}

void StrictHost::requireText(std::string_view owner, const std::string& text, const std::string& what) {
    if (!isPlainText(text))
        check.complain(owner, what + " is " + cited(text) + ", which is no UTF-8 text that can be shown");
}

void* StrictHost::callExtension(std::uint32_t id, void* argument) {
    if (!serve("callExtension")) return nullptr;
    if (id != 41 || lacks.outputs || !asked41) {
        check.complain("asks-before-extensions",
                       "the module called extension " + std::to_string(id) + " of the host " +
                           (id == 41 && !asked41 ? "without asking hasExtension() first"
                                                 : "although the host did not say that it knows it") +
                           "; whoever wants an extension asks first and takes the answer");
        if (id != 41 || lacks.outputs) return nullptr;
    }
    if (argument == nullptr) {
        check.complain("output-channels",
                       "the module called extension 41 with null; it takes a record with the "
                       "channel's name and type");
        return nullptr;
    }
    const auto& record = *static_cast<const unidevice::OutputChannelRecord*>(argument);
    if (record.name.empty())
        check.complain("output-channels", "the module made an output channel without a name; a channel has a label");
    requireText("output-channels", record.name, "the name of an output channel");
    if (record.type != 8)
        check.complain("output-channels", "the module made the output channel " + cited(record.name) + " of type " +
                                              std::to_string(record.type) + "; type 8, a double, is the one there is");
    for (const unidevice::OutputProperty* other : outputs)
        if (other->name == record.name)
            check.complain("output-channels", "the module made two output channels called " + cited(record.name) +
                                                  "; the name tells channels apart");
    if (lacks.outputChannels) return nullptr;
    outputs.push_back(new WatchedOutput(check, record));
    return static_cast<unidevice::Property*>(outputs.back());
}

bool StrictHost::hasExtension(std::uint32_t id) {
    if (!serve("hasExtension")) return false;
    if (id == 41) asked41 = true;
    return id == 41 && !lacks.outputs;
}

void StrictHost::pushUndo(ovs::CUndo* record, std::int32_t reserved) {
    if (!serve("pushUndo", {Life::rigged, Life::running})) return;
    requireZero("pushUndo", reserved);
    if (m_undoing)
        check.complain("undo-records", "the object pushed a record while the host was running one (in " + m_shownCall +
                                           "); undo and redo only take back and repeat");
    if (record == nullptr) return;
    if (!m_everPushed.insert(record).second && std::find(records.begin(), records.end(), record) != records.end()) {
        check.complain("undo-records",
                       "the object pushed the same record twice; a record is the host's from the first push on");
        return;
    }
    records.push_back(record);
}

unidevice::Property* StrictHost::makeChannel(const std::string& channel, std::uint32_t type,
                                             unidevice::Property::Factory* factory) {
    m_channelDeleted.push_back(false);
    if (lacks.ownChannels) return new WatchedChannel(channel, static_cast<std::int32_t>(type), m_channelDeleted.back());
    if (factory == nullptr) {
        check.complain("input-channels", "the module declared the input channel " + cited(channel) +
                                             " without a factory; the factory makes the channel for the host");
        return new WatchedChannel(channel, static_cast<std::int32_t>(type), m_channelDeleted.back());
    }
    unidevice::Property* made = nullptr;
    check.inside("Property::Factory::create()",
                 [&] { made = createThroughTable(*factory, channel, static_cast<std::int32_t>(type)); });
    if (made == nullptr) {
        check.complain("input-channels", "the factory of the input channel " + cited(channel) +
                                             " made none; null is for the lack of memory");
        return nullptr;
    }
    if (made->name != channel || made->type != static_cast<std::int32_t>(type))
        check.complain("input-channels", "the factory was asked for the channel " + cited(channel) + " of type " +
                                             std::to_string(type) + " and made " + cited(made->name) + " of type " +
                                             std::to_string(made->type));
    return made;
}

unidevice::Property* StrictHost::createInputProperty(std::string channel, std::uint32_t type,
                                                     unidevice::Property::Factory* factory) {
    if (!serve("createInputProperty", {Life::declared})) return nullptr;
    requireDeclaring("createInputProperty");
    if (m_inputsWhole)
        check.complain("declares-in-order", "the object declared the input channel " + cited(channel) +
                                                " behind endInputProperties(), which ends the channels");
    if (channel.empty())
        check.complain("input-channels", "the object declared an input channel without a name; users wire it by name");
    requireText("input-channels", channel, "the name of an input channel");
    if (type != 14 && type != 15)
        check.complain("input-channels", "the input channel " + cited(channel) + " has type " + std::to_string(type) +
                                             "; 14 goes in two directions, 15 in one, and there is no other");
    for (const unidevice::Property* other : inputs)
        if (other != nullptr && other->name == channel)
            check.complain("input-channels", "the object declared two input channels called " + cited(channel) +
                                                 "; the name tells channels apart");
    unidevice::Property* made = lacks.inputs ? nullptr : makeChannel(channel, type, factory);
    inputs.push_back(made);
    factories.push_back(factory);
    axes.push_back(std::make_unique<Axis>());
    if (made != nullptr) {
        axes.back()->wire(*made);
        made->hostText = "wired by the host";
        made->registered.push_back(&observers.emplace_back(unidevice::ControlObserver{true}));
    }
    return made;
}

void StrictHost::requireDeclaring(const char* service) {
    if (std::string_view(m_call) != "declareParameters")
        check.complain("asks-in-the-right-state", std::string("the object asked for ") + service + " in " +
                                                      m_shownCall + "; declarations belong to declareParameters()");
}

void StrictHost::endInputProperties() {
    if (!serve("endInputProperties", {Life::declared})) return;
    requireDeclaring("endInputProperties");
    if (m_inputsWhole)
        check.complain("declares-in-order", "the object called endInputProperties() twice; it comes once");
    m_inputsWhole = true;
}

void StrictHost::endParameters() {
    if (!serve("endParameters", {Life::declared})) return;
    requireDeclaring("endParameters");
    if (m_dialogWhole) check.complain("declares-in-order", "the object called endParameters() twice; it comes once");
    if (m_groupOpen)
        check.complain("declares-in-order", "the object called endParameters() inside of the group " +
                                                cited(groups.back()) + "; it comes behind the last group");
    m_dialogWhole = true;
}

void StrictHost::beginGroup(std::string title, std::string description) {
    if (!serve("beginGroup", {Life::declared})) return;
    requireDeclaring("beginGroup");
    if (m_dialogWhole)
        check.complain("declares-in-order",
                       "the object began the group " + cited(title) + " behind endParameters(), which ends the dialog");
    if (m_groupOpen)
        check.complain("declares-in-order", "the object began the group " + cited(title) + " inside of the group " +
                                                cited(groups.back()) + "; groups do not nest");
    if (title.empty()) check.complain("declares-items", "the object began a group without a title");
    requireText("declares-items", title, "the title of a group");
    requireText("declares-items", description, "the description of the group " + cited(title));
    groups.push_back(std::move(title));
    groupTexts.push_back(std::move(description));
    m_groupOpen = true;
}

void StrictHost::endGroup() {
    if (!serve("endGroup", {Life::declared})) return;
    requireDeclaring("endGroup");
    if (!m_groupOpen)
        check.complain("declares-in-order", "the object called endGroup() without an open group; it closes one");
    m_groupOpen = false;
}

bool StrictHost::isOnStack(const void* place) const {
    const char here = 0;
    const auto at = reinterpret_cast<std::uintptr_t>(place);
    return at > reinterpret_cast<std::uintptr_t>(&here) && at < reinterpret_cast<std::uintptr_t>(m_stackAtCall);
}

void StrictHost::addItem(const char* service, Item item) {
    requireDeclaring(service);
    const std::string shownItem = "the item " + cited(item.label);
    if (m_dialogWhole)
        check.complain("declares-in-order",
                       "the object added " + shownItem + " behind endParameters(), which ends the dialog");
    else if (!m_groupOpen)
        check.complain("declares-in-order",
                       "the object added " + shownItem + " outside of a group; an item goes to the open group");
    if (item.label.empty())
        check.complain("declares-items", "the object added an item without a label; the label names the item");
    requireText("declares-items", item.label, "the label of an item");
    requireText("declares-items", item.description, "the description of " + shownItem);
    if (this->item(item.label) != nullptr)
        check.complain("declares-items", "the object added two items with the label " + cited(item.label) +
                                             "; the label names the item within the object");
    if (item.hasValue())
        for (const Item& other : items)
            if (other.field == item.field)
                check.complain("declares-items",
                               shownItem + " and the item " + cited(other.label) + " have the same field",
                               Severity::warning);
    if (static_cast<void*>(item.callback) == static_cast<void*>(camera) && item.callback != nullptr)
        check.complain("declares-items", shownItem +
                                             " has the object itself as its callback; the listener is the part of the "
                                             "object that is a Callback, with a table of its own");
    if (item.hasValue() && isOnStack(item.field))
        check.complain("declares-items",
                       shownItem + " has a field on the stack; the field lives as long as the object");
    item.group = groups.empty() ? "" : groups.back();
    items.push_back(std::move(item));
}

template <typename T>
void StrictHost::addNumber(const char* service, Item item, T* field, T min, T max, T step, std::int32_t hint,
                           std::int32_t wanted, bool flag) {
    const std::string shownItem = "the item " + cited(item.label);
    if (hint != wanted || !flag)
        check.complain("keeps-to-the-agreed-calls", shownItem + " was added with the hint " + std::to_string(hint) +
                                                        " and " + (flag ? "true" : "false") +
                                                        "; the contract agreed on " + std::to_string(wanted) +
                                                        " and true");
    if (field == nullptr || reinterpret_cast<std::uintptr_t>(field) % alignof(T) != 0) {
        check.complain("declares-items", shownItem + " has " + (field == nullptr ? "no" : "a misplaced") +
                                             " field; the host reads and writes the field in place");
        return;
    }
    item.field = field;
    item.min = static_cast<double>(min);
    item.max = static_cast<double>(max);
    item.step = static_cast<double>(step);
    item.initial = static_cast<double>(*field);
    if (!std::isfinite(item.min) || !std::isfinite(item.max) || !std::isfinite(item.step) || item.min > item.max ||
        item.step <= 0.0)
        check.complain("declares-items", shownItem + " has the range " + validate::shown(item.min) + " to " +
                                             validate::shown(item.max) + " with steps of " +
                                             validate::shown(item.step) +
                                             "; a range goes upwards, and a step is more than 0");
    if (!std::isfinite(item.initial))
        check.complain("declares-items",
                       shownItem + " begins with " + validate::shown(item.initial) + ", which no dialog can show");
    addItem(service, std::move(item));
}

void StrictHost::addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                                 std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                                 const ovs::CS::Converter<std::int32_t>* converter, Callback* callback) {
    if (!serve("addIntParameter", {Life::declared})) return;
    Item item;
    item.converted = converter != nullptr;
    item.kind = Item::Kind::integer;
    item.label = std::move(label);
    item.description = std::move(description);
    item.callback = callback;
    addNumber("addIntParameter", std::move(item), field, min, max, step, hint, 10, flag);
}

void StrictHost::addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                                    double step, std::int32_t hint, bool flag,
                                    const ovs::CS::Converter<double>* converter, Callback* callback) {
    if (!serve("addDoubleParameter", {Life::declared})) return;
    Item item;
    item.converted = converter != nullptr;
    item.kind = Item::Kind::number;
    item.label = std::move(label);
    item.description = std::move(description);
    item.callback = callback;
    addNumber("addDoubleParameter", std::move(item), field, min, max, step, hint, 1, flag);
}

void StrictHost::addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) {
    if (!serve("addBoolParameter", {Life::declared})) return;
    if (field == nullptr) {
        check.complain("declares-items",
                       "the item " + cited(label) + " has no field; the host reads and writes the field in place");
        return;
    }
    Item item;
    item.kind = Item::Kind::checkBox;
    item.label = std::move(label);
    item.description = std::move(description);
    item.field = field;
    item.callback = callback;
    if (unsigned char byte = 0; std::memcpy(&byte, field, 1), byte > 1)
        check.complain("declares-items", "the check box " + cited(item.label) + " begins with the byte " +
                                             std::to_string(byte) + "; it is 0 or 1");
    item.initial = item.value();
    addItem("addBoolParameter", std::move(item));
}

void StrictHost::addButton(std::string label, std::string description, Callback* callback) {
    if (!serve("addButton", {Life::declared})) return;
    Item item;
    item.kind = Item::Kind::button;
    item.label = std::move(label);
    item.description = std::move(description);
    item.callback = callback;
    if (callback == nullptr)
        check.complain("declares-items",
                       "the button " + cited(item.label) + " has no callback; a press calls it, and does nothing else",
                       Severity::warning);
    addItem("addButton", std::move(item));
}

void StrictHost::refreshDialog() {
    if (serve("refreshDialog")) ++refreshes;
}

void StrictHost::storeChunk(const void* data, std::uint64_t length) {
    if (!serve("storeChunk", {Life::rigged})) return;
    if (std::string_view(m_call) != "saveState")
        check.complain("asks-in-the-right-state",
                       "the object asked for storeChunk in " + m_shownCall + "; it belongs to saveState()");
    ++stores;
    if (data == nullptr || length == 0) {
        check.complain("saves-a-block", "saveState() handed over " + std::string(data == nullptr ? "null" : "0 bytes") +
                                            "; a block has at least a byte");
        m_stored.clear();
        return;
    }
    const auto* bytes = static_cast<const unsigned char*>(data);
    m_stored.assign(bytes, bytes + length);
    m_storedInThisSave = true;
}

const void* StrictHost::getChunk(std::int32_t reserved) {
    if (!serve("getChunk", {Life::declared})) return nullptr;
    requireZero("getChunk", reserved);
    if (std::string_view(m_call) != "loadState") {
        check.complain("asks-in-the-right-state",
                       "the object asked for getChunk in " + m_shownCall + "; it belongs to loadState()");
        return nullptr;
    }
    return m_block;
}

void StrictHost::deleteElement(ovs::MeshHandle* handle, std::int32_t reserved1, std::int32_t reserved2) {
    if (!serve("deleteElement", {Life::declared, Life::rigged})) return;
    requireZero("deleteElement", reserved1);
    requireZero("deleteElement", reserved2);
    stage::Element* gone = elementOf(handle, "deleteElement");
    if (gone != nullptr) noteSubject(" of " + gone->identifier);
    if (gone == nullptr) return;
    requireOwn(*gone, "deleteElement");
    if (gone->vehicle == name) scene.remove(*gone);
}

ovs::MeshHandle* StrictHost::findElement(std::string identifier) {
    if (!serve("findElement", {Life::declared})) return nullptr;
    if (lacks.elements || lacks.found.count(identifier) != 0) return nullptr;
    return handleOf(scene.find(name, identifier));
}

stage::Element& StrictHost::make(const char* service, const std::string& identifier, ovs::MeshHandle* parent) {
    if (identifier.empty())
        check.complain("makes-elements", std::string(service) +
                                             " was asked for an element without a name; saved "
                                             "scenes know it by its name");
    requireText("makes-elements", identifier, "the name of an element");
    // Where the host hid an element from the load, the object makes another one.
    if (element(identifier) != nullptr && !lacks.elements && lacks.found.count(identifier) == 0)
        check.complain("makes-elements", "the object made two elements called " + cited(identifier) +
                                             "; findElement() knows an element by this name");
    noteSubject(" of " + identifier);
    stage::Element* above = elementOf(parent, service);
    if (above != nullptr && above->deleted) above = nullptr;
    stage::Element& made = scene.add(name + "_" + identifier, above);
    made.identifier = identifier;
    made.vehicle = name;
    return made;
}

ovs::MeshHandle* StrictHost::createCameraElement(std::string identifier, ovs::MeshHandle* parent, bool reserved) {
    if (!serve("createCameraElement", {Life::declared})) return nullptr;
    requireZero("createCameraElement", reserved ? 1 : 0);
    stage::Element& made = make("createCameraElement", identifier, parent);
    made.isCamera = true;
    return handleOf(&made);
}

void StrictHost::requireMesh(const util::CMesh* mesh, const std::string& identifier) {
    const auto complain = [&](const std::string& what) {
        check.complain("makes-elements", "the shape of the element " + cited(identifier) + " " + what);
    };
    const int vertices = mesh->getNumVertices();
    if (std::any_of(mesh->vertices.begin(), mesh->vertices.end(), [](const util::Vector3<double>& v) {
            return !std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.z);
        }))
        complain("has a vertex that is no finite place; a scene cannot show it");
    if (std::any_of(mesh->faces.begin(), mesh->faces.end(), [&](int i) { return i < 0 || i >= vertices; }))
        complain("has a triangle with a vertex that there is not; a scene cannot show it");
    if (mesh->faces.size() % 3 != 0) complain("ends in the middle of a triangle; each has three vertices");
}

ovs::MeshHandle* StrictHost::createMeshElement(std::string identifier, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                               std::int32_t reserved) {
    if (!serve("createMeshElement", {Life::declared, Life::rigged})) return nullptr;
    requireZero("createMeshElement", reserved);
    if (mesh == nullptr)
        check.complainAt(Level::strict, "makes-elements",
                         "the element " + cited(identifier) +
                             " was made with null in place of a shape; a mesh "
                             "element has a shape, which may be an empty mesh");
    else
        requireMesh(mesh, identifier);
    stage::Element& made = make("createMeshElement", identifier, parent);
    if (mesh != nullptr) scene.setShape(made, *mesh);
    return handleOf(&made);
}

template <typename Object>
Object* StrictHost::lend(std::deque<std::unique_ptr<Object>>& objects, stage::Element& of, double time) {
    if (objects.size() >= kRestingObjects && !objects.front()->lent.out) {
        const HostFrees frees;
        objects.pop_front();
    }
    objects.push_back(std::make_unique<Object>());
    objects.back()->lent = {this, &of, time, true, false};
    ++m_out;
    return objects.back().get();
}

template <typename Object, typename Base>
void StrictHost::takeBack(std::deque<std::unique_ptr<Object>>& objects, Base* object, const char* service) {
    if (!serve(service) || object == nullptr) return;
    // The youngest are the likeliest.
    const auto found = std::find_if(objects.rbegin(), objects.rend(),
                                    [&](const auto& own) { return static_cast<Base*>(own.get()) == object; });
    if (found == objects.rend()) {
        check.complain("gives-back-once", std::string("the object gave ") + service +
                                              " something that this host had not given it as such");
        return;
    }
    Lent& lent = (*found)->lent;
    if (lent.out && !lent.kept) --m_out;
    if (!lent.out)
        check.complain("gives-back-once", "the object gave " + lent.shown(Object::kKind) +
                                              " back twice; what was given out is released once");
    lent.out = lent.kept = false;
}

bool StrictHost::requireTime(const char* what, double time) {
    if (std::isfinite(time)) return true;
    check.complain("keeps-to-the-agreed-calls", "the object asked for a " + std::string(what) + " at the time " +
                                                    validate::shown(time) + ", which is no place on the timeline");
    return false;
}

ovs::TransformObject* StrictHost::getTransformObject(ovs::MeshHandle* handle, double time) {
    if (!serve("getTransformObject")) return nullptr;
    if (handle == nullptr) {
        check.complain("passes-own-handles", "the object asked for the transform of null; the handle is of an element");
        return nullptr;
    }
    stage::Element* of = elementOf(handle, "getTransformObject");
    if (!requireTime("transform", time)) return nullptr;
    return of == nullptr || of->deleted ? nullptr : lend(m_transforms, *of, time);
}

ovs::AppearanceObject* StrictHost::getAppearanceObject(ovs::MeshHandle* handle) {
    if (!serve("getAppearanceObject")) return nullptr;
    if (handle == nullptr)
        check.complain("passes-own-handles",
                       "the object asked for the appearance of null; the handle is of an element");
    stage::Element* of = elementOf(handle, "getAppearanceObject");
    // That of a deleted element takes nothing.
    return of == nullptr ? nullptr : lend(m_appearances, *of, 0.0);
}

ovs::SurfaceObject* StrictHost::getSurfaceObject(ovs::MeshHandle* handle, double time) {
    if (!serve("getSurfaceObject")) return nullptr;
    if (handle == nullptr)
        check.complain("passes-own-handles", "the object asked for the surface of null; the handle is of an element");
    stage::Element* of = elementOf(handle, "getSurfaceObject");
    if (!requireTime("surface", time)) return nullptr;
    if (of == nullptr || of->deleted || of->surface == stage::SurfaceKind::none || lacks.surfaces) return nullptr;
    return lend(m_surfaces, *of, time);
}

ovs::CameraObject* StrictHost::getCameraObject(ovs::MeshHandle* handle, double time) {
    if (!serve("getCameraObject")) return nullptr;
    stage::Element* of = elementOf(handle, "getCameraObject");
    if (of == nullptr || !of->isCamera) {
        check.complain("passes-own-handles", "the object asked for the camera of " + shown(of) +
                                                 ", which createCameraElement() did not make");
        return nullptr;
    }
    requireTime("camera", time);
    return lend(m_cameras, *of, time);
}

void StrictHost::releaseElementData(ovs::MeshHandle* handle) {
    if (!serve("releaseElementData")) return;
    const stage::Element* of = elementOf(handle, "releaseElementData");
    if (of == nullptr || keepsSurfaces()) return;
    // The youngest are the likeliest; those of earlier calls do not matter.
    for (auto at = m_surfaces.rbegin(); at != m_surfaces.rend() && m_out > 0; ++at)
        if ((*at)->lent.out && !(*at)->lent.kept && (*at)->lent.element == of) {
            check.complain("keeps-to-the-agreed-calls",
                           "the object called releaseElementData() for " + shown(of) +
                               " while it had a surface of it; it comes behind releaseSurfaceObject()");
            return;
        }
}

void StrictHost::releaseCameraObject(ovs::CameraObject* object) { takeBack(m_cameras, object, "releaseCameraObject"); }

void StrictHost::releaseSurfaceObject(ovs::SurfaceObject* object) {
    takeBack(m_surfaces, object, "releaseSurfaceObject");
}

void StrictHost::releaseAppearanceObject(ovs::AppearanceObject* object) {
    takeBack(m_appearances, object, "releaseAppearanceObject");
}

void StrictHost::releaseTransformObject(ovs::TransformObject* object) {
    takeBack(m_transforms, object, "releaseTransformObject");
}

double StrictHost::getCurrentTime() {
    serve("getCurrentTime");
    return scene.clock.time(scene.clock.now);
}

double StrictHost::getFrameStep() {
    serve("getFrameStep");
    return scene.clock.step();
}

void StrictHost::redrawViews() {
    if (serve("redrawViews", {Life::rigged, Life::running})) ++redraws;
}

void StrictHost::requireMessage(const std::string& text, const std::string& caption) {
    if (text.empty())
        check.complain("messages", "the object showed a message without a text; it tells the user something");
    requireText("messages", text, "the text of a message");
    if (caption != "Warning" && caption != "Error" && caption != "UNSUPPORTED SURFACE TYPE")
        check.complain("messages", "the object showed a message with the caption " + cited(caption) +
                                       "; captions are 'Warning', 'Error' and 'UNSUPPORTED SURFACE TYPE'");
}

void StrictHost::requireFewMessages() {
    constexpr int kFewFrames = 4;
    for (const auto& [text, count] : m_messagesOfFrames)
        if (m_framesOfRun >= kFewFrames && count >= m_framesOfRun)
            check.complain("messages",
                           "the object showed the message " + cited(text) + " in each of " +
                               std::to_string(m_framesOfRun) +
                               " frames; a user has to answer each, so a message comes once",
                           Severity::warning);
}

void StrictHost::messageBox(std::string text, std::string caption, std::int32_t reserved) {
    if (!serve("messageBox")) return;
    noteSubject(" " + caption + ": " + text);
    requireZero("messageBox", reserved);
    if (judgesMessages) requireMessage(text, caption);
    if (std::string_view(m_call) == "updateFrame") ++m_messagesOfFrames[text];
    messages.push_back({std::move(text), std::move(caption)});
}

}  // namespace ond::validate
