// Loading damaged blocks: whatever the damage, the answer is 0 or 1, nothing is read where no block is, and the vehicle
// can be released.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "state/BlockEditor.h"
#include "state/LoadState.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond;
using namespace ond::test;
using ovs::addon::loadStateFrom;

const char* const kVersions[] = {"100", "110", "8118", "9201"};

RigAge ageFor(const std::string& version) {
    return version == "100" || version == "110" ? RigAge::numbered : RigAge::current;
}

/// Memory whose next page, behind its last byte, cannot be read: a load that runs past the end of a block dies.
class Fence {
  public:
    explicit Fence(const Bytes& block) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_size = (block.size() + page - 1) / page * page + page;
        m_memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(m_memory, MAP_FAILED);
        m_begin = static_cast<unsigned char*>(m_memory) + (m_size - page - block.size());
        std::copy(block.begin(), block.end(), m_begin);
        EXPECT_EQ(mprotect(static_cast<unsigned char*>(m_memory) + (m_size - page), page, PROT_NONE), 0);
    }
    ~Fence() { munmap(m_memory, m_size); }
    Fence(const Fence&) = delete;
    Fence& operator=(const Fence&) = delete;
    [[nodiscard]] const unsigned char* begin() const { return m_begin; }

  private:
    void* m_memory;
    std::size_t m_size;
    unsigned char* m_begin;
};

/// Loads a block of which the host tells no size.
std::uint64_t loadFenced(Car& car, const Bytes& block) {
    const Fence fence(block);
    car.host.outsideBlock = fence.begin();
    putRig(car.host);
    return car->loadState();
}

void expectAnswer(std::uint64_t result) { EXPECT_TRUE(result == 0 || result == 1) << result; }

TEST(DamagedBlock, TruncatedAnywhereFails) {
    for (const std::string version : kVersions) {
        const Bytes whole = readGoldenBlock(version);
        for (std::size_t size = 0; size < whole.size(); size += 7) {
            const Bytes block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            Car car;
            putRig(car.host, ageFor(version));
            EXPECT_EQ(loadStateFrom(*car, block.data(), block.size()), 1u) << version << " at " << size;
        }
    }
}

TEST(DamagedBlock, OfNoiseFails) {
    SCOPED_TRACE("seed 81");
    PinnedRandom random(81);
    for (int round = 0; round < 500; ++round) {
        Bytes block(random.bits() % 4096);
        for (unsigned char& byte : block) byte = static_cast<unsigned char>(random.bits());
        Car car;
        putRig(car.host);
        EXPECT_EQ(loadStateFrom(*car, block.data(), block.size()), 1u);
        if (block.size() < 12) continue;
        // Nearly no noise gets past the length of the root's name, with or without a size.
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, block), 1u);
    }
}

TEST(DamagedBlock, WithSingleBytesChangedIsAnswered) {
    SCOPED_TRACE("seed 82");
    PinnedRandom random(82);
    int loaded = 0;
    int failed = 0;
    for (const std::string version : kVersions) {
        const Bytes whole = readGoldenBlock(version);
        for (int round = 0; round < 1500; ++round) {
            Bytes block = whole;
            const int changes = 1 + static_cast<int>(random.bits() % 4);
            for (int i = 0; i < changes; ++i)
                block[random.bits() % block.size()] = static_cast<unsigned char>(random.bits());
            Car car;
            putRig(car.host, ageFor(version));
            const std::uint64_t result = loadStateFrom(*car, block.data(), block.size());
            expectAnswer(result);
            ++(result == 0 ? loaded : failed);
            EXPECT_EQ(car.host.taken, 0);
            if (result == 0) {
                car->saveState();
            }
        }
    }
    // Both happen, or the test would say nothing.
    EXPECT_GT(loaded, 500);
    EXPECT_GT(failed, 500);
}

TEST(DamagedBlock, WithOneSizeChangedIsNeverReadPastItsEnd) {
    // One header field of one chunk at a time gets a wrong number. The host knows no size and the block ends in front
    // of memory that cannot be read.
    for (const std::string version : {"8118", "9201"}) {
        const Bytes whole = readGoldenBlock(version);
        const BlockEditor parts(version);
        std::size_t at = 12 + parts.name.size();
        for (const util::DataChunk& child : parts.children) {
            for (const std::size_t field : {std::size_t{0}, std::size_t{8}}) {  // payload size, name length
                const auto original = util::loadLittleEndian<std::int32_t>(whole.data() + at + field);
                for (const std::int32_t wrong :
                     {original + 1, original + 7, original + 256, original + 65536, original + 0x1000000, original - 1,
                      0, -1, 0x7fffffff, std::numeric_limits<std::int32_t>::min()}) {
                    SCOPED_TRACE(version + " " + child.getName() + " " + std::to_string(wrong));
                    Bytes block = whole;
                    util::storeLittleEndian(block.data() + at + field, wrong);
                    Car car;
                    expectAnswer(loadFenced(car, block));
                }
            }
            util::DataChunk copy(child);
            int size = 0;
            copy.serialize(&size);
            at += static_cast<std::size_t>(size);
        }
        EXPECT_EQ(at, whole.size());
    }
}

TEST(DamagedBlock, WithAWrongNumberOfChildrenOfALeafIsNeverReadPastItsEnd) {
    const Bytes whole = readGoldenBlock("9201");
    const BlockEditor parts("9201");
    std::size_t at = 12 + parts.name.size();
    for (const util::DataChunk& child : parts.children) {
        for (const std::int32_t wrong : {1, 24, 25, 4096, 4097, 0x7fffffff, -1}) {
            SCOPED_TRACE(child.getName() + " " + std::to_string(wrong));
            Bytes block = whole;
            util::storeLittleEndian(block.data() + at + 4, wrong);
            Car car;
            expectAnswer(loadFenced(car, block));
        }
        util::DataChunk copy(child);
        int size = 0;
        copy.serialize(&size);
        at += static_cast<std::size_t>(size);
    }
}

TEST(DamagedBlock, IntactIsReadUpToItsLastByteAndNoFurther) {
    for (const char* version : {"9201", "8143", "8148", "new"}) {
        Car car;
        EXPECT_EQ(
            loadFenced(car, version == std::string("new") ? readGoldenBlock("saved/new") : readGoldenBlock(version)),
            0u);
    }
}

TEST(DamagedBlock, LeavesAVehicleThatCanBeReleased) {
    const Bytes whole = readGoldenBlock("9201");
    for (const std::size_t size : {std::size_t{0}, std::size_t{12}, whole.size() / 2, whole.size() - 1}) {
        Car car;
        putRig(car.host);
        EXPECT_EQ(loadStateFrom(*car, whole.data(), size), 1u);
    }  // released at the end of its scope
}

TEST(DamagedBlock, ThatPromisesManyKeysAllocatesNoneOfThem) {
    for (const std::uint32_t count : {70000u, 0x0fffffffu, 0xffffffffu}) {
        Car car;
        putRig(car.host);
        BlockEditor block("9201");
        block.set("andFollowAccMem", historyBytes(16, count * 16, 100, count));
        expectAnswer(load(car, block));
        EXPECT_EQ(car->andFollowAccMem.keys.capacity(), 0u) << count;
    }
}

}  // namespace
