// The leaves that a box finds beside all leaves of the physics library's tree, compared one by one.
#include "ground/LeafTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/HostileMeshes.h"
#include "ground/StaticMesh.h"

namespace ond::ovs::addon {
namespace {

using test::MeshKind;
using test::PinnedRandom;
using V = util::Vector3<double>;

struct Found {
    int triangle;
    bool isAlways;
    friend bool operator==(const Found& a, const Found& b) {
        return a.triangle == b.triangle && a.isAlways == b.isAlways;
    }
};

/// A shape's tree, and what a box overlaps by going through all its nodes.
class Tree {
  public:
    explicit Tree(const util::CMesh& mesh)
        : m_mesh(StaticMesh::of(mesh, btTransform::getIdentity(), btVector3(1, 1, 1), 0.01)),
          m_tree(*m_mesh->shape->getOptimizedBvh()) {}

    [[nodiscard]] const btOptimizedBvh& bullet() const { return m_tree; }
    [[nodiscard]] int count() const { return 2 * m_mesh->arrays.triangles - 1; }
    [[nodiscard]] const btQuantizedBvhNode& node(int i) const { return m_tree.getQuantizedNodeArray()[i]; }

    [[nodiscard]] const btVector3& corner(int triangle, int i) const {
        return m_mesh->arrays
            .vertices[static_cast<std::size_t>(m_mesh->arrays.indices[static_cast<std::size_t>(3 * triangle + i)])];
    }
    /// @param always nodes, ascending
    [[nodiscard]] LeafTree leafTree(const std::vector<int>& always) const {
        return {&node(0), count(), m_mesh->arrays.vertices.get(), m_mesh->arrays.indices.get(), always};
    }

    [[nodiscard]] std::vector<int> leaves() const {
        std::vector<int> leaves;
        for (int i = 0; i < count(); ++i)
            if (node(i).isLeafNode()) leaves.push_back(i);
        return leaves;
    }

    [[nodiscard]] std::vector<Found> find(const std::vector<std::pair<V, V>>& boxes,
                                          const std::set<int>& always) const {
        std::vector<Found> found;
        for (const int leaf : leaves()) {
            const bool isAlways = always.count(leaf) != 0;
            if (isAlways ||
                std::any_of(boxes.begin(), boxes.end(), [&](const auto& box) { return overlaps(leaf, box); }))
                found.push_back({node(leaf).getTriangleIndex(), isAlways});
        }
        return found;
    }

  private:
    [[nodiscard]] bool overlaps(int leaf, const std::pair<V, V>& box) const {
        unsigned short from[3];
        unsigned short to[3];
        m_tree.quantizeWithClamp(from, toBullet(box.first), 0);
        m_tree.quantizeWithClamp(to, toBullet(box.second), 1);
        for (int axis = 0; axis < 3; ++axis)
            if (node(leaf).m_quantizedAabbMin[axis] > to[axis] || node(leaf).m_quantizedAabbMax[axis] < from[axis])
                return false;
        return true;
    }

    std::shared_ptr<StaticMesh> m_mesh;
    btOptimizedBvh& m_tree;
};

QuantisedBox quantised(const Tree& tree, const std::pair<V, V>& box) {
    return {tree.bullet(), toBullet(box.first), toBullet(box.second)};
}

TEST(LeafTreeTest, FindsTheLeavesThatABoxOverlapsInTheOrderOfTheTree) {
    PinnedRandom random(1);
    std::size_t all = 0;
    for (int i = 0; i < 40 * test::repetitions(); ++i) {
        const auto kind = static_cast<MeshKind>(random.bits() % static_cast<std::uint32_t>(MeshKind::count));
        SCOPED_TRACE(testing::Message() << "mesh " << i << " kind " << static_cast<int>(kind));
        const Tree tree(test::hostileMesh(random, kind, 1.0));
        std::set<int> always;
        const std::vector<int> leaves = tree.leaves();
        for (std::uint32_t k = random.bits() % 4; k > 0; --k) always.insert(leaves[random.bits() % leaves.size()]);
        const LeafTree made = tree.leafTree({always.begin(), always.end()});
        ASSERT_TRUE(made.isUsable());
        for (int k = 0; k < 40; ++k) {
            const auto box = [&] {
                const V low(random.in(-12, 10), random.in(-2, 1), random.in(-12, 10));
                return std::pair(low, low + V(random.in(0, 4), random.in(0, 4), random.in(0, 4)));
            };
            const std::vector<std::pair<V, V>> boxes{box(), box()};
            std::vector<Found> found;
            made.forEachLeaf(std::array{quantised(tree, boxes[0]), quantised(tree, boxes[1])},
                             [&](LeafTree::Place place, int triangle, bool isAlways) {
                                 found.push_back({triangle, isAlways});
                                 for (int corner = 0; corner < 3; ++corner)
                                     EXPECT_EQ(made.corner(place, static_cast<std::size_t>(corner)),
                                               tree.corner(triangle, corner));
                                 return true;
                             });
            ASSERT_EQ(found, tree.find(boxes, always));
            all += found.size();
        }
    }
    EXPECT_GT(all, 10000U);
}

// A box that is as wide as the numbers go overlaps everything, and nothing that is not there.
TEST(LeafTreeTest, TheWholeWorldAndTheSmallestTrees) {
    for (const int cells : {1, 2, 3, 7}) {
        const Tree tree(test::gridMesh(cells, 1.0, test::hills));
        const LeafTree made = tree.leafTree({});
        const std::pair world(V(-1e9, -1e9, -1e9), V(1e9, 1e9, 1e9));
        std::size_t count = 0;
        made.forEachLeaf(std::array{quantised(tree, world)}, [&](LeafTree::Place, int, bool) { return ++count != 0; });
        EXPECT_EQ(count, tree.leaves().size());
        count = 0;
        made.forEachLeaf(std::array{quantised(tree, world)}, [&](LeafTree::Place, int, bool) { return ++count < 2; });
        EXPECT_EQ(count, 2U) << "until the visitor has enough";
    }
    util::CMesh single;
    single.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 0, 1}};
    single.faces = {0, 1, 2};
    const Tree tree(single);
    const LeafTree made = tree.leafTree({});
    std::size_t count = 0;
    made.forEachLeaf(std::array{quantised(tree, {V(0, 0, 0), V(1, 1, 1)})},
                     [&](LeafTree::Place, int, bool) { return ++count != 0; });
    EXPECT_EQ(count, 1U);
    EXPECT_FALSE(LeafTree().isUsable());
}

TEST(LeafTreeTest, TellsTheBoxOfALeaf) {
    const Tree tree(test::gridMesh(9, 1.0, test::hills));
    const std::vector<int> leaves = tree.leaves();
    const LeafTree made = tree.leafTree({leaves[3], leaves[50]});
    std::size_t i = 0;
    made.forEachLeaf(std::array{quantised(tree, {V(-1e9, -1e9, -1e9), V(1e9, 1e9, 1e9)})},
                     [&](LeafTree::Place place, int, bool) {
                         unsigned short low[3];
                         unsigned short high[3];
                         made.boxOf(place, low, high);
                         const btQuantizedBvhNode& leaf = tree.node(leaves[i++]);
                         EXPECT_TRUE(std::equal(low, low + 3, leaf.m_quantizedAabbMin));
                         EXPECT_TRUE(std::equal(high, high + 3, leaf.m_quantizedAabbMax));
                         return true;
                     });
    EXPECT_EQ(i, leaves.size());
}

}  // namespace
}  // namespace ond::ovs::addon
