// How much memory chunks take beside what they hold. Counts every allocation of the program.
#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "ond/util/DataChunk.h"
#include "util/CountedMemory.h"

namespace {

using ond::test::CountedMemory;
using ond::util::DataChunk;

/// What chunks of few bytes take for themselves.
constexpr std::size_t kSmall = 8192;

DataChunk treeOf(std::size_t payload) {
    const std::vector<char> bytes(payload, 'k');
    DataChunk root("root");
    for (int i = 0; i < 8; ++i) root.addChild(DataChunk("child", bytes.data(), static_cast<int>(payload)));
    return root;
}

TEST(DataChunkMemory, SerialisingTakesTheBlockAlone) {
    DataChunk tree = treeOf(100000);
    int size = 0;
    EXPECT_LE(CountedMemory::peakOf([&] { tree.serialize(&size); }), 800000u + kSmall);
    EXPECT_GT(size, 800000);
    // Again: into the same memory.
    EXPECT_LE(CountedMemory::peakOf([&] { tree.serialize(&size); }), kSmall);
    // A larger one: the old block is gone before the new one is made.
    const std::vector<char> more(300000, 'm');
    tree.getChild(0).setData(more.data(), 300000);
    EXPECT_LE(CountedMemory::peakOf([&] { tree.serialize(&size); }), 1000000u - 800000u + kSmall);
}

TEST(DataChunkMemory, ReadingTakesTheChunksAlone) {
    DataChunk tree = treeOf(100000);
    int size = 0;
    const void* block = tree.serialize(&size);
    DataChunk back;
    EXPECT_LE(CountedMemory::peakOf([&] { back.deserialize(block, static_cast<std::size_t>(size)); }),
              800000u + kSmall);
    EXPECT_EQ(back.getNumChildren(), 8);
}

TEST(DataChunkMemory, TakingAChildOverTakesNoCopyOfIt) {
    DataChunk tree = treeOf(100000);
    DataChunk parent("parent");
    EXPECT_LE(CountedMemory::peakOf([&] { parent.addChild(std::move(tree)); }), kSmall);
    EXPECT_EQ(parent.getChild(0).getNumChildren(), 8);
}

TEST(DataChunkMemory, WhatAChildHasSerialisedIsNotKept) {
    DataChunk tree = treeOf(100000);
    tree.serialize(nullptr);
    const std::size_t before = CountedMemory::now();
    DataChunk parent("parent");
    parent.addChild(std::move(tree));
    EXPECT_LE(CountedMemory::now() + 800000u, before + kSmall);
}

// Each of the many levels announces children that fit into the rest of the block and are not there.
TEST(DataChunkMemory, RoomForAnnouncedChildrenIsNotMadeAnewOnEveryLevel) {
    constexpr int kLevels = 3000;
    std::vector<unsigned char> block;
    for (int level = 0; level < kLevels; ++level) {
        const unsigned left = 4000;
        const unsigned char header[12] = {0, 0, 0, 0, left % 256, left / 256};
        block.insert(block.end(), header, header + 12);
    }
    block.push_back(1);
    DataChunk chunk;
    const std::size_t peak = CountedMemory::peakOf([&] { chunk.deserialize(block.data(), block.size()); });
    // The chunks that are there or filled in, in lists that may have doubled.
    const std::size_t chunks = kLevels + std::size_t{DataChunk::kMaxEmptyFill};
    EXPECT_LE(peak, 3 * chunks * sizeof(DataChunk));
    EXPECT_GT(chunk.getNumChildren(), 0);
}

}  // namespace
