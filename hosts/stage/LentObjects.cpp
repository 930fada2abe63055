#include "stage/LentObjects.h"

#include <cstdio>

#include "stage/Finite.h"

namespace ond::stage {

namespace {

std::string number(double x) {
    char text[40];
    std::snprintf(text, sizeof text, "%.7g", x);
    return text;
}

}  // namespace

bool Lent::use(const char* operation) const {
    if (out) return host->requireWhole(operation, element);
    host->complain(std::string(operation) + " on an object that was given back, of " + host->nameOf(element));
    return false;
}

void HostTransform::checkWrite(const char* operation, const util::Matrix4& matrix) const {
    Vehicle& host = *lent.host;
    if (!isFinite(matrix))
        host.complain(std::string(operation) + " of a matrix that is not finite, of " + host.nameOf(lent.element));
    if (lent.element->placedByUser && host.scene.isRunning())
        host.complain(std::string(operation) + " in a run, of " + host.nameOf(lent.element) +
                      ", which the user places");
}

void* HostHandle::callExtension(std::uint32_t id, void* argument) {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("callExtension", &element)) return nullptr;
    m_host.note("extension", m_host.label(&element), std::to_string(id),
                m_host.label(static_cast<ovs::MeshHandle*>(argument)));
    if (element.deleted) return nullptr;
    if (id == 17 || id == 57) element.placedByUser = true;
    if (id != 31 || !m_host.faults.knowsExtension31) return nullptr;
    const Element* other = Vehicle::elementOf(static_cast<ovs::MeshHandle*>(argument));
    return Scene::isBelow(&element, other) ? this : nullptr;
}

bool HostHandle::hasExtension(std::uint32_t id) {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("hasExtension", &element)) return false;
    m_host.note("knowsExtension", m_host.label(&element), std::to_string(id));
    return !element.deleted && ((id == 31 && m_host.faults.knowsExtension31) || id == 17 || id == 57);
}

void HostHandle::show() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("show", &element)) return;
    m_host.note("show", m_host.label(&element));
    if (!element.deleted) element.shown = true;
}

void HostHandle::hide() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("hide", &element)) return;
    m_host.note("hide", m_host.label(&element));
    if (!element.deleted) element.shown = false;
}

bool HostHandle::isShown() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("isShown", &element)) return false;
    m_host.note("isShown", m_host.label(&element));
    return !element.deleted && element.shown;
}

void HostHandle::rigBuilt() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("rigBuilt", &element)) return;
    m_host.note("rigBuilt", m_host.label(&element));
    element.selected = true;
}

ovs::MeshHandle* HostHandle::getParent() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("getParent", &element)) return nullptr;
    m_host.note("getParent", m_host.label(&element));
    return element.deleted ? nullptr : m_host.handleOf(element.parent);
}

std::int32_t HostHandle::getNumChildren() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("getNumChildren", &element)) return 0;
    m_host.note("getNumChildren", m_host.label(&element));
    return element.deleted ? 0 : static_cast<std::int32_t>(element.children.size());
}

ovs::MeshHandle* HostHandle::getChild(std::int32_t index) {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("getChild", &element)) return nullptr;
    m_host.note("getChild", m_host.label(&element), std::to_string(index));
    if (element.deleted) return nullptr;
    if (index < 0 || index >= static_cast<std::int32_t>(element.children.size())) {
        m_host.complain("getChild out of range of " + m_host.label(&element));
        return nullptr;
    }
    return m_host.handleOf(element.children[static_cast<std::size_t>(index)]);
}

void HostHandle::releaseHandle(ovs::MeshHandle* handle) {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("releaseHandle", &element)) return;
    m_host.note("releaseHandle", m_host.label(&element), m_host.label(handle));
}

std::string HostHandle::getName() {
    const ModuleBoundary::Pause pause;
    if (!m_host.requireWhole("getName", &element)) return {};
    m_host.note("getName", m_host.label(&element));
    return element.name;
}

void HostTransform::readLocalMatrix(util::Matrix4& out) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("readLocal")) return;
    lent.host->note("readLocal", lent.host->label(lent.element), lent.host->at(lent.time));
    out = lent.host->scene.local(*lent.element, lent.time);
}

void HostTransform::setLocalMatrix(const util::Matrix4& matrix) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("setLocal")) return;
    lent.host->note("setLocal", lent.host->label(lent.element), lent.host->at(lent.time));
    if (lent.element->deleted) return;
    checkWrite("setLocal", matrix);
    lent.host->scene.setLocal(*lent.element, lent.time, matrix);
}

void HostTransform::readWorldMatrix(util::Matrix4& out) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("readWorld")) return;
    lent.host->note("readWorld", lent.host->label(lent.element), lent.host->at(lent.time));
    out = lent.host->scene.world(*lent.element, lent.time);
}

void HostTransform::setWorldMatrix(const util::Matrix4& matrix) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("setWorld")) return;
    lent.host->note("setWorld", lent.host->label(lent.element), lent.host->at(lent.time));
    if (lent.element->deleted) return;
    checkWrite("setWorld", matrix);
    lent.host->scene.setWorld(*lent.element, lent.time, matrix);
}

void HostAppearance::useOwnColour(bool on) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("useOwnColour")) return;
    lent.host->note("useOwnColour", lent.host->label(lent.element), on ? "1" : "0");
    if (lent.element->deleted) return;
    lent.element->ownColour = on;
}

void HostAppearance::setWireframe(bool on) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("setWireframe")) return;
    lent.host->note("setWireframe", lent.host->label(lent.element), on ? "1" : "0");
    if (lent.element->deleted) return;
    lent.element->wireframe = on;
}

void HostAppearance::setColour(float red, float green, float blue) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("setColour")) return;
    lent.host->note("setColour", lent.host->label(lent.element));
    if (lent.element->deleted) return;
    lent.element->colour[0] = red;
    lent.element->colour[1] = green;
    lent.element->colour[2] = blue;
}

void HostSurface::getMesh(util::CMesh& out) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("getMesh")) return;
    lent.host->note("getMesh", lent.host->label(lent.element));
    out = lent.element->surface == SurfaceKind::mesh ? lent.element->shape : util::CMesh();
    // Meshes without texture coordinates have none at their corners; callers count on as many as corners.
    if (out.tFaces.size() != out.faces.size()) out.tFaces.assign(out.faces.size(), 0);
}

bool HostSurface::intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                            util::Vector3<double>* normal) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("intersect")) return false;
    lent.host->note("intersect", lent.host->label(lent.element));
    if (lent.host->recordsRays) lent.host->rays.push_back({origin, direction});
    if (lent.element->surface != SurfaceKind::mesh) return false;
    if (lent.element->rays == nullptr) lent.element->rays = std::make_shared<MeshSurface>(lent.element->shape);
    return lent.element->rays->intersect(origin, direction, t, normal);
}

void HostCamera::setFieldOfView(double degrees) {
    const ModuleBoundary::Pause pause;
    if (!lent.use("setFieldOfView")) return;
    lent.host->note("setFieldOfView", lent.host->label(lent.element), number(degrees), lent.host->at(lent.time));
    if (lent.element->deleted) return;
    lent.element->fieldOfView = degrees;
}

}  // namespace ond::stage
