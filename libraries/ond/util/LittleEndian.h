// Numbers as bytes, least significant byte first, at any address and on a host of any byte order.
//
// Written with shifts: optimisers turn each call into one plain load or store where the host's own order is the same.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace ond::util {

namespace detail {
template <typename T>
using UnsignedOfSameSize = std::conditional_t<
    sizeof(T) == 8, std::uint64_t,
    std::conditional_t<sizeof(T) == 4, std::uint32_t, std::conditional_t<sizeof(T) == 2, std::uint16_t, std::uint8_t>>>;
}  // namespace detail

/// Stores the bits of `value` (an integer or an IEEE 754 number) into the `sizeof(T)` bytes at `to`.
template <typename T>
inline void storeLittleEndian(unsigned char* to, T value) {
    static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && sizeof(T) <= 8);
    const auto bits = std::bit_cast<detail::UnsignedOfSameSize<T>>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i) to[i] = static_cast<unsigned char>(bits >> (8 * i));
}

/// Inverse of storeLittleEndian(); a NaN comes out with the payload that went in.
template <typename T>
[[nodiscard]] inline T loadLittleEndian(const unsigned char* from) {
    static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && sizeof(T) <= 8);
    using Bits = detail::UnsignedOfSameSize<T>;
    Bits bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bits = static_cast<Bits>(bits | static_cast<Bits>(Bits{from[i]} << (8 * i)));
    return std::bit_cast<T>(bits);
}

}  // namespace ond::util
