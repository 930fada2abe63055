#include "run/FrameMemory.h"

#include <algorithm>
#include <utility>

#include "ond/util/Prefetch.h"

namespace ond::ovs::addon {

FrameMemory* FrameMemory::s_last = nullptr;

FrameMemory::~FrameMemory() {
    if (m_next != nullptr) m_next->m_previous = nullptr;
    if (m_previous != nullptr) m_previous->m_next = nullptr;
    if (s_last == this) s_last = nullptr;
}

void FrameMemory::clear() {
    m_pieces.fill(kNothing);
    m_numPieces = kFirst;
    m_isFetched = false;
}

void FrameMemory::add(const void* memory, std::size_t bytes) {
    if (memory == nullptr) return;
    m_isFetched = false;
    for (const auto* at = static_cast<const std::byte*>(memory); bytes != 0 && m_numPieces < kPieces;) {
        // Up to the end of a line.
        const std::size_t taken = std::min(bytes, kMostBytes - reinterpret_cast<std::uintptr_t>(at) % kLine);
        m_pieces[m_numPieces++] = piece(at, taken);
        at += taken;
        bytes -= taken;
    }
}

bool FrameMemory::beginFrame() {
    FrameMemory* const last = std::exchange(s_last, this);
    const bool isForeseen = std::exchange(m_isFetched, false) && last != nullptr && last->m_next == this;
    if (last != nullptr) follow(last);
    m_fetched = 0;
    m_turns = 0;
    if (m_next == nullptr) return isForeseen;
    for (std::size_t i = 0; i < m_next->m_numPieces; i += kLine / sizeof(Piece)) util::prefetch(&m_next->m_pieces[i]);
    return isForeseen;
}

/// From now on a frame of this one is expected behind one of `last`.
void FrameMemory::follow(FrameMemory* last) {
    FrameMemory* const next = last != this ? this : nullptr;
    if (last->m_next == next) return;
    if (last->m_next != nullptr) last->m_next->m_previous = nullptr;
    last->m_next = next;
    if (next == nullptr) return;
    if (m_previous != nullptr) m_previous->m_next = nullptr;
    m_previous = last;
}

void FrameMemory::fetchUpTo(std::size_t end) {
    end = std::min(end, m_next->m_numPieces);
    for (; m_fetched < end; ++m_fetched) {
        const Piece piece = m_next->m_pieces[m_fetched];
        if (piece == kNothing) continue;
        // Addresses are all that is known: there may be no object.
        const std::uintptr_t first = piece / kLine * kLine;
        for (std::uintptr_t i = 0; i <= piece % kLine; ++i)
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            util::prefetch<util::Cache::second>(reinterpret_cast<const void*>(first + i * kLine));
    }
    if (m_fetched == m_next->m_numPieces) m_next->m_isFetched = m_next->isListed();
}

void FrameMemory::fetchRest() {
    if (m_next == nullptr) return;
    fetchUpTo(kPieces);
    m_perTurn = m_next->m_numPieces / (m_turns + 1) + 1;
}

}  // namespace ond::ovs::addon
