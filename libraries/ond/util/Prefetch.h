// Asks for memory before it is needed, so that it is near when it is. Changes nothing but how long a program takes.
#pragma once

namespace ond::util {

/// Which of the processor's caches the memory is to come to; into the second one come those that are many, or are not
/// needed at once.
enum class Cache { first, second };

/// Asks for the line of memory around an address, which may be any.
template <Cache kCache = Cache::first>
inline void prefetch(const void* address) {
    // The numbers are those of the compiler: to be read, and how near.
    __builtin_prefetch(address, 0, kCache == Cache::first ? 3 : 2);
    // GCC takes a function that only asks for memory for one without effect and drops calls of it. This emits nothing,
    // and is an effect.
    asm volatile("");
}

}  // namespace ond::util
