#include "ground/GroundRayIndexBuilder.h"

#include <algorithm>
#include <bit>
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

constexpr AxisFloats kHighest{kInfinity, kInfinity, kInfinity, kInfinity};
constexpr AxisFloats kLowest{-kInfinity, -kInfinity, -kInfinity, -kInfinity};

/// Eight lanes without a triangle.
EightTriangles eightWithout() {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    EightTriangles eight;
    for (EightFloats& corner : eight.corner) corner = EightFloats{kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan};
    eight.number.fill(EightTriangles::kNone);
    return eight;
}

}  // namespace

bool GroundRayIndexBuilder::build(const GroundMeshTreeNode& root) {
    m_all = root.aTriangleVertices.all();
    if (!m_all) return false;
    const Vector3<double> half = root.vMax / 2.0 - root.vMin / 2.0;
    m_tables.middle = root.vMin + half;
    m_tables.radius = std::max({half.x, half.y, half.z});
    const Vector3<double>& middle = m_tables.middle;
    m_tables.offset = std::max({std::fabs(middle.x), std::fabs(middle.y), std::fabs(middle.z)});
    if (!isModerate()) return false;
    m_leafOf.assign(m_all->corners.size(), EightTriangles::kNone);
    m_tables.cellRoot = addNode({&root, addCell(root, 0)});
    addShared();
    addTriangles();
    m_tables.triangles.shrink();
    m_tables.boxes.shrink_to_fit();
    m_tables.guards.shrink_to_fit();
    m_tables.leaves.shrink_to_fit();
    m_tables.paths.shrink_to_fit();
    m_tables.cellBoxes.shrink_to_fit();
    m_tables.cells.shrink_to_fit();
    return m_tables.triangles.size() <= ground_child::kMost && m_tables.leaves.size() <= ground_child::kMost &&
           m_tables.shared.size() < EightTriangles::kMany;
}

bool GroundRayIndexBuilder::isModerate() const {
    return m_tables.radius > kLeastRadius && m_tables.radius < kMostRadius && m_tables.offset < kMostRadius;
}

bool GroundRayIndexBuilder::isThick(const AxisBox& box) const {
    const Vector3<double> size = box.vMax - box.vMin;
    const double least = m_tables.radius * kLeastThickness;
    return (size.x == 0.0 || size.x > least) && (size.y == 0.0 || size.y > least) && (size.z == 0.0 || size.z > least);
}

AxisFloats GroundRayIndexBuilder::relative(const Vector3<double>& point) const {
    const Vector3<double> p = point - m_tables.middle;
    return AxisFloats{static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z), 0.0F};
}

// A cone around normals that point to the same side of an axis.
GroundRayIndexBuilder::Cone GroundRayIndexBuilder::coneOf(const std::array<Vector3<double>, 8>& normals,
                                                          std::size_t count) {
    Vector3<double> sum;
    for (std::size_t i = 0; i < count; ++i) sum += normals[i];
    const Vector3<double> axis = util::Normalized(sum);
    double least = 1.0;
    for (std::size_t i = 0; i < count; ++i) least = std::min(least, util::Dot(axis, normals[i]));
    return {axis, std::acos(std::clamp(least, -1.0, 1.0)) + kConeSlack};
}

void GroundRayIndexBuilder::setCone(GroundCones& cones, int lane, const Cone& cone) {
    cones.axis[0][lane] = static_cast<float>(cone.axis.x);
    cones.axis[1][lane] = static_cast<float>(cone.axis.y);
    cones.axis[2][lane] = static_cast<float>(cone.axis.z);
    cones.leastSquare[lane] = leastSquare(cone);
}

