// Reading a block that may be damaged, with its size known and without.
#include "state/SavedTree.h"

#include <gtest/gtest.h>

#include "state/BlockEditor.h"
#include "state/SavedKeys.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;
using util::DataChunk;

Bytes chunkBytes(std::int32_t payload, std::int32_t children, const std::string& name, const Bytes& rest = {}) {
    Bytes bytes(12);
    util::storeLittleEndian(bytes.data(), payload);
    util::storeLittleEndian(bytes.data() + 4, children);
    util::storeLittleEndian(bytes.data() + 8, static_cast<std::int32_t>(name.size()));
    bytes.insert(bytes.end(), name.begin(), name.end());
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// A root with these children, and behind it what a reader must not reach.
Bytes root(std::int32_t count, const Bytes& children) { return chunkBytes(0, count, "CarCamDataChunk9201", children); }

const Bytes kSound = chunkBytes(8, 0, "dDegsPerRay", bytesOf(3.5));
const Bytes kBehind = chunkBytes(8, 0, "dReverseMaxVelMult", bytesOf(4.5));

/// What a tree without a known size makes of a child between two sound ones.
struct Outcome {
    bool before;
    bool child;
    bool behind;
};

Outcome outcome(const Bytes& child, const std::string& name) {
    const Bytes block = root(3, kSound + child + kBehind);
    const SavedTree tree(block.data(), std::nullopt);
    return {tree.find("dDegsPerRay") != nullptr, tree.find(name) != nullptr,
            tree.find("dReverseMaxVelMult") != nullptr};
}

#define EXPECT_OUTCOME(bytes, name, isThere, isReadOn) \
    do {                                               \
        const Outcome o = outcome(bytes, name);        \
        EXPECT_TRUE(o.before);                         \
        EXPECT_EQ(o.child, isThere);                   \
        EXPECT_EQ(o.behind, isReadOn);                 \
    } while (false)

TEST(SavedTree, OfNullIsEmpty) {
    const SavedTree tree(nullptr, std::nullopt);
    EXPECT_EQ(tree.name(), "");
    EXPECT_EQ(tree.find("dDegsPerRay"), nullptr);
    EXPECT_EQ(SavedTree(nullptr, 100).name(), "");
}

TEST(SavedTree, FindsWhatTheTreeOfChunksFinds) {
    for (const char* version : {"100", "104", "8118", "9201"}) {
        SCOPED_TRACE(version);
        const Bytes block = readGoldenBlock(version);
        DataChunk chunks;
        ASSERT_NE(chunks.deserialize(block.data(), block.size()), nullptr);
        for (const auto& size : {std::optional<std::size_t>(block.size()), std::optional<std::size_t>()}) {
            const SavedTree tree(block.data(), size);
            EXPECT_EQ(tree.name(), chunks.getName());
            for (int i = 0; i < chunks.getNumChildren(); ++i) {
                const DataChunk& expected = chunks.getChild(chunks.getChild(i).getName());
                const SavedChunk* found = tree.find(expected.getName());
                ASSERT_NE(found, nullptr) << expected.getName();
                ASSERT_EQ(found->size, static_cast<std::size_t>(expected.getSize()));
                if (found->size != 0) {
                    EXPECT_EQ(std::memcmp(found->data, expected.getData(), found->size), 0);
                }
            }
            const DataChunk& store = chunks.getChild("wheelstore");
            ASSERT_EQ(tree.find("wheelstore")->children.size(), static_cast<std::size_t>(store.getNumChildren()));
            EXPECT_EQ(tree.find("wheelstore")->children[3].name, store.getChild(3).getName());
        }
    }
}

TEST(SavedTree, OfATruncatedBlockHoldsWhatTheTreeOfChunksHolds) {
    const Bytes whole = readGoldenBlock("8118");
    for (std::size_t size = 0; size < whole.size(); size += 1 + size % 3) {
        // Of exactly this size, so that a memory checker sees a read behind the end.
        const Bytes block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        DataChunk chunks;
        EXPECT_EQ(chunks.deserialize(block.data(), block.size()), nullptr);
        const SavedTree tree(block.data(), block.size());
        EXPECT_EQ(tree.name(), chunks.getName());
        for (const SavedRow& row : kSavedRows) {
            const DataChunk& expected = chunks.getChild(std::string(row.key));
            const SavedChunk* found = tree.find(row.key);
            EXPECT_EQ(found != nullptr, !expected.getName().empty()) << row.key << " at " << size;
            if (found != nullptr) {
                EXPECT_EQ(found->size, static_cast<std::size_t>(expected.getSize()));
            }
        }
    }
}

TEST(SavedTree, OfATruncatedBlockInEmptyMemoryHoldsWhatStoodBefore) {
    // The size is not known; zeros follow the truncated bytes, as in a page that was never written.
    const Bytes whole = readGoldenBlock("9201");
    const std::size_t keys = SavedTree(whole.data(), whole.size()).find("wheelstore")->children.size();
    ASSERT_EQ(keys, 24u);
    for (std::size_t size = 0; size < whole.size(); size += 1 + size % 5) {
        Bytes block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        block.resize(whole.size() + (std::size_t{1} << 21), 0);
        const SavedTree tree(block.data(), std::nullopt);
        EXPECT_EQ(tree.find("cCarCam.dWheelRadiusMult") != nullptr, size + 7 >= whole.size()) << size;
    }
}

// ---- what a chunk must prove when the size of the block is not known ----

TEST(SavedTree, ReadsOnBehindLeavesOfTheirSize) {
    EXPECT_OUTCOME(chunkBytes(1, 0, "bSaveDynamicData", {1}), "bSaveDynamicData", true, true);
    EXPECT_OUTCOME(chunkBytes(4, 0, "iRayMultiplier", {1, 2, 3, 4}), "iRayMultiplier", true, true);
    EXPECT_OUTCOME(chunkBytes(128, 0, "mBulletGroundMesh", Bytes(128)), "mBulletGroundMesh", true, true);
    EXPECT_OUTCOME(chunkBytes(368, 0, "sDataChunkSaveStruct", Bytes(368)), "sDataChunkSaveStruct", true, true);
}

TEST(SavedTree, PassesOverLeavesThatAreTooShort) {
    EXPECT_OUTCOME(chunkBytes(7, 0, "dTheirValue", Bytes(7)), "dTheirValue", true, true);
    EXPECT_OUTCOME(chunkBytes(7, 0, "dMinGroundDistance", Bytes(7)), "dMinGroundDistance", true, true);
    EXPECT_OUTCOME(chunkBytes(0, 0, "bFixateWheelCenterNodes"), "bFixateWheelCenterNodes", true, true);
}

TEST(SavedTree, EndsBehindAValueThatClaimsMoreThanItsBytes) {
    for (const std::int32_t claimed : {9, 16, 70000, 0x7fffffff}) {
        EXPECT_OUTCOME(chunkBytes(claimed, 0, "dMinGroundDistance", bytesOf(1.0)), "dMinGroundDistance", true, false);
    }
    const Bytes block = root(1, chunkBytes(0x7fffffff, 0, "dMinGroundDistance", bytesOf(1.0)));
    EXPECT_EQ(SavedTree(block.data(), std::nullopt).find("dMinGroundDistance")->size, 8u);
}

TEST(SavedTree, EndsBehindAVariableThatClaimsMoreThanItsOwnHeader) {
    const Bytes keys = historyBytes(16, 32, 100, 2, Bytes(32));
    EXPECT_OUTCOME(chunkBytes(48, 0, "anbCarInTheAir", historyBytes(16, 9, 100, 1, Bytes(9)) + Bytes(23)),
                   "anbCarInTheAir", true, false);
    EXPECT_OUTCOME(chunkBytes(48, 0, "andFollowAccMem", keys), "andFollowAccMem", true, true);
    EXPECT_OUTCOME(chunkBytes(0x7fffffff, 0, "andFollowAccMem", keys), "andFollowAccMem", true, false);
}

TEST(SavedTree, BelievesASmallVariableWithoutAHeader) {
    EXPECT_OUTCOME(chunkBytes(20, 0, "andFollowAccMem", Bytes(20, 7)), "andFollowAccMem", true, true);
    EXPECT_OUTCOME(chunkBytes((1 << 16) + 1, 0, "andFollowAccMem", Bytes(20, 7)), "andFollowAccMem", false, false);
}

TEST(SavedTree, EndsBehindALeafThatClaimsChildren) {
    EXPECT_OUTCOME(chunkBytes(8, 1, "dMinGroundDistance", bytesOf(1.0)), "dMinGroundDistance", true, false);
    EXPECT_OUTCOME(chunkBytes(16, 3, "andFollowAccMem", historyBytes(16, 0, 100, 0)), "andFollowAccMem", true, false);
}

TEST(SavedTree, EndsAtAWheelStoreThatCannotBeOne) {
    const Bytes child = chunkBytes(16, 0, "x", historyBytes(16, 0, 100, 0));
    EXPECT_OUTCOME(chunkBytes(0, 1, "wheelstore", child), "wheelstore", true, true);
    EXPECT_OUTCOME(chunkBytes(0, 25, "wheelstore", child), "wheelstore", false, false);
    EXPECT_OUTCOME(chunkBytes(1, 1, "wheelstore", Bytes{0} + child), "wheelstore", false, false);
    EXPECT_OUTCOME(chunkBytes(0, 2, "wheelstore", child + chunkBytes(0, 0, "")), "wheelstore", true, false);
}

TEST(SavedTree, EndsInAWheelStoreWhoseChildClaimsTooMuch) {
    const Bytes child = chunkBytes(500, 0, "x", historyBytes(16, 0, 100, 0));
    const Bytes block = root(1, chunkBytes(0, 2, "wheelstore", child));
    const SavedTree tree(block.data(), std::nullopt);
    ASSERT_EQ(tree.find("wheelstore")->children.size(), 1u);
    EXPECT_EQ(tree.find("wheelstore")->children[0].size, 16u);
}

TEST(SavedTree, TakesChildrenOfAnOldWheelStoreWithoutNames) {
    const Bytes child = chunkBytes(8, 0, "", bytesOf(2.5));
    EXPECT_OUTCOME(chunkBytes(0, 2, "wheelstore2", child + child), "wheelstore2", true, true);
}

TEST(SavedTree, EndsAtUnknownNamesThatNoKeyBears) {
    EXPECT_OUTCOME(chunkBytes(1, 0, "future key", {1}), "future key", true, true);
    EXPECT_OUTCOME(chunkBytes(1, 0, "fut\x01re", {1}), "fut\x01re", false, false);
    EXPECT_OUTCOME(chunkBytes(1, 0, "", {1}), "", false, false);
    EXPECT_OUTCOME(chunkBytes(0, 0, ""), "", false, false);
}

TEST(SavedTree, EndsAtAnUnknownKeyThatClaimsTooMuch) {
    EXPECT_OUTCOME(chunkBytes((1 << 16) + 1, 0, "future", Bytes(100, 9)), "future", false, false);
    EXPECT_OUTCOME(chunkBytes(0x7fffffff, 0, "future", historyBytes(16, 0, 100, 0)), "future", false, false);
}

TEST(SavedTree, EndsAtAnUnknownVariableWhoseSizesContradictEachOther) {
    const Bytes history = historyBytes(16, 24, 100, 2, Bytes(24));
    EXPECT_OUTCOME(chunkBytes(40, 0, "anFuture", history), "anFuture", true, true);
    EXPECT_OUTCOME(chunkBytes(41, 0, "anFuture", history + Bytes(1)), "anFuture", false, false);
    EXPECT_OUTCOME(chunkBytes(39, 0, "anFuture", history), "anFuture", false, false);
}

TEST(SavedTree, PassesOverBranchesOfAnyDepth) {
    Bytes deep = chunkBytes(2, 0, "leaf", {1, 2});
    for (int i = 0; i < 20000; ++i) deep = i < 50 ? chunkBytes(0, 1, "b", deep) : deep;
    EXPECT_OUTCOME(deep, "b", true, true);
    EXPECT_OUTCOME(chunkBytes(0, 5000, "b", deep), "b", true, false);
}

TEST(SavedTree, PassesOverADeepBranchWithoutRecursion) {
    Bytes block;
    for (int i = 0; i < 300000; ++i) {
        const Bytes head = chunkBytes(0, 1, "b");
        block.insert(block.end(), head.begin(), head.end());
    }
    block = root(2, block + chunkBytes(2, 0, "leaf", {1, 2}) + kBehind);
    for (const auto& size : {std::optional<std::size_t>(block.size()), std::optional<std::size_t>()})
        EXPECT_NE(SavedTree(block.data(), size).find("dReverseMaxVelMult"), nullptr);
}

TEST(SavedTree, EndsAtARootThatAnnouncesTooMuch) {
    const Bytes many = root(4097, kSound);
    EXPECT_EQ(SavedTree(many.data(), std::nullopt).find("dDegsPerRay"), nullptr);
    EXPECT_EQ(SavedTree(many.data(), many.size()).find("dDegsPerRay"), nullptr);
    EXPECT_EQ(SavedTree(many.data(), std::nullopt).name(), "CarCamDataChunk9201");
    const Bytes some = root(4096, kSound);
    EXPECT_NE(SavedTree(some.data(), some.size()).find("dDegsPerRay"), nullptr);
}

TEST(SavedTree, TakesNoHeaderThatNoChunkCanHave) {
    Bytes block = root(1, kSound);
    for (const auto& [offset, value] : std::initializer_list<std::pair<int, std::int32_t>>{
             {0, -1}, {4, -1}, {8, -1}, {8, 257}, {0, std::numeric_limits<std::int32_t>::min()}}) {
        Bytes damaged = block;
        util::storeLittleEndian(damaged.data() + offset, value);
        EXPECT_EQ(SavedTree(damaged.data(), std::nullopt).name(), "");
        EXPECT_EQ(SavedTree(damaged.data(), damaged.size()).name(), "");
    }
}

TEST(SavedTree, BelievesAnySizeInsideABlockOfKnownSize) {
    const Bytes longValue = chunkBytes(20, 0, "dMinGroundDistance", bytesOf(1.5) + Bytes(12));
    const Bytes block = root(3, kSound + longValue + kBehind);
    const SavedTree tree(block.data(), block.size());
    EXPECT_EQ(tree.find("dMinGroundDistance")->size, 20u);
    EXPECT_NE(tree.find("dReverseMaxVelMult"), nullptr);
}

// ---- chunks that lie inside another one ----

TEST(SavedTree, EndsAtAPayloadThatHoldsTheHeaderOfAKey) {
    // The payload claims the next chunks, as it would with a size that is too large.
    const Bytes swallowed = Bytes(9, 3) + kBehind + Bytes(50, 3);
    const auto size = static_cast<std::int32_t>(swallowed.size());
    EXPECT_OUTCOME(chunkBytes(size, 0, "future", swallowed), "future", false, false);
    EXPECT_OUTCOME(chunkBytes(size, 0, "cMesh_storedGroundMesh", swallowed), "cMesh_storedGroundMesh", false, false);
    EXPECT_OUTCOME(chunkBytes(size, 0, "andFollowAccMem", swallowed), "andFollowAccMem", false, false);
    // The names alone, or a header of no key, are bytes like others.
    const Bytes harmless = chunkBytes(8, 0, "dReverseMaxVelMulT") + chunkBytes(-1, 0, "dReverseMaxVelMult");
    EXPECT_OUTCOME(chunkBytes(static_cast<std::int32_t>(harmless.size()), 0, "future", harmless), "future", true, true);
}

TEST(SavedTree, LooksNoFurtherIntoAPayloadThanTheHeaderOfAKey) {
    // What follows that header is out of reach here: the block ends with it.
    const Bytes whole = root(1, chunkBytes(60000, 0, "future", Bytes(9, 3) + kBehind));
    const Bytes block(whole.begin(), whole.end() - 8);
    EXPECT_EQ(SavedTree(block.data(), std::nullopt).find("future"), nullptr);
}

TEST(SavedTree, EndsAWheelStoreAtAKeyOfTheRoot) {
    const Bytes child = chunkBytes(16, 0, "x", historyBytes(16, 0, 100, 0));
    const Bytes block = root(3, chunkBytes(0, 3, "wheelstore", child) + kSound + kBehind);
    const SavedTree tree(block.data(), std::nullopt);
    ASSERT_EQ(tree.find("wheelstore")->children.size(), 1u);
    EXPECT_EQ(tree.find("dReverseMaxVelMult"), nullptr);
}

TEST(SavedTree, TakesAChildOfAWheelStoreWithoutANameOnlyAsAHistory) {
    const Bytes history = chunkBytes(16, 0, "", historyBytes(16, 0, 100, 0));
    EXPECT_OUTCOME(chunkBytes(0, 2, "wheelstore", history + history), "wheelstore", true, true);
    const Bytes block = root(1, chunkBytes(0, 2, "wheelstore", history + chunkBytes(48, 0, "", Bytes(48))));
    EXPECT_EQ(SavedTree(block.data(), std::nullopt).find("wheelstore")->children.size(), 1u);
}

TEST(SavedTree, EndsInAnUnknownBranchThatHoldsSuccessiveKeysOfTheRoot) {
    // One may be a coincidence.
    EXPECT_OUTCOME(chunkBytes(0, 1, "branch", kBehind), "branch", true, true);
    const Bytes next = chunkBytes(8, 0, "dVelocityConversionMult", bytesOf(1.0));
    EXPECT_OUTCOME(chunkBytes(0, 2, "branch", next + kBehind), "branch", true, false);
    EXPECT_OUTCOME(chunkBytes(0, 2, "branch", kBehind + next), "branch", true, true);
}

// ---- how many children the root can have ----

/// A tree of a block whose load needs five keys, the first and the last of them dDegsPerRay and dReverseMaxVelMult.
SavedTree treeOfNeeded(const Bytes& block) {
    return SavedTree(block.data(), std::nullopt, [](const std::string&) {
        SavedRows rows;
        for (const char* key :
             {"dDegsPerRay", "dVelocityConversionMult", "dInitialVelocity", "dStartTime", "dReverseMaxVelMult"})
            rows.set(savedRowNumber(key) - 1);
        return rows;
    });
}

TEST(SavedTree, BelievesUpToEightChildrenBehindTheLastNeeded) {
    // Three of the needed keys are lost.
    const Bytes late = chunkBytes(1, 0, "bFixateWheelBottomNodes", {1});
    Bytes eight = late;
    for (int i = 0; i < 7; ++i) eight = chunkBytes(1, 0, "future", {1}) + eight;
    const Bytes enough = root(10, kSound + kBehind + eight);
    EXPECT_NE(treeOfNeeded(enough).find("bFixateWheelBottomNodes"), nullptr);
    const Bytes many = root(11, kSound + kBehind + chunkBytes(1, 0, "future", {1}) + eight);
    EXPECT_EQ(treeOfNeeded(many).find("future"), nullptr);
    EXPECT_NE(treeOfNeeded(many).find("dReverseMaxVelMult"), nullptr);
    EXPECT_NE(SavedTree(many.data(), std::nullopt).find("bFixateWheelBottomNodes"), nullptr)
        << "not told what is needed";
}

TEST(SavedTree, BelievesAnyNumberOfChildrenAheadOfANeededOneOrOutOfOrder) {
    Bytes many;
    for (int i = 0; i < 100; ++i) many = many + chunkBytes(1, 0, "future", {1});
    const Bytes late = chunkBytes(1, 0, "bFixateWheelBottomNodes", {1});
    const Bytes ahead = root(102, kSound + many + kBehind);
    EXPECT_NE(treeOfNeeded(ahead).find("dReverseMaxVelMult"), nullptr);
    const Bytes turned = root(103, kBehind + kSound + many + late);
    const Bytes last = root(101, kBehind + many);
    EXPECT_NE(treeOfNeeded(last).find("future"), nullptr) << "all others may follow";
    EXPECT_NE(treeOfNeeded(turned).find("bFixateWheelBottomNodes"), nullptr);
}

// ---- zeros ----

TEST(SavedTree, ReadsAcrossFewerZerosThanEndABlock) {
    const auto unknown = [](std::size_t zeros) {
        return chunkBytes(static_cast<std::int32_t>(zeros) + 2, 0, "future", Bytes{1} + Bytes(zeros) + Bytes{1});
    };
    EXPECT_OUTCOME(unknown(kZerosThatEndABlock - 1), "future", true, true);
    EXPECT_OUTCOME(unknown(kZerosThatEndABlock), "future", false, false);
    const auto history = [](std::size_t zeros) {
        const auto keys = static_cast<std::uint32_t>(zeros / 16);
        return chunkBytes(16 + 16 * static_cast<std::int32_t>(keys), 0, "andFollowAccMem",
                          historyBytes(16, 16 * keys, 100, keys, Bytes(16 * keys)));
    };
    EXPECT_OUTCOME(history(kZerosThatEndABlock - 16), "andFollowAccMem", true, true);
    EXPECT_OUTCOME(history(2 * kZerosThatEndABlock), "andFollowAccMem", false, false);
    const Bytes record = chunkBytes(368, 0, "sDataChunkSaveStruct", Bytes(368));
    EXPECT_OUTCOME(record, "sDataChunkSaveStruct", true, true);
}

TEST(SavedTree, ReadsLongHistoriesOfAnyValues) {
    const std::uint32_t keys = 20000;
    Bytes packed(16 * keys);
    for (std::uint32_t i = 0; i < keys; ++i) util::storeLittleEndian(packed.data() + 16 * i, 0.04 * i);
    EXPECT_OUTCOME(chunkBytes(16 + 16 * 20000, 0, "andFollowAccMem", historyBytes(16, 16 * keys, 100, keys, packed)),
                   "andFollowAccMem", true, true);
}

#undef EXPECT_OUTCOME

}  // namespace
