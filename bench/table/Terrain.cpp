#include "table/Terrain.h"

#include <utility>

#include "table/EmbreeGround.h"

namespace ond::bench::table {

Terrain::Terrain(NamedGround ground)
    : m_ground(std::move(ground)), m_box(boxOf(m_ground.mesh)), m_embree(std::make_unique<EmbreeGround>(mesh())) {}

Terrain::~Terrain() = default;

std::optional<Vector> Terrain::groundAt(double alongX, double alongZ) const {
    const double x = m_box.low.x + alongX * (m_box.high.x - m_box.low.x);
    const double z = m_box.low.z + alongZ * (m_box.high.z - m_box.low.z);
    const std::optional<double> height = m_embree->heightAt(x, z);
    return height ? std::optional(Vector(x, *height, z)) : std::nullopt;
}

Vector Terrain::place(double alongX, double alongZ) const {
    const Vector middle = 0.5 * (m_box.low + m_box.high);
    const Vector size = m_box.high - m_box.low;
    return groundAt(alongX, alongZ)
        .value_or(Vector(m_box.low.x + alongX * size.x, middle.y, m_box.low.z + alongZ * size.z));
}

}  // namespace ond::bench::table