GroundRayIndexBuilder::Cone GroundRayIndexBuilder::join(const Cone& a, const Cone& b) {
    if (!(a.width < kRightAngle)) return a;
    if (!(b.width < kRightAngle)) return b;
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

void GroundRayIndexBuilder::widen(Box& box, const Box& other) {
    box.low = other.low < box.low ? other.low : box.low;
    box.high = other.high > box.high ? other.high : box.high;
}

void GroundRayIndexBuilder::widen(Box& box, const AxisFloats& point) { widen(box, {point, point}); }

void GroundRayIndexBuilder::widen(Added& all, const Added& other) {
    widen(all.box, other.box);
    widen(all.cells, other.cells);
    all.cone = all.cone.width < 0.0 ? other.cone : join(all.cone, other.cone);
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::nothingAdded() {
    return {0, {kHighest, kLowest}, {kHighest, kLowest}, {{}, -1.0}};
}

std::size_t GroundRayIndexBuilder::longestSide(const Box& box) {
    std::size_t axis = 0;
    for (std::size_t other = 1; other < 3; ++other)
        if (box.high[other] - box.low[other] > box.high[axis] - box.low[axis]) axis = other;
    return axis;
}

float GroundRayIndexBuilder::areaOf(const Box& box) {
    const float x = box.high[0] - box.low[0];
    const float y = box.high[1] - box.low[1];
    const float z = box.high[2] - box.low[2];
    return x * y + y * z + z * x;
}

GroundRayIndexBuilder::Box GroundRayIndexBuilder::boxOfCell(const AxisBox& cell) const {
    if (isThick(cell)) return {relative(cell.vMin), relative(cell.vMax)};
    return {kLowest, kHighest};
}

std::uint32_t GroundRayIndexBuilder::addCell(const GroundMeshTreeNode& node, std::uint32_t parent) {
    m_tables.cells.push_back({{node.vMin, node.vMax}, parent});
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
        const Box box = boxOfCell(m_tables.cells[branches[i].cell].box);
        m_tables.cellBoxes[at].child[i] = child;
        m_tables.cellBoxes[at].cells.set(static_cast<int>(i), box.low, box.high);
    }
    return ground_child::kBoxes | at;
}

std::uint32_t GroundRayIndexBuilder::addLeaf(const Branch& branch) {
    const auto leaf = static_cast<std::uint32_t>(m_tables.leaves.size());
    m_tables.leaves.push_back(pathOf(branch.cell));
    m_leafCells.push_back(boxOfCell(m_tables.cells[branch.cell].box));
    for (const std::uint32_t triangle : branch.node->aTriangleVertices.numbers()) {
        if (m_leafOf[triangle] == EightTriangles::kNone)
            m_leafOf[triangle] = leaf;
        else
            m_further.push_back({triangle, leaf});
    }
    return ground_child::kLeaf | leaf;
}

void GroundRayIndexBuilder::addShared() {
    std::stable_sort(m_further.begin(), m_further.end(),
                     [](const Further& a, const Further& b) { return a.triangle < b.triangle; });
    for (auto from = m_further.begin(); from != m_further.end();) {
        const std::uint32_t triangle = from->triangle;
        const auto to = std::find_if(from, m_further.end(),
                                     [triangle](const Further& further) { return further.triangle != triangle; });
        const auto at = static_cast<std::uint32_t>(m_tables.shared.size());
        m_tables.shared.push_back(static_cast<std::uint32_t>(to - from) + 1);
        m_tables.shared.push_back(m_leafOf[triangle]);
        for (; from != to; ++from) m_tables.shared.push_back(from->leaf);
        m_leafOf[triangle] = EightTriangles::kMany | at;
    }
    m_further = {};
    m_tables.shared.shrink_to_fit();
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
    path.cell = cell;
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

// Groups stand side by side under the root, as long as there are several.
void GroundRayIndexBuilder::addTriangles() {
    std::array<std::vector<Item>, kOdd + 1> groups;
    groups[1].reserve(m_leafOf.size());  // grounds lie flat
    Box all{kHighest, kLowest};
    for (std::uint32_t number = 0; number < m_leafOf.size(); ++number) {
        if (m_leafOf[number] == EightTriangles::kNone) continue;
        const Shape shape = shapeOf(number);
        groups[shape.group].push_back({{shape.middle[0], shape.middle[1], shape.middle[2]}, number});
        widen(all, shape.box);
    }
    m_tables.triangles.reserveTriangles(m_leafOf.size());
    m_tables.boxes.reserve(m_leafOf.size() / 112 + 8);
    m_tables.guards.reserve(m_leafOf.size() / 112 + 8);
    m_tables.steps.set(all.low, all.high);
    m_nothing = ground_child::kTriangles | m_tables.triangles.add(eightWithout(), {});
    m_tables.root = addBoxes();
    std::size_t place = 0;
    for (std::size_t group = 0; group <= kOdd; ++group) {
        std::vector<Item>& items = groups[group];
        if (items.empty()) continue;
        const Added added = addItems(items.data(), items.data() + items.size(), group == kOdd);
        addBox(m_tables.root & ground_child::kMost, place++, added);
        if (items.size() == m_leafOf.size()) m_tables.root = added.child;
        items = {};
    }
}

std::uint32_t GroundRayIndexBuilder::addBoxes() {
    m_tables.guards.emplace_back();
    GroundBoxes& boxes = m_tables.boxes.emplace_back();
    boxes.child.fill(m_nothing);
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (EightSteps& low : boxes.border[axis]) low = EightSteps{} + std::uint16_t{GroundSteps::kMost};
    return ground_child::kBoxes | static_cast<std::uint32_t>(m_tables.boxes.size() - 1);
}

void GroundRayIndexBuilder::addBox(std::uint32_t at, std::size_t place, const Added& added) {
    GroundBoxes& boxes = m_tables.boxes[at];
    const auto lane = static_cast<int>(place % 8);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        boxes.border[axis][place / 8][lane] = m_tables.steps.below(axis, added.box.low[axis]);
        boxes.border[axis + 3][place / 8][lane] = m_tables.steps.above(axis, added.box.high[axis]);
    }
    boxes.child[place] = added.child;
    GroundGuard& guard = m_tables.guards[at][place / 8];
    guard.cells.set(lane, added.cells.low, added.cells.high);
    setCone(guard.cones, lane, added.cone);
}

GroundRayIndexBuilder::Shape GroundRayIndexBuilder::shapeOf(std::uint32_t number) const {
    const Vector3<double>& a = m_all->corner(number, 0);
    const Vector3<double>& b = m_all->corner(number, 1);
    const Vector3<double>& c = m_all->corner(number, 2);
    const Vector3<double> p = b - a;
    const Vector3<double> q = c - a;
    const Vector3<double> r = c - b;
    Shape shape{};
    shape.number = number;
    shape.longest = std::max({util::Dot(p, p), util::Dot(q, q), util::Dot(r, r)});
    shape.box = {kHighest, kLowest};
    for (const Vector3<double>* corner : {&a, &b, &c}) widen(shape.box, relative(*corner));
    shape.middle = shape.box.low + shape.box.high;
    const Vector3<double> normal = util::Cross(p, q);
    const double area = util::Length(normal);
    const double least = m_tables.radius * kLeastThickness;
    shape.group = kOdd;
    if (!(shape.longest > least * least && area > kLeastFullness * shape.longest)) return shape;
    const std::array<double, 3> unit{normal.x / area, normal.y / area, normal.z / area};
    std::size_t widest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::fabs(unit[axis]) > std::fabs(unit[widest])) widest = axis;
    const double side = unit[widest] < 0.0 ? -1.0 : 1.0;
    shape.normal = {unit[0] * side, unit[1] * side, unit[2] * side};
    shape.group = widest;
    return shape;
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addItems(Item* first, Item* last, bool isOdd) {
    if (last - first <= kMostLast) return addLast(first, last, isOdd);
    // As few levels as can be, and parts of one size.
    constexpr std::ptrdiff_t kParts = GroundBoxes::kCount;
    std::ptrdiff_t most = kMostLast;
    while (kParts * most < last - first) most *= kParts;
    std::vector<Item*> begins;
    cut(first, last, (last - first + most - 1) / most, begins);
    begins.push_back(last);
    const std::uint32_t at = addBoxes();
    Added all = nothingAdded();
    for (std::size_t part = 0; part + 1 < begins.size(); ++part) {
        const Added added = addItems(begins[part], begins[part + 1], isOdd);
        addBox(at & ground_child::kMost, part, added);
        widen(all, added);
    }
    all.child = at;
    return all;
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addLast(const Item* first, const Item* last, bool isOdd) {
    m_shapes.clear();
    for (const Item* item = first; item != last; ++item) m_shapes.push_back(shapeOf(item->number));
    std::array<std::uint8_t, kMostLast> order{};
    const std::size_t count = m_shapes.size();
    for (std::size_t i = 0; i < count; ++i) order[i] = static_cast<std::uint8_t>(i);
    if (count <= 8) return addEight(order.data(), order.data() + count, isOdd);
    std::array<std::uint8_t*, GroundBoxes::kCount + 1> begins{};
    const std::size_t parts = std::min((count + kMean - 1) / kMean, GroundBoxes::kCount);
    begins[parts] = order.data() + count;
    cutLast(order.data(), order.data() + count, begins.data(), parts);
    const std::uint32_t at = addBoxes();
    Added all = nothingAdded();
    for (std::size_t part = 0; part < parts; ++part) {
        const Added added = addEight(begins[part], begins[part + 1], isOdd);
        addBox(at & ground_child::kMost, part, added);
        widen(all, added);
    }
    all.child = at;
    return all;
}

void GroundRayIndexBuilder::sortAlong(std::size_t axis, std::uint8_t* first, const Range& range,
                                      std::size_t count) const {
    // Numbers in the order of the coordinates, with the place behind.
    std::array<std::uint64_t, kMostLast> keys;
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint32_t>(m_shapes[first[i]].middle[axis]);
        const std::uint32_t ordered = (bits >> 31U) != 0 ? ~bits : bits | 1U << 31U;
        keys[i] = std::uint64_t{ordered} << 32U | first[i];
    }
    std::uint64_t* const least = keys.data() + range.least;
    std::uint64_t* const most = keys.data() + range.most;
    std::uint64_t* const end = keys.data() + count;
    std::nth_element(keys.data(), least, end);
    if (most != end) std::nth_element(least, most, end);
    std::sort(least, most);
    for (std::size_t i = 0; i < count; ++i) first[i] = static_cast<std::uint8_t>(keys[i] & 0xffU);
}

GroundRayIndexBuilder::Box GroundRayIndexBuilder::boxOf(const std::uint8_t* first, const std::uint8_t* last) const {
    Box box{kHighest, kLowest};
    for (; first != last; ++first) widen(box, m_shapes[*first].box);
    return box;
}

// Along the axis on which they spread most, where the boxes of both sides are smallest.
void GroundRayIndexBuilder::cutLast(std::uint8_t* first, std::uint8_t* last, std::uint8_t** begins, std::size_t parts) {
    begins[0] = first;
    if (parts < 2) return;
    Box spread{kHighest, kLowest};
    for (const std::uint8_t* place = first; place != last; ++place) widen(spread, m_shapes[*place].middle);
    const auto count = static_cast<std::size_t>(last - first);
    const std::size_t left = parts / 2;
    const std::size_t right = parts - left;
    const Range range{count > 8 * right + left ? count - 8 * right : left, std::min(8 * left, count - right)};
    sortAlong(longestSide(spread), first, range, count);
    // Of all places where it may be cut, from the last to the first: the box of what is behind.
    std::array<float, kMostLast> areas;
    Box behind = boxOf(first + range.most, last);
    for (std::size_t at = range.most;; --at) {
        areas[at] = areaOf(behind);
        if (at == range.least) break;
        widen(behind, m_shapes[first[at - 1]].box);
    }
    Box before = boxOf(first, first + range.least);
    std::size_t best = range.least;
    float lowest = kInfinity;
    for (std::size_t at = range.least; at <= range.most; ++at) {
        const float cost = areaOf(before) * static_cast<float>(at) + areas[at] * static_cast<float>(count - at);
        if (cost < lowest) {
            lowest = cost;
            best = at;
        }
        if (at < range.most) widen(before, m_shapes[first[at]].box);
    }
    cutLast(first, first + best, begins, left);
    cutLast(first + best, last, begins + left, right);
}

// Along the axis on which the triangles spread most.
void GroundRayIndexBuilder::cut(Item* first, Item* last, std::ptrdiff_t parts, std::vector<Item*>& begins) {
    if (parts < 2) {
        begins.push_back(first);
        return;
    }
    Box spread{kHighest, kLowest};
    for (const Item* item = first; item != last; ++item)
        widen(spread, AxisFloats{item->middle[0], item->middle[1], item->middle[2], 0.0F});
    const std::size_t axis = longestSide(spread);
    Item* middle = first + (last - first) * (parts / 2) / parts;
    std::nth_element(first, middle, last,
                     [axis](const Item& a, const Item& b) { return a.middle[axis] < b.middle[axis]; });
    cut(first, middle, parts / 2, begins);
    cut(middle, last, parts - parts / 2, begins);
}

GroundRayIndexBuilder::Box GroundRayIndexBuilder::cellsOf(std::uint32_t triangle) const {
    const std::uint32_t leaf = m_leafOf[triangle];
    if ((leaf & EightTriangles::kMany) == 0) return m_leafCells[leaf];
    const std::uint32_t* list = &m_tables.shared[leaf & ~EightTriangles::kMany];
    Box box = m_leafCells[list[1]];
    for (std::uint32_t i = 1; i < list[0]; ++i) widen(box, m_leafCells[list[i + 1]]);
    return box;
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addEight(const std::uint8_t* first, const std::uint8_t* last,
                                                             bool isOdd) {
    EightTriangles eight = eightWithout();
    m_vertices.clear();
    m_vertexNumbers.clear();
    Added added = nothingAdded();
    std::array<Vector3<double>, 8> normals;
    double longest = 0.0;
    for (int lane = 0; lane < last - first; ++lane) {
        const Shape& shape = m_shapes[first[lane]];
        const auto place = static_cast<std::size_t>(lane);
        widen(added.box, shape.box);
        widen(added.cells, cellsOf(shape.number));
        longest = std::max(longest, shape.longest);
        normals[place] = shape.normal;
        eight.number[place] = shape.number;
        eight.leaf[place] = m_leafOf[shape.number];
        for (std::size_t i = 0; i < 3; ++i) eight.corners[place][i] = vertexOf(m_all->corners[shape.number][i]);
        setCorners(eight, lane, shape.number);
    }
    eight.longest = static_cast<float>(std::sqrt(longest));
    added.child = (isOdd ? ground_child::kOdd : ground_child::kTriangles) | m_tables.triangles.add(eight, m_vertices);
    added.cone = {{}, 2.0 * kRightAngle};
    if (!isOdd) added.cone = coneOf(normals, static_cast<std::size_t>(last - first));
    return added;
}

void GroundRayIndexBuilder::setCorners(EightTriangles& eight, int lane, std::uint32_t number) const {
    const Vector3<double>& a = m_all->corner(number, 0);
    const Vector3<double> p = m_all->corner(number, 1) - a;
    const Vector3<double> q = m_all->corner(number, 2) - a;
    const AxisFloats corner = relative(a);
    const std::array<double, 6> sides{p.x, p.y, p.z, q.x, q.y, q.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        eight.corner[axis][lane] = corner[axis];
        eight.second[axis][lane] = static_cast<float>(sides[axis]);
        eight.third[axis][lane] = static_cast<float>(sides[axis + 3]);
    }
}

std::uint8_t GroundRayIndexBuilder::vertexOf(std::uint32_t vertex) {
    const auto found = std::find(m_vertexNumbers.begin(), m_vertexNumbers.end(), vertex);
    const auto place = static_cast<std::uint8_t>(found - m_vertexNumbers.begin());
    if (found == m_vertexNumbers.end()) {
        m_vertexNumbers.push_back(vertex);
        m_vertices.push_back(m_all->vertices[vertex]);
    }
    return place;
}

}  // namespace ond::ovs::addon
