#include "ond/util/DataChunk.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::DataChunk;
using Bytes = std::vector<unsigned char>;

Bytes flat(DataChunk& chunk) {
    int size = -1;
    const auto* bytes = static_cast<const unsigned char*>(chunk.serialize(&size));
    return {bytes, bytes + size};
}

Bytes flatCopy(const DataChunk& chunk) {
    DataChunk copy(chunk);
    return flat(copy);
}

Bytes payload(const DataChunk& chunk) {
    const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
    return bytes == nullptr ? Bytes{} : Bytes(bytes, bytes + chunk.getSize());
}

void appendInt(Bytes& to, std::int32_t value) {
    auto bits = static_cast<std::uint32_t>(value);
    for (int i = 0; i < 4; ++i) {
        to.push_back(static_cast<unsigned char>(bits % 256));
        bits /= 256;
    }
}

Bytes header(std::int32_t dataSize, std::int32_t childCount, std::int32_t nameLength) {
    Bytes block;
    appendInt(block, dataSize);
    appendInt(block, childCount);
    appendInt(block, nameLength);
    return block;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes ascii(const std::string& text) { return {text.begin(), text.end()}; }

/// The flat form of a chunk, put together from its children's as the format is told.
Bytes plainFlat(const DataChunk& chunk) {
    Bytes block = header(chunk.getSize(), chunk.getNumChildren(), static_cast<std::int32_t>(chunk.getName().size())) +
                  ascii(chunk.getName()) + payload(chunk);
    for (int i = 0; i < chunk.getNumChildren(); ++i) block = block + plainFlat(chunk.getChild(i));
    return block;
}

bool isEmpty(const DataChunk& chunk) {
    return chunk.getName().empty() && chunk.getSize() == 0 && chunk.getNumChildren() == 0;
}

DataChunk randomTree(PinnedRandom& random, int depth) {
    std::string name(random.chance(0.05) ? 256 : random.bits() % 12, '?');
    for (auto& c : name) c = static_cast<char>(random.bits());
    Bytes data(random.chance(0.05) ? 2000 : random.bits() % 20);
    for (auto& byte : data) byte = static_cast<unsigned char>(random.bits());
    DataChunk chunk(name, data.data(), static_cast<int>(data.size()));
    if (depth > 0) {
        for (std::uint32_t i = random.bits() % 5; i > 0; --i) chunk.addChild(randomTree(random, depth - 1));
    }
    return chunk;
}

// --- Making chunks
// -----------------------------------------------------------------------------------------------------

TEST(DataChunk, NewOneIsEmpty) {
    const DataChunk chunk;
    EXPECT_TRUE(isEmpty(chunk));
    EXPECT_EQ(chunk.getData(), nullptr);
}

TEST(DataChunk, LiteralIsAName) {
    EXPECT_EQ(DataChunk("wheelstore").getName(), "wheelstore");
    EXPECT_EQ(DataChunk("a", "xyz", 3).getSize(), 3);
    const DataChunk converted = "b";
    EXPECT_EQ(converted.getName(), "b");
    EXPECT_FALSE((std::is_convertible_v<const void*, DataChunk>));
}

TEST(DataChunk, ConstructsFromAFlatBlock) {
    const Bytes block = header(3, 0, 1) + ascii("axyz");
    const DataChunk chunk(static_cast<const void*>(block.data()));
    EXPECT_EQ(chunk.getName(), "a");
    EXPECT_EQ(payload(chunk), ascii("xyz"));
    EXPECT_TRUE(isEmpty(DataChunk(static_cast<const void*>(nullptr))));
    EXPECT_TRUE(isEmpty(DataChunk(nullptr)));
}

TEST(DataChunk, NullDataOfEightBytesIsEightZeros) {
    DataChunk chunk;
    chunk.setData(nullptr, 8);
    EXPECT_EQ(chunk.getSize(), 8);
    EXPECT_EQ(payload(chunk), Bytes(8, 0));
}

TEST(DataChunk, NullDataResizesWhatIsThere) {
    DataChunk chunk("a", "xyz", 3);
    chunk.setData(nullptr, 5);
    EXPECT_EQ(payload(chunk), (Bytes{'x', 'y', 'z', 0, 0}));
    chunk.setData(nullptr, 2);
    EXPECT_EQ(payload(chunk), ascii("xy"));
    chunk.setData("q", 0);
    EXPECT_EQ(chunk.getSize(), 0);
    chunk.setData("q", -1);
    EXPECT_EQ(chunk.getSize(), 0);
}

TEST(DataChunk, DataMayComeFromTheChunkItself) {
    DataChunk chunk("a", "abcdefgh", 8);
    chunk.setData(static_cast<const char*>(chunk.getData()) + 2, 4);
    EXPECT_EQ(payload(chunk), ascii("cdef"));
}

TEST(DataChunk, DataCanBeWrittenInPlace) {
    DataChunk chunk("a", "abc", 3);
    std::memcpy(chunk.getData(), "xyz", 3);
    EXPECT_EQ(payload(chunk), ascii("xyz"));
}

// --- Children
// ----------------------------------------------------------------------------------------------------------

TEST(DataChunk, AddingChildrenCanBeChained) {
    DataChunk chunk("root");
    chunk.addChild(DataChunk("a")).addChild(DataChunk("b")).addChild("c");
    ASSERT_EQ(chunk.getNumChildren(), 3);
    EXPECT_EQ(chunk.getChild(0).getName(), "a");
    EXPECT_EQ(chunk.getChild(1).getName(), "b");
    EXPECT_EQ(chunk.getChild(2).getName(), "c");
}

TEST(DataChunk, FirstOfTwoChildrenOfOneNameIsFoundByNameAndBothByIndex) {
    DataChunk chunk("wheelstore");
    chunk.addChild(DataChunk("w", "1", 1)).addChild(DataChunk("w", "2", 1));
    EXPECT_EQ(payload(chunk.getChild("w")), ascii("1"));
    EXPECT_EQ(payload(chunk.getChild(0)), ascii("1"));
    EXPECT_EQ(payload(chunk.getChild(1)), ascii("2"));
    EXPECT_EQ(payload(std::as_const(chunk).getChild(std::string("w"))), ascii("1"));
}

TEST(DataChunk, NamesAreComparedExactly) {
    DataChunk chunk;
    chunk.addChild(DataChunk("ab"));
    EXPECT_TRUE(chunk.hasChild("ab"));
    EXPECT_FALSE(chunk.hasChild("a"));
    EXPECT_FALSE(chunk.hasChild("abc"));
    EXPECT_FALSE(chunk.hasChild("AB"));
    EXPECT_FALSE(chunk.hasChild(""));
}

TEST(DataChunk, AbsentChildIsASharedEmptyChunk) {
    DataChunk chunk("root");
    chunk.addChild(DataChunk("a"));
    EXPECT_TRUE(isEmpty(chunk.getChild("nothing")));
    EXPECT_TRUE(isEmpty(std::as_const(chunk).getChild("nothing")));
    EXPECT_EQ(chunk.getChild("nothing").getData(), nullptr);
    EXPECT_EQ(chunk.getNumChildren(), 1);
}

TEST(DataChunk, WhatIsWrittenIntoTheSharedChunkIsGoneWithTheNextFailedLookup) {
    DataChunk chunk("root");
    DataChunk& shared = chunk.getChild("nothing");
    shared.setData("abc", 3);
    shared.addChild("x");
    const DataChunk& another = DataChunk().getChild("else");
    EXPECT_TRUE(isEmpty(another));
    EXPECT_TRUE(isEmpty(shared));
    EXPECT_TRUE(isEmpty(std::as_const(chunk).getChild("nothing")));
}

TEST(DataChunk, IndexOutOfRangeIsAnEmptyChunk) {
    DataChunk chunk("root");
    chunk.addChild(DataChunk("a"));
    for (const int index : {-1, 1, 2, -2147483647 - 1, 2147483647}) {
        EXPECT_TRUE(isEmpty(chunk.getChild(index))) << index;
        EXPECT_TRUE(isEmpty(std::as_const(chunk).getChild(index))) << index;
    }
}

TEST(DataChunk, FindsDataOnlyIfItIsLongEnough) {
    DataChunk chunk;
    chunk.addChild(DataChunk("four", "abcd", 4)).addChild(DataChunk("none")).addChild(DataChunk("four", "abcdefgh", 8));
    EXPECT_EQ(chunk.findData("four", 4), chunk.getChild(0).getData());
    EXPECT_EQ(chunk.findData("four", 1), chunk.getChild(0).getData());
    EXPECT_EQ(chunk.findData("four", 5), nullptr);
    EXPECT_EQ(chunk.findData("none", 0), nullptr);
    EXPECT_EQ(chunk.findData("absent", 0), nullptr);
}

TEST(DataChunk, CanBeAddedToItself) {
    DataChunk chunk("a", "x", 1);
    chunk.addChild(chunk);
    chunk.addChild(chunk);
    chunk.addChild(chunk.getChild(0));
    ASSERT_EQ(chunk.getNumChildren(), 3);
    EXPECT_EQ(chunk.getChild(0).getNumChildren(), 0);
    EXPECT_EQ(chunk.getChild(1).getNumChildren(), 1);
    EXPECT_EQ(payload(chunk.getChild(2)), ascii("x"));
}

TEST(DataChunk, TakesAChildOver) {
    DataChunk chunk("root");
    DataChunk child("child", "0123456789", 10);
    child.addChild(DataChunk("deep", "x", 1));
    const void* data = child.getData();
    const Bytes before = flat(child);
    chunk.addChild(std::move(child)).addChild("literal");
    ASSERT_EQ(chunk.getNumChildren(), 2);
    EXPECT_EQ(chunk.getChild(0).getData(), data) << "no copy was made";
    EXPECT_EQ(flat(chunk.getChild(0)), before);
    EXPECT_EQ(chunk.getChild(1).getName(), "literal");
}

TEST(DataChunk, TakesOverAChildOfItsOwn) {
    for (int place = 0; place < 3; ++place) {
        DataChunk chunk("root");
        for (const char* name : {"a", "b", "c"}) chunk.addChild(DataChunk(name, name, 1).addChild("deep"));
        const Bytes moved = flatCopy(chunk.getChild(place));
        chunk.addChild(std::move(chunk.getChild(place)));
        ASSERT_EQ(chunk.getNumChildren(), 4);
        EXPECT_EQ(flatCopy(chunk.getChild(3)), moved);
        EXPECT_EQ(flatCopy(chunk), plainFlat(chunk));
    }
}

// --- Copies
// --------------------------------------------------------------------------------------------------------------

TEST(DataChunk, CopyIsDeepAndIndependent) {
    PinnedRandom random(1);
    DataChunk chunk = randomTree(random, 4);
    ASSERT_GT(chunk.getNumChildren(), 0);
    const Bytes before = flat(chunk);
    DataChunk copy(chunk);
    DataChunk assigned("old", "old", 3);
    assigned.addChild("old");
    assigned = chunk;
    chunk.getChild(0).setData("changed", 7);
    chunk.addChild("more");
    EXPECT_EQ(flat(copy), before);
    EXPECT_EQ(flat(assigned), before);
    EXPECT_NE(flat(chunk), before);
}

TEST(DataChunk, AssignmentFromItselfAndFromItsOwnChild) {
    DataChunk chunk("root");
    chunk.addChild(DataChunk("a", "x", 1).addChild("deep"));
    const Bytes before = flat(chunk);
    chunk = *&chunk;
    EXPECT_EQ(flat(chunk), before);
    chunk = chunk.getChild(0);
    EXPECT_EQ(chunk.getName(), "a");
    EXPECT_EQ(chunk.getNumChildren(), 1);
    chunk = std::move(chunk.getChild(0));
    EXPECT_EQ(chunk.getName(), "deep");
    EXPECT_EQ(chunk.getNumChildren(), 0);
}

// --- Flat form
// -----------------------------------------------------------------------------------------------------------

TEST(DataChunkFlat, ThreeBytesNamedA) {
    DataChunk chunk("a", "xyz", 3);
    EXPECT_EQ(flat(chunk), (Bytes{3, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 'a', 'x', 'y', 'z'}));
}

TEST(DataChunkFlat, EmptyChunkIsTwelveZeroBytes) {
    DataChunk chunk;
    EXPECT_EQ(flat(chunk), Bytes(12, 0));
}

TEST(DataChunkFlat, ChildrenFollowInOrder) {
    DataChunk chunk("r", "12", 2);
    chunk.addChild(DataChunk("ab", "x", 1).addChild(DataChunk("q"))).addChild(DataChunk());
    const Bytes expected = {2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 'r', '1', '2',  //
                            1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 'x',  //
                            0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 'q',            //
                            0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(flat(chunk), expected);
}

TEST(DataChunkFlat, PointerStaysGoodWhileOthersSerialise) {
    DataChunk parent("p");
    parent.addChild(DataChunk("c", "xyz", 3));
    int size = 0;
    const auto* child = static_cast<const unsigned char*>(parent.getChild(0).serialize(&size));
    const Bytes before(child, child + size);
    int parentSize = 0;
    const auto* all = static_cast<const unsigned char*>(parent.serialize(&parentSize));
    EXPECT_EQ(Bytes(child, child + size), before);
    EXPECT_EQ(Bytes(all + 13, all + parentSize), before);
    parent.getChild(0).setData("changed", 7);
    EXPECT_EQ(Bytes(all + 13, all + parentSize), before);
}

TEST(DataChunkFlat, GrowsAndShrinksWithTheTree) {
    DataChunk chunk("a");
    for (const int size : {1000, 10, 0, 5000, 4999, 1}) {
        const Bytes data(static_cast<std::size_t>(size), static_cast<unsigned char>(size));
        chunk.setData(data.data(), size);
        EXPECT_EQ(flat(chunk), plainFlat(chunk));
        EXPECT_EQ(flat(chunk), plainFlat(chunk)) << "again";
    }
}

TEST(DataChunkFlat, SizeMayBeNull) {
    DataChunk chunk("a");
    EXPECT_NE(chunk.serialize(nullptr), nullptr);
}

TEST(DataChunkFlat, ReadingReturnsThePositionBehindTheBlock) {
    const Bytes block = header(3, 1, 1) + ascii("axyz") + header(0, 0, 2) + ascii("bc") + ascii("tail");
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data()), block.data() + block.size() - 4);
    DataChunk bounded;
    EXPECT_EQ(bounded.deserialize(block.data(), block.size()), block.data() + block.size() - 4);
    EXPECT_EQ(flat(bounded), Bytes(block.begin(), block.end() - 4));
    EXPECT_EQ(flat(chunk), flat(bounded));
    DataChunk exact;
    EXPECT_EQ(exact.deserialize(block.data(), block.size() - 4), block.data() + block.size() - 4);
}

