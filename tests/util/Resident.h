// Which pages of a range the system keeps memory for.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ond::test {

/// How many whole pages among `size` bytes at `memory` are backed, and how many there are.
struct Residency {
    std::size_t backed = 0;
    std::size_t pages = 0;
};

[[nodiscard]] inline Residency residencyOf(const void* memory, std::size_t size) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) / page * page;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(memory) + size) / page * page;
    if (end <= begin) return {};
    std::vector<unsigned char> states((end - begin) / page);
    if (mincore(reinterpret_cast<void*>(begin), end - begin, states.data()) != 0) return {};
    Residency result{0, states.size()};
    for (const unsigned char state : states) result.backed += state & 1u;
    return result;
}

}  // namespace ond::test
