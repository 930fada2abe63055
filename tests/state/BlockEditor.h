// A saved block that tests take apart and put together again.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "ond/util/DataChunk.h"
#include "ond/util/LittleEndian.h"
#include "state/FakeHost.h"

namespace ond::test {

inline std::filesystem::path goldenBlocks() {
    return std::filesystem::path(__FILE__).parent_path() / "../golden/blocks";
}

inline Bytes readGoldenBlock(const std::string& name) {
    std::ifstream in(goldenBlocks() / (name + ".bin"), std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_GT(bytes.size(), 2000u) << name;
    return bytes;
}

inline Bytes bytesOf(double value) {
    Bytes bytes(8);
    util::storeLittleEndian(bytes.data(), value);
    return bytes;
}

/// A saved history from its four header fields and its keys.
inline Bytes historyBytes(std::uint32_t header, std::uint32_t payload, std::uint32_t version, std::uint32_t count,
                          const Bytes& keys = {}) {
    Bytes bytes(16);
    util::storeLittleEndian(bytes.data(), header);
    util::storeLittleEndian(bytes.data() + 4, payload);
    util::storeLittleEndian(bytes.data() + 8, version);
    util::storeLittleEndian(bytes.data() + 12, count);
    bytes.insert(bytes.end(), keys.begin(), keys.end());
    return bytes;
}

/// A history of flags.
inline Bytes flagHistory(std::initializer_list<std::pair<double, bool>> keys) {
    Bytes packed;
    for (const auto& [time, value] : keys) {
        const Bytes bytes = bytesOf(time);
        packed.insert(packed.end(), bytes.begin(), bytes.end());
        packed.push_back(value ? 1 : 0);
    }
    const auto count = static_cast<std::uint32_t>(keys.size());
    return historyBytes(16, 9 * count, 100, count, packed);
}

/// A history of numbers.
inline Bytes numberHistory(std::initializer_list<std::pair<double, double>> keys) {
    Bytes packed;
    for (const auto& [time, value] : keys)
        for (const double number : {time, value}) {
            const Bytes bytes = bytesOf(number);
            packed.insert(packed.end(), bytes.begin(), bytes.end());
        }
    const auto count = static_cast<std::uint32_t>(keys.size());
    return historyBytes(16, 16 * count, 100, count, packed);
}

class BlockEditor {
  public:
    std::string name;
    std::vector<util::DataChunk> children;

    /// Takes the frozen block of a version apart.
    explicit BlockEditor(const std::string& version) {
        const Bytes bytes = readGoldenBlock(version);
        util::DataChunk tree;
        EXPECT_NE(tree.deserialize(bytes.data(), bytes.size()), nullptr);
        name = tree.getName();
        for (int i = 0; i < tree.getNumChildren(); ++i) children.push_back(tree.getChild(i));
    }

    [[nodiscard]] bool has(const std::string& key) const { return find(key) != children.size(); }

    BlockEditor& remove(const std::string& key) {
        const std::size_t at = find(key);
        EXPECT_LT(at, children.size()) << key;
        if (at < children.size()) children.erase(children.begin() + static_cast<std::ptrdiff_t>(at));
        return *this;
    }

    /// Replaces the payload of a leaf, or appends it.
    BlockEditor& set(const std::string& key, const Bytes& payload) {
        const util::DataChunk leaf(key, payload.data(), static_cast<int>(payload.size()));
        const std::size_t at = find(key);
        if (at < children.size())
            children[at] = leaf;
        else
            children.push_back(leaf);
        return *this;
    }

    /// Puts a leaf in front of all others.
    BlockEditor& prepend(const std::string& key, const Bytes& payload) {
        children.insert(children.begin(), util::DataChunk(key, payload.data(), static_cast<int>(payload.size())));
        return *this;
    }

    /// Keeps only the first `count` children of a branch.
    BlockEditor& shorten(const std::string& key, int count) {
        const std::size_t at = find(key);
        EXPECT_LT(at, children.size()) << key;
        util::DataChunk branch(key);
        for (int i = 0; i < count; ++i) branch.addChild(children[at].getChild(i));
        children[at] = branch;
        return *this;
    }

    [[nodiscard]] Bytes payload(const std::string& key) const {
        const util::DataChunk& chunk = children.at(find(key));
        const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
        return {bytes, bytes + chunk.getSize()};
    }

    [[nodiscard]] Bytes bytes() const {
        util::DataChunk root(name);
        for (const util::DataChunk& child : children) root.addChild(child);
        int size = 0;
        const auto* flat = static_cast<const unsigned char*>(root.serialize(&size));
        return {flat, flat + size};
    }

  private:
    [[nodiscard]] std::size_t find(const std::string& key) const {
        return static_cast<std::size_t>(
            std::find_if(children.begin(), children.end(),
                         [&key](const util::DataChunk& chunk) { return chunk.getName() == key; }) -
            children.begin());
    }
};

/// Loads a block into the car, whose scene is the caller's matter.
inline std::uint64_t load(Car& car, const Bytes& block) {
    car.host.block = block;
    car.host.hasBlock = true;
    return car->loadState();
}

inline std::uint64_t load(Car& car, const BlockEditor& block) { return load(car, block.bytes()); }

}  // namespace ond::test
