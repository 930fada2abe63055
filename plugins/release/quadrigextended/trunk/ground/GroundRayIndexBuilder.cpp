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
// Doubled area of a triangle over its longest side squared, below which it is a sliver.
constexpr double kLeastFullness = 0x1p-11;
// In half sizes of the mesh: lines that start within this from its middle have a margin in common.
constexpr double kNear = 1.25;
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
    m_tables.middleAxes = AxisDoubles{middle.x, middle.y, middle.z, 0.0};
    m_tables.offset = std::max({std::fabs(middle.x), std::fabs(middle.y), std::fabs(middle.z)});
    if (!isModerate()) return false;
    m_tables.nearDistance = kNear * m_tables.radius;
    m_tables.nearMargin = static_cast<float>(
        ground_line::marginAt(m_tables, m_tables.nearDistance + m_tables.radius, m_tables.nearDistance));
    m_leafOf.assign(m_all->corners.size(), EightTriangles::kNone);
    m_tables.cellRoot = addInner({&root, addCell(root, 0)});
    addShared();
    addTriangles();
    addEdges();
    addCones();
    addAims();
    m_tables.triangles.shrink();
    m_tables.boxes.shrink_to_fit();
    m_tables.leaves.shrink_to_fit();
    m_tables.paths.shrink_to_fit();
    m_tables.cellBoxes.shrink_to_fit();
    m_tables.planes.shrink_to_fit();
    m_tables.planeTriangles.shrink_to_fit();
    m_tables.flats.shrink_to_fit();
    m_tables.cells.shrink_to_fit();
    return m_tables.triangles.size() <= ground_child::kMost && m_tables.leaves.size() <= ground_child::kMost &&
           m_shared.size() < EightTriangles::kMany;
}

bool GroundRayIndexBuilder::isModerate() const {
    return m_tables.radius > kLeastRadius && m_tables.radius < kMostRadius && m_tables.offset < kMostRadius;
}

AxisFloats GroundRayIndexBuilder::relative(const Vector3<double>& point) const {
    const Vector3<double> p = point - m_tables.middle;
    return AxisFloats{static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z), 0.0F};
}

void GroundRayIndexBuilder::widen(Box& box, const Box& other) {
    box.low = other.low < box.low ? other.low : box.low;
    box.high = other.high > box.high ? other.high : box.high;
}

void GroundRayIndexBuilder::widen(Box& box, const AxisFloats& point) { widen(box, {point, point}); }

GroundRayIndexBuilder::Added GroundRayIndexBuilder::nothingAdded() { return {0, {kHighest, kLowest}}; }

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

void GroundRayIndexBuilder::addTriangles() {
    std::vector<Item> items;
    std::vector<Item> odd;
    items.reserve(m_leafOf.size());
    m_normals.resize(m_leafOf.size());
    m_places.resize(m_leafOf.size());
    for (std::uint32_t number = 0; number < m_leafOf.size(); ++number) {
        if (m_leafOf[number] == EightTriangles::kNone) continue;
        m_normals[number] = normalOf(number);
        const AxisFloats middle = shapeOf(number).middle;
        (std::isnan(m_normals[number][0]) ? odd : items).push_back({{middle[0], middle[1], middle[2]}, number});
    }
    m_tables.triangles.reserveTriangles(m_leafOf.size());
    m_tables.boxes.reserve(m_leafOf.size() / 112 + 8);
    m_nothing = ground_child::kTriangles | m_tables.triangles.add(eightWithout(), {}, {});
    m_tables.root = items.empty() ? m_nothing : addItems(items.data(), items.data() + items.size()).child;
    addOdd(odd);
}

void GroundRayIndexBuilder::addOdd(const std::vector<Item>& items) {
    for (std::size_t from = 0; from < items.size(); from += 8) {
        const std::size_t count = std::min<std::size_t>(items.size() - from, 8);
        constexpr std::array<std::uint8_t, 8> kOrder{0, 1, 2, 3, 4, 5, 6, 7};
        m_shapes.clear();
        for (std::size_t i = 0; i < count; ++i) m_shapes.push_back(shapeOf(items[from + i].number));
        addEight(kOrder.data(), kOrder.data() + count);
    }
}

std::uint32_t GroundRayIndexBuilder::addBoxes() {
    GroundBoxes& boxes = m_tables.boxes.emplace_back();
    boxes.child.fill(m_nothing);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        boxes.border[axis].fill(EightFloats{} + kInfinity);
        boxes.border[axis + 3].fill(EightFloats{} - kInfinity);
    }
    return ground_child::kBoxes | static_cast<std::uint32_t>(m_tables.boxes.size() - 1);
}

void GroundRayIndexBuilder::addBox(std::uint32_t at, std::size_t place, const Added& added) {
    GroundBoxes& boxes = m_tables.boxes[at];
    const auto lane = static_cast<int>(place % 8);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        boxes.border[axis][place / 8][lane] = added.box.low[axis];
        boxes.border[axis + 3][place / 8][lane] = added.box.high[axis];
    }
    boxes.child[place] = added.child;
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
    return shape;
}