TEST(DataChunkFlat, ReadingReplacesNameAndDataAndAppendsChildren) {
    const Bytes block = header(1, 1, 1) + ascii("nd") + header(0, 0, 1) + ascii("c");
    DataChunk chunk("old", "old data", 8);
    chunk.addChild("b");
    EXPECT_NE(chunk.deserialize(block.data(), block.size()), nullptr);
    EXPECT_EQ(chunk.getName(), "n");
    EXPECT_EQ(payload(chunk), ascii("d"));
    ASSERT_EQ(chunk.getNumChildren(), 2);
    EXPECT_EQ(chunk.getChild(0).getName(), "b");
    EXPECT_EQ(chunk.getChild(1).getName(), "c");
}

TEST(DataChunkFlat, BlockMayLieInTheChunkItself) {
    DataChunk inner("inner", "xyz", 3);
    inner.addChild(DataChunk("c", "1234", 4)).addChild("d");
    const Bytes block = flat(inner);
    DataChunk chunk("outer", block.data(), static_cast<int>(block.size()));
    EXPECT_NE(chunk.deserialize(chunk.getData(), block.size()), nullptr);
    EXPECT_EQ(flat(chunk), block);

    DataChunk copy(inner);
    int size = 0;
    const void* own = copy.serialize(&size);
    EXPECT_NE(copy.deserialize(own, static_cast<std::size_t>(size)), nullptr);
    EXPECT_EQ(copy.getNumChildren(), 4);
}

