#include "ground/GroundRayIndexBuilder.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ground/GroundMeshTree.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

// Half sizes of a mesh for which single precision may decide, and how far from the origin.
constexpr double kLeastRadius = 1e-12;
constexpr double kMostRadius = 1e15;
// A box or triangle smaller than this many half sizes is left to the exact tests.
constexpr double kLeastThickness = 0x1p-40;
// Doubled area of a triangle over its longest side squared, below which it is a sliver.
constexpr double kLeastFullness = 0x1p-11;
// Angle that the normals of a group must leave to a right angle with the line, radians. Times the fullness this bounds
// the rounding of a parameter on the triangle by 64 * 2^-53 * 2^20 of the distance, which the margin of lines exceeds.
constexpr double kLeastAngle = 0x1p-9 + 1e-4;
// More than the rounding of the axis of a cone and of what is made of it, radians.
constexpr double kConeSlack = 1e-5;
constexpr double kRightAngle = 1.5707963267948966;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// About as much as the nodes below will take, rather more than less.
std::size_t unitsOf(const GroundMeshTreeNode& node) {
    if (node.aChildren.empty()) {
        const std::size_t eights = node.aTriangleVertices.numbers().size() / 8 + 2;
        return GroundNodes::unitsOf<GroundLeaf>() + eights * GroundNodes::unitsOf<EightTriangles>();
    }
    std::size_t units = 0;
    for (const GroundMeshTreeNode& child : node.aChildren) units += unitsOf(child);
    return units;
}

}  // namespace

bool GroundRayIndexBuilder::build(const GroundMeshTreeNode& root) {
    const Vector3<double> half = root.vMax / 2.0 - root.vMin / 2.0;
    m_tables.all = root.aTriangleVertices.all();
    m_tables.middle = root.vMin + half;
    m_tables.radius = std::max({half.x, half.y, half.z});
    const Vector3<double>& middle = m_tables.middle;
    m_tables.offset = std::max({std::fabs(middle.x), std::fabs(middle.y), std::fabs(middle.z)});
    if (!isModerate()) return false;
    m_tables.nodes.reserve(unitsOf(root));
    m_tables.root = addNode({&root, addCell(root, 0)}).child;
    m_tables.nodes.shrink();
    m_tables.inner.shrink_to_fit();
    m_tables.guards.shrink_to_fit();
    m_isFull = m_tables.nodes.size() > ground_child::kMost || m_tables.odd.size() > ground_child::kMost;
    return !m_isFull;
}

bool GroundRayIndexBuilder::isModerate() const {
    return m_tables.radius > kLeastRadius && m_tables.radius < kMostRadius && m_tables.offset < kMostRadius;
}

bool GroundRayIndexBuilder::isThick(const AxisBox& box) const {
    const Vector3<double> size = box.vMax - box.vMin;
    const double least = m_tables.radius * kLeastThickness;
    return (size.x == 0.0 || size.x > least) && (size.y == 0.0 || size.y > least) && (size.z == 0.0 || size.z > least);
}

