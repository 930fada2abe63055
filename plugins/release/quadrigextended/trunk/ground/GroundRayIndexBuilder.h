// Builds the index beside a ground tree.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "ground/GroundRayTables.h"
#include "ground/GroundTriangles.h"

namespace ond::ovs::addon {

class GroundMeshTreeNode;

class GroundRayIndexBuilder {
  public:
    explicit GroundRayIndexBuilder(GroundRayTables& tables) : m_tables(tables) {}

    /// Whether the index could be made; else it is to be thrown away.
    [[nodiscard]] bool build(const GroundMeshTreeNode& root);

  private:
    /// A box, relative to the middle of the mesh.
    struct Box {
        AxisFloats low;
        AxisFloats high;
    };
    /// A triangle on its way into the boxes.
    struct Item {
        std::array<float, 3> middle;  ///< of its box, twice that
        std::uint32_t number;         ///< in the ground
    };
    /// What a triangle is like.
    struct Shape {
        Box box;
        AxisFloats middle;     ///< of it, twice that
        double longest;        ///< side, squared
        std::uint32_t number;  ///< in the ground
    };
    /// A node of the ground's tree with its number in `cells`.
    struct Branch {
        const GroundMeshTreeNode* node;
        std::uint32_t cell;
    };
    /// Normals within an angle of an axis, either way round.
    struct Cone {
        util::Vector3<double> axis;
        double width;  ///< radians; above a right angle for all directions, below 0 for none
    };
    /// What has been made of some triangles.
    struct Added {
        std::uint32_t child;
        Box box;  ///< around them
    };
    /// A cell of the tree.
    struct CellLane {
        const GroundCellBoxes* cells;
        int lane;
    };
    /// Of a triangle.
    using Normal = std::array<float, 3>;
    /// A leaf that lists a triangle which an earlier one lists, too.
    struct Further {
        std::uint32_t triangle;
        std::uint32_t leaf;
    };
    /// How many may be on one side of a cut.
    struct Range {
        std::size_t least;
        std::size_t most;
    };
    static constexpr double kRightAngle = 1.5707963267948966;
    /// A cell or triangle smaller than this many half sizes of the mesh is left to the exact tests.
    static constexpr double kLeastThickness = 0x1p-40;
    /// Triangles in a group of eight on average, where that is free; some lanes stay empty so that groups can be cut
    /// where they overlap least.
    static constexpr std::size_t kMean = 7;
    /// Triangles whose groups stand together under one set of boxes.
    static constexpr std::ptrdiff_t kMostLast = 128;

    [[nodiscard]] bool isModerate() const;
    [[nodiscard]] bool isThick(const AxisBox& box) const;
    [[nodiscard]] AxisFloats relative(const util::Vector3<double>& point) const;

    // The cells of the tree and the ways to its leaves: GroundRayCells.cpp.
    [[nodiscard]] std::uint32_t addCell(const GroundMeshTreeNode& node, std::uint32_t parent);
    /// What stands for it in `cellBoxes`.
    [[nodiscard]] std::uint32_t addNode(const Branch& branch);
    /// Up to eight nodes that make up a node, in the order of the tree.
    [[nodiscard]] std::vector<Branch> branchesOf(const Branch& branch);
    std::uint32_t addInner(const Branch& branch);
    [[nodiscard]] std::uint32_t addLeaf(const Branch& branch);
    /// The path from a cell up.
    [[nodiscard]] GroundPath pathOf(std::uint32_t cell);
    /// The same in `paths`, made if there is none.
    [[nodiscard]] std::uint32_t addPath(std::uint32_t cell);
    /// Of a cell; every line may meet those that are too thin to tell.
    [[nodiscard]] Box boxOfCell(const AxisBox& cell) const;
    /// Makes the lists of triangles that several leaves list.
    void addShared();

    // The triangles.
    void addTriangles();
    [[nodiscard]] Shape shapeOf(std::uint32_t number) const;
    [[nodiscard]] Added addItems(Item* first, Item* last);
    /// Makes up to kMostLast triangles boxes of up to eight triangles each.
    [[nodiscard]] Added addLast(const Item* first, const Item* last);
    /// @param first, last places in `m_shapes`
    Added addEight(const std::uint8_t* first, const std::uint8_t* last);
    /// Those that only the exact test can tell about stand in no box.
    void addOdd(const std::vector<Item>& items);
    /// Unit length; not a number for a triangle that only the exact test can tell about.
    [[nodiscard]] Normal normalOf(std::uint32_t number) const;
    /// Brings places of `m_shapes` in the order of their middles as far as it counts for a cut in a range.
    void sortAlong(std::size_t axis, std::uint8_t* first, const Range& range, std::size_t count) const;
    [[nodiscard]] Box boxOf(const std::uint8_t* first, const std::uint8_t* last) const;
    /// Parts of up to eight: where each begins.
    void cutLast(std::uint8_t* first, std::uint8_t* last, std::uint8_t** begins, std::size_t parts);
    /// The leaves that list eight triangles, with what stands behind these.
    void setLeaves(EightTriangles& eight);
    void setCorners(EightTriangles& eight, int lane, std::uint32_t number) const;
    /// The place of a vertex of the ground among those of the eight triangles that are being added.
    [[nodiscard]] std::uint8_t vertexOf(std::uint32_t vertex);
    /// Parts with about as many items each: where each begins.
    static void cut(Item* first, Item* last, std::ptrdiff_t parts, std::vector<Item*>& begins);
    /// Boxes around nothing.
    [[nodiscard]] std::uint32_t addBoxes();
    /// Makes something the box at a place of the boxes with number `at`.
    void addBox(std::uint32_t at, std::size_t place, const Added& added);