TEST(DataChunkFlat, NameOf256BytesIsReadAndOneOf257IsNot) {
    for (const int length : {255, 256, 257, 2147483647, -1, -2147483647 - 1}) {
        const bool good = length == 255 || length == 256;
        const Bytes block = header(1, 0, length) + Bytes(300, 'n');
        DataChunk chunk("old", "abc", 3);
        const void* end = chunk.deserialize(block.data(), block.size());
        if (good) {
            EXPECT_EQ(end, block.data() + 13 + length);
            EXPECT_EQ(chunk.getName(), std::string(static_cast<std::size_t>(length), 'n'));
        } else {
            EXPECT_EQ(end, nullptr) << length;
            EXPECT_EQ(chunk.getName(), "old");
            EXPECT_EQ(payload(chunk), ascii("abc"));
            EXPECT_EQ(DataChunk().deserialize(block.data()), nullptr);
        }
    }
}

TEST(DataChunkFlat, NegativeFieldsLeaveTheChunkAsItIs) {
    for (const Bytes& block : {header(-1, 0, 0), header(0, -1, 0), header(0, 0, -1)}) {
        DataChunk chunk("old", "abc", 3);
        chunk.addChild("c");
        EXPECT_EQ(chunk.deserialize(block.data()), nullptr);
        EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
        EXPECT_EQ(chunk.deserialize(nullptr), nullptr);
        EXPECT_EQ(chunk.deserialize(nullptr, 100), nullptr);
        EXPECT_EQ(chunk.getName(), "old");
        EXPECT_EQ(payload(chunk), ascii("abc"));
        EXPECT_EQ(chunk.getNumChildren(), 1);
    }
}

