// Comparing a box with the nodes of Bullet's quantised tree, all six sides at once.
#pragma once

#include <cstring>

#include "ground/BulletLibrary.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ond::ovs::addon {

/// A box in the units of a tree's nodes.
class QuantisedBox {
  public:
    QuantisedBox() = default;
    /// What the box `low` to `high` overlaps at least, as the library would round it.
    QuantisedBox(const btOptimizedBvh& tree, const btVector3& low, const btVector3& high) {
        unsigned short from[3];
        unsigned short to[3];
        tree.quantizeWithClamp(from, low, 0);
        tree.quantizeWithClamp(to, high, 1);
        m_most = Lanes{to[0], to[1], to[2], flipped(from[0]), flipped(from[1]), flipped(from[2]), kMost, kMost};
    }

    [[nodiscard]] bool overlaps(const btQuantizedBvhNode& node) const {
        // The low sides must not be above those of `to`, and, turned over, the high sides not above those of `from`.
        // The last two lanes, which are no sides, never are.
        Lanes sides;
        std::memcpy(&sides, &node, sizeof sides);
        return noneAbove(sides ^ Lanes{0, 0, 0, kMost, kMost, kMost, 0, 0});
    }

  private:
    using Lanes = unsigned short __attribute__((vector_size(16)));
    static constexpr unsigned short kMost = 0xFFFF;
    static_assert(sizeof(btQuantizedBvhNode) == sizeof(Lanes));

    static unsigned short flipped(unsigned short value) { return static_cast<unsigned short>(kMost - value); }

    [[nodiscard]] bool noneAbove(Lanes sides) const {
#if defined(__SSE2__)
        const __m128i excess = _mm_subs_epu16(reinterpret_cast<__m128i>(sides), reinterpret_cast<__m128i>(m_most));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(excess, _mm_setzero_si128())) == 0xFFFF;
#else
        for (int i = 0; i < 8; ++i)
            if (sides[i] > m_most[i]) return false;
        return true;
#endif
    }

    Lanes m_most{};
};

}  // namespace ond::ovs::addon
