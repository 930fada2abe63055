// Damaged blocks through the module. What is promised without a block's size: with kZerosBehind zero bytes behind it no
// byte further back is ever read, whatever the damage; the answer is 0 or 1; and the vehicle can be released. With few
// zeros that holds where the damage is to a number of children, or where a block ends in front of a chunk or inside a
// header.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "contract/SmallestHost.h"
#include "ond/util/LittleEndian.h"
#include "util/PinnedRandom.h"

namespace ond::test {
namespace {

using Bytes = std::vector<unsigned char>;

/// What a host should have ready.
constexpr std::size_t kZerosBehind = 4096;
constexpr std::size_t kFewZeros = 64;

/// Memory whose last byte lies in front of a page that cannot be read.
class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_readable = (size + page - 1) / page * page;
        m_size = m_readable + page;
        m_memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(m_memory, MAP_FAILED);
        EXPECT_EQ(mprotect(begin() + m_readable, page, PROT_NONE), 0);
    }
    ~GuardedMemory() { munmap(m_memory, m_size); }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    /// Puts the block and that many zeros right in front of the guard.
    const unsigned char* hold(const Bytes& block, std::size_t zeros) {
        EXPECT_LE(block.size() + zeros, m_readable);
        unsigned char* at = begin() + m_readable - zeros - block.size();
        std::copy(block.begin(), block.end(), at);
        std::fill_n(at + block.size(), zeros, static_cast<unsigned char>(0));
        return at;
    }

  private:
    [[nodiscard]] unsigned char* begin() const { return static_cast<unsigned char*>(m_memory); }

    std::size_t m_readable = 0;
    std::size_t m_size = 0;
    void* m_memory = nullptr;
};

/// A scene with a rig, and one block for whoever loads.
class LoadingHost : public smallest::Host {
  public:
    explicit LoadingHost(ovs::CCameraPlugin* plugin) : Host(plugin) {
        for (const char* name :
             {"GravityDirectionMesh", "TopViewCam", "TurnBaseMesh", "CarBodyMesh", "SteeringWheelMesh", "DriverCam",
              "FollowCam", "ExternalForceMesh", "ChassisRelocatorMesh", "TargetMesh", "CarBodyBaseMesh"})
            elements.try_emplace(name, std::string("Car_") + name);
        for (const char* name : {"WheelMesh", "WheelCenterMesh", "WheelRelocatorMesh", "WheelCenterSuspensionMesh"})
            for (const char* corner : {"_FL", "_FR", "_BL", "_BR"})
                elements.try_emplace(std::string(name) + corner, std::string("Car_") + name + corner);
        for (const auto& [name, element] : elements) m_rig.insert(name);
    }
    const void* getChunk(std::int32_t /*reserved*/) override { return m_lent; }

    /// Makes a vehicle, loads the block with that many zeros behind it, and releases the vehicle.
    std::uint64_t load(const Bytes& block, std::size_t zeros) {
        m_lent = m_memory.hold(block, zeros);
        ovs::CCamera* vehicle = create("Car");
        const std::uint64_t answer = vehicle->loadState();
        vehicle->release();
        EXPECT_EQ(transformsOut, 0);
        // An old block makes elements.
        std::erase_if(elements, [this](const auto& entry) { return m_rig.count(entry.first) == 0; });
        return answer;
    }

  private:
    GuardedMemory m_memory{std::size_t{1} << 18};
    std::set<std::string> m_rig;
    const unsigned char* m_lent = nullptr;
};

struct NamedBlock {
    std::string name;
    Bytes bytes;
};

/// The frozen block of every version, and those that vehicles of today save.
std::vector<NamedBlock> frozenBlocks() {
    const std::filesystem::path folder = std::filesystem::path(__FILE__).parent_path() / "../golden/blocks";
    std::vector<NamedBlock> blocks;
    for (const auto& part : {folder, folder / "saved"})
        for (const auto& entry : std::filesystem::directory_iterator(part)) {
            if (entry.path().extension() != ".bin") continue;
            std::ifstream in(entry.path(), std::ios::binary);
            blocks.push_back({part.filename().string() + "/" + entry.path().stem().string(),
                              Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>())});
        }
    std::sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return blocks;
}