TEST(DataChunkFlat, FirstOfTwoChildrenWithNegativeSizeGivesTwoEmptyChildrenAndNull) {
    const Bytes block = header(0, 2, 1) + ascii("r") + header(-1, 0, 0) + header(0, 0, 1) + ascii("b");
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data()), nullptr);
    EXPECT_EQ(chunk.getName(), "r");
    ASSERT_EQ(chunk.getNumChildren(), 2);
    EXPECT_TRUE(isEmpty(chunk.getChild(0)));
    EXPECT_TRUE(isEmpty(chunk.getChild(1)));
    DataChunk bounded;
    EXPECT_EQ(bounded.deserialize(block.data(), block.size()), nullptr);
    EXPECT_EQ(flat(bounded), flat(chunk));
}

TEST(DataChunkFlat, DamagedChildIsKeptAsFarAsItCameAndAllBehindItAreEmpty) {
    // root { a, b { c, damaged, - }, -, - }
    const Bytes block = header(0, 4, 1) + ascii("r") + header(0, 0, 1) + ascii("a") + header(1, 3, 1) + ascii("bx") +
                        header(0, 0, 1) + ascii("c") + header(-5, 0, 0) + header(0, 0, 1) + ascii("z");
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
    DataChunk expected("r");
    expected.addChild("a").addChild(DataChunk("b", "x", 1).addChild("c").addChild({}).addChild({}));
    expected.addChild({}).addChild({});
    EXPECT_EQ(flat(chunk), flat(expected));
    EXPECT_EQ(flatCopy(DataChunk(static_cast<const void*>(block.data()))), flat(expected));
}