std::array<float, 3> GroundRayIndexBuilder::relative(const Vector3<double>& point) const {
    const Vector3<double> p = point - m_tables.middle;
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

// A cone around normals that point to the same side of an axis.
GroundRayIndexBuilder::Cone GroundRayIndexBuilder::coneOf(const Item* first, const Item* last) {
    const auto normalOf = [](const Item& item) {
        return Vector3<double>(static_cast<double>(item.normal[0]), static_cast<double>(item.normal[1]),
                               static_cast<double>(item.normal[2]));
    };
    Vector3<double> sum;
    for (const Item* item = first; item != last; ++item) sum += normalOf(*item);
    const Vector3<double> axis = util::Normalized(sum);
    double least = 1.0;
    for (const Item* item = first; item != last; ++item) least = std::min(least, util::Dot(axis, normalOf(*item)));
    return {axis, std::acos(std::clamp(least, -1.0, 1.0)) + kConeSlack};
}

void GroundRayIndexBuilder::setCone(GroundCones& cones, int lane, const Cone& cone) {
    cones.axis[0][lane] = static_cast<float>(cone.axis.x);
    cones.axis[1][lane] = static_cast<float>(cone.axis.y);
    cones.axis[2][lane] = static_cast<float>(cone.axis.z);
    cones.leastSquare[lane] = leastSquare(cone);
}

GroundRayIndexBuilder::Cone GroundRayIndexBuilder::join(const Cone& a, const Cone& b) {
    const double cosine = util::Dot(a.axis, b.axis);
    const Vector3<double> turned = cosine < 0.0 ? -b.axis : b.axis;
    const double apart = std::acos(std::min(std::fabs(cosine), 1.0)) + kConeSlack;
    if (apart + b.width <= a.width) return a;
    if (apart + a.width <= b.width) return b;
    // The middle of the arc from the outer edge of the one to that of the other.
    const double width = (apart + a.width + b.width) / 2.0;
    const double share = std::clamp((width - a.width) / apart, 0.0, 1.0);
    const Vector3<double> axis = util::Normalized(a.axis * (1.0 - share) + turned * share);
    const double toA = std::acos(std::clamp(util::Dot(axis, a.axis), -1.0, 1.0)) + a.width;
    const double toB = std::acos(std::clamp(util::Dot(axis, turned), -1.0, 1.0)) + b.width;
    return {axis, std::max(toA, toB) + kConeSlack};
}

float GroundRayIndexBuilder::leastSquare(const Cone& cone) {
    const double width = cone.width + kLeastAngle;
    if (!(width < kRightAngle)) return 2.0F;
    return static_cast<float>(std::sin(width) * std::sin(width) + kConeSlack);
}

void GroundRayIndexBuilder::widen(Added& node, const std::array<float, 3>& low, const std::array<float, 3>& high) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        node.low[axis] = std::min(node.low[axis], low[axis]);
        node.high[axis] = std::max(node.high[axis], high[axis]);
    }
}

