// Reads a flat block whose size nobody told: what comes is compared with what must come before the next byte is
// touched.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "ond/util/AVar.h"

namespace ond::test {

/// Goes over a block from front to back. Behind the first thing that is not as expected it reads nothing more.
class BlockReader {
  public:
    explicit BlockReader(const void* block) : m_at(static_cast<const unsigned char*>(block)) {}

    [[nodiscard]] bool isSound() const { return m_sound; }

    void expectRoot(const std::string& name, int children) { expectHeader(name, 0, children); }

    void read(const std::string& name, double& value) {
        if (!readPlain(name, value)) return;
        m_sound = std::isfinite(value);
    }
    void read(const std::string& name, std::int32_t& value) { readPlain(name, value); }
    /// A flag may be any byte in a damaged block.
    void read(const std::string& name, bool& value) {
        unsigned char byte = 0;
        if (!readPlain(name, byte)) return;
        m_sound = byte <= 1;
        value = byte == 1;
    }
    /// Keys must follow each other, so that the zeros behind a block that was cut off are none.
    void read(const std::string& name, util::AVar_Linear<double>& history) {
        const std::int32_t size = readSize(name);
        std::uint32_t header[4] = {};
        if (!m_sound || !take(header, size >= 16 ? 16 : 0)) return;
        m_sound = header[0] == 16 && header[2] == 100 && header[1] == header[3] * 16ULL &&
                  header[1] + 16ULL == static_cast<std::uint64_t>(size);
        history.keys.clear();
        for (std::uint32_t i = 0; m_sound && i < header[3]; ++i) readKey(history);
    }

  private:
    void readKey(util::AVar_Linear<double>& history) {
        double key[2] = {};
        if (!take(key, sizeof key)) return;
        const bool follows = history.keys.empty() || key[0] > history.keys.back().time;
        m_sound = follows && std::isfinite(key[0]) && std::isfinite(key[1]);
        if (m_sound) history.setKey(key[0], key[1]);
    }

    template <typename T>
    bool readPlain(const std::string& name, T& value) {
        expectHeader(name, sizeof value, 0);
        return take(&value, sizeof value);
    }

    void expectHeader(const std::string& name, std::int32_t size, std::int32_t children) {
        const std::int32_t announced = readSize(name, children);
        m_sound = m_sound && announced == size;
    }

    /// The announced size of the payload of a chunk of this name.
    std::int32_t readSize(const std::string& name, std::int32_t children = 0) {
        std::int32_t header[3] = {};
        if (!take(header, sizeof header)) return 0;
        m_sound = header[0] >= 0 && header[1] == children && header[2] == static_cast<std::int32_t>(name.size());
        m_sound = m_sound && std::memcmp(m_at, name.data(), name.size()) == 0;
        m_at += name.size();
        return header[0];
    }

    bool take(void* to, std::size_t size) {
        if (!m_sound) return false;
        std::memcpy(to, m_at, size);
        m_at += size;
        return true;
    }

    const unsigned char* m_at;
    bool m_sound = true;
};

}  // namespace ond::test
