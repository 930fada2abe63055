// A ground that vehicles can be put on.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"
#include "table/Grounds.h"

namespace ond::bench::table {

class EmbreeGround;

class Terrain {
  public:
    explicit Terrain(NamedGround ground);
    Terrain(const Terrain&) = delete;
    Terrain& operator=(const Terrain&) = delete;
    ~Terrain();

    [[nodiscard]] const std::string& name() const { return m_ground.name; }
    [[nodiscard]] const util::CMesh& mesh() const { return m_ground.mesh; }
    [[nodiscard]] const EmbreeGround& yardstick() const { return *m_embree; }

    /// The highest point of the ground at a share of the mesh's width along x and z; nothing where there is none.
    [[nodiscard]] std::optional<Vector> groundAt(double alongX, double alongZ) const;

    /// On the ground, at a share of the mesh's width along x and z: 0 to 1, 0.5 for the middle. Where there is a hole
    /// the middle height of the mesh.
    [[nodiscard]] Vector place(double alongX, double alongZ) const;

  private:
    NamedGround m_ground;
    Box m_box;
    std::unique_ptr<EmbreeGround> m_embree;
};

}  // namespace ond::bench::table