std::uint32_t GroundRayIndexBuilder::addCell(const GroundMeshTreeNode& node, std::uint32_t parent) {
    m_tables.cells.push_back({{node.vMin, node.vMax}, parent});
    m_paths.push_back(GroundPath::kEnd);
    return static_cast<std::uint32_t>(m_tables.cells.size() - 1);
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addNode(const Branch& branch) {
    return branch.node->aChildren.empty() ? addLeaf(*branch.node, branch.cell) : addInner(branch);
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

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addInner(const Branch& branch) {
    const std::size_t at = m_tables.inner.size();
    m_tables.inner.emplace_back();
    m_tables.guards.emplace_back();
    const std::vector<Branch> branches = branchesOf(branch);
    Added whole{};
    for (std::size_t i = 0; i < branches.size(); ++i) {
        const Added added = addNode(branches[i]);
        const auto lane = static_cast<int>(i);
        m_tables.inner[at].child[i] = added.child;
        m_tables.inner[at].contents.set(lane, added.low, added.high);
        GroundGuard& guard = m_tables.guards[at];
        const AxisBox& cell = m_tables.cells[branches[i].cell].box;
        if (isThick(cell))
            guard.cells.set(lane, relative(cell.vMin), relative(cell.vMax));
        else
            guard.cells.setEverything(lane);
        setCone(guard.cones, lane, added.cone);
        if (i == 0)
            whole = added;
        else
            whole.cone = join(whole.cone, added.cone);
        widen(whole, added.low, added.high);
    }
    whole.child = ground_child::kInner | static_cast<std::uint32_t>(at);
    return whole;
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addLeaf(const GroundMeshTreeNode& node, std::uint32_t cell) {
    GroundLeaf leaf;
    leaf.cell = cell;
    leaf.path = pathOf(cell);
    leaf.firstOdd = static_cast<std::uint32_t>(m_tables.odd.size());
    for (Items& items : m_groups) items.clear();
    for (const std::uint32_t number : node.aTriangleVertices.numbers()) {
        Item item{};
        const int group = groupOf(number, item);
        if (group == kOdd)
            m_tables.odd.push_back(number);
        else
            m_groups[static_cast<std::size_t>(group)].push_back(item);
    }
    leaf.oddCount = static_cast<std::uint32_t>(m_tables.odd.size()) - leaf.firstOdd;
    m_parts = 0;
    m_leaf = m_tables.nodes.add(leaf);
    Added added{ground_child::kLeaf | m_leaf,
                {kInfinity, kInfinity, kInfinity},
                {-kInfinity, -kInfinity, -kInfinity},
                {{}, 0.0}};
    std::sort(m_groups.begin(), m_groups.end(), [](const Items& a, const Items& b) { return a.size() > b.size(); });
    const bool isMixed = !m_groups[1].empty();
    addParts(m_groups[0], isMixed ? 4 : 8, added);
    addParts(m_groups[1], m_groups[2].empty() ? 4 : 2, added);
    addParts(m_groups[2], 2, added);
    if (leaf.oddCount > 0) added.cone.width = 2.0 * kRightAngle;
    return added;
}

void GroundRayIndexBuilder::addParts(Items& items, std::size_t most, Added& leaf) {
    if (items.empty()) return;
    std::array<Item*, 9> ends{};
    ends[0] = items.data();
    ends[most] = items.data() + items.size();
    for (std::size_t step = most; step > 1; step /= 2)
        for (std::size_t i = 0; i < most; i += step) ends[i + step / 2] = halve(ends[i], ends[i + step]);
    for (std::size_t i = 0; i < most; ++i)
        if (ends[i] != ends[i + 1]) addPart(ends[i], ends[i + 1], leaf);
}

void GroundRayIndexBuilder::addPart(Item* first, Item* last, Added& leaf) {
    const auto lane = static_cast<int>(m_parts);
    const Cone cone = coneOf(first, last);
    leaf.cone = m_parts == 0 ? cone : join(leaf.cone, cone);
    std::array<float, 3> low{};
    std::array<float, 3> high{};
    boxOf(first, last, low, high);
    widen(leaf, low, high);
    const std::uint32_t child = addBoxes(first, last);
    GroundLeaf& made = m_tables.nodes.at<GroundLeaf>(m_leaf);
    made.parts.contents.set(lane, low, high);
    made.parts.child[m_parts] = child;
    setCone(made.cones, lane, cone);
    ++m_parts;
}

GroundPath GroundRayIndexBuilder::pathOf(std::uint32_t cell) {
    GroundPath path;
    std::uint32_t number = cell;
    bool isRootIn = false;
    for (int lane = 0; lane < 8; ++lane) {
        const GroundCell& above = m_tables.cells[number];
        isRootIn = isRootIn || above.parent == number;
        if (isThick(above.box))
            path.boxes.set(lane, relative(above.box.vMin), relative(above.box.vMax));
        else
            path.boxes.setUnsure(lane);
        number = above.parent;
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

void GroundRayIndexBuilder::boxOf(const Item* first, const Item* last, std::array<float, 3>& low,
                                  std::array<float, 3>& high) {
    low = first->low;
    high = first->high;
    for (const Item* item = first; item != last; ++item)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], item->low[axis]);
            high[axis] = std::max(high[axis], item->high[axis]);
        }
}

std::uint32_t GroundRayIndexBuilder::addTriangles(const Item* first, const Item* last) {
    EightTriangles eight;
    double longest = 0.0;
    int lane = 0;
    for (const Item* item = first; item != last; ++item, ++lane) {
        const Vector3<double>& a = m_tables.all->corner(item->number, 0);
        const Vector3<double> p = m_tables.all->corner(item->number, 1) - a;
        const Vector3<double> q = m_tables.all->corner(item->number, 2) - a;
        const std::array<float, 3> corner = relative(a);
        const std::array<double, 6> sides{p.x, p.y, p.z, q.x, q.y, q.z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            eight.corner[axis][lane] = corner[axis];
            eight.second[axis][lane] = static_cast<float>(sides[axis]);
            eight.third[axis][lane] = static_cast<float>(sides[axis + 3]);
        }
        eight.name[static_cast<std::size_t>(lane)] = {m_tables.all->corners[item->number], item->number};
        longest = std::max({longest, util::Dot(p, p), util::Dot(q, q), util::Dot(q - p, q - p)});
    }
    eight.longest = static_cast<float>(std::sqrt(longest));
    return ground_child::kTriangles | m_tables.nodes.add(eight);
}

int GroundRayIndexBuilder::groupOf(std::uint32_t number, Item& item) const {
    const Vector3<double>& a = m_tables.all->corner(number, 0);
    const Vector3<double>& b = m_tables.all->corner(number, 1);
    const Vector3<double>& c = m_tables.all->corner(number, 2);
    const Vector3<double> p = b - a;
    const Vector3<double> q = c - a;
    const Vector3<double> r = c - b;
    const double longest = std::max({util::Dot(p, p), util::Dot(q, q), util::Dot(r, r)});
    const Vector3<double> normal = util::Cross(p, q);
    const double area = util::Length(normal);
    const double least = m_tables.radius * kLeastThickness;
    if (!(longest > least * least && area > kLeastFullness * longest)) return kOdd;
    item.number = number;
    const std::array<std::array<float, 3>, 3> corners{relative(a), relative(b), relative(c)};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        item.low[axis] = std::min({corners[0][axis], corners[1][axis], corners[2][axis]});
        item.high[axis] = std::max({corners[0][axis], corners[1][axis], corners[2][axis]});
    }
    const std::array<double, 3> unit{normal.x / area, normal.y / area, normal.z / area};
    std::size_t widest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::fabs(unit[axis]) > std::fabs(unit[widest])) widest = axis;
    for (std::size_t axis = 0; axis < 3; ++axis)
        item.normal[axis] = static_cast<float>(unit[widest] < 0.0 ? -unit[axis] : unit[axis]);
    return static_cast<int>(widest);
}

