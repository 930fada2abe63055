// The scene of the golden runs: elements in a tree with keys of their local matrices.
//
// A set at a time makes a key there. A read gives the key at that time if there is one, else the latest key before it,
// else the first key, else the identity: no interpolation, so that nothing but the vehicle's own arithmetic is
// compared.
#pragma once

#include <algorithm>
#include <deque>
#include <limits>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"
#include "ond/util/Vector3.h"

namespace golden {

using ond::util::CMesh;
using ond::util::Matrix4;
using ond::util::Vector3;

struct Key {
    double time;  ///< seconds
    Matrix4 local;
};

struct Element {
    std::string name;
    Element* parent = nullptr;
    std::vector<Element*> children;
    std::vector<Key> keys;  ///< ascending
    bool hasSurface = false;
    CMesh mesh;
    bool deleted = false;
    bool shown = true;
};

/// The nearest hit with t >= 0, in multiples of `direction`; both faces count, the normal (b - a) x (c - a) is not
/// turned towards the ray. The exact form of T. Moeller and B. Trumbore (1997).
inline bool nearestHit(const CMesh& mesh, const Vector3<double>& origin, const Vector3<double>& direction, double* t,
                       Vector3<double>* normal) {
    double best = std::numeric_limits<double>::infinity();
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const auto corner = [&](int i) { return mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(face, i))]; };
        const Vector3<double> a = corner(0);
        const Vector3<double> ab = corner(1) - a;
        const Vector3<double> ac = corner(2) - a;
        const Vector3<double> p = ond::util::Cross(direction, ac);
        const double determinant = ond::util::Dot(ab, p);
        if (determinant == 0.0) continue;
        const Vector3<double> s = origin - a;
        const double u = ond::util::Dot(s, p) / determinant;
        if (u < 0.0 || u > 1.0) continue;
        const Vector3<double> q = ond::util::Cross(s, ab);
        const double v = ond::util::Dot(direction, q) / determinant;
        if (v < 0.0 || u + v > 1.0) continue;
        const double hit = ond::util::Dot(ac, q) / determinant;
        if (!(hit >= 0.0 && hit < best)) continue;
        best = hit;
        *normal = ond::util::Normalized(ond::util::Cross(ab, ac));
    }
    if (best == std::numeric_limits<double>::infinity()) return false;
    *t = best;
    return true;
}

class Scene {
  public:
    /// Times nearer than `same` seconds are one time.
    Scene(double framesPerSecond, double same) : fps(framesPerSecond), sameTime(same) {}

    double fps;
    double sameTime;
    double now = 0.0;
    std::deque<Element> elements;  ///< in the order of making, deleted ones too

    [[nodiscard]] double time(std::int64_t frame) const { return static_cast<double>(frame) / fps; }

    Element& add(const std::string& name, Element* parent) {
        elements.emplace_back();
        Element& element = elements.back();
        element.name = name;
        link(element, parent);
        return element;
    }

    /// The living element of that name, or null.
    [[nodiscard]] Element* find(const std::string& name) {
        for (Element& element : elements)
            if (!element.deleted && element.name == name) return &element;
        return nullptr;
    }

    /// Moves the element below `parent`, as its last child; the local matrices stay.
    static void link(Element& element, Element* parent) {
        if (element.parent != nullptr) {
            std::vector<Element*>& siblings = element.parent->children;
            siblings.erase(std::find(siblings.begin(), siblings.end(), &element));
        }
        element.parent = parent;
        if (parent != nullptr) parent->children.push_back(&element);
    }

    static void remove(Element& element) {
        for (Element* child : element.children) child->parent = nullptr;
        element.children.clear();
        link(element, nullptr);
        element.deleted = true;
    }

    [[nodiscard]] static bool isOrIsBelow(const Element* element, const Element* other) {
        for (; element != nullptr; element = element->parent)
            if (element == other) return true;
        return false;
    }

    [[nodiscard]] Matrix4 local(const Element& element, double time) const {
        if (element.keys.empty()) return {};
        auto at = from(element, time);
        if (at == element.keys.end() || at->time > time + sameTime) {
            if (at != element.keys.begin()) --at;
        }
        return at->local;
    }

    [[nodiscard]] Matrix4 world(const Element& element, double time) const {
        const Matrix4 own = local(element, time);
        return element.parent == nullptr ? own : world(*element.parent, time) * own;
    }

    void setLocal(Element& element, double time, const Matrix4& matrix) const {
        const auto at = element.keys.begin() + (from(element, time) - element.keys.cbegin());
        if (at != element.keys.end() && at->time <= time + sameTime) {
            at->local = matrix;
        } else {
            element.keys.insert(at, {time, matrix});
        }
    }

    void setWorld(Element& element, double time, const Matrix4& matrix) const {
        setLocal(element, time,
                 element.parent == nullptr ? matrix : ond::util::Inverse(world(*element.parent, time)) * matrix);
    }

  private:
    /// The first key that is not before `time`.
    [[nodiscard]] std::vector<Key>::const_iterator from(const Element& element, double time) const {
        return std::lower_bound(element.keys.cbegin(), element.keys.cend(), time - sameTime,
                                [](const Key& key, double t) { return key.time < t; });
    }
};

}  // namespace golden
