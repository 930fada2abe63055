// The triangles of a stored ground, kept once for a whole tree, and the lists that its nodes have of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "ground/LargePages.h"
#include "ground/TriangleNumbers.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Triangles with finite corners, in the order of the mesh that they are a copy of. Scene units.
struct GroundTriangles {
    std::vector<util::Vector3<double>, LargePages<util::Vector3<double>>> vertices;
    /// Indices into `vertices`, all within.
    std::vector<std::array<std::uint32_t, 3>> corners;

    [[nodiscard]] const util::Vector3<double>& corner(std::size_t triangle, std::size_t corner) const {
        return vertices[corners[triangle][corner]];
    }
};

/// A list of triangles to be read as a list of their vertices, three in a row a triangle. It keeps the numbers of the
/// triangles and a share in their vertices, so a triangle that many nodes of a tree list is stored once.
class TriangleVertices {
  public:
    using value_type = util::Vector3<double>;

    /// Walks the vertices from the front.
    class const_iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = util::Vector3<double>;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = const value_type&;

        const_iterator(const GroundTriangles* all, TriangleNumbers::const_iterator triangle)
            : m_all(all), m_triangle(triangle) {}
        reference operator*() const { return m_all->corner(*m_triangle, m_corner); }
        pointer operator->() const { return &**this; }
        const_iterator& operator++() {
            if (++m_corner < 3) return *this;
            m_corner = 0;
            ++m_triangle;
            return *this;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) {
            return a.m_triangle == b.m_triangle && a.m_corner == b.m_corner;
        }
        friend bool operator!=(const const_iterator& a, const const_iterator& b) { return !(a == b); }

      private:
        const GroundTriangles* m_all;
        TriangleNumbers::const_iterator m_triangle;
        std::size_t m_corner = 0;
    };

    TriangleVertices() = default;
    TriangleVertices(std::shared_ptr<const GroundTriangles> all, TriangleNumbers numbers)
        : m_all(std::move(all)), m_numbers(std::move(numbers)) {}

    /// Three times the number of triangles.
    [[nodiscard]] std::size_t size() const { return 3 * m_numbers.size(); }
    [[nodiscard]] bool empty() const { return m_numbers.empty(); }
    /// `i` below size(). To see all, iterate.
    [[nodiscard]] const value_type& operator[](std::size_t i) const { return m_all->corner(m_numbers[i / 3], i % 3); }
    [[nodiscard]] const_iterator begin() const { return {m_all.get(), m_numbers.begin()}; }
    [[nodiscard]] const_iterator end() const { return {m_all.get(), m_numbers.end()}; }

    /// Of the triangles within the ground's, ascending.
    [[nodiscard]] const TriangleNumbers& numbers() const { return m_numbers; }
    /// Null in a list without triangles.
    [[nodiscard]] const std::shared_ptr<const GroundTriangles>& all() const { return m_all; }

  private:
    std::shared_ptr<const GroundTriangles> m_all;
    TriangleNumbers m_numbers;
};

}  // namespace ond::ovs::addon