    // Which lines of the grid may be edge-on to triangles: GroundRayAims.cpp.
    /// For all groups of triangles.
    void addAims();
    /// The squares with lines that may be edge-on to a triangle.
    [[nodiscard]] GroundAims aimsOf(std::uint32_t triangle) const;
    /// The same of all that a leaf lists.
    [[nodiscard]] GroundAims aimsOfLeaf(std::uint32_t leaf) const;
    /// The squares of lines that come to a box and to a cell.
    [[nodiscard]] GroundAims aimsBetween(const Box& box, const GroundCellBoxes& cells, int lane) const;
    /// The squares with lines that come to a box and may be edge-on to triangles of cells that they come to.
    /// @param near set to leaves that this leaves out
    [[nodiscard]] GroundAims aimsFrom(const Box& box, std::vector<CellLane>& near) const;
    /// For the groups under some boxes.
    /// @param near set to anything
    void addAims(const GroundBoxes& boxes, std::vector<CellLane>& near);
    [[nodiscard]] static Box boxAt(const GroundBoxes& boxes, std::size_t place);

    // What is known of lines that miss boxes: GroundRayCones.cpp.
    /// For all cells.
    void addCones();
    /// What each leaf lists.
    void addEdges();
    /// @param triangles steep ones of a leaf, steeper ones first
    void addPlanes(GroundLeafEdges& edges, const std::vector<std::uint32_t>& triangles);
    /// In the units of planes.
    [[nodiscard]] std::int16_t heightOf(std::uint32_t triangle, const GroundLeafEdges& edges) const;
    /// The part of m_leafLists that is a leaf's.
    [[nodiscard]] std::span<const std::uint32_t> listOf(std::uint32_t leaf) const;
    [[nodiscard]] Cone coneOf(std::uint32_t leaf) const;
    /// The upward share of its normal; 0 of what only the exact test can tell about.
    [[nodiscard]] float uprightOf(std::uint32_t triangle) const;
    static void setCone(GroundCones& cones, int lane, const Cone& cone);
    /// A narrow cone around both.
    [[nodiscard]] static Cone join(const Cone& a, const Cone& b);
    [[nodiscard]] static float leastSquare(const Cone& cone);
    [[nodiscard]] static Added nothingAdded();
    [[nodiscard]] static std::size_t longestSide(const Box& box);
    /// Half of the surface.
    [[nodiscard]] static float areaOf(const Box& box);
    static void widen(Box& box, const Box& other);
    static void widen(Box& box, const AxisFloats& point);

    GroundRayTables& m_tables;
    std::shared_ptr<const GroundTriangles> m_all;
    std::vector<std::uint32_t> m_paths;       ///< per cell, kEnd where there is none yet
    std::vector<std::uint32_t> m_parents;     ///< per cell, its own number in the root
    std::vector<std::uint32_t> m_leafLists;   ///< of all leaves, one behind the other
    std::vector<std::size_t> m_leafEnds;      ///< per leaf, in m_leafLists
    std::vector<Normal> m_normals;            ///< per triangle
    std::vector<std::uint32_t> m_places;      ///< per triangle, as in GroundPlaneTriangles
    std::vector<std::uint32_t> m_leafPlanes;  ///< per leaf, as in GroundCellBoxes
    /// Per triangle the leaf, or EightTriangles::kMany and where in m_shared; kNone in no leaf.
    std::vector<std::uint32_t> m_leafOf;
    std::vector<std::uint32_t> m_shared;  ///< lists as those behind EightTriangles
    std::vector<Further> m_further;
    std::uint32_t m_nothing = 0;                 ///< what stands for no triangles
    std::vector<Shape> m_shapes;                 ///< of those that are being made groups of eight
    std::vector<std::uint32_t> m_vertexNumbers;  ///< of eight triangles
    std::vector<util::Vector3<double>> m_vertices;
    std::vector<std::uint32_t> m_lists;
};

}  // namespace ond::ovs::addon
