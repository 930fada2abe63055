// Hashes of whole runs: the same run gives the same bits on every build of this project.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace ond::test {

/// FNV-1a over the bits of numbers, so that a difference in the last place shows.
class BitHash {
  public:
    void add(double value) { add(std::bit_cast<std::uint64_t>(value)); }
    void add(std::uint64_t bits) {
        for (int i = 0; i < 8; ++i) {
            m_hash ^= (bits >> (8 * i)) & 0xff;
            m_hash *= 0x100000001b3;
        }
    }
    void add(std::string_view text) {
        for (const char c : text) {
            m_hash ^= static_cast<unsigned char>(c);
            m_hash *= 0x100000001b3;
        }
    }
    [[nodiscard]] std::uint64_t value() const { return m_hash; }

  private:
    std::uint64_t m_hash = 0xcbf29ce484222325;
};

/// Hash of what the platform's mathematical functions give for a fixed set of arguments. The C library picks its
/// variants by processor, and they may differ in the last place: recorded hashes hold where this one is equal.
[[nodiscard]] std::uint64_t mathLibraryFingerprint();

/// Writes the hash of this build to the build folder, where the check compares all builds of one machine, and compares
/// it with the hash recorded in tests/determinism/recorded/NAME.txt. On a platform without a record the test is
/// skipped with the line to add; without any record it fails.
/// @param advice where the hash is another one: how to find out why
void expectGoldenHash(const std::string& name, std::uint64_t hash, const std::string& advice = {});

}  // namespace ond::test
