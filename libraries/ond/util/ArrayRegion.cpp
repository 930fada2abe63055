#include "ond/util/ArrayRegion.h"

#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define CHECKS_ADDRESSES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CHECKS_ADDRESSES
#endif
#endif
#ifdef CHECKS_ADDRESSES
#include <sanitizer/asan_interface.h>
#endif

namespace ond::util {

namespace {

/// For the address sanitizer: whether anybody may touch the memory.
void setUsable([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes, [[maybe_unused]] bool isUsable) {
#ifdef CHECKS_ADDRESSES
    if (isUsable) {
        __asan_unpoison_memory_region(memory, bytes);
    } else {
        __asan_poison_memory_region(memory, bytes);
    }
#endif
}

}  // namespace

/// At the beginning of its own memory.
struct alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) ArrayRegion::Region {
    std::size_t size;    ///< bytes of the memory, this included
    std::size_t used;    ///< of these from the beginning
    std::size_t owners;  ///< arrays, and the ArrayRegion while it lives
};

ArrayRegion::Region* ArrayRegion::s_current = nullptr;

ArrayRegion::ArrayRegion(std::size_t room) noexcept : m_previous(std::exchange(s_current, nullptr)) {
    if (room < kSmallestRegion || room > std::numeric_limits<std::size_t>::max() / 2) return;
    const std::size_t size = wholeLargePages(room + sizeof(Region));
    void* const memory = ::operator new (size, std::align_val_t{kLargePage}, std::nothrow);
    if (memory == nullptr) return;
    preferLargePages(memory, size);
    s_current = ::new (memory) Region{size, sizeof(Region), 1};
    setUsable(s_current + 1, size - sizeof(Region), false);
}

ArrayRegion::~ArrayRegion() {
    Region* const region = std::exchange(s_current, m_previous);
    if (region != nullptr) leave(region);
}

void ArrayRegion::leave(Region* region) noexcept {
    if (--region->owners != 0) return;
    setUsable(region, region->size, true);
    ::operator delete (region, std::align_val_t{kLargePage});
}

void* ArrayRegion::allocate(std::size_t bytes) {
    static_assert(sizeof(void*) <= kHead && sizeof(Region) % kHead == 0);
    const std::size_t room = roomOf(bytes);
    Region* const region = s_current != nullptr && room <= s_current->size - s_current->used ? s_current : nullptr;
    unsigned char* begin = nullptr;
    if (region != nullptr) {
        begin = reinterpret_cast<unsigned char*>(region) + region->used;
        region->used += room;
        ++region->owners;
    } else {
        begin = static_cast<unsigned char*>(::operator new(kHead + bytes));
    }
    setUsable(begin, kHead + bytes, true);
    ::new (static_cast<void*>(begin)) Region*(region);
    // Nobody but release() may.
    setUsable(begin, kHead, false);
    return begin + kHead;
}

void ArrayRegion::release(void* memory, std::size_t bytes) noexcept {
    unsigned char* const begin = static_cast<unsigned char*>(memory) - kHead;
    setUsable(begin, kHead, true);
    Region* const region = *reinterpret_cast<Region**>(begin);
    if (region == nullptr) {
        ::operator delete(begin);
        return;
    }
    setUsable(begin, roomOf(bytes), false);
    if (region->owners > 1) giveBackPages(begin, roomOf(bytes));
    leave(region);
}

}  // namespace ond::util