/// Offsets of all headers of a whole block, the root's first. A header ends with its name.
struct HeaderPlace {
    std::size_t at;
    std::size_t end;
};

std::size_t collectHeaders(const Bytes& block, std::size_t at, std::vector<HeaderPlace>& places) {
    const auto number = [&](std::size_t offset) {
        return static_cast<std::size_t>(util::loadLittleEndian<std::int32_t>(block.data() + at + offset));
    };
    const std::size_t children = number(4);
    const std::size_t nameEnd = at + 12 + number(8);
    places.push_back({at, nameEnd});
    std::size_t end = nameEnd + number(0);
    for (std::size_t i = 0; i < children; ++i) end = collectHeaders(block, end, places);
    return end;
}

std::vector<HeaderPlace> headersOf(const Bytes& block) {
    std::vector<HeaderPlace> places;
    EXPECT_EQ(collectHeaders(block, 0, places), block.size());
    return places;
}

class Damage {
  public:
    Damage(PinnedRandom& random, const std::vector<NamedBlock>& blocks) : m_random(random), m_blocks(blocks) {
        for (const NamedBlock& block : blocks) m_headers.push_back(headersOf(block.bytes));
    }

    /// One of the blocks, damaged once or twice.
    Bytes next() {
        m_which = below(m_blocks.size());
        Bytes block = m_blocks[m_which].bytes;
        for (std::size_t left = below(4) == 0 ? 2 : 1; left > 0 && !block.empty(); --left) harm(block);
        return block;
    }

  private:
    std::size_t below(std::size_t limit) { return m_random.bits() % limit; }
    unsigned char byte() { return static_cast<unsigned char>(m_random.bits()); }

    void harm(Bytes& block) {
        switch (below(8)) {
            case 0: return block.resize(below(block.size()));
            case 1: return splice(block);
            case 2:
            case 3: return changeNumber(block);
            case 4:
            case 5:
            case 6: return changeBytes(block);
            default: return moveBytes(block);
        }
    }

    void changeBytes(Bytes& block) {
        for (std::size_t i = 1 + below(4); i > 0; --i) block[below(block.size())] = byte();
    }

    /// The front of this block and the back of another, half of the time cut between chunks.
    void splice(Bytes& block) {
        const std::size_t other = below(m_blocks.size());
        const Bytes& back = m_blocks[other].bytes;
        const bool between = below(2) == 0;
        const auto place = [&](std::size_t which, std::size_t size) {
            const auto& headers = m_headers[which];
            return between ? std::min(size, headers[below(headers.size())].at) : below(size);
        };
        block.resize(place(m_which, block.size()));
        block.insert(block.end(), back.begin() + static_cast<std::ptrdiff_t>(place(other, back.size())), back.end());
    }

    /// Another number in a header: sizes and counts that are a little, much or absurdly wrong.
    void changeNumber(Bytes& block) {
        const auto& headers = m_headers[m_which];
        const std::size_t at = headers[below(headers.size())].at + 4 * below(3);
        if (at + 4 > block.size()) return;
        const auto old = util::loadLittleEndian<std::uint32_t>(block.data() + at);
        const std::array<std::uint32_t, 10> wrong{old + 1,
                                                  old - 1,
                                                  old + 4,
                                                  old + byte(),
                                                  old + (std::uint32_t{byte()} << 8),
                                                  old + (std::uint32_t{byte()} << 16),
                                                  0,
                                                  byte(),
                                                  0x7fffffff,
                                                  0xffffffff};
        util::storeLittleEndian(block.data() + at, wrong[below(wrong.size())]);
    }

