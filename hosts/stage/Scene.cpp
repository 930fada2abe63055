#include "stage/Scene.h"

#include <algorithm>
#include <map>
#include <utility>

#include "stage/StageError.h"

namespace ond::stage {

using util::Matrix4;

Element& Scene::add(const std::string& name, Element* parent) {
    elements.push_back(std::make_unique<Element>());
    Element& element = *elements.back();
    element.index = elements.size() - 1;
    element.name = name;
    element.parent = parent;
    if (parent != nullptr) parent->children.push_back(&element);
    return element;
}

Element& Scene::addMesh(const std::string& name, const util::CMesh& mesh, Element* parent) {
    Element& element = add(name, parent);
    setShape(element, mesh);
    return element;
}

void Scene::setShape(Element& element, const util::CMesh& mesh) {
    element.shape = mesh;
    element.surface = SurfaceKind::mesh;
    element.rays = nullptr;
}

void Scene::reparent(Element& element, Element* parent) {
    if (parent != nullptr && isBelow(parent, &element))
        throw StageError("'" + element.name + "' cannot hang below '" + parent->name + "', which hangs below it");
    if (element.parent != nullptr) {
        std::vector<Element*>& siblings = element.parent->children;
        siblings.erase(std::remove(siblings.begin(), siblings.end(), &element), siblings.end());
    }
    element.parent = parent;
    if (parent != nullptr) parent->children.push_back(&element);
}

void Scene::copyElements(const std::string& vehicle, const std::string& copy) {
    std::map<const Element*, Element*> copies;
    const std::size_t count = elements.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Element& original = *elements[i];
        if (original.deleted || original.identifier.empty() || original.vehicle != vehicle) continue;
        Element& element = add("");
        const std::size_t index = element.index;
        element = original;
        element.index = index;
        element.name = copy + "_" + original.identifier;
        element.vehicle = copy;
        element.parent = nullptr;
        element.children.clear();
        element.selected = false;
        copies[&original] = &element;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto parent = copies.find(elements[i].get());
        if (parent == copies.end()) continue;
        for (const Element* child : parent->first->children)
            if (const auto element = copies.find(child); element != copies.end())
                reparent(*element->second, parent->second);
        Element* above = parent->first->parent;
        if (above != nullptr && copies.find(above) == copies.end()) reparent(*parent->second, above);
    }
}

void Scene::remove(Element& element) {
    if (element.deleted) return;
    element.former = {element.parent, 0, element.children};
    if (element.parent != nullptr) {
        const std::vector<Element*>& siblings = element.parent->children;
        const auto own = std::find(siblings.begin(), siblings.end(), &element);
        element.former.place = static_cast<std::size_t>(own - siblings.begin());
    }
    for (Element* child : element.children) child->parent = nullptr;
    element.children.clear();
    reparent(element, nullptr);
    element.deleted = true;
}

void Scene::revive(Element& element) {
    if (!element.deleted) return;
    element.deleted = false;
    const Element::FormerPlace former = std::move(element.former);
    element.former = {};
    for (Element* child : former.children)
        if (!child->deleted && child->parent == nullptr) reparent(*child, &element);
    if (former.parent == nullptr || former.parent->deleted || isBelow(former.parent, &element)) return;
    reparent(element, former.parent);
    std::vector<Element*>& siblings = former.parent->children;
    const auto place = static_cast<std::ptrdiff_t>(std::min(former.place, siblings.size() - 1));
    std::rotate(siblings.begin() + place, siblings.end() - 1, siblings.end());
}

Element* Scene::find(const std::string& sceneName) const {
    for (const auto& element : elements)
        if (!element->deleted && element->name == sceneName) return element.get();
    return nullptr;
}

Element* Scene::find(const std::string& vehicle, const std::string& identifier) const {
    for (const auto& element : elements)
        if (!element->deleted && element->vehicle == vehicle && element->identifier == identifier) return element.get();
    return nullptr;
}

bool Scene::isBelow(const Element* element, const Element* ancestor) {
    for (; element != nullptr; element = element->parent)
        if (element == ancestor) return true;
    return false;
}

Matrix4 Scene::local(const Element& element, double time) const { return element.track.at(time, clock.snap()); }

Matrix4 Scene::world(const Element& element, double time) const {
    const Matrix4 own = local(element, time);
    return element.parent == nullptr ? own : world(*element.parent, time) * own;
}

void Scene::setLocal(Element& element, double time, const Matrix4& local) {
    if (m_running) {
        if (!element.placedByUser) write(element, time, local);
    } else if (element.track.keys.empty()) {
        element.track.pose = local;
    } else {
        element.track.setKey(time, local, clock.snap());
    }
}

void Scene::setWorld(Element& element, double time, const Matrix4& matrix) {
    setLocal(element, time, element.parent == nullptr ? matrix : util::Inverse(world(*element.parent, time)) * matrix);
}

void Scene::setUserKey(Element& element, int frame, const Matrix4& local) {
    element.track.setKey(clock.time(frame), local, clock.snap());
}

void Scene::beginRun(int start) {
    m_running = true;
    m_start = start;
    m_before = tracks();
    m_written.assign(elements.size(), false);
}

void Scene::beginFrame(int frame) {
    clock.now = frame;
    ++m_pass;
}

void Scene::write(Element& element, double time, const Matrix4& local) {
    if (m_written.size() < elements.size()) m_written.resize(elements.size(), false);
    m_written[element.index] = true;
    Track& track = element.track;
    const double snap = clock.snap();
    const double start = clock.time(m_start);
    if (time > start + snap && !track.hasKeyUpTo(start, snap)) track.setKey(start, track.at(start, snap), snap, m_pass);
    track.setKey(time, local, snap, m_pass);
    const double frame = clock.time(clock.now);
    if (time > frame - snap && time < frame + snap) track.removeBetween(frame - clock.step(), frame, snap, m_pass);
}

void Scene::endRun(bool recorded) {
    m_running = false;
    for (std::size_t i = 0; i < m_written.size(); ++i) {
        if (!m_written[i]) continue;
        if (recorded)
            elements[i]->track.removeBehind(clock.time(clock.now), clock.snap());
        else
            elements[i]->track = i < m_before.size() ? m_before[i] : Track();
    }
}

std::vector<Track> Scene::tracks() const {
    std::vector<Track> all;
    for (const auto& element : elements) all.push_back(element->track);
    return all;
}

}  // namespace ond::stage
