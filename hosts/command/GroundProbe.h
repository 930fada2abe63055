// Asking a scene where the ground is.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "ond/util/Matrix4.h"
#include "stage/MeshSurface.h"
#include "stage/Scene.h"
#include "stage/Vehicle.h"

namespace ond::command {

class GroundProbe {
  public:
    /// Looks at the shapes of these elements as they stand at the time.
    GroundProbe(const stage::Scene& scene, const std::vector<const stage::Element*>& elements, double time);

    [[nodiscard]] bool empty() const { return m_grounds.empty(); }
    /// The height of the ground straight below the point, or nothing.
    [[nodiscard]] std::optional<double> below(const util::Vector3<double>& point) const;
    /// The height of the topmost ground there, or nothing.
    [[nodiscard]] std::optional<double> top(double x, double z) const { return below({x, m_high.y + 1.0, z}); }
    /// The corners of the box around all ground; the origin without any.
    [[nodiscard]] const util::Vector3<double>& low() const { return m_low; }
    [[nodiscard]] const util::Vector3<double>& high() const { return m_high; }

  private:
    struct Ground {
        std::shared_ptr<const stage::MeshSurface> rays;
        util::Matrix4 toLocal;
    };
    std::vector<Ground> m_grounds;
    util::Vector3<double> m_low{0, 0, 0}, m_high{0, 0, 0};
};

/// Without ground a vehicle drives on the plane y = 0.
/// @param length of its body
/// @return how far the plane reaches from the origin to each side: 1000 lengths, or without end if the vehicle does not
/// cast its rays itself
[[nodiscard]] double planeHalf(const stage::Vehicle& vehicle, double length);
/// The height of that plane straight below the point, or nothing.
[[nodiscard]] std::optional<double> planeBelow(const util::Vector3<double>& point, double half);

/// What is linked to the gravity arrow of that vehicle and has a shape: the arrow's parent, then its children.
[[nodiscard]] std::vector<const stage::Element*> linkedGrounds(const stage::Scene& scene, const std::string& vehicle);

}  // namespace ond::command