// Halves hold whole eights, so that few lanes stay empty.
GroundRayIndexBuilder::Item* GroundRayIndexBuilder::halve(Item* first, Item* last) {
    const std::ptrdiff_t eights = (last - first + 7) / 8;
    if (eights < 2) return first;
    std::array<float, 3> low{};
    std::array<float, 3> high{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = high[axis] = first->low[axis] + first->high[axis];
        for (const Item* item = first; item != last; ++item) {
            low[axis] = std::min(low[axis], item->low[axis] + item->high[axis]);
            high[axis] = std::max(high[axis], item->low[axis] + item->high[axis]);
        }
    }
    std::size_t axis = high[1] - low[1] > high[0] - low[0] ? 1 : 0;
    if (high[2] - low[2] > high[axis] - low[axis]) axis = 2;
    Item* middle = first + 8 * (eights / 2);
    std::nth_element(first, middle, last, [axis](const Item& a, const Item& b) {
        return a.low[axis] + a.high[axis] < b.low[axis] + b.high[axis];
    });
    return middle;
}

std::uint32_t GroundRayIndexBuilder::addBoxes(Item* first, Item* last) {
    if (last - first <= 8) return addTriangles(first, last);
    // Three times halved: an end per part, the same twice where a half has nothing to halve.
    std::array<Item*, 9> ends{};
    ends[0] = first;
    ends[8] = last;
    for (std::size_t step = 8; step > 1; step /= 2)
        for (std::size_t i = 0; i < 8; i += step) ends[i + step / 2] = halve(ends[i], ends[i + step]);
    const std::uint32_t at = m_tables.nodes.add(GroundBoxes());
    for (std::size_t i = 0; i < 8; ++i) {
        if (ends[i] == ends[i + 1]) continue;
        std::array<float, 3> low{};
        std::array<float, 3> high{};
        boxOf(ends[i], ends[i + 1], low, high);
        const std::uint32_t child = addBoxes(ends[i], ends[i + 1]);
        GroundBoxes& boxes = m_tables.nodes.at<GroundBoxes>(at);
        boxes.contents.set(static_cast<int>(i), low, high);
        boxes.child[i] = child;
    }
    return ground_child::kBoxes | at;
}

}  // namespace ond::ovs::addon
