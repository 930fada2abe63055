// The saved block of a vehicle, looked at and changed by a test: what a host keeps in its scene file.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "ond/util/AVar.h"
#include "ond/util/DataChunk.h"

namespace ond::test {

class SavedBlock {
  public:
    explicit SavedBlock(const std::vector<unsigned char>& bytes) {
        m_whole = m_root.deserialize(bytes.data(), bytes.size()) != nullptr;
    }

    [[nodiscard]] bool isWhole() const { return m_whole; }
    [[nodiscard]] const util::DataChunk& root() const { return m_root; }

    [[nodiscard]] std::vector<unsigned char> bytes() {
        int size = 0;
        const auto* first = static_cast<const unsigned char*>(m_root.serialize(&size));
        return {first, first + size};
    }

    /// The plain value of a leaf; of a leaf that is not there, or too short, the default.
    template <typename T>
    [[nodiscard]] T value(const std::string& key) const {
        T out{};
        if (const void* data = m_root.findData(key, sizeof(T))) std::memcpy(&out, data, sizeof(T));
        return out;
    }

    /// Overwrites the value of a leaf that is there.
    template <typename T>
    void set(const std::string& key, const T& value) {
        m_root.getChild(key).setData(&value, sizeof(T));
    }

    /// A number of the record leaf, by its byte offset.
    [[nodiscard]] double record(int offset) const {
        double out = 0.0;
        const void* data = m_root.findData("sDataChunkSaveStruct", offset + 8);
        if (data != nullptr) std::memcpy(&out, static_cast<const unsigned char*>(data) + offset, 8);
        return out;
    }
    void setRecord(int offset, double value) {
        auto* data = static_cast<unsigned char*>(m_root.getChild("sDataChunkSaveStruct").getData());
        std::memcpy(data + offset, &value, 8);
    }

    /// The history of an animated variable.
    template <typename V>
    [[nodiscard]] V variable(const std::string& key) const {
        return read<V>(m_root.getChild(key));
    }
    [[nodiscard]] util::AVar_Linear<double> linear(const std::string& key) const {
        return variable<util::AVar_Linear<double>>(key);
    }
    /// One of the six histories of a wheel; see WheelVariable.
    [[nodiscard]] util::AVar_Linear<double> wheel(int corner, int which) const {
        return read<util::AVar_Linear<double>>(m_root.getChild("wheelstore").getChild(6 * corner + which));
    }

  private:
    template <typename V>
    [[nodiscard]] static V read(const util::DataChunk& leaf) {
        V variable;
        if (leaf.getData() != nullptr) variable.read(leaf.getData(), static_cast<std::size_t>(leaf.getSize()));
        return variable;
    }

    util::DataChunk m_root;
    bool m_whole;
};

/// Places of the histories of a wheel in "wheelstore".
enum WheelVariable {
    kSuspZeroDiff = 0,
    kSuspZeroDiffPrev = 1,
    kTotalPitch = 2,
    kCurrDelta = 3,
    kCurrDeltaW = 4,
    kGroundNormalDiff = 5,
};

}  // namespace ond::test
