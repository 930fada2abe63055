#include "ground/LeafTree.h"

#include <algorithm>
#include <cstring>

namespace ond::ovs::addon {

namespace {

int sizeOf(const btQuantizedBvhNode& node) { return node.isLeafNode() ? 1 : node.getEscapeIndex(); }

}  // namespace

class LeafTree::Builder {
  public:
    Builder(LeafTree& tree, const btVector3* corners, const int* indices, const std::vector<int>& always)
        : m_tree(tree), m_corners(corners), m_indices(indices), m_always(always) {}

    /// False when it is deeper than is provided for.
    [[nodiscard]] bool build() {
        std::vector<Task> tasks{{0, kNoParent, 0, 1}};
        while (!tasks.empty()) {
            const Task task = tasks.back();
            tasks.pop_back();
            const std::size_t fork = m_tree.m_units.size();
            if (task.depth > kDeepest || fork > kMost) return false;
            if (task.parent != kNoParent) {
                Fork parent = m_tree.forkAt(task.parent);
                parent.branches[task.lane] = static_cast<std::int32_t>(fork);
                std::memcpy(m_tree.m_units.data() + task.parent, &parent, sizeof parent);
            }
            split(task.node);
            add(fork);
            // The last one is taken first.
            for (std::size_t lane = m_count; lane-- > 0;)
                if (!nodeAt(m_parts[lane]).isLeafNode()) tasks.push_back({m_parts[lane], fork, lane, task.depth + 1});
        }
        return true;
    }

  private:
    static constexpr std::size_t kNoParent = ~std::size_t{0};
    struct Task {
        int node;
        std::size_t parent;  ///< fork, at whose branch `lane` the node hangs
        std::size_t lane;
        std::size_t depth;
    };

    [[nodiscard]] const btQuantizedBvhNode& nodeAt(int node) const { return m_tree.m_nodes[node]; }

    /// The nodes below one that become the branches of its fork, in their order: the largest are taken apart first.
    void split(int node) {
        m_parts[0] = node;
        m_count = 1;
        while (m_count < kBranches) {
            std::size_t largest = 0;
            for (std::size_t i = 1; i < m_count; ++i)
                if (sizeOf(nodeAt(m_parts[i])) > sizeOf(nodeAt(m_parts[largest]))) largest = i;
            const int parted = m_parts[largest];
            if (nodeAt(parted).isLeafNode()) return;
            std::copy_backward(m_parts.begin() + static_cast<std::ptrdiff_t>(largest) + 1,
                               m_parts.begin() + static_cast<std::ptrdiff_t>(m_count),
                               m_parts.begin() + static_cast<std::ptrdiff_t>(m_count) + 1);
            m_parts[largest] = parted + 1;
            m_parts[largest + 1] = parted + 1 + sizeOf(nodeAt(parted + 1));
            ++m_count;
        }
    }

    /// The fork of the parts, and its leaves' corners.
    void add(std::size_t number) {
        Fork fork;
        Corners corners{};
        m_vertices.clear();
        for (std::size_t lane = 0; lane < kBranches; ++lane) {
            fill(number, fork, lane);
            if (fork.branches[lane] < 0) setCorners(corners, lane);
        }
        std::size_t bytes = sizeof fork;
        if (!m_vertices.empty()) bytes += sizeof corners + m_vertices.size() * sizeof(btVector3);
        m_tree.m_units.resize(number + (bytes + kUnit - 1) / kUnit);
        auto* memory = reinterpret_cast<std::byte*>(m_tree.m_units.data() + number);
        std::memcpy(memory, &fork, sizeof fork);
        if (m_vertices.empty()) return;
        std::memcpy(memory + sizeof fork, &corners, sizeof corners);
        auto* vertices = reinterpret_cast<btVector3*>(memory + sizeof fork + sizeof corners);
        for (std::size_t i = 0; i < m_vertices.size(); ++i) new (vertices + i) btVector3(m_corners[m_vertices[i]]);
    }

    void setCorners(Corners& corners, std::size_t lane) {
        const int* const triangle = m_indices + 3 * nodeAt(m_parts[lane]).getTriangleIndex();
        for (std::size_t i = 0; i < 3; ++i) {
            const auto found = std::find(m_vertices.begin(), m_vertices.end(), triangle[i]);
            corners.number[lane][i] = static_cast<std::uint8_t>(found - m_vertices.begin());
            if (found == m_vertices.end()) m_vertices.push_back(triangle[i]);
        }
    }

    void fill(std::size_t number, Fork& fork, std::size_t lane) {
        const bool isThere = lane < m_count;
        const bool isAlways = isThere && holdsAlways(m_parts[lane]);
        for (int axis = 0; axis < 3; ++axis) {
            fork.boxes.low[axis][lane] = isAlways  ? std::uint16_t{0}
                                         : isThere ? nodeAt(m_parts[lane]).m_quantizedAabbMin[axis]
                                                   : std::uint16_t{0xFFFF};
            fork.boxes.high[axis][lane] = isAlways  ? std::uint16_t{0xFFFF}
                                          : isThere ? nodeAt(m_parts[lane]).m_quantizedAabbMax[axis]
                                                    : std::uint16_t{0};
        }
        fork.branches[lane] = kNone;
        if (!isThere || !nodeAt(m_parts[lane]).isLeafNode()) return;
        fork.branches[lane] = leafBranch(nodeAt(m_parts[lane]).getTriangleIndex(), isAlways);
        if (isAlways) m_tree.m_always.push_back({static_cast<Place>(number * kBranches + lane), m_parts[lane]});
    }

    [[nodiscard]] bool holdsAlways(int node) const {
        const auto first = std::lower_bound(m_always.begin(), m_always.end(), node);
        return first != m_always.end() && *first < node + sizeOf(nodeAt(node));
    }

    /// Largest number of a fork: places of its leaves are eight times as large.
    static constexpr std::size_t kMost = (std::size_t{1} << 28) - 1;

    LeafTree& m_tree;
    const btVector3* m_corners;
    const int* m_indices;
    const std::vector<int>& m_always;
    std::vector<int> m_vertices;  ///< of the fork that is being added
    std::array<int, kBranches> m_parts{};
    std::size_t m_count = 0;
};

LeafTree::LeafTree(const btQuantizedBvhNode* nodes, int count, const btVector3* corners, const int* indices,
                   const std::vector<int>& always)
    : m_nodes(nodes) {
    if (count < 1) return;
    m_units.reserve(static_cast<std::size_t>(count) * 5 / 8 + 8);
    if (!Builder(*this, corners, indices, always).build()) m_units.clear();
    if (m_units.capacity() / 16 > m_units.size() / 15) m_units.shrink_to_fit();
}

void LeafTree::boxOf(Place place, unsigned short* low, unsigned short* high) const {
    const LeafBoxes& boxes = forkAt(place / kBranches).boxes;
    const auto known =
        std::find_if(m_always.begin(), m_always.end(), [place](const Always& a) { return a.place == place; });
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] = known != m_always.end() ? m_nodes[known->node].m_quantizedAabbMin[axis]
                                            : boxes.low[axis][place % kBranches];
        high[axis] = known != m_always.end() ? m_nodes[known->node].m_quantizedAabbMax[axis]
                                             : boxes.high[axis][place % kBranches];
    }
}

}  // namespace ond::ovs::addon
