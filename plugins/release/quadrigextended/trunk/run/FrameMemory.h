// What a frame of a vehicle reads and writes, and whose frame is likely to be the next one.
//
// Where many vehicles drive frame by frame in turn, each finds its memory driven out of the processor's near caches by
// the others. But they drive in the same order frame after frame: while one of them reckons, the memory of the one
// behind it can come, a little at a time, so that nobody waits for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ond::ovs::addon {

/// Belongs to one vehicle. It keeps addresses and never looks at what is there: what is listed may go away at any time.
/// Used by one thread, the host's.
class FrameMemory {
  public:
    static constexpr std::size_t kCorners = 4;
    /// How many histories there can be, and parts of the ground under each wheel.
    static constexpr std::size_t kKeys = 72;
    static constexpr std::size_t kGround = 16;
    static constexpr std::size_t kMostBytes = 512;

    FrameMemory() = default;
    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;
    /// Nobody expects the vehicle any more.
    ~FrameMemory();

    /// Forgets what is listed, keys and ground included.
    void clear();
    /// Whether anything was added.
    [[nodiscard]] bool isListed() const { return m_numPieces > kFirst; }
    /// Lists memory. What there is no room for is left out, as is null.
    void add(const void* memory, std::size_t bytes);
    /// Lists where history number `i` has its last key, and will have its next one behind it.
    template <class Key>
    void setLastKey(std::size_t i, const Key* key) {
        if (i < kKeys) m_pieces[kFirstKey + i] = piece(key, 2 * sizeof(Key));
    }
    /// Lists part number `i` of what the wheel of a corner has found of the ground, kMostBytes of it at most; null for
    /// nothing.
    void setGround(std::size_t corner, std::size_t i, const void* memory, std::size_t bytes) {
        if (corner < kCorners && i < kGround)
            m_pieces[corner * kGround + i] = memory != nullptr && bytes != 0 ? piece(memory, bytes) : kNothing;
    }

    /// A frame of the vehicle begins. Answers whether all that is listed has been asked for in the last vehicle's
    /// frame.
    bool beginFrame();
    /// Asks for a little of the memory of the vehicle that came next the last time: its part of what one frame asks
    /// for.
    void fetchAhead() {
        ++m_turns;
        if (m_next != nullptr) fetchUpTo(m_fetched + m_perTurn);
    }
    /// The last time in a frame: asks for all that is left of it.
    void fetchRest();

    /// Whose frame is expected behind one of this vehicle; null for none, or this one's again.
    [[nodiscard]] const FrameMemory* next() const { return m_next; }

  private:
    static constexpr std::size_t kLine = 64;
    static constexpr std::size_t kFirstKey = kCorners * kGround;
    static constexpr std::size_t kFirst = kFirstKey + kKeys;
    static constexpr std::size_t kPieces = kFirst + 184;
    /// A few lines of memory: the address of the first one, and in its lowest bits how many follow.
    using Piece = std::uintptr_t;
    static constexpr Piece kNothing = 0;

    static Piece piece(const void* memory, std::size_t bytes) {
        const auto first = reinterpret_cast<std::uintptr_t>(memory);
        const std::uintptr_t last = first + (bytes < kMostBytes ? bytes : kMostBytes) - 1;
        return first / kLine * kLine + (last / kLine - first / kLine);
    }
    void fetchUpTo(std::size_t end);
    void follow(FrameMemory* last);

    FrameMemory* m_next = nullptr;
    FrameMemory* m_previous = nullptr;  ///< whose next this is
    std::size_t m_fetched = 0;          ///< pieces of the next one, in the present frame
    std::size_t m_turns = 0;            ///< of fetchAhead() in the present frame
    std::size_t m_perTurn =
        kPieces;  ///< so many pieces that all have been asked for at the end, if the frame is like the last
    std::size_t m_numPieces = kFirst;
    bool m_isFetched = false;  ///< what is listed, since it was, and since the vehicle's last frame
    std::array<Piece, kPieces> m_pieces{};

    static FrameMemory* s_last;  ///< whose frame began last
};

}  // namespace ond::ovs::addon