TEST(DataChunkFlat, DataThatReachesBehindTheEndIsAFailureAndNotAnAllocation) {
    for (const std::int32_t size : {4, 1000, 2147483647}) {
        const Bytes block = header(size, 0, 1) + ascii("axyz");
        DataChunk chunk("old");
        EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
        EXPECT_EQ(chunk.getName(), "old");
    }
    const Bytes block = header(0, 0, 200) + ascii("axyz");
    EXPECT_EQ(DataChunk().deserialize(block.data(), block.size()), nullptr);
}

TEST(DataChunkFlat, UpTo4096AnnouncedChildrenAreFilledWithEmptyOnes) {
    const Bytes block = header(0, 4096, 1) + ascii("r");
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
    EXPECT_EQ(chunk.getNumChildren(), 4096);
    EXPECT_TRUE(isEmpty(chunk.getChild(4095)));
}

TEST(DataChunkFlat, MoreAnnouncedChildrenThanTheBytesCanHoldFailBeforeAnyIsAdded) {
    for (const std::int32_t count : {4097, 100000, 2147483647}) {
        const Bytes block = header(1, count, 1) + ascii("rx") + Bytes(4096 * 12, 0);
        DataChunk chunk;
        EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
        EXPECT_EQ(chunk.getNumChildren(), 0);
        EXPECT_EQ(chunk.getName(), "r");
        EXPECT_EQ(payload(chunk), ascii("x"));
    }
    const Bytes block = header(1, 4097, 1) + ascii("rx") + Bytes(4097 * 12, 0);
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data(), block.size()), block.data() + block.size());
    EXPECT_EQ(chunk.getNumChildren(), 4097);
}

TEST(DataChunkFlat, EmptyFillOfManyLevelsIsBounded) {
    Bytes block;
    for (int level = 0; level < 5000; ++level) block = block + header(0, 4096, 0);
    DataChunk chunk;
    EXPECT_EQ(chunk.deserialize(block.data(), block.size()), nullptr);
    int chunks = 0;
    const DataChunk* at = &chunk;
    for (; at->getNumChildren() > 0; at = &at->getChild(0)) chunks += at->getNumChildren();
    EXPECT_GE(chunks, 65536);
    EXPECT_LE(chunks, 65536 + 5001);
}

