// Builds the index beside a ground tree.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "ground/GroundRayTables.h"

namespace ond::ovs::addon {

class GroundMeshTreeNode;

class GroundRayIndexBuilder {
  public:
    explicit GroundRayIndexBuilder(GroundRayTables& tables) : m_tables(tables) {}

    /// Whether the index could be made; else it is to be thrown away.
    [[nodiscard]] bool build(const GroundMeshTreeNode& root);

  private:
    /// A triangle of a leaf while its group is made into boxes. Relative to the middle of the mesh.
    struct Item {
        std::array<float, 3> low;
        std::array<float, 3> high;
        std::array<float, 3> normal;  ///< unit length, turned to the positive side of its group's axis
        std::uint32_t number;
    };
    using Items = std::vector<Item>;
    /// A node of the tree with its number in `cells`.
    struct Branch {
        const GroundMeshTreeNode* node;
        std::uint32_t cell;
    };
    /// Normals within an angle of an axis, either way round.
    struct Cone {
        util::Vector3<double> axis;
        double width;  ///< radians; above a right angle for all directions
    };
    /// What has been made of a node of the tree.
    struct Added {
        std::uint32_t child;
        std::array<float, 3> low;  ///< box of the triangles
        std::array<float, 3> high;
        Cone cone;
    };
    static constexpr int kOdd = 3;

    [[nodiscard]] bool isModerate() const;
    [[nodiscard]] std::uint32_t addCell(const GroundMeshTreeNode& node, std::uint32_t parent);
    [[nodiscard]] Added addNode(const Branch& branch);
    /// Up to eight nodes that make up an inner node, in the order of the tree.
    [[nodiscard]] std::vector<Branch> branchesOf(const Branch& branch);
    [[nodiscard]] Added addInner(const Branch& branch);
    [[nodiscard]] Added addLeaf(const GroundMeshTreeNode& node, std::uint32_t cell);
    /// The path from a cell up.
    [[nodiscard]] GroundPath pathOf(std::uint32_t cell);
    /// The same in `paths`, made if there is none.
    [[nodiscard]] std::uint32_t addPath(std::uint32_t cell);
    /// Makes triangles a part of the last leaf.
    void addPart(Item* first, Item* last, Added& leaf);
    /// Makes one of the groups parts of the last leaf, as many as can be or as `most` allows: 1, 2, 4 or 8.
    void addParts(Items& items, std::size_t most, Added& leaf);
    [[nodiscard]] std::uint32_t addBoxes(Item* first, Item* last);
    [[nodiscard]] std::uint32_t addTriangles(const Item* first, const Item* last);
    /// Sorts the upper half of the items, along the axis on which they spread most, behind the lower.
    [[nodiscard]] static Item* halve(Item* first, Item* last);
    /// The group of a triangle, 0 to 2, or kOdd for one that is to be tested always.
    [[nodiscard]] int groupOf(std::uint32_t number, Item& item) const;

    [[nodiscard]] static Cone coneOf(const Item* first, const Item* last);
    static void setCone(GroundCones& cones, int lane, const Cone& cone);
    /// The least cone around both.
    [[nodiscard]] static Cone join(const Cone& a, const Cone& b);
    [[nodiscard]] static float leastSquare(const Cone& cone);
    static void boxOf(const Item* first, const Item* last, std::array<float, 3>& low, std::array<float, 3>& high);
    static void widen(Added& node, const std::array<float, 3>& low, const std::array<float, 3>& high);
    [[nodiscard]] bool isThick(const AxisBox& box) const;
    [[nodiscard]] std::array<float, 3> relative(const util::Vector3<double>& point) const;

    GroundRayTables& m_tables;
    bool m_isFull = false;  ///< more of something than can be numbered
    std::array<Items, 3> m_groups;
    std::uint32_t m_leaf = 0;            ///< the one that is being made
    std::size_t m_parts = 0;             ///< of it so far
    std::vector<std::uint32_t> m_paths;  ///< per cell, kEnd where there is none yet
};

}  // namespace ond::ovs::addon
