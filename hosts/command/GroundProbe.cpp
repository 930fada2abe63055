#include "command/GroundProbe.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ond::command {

using stage::Element;
using util::Vector3;

GroundProbe::GroundProbe(const stage::Scene& scene, const std::vector<const Element*>& elements, double time) {
    bool any = false;
    for (const Element* element : elements) {
        const util::Matrix4 world = scene.world(*element, time);
        m_grounds.push_back({std::make_shared<const stage::MeshSurface>(element->shape), util::Inverse(world)});
        for (const Vector3<double>& vertex : element->shape.vertices) {
            const Vector3<double> p = util::Transform(world, vertex);
            if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) continue;
            if (!any) m_low = m_high = p;
            any = true;
            m_low = {std::min(m_low.x, p.x), std::min(m_low.y, p.y), std::min(m_low.z, p.z)};
            m_high = {std::max(m_high.x, p.x), std::max(m_high.y, p.y), std::max(m_high.z, p.z)};
        }
    }
}

std::optional<double> GroundProbe::below(const Vector3<double>& point) const {
    std::optional<double> best;
    for (const Ground& ground : m_grounds) {
        double t = 0.0;
        Vector3<double> normal;
        const Vector3<double> down = util::TransformNoProjection(ground.toLocal, {0.0, -1.0, 0.0}, 0.0);
        // `t` counts in units of the world, because the direction has the length that the transform gave it.
        if (!ground.rays->intersect(util::Transform(ground.toLocal, point), down, &t, &normal)) continue;
        if (!best || point.y - t > *best) best = point.y - t;
    }
    return best;
}

double planeHalf(const stage::Vehicle& vehicle, double length) {
    constexpr double kLengths = 1000.0;
    return vehicle.value("Use Fast Ray Cast") != 0.0 ? kLengths * length : std::numeric_limits<double>::infinity();
}

std::optional<double> planeBelow(const Vector3<double>& point, double half) {
    if (point.y < 0.0 || std::abs(point.x) > half || std::abs(point.z) > half) return std::nullopt;
    return 0.0;
}

std::vector<const Element*> linkedGrounds(const stage::Scene& scene, const std::string& vehicle) {
    std::vector<const Element*> grounds;
    const Element* arrow = scene.find(vehicle, "GravityDirectionMesh");
    if (arrow == nullptr) return grounds;
    const auto addMesh = [&](const Element* element) {
        const bool usable = element != nullptr && !element->deleted && element->surface == stage::SurfaceKind::mesh;
        // The vehicle's own body is left out as the vehicle itself does.
        if (usable && element->vehicle != vehicle) grounds.push_back(element);
    };
    addMesh(arrow->parent);
    for (const Element* child : arrow->children) addMesh(child);
    return grounds;
}

}  // namespace ond::command
