// Packed lists of triangle numbers: what goes in comes out, and memory is that of the runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ground/GroundMeshes.h"
#include "ground/GroundTriangles.h"
#include "ground/TriangleNumbers.h"
#include "util/PinnedRandom.h"

namespace ond::ovs::addon {
namespace {

using Numbers = std::vector<std::uint32_t>;

/// In [low, high].
int whole(test::PinnedRandom& random, int low, int high) {
    return low + static_cast<int>(random.bits() % static_cast<std::uint32_t>(high - low + 1));
}

TriangleNumbers packed(const Numbers& numbers) {
    TriangleNumbers::Packer packer;
    for (const std::uint32_t number : numbers) packer.add(number);
    return packer.take();
}

Numbers iterated(const TriangleNumbers& list) {
    Numbers numbers;
    for (const std::uint32_t number : list) numbers.push_back(number);
    return numbers;
}

void expectSame(const Numbers& numbers) {
    const TriangleNumbers list = packed(numbers);
    ASSERT_EQ(list.size(), numbers.size());
    ASSERT_EQ(list.empty(), numbers.empty());
    ASSERT_EQ(iterated(list), numbers);
    for (std::size_t i = 0; i < numbers.size(); ++i) ASSERT_EQ(list[i], numbers[i]) << i;
}

/// Runs of up to `longest` numbers with up to `widest` left out between them.
Numbers runs(test::PinnedRandom& random, int count, int longest, int widest) {
    Numbers numbers;
    std::uint32_t next = random.chance(0.5) ? 0 : static_cast<std::uint32_t>(whole(random, 0, widest));
    for (int run = 0; run < count; ++run) {
        for (int left = whole(random, 1, longest); left > 0; --left) numbers.push_back(next++);
        next += static_cast<std::uint32_t>(whole(random, 1, widest));
    }
    return numbers;
}

TEST(TriangleNumbers, AnEmptyListHasNothing) {
    expectSame({});
    const TriangleNumbers list;
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.begin() == list.end());
    EXPECT_EQ(list.bytes(), 0u);
    EXPECT_TRUE(TriangleNumbers::upTo(0).empty());
}

TEST(TriangleNumbers, AreThoseThatWereAdded) {
    for (const std::uint32_t first : {0U, 1U, 2U, 63U, 64U, 127U, 128U, 8191U, 8192U, 1U << 20U, 1U << 31U, ~1U, ~0U})
        expectSame({first});
    expectSame({0, 1});
    expectSame({0, 2});
    expectSame({1, 2, 3});
    expectSame({0, 1, 5, 6, 7, 9, 11, 12});
    expectSame({3, 0xfffffffdU, 0xffffffffU});
    expectSame({0, 0xfffffffeU, 0xffffffffU});
}

TEST(TriangleNumbers, OfARunCountToEveryLength) {
    for (std::uint32_t count = 1; count < 700; ++count) {
        const TriangleNumbers list = TriangleNumbers::upTo(count);
        ASSERT_EQ(list.size(), count);
        ASSERT_EQ(list[count - 1], count - 1);
        ASSERT_EQ(iterated(list).back(), count - 1);
        ASSERT_LE(list.bytes(), 3u);
    }
    const TriangleNumbers list = TriangleNumbers::upTo(3000000);
    EXPECT_EQ(list.size(), 3000000u);
    EXPECT_EQ(list[2999999], 2999999u);
    EXPECT_LE(list.bytes(), 5u);
}

TEST(TriangleNumbers, GapsOfEveryWidthAreKept) {
    Numbers numbers{7};
    for (std::uint32_t gap = 1; gap < 1U << 28U; gap = gap * 2 + 1) {
        numbers.push_back(numbers.back() + gap);
        numbers.push_back(numbers.back() + gap + 1);
    }
    expectSame(numbers);
}

TEST(TriangleNumbers, AreFoundInListsOfManyRuns) {
    // Numbers of runs around those at which a reader can begin in the middle.
    test::PinnedRandom random(1);
    for (const int count : {31, 32, 33, 63, 64, 65, 96, 97, 1000})
        for (const int longest : {1, 2, 9}) expectSame(runs(random, count, longest, 5));
}

TEST(TriangleNumbers, OfRandomListsAreThoseOfAVector) {
    test::PinnedRandom random(2);
    const int repeat = std::getenv("QUADRIG_REPEAT") != nullptr ? 200000 : 300;
    for (int i = 0; i < repeat; ++i)
        expectSame(runs(random, whole(random, 1, 150), 1 << whole(random, 0, 9), 1 << whole(random, 0, 15)));
}

TEST(TriangleNumbers, CanBePackedOneListAfterTheOther) {
    TriangleNumbers::Packer packer;
    packer.add(5);
    packer.add(9);
    EXPECT_EQ(iterated(packer.take()), (Numbers{5, 9}));
    EXPECT_TRUE(packer.take().empty());
    packer.add(0);
    EXPECT_EQ(iterated(packer.take()), Numbers{0});
}

TEST(TriangleNumbers, AreCopiedAndMovedWithTheirBytes) {
    test::PinnedRandom random(3);
    const Numbers numbers = runs(random, 100, 3, 3);
    TriangleNumbers list = packed(numbers);
    const TriangleNumbers copy = list;
    TriangleNumbers moved = std::move(list);
    EXPECT_EQ(iterated(copy), numbers);
    EXPECT_EQ(iterated(moved), numbers);
    moved = packed({4});
    EXPECT_EQ(iterated(moved), Numbers{4});
}

TEST(TriangleNumbers, TakeTheMemoryOfTheirRuns) {
    Numbers rows;
    for (std::uint32_t row = 0; row < 100; ++row)
        for (std::uint32_t i = 0; i < 200; ++i) rows.push_back(2000 * row + i);
    EXPECT_LT(packed(rows).bytes(), 100u * 5u) << "80,000 as plain numbers";
    test::PinnedRandom random(4);
    Numbers scattered;
    for (std::uint32_t i = 0; i < 1000; ++i)
        scattered.push_back(1000 * i + static_cast<std::uint32_t>(whole(random, 0, 900)));
    EXPECT_LT(packed(scattered).bytes(), 2500u) << "4,000 as plain numbers";
}

struct ListMemory {
    std::size_t plain = 0;
    std::size_t packed = 0;
};

void addUp(const GroundMeshTreeNode& node, ListMemory& memory) {
    memory.plain += node.aTriangleVertices.numbers().size() * sizeof(std::uint32_t);
    memory.packed += node.aTriangleVertices.numbers().bytes();
    for (const GroundMeshTreeNode& child : node.aChildren) addUp(child, memory);
}

TEST(TriangleNumbers, OfATreeOverATerrainTakeATenthOfPlainLists) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(test::gridMesh(100, 0.5, test::hills));
    ListMemory memory;
    addUp(tree, memory);
    EXPECT_GT(memory.plain, 400000u);
    EXPECT_LT(10 * memory.packed, memory.plain);
}

TEST(TriangleVertices, AreTheCornersOfTheTrianglesInTheirOrder) {
    auto all = std::make_shared<GroundTriangles>();
    for (int i = 0; i < 40; ++i) all->vertices.emplace_back(i, 0.5 * i, -i);
    for (std::uint32_t i = 0; i < 13; ++i) all->corners.push_back({3 * i, 39 - i, i});
    const TriangleVertices list(all, packed({0, 4, 5, 6, 12}));
    ASSERT_EQ(list.size(), 15u);
    std::size_t i = 0;
    for (const util::Vector3<double>& vertex : list) {
        const std::size_t triangle = std::vector<std::size_t>{0, 4, 5, 6, 12}[i / 3];
        EXPECT_EQ(&vertex, &all->corner(triangle, i % 3));
        EXPECT_EQ(&list[i], &vertex);
        ++i;
    }
    EXPECT_EQ(i, 15u);
    EXPECT_TRUE(TriangleVertices().empty());
    EXPECT_TRUE(TriangleVertices().begin() == TriangleVertices().end());
}

}  // namespace
}  // namespace ond::ovs::addon
