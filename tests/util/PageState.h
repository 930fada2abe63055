// What the system says of pages: which it keeps memory for, and whether it was asked for large ones.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace ond::test {

/// How many whole pages among `size` bytes at `memory` are backed, and how many there are.
struct Residency {
    std::size_t backed = ~std::size_t{0};  ///< as here if the system does not tell
    std::size_t pages = 0;
};

[[nodiscard]] inline Residency residencyOf(const void* memory, std::size_t size) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) / page * page;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(memory) + size) / page * page;
    if (end <= begin) return {0, 0};
    std::vector<unsigned char> states((end - begin) / page);
    if (mincore(reinterpret_cast<void*>(begin), end - begin, states.data()) != 0) return {};
    Residency result{0, states.size()};
    for (const unsigned char state : states) result.backed += state & 1u;
    return result;
}

enum class Wish {
    unknown,  ///< the system has no large pages, or does not tell
    none,
    large,
};

/// What was wished for at an address.
[[nodiscard]] inline Wish wishAt(const void* memory) {
    if (!std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled")) return Wish::unknown;
    std::ifstream maps("/proc/self/smaps");
    const auto at = reinterpret_cast<std::uintptr_t>(memory);
    bool isInside = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%zx-%zx ", &begin, &end) == 2) isInside = begin <= at && at < end;
        if (isInside && line.rfind("VmFlags:", 0) == 0)
            return line.find(" hg") != std::string::npos ? Wish::large : Wish::none;
    }
    return Wish::unknown;
}

}  // namespace ond::test
