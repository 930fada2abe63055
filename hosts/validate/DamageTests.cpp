// Blocks that are not what was saved. A load answers 0 or 1 for them, and the object lives on or is released.
#include <algorithm>
#include <cstring>
#include <string>

#include "ond/util/DataChunk.h"

#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// The block of an object that drove a little, and the elements that it left in the scene.
class Damage {
  public:
    explicit Damage(Check& check) : m_module(check), m_world(check, m_module) {
        StrictHost& host = m_world.addRigged("car");
        m_world.run(host, 0, 3);
        whole = savedBlock(m_world, host);
        m_world.hosts.clear();
    }

    /// Gives the block to a new object, with zeros behind it up to its former length and beyond.
    /// @return the answer
    std::uint64_t load(Bytes block) {
        block.resize(std::max(block.size(), whole.size()));
        StrictHost& host = m_world.add("car");
        host.expectsFinite = false;
        host.declare();
        // Not driven: numbers of such a block may be anything, also what keeps a frame busy for hours.
        const std::uint64_t answer = host.load(block);
        if (answer == 0) {
            host.showFrame(0.0);
            (void)host.save();
        }
        m_world.hosts.pop_back();
        return answer;
    }

    Bytes whole;

  private:
    ModuleFile m_module;
    World m_world;
};

/// The name of the chunk that the block holds; empty if it holds none.
std::string chunkName(const Bytes& block) {
    util::DataChunk root;
    root.deserialize(block.data(), block.size());
    return root.getName();
}

void put(Bytes& block, std::size_t at, std::uint32_t number) {
    if (at + sizeof number <= block.size()) std::memcpy(block.data() + at, &number, sizeof number);
}

std::uint32_t numberAt(const Bytes& block, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, block.data() + at, sizeof number);
    return number;
}

/// The head and the name of a chunk without a payload.
Bytes head(std::uint32_t children, const std::string& name) {
    Bytes bytes(12);
    put(bytes, 4, children);
    put(bytes, 8, static_cast<std::uint32_t>(name.size()));
    bytes.insert(bytes.end(), name.begin(), name.end());
    return bytes;
}

/// Where the fields of the chunks' heads stand: payload size, number of children, length of the name.
std::vector<std::size_t> headFields(const Bytes& block) {
    std::vector<std::size_t> places;
    std::size_t at = 0;
    while (at + 12 <= block.size()) {
        const std::size_t payload = numberAt(block, at);
        const std::size_t name = numberAt(block, at + 8);
        if (payload > block.size() || name > 256) break;
        places.insert(places.end(), {at, at + 4, at + 8});
        at += 12 + name + payload;
    }
    return places;
}

}  // namespace

void truncatedBlocks(Check& check) {
    Damage damage(check);
    const std::size_t length = damage.whole.size();
    std::vector<std::size_t> cuts;
    for (std::size_t cut = 1; cut < std::min<std::size_t>(length, 48); ++cut) cuts.push_back(cut);
    for (std::size_t back = 1; back < std::min<std::size_t>(length, 16); ++back) cuts.push_back(length - back);
    for (int i = 0; i < 120 && length > 1; ++i) cuts.push_back(1 + check.below(length - 1));
    const std::uint64_t before = damage.load(damage.whole);
    for (const std::size_t cut : cuts)
        (void)damage.load(Bytes(damage.whole.begin(), damage.whole.begin() + static_cast<std::ptrdiff_t>(cut)));
    check.expect(damage.load(damage.whole) == before,
                 "loadState() answered differently for the same whole block behind loads of damaged ones into other "
                 "objects; objects are independent of each other");
}

void flippedBlocks(Check& check) {
    Damage damage(check);
    for (int i = 0; i < 250; ++i) {
        Bytes block = damage.whole;
        for (std::uint64_t flips = 1 + check.below(6); flips > 0; --flips)
            block[check.below(block.size())] ^= static_cast<unsigned char>(1U << check.below(8));
        (void)damage.load(std::move(block));
    }
}

void randomBlocks(Check& check) {
    Damage damage(check);
    // Only of a module whose own blocks have a name can it be told that another one is not its own.
    const std::string name = chunkName(damage.whole);
    const auto expectRefusal = [&](Bytes block) {
        const bool foreign = !name.empty() && chunkName(block).substr(0, 4) != name.substr(0, 4);
        const std::uint64_t answer = damage.load(std::move(block));
        check.expect(!foreign || answer != 0,
                     "loadState() answered 0 for a block of noise, although its own is called " + cited(name) +
                         "; it answers 1 when the block cannot be read");
    };
    for (int i = 0; i < 150; ++i) {
        Bytes block(1 + check.below(3000));
        const bool small = i % 3 == 0;
        for (unsigned char& byte : block) byte = static_cast<unsigned char>(small ? check.below(4) : check.random());
        if (i % 2 == 0) {
            // A head that makes sense, so that the noise gets further in.
            put(block, 0, static_cast<std::uint32_t>(check.below(64)));
            put(block, 4, static_cast<std::uint32_t>(check.below(200)));
            put(block, 8, static_cast<std::uint32_t>(check.below(40)));
        }
        expectRefusal(std::move(block));
    }
    for (const int byte : {0x00, 0x20, 0x7F, 0xFF}) expectRefusal(Bytes(512, static_cast<unsigned char>(byte)));
}

void deepBlocks(Check& check) {
    Damage damage(check);
    const std::string name = chunkName(damage.whole);
    // Chunks within chunks, each without a name and a payload, below a root of the object's own name.
    std::vector<std::size_t> depths = {3, 100};
    // As deep as only damage is: a reader that calls itself for each level has long run out of stack.
    if (check.level >= Level::strict) depths.push_back(60000);
    for (const std::size_t depth : depths) {
        Bytes block = head(1, name);
        const Bytes link = head(1, "");
        for (std::size_t i = 0; i < depth; ++i) block.insert(block.end(), link.begin(), link.end());
        const Bytes last = head(0, "");
        block.insert(block.end(), last.begin(), last.end());
        (void)damage.load(std::move(block));
    }
    // And many beside each other.
    constexpr std::uint32_t kMany = 20000;
    Bytes block = head(kMany, name);
    block.resize(block.size() + std::size_t{12} * kMany);
    (void)damage.load(std::move(block));
}

void oversizedLengths(Check& check) {
    Damage damage(check);
    std::vector<std::size_t> places = headFields(damage.whole);
    if (places.empty())
        for (std::size_t at = 0; at + 4 <= damage.whole.size() && at < 64; at += 4) places.push_back(at);
    std::shuffle(places.begin(), places.end(), check.random);
    if (places.size() > 60) places.resize(60);
    for (const std::size_t place : places)
        for (const std::uint32_t number : {0x7FFFFFFFU, 0xFFFFFFFFU, 0x80000000U, 0x10000000U, 257U}) {
            Bytes block = damage.whole;
            put(block, place, number);
            (void)damage.load(std::move(block));
        }
}

}  // namespace ond::validate::tests
