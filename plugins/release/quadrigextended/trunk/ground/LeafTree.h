// A mesh's triangles by place, for finding those in a small box: Bullet's quantised tree with eight branches at each
// fork instead of two, so that eight boxes are compared at once and few places in memory are looked at.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/LargePages.h"
#include "ond/util/Prefetch.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ond::ovs::addon {

/// Eight boxes in the units of Bullet's tree, by sides.
struct LeafBoxes {
    using Lanes = std::uint16_t __attribute__((vector_size(16)));
    Lanes low[3];
    Lanes high[3];
};

/// A box in the units of a tree, to be compared with eight at once.
class QuantisedBox {
  public:
    QuantisedBox() = default;
    /// What the box `low` to `high` overlaps at least, as the library would round it.
    QuantisedBox(const btOptimizedBvh& tree, const btVector3& low, const btVector3& high) {
        unsigned short from[3];
        unsigned short to[3];
        tree.quantizeWithClamp(from, low, 0);
        tree.quantizeWithClamp(to, high, 1);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_from[axis] = allEight(from[axis]);
            m_to[axis] = allEight(to[axis]);
        }
    }

    /// Bit `i` tells whether this overlaps box `i`.
    [[nodiscard]] unsigned overlapped(const LeafBoxes& boxes) const {
#if defined(__SSE2__)
        const auto excess = [](Lanes value, Lanes most) {
            return _mm_subs_epu16(reinterpret_cast<__m128i>(value), reinterpret_cast<__m128i>(most));
        };
        __m128i gap = _mm_setzero_si128();
        for (int axis = 0; axis < 3; ++axis)
            gap = _mm_or_si128(
                gap, _mm_or_si128(excess(boxes.low[axis], m_to[axis]), excess(m_from[axis], boxes.high[axis])));
        const __m128i touches = _mm_cmpeq_epi16(gap, _mm_setzero_si128());
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(touches, _mm_setzero_si128())));
#else
        unsigned bits = 0;
        for (int lane = 0; lane < 8; ++lane) {
            bool overlaps = true;
            for (int axis = 0; axis < 3; ++axis)
                overlaps = overlaps && boxes.low[axis][lane] <= m_to[axis][lane] &&
                           m_from[axis][lane] <= boxes.high[axis][lane];
            bits |= (overlaps ? 1U : 0U) << lane;
        }
        return bits;
#endif
    }

  private:
    using Lanes = LeafBoxes::Lanes;
    static Lanes allEight(std::uint16_t v) { return Lanes{v, v, v, v, v, v, v, v}; }

    Lanes m_from[3]{};
    Lanes m_to[3]{};
};

/// Made once of a tree. Leaves come in the order in which the library reports them.
class LeafTree {
  public:
    /// Where a leaf stands here.
    using Place = std::uint32_t;

    LeafTree() = default;
    /// @param count number of nodes
    /// @param corners of the mesh, `indices` three for each triangle
    /// @param always nodes of leaves that every box is taken to overlap, ascending
    LeafTree(const btQuantizedBvhNode* nodes, int count, const btVector3* corners, const int* indices,
             const std::vector<int>& always);

    /// False where the tree is too deep.
    [[nodiscard]] bool isUsable() const { return !m_units.empty(); }

    /// Has no interest in what is looked at.
    struct Ignore {
        void operator()(const void* /*memory*/, std::size_t /*bytes*/) const {}
    };
    /// Visits the leaves that overlap one of the boxes in their order, while `visit(place, triangle, isAlways)` says
    /// true.
    /// @param looksAt called with the memory that is looked at on the way: its address and its size in bytes
    template <std::size_t kBoxes, class Visit, class LooksAt = Ignore>
    void forEachLeaf(const std::array<QuantisedBox, kBoxes>& boxes, Visit visit, LooksAt looksAt = {}) const;

    /// A corner of the triangle of a leaf. What was visited just now is near at hand.
    [[nodiscard]] const btVector3& corner(Place place, std::size_t i) const {
        const Corners& corners = cornersOf(place / kBranches);
        return corners.vertices()[corners.number[place % kBranches][i]];
    }

    /// The box of a leaf, in the units of the tree.
    void boxOf(Place place, unsigned short* low, unsigned short* high) const;

