// The cells of the ground's tree as the index beside it keeps them, and the ways to its leaves.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ground/GroundRayIndexBuilder.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

}  // namespace

bool GroundRayIndexBuilder::isThick(const AxisBox& box) const {
    const Vector3<double> size = box.vMax - box.vMin;
    const double least = m_tables.radius * kLeastThickness;
    return (size.x == 0.0 || size.x > least) && (size.y == 0.0 || size.y > least) && (size.z == 0.0 || size.z > least);
}

GroundRayIndexBuilder::Box GroundRayIndexBuilder::boxOfCell(const AxisBox& cell) const {
    if (isThick(cell)) return {relative(cell.vMin), relative(cell.vMax)};
    return {AxisFloats{} - kInfinity, AxisFloats{} + kInfinity};
}

std::uint32_t GroundRayIndexBuilder::addCell(const GroundMeshTreeNode& node, std::uint32_t parent) {
    m_tables.cells.push_back({node.vMin, node.vMax});
    m_parents.push_back(parent);
    m_paths.push_back(GroundPath::kEnd);
    return static_cast<std::uint32_t>(m_tables.cells.size() - 1);
}

std::uint32_t GroundRayIndexBuilder::addNode(const Branch& branch) {
    return branch.node->aChildren.empty() ? addLeaf(branch) : addInner(branch);
}

// Children that are inner nodes give way to their own children, which keeps the order and fills the lanes.
std::vector<GroundRayIndexBuilder::Branch> GroundRayIndexBuilder::branchesOf(const Branch& branch) {
    std::vector<Branch> branches{branch};
    for (;;) {
        std::size_t chosen = branches.size();
        std::size_t most = 0;
        for (std::size_t i = 0; i < branches.size(); ++i) {
            const GroundMeshTreeNode& node = *branches[i].node;
            if (node.aChildren.empty() || branches.size() - 1 + node.aChildren.size() > 8) continue;
            if (node.aTriangleVertices.size() <= most) continue;
            most = node.aTriangleVertices.size();
            chosen = i;
        }
        if (chosen == branches.size()) return branches;
        const Branch given = branches[chosen];
        branches.erase(branches.begin() + static_cast<std::ptrdiff_t>(chosen));
        for (std::size_t i = 0; i < given.node->aChildren.size(); ++i) {
            const GroundMeshTreeNode& child = given.node->aChildren[i];
            branches.insert(branches.begin() + static_cast<std::ptrdiff_t>(chosen + i),
                            {&child, addCell(child, given.cell)});
        }
    }
}

std::uint32_t GroundRayIndexBuilder::addInner(const Branch& branch) {
    const auto at = static_cast<std::uint32_t>(m_tables.cellBoxes.size());
    m_tables.cellBoxes.emplace_back();
    const std::vector<Branch> branches = branchesOf(branch);
    for (std::size_t i = 0; i < branches.size(); ++i) {
        const std::uint32_t child = addNode(branches[i]);
        const Box box = boxOfCell(m_tables.cells[branches[i].cell]);
        m_tables.cellBoxes[at].child[i] = child;
        m_tables.cellBoxes[at].cells.set(static_cast<int>(i), box.low, box.high);
    }
    return ground_child::kBoxes | at;
}

std::uint32_t GroundRayIndexBuilder::addLeaf(const Branch& branch) {
    const auto leaf = static_cast<std::uint32_t>(m_tables.leaves.size());
    m_tables.leaves.push_back(pathOf(branch.cell));
    for (const std::uint32_t triangle : branch.node->aTriangleVertices.numbers()) {
        m_leafLists.push_back(triangle);
        if (m_leafOf[triangle] == EightTriangles::kNone)
            m_leafOf[triangle] = leaf;
        else
            m_further.push_back({triangle, leaf});
    }
    m_leafEnds.push_back(m_leafLists.size());
    return ground_child::kLeaf | leaf;
}

void GroundRayIndexBuilder::addShared() {
    std::stable_sort(m_further.begin(), m_further.end(),
                     [](const Further& a, const Further& b) { return a.triangle < b.triangle; });
    for (auto from = m_further.begin(); from != m_further.end();) {
        const std::uint32_t triangle = from->triangle;
        const auto to = std::find_if(from, m_further.end(),
                                     [triangle](const Further& further) { return further.triangle != triangle; });
        const auto at = static_cast<std::uint32_t>(m_shared.size());
        m_shared.push_back(static_cast<std::uint32_t>(to - from) + 1);
        m_shared.push_back(m_leafOf[triangle]);
        for (; from != to; ++from) m_shared.push_back(from->leaf);
        m_leafOf[triangle] = EightTriangles::kMany | at;
    }
    m_further = {};
}

GroundPath GroundRayIndexBuilder::pathOf(std::uint32_t cell) {
    GroundPath path;
    std::uint32_t number = cell;
    bool isRootIn = false;
    for (int lane = 0; lane < 8; ++lane) {
        const AxisBox& above = m_tables.cells[number];
        isRootIn = isRootIn || m_parents[number] == number;
        if (isThick(above))
            path.boxes.set(lane, relative(above.vMin), relative(above.vMax));
        else
            path.boxes.setUnsure(lane);
        path.cells[static_cast<std::size_t>(lane)] = number;
        number = m_parents[number];
    }
    path.next = isRootIn ? GroundPath::kEnd : addPath(number);
    return path;
}

std::uint32_t GroundRayIndexBuilder::addPath(std::uint32_t cell) {
    if (m_paths[cell] != GroundPath::kEnd) return m_paths[cell];
    const GroundPath path = pathOf(cell);
    m_paths[cell] = static_cast<std::uint32_t>(m_tables.paths.size());
    m_tables.paths.push_back(path);
    return m_paths[cell];
}

}  // namespace ond::ovs::addon
