// A mesh in Embree: the yardstick of the ground tree, and the way to learn how high the ground is at a place.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::bench::table {

struct Ray {
    util::Vector3<double> origin;
    util::Vector3<double> direction;
};

/// With the library's "robust" flag and default quality, built on one thread.
class EmbreeGround {
  public:
    explicit EmbreeGround(const util::CMesh& mesh);
    EmbreeGround(const EmbreeGround&) = delete;
    EmbreeGround& operator=(const EmbreeGround&) = delete;
    ~EmbreeGround();

    /// Processor seconds that the build took; the arrays that the library reads from stood ready.
    [[nodiscard]] double buildSeconds() const;

    /// The highest ground at the place; nothing beside the mesh.
    [[nodiscard]] std::optional<double> heightAt(double x, double z) const;

    /// Rays in the library's own form, so that casting them contains no conversion.
    class Rays;
    [[nodiscard]] std::shared_ptr<const Rays> prepare(const std::vector<Ray>& rays) const;
    /// Casts all of them, one by one; gives how many hit.
    std::size_t cast(const Rays& rays) const;

  private:
    struct Scene;
    std::unique_ptr<Scene> m_scene;
};

/// The library's version.
[[nodiscard]] std::string embreeVersion();

}  // namespace ond::bench::table