TEST(DataChunkFlat, TreeOfAnyDepthIsReadCopiedWrittenAndDestroyed) {
    constexpr int kDepth = 800000;
    Bytes block;
    block.reserve(kDepth * 12);
    for (int level = 1; level < kDepth; ++level) {
        const Bytes one = header(0, 1, 0);
        block.insert(block.end(), one.begin(), one.end());
    }
    block = block + header(0, 0, 0);
    DataChunk chunk;
    ASSERT_EQ(chunk.deserialize(block.data(), block.size()), block.data() + block.size());
    DataChunk copy(chunk);
    DataChunk parent;
    parent.addChild(copy);
    EXPECT_EQ(flat(copy), block);
    chunk = DataChunk("other");
    EXPECT_EQ(flat(parent), header(0, 1, 0) + block);
    // The deepest one damaged: the failure travels all the way up.
    block[block.size() - 1] = 0xff;
    EXPECT_EQ(copy.deserialize(block.data(), block.size()), nullptr);
}

TEST(DataChunkFlat, TruncatedAtEveryLengthFailsAndReadsNothingBehindTheEnd) {
    DataChunk tree("root", "data", 4);
    tree.addChild(DataChunk("a", "xyz", 3)).addChild(DataChunk("b").addChild(DataChunk("c", "12345", 5)));
    const Bytes block = flat(tree);
    for (std::size_t size = 0; size < block.size(); ++size) {
        const Bytes cut(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size));
        DataChunk chunk("old");
        EXPECT_EQ(chunk.deserialize(cut.data(), cut.size()), nullptr) << size;
        EXPECT_EQ(chunk.getName(), size < 20 ? "old" : "root") << size;
        EXPECT_EQ(chunk.getNumChildren(), size < 20 ? 0 : 2) << size;
        if (size >= 36) {
            EXPECT_EQ(payload(chunk.getChild(0)), ascii("xyz")) << size;
        }
        if (size >= 49) {
            EXPECT_EQ(chunk.getChild(1).getNumChildren(), 1) << size;
            EXPECT_TRUE(isEmpty(chunk.getChild(1).getChild(0))) << size;
        }
    }
}

TEST(DataChunkFlat, RandomTreesComeBackByteForByte) {
    int withChildren = 0;
    for (std::uint64_t seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        DataChunk tree = randomTree(random, 4);
        withChildren += tree.getNumChildren() > 0 ? 1 : 0;
        const Bytes block = flat(tree);
        ASSERT_EQ(block, plainFlat(tree));
        DataChunk back;
        ASSERT_EQ(back.deserialize(block.data(), block.size()), block.data() + block.size());
        ASSERT_EQ(back.getName(), tree.getName());
        ASSERT_EQ(payload(back), payload(tree));
        ASSERT_EQ(flat(back), block);
    }
    EXPECT_GT(withChildren, 50);
}

TEST(DataChunkFlat, NoiseIsReadWithoutHarm) {
    int partial = 0;
    for (std::uint64_t seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        Bytes block;
        if (random.chance(0.5)) {
            DataChunk tree = randomTree(random, 2);
            block = flat(tree);
            for (std::uint32_t damage = 1 + random.bits() % 4; damage > 0; --damage)
                block[random.bits() % block.size()] = static_cast<unsigned char>(random.bits());
        } else {
            block.resize(random.bits() % 100);
            for (auto& byte : block) byte = static_cast<unsigned char>(random.chance(0.7) ? 0 : random.bits() % 8);
        }
        DataChunk chunk;
        const auto* end = static_cast<const unsigned char*>(chunk.deserialize(block.data(), block.size()));
        if (end != nullptr) {
            // What was read without damage is written as the same bytes.
            ASSERT_EQ(flat(chunk), Bytes(static_cast<const unsigned char*>(block.data()), end));
        } else if (!isEmpty(chunk)) {
            ++partial;
            ASSERT_EQ(flat(chunk), plainFlat(chunk));
        }
    }
    EXPECT_GT(partial, 100);
}

static_assert(std::has_virtual_destructor_v<DataChunk> && std::is_nothrow_move_constructible_v<DataChunk>);

}  // namespace
