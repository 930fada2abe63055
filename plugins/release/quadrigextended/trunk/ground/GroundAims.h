// Lines that are not far from upright, told apart by where they come to one unit lower: in which square of a grid
// around the point straight below. The line that comes to (x, z) there runs along (x, -1, z), or the other way.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace ond::ovs::addon {

namespace ground_aim {
inline constexpr std::uint32_t kSide = 11;  ///< squares along x, and along z
inline constexpr float kReach = 1.1F;       ///< from the middle to the rim of the grid, along x and along z
inline constexpr float kSquare = 2.0F * kReach / kSide;
/// In place of a square, of a line that comes to none.
inline constexpr std::uint32_t kOutside = 0xffffffffU;
}  // namespace ground_aim

/// A bit per square of the grid; squares are numbered along x, row behind row along z.
struct GroundAims {
    static constexpr std::size_t kWords = (ground_aim::kSide * ground_aim::kSide + 31) / 32;
    std::array<std::uint32_t, kWords> word{};

    [[nodiscard]] static constexpr GroundAims all() {
        GroundAims aims;
        aims.word.fill(0xffffffffU);
        return aims;
    }
    constexpr void add(std::uint32_t square) { word[square / 32] |= 1U << square % 32; }
    [[nodiscard]] constexpr bool has(std::uint32_t square) const {
        return (word[square / 32] >> square % 32 & 1U) != 0;
    }
    [[nodiscard]] constexpr int count() const {
        int count = 0;
        for (const std::uint32_t bits : word) count += std::popcount(bits);
        return count;
    }
    [[nodiscard]] constexpr bool isNone() const {
        std::uint32_t some = 0;
        for (const std::uint32_t bits : word) some |= bits;
        return some == 0;
    }
    [[nodiscard]] constexpr bool hasAll(const GroundAims& other) const {
        std::uint32_t more = 0;
        for (std::size_t i = 0; i < kWords; ++i) more |= other.word[i] & ~word[i];
        return more == 0;
    }
    constexpr GroundAims& operator|=(const GroundAims& other) {
        for (std::size_t i = 0; i < kWords; ++i) word[i] |= other.word[i];
        return *this;
    }
    constexpr GroundAims& operator&=(const GroundAims& other) {
        for (std::size_t i = 0; i < kWords; ++i) word[i] &= other.word[i];
        return *this;
    }
};

}  // namespace ond::ovs::addon
