// Counts the bytes that a test program holds through operator new. For the one file of a program: it replaces the
// global operators new and delete.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace ond::test {

class CountedMemory {
    /// Each block carries its size in front; 16 bytes keep it aligned, or as many as its alignment.
    static constexpr std::size_t kHead = 16;

  public:
    /// Bytes held at present.
    [[nodiscard]] static std::size_t now() { return s_now; }

    /// Most bytes held during `work` beyond those held before it.
    template <typename Work>
    [[nodiscard]] static std::size_t peakOf(Work work) {
        const std::size_t before = s_now;
        s_peak = before;
        work();
        return s_peak - before;
    }

    static void* take(std::size_t size, std::size_t alignment = kHead) {
        const std::size_t whole = (size + alignment - 1) / alignment * alignment;
        auto* block = static_cast<unsigned char*>(std::aligned_alloc(alignment, whole + alignment));
        if (block == nullptr) throw std::bad_alloc();
        *reinterpret_cast<std::size_t*>(block + alignment - kHead) = size;
        const std::size_t held = s_now += size;
        if (held > s_peak) s_peak = held;
        return block + alignment;
    }
    static void giveBack(void* memory, std::size_t alignment = kHead) {
        if (memory == nullptr) return;
        unsigned char* block = static_cast<unsigned char*>(memory) - alignment;
        s_now -= *reinterpret_cast<std::size_t*>(block + alignment - kHead);
        std::free(block);
    }
    /// As the operators have it.
    static std::size_t bytesOf(std::align_val_t alignment) {
        return std::max(static_cast<std::size_t>(alignment), kHead);
    }

  private:
    inline static std::atomic<std::size_t> s_now{0};
    inline static std::atomic<std::size_t> s_peak{0};
};

}  // namespace ond::test

void* operator new(std::size_t size) { return ond::test::CountedMemory::take(size); }
void* operator new[](std::size_t size) { return ond::test::CountedMemory::take(size); }
void operator delete(void* memory) noexcept { ond::test::CountedMemory::giveBack(memory); }
void operator delete[](void* memory) noexcept { ond::test::CountedMemory::giveBack(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { ond::test::CountedMemory::giveBack(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { ond::test::CountedMemory::giveBack(memory); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return ond::test::CountedMemory::take(size, ond::test::CountedMemory::bytesOf(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return ::operator new(size, alignment);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory, std::align_val_t alignment) noexcept {
    ond::test::CountedMemory::giveBack(memory, ond::test::CountedMemory::bytesOf(alignment));
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t alignment) noexcept {
    ond::test::CountedMemory::giveBack(memory, ond::test::CountedMemory::bytesOf(alignment));
}
