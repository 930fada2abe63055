#include "validate/WatchedObjects.h"

#include <algorithm>
#include <cmath>

namespace ond::validate {

void HostFrees::require(Check& check, const std::string& what) {
    if (s_frees) return;
    check.complain("destroys-no-host-object", "the module destroyed " + what +
                                                  " of the host; what the host gives out is the host's, and its "
                                                  "destructor is no operation of the contract");
    check.endNow();
}

std::string Lent::shown(const char* kind) const { return std::string("the ") + kind + " of " + host->shown(element); }

bool Lent::use(const char* operation) const {
    if (out) {
        const bool served = host->serve(operation);
        host->noteSubject(" of " + element->identifier);
        return served;
    }
    host->check.complain("uses-nothing-given-back",
                         std::string("the module called ") + operation + " on an object of " + host->shown(element) +
                             " that it had given back; an object is dead from its release on");
    return false;
}

bool Lent::change(const char* operation) const {
    if (!use(operation)) return false;
    host->requireOwn(*element, operation);
    return !element->deleted;
}

// Element handles

bool WatchedHandle::use(const char* operation) {
    if (!m_host.serve(operation)) return false;
    m_host.noteSubject(" of " + element.identifier);
    m_host.requireUnreleased(*this, operation);
    return true;
}

bool WatchedHandle::change(const char* operation) {
    if (!use(operation)) return false;
    m_host.requireOwn(element, operation);
    return !element.deleted;
}

void WatchedHandle::reserved(int slot) {
    m_host.check.complain("keeps-to-the-agreed-calls", "the module called slot " + std::to_string(slot) +
                                                           " of an element handle, which is reserved and not called");
}

void* WatchedHandle::callExtension(std::uint32_t id, void* argument) {
    if (!use("MeshHandle::callExtension")) return nullptr;
    m_host.noteSubject(" with " + std::to_string(id));
    const bool known = id == 31 && !m_host.lacks.relations;
    if (id == 17 || id == 57) {
        if (argument != nullptr)
            m_host.check.complain("keeps-to-the-agreed-calls", "the module sent extension " + std::to_string(id) +
                                                                   " to " + m_host.shown(&element) +
                                                                   " with an argument; it is sent with null");
        return nullptr;
    }
    if (m_host.askedOfElements.count(id) == 0 || !known)
        m_host.check.complain("asks-before-extensions",
                              "the module called extension " + std::to_string(id) + " of an element handle " +
                                  (m_host.askedOfElements.count(id) == 0 ? "without asking hasExtension() first"
                                                                         : "although hasExtension() answered false") +
                                  "; whoever wants an extension asks first and takes the answer");
    if (!known || element.deleted) return nullptr;
    if (argument == nullptr)
        m_host.check.complain("passes-own-handles", "the module sent extension 31 to " + m_host.shown(&element) +
                                                        " with null; its argument is another element's handle");
    const stage::Element* other =
        m_host.elementOf(static_cast<ovs::MeshHandle*>(argument), "extension 31 of an element");
    return other != nullptr && stage::Scene::isBelow(&element, other) ? this : nullptr;
}

bool WatchedHandle::hasExtension(std::uint32_t id) {
    if (!use("MeshHandle::hasExtension")) return false;
    m_host.askedOfElements.insert(id);
    return !element.deleted && id == 31 && !m_host.lacks.relations;
}

void WatchedHandle::show() {
    if (change("MeshHandle::show")) element.shown = true;
}

void WatchedHandle::hide() {
    if (change("MeshHandle::hide")) element.shown = false;
}

bool WatchedHandle::isShown() { return use("MeshHandle::isShown") && !element.deleted && element.shown; }

void WatchedHandle::rigBuilt() {
    if (!m_host.serve("MeshHandle::rigBuilt", {Life::declared})) return;
    m_host.noteSubject(" of " + element.identifier);
    m_host.requireRigBuilt(element);
    if (element.selected)
        m_host.check.complain("keeps-to-the-agreed-calls", "the module sent slot 6 twice to " + m_host.shown(&element) +
                                                               "; it is sent once to the root of a new rig");
    element.selected = true;
}

ovs::MeshHandle* WatchedHandle::getParent() {
    if (!use("MeshHandle::getParent") || element.deleted) return nullptr;
    return m_host.lendHandle(element.parent, element);
}

std::int32_t WatchedHandle::getNumChildren() {
    if (!use("MeshHandle::getNumChildren") || element.deleted) return 0;
    return static_cast<std::int32_t>(element.children.size());
}

ovs::MeshHandle* WatchedHandle::getChild(std::int32_t index) {
    if (!use("MeshHandle::getChild") || element.deleted) return nullptr;
    if (index < 0 || index >= static_cast<std::int32_t>(element.children.size())) {
        m_host.check.complain("keeps-to-the-agreed-calls", "the module asked for child " + std::to_string(index) +
                                                               " of " + m_host.shown(&element) + ", which has " +
                                                               counted(element.children.size(), "child", "children") +
                                                               "; an index is from 0 to below their number");
        return nullptr;
    }
    if (m_host.lacks.children) return nullptr;
    return m_host.lendHandle(element.children[static_cast<std::size_t>(index)], element);
}

void WatchedHandle::releaseHandle(ovs::MeshHandle* handle) {
    if (use("MeshHandle::releaseHandle") && handle != nullptr) m_host.takeHandleBack(handle, element);
}

std::string WatchedHandle::getName() { return use("MeshHandle::getName") ? element.name : std::string(); }

// Transforms

void WatchedTransform::reserved() {
    lent.host->check.complain("keeps-to-the-agreed-calls",
                              "the module called a reserved slot of a transform object; reserved slots are not called");
}

void WatchedTransform::requireFinite(const util::Matrix4& matrix) const {
    if (!lent.host->expectsFinite) return;
    if (std::all_of(matrix.m.begin(), matrix.m.end(), [](double x) { return std::isfinite(x); })) return;
    lent.host->check.complain("writes-finite-numbers",
                              "the module set a matrix of " + lent.host->shown(lent.element) +
                                  " that has numbers that are not finite, with settings and a scene that are ordinary; "
                                  "a transform is made of numbers that a scene can show");
}

bool WatchedTransform::takes(const char* operation, const util::Matrix4& matrix) const {
    const bool takes = lent.change(operation);
    if (!lent.out) return false;
    ++lent.host->writes;
    requireFinite(matrix);
    lent.host->requireFrameTime(*lent.element, lent.time);
    return takes;
}

void WatchedTransform::readLocalMatrix(util::Matrix4& out) {
    if (lent.use("TransformObject::readLocalMatrix")) out = lent.host->scene.local(*lent.element, lent.time);
}

void WatchedTransform::setLocalMatrix(const util::Matrix4& matrix) {
    if (takes("TransformObject::setLocalMatrix", matrix)) lent.host->scene.setLocal(*lent.element, lent.time, matrix);
}

void WatchedTransform::readWorldMatrix(util::Matrix4& out) {
    if (lent.use("TransformObject::readWorldMatrix")) out = lent.host->scene.world(*lent.element, lent.time);
}

void WatchedTransform::setWorldMatrix(const util::Matrix4& matrix) {
    if (takes("TransformObject::setWorldMatrix", matrix)) lent.host->scene.setWorld(*lent.element, lent.time, matrix);
}

// Appearances

void WatchedAppearance::reserved() {
    lent.host->check.complain(
        "keeps-to-the-agreed-calls",
        "the module called a reserved slot of an appearance object; reserved slots are not called");
}

void WatchedAppearance::requireOrder(bool holds, const char* operation) const {
    if (holds || lent.host->life != Life::declared) return;
    lent.host->check.complain("keeps-to-the-agreed-calls",
                              "the module called " + std::string(operation) + " of the new element " +
                                  lent.host->shown(lent.element) +
                                  " too late; the order is useOwnColour(true), setColour(), setWireframe()");
}

void WatchedAppearance::useOwnColour(bool on) {
    if (!lent.change("AppearanceObject::useOwnColour")) return;
    requireOrder(!hasColour, "useOwnColour()");
    lent.element->ownColour = on;
}

void WatchedAppearance::setWireframe(bool on) {
    if (!lent.change("AppearanceObject::setWireframe")) return;
    lent.host->noteSubject(on ? " on" : " off");
    hasWireframe = true;
    lent.element->wireframe = on;
}

void WatchedAppearance::setColour(float red, float green, float blue) {
    if (!lent.change("AppearanceObject::setColour")) return;
    const auto isShare = [](float x) { return x >= 0.0F && x <= 1.0F; };
    if (!isShare(red) || !isShare(green) || !isShare(blue))
        lent.host->check.complain("keeps-to-the-agreed-calls",
                                  "the module set a colour of " + lent.host->shown(lent.element) +
                                      " outside of 0 to 1; each component of a colour is from 0 to 1");
    requireOrder(!hasWireframe, "setColour()");
    hasColour = true;
    if (!lent.element->ownColour)
        lent.host->check.complain("keeps-to-the-agreed-calls",
                                  "the module set a colour of " + lent.host->shown(lent.element) +
                                      " that had not been told to use its own; useOwnColour(true) comes before it");
    lent.element->colour[0] = red;
    lent.element->colour[1] = green;
    lent.element->colour[2] = blue;
}

// Surfaces

void WatchedSurface::reserved() {
    lent.host->check.complain("keeps-to-the-agreed-calls",
                              "the module called a reserved slot of a surface object; reserved slots are not called");
}

void WatchedSurface::getMesh(util::CMesh& out) {
    if (!lent.use("SurfaceObject::getMesh")) return;
    if (lent.host->lacks.triangles)
        out = util::CMesh();
    else
        out = lent.element->shape;
}

bool WatchedSurface::intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                               util::Vector3<double>* normal) {
    if (!lent.use("SurfaceObject::intersect")) return false;
    if (!lent.host->serve("SurfaceObject::intersect", {Life::running})) return false;
    if (t == nullptr || normal == nullptr || (direction.x == 0.0 && direction.y == 0.0 && direction.z == 0.0)) {
        lent.host->check.complain("keeps-to-the-agreed-calls",
                                  "the module cast a ray without a direction or without places for the hit; the "
                                  "direction has any length but 0, and both places are given");
        return false;
    }
    if (lent.host->lacks.hits || lent.host->lacks.triangles || lent.element->deleted) return false;
    if (lent.element->rays == nullptr)
        lent.element->rays = std::make_shared<const stage::MeshSurface>(lent.element->shape);
    return lent.element->rays->intersect(origin, direction, t, normal);
}

// Cameras

void WatchedCamera::reserved() {
    lent.host->check.complain("keeps-to-the-agreed-calls",
                              "the module called a reserved slot of a camera object; reserved slots are not called");
}

void WatchedCamera::setFieldOfView(double degrees) {
    const bool takes = lent.change("CameraObject::setFieldOfView");
    if (!lent.out) return;
    if (!(degrees > 0.0 && degrees < 180.0))
        lent.host->check.complain("keeps-to-the-agreed-calls", "the module set a field of view of " + shown(degrees) +
                                                                   " degrees for " + lent.host->shown(lent.element) +
                                                                   "; it is above 0 and below 180");
    if (takes) lent.element->fieldOfView = degrees;
}

}  // namespace ond::validate