GroundRayIndexBuilder::Normal GroundRayIndexBuilder::normalOf(std::uint32_t number) const {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const Vector3<double>& a = m_all->corner(number, 0);
    const Vector3<double>& b = m_all->corner(number, 1);
    const Vector3<double>& c = m_all->corner(number, 2);
    const Vector3<double> r = c - b;
    const double longest = std::max({util::Dot(b - a, b - a), util::Dot(c - a, c - a), util::Dot(r, r)});
    const Vector3<double> normal = util::Cross(b - a, c - a);
    const double area = util::Length(normal);
    const double least = m_tables.radius * kLeastThickness;
    if (!(longest > least * least && area > kLeastFullness * longest)) return {kNan, kNan, kNan};
    return {static_cast<float>(normal.x / area), static_cast<float>(normal.y / area),
            static_cast<float>(normal.z / area)};
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addItems(Item* first, Item* last) {
    if (last - first <= kMostLast) return addLast(first, last);
    // As few levels as can be, and parts of one size.
    constexpr std::ptrdiff_t kParts = GroundBoxes::kCount;
    std::ptrdiff_t most = kMostLast;
    while (kParts * most < last - first) most *= kParts;
    std::vector<Item*> begins;
    cut(first, last, (last - first + most - 1) / most, begins);
    begins.push_back(last);
    const std::uint32_t at = addBoxes();
    Added all = nothingAdded();
    std::array<Added, GroundBoxes::kCount> parts;
    const std::size_t count = begins.size() - 1;
    for (std::size_t part = 0; part < count; ++part) {
        parts[part] = addItems(begins[part], begins[part + 1]);
        addBox(at & ground_child::kMost, part, parts[part]);
        widen(all.box, parts[part].box);
    }
    all.child = at;
    return all;
}

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addLast(const Item* first, const Item* last) {
    m_shapes.clear();
    for (const Item* item = first; item != last; ++item) m_shapes.push_back(shapeOf(item->number));
    std::array<std::uint8_t, kMostLast> order{};
    const std::size_t count = m_shapes.size();
    for (std::size_t i = 0; i < count; ++i) order[i] = static_cast<std::uint8_t>(i);
    if (count <= 8) return addEight(order.data(), order.data() + count);
    std::array<std::uint8_t*, GroundBoxes::kCount + 1> begins{};
    const std::size_t parts = std::min((count + kMean - 1) / kMean, GroundBoxes::kCount);
    begins[parts] = order.data() + count;
    cutLast(order.data(), order.data() + count, begins.data(), parts);
    const std::uint32_t at = addBoxes();
    Added all = nothingAdded();
    std::array<Added, GroundBoxes::kCount> eights;
    for (std::size_t part = 0; part < parts; ++part) {
        eights[part] = addEight(begins[part], begins[part + 1]);
        addBox(at & ground_child::kMost, part, eights[part]);
        widen(all.box, eights[part].box);
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

GroundRayIndexBuilder::Added GroundRayIndexBuilder::addEight(const std::uint8_t* first, const std::uint8_t* last) {
    EightTriangles eight = eightWithout();
    m_vertices.clear();
    m_vertexNumbers.clear();
    Added added = nothingAdded();
    double longest = 0.0;
    for (int lane = 0; lane < last - first; ++lane) {
        const Shape& shape = m_shapes[first[lane]];
        const auto place = static_cast<std::size_t>(lane);
        widen(added.box, shape.box);
        longest = std::max(longest, shape.longest);
        eight.number[place] = shape.number;
        for (std::size_t i = 0; i < 3; ++i) eight.corners[place][i] = vertexOf(m_all->corners[shape.number][i]);
        setCorners(eight, lane, shape.number);
    }
    eight.longest = static_cast<float>(std::sqrt(longest));
    setLeaves(eight);
    const std::uint32_t at = m_tables.triangles.add(eight, m_vertices, m_lists);
    for (std::uint32_t lane = 0; lane < static_cast<std::uint32_t>(last - first); ++lane)
        m_places[eight.number[lane]] = 8 * at + lane;
    added.child = ground_child::kTriangles | at;
    return added;
}

// When all corners are known: lists stand behind them.
void GroundRayIndexBuilder::setLeaves(EightTriangles& eight) {
    m_lists.clear();
    const std::uint32_t first = GroundEights::listsBehind(m_vertices.size());
    for (std::size_t lane = 0; lane < 8 && eight.number[lane] != EightTriangles::kNone; ++lane) {
        const std::uint32_t leaf = m_leafOf[eight.number[lane]];
        eight.leaf[lane] = leaf;
        if ((leaf & EightTriangles::kMany) == 0) continue;
        eight.leaf[lane] = EightTriangles::kMany | (first + static_cast<std::uint32_t>(m_lists.size()));
        const auto list = m_shared.begin() + static_cast<std::ptrdiff_t>(leaf & ~EightTriangles::kMany);
        m_lists.insert(m_lists.end(), list, list + 1 + static_cast<std::ptrdiff_t>(*list));
    }
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
