#include "ond/util/PageHeap.h"

#include <limits>
#include <new>

#include "ond/util/RawBytes.h"

namespace ond::util {

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

constinit PageHeap shared;

// Memory checkers know each array only where it has memory of its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsChecked = true;
#elif defined(__has_feature)
constexpr bool kIsChecked = __has_feature(address_sanitizer);
#else
constexpr bool kIsChecked = false;
#endif

/// What an array takes in a block: an odd number of lines.
std::size_t lines(std::size_t bytes) {
    return ((bytes + PageHeap::kAlignment - 1) / PageHeap::kAlignment | 1U) * PageHeap::kAlignment;
}

void* onLargePages(std::size_t bytes, std::size_t alignment) {
    void* const memory = ::operator new (bytes, std::align_val_t{alignment});
    preferLargePages(memory, bytes);
    return memory;
}

}  // namespace

void* allocateShared(std::size_t bytes) { return kIsChecked ? ::operator new(bytes) : shared.allocate(bytes); }

void releaseShared(void* memory, std::size_t bytes) noexcept {
    if (kIsChecked)
        ::operator delete(memory);
    else
        shared.release(memory, bytes);
}

PageHeap::~PageHeap() {
    for (Block* block = m_blocks; block != nullptr;) {
        Block* const next = block->next;
        if (block->bytesFree == kRoom) dropBlock(block);
        block = next;
    }
}

void* PageHeap::allocate(std::size_t bytes) {
    if (bytes < kSmallest) return ::operator new(bytes);
    if (bytes > std::numeric_limits<std::ptrdiff_t>::max()) throw std::bad_alloc();
    if (bytes > kLargest) return onLargePages(bytes, kLargePage);
    const std::size_t taken = lines(bytes);
    for (Block* block = m_blocks; block != nullptr; block = block->next) {
        if (block->bytesFree < taken) continue;
        if (void* const memory = takeFrom(*block, taken)) return memory;
    }
    return takeFrom(*addBlock(), taken);
}

void PageHeap::release(void* memory, std::size_t bytes) noexcept {
    if (memory == nullptr) return;
    if (bytes < kSmallest) return ::operator delete(memory);
    if (bytes > kLargest) return ::operator delete (memory, std::align_val_t{kLargePage});
    Block* const block = blockOf(memory);
    giveBack(*block, memory, lines(bytes));
    if (block->bytesFree == kRoom && m_numBlocks > 1) dropBlock(block);
}

PageHeap::Block* PageHeap::blockOf(void* memory) {
    auto* const at = static_cast<std::byte*>(memory);
    return reinterpret_cast<Block*>(at - reinterpret_cast<std::uintptr_t>(at) % kBlock);
}

/// The first gap that is large enough; null where there is none.
void* PageHeap::takeFrom(Block& block, std::size_t bytes) {
    Gap** link = &block.gaps;
    while (*link != nullptr && (*link)->bytes < bytes) link = &(*link)->next;
    Gap* const gap = *link;
    if (gap == nullptr) return nullptr;
    if (gap->bytes == bytes)
        *link = gap->next;
    else
        *link = new (reinterpret_cast<std::byte*>(gap) + bytes) Gap{gap->bytes - bytes, gap->next};
    block.bytesFree -= bytes;
    return gap;
}

void PageHeap::giveBack(Block& block, void* memory, std::size_t bytes) noexcept {
    const auto endOf = [](Gap* gap) { return reinterpret_cast<std::byte*>(gap) + gap->bytes; };
    Gap* before = nullptr;
    Gap* behind = block.gaps;
    while (behind != nullptr && reinterpret_cast<std::byte*>(behind) < static_cast<std::byte*>(memory)) {
        before = behind;
        behind = behind->next;
    }
    block.bytesFree += bytes;
    Gap* const gap = new (memory) Gap{bytes, behind};
    if (reinterpret_cast<std::byte*>(behind) == endOf(gap)) {
        gap->bytes += behind->bytes;
        gap->next = behind->next;
    }
    if (before == nullptr) {
        block.gaps = gap;
    } else if (endOf(before) == static_cast<std::byte*>(memory)) {
        before->bytes += gap->bytes;
        before->next = gap->next;
    } else {
        before->next = gap;
    }
}

PageHeap::Block* PageHeap::addBlock() {
    void* const memory = onLargePages(kBlock, kBlock);
    Gap* const gap = new (static_cast<std::byte*>(memory) + sizeof(Block)) Gap{kRoom, nullptr};
    m_blocks = new (memory) Block{m_blocks, nullptr, gap, kRoom};
    if (m_blocks->next != nullptr) m_blocks->next->previous = m_blocks;
    ++m_numBlocks;
    return m_blocks;
}

void PageHeap::dropBlock(Block* block) noexcept {
    if (block->next != nullptr) block->next->previous = block->previous;
    (block->previous != nullptr ? block->previous->next : m_blocks) = block->next;
    --m_numBlocks;
    ::operator delete (block, std::align_val_t{kBlock});
}

}  // namespace ond::util