  private:
    static constexpr std::size_t kBranches = 8;
    static constexpr std::size_t kDeepest = 64;
    static constexpr std::int32_t kNone = 0;

    static constexpr std::size_t kUnit = 64;

    /// A piece of memory, in which forks are numbered.
    struct alignas(kUnit) Unit {
        std::array<std::byte, kUnit> bytes;
    };
    struct alignas(kUnit) Fork {
        LeafBoxes boxes;
        /// Number of the fork that a branch leads to; of a leaf, below 0, what leafBranch() says; or kNone.
        std::int32_t branches[kBranches];
    };
    /// The triangles of a fork's leaves. They stand right behind it, so that they come from memory with it.
    struct alignas(alignof(btVector3)) Corners {
        /// Of each leaf, among the vertices.
        std::array<std::array<std::uint8_t, 3>, kBranches> number;

        /// Each once, behind this.
        [[nodiscard]] const btVector3* vertices() const {
            return std::launder(reinterpret_cast<const btVector3*>(this + 1));
        }
    };
    /// How much of the corners is fetched: those of a surface.
    static constexpr std::size_t kFetched = 6 * kUnit;
    struct Always {
        Place place;
        int node;
    };
    class Builder;

    static std::int32_t leafBranch(int triangle, bool isAlways) { return ~(2 * triangle + (isAlways ? 1 : 0)); }

    static void prefetchCorners(const Fork& fork) {
        const auto* corners = reinterpret_cast<const std::byte*>(&fork + 1);
        for (std::size_t at = 0; at < kFetched; at += kUnit) util::prefetch(corners + at);
    }
    [[nodiscard]] const Fork& forkAt(std::size_t number) const {
        return *std::launder(reinterpret_cast<const Fork*>(m_units.data() + number));
    }
    [[nodiscard]] const Corners& cornersOf(std::size_t fork) const {
        return *std::launder(reinterpret_cast<const Corners*>(&forkAt(fork) + 1));
    }

    /// The root first, then each with all that is below it.
    std::vector<Unit, LargePages<Unit>> m_units;
    std::vector<Always> m_always;
    const btQuantizedBvhNode* m_nodes = nullptr;
};

template <std::size_t kBoxes, class Visit, class LooksAt>
void LeafTree::forEachLeaf(const std::array<QuantisedBox, kBoxes>& boxes, Visit visit, LooksAt looksAt) const {
    struct Open {
        std::uint32_t fork;
        unsigned branches;  ///< left to look at
    };
    const auto open = [&](std::uint32_t fork) {
        const Fork& at = forkAt(fork);
        unsigned branches = 0;
        for (const QuantisedBox& box : boxes) branches |= box.overlapped(at.boxes);
        // Those below are read one after the other: let them come from memory together.
        bool hasLeaf = false;
        for (unsigned left = branches; left != 0; left &= left - 1) {
            const std::int32_t branch = at.branches[std::countr_zero(left)];
            hasLeaf = hasLeaf || branch < 0;
            if (branch <= 0) continue;
            const Fork& next = forkAt(static_cast<std::uint32_t>(branch));
            util::prefetch(&next.boxes.low[0]);
            util::prefetch(&next.branches[0]);
        }
        if (hasLeaf) prefetchCorners(at);
        looksAt(&at, hasLeaf ? sizeof(Fork) + kFetched : sizeof(Fork));
        return Open{fork, branches};
    };
    std::array<Open, kDeepest> above;
    std::size_t depth = 0;
    Open at = open(0);
    for (;;) {
        if (at.branches == 0) {
            if (depth == 0) return;
            at = above[--depth];
            continue;
        }
        const auto lane = static_cast<std::uint32_t>(std::countr_zero(at.branches));
        const std::int32_t branch = forkAt(at.fork).branches[lane];
        at.branches &= at.branches - 1;
        if (branch == kNone) continue;
        if (branch < 0) {
            if (!visit(static_cast<Place>(at.fork * kBranches + lane), ~branch / 2, (~branch & 1) != 0)) return;
        } else {
            if (at.branches != 0) above[depth++] = at;
            at = open(static_cast<std::uint32_t>(branch));
        }
    }
}

}  // namespace ond::ovs::addon