    /// Some bytes are lost, or come twice, or are zeros.
    void moveBytes(Bytes& block) {
        const std::size_t from = below(block.size());
        const std::size_t count = std::min(block.size() - from, 1 + below(std::size_t{1} << below(13)));
        const auto begin = block.begin() + static_cast<std::ptrdiff_t>(from);
        const auto end = begin + static_cast<std::ptrdiff_t>(count);
        const Bytes part(begin, end);
        switch (below(3)) {
            case 0: block.erase(begin, end); break;
            case 1: block.insert(end, part.begin(), part.end()); break;
            default: std::fill(begin, end, static_cast<unsigned char>(0));
        }
    }

    PinnedRandom& m_random;
    const std::vector<NamedBlock>& m_blocks;
    std::vector<std::vector<HeaderPlace>> m_headers;
    std::size_t m_which = 0;
};

class DamagedLoad : public testing::Test {
  protected:
    smallest::Module module{VEHICLE_MODULE_PATH};
    ovs::CCameraPlugin* plugin = module.plugin(0);
    LoadingHost host{plugin};
    const std::vector<NamedBlock> blocks = frozenBlocks();

    void TearDown() override { plugin->release(); }
};

TEST_F(DamagedLoad, IsAnsweredAndStaysInsideTheBlockAndItsZeros) {
    constexpr std::uint64_t kSeed = 20261122;
    std::printf("seed %llu\n", static_cast<unsigned long long>(kSeed));
    PinnedRandom random(kSeed);
    Damage damage(random, blocks);
    std::array<int, 2> answers{};
    for (int round = 0; round < 20000; ++round) {
        const std::uint64_t answer = host.load(damage.next(), kZerosBehind);
        ASSERT_LE(answer, 1u) << "round " << round;
        ++answers[answer];
    }
    // Both happen, or the test would say nothing.
    EXPECT_GT(answers[0], 1000);
    EXPECT_GT(answers[1], 5000);
}

TEST_F(DamagedLoad, OfABlockThatEndsInOrBeforeAHeaderNeedsFewZeros) {
    for (std::size_t i = 0; i < blocks.size(); i += 9) {
        const NamedBlock& block = blocks[i];
        for (const HeaderPlace& header : headersOf(block.bytes))
            for (const std::size_t size : {header.at, header.at + 5, header.at + 9, header.at + 12, header.end - 1}) {
                const Bytes cut(block.bytes.begin(), block.bytes.begin() + static_cast<std::ptrdiff_t>(size));
                ASSERT_LE(host.load(cut, kFewZeros), 1u) << block.name << " at " << size;
            }
    }
}

TEST_F(DamagedLoad, OfARootWithAWrongNumberOfChildrenNeedsFewZeros) {
    for (const NamedBlock& block : blocks) {
        ASSERT_EQ(host.load(block.bytes, 0), 0u) << block.name;
        Bytes wrong = block.bytes;
        const auto children = util::loadLittleEndian<std::uint32_t>(wrong.data() + 4);
        for (const std::uint32_t more : {1u, 2u, 8u, 9u, 100u, 3000u}) {
            util::storeLittleEndian(wrong.data() + 4, children + more);
            ASSERT_EQ(host.load(wrong, kFewZeros), 0u) << block.name << " and " << more;
        }
    }
}

TEST_F(DamagedLoad, OfARootWithFarTooManyChildrenNeedsNoZeros) {
    // Behind the last key of its version a block can have a few more, but not many: no byte behind it is looked at.
    for (const NamedBlock& block : blocks) {
        ASSERT_EQ(host.load(block.bytes, 0), 0u) << block.name;
        Bytes wrong = block.bytes;
        const auto children = util::loadLittleEndian<std::uint32_t>(wrong.data() + 4);
        for (const std::uint32_t more : {9u, 50u, 164u, 2000u}) {
            util::storeLittleEndian(wrong.data() + 4, children + more);
            ASSERT_EQ(host.load(wrong, 0), 0u) << block.name << " and " << more;
        }
    }
}

}  // namespace
}  // namespace ond::test
